// table_test.cpp -- the DBF driver's tables: the bytes a CREATE writes, the
// refusals of bad structures, the moves through a table in natural order
// against positions computed from the rows, when the header reaches the
// file, and the write-behind buffer of exclusive tables.
#include <unistd.h>

#include <string>

#include "dbfint.hpp"
#include "vltest.h"

namespace {

class Tables : public vltest::VlTest {
 protected:
  void SetUp() override
  {
    VlTest::SetUp();
    ASSERT_NE(getcwd(home_, sizeof home_), nullptr);
    ASSERT_EQ(chdir(dir_.path().c_str()), 0);
  }
  void TearDown() override
  {
    vltest::expect_rows({{"DBCLOSEALL()"}});
    EXPECT_EQ(chdir(home_), 0);
    VlTest::TearDown();
  }
  std::string bytes(const char* name) const { return dir_.read(name); }
  vltest::TempDir dir_;
  char home_[4096] = "";
};

uint32_t le32(const std::string& b, size_t at) { return vl::dbf_get32(reinterpret_cast<const uint8_t*>(b.data() + at)); }
uint16_t le16(const std::string& b, size_t at) { return vl::dbf_get16(reinterpret_cast<const uint8_t*>(b.data() + at)); }

TEST_F(Tables, CreateWritesTheHeaderItDescribes)
{
  vltest::expect_rows({
      {R"(DBCREATE("t", {{"name","c",300,0}, {"AMOUNT","N",12,2}, {"BORN","D",3,0}, {"OK","L",5,0},
                         {"NOTES","M",1,0}, {"ELEVENCHARS","C",2,0}}))", ".T."},
  });
  const std::string b = bytes("t.dbf");
  const size_t fields = 6, hdr = 32 * fields + 33;
  ASSERT_EQ(b.size(), hdr);
  EXPECT_EQ(uint8_t(b[0]), 0x83);  // memo bit
  EXPECT_EQ(le32(b, 4), 0u);
  EXPECT_EQ(le16(b, 8), hdr);
  EXPECT_EQ(le16(b, 10), 1 + 300 + 12 + 8 + 1 + 10 + 2);
  EXPECT_EQ(uint8_t(b[31]), 1);
  EXPECT_EQ(uint8_t(b.back()), 0x0D);
  EXPECT_EQ(b.substr(32, 11), std::string("NAME\0\0\0\0\0\0\0", 11));
  EXPECT_EQ(b[43], 'C');
  EXPECT_EQ(uint8_t(b[48]), 44);  // 300 = 44 + 256
  EXPECT_EQ(uint8_t(b[49]), 1);
  EXPECT_EQ(uint8_t(b[32 * 3 + 16]), 8);  // D is 8 whatever was asked
  EXPECT_EQ(b.substr(32 * 6, 12), "ELEVENCHARSC");  // no terminator
  const std::string memo = bytes("t.dbt");
  ASSERT_EQ(memo.size(), 512u);
  EXPECT_EQ(le32(memo, 0), 1u);
  vltest::expect_rows({
      {R"(DBUSEAREA(.T., , "t"))", ".T."},
      {"DBSTRUCT()", "{{NAME, C, 300, 0}, {AMOUNT, N, 12, 2}, {BORN, D, 8, 0}, {OK, L, 1, 0}, "
                     "{NOTES, M, 10, 0}, {ELEVENCHARS, C, 2, 0}}"},
      {"RECNO()", "1"}, {"BOF()", ".T."}, {"EOF()", ".T."}, {"LASTREC()", "0"},
  });
}

