// Commands: each source and the call it lowers to, compared as compiled
// trees; and commands that do not parse.
#include <memory>
#include <string>

#include "exprtree.hpp"
#include "parse.hpp"
#include "vltest.h"

using namespace vl::prog;
using vl::expr::Node;
using vl::expr::Program;

namespace {

// A tree as text, so that two trees compare and a difference shows.
std::string dump(const Program& p, int32_t i)
{
  if (i < 0) return "_";
  const Node& n = p.nodes[static_cast<size_t>(i)];
  std::string out = std::to_string(static_cast<int>(n.op)) + ":" + n.name + n.name2;
  if (n.op == vl::expr::Op::Literal && n.lit) {
    out += "#" + std::string(1, n.lit->Type);
    if (n.lit->Type == 'C') out += VSTR(n.lit);
  }
  if (n.op == vl::expr::Op::Assign) out += std::to_string(static_cast<int>(n.bin));
  out += "(" + dump(p, n.a) + "," + dump(p, n.b);
  for (int32_t k : n.kids) out += "," + dump(p, k);
  return out + ")";
}

class ParseCmds : public vltest::VlTest {
 protected:
  // The statement the single-line source gives, as a tree dump, or the
  // diagnostic.
  static std::string lowered(const std::string& source)
  {
    Unit u;
    Diagnostic d;
    if (!parse_unit("t.prg", 0, source, u, d))
      return "error " + std::to_string(d.col) + " " + d.message;
    const Block& body = u.funcs.at(0).body;
    if (body.size() != 1 || body[0].kind != Kind::Eval) return "not one Eval";
    return dump(*body[0].expr.tree, body[0].expr.tree->root);
  }
  static std::string compiled(const std::string& call)
  {
    const auto c = vl::expr::compile_prefix(call, 0, vl::expr::PrefixMode{true, true});
    std::unique_ptr<Program> owned(c.program);
    if (!c.program || c.end != call.size()) return "bad expectation: " + call + " " + c.message;
    return dump(*c.program, c.program->root);
  }
};

struct Case {
  const char* source;
  const char* call;
};

TEST_F(ParseCmds, CommandsLowerToLibraryCalls)
{
  const Case cases[] = {
      {"USE cust", "DBUSEAREA(.F., NIL, \"cust\", NIL, NIL, .F.)"},
      {"USE data/cust.dbf ALIAS c NEW SHARED READONLY INDEX a, &ix",
       "DBUSEAREA(.T., NIL, \"data/cust.dbf\", \"c\", .T., .T.), DBSETINDEX(\"a\"), DBSETINDEX(ix)"},
      {"use (f) excl alias &a", "DBUSEAREA(.F., NIL, (f), a, .F., .F.)"},
      {"USE &f..dbf", "DBUSEAREA(.F., NIL, f + \".dbf\", NIL, NIL, .F.)"},
      {"USE", "DBCLOSEAREA()"},
      {"SELECT 2", "DBSELECTAREA(2)"},
      {"SELECT cust", "DBSELECTAREA(\"cust\")"},
      {"CLOSE ALL", "DBCLOSEALL()"},
      {"CLOSE INDEXES", "DBCLEARINDEX()"},
      {"CLOSE cust", "cust->(DBCLOSEAREA())"},
      {"GO TOP", "DBGOTOP()"},
      {"GOTO n + 1", "DBGOTO(n + 1)"},
      {"go bott", "DBGOBOTTOM()"},
      {"SKIP", "DBSKIP(1)"},
      {"SKIP -2", "DBSKIP(-2)"},
      {"SKIP 3 ALIAS cust", "(\"cust\")->(DBSKIP(3))"},
      {"SEEK 'ab' + x", "DBSEEK('ab' + x)"},
      {"FIND Smith", "DBSEEK(\"Smith\")"},
      {"LOCATE FOR age > 30 WHILE !EOF()", "__DBLOCATE({|| age > 30}, {|| !EOF()}, NIL, NIL, NIL)"},
      {"CONTINUE", "__DBCONTIN()"},
      {"APPEND BLANK", "DBAPPEND()"},
      {"APPEND FROM old FIELDS a, b FOR x", "__DBAPP(\"old\", {\"a\", \"b\"}, {|| x}, NIL, NIL, NIL, NIL, NIL)"},
      {"APPEND FROM t.csv DELIMITED WITH ';'", "__DBAPPDEL(\"t.csv\", ';', NIL, NIL, NIL, NIL, NIL)"},
      {"REPLACE name WITH 'x', c->amt WITH amt + 1",
       "FIELD->name := 'x', c->amt := amt + 1"},
      {"REPLACE ALL amt WITH 0 FOR amt < 0", "DBEVAL({|| FIELD->amt := 0}, {|| amt < 0}, NIL, NIL, NIL, NIL)"},
      {"repl n with 1 next 10", "DBEVAL({|| FIELD->n := 1}, NIL, NIL, 10, NIL, NIL)"},
      {"DELETE", "DBDELETE()"},
      {"DELETE REST WHILE x", "DBEVAL({|| DBDELETE()}, NIL, {|| x}, NIL, NIL, .T.)"},
      {"RECALL ALL", "DBEVAL({|| DBRECALL()}, NIL, NIL, NIL, NIL, NIL)"},
      {"PACK", "__DBPACK()"},
      {"ZAP", "__DBZAP()"},
      {"COMMIT", "DBCOMMITALL()"},
      {"UNLOCK ALL", "DBUNLOCKALL()"},
      {"INDEX ON name TO byname", "DBCREATEINDEX(\"byname\", \"name\", {|| name}, NIL)"},
      {"INDEX ON UPPER(n) TO (f) FOR amt > 0 UNIQUE DESC",
       "ORDCONDSET(\"amt > 0\", {|| amt > 0}, NIL, NIL, NIL, NIL, NIL, NIL, NIL, NIL, .T.), "
       "DBCREATEINDEX((f), \"UPPER(n)\", {|| UPPER(n)}, .T.)"},
      {"SET INDEX TO a, b", "DBCLEARINDEX(), DBSETINDEX(\"a\"), DBSETINDEX(\"b\")"},
      {"SET INDEX TO", "DBCLEARINDEX()"},
      {"SET ORDER TO 2", "DBSETORDER(2)"},
      {"REINDEX", "DBREINDEX()"},
      {"SET FILTER TO amt > 0", "DBSETFILTER({|| amt > 0}, \"amt > 0\")"},
      {"SET FILTER TO", "DBCLEARFILTER()"},
      {"SET RELATION TO id INTO orders", "DBCLEARRELATION(), DBSETRELATION(\"orders\", {|| id}, \"id\")"},
      {"SET DELETED ON", "SET(11, .T.)"},
      {"set exac off", "SET(1, .F.)"},
      {"SET SOFTSEEK (lOn)", "SET(9, (lOn))"},
      {"SET CENTURY ON", "__SETCENTURY(.T.)"},
      {"SET DATE BRITISH", "IIF(__SETCENTURY(), (SET(4, \"dd/mm/yy\"), __SETCENTURY(.T.)), SET(4, \"dd/mm/yy\"))"},
      {"SET DECIMALS TO 4", "SET(3, 4)"},
      {"SET EPOCH TO 1950", "SET(5, 1950)"},
      {"SET PATH TO /data;/more", "SET(6, \"/data;/more\")"},
      {"SET DEFAULT TO", "SET(7, \"\")"},
      {"CREATE new FROM struct", "__DBCREATE(\"new\", \"struct\", NIL, .F., NIL)"},
      {"COPY TO out FIELDS a FOR x", "__DBCOPY(\"out\", {\"a\"}, {|| x}, NIL, NIL, NIL, NIL, NIL)"},
      {"COPY TO out DELIMITED", "__DBCOPYDE(\"out\", NIL, NIL, NIL, NIL, NIL, NIL, NIL)"},
      {"COPY TO out SDF", "__DBCOPYSD(\"out\", NIL, NIL, NIL, NIL, NIL, NIL)"},
      {"COPY STRUCTURE TO s FIELDS a", "__DBCOPYST(\"s\", {\"a\"})"},
      {"COPY STRUCTURE EXTENDED TO s", "__DBCOPYXS(\"s\")"},
      {"SORT TO s ON city/D, name", "__DBSORT(\"s\", {\"city/D\", \"name\"}, NIL, NIL, NIL, NIL, NIL, NIL)"},
      {"TOTAL ON city TO t FIELDS amt", "__DBTOTAL(\"t\", {|| city}, {\"amt\"}, NIL, NIL, NIL, NIL, NIL)"},
      {"UPDATE FROM tx ON id REPLACE amt WITH amt + tx->amt",
       "__DBUPDATE(\"tx\", {|| id}, .F., {|| FIELD->amt := amt + tx->amt})"},
      {"JOIN WITH b TO j FOR id = b->id", "__DBJOIN(\"b\", \"j\", NIL, {|| id = b->id})"},
      {"LIST", "__DBLIST(.F., NIL, .T., NIL, NIL, NIL, NIL, NIL, NIL, NIL)"},
      {"LIST name, amt * 2 FOR amt > 1 TO FILE out",
       "__DBLIST(.F., {{|| name}, {|| amt * 2}}, .T., {|| amt > 1}, NIL, NIL, NIL, NIL, NIL, \"out\")"},
      {"DISPLAY OFF name", "__DBLIST(.T., {{|| name}}, .F., NIL, NIL, NIL, NIL, NIL, NIL, NIL)"},
      {"COUNT TO n FOR x", "n := __DBCOUNT({|| x}, NIL, NIL, NIL, NIL)"},
      {"SUM amt TO s", "s := __DBSUM({|| amt}, NIL, NIL, NIL, NIL, NIL)"},
      {"COUNT REST FOR x TO n", "n := __DBCOUNT({|| x}, NIL, NIL, NIL, .T.)"},
      {"SUM amt NEXT 5 TO s", "s := __DBSUM({|| amt}, NIL, NIL, 5, NIL, NIL)"},
      {"AVERAGE a, b TO x, y FOR c",
       "x := __DBAVERAG({{|| a}, {|| b}}, {|| c}, NIL, NIL, NIL, NIL), y := x[2], x := x[1]"},
      {"STORE 0 TO a, b", "a := b := (0)"},
      {"RELEASE a, b", "__MRELEASE(\"a\", \"b\")"},
      {"RELEASE ALL", "__MRELALL(\"*\", .T.)"},
      {"RELEASE ALL EXCEPT c*", "__MRELALL(\"c*\", .F.)"},
      // a command word before "(" is a call; before ":=" a variable
      {"select(1)", "SELECT(1)"},
      {"count := 1", "count := 1"},
  };
  for (const Case& c : cases) EXPECT_EQ(lowered(c.source), compiled(c.call)) << c.source;
}

TEST_F(ParseCmds, BadCommandsGiveDiagnostics)
{
  const Case cases[] = {
      {"USE cust ALIAS", "error 15 missing file name"},
      {"USE cust SHARED EXCLUSIVE", "error 26 SHARED and EXCLUSIVE together"},
      {"USE cust FOR x", "error 10 unexpected FOR in USE"},
      {"REPLACE a 1", "error 11 expected WITH"},
      {"REPLACE a WITH", "error 15 missing value after WITH"},
      {"INDEX name TO x", "error 7 expected ON"},
      {"INDEX ON name", "error 14 missing TO file"},
      {"LIST FOR a FOR b", "error 12 FOR given twice"},
      {"SET FOO ON", "error 5 unknown setting foo"},
      {"SET DELETED MAYBE", "error 13 expected ON or OFF"},
      {"SUM a, b TO x", "error 14 as many variables as expressions needed after TO"},
      {"COPY TO x SDF DELIMITED", "error 24 SDF and DELIMITED together in COPY"},
      {"GO TOP 3", "error 8 unexpected text after the statement"},
      {"SEEK", "error 5 missing expression"},
  };
  for (const Case& c : cases) EXPECT_EQ(lowered(c.source), c.call) << c.source;
}

}  // namespace
