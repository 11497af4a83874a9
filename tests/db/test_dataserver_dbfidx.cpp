// The DBF driver's class descriptor: every dataserver slot is either abstract or
// overridden with its dataserver version kept once behind slot 165, and the
// name search finds the driver's member (at the slot number the driver
// sends by) first and the dataserver's on super.
#include <set>
#include <string>

#include "dbfidxclass.h"
#include "objects.h"
#include "vltest.h"

namespace {

int kind_rank(char k) { return k == 'A' ? 0 : k == '=' ? 1 : 2; }

class DbfidxClass : public vltest::VlTest {};

TEST_F(DbfidxClass, EveryDataserverSlotIsAbstractOrHasOneLevelZeroCopy)
{
  const VlnDsClass* cls = vlnDbfidxClass();
  ASSERT_EQ(cls->count, VLN_DBFIDX_SLOT_COUNT);
  std::multiset<int32_t> copied;
  for (int32_t t = VLN_DS_SLOT_COUNT; t < cls->count; ++t) {
    const VlnDsSlotInfo& c = cls->slots[t];
    if (c.level != 0) continue;
    copied.insert(c.dsslot);
    EXPECT_EQ(std::string(c.name), cls->slots[c.dsslot].name) << t;
    EXPECT_EQ(c.kind, cls->slots[c.dsslot].kind) << t;
  }
  for (int32_t s = 0; s < VLN_DS_SLOT_COUNT; ++s) {
    EXPECT_EQ(cls->slots[s].dsslot, s);
    const bool overridden = cls->slots[s].level == 1;
    EXPECT_EQ(copied.count(s), overridden ? 1u : 0u) << s;
  }
  // Behind 165 the entries are in name order, access before assign before method.
  for (int32_t t = VLN_DS_SLOT_COUNT + 1; t < cls->count; ++t) {
    const VlnDsSlotInfo& a = cls->slots[t - 1];
    const VlnDsSlotInfo& b = cls->slots[t];
    const int c = vlnStrNLCmp(a.name, b.name, 250);
    EXPECT_TRUE(c < 0 || (c == 0 && kind_rank(a.kind) < kind_rank(b.kind))) << t;
  }
}

TEST_F(DbfidxClass, NameSearchPrefersTheDriverAndSuperFindsLevelZero)
{
  const VlnClassRow* rows = DbfidxStruct;
  EXPECT_EQ(vlnLocateInstance("recno", rows), VLN_IV_RECNO);
  // Method rows: sorted by name, equal names by ascending level.
  const VlnClassRow* m = rows + rows[0].w4 + rows[0].w2;
  for (int32_t r = 1; r < rows[0].w3; ++r) {
    const int c = vlnStrNLCmp(reinterpret_cast<const char*>(m[r - 1].w1),
                              reinterpret_cast<const char*>(m[r].w1), 250);
    EXPECT_TRUE(c < 0 || (c == 0 && m[r - 1].w3 <= m[r].w3)) << r;
  }
  const VlnDsSlotInfo* slots = vlnDbfidxClass()->slots;
  struct Search {
    const char* name;
    char kind;
    int32_t limit, slot, level;
  } const searches[] = {
      {"alias", 'A', VL_NO_LEVEL_LIMIT, VLN_DS_ALIAS_AC, 1},
      {"errinfo", 'A', VL_NO_LEVEL_LIMIT, VLN_DS_ERRINFO_AC, 0},  // abstract
      {"errinfo", 'M', VL_NO_LEVEL_LIMIT, VLN_DBFIDX_ERRINFO, 1},
      {"nomethod", 'M', VL_NO_LEVEL_LIMIT, VLN_DS_NOMETHOD, 0},
      {"indexseekeval", 'M', VL_NO_LEVEL_LIMIT, VLN_DBFIDX_INDEXSEEKEVAL, 1},
      {"quickfieldput", 'M', VL_NO_LEVEL_LIMIT, VLN_DBFIDX_QUICKFIELDPUT, 1},
      {"orderkeyno", 'M', VL_NO_LEVEL_LIMIT, VLN_DS_ORDERKEYNO, 1},
  };
  for (const Search& s : searches) {
    int32_t lim = s.limit;
    EXPECT_EQ(vlnLocateMethod(s.name, rows, s.kind, &lim), s.slot) << s.name << s.kind;
    EXPECT_EQ(lim, s.level) << s.name << s.kind;
  }
  // Super (level 0) finds the dataserver's version of an override.
  int32_t lim = 0;
  const int32_t super = vlnLocateMethod("alias", rows, 'A', &lim);
  EXPECT_GE(super, VLN_DS_SLOT_COUNT);
  EXPECT_EQ(slots[super].level, 0);
  EXPECT_EQ(slots[super].dsslot, VLN_DS_ALIAS_AC);
}

}  // namespace
