// Field access and the memo file of the DBF driver: every field type
// written through FIELDPUT, checked byte for byte in the file and read back
// after a reopen; memo blocks as a text grows and shrinks; the refusals of
// an assignment; FIELDGETARR/FIELDPUTARR; REPLACE with arrays.
#include <cstdio>
#include <cstring>
#include <string>

#include "dbftest.h"

namespace {

using Fields = dbftest::InDir;

// One record per case: the value FIELDPUT gets (and the report it gives),
// the bytes it leaves in the file, and what check shows after a reopen, x
// standing for FIELDGET of the field.
struct TypeCase {
  int field;
  const char *value, *bytes, *want, *check = "x";
  int report = 0;
};

TEST_F(Fields, EveryTypeIsWrittenAndReadBack)
{
  const size_t offset[] = {0, 1, 11, 16, 24, 34, 42, 43};
  const std::string x299 = std::string(299, 'x') + "y";
  const TypeCase cases[] = {
      {1, "'abc'", "abc       ", "abc       "},
      {1, "'abcdefghijKLM'", "abcdefghij", "abcdefghij"},
      {1, "5", "          ", "          ", "x", 201},
      {2, "12.34", "12.34", "12.34"},
      {2, ".T.", " 1.00", "1.00"},
      {2, "123.45", "     ", "0.00", "x", 205},
      {2, "0.125", " 0.12", "0.12"},  // a tie: half to even
      {2, "2.675", " 2.67", "2.67"},  // just below the half in binary
      {2, "-0.001", "-0.00", ".T.", "x == 0"},
      {3, "42", "      42", "42"},
      {4, "12.5", "      12.5", ".T.", "x == 12.5"},
      {4, "12345678901", "1.2346e+10", ".T.", "x == 12346000000"},
      {4, "-0.000123456789", "-0.0001235", ".T.", "x == -0.0001235"},
      {5, "STOD('20240229')", "20240229", "20240229", "DTOS(x)"},
      {5, "STOD('')", "        ", "        ", "DTOS(x)"},
      {5, "'20240229'", "        ", "        ", "DTOS(x)", 201},
      {6, ".T.", "T", ".T."},
      {6, "0", "F", ".F."},
      {7, "REPLICATE('x', 299) + 'yz'", x299.c_str(), "xy", "RIGHT(x, 2)"},
  };
  run("DBCREATE('t', {{'C','C',10,0}, {'N','N',5,2}, {'I','N',8,0}, {'F','F',10,0}, "
      "{'D','D',8,0}, {'L','L',1,0}, {'W','C',300,0}})");
  run("DBUSEAREA(.T., , 't', , .F.)", ".T.");
  run("{FIELDLEN(7), FIELDDECI(7), FIELDTYPE(7), FIELDNAME(7), FIELD(2)}", "{44, 1, C, W, N}");
  for (const TypeCase& c : cases) {
    run("DBAPPEND()");
    run("VALTYPE(FIELDPUT(" + std::to_string(c.field) + ", " + c.value + "))",
        c.report ? ("#" + std::to_string(c.report) + " L").c_str() : nullptr);
  }
  run("DBCLOSEAREA()");
  run("DBUSEAREA(.T., , 't', , .F.)", ".T.");
  for (int k = 0; k < int(std::size(cases)); ++k) {
    const TypeCase& c = cases[k];
    SCOPED_TRACE(std::string("case ") + c.value);
    EXPECT_EQ(field("t.dbf", k + 1, offset[c.field], std::strlen(c.bytes)), c.bytes);
    run("DBGOTO(" + std::to_string(k + 1) + "), x := FIELDGET(" + std::to_string(c.field) + "), " + c.check, c.want);
  }
}

// The memo of record 1 through a run of texts: the block each lands in, the
// next-free word after it, and the memo's bytes: the text and 0x1A up to the
// end of its last block.
TEST_F(Fields, MemoBlocksAreReusedOrGrown)
{
  struct Step { int len, block; uint32_t next; };
  const Step steps[] = {
      {3, 1, 2},     {511, 1, 2},  // fits one block with its 0x1A
      {512, 2, 4},   {1023, 2, 4}, // needs two
      {1024, 4, 7},  {0, 4, 7},    // an empty text keeps the block
      {513, 7, 9},                 // the empty memo's capacity was one block
  };
  const auto pointer = [](uint32_t block) { char num[16]; return std::string(num, std::snprintf(num, sizeof num, "%10u", block)); };
  run("DBCREATE('memo', {{'M','M',10,0}, {'C','C',1,0}})");
  EXPECT_EQ(dir_.read("memo.dbt"), std::string("\x01\0\0\0", 4) + std::string(508, '\0'));
  run("DBUSEAREA(.T., , 'memo', , .F.)");
  run("DBAPPEND(), DBAPPEND(), FIELDPUT(1, ''), FIELDPUT(2, 'x'), DBCOMMIT()");
  EXPECT_EQ(field("memo.dbf", 2, 1, 10), std::string(10, ' '));  // no block taken
  run("DBGOTO(1)");
  for (const Step& st : steps) {
    SCOPED_TRACE(st.len);
    const char fill = char('A' + st.len % 26);
    run("FIELDPUT(1, REPLICATE('" + std::string(1, fill) + "', " + std::to_string(st.len) + ")), DBCOMMIT()");
    EXPECT_EQ(field("memo.dbf", 1, 1, 10), pointer(st.block));
    const std::string dbt = dir_.read("memo.dbt");
    EXPECT_EQ(le32(dbt, 0), st.next);
    const size_t end = (size_t(st.len) / vl::DBT_BLOCK + 1) * vl::DBT_BLOCK;
    EXPECT_EQ(dbt.substr(size_t(st.block) * vl::DBT_BLOCK, end),
              std::string(size_t(st.len), fill) + std::string(end - size_t(st.len), '\x1A'));
  }
  // Read back from the file: memos of 0, 1, 511, 512 and 513 bytes, and one
  // that the end of the file cuts short.
  for (int len : {0, 1, 511, 512, 513})
    run("DBAPPEND(), FIELDPUT(1, REPLICATE('q', " + std::to_string(len) + "))");
  run("DBCLOSEAREA()");
  const uint32_t next = le32(dir_.read("memo.dbt"), 0);
  ASSERT_EQ(truncate("memo.dbt", off_t(next - 2) * vl::DBT_BLOCK + 511), 0);  // the last memo is cut
  run("DBUSEAREA(.T., , 'memo', , .F.)");
  vltest::expect_rows({
      {"a := {}, DBEVAL({|| AADD(a, LEN(FIELDGET(1)))}), a", "{513, 0, 0, 1, 511, 512, 511}"},
      {"DBGOTO(6), FIELDGET(1) == REPLICATE('q', 512)", ".T."},
      // shared: the blocks are taken under the allocation lock
      {"DBCLOSEAREA(), DBUSEAREA(.T., , 'memo', , .T.), DBOBJECT():rlock()", ".T."},
      {"FIELDPUT(1, REPLICATE('s', 2000)), DBCOMMIT()"},
  });
  EXPECT_EQ(field("memo.dbf", 1, 1, 10), pointer(next));
  EXPECT_EQ(le32(dir_.read("memo.dbt"), 0), next + 4);
}

// Assignments that are refused: the report and the record left as it was.
TEST_F(Fields, RefusedAssignments)
{
  run("DBCREATE('r', {{'C','C',5,0}}), DBUSEAREA(.T., , 'r', , .F.), FIELDPUT(1, 'x')", "#334 .F.");
  EXPECT_TRUE(reported(334, "empty database"));
  run("DBAPPEND(), FIELDPUT(1, 'abc'), DBGOTO(2), FIELDPUT(1, 'x')", "#334 .F.");
  EXPECT_TRUE(reported(334, "on EOF"));
  vltest::expect_rows({
      {"DBCLOSEAREA(), DBUSEAREA(.T., , 'r', , .F., .T.), FIELDPUT(1, 'x')", "#104 .F."},
      {"DBCLOSEAREA(), DBUSEAREA(.T., , 'r', , .T.), DBOBJECT():concurrenc := 0, FIELDPUT(1, 'x')", "#325 .F."},
  });
  EXPECT_TRUE(reported(325, "without lock;record 1;area R"));
  vltest::expect_rows({
      {"FIELDGET(1)", "abc  "},
      {"DBOBJECT():rlock(), FIELDPUT(1, 'y')", "y    "},
  });
  // A closed table refuses in the driver's own words.
  const int32_t mark = tmpvar_cnt;
  var* held = mk_var_cp(vlnSelectedArea->obj);
  run("DBCLOSEAREA()");
  EXPECT_EQ(vl::vln_chk_repl(vl::dbf_state(held), held), -1);
  EXPECT_EQ(last_code(), 322);
  del_tmpvars(mark);
}

TEST_F(Fields, ArraysOfFieldsAndReplace)
{
  vltest::expect_rows({
      {"DBCREATE('arr', {{'C','C',3,0}, {'N','N',3,0}, {'L','L',1,0}}), DBUSEAREA(.T., , 'arr', , .F.), "
       "DBAPPEND(), DBAPPEND(), DBAPPEND(), FIELDPUTARR({'one', NIL, .F.}, 2)", ".T."},
      {"{RECNO(), FIELDGETARR(2)}", "{3, {one, 0, .F.}}"},
      // stops at the refused element: the third is not assigned
      {"FIELDPUTARR({'two', 'bad', .T.})", "#201 .F."},
      {"FIELDGETARR()", "{two, 0, .F.}"},
      {"o := DBOBJECT(), o:replace({'z', 7}, {'C', 2}), FIELDGETARR(1)", "{z  , 7, .F.}"},
      {"o:replace({|| RECNO() * 10}, 'n'), DBGOBOTTOM(), FIELDGET(2)", "30"},
      {"o:replace({{|| RECNO() > 1}}, {3}), FIELDGETARR(1)[3]", ".F."},
      {"o:replace('q', {1, 'C'}), DBGOTO(2), FIELDGETARR()", "{q  , 20, .T.}"},
      {"o:replace('q', {{}})", "#312 {}"}, {"o:replace('q', .T.)", "#312 {}"},
      {"o:NOSUCH", "#306 NIL"}, {"o:C", "q  "},
  });
}

}  // namespace
