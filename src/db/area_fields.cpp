// area_fields.cpp -- field variables: announcing, retiring, reading and
// writing the fields of open tables by name.
//
// Each name of the memory-variable table keeps the list of field records of
// every area that has a field of that name (MvEntry.nfields, .fields).  A
// lookup scans that list from the last entry down for the record of the
// area asked for: the newest table wins if a driver announced a name twice.
//
// Reading and writing a record through its area's object is in
// area_store.cpp.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "areaint.hpp"
#include "blocks.h"
#include "dsslots.h"
#include "evaluator.h"
#include "kernel.h"
#include "objects.h"
#include "runtime.hpp"
#include "vlerror.hpp"

using namespace vl;

namespace {

constexpr const char* kModule = "areas";
constexpr const char* kFieldTypes = "CDFLMN";
// Rows of vln_errmsg naming the allocations of a field list and of a memo
// field's text.
constexpr int kFieldListPurpose = 50;
constexpr int kMemoPurpose = 18;
// Longest field name text the C forms look up.
constexpr size_t kNameText = 64;

// Field records whose text was allocated for a driver written in the
// language.
std::vector<var*>& owned_texts()
{
  static std::vector<var*> fields;
  return fields;
}

// Fields of an object that no area holds (its alias was refused), with the
// object's data as their owner.
struct Unbound {
  var* field;
  const ArrRec* owner;
};
std::vector<Unbound>& unbound_fields()
{
  static std::vector<Unbound> fields;
  return fields;
}
const ArrRec* g_unbound_owner = nullptr;

// Whether field belongs to obj: through its area, or as an unbound field.
bool owned_by(var* field, var* obj)
{
  if (AreaRec* a = field->W_area) return vlarea::same_object(a->obj, obj);
  if (!vlarea::is_object(obj)) return false;
  for (const Unbound& u : unbound_fields())
    if (u.field == field) return u.owner == VARR(obj);
  return false;
}

void forget_unbound(var* field)
{
  auto& list = unbound_fields();
  for (auto it = list.begin(); it != list.end(); ++it)
    if (it->field == field) {
      list.erase(it);
      return;
    }
}

// A retired field record stops being a field: a text allocated here becomes
// the record's own, so that it is freed with the record.
void unfield(var* field)
{
  auto& owned = owned_texts();
  auto it = std::find(owned.begin(), owned.end(), field);
  if (it == owned.end()) return;
  owned.erase(it);
  field->Mode = 'N';
}

var* no_field(const char* name)
{
  std::snprintf(repdum, sizeof repdum, "vlnGetAliasField: cannot find field '%s'", name);
  rt_error(VL_E_NO_FIELD, repdum);
  return NIL_VAR;
}

// The name text of a C form, trimmed, into buf; false when it is an
// expression rather than a name.
bool name_text(const char* name, char* buf, size_t size)
{
  if (std::strchr(name, '>') || std::strchr(name, '[')) return false;
  while (*name == ' ' || *name == '\t') ++name;
  size_t n = std::strlen(name);
  while (n > 0 && (name[n - 1] == ' ' || name[n - 1] == '\t')) --n;
  if (n >= size) n = size - 1;
  std::memcpy(buf, name, n);
  buf[n] = '\0';
  return true;
}

// The field of a C form in area: an expression is evaluated instead, an
// unknown name is 306 with the name.
var* get_cfield(AreaRec* area, const char* name)
{
  if (!name) name = "";
  char buf[kNameText];
  if (!name_text(name, buf, sizeof buf)) return exp_eval(name);
  const int32_t sym = locate_var(buf);
  var* r = sym >= 0 ? vlnGetAliasFieldNoError(area, sym) : nullptr;
  if (r) return r;
  rt_error(VL_E_NO_FIELD, buf);
  return ERROR_VAR;
}

// Append field to the field list of symbol index sym.
void inIntroduceField(int32_t sym, var* field)
{
  if (sym < 0 || sym >= mvn_fpt || !field) return;
  MvEntry& e = mv_names[sym];
  const size_t n = e.nfields + 1;
  e.fields = static_cast<var**>(vln_realloc(e.fields, n * sizeof(var*),
                                            vln_errmsg[kFieldListPurpose], VL_SEV_FATAL,
                                            VL_LEVEL_ALWAYS, kModule, __LINE__));
  e.fields[e.nfields++] = field;
}

}  // namespace

