// dataserver_derive.cpp -- the class record and method-array layout of a
// driver class derived from dataserver.
//
// Layout of the method array: slots 0..165 are the dataserver's messages,
// holding the driver's function where it overrides one and the abstract
// member elsewhere.  Behind them, sorted by name and then access, assign,
// method, come the dataserver versions of the overridden messages and the
// driver's own messages.  The class record has one method row per slot,
// sorted by name and then by ascending level (0 dataserver, 1 the driver),
// because the name search tries equal names from the last row back: the
// driver's row wins unless a super call limits the level to 0.
//
// Derived classes live for the run: the records are chained from a global
// and never freed, since objects of the class may outlive any owner.
#include <algorithm>
#include <cstring>
#include <vector>

#include "arrays.h"
#include "dataserver.hpp"
#include "kernel.h"
#include "objects.h"

using namespace vl;

namespace {

constexpr char kModule[] = "dataserver_derive.cpp";
constexpr int32_t kChainRows = 2;
constexpr int32_t kFirstInstance = 1 + kChainRows;
constexpr int32_t kOwnLevel = 1;

struct Derived {
  Derived* next;
  VlnDsClass cls;
};
Derived* g_derived = nullptr;

const char* row_name(const VlnClassRow& row) { return reinterpret_cast<const char*>(row.w1); }

// Access before assign before method, among rows of one name.
int kind_rank(int kind) { return kind == 'A' ? 0 : kind == '=' ? 1 : 2; }

bool name_kind_less(const VlnDsSlotInfo& a, const VlnDsSlotInfo& b)
{
  const int c = vlnStrNLCmp(a.name, b.name, 250);
  return c != 0 ? c < 0 : kind_rank(a.kind) < kind_rank(b.kind);
}

// The entries behind slot 165, in their order.
std::vector<VlnDsSlotInfo> upper_slots(const unsigned char* overrides, const VlnDsExtra* extras,
                                       int32_t nextras)
{
  std::vector<VlnDsSlotInfo> upper;
  for (int32_t s = 0; s < VLN_DS_SLOT_COUNT; ++s) {
    if (!overrides[s]) continue;
    const VlnClassRow& row = DataserverStruct[kFirstInstance - 1 + VLN_IV_COUNT + s];
    upper.push_back({row_name(row), 0, s, static_cast<char>(row.w4)});
  }
  for (int32_t i = 0; i < nextras; ++i)
    upper.push_back({extras[i].name, kOwnLevel, -1, static_cast<char>(extras[i].kind)});
  std::stable_sort(upper.begin(), upper.end(), name_kind_less);
  return upper;
}

// Fatal on failure: a class that cannot be built leaves nothing to run.
void* allocate(size_t size)
{
  return vln_malloc(size, "for a driver class", 4, 1000, kModule, __LINE__);
}

}  // namespace

extern "C" {

const VlnDsClass* vlnDsDeriveClass(const char* name, const unsigned char* overrides,
                                   const VlnDsExtra* extras, int32_t nextras)
{
  std::vector<VlnDsSlotInfo> slots;
  for (int32_t s = 0; s < VLN_DS_SLOT_COUNT; ++s) {
    const VlnClassRow& row = DataserverStruct[kFirstInstance - 1 + VLN_IV_COUNT + s];
    slots.push_back({row_name(row), overrides[s] ? kOwnLevel : 0, s, static_cast<char>(row.w4)});
  }
  for (const VlnDsSlotInfo& u : upper_slots(overrides, extras, nextras)) slots.push_back(u);
  const int32_t count = static_cast<int32_t>(slots.size());

  // Method rows: one per slot, by name and ascending level.
  std::vector<int32_t> order(count);
  for (int32_t i = 0; i < count; ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(), [&](int32_t a, int32_t b) {
    const int c = vlnStrNLCmp(slots[a].name, slots[b].name, 250);
    if (c != 0) return c < 0;
    if (slots[a].level != slots[b].level) return slots[a].level < slots[b].level;
    return kind_rank(slots[a].kind) < kind_rank(slots[b].kind);
  });

  const int32_t nrows = kFirstInstance + VLN_IV_COUNT + count;
  auto* d = static_cast<Derived*>(allocate(sizeof(Derived)));
  auto* rows = static_cast<VlnClassRow*>(allocate(sizeof(VlnClassRow) * nrows));
  auto* info = static_cast<VlnDsSlotInfo*>(allocate(sizeof(VlnDsSlotInfo) * count));
  rows[0] = {VLN_DS_CLASS_MARK, VLN_IV_COUNT, count, kFirstInstance};
  rows[1] = DataserverStruct[1];
  rows[2] = {reinterpret_cast<intptr_t>(name), VLN_IV_COUNT, count, 0};
  std::memcpy(rows + kFirstInstance, DataserverStruct + 2, sizeof(VlnClassRow) * VLN_IV_COUNT);
  VlnClassRow* methods = rows + kFirstInstance + VLN_IV_COUNT;
  for (int32_t r = 0; r < count; ++r) {
    const VlnDsSlotInfo& s = slots[order[r]];
    methods[r] = {reinterpret_cast<intptr_t>(s.name), order[r], s.level, s.kind};
  }
  std::copy(slots.begin(), slots.end(), info);
  *d = {g_derived, {rows, info, count}};
  g_derived = d;
  return &d->cls;
}

var* vlnDsCollectMethods(const VlnDsClass* cls, AnyFn (*fn)(int32_t slot))
{
  var* methods = cre_arr(mak_var('N', 'U'), cls->count, 0, static_cast<var*>(nullptr));
  for (int32_t i = 0; i < cls->count; ++i) {
    const VlnDsSlotInfo& s = cls->slots[i];
    AnyFn f = s.level == 0 ? nullptr : fn(i);
    if (!f) f = vlnDataserverMethod(s.dsslot);
    if (f) vlnAddMethod(methods, i, f, s.kind == 'M');
  }
  return methods;
}

}  // extern "C"
