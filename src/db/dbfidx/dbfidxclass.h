/*
** dbfidxclass.h -- the class descriptor of the DBF driver.
**
** The driver derives from dataserver (dataserver.h): its 302-entry method
** array keeps slots 0..165, then holds the dataserver versions of the
** messages it overrides and its own 14 messages (axit, the errinfo method,
** the index internals, the quick field methods) in slots 166..301.
*/
#ifndef VL_DBFIDXCLASS_H
#define VL_DBFIDXCLASS_H
#include "dataserver.h"

VL_BEGIN_DECLS

/* The DBF driver's class: record, slot meanings and count (302), built on
** the first call and kept for the run.  slots[i].level is 1 where the
** driver supplies the function of slot i, 0 where the dataserver function
** of slots[i].dsslot goes. */
const VlnDsClass* vlnDbfidxClass(void);

/* The class record handed to set_Ov. */
#define DbfidxStruct (vlnDbfidxClass()->rows)

/* The pars word vlnAddMethod records for slot: 0 access or assign, 1
** method, 2 the index compare, skip and synchronize entries, 3 the index
** seeks. */
int vlnDbfidxPars(int32_t slot);

VL_END_DECLS

#endif /* VL_DBFIDXCLASS_H */
