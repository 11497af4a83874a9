// frames.cpp -- opening and closing call frames, parameters and LOCALs,
// PRIVATE and PUBLIC declarations.
//
// A parameter that arrives as a temporary becomes the callee's local with no
// copy; a variable passed by reference stays the caller's record; a constant
// record is copied so that the callee can never change it.  A LOCAL is a
// temporary made above the frame's current floor, and the floor is lifted
// over it so that statement-level release spares it until the frame ends.
#include <cctype>
#include <cstdio>

#include "frame.hpp"
#include "kernel.h"
#include "letters.hpp"
#include "runtime.hpp"
#include "valrec.hpp"
#include "vlerror.h"

using namespace vl;

namespace {

constexpr int kQuiet = 128;

char upper(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }

// Lift the current frame's floor over every temporary made so far.
void lift_floor()
{
  if (old_fn_stack) old_fn_stack->TmvNp = tmpvar_cnt;
}

// Step 6 of a parameter: fix the record's Mode by its kind.
var* settle_param(var* v, char expected, bool quiet)
{
  const bool typed = expected != 'U';
  switch (v->Mode) {
    case 'C':
      v = mk_var_cp(v);
      lift_floor();
      v->Mode = typed ? 'S' : 'N';
      break;
    case 't':
      v->Mode = typed ? 's' : 'n';
      break;
    case 'T':
      v->Mode = typed ? 'S' : 'N';
      break;
    case 'F':
    case 'f':
      if (!quiet) ftl_error(VL_E_ILLEGAL_FIELD_TYPE, "field not allowed as parameter to function");
      break;
    case 'U':
      rt_error(VL_E_WARNING, "function called with undefined variable");
      break;
    default:
      break;
  }
  return v;
}

}  // namespace

extern "C" {

frame* old_fn_stack = nullptr;


void vln_fn_start(frame* f, const char* file, const char* func, int32_t line, int argc)
{
  f->Line = line;
  f->TmvNp = f->TmvAp = tmpvar_cnt;
  f->VarCp = f->TmvLp = cur_var_stack;
  f->RetVal = NIL_VAR;
  f->File = file;
  f->Func = func;
  f->Depth = glob_depth++;
  f->Params = static_cast<uint32_t>(argc < 0 ? 0 : argc);
  f->Spare[0] = f->Spare[1] = 0;
  f->SuperLevel = -2;
  f->Prev = old_fn_stack;
  old_fn_stack = f;
}

var* vln_fn_end(frame* f, int type)
{
  var* result = f->RetVal;
  if (!vl::is_static(result)) ++result->Links;
  pop_vars(f->TmvLp);
  del_tmpvars(f->TmvAp);
  add_tmpvar(result);
  glob_depth = f->Depth;
  old_fn_stack = f->Prev;
  if (type != 'U' && !vlnParamTypesCompatible(result->Type, type)) {
    std::snprintf(repdum, sizeof repdum, "Illegal return type, expected %c - received %c",
                  type, result->Type);
    rt_error(VL_E_TYPE_MISMATCH, repdum);
  }
  return result;
}

var* vln_local_param(int argc, int index, var** argv, int type)
{
  const char expected = static_cast<char>(type & 0x7F);
  const bool quiet = (type & kQuiet) != 0;
  var* v;
  if (index >= argc) {
    v = cre_tmpvar();
  } else {
    v = argv[index];
    if (expected == 'U' || vlnParamTypesCompatible(v->Type, expected))
      return settle_param(v, expected, quiet);
    if (!quiet) {
      std::snprintf(repdum, sizeof repdum,
                    "for parameter #%d;expected %c - received %c;"
                    "defaulting to empty parameter of type %c",
                    index + 1, expected, v->Type, expected);
      rt_error(VL_E_TYPE_MISMATCH, repdum);
    }
    if (upper(v->Mode) != 'T') v = cre_tmpvar();
  }
  lift_floor();
  if (expected != 'U' && vl::kHasEmpty.has(expected)) vlnSetFixedEmpty(v, expected);
  return settle_param(v, expected, quiet);
}

void vln_private_param(int32_t index, int argc, int argidx, var** argv)
{
  if (argc <= argidx) {
    push_var(index, mak_var('N', 'U'));
    return;
  }
  var* arg = argv[argidx];
  if (vl::is_static(arg) || arg->Mode == 'C') arg = mk_var_cp(arg);
  ++arg->Links;
  switch (arg->Mode) {
    case 'F':
    case 'f':
      ftl_error(VL_E_ILLEGAL_FIELD_TYPE, "field not allowed as parameter to function");
    case 'U':
      rt_error(VL_E_WARNING, "function call with undefined variable");
      push_var(index, arg);
      arg->Mode = 'U';
      break;
    default:
      push_var(index, arg);
      break;
  }
}

int32_t vln_declare(int32_t index)
{
  var* v = mv_names[index].v;
  if (v->D_level != glob_depth)
    push_var(index, mak_var('N', 'U'));
  else if (v->Mode == 'U')
    v->Mode = 'N';
  return index;
}

int32_t vln_public(int32_t index)
{
  var* v = mv_names[index].v;
  if (v->Mode == 'U') {
    v->D_level = 0;
    v->Mode = 'N';
    set_lvar(v, 0);
  }
  return index;
}

}  // extern "C"
