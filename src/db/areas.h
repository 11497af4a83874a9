/*
** areas.h -- work areas, aliases and field variables.
**
** A work area is the numbered slot through which the language reaches one
** open table.  The area knows nothing of files: it holds one reference to a
** data-server object (a driver object) and the object's quick field
** methods.  Everything a table does is a message to that object.
**
** The chain.  vlnWAHead heads a singly linked list of the areas that hold
** an object, strictly ascending by number.  The selected area may be an
** empty record that no list reaches; it is reused or freed when the
** selection moves away.  An area lives while lnks is above 0 (one link for
** the bound object, one for every saved selection) or while it is the
** selected one.
**
** Field variables.  Each field of an open table is one value record with
** Mode 'f' (read and written through the driver object) or 'F' (the record
** itself is the field), F_indx the field number and W_area the owning area.
** The memory-variable table keeps, per name, the list of field records of
** every area that has a field of that name (MvEntry.fields), so that a
** bare name costs one symbol index and a short scan.
*/
#ifndef VL_AREAS_H
#define VL_AREAS_H
#include "var.h"

VL_BEGIN_DECLS

/* Bit 0 of AreaRec.typ: the area is bound to an entry of the known-alias
** table. */
#define VLN_AREA_KNOWN 1

/* The largest area number vlnSelect accepts. */
#define VLN_MAX_AREA 65535

/* Alias comparisons look at this many characters, case-insensitively. */
#define VLN_ALIAS_CMP 11

typedef struct AreaRec {
  uint8_t typ;          /* VLN_AREA_KNOWN */
  uint32_t lnks;        /* bound object + saved selections */
  uint16_t number;      /* 1 .. VLN_MAX_AREA */
  const char* alias;    /* not owned: the driver's buffer or a known alias */
  var* obj;             /* the data-server object, null for an empty area */
  BbFn qgm;             /* the object's QuickFieldGet, or null */
  BbFn qpm;             /* the object's QuickFieldPut, or null */
  struct AreaRec* nxt;  /* next area on the chain */
  char aliasbuf[VLN_ALIAS_CMP]; /* the alias of a driver written in the
                                   language, which has no buffer of its own */
} AreaRec;

/* ---- The kernel's area globals. ---- */

extern AreaRec* vlnWAHead;        /* chain of areas holding an object */
extern AreaRec* vlnSelectedArea;  /* current area; null before the first */
extern char** vlnKnownAlias;      /* aliases the application was built with */
extern AreaRec** vlnKnownAreas;   /* same indices: area using it, or null */
extern int32_t vlnKnownAreaCnt;   /* entries of the two tables */

/* ---- Area records. ---- */

/* A new zeroed area record, on no chain. */
AreaRec* vlnCreateArea(void);
/* Unbind the area (known alias, object) and free the record when nothing
** refers to it any more and it is not the selected one.  The caller
** unlinks it from the chain first. */
void vlnDeleteArea(AreaRec* area);
/* Bind obj to area under alias (number 0 keeps the area's number) and link
** the area into the chain.  Null when vlnValidAlias refuses the alias. */
AreaRec* vlnSetArea(AreaRec* area, int32_t number, const char* alias, var* obj);

/* ---- Selection. ---- */

/* Select area (which must hold an object, else 342) for an aliased
** expression.  Returns what must be given to vlnPopArea.  Every push, also
** one that fails, raises the links of the area selected before it, so
** that the area outlives the expression; the pop lowers them again. */
AreaRec* vlnPushArea(AreaRec* area);
/* Undo a push: prev becomes the selected area again, and the record
** selected until now is deleted if it has no object.  Returns prev. */
AreaRec* vlnPopArea(AreaRec* prev);
/* The pushes of aliased expressions by alias text, known-alias index, area
** number and value ('C' alias or number).  Each returns the previous area
** for vlnPopArea.  A text or number without a bound area goes to
** vlnSelect(value, 0) (so an empty area's number selects it quietly); an
** unbound known alias and a value of another type report 342. */
AreaRec* vlnPushCArea(const char* alias);
AreaRec* vlnPushIArea(int32_t known);
AreaRec* vlnPushNArea(int32_t number);
AreaRec* vlnPushVArea(var* value);
/* Select or look up the area value names ('C' alias or number 'F','I','N')
** by mode -1, 0, 1, 2 or 4.  Returns the area, or null. */
AreaRec* vlnSelect(var* value, int mode);

