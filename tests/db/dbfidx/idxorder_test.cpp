// The orders of an area: INDEX ON with its condition, SET INDEX and its
// limit, the choice of the controlling order, REINDEX and its refusals, and
// what orderinfo tells about an order.
#include <string>

#include "dbftest.h"

namespace {

using vltest::expect_rows;

// Table t: N is a permutation of 1..20 over the records, S a text of 8.
constexpr const char* kSetup[] = {
    "DBCREATE('t', {{'N','N',5,0}, {'S','C',8,0}})",
    "DBUSEAREA(.T., , 't', , .F.)",
    "AEVAL(ARRAY(20), {|x, i| DBAPPEND(), FIELDPUT(1, (i * 7) % 20 + 1), FIELDPUT(2, 's' + LTRIM(STR(i)))})",
    "DBCOMMIT(), VL_SET('developer', .T.)",  // warnings (902) are reported
};
// The values of N in the controlling order.
constexpr char kWalk[] = "a := {}, DBEVAL({|| AADD(a, N)}), a";

class Orders : public dbftest::InDir {
 protected:
  void SetUp() override
  {
    InDir::SetUp();
    for (const char* e : kSetup) run(e);
  }
  static void reopen(bool shared) { run(std::string("DBCLOSEAREA(), DBUSEAREA(.T., , 't', , ") + (shared ? ".T.)" : ".F.)")); }
};

// What the condition selects, and the order the keys come back in.
TEST_F(Orders, ConditionLimitsTheBuild)
{
  struct Case {
    const char* cond;  // ORDCONDSET's arguments
    const char* keys;  // N in index order
  } const cases[] = {
      {"", "{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20}"},
      {", {|| RECNO() % 2 == 0}, , , , , 3, 10", "{3, 5, 9, 11, 17}"},   // FOR, start, next
      {"'RECNO() % 2 == 0', , , , , , 3, 10", "{3, 5, 9, 11, 17}"},      // FOR as text
      {", , , {|| RECNO() < 7}", "{2, 3, 8, 9, 15, 16}"},                // WHILE
      {", , , , , , , , 5", "{16}"},                                      // RECORD
      {", , , , , , 18, 4", "{1, 7, 14}"},                                // NEXT past the end
      {", , , , , , , , , , .T.", "{20, 19, 18, 17, 16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1}"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.cond);
    run(std::string("ORDCONDSET(") + c.cond + "), ORDCREATE('c', , 'N')", ".T.");
    run(kWalk, c.keys);
  }
  // EVAL every third record until it answers .F.: records 1 to 9.
  expect_rows({
      {"k := 0, ORDCONDSET(, , , , {|| (k := k + 1) < 3}, 3), ORDCREATE('c', , 'N'), {k, DBOBJECT():orderinfo(26)}", "{3, 9}"},
      // The condition was used up: the next build takes every record.
  });
  run("ORDCREATE('c', , 'N'), LEN(" + std::string(kWalk) + ")", "20");
}

TEST_F(Orders, SeventeenthIndexIsRefusedSilently)
{
  for (int i = 1; i <= 17; ++i) run("ORDCREATE('i" + std::to_string(i) + "', , 'S')", ".T.");
  run("ORDLISTCLEAR(), INDEXCOUNT()", "0");
  for (int i = 1; i <= 16; ++i) run("ORDLISTADD('i" + std::to_string(i) + "')", ".T.");
  reports().clear();
  expect_rows({{"ORDLISTADD('i17')", ".F."}, {"INDEXCOUNT()", "16"}});
  EXPECT_TRUE(reports().empty());
  expect_rows({{"ORDLISTADD('nosuch')", ".F."}, {"NETERR()", ".T."}});
}

TEST_F(Orders, FocusByNumberAndName)
{
  expect_rows({
      {"ORDCREATE('bys', , 'S'), ORDCREATE('byn', 'NUM', 'N'), ORDLISTADD('bys'), {INDEXCOUNT(), INDEXORD()}", "{2, 1}"},
      {"ORDSETFOCUS(0)", "N"},
      {"{INDEXORD(), N}", "{0, 1}"},            // still on the first key's record
      {"ORDSETFOCUS('BYS')", ""},               // none was active: nothing to tell
      {"{INDEXORD(), INDEXKEY(), INDEXKEY(1)}", "{2, S, N}"},
      {"ORDSETFOCUS('num')", "S"},              // the order name serves too
      {"INDEXORD()", "1"},
      {"ORDSETFOCUS('./Bys.idx'), INDEXORD()", "2"},
      {"ORDSETFOCUS(-1)", "#902"},
      {"ORDSETFOCUS('nosuch')", "#902"},
      {"INDEXORD()", "2"},
      {"ORDLISTCLEAR(), {INDEXCOUNT(), INDEXORD(), ORDSETFOCUS(1)}", "{0, 0, }"},
  });
  run("ORDLISTADD('byn'), ORDLISTADD('bys'), ORDSETFOCUS(3)", "#902");
  EXPECT_TRUE(reported(902, "illegal order 3 in area T, only 2 indices"));
}

TEST_F(Orders, ReindexNeedsExclusiveUseAndMatchingKeys)
{
  run("ORDCREATE('ix', , 'S'), DBSKIP(3), DBREINDEX()", ".T.");
  expect_rows({{kWalk, "{8, 11, 18, 5, 12, 19, 6, 13, 20, 7, 14, 15, 1, 2, 9, 16, 3, 10, 17, 4}"},
               {"ORDLISTCLEAR(), DBREINDEX()", "#415"}});
  EXPECT_TRUE(reported(415, "no active indexes in area T "));
  reopen(true);
  expect_rows({{"ORDLISTADD('ix'), DBREINDEX()", "#322"}});
  EXPECT_TRUE(reported(322, "EXCLUSIVE required"));
  // A table whose S is wider than the one the index was made on.
  expect_rows({
      {"DBCLOSEAREA(), DBCREATE('u', {{'S','C',10,0}}), DBUSEAREA(.T., , 'u', , .F.), DBAPPEND()"},
      {"ORDLISTADD('ix')", "#902"},  // made for another table
      {"DBREINDEX()", "#331"},
  });
  EXPECT_TRUE(reported(331, "The key type or size (C 11/0) doesn't;match stored index key data (C 9/0)"));
}

TEST_F(Orders, InformationCodes)
{
  run("ORDCONDSET('N > 5'), ORDCREATE('inf', 'TAG', 'N', , .T.)", ".T.");
  struct Case {
    int code;
    const char* want;
  } const cases[] = {
      {1, "N > 5"}, {2, "N"}, {5, "inf"}, {6, "1"}, {21, "TAG"}, {22, ".F."}, {23, ".T."},
      {24, "N"}, {25, "8"}, {26, "15"}, {28, "0"}, {43, ".T."}, {44, "1"}, {5001, "t.dbf"},
      {5002, "0"}, {5012, "3"}, {29, "#902"}, {35, "#902"},
  };
  for (const Case& c : cases) {
    const std::string n = std::to_string(c.code);
    SCOPED_TRACE(n);
    run("DBOBJECT():orderinfo(" + n + ")", c.want);
    run("DBOBJECT():orderinfo(" + n + ", 'tag')", c.want);
  }
  expect_rows({
      {"DBOBJECT():orderinfo(8, , 'note'), DBOBJECT():orderinfo(8)", "note"},
      {"x := INDEXINFO(), {LEN(x), x[2], x[3], x[12]}", "{16, TAG, N, 0}"},
      {"x[13] == x[16] .AND. x[15] == '81/1/' + LTRIM(STR(x[13]))", ".T."},
      {"ORDDESTROY()", "#343"},
      // Out of range without an active order: the defaults.
      {"ORDSETFOCUS(0), o := DBOBJECT(), {o:orderinfo(2, 5), o:orderinfo(6, 'nosuch'), o:orderinfo(43, 2)}",
       "{, -1, .F.}"},
  });
}

TEST_F(Orders, IndexOnASharedTableNeedsAFileLock)
{
  reopen(true);
  expect_rows({
      {"o := DBOBJECT(), o:concurrenc := 0, ORDCREATE('sh', , 'N')", "#325"},
      {"FILE('sh.idx')", ".F."},
      {"o:concurrenc := 1, SET(39, .F.), ORDCREATE('sh', , 'N')", "#325"},
  });
  EXPECT_TRUE(reported(325, "FILE LOCK required"));
  expect_rows({
      {"ORDCREATE('sh', , 'N', , , .T.)", ".T."},   // no automatic lock asked for
      {"ORDLISTCLEAR(), SET(39, 10), ORDCREATE('sh', , 'N'), ISDBFLOCK()", ".F."},  // taken and given back
      {"INDEXCOUNT()", "1"},
      {"ORDCREATE('sh', , 'N', , , , .T.)", "#902"},  // KEEPINDEX without a FOR clause
  });
}

// A BREAK out of the EVAL block: the automatic lock is given back, the key
// block passed in makes way for the key text's again, the condition is gone.
TEST_F(Orders, BreakOutOfABuildPutsEverythingBack)
{
  reopen(true);
  var* e = vl_call(dbftest::guarded, {set_cv("ORDCONDSET(, , , , {|| BREAK(7)}), ORDCREATE('br', , 'N', {|| -N})")});
  EXPECT_EQ(vltest::shown(e), "7");
  run("{ISDBFLOCK(), INDEXCOUNT(), DBGOTO(3), EVAL(DBOBJECT():orderinfo(27))}", "{.F., 1, .T., 2}");
  run("FLOCK(), ORDCREATE('br', , 'N'), LEN(" + std::string(kWalk) + ")", "20");
}

}  // namespace
