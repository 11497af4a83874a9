/*
** ascirdd.cpp -- the ASCII driver's class, its constructor and members:
** init checks the structure and opens the file, close and axit undo it,
** and the field members decode from the record buffer.
**
** A failure in init leaves the object closed with NETERR() set; the report
** comes after everything init made is undone.  A file that cannot be
** opened is not reported at all: NETERR() tells, as for a table.
*/
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "areas.h"
#include "ascirdd.h"
#include "ascirddint.hpp"
#include "dierror.hpp"
#include "errcodes.h"
#include "facade.h"
#include "fieldcodec.hpp"
#include "files.h"
#include "fname.h"
#include "kernel.h"
#include "objects.h"
#include "rddreg.h"
#include "vlerror.h"

using namespace vl;

namespace {

constexpr char kDriverName[] = "ASCIRDD";
constexpr char kDefaultExt[] = ".txt";
constexpr char kInit[] = "Init()";
constexpr char kFieldGet[] = "FieldGet()";
constexpr size_t kStreamBuffer = size_t(1) << 16;
constexpr int32_t kNameMax = 10;
constexpr uint32_t kHighLength = 256;  // from here a length's high byte is kept apart
constexpr uint32_t kNumMax = 20;
constexpr uint32_t kDecMax = 18;
constexpr uint32_t kRecordMax = 65535;

/* Positions of init's arguments in argv (argv[0] is the object). */
enum { kFile = 1, kStructure, kDelimiter, kForArg, kWhileArg, kNextArg, kRecordArg, kNewArea };

/* ---- The class. ---- */

constexpr int32_t kOverrides[] = {
    VLN_DS_CLOSE, VLN_DS_DRIVER_AC, VLN_DS_EOF_AC,  VLN_DS_FIELDGET, VLN_DS_FIELDPOS,
    VLN_DS_INIT,  VLN_DS_RECNO_AC,  VLN_DS_SKIP,    VLN_DS_USED_AC,
};
constexpr VlnDsExtra kOwn[] = {{"axit", 'M'}, {"quickfieldget", 'M'}};

const VlnDsClass* build()
{
  unsigned char overrides[VLN_DS_SLOT_COUNT] = {};
  for (int32_t s : kOverrides) overrides[s] = 1;
  return vlnDsDeriveClass("ascirdd", overrides, kOwn, sizeof kOwn / sizeof kOwn[0]);
}

struct Method {
  const char* name;
  char kind;
  AnyFn fn;
};
#define ASC_ROW_(name, kind, k) {#name, k, reinterpret_cast<AnyFn>(_bb_ascirdd_##name##_##kind)}
const Method kMethods[] = {
    ASC_ROW_(init, me, 'M'),     ASC_ROW_(skip, me, 'M'),      ASC_ROW_(fieldget, me, 'M'),
    ASC_ROW_(fieldpos, me, 'M'), ASC_ROW_(quickfieldget, me, 'M'), ASC_ROW_(close, me, 'M'),
    ASC_ROW_(axit, me, 'M'),     ASC_ROW_(eof, ac, 'A'),       ASC_ROW_(recno, ac, 'A'),
    ASC_ROW_(used, ac, 'A'),     ASC_ROW_(driver, ac, 'A'),
};
#undef ASC_ROW_

AnyFn method_of(int32_t slot)
{
  const VlnDsSlotInfo& info = vlnAscirddClass()->slots[slot];
  for (const Method& m : kMethods)
    if (m.kind == info.kind && std::strcmp(m.name, info.name) == 0) return m.fn;
  return nullptr;
}

/* ---- Reports. ---- */

/* A failure noted while init runs, reported once it is undone. */
struct Failure {
  int code = 0;
  char text[300] = "";
};

void note(Failure* f, int code, const char* fmt, ...) __attribute__((format(printf, 3, 4)));
void note(Failure* f, int code, const char* fmt, ...)
{
  if (f->code) return;
  f->code = code;
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(f->text, sizeof f->text, fmt, ap);
  va_end(ap);
}

void report(var* self, const char* method, const Failure& f)
{
  diError(self, method, f.code, VL_SEV_RUNTIME, f.text, __FILE__, __LINE__);
}

/* ---- init's steps. ---- */

bool is_text(const var* v) { return v->Type == 'C' || v->Type == 'M'; }
bool is_number(const var* v) { return vlnInSet("NFI", v->Type); }
/* The characters of a text (its Length counts the closing NUL). */
int32_t chars(const var* v) { return v->Length > 0 ? v->Length - 1 : 0; }
bool is_block(const var* v) { return v->Type == 'B' || v->Type == 'b'; }

/* A free-standing copy of v, released with del_var. */
var* own(const var* v)
{
  var* r = mak_var('N', 'U');
  cpy_var(r, const_cast<var*>(v));
  return r;
}

/* One row of the structure into field; false after a noted failure. */
bool take_row(const var* row, AsciField* field, Failure* f)
{
  const ArrRec* a = row->Type == 'A' ? VARR(row) : nullptr;
  if (!a || a->A_size < 4 || !is_text(a->A_vec[0]) || !is_text(a->A_vec[1]) || !is_number(a->A_vec[2]) ||
      !is_number(a->A_vec[3])) {
    note(f, VL_E_ARG_TYPE, "AsciRdd: wrong structure definition");
    return false;
  }
  char name[kFieldNameMax + 1];
  const bool named = field_name_key(VSTR(a->A_vec[0]), chars(a->A_vec[0]), name);
  char type[kFieldNameMax + 1];
  const bool typed = field_name_key(VSTR(a->A_vec[1]), chars(a->A_vec[1]), type);
  const int32_t len = vlnIntVar(a->A_vec[2]), dec = vlnIntVar(a->A_vec[3]);
  if (!typed || !named || len < 1 || int32_t(std::strlen(name)) > kNameMax) {
    note(f, VL_E_ARG_VALUE, "AsciRdd: structure contents in error");
    return false;
  }
  std::memcpy(field->name, name, sizeof field->name);
  field->type = type[0];
  field->len = uint32_t(len);
  field->dec = len >= int32_t(kHighLength) ? uint8_t(len >> 8) : uint8_t(dec);
  switch (field->type) {
    case 'C': return true;
    case 'D': field->len = kRecordDateLen, field->dec = 0; return true;
    case 'L': field->len = 1, field->dec = 0; return true;
    case 'F':
    case 'N':
      if (field->len > kNumMax || uint32_t(dec) > kDecMax) {
        note(f, VL_E_ILLEGAL_VALUE, "numeric field size exceeds 20 chars");
        return false;
      }
      return true;
    default:
      note(f, VL_E_ILLEGAL_TYPE, "unknown field type '%c'", field->type);
      return false;
  }
}

/* The structure argument into s's fields and reclen. */
bool take_structure(AsciState* s, const var* structure, Failure* f)
{
  if (structure->Type != 'A') {
    note(f, VL_E_ARG_TYPE, "AsciRdd: wrong structure definition");
    return false;
  }
  const ArrRec* a = VARR(structure);
  s->fields.resize(a->A_size);
  uint32_t offset = 1;
  for (uint32_t i = 0; i < a->A_size; ++i) {
    if (!take_row(a->A_vec[i], &s->fields[i], f)) return false;
    s->fields[i].offset = offset;
    offset += s->fields[i].len;
  }
  if (offset > kRecordMax) {
    note(f, VL_E_ARG_VALUE, "AsciRdd: structure contents in error");
    return false;
  }
  s->reclen = offset;
  return true;
}

/* The delimiter argument: "" SDF, " " blank-separated, '"' or anything
** that is not a text the default, another text its first character. */
void take_delimiter(AsciState* s, const var* d)
{
  s->delim = '"';
  s->sep = ',';
  if (!is_text(d)) return;
  const uint8_t first = d->Length > 1 ? uint8_t(VSTR(d)[0]) : 0;
  if (first == 0) s->sep = 0;
  else if (first == ' ') s->delim = s->sep = 0;
  else s->delim = first;
}

void take_scope(AsciState* s, int argc, var** argv)
{
  var* forb = argc > kForArg ? argv[kForArg] : NIL_VAR;
  var* whileb = argc > kWhileArg ? argv[kWhileArg] : NIL_VAR;
  var* next = argc > kNextArg ? argv[kNextArg] : NIL_VAR;
  var* record = argc > kRecordArg ? argv[kRecordArg] : NIL_VAR;
  s->count = kAscAll;
  s->target = 0;
  if (is_block(forb)) s->forblock = own(forb);
  if (is_block(whileb)) s->whileblock = own(whileb), s->count = kAscWhile;
  if (is_number(next)) s->count = std::max(0, vlnIntVar(next));
  if (is_number(record)) s->count = s->target = std::max(0, vlnIntVar(record));
}

/* Open the file (".txt" when it has none); false, silently, when it
** cannot be read. */
bool open_stream(AsciState* s, const var* file)
{
  char wanted[sizeof s->filename], found[sizeof s->filename];
  if (!vlnAddExtension(wanted, VSTR(file), kDefaultExt, sizeof wanted)) return false;
  vlnPathFile(wanted, found, sizeof found);
  std::snprintf(s->filename, sizeof s->filename, "%s", found[0] ? found : wanted);
  s->stream = std::fopen(s->filename, "r");
  if (s->stream) std::setvbuf(s->stream, nullptr, _IOFBF, kStreamBuffer);
  return s->stream != nullptr;
}

/* Buffers, alias and field records. */
bool bind(var* self, AsciState* s, Failure* f)
{
  s->recbuf.assign(s->reclen, ' ');
  s->fieldvalid.assign(s->fields.size(), 0);
  s->fieldvars.assign(s->fields.size(), nullptr);
  if (vlnAnnounceAlias(self, s->filename, s->alias) < 0) {
    note(f, VL_E_ILLEGAL_ALIAS, "%s", s->filename);
    return false;
  }
  s->bound = vlnObjectLocateArea(self) != nullptr;
  for (size_t i = 0; i < s->fields.size(); ++i) {
    const AsciField& fd = s->fields[i];
    char* storage = fd.type == 'C' ? reinterpret_cast<char*>(s->recbuf.data() + fd.offset) : nullptr;
    s->fieldvars[i] = vlnAnnounceField(fd.name, int32_t(i), fd.type, 1, int32_t(fd.len), fd.dec, storage);
  }
  return true;
}

/* Back to the closed state: blocks, fields, buffers, stream, alias. */
void close_state(var* self, AsciState* s)
{
  if (!s || (s->status & ASC_ST_CLOSED)) return;
  if (s->forblock) del_var(s->forblock);
  if (s->whileblock) del_var(s->whileblock);
  for (size_t i = s->fieldvars.size(); i-- > 0;)
    if (s->fieldvars[i]) vlnRetireField(self, s->fields[i].name);
  if (s->stream) std::fclose(s->stream);
  std::free(s->line);
  const bool bound = s->bound;
  VlnDriverHead head = s->head;
  *s = AsciState{};
  s->head = head;
  s->status = ASC_ST_CLOSED;
  if (bound) vlnRetireAlias(self);
}

/* Steps of init after the state is made; false after a noted failure or a
** file that cannot be read. */
bool init_steps(var* self, AsciState* s, int argc, var** argv, Failure* f)
{
  var* file = argv[kFile];
  if (!is_text(file)) {
    note(f, VL_E_ILLEGAL_TYPE, "open asci-file name");
    return false;
  }
  if (!take_structure(s, argc > kStructure ? argv[kStructure] : NIL_VAR, f)) return false;
  if (!open_stream(s, file)) return false;
  take_delimiter(s, argc > kDelimiter ? argv[kDelimiter] : NIL_VAR);
  take_scope(s, argc, argv);
  const bool stay = argc > kNewArea && argv[kNewArea]->Type == 'L' && !vlnLogVar(argv[kNewArea]);
  if (!stay) vlnSelect(set_Iv(0), 0);
  s->status = ASC_ST_OPEN;
  if (!bind(self, s, f)) return false;
  if (!asc_skip(s)) s->ateof = 1;
  return true;
}

AsciState* open_state(var* obj)
{
  AsciState* s = asc_state(obj);
  return asc_is_open(s) ? s : nullptr;
}

int32_t field_pos(const AsciState* s, const var* name)
{
  char want[kFieldNameMax + 1];
  if (!is_text(name) || !field_name_key(VSTR(name), chars(name), want)) return 0;
  for (size_t i = 0; i < s->fields.size(); ++i)
    if (std::strcmp(s->fields[i].name, want) == 0) return int32_t(i + 1);
  return 0;
}

var* text(const char* t) { return set_Cvar(cre_tmpvar(), t, -1); }

}  // namespace

