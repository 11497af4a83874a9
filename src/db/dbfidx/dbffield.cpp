/*
** dbffield.cpp -- field access: reading a field of the record buffer into
** its field record, and writing a value into the buffer.
*/
#include <clocale>
#include <cstdio>
#include <cstring>

#include "dates.hpp"
#include "dbfidx.h"
#include "dbfint.hpp"
#include "vlgen.h"
#include "numbers.hpp"

using namespace vl;

namespace {

constexpr int kNumBuf = 64;

int32_t field_no(DbfState* s, var* v)
{
  if (!v) return 0;
  const int32_t n = vlnInSet("FIN", v->Type) ? vlnIntVar(v) : 0;
  return n >= 1 && n <= s->fieldcount ? n : 0;
}

/* Store value into field i of the buffer; false after a report. */
bool store(var* self, DbfState* s, int32_t i, var* value)
{
  const DbfField& f = s->fields[i];
  char* at = reinterpret_cast<char*>(s->recbuf + f.offset);
  diBackupRecord(s);
  if (f.type == 'C') {
    const size_t n = size_t(value->Length > 0 ? value->Length - 1 : 0);
    const size_t k = n < f.len ? n : f.len;
    std::memcpy(at, VSTR(value), k);
    std::memset(at + k, ' ', f.len - k);
  } else if (f.type == 'N' || f.type == 'F') {
    char buf[kNumBuf];
    const int w = std::snprintf(buf, sizeof buf, "%*.*f", int(f.len), int(f.dec), vlnNumVar(value));
    if (w > int(f.len)) std::memset(at, ' ', f.len);
    else std::memcpy(at, buf, f.len);
  } else if (f.type == 'D') {
    std::memcpy(at, set_dat(value->Value.w1.i), DBF_DATE_LEN);
  } else if (f.type == 'L') {
    *at = vlnLogVar(value) ? 'T' : 'F';
  }
  s->dirty = 1;
  s->fieldvalid[i] = 0;
  return true;
}

}  // namespace

namespace vl {

int vln_chk_repl(DbfState* s, var* self)
{
  if (s->eof) return dbf_error(self, diMN_fldput, VL_E_AT_EOF, VL_SEV_RUNTIME, diEM_eofrpl, dbf_alias(s)), -1;
  if (s->lastrec == 0) return dbf_error(self, diMN_fldput, VL_E_AT_EOF, VL_SEV_RUNTIME, diEM_emtrpl, dbf_alias(s)), -1;
  if ((s->lk.status & (DBF_ST_EXCL | DBF_ST_FLOCKED)) || diIsRecLocked(&s->lk, s->recno)) return 0;
  dbf_error(self, diMN_fldput, VL_E_NOT_LOCKED, VL_SEV_RUNTIME, diEM_unlockrpl, int(s->recno), dbf_alias(s));
  return -1;
}

var* diSelfFieldGet(var* self, var* field)
{
  DbfState* s = dbf_state(self);
  const int32_t i = int32_t(field->F_indx);
  if (s->bufrec == s->recno && s->fieldvalid[i]) return field;
  get_rec(self, 1);
  s->fieldvalid[i] = 1;
  const DbfField& f = s->fields[i];
  const char* at = reinterpret_cast<const char*>(s->recbuf + f.offset);
  char tmp[DBF_DATE_LEN + 1];
  switch (f.type) {
    case 'C': field->Value.w1.str = const_cast<char*>(at); break;
    case 'N': case 'F': field->Value.w1.d = qrt_atof1(at, int32_t(f.len)); break;
    case 'D':
      std::memcpy(tmp, at, DBF_DATE_LEN);
      tmp[DBF_DATE_LEN] = '\0';
      field->Value.w1.i = get_dat(tmp);
      break;
    case 'L': field->Value.w1.i = *at == 'T'; break;
    default: break;
  }
  return field;
}

void dbf_point_fields(DbfState* s)
{
  for (uint16_t i = 0; i < s->fieldcount; ++i)
    if (s->fieldvars[i] && s->fields[i].type == 'C')
      s->fieldvars[i]->Value.w1.str = reinterpret_cast<char*>(s->recbuf + s->fields[i].offset);
}

}  // namespace vl

extern "C" {

var* _bb_dbfidx_quickfieldget_me(int argc, var** argv) { return diSelfFieldGet(argv[0], argv[1]); }

var* _bb_dbfidx_quickfieldput_me(int argc, var** argv)
{
  DbfState* s = dbf_state(argv[0]);
  if (vln_chk_repl(s, argv[0]) < 0) return NIL_VAR;
  if (s->bufrec != s->recno) get_rec(argv[0], 1);
  store(argv[0], s, int32_t(argv[1]->F_indx), argv[2]);
  return diSelfFieldGet(argv[0], argv[1]);
}

var* _bb_dbfidx_fieldget_me(int argc, var** argv)
{
  DbfState* s = dbf_state(argv[0]);
  if (!dbf_is_open(s)) return NIL_VAR;
  const int32_t n = field_no(s, argc > 1 ? argv[1] : nullptr);
  if (!n || !s->fieldvars[n - 1]) return NIL_VAR;
  return diSelfFieldGet(argv[0], s->fieldvars[n - 1]);
}

var* _bb_dbfidx_fieldput_me(int argc, var** argv)
{
  DbfState* s = dbf_state(argv[0]);
  if (!dbf_is_open(s) || argc < 3) return NIL_VAR;
  const int32_t n = field_no(s, argv[1]);
  if (!n || !s->fieldvars[n - 1]) return NIL_VAR;
  var* args[] = {argv[0], s->fieldvars[n - 1], argv[2]};
  return _bb_dbfidx_quickfieldput_me(3, args);
}

var* _bb_dbfidx_fieldpos_me(int argc, var** argv) { return set_Iv(0); }
var* _bb_dbfidx_fieldname_me(int argc, var** argv) { return NIL_VAR; }
var* _bb_dbfidx_fieldinfo_me(int argc, var** argv) { return NIL_VAR; }
var* _bb_dbfidx_noivarget_me(int argc, var** argv) { return NIL_VAR; }
var* _bb_dbfidx_noivarput_me(int argc, var** argv) { return NIL_VAR; }
var* _bb_dbfidx_replace_me(int argc, var** argv) { return NIL_VAR; }

VLN_FUNC(field) { return NIL_VAR; }
VLN_FUNC(fieldgetar) { return NIL_VAR; }
VLN_FUNC(fieldputar) { return NIL_VAR; }

}  // extern "C"
