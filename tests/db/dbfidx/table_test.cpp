// table_test.cpp -- the DBF driver's tables: the bytes a CREATE writes, the
// refusals of bad structures, the moves through a table in natural order
// against positions computed from the rows, when the header reaches the
// file, and one table open in two areas.
#include <string>

#include "dbftest.h"

namespace {

using Tables = dbftest::InDir;

TEST_F(Tables, CreateWritesTheHeaderItDescribes)
{
  vltest::expect_rows({
      {R"(DBCREATE("t", {{"name","c",300,0}, {"AMOUNT","N",12,2}, {"BORN","D",3,0}, {"OK","L",5,0},
                         {"NOTES","M",1,0}, {"ELEVENCHARS","C",2,0}}))", ".T."},
  });
  const std::string b = dir_.read("t.dbf");
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
  vltest::expect_rows({
      {R"(DBUSEAREA(.T., , "t"))", ".T."},
      {"DBSTRUCT()", "{{NAME, C, 300, 0}, {AMOUNT, N, 12, 2}, {BORN, D, 8, 0}, {OK, L, 1, 0}, "
                     "{NOTES, M, 10, 0}, {ELEVENCHARS, C, 2, 0}}"},
      {"{RECNO(), BOF(), EOF(), LASTREC()}", "{1, .T., .T., 0}"},
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
      {R"(DBCREATE("mv", {{"N","N",3,0}}), DBUSEAREA(.T., , "mv"))", ".T."},
      {"AEVAL({1,2,3,4,5}, {|i| DBAPPEND(), FIELDPUT(1, i), IIF(i % 2 == 0, DBDELETE(), NIL)})"},
  });
  const char* const cases[][3] = {  // the move; {RECNO, BOF, EOF} with SET DELETED OFF; and ON
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
    run(deleted ? "SET(11, .T.)" : "SET(11, .F.)");
    for (const auto& c : cases) run(std::string(c[0]) + ", {RECNO(), BOF(), EOF()}", c[deleted ? 2 : 1]);
  }
  vltest::expect_rows({
      {"SET(11, .T.), DBEVAL({|| DBDELETE()}), DBGOTOP(), {RECNO(), BOF(), EOF()}", "{6, .T., .T.}"},
      {"DBGOBOTTOM(), {RECNO(), BOF(), EOF()}", "{6, .T., .T.}"},
      {"SET(11, .F.), DBEVAL({|| DBRECALL()}), k := 0, DBEVAL({|| k++}, {|| !DELETED()}), k", "5"},
      {"DBGOTO(2), k := 0, DBEVAL({|| k += FIELDGET(1)}, , , 3), {k, RECNO()}", "{9, 4}"},
  });
}

// The count reaches the file at commit and close; the write counter in
// byte 31 moves by the records written, never resting on 0 or 1.
TEST_F(Tables, HeaderReachesTheFileAtCommitAndClose)
{
  run(R"(DBCREATE("h", {{"N","N",3,0}}), DBUSEAREA(.T., , "h", , .F.), DBAPPEND(), DBAPPEND(), ALIAS())", "H_");
  EXPECT_EQ(le32(dir_.read("h.dbf"), 4), 0u);  // exclusive: not yet
  run("DBCOMMIT()");
  std::string b = dir_.read("h.dbf");
  EXPECT_EQ(le32(b, 4), 2u);
  EXPECT_EQ(uint8_t(b[31]), 3);
  run("DBCOMMIT()");
  EXPECT_EQ(dir_.read("h.dbf"), b);  // nothing pending: nothing written
  run("AEVAL(ARRAY(254), {|| DBAPPEND()}), DBCLOSEAREA()");
  b = dir_.read("h.dbf");
  EXPECT_EQ(le32(b, 4), 256u);
  EXPECT_EQ(uint8_t(b[31]), (3 + 254 + 2) & 0xFF);  // wrapped past 0 and 1
}

// One table open in two areas of this process: both see each other's
// appends; closing one leaves the other working.
TEST_F(Tables, TwoAreasOnOneFile)
{
  vltest::expect_rows({
      {R"(DBCREATE("two", {{"S","C",3,0}}), {DBUSEAREA(.T., , "two", "A", .T.), DBUSEAREA(.T., , "two", "B", .T.)})", "{.T., .T.}"},
      {R"({DBUSEAREA(.T., , "two", "C", .F.), NETERR()})", "{.F., .T.}"},
      {"A->(DBAPPEND()), A->S := 'one', A->(DBCOMMIT()), {B->(LASTREC()), B->(DBGOTOP(), S)}", "{1, one}"},
      {"B->(DBCLOSEAREA()), {A->(DBAPPEND()), A->(LASTREC()), A->(RLOCK()), A->(DBRLOCKLIST())}", "{.T., 2, .T., {2}}"},
  });
}

}  // namespace
