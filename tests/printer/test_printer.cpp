// The printer head: PROW, PCOL, SETPRC and EJECT.
#include <cstdio>
#include <string>

#include "printer.hpp"
#include "set.h"
#include "switches.hpp"
#include "vltest.h"

using namespace vl;

namespace {

class PrinterHead : public vltest::VlTest {
 protected:
  void TearDown() override
  {
    vln_flagto.print_stream = nullptr;
    _prt_row = _prt_col = 0;
    VlTest::TearDown();
  }
  static double prow() { return vlnNumVar(vl_call(_bb_prow, {})); }
  static double pcol() { return vlnNumVar(vl_call(_bb_pcol, {})); }
};

TEST_F(PrinterHead, SetprcMovesAndEjectStartsAPage)
{
  vl_call(_bb_setprc, {set_nv(3, 0), set_nv(7.9, 1)});
  EXPECT_EQ(prow(), 3);
  EXPECT_EQ(pcol(), 7);
  const struct {
    var* row;
    var* col;
    int code;
  } refused[] = {{set_cv("1"), set_nv(1, 0), 312}, {set_nv(1, 0), nullptr, 312}, {set_nv(-1, 0), set_nv(1, 0), 313}};
  for (const auto& r : refused) {
    reports().clear();
    var* args[] = {r.row, r.col};
    _bb_setprc(r.col ? 2 : 1, args);
    EXPECT_EQ(last_code(), r.code);
    EXPECT_EQ(prow(), 3);
    EXPECT_EQ(pcol(), 7);
  }
  vl_call(_bb___eject, {});  // no print stream: nothing sent, the head goes home
  EXPECT_EQ(prow(), 0);
  EXPECT_EQ(pcol(), 0);

  FILE* out = std::tmpfile();
  ASSERT_NE(out, nullptr);
  vln_flagto.print_stream = out;
  _prt_row = 5;
  vl_call(_bb___eject, {});
  EXPECT_EQ(prow(), 0);
  std::rewind(out);
  char sent[8] = "";
  EXPECT_EQ(std::fread(sent, 1, sizeof sent, out), 1u);
  EXPECT_EQ(sent[0], '\f');
  std::fclose(out);
}

}  // namespace
