// __PUSHFLAG and __POPFLAGS: a stack of saved settings.
//
// A push saves the current value of each SET number of its list and then
// applies the {n, value[, additive]} elements of the list, so that a
// command can change settings for its own run and put them back with one
// pop.  Saved values are owned records.  A pop restores in reverse order
// (the oldest value of a number pushed twice wins) and reopens side
// channels in append mode, so that a restored alternate, extra or printer
// file is not truncated.  Restoring may run the error block; should that
// leave by BREAK, the pop releases what it still holds and passes the jump
// on.
#include <setjmp.h>

#include <cstdlib>
#include <vector>

#include "breakguard.hpp"
#include "frame.h"
#include "letters.hpp"
#include "set.h"
#include "set_table.hpp"
#include "vlerror.h"
#include "vlgen.h"

namespace {

struct Saved {
  int n;
  var* value;
};

// One push: a plain array so that a pop can hold it across a jump.
struct Pushed {
  uint32_t count;
  Saved* items;
};

std::vector<Pushed> sStack;
Pushed sRestoring;

// The SET number an element of a push list names, or 0.
int number_of(const var* e)
{
  if (!e) return 0;
  if (vl::kNFI.has(e->Type)) return vlnIntVar(const_cast<var*>(e));
  if (e->Type == 'A' && VARR(e)->A_size > 0 && VARR(e)->A_vec[0] &&
      vl::kNFI.has(VARR(e)->A_vec[0]->Type))
    return vlnIntVar(VARR(e)->A_vec[0]);
  return 0;
}

var* kept_value(int n)
{
  var* args[1] = {set_nv(n, 0)};
  var* keep = mak_var('N', 'U');
  cpy_var(keep, _bb_set(1, args));
  return keep;
}

// An element {n, value[, additive]} is applied as SET() would.
void apply(var* e)
{
  if (!e || e->Type != 'A' || VARR(e)->A_size < 2) return;
  const uint32_t size = VARR(e)->A_size;
  _bb_set(static_cast<int>(size < 3 ? size : 3), VARR(e)->A_vec);
}

bool is_channel_file(int n) { return n == vlset::kAltFile || n == vlset::kExtraFile || n == vlset::kPrintFile; }

void restore(const Saved& s)
{
  var* args[3] = {set_nv(s.n, 0), s.value, TRUE_VAR};
  _bb_set(is_channel_file(s.n) ? 3 : 2, args);
}

void release(Pushed& p)
{
  while (p.count > 0) del_var(p.items[--p.count].value);
  std::free(p.items);
  p.items = nullptr;
}

void restore_all()
{
  vln_guarded(
      [] {
        while (sRestoring.count > 0) {
          const Saved& s = sRestoring.items[sRestoring.count - 1];
          restore(s);
          del_var(s.value);
          --sRestoring.count;
        }
      },
      [] { release(sRestoring); });
}

}  // namespace

VLN_FUNC(__pushflag)
{
  if (argc < 1 || !argv[0] || argv[0]->Type != 'A') return NIL_VAR;
  const ArrRec* list = VARR(argv[0]);
  Pushed p{0, static_cast<Saved*>(std::calloc(list->A_size + 1, sizeof(Saved)))};
  if (!p.items) return NIL_VAR;
  for (uint32_t i = 0; i < list->A_size; ++i)
    if (const int n = number_of(list->A_vec[i])) p.items[p.count++] = {n, kept_value(n)};
  sStack.push_back(p);
  for (uint32_t i = 0; i < list->A_size; ++i) apply(list->A_vec[i]);
  return NIL_VAR;
}

VLN_FUNC(__popflags)
{
  if (sStack.empty()) return NIL_VAR;
  sRestoring = sStack.back();
  sStack.pop_back();
  restore_all();
  return NIL_VAR;
}
