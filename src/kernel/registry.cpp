// registry.cpp -- the function registry.
//
// glob_ftab holds every language function that can be called by name, with
// entry 0 reserved so that find_fun's "found" is above 0.  The library's own
// functions, memory-variable names and start-up routines are collected from
// their export markers at build time (vln_lib_ftab and friends); a program
// registers its own with vln_register_fun or vln_register_module, and its
// registration replaces a library function of the same name.
#include <algorithm>
#include <vector>

#include "kernel.h"
#include "names.hpp"
#include "vlerror.hpp"

namespace {

constexpr int32_t kInitialFunctions = 512;
int32_t ftab_used = 1;  // entry 0 reserved
int32_t ftab_cap = 0;

const char* fn_name_at(int32_t pos) { return glob_ftab[pos].name; }
vl::NameIndex& index_of_functions()
{
  static vl::NameIndex index(fn_name_at);
  return index;
}

std::vector<VlnIniRec>& pending_inits()
{
  static std::vector<VlnIniRec> inits;
  return inits;
}

void grow_ftab()
{
  const int32_t cap = ftab_cap ? ftab_cap * 2 : kInitialFunctions;
  glob_ftab = static_cast<GlobFtabEntry*>(
      vln_realloc(glob_ftab, sizeof(GlobFtabEntry) * cap, vln_errmsg[31], VL_SEV_FATAL,
                  VL_LEVEL_ALWAYS, "registry", __LINE__));
  if (ftab_cap == 0) glob_ftab[0] = GlobFtabEntry{{0}, nullptr};
  ftab_cap = cap;
}

}  // namespace

extern "C" {

GlobFtabEntry* glob_ftab = nullptr;

int32_t find_fun(const char* name)
{
  char folded[vl::kNameSig + 1];
  vl::fold_name(name, folded);
  if (!folded[0]) return 0;
  const int32_t pos = index_of_functions().find(folded);
  return pos > 0 ? pos : 0;
}

void vln_register_fun(const char* name, BbFn fn)
{
  char folded[vl::kNameSig + 1];
  vl::fold_name(name, folded);
  if (!folded[0]) return;
  const int32_t pos = index_of_functions().find(folded);
  if (pos > 0) {
    glob_ftab[pos].fn = fn;
    return;
  }
  if (ftab_used == ftab_cap || ftab_cap == 0) grow_ftab();
  GlobFtabEntry& e = glob_ftab[ftab_used];
  std::memcpy(e.name, folded, sizeof e.name);
  e.fn = fn;
  ++ftab_used;
  index_of_functions().insert(folded, ftab_used - 1, ftab_used);
}

void vln_register_module(const VlnFnRec* fns, const VlnVarRec* vars,
                         const VlnIniRec* inits)
{
  for (; fns && fns->name; ++fns) vln_register_fun(fns->name, fns->fn);
  for (; vars && vars->name; ++vars) *vars->index = vln_add_var(vars->name);
  for (; inits && inits->name; ++inits) pending_inits().push_back(*inits);
}

int32_t vln_ftab_size(void) { return ftab_used; }

// Run the pending start-up routines of order up to last, once each, by
// ascending order; the others stay pending.
void vln_run_inits(int last)
{
  auto& pending = pending_inits();
  std::stable_sort(pending.begin(), pending.end(),
                   [](const VlnIniRec& a, const VlnIniRec& b) { return a.order < b.order; });
  const auto split = std::find_if(pending.begin(), pending.end(),
                                  [last](const VlnIniRec& r) { return r.order > last; });
  std::vector<VlnIniRec> due(pending.begin(), split);
  pending.erase(pending.begin(), split);
  for (const VlnIniRec& r : due) r.fn();
}

}  // extern "C"
