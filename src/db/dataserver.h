/*
** dataserver.h -- the abstract data-server class and the derivation of
** driver classes from it.
**
** dataserver fixes the message slots and the 42 instance variables that
** the database functions rely on (dsslots.h), and implements nothing: each
** member reports that the class at hand does not define it and returns the
** object.  A driver class replaces the members it supports in the same
** slot numbers and inherits the report for the others.
**
** A driver's method array keeps the dataserver's 166 slots first.  Behind
** them come, sorted by name (access, assign, method), the dataserver
** versions of the messages the driver overrides (so that a super call finds
** them at level 0) and the driver's own messages.  vlnDsDeriveClass
** computes that layout and the class record for any driver written in C.
*/
#ifndef VL_DATASERVER_H
#define VL_DATASERVER_H
#include "dsslots.h"
#include "var.h"

VL_BEGIN_DECLS

/* The class mark every data-server class carries in its header row. */
#define VLN_DS_CLASS_MARK 'D'

/* The 166-entry method array of dataserver, built on the first call and
** kept for the run. */
var* vlnDataserverCollectMethods(void);
/* The dataserver function of message slot (0..165), stored generic; null
** for a slot out of range. */
AnyFn vlnDataserverMethod(int32_t slot);
/* Wire instance variables 2..43 of obj to their access and assign slots
** (-1 where a message lacks one); cargo stays a plain variable.  Returns 1,
** or 0 when obj is no data-server object. */
int vlnDataserverWire(var* obj);

/* DATASERVER(...): a new instance of the abstract class; init is the
** abstract one, so the instance reports every message. */
var* _bb_dataserver(int argc, var** argv);

/* The fallbacks, also the slots nomethod, noivarget and noivarput.  Each
** takes (object, name[, value]), reports 343 "Class '%s' does not define
** method '%s'" or 344 "Class '%s' does not define instance '%s'" with the
** object's own class name, and returns the object. */
var* _bb_dataserver_nomethod_me(int argc, var** argv);
var* _bb_dataserver_noivarget_me(int argc, var** argv);
var* _bb_dataserver_noivarput_me(int argc, var** argv);

/* The other 163 abstract members, one per message of dsslots.h:
** _bb_dataserver_<name>_me(argc, argv), _ac(obj), _as(obj, value).  Each
** hands its own name to the matching fallback. */
#define VLN_DS_DECL_ac(name) var* _bb_dataserver_##name##_ac(var* obj);
#define VLN_DS_DECL_as(name) var* _bb_dataserver_##name##_as(var* obj, var* value);
#define VLN_DS_DECL_me(name) var* _bb_dataserver_##name##_me(int argc, var** argv);
#define VLN_DS_DECL_fb(name)
#define VLN_DS_DECL_(id, name, kind) VLN_DS_DECL_##kind(name)
VLN_DS_MESSAGES(VLN_DS_DECL_)
#undef VLN_DS_DECL_

/* ---- Deriving a driver class. ---- */

/* A message only the derived class has. */
typedef struct VlnDsExtra {
  const char* name; /* lower case */
  int kind;         /* 'M', 'A' or '=' */
} VlnDsExtra;

/* One entry of a derived class's method array. */
typedef struct VlnDsSlotInfo {
  const char* name;
  int32_t level;  /* 1: the driver's own function; 0: the dataserver's */
  int32_t dsslot; /* level 0: the dataserver slot whose function goes
                     here; level 1: the slot itself below 166, -1 above */
  char kind;      /* 'M', 'A' or '=' */
} VlnDsSlotInfo;

/* A derived class: its record and the meaning of each method slot. */
typedef struct VlnDsClass {
  const VlnClassRow* rows;
  const VlnDsSlotInfo* slots;
  int32_t count; /* entries of the method array */
} VlnDsClass;

/* Derive class name (lower case) from dataserver.  overrides[s] is non-zero
** for each of the 166 slots the driver implements; extras are its own
** messages (names distinct from one another and, kind for kind, from the
** dataserver's).  The names must live for the run (string literals).
** The result lives for the run and is owned here; running out of memory
** is fatal. */
const VlnDsClass* vlnDsDeriveClass(const char* name, const unsigned char* overrides,
                                   const VlnDsExtra* extras, int32_t nextras);
/* Build the method array of a derived class: entry i gets fn(i) for the
** driver's own slots and the dataserver function for the others (also
** where fn gives null below slot 166; above it such an entry stays
** unlinked); pars is 0 for access and assign, 1 for methods.  The caller
** keeps the array. */
var* vlnDsCollectMethods(const VlnDsClass* cls, AnyFn (*fn)(int32_t slot));

VL_END_DECLS

#endif /* VL_DATASERVER_H */
