// arr_access.cpp -- element access: dget_arr and dget_arrv for generated
// code, ATAIL, and the recording of subscripts for READ.
//
// The subscript hook (vln_subscarr) runs language code, which may resize
// the array or release the record holding it, so that record is held while
// the hook runs, the element is fetched only after it and the index checked
// again.
#include <cstdio>

#include "arr_args.hpp"
#include "arrays.h"
#include "frame.h"
#include "kernel.h"
#include "vlerror.h"
#include "vlgen.h"

namespace {

constexpr const char* kModule = "arr_access";

// The element at i, or null after reporting 409.
var* in_limits(var* a, int64_t i)
{
  const uint32_t size = VARR(a)->A_size;
  if (i >= 1 && i <= size) return vl::arr::element(VARR(a), static_cast<uint32_t>(i));
  char text[80];
  std::snprintf(text, sizeof text, "array index %lld not in limits (1..%u) ",
                static_cast<long long>(i), size);
  rt_error(VL_E_OUT_OF_RANGE, text);
  return nullptr;
}

// Tell the hook the subscript, then fetch the element.
var* record_and_fetch(var* a, int64_t i, var* subscript)
{
  if (!in_limits(a, i)) return nullptr;
  if (!vln_subscarr) return vl::arr::element(VARR(a), static_cast<uint32_t>(i));
  vln_hold(a);
  vln_subscarr(1, &subscript);
  return a->Type == 'A' ? in_limits(a, i) : nullptr;
}

// The report for a value of the wrong type.
void wrong_type(const char* format, var* v)
{
  char text[80];
  std::snprintf(text, sizeof text, format, v->Type);
  rt_error(VL_E_WRONG_ARG_TYPE, text);
}

}  // namespace

extern "C" {

BbFn vln_subscarr = nullptr;

var* dget_arr(var* a, int32_t i)
{
  if (!a) return int_error(VL_E_NULL_POINTER, "DGET_ARR: null array pointer", kModule, __LINE__);
  if (a->Type != 'A') {
    wrong_type("array required, received var type '%c'", a);
    return ERROR_VAR;
  }
  var* e = record_and_fetch(a, i, vln_subscarr ? set_Iv(i) : nullptr);
  return e ? e : ERROR_VAR;
}

var* dget_arrv(var* a, var* iv)
{
  if (!a)
    return int_error(VL_E_NULL_POINTER, "DGET_ARR: null array pointer", kModule, __LINE__), NIL_VAR;
  if (a->Type != 'A') return wrong_type("array required, cannot be '%c'", a), NIL_VAR;
  if (!iv)
    return int_error(VL_E_NULL_POINTER, "DGET_ARR: null array index pointer", kModule, __LINE__),
           NIL_VAR;
  if (!vl::kNFIL.has(iv->Type))
    return wrong_type("array index required, cannot be '%c'", iv), NIL_VAR;
  var* e = record_and_fetch(a, vlnIntVar(iv), iv);
  return e ? e : NIL_VAR;
}

}  // extern "C"

// ATAIL(a)
VLN_FUNC(atail)
{
  if (argc < 1) return rt_error(VL_E_ARG_COUNT, "in ATAIL"), NIL_VAR;
  if (!vl::arr::arg_array(argc, argv, 0)) return rt_error(VL_E_ARG_TYPE, "in ATAIL"), NIL_VAR;
  const ArrRec* a = VARR(argv[0]);
  return a->A_size ? vl::arr::element(a, a->A_size) : NIL_VAR;
}

// Subscript recording for READ.
// 
// While recording is on, vln_subscarr points at __ADDSUBSA, so every
// dget_arr/dget_arrv appends its subscript to the PUBLIC __subscarr.
// Generated code empties that list ahead of each subscript expression,
// so it holds exactly the subscripts of the latest element access.
VLN_MEMVAR(__subscarr);

namespace {

// Whether recording is on.
bool bSubscRecording = false;

void switch_recording(bool on)
{
  if (on) {
    cre_arr(vlnGetVarForWrite(_bbvar___subscarr), 1, VL_ARR_NIL, (var*)0);
    vln_subscarr = _bb___addsubsa;
  } else {
    vln_subscarr = nullptr;
  }
  bSubscRecording = on;
}

}  // namespace

// The PUBLIC list exists from the start (after the SET defaults).
VLN_INIT(subscarr, 20)
{
  vln_public(_bbvar___subscarr);
}

// __SUBSCARR([lOn]): the previous setting; a non-NIL argument that differs
// switches recording.
VLN_FUNC(__subscarr)
{
  const bool was = bSubscRecording;
  if (argc >= 1 && argv[0]->Type != 'U') {
    const bool on = argv[0]->Type == 'L' && VINT(argv[0]) != 0;
    if (on != was) switch_recording(on);
  }
  return was ? TRUE_VAR : FALSE_VAR;
}

// __ADDSUBSA(x): AADD(__subscarr, x).
VLN_FUNC(__addsubsa)
{
  var* args[] = {vlnGetVar(_bbvar___subscarr), argc >= 1 ? argv[0] : NIL_VAR};
  return _bb_aadd(2, args);
}
