// tmpstack.cpp -- the temporary stack.
//
// Every operator result and every value made for a call is a temporary: a
// record whose one link is held by this stack.  Generated code releases
// everything above the frame's floor between statements; a frame's entry
// mark releases its locals at function end.  Records are allocated one by
// one, not inline in the stack, because a temporary can outlive its slot
// (a parameter installed as a PRIVATE, a local captured by a block).
#include <cstdlib>

#include "frame.h"
#include "kernel.h"
#include "valrec.hpp"
#include "vlerror.h"

namespace {

constexpr int32_t kInitialTemporaries = 1024;
var** tmp_stack = nullptr;
int32_t tmp_cap = 0;

void grow_stack()
{
  const int32_t cap = tmp_cap ? tmp_cap * 2 : kInitialTemporaries;
  tmp_stack = static_cast<var**>(vln_realloc(tmp_stack, sizeof(var*) * cap,
                                             "for the temporary stack", VL_SEV_FATAL,
                                             VL_LEVEL_ALWAYS, "tmpstack", __LINE__));
  tmp_cap = cap;
}

}  // namespace

extern "C" {

int32_t tmpvar_cnt = 0;

var* cre_tmpvar(void)
{
  if (tmpvar_cnt == tmp_cap) grow_stack();
  var* v = vl::rec_alloc();
  v->Type = 'U';
  v->Mode = 'T';
  v->Links = 1;
  v->D_level = glob_depth;
  tmp_stack[tmpvar_cnt++] = v;
  return v;
}

void add_tmpvar(var* v)
{
  if (tmpvar_cnt == tmp_cap) grow_stack();
  tmp_stack[tmpvar_cnt++] = v;
}

void del_tmpvars(int32_t mark)
{
  if (mark < 0) mark = 0;
  while (tmpvar_cnt > mark) del_var(tmp_stack[--tmpvar_cnt]);
}

}  // extern "C"
