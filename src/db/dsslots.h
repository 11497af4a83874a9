/*
** dsslots.h -- messages, slot numbers and instance variables of the
** data-server classes.
**
** Every data-server class (the abstract dataserver, the DBF driver, the
** ASCII driver and any driver an application derives) puts the same
** message in the same method slot, so that the database functions send by
** slot: an array lookup, not a name search.  Slots 0 to 165 are the
** messages every data server answers, in name order; an access carries the
** suffix _AC and an assign _AS.  The DBF driver adds its private entries
** above 165; the ones other code calls are listed at the end.
**
** The two lists below are the single source of these numbers: the enums,
** the class records and the abstract members are all expanded from them.
*/
#ifndef VL_DSSLOTS_H
#define VL_DSSLOTS_H

/* The 166 messages in slot order: X(ID, name, kind).  ID gives the enum
** name VLN_DS_<ID>; name is the message as the class record spells it
** (instance names cut to 10 characters); kind is ac (access), as (assign),
** me (method) or fb (the fallback methods nomethod, noivarget and
** noivarput, which the dispatch calls for an unknown name). */
#define VLN_DS_MESSAGES(X) \
  X(ALIAS_AC, alias, ac) \
  X(ALIAS_AS, alias, as) \
  X(ALIASSYM_AC, aliassym, ac) \
  X(APPEND, append, me) \
  X(APPENDDB, appenddb, me) \
  X(APPENDDELIMITED, appenddelimited, me) \
  X(APPENDSDF, appendsdf, me) \
  X(ASSTRING, asstring, me) \
  X(AVERAGE, average, me) \
  X(BLOBDIRECTEXPORT, blobdirectexport, me) \
  X(BLOBDIRECTGET, blobdirectget, me) \
  X(BLOBDIRECTIMPORT, blobdirectimport, me) \
  X(BLOBDIRECTPUT, blobdirectput, me) \
  X(BLOBEXPORT, blobexport, me) \
  X(BLOBGET, blobget, me) \
  X(BLOBIMPORT, blobimport, me) \
  X(BLOBROOTGET, blobrootget, me) \
  X(BLOBROOTLOCK, blobrootlock, me) \
  X(BLOBROOTPUT, blobrootput, me) \
  X(BLOBROOTUNLOCK, blobrootunlock, me) \
  X(BOF_AC, bof, ac) \
  X(CLEARFILTER, clearfilter, me) \
  X(CLEARINDEX, clearindex, me) \
  X(CLEARLOCATE, clearlocate, me) \
  X(CLEARRELATION, clearrelation, me) \
  X(CLEARSCOPE, clearscope, me) \
  X(CLOSE, close, me) \
  X(COMMIT, commit, me) \
  X(CONCURRENC_AC, concurrenc, ac) \
  X(CONCURRENC_AS, concurrenc, as) \
  X(CONTINUE, continue, me) \
  X(COPYDB, copydb, me) \
  X(COPYDELIMITED, copydelimited, me) \
  X(COPYSDF, copysdf, me) \
  X(COPYSTRUCTURE, copystructure, me) \
  X(COUNT, count, me) \
  X(CREATEDB, createdb, me) \
  X(CREATEINDEX, createindex, me) \
  X(CREATEORDER, createorder, me) \
  X(DATAFIELD, datafield, me) \
  X(DBSTRUCT, dbstruct, me) \
  X(DELETE, delete, me) \
  X(DELETEALL, deleteall, me) \
  X(DELETED_AC, deleted, ac) \
  X(DELETEORDER, deleteorder, me) \
  X(DRIVER_AC, driver, ac) \
  X(EOF_AC, eof, ac) \
  X(ERRINFO_AC, errinfo, ac) \
  X(ERROR, error, me) \
  X(EVAL, eval, me) \
  X(FCOUNT_AC, fcount, ac) \
  X(FIELDGET, fieldget, me) \
  X(FIELDGETFORMATTED, fieldgetformatted, me) \
  X(FIELDHYPERLABEL, fieldhyperlabel, me) \
  X(FIELDINFO, fieldinfo, me) \
  X(FIELDNAME, fieldname, me) \
  X(FIELDPOS, fieldpos, me) \
  X(FIELDPUT, fieldput, me) \
  X(FIELDSPEC, fieldspec, me) \
  X(FIELDSTATUS, fieldstatus, me) \
  X(FIELDSYM, fieldsym, me) \
  X(FIELDVALIDATE, fieldvalidate, me) \
  X(FILESPEC_AC, filespec, ac) \
  X(FILTER_AC, filter, ac) \
  X(FILTER_AS, filter, as) \
  X(FLOCK, flock, me) \
  X(FORBLOCK_AC, forblock, ac) \
  X(FORBLOCK_AS, forblock, as) \
  X(FOUND_AC, found, ac) \
  X(GETARRAY, getarray, me) \
  X(GETARRFIELDS, getarrfields, me) \
  X(GETLOCATE_AC, getlocate, ac) \
  X(GETLOOKUPTABLE, getlookuptable, me) \
  X(GOBOTTOM, gobottom, me) \
  X(GOTO, goto, me) \
  X(GOTOP, gotop, me) \
  X(HEADER_AC, header, ac) \
  X(INDEXCHECK_AC, indexcheck, ac) \
  X(INDEXCOUNT_AC, indexcount, ac) \
  X(INDEXEXT_AC, indexext, ac) \
  X(INDEXKEY, indexkey, me) \
  X(INDEXKEY_AC, indexkey, ac) \
  X(INDEXLOCK_AC, indexlock, ac) \
  X(INDEXORD, indexord, me) \
  X(INFO, info, me) \
  X(INIT, init, me) \
  X(ISRELATION_AC, isrelation, ac) \
  X(ISRELATION_AS, isrelation, as) \
  X(JOIN, join, me) \
  X(LASTREC_AC, lastrec, ac) \
  X(LOCATE, locate, me) \
  X(LOCKCURRENTRECORD, lockcurrentrecord, me) \
  X(LOCKSELECTION, lockselection, me) \
  X(LUPDATE_AC, lupdate, ac) \
  X(NAME_AC, name, ac) \
  X(NOIVARGET, noivarget, fb) \
  X(NOIVARPUT, noivarput, fb) \
  X(NOMETHOD, nomethod, fb) \
  X(NOTIFY, notify, me) \
  X(ORDERBOTTO_AC, orderbotto, ac) \
  X(ORDERBOTTO_AS, orderbotto, as) \
  X(ORDERDESCEND, orderdescend, me) \
  X(ORDERINFO, orderinfo, me) \
  X(ORDERISUNIQUE, orderisunique, me) \
  X(ORDERKEYADD, orderkeyadd, me) \
  X(ORDERKEYCOUNT, orderkeycount, me) \
  X(ORDERKEYDEL, orderkeydel, me) \
  X(ORDERKEYGOTO, orderkeygoto, me) \
  X(ORDERKEYNO_AC, orderkeyno, ac) \
  X(ORDERKEYNO_AS, orderkeyno, as) \
  X(ORDERKEYNO, orderkeyno, me) \
  X(ORDERKEYVA_AC, orderkeyva, ac) \
  X(ORDERSCOPE, orderscope, me) \
  X(ORDERSKIPUNIQUE, orderskipunique, me) \
  X(ORDERTOPSC_AC, ordertopsc, ac) \
  X(ORDERTOPSC_AS, ordertopsc, as) \
  X(PACK, pack, me) \
  X(RDDINFO, rddinfo, me) \
  X(RDDNAME_AC, rddname, ac) \
  X(READONLY_AC, readonly, ac) \
  X(RECALL, recall, me) \
  X(RECALLALL, recallall, me) \
  X(RECCOUNT_AC, reccount, ac) \
  X(RECNO_AC, recno, ac) \
  X(RECNO_AS, recno, as) \
  X(RECORDINFO, recordinfo, me) \
  X(RECSIZE_AC, recsize, ac) \
  X(REFRESH, refresh, me) \
  X(REGISTERCLIENT, registerclient, me) \
  X(REINDEX, reindex, me) \
  X(RELATION, relation, me) \
  X(RELATIONOBJECT, relationobject, me) \
  X(REPLACE, replace, me) \
  X(RESETNOTIFICATION, resetnotification, me) \
  X(RLOCK, rlock, me) \
  X(RLOCKLIST_AC, rlocklist, ac) \
  X(RLOCKVERIFY, rlockverify, me) \
  X(ROLLBACK, rollback, me) \
  X(SCOPE_AC, scope, ac) \
  X(SCOPE_AS, scope, as) \
  X(SEEK, seek, me) \
  X(SEEKEVAL, seekeval, me) \
  X(SETDATAFIELD, setdatafield, me) \
  X(SETFILTER, setfilter, me) \
  X(SETFOUND_AS, setfound, as) \
  X(SETINDEX, setindex, me) \
  X(SETLOCATE_AS, setlocate, as) \
  X(SETORDER, setorder, me) \
  X(SETORDERCONDITION, setordercondition, me) \
  X(SETRELATION, setrelation, me) \
  X(SETSELECTIVERELAT, setselectiverelat, me) \
  X(SHARED_AC, shared, ac) \
  X(SKIP, skip, me) \
  X(SORT, sort, me) \
  X(STATUS_AC, status, ac) \
  X(SUM, sum, me) \
  X(SUSPENDNOTIFICATION, suspendnotification, me) \
  X(TOTAL, total, me) \
  X(UNLOCK, unlock, me) \
  X(UNREGISTERCLIENT, unregisterclient, me) \
  X(UPDATE, update, me) \
  X(USED_AC, used, ac) \
  X(USERSDBF, usersdbf, me) \
  X(WHILEBLOCK_AC, whileblock, ac) \
  X(WHILEBLOCK_AS, whileblock, as) \
  X(ZAP, zap, me)

