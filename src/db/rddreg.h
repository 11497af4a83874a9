/*
** rddreg.h -- the driver registry: which drivers exist and which is the
** default, and how a driver object is made from a driver name.
**
** A driver is named by a text.  The function that makes its objects is
** found by upper-casing the name, appending "NEW" and asking the function
** registry for that name, so an application adds a driver by defining
** `<NAME>NEW`; nothing here has to change.  The constructor is called with
** the open arguments; with five NIL and FALSE it makes a closed object that
** touches no work area.
*/
#ifndef VL_RDDREG_H
#define VL_RDDREG_H
#include "var.h"

VL_BEGIN_DECLS

/* A closed driver object of the driver value names: a 'C' or 'M' text,
** trimmed and upper-cased, or for any other value or an empty text the
** default driver.  Returns the object (a temporary), or null after
** reporting 320 "Driver '%s' not found" when no constructor of that name
** exists, or null without a report when the constructor gives no object. */
var* vlnGetObject(var* value);

/* Start-up: announces the driver "DbfIdx" and makes "DBFIDX" the default. */
void _bbi_rddinit(void);

/* RDDANNOUNCE(name): enter the name, upper-cased and cut to 10 characters,
** into the driver list unless it is empty or there already.  NIL. */
var* _bb_annnewrdd(int argc, var** argv);
/* RDDLIST(): the driver list itself (not a copy). */
var* _bb_rddlist(int argc, var** argv);
/* RDDSETDEFAULT([name]) and DBSETDRIVER([name]): the previous default as a
** new text; a text argument, trimmed and upper-cased, becomes the default,
** an empty one clears it (to the first-choice driver if there is one). */
var* _bb_rddsetdefa(int argc, var** argv);
var* _bb_dbsetdrive(int argc, var** argv);
/* DBSERVERNEW(...): the constructor named by the fifth argument (else the
** default driver) called with all the arguments.  The object, or NIL after
** the 320 report. */
var* _bb_dbserverne(int argc, var** argv);
/* DBOBJECT([area]): the object of the selected area, or of the area a text
** or number names (the selection does not change).  NIL when none. */
var* _bb_dbobject(int argc, var** argv);

VL_END_DECLS

#endif /* VL_RDDREG_H */
