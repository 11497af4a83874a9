// Commands run end to end: a program that creates, fills, indexes, walks
// and totals a table through the lowered commands, run by the machine in a
// directory of its own.
#include <unistd.h>

#include "vm_harness.hpp"

namespace {

class ParseDbProg : public vmtest::VmTest {
 protected:
  void SetUp() override
  {
    VmTest::SetUp();
    ASSERT_NE(getcwd(home_, sizeof home_), nullptr);
    ASSERT_EQ(chdir(dir_.path().c_str()), 0);
  }
  void TearDown() override
  {
    run("CLOSE ALL");
    EXPECT_EQ(chdir(home_), 0);
    VmTest::TearDown();
  }
  vltest::TempDir dir_;
  char home_[4096] = {};
};

TEST_F(ParseDbProg, CommandsDoTheirWork)
{
  const char* program =
      "DBCREATE('cust', {{'NAME','C',8,0}, {'CITY','C',6,0}, {'AMT','N',6,1}})\n"
      "USE cust EXCLUSIVE\n"
      "FOR i := 1 TO 6\n"
      "  APPEND BLANK\n"
      "  REPLACE name WITH 'n' + LTRIM(STR(i)), city WITH IIF(i % 2 == 0, 'Leeds', 'York'), ;\n"
      "          amt WITH i * 1.5\n"
      "NEXT\n"
      "INDEX ON city + name TO bycity\n"
      "GO TOP\n"
      "? name, city\n"
      "SEEK 'York'\n"
      "? FOUND(), name\n"
      "SET ORDER TO 0\n"
      "LOCATE FOR amt > 4\n"
      "? RECNO()\n"
      "CONTINUE\n"
      "? RECNO()\n"
      "COUNT TO n FOR city = 'Leeds'\n"
      "SUM amt, 1 TO total, k\n"
      "? n, total, k\n"
      "REPLACE ALL amt WITH 0 FOR city = 'York'\n"
      "DELETE FOR amt == 0\n"
      "SET DELETED ON\n"
      "COUNT TO live\n"
      "? live\n"
      "f := 'cust'\n"
      "COPY TO &f.2 FOR !DELETED()\n"
      "USE &f.2 NEW ALIAS second\n"
      "? ALIAS(), LASTREC()\n"
      "SELECT cust\n"
      "SKIP 2 ALIAS second\n"
      "? ALIAS(), second->(RECNO())\n"
      "STORE 7 TO a, b\n"
      "? a + b\n";
  EXPECT_EQ(run(program),
            "n2       Leeds \n"
            ".T. n1      \n"
            "         3\n"
            "         4\n"
            "         3         31.5          6\n"
            "         3\n"
            "SECOND          3\n"
            "CUST          3\n"
            "        14\n")
      << message;
}

}  // namespace