/* Kind letters of the class-record rows, by kind token. */
#define VLN_DS_KIND_ac 'A'
#define VLN_DS_KIND_as '='
#define VLN_DS_KIND_me 'M'
#define VLN_DS_KIND_fb 'M'

enum VlnDsSlot {
#define VLN_DS_SLOT_(id, name, kind) VLN_DS_##id,
  VLN_DS_MESSAGES(VLN_DS_SLOT_)
#undef VLN_DS_SLOT_
  VLN_DS_SLOT_COUNT, /* 166 */

  /* Entries of the DBF driver's own method array. */
  VLN_DBFIDX_AXIT = 174,
  VLN_DBFIDX_ERRINFO = 201,
  VLN_DBFIDX_INDEXAPPEND = 225,
  VLN_DBFIDX_INDEXCHECK = 226,
  VLN_DBFIDX_INDEXGOBOTTOM = 229,
  VLN_DBFIDX_INDEXGOTOP = 230,
  VLN_DBFIDX_INDEXKEYCOMPARE = 233,
  VLN_DBFIDX_INDEXREPLACE = 235,
  VLN_DBFIDX_INDEXSEEK = 236,
  VLN_DBFIDX_INDEXSEEKEVAL = 237,
  VLN_DBFIDX_INDEXSKIP = 238,
  VLN_DBFIDX_INDEXSYNCHRONIZE = 239,
  VLN_DBFIDX_QUICKFIELDGET = 259,
  VLN_DBFIDX_QUICKFIELDPUT = 260,
  VLN_DBFIDX_SLOT_COUNT = 302
};

