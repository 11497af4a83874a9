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
// link stays in its slot above the top, and the next temporary made at that
// height takes it back without touching the record pool.  Slots above
// tmpvar_cnt therefore hold either null or such a spare record, which this
// stack owns; the entry past the capacity is always null (fastops.h).
// The operators take a spare inline; cre_tmpvar is the general road.  The
// sanitizer build frees every record instead, so that a use after release
// is caught.
#include <cstring>

#include "runtime.h"
#include "valrec.hpp"
#include "var.h"
#include "vlerror.h"

namespace {
// Before the first temporary: no room, and the one closing entry.
var* no_slots[1] = {nullptr};
}  // namespace

extern "C" {
var** vln_tmp_slots = no_slots;
const int32_t vln_tmp_keeps_spares = VL_POOL;
}

namespace {

constexpr int32_t kInitialTemporaries = 1024;
int32_t tmp_cap = 0;

// Double the capacity; the new slots and the closing entry are null.
[[gnu::noinline]] void grow_stack()
{
  const int32_t cap = tmp_cap ? tmp_cap * 2 : kInitialTemporaries;
  void* grown = vln_realloc(tmp_cap ? vln_tmp_slots : nullptr, sizeof(var*) * (cap + 1),
                            "for the temporary stack", VL_SEV_FATAL, VL_LEVEL_ALWAYS, "tmpstack",
                            __LINE__);
  vln_tmp_slots = static_cast<var**>(grown);
  std::memset(vln_tmp_slots + tmp_cap, 0, sizeof(var*) * (cap + 1 - tmp_cap));
  tmp_cap = cap;
}

// Whether a released temporary can wait in its slot for reuse: its one link
// is the stack's, it holds a plain scalar and it is no constant.  A number
// temporary, the commonest, is told by one masked compare.
inline bool spare(const var* v)
{
  if (!VL_POOL) return false;
  if (__builtin_expect(vln_tmp_spare_number(v), 1)) return true;
  const uint32_t t = vl::load_tag(v);
  return v->Links == 1 && !vl::letter_is(vl::tag_type(t), vl::LC_CONTENT) &&
         !(vl::tag_flags(t) & VF_STATIC);
}

// Release every temporary above mark, the first of them (slot n-1) holding
// more than a plain scalar.  A release may run an object's axit, which may
// push temporaries of its own: they are popped by the same loop.
[[gnu::noinline]] void release_to(int32_t n, int32_t mark)
{
  tmpvar_cnt = n;
  while (tmpvar_cnt > mark) {
    const int32_t i = --tmpvar_cnt;
    var* v = vln_tmp_slots[i];
    if (spare(v)) continue;
    vln_tmp_slots[i] = nullptr;
    del_var(v);
  }
}

}  // namespace

extern "C" {

int32_t tmpvar_cnt = 0;

var* cre_tmpvar(void)
{
  if (tmpvar_cnt == tmp_cap) grow_stack();
  var* v = vln_tmp_slots[tmpvar_cnt];
  if (!v) v = vl::rec_alloc();
  vl::init_record(v, 'U', 'T', glob_depth);
  vln_tmp_slots[tmpvar_cnt++] = v;
  return v;
}

void add_tmpvar(var* v)
{
  if (tmpvar_cnt == tmp_cap) grow_stack();
  if (var* cached = vln_tmp_slots[tmpvar_cnt]) vl::rec_free(cached);
  vln_tmp_slots[tmpvar_cnt++] = v;
}

var* vln_hold(var* v)
{
  if (vl::is_static(v)) return v;
  ++v->Links;
  add_tmpvar(v);
  return v;
}

// Spare records stay where they are; the first record that needs more than
// that hands the rest of the work to release_to.
void del_tmpvars(int32_t mark)
{
  const int32_t n = tmpvar_cnt;
  if (n <= mark) return;
  if (__builtin_expect(mark < 0, 0)) return del_tmpvars(0);
  // The top slot first, apart: most statements leave one or two
  // temporaries, and this keeps their road straight.
  var* const* const slots = vln_tmp_slots;
  int32_t i = n - 1;
  if (__builtin_expect(!spare(slots[i]), 0)) return release_to(n, mark);
  while (i > mark)
    if (--i, __builtin_expect(!spare(slots[i]), 0)) return release_to(i + 1, mark);
  tmpvar_cnt = mark;
}

}  // extern "C"
