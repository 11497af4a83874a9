// area_alias.cpp -- binding driver objects to areas under unique aliases.
//
// The alias of a table is its file name's base, upper-cased, at most 10
// characters.  When another area already uses it, a suffix "_<n>" (n in
// lower-case hexadecimal, counting from 1) is written into the name and the
// chain is walked again.  Where the suffix goes follows a fixed rule that
// programs depend on, as they name the areas by these aliases:
//
//   L = length of the base name, d = digits counted for the suffix
//   d + 1 + L < 11    the suffix follows the name           CUST -> CUST_1
//   otherwise         it starts at 2L - d - 12 (at least 0) ABCDEFGHI -> ABCDE_1
//                                                           ABCDEFGHIJ -> ABCDEFG_1
//
// d starts at 1 and is 1 plus one for each non-zero group 0xf0, 0xf00,
// 0xf000 of the counter.  After a collision the walk starts again at the
// head's successor: the head is not tried again.
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "areaint.hpp"
#include "natlang.hpp"
#include "objects.h"
#include "vlerror.h"

using namespace vl;

namespace {

constexpr const char* kModule = "areas";
using vlarea::kAliasBuffer;
constexpr size_t kAliasChars = 10;
// The class mark every data-server class carries in its class record.
constexpr intptr_t kDataServerMark = 'D';

bool is_data_server(var* obj)
{
  const VlnClassRow* cls = vlnClassOf(obj);
  return cls && cls[0].w1 == kDataServerMark;
}

// The digit count for the suffix after counter has been reached.
int suffix_digits(unsigned counter)
{
  int d = 1;
  for (unsigned group : {0xf0u, 0xf00u, 0xf000u})
    if (counter & group) ++d;
  return d;
}

// Write "_<counter>" into alias (base length len) by the placement rule.
void write_suffix(char* alias, size_t len, int d, unsigned counter)
{
  const long L = static_cast<long>(len);
  long at = L;
  if (d + 1 + L >= static_cast<long>(kAliasBuffer)) {
    at = 2 * L - d - 12;
    if (at < 0) at = 0;
  }
  std::snprintf(alias + at, kAliasBuffer - static_cast<size_t>(at), "_%*x", d, counter);
}

// Walk the chain, renaming alias until no other object's area uses it.
// Returns whether it was renamed; *own receives the area of obj, if any.
bool make_unique(var* obj, char* alias, AreaRec** own)
{
  const size_t len = std::strlen(alias);
  int d = 1;
  unsigned counter = 1;
  bool changed = false;
  for (AreaRec* a = vlnWAHead; a;) {
    if (vlarea::same_object(a->obj, obj)) {
      *own = a;
    } else if (a->alias == alias || vlarea::alias_cmp(a->alias, alias) == 0) {
      write_suffix(alias, len, d, counter);
      d = suffix_digits(++counter);
      changed = true;
      a = vlnWAHead->nxt;
      continue;
    }
    a = a->nxt;
  }
  return changed;
}

// Rebind an area that already holds obj to the new alias text.
void rename_area(AreaRec* area, const char* alias)
{
  if (area->typ & VLN_AREA_KNOWN) {
    int32_t i = 0;
    while (i < vlnKnownAreaCnt && vlnKnownAreas[i] != area) ++i;
    if (i == vlnKnownAreaCnt)
      int_error(VL_E_ILLEGAL_ALIAS, "could not find registered alias", kModule, __LINE__);
    else
      vlnKnownAreas[i] = nullptr;
    area->typ &= static_cast<uint8_t>(~VLN_AREA_KNOWN);
  }
  area->alias = alias;
}

// Bind obj to the selected area (the lowest free number is made when none
// is selected).  *area is null when the alias is refused.  False after a
// report: the selected area holds another object.
bool bind_selected(var* obj, const char* alias, AreaRec** area)
{
  *area = nullptr;
  if (!vlnSelectedArea) {
    AreaRec* a = vlnCreateArea();
    a->number = static_cast<uint16_t>(vlarea::lowest_free_number());
    vlnSelectedArea = a;
  }
  if (vlnSelectedArea->obj) {
    int_error(VL_E_ILLEGAL_ALIAS, "work area already in use", kModule, __LINE__);
    return false;
  }
  *area = vlnSetArea(vlnSelectedArea, 0, alias, obj);
  return true;
}

// Point area at the known-alias table's entry when its alias has one.
void bind_known(AreaRec* area)
{
  const int32_t i = vlnLocateKnownAlias(area->alias);
  if (i < 0) return;
  vlnKnownAreas[i] = area;
  area->typ |= VLN_AREA_KNOWN;
  area->alias = vlnKnownAlias[i];
}

}  // namespace

namespace vlarea {

void alias_from_name(const char* name, char* out)
{
  const char* base = name ? name : "";
  for (const char* p = base; *p; ++p)
    if (*p == '/' || *p == '\\') base = p + 1;
  size_t n = 0;
  for (; n < kAliasChars && base[n] && base[n] != '.'; ++n)
    out[n] = static_cast<char>(Itoupper(static_cast<unsigned char>(base[n])));
  out[n] = '\0';
}

}  // namespace vlarea

extern "C" {

int vlnAnnounceAlias(var* obj, const char* name, char* buffer)
{
  if (!vlarea::is_object(obj)) {
    rt_error(VL_E_ILLEGAL_TYPE, "object required");
    return -1;
  }
  if (!is_data_server(obj)) {
    rt_error(VL_E_ILLEGAL_CLASS, "Class must inherit from DataServer for hybrid operation");
    return -1;
  }
  char local[kAliasBuffer];
  char* alias = buffer ? buffer : local;
  vlarea::alias_from_name(name, alias);
  AreaRec* own = nullptr;
  const bool changed = make_unique(obj, alias, &own);
  if (!buffer) return changed;
  AreaRec* area = own;
  if (own)
    rename_area(own, alias);
  else if (!bind_selected(obj, alias, &area))
    return -1;
  if (area) bind_known(area);
  vlarea::set_unbound_owner(area ? nullptr : obj);
  return changed;
}

int vlnRetireAlias(var* obj)
{
  vlarea::forget_unbound_owner(obj);
  AreaRec* area = vlnObjectLocateArea(obj);
  if (!area) return -1;
  vlarea::chain_unlink(area);
  vlnDeleteArea(area);
  return 0;
}

}  // extern "C"