/* The 42 instance variables in name order: X(ID, name).  They occupy
** object slots 2 to 43; cargo is a plain exported variable, every other one
** is reached through the access and assign messages of the same name. */
#define VLN_DS_IVARS(X) \
  X(ALIAS, alias) \
  X(ALIASSYM, aliassym) \
  X(BOF, bof) \
  X(CARGO, cargo) \
  X(CONCURRENC, concurrenc) \
  X(DELETED, deleted) \
  X(DRIVER, driver) \
  X(EOF, eof) \
  X(ERRINFO, errinfo) \
  X(FCOUNT, fcount) \
  X(FILESPEC, filespec) \
  X(FILTER, filter) \
  X(FORBLOCK, forblock) \
  X(FOUND, found) \
  X(GETLOCATE, getlocate) \
  X(HEADER, header) \
  X(INDEXCHECK, indexcheck) \
  X(INDEXCOUNT, indexcount) \
  X(INDEXEXT, indexext) \
  X(INDEXKEY, indexkey) \
  X(INDEXLOCK, indexlock) \
  X(ISRELATION, isrelation) \
  X(LASTREC, lastrec) \
  X(LUPDATE, lupdate) \
  X(NAME, name) \
  X(ORDERBOTTO, orderbotto) \
  X(ORDERKEYNO, orderkeyno) \
  X(ORDERKEYVA, orderkeyva) \
  X(ORDERTOPSC, ordertopsc) \
  X(RDDNAME, rddname) \
  X(READONLY, readonly) \
  X(RECCOUNT, reccount) \
  X(RECNO, recno) \
  X(RECSIZE, recsize) \
  X(RLOCKLIST, rlocklist) \
  X(SCOPE, scope) \
  X(SETFOUND, setfound) \
  X(SETLOCATE, setlocate) \
  X(SHARED, shared) \
  X(STATUS, status) \
  X(USED, used) \
  X(WHILEBLOCK, whileblock)

enum VlnDsIvar {
  VLN_IV_FIRST_ = 1,
#define VLN_DS_IVAR_(id, name) VLN_IV_##id,
  VLN_DS_IVARS(VLN_DS_IVAR_)
#undef VLN_DS_IVAR_
  VLN_IV_END, /* 44: one past the last variable */
  VLN_IV_COUNT = VLN_IV_END - 2
};

/* Object slot of a driver's state record: a '?' word holding a pointer
** (the DBF driver's value slots 44 to 49 come before it).  Drivers that
** report through diError keep their state here (see dierror.h). */
#define VLN_DS_STATE_SLOT 50

#endif /* VL_DSSLOTS_H */
