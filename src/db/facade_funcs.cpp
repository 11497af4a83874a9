// facade_funcs.cpp -- the database functions that are nothing but a shape:
// one send, one read, or one send with packed scope arguments.  Each line
// is the function's row: name in reports, message, slot, empty-area mode,
// neutral value, argument types, leading code, argument limit.
#include "facade_shape.hpp"
#include "vlgen.h"

using vlfacade::Neutral;
using vlfacade::read_iv;
using vlfacade::scope;
using vlfacade::send;

namespace {

constexpr uint8_t R = VLN_BRING_REPORT;  // report 322 on an empty area
constexpr uint8_t S = VLN_BRING_SILENT;  // silent on an empty area

// Argument type sets.
constexpr const char* kNum = "INF";
constexpr const char* kName = "CM";
constexpr const char* kNumName = "INFCM";
constexpr const char* kBlock = "Bb";
constexpr const char* kBlockText = "BbCM";

// Codes of the numbered side doors.
constexpr int32_t kFieldType = 2, kFieldLen = 3, kFieldDec = 4;
constexpr int32_t kOrderDbfName = 5001, kOrderCheck = 5002;
constexpr int32_t kInfoFileLock = 20;
// createorder's arguments: file, order name, key text, key block, unique,
// no auto-lock, keep index, width and decimals.
constexpr int kCreateOrderArgs = 9;
// delete and recall take at most the three scope arguments.
constexpr int kScopeMethodArgs = 3;

}  // namespace

// ---- Report 322 on an empty area. ----
VLN_FUNC(dbdelete) { return send({"DBDELETE", "delete", VLN_DS_DELETE, R, Neutral::False, {}, 0, kScopeMethodArgs}, argc, argv); }
VLN_FUNC(dbrecall) { return send({"DBRECALL", "recall", VLN_DS_RECALL, R, Neutral::False, {}, 0, kScopeMethodArgs}, argc, argv); }
VLN_FUNC(dbeval) { return scope({{"DBEVAL", "eval", VLN_DS_EVAL, R, Neutral::False, {kBlock}}, 1}, argc, argv); }
VLN_FUNC(dbgobottom) { return send({"DBGOBOTTOM", "gobottom", VLN_DS_GOBOTTOM, R, Neutral::False}, argc, argv); }
VLN_FUNC(dbgotop) { return send({"DBGOTOP", "gotop", VLN_DS_GOTOP, R, Neutral::False}, argc, argv); }
VLN_FUNC(dbgoto) { return send({"DBGOTO", "goto", VLN_DS_GOTO, R, Neutral::False, {kNum}}, argc, argv); }
VLN_FUNC(dbskip) { return send({"DBSKIP", "skip", VLN_DS_SKIP, R, Neutral::False, {kNum}}, argc, argv); }
VLN_FUNC(__dbpack) { return send({"__DBPACK", "pack", VLN_DS_PACK, R, Neutral::False}, argc, argv); }
VLN_FUNC(__dbzap) { return send({"__DBZAP", "zap", VLN_DS_ZAP, R, Neutral::False}, argc, argv); }
VLN_FUNC(fieldget) { return send({"FIELDGET", "fieldget", VLN_DS_FIELDGET, R, Neutral::Nil, {kNum}}, argc, argv); }
VLN_FUNC(fieldput) { return send({"FIELDPUT", "fieldput", VLN_DS_FIELDPUT, R, Neutral::Nil, {kNum}}, argc, argv); }
VLN_FUNC(ordcreate) { return send({"ORDCREATE", "createorder", VLN_DS_CREATEORDER, R, Neutral::False, {}, 0, kCreateOrderArgs}, argc, argv); }
VLN_FUNC(dbcreatein) { return send({"DBCREATEINDEX", "createindex", VLN_DS_CREATEINDEX, R, Neutral::False}, argc, argv); }
VLN_FUNC(orddestroy) { return send({"ORDDESTROY", "deleteorder", VLN_DS_DELETEORDER, R, Neutral::Zero}, argc, argv); }
VLN_FUNC(ordlistreb) { return send({"ORDLISTREBUILD", "reindex", VLN_DS_REINDEX, R, Neutral::False}, argc, argv); }
VLN_FUNC(dbreindex) { return _bb_ordlistreb(argc, argv); }

