// The statement parser: sources and the shape of the unit they give, and
// sources and the diagnostic each gives.
#include <string>

#include "parse.hpp"
#include "vltest.h"

using namespace vl::prog;

namespace {

std::string shape(const Block& block);

std::string expr_shape(const Expr& e)
{
  if (!e) return "";
  const auto& n = e.tree->nodes[static_cast<size_t>(e.tree->root)];
  switch (n.op) {
    case vl::expr::Op::Call: return n.name + "/" + std::to_string(n.kids.size());
    case vl::expr::Op::Assign: return ":=";
    case vl::expr::Op::Name: return n.name;
    default: return "x";
  }
}

std::string vars_shape(const std::vector<Var>& vars)
{
  std::string out;
  for (const Var& v : vars) {
    out += (out.empty() ? " " : ",") + v.name;
    if (!v.dims.empty()) out += "[" + std::to_string(v.dims.size()) + "]";
    if (v.init) out += ":=";
  }
  return out;
}

std::string stmt_shape(const Stmt& s)
{
  switch (s.kind) {
    case Kind::Eval: return expr_shape(s.expr);
    case Kind::Local: return "local" + vars_shape(s.vars);
    case Kind::Static: return "static" + vars_shape(s.vars);
    case Kind::Private: return "private" + vars_shape(s.vars);
    case Kind::Public: return "public" + vars_shape(s.vars);
    case Kind::Parameters: return "parameters" + vars_shape(s.vars);
    case Kind::Memvar: return "memvar" + vars_shape(s.vars);
    case Kind::Field: return "field" + vars_shape(s.vars) + (s.alias.empty() ? "" : " in " + s.alias);
    case Kind::If: {
      std::string out = "if{";
      for (size_t i = 0; i < s.branches.size(); ++i)
        out += (i ? "|" : "") + shape(s.branches[i].body);
      return out + "}" + (s.otherwise.empty() ? "" : "else{" + shape(s.otherwise) + "}");
    }
    case Kind::While: return "while{" + shape(s.branches[0].body) + "}";
    case Kind::For:
      return "for " + expr_shape(s.target) + (s.step ? " step" : "") + "{" + shape(s.body) + "}";
    case Kind::Exit: return "exit";
    case Kind::Loop: return "loop";
    case Kind::Sequence:
      return "seq{" + shape(s.body) + "}" +
             (s.has_recover ? "recover(" + s.recover_var + "){" + shape(s.otherwise) + "}" : "");
    case Kind::Break: return s.expr ? "break x" : "break";
    case Kind::Return: return s.expr ? "return x" : "return";
    case Kind::Quit: return "quit";
  }
  return "?";
}

std::string shape(const Block& block)
{
  std::string out;
  for (const Stmt& s : block) out += (out.empty() ? "" : ";") + stmt_shape(s);
  return out;
}

std::string shape(const Unit& u)
{
  std::string out = u.globals.empty() ? "" : "globals{" + shape(u.globals) + "} ";
  for (const Func& f : u.funcs) {
    out += (f.is_static ? "static " : "") + std::string(f.procedure ? "proc " : "func ") + f.name;
    std::string params;
    for (const std::string& p : f.params) params += (params.empty() ? "" : ",") + p;
    out += "(" + params + "){" + shape(f.body) + "} ";
  }
  return out.substr(0, out.size() - 1);
}

class ParseStmt : public vltest::VlTest {
 protected:
  std::string parsed(const std::string& source, const std::string& file = "t.prg")
  {
    Unit u;
    Diagnostic d;
    if (!parse_unit(file, 0, source, u, d))
      return "error " + std::to_string(d.line) + ":" + std::to_string(d.col) + " " + d.message;
    return shape(u);
  }
};

struct ShapeCase {
  const char* source;
  const char* shape;
};

TEST_F(ParseStmt, SourcesGiveTheirShape)
{
  const ShapeCase cases[] = {
      {"", "proc t(){}"},
      {"x := 1\n? x, 2\n?? 'a'\n?\n", "proc t(){:=;qout/2;qqout/1;qout/0}"},
      // = as a statement assigns; a call and x++ are statements too.
      {"x = 1\nfoo(1, 2)\nx++\no:msg()", "proc t(){:=;foo/2;x;x}"},
      {"FUNCTION Main(a, b)\n  LOCAL x := 1, y[3, 4]\n  RETURN x\n"
       "static proc Helper\nRETU",
       "func main(a,b){local x:=,y[2];return x} static proc helper(){return}"},
      {"STATIC s := 0\nMEMVAR m\nFUNCTION f()\nRETURN s",
       "globals{static s:=;memvar m} func f(){return x}"},
      {"? 1\nFUNCTION f\nRETURN 2", "proc t(){qout/1} func f(){return x}"},
      {"IF a\n? 1\nELSEIF b\nELSE\n? 2, 3\nENDIF", "if{qout/1|}else{qout/2}"},
      {"do case\ncase a\n? 1\ncase b\notherwise\n? 3, 4, 5\nendcase", "if{qout/1|}else{qout/3}"},
      {"DO WHILE a\nIF b\nEXIT\nEND\nLOOP\nENDDO\nWHILE c\nEND", "while{if{exit};loop};while{}"},
      {"FOR i := 1 TO 10 STEP 2\nFOR j = 10 TO 1 STEP -0.5\nNEXT j\nNEXT", "for i step{for j step{}}"},
      {"FOR i := 1 TO n\nNEXT i", "for i{}"},
      {"BEGIN SEQUENCE\nBREAK 3\nRECOVER USING e\n? e\nEND SEQUENCE\nBEGIN SEQU\nBREAK\nEND",
       "seq{break x}recover(e){qout/1};seq{break}"},
      {"FIELD f1, f2 IN cust\nPRIVATE a := 1, &b\nPUBLIC c\nPARAMETERS p, q",
       "field f1,f2 in cust;private a:=,&b;public c;parameters p,q"},
      {"DO proc1 WITH a, b + 1, 'x'\nDO &name\nquit", "proc1/3;&name/0;quit"},
      // keywords cut to four letters or more, in any case
      {"PROC p\nlocal a\nIf a\nElse\nQUIT\nEndi\nDo Whil a\nEndd\nRETURN", "proc p(){local a;if{}else{quit};while{};return}"},
      // continuation, comments of every kind
      {"x := 1 + ;\n  2 && comment\n* whole line\nNOTE also\n/* across\nlines */ ? x // end",
       "proc t(){:=;qout/1}"},
      {"? 'a;b', \"// not a comment\", [&& nor this]", "proc t(){qout/3}"},
      // a keyword followed by an assignment is a name
      {"local := 1\nif[1] := 2\nfield->x := 3", "proc t(){:=;:=;:=}"},
      {"x := {|a| a + 1}\n? &cVar, &f()", "proc t(){:=;qout/2}"},
      {"x := 1\r\n? x\r\n\x1a garbage after the end mark", "proc t(){:=;qout/1}"},
  };
  for (const ShapeCase& c : cases) {
    std::string expect = c.shape;
    if (expect.rfind("proc ", 0) != 0 && expect.rfind("func ", 0) != 0 &&
        expect.rfind("globals", 0) != 0 && expect.rfind("static", 0) != 0)
      expect = "proc t(){" + expect + "}";
    EXPECT_EQ(parsed(c.source), expect) << c.source;
  }
}

TEST_F(ParseStmt, MainProcedureIsNamedAfterTheFile)
{
  EXPECT_EQ(parsed("? 1", "/some/dir/MyProg.PRG"), "proc myprog(){qout/1}");
  EXPECT_EQ(parsed("? 1", "-c"), "proc -c(){qout/1}");
}

struct ErrorCase {
  const char* source;
  const char* error;
};

TEST_F(ParseStmt, BadSourcesGiveOneDiagnostic)
{
  const ErrorCase cases[] = {
      {"IF a\n? 1\n", "error 1:1 IF without ENDIF"},
      {"? 1\nENDIF", "error 2:1 ENDIF without IF"},
      {"x := 1\n  NEXT", "error 2:3 NEXT without FOR"},
      {"FOR i := 1 TO 2\nIF a\nNEXT", "error 3:1 IF of line 2 needs ENDIF before NEXT"},
      {"FOR i := 1 TO 2\nNEXT j", "error 2:6 NEXT j does not match FOR i"},
      {"ENDDO", "error 1:1 ENDDO without DO WHILE"},
      {"DO CASE\n? 1\nENDCASE", "error 2:1 expected CASE, OTHERWISE or ENDCASE"},
      {"EXIT", "error 1:1 EXIT outside a loop"},
      {"IF a\nLOOP\nENDIF", "error 2:1 LOOP outside a loop"},
      {"FUNCTION f\n? 1\nLOCAL x\nRETURN", "error 3:1 declaration follows executable statements"},
      {"FUNCTION f\nIF a\nSTATIC s\nENDIF", "error 3:1 declaration follows executable statements"},
      {"FOOBAR x", "error 1:1 unknown command 'FOOBAR'"},
      {"FOR i := 1 STEP 2 TO 3\nNEXT", "error 1:12 expected TO"},
      {"FOR i := 1\nNEXT", "error 1:11 missing TO"},
      {"? \"abc", "error 1:3 unterminated string: no closing \""},
      {"x := 1 )", "error 1:8 unexpected text after the statement"},
      {"IF a\nELSE\nELSE\nENDIF", "error 3:1 a second ELSE"},
      {"RECOVER", "error 1:1 RECOVER without BEGIN SEQUENCE"},
      {"FUNCTION f\nIF a\nFUNCTION g", "error 2:1 IF without ENDIF"},
      {"? 1 +", "error 1:6 incomplete expression"},
      {"/* open\n? 1", "error 1:1 unterminated comment: no closing */"},
      {"LOCAL 1x", "error 1:7 expected a variable name"},
      {"IF\nENDIF", "error 1:3 missing condition"},
  };
  for (const ErrorCase& c : cases) EXPECT_EQ(parsed(c.source), c.error) << c.source;
  EXPECT_EQ(parsed(std::string("? 1\n? 2\0x", 9)),
            "error 2:4 not a text file: it holds the byte 0x00");
}

TEST_F(ParseStmt, HugeInputIsParsedOrRefusedCleanly)
{
  std::string sum = "x := 0";
  while (sum.size() < (1u << 20)) sum += " + 1";
  EXPECT_EQ(parsed(sum), "proc t(){:=}");
  const std::string deep = parsed("x := " + std::string(1u << 20, '('));
  EXPECT_EQ(deep.substr(0, 8), "error 1:");
  EXPECT_NE(deep.find("nested too deeply"), std::string::npos);
  std::string nest;
  for (int i = 0; i < 100000; ++i) nest += "IF a\n";
  EXPECT_EQ(parsed(nest), "error 257:1 statements nested too deeply");
}

TEST_F(ParseStmt, DiagnosticShowsTheLineAndACaret)
{
  Unit u;
  Diagnostic d;
  ASSERT_FALSE(parse_unit("x.prg", 0, "? 1\n\tFOOBAR 2\n", u, d));
  EXPECT_EQ(format_diagnostic(d), "x.prg:2:2: error: unknown command 'FOOBAR'\n\tFOOBAR 2\n\t^\n");
  EXPECT_TRUE(u.funcs.empty());
  // A long line is shown as a window round the caret.
  const std::string line = "x := 1 " + std::string(5000, ' ') + "junk";
  ASSERT_FALSE(parse_unit("y.prg", 0, line, u, d));
  const std::string shown = format_diagnostic(d);
  EXPECT_LT(shown.size(), 400u);
  EXPECT_NE(shown.find("junk\n"), std::string::npos);
}

}  // namespace
