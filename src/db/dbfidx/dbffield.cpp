/*
** dbffield.cpp -- field access: the field records' values from the record
** buffer, assignments into the buffer, and REPLACE.
**
** Every announced field of an open table has one field record
** (s->fieldvars[i], Mode 'f'); the areas read it through quickfieldget and
** write it through quickfieldput.  A record caches the value of the record
** in the buffer while fieldvalid[i] is set and bufrec == recno, so that a
** second read in the same record costs a compare and a byte test.  A 'C'
** record points into recbuf and is never copied; a memo record owns a text
** buffer that the driver reallocates.  Fields of a type the areas do not
** know have no record (a null entry) and count as no field at all.
**
** An assignment is checked (vln_chk_repl: open, writable, on a record,
** locked, or locked automatically for the one write), converted by the field's type and written into the buffer only;
** put_rec writes the record at the next move, commit or close.  Numbers are
** formatted in the C locale whatever the process's locale is.
*/
#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "arrays.h"
#include "blocks.h"
#include "breakguard.hpp"
#include "dates.hpp"
#include "dbfidx.h"
#include "dbfint.hpp"
#include "facade.h"
#include "fieldcodec.hpp"
#include "letters.hpp"
#include "numbers.hpp"
#include "objects.h"
#include "vlgen.h"

