// errslots.hpp -- typed reads of an Error object's slots, shared by the
// error block's road and the driver's error path.
#ifndef VL_ERRSLOTS_HPP
#define VL_ERRSLOTS_HPP

#include "errclass.h"
#include "objects.h"

namespace vlerr {

// Element i of Error object e (NIL_VAR after a report when out of range).
inline var* slot(var* e, int32_t i) { return vlnGetObj(e, i); }

// A numeric or logical slot as an integer; 0 for any other type.
inline int32_t int_slot(var* e, int32_t i)
{
  var* v = slot(e, i);
  return vlnInSet("NIFL", v->Type) ? vlnIntVar(v) : 0;
}

// A text slot's characters, borrowed from the object; "" for any other type.
inline const char* text_slot(var* e, int32_t i)
{
  var* v = slot(e, i);
  return v->Type == 'C' || v->Type == 'M' ? VSTR(v) : "";
}

}  // namespace vlerr

#endif  // VL_ERRSLOTS_HPP
