// tablecommon.cpp -- structures, table creation, a command's run and the
// record copier that the table-to-table commands share (tableint.hpp).
#include <unistd.h>

#include "arrays.h"
#include "autolock.h"
#include "dates.h"
#include "areas.h"
#include "dbfidx.h"
#include "dbfint.hpp"
#include "facade.h"
#include "files.h"
#include "kernel.h"
#include "switches.h"
#include "switches.hpp"
#include "tableint.hpp"
#include "vlgen.h"

namespace vlbulk {

namespace {

constexpr int kStructCols = 4;       // name, type, length, decimals
constexpr int32_t kPermBits = 0777;  // the permission part of a file mode
constexpr int kOctal = 8, kDecimal = 10;

std::string column_text(var* row, int i) { return text_of(dget_arr(row, i)); }

// Octal permission bits as DBCREATE takes them: 0644 -> 644.
int32_t octal_digits(int32_t bits)
{
  int32_t out = 0;
  for (int32_t scale = 1; bits > 0; bits /= kOctal, scale *= kDecimal) out += (bits % kOctal) * scale;
  return out;
}

}  // namespace

std::vector<FieldDesc> area_struct()
{
  std::vector<FieldDesc> descs;
  var* all = _bb_dbstruct(0, nullptr);
  if (all->Type != 'A') return descs;
  for (uint32_t i = 0; i < VARR(all)->A_size; ++i) {
    var* row = VARR(all)->A_vec[i];
    const std::string type = column_text(row, 2);
    descs.push_back({column_text(row, 1), type.empty() ? ' ' : type[0], vlnIntVar(dget_arr(row, 3)),
                     vlnIntVar(dget_arr(row, 4))});
  }
  return descs;
}

int desc_index(const std::vector<FieldDesc>& descs, const std::string& name)
{
  for (size_t i = 0; i < descs.size(); ++i)
    if (descs[i].name == name) return int(i);
  return -1;
}

int32_t area_perms()
{
  var* args[] = {NIL_VAR, TRUE_VAR};
  var* path[] = {_bb_dbf(2, args)};
  const int32_t mode = vlnIntVar(_bb_fattrib(1, path));
  return mode < 0 ? 0 : octal_digits(mode & kPermBits);
}

bool create_table(var* file, const std::vector<FieldDesc>& descs, var* driver, int32_t perms)
{
  var* all = cre_arr(cre_tmpvar(), 0, VL_ARR_NIL, static_cast<var*>(nullptr));
  for (const FieldDesc& d : descs) {
    const char type[2] = {d.type, '\0'};
    var* row = cre_arr(cre_tmpvar(), kStructCols, VL_ARR_LIST, text_var(d.name), set_cv(type), set_Iv(d.len),
                       set_Iv(d.dec), static_cast<var*>(nullptr));
    var* args[] = {all, row};
    _bb_aadd(2, args);
  }
  var* args[] = {file, all, driver, perms > 0 ? set_Iv(perms) : NIL_VAR};
  return vlnLogVar(_bb_dbcreate(4, args));
}

int Run::open(var* driver, var* file, const std::string& alias, bool shared)
{
  const int n = open_free_area(driver, file, alias, shared);
  if (n > 0) opened.push_back(n);
  return n;
}

void Run::developer_mode()
{
  if (saved_level < 0) saved_level = vl::vl_set_flag[VL_SLOT_LEVEL];
  vl::vl_set_flag[VL_SLOT_LEVEL] = VL_DEVEL_LEVEL;
}

void Run::finish()
{
  for (int n : opened) close_area(n, back);
  opened.clear();
  for (const std::string& f : temps) unlink(f.c_str());
  temps.clear();
  for (var* v : owned) del_var(v);
  owned.clear();
  if (saved_level >= 0) vl::vl_set_flag[VL_SLOT_LEVEL] = saved_level;
  select_area(back);
}

var* converted(var* v, char to)
{
  const char from = v->Type;
  const bool text_to = to == 'C' || to == 'M', text_from = from == 'C' || from == 'M';
  const bool num_to = to == 'N' || to == 'F' || to == 'I', num_from = from == 'N' || from == 'F' || from == 'I';
  if (text_to && text_from) return v;
  if (to == from) return v;
  if (num_to && (num_from || from == 'L')) return set_nv(vlnNumVar(v), from == 'L' ? 0 : v->Decimals);
  if (to == 'L' && num_from) return set_lv(vlnNumVar(v) != 0);
  if (text_to && from == 'D') return _bb_dtos(1, &v);
  if (to == 'D' && text_from) return _bb_stod(1, &v);
  return nullptr;
}

bool Copier::append_target()
{
  if (wait) {
    var* args[] = {NIL_VAR, NIL_VAR};
    stopped = !vlnLogVar(vln_autolock_fn("AUTOAPPEND", _bb_autoappend)(2, args));
  } else {
    _bb_dbappend(0, nullptr);
    stopped = vlnGetNeterr() != 0;
  }
  return !stopped;
}

namespace {
constexpr char kDbfDriver[] = "DBFIDX";  // the driver whose records go as bytes
}  // namespace

bool dbf_area() { return text_of(_bb_rddname(0, nullptr)) == kDbfDriver; }

bool Copier::use_raw()
{
  raw = false;
  if (convert || pairs.empty()) return false;
  for (size_t i = 0; i < pairs.size(); ++i) {
    const FieldPair& p = pairs[i];
    if (p.area || p.from != int(i) + 1 || p.to != p.from || p.from_type != p.to_type || p.from_type == 'M') return false;
  }
  const auto shape = [&](int area) {
    select_area(area);
    return dbf_area() && vlnIntVar(_bb_fcount(0, nullptr)) == int(pairs.size())
               ? vlnIntVar(_bb_recsize(0, nullptr))
               : -1;
  };
  const int32_t to = shape(target);
  const std::vector<FieldDesc> target_struct = area_struct();
  raw = to > 0 && shape(source) == to && area_struct() == target_struct;
  return raw;
}

bool Copier::copy_bytes(const uint8_t* bytes)
{
  select_area(target);
  if (append_target() && !vl::dbf_put_record_bytes(vlnGetAreaObject(target), bytes)) stopped = true;
  select_area(source);
  progress.step(++done);
  return !stopped;
}

bool Copier::copy_current()
{
  if (raw) {
    const uint8_t* bytes = vl::dbf_record_bytes(vlnGetAreaObject(source));
    return bytes ? copy_bytes(bytes) : true;
  }
  std::vector<var*>& values = scratch;
  values.assign(pairs.size(), nullptr);
  int at = source;
  for (size_t i = 0; i < pairs.size(); ++i) {
    const int area = pairs[i].area ? pairs[i].area : source;
    if (area != at) select_area(at = area);
    var* n[] = {set_Iv(pairs[i].from)};
    values[i] = _bb_fieldget(1, n);
    if (convert) values[i] = converted(values[i], pairs[i].to_type);
  }
  select_area(target);
  if (append_target()) {
    for (size_t i = 0; i < pairs.size(); ++i) {
      if (!values[i]) continue;
      var* args[] = {set_Iv(pairs[i].to), values[i]};
      _bb_fieldput(2, args);
    }
  }
  select_area(source);
  progress.step(++done);
  return !stopped;
}

var* ptr_block(BlockFn fn, void* p) { return c_block(fn, set_ivar(cre_tmpvar(), reinterpret_cast<intptr_t>(p))); }

namespace {

var* copy_one(int argc, var** argv, var** avec)
{
  VL_BEGIN("tablecommon", "copy_one");
  VL_STMT(context_of<Copier>(avec)->copy_current());
  VL_RETURN_NIL();
}

// The while condition: no failed append, then the program's own.
struct WhileCtx {
  Copier* copier;
  var* user;
};

var* copy_while(int argc, var** argv, var** avec)
{
  VL_BEGIN("tablecommon", "copy_while");
  const WhileCtx* w = context_of<WhileCtx>(avec);
  bool go = false;
  VL_STMT(go = !w->copier->stopped && (w->user->Type == 'U' || vlnTrueBlockEval(w->user)));
  VL_RETURN(go ? TRUE_VAR : FALSE_VAR);
}

}  // namespace

void copy_scope(Copier& c, var* const* scope)
{
  WhileCtx w{&c, scope[kWhile]};
  var* args[kScopeArgs];
  for (int i = 0; i < kScopeArgs; ++i) args[i] = scope[i];
  // Without a while or rest the loop starts at the top, as DBEVAL's would.
  if (scope[kWhile]->Type == 'U' && scope[kRest]->Type == 'U' && scope[kRecord]->Type == 'U' &&
      scope[kNext]->Type == 'U')
    _bb_dbgotop(0, nullptr);
  args[kWhile] = ptr_block(copy_while, &w);
  c.progress.begin(c.command);
  eval_scope(ptr_block(copy_one, &c), args);
  c.progress.end();
}

}  // namespace vlbulk