namespace vl {

namespace {

constexpr const char* kModule = "dbffield";
constexpr const char* kPositionTypes = "INF";
constexpr LetterSet kPositionLetters = letters(kPositionTypes);
constexpr const char* kNameTypes = "CM";
constexpr const char* kFieldArgTypes = "INFC";
constexpr LetterSet kFieldArgLetters = letters(kFieldArgTypes);
constexpr const char* kFieldSpecTypes = "INFCM";  // a field of REPLACE
constexpr const char* kNumericTypes = "NFIL";
constexpr size_t kNumText = 260;  // longer than any field a number can take
constexpr int kQuickDecimals = 15;
// 10^k for k up to kQuickDecimals: below 2^53, so exact as doubles too.
constexpr auto kDecimalUnits = [] {
  std::array<uint64_t, kQuickDecimals + 1> units{};
  uint64_t unit = 1;
  for (uint64_t& u : units) u = unit, unit *= 10;
  return units;
}();
constexpr double kQuickLimit = 4503599627370496.0;  // 2^52
constexpr size_t kQuickText = 24;                    // sign, 16 digits, point
constexpr int kLowByte = 0xFF;
constexpr int kHighShift = 8;

/* fieldinfo codes. */
enum { kInfoName = 1, kInfoType = 2, kInfoLen = 3, kInfoDec = 4 };

/* How an assignment ended. */
enum class Put { kStored, kUnchanged, kOverflow, kFailed };

DbfState* open_state(var* self)
{
  DbfState* s = dbf_state(self);
  return dbf_is_open(s) ? s : nullptr;
}

var* text_result(const char* text) { return set_Cvar(cre_tmpvar(), text, -1); }

/* The bytes of a 'C' or 'M' value. */
int32_t text_len(const var* v) { return VSTR(v) && v->Length > 0 ? v->Length - 1 : 0; }

bool is_block(const var* v) { return v->Type == 'B' || v->Type == 'b'; }

/* Whether field i has a record. */
bool announced(const DbfState* s, int32_t i) { return s->fieldvars && s->fieldvars[i]; }

/* The 1-based position of the field called name (len bytes), compared by
** field_name_key; 0 for none. */
int32_t field_pos(const DbfState* s, const char* name, int32_t len)
{
  char want[DBF_NAME_LEN + 1];
  if (!field_name_key(name, len, want)) return 0;
  for (int32_t i = 0; i < s->fieldcount; ++i)
    if (announced(s, i) && std::strcmp(s->fields[i].name, want) == 0) return i + 1;
  return 0;
}

/* The position a field argument names: a number as it is, a name through
** field_pos; -1 for a value of another type. */
int32_t position_of(const DbfState* s, var* arg)
{
  if (kPositionLetters.has(arg->Type)) return vlnIntVar(arg);
  if (vlnInSet(kNameTypes, arg->Type)) return field_pos(s, VSTR(arg), text_len(arg));
  return -1;
}

/* The 0-based index of the field arg names, or -1 for no such field. */
int32_t field_index(const DbfState* s, var* arg)
{
  const int32_t n = position_of(s, arg);
  return n >= 1 && n <= s->fieldcount && announced(s, n - 1) ? n - 1 : -1;
}

/* The memo block number in a field's text; 0 for none. */
int32_t memo_block(const uint8_t* p, uint32_t len)
{
  char num[DBF_MAX_NUMLEN + 1];
  const size_t n = std::min<size_t>(len, DBF_MAX_NUMLEN);
  std::memcpy(num, p, n);
  num[n] = '\0';
  const long block = qrt_atol(num, nullptr, 0);
  return block > 0 && block <= INT32_MAX ? int32_t(block) : 0;
}

/* Decode field f of the buffer into its record. */
void decode_field(var* self, DbfState* s, const DbfField& f, var* field)
{
  uint8_t* p = s->recbuf + f.offset;
  if (f.type != 'M') {  // an unknown letter has no record to decode into
    decode_plain_field(f.type, p, f.len, field);
    return;
  }
  const int32_t block = memo_block(p, f.len);
  if (block < 1 || !dbt_read(self, block, field)) dbt_settext(field, "", 0);
}

/* The record of field i of an open table, refreshed from the buffer. */
var* field_value(var* self, DbfState* s, uint32_t i, var* field)
{
  if (s->bufrec != s->recno)
    get_rec(self, 1);
  else if (s->fieldvalid[i])
    return field;
  decode_field(self, s, s->fields[i], field);
  s->fieldvalid[i] = 1;
  return field;
}

/* Whether a value of type vt may go into a field of type ft. */
bool assignable(char ft, char vt)
{
  if (ft == vt) return true;
  if (vlnInSet(kNameTypes, ft)) return vlnInSet(kNameTypes, vt);
  return vlnInSet(kNumericTypes, ft) && vlnInSet(kNumericTypes, vt);
}

/* Put n bytes of text right-justified into a field of width bytes; false
** (and the field blank) when it does not fit. */
bool justify(uint8_t* field, uint32_t width, const char* text, size_t n)
{
  if (n > width) {
    std::memset(field, ' ', width);
    return false;
  }
  std::memset(field, ' ', width - n);
  std::memcpy(field + (width - n), text, n);
  return true;
}

/* x with dec decimals as to_chars writes it (the exact binary value
** rounded half to even) into text, when one product with a power of ten
** decides the rounding: |x| * 10^dec below 2^52 (digits exact) and not
** within an ulp of a half (the product's error is half an ulp).  The
** length written, or 0 to leave it to to_chars. */
size_t quick_fixed(char* text, int dec, double x)
{
  if (dec > kQuickDecimals) return 0;
  const double y = std::fabs(x) * double(kDecimalUnits[dec]);
  if (!(y < kQuickLimit)) return 0;  // NaN too
  const double whole = std::floor(y);
  const double frac = y - whole;
  if (std::fabs(frac - 0.5) <= std::nextafter(y, kQuickLimit) - y) return 0;
  const uint64_t r = uint64_t(whole) + (frac > 0.5);
  char digits[kQuickText];
  char* const end = digits + sizeof digits;
  char* p = end;
  uint64_t ip = r / kDecimalUnits[dec], fp = r % kDecimalUnits[dec];
  for (int i = 0; i < dec; ++i, fp /= 10) *--p = char('0' + fp % 10);
  if (dec) *--p = '.';
  do *--p = char('0' + ip % 10); while (ip /= 10);
  if (std::signbit(x)) *--p = '-';
  std::memcpy(text, p, size_t(end - p));
  return size_t(end - p);
}

/* x with dec decimals into an 'N' field of width bytes. */
bool put_fixed(uint8_t* field, uint32_t width, int dec, double x)
{
  char text[kNumText];
  if (const size_t n = quick_fixed(text, dec, x)) return justify(field, width, text, n);
  const auto r = std::to_chars(text, text + sizeof text, x, std::chars_format::fixed, dec);
  if (r.ec != std::errc() || !std::isfinite(x)) return justify(field, width, text, width + 1);
  return justify(field, width, text, size_t(r.ptr - text));
}

/* x into an 'F' field of width bytes: as many significant digits as the
** width, fewer while the text does not fit. */
bool put_general(uint8_t* field, uint32_t width, double x)
{
  char text[kNumText];
  for (int prec = int(width); prec >= 1 && std::isfinite(x);) {
    const auto r = std::to_chars(text, text + sizeof text, x, std::chars_format::general, prec);
    if (r.ec != std::errc()) break;
    const int n = int(r.ptr - text);
    if (n <= int(width)) return justify(field, width, text, size_t(n));
    prec -= std::max(1, n - int(width));
  }
  return justify(field, width, text, width + 1);
}

/* A memo assignment: the text goes to the memo file and its block number
** into the field.  An empty text for a field without a block changes
** nothing. */
Put put_memo(var* self, const DbfField& f, uint8_t* p, var* field, var* value)
{
  const int32_t old = memo_block(p, f.len);
  const int32_t len = text_len(value);
  if (len == 0 && old < 1) return Put::kUnchanged;
  const int32_t block = dbt_write(self, old, len ? VSTR(value) : "", len, field);
  if (block == 0) return Put::kFailed;
  char num[DBF_MAX_NUMLEN + 1];
  const int n = std::snprintf(num, sizeof num, "%d", block);
  return justify(p, f.len, num, size_t(n)) ? Put::kStored : Put::kOverflow;
}

/* Convert value by the type of field f and store it in the buffer and in
** the field's record. */
Put store(var* self, DbfState* s, const DbfField& f, var* field, var* value)
{
  uint8_t* p = s->recbuf + f.offset;
  switch (f.type) {
    case 'C': {
      const uint32_t n = std::min<uint32_t>(uint32_t(text_len(value)), f.len);
      if (n) std::memmove(p, VSTR(value), n);
      std::memset(p + n, ' ', f.len - n);
      return Put::kStored;
    }
    case 'M':
      return put_memo(self, f, p, field, value);
    case 'D':
      std::memcpy(p, set_dat(value->Value.w1.i), std::min<size_t>(f.len, DBF_DATE_LEN));
      field->Value.w1.i = value->Value.w1.i;
      return Put::kStored;
    case 'L':
      field->Value.w1.i = vlnLogVar(value) != 0;
      p[0] = field->Value.w1.i ? 'T' : 'F';
      return Put::kStored;
    default: {  // 'N', 'F': the record shows what the file will hold
      const double x = vlnNumVar(value);
      const bool fits = f.type == 'F' ? put_general(p, f.len, x) : put_fixed(p, f.len, f.dec, x);
      field->Value.w1.d = qrt_atof1(reinterpret_cast<const char*>(p), int32_t(f.len));
      return fits ? Put::kStored : Put::kOverflow;
    }
  }
}

/* The automatic lock of a write to an unlocked record of a shared table:
** 1 when taken (give_back_auto_lock releases it after the write), -1 when
** forbidden or not obtained, after a report either way: a refused write
** is never silent. */
int take_auto_lock(var* self, DbfState* s)
{
  if (dbf_auto_allowed(s->concurrency) && dbf_auto_rlock(self, s->concurrency)) return 1;
  dbf_error(self, diMN_fldput, VL_E_NOT_LOCKED, VL_SEV_RUNTIME, diEM_unlockrpl, int(s->recno), dbf_alias(s));
  return -1;
}
/* Commit and release the automatic lock of record recno. */
void give_back_auto_lock(var* self, int32_t recno)
{
  DbfState* s = dbf_state(self);
  if (dbf_is_open(s)) dbf_auto_unlock(self, s->concurrency, recno);
}

/* Assign value to field i (its record field) of the current record.  True
** when the value was stored (or an empty memo left a blockless field
** alone); false after a refusal or a report. */
bool put_field(var* self, DbfState* s, uint32_t i, var* field, var* value)
{
  const int lock = vln_chk_repl(s, self);
  if (lock < 0) return false;
  if (s->bufrec != s->recno) get_rec(self, 1);
  const DbfField& f = s->fields[i];
  if (!assignable(f.type, value->Type)) {
    if (lock > 0) give_back_auto_lock(self, s->recno);
    dbf_error(self, diMN_fldput, VL_E_TYPE_MISMATCH, VL_SEV_RUNTIME, diEM_typmism, f.type, value->Type);
    return false;
  }
  diBackupRecord(s);
  const Put r = store(self, s, f, field, value);
  if (r == Put::kStored || r == Put::kOverflow) {
    s->dirty = 1;
    s->fieldvalid[i] = 1;
  }
  if (lock > 0) give_back_auto_lock(self, s->recno);
  if (r == Put::kOverflow) dbf_error(self, diMN_fldput, VL_E_ILLEGAL_FIELD_VALUE, VL_SEV_RUNTIME, "%s", diEM_numovflow);
  return r == Put::kStored || r == Put::kUnchanged;
}

}  // namespace

const uint8_t* dbf_record_bytes(var* self)
{
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s) || s->eof || s->recno > s->lastrec) return nullptr;
  if (s->bufrec != s->recno) get_rec(self, 1);
  return s->recbuf;
}

