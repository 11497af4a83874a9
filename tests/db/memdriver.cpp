// memdriver.cpp -- the MEM driver.  The driver state behind slot 50 starts
// with the VlnDriverHead that holds the table's error object.  Fields are
// announced driver-backed, so reads go through fieldget and writes through
// fieldput; 'C' fields also get a buffer that mirrors the current record.
// Methods that may report through diError hold nothing with a destructor
// while they do: the error block may BREAK out of them.
#include "memdriver.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>

#include "areas.h"
#include "dataserver.h"
#include "dierror.hpp"
#include "objects.h"
#include "vlgen.h"

using namespace vl;

namespace {

constexpr char kModule[] = "memdriver";
constexpr size_t kAliasSize = 16;
constexpr int kTypeMismatch = 317;

struct Table {
  std::vector<memdrv::Field> fields;
  std::vector<memdrv::Row> rows;
};

std::map<std::string, std::shared_ptr<Table>> g_tables;

// The driver state; the head comes first, as diError expects.
struct MemState {
  VlnDriverHead head{};
  std::shared_ptr<Table> table;  // null while closed
  int32_t recno = 1;
  bool bof = false, eof = false, shared = false;
  char alias[kAliasSize] = "";
  std::vector<std::vector<char>> buffers;  // 'C' field text, current record
  std::vector<var*> records;               // the announced field records
};

MemState* state_of(var* obj) { return reinterpret_cast<MemState*>(vlnDriverHeadOf(obj)); }

int32_t last_rec(const MemState* s) { return s->table ? static_cast<int32_t>(s->table->rows.size()) : 0; }
int32_t field_count(const MemState* s) { return s->table ? static_cast<int32_t>(s->table->fields.size()) : 0; }

std::string upper(std::string text)
{
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

// The table a name opens: its base name without directory or extension.
std::string table_key(const std::string& name)
{
  const size_t slash = name.find_last_of("/\\");
  std::string base = slash == std::string::npos ? name : name.substr(slash + 1);
  return upper(base.substr(0, base.find('.')));
}

// Copy the current record's 'C' cells into the field buffers (blanks at
// EOF), so that the buffers read as the record does.
void load_buffers(MemState* s)
{
  const int32_t n = field_count(s);
  for (int32_t i = 0; i < n; ++i) {
    const memdrv::Field& f = s->table->fields[i];
    if (f.type != 'C') continue;
    char* buf = s->buffers[i].data();
    std::memset(buf, ' ', f.len);
    if (s->recno >= 1 && s->recno <= last_rec(s)) {
      const std::string& text = std::get<std::string>(s->table->rows[s->recno - 1][i]);
      std::memcpy(buf, text.data(), std::min<size_t>(text.size(), f.len));
    }
  }
}

// Move to record n; beyond either end sets EOF at lastrec+1 or BOF at 1
// (the tables the tests define have rows).
void position(MemState* s, int32_t n)
{
  const int32_t last = last_rec(s);
  s->bof = s->eof = false;
  if (n > last) {
    s->recno = last + 1;
    s->eof = true;
  } else if (n < 1) {
    s->recno = 1;
    s->bof = true;
  } else {
    s->recno = n;
  }
  load_buffers(s);
}

// Unbind the table from its area and fields.  self must stay alive across
// the retire, which may drop the area's link to it: the caller holds one.
void close_table(var* self, MemState* s)
{
  if (s->table)
    for (const memdrv::Field& f : s->table->fields) vlnRetireField(self, f.name.c_str());
  vlnRetireAlias(self);
  s->table.reset();
  s->buffers.clear();
  s->records.clear();
  s->alias[0] = '\0';
}

// The numeric argument, or otherwise.
int32_t int_arg(int argc, var** argv, int32_t otherwise)
{
  return argc > 1 && vlnInSet("NFI", argv[1]->Type) ? vlnIntVar(argv[1]) : otherwise;
}

// 1-based field number argument, or 0 when out of range.
int32_t field_arg(MemState* s, int argc, var** argv)
{
  const int32_t n = int_arg(argc, argv, 0);
  return n >= 1 && n <= field_count(s) ? n : 0;
}

// The value of a cell (none: blank) as the field shows it.
var* cell_value(const memdrv::Field& f, const memdrv::Value* cell)
{
  if (f.type != 'C') return set_nv(cell ? std::get<double>(*cell) : 0.0, f.dec);
  std::string text = cell ? std::get<std::string>(*cell) : std::string();
  text.resize(f.len, ' ');
  return set_Cvar(cre_tmpvar(), text.c_str(), f.len);
}

memdrv::Value to_cell(const memdrv::Field& f, var* v)
{
  if (f.type != 'C') return vlnNumVar(v);
  std::string text(VSTR(v), static_cast<size_t>(v->Length - 1));
  text.resize(f.len, ' ');
  return text;
}

// ---- Methods. ----

// init(name, shared, readonly, , , new)
var* mem_init(int argc, var** argv)
{
  var* self = argv[0];
  MemState* s = state_of(self);
  if (!s) {
    s = new MemState;
    vlnDriverAttach(self, &s->head);
  }
  vlnDriverHeadInit(&s->head);
  const bool stay = argc > 6 && argv[6]->Type == 'L' && !vlnLogVar(argv[6]);
  if (!stay) vlnSelect(set_Iv(0), 0);
  if (argc < 2 || argv[1]->Type != 'C') return self;
  auto it = g_tables.find(table_key(VSTR(argv[1])));
  if (it == g_tables.end()) return self;  // stays closed
  s->shared = argc > 2 && argv[2]->Type == 'L' && vlnLogVar(argv[2]);
  s->table = it->second;
  // A refused alias leaves the table open in no area, its fields announced.
  vlnAnnounceAlias(self, VSTR(argv[1]), s->alias);
  const auto& fields = s->table->fields;
  s->buffers.assign(fields.size(), {});
  for (size_t i = 0; i < fields.size(); ++i) {
    const memdrv::Field& f = fields[i];
    if (f.type == 'C') s->buffers[i].assign(f.len + 1, '\0');
    s->records.push_back(vlnAnnounceField(f.name.c_str(), static_cast<int32_t>(i), f.type, 1,
                                          f.len, f.dec, f.type == 'C' ? s->buffers[i].data() : nullptr));
  }
  position(s, 1);
  return self;
}

var* mem_close(int argc, var** argv)
{
  var* keep = mk_var_cp(argv[0]);  // the area's link may be the last one
  close_table(keep, state_of(keep));
  return TRUE_VAR;
}

var* mem_axit(int argc, var** argv)
{
  ++memdrv::counters().axits;
  MemState* s = state_of(argv[0]);
  if (!s) return TRUE_VAR;
  close_table(argv[0], s);
  vlnDriverHeadFree(&s->head);
  vlnDriverAttach(argv[0], nullptr);
  delete s;
  return TRUE_VAR;
}

var* mem_gotop(int argc, var** argv) { return position(state_of(argv[0]), 1), TRUE_VAR; }
var* mem_gobottom(int argc, var** argv)
{
  return position(state_of(argv[0]), last_rec(state_of(argv[0]))), TRUE_VAR;
}
var* mem_goto(int argc, var** argv)
{
  const int32_t n = int_arg(argc, argv, 0);
  return position(state_of(argv[0]), n >= 1 ? n : last_rec(state_of(argv[0])) + 1), TRUE_VAR;
}

var* mem_skip(int argc, var** argv)
{
  MemState* s = state_of(argv[0]);
  const int32_t n = int_arg(argc, argv, 1);
  ++memdrv::counters().skips;
  memdrv::counters().last_skip = n;
  if (n != 0) position(s, s->recno + n);
  return TRUE_VAR;
}

// The value of field n (1-based, 0: none) of the current record.  A read
// refreshes the field record too, which the areas hand out as the field.
var* get_field(MemState* s, int32_t n)
{
  if (n == 0) return NIL_VAR;
  const bool on_record = s->recno <= last_rec(s);
  var* v = cell_value(s->table->fields[n - 1], on_record ? &s->table->rows[s->recno - 1][n - 1] : nullptr);
  if (var* rec = s->records[n - 1]; rec && v->Type != 'C') rec->Value.w1 = v->Value.w1;
  return v;
}

var* mem_fieldget(int argc, var** argv)
{
  ++memdrv::counters().fieldgets;
  MemState* s = state_of(argv[0]);
  return get_field(s, field_arg(s, argc, argv));
}

// Store value into field n (1-based, 0: none) of the current record: the
// value stored, or FALSE (at EOF quietly, after a report for a wrong type).
var* put_field(var* self, int32_t n, var* value)
{
  MemState* s = state_of(self);
  if (n == 0 || !value || s->recno > last_rec(s)) return FALSE_VAR;
  const char ftype = s->table->fields[n - 1].type;
  if (!vlnInSet(ftype == 'C' ? "CM" : "NFI", value->Type)) {
    char text[256];
    std::snprintf(text, sizeof text, diEM_typmism, value->Type, ftype);
    diError(self, diMN_fldput, kTypeMismatch, VL_SEV_RUNTIME, text, kModule, __LINE__);
    return FALSE_VAR;
  }
  s->table->rows[s->recno - 1][n - 1] = to_cell(s->table->fields[n - 1], value);
  load_buffers(s);
  return value;
}

var* mem_fieldput(int argc, var** argv)
{
  ++memdrv::counters().fieldputs;
  return put_field(argv[0], field_arg(state_of(argv[0]), argc, argv), argc > 2 ? argv[2] : nullptr);
}

// The quick methods get the field record itself.
int32_t field_of(var* field) { return static_cast<int32_t>(field->F_indx) + 1; }

var* mem_quickget(int argc, var** argv)
{
  ++memdrv::counters().quickgets;
  return get_field(state_of(argv[0]), field_of(argv[1]));
}

var* mem_quickput(int argc, var** argv)
{
  ++memdrv::counters().quickputs;
  return put_field(argv[0], field_of(argv[1]), argv[2]);
}

var* mem_bof(var* obj) { return set_lv(state_of(obj)->bof); }
var* mem_eof(var* obj) { return set_lv(state_of(obj)->eof); }
var* mem_recno(var* obj) { return set_Iv(state_of(obj)->recno); }
var* mem_lastrec(var* obj) { return set_Iv(last_rec(state_of(obj))); }
var* mem_fcount(var* obj) { return set_Iv(field_count(state_of(obj))); }
var* mem_used(var* obj) { return set_lv(state_of(obj)->table != nullptr); }
var* mem_shared(var* obj) { return set_lv(state_of(obj)->shared); }
var* mem_alias(var* obj) { return set_Cvar(cre_tmpvar(), state_of(obj)->alias, -1); }

// ---- The class. ----

struct Impl {
  int32_t slot;
  AnyFn fn;
};
#define VL_M(slot, f) {slot, reinterpret_cast<AnyFn>(f)}
const Impl kImpl[] = {
    VL_M(VLN_DS_INIT, mem_init),         VL_M(VLN_DS_CLOSE, mem_close),
    VL_M(VLN_DS_GOTOP, mem_gotop),       VL_M(VLN_DS_GOBOTTOM, mem_gobottom),
    VL_M(VLN_DS_GOTO, mem_goto),         VL_M(VLN_DS_SKIP, mem_skip),
    VL_M(VLN_DS_FIELDGET, mem_fieldget), VL_M(VLN_DS_FIELDPUT, mem_fieldput),
    VL_M(VLN_DS_BOF_AC, mem_bof),        VL_M(VLN_DS_EOF_AC, mem_eof),
    VL_M(VLN_DS_RECNO_AC, mem_recno),    VL_M(VLN_DS_LASTREC_AC, mem_lastrec),
    VL_M(VLN_DS_RECCOUNT_AC, mem_lastrec), VL_M(VLN_DS_FCOUNT_AC, mem_fcount),
    VL_M(VLN_DS_USED_AC, mem_used),      VL_M(VLN_DS_SHARED_AC, mem_shared),
    VL_M(VLN_DS_ALIAS_AC, mem_alias),
};
#undef VL_M
constexpr VlnDsExtra kOwn[] = {{"axit", 'M'}, {"quickfieldget", 'M'}, {"quickfieldput", 'M'}};
constexpr int32_t kPlainOwn = 1;  // MEM has axit only; MEMQUICK all three

const VlnDsClass* mem_class(bool quick)
{
  static const VlnDsClass* classes[2] = {};
  const VlnDsClass*& cls = classes[quick];
  if (!cls) {
    unsigned char overrides[VLN_DS_SLOT_COUNT] = {};
    for (const Impl& m : kImpl) overrides[m.slot] = 1;
    cls = vlnDsDeriveClass(quick ? "memquick" : "memdriver", overrides, kOwn,
                           quick ? 3 : kPlainOwn);
  }
  return cls;
}

const VlnDsClass* g_collecting = nullptr;  // the class mem_function answers for

AnyFn mem_function(int32_t slot)
{
  for (const Impl& m : kImpl)
    if (m.slot == slot) return m.fn;
  const std::string name = g_collecting->slots[slot].name;
  if (name == "axit") return reinterpret_cast<AnyFn>(mem_axit);
  if (name == "quickfieldget") return reinterpret_cast<AnyFn>(mem_quickget);
  if (name == "quickfieldput") return reinterpret_cast<AnyFn>(mem_quickput);
  return nullptr;
}

var* mem_methods(bool quick)
{
  static var* methods[2] = {};
  if (!methods[quick]) {
    g_collecting = mem_class(quick);
    methods[quick] = vlnDsCollectMethods(g_collecting, mem_function);
  }
  return methods[quick];
}

var* mem_new(bool quick, int argc, var** argv)
{
  VL_BEGIN(kModule, quick ? "memquicknew" : "memnew");
  var* obj = set_Ov(VLN_DS_STATE_SLOT - 1, mem_class(quick)->rows, mem_methods(quick));
  vlnDataserverWire(obj);
  VL_RETURN_T(vlnDoInit(obj, argc, argv), 'O');
}

}  // namespace

extern "C" var* _bb_memnew(int argc, var** argv) { return mem_new(false, argc, argv); }
extern "C" var* _bb_memquicknew(int argc, var** argv) { return mem_new(true, argc, argv); }

namespace memdrv {

void install()
{
  vln_register_fun("memnew", _bb_memnew);
  vln_register_fun("memquicknew", _bb_memquicknew);
}

void define(const std::string& name, const std::vector<Field>& fields, const std::vector<Row>& rows)
{
  auto t = std::make_shared<Table>();
  t->fields = fields;
  for (Field& f : t->fields) f.name = upper(f.name);
  t->rows = rows;
  for (Row& r : t->rows)
    for (size_t i = 0; i < r.size() && i < fields.size(); ++i)
      if (fields[i].type == 'C') std::get<std::string>(r[i]).resize(fields[i].len, ' ');
  g_tables[table_key(name)] = t;
}

bool open(const std::string& name)
{
  install();
  const int32_t mark = tmpvar_cnt;
  var* args[] = {set_Cvar(cre_tmpvar(), name.c_str(), -1), NIL_VAR, NIL_VAR, NIL_VAR, NIL_VAR, TRUE_VAR};
  var* obj = _bb_memnew(6, args);
  const MemState* s = state_of(obj);
  const bool used = s && s->table;
  del_tmpvars(mark);
  return used;
}

void close_all()
{
  const int32_t mark = tmpvar_cnt;
  while (vlnWAHead) {
    var* args[] = {vlnWAHead->obj};
    vlnDoMethod("close", VLN_DS_CLOSE, 0, 1, args);
    del_tmpvars(mark);
  }
}

Counters& counters()
{
  static Counters c;
  return c;
}

}  // namespace memdrv
