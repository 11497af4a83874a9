// The record lock list: order, search and its growth in packs of 16.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "locks.hpp"

using namespace vl;

namespace {

class dbLockList : public ::testing::Test {
 protected:
  void SetUp() override { vlnLockAreaInit(&area_); }
  void TearDown() override
  {
    while (area_.lockcap > 0) diRelLckPack(&area_);
  }
  VlnLockArea area_;
};

// Random adds and removes against a std::set, adds winning at first and
// removes later, so that the list grows and shrinks: every search answers
// as lower_bound does, the list stays sorted without duplicates, and the
// capacity moves in packs of 16, up when an add finds it full, down when a
// delete finds more than 16 spare (before it removes the entry).
TEST_F(dbLockList, SearchAgreesWithLowerBoundAndTheCapacityWithThePacks)
{
  std::mt19937 rng(7);
  std::uniform_int_distribution<int> recno(1, 300);
  std::set<int32_t> model;
  int cap = 0;
  for (int step = 0; step < 5000; ++step) {
    const int32_t r = recno(rng);
    const int before = static_cast<int>(model.size());
    if (step < 2500 ? rng() % 3 != 0 : rng() % 8 == 0) {
      EXPECT_EQ(diAd2LckList(&area_, r), model.insert(r).second ? 0 : 1);
      cap += static_cast<int>(model.size()) > before && cap <= before ? 16 : 0;
    } else {
      EXPECT_EQ(diRm2LckList(&area_, r), model.erase(r) ? 0 : 1);
      cap -= static_cast<int>(model.size()) < before && cap > before + 16 ? 16 : 0;
    }
    ASSERT_EQ(area_.lockcount, static_cast<int>(model.size()));
    ASSERT_TRUE(std::equal(model.begin(), model.end(), area_.locks));
    ASSERT_EQ(area_.lockcap, cap) << "step " << step;
    const int32_t q = recno(rng);
    const int place = static_cast<int>(std::distance(model.begin(), model.lower_bound(q)));
    ASSERT_EQ(diLocateLckRec(&area_, q), model.count(q) ? place : ~place) << "record " << q;
    ASSERT_EQ(diIsRecLocked(&area_, q), model.count(q) ? q : 0);
  }
  EXPECT_EQ(diIsRecLocked(&area_, 0), model.empty() ? 0 : *model.begin());
}

}  // namespace
