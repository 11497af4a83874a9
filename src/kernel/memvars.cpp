// memvars.cpp -- the memory-variable table.
//
// mv_names[i] holds the name of memory variable i and the record now
// visible under it.  Indices are compiled into modules, so an entry is never
// deleted or reused; RELEASE makes the record undefined instead.  A hash
// index makes locate_var independent of the table's size.
#include <cstdio>

#include "frame.h"
#include "kernel.hpp"
#include "runtime.hpp"
#include "names.hpp"
#include "valrec.hpp"
#include "vlerror.hpp"

using namespace vl;

namespace {

var* index_var(int32_t index)
{
  if (index < 0 || index >= mvn_fpt) return vlnGetVar(index);
  return mv_names[index].v;
}

constexpr int32_t kInitialNames = 256;
// Level of a name's first record: below every call depth, so that the first
// PRIVATE of the name at any depth pushes a record of its own.
constexpr int32_t kNeverDeclared = -1;
int32_t mv_cap = 0;
int32_t first_program_name = 0;  // names below it belong to the library

const char* name_at(int32_t pos) { return mv_names[pos].name; }
// Constructed on first use, so that names can be entered during static
// initialisation of a program.
vl::NameIndex& index_of_names()
{
  static vl::NameIndex index(name_at);
  return index;
}

void grow_names()
{
  const int32_t cap = mv_cap ? mv_cap * 2 : kInitialNames;
  mv_names = static_cast<MvEntry*>(vln_realloc(mv_names, sizeof(MvEntry) * cap,
                                               vln_errmsg[46], VL_SEV_FATAL,
                                               VL_LEVEL_ALWAYS, "memvars", __LINE__));
  mv_cap = cap;
}

bool valid_index(int32_t index) { return index >= 0 && index < mvn_fpt; }

// Make the record undefined ('U','U') in place.
void undefine(var* v)
{
  if (vl::is_static(v)) return;
  vl::release_content(v);
  v->Mode = 'U';
}

}  // namespace

extern "C" {

MvEntry* mv_names = nullptr;
int32_t mvn_fpt = 0;

int32_t locate_var(const char* name)
{
  char folded[vl::kNameSig + 1];
  vl::fold_name(name, folded);
  return folded[0] ? index_of_names().find(folded) : -1;
}

int32_t vln_add_var(const char* name)
{
  char folded[vl::kNameSig + 1];
  vl::fold_name(name, folded);
  int32_t index = index_of_names().find(folded);
  if (index >= 0) return index;
  if (mvn_fpt == mv_cap) grow_names();
  index = mvn_fpt++;
  MvEntry& e = mv_names[index];
  std::memcpy(e.name, folded, sizeof e.name);
  e.spare = 0;
  e.nfields = 0;
  e.fields = nullptr;
  e.v = mak_var('U', 'U');
  e.v->V_indx = static_cast<uint32_t>(index);
  e.v->D_level = kNeverDeclared;
  index_of_names().insert(folded, index, mvn_fpt);
  return index;
}

var* vlnGetVar(int32_t index)
{
  if (!valid_index(index)) {
    std::snprintf(repdum, sizeof repdum, "memory variable index %d", index);
    int_error(VL_E_NULL_MEMVAR, repdum, "memvars", __LINE__);
    return cre_tmpvar();
  }
  var* v = mv_names[index].v;
  if (v->Mode == 'U') {
    std::snprintf(repdum, sizeof repdum, "undefined variable %s", mv_names[index].name);
    rt_error(VL_E_WARNING, repdum);
  }
  return v;
}

var* vlnGetVarForWrite(int32_t index)
{
  if (!valid_index(index)) return vlnGetVar(index);
  if (mv_names[index].v->Mode == 'U') vln_declare(index);
  return mv_names[index].v;
}

}  // extern "C"

namespace vl {

void release_var(const char* name, int flag)
{
  const int32_t index = locate_var(name);
  if (index >= 0) undefine(mv_names[index].v);
}

void clear_mvs(int flag)
{
  for (int32_t i = first_program_name; i < mvn_fpt; ++i) undefine(mv_names[i].v);
}

}  // namespace vl

extern "C" {

// Names entered before the program starts (the library's own PUBLICs)
// survive CLEAR MEMORY.
void vln_mark_program_names(void) { first_program_name = mvn_fpt; }

// The constructors into memory variable i (by index) and into the variable
// visible under index i (through vlnGetVarForWrite, which declares a
// never-declared name first).
var* set_cvarv(int32_t i, const char* text) { return set_cvar(index_var(i), text); }
var* set_dvarv(int32_t i, int32_t day) { return set_dvar(index_var(i), day); }
var* set_Ivarv(int32_t i, int32_t n) { return set_Ivar(index_var(i), n); }
var* set_lvarv(int32_t i, int b) { return set_lvar(index_var(i), b); }
var* set_nvarv(int32_t i, double d, int dec) { return set_nvar(index_var(i), d, dec); }

var* set_cvarf(int32_t i, const char* text) { return set_cvar(vlnGetVarForWrite(i), text); }
var* set_dvarf(int32_t i, int32_t day) { return set_dvar(vlnGetVarForWrite(i), day); }
var* set_Ivarf(int32_t i, int32_t n) { return set_Ivar(vlnGetVarForWrite(i), n); }
var* set_lvarf(int32_t i, int b) { return set_lvar(vlnGetVarForWrite(i), b); }
var* set_nvarf(int32_t i, double d, int dec)
{
  return set_nvar(vlnGetVarForWrite(i), d, dec);
}

}  // extern "C"