namespace vl {

AsciState* asc_state(var* obj) { return reinterpret_cast<AsciState*>(driver_head_of(obj)); }

var* asc_field(AsciState* s, uint32_t i)
{
  var* field = s->fieldvars[i];
  if (!s->fieldvalid[i]) {
    decode_plain_field(s->fields[i].type, s->recbuf.data() + s->fields[i].offset, s->fields[i].len, field);
    s->fieldvalid[i] = 1;
  }
  return field;
}

}  // namespace vl

extern "C" {

const VlnDsClass* vlnAscirddClass(void)
{
  static const VlnDsClass* cls = build();
  return cls;
}

var* vlnAscirddCollectMethods(void)
{
  static var* array = vlnDsCollectMethods(vlnAscirddClass(), method_of);
  return array;
}

VLN_FUNC(ascirddnew)
{
  var* obj = set_Ov(VLN_DS_STATE_SLOT - 1, AscirddStruct, vlnAscirddCollectMethods());
  vlnDataserverWire(obj);
  return vlnDoInit(obj, argc, argv);
}

var* _bb_ascirdd_init_me(int argc, var** argv)
{
  var* self = argv[0];
  AsciState* s = asc_state(self);
  if (!s) {
    s = new AsciState{};
    vlnDriverAttach(self, &s->head);
  }
  close_state(self, s);
  s->status = ASC_ST_CLOSED;
  if (argc <= kFile || argv[kFile]->Type == 'U') return self;
  Failure f;
  const bool ok = init_steps(self, s, argc, argv, &f);
  if (!ok) close_state(self, s);
  vlnSetNeterr(!ok);
  if (f.code) report(self, kInit, f);
  return self;
}

var* _bb_ascirdd_skip_me(int argc, var** argv)
{
  AsciState* s = open_state(argv[0]);
  return set_Iv(s && !s->ateof ? asc_skip(s) : 0);
}

var* _bb_ascirdd_fieldget_me(int argc, var** argv)
{
  var* arg = argc > 1 ? argv[1] : NIL_VAR;
  if (!is_text(arg) && !is_number(arg)) {
    report(argv[0], kFieldGet, Failure{VL_E_ILLEGAL_TYPE, "field name or number required"});
    return NIL_VAR;
  }
  AsciState* s = open_state(argv[0]);
  if (!s) return NIL_VAR;
  const int32_t n = is_number(arg) ? vlnIntVar(arg) : field_pos(s, arg);
  if (n < 1 || size_t(n) > s->fields.size()) return NIL_VAR;
  return asc_field(s, uint32_t(n - 1));
}

var* _bb_ascirdd_fieldpos_me(int argc, var** argv)
{
  AsciState* s = open_state(argv[0]);
  return set_Iv(s && argc > 1 ? field_pos(s, argv[1]) : 0);
}

var* _bb_ascirdd_quickfieldget_me(int argc, var** argv)
{
  AsciState* s = open_state(argv[0]);
  var* field = argv[1];
  if (!s || field->F_indx >= s->fields.size()) return field;
  return asc_field(s, field->F_indx);
}

var* _bb_ascirdd_close_me(int argc, var** argv)
{
  var* keep = mk_var_cp(argv[0]);  // the area's link may be the last one
  close_state(keep, asc_state(keep));
  return TRUE_VAR;
}

var* _bb_ascirdd_axit_me(int argc, var** argv)
{
  AsciState* s = asc_state(argv[0]);
  if (!s) return TRUE_VAR;
  close_state(argv[0], s);
  vlnDriverHeadFree(&s->head);
  vlnDriverAttach(argv[0], nullptr);
  delete s;
  return TRUE_VAR;
}

var* _bb_ascirdd_eof_ac(var* obj)
{
  const AsciState* s = open_state(obj);
  return !s || s->ateof ? TRUE_VAR : FALSE_VAR;
}
var* _bb_ascirdd_recno_ac(var* obj)
{
  const AsciState* s = open_state(obj);
  return set_Iv(s ? s->recno : 0);
}
var* _bb_ascirdd_used_ac(var* obj) { return open_state(obj) ? TRUE_VAR : FALSE_VAR; }
var* _bb_ascirdd_driver_ac(var* obj) { return text(kDriverName); }

}  // extern "C"

/* Start-up: the driver's name joins the driver list. */
VLN_INIT(ascirdd, 31)
{
  var* args[] = {set_Cvar(cre_tmpvar(), kDriverName, -1)};
  _bb_annnewrdd(1, args);
}
