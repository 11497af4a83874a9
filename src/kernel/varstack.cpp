// varstack.cpp -- the variable stack of shadowed PRIVATE variables.
//
// push_var installs a new record as the visible one of a name and keeps the
// shadowed record, with one link, in a stack entry; pop_vars restores it
// when the declaring frame ends.  A record declared PUBLIC meanwhile
// (D_level lowered below the current depth) outlives the frame instead.
#include <cassert>

#include "frame.hpp"
#include "kernel.h"
#include "valrec.hpp"
#include "vlerror.hpp"

using namespace vl;

namespace {

constexpr int32_t kStackStep = 100;
int32_t var_stack_cap = 0;

void grow_var_stack()
{
  const int32_t cap = var_stack_cap + kStackStep;
  var_stack = static_cast<VarStackEntry*>(
      vln_realloc(var_stack, sizeof(VarStackEntry) * cap, vln_errmsg[45], VL_SEV_FATAL,
                  VL_LEVEL_ALWAYS, "varstack", __LINE__));
  var_stack_cap = cap;
}

void pop_one()
{
  VarStackEntry& e = var_stack[cur_var_stack--];
  var* v = mv_names[e.Index].v;
  v->V_indx = e.SavedIndx;
  if (v->D_level < glob_depth && v->D_level != e.NewLevel) {
    del_var(e.Saved);  // a PUBLIC declared meanwhile outlives the call
    return;
  }
  del_var(v);
  mv_names[e.Index].v = e.Saved;
  e.Saved->D_level = e.SavedLevel;
  del_var(e.Saved);
}

}  // namespace

namespace vl {

VarStackEntry* var_stack = nullptr;
int32_t cur_var_stack = -1;

}  // namespace vl

extern "C" {

int32_t push_var(int32_t index, var* nv)
{
  assert(index >= 0 && index < mvn_fpt);
  if (cur_var_stack + 1 >= var_stack_cap) grow_var_stack();
  VarStackEntry& e = var_stack[++cur_var_stack];
  var* old = mv_names[index].v;
  ++old->Links;
  e.Index = static_cast<uint32_t>(index);
  e.SavedLevel = old->D_level;
  e.SavedIndx = nv->V_indx;
  e.NewLevel = nv->D_level;
  e.Saved = old;
  nv->V_indx = static_cast<uint32_t>(index);
  switch (nv->Mode) {
    case 'T':
    case 'U':
      nv->Mode = 'V';
      nv->D_level = glob_depth;
      break;
    case 't':
      nv->Mode = 'v';
      break;
    default:
      break;
  }
  mv_names[index].v = nv;
  if (old_fn_stack) old_fn_stack->VarCp = cur_var_stack;
  return index;
}

void pop_vars(int32_t mark)
{
  while (cur_var_stack > mark) pop_one();
  if (old_fn_stack) old_fn_stack->VarCp = cur_var_stack;
}

}  // extern "C"

namespace vl {

void redo_varstack(void)
{
  const int32_t velnor = locate_var("velnor");
  const int32_t getlist = locate_var("getlist");
  for (int32_t i = cur_var_stack; i >= 0; --i) {
    VarStackEntry& e = var_stack[i];
    var* saved = e.Saved;
    if (saved->Mode == 'C' || (saved->Type == 'U' && saved->Mode == 'U')) continue;
    if (i == velnor || i == getlist) continue;  // position compared with the index
    del_var(saved);
    del_var(saved);
    var* fresh = mak_var('U', 'U');
    ++fresh->Links;
    fresh->V_indx = e.Index;
    fresh->D_level = e.SavedLevel;
    e.Saved = fresh;
  }
}

}  // namespace vl