TEST_F(Tables, CreateRefusesBadStructuresAndWritesNothing)
{
  vltest::expect_rows({
      {R"(DBCREATE("a", {{"TWELVECHARSX","C",1,0}}))", "#313 .F."},
      {R"(DBCREATE("a", {{"","C",1,0}}))", "#313 .F."},
      {R"(DBCREATE("a", {{"X","C",1,0}, {"x","N",2,0}}))", "#313 .F."},
      {R"(DBCREATE("a", {{"X","N",21,0}}))", "#320 .F."},
      {R"(DBCREATE("a", {{"X","N",5,4}}))", "#320 .F."},
      {R"(DBCREATE("a", {{"X","C",65535,0}, {"Y","C",1,0}}))", "#320 .F."},
      {R"(DBCREATE("a", {{"X","Q",1,0}}))", "#317 .F."},
      {R"(DBCREATE("a", {{"X","C",1}}))", "#312 .F."},
      {R"(FILE("a.dbf"))", ".F."},
      {R"(DBCREATE("a", {{"X","N",20,18}}))", ".T."},
      {R"(DBCREATE("z", {}))", ".T."},
  });
}

// Rows 1..5, record 2 and 4 deleted: each move's RECNO(), BOF() and EOF()
// with SET DELETED off and on.
TEST_F(Tables, NaturalOrderMoves)
{
  vltest::expect_rows({
      {R"(DBCREATE("mv", {{"N","N",3,0}}))", ".T."},
      {R"(DBUSEAREA(.T., , "mv"))", ".T."},
      {"AEVAL({1,2,3,4,5}, {|i| DBAPPEND(), FIELDPUT(1, i), IIF(i % 2 == 0, DBDELETE(), NIL)})"},
      {"DBGOTOP()"},
  });
  struct Case {
    const char* move;
    const char* off;  // {RECNO, BOF, EOF} with SET DELETED OFF
    const char* on;   // and ON
  };
  const Case cases[] = {
      {"DBGOTOP()", "{1, .F., .F.}", "{1, .F., .F.}"},
      {"DBSKIP(1)", "{2, .F., .F.}", "{3, .F., .F.}"},
      {"DBSKIP(3)", "{5, .F., .F.}", "{6, .F., .T.}"},
      {"DBSKIP(9)", "{6, .F., .T.}", "{6, .F., .T.}"},
      {"DBSKIP(-1)", "{5, .F., .F.}", "{5, .F., .F.}"},
      {"DBSKIP(-9)", "{1, .T., .F.}", "{1, .T., .F.}"},
      {"DBGOBOTTOM()", "{5, .F., .F.}", "{5, .F., .F.}"},
      {"DBGOTO(4)", "{4, .F., .F.}", "{4, .F., .F.}"},
      {"DBGOTO(0)", "{6, .T., .T.}", "{6, .T., .T.}"},
      {"DBGOTO(77)", "{6, .T., .T.}", "{6, .T., .T.}"},
  };
  for (const bool deleted : {false, true}) {
    vltest::expect_rows({{deleted ? "SET(11, .T.)" : "SET(11, .F.)"}, {"DBGOTOP()"}});
    for (const Case& c : cases) {
      SCOPED_TRACE(std::string(c.move) + (deleted ? " deleted on" : " deleted off"));
      vltest::expect_rows({{c.move}, {"{RECNO(), BOF(), EOF()}", deleted ? c.on : c.off}});
    }
  }
  vltest::expect_rows({
      {"SET(11, .T.)"},
      {"DBEVAL({|| DBDELETE()})", ".T."},
      {"DBGOTOP()"}, {"{RECNO(), BOF(), EOF()}", "{6, .T., .T.}"},
      {"DBGOBOTTOM()"}, {"{RECNO(), BOF(), EOF()}", "{6, .T., .T.}"},
      {"SET(11, .F.)"},
      {"DBEVAL({|| DBRECALL()})"}, {"k := 0"}, {"DBEVAL({|| k++}, {|| !DELETED()})"}, {"k", "5"},
      {"DBGOTO(2)"}, {"k := 0"}, {"DBEVAL({|| k += FIELDGET(1)}, , , 3)"}, {"{k, RECNO()}", "{9, 4}"},
  });
}

