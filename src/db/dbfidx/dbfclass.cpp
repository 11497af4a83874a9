/*
** dbfclass.cpp -- the DBF driver's constructor, its method array, and the
** small messages that only read the state: the accesses, info, rddinfo and
** recordinfo.
**
** The position flags (BOF, EOF, the record number and the count) live in
** the driver state beside the rest of the position, where every move
** reaches them without going through a value record; the accesses read
** them from there.
*/
#include <sys/stat.h>

#include <cstring>
#include <string_view>

#include "areas.h"
#include "arrays.h"
#include "dataserver.h"
#include "dbfidx.h"
#include "dbfidxclass.h"
#include "dates.hpp"
#include "dbfint.hpp"
#include "files.h"
#include "objects.h"
#include "vlgen.h"

using namespace vl;

namespace {

constexpr char kModule[] = "dbfclass";
constexpr char kDriverName[] = "DBFIDX";
constexpr double kVersionNumber = 3.0;
constexpr char kVersionText[] = "4.40";
constexpr int kOctalBase = 8;
constexpr int kYearBase = 1900;  // header byte 1 counts years from here

/* One driver function by message name and kind letter. */
struct Method {
  std::string_view name;
  char kind;
  AnyFn fn;
};

#define VLN_DBFIDX_KIND_me 'M'
#define VLN_DBFIDX_KIND_ac 'A'
#define VLN_DBFIDX_KIND_as '='
#define VLN_DBFIDX_ROW_(name, kind) \
  {#name, VLN_DBFIDX_KIND_##kind, reinterpret_cast<AnyFn>(_bb_dbfidx_##name##_##kind)},
const Method kMethods[] = {VLN_DBFIDX_METHODS(VLN_DBFIDX_ROW_)};
#undef VLN_DBFIDX_ROW_

/* The driver's function for a slot of its class, or null (the dataserver's
** then answers). */
AnyFn method_of(int32_t slot)
{
  const VlnDsSlotInfo& info = vlnDbfidxClass()->slots[slot];
  for (const Method& m : kMethods)
    if (m.kind == info.kind && m.name == info.name) return m.fn;
  return nullptr;
}

var* methods()
{
  static var* array = vlnDsCollectMethods(vlnDbfidxClass(), method_of);
  return array;
}

DbfState* st(var* obj) { return dbf_state(obj); }
bool open_obj(var* obj) { return dbf_is_open(st(obj)); }
/* A flag of an open table (0 for a closed one) as the constant record: a
** loop reads EOF() once per record, and a constant costs no temporary. */
var* flag_of(var* obj, uint8_t DbfState::*flag)
{
  const DbfState* s = st(obj);
  return dbf_is_open(s) && s->*flag ? TRUE_VAR : FALSE_VAR;
}

var* text(const char* t) { return set_Cvar(cre_tmpvar(), t, -1); }

/* The file part of the table's name without its extension. */
var* base_name(var* obj)
{
  const char* name = open_obj(obj) ? st(obj)->filename : "";
  const char* base = std::strrchr(name, '/');
  base = base ? base + 1 : name;
  const char* dot = std::strrchr(base, '.');
  return set_Cvar(cre_tmpvar(), base, dot ? int32_t(dot - base) : -1);
}

/* The permission bits of a mode as the decimal rendering of their octal
** value (0644 -> 644). */
int32_t octal_digits(unsigned mode)
{
  int32_t out = 0, scale = 1;
  for (; mode; mode /= kOctalBase, scale *= 10) out += int32_t(mode % kOctalBase) * scale;
  return out;
}

/* The locked records as an array of numbers. */
var* lock_list(DbfState* s)
{
  var* a = cre_arr(cre_tmpvar(), 0, VL_ARR_NIL, static_cast<var*>(nullptr));
  if (!dbf_is_open(s)) return a;
  for (int32_t i = 0; i < s->lk.lockcount; ++i) {
    var* args[] = {a, set_Iv(s->lk.locks[i])};
    _bb_aadd(2, args);
  }
  return a;
}

/* A logical argument at argv[i], or the default. */
bool arg_is(int argc, var** argv, int i, char type) { return argc > i && argv[i]->Type == type; }

/* info codes that change a text setting: ext (an 8-byte buffer). */
var* swap_text(char* setting, size_t size, int argc, var** argv)
{
  var* old = text(setting);
  if (arg_is(argc, argv, 2, 'C')) std::snprintf(setting, size, "%s", VSTR(argv[2]));
  return old;
}

/* info codes that read or set a flag byte. */
var* swap_flag(uint8_t* flag, int argc, var** argv)
{
  var* old = set_lv(*flag);
  if (arg_is(argc, argv, 2, 'L') || (argc > 2 && vlnInSet("NFI", argv[2]->Type)))
    *flag = vlnLogVar(argv[2]) ? 1 : 0;
  return old;
}

/* info codes 28 and 5001: the filter's text or block (old), and with a
** block or text argument a new filter. */
var* swap_filter(var* self, var* old, int argc, var** argv)
{
  if (argc > 2 && vlnInSet("BbCM", argv[2]->Type)) _bb_dbfidx_filter_as(self, argv[2]);
  return old;
}

/* info code 34: the LOCATE condition; a block replaces it, NIL clears it. */
var* swap_locate(var* self, DbfState* s, int argc, var** argv)
{
  var* old = _bb_dbfidx_getlocate_ac(self);
  if (arg_is(argc, argv, 2, 'U')) dbf_clear_locate(s);
  else if (argc > 2 && vlnInSet("Bb", argv[2]->Type)) _bb_dbfidx_setlocate_as(self, argv[2]);
  else if (argc > 2) dbf_error(self, diMN_info, VL_E_ILLEGAL_TYPE, VL_SEV_RUNTIME, "%s", diEM_blkexptd);
  return old;
}

var* info_code(var* self, DbfState* s, int32_t code, int argc, var** argv)
{
  switch (code) {
    case 1: case 2: case 25: return TRUE_VAR;
    case 3: return set_Iv(s->lk.headerlen);
    case 4: return _bb_dbfidx_lupdate_ac(self);
    case 5: case 6: {
      var* old = text(s->delimiter);
      if (arg_is(argc, argv, 2, 'C') && argv[2]->Length > 1) s->delimiter[0] = VSTR(argv[2])[0];
      return old;
    }
    case 7: return set_Iv(s->lk.reclen);
    case 8: return lock_list(s);
    case 9: return swap_text(s->dbfext, sizeof s->dbfext, argc, argv);
    case 20: return set_lv(s->lk.status & DBF_ST_FLOCKED);
    case 22: return set_Iv(s->relactive);
    case 23: return set_Iv(s->lk.fd);
    case 24: return text(s->filename);
    case 26: return swap_flag(&s->bof, argc, argv);
    case 27: return swap_flag(&s->eof, argc, argv);
    case 28: return swap_filter(self, _bb_dbfidx_filter_ac(self), argc, argv);
    case 29: {
      var* old = set_lv(s->found);
      if (argc > 2 && argv[2]->Type == 'U') s->found = 0;
      else if (arg_is(argc, argv, 2, 'L')) s->found = vlnLogVar(argv[2]);
      else if (argc > 2) dbf_error(self, diMN_info, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_nulstr);
      return old;
    }
    case 30: return set_Iv(s->fieldcount);
    case 31: return set_Iv(dbf_is_open(s) ? s->lk.lockcount : 0);
    case 32: return set_lv(s->bufrec == s->recno);
    case 33: return _bb_dbfidx_alias_ac(self);
    case 34: return swap_locate(self, s, argc, argv);
    case 36: return set_lv(!dbf_is_excl(s));
    case 37: return swap_text(s->dbtext, sizeof s->dbtext, argc, argv);
    case 38: return set_Iv(s->dbt_fd);
    case 39: return set_Iv(DBT_BLOCK);
    case 101: return set_nv(kVersionNumber, 1);
    case 102: return text(kVersionText);
    case 1000: return set_Iv(dbf_is_open(s) ? diCheckExclusive(s->lk.fd, VLN_LOCK_BASE) : -1);
    case 5000: {
      struct stat sb;
      if (dbf_is_open(s) && fstat(s->lk.fd, &sb) == 0) return set_Iv(octal_digits(sb.st_mode & 0777));
      return set_Iv(octal_digits(unsigned(vlnGetUmask())));
    }
    case 5001: return swap_filter(self, s->filterblock ? cpy_var(cre_tmpvar(), s->filterblock) : NIL_VAR, argc, argv);
    case 5011: return set_Iv(s->hdr[DBF_OFF_WRCNT]);
    default: return NIL_VAR;
  }
}

}  // namespace

extern "C" {

VLN_FUNC(dbfidxnew)
{
  VL_BEGIN(kModule, "dbfidxnew");
  var* obj = set_Ov(VLN_DS_STATE_SLOT - 1, DbfidxStruct, methods());
  vlnDataserverWire(obj);
  VL_RETURN_T(vlnDoInit(obj, argc, argv), 'O');
}

VLN_FUNC(dbfidx) { return TRUE_VAR; }
VLN_FUNC(rddsys) { return TRUE_VAR; }

/* ---- Accesses. ---- */

var* _bb_dbfidx_bof_ac(var* obj) { return flag_of(obj, &DbfState::bof); }
var* _bb_dbfidx_eof_ac(var* obj) { return flag_of(obj, &DbfState::eof); }
var* _bb_dbfidx_found_ac(var* obj) { return flag_of(obj, &DbfState::found); }
var* _bb_dbfidx_used_ac(var* obj) { return set_lv(open_obj(obj)); }
var* _bb_dbfidx_shared_ac(var* obj) { return set_lv(open_obj(obj) && !dbf_is_excl(st(obj))); }
var* _bb_dbfidx_readonly_ac(var* obj) { return set_lv(open_obj(obj) && dbf_is_ro(st(obj))); }
var* _bb_dbfidx_indexcount_ac(var* obj) { return set_Iv(open_obj(obj) ? st(obj)->indexcount : 0); }
var* _bb_dbfidx_driver_ac(var* obj) { return text(kDriverName); }
var* _bb_dbfidx_rddname_ac(var* obj) { return text(kDriverName); }
var* _bb_dbfidx_indexext_ac(var* obj) { return text(st(obj) ? st(obj)->idxext : ".idx"); }
var* _bb_dbfidx_filespec_ac(var* obj) { return text(open_obj(obj) ? st(obj)->filename : ""); }
var* _bb_dbfidx_name_ac(var* obj) { return base_name(obj); }
var* _bb_dbfidx_header_ac(var* obj) { return set_Iv(open_obj(obj) ? st(obj)->lk.headerlen : 0); }
var* _bb_dbfidx_recsize_ac(var* obj) { return set_Iv(open_obj(obj) ? st(obj)->lk.reclen : 0); }
var* _bb_dbfidx_fcount_ac(var* obj) { return set_Iv(open_obj(obj) ? st(obj)->fieldcount : 0); }
var* _bb_dbfidx_rlocklist_ac(var* obj) { return lock_list(st(obj)); }
var* _bb_dbfidx_concurrenc_ac(var* obj) { return set_Iv(st(obj) ? st(obj)->concurrency : 1); }

var* _bb_dbfidx_concurrenc_as(var* obj, var* value)
{
  if (st(obj) && vlnInSet("NFI", value->Type)) st(obj)->concurrency = vlnIntVar(value);
  return _bb_dbfidx_concurrenc_ac(obj);
}

/* The record number; an empty table stands on record 1. */
var* _bb_dbfidx_recno_ac(var* obj)
{
  if (!open_obj(obj)) return set_Iv(0);
  const DbfState* s = st(obj);
  return set_Iv(s->lastrec == 0 ? 1 : s->recno);
}

/* The count, re-read from the header of a shared table. */
var* _bb_dbfidx_lastrec_ac(var* obj)
{
  if (!open_obj(obj)) return set_Iv(0);
  reread_dbfhdr(obj);
  return set_Iv(st(obj)->lastrec);
}
var* _bb_dbfidx_reccount_ac(var* obj) { return _bb_dbfidx_lastrec_ac(obj); }

var* _bb_dbfidx_deleted_ac(var* obj)
{
  DbfState* s = st(obj);
  if (!dbf_is_open(s)) return FALSE_VAR;
  get_rec(obj, 1);
  return set_lv(s->recbuf[0] == '*');
}

var* _bb_dbfidx_lupdate_ac(var* obj)
{
  DbfState* s = st(obj);
  if (!dbf_is_open(s)) return set_dv(0);
  return set_dv(datoint(s->hdr[3], s->hdr[2], s->hdr[1] + kYearBase));
}

var* _bb_dbfidx_alias_ac(var* obj) { return text(open_obj(obj) ? st(obj)->alias : ""); }

/* alias= rebinds the table's area under a new (unique) alias. */
var* _bb_dbfidx_alias_as(var* obj, var* value)
{
  DbfState* s = st(obj);
  if (dbf_is_open(s) && vlnInSet("CM", value->Type) && !(s->lk.status & DBF_ST_INSPECT))
    vlnAnnounceAlias(obj, VSTR(value), s->alias);
  return _bb_dbfidx_alias_ac(obj);
}

/* ---- Information. ---- */

/* info(code[, new value]): see the table in info_code. */
var* _bb_dbfidx_info_me(int argc, var** argv)
{
  DbfState* s = st(argv[0]);
  if (!s || argc < 2 || !vlnInSet("NFI", argv[1]->Type)) return NIL_VAR;
  return info_code(argv[0], s, vlnIntVar(argv[1]), argc, argv);
}

/* rddinfo(code[, value]) */
var* _bb_dbfidx_rddinfo_me(int argc, var** argv)
{
  if (argc < 2 || !vlnInSet("NFI", argv[1]->Type)) return NIL_VAR;
  switch (vlnIntVar(argv[1])) {
    case 101: return set_Iv(DBT_BLOCK);
    case 102: return text(kDriverName);
    case 103: {
      DbfState* s = st(argv[0]);
      return s ? swap_text(s->dbtext, sizeof s->dbtext, argc, argv) : text(".dbt");
    }
    case 104: case 106: case 107: case 109: case 111: return FALSE_VAR;
    case 105: return set_Iv(0);
    case 108: return set_Iv(1);
    default: return NIL_VAR;
  }
}

/* recordinfo(code[, recno]): 1 deleted, 2 locked, 3 length, 4 recno. */
var* _bb_dbfidx_recordinfo_me(int argc, var** argv)
{
  var* self = argv[0];
  DbfState* s = st(self);
  if (!dbf_is_open(s) || argc < 2 || !vlnInSet("NFI", argv[1]->Type)) return NIL_VAR;
  const bool given = argc > 2 && vlnInSet("NFI", argv[2]->Type);
  const int32_t n = given ? vlnIntVar(argv[2]) : s->recno;
  switch (vlnIntVar(argv[1])) {
    case 1: {
      if (!given || n == s->recno) return _bb_dbfidx_deleted_ac(self);
      uint8_t flag = ' ';
      if (n >= 1 && n <= s->lastrec) {
        dbf_wb_flush(s);
        dbf_pread(s->lk.fd, &flag, 1, dbf_recpos(s, n));
      }
      return set_lv(flag == '*');
    }
    case 2: return set_lv(dbf_is_excl(s) || (s->lk.status & DBF_ST_FLOCKED) || diIsRecLocked(&s->lk, n));
    case 3: return set_Iv(s->lk.reclen);
    case 4: return set_Iv(s->recno);
    default: return NIL_VAR;
  }
}

var* _bb_dbfidx_asstring_me(int argc, var** argv) { return base_name(argv[0]); }

var* _bb_dbfidx_errinfo_me(int argc, var** argv) { return diErrorObject(argv[0]); }

/* error([error object]): deliver the table's error object (or the one
** given) to the error block. */
var* _bb_dbfidx_error_me(int argc, var** argv)
{
  var* e = argc > 1 && argv[1]->Type == 'O' ? argv[1] : diErrorObject(argv[0]);
  if (e->Type == 'O') diErrorDeliver(e);
  return NIL_VAR;
}

}  // extern "C"