// ---- Silent, FALSE. ----
VLN_FUNC(bof) { return read_iv({"bof", VLN_IV_BOF, Neutral::False}); }
VLN_FUNC(eof) { return read_iv({"eof", VLN_IV_EOF, Neutral::False}); }
VLN_FUNC(deleted) { return read_iv({"deleted", VLN_IV_DELETED, Neutral::False}); }
VLN_FUNC(used) { return read_iv({"used", VLN_IV_USED, Neutral::False}); }
// APPEND FROM a text file: the scope counts lines of the file, not records
// of the area, so it goes to the method as given.
VLN_FUNC(__dbappdel) { return send({"__DBAPPDEL", "appenddelimited", VLN_DS_APPENDDELIMITED, S, Neutral::False, {kName}}, argc, argv); }
VLN_FUNC(__dbappsdf) { return send({"__DBAPPSDF", "appendsdf", VLN_DS_APPENDSDF, S, Neutral::False, {kName}}, argc, argv); }
VLN_FUNC(dbcloseare) { return send({"DBCLOSEAREA", "close", VLN_DS_CLOSE, S, Neutral::False}, argc, argv); }
VLN_FUNC(dbclearfil) { return send({"DBCLEARFILTER", "clearfilter", VLN_DS_CLEARFILTER, S, Neutral::False}, argc, argv); }
VLN_FUNC(dbclearrel) { return send({"DBCLEARRELATION", "clearrelation", VLN_DS_CLEARRELATION, S, Neutral::False}, argc, argv); }
VLN_FUNC(dbcommit) { return send({"DBCOMMIT", "commit", VLN_DS_COMMIT, S, Neutral::False}, argc, argv); }
VLN_FUNC(dbrunlock) { return send({"DBRUNLOCK", "unlock", VLN_DS_UNLOCK, S, Neutral::False, {kNum}}, argc, argv); }
VLN_FUNC(dbunlock) { return send({"DBUNLOCK", "unlock", VLN_DS_UNLOCK, S, Neutral::False}, argc, argv); }
VLN_FUNC(dbsetfilte) { return send({"DBSETFILTER", "setfilter", VLN_DS_SETFILTER, S, Neutral::False, {kBlockText, kName}}, argc, argv); }
VLN_FUNC(rlock) { return send({"RLOCK", "rlock", VLN_DS_RLOCK, S, Neutral::False}, 0, argv); }
VLN_FUNC(dbrlock) { return send({"DBRLOCK", "rlock", VLN_DS_RLOCK, S, Neutral::False, {kNum}}, argc, argv); }
VLN_FUNC(flock) { return send({"FLOCK", "flock", VLN_DS_FLOCK, S, Neutral::False}, argc, argv); }
VLN_FUNC(isdbflock) { return send({"ISDBFLOCK", "info", VLN_DS_INFO, S, Neutral::False, {}, kInfoFileLock, 0}, argc, argv); }
VLN_FUNC(_seekeval) { return send({"_SEEKEVAL", "seekeval", VLN_DS_SEEKEVAL, S, Neutral::False, {kBlock}}, argc, argv); }
VLN_FUNC(rlockverif) { return send({"RLOCKVERIFY", "rlockverify", VLN_DS_RLOCKVERIFY, S, Neutral::False}, argc, argv); }
VLN_FUNC(ordcondset) { return send({"ORDCONDSET", "setordercondition", VLN_DS_SETORDERCONDITION, S, Neutral::False}, argc, argv); }
VLN_FUNC(ordlistcle) { return send({"ORDLISTCLEAR", "clearindex", VLN_DS_CLEARINDEX, S, Neutral::False}, argc, argv); }
VLN_FUNC(dbclearind) { return _bb_ordlistcle(argc, argv); }

