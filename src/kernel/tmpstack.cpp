// tmpstack.cpp -- the temporary stack.
//
// Every operator result and every value made for a call is a temporary: a
// record whose one link is held by this stack.  Generated code releases
// everything above the frame's floor between statements; a frame's entry
// mark releases its locals at function end.  Records are allocated one by
// one, not inline in the stack, because a temporary can outlive its slot
// (a parameter installed as a PRIVATE, a local captured by a block).
//
// Slot cache.  A released temporary that held a plain scalar and no other
// link stays in its slot above the top, and the next cre_tmpvar at that
// height takes it back without touching the record pool.  Slots above
// tmpvar_cnt therefore hold either null or such a spare record, which this
// stack owns.  The sanitizer build frees every record instead, so that a
// use after release is caught.
#include <cstring>

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
  std::memset(tmp_stack + tmp_cap, 0, sizeof(var*) * (cap - tmp_cap));
  tmp_cap = cap;
}

// Whether a released temporary can wait in its slot for reuse.
inline bool spare(const var* v)
{
  return VL_POOL && v->Links == 1 && !vl::has_content(v) && !vl::is_static(v);
}

}  // namespace

extern "C" {

int32_t tmpvar_cnt = 0;

var* cre_tmpvar(void)
{
  if (tmpvar_cnt == tmp_cap) grow_stack();
  var* v = tmp_stack[tmpvar_cnt];
  if (!v) v = vl::rec_alloc();
  vl::init_record(v, 'U', 'T', glob_depth);
  tmp_stack[tmpvar_cnt++] = v;
  return v;
}

void add_tmpvar(var* v)
{
  if (tmpvar_cnt == tmp_cap) grow_stack();
  if (var* cached = tmp_stack[tmpvar_cnt]) vl::rec_free(cached);
  tmp_stack[tmpvar_cnt++] = v;
}

// Release the temporary in slot i, which holds more than a plain scalar.
static __attribute__((noinline)) void release_slot(int32_t i)
{
  var* v = tmp_stack[i];
  tmp_stack[i] = nullptr;
  del_var(v);
}

void del_tmpvars(int32_t mark)
{
  if (mark < 0) mark = 0;
  // A release may run an object's axit, which may push temporaries of its
  // own: they are popped by the same loop.
  while (tmpvar_cnt > mark) {
    const int32_t i = --tmpvar_cnt;
    if (!spare(tmp_stack[i])) release_slot(i);
  }
}

}  // extern "C"
