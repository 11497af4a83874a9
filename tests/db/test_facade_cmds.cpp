// The functions commands become where no other does the work: LOCATE and
// CONTINUE, COUNT, SUM and AVERAGE over the scope arguments.
#include <string>

#include "dbfidx/dbftest.h"

namespace {

class FacadeCmds : public dbftest::InDir {
 protected:
  void SetUp() override
  {
    InDir::SetUp();
    run("DBCREATE('t', {{'N','N',4,0}}), DBUSEAREA(.T., , 't', , .F.)");
    for (int i = 1; i <= 10; ++i) run("DBAPPEND(), FIELDPUT(1, " + std::to_string(i) + ")");
  }
};

TEST_F(FacadeCmds, LocateAndContinueWalkTheMatches)
{
  const char* rows[][2] = {
      {"__DBLOCATE({|| N % 3 == 0}), RECNO()", "3"},
      {"__DBCONTIN(), RECNO()", "6"},
      {"__DBCONTIN(), RECNO()", "9"},
      {"__DBCONTIN()", ".F."},
      {"FOUND()", ".F."},
      // WHILE stops the search; NEXT limits it; REST starts where it is.
      {"DBGOTOP(), __DBLOCATE({|| N == 5}, {|| N < 4})", ".F."},
      {"DBGOTOP(), __DBLOCATE({|| N == 5}, , 3)", ".F."},
      {"DBGOTO(7), __DBLOCATE({|| N % 2 == 0}, , , , .T.), RECNO()", "8"},
  };
  for (const auto& r : rows) run(r[0], r[1]);
}

TEST_F(FacadeCmds, CountSumAverageOverAScope)
{
  const char* rows[][2] = {
      {"__DBCOUNT()", "10"},
      {"__DBCOUNT({|| N > 7})", "3"},
      {"__DBSUM({|| N})", "55"},
      {"__DBSUM({{|| N}, {|| 1}}, {|| N <= 4})[2]", "4"},
      {"__DBAVERAG({|| N}, {|| N % 2 == 0})", "6"},
      {"DBGOTO(7), __DBCOUNT(, , , , .T.)", "4"},
      {"DBGOTO(7), __DBSUM({|| N}, , , , , .T.)", "34"},
      {"DBCLOSEAREA(), __DBCOUNT()", "#322 0"},
  };
  for (const auto& r : rows) run(r[0], r[1]);
}

}  // namespace
