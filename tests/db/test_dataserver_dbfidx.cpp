// The DBF driver's class descriptor: which of its 302 slots are its own,
// which keep the abstract member, where the dataserver versions of its
// overrides stand, and that the name search finds the right level.
#include <set>
#include <string>

#include "dbfidxclass.h"
#include "objects.h"
#include "vltest.h"

namespace {

using Slots = const VlnDsSlotInfo*;

// The dataserver slots the driver leaves abstract.
const std::set<int32_t> kAbstract = {2,  9,  10, 11,  12,  13,  14,  15,  16,  17,  18,
                                     19, 39, 47, 52,  53,  58,  59,  60,  61,  77,  82,
                                     92, 97, 98, 99,  100, 101, 104, 106, 107, 109, 112,
                                     113, 114, 115, 128, 133, 137, 142, 150, 154, 156, 159};

struct Expect {
  int32_t slot;
  const char* name;
  char kind;
  int32_t level;
  int32_t dsslot;
};

// The driver's own 14 messages, and a sample of the level-0 copies.
const Expect kOwn[] = {
    {174, "axit", 'M', 1, -1},           {201, "errinfo", 'M', 1, -1},
    {225, "indexappend", 'M', 1, -1},    {226, "indexcheck", 'M', 1, -1},
    {229, "indexgobottom", 'M', 1, -1},  {230, "indexgotop", 'M', 1, -1},
    {233, "indexkeycompare", 'M', 1, -1}, {235, "indexreplace", 'M', 1, -1},
    {236, "indexseek", 'M', 1, -1},      {237, "indexseekeval", 'M', 1, -1},
    {238, "indexskip", 'M', 1, -1},      {239, "indexsynchronize", 'M', 1, -1},
    {259, "quickfieldget", 'M', 1, -1},  {260, "quickfieldput", 'M', 1, -1},
};
const Expect kCopies[] = {
    {166, "alias", 'A', 0, 0},       {167, "alias", '=', 0, 1},
    {168, "append", 'M', 0, 3},      {175, "bof", 'A', 0, 20},
    {231, "indexkey", 'A', 0, 81},   {232, "indexkey", 'M', 0, 80},
    {241, "init", 'M', 0, 85},       {250, "noivarget", 'M', 0, 95},
    {255, "orderkeyno", 'A', 0, 108}, {256, "orderkeyno", 'M', 0, 110},
    {284, "setfound", '=', 0, 144},  {299, "whileblock", 'A', 0, 163},
    {301, "zap", 'M', 0, 165},
};

void expect_slot(Slots slots, const Expect& e)
{
  const VlnDsSlotInfo& s = slots[e.slot];
  EXPECT_EQ(std::string(s.name), e.name) << e.slot;
  EXPECT_EQ(s.kind, e.kind) << e.slot;
  EXPECT_EQ(s.level, e.level) << e.slot;
  EXPECT_EQ(s.dsslot, e.dsslot) << e.slot;
}

int kind_rank(char k) { return k == 'A' ? 0 : k == '=' ? 1 : 2; }

class DbfidxClass : public vltest::VlTest {};

TEST_F(DbfidxClass, OwnSlotsAndLevelZeroCopiesStandWhereTheDriverExpects)
{
  const VlnDsClass* cls = vlnDbfidxClass();
  ASSERT_EQ(cls->count, VLN_DBFIDX_SLOT_COUNT);
  for (const Expect& e : kOwn) expect_slot(cls->slots, e);
  for (const Expect& e : kCopies) expect_slot(cls->slots, e);
  EXPECT_EQ(VLN_DBFIDX_AXIT, 174);
  EXPECT_EQ(VLN_DBFIDX_QUICKFIELDPUT, 260);
}

TEST_F(DbfidxClass, AbstractSlotsAndOverridesPartitionTheFirst166)
{
  const VlnDsClass* cls = vlnDbfidxClass();
  std::set<int32_t> copied;
  for (int32_t t = VLN_DS_SLOT_COUNT; t < cls->count; ++t)
    if (cls->slots[t].level == 0) copied.insert(cls->slots[t].dsslot);
  for (int32_t s = 0; s < VLN_DS_SLOT_COUNT; ++s) {
    const bool abstract = kAbstract.count(s) > 0;
    EXPECT_EQ(cls->slots[s].level, abstract ? 0 : 1) << s;
    EXPECT_EQ(cls->slots[s].dsslot, s);
    // An override has exactly one level-0 copy above 165; an abstract slot none.
    EXPECT_EQ(copied.count(s), abstract ? 0u : 1u) << s;
  }
  EXPECT_EQ(copied.size() + kAbstract.size(), 166u);
  EXPECT_EQ(copied.size() + 14, 136u);
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
  EXPECT_EQ(rows[0].w1, 'D');
  EXPECT_EQ(rows[0].w2, 42);
  EXPECT_EQ(rows[0].w3, 302);
  EXPECT_EQ(rows[0].w4, 3);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(rows[1].w1)), "dataserver");
  EXPECT_EQ(std::string(vlnClassName(rows)), "dbfidx");
  EXPECT_EQ(vlnLocateInstance("recno", rows), VLN_IV_RECNO);
  // Method rows: sorted by name, equal names by ascending level.
  const VlnClassRow* m = rows + rows[0].w4 + rows[0].w2;
  for (int32_t r = 1; r < rows[0].w3; ++r) {
    const int c = vlnStrNLCmp(reinterpret_cast<const char*>(m[r - 1].w1),
                              reinterpret_cast<const char*>(m[r].w1), 250);
    EXPECT_TRUE(c < 0 || (c == 0 && m[r - 1].w3 <= m[r].w3)) << r;
  }
  int32_t lim = VL_NO_LEVEL_LIMIT;
  EXPECT_EQ(vlnLocateMethod("alias", rows, 'A', &lim), 0);
  EXPECT_EQ(lim, 1);
  lim = 0;
  EXPECT_EQ(vlnLocateMethod("alias", rows, 'A', &lim), 166);
  lim = VL_NO_LEVEL_LIMIT;
  EXPECT_EQ(vlnLocateMethod("errinfo", rows, 'A', &lim), 47);
  EXPECT_EQ(lim, 0);
  lim = VL_NO_LEVEL_LIMIT;
  EXPECT_EQ(vlnLocateMethod("errinfo", rows, 'M', &lim), 201);
  lim = VL_NO_LEVEL_LIMIT;
  EXPECT_EQ(vlnLocateMethod("nomethod", rows, 'M', &lim), 97);
  lim = VL_NO_LEVEL_LIMIT;
  EXPECT_EQ(vlnLocateMethod("indexseekeval", rows, 'M', &lim), 237);
  lim = VL_NO_LEVEL_LIMIT;
  EXPECT_EQ(vlnLocateMethod("orderkeyno", rows, 'M', &lim), 110);
}

}  // namespace