namespace vlarea {

AreaRec* area_of_alias(const char* alias)
{
  AreaRec* a = vlnChr2Area(alias);
  if (a && a->obj) return a;
  rt_error(VL_E_ILLEGAL_ALIAS, alias ? alias : "");
  return nullptr;
}

AreaRec* area_of_known(int32_t known)
{
  if (known >= 0 && known < vlnKnownAreaCnt) {
    AreaRec* a = vlnKnownAreas[known];
    if (a && a->obj) return a;
    rt_error(VL_E_ILLEGAL_ALIAS, vlnKnownAlias[known]);
    return nullptr;
  }
  std::snprintf(repdum, sizeof repdum, "known alias %d", known);
  rt_error(VL_E_ILLEGAL_ALIAS, repdum);
  return nullptr;
}

AreaRec* area_of_number(int32_t number)
{
  AreaRec* a = vlnNumberLocateArea(number);
  if (a && a->obj) return a;
  std::snprintf(repdum, sizeof repdum, "requested area %d", number);
  rt_error(VL_E_ILLEGAL_ALIAS, repdum);
  return nullptr;
}

AreaRec* area_of_value(var* alias)
{
  const char type = alias ? alias->Type : 'U';
  if (type == 'C') return area_of_alias(VSTR(alias));
  if (type == 'F' || type == 'I' || type == 'N') return area_of_number(vlnIntVar(alias));
  rt_error(VL_E_ARG_TYPE, "for alias");
  return nullptr;
}

void set_unbound_owner(var* obj) { g_unbound_owner = is_object(obj) ? VARR(obj) : nullptr; }

void forget_unbound_owner(var* obj)
{
  if (is_object(obj) && VARR(obj) == g_unbound_owner) g_unbound_owner = nullptr;
}

void own_storage(var* field) { owned_texts().push_back(field); }

var* field_record(AreaRec* area, int32_t sym)
{
  if (!area || sym < 0 || sym >= mvn_fpt) return nullptr;
  const MvEntry& e = mv_names[sym];
  for (uint32_t i = e.nfields; i-- > 0;)
    if (e.fields[i]->W_area == area) return e.fields[i];
  return nullptr;
}

}  // namespace vlarea

using vlarea::area_of_alias;
using vlarea::area_of_known;
using vlarea::area_of_number;
using vlarea::area_of_value;

