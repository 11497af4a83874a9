// ops_logic.cpp -- the logical operators and ++/--.
//
// A number stands as a logical wherever one is expected (non-zero is
// true).  .AND. and .OR. only combine: generated code evaluates the right
// operand only when it is needed, and a member that passes the right
// operand on gives it back whatever its type.
//
// ++ and -- change dates and numbers by one.  They act only on records that
// are variables or temporaries (Mode "SNLVFPMT", and 'f' like 'F');
// protected records ('P','M') only while the library edits its own slots
// (vln_priv_mode).  Any other record comes back unchanged, silently: so
// x++ on a constant does nothing.  Fields write through the field store.
// A date stepped out of the calendar (past 9999-12-31) is refused with 409
// and stays as it was.
#include "kernel.h"
#include "ops_common.hpp"
#include "var.hpp"

using namespace vl;
using namespace vl::ops;

namespace {

constexpr const char* kCondition = "expected logical for condition";
constexpr const char* kNotText = ".not. only on logicals";
constexpr const char* kAndText = "can .and. only logicals";
constexpr const char* kOrText = "can .or. only logicals";
constexpr const char* kIncText = "only date numerics can be auto-incremented";
constexpr const char* kDecText = "only date numerics can be auto-decremented";

constexpr LetterSet kModeStep = letters("SNLVFPMTf");
constexpr LetterSet kModeProtected = letters("PM");
constexpr LetterSet kStepTypes = letters("DIFN");

bool logical(const var* v) { return kLINF.has(v->Type); }

// One of the four ++/-- members: the change and whether the old value is
// the result.  x-- reports with the ++ text, as it always has.
struct Step {
  int32_t delta;
  bool post;
  const char* mismatch;
};

constexpr Step kPreInc{1, false, kIncText};
constexpr Step kPreDec{-1, false, kDecText};
constexpr Step kPostInc{1, true, kIncText};
constexpr Step kPostDec{-1, true, kIncText};

bool steps(const var* v)
{
  return kModeStep.has(v->Mode) && (vln_priv_mode || !kModeProtected.has(v->Mode));
}

var* refreshed(var* v)
{
  if (is_field(v) && vlnGetFieldHook) vlnGetFieldHook(v);
  return v;
}

// Write the changed value of field record v through the field store.
var* step_field(var* v, int32_t delta)
{
  if (v->Type == 'D') return set_dvar(v, wrap_add(v->Value.w1.i, delta));
  return set_nvar(v, num(v) + delta, v->Decimals);
}

void step_in_place(var* v, int32_t delta)
{
  if (is_double(v))
    v->Value.w1.d += delta;
  else
    v->Value.w1.bits = static_cast<uint32_t>(wrap_add(v->Value.w1.i, delta));
}

var* step(var* v, const Step& s)
{
  if (!steps(v)) return v;
  var* result = s.post ? mk_var_cp(v) : refreshed(v);
  if (!kStepTypes.has(v->Type)) return fail(VL_E_TYPE_MISMATCH, s.mismatch);
  if (v->Type == 'D' && !vln_day_ok(v->Value.w1.i + static_cast<double>(s.delta)))
    return vln_day_range_error("date arithmetic");
  if (is_field(v)) {
    if (step_field(v, s.delta) == ERROR_VAR) return ERROR_VAR;
  } else {
    step_in_place(v, s.delta);
  }
  return result;
}

}  // namespace

extern "C" {

int if_u(var* v)
{
  if (!logical(v)) {
    fail(VL_E_ILLEGAL_OP, kCondition);
    return 0;
  }
  return truth(v);
}

var* not_u(var* v)
{
  if (!logical(v)) return fail(VL_E_ILLEGAL_OP, kNotText);
  return boolean(!truth(v));
}

var* l_and_u(int b, var* v)
{
  if (!logical(v)) return fail(VL_E_ILLEGAL_OP, kAndText);
  return b ? v : FALSE_VAR;
}

var* l_or_u(int b, var* v)
{
  if (!logical(v)) return fail(VL_E_ILLEGAL_OP, kOrText);
  return b ? TRUE_VAR : v;
}

var* u_and_u(var* l, var* r)
{
  if (!logical(l)) return fail(VL_E_ILLEGAL_OP, kAndText);
  return truth(l) ? r : FALSE_VAR;
}

var* u_or_u(var* l, var* r)
{
  if (!logical(l) || !logical(r)) return fail(VL_E_ILLEGAL_OP, kOrText);
  return truth(l) ? TRUE_VAR : r;
}

var* autoinc_u(var* v) { return step(v, kPreInc); }
var* autodec_u(var* v) { return step(v, kPreDec); }
var* u_autoinc(var* v) { return step(v, kPostInc); }
var* u_autodec(var* v) { return step(v, kPostDec); }

}  // extern "C"