bool dbf_put_record_bytes(var* self, const uint8_t* bytes)
{
  DbfState* s = dbf_state(self);
  if (!dbf_is_open(s)) return false;
  const int lock = vln_chk_repl(s, self);
  if (lock < 0) return false;
  if (s->bufrec != s->recno) get_rec(self, 1);
  diBackupRecord(s);
  std::memcpy(s->recbuf + 1, bytes + 1, s->lk.reclen - 1);
  diInvalidateFields(s);
  s->dirty = 1;
  if (lock > 0) give_back_auto_lock(self, s->recno);
  return true;
}

namespace {

/* fieldput's result for field i: its record, or FALSE when refused. */
var* put_result(var* self, DbfState* s, int32_t i, var* value)
{
  var* field = s->fieldvars[i];
  return put_field(self, s, uint32_t(i), field, value) ? field : FALSE_VAR;
}

var* arg_or_nil(int argc, var** argv, int k) { return k < argc ? argv[k] : NIL_VAR; }

/* vlnParamCheck of a field argument for op, which a number or a name
** passes without the call. */
bool field_arg_ok(var* arg, const char* op)
{
  return kFieldArgLetters.has(arg->Type) || vlnParamCheck(arg, kFieldArgTypes, op);
}

/* ---- REPLACE. ---- */

/* The per-record block of REPLACE.  Its detached variables: the object,
** the array of field positions, the values and whether they are given one
** per position (a block among them is evaluated on each record) or as one
** value for all positions (assigned as it stands). */
enum { kReplSelf, kReplPositions, kReplValues, kReplEach };

/* Assign the values of REPLACE to the fields of the current record. */
var* replace_fields(int argc, var** avec)
{
  VL_BEGIN(kModule, "replace");
  const ArrRec* positions = VARR(avec[kReplPositions]);
  var* values = avec[kReplValues];
  const bool each = vlnLogVar(avec[kReplEach]);
  for (uint32_t k = 0; k < positions->A_size; ++k) {
    if (each && k >= VARR(values)->A_size) break;  // a block may have shrunk the array
    var* v = each ? VARR(values)->A_vec[k] : values;
    VL_STMT({
      if (each && is_block(v)) v = vlnBlockEval(v);
      DbfState* s = open_state(avec[kReplSelf]);
      const int32_t i = VINT(positions->A_vec[k]) - 1;
      if (s && i >= 0 && i < s->fieldcount && announced(s, i)) put_result(avec[kReplSelf], s, i, v);
    });
  }
  VL_RETURN_NIL();
}

/* REPLACE on one record.  An automatic lock is taken before the values
** are computed and given back once the record is written, so that a value
** read from the record (FIELD->n + 1) is read under the lock that writes
** it; a refused record is reported once and left alone. */
var* replace_record(int argc, var** argv, var** avec)
{
  (void)argv;
  var* self = avec[kReplSelf];
  DbfState* s = open_state(self);
  const int lock = s ? vln_chk_repl(s, self) : 0;
  if (lock < 0) return NIL_VAR;
  const int32_t recno = s ? s->recno : 0;
  vln_guarded([&] { replace_fields(argc, avec); }, [&] { if (lock > 0) give_back_auto_lock(self, recno); });
  return NIL_VAR;
}

/* An array of n NIL elements, as a temporary. */
var* new_array(int32_t n) { return cre_arr(cre_tmpvar(), n, VL_ARR_NIL, static_cast<var*>(nullptr)); }

/* Build REPLACE's per-record block into block from the value and field
** arguments; false after a report. */
bool replace_block(var* self, DbfState* s, var* value, var* field, var* block)
{
  var* positions;
  var* values = value;
  bool each = true;
  if (vlnInSet(kFieldSpecTypes, field->Type)) {
    positions = cre_arr(cre_tmpvar(), 1, VL_ARR_LIST, {set_Iv(position_of(s, field))});
    var* one = value->Type == 'A' ? (VARR(value)->A_size ? VARR(value)->A_vec[0] : NIL_VAR) : value;
    values = cre_arr(cre_tmpvar(), 1, VL_ARR_LIST, {one});
  } else if (field->Type == 'A') {
    uint32_t n = VARR(field)->A_size;
    each = value->Type == 'A';
    if (each) n = std::min(n, VARR(value)->A_size);
    positions = new_array(int32_t(n));
    for (uint32_t k = 0; k < n; ++k) {
      const int32_t pos = position_of(s, VARR(field)->A_vec[k]);
      if (pos < 0) {
        dbf_error(self, diMN_replace, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_arexpctd);
        return false;
      }
      set_Ivar(VARR(positions)->A_vec[k], pos);
    }
  } else {
    dbf_error(self, diMN_replace, VL_E_ARG_TYPE, VL_SEV_RUNTIME, "%s", diEM_numexpctd);
    return false;
  }
  set_bvar(block, reinterpret_cast<AnyFn>(replace_record), 0, mk_var_cp(self), positions, values,
           each ? TRUE_VAR : FALSE_VAR, static_cast<var*>(nullptr));
  return true;
}

}  // namespace

