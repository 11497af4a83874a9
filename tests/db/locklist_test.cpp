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

// Random adds and removes against a std::set; every search must answer as
// lower_bound does, and the list must stay sorted without duplicates.
TEST_F(dbLockList, SearchAgreesWithLowerBound)
{
  std::mt19937 rng(7);
  std::uniform_int_distribution<int> recno(1, 300);
  std::set<int32_t> model;
  for (int step = 0; step < 5000; ++step) {
    const int32_t r = recno(rng);
    if (rng() % 3 != 0) {
      EXPECT_EQ(diAd2LckList(&area_, r), model.insert(r).second ? 0 : 1);
    } else {
      EXPECT_EQ(diRm2LckList(&area_, r), model.erase(r) ? 0 : 1);
    }
    ASSERT_EQ(area_.lockcount, static_cast<int>(model.size()));
    ASSERT_TRUE(std::equal(model.begin(), model.end(), area_.locks));
    ASSERT_EQ(area_.lockcap % 16, 0);
    ASSERT_GE(area_.lockcap, area_.lockcount);
    const int32_t q = recno(rng);
    const int place = static_cast<int>(std::distance(model.begin(), model.lower_bound(q)));
    const int code = diLocateLckRec(&area_, q);
    if (model.count(q))
      ASSERT_EQ(code, place) << "record " << q;
    else
      ASSERT_EQ(code, ~place) << "record " << q;
  }
  EXPECT_EQ(diIsRecLocked(&area_, 0), model.empty() ? 0 : *model.begin());
}

TEST_F(dbLockList, GrowsAtSeventeenthAndShrinksOnlyPastSixteenSpare)
{
  for (int32_t r = 1; r <= 16; ++r) ASSERT_EQ(diAd2LckList(&area_, r * 10), 0);
  EXPECT_EQ(area_.lockcap, 16);
  ASSERT_EQ(diAd2LckList(&area_, 5), 0);
  EXPECT_EQ(area_.lockcap, 32);
  EXPECT_EQ(area_.locks[0], 5);
  // Down to 16 entries: capacity 32 is not more than 16 + 16.
  for (int32_t r = 10; area_.lockcount > 16; r += 10) diRm2LckList(&area_, r);
  EXPECT_EQ(area_.lockcap, 32);
  // The next delete starts from 16 entries: 32 is not above 16 + 16 either.
  diRm2LckList(&area_, area_.locks[0]);
  EXPECT_EQ(area_.lockcap, 32);
  // From 15 entries it is: the list shrinks first, then loses the entry.
  diRm2LckList(&area_, area_.locks[0]);
  EXPECT_EQ(area_.lockcap, 16);
  EXPECT_EQ(area_.lockcount, 14);
  EXPECT_EQ(diIsRecLocked(&area_, area_.locks[3]), area_.locks[3]);
  EXPECT_EQ(diIsRecLocked(&area_, 7), 0);
}

}  // namespace