// The count reaches the file at commit and close; the write counter in
// byte 31 moves by the records written, never resting on 0 or 1.
TEST_F(Tables, HeaderReachesTheFileAtCommitAndClose)
{
  vltest::expect_rows({
      {R"(DBCREATE("h", {{"N","N",3,0}}))", ".T."},
      {R"(DBUSEAREA(.T., , "h", , .F.))", ".T."}, {"ALIAS()", "H_"},
      {"DBAPPEND()"}, {"DBAPPEND()"},
  });
  EXPECT_EQ(le32(bytes("h.dbf"), 4), 0u);  // exclusive: not yet
  vltest::expect_rows({{"DBCOMMIT()"}});
  std::string b = bytes("h.dbf");
  EXPECT_EQ(le32(b, 4), 2u);
  EXPECT_EQ(uint8_t(b[31]), 3);
  vltest::expect_rows({{"DBCOMMIT()"}});
  EXPECT_EQ(bytes("h.dbf"), b);  // nothing pending: nothing written
  vltest::expect_rows({{"AEVAL(ARRAY(254), {|| DBAPPEND()})"}, {"DBCLOSEAREA()"}});
  b = bytes("h.dbf");
  EXPECT_EQ(le32(b, 4), 256u);
  EXPECT_EQ(uint8_t(b[31]), (3 + 254 + 2) & 0xFF);  // wrapped past 0 and 1
}

// Exclusive tables written with and without the write-behind buffer end
// up byte for byte the same (the date bytes aside, which are today's).
TEST_F(Tables, WriteBehindLeavesTheSameBytes)
{
  std::string files[2];
  for (int wb : {0, 1}) {
    vl::vlnDbfWriteBehind = wb;
    const std::string name = "w" + std::to_string(wb);
    const std::string create = "DBCREATE(\"" + name + "\", {{\"S\",\"C\",7,0}, {\"N\",\"N\",9,2}})";
    const std::string use = "DBUSEAREA(.T., , \"" + name + "\", , .F.)";
    vltest::expect_rows({
        {create.c_str(), ".T."}, {use.c_str(), ".T."},
        {"AEVAL(ARRAY(3000), {|x, i| DBAPPEND(), FIELDPUT(1, LTRIM(STR(i))), FIELDPUT(2, i / 7)})"},
        {"DBGOTO(17)"}, {"FIELDPUT(1, 'again')"}, {"DBGOTO(2999)"}, {"FIELDGET(1)", "2999   "},
        {"FIELDPUT(2, -1)"}, {"DBGOTO(1)"}, {"DBDELETE()"}, {"DBCLOSEAREA()"},
    });
    files[wb] = bytes((name + ".dbf").c_str());
  }
  vl::vlnDbfWriteBehind = 1;
  ASSERT_EQ(files[0].size(), 32u * 2 + 33 + 3000u * 17);
  EXPECT_EQ(files[0].substr(4), files[1].substr(4));
}

// One table open in two areas of this process: both see each other's
// appends; closing one leaves the other working.
TEST_F(Tables, TwoAreasOnOneFile)
{
  vltest::expect_rows({
      {R"(DBCREATE("two", {{"S","C",3,0}}))", ".T."},
      {R"(DBUSEAREA(.T., , "two", "A", .T.))", ".T."},
      {R"(DBUSEAREA(.T., , "two", "B", .T.))", ".T."},
      {R"(DBUSEAREA(.T., , "two", "C", .F.))", ".F."},
      {"NETERR()", ".T."},
      {"A->(DBAPPEND())", ".T."}, {"A->S := 'one'"}, {"A->(DBCOMMIT())"},
      {"B->(LASTREC())", "1"}, {"B->(DBGOTOP(), S)", "one"},
      {"B->(DBCLOSEAREA())"},
      {"A->(DBAPPEND())", ".T."}, {"A->(LASTREC())", "2"},
      {"A->(RLOCK())", ".T."}, {"A->(DBRLOCKLIST())", "{2}"},
  });
}

}  // namespace
