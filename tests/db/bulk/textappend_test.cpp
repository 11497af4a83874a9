// APPEND FROM ... DELIMITED and SDF: CSV files written by Python's csv
// module and by the sqlite3 shell land in the right fields, converted; the
// scope counts lines; refusals leave the target as it was.
#include <cstdlib>
#include <string>

#include "../dbfidx/dbftest.h"

namespace {

using dbftest::InDir;

class TextAppend : public InDir {
 protected:
  void SetUp() override
  {
    InDir::SetUp();
    run("SET(4, 'yyyy-mm-dd'), DBCREATE('t', {{'NAME','C',8,0},{'QTY','N',9,2},{'BORN','D',8,0},"
        "{'OK','L',1,0},{'NOTE','M',10,0}}), DBUSEAREA(.T., , 't', , .F.)");
  }
  // Every record of t: its four plain fields as shown, "|" after each.
  static std::string table()
  {
    return vltest::shown(exp_eval(
        "a := '', DBGOTOP(), DBEVAL({|| a += NAME + '|' + LTRIM(STR(QTY, 12, 2)) + '|' + IIF(EMPTY(BORN), '', DTOS(BORN)) + '|' + "
        "IIF(OK, 'T', 'F') + '/'}), a"));
  }
  static void shell(const std::string& command) { ASSERT_EQ(std::system(command.c_str()), 0) << command; }
};

TEST_F(TextAppend, CsvOfPythonAndSqlite)
{
  shell("python3 -c \"import csv,sys; w=csv.writer(open('p.csv','w',newline='')); "
        "w.writerows([['a, b', -12.5, 20240131, 'T'], [' x \\\"q\\\" ', '1e5', '', 'F'], "
        "['longer than eight', 99999.99, 19000101], [], ['z']])\"");
  run("__DBAPPDEL('p.csv')", ".T.");
  EXPECT_EQ(table(),
            "a, b    |-12.50|20240131|T/ x \"q\"  |100000.00||F/longer t|99999.99|19000101|F/        |0.00||F/"
            "z       |0.00||F/");
  shell("sqlite3 -csv :memory: \"select 'q,1', 3, '20001231', 'T' union all select 'r', -0.5, '', 'F'\" > s.csv");
  run("__DBZAP(), __DBAPPDEL('s.csv', NIL, {'OK', 'b->name'})", ".T.");
  EXPECT_EQ(table(), "q,1     |0.00||F/r       |0.00||F/");
}

TEST_F(TextAppend, SdfAndScopes)
{
  dir_.write("f.txt", "ann          1.5020240131T\r\nbob         -2.00\n\ncy\x1A");
  run("__DBAPPSDF('f')", ".T.");
  EXPECT_EQ(table(), "ann     |1.50|20240131|T/bob     |-2.00||F/        |0.00||F/cy      |0.00||F/");
  dir_.write("n.txt", "a,1\nb,2\nc,3\nd,4\ne,5\n");
  const struct {
    const char* call;
    const char* want;
  } cases[] = {
      {"__DBAPPDEL('n', 'blank')", "a,1     |0.00||F/b,2     |0.00||F/c,3     |0.00||F/d,4     |0.00||F/e,5     |0.00||F/"},
      {"__DBAPPDEL('n', , , {|| QTY % 2 == 1})", "a       |1.00||F/c       |3.00||F/e       |5.00||F/"},
      {"__DBAPPDEL('n', , , , {|| QTY < 3})", "a       |1.00||F/b       |2.00||F/"},
      {"__DBAPPDEL('n', , , , , 2)", "a       |1.00||F/b       |2.00||F/"},
      {"__DBAPPDEL('n', , , , , , 4)", "d       |4.00||F/"},
  };
  for (const auto& c : cases) {
    run("__DBZAP()");
    run(c.call, ".T.");
    EXPECT_EQ(table(), c.want) << c.call;
  }
}

TEST_F(TextAppend, RefusalsLeaveTheTargetAlone)
{
  dir_.write("n.txt", "a,1\n");
  run("__DBAPPDEL('n')", ".T.");
  const struct {
    const char* call;
    const char* want;
  } cases[] = {
      {"__DBAPPDEL('missing')", "#322 .F."},
      {"__DBAPPDEL('n', '||')", "#313 .F."},
      {"__DBAPPDEL(12)", "#312 .F."},
  };
  for (const auto& c : cases) {
    run(c.call, c.want);
    EXPECT_EQ(table(), "a       |1.00||F/") << c.call;
    run("ALIAS()", "T");
  }
  run("DBCLOSEAREA(), __DBAPPGEN(NIL, 'n')", "#322 .F.");
}

TEST_F(TextAppend, BinaryBytesAndABreakOutOfTheScope)
{
  dir_.write("b.txt", std::string("\0\x01\"x\xff\",2\n", 9) + "c,3\n");
  run("__DBAPPDEL('b')", ".T.");
  constexpr char kWant[] = "\0\x01\"x\xff\"  |2.00||F/c       |3.00||F/";
  EXPECT_EQ(table(), std::string(kWant, sizeof kWant - 1));
  // A BREAK out of the for block closes the text and selects the table again.
  const std::string area = vltest::shown(exp_eval("SELECT()"));
  var* e = vl_call(dbftest::guarded, {set_cv("__DBAPPDEL('b', , , {|| BREAK('stop')})")});
  EXPECT_EQ(vltest::shown(e), "stop");
  run("{SELECT(), ALIAS(), LASTREC()}", ("{" + area + ", T, 2}").c_str());
  run("SELECT('B')", "0");
}

}  // namespace