// ---- Silent, the empty text. ----
VLN_FUNC(alias) { return read_iv({"alias", VLN_IV_ALIAS, Neutral::Empty}); }
VLN_FUNC(dbfilter) { return read_iv({"filter", VLN_IV_FILTER, Neutral::Empty}); }
VLN_FUNC(rddname) { return read_iv({"rddname", VLN_IV_RDDNAME, Neutral::Empty}); }
VLN_FUNC(dbrelation) { return send({"DBRELATION", "relation", VLN_DS_RELATION, S, Neutral::Empty, {kNum}}, argc, argv); }
VLN_FUNC(fieldname) { return send({"FIELDNAME", "fieldname", VLN_DS_FIELDNAME, S, Neutral::Empty, {kNum}}, argc, argv); }
VLN_FUNC(fieldtype) { return send({"FIELDTYPE", "fieldinfo", VLN_DS_FIELDINFO, S, Neutral::Empty, {kNumName}, kFieldType, 1}, argc, argv); }
VLN_FUNC(indexdbf) { return send({"INDEXDBF", "orderinfo", VLN_DS_ORDERINFO, S, Neutral::Empty, {kNumName}, kOrderDbfName, 1}, argc, argv); }
VLN_FUNC(indexkey) { return send({"INDEXKEY", "indexkey", VLN_DS_INDEXKEY, S, Neutral::Empty, {kNum}}, argc, argv); }

// ---- Silent, 0. ----
VLN_FUNC(fcount) { return read_iv({"fcount", VLN_IV_FCOUNT, Neutral::Zero}); }
VLN_FUNC(header) { return read_iv({"header", VLN_IV_HEADER, Neutral::Zero}); }
VLN_FUNC(indexcount) { return read_iv({"indexcount", VLN_IV_INDEXCOUNT, Neutral::Zero}); }
VLN_FUNC(lastrec) { return read_iv({"lastrec", VLN_IV_LASTREC, Neutral::Zero}); }
VLN_FUNC(reccount) { return read_iv({"reccount", VLN_IV_RECCOUNT, Neutral::Zero}); }
VLN_FUNC(recno) { return read_iv({"recno", VLN_IV_RECNO, Neutral::Zero}); }
VLN_FUNC(recsize) { return read_iv({"recsize", VLN_IV_RECSIZE, Neutral::Zero}); }
VLN_FUNC(fielddeci) { return send({"FIELDDEC", "fieldinfo", VLN_DS_FIELDINFO, S, Neutral::Zero, {kNumName}, kFieldDec, 1}, argc, argv); }
VLN_FUNC(fieldlen) { return send({"FIELDLEN", "fieldinfo", VLN_DS_FIELDINFO, S, Neutral::Zero, {kNumName}, kFieldLen, 1}, argc, argv); }
VLN_FUNC(fieldpos) { return send({"FIELDPOS", "fieldpos", VLN_DS_FIELDPOS, S, Neutral::Zero, {kName}}, argc, argv); }
VLN_FUNC(indexord) { return send({"INDEXORD", "indexord", VLN_DS_INDEXORD, S, Neutral::Zero}, argc, argv); }

// ---- Silent, -1, a blank date, NIL. ----
VLN_FUNC(indexcheck) { return send({"INDEXCHECK", "orderinfo", VLN_DS_ORDERINFO, S, Neutral::MinusOne, {kNum}, kOrderCheck, 1}, argc, argv); }
VLN_FUNC(usersdbf) { return send({"USERSDBF", "usersdbf", VLN_DS_USERSDBF, S, Neutral::MinusOne}, argc, argv); }
VLN_FUNC(lupdate) { return read_iv({"lupdate", VLN_IV_LUPDATE, Neutral::BlankDate}); }
VLN_FUNC(dbgetlocat) { return read_iv({"getlocate", VLN_IV_GETLOCATE, Neutral::Nil}); }
VLN_FUNC(dbrlocklis) { return read_iv({"rlocklist", VLN_IV_RLOCKLIST, Neutral::Nil}); }
VLN_FUNC(dbstruct) { return send({"DBSTRUCT", "dbstruct", VLN_DS_DBSTRUCT, S, Neutral::Nil}, argc, argv); }
