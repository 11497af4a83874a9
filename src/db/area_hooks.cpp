// area_hooks.cpp -- how the kernel reaches the work areas: field names in
// expressions, alias->field, alias->(list), stores into field records and
// the area number of the dumps.
//
// Field reads refresh the record through the driver and then hand out the
// record itself, so that an expression can also assign through it.
//
// A store into a field record goes to the area's object (vlnSetField).  A
// store that the object's own put makes into the same record, while that
// put runs, lands in the record: that is how a driver stores the value it
// was given without sending the put to itself again.  The same holds for a
// refresh that the object's get causes while it runs.
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <vector>

#include "areaint.hpp"
#include "dumps.h"
#include "evalhooks.h"
#include "frame.h"
#include "kernel.h"
#include "vlerror.h"
#include "vlgen.h"

namespace {

constexpr int kNoField = 306;
constexpr int kTypeMismatch = 201;

// The field whose get or put is running (the innermost), or null.
var* g_busy = nullptr;
// Saved selections of the aliased lists being evaluated.
std::vector<AreaRec*> g_pushed;

// Run fn(a, b) with g_busy set to field; a BREAK out of it restores g_busy
// on its way to the outer sequence.
template <class Fn>
var* while_busy(var* field, Fn fn)
{
  var* const outer_busy = g_busy;
  jmp_buf guard;
  jmp_buf* const outer = glob_sequencebuf;
  glob_sequencebuf = &guard;
  if (setjmp(guard) != 0) {
    glob_sequencebuf = outer;
    g_busy = outer_busy;
    if (!outer) vl_break_error();
    longjmp(*outer, 1);
  }
  g_busy = field;
  var* r = fn();
  g_busy = outer_busy;
  glob_sequencebuf = outer;
  return r;
}

bool numeric(char t) { return t == 'N' || t == 'F' || t == 'I' || t == 'L'; }
bool textual(char t) { return t == 'C' || t == 'M'; }

// Store value straight into the field record, converting within the
// compatible pairs: text to text, numbers and logicals among themselves.
var* store_in_record(var* field, var* value)
{
  const char ft = field->Type, vt = value->Type;
  if (!(ft == vt || (textual(ft) && textual(vt)) || (numeric(ft) && numeric(vt)))) {
    std::snprintf(repdum, sizeof repdum, "field type %c, value type %c", ft, vt);
    return rt_error(kTypeMismatch, repdum);
  }
  const size_t len = textual(vt) && VSTR(value) && value->Length > 0
                         ? static_cast<size_t>(value->Length - 1) : 0;
  switch (ft) {
    case 'C': {  // fixed width: cut or padded with blanks
      const size_t width = field->Length > 0 ? static_cast<size_t>(field->Length - 1) : 0;
      const size_t n = len < width ? len : width;
      if (n) std::memcpy(VSTR(field), VSTR(value), n);
      if (width > n) std::memset(VSTR(field) + n, ' ', width - n);
      break;
    }
    case 'M': {
      char* p = static_cast<char*>(vln_realloc(VSTR(field), len + 1, vln_errmsg[18],
                                               VL_SEV_FATAL, VL_LEVEL_ALWAYS, "areas", __LINE__));
      if (len) std::memcpy(p, VSTR(value), len);
      p[len] = '\0';
      field->Value.w1.str = p;
      field->Length = static_cast<int32_t>(len + 1);
      break;
    }
    case 'D':
      field->Value.w1.i = value->Value.w1.i;
      break;
    case 'L':
      field->Value.w1.i = vlnLogVar(value) ? 1 : 0;
      break;
    default:  // 'N', 'F'
      field->Value.w1.d = vlnNumVar(value);
      break;
  }
  return field;
}

var* set_field(var* field, var* value)
{
  if (field == g_busy) return store_in_record(field, value);
  return while_busy(field, [&] { return vlnSetField(field, value); });
}

void get_field(var* field)
{
  if (field == g_busy || field->Mode != 'f') return;
  while_busy(field, [&] { return vlarea::fetch_field(field); });
}

// The field record of name in area, refreshed; null when there is none.
var* fresh_field(AreaRec* area, const char* name)
{
  const int32_t sym = locate_var(name);
  var* f = sym >= 0 ? vlarea::field_record(area, sym) : nullptr;
  if (f) get_field(f);
  return f;
}

var* eval_field(const char* name) { return fresh_field(vlnSelectedArea, name); }

var* eval_alias_field(var* alias, const char* name)
{
  AreaRec* area = vlarea::area_of_value(alias);
  if (!area) return ERROR_VAR;
  if (var* f = fresh_field(area, name)) return f;
  std::snprintf(repdum, sizeof repdum, "vlnGetAliasField: cannot find field '%s'", name);
  return rt_error(kNoField, repdum);
}

int eval_push_area(var* alias)
{
  const uint32_t errors = vln_error_count;
  AreaRec* prev = vlnPushVArea(alias);
  if (vln_error_count != errors) {
    vlnPopArea(prev);
    return 0;
  }
  g_pushed.push_back(prev);
  return 1;
}

void eval_pop_area(void)
{
  if (g_pushed.empty()) return;
  AreaRec* prev = g_pushed.back();
  g_pushed.pop_back();
  vlnPopArea(prev);
}

int area_number(AreaRec* area) { return area ? area->number : 0; }

}  // namespace

VLN_INIT(areas, 10)
{
  vln_eval_field_hook = eval_field;
  vln_eval_alias_field_hook = eval_alias_field;
  vln_eval_push_area_hook = eval_push_area;
  vln_eval_pop_area_hook = eval_pop_area;
  vlnSetFieldHook = set_field;
  vlnGetFieldHook = get_field;
  vlnAreaNumberHook = area_number;
}
