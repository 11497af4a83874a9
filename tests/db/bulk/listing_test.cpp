// LIST/DISPLAY lines as QOut receives them and TO FILE writes them; COUNT,
// SUM, AVERAGE and GETARRAY of a table object against what the rows say.
#include <string>
#include <vector>

#include "../dbfidx/dbftest.h"
#include "runtime.hpp"

namespace {

std::vector<std::string> g_shown;
void capture(const char* text) { g_shown.push_back(text); }

constexpr int kRows = 40;
double amount(int i) { return (i % 7) * 2.5 - 5; }  // exact in binary
double weight(int i) { return i % 3; }

class Listing : public dbftest::InDir {
 protected:
  void SetUp() override
  {
    InDir::SetUp();
    g_shown.clear();
    vln_qout_hook = capture;
    run("DBCREATE('t', {{'NAME','C',4,0}, {'AMOUNT','N',6,1}, {'W','N',2,0}, {'OK','L',1,0}}), "
        "DBUSEAREA(.T., , 't', , .F.)");
    for (int i = 1; i <= kRows; ++i)
      run("DBAPPEND(), FIELDPUT(1, 'r" + std::to_string(i) + "'), FIELDPUT(2, " + std::to_string(amount(i)) +
          "), FIELDPUT(3, " + std::to_string(weight(i)) + "), FIELDPUT(4, " + (i % 2 ? ".T." : ".F.") + ")");
    run("DBGOTO(2), DBDELETE(), DBGOTOP()");
  }
  static double number(const std::string& expr) { return vlnNumVar(exp_eval(expr.c_str())); }
};

TEST_F(Listing, LinesOfListAndDisplay)
{
  struct Case {
    const char* args;
    std::vector<std::string> lines;
  } cases[] = {
      {".F., , .T., {|| RECNO() < 4}",
       {"      1  r1     -2.5  1 .T.", "      2 *r2      0.0  2 .F.", "      3  r3      2.5  0 .T."}},
      {".T., {'name', 'UPPER(NAME) + \"!\"', 'OK'}, , , , 2", {" r1   R1  ! .T.", "*r2   R2  ! .F."}},
      {".F., {'AMOUNT'}", {"      1    -2.5"}},
      {".F., {'W'}, , {|| W == 2 .AND. RECNO() > 30}", {"     32   2", "     35   2", "     38   2"}},
  };
  for (const Case& c : cases) {
    g_shown.clear();
    run("DBGOTOP(), __DBLIST(" + std::string(c.args) + ")", ".T.");
    EXPECT_EQ(g_shown, c.lines) << c.args;
  }
  run("DBGOTO(2), __DBLIST(.T., {'NAME'}, , , , , , , , 'listed')", ".T.");
  EXPECT_EQ(dir_.read("listed.txt"), "*r2  \n");
  EXPECT_EQ(g_shown.back(), "*r2  ");
  run("DBCLOSEAREA(), __DBLIST()", "#322 .F.");
}

TEST_F(Listing, CountSumAverageAgainstTheRows)
{
  double all = 0, odd = 0, while_small = 0, w = 0;
  int n_odd = 0, n_while = 0;
  for (int i = 1; i <= kRows; ++i) {
    all += amount(i), w += weight(i);
    if (i % 2) odd += amount(i), ++n_odd;
    if (i <= 10) while_small += amount(i), ++n_while;
  }
  EXPECT_EQ(number("DBOBJECT():count()"), kRows);
  EXPECT_EQ(number("DBOBJECT():count({|| OK})"), n_odd);
  EXPECT_EQ(number("DBGOTOP(), DBOBJECT():count(, {|| RECNO() <= 10})"), n_while);
  EXPECT_EQ(number("DBGOTO(31), DBOBJECT():count(, , 5)"), 5);
  EXPECT_EQ(number("DBOBJECT():sum('AMOUNT')"), all);
  EXPECT_EQ(number("DBOBJECT():sum({|| AMOUNT * 2}, {|| OK})"), 2 * odd);
  EXPECT_EQ(number("DBOBJECT():sum({'AMOUNT', 'W'})[2]"), w);
  EXPECT_EQ(number("DBGOTOP(), DBOBJECT():average('AMOUNT', , {|| RECNO() <= 10})"), while_small / n_while);
  EXPECT_EQ(number("DBOBJECT():average('AMOUNT', {|| .F.})"), 0);
  run("DBOBJECT():average({'AMOUNT', 'W'})[2] == " + std::to_string(w / kRows), ".T.");
  run("o := DBOBJECT(), SELECT(2), o:count()", "40");
}

TEST_F(Listing, GetArray)
{
  run("DBGOTO(5), DBOBJECT():getarray(3, 'NAME')", "{r5  , r6  , r7  }");
  run("DBGOTO(39), DBOBJECT():getarray(0, {'NAME', 3})", "{{r39 , 0}, {r40 , 1}}");
  run("DBGOTOP(), LEN(DBOBJECT():getarray(0, {|| RECNO()}))", "40");
  run("DBGOTOP(), DBOBJECT():getarrfields(2, 2)", "{-2.5, 0.0}");
  run("o := DBOBJECT(), DBCLOSEAREA(), {o:getarray(5, 'NAME'), o:count(), o:sum('W')}", "{{}, 0, 0}");
}

}  // namespace
