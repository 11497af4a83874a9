// area_hooks.cpp -- how the kernel reaches the work areas: field names in
// expressions, alias->field, alias->(list), stores into field records and
// the area number of the dumps.
//
// Field reads refresh the record through the driver and then hand out the
// record itself, so that an expression can also assign through it.  A
// store into a field record goes to the area's object (vlnSetField).
#include <cstdio>
#include <vector>

#include "areaint.hpp"
#include "dumps.hpp"
#include "evalhooks.h"
#include "frame.h"
#include "kernel.h"
#include "runtime.hpp"
#include "var.hpp"
#include "vlerror.h"
#include "vlgen.h"

using namespace vl;

namespace {

// Saved selections of the aliased lists being evaluated.
std::vector<AreaRec*> g_pushed;

// The field record of name in area, refreshed; null when there is none.
var* fresh_field(AreaRec* area, const char* name)
{
  const int32_t sym = locate_var(name);
  var* f = sym >= 0 ? vlarea::field_record(area, sym) : nullptr;
  if (f) vlarea::fetch_field(f);
  return f;
}

var* eval_field(const char* name) { return fresh_field(vlnSelectedArea, name); }

var* eval_alias_field(var* alias, const char* name)
{
  AreaRec* area = vlarea::area_of_value(alias);
  if (!area) return ERROR_VAR;
  if (var* f = fresh_field(area, name)) return f;
  std::snprintf(repdum, sizeof repdum, "vlnGetAliasField: cannot find field '%s'", name);
  return rt_error(VL_E_NO_FIELD, repdum);
}

// alias->(list): the push of vlnPushVArea.  A text that names no open area
// is refused (342) as alias->name refuses it, rather than running the list
// in the selected area.  A failed push is undone and stops the list; a
// warning lets the list run where the selection ended.
int eval_push_area(var* alias)
{
  if (alias->Type == 'C' && !vlarea::area_of_value(alias)) return 0;
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

void refresh_field(var* field) { vlarea::fetch_field(field); }

int area_number(AreaRec* area) { return area ? area->number : 0; }

}  // namespace

VLN_INIT(areas, 10)
{
  vln_eval_field_hook = eval_field;
  vln_eval_alias_field_hook = eval_alias_field;
  vln_eval_push_area_hook = eval_push_area;
  vln_eval_pop_area_hook = eval_pop_area;
  vlnSetFieldHook = vlnSetField;
  vlnGetFieldHook = refresh_field;
  vlnAreaNumberHook = area_number;
}
