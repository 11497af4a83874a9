// APPEND FROM and COPY TO between tables, COPY STRUCTURE [EXTENDED] and
// CREATE FROM: results against the rows, descriptor bytes, bad input.
#include "tabletest.h"

namespace {

using namespace tabletest;

class Copy : public Tables {};

TEST_F(Copy, CopyToInEveryScopeKeepsTheOrderAndTheArea)
{
  make_source();
  for (const Scope& s : scopes()) {
    SCOPED_TRACE(s.args);
    run("DBGOTO(" + std::to_string(s.start) + ")");
    run(std::string("__DBCOPY('out', NIL, ") + s.args + ")", ".T.");
    run("SELECT()", "1");
    EXPECT_EQ(table_rows("out", kKeyExpr), texts(in_scope(rows(), s)));
  }
  // Whole records go across, but not the delete flag.
  run("DBGOTO(2), DBDELETE(), __DBCOPY('del')", ".T.");
  EXPECT_EQ(table_rows("del", "IIF(DELETED(), '*', ' ') + " + std::string(kKeyExpr)), [&] {
    std::vector<std::string> all;
    for (const std::string& t : texts(rows())) all.push_back(" " + t);
    return all;
  }());
  run("DBGOTO(2), DBRECALL()");
  // A field list: the bare names, in the list's order.
  run("__DBCOPY('few', {'b->id', 'Name'})", ".T.");
  EXPECT_EQ(table_rows("few", "FIELDNAME(1) + FIELDNAME(2) + STR(FCOUNT(), 1)"), std::vector<std::string>(30, "IDNAME2"));
}

TEST_F(Copy, AppendFromPairsByNameAndConverts)
{
  make_source(true);
  // NAME shorter, CITY absent, N as text (no conversion: empty), D as text
  // (DTOS), L as a number, ID as a logical.
  run("DBCREATE('tgt', {{'NAME','C',3,0},{'N','C',5,0},{'D','C',8,0},{'L','N',2,0},{'ID','L',1,0}})");
  run("DBUSEAREA(.T., , 'tgt', 'TGT', .F.)");
  run("__DBAPP('src', NIL, {|| ID > 26})", ".T.");
  run("SELECT() == SELECT('TGT')", ".T.");
  run("DBCLOSEAREA(), DBSELECTAREA('SRC')");
  std::vector<std::string> want;
  for (const Rec& r : rows())
    if (r.recno > 26)
      want.push_back(r.name.substr(0, 3) + "|     |" + (r.day ? "202001" + two(r.day) : "        ") + "|" +
                     (r.l ? "1" : "0") + "|.T.");
  EXPECT_EQ(table_rows("tgt", "NAME + '|' + N + '|' + D + '|' + LTRIM(STR(L)) + '|' + IIF(ID, '.T.', '.F.')"), want);
  // Nothing shared: the warning, nothing added.
  run("DBCREATE('none', {{'OTHER','C',3,0}}), DBUSEAREA(.T., , 'none', , .F.)");
  vltest::expect_rows({{"VL_SET('developer', .T.)"},
                       {"__DBAPP('src')", "#902 .F."},
                       {"LASTREC()", "0"}});
}

TEST_F(Copy, StructureExtendedThenCreateFromGivesTheSameDescriptors)
{
  run("DBCREATE('wide', {{'NAME','C',300,0},{'AMOUNT','N',12,3},{'BORN','D',8,0},{'OK','L',1,0},{'NOTE','M',10,0}})");
  run("DBUSEAREA(.T., , 'wide', , .F.)");
  run("__DBCOPYXS('ext')", ".T.");
  run("__DBCREATE('copy', 'ext', NIL, .T., 'CP')", ".T.");
  run("ALIAS()", "CP");
  run("DBUSEAREA(.T., , 'ext', , .F.), FIELDLEN(1)", "11");
  const std::string a = dir_.read("wide.dbf"), b = dir_.read("copy.dbf");
  EXPECT_EQ(b.substr(32, 5 * 32), a.substr(32, 5 * 32));
  // COPY STRUCTURE with a list: only those fields, and nothing else.
  run("DBSELECTAREA('WIDE'), __DBCOPYST('two', {'born', 'x->NAME'})", ".T.");
  run("DBUSEAREA(.T., , 'two', , .F.), FIELDNAME(1) + FIELDNAME(2) + STR(FCOUNT(), 1) + STR(LASTREC(), 1)", "BORNNAME20");
}

TEST_F(Copy, BadInputLeavesTheTargetAlone)
{
  make_source();
  dir_.write("bad.dbf", std::string(600, 'x'));
  // A structure-extended table with a bad type and one with a bad length.
  for (const char* row : {"'Q', 5, 0", "'N', 40, 0"}) {
    run("DBCREATE('ext', {{'FIELD_NAME','C',11,0},{'FIELD_TYPE','C',1,0},{'FIELD_LEN','N',3,0},{'FIELD_DEC','N',4,0}})");
    run(std::string("DBUSEAREA(.T., , 'ext', , .F.), DBAPPEND(), FIELDPUT(1, 'F'), FIELDPUT(2, ") + row +
        "), DBCLOSEAREA(), DBSELECTAREA('SRC')");
    run("__DBCREATE('made', 'ext')", row[1] == 'Q' ? "#317 .F." : "#320 .F.");
    run("FILE('made.dbf')", ".F.");
    run("SELECT()", "1");
  }
  vltest::expect_rows({
      {"__DBAPP('missing')", "#101 .F."},
      {"__DBAPP('bad')", "#326 .F."},
      {"LASTREC()", "30"},
      {"__DBCREATE('made', 'missing')", "#101 .F."},
      {"FILE('made.dbf')", ".F."},
      {"__DBCOPY(7)", "#312 .F."},
      {"SELECT()", "1"},
  });
  // A BREAK out of the condition: the target is closed, the area selected.
  var* e = vl_call(dbftest::guarded, {set_cv("__DBCOPY('out', NIL, {|| IIF(ID > 5, BREAK('x'), .T.)})")});
  EXPECT_EQ(vltest::shown(e), "x");
  run("SELECT()", "1");
  run("DBUSEAREA(.T., , 'out', , .F.), NETERR()", ".F.");
  run("LASTREC()", "5");
}

}  // namespace
