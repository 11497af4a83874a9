// area_store.cpp -- reading and writing field records through their area's
// object.
//
// A record with Mode 'F' is the field itself.  A record with Mode 'f' is a
// cache that the area's object refreshes: through the object's
// QuickFieldGet when it has one (called directly, with the object and the
// record), else by the message fieldget with the field number plus 1.
// Writes go the same way through QuickFieldPut or fieldput.
//
// While the object's get or put of a record runs, the record is busy: a
// read of it then takes the record as it stands, and a store into it lands
// in the record.  That is how a driver reads its own field records and
// stores the value it was given without sending the message to itself
// again.  A BREAK out of the object passes through a sequence frame of our
// own that clears the mark before it jumps on.
#include <cstdio>
#include <cstring>

#include "areaint.hpp"
#include "breakguard.hpp"
#include "dsslots.h"
#include "frame.h"
#include "kernel.h"
#include "objects.h"
#include "runtime.hpp"
#include "vlerror.hpp"

using namespace vl;

namespace {

constexpr const char* kModule = "areas";
// Row of vln_errmsg naming the allocation of a memo field's text.
constexpr int kMemoPurpose = 18;

// The innermost field whose get or put is running, or null.
var* g_busy = nullptr;

// Run fn() with field marked busy.
template <class Fn>
var* while_busy(var* field, Fn fn)
{
  var* const outer_busy = g_busy;
  g_busy = field;
  return vln_guarded(fn, [outer_busy] { g_busy = outer_busy; });
}

bool numeric(char t) { return t == 'N' || t == 'F' || t == 'I' || t == 'L'; }
bool textual(char t) { return t == 'C' || t == 'M'; }

// Store value straight into the field record, converting within the
// compatible pairs: text to text, numbers and logicals among themselves.
// A 'C' field keeps its width: a longer text is cut, a shorter padded.
var* store_in_record(var* field, var* value)
{
  const char ft = field->Type, vt = value->Type;
  if (!(ft == vt || (textual(ft) && textual(vt)) || (numeric(ft) && numeric(vt)))) {
    std::snprintf(repdum, sizeof repdum, "field type %c, value type %c", ft, vt);
    return rt_error(VL_E_TYPE_MISMATCH, repdum);
  }
  const size_t len = textual(vt) && VSTR(value) && value->Length > 0
                         ? static_cast<size_t>(value->Length - 1) : 0;
  switch (ft) {
    case 'C': {
      const size_t width = field->Length > 0 ? static_cast<size_t>(field->Length - 1) : 0;
      const size_t n = len < width ? len : width;
      if (n) std::memcpy(VSTR(field), VSTR(value), n);
      if (width > n) std::memset(VSTR(field) + n, ' ', width - n);
      break;
    }
    case 'M': {
      auto* p = static_cast<char*>(vln_realloc(VSTR(field), len + 1, vln_errmsg[kMemoPurpose],
                                               VL_SEV_FATAL, VL_LEVEL_ALWAYS, kModule, __LINE__));
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

var* get_through(AreaRec* area, var* field)
{
  var* obj = area->obj;
  if (area->qgm) {
    var* args[2] = {obj, field};
    return area->qgm(2, args);
  }
  var* args[2] = {obj, set_nv(static_cast<double>(field->F_indx) + 1, 0)};
  return vlnDoMethod("fieldget", VLN_DS_FIELDGET, 0, 2, args);
}

var* put_through(AreaRec* area, var* field, var* value)
{
  var* obj = area->obj;
  if (area->qpm) {
    var* args[3] = {obj, field, value};
    return area->qpm(3, args);
  }
  var* args[3] = {obj, set_nv(static_cast<double>(field->F_indx) + 1, 0), value};
  return vlnDoMethod("fieldput", VLN_DS_FIELDPUT, 0, 3, args);
}

}  // namespace

namespace vlarea {

var* fetch_field(var* field)
{
  AreaRec* area = field->W_area;
  if (field->Mode == 'F' || field == g_busy || !area || !area->obj) return field;
  return while_busy(field, [&] { return get_through(area, field); });
}

}  // namespace vlarea

extern "C" {

var* vlnSetField(var* field, var* value)
{
  if (!field || !value) return ERROR_VAR;
  if (field == g_busy) return store_in_record(field, value);
  AreaRec* area = field->W_area;
  if (!area || !area->obj) {  // a plain field of no area is just a record
    if (field->Mode == 'F') return store_in_record(field, value);
    rt_error(VL_E_ILLEGAL_ALIAS, "field of a closed work area");
    return ERROR_VAR;
  }
  return while_busy(field, [&] { return put_through(area, field, value); });
}

}  // extern "C"