extern "C" {

var* vlnAnnounceField(const char* name, int32_t number, int type, int backed, int32_t length,
                      int32_t decimals, char* storage)
{
  if (!type || !std::strchr(kFieldTypes, type)) {
    std::snprintf(repdum, sizeof repdum, "unknown field type '%c'", type);
    rt_error(VL_E_ILLEGAL_FIELD_TYPE, repdum);
    return nullptr;
  }
  var* f = mak_var(backed ? 'f' : 'F', type);
  switch (type) {
    case 'C':
      f->Length = length + decimals * 256 + 1;
      f->Value.w1.str = storage;
      break;
    case 'F':
    case 'N':
      f->Length = length;
      f->Decimals = static_cast<uint8_t>(decimals);
      break;
    case 'M':
      f->Value.w1.str = static_cast<char*>(
          vln_malloc(1, vln_errmsg[kMemoPurpose], VL_SEV_FATAL, VL_LEVEL_ALWAYS, kModule,
                     __LINE__));
      f->Value.w1.str[0] = '\0';
      f->Length = 1;
      break;
    case 'D':
      f->Length = 8;
      break;
    default:  // 'L'
      f->Length = 1;
      break;
  }
  f->W_area = g_unbound_owner ? nullptr : vlnSelectedArea;
  if (g_unbound_owner) unbound_fields().push_back({f, g_unbound_owner});
  f->F_indx = static_cast<uint32_t>(number);
  int32_t sym = locate_var(name);
  if (sym < 0) sym = vln_add_var(name);
  inIntroduceField(sym, f);
  return f;
}

void vlnRetireField(var* obj, const char* name)
{
  if (!name) return;
  const int32_t sym = locate_var(name);
  if (sym < 0) return;
  MvEntry& e = mv_names[sym];
  uint32_t i = e.nfields;
  while (i-- > 0)
    if (owned_by(e.fields[i], obj)) break;
  if (i >= e.nfields) return;
  var* gone = e.fields[i];
  std::memmove(&e.fields[i], &e.fields[i + 1], (e.nfields - i - 1) * sizeof(var*));
  if (--e.nfields == 0) {
    vln_free(e.fields, kModule, __LINE__);
    e.fields = nullptr;
  } else {
    e.fields = static_cast<var**>(vln_realloc(e.fields, e.nfields * sizeof(var*),
                                              vln_errmsg[kFieldListPurpose], VL_SEV_FATAL,
                                              VL_LEVEL_ALWAYS, kModule, __LINE__));
  }
  forget_unbound(gone);
  unfield(gone);
  del_var(gone);
}

var* vlnGetAliasFieldNoError(AreaRec* area, int32_t sym)
{
  var* f = vlarea::field_record(area, sym);
  return f ? vlarea::fetch_field(f) : nullptr;
}

var* vlnGetAliasField(AreaRec* area, int32_t sym)
{
  if (var* r = vlnGetAliasFieldNoError(area, sym)) return r;
  return no_field(sym >= 0 && sym < mvn_fpt ? mv_names[sym].name : "");
}

var* vlnGetField(int32_t sym) { return vlnGetAliasField(vlnSelectedArea, sym); }

var* vlnGetCField(const char* name) { return get_cfield(vlnSelectedArea, name); }

var* vlnGetAliasCField(AreaRec* area, const char* name) { return get_cfield(area, name); }

var* vlnGetCAliasField(const char* alias, int32_t sym)
{
  AreaRec* a = area_of_alias(alias);
  return a ? vlnGetAliasField(a, sym) : ERROR_VAR;
}

var* vlnGetCAliasCField(const char* alias, const char* name)
{
  AreaRec* a = area_of_alias(alias);
  return a ? get_cfield(a, name) : ERROR_VAR;
}

var* vlnGetIAliasField(int32_t known, int32_t sym)
{
  AreaRec* a = area_of_known(known);
  return a ? vlnGetAliasField(a, sym) : ERROR_VAR;
}

var* vlnGetIAliasCField(int32_t known, const char* name)
{
  AreaRec* a = area_of_known(known);
  return a ? get_cfield(a, name) : ERROR_VAR;
}

var* vlnGetNAliasField(int32_t number, int32_t sym)
{
  AreaRec* a = area_of_number(number);
  return a ? vlnGetAliasField(a, sym) : ERROR_VAR;
}

var* vlnGetNAliasCField(int32_t number, const char* name)
{
  AreaRec* a = area_of_number(number);
  return a ? get_cfield(a, name) : ERROR_VAR;
}

var* vlnGetVAliasField(var* alias, int32_t sym)
{
  AreaRec* a = area_of_value(alias);
  return a ? vlnGetAliasField(a, sym) : ERROR_VAR;
}

var* vlnGetVAliasCField(var* alias, const char* name)
{
  AreaRec* a = area_of_value(alias);
  return a ? get_cfield(a, name) : ERROR_VAR;
}

}  // extern "C"