/* ---- The driver's shared routines. ---- */

var* diSelfFieldGet(var* self, var* field)
{
  DbfState* s = dbf_state(self);
  const uint32_t i = field->F_indx;
  if (!dbf_is_open(s) || i >= s->fieldcount) return field;
  return field_value(self, s, i, field);
}

int vln_chk_repl(DbfState* s, var* self)
{
  int code;
  const char* text;
  if (!dbf_is_open(s)) {
    code = VL_E_NO_DATABASE, text = diEM_nodbfrpl;
  } else if (dbf_is_ro(s)) {
    code = VL_E_FILE_WRITE, text = diEM_dbfisro;
  } else if (s->lastrec == 0) {  // before EOF: an empty table is on its ghost record too
    code = VL_E_AT_EOF, text = diEM_emtrpl;
  } else if (s->eof) {
    code = VL_E_AT_EOF, text = diEM_eofrpl;
  } else if ((s->lk.status & (DBF_ST_EXCL | DBF_ST_FLOCKED)) || diIsRecLocked(&s->lk, s->recno)) {
    return 0;
  } else {
    return take_auto_lock(self, s);
  }
  dbf_error(self, diMN_fldput, code, VL_SEV_RUNTIME, text, dbf_alias(s));
  return -1;
}

void dbf_point_fields(DbfState* s)
{
  for (int32_t i = 0; i < s->fieldcount; ++i)
    if (s->fields[i].type == 'C' && announced(s, i))
      s->fieldvars[i]->Value.w1.str = s->recbuf ? reinterpret_cast<char*>(s->recbuf + s->fields[i].offset) : nullptr;
}

}  // namespace vl

