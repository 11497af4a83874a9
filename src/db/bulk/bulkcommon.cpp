// bulkcommon.cpp -- the habits the whole-table commands share: area
// selection, second tables under private aliases, field lists, and the
// record loop through DBEVAL.
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "areas.h"
#include "arrays.h"
#include "bulkint.hpp"
#include "dbfidx.h"
#include "facade.h"
#include "kernel.h"
#include "vlerror.h"

namespace vlbulk {

namespace {

constexpr size_t kAliasMax = 10;     // the longest alias an area takes
constexpr char kAliasArrow[] = "->"; // alias->field in a field list
constexpr char kTextExt[] = ".txt";  // extension of a text file named without one

}  // namespace

void prg_error(int selector, const char* command, const char* detail)
{
  var* args[] = {set_Iv(selector), text_var(command), text_var(detail)};
  _bb_vlnprgerr(3, args);
}

int selected_area() { return vlnIntVar(_bb_select(0, nullptr)); }

void select_area(int n)
{
  // Between the areas of one command the switch is a bare one, as an
  // alias expression makes: SELECT's refresh of the area left (a SKIP 0)
  // would write and re-read a record at every field the command moves.
  // An empty area being left goes through SELECT, which deletes it.
  AreaRec* a = vlnNumberLocateArea(n);
  if (a && a->obj && vlnSelectedArea && vlnSelectedArea->obj) {
    vlnSelectedArea = a;
    return;
  }
  var* args[] = {set_Iv(n)};
  vlnSelect(args[0], 0);
}

bool need_table(const char* command)
{
  if (vlnLogVar(_bb_used(0, nullptr))) return true;
  prg_error(kNoDatabase, command);
  return false;
}

bool is_text(const var* v) { return v->Type == 'C' || v->Type == 'M'; }

// A text's Length counts its closing NUL.
std::string text_of(const var* v) { return is_text(v) && v->Length > 0 ? std::string(VSTR(v), size_t(v->Length - 1)) : std::string(); }

std::string upper_trim(std::string s)
{
  const auto not_blank = [](unsigned char c) { return !std::isspace(c); };
  s.erase(s.begin(), std::find_if(s.begin(), s.end(), not_blank));
  s.erase(std::find_if(s.rbegin(), s.rend(), not_blank).base(), s.end());
  for (char& c : s) c = char(std::toupper(static_cast<unsigned char>(c)));
  return s;
}

var* text_var(const std::string& s) { return set_Cvar(cre_tmpvar(), s.c_str(), int32_t(s.size())); }

std::string text_file_name(std::string name)
{
  const size_t slash = name.rfind('/');
  const size_t dot = name.rfind('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) name += kTextExt;
  return name;
}

std::string temp_alias(const char* prefix)
{
  std::string alias = prefix + std::to_string(getpid());
  alias.resize(std::min(alias.size(), kAliasMax));
  return alias;
}

var* driver_or_current(var* driver) { return is_text(driver) ? driver : _bb_rddname(0, nullptr); }

int open_free_area(var* driver, var* file, const std::string& alias, bool shared)
{
  const int back = selected_area();
  var* zero[] = {text_var("0")};
  _bb_dbselectar(1, zero);
  var* args[] = {FALSE_VAR, driver, file, text_var(alias), shared ? TRUE_VAR : FALSE_VAR, FALSE_VAR};
  _bb_dbusearea(6, args);
  if (vlnGetNeterr() || !vlnLogVar(_bb_used(0, nullptr))) {
    select_area(back);
    return 0;
  }
  return selected_area();
}

void close_area(int n, int back)
{
  if (n > 0) {
    select_area(n);
    _bb_dbcloseare(0, nullptr);
  }
  select_area(back);
}

std::vector<std::string> area_fields()
{
  std::vector<std::string> names;
  const int count = vlnIntVar(_bb_fcount(0, nullptr));
  for (int i = 1; i <= count; ++i) {
    var* args[] = {set_Iv(i)};
    names.push_back(upper_trim(text_of(_bb_fieldname(1, args))));
  }
  return names;
}

std::vector<std::string> list_fields(const var* list)
{
  std::vector<std::string> names;
  if (list->Type != 'A') return names;
  const ArrRec* a = VARR(list);
  for (uint32_t i = 0; i < a->A_size; ++i) {
    std::string name = text_of(a->A_vec[i]);
    const size_t arrow = name.rfind(kAliasArrow);
    if (arrow != std::string::npos) name.erase(0, arrow + std::strlen(kAliasArrow));
    name = upper_trim(name);
    if (!name.empty()) names.push_back(name);
  }
  return names;
}

int field_pos(const std::string& name)
{
  var* args[] = {text_var(name)};
  return vlnIntVar(_bb_fieldpos(1, args));
}

var* c_block(BlockFn fn, var* ctx)
{
  return set_bvar(cre_tmpvar(), reinterpret_cast<AnyFn>(fn), 0, ctx, static_cast<var*>(nullptr));
}

var* eval_scope(var* block, var* const* scope)
{
  var* args[] = {block, scope[kFor], scope[kWhile], scope[kNext], scope[kRecord], scope[kRest]};
  return _bb_dbeval(6, args);
}

void take_scope(int argc, var** argv, int first, var** scope)
{
  for (int i = 0; i < kScopeArgs; ++i) scope[i] = arg(argc, argv, first + i);
}

bool scope_given(var* const* scope)
{
  for (int i = 0; i < kScopeArgs; ++i)
    if (scope[i]->Type != 'U') return true;
  return false;
}

}  // namespace vlbulk

namespace vlbulk {

namespace {

constexpr long kQuietMs = 1000;     // work shorter than this shows nothing
constexpr long kRedrawMs = 200;     // the line is rewritten at most this often
constexpr long kStepMask = 1023;    // the clock is read every 1024 records

long now_ms()
{
  timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return long(t.tv_sec) * 1000 + t.tv_nsec / 1000000;
}

}  // namespace

void Progress::begin(const char* name)
{
  command = name;
  shown_at_ms = -1;
  started_ms = now_ms();
  on = isatty(STDOUT_FILENO) && isatty(STDERR_FILENO);
}

void Progress::step(long done)
{
  if (!on || (done & kStepMask) != 0) return;
  const long now = now_ms();
  if (now - started_ms < kQuietMs || (shown_at_ms >= 0 && now - shown_at_ms < kRedrawMs)) return;
  shown_at_ms = now;
  std::fprintf(stderr, "\r%s: %ld records", command, done);
  std::fflush(stderr);
}

void Progress::end()
{
  if (shown_at_ms < 0) return;
  std::fprintf(stderr, "\r\033[K");
  std::fflush(stderr);
  shown_at_ms = -1;
}

}  // namespace vlbulk
