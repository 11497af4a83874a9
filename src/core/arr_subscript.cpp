// arr_subscript.cpp -- subscript recording for READ.
//
// While recording is on, vln_subscarr points at __ADDSUBSA, so every
// dget_arr/dget_arrv appends its subscript to the PUBLIC __subscarr.
// Generated code empties that list ahead of each subscript expression,
// so it holds exactly the subscripts of the latest element access.
#include "arr_args.hpp"
#include "arrays.h"
#include "frame.h"
#include "vlgen.h"

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