using namespace vl;

/* ---- Methods. ---- */

extern "C" {

/* quickfieldget(field): the field record, refreshed. */
var* _bb_dbfidx_quickfieldget_me(int argc, var** argv)
{
  (void)argc;
  return diSelfFieldGet(argv[0], argv[1]);
}

/* quickfieldput(field, value): the field record, or NIL when refused. */
var* _bb_dbfidx_quickfieldput_me(int argc, var** argv)
{
  (void)argc;
  DbfState* s = dbf_state(argv[0]);
  var* field = argv[1];
  if (dbf_is_open(s) && field->F_indx >= s->fieldcount) return NIL_VAR;
  return put_field(argv[0], s, field->F_indx, field, argv[2]) ? field : NIL_VAR;
}

/* fieldget(field by number or name): the field record, or NIL. */
var* _bb_dbfidx_fieldget_me(int argc, var** argv)
{
  DbfState* s = open_state(argv[0]);
  var* arg = arg_or_nil(argc, argv, 1);
  if (!field_arg_ok(arg, diMN_fldget) || !s) return NIL_VAR;
  const int32_t i = field_index(s, arg);
  return i < 0 ? NIL_VAR : field_value(argv[0], s, uint32_t(i), s->fieldvars[i]);
}

/* fieldput(field, value): the field record holding the stored value, NIL
** for no such field, FALSE when refused. */
var* _bb_dbfidx_fieldput_me(int argc, var** argv)
{
  DbfState* s = open_state(argv[0]);
  var* arg = arg_or_nil(argc, argv, 1);
  if (!field_arg_ok(arg, diMN_fldput) || !s) return NIL_VAR;
  const int32_t i = field_index(s, arg);
  return i < 0 ? NIL_VAR : put_result(argv[0], s, i, arg_or_nil(argc, argv, 2));
}

/* fieldpos(name): the 1-based position, or 0. */
var* _bb_dbfidx_fieldpos_me(int argc, var** argv)
{
  DbfState* s = open_state(argv[0]);
  var* arg = arg_or_nil(argc, argv, 1);
  const bool named = s && vlnInSet(kNameTypes, arg->Type);
  return set_Iv(named ? field_pos(s, VSTR(arg), text_len(arg)) : 0);
}

/* fieldname(n): the name of field n, or "". */
var* _bb_dbfidx_fieldname_me(int argc, var** argv)
{
  DbfState* s = open_state(argv[0]);
  var* arg = arg_or_nil(argc, argv, 1);
  const int32_t i = s && vlnInSet(kPositionTypes, arg->Type) ? field_index(s, arg) : -1;
  return text_result(i < 0 ? "" : s->fields[i].name);
}

/* fieldinfo(code, field): 1 name, 2 type letter, 3 length byte, 4 decimals
** byte (a 'C' field's length is split over the two); "" or 0 for no such
** field, NIL for another code. */
var* _bb_dbfidx_fieldinfo_me(int argc, var** argv)
{
  DbfState* s = open_state(argv[0]);
  var* code = arg_or_nil(argc, argv, 1);
  const int32_t i = s ? field_index(s, arg_or_nil(argc, argv, 2)) : -1;
  const DbfField* f = i >= 0 ? &s->fields[i] : nullptr;
  const bool split = f && f->type == 'C';
  switch (vlnInSet(kPositionTypes, code->Type) ? vlnIntVar(code) : 0) {
    case kInfoName:
      return text_result(f ? f->name : "");
    case kInfoType: {
      const char type[2] = {f ? f->type : '\0', '\0'};
      return text_result(type);
    }
    case kInfoLen:
      return set_Iv(!f ? 0 : split ? int32_t(f->len & kLowByte) : int32_t(f->len));
    case kInfoDec:
      return set_Iv(!f ? 0 : split ? int32_t(f->len >> kHighShift) : f->dec);
    default:
      return NIL_VAR;
  }
}

/* noivarget(name): the field of that name; 306 when there is none. */
var* _bb_dbfidx_noivarget_me(int argc, var** argv)
{
  DbfState* s = open_state(argv[0]);
  var* name = arg_or_nil(argc, argv, 1);
  const int32_t i = s ? field_index(s, name) : -1;
  if (i >= 0) return diSelfFieldGet(argv[0], s->fieldvars[i]);
  dbf_error(argv[0], diMN_fldget, VL_E_NO_FIELD, VL_SEV_RUNTIME, diEM_unkfldnam, dbf_alias(s),
            vlnInSet(kNameTypes, name->Type) ? VSTR(name) : "");
  return NIL_VAR;
}

/* noivarput(name, value): fieldput for the field of that name; 306 when
** there is none. */
var* _bb_dbfidx_noivarput_me(int argc, var** argv)
{
  DbfState* s = open_state(argv[0]);
  var* name = arg_or_nil(argc, argv, 1);
  const int32_t i = s ? field_index(s, name) : -1;
  if (i >= 0) return put_result(argv[0], s, i, arg_or_nil(argc, argv, 2));
  dbf_error(argv[0], diMN_fldput, VL_E_NO_FIELD, VL_SEV_RUNTIME, diEM_unkfldnam, dbf_alias(s),
            vlnInSet(kNameTypes, name->Type) ? VSTR(name) : "");
  return NIL_VAR;
}

/* replace(value, field, for, while, scope): assign value to field (a name
** or number) or values to fields (arrays) on every record of the scope,
** through eval.  The result is an empty array. */
var* _bb_dbfidx_replace_me(int argc, var** argv)
{
  VL_BEGIN(kModule, "replace");
  var* result = VL_LOCAL('U');
  var* block = VL_LOCAL('U');
  bool built = false;
  VL_STMT(cre_arr(result, 0, VL_ARR_NIL, static_cast<var*>(nullptr)));
  DbfState* s = open_state(argv[0]);
  if (s)
    VL_STMT(built = replace_block(argv[0], s, arg_or_nil(argc, argv, 1), arg_or_nil(argc, argv, 2), block));
  if (built) {
    var* args[] = {argv[0], block, arg_or_nil(argc, argv, 3), arg_or_nil(argc, argv, 4),
                   arg_or_nil(argc, argv, 5)};
    VL_STMT(vlnDoMethod("eval", VLN_DS_EVAL, 0, 5, args));
  }
  VL_RETURN(result);
}

}  // extern "C"

