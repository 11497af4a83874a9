// The abstract data server: its class record, and an instance that answers
// every message, by slot and by name, with the report of the abstract
// class and the object itself, through one method array for all instances.
#include <string>

#include "dataserver.hpp"
#include "objects.h"
#include "vlgen.h"
#include "vltest.h"

using namespace vl;

namespace {

using vltest::str;

constexpr int32_t kFirstMethodRow = 2 + VLN_IV_COUNT;

const char* row_name(const VlnClassRow& row) { return reinterpret_cast<const char*>(row.w1); }

class Dataserver : public vltest::VlTest {
 protected:
  // A new instance; its construction reports the abstract init.
  var* make()
  {
    var* obj = _bb_dataserver(0, nullptr);
    EXPECT_EQ(last_code(), 343);
    reports().clear();
    return obj;
  }
  // The one report since the last clear has code and names the member.
  void expect_report(int code, const std::string& what)
  {
    ASSERT_EQ(reports().size(), 1u) << what;
    EXPECT_EQ(reports()[0].code, code) << what;
    EXPECT_NE(reports()[0].description.find(what), std::string::npos) << reports()[0].description;
    reports().clear();
  }
};

// The variables and the methods are each in name order (the name search is
// a binary search), and the methods stand at their slot numbers.
TEST_F(Dataserver, ClassRecordIsSortedAndIndexedBySlot)
{
  const VlnClassRow* cls = DataserverStruct;
  for (int32_t i = 0; i < VLN_IV_COUNT; ++i) {
    const VlnClassRow& row = cls[2 + i];
    EXPECT_EQ(row.w2, 2 + i);
    EXPECT_TRUE(i == 0 || vlnStrNLCmp(row_name(cls[1 + i]), row_name(row), 250) < 0) << i;
  }
  for (int32_t s = 0; s < VLN_DS_SLOT_COUNT; ++s) {
    const VlnClassRow& row = cls[kFirstMethodRow + s];
    EXPECT_EQ(row.w2, s);
    EXPECT_TRUE(s == 0 || vlnStrNLCmp(row_name(cls[kFirstMethodRow + s - 1]), row_name(row), 250) <= 0)
        << s;
    int32_t lim = VL_NO_LEVEL_LIMIT;
    EXPECT_EQ(vlnLocateMethod(row_name(row), cls, static_cast<char>(row.w4), &lim), s);
  }
  EXPECT_EQ(vlnLocateInstance("whileblock", cls), VLN_IV_WHILEBLOCK);
}

TEST_F(Dataserver, EveryMessageReportsAndReturnsTheObject)
{
  var* obj = make();
  ASSERT_EQ(obj->Type, 'O');
  EXPECT_EQ(VARR(VARR(obj)->A_vec[1]), VARR(VARR(make())->A_vec[1]));  // one method array for all
  for (int32_t s = 0; s < VLN_DS_SLOT_COUNT; ++s) {
    const VlnClassRow& row = DataserverStruct[kFirstMethodRow + s];
    const bool fallback = s == VLN_DS_NOMETHOD || s == VLN_DS_NOIVARGET || s == VLN_DS_NOIVARPUT;
    // A fallback is told the name of the member that was missing.
    const std::string name = fallback ? "probe" : row_name(row);
    var* result = nullptr;
    AnyFn fn = vlnGetMethod(obj, row_name(row), s);
    if (row.w4 == 'M') {
      var* args[] = {obj, set_cv(name.c_str())};
      result = vlnDoMethod(row_name(row), s, 0, fallback ? 2 : 1, args);
    } else if (row.w4 == 'A') {
      result = reinterpret_cast<VlnAccessFn>(fn)(obj);
    } else {
      result = reinterpret_cast<VlnAssignFn>(fn)(obj, ONE_VAR);
    }
    ASSERT_EQ(result->Type, 'O') << name;
    EXPECT_EQ(VARR(result), VARR(obj)) << name;
    const bool method = row.w4 == 'M' && s != VLN_DS_NOIVARGET && s != VLN_DS_NOIVARPUT;
    expect_report(method ? 343 : 344, std::string("Class 'dataserver' does not define ") +
                                          (method ? "method '" : "instance '") + name + "'");
  }
}

}  // namespace