/* ---- Look-ups (no reports). ---- */

/* The area a text names: alias, letter A-L, M, or number. */
AreaRec* vlnChr2Area(const char* text);
AreaRec* vlnAliasLocateArea(const char* alias);
AreaRec* vlnNumberLocateArea(int32_t number);
/* The area whose object shares obj's object data. */
AreaRec* vlnObjectLocateArea(var* obj);
/* The object of area number (0 or unknown: the selected area); NIL_VAR
** when there is none. */
var* vlnGetAreaObject(int32_t number);
/* Index of alias in vlnKnownAlias, or -1. */
int32_t vlnLocateKnownAlias(const char* alias);
/* 1 when name may be an alias, 0 when not. */
int vlnValidAlias(const char* name);

/* ---- Aliases of driver objects. ---- */

/* Bind obj (a data-server object) to the selected area under a unique
** alias derived from name (its file part, upper-cased, cut at the first
** full stop and at 10 characters); the alias given is written to buffer
** (at least 11 bytes, which must outlive the binding; null only tests the
** name).  An alias vlnValidAlias refuses leaves obj bound to no area,
** silently.  1 when the alias had to be changed, 0 when not, -1 after a
** report (317 not an object, 338 not a data server, 342 the selected area
** holds another object). */
int vlnAnnounceAlias(var* obj, const char* name, char* buffer);
/* Unbind obj's area: unlink and delete it.  0, or -1 when no area holds
** obj. */
int vlnRetireAlias(var* obj);

/* ---- Field variables. ---- */

/* Make the field record of field number of the selected area and enter it
** under name.  storage is the record-buffer text of a 'C' field (not
** terminated: Length bounds it).  A memo field gets a one-byte text
** buffer that belongs to the driver, which may reallocate it and frees it
** before retiring the field.  number is stored as F_indx; the fieldget
** and fieldput messages receive F_indx + 1.  Call after vlnAnnounceAlias:
** when that left the object unbound (alias refused), the field belongs to
** no area.  Returns the record (owned by the name's field list), or null
** after 204. */
var* vlnAnnounceField(const char* name, int32_t number, int type, int backed,
                      int32_t length, int32_t decimals, char* storage);
/* Remove and release obj's field record of that name.  Drivers retire
** their fields before their alias: the field is found through the area
** that holds obj. */
void vlnRetireField(var* obj, const char* name);

/* Field reads.  The area is the selected one, an area record, an alias
** text, a known-alias index, an area number or a value; the field a symbol
** index or (the C forms) a text.  A text holding ">" or "[" is evaluated
** as an expression instead. */
var* vlnGetField(int32_t sym);
var* vlnGetCField(const char* name);
var* vlnGetAliasField(AreaRec* area, int32_t sym);
var* vlnGetAliasCField(AreaRec* area, const char* name);
var* vlnGetCAliasField(const char* alias, int32_t sym);
var* vlnGetCAliasCField(const char* alias, const char* name);
var* vlnGetIAliasField(int32_t known, int32_t sym);
var* vlnGetIAliasCField(int32_t known, const char* name);
var* vlnGetNAliasField(int32_t number, int32_t sym);
var* vlnGetNAliasCField(int32_t number, const char* name);
var* vlnGetVAliasField(var* alias, int32_t sym);
var* vlnGetVAliasCField(var* alias, const char* name);
/* The field's value, or null (no report) when area has no such field. */
var* vlnGetAliasFieldNoError(AreaRec* area, int32_t sym);
/* Write value into field through its area's object. */
var* vlnSetField(var* field, var* value);

/* ---- Language functions. ---- */

var* _bb_select(int argc, var** argv);
var* _bb_warea(int argc, var** argv);
var* _bb_rddannalia(int argc, var** argv);
var* _bb_rddannfiel(int argc, var** argv);
var* _bb_rddretalia(int argc, var** argv);
var* _bb_rddretfiel(int argc, var** argv);

VL_END_DECLS

#endif /* VL_AREAS_H */
