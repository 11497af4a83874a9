/*
** objects.h -- classes, objects and method dispatch.
**
** An object is an array record: slot 0 holds the class record pointer (a
** '?' word), slot 1 the method array shared by the class, slots 2 and up
** the instance variables.  A class record is a static table of rows:
**
**   row 0                  {class letter, inst_count, meth_count, first_inst}
**   rows 1..first_inst-1   the class chain {name, inst count, meth count, 0};
**                          row first_inst-1 names the object's own class
**   instance rows          {name, slot, 0, 'E' or 'A'}, sorted by name
**   method rows            {name, index, level, 'M', 'A', '=' or 'P'},
**                          sorted by name, equal names by ascending level
**
** Method words are stored generic in the method array and cast by kind:
** 'M' and 'P' are called (argc, argv) with argv[0] the object, 'A' (object),
** '=' (object, value).  A 'b' element runs through the evaluator.
**
** Every call into a method may run language code, which may BREAK: the
** functions here hold nothing across a call that a longjmp would leak.
*/
#ifndef VL_OBJECTS_H
#define VL_OBJECTS_H
#include "var.h"

VL_BEGIN_DECLS

/* Kinds of class-record rows. */
enum {
  VL_KIND_EXPORTED = 'E', /* instance row: visible from outside */
  VL_KIND_METHOD = 'M',   /* method row: a method */
  VL_KIND_PROC = 'P',     /* method row: found like a method */
  VL_KIND_ACCESS = 'A',   /* method row: access method; instance row: by access only */
  VL_KIND_ASSIGN = '='    /* method row: assign method */
};

/* Method-search limit meaning "no restriction". */
#define VL_NO_LEVEL_LIMIT (-2)

/* Function shapes of access and assign methods. */
typedef var* (*VlnAccessFn)(var* obj);
typedef var* (*VlnAssignFn)(var* obj, var* value);

/* ---- Class records. ---- */

/* The class record of object obj ('O' or 'u'), or null for anything else. */
const VlnClassRow* vlnClassOf(var* obj);
/* Name of the object's own class (row first_inst-1), "" when it has none. */
const char* vlnClassName(const VlnClassRow* cls);
/* Lower-case compare of at most n characters: <0, 0, >0. */
int vlnStrNLCmp(const char* a, const char* b, int n);
/* Slot number of instance variable name (10 significant characters), or
** -1.  Among equal rows the last is taken. */
int32_t vlnLocateInstance(const char* name, const VlnClassRow* cls);
/* Index of the method name of the given kind whose level is at most
** *limit (any level when *limit < -1), searching equal names from the last
** row back.  *limit receives the row's level; -1 and *limit = -2 if none. */
int32_t vlnLocateMethod(const char* name, const VlnClassRow* cls, int kind, int32_t* limit);

/* ---- Building classes and objects. ---- */

/* Store function fn as element i of the method array; pars is recorded
** for the reader only.  Returns the element, or NIL_VAR when array is not
** an array or i is out of range. */
var* vlnAddMethod(var* array, int32_t i, AnyFn fn, int pars);
/* Give slot its declared type letter and, if value is non-null, the value.
** Returns the slot, or NIL_VAR for a non-object or a slot out of range. */
var* vlnSetDefault(var* obj, int32_t slot, int type, var* value);
/* Turn slot into a special slot rerouting to ivar (or -1) through the
** access and assign method indices (or -1).  TRUE_VAR, or FALSE_VAR with
** nothing written when an index is out of range. */
var* vlnDoSpecial(var* obj, int32_t slot, int32_t ivar, int32_t access, int32_t assign);
/* Send init with the arguments of the constructor; returns its result, or
** obj when the class has no init (317 and obj for a non-object). */
var* vlnDoInit(var* obj, int argc, var** argv);

/* ---- Method calls. ---- */

/* The direct route: method index of the object's class when level is 0
** and the index is valid; otherwise by name.  argv[0] is the object. */
var* vlnDoMethod(const char* name, int32_t index, int32_t level, int argc, var** argv);
/* By name, below the running method's level minus level; falls back to
** the class's "nomethod". */
var* vlnNoDoMethod(const char* name, int32_t level, int argc, var** argv);
/* The same with the name given as macro text. */
/* Send message to obj as the evaluator writes it: a method call with the
** arguments argv when call is set, else an instance access; with assign
** set, an instance assignment of argv[0]. */
var* vlnSend(var* obj, const char* message, int call, int assign, int argc, var** argv);
/* Last resort: the class's "nomethod" with the name inserted after the
** object, else 343.  NIL_VAR on failure. */
var* vlnNoMethod(const char* name, int argc, var** argv, int32_t level);

/* ---- Instance variables. ---- */

/* Read (value null) or assign instance variable slot index, by name when
** the index does not apply.  direct skips the access/assign methods. */
var* vlnDoInstance(var* obj, const char* name, int32_t index, int direct, var* value);
/* One access of slot of obj; null when a special slot gives no result. */
var* vlnAcAs(var* obj, var* slot, var* value, int direct);
/* By name: access/assign methods below the running level when level is
** non-zero, else the instance rows; then "noivarget"/"noivarput"; then
** 344.  NIL_VAR on failure. */
var* vlnNoIVar(var* obj, const char* name, int32_t level, var* value);

/* ---- Host-method helpers. ---- */

/* Element i of obj (1 .. A_size-1), NIL_VAR after a report otherwise. */
var* vlnGetObj(var* obj, int32_t i);
/* Function word of method i (name for the report); the NIL block's
** function after a report when it is missing. */
AnyFn vlnGetMethod(var* obj, const char* name, int32_t i);
/* Index of a linked method of that kind, or -1. */
int32_t vlnIsMethod(var* obj, const char* name, int kind);

/* ---- Language functions. ---- */

/* ISOBJCLASS(o): upper-case names of the class chain, own class first. */
var* _bb_isobjclass(int argc, var** argv);
/* ISOBJPROPERTY(o[, name[, kind]]): exported instance names, or whether a
** row of that name exists (kind 4: method rows). */
var* _bb_isobjprope(int argc, var** argv);

VL_END_DECLS

#endif /* VL_OBJECTS_H */