/* ---- Language functions. ---- */

VLN_FUNC(field) { return _bb_fieldname(argc, argv); }

VLN_FUNC(fieldgetar)
{
  VL_BEGIN(kModule, "fieldgetarr");
  var* recno = VL_PARAM(0, 'U');
  var* result = VL_LOCAL('U');
  var* back = VL_LOCAL('U');
  int32_t n = 0;
  VL_STMT(n = vlnIntVar(_bb_fcount(0, nullptr)));
  VL_STMT(cre_arr(result, n, VL_ARR_NIL, static_cast<var*>(nullptr)));
  const bool move = n > 0 && recno->Type != 'U';
  if (move) {
    VL_STMT(cpy_var(back, _bb_recno(0, nullptr)));
    VL_STMT(vl_call(_bb_dbgoto, {recno}));
  }
  for (int32_t i = 1; i <= n; ++i) VL_STMT(cpy_var(dget_arr(result, i), vl_call(_bb_fieldget, {set_Iv(i)})));
  if (move) VL_STMT(vl_call(_bb_dbgoto, {back}));
  VL_RETURN(result);
}

VLN_FUNC(fieldputar)
{
  VL_BEGIN(kModule, "fieldputarr");
  var* values = VL_PARAM(0, 'U');
  var* recno = VL_PARAM(1, 'U');
  var* back = VL_LOCAL('U');
  if (values->Type != 'A') VL_RETURN(FALSE_VAR);
  int32_t n = 0;
  VL_STMT(n = std::min(vlnIntVar(_bb_fcount(0, nullptr)), int32_t(VARR(values)->A_size)));
  const bool move = n > 0 && recno->Type != 'U';
  if (move) {
    VL_STMT(cpy_var(back, _bb_recno(0, nullptr)));
    VL_STMT(vl_call(_bb_dbgoto, {recno}));
  }
  bool stored = true;
  for (int32_t i = 1; stored && i <= n && uint32_t(i) <= VARR(values)->A_size; ++i) {
    var* v = VARR(values)->A_vec[i - 1];
    if (v->Type != 'U') VL_STMT(stored = vl_call(_bb_fieldput, {set_Iv(i), v}) != FALSE_VAR);
  }
  if (move) VL_STMT(vl_call(_bb_dbgoto, {back}));
  VL_RETURN(stored ? TRUE_VAR : FALSE_VAR);
}
