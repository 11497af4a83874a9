// The operators: arithmetic over the operand kinds (result Type, value,
// Length, Decimals and report codes), comparisons (SET EXACT, NIL and
// undefined operands, identity of arrays and blocks, no temporaries), which
// record receives a result, compound assignment by Mode, fields through the
// field store, ++/-- under the Mode rules, text buffers, the logical and
// subset operators; and the inline number paths that programs get for
// + - *, < <= > >=, the condition, ++ and -- and the assignment, which must
// give exactly what the entry points give: the same record, Type, Length,
// Decimals and value, the same reports and the same temporary-stack height,
// for every kind of operand.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "operators.hpp"
#include "switches.hpp"
#include "var.hpp"
#include "vltest.h"

#if !defined(u_add_u) || !defined(cpy_var) || !defined(del_tmpvars) || !defined(_vln_signal_n)
#error "a program including vl.h gets the inline operator paths"
#endif

using namespace vl;

namespace {

// An operand from its notation.  The record is a variable (Mode 'N') on
// the temporary stack, as a LOCAL is, unless the notation starts with a
// Mode letter and a colon ("T:5" is a temporary, "S:I3" a strictly typed
// integer).
//   5  -2.50        'N' with as many Decimals as digits after the point
//   F1.5  I7        'F', 'I'
//   .T.  .F.        'L'
//   D100            'D', day 100
//   'ab '  M'ab'    'C', 'M'
//   NIL  UNDEF      NIL, an undefined variable (Mode 'U')
//   {}  O  B        an empty array, an object, a block
inline var* make(const char* text)
{
  char mode = 'N';
  if (text[0] && text[1] == ':') {
    mode = text[0];
    text += 2;
  }
  var* v = cre_tmpvar();
  const std::string t = text;
  if (t == "NIL") {
  } else if (t == "UNDEF") {
    mode = 'U';
  } else if (t == ".T." || t == ".F.") {
    set_lvar(v, t == ".T.");
  } else if (t[0] == 'D') {
    set_dvar(v, std::atoi(text + 1));
  } else if (t[0] == 'I') {
    set_Ivar(v, static_cast<int32_t>(std::strtol(text + 1, nullptr, 10)));
  } else if (t[0] == '\'' || t[0] == 'M') {
    const size_t from = t[0] == 'M' ? 2 : 1;
    set_Cvar(v, t.substr(from, t.size() - from - 1).c_str(), -1);
    if (t[0] == 'M') v->Type = 'M';
  } else if (t == "{}") {
    v->Type = 'A';
    v->Value.w1.arr = vln_arr_new(0);
  } else if (t == "O") {
    cpy_var(v, set_Ov(0, axNullObj, NIL_VAR));
  } else if (t == "B") {
    cpy_var(v, NILCB_VAR);
  } else {
    const bool f = t[0] == 'F';
    const char* digits = text + (f ? 1 : 0);
    const char* point = std::strchr(digits, '.');
    set_nvar(v, std::strtod(digits, nullptr), point ? static_cast<int>(std::strlen(point + 1)) : 0);
    if (f) v->Type = 'F';
  }
  v->Mode = mode;  // an upper-case letter: a text keeps owning its buffer
  return v;
}

// A result in one line: "N(-1,2) 5.5", "C(4,0) 'abc'", "L .T.", "U"; the
// constant records by name: "ERROR", "ZERO", "TRUE", "FALSE".
inline std::string show(var* v)
{
  if (v == ERROR_VAR) return "ERROR";
  if (v == ZERO_VAR) return "ZERO";
  if (v == TRUE_VAR) return "TRUE";
  if (v == FALSE_VAR) return "FALSE";
  char buf[256];
  switch (v->Type) {
    case 'N':
    case 'F':
      std::snprintf(buf, sizeof buf, "%c(%d,%d) %.15g", v->Type, v->Length, v->Decimals,
                    v->Value.w1.d);
      break;
    case 'I':
    case 'D':
      std::snprintf(buf, sizeof buf, "%c(%d,%d) %d", v->Type, v->Length, v->Decimals,
                    v->Value.w1.i);
      break;
    case 'L':
      return v->Value.w1.i ? "L .T." : "L .F.";
    case 'C':
    case 'M':
      return std::string(1, v->Type) + "(" + std::to_string(v->Length) + ",0) '" +
             vltest::str(v) + "'";
    default:
      return std::string(1, v->Type);
  }
  return buf;
}

// The operator tests' fixture (VlTest puts the switches back).
class Ops : public vltest::VlTest {
 protected:
  static void developer_mode() { vl::vl_set_flag[VL_SLOT_LEVEL] = VL_DEVEL_LEVEL; }

  // The codes of the reports since SetUp, "201|902"; the texts are pinned
  // once per family where they matter.
  static std::string seen()
  {
    std::string s;
    for (const auto& r : reports()) s += (s.empty() ? "" : "|") + std::to_string(r.code);
    return s;
  }
  // Expects r to show as want after a report of code (0: none).
  static void expect_result(var* r, const char* want, int code, const std::string& what)
  {
    EXPECT_EQ(show(r), want) << what;
    EXPECT_EQ(seen(), code ? std::to_string(code) : "") << what;
  }
};

using Binary = var* (*)(var*, var*, int);

struct Row {
  Binary op;
  const char* name;
  const char* left;
  const char* right;
  const char* result;
  int code;
};

// SET DECIMALS is 2 for every row.
const Row kRows[] = {
    // +
    {u_add_u, "+", "'ab'", "'cd'", "C(5,0) 'abcd'", 0},
    {u_add_u, "+", "M'ab'", "'c'", "C(4,0) 'abc'", 0},
    {u_add_u, "+", "'ab'", "5", "ERROR", 201},
    {u_add_u, "+", "D100", "5", "D(8,0) 105", 0},
    {u_add_u, "+", "D100", "2.9", "D(8,0) 102", 0},
    {u_add_u, "+", "D100", "-2.9", "D(8,0) 98", 0},
    {u_add_u, "+", "D100", "I3", "D(8,0) 103", 0},
    {u_add_u, "+", "D100", ".T.", "D(8,0) 101", 0},
    {u_add_u, "+", "D100", "'a'", "ERROR", 201},
    {u_add_u, "+", "2.5", "D100", "D(8,0) 102", 0},
    {u_add_u, "+", ".T.", "D100", "D(8,0) 101", 0},
    {u_add_u, "+", "1.5", "2.25", "N(-1,2) 3.75", 0},
    {u_add_u, "+", "F1.5", "1", "N(-1,1) 2.5", 0},
    {u_add_u, "+", "1.5", "I2", "N(-1,1) 3.5", 0},
    {u_add_u, "+", "1.5", ".T.", "N(-1,1) 2.5", 0},
    {u_add_u, "+", "I2", "I3", "I(-1,0) 5", 0},
    {u_add_u, "+", "I2147483647", "I1", "I(-1,0) -2147483648", 0},
    {u_add_u, "+", "I2", ".T.", "I(-1,0) 3", 0},
    {u_add_u, "+", ".T.", ".T.", "I(-1,0) 2", 0},
    {u_add_u, "+", "1", "'a'", "ERROR", 201},
    {u_add_u, "+", "NIL", "5", "U", 0},
    // -
    {u_sub_u, "-", "'abc   '", "'de'", "C(9,0) 'abcde   '", 0},
    {u_sub_u, "-", "'   '", "'x'", "C(5,0) 'x   '", 0},
    {u_sub_u, "-", "M'a '", "'b '", "C(5,0) 'ab  '", 0},
    {u_sub_u, "-", "'ab'", "1", "ERROR", 201},
    {u_sub_u, "-", "D100", "D90", "N(-1,2) 10", 0},
    {u_sub_u, "-", "D100", "2.7", "D(8,0) 98", 0},
    {u_sub_u, "-", "D100", ".T.", "ERROR", 201},
    {u_sub_u, "-", "5.5", "I2", "N(-1,1) 3.5", 0},
    {u_sub_u, "-", "5", ".T.", "N(-1,0) 4", 0},
    {u_sub_u, "-", "5", "D1", "ERROR", 201},
    {u_sub_u, "-", "I5", "I7", "I(-1,0) -2", 0},
    {u_sub_u, "-", "I-2147483648", "I1", "I(-1,0) 2147483647", 0},
    {u_sub_u, "-", "I5", "1.5", "N(-1,1) 3.5", 0},
    {u_sub_u, "-", "I5", ".T.", "N(-1,0) 5", 0},  // the logical's word read as a double
    {u_sub_u, "-", ".T.", "1", "U", 0},  // no arithmetic on a logical left
    // *
    {u_mul_u, "*", "1.5", "2.25", "N(-1,3) 3.375", 0},
    {u_mul_u, "*", "I3", "I4", "I(-1,0) 12", 0},
    {u_mul_u, "*", "I65536", "I65537", "I(-1,0) 65536", 0},
    {u_mul_u, "*", "I3", "2.5", "N(-1,1) 7.5", 0},
    {u_mul_u, "*", ".T.", "3", "N(-1,0) 3", 0},
    {u_mul_u, "*", "'a'", "1", "ERROR", 202},
    // /
    {u_div_u, "/", "I7", "I2", "N(-1,2) 3.5", 0},
    {u_div_u, "/", "1.5", "3", "N(-1,2) 0.5", 0},
    {u_div_u, "/", "5", "0", "ZERO", 0},
    {u_div_u, "/", "'a'", "1", "ERROR", 202},
    {u_div_u, "/", "1", "'a'", "ERROR", 202},
    // %
    {u_mod_u, "%", "I7", "I-1", "I(-1,0) 0", 0},
    {u_mod_u, "%", "I-2147483648", "I-1", "I(-1,0) 0", 0},
    {u_mod_u, "%", "I-7", "I2", "I(-1,0) -1", 0},
    {u_mod_u, "%", "7.5", "2", "N(-1,2) 1.5", 0},
    {u_mod_u, "%", "-7", "I2", "N(-1,2) -1", 0},
    {u_mod_u, "%", "I7", "I0", "ZERO", 205},
    {u_mod_u, "%", "7", "0", "ZERO", 205},
    {u_mod_u, "%", "'a'", "2", "ZERO", 202},
    // **
    {u_pow_u, "**", "I2", "I10", "I(-1,0) 1024", 0},
    {u_pow_u, "**", "I2", "I-1", "I(-1,0) 0", 0},
    {u_pow_u, "**", "I2", "I40", "I(-1,0) -2147483648", 0},  // out of range
    {u_pow_u, "**", "2", "0.5", "N(-1,2) 1.4142135623731", 0},
    {u_pow_u, "**", "I2", "3", "N(-1,2) 8", 0},
    {u_pow_u, "**", "'a'", "1", "ERROR", 202},
};

class OpsArith : public Ops {};

TEST_F(OpsArith, ValueOperandsByKind)
{
  vln_flagto.decimals = 2;
  for (const Row& row : kRows) {
    reports().clear();
    expect_result(row.op(make(row.left), make(row.right), 0), row.result, row.code,
                  std::string(row.left) + " " + row.name + " " + row.right);
  }
  EXPECT_TRUE(reported(202, "only numerics can be potentiated"));  // the last row's
}

// Members with a literal operand, each with its own rules.

struct LiteralRow {
  const char* what;
  var* (*run)();
  const char* result;
  int code;
};

const LiteralRow kLiteralRows[] = {
    {"2.5 + D100", [] { return n_add_u(2.5, 1, make("D100"), 0); }, "D(8,0) 102", 0},
    {"2.7 + I3", [] { return n_add_u(2.7, 1, make("I3"), 0); }, "N(-1,1) 5.7", 0},
    {"2 + I3", [] { return n_add_u(2, 0, make("I3"), 0); }, "I(-1,0) 5", 0},
    {"2.7 + typed I3", [] { return n_add_u(2.7, 1, make("S:I3"), 0); }, "I(-1,0) 5", 0},
    {"5 + .T.", [] { return n_add_u(5, 0, make(".T."), 0); }, "ERROR", 201},
    {"10 - I3", [] { return n_sub_u(10, 0, make("I3")); }, "I(-1,0) 7", 0},
    {"10.0 - I3", [] { return n_sub_u(10, 1, make("I3")); }, "N(-1,1) 7", 0},
    {"10 - .T.", [] { return n_sub_u(10, 0, make(".T.")); }, "N(-1,0) 9", 0},
    {"1 - D5", [] { return n_sub_u(1, 0, make("D5")); }, "ERROR", 202},
    {"D100 - 1.5", [] { return u_sub_n(make("D100"), 1.5, 1, 0); }, "D(8,0) 99", 0},
    {"I5 - 2", [] { return u_sub_n(make("I5"), 2, 0, 0); }, "I(-1,0) 3", 0},
    {"I5 - 2.0", [] { return u_sub_n(make("I5"), 2, 1, 0); }, "N(-1,1) 3", 0},
    {"typed I5 - 2.5", [] { return u_sub_n(make("S:I5"), 2.5, 1, 0); }, "I(-1,0) 3", 0},
    {".T. - 1", [] { return u_sub_n(make(".T."), 1, 0, 0); }, "ERROR", 202},
    {"2 * I3", [] { return n_mul_u(2, 0, make("I3"), 0); }, "I(-1,0) 6", 0},
    {"2.0 * I3", [] { return n_mul_u(2, 1, make("I3"), 0); }, "N(-1,1) 6", 0},
    {"1.5 * 2 (SET DECIMALS)", [] { return n_mul_u(1.5, -1, make("2"), 0); }, "N(-1,2) 3", 0},
    {"2 * 'a'", [] { return n_mul_u(2, 0, make("'a'"), 0); }, "ERROR", 202},
    {"I7 / 2", [] { return u_div_n(make("I7"), 2, 0); }, "N(-1,2) 3.5", 0},
    {"5 / 0", [] { return u_div_n(make("5"), 0, 0); }, "ZERO", 0},
    {"'a' / 1", [] { return u_div_n(make("'a'"), 1, 0); }, "ERROR", 202},
    {"1 / I4", [] { return n_div_u(1, make("I4")); }, "N(-1,2) 0.25", 0},
    {"1 / 'a'", [] { return n_div_u(1, make("'a'")); }, "ERROR", 202},
    {"I7 % 2", [] { return u_mod_n(make("I7"), 2, 0); }, "N(-1,2) 1", 0},
    {"5 % 0", [] { return u_mod_n(make("5"), 0, 0); }, "ZERO", 205},
    {"'a' % 2", [] { return u_mod_n(make("'a'"), 2, 0); }, "ZERO", 202},
    {"7 % I2", [] { return n_mod_u(7, make("I2")); }, "N(-1,2) 1", 0},
    {"7 % 'a'", [] { return n_mod_u(7, make("'a'")); }, "ZERO", 202},
    {"I2 ** 3", [] { return u_pow_n(make("I2"), 3, 0, 0); }, "N(-1,2) 8", 0},
    {"typed I2 ** 3", [] { return u_pow_n(make("S:I2"), 3, 0, 0); }, "I(-1,0) 8", 0},
    {"'a' ** 3", [] { return u_pow_n(make("'a'"), 3, 0, 0); }, "ERROR", 202},
    {"2 ** I3", [] { return n_pow_u(2, make("I3")); }, "N(-1,2) 8", 0},
    {"2 ** NIL", [] { return n_pow_u(2, make("NIL")); }, "ERROR", 202},
    {"-I5", [] { return minus_u(make("I5")); }, "I(-1,0) -5", 0},
    {"-I-2147483648", [] { return minus_u(make("I-2147483648")); }, "I(-1,0) -2147483648", 0},
    {"-.T.", [] { return minus_u(make(".T.")); }, "N(-1,0) -4.94065645841247e-324", 0},
    {"-'a'", [] { return minus_u(make("'a'")); }, "ERROR", 202},
    {"'ab' + \"cd\"", [] { return u_add_c(make("'ab'"), "cd", 0); }, "C(5,0) 'abcd'", 0},
    {"5 + \"x\"", [] { return u_add_c(make("5"), "x", 0); }, "ERROR", 201},
    {"'ab  ' - \"c\"", [] { return u_sub_c(make("'ab  '"), "c", 0); }, "C(6,0) 'abc  '", 0},
    {"\"ab\" + 'cd'", [] { return c_add_u("ab", make("'cd'")); }, "C(5,0) 'abcd'", 0},
    {"\"ab\" + 5", [] { return c_add_u("ab", make("5")); }, "ERROR", 201},
    {"\"ab  \" - M'c'", [] { return c_sub_u("ab  ", make("M'c'")); }, "C(6,0) 'abc  '", 0},
    {"\"ab\" - .T.", [] { return c_sub_u("ab", make(".T.")); }, "ERROR", 201},
};

TEST_F(OpsArith, LiteralOperands)
{
  vln_flagto.decimals = 2;
  for (const LiteralRow& row : kLiteralRows) {
    reports().clear();
    expect_result(row.run(), row.result, row.code, row.what);
  }
}

// Logical operands and division by zero warn only in developer mode.
TEST_F(OpsArith, DeveloperWarnings)
{
  u_add_u(make("1"), make(".T."), 0);
  u_div_u(make("1"), make("0"), 0);
  EXPECT_EQ(seen(), "");
  EXPECT_EQ(last_errno, 902);

  developer_mode();
  EXPECT_EQ(show(u_add_u(make("D10"), make(".T."), 0)), "D(8,0) 11");
  EXPECT_EQ(show(u_sub_u(make("I5"), make(".T."), 0)), "N(-1,0) 5");
  EXPECT_EQ(show(u_div_u(make("5"), make("0"), 0)), "ZERO");
  EXPECT_EQ(seen(), "902|902|902");
  EXPECT_TRUE(reported(902, "subtraction on logicals"));
  for (const auto& r : reports()) EXPECT_EQ(r.severity, VL_SEV_RUNTIME);
}

// Division, modulo and power take SET DECIMALS whatever the operands carry;
// + - * take their operands' Decimals.  SET FIXED changes no result.
TEST_F(OpsArith, DecimalsFollowSetDecimalsNotFixed)
{
  for (int fixed : {0, 1}) {
    flags[VL_FLAG_FIXED] = static_cast<unsigned char>(fixed);
    vln_flagto.decimals = 5;
    EXPECT_EQ(show(u_div_u(make("I1"), make("I4"), 0)), "N(-1,5) 0.25");
    EXPECT_EQ(show(u_mod_u(make("7.125"), make("2"), 0)), "N(-1,5) 1.125");
    EXPECT_EQ(show(u_pow_u(make("1.5"), make("2"), 0)), "N(-1,5) 2.25");
    EXPECT_EQ(show(u_sub_u(make("D3"), make("D1"), 0)), "N(-1,5) 2");
    EXPECT_EQ(show(u_add_u(make("1.125"), make("1.5"), 0)), "N(-1,3) 2.625");
    EXPECT_EQ(show(u_mul_u(make("1.125"), make("1.5"), 0)), "N(-1,4) 1.6875");
    EXPECT_EQ(show(n_mul_u(1.5, -1, make("2.5"), 0)), "N(-1,6) 3.75");
  }
}

// + and - take the larger Decimals, * their sum up to 255, whichever record
// receives the result.
TEST_F(OpsArith, DecimalsAtTheByteLimit)
{
  var* l = make("T:2");
  l->Decimals = 200;
  var* r = make("3");
  r->Decimals = 100;
  EXPECT_EQ(u_mul_u(l, r, 0), l);
  EXPECT_EQ(show(l), "N(-1,255) 6");
  EXPECT_EQ(u_add_u(r, l, 0), l);
  EXPECT_EQ(show(l), "N(-1,255) 9");
  EXPECT_EQ(l->Mode, 'T');
  EXPECT_EQ(show(u_sub_u(make("1"), r, 0)), "N(-1,100) -2");
}

// Pins behaviour kept on purpose (a numeric literal plus a logical fails
// while a variable plus a logical works: see the rows): NIL + y hands back
// the temporary y.
TEST_F(OpsArith, KeptQuirks)
{
  var* y = make("T:5");
  EXPECT_EQ(u_add_u(make("NIL"), y, 0), y);
  EXPECT_EQ(show(y), "N(-1,0) 5");
}

// Outcome letters, one per member of a table row:
//   T TRUE_VAR   F FALSE_VAR   E ERROR_VAR without a report
//   M a 201 and ERROR_VAR      U a 901 and FALSE_VAR
char outcome(var* r)
{
  const auto& seen = vltest::VlTest::reports();
  const int code = seen.size() == 1 ? seen[0].code : seen.empty() ? 0 : -1;
  if (r == TRUE_VAR && code == 0) return 'T';
  if (r == FALSE_VAR) return code == 0 ? 'F' : code == 901 ? 'U' : '?';
  if (r == ERROR_VAR) return code == 0 ? 'E' : code == 201 ? 'M' : '?';
  return '?';
}

// The u op u members in the order of the outcome strings: = == # < <= > >=.
var* (*const kValueMembers[])(var*, var*) = {u_equ_u, u_eequ_u, u_neq_u, u_lt_u,
                                              u_leq_u, u_gt_u,   u_geq_u};

struct ValueRow {
  const char* left;
  const char* right;
  const char* outcomes;
};

// SET EXACT off.
const ValueRow kValueRows[] = {
    {"1", "2", "FFTTTFF"},
    {"2", "I2", "TTFFTFT"},
    {"I2", "2.5", "FFTTTFF"},
    {"I3", "I2", "FFTFFTT"},
    {"F1.5", "1.5", "TTFFTFT"},
    {".T.", ".F.", "FFTFFTT"},
    {".T.", "1", "TTFFTFT"},
    {"D5", "D7", "FFTTTFF"},
    {"D-3", "D0", "FFTTTFF"},
    {"'abc'", "'ab'", "TFFFTFT"},
    {"'ab'", "'abc'", "FFTTTFF"},
    {"'abc'", "M'abc'", "TTFFTFT"},
    {"'ab '", "'ab'", "TFFFTFT"},
    {"'abd'", "'abc'", "FFTFFTT"},
    {"NIL", "NIL", "TTFEEEE"},
    {"NIL", "1", "FFTMMMM"},
    {"'a'", "NIL", "FFTMMMM"},
    {"UNDEF", "1", "UUUMMMM"},
    {"NIL", "UNDEF", "UUUEEEE"},
    {"1", "'a'", "MMMMMMM"},
    {"D5", "5", "MMMMMMM"},
    {"{}", "{}", "FFTTTTT"},
    {"{}", "O", "MMMMMMM"},
    {"B", "B", "TTFFTFT"},
};

// The outcome letters of call(m) for each member m.
template <class Members, class Call>
std::string outcomes(const Members& members, Call call)
{
  std::string got;
  for (const auto& m : members) {
    vltest::VlTest::reports().clear();
    got += outcome(call(m));
  }
  return got;
}

std::string run_value_row(const ValueRow& row)
{
  return outcomes(kValueMembers, [&](auto m) { return m(make(row.left), make(row.right)); });
}

class OpsCompare : public Ops {};

TEST_F(OpsCompare, ValuesByKind)
{
  flags[VL_FLAG_EXACT] = 0;
  for (const ValueRow& row : kValueRows) {
    EXPECT_EQ(run_value_row(row), row.outcomes) << row.left << " vs " << row.right;
  }
  u_geq_u(make("1"), make("'a'"));
  EXPECT_TRUE(reported(201, "in less than or equal '<=' operation"));  // kept as it reads
}

TEST_F(OpsCompare, ExactIgnoresTrailingBlanksAndOrdersByLength)
{
  flags[VL_FLAG_EXACT] = 1;
  const ValueRow rows[] = {
      {"'abc  '", "'abc'", "TFFFTFT"},
      {"'abc'", "'ab'", "FFTFFTT"},
      {"''", "'  '", "TFFFTFT"},
      {"'ab'", "'abc'", "FFTTTFF"},
  };
  for (const ValueRow& row : rows) {
    EXPECT_EQ(run_value_row(row), row.outcomes) << row.left << " vs " << row.right;
  }
  // == compares exactly whatever SET EXACT says, and leaves the switch as
  // it found it.
  flags[VL_FLAG_EXACT] = 0;
  EXPECT_EQ(u_eequ_u(make("'ab '"), make("'ab '")), TRUE_VAR);
  EXPECT_EQ(u_eequ_u(make("'ab '"), make("'abc'")), FALSE_VAR);
  EXPECT_EQ(c_eequ_u("abc", make("'ab'")), FALSE_VAR);
  EXPECT_EQ(flags[VL_FLAG_EXACT], 0);
}

TEST_F(OpsCompare, IdentityOfSharedRecords)
{
  var* a = make("{}");
  var* b = make("NIL");
  cpy_var(b, a);
  EXPECT_EQ(u_equ_u(a, b), TRUE_VAR);
  EXPECT_EQ(u_gt_u(a, b), FALSE_VAR);
  var* s1 = make("NIL");
  var* s2 = make("NIL");
  s1->Type = s2->Type = 'S';
  s1->Value.w1.win = s2->Value.w1.win = &a;
  EXPECT_EQ(u_eequ_u(s1, s2), TRUE_VAR);
  EXPECT_EQ(u_lt_u(s1, s2), FALSE_VAR);
  EXPECT_TRUE(reports().empty());
}

// n op u and l op u: = # < <= > >=.
const std::pair<var* (*)(double, var*), var* (*)(int, var*)> kLiteralMembers[] = {
    {n_equ_u, l_equ_u}, {n_neq_u, l_neq_u}, {n_lt_u, l_lt_u},
    {n_leq_u, l_leq_u}, {n_gt_u, l_gt_u},   {n_geq_u, l_geq_u}};

// A number literal ('n') or a logical one ('l', 0 or 1) against a value.
struct LiteralCompareRow {
  char kind;
  double d;
  const char* right;
  const char* outcomes;
};

TEST_F(OpsCompare, NumericAndLogicalLiteralsAgainstValues)
{
  const LiteralCompareRow rows[] = {
      {'n', 2.5, "I2", "TFFTFT"},  // the literal's whole part against an integer
      {'n', 2.5, "2", "FTFFTT"},
      {'n', -2.5, "I-2", "TFFTFT"},
      {'n', 1, ".T.", "TFFTFT"},
      {'n', 0.5, "F0.25", "FTFFTT"},
      {'n', 1, "NIL", "FTMMMM"},
      {'n', 1, "UNDEF", "MMMMMM"},
      {'n', 1, "'a'", "MMMMMM"},
      {'l', 1, ".F.", "FTFFTT"},
      {'l', 0, "0", "TFFTFT"},
      {'l', 1, "I7", "TFFTFT"},
      {'l', 0, ".T.", "FTTTFF"},
      {'l', 1, "NIL", "FTMMMM"},
      {'l', 1, "'a'", "MMMMMM"},
  };
  for (const LiteralCompareRow& row : rows)
    EXPECT_EQ(outcomes(kLiteralMembers, [&](const auto& m) {
                return row.kind == 'n' ? m.first(row.d, make(row.right))
                                       : m.second(static_cast<int>(row.d), make(row.right));
              }),
              row.outcomes)
        << row.kind << row.d << " vs " << row.right;
}

using TextMember = var* (*)(const char*, var*);

// The members with a text literal on one side, the literal passed first.
// "text" op v: == # < <= >=.
const TextMember kTextLeft[] = {c_eequ_u, c_neq_u, c_lt_u, c_leq_u, c_geq_u};
// v op "text": = # < <= > >=.
const TextMember kTextRight[] = {
    [](const char* t, var* v) { return u_equ_c(v, t); },
    [](const char* t, var* v) { return u_neq_c(v, t); },
    [](const char* t, var* v) { return u_lt_c(v, t); },
    [](const char* t, var* v) { return u_leq_c(v, t); },
    [](const char* t, var* v) { return u_gt_c(v, t); },
    [](const char* t, var* v) { return u_geq_c(v, t); },
};

struct TextRow {
  bool left;  // the literal on the left: kTextLeft, else kTextRight
  const char* text;
  const char* value;
  const char* outcomes;
};

TEST_F(OpsCompare, TextLiteralAgainstValues)
{
  flags[VL_FLAG_EXACT] = 0;
  const TextRow rows[] = {
      {true, "abc", "'ab'", "FFFTT"},
      {true, "ab", "'abc'", "FTTTF"},
      {true, "ab", "M'ab'", "TFFTT"},
      {true, "a", "NIL", "FTMMM"},
      {true, "a", "5", "MMMMM"},
      {false, "abc", "'ab'", "FTTTFF"},
      {false, "ab", "'abc'", "TFFTFT"},
      {false, "", "'x'", "TFFTFT"},
      {false, "x", "M'x'", "TFFTFT"},
      {false, "x", "NIL", "MTMMMM"},  // only # answers NIL here
      {false, "x", ".T.", "MMMMMM"},
  };
  for (const TextRow& row : rows) {
    auto call = [&](TextMember m) { return m(row.text, make(row.value)); };
    EXPECT_EQ(row.left ? outcomes(kTextLeft, call) : outcomes(kTextRight, call), row.outcomes)
        << row.left << " " << row.text << " vs " << row.value;
  }
}

TEST_F(OpsCompare, TwoTextLiterals)
{
  flags[VL_FLAG_EXACT] = 0;
  EXPECT_EQ((std::string{outcome(c_equ_c("abc", "ab")), outcome(c_equ_c("ab", "abc")),
                         outcome(c_neq_c("ab", "abc")), outcome(c_lt_c("ab", "abc")),
                         outcome(c_leq_c("abc", "ab")), outcome(c_gt_c("b", "abc")),
                         outcome(c_geq_c("a", "b"))}),
            "TFTTTTF");
  flags[VL_FLAG_EXACT] = 1;
  EXPECT_EQ((std::string{outcome(c_equ_c("abc", "ab")), outcome(c_equ_c("ab  ", "ab"))}), "FT");
}

// A comparison gives a constant record: no temporary.
TEST_F(OpsCompare, MakesNoTemporary)
{
  var* a = make("1.5");
  var* i = make("I2");
  var* s = make("'abc'");
  var* t = make("'ab'");
  const int32_t before = tmpvar_cnt;
  u_lt_u(a, i);
  u_eequ_u(s, t);
  n_gt_u(2.5, i);
  u_equ_c(s, "abc");
  c_lt_u("b", t);
  l_equ_u(1, a);
  u_in_u(t, s);
  EXPECT_EQ(tmpvar_cnt, before);
}

// A fake field store: remembers the stores and keeps the record's cached
// value as the database would.
int g_field_stores = 0;
var* fake_field_store(var* field, var* value)
{
  ++g_field_stores;
  field->Type = value->Type;
  field->Decimals = value->Decimals;
  field->Length = value->Length;
  field->Value = value->Value;
  return field;
}

var* field(char mode, double value)
{
  var* f = make("NIL");
  set_nvar(f, value, 0);
  f->Mode = mode;
  return f;
}

class OpsModes : public Ops {
 protected:
  void SetUp() override
  {
    Ops::SetUp();
    g_field_stores = 0;
    vlnSetFieldHook = fake_field_store;
  }
};

TEST_F(OpsModes, ResultRecordChoice)
{
  var* t = make("T:1");
  EXPECT_EQ(u_mul_u(t, make("2"), 0), t);  // a temporary left operand
  var* r = make("T:3");
  EXPECT_EQ(u_mul_u(make("2"), r, 0), r);  // else a temporary right one
  EXPECT_EQ(show(r), "N(-1,0) 6");
  var* rt = make("T:'x'");
  var* made = u_add_u(make("'a'"), rt, 0);  // never a text temporary for +
  EXPECT_NE(made, rt);
  EXPECT_EQ(show(made), "C(3,0) 'ax'");
  EXPECT_EQ(show(rt), "C(2,0) 'x'");
  var* nt = make("T:I4");
  EXPECT_EQ(n_add_u(1, 0, nt, 0), nt);  // n_ members reuse their right operand
  EXPECT_EQ(n_div_u(1, nt), nt);
  var* l = make("2");
  const int32_t mark = tmpvar_cnt;
  EXPECT_NE(u_mul_u(l, make("3"), 0), l);
  EXPECT_EQ(tmpvar_cnt, mark + 2);  // the right operand and the result
}

// With the assign flag the target keeps the result: in place on the Modes
// that allow it ("NVLS", and "nvls" too for + and -), through one
// temporary and cpy_var on any other.
TEST_F(OpsModes, CompoundAssignmentByMode)
{
  struct Case {
    var* (*op)(var*, var*, int);
    const char* in_place;
  };
  const Case cases[] = {{u_add_u, "NVLSnvls"}, {u_sub_u, "NVLSnvls"}, {u_mul_u, "NVLS"},
                        {u_div_u, "NVLS"},     {u_mod_u, "NVLS"},     {u_pow_u, "NVLS"}};
  for (const Case& c : cases) {
    for (const char* m = "NVLSnvlsPMC"; *m; ++m) {
      var* target = make("8");
      target->Mode = *m;
      const int32_t mark = tmpvar_cnt;
      EXPECT_EQ(c.op(target, make("2"), 1), target) << *m;
      const bool in_place = std::strchr(c.in_place, *m) != nullptr;
      EXPECT_EQ(tmpvar_cnt - mark, in_place ? 1 : 2) << *m;
      EXPECT_EQ(target->Type, 'N') << *m;
    }
  }
  var* n = make("4");
  EXPECT_EQ(n_mul_u(2.5, 1, n, 1), n);
  EXPECT_EQ(show(n), "N(-1,1) 10");
  EXPECT_EQ(u_sub_n(n, 1, 0, 1), n);
  EXPECT_EQ(show(n), "N(-1,1) 9");
}

TEST_F(OpsModes, CompoundAssignmentResults)
{
  var* x = make("5");
  EXPECT_EQ(u_div_n(x, 0, 1), x);  // x /= 0 leaves 0
  EXPECT_EQ(show(x), "N(-1,0) 0");
  var* y = make("5");
  EXPECT_EQ(u_mod_n(y, 0, 1), ZERO_VAR);  // a reported error stores nothing
  EXPECT_EQ(show(y), "N(-1,0) 5");
  EXPECT_EQ(seen(), "205");
  var* typed = make("S:I3");
  EXPECT_EQ(u_add_u(typed, make("1.5"), 1), typed);  // a typed integer stays one
  EXPECT_EQ(show(typed), "I(-1,0) 4");
  reports().clear();
  var* typed_n = make("S:5");
  EXPECT_EQ(u_add_u(typed_n, make("D10"), 1), ERROR_VAR);  // a date into a typed number
  EXPECT_EQ(show(typed_n), "N(-1,0) 5");
  EXPECT_EQ(last_code(), 332);
}

// x += 1 on a field writes the field through the field store.
TEST_F(OpsModes, FieldsWriteThrough)
{
  for (char mode : {'F', 'f'}) {
    var* f = field(mode, 10);
    g_field_stores = 0;
    EXPECT_EQ(u_add_u(f, make("1"), 1), f);
    EXPECT_EQ(n_add_u(2, 0, f, 1), f);
    EXPECT_EQ(u_sub_n(f, 1, 0, 1), f);
    EXPECT_EQ(g_field_stores, 3);
    EXPECT_EQ(show(f), "N(-1,0) 12");
    EXPECT_EQ(show(u_autoinc(f)), "N(-1,0) 12");
    EXPECT_EQ(autodec_u(f), f);
    EXPECT_EQ(autodec_u(f), f);
    EXPECT_EQ(g_field_stores, 6);
    EXPECT_EQ(show(f), "N(-1,0) 11");
  }
}

TEST_F(OpsModes, IncrementAndDecrement)
{
  vltest::expect_rows({{"d := STOD('20000110'), {DTOS(d++), DTOS(--d), DTOS(d)}",
                        "{20000110, 20000110, 20000110}"}});
  var* i = make("I2147483647");
  EXPECT_EQ(show(autoinc_u(i)), "I(-1,0) -2147483648");
  EXPECT_EQ(show(autodec_u(i)), "I(-1,0) 2147483647");
}

// ++ and -- act on "SNLVFPMT" (and 'f'); protected records only while the
// library edits its own slots; anything else comes back unchanged.
TEST_F(OpsModes, IncrementByMode)
{
  for (const char* m = "SNLVPMTCcnUt"; *m; ++m) {
    for (int priv : {0, 1}) {
      vln_priv_mode = priv;
      var* v = make("I1");
      v->Mode = *m;
      EXPECT_EQ(autoinc_u(v), v);
      const bool steps = std::strchr("SNLVT", *m) || (priv && std::strchr("PM", *m));
      EXPECT_EQ(v->Value.w1.i, steps ? 2 : 1) << *m << priv;
    }
  }
  EXPECT_TRUE(reports().empty());
}

TEST_F(OpsModes, IncrementRefusesOtherTypes)
{
  for (const char* operand : {"'a'", "NIL"})
    for (var* (*op)(var*) : {autoinc_u, autodec_u, u_autoinc, u_autodec})
      EXPECT_EQ(op(make(operand)), ERROR_VAR) << operand;
  EXPECT_EQ(seen(), "201|201|201|201|201|201|201|201");
  EXPECT_TRUE(reported(201, "only date numerics can be auto-decremented"));
}

// Text results: one reallocation of a temporary's own buffer; a borrowed
// text is copied, never written; a right text inside the left buffer
// survives the reallocation.
TEST_F(OpsModes, TextBuffers)
{
  var* t = make("T:'ab  '");
  EXPECT_EQ(u_sub_c(t, "cd", 0), t);
  EXPECT_EQ(show(t), "C(7,0) 'abcd  '");

  static char literal[] = "lit  ";
  var* borrowed = make("NIL");
  set_cvar(borrowed, literal);
  EXPECT_EQ(borrowed->Mode, 'n');
  EXPECT_EQ(u_sub_c(borrowed, "x", 1), borrowed);
  EXPECT_STREQ(literal, "lit  ");
  EXPECT_EQ(borrowed->Mode, 'N');
  EXPECT_EQ(show(borrowed), "C(7,0) 'litx  '");

  var* s = make("'ab '");
  EXPECT_EQ(u_add_u(s, s, 1), s);
  EXPECT_EQ(show(s), "C(7,0) 'ab ab '");
  EXPECT_EQ(u_sub_u(s, s, 1), s);
  EXPECT_EQ(show(s), "C(13,0) 'ab abab ab  '");
  var* tt = make("T:'xy'");
  EXPECT_EQ(u_add_u(tt, tt, 0), tt);
  EXPECT_EQ(show(tt), "C(5,0) 'xyxy'");

  var* memo = make("M'm'");
  memo->Mode = 'S';
  EXPECT_EQ(u_add_c(memo, "n", 1), memo);  // a typed memo stays memo
  EXPECT_EQ(show(memo), "M(3,0) 'mn'");
  EXPECT_TRUE(reports().empty());
}

TEST_F(OpsModes, Subset)
{
  EXPECT_EQ(c_in_u("bc", make("'abcd'")), TRUE_VAR);
  EXPECT_EQ(c_in_u("", make("'abc'")), FALSE_VAR);
  EXPECT_EQ(u_in_c(make("'x'"), ""), FALSE_VAR);
  EXPECT_EQ(u_in_u(make("M'cd'"), make("'abcd'")), TRUE_VAR);
  EXPECT_EQ(u_in_u(make("'abcde'"), make("'abcd'")), FALSE_VAR);
  const char hay[] = {'a', '\0', 'b', 'c'};
  EXPECT_EQ(subset0("bc", hay, 2, 4), 2);  // past a NUL byte
  EXPECT_EQ(subset0("", hay, 0, 4), -1);
  EXPECT_EQ(subset0("a", hay, 1, 0), -1);
  for (var* r : {c_in_u("a", make("1")), u_in_c(make("NIL"), "a"), u_in_u(make("'a'"), make(".T."))})
    EXPECT_EQ(r, ERROR_VAR);
  EXPECT_EQ(seen(), "201|201|201");
}

TEST_F(OpsModes, Logic)
{
  var* t = make(".T.");
  var* f = make(".F.");
  var* s = make("'a'");
  EXPECT_EQ(if_u(t), 1);
  EXPECT_EQ(if_u(make("0.5")), 1);
  EXPECT_EQ(if_u(make("I0")), 0);
  EXPECT_EQ(not_u(t), FALSE_VAR);
  EXPECT_EQ(not_u(make("0")), TRUE_VAR);
  EXPECT_EQ(u_and_u(t, s), s);  // the right operand itself, whatever its type
  EXPECT_EQ(u_and_u(f, s), FALSE_VAR);
  EXPECT_EQ(u_or_u(t, f), TRUE_VAR);
  EXPECT_EQ(u_or_u(f, t), t);
  EXPECT_EQ(l_and_u(1, f), f);
  EXPECT_EQ(l_and_u(0, t), FALSE_VAR);
  EXPECT_EQ(l_or_u(1, f), TRUE_VAR);
  EXPECT_EQ(l_or_u(0, t), t);
  EXPECT_TRUE(reports().empty());

  EXPECT_EQ(if_u(s), 0);
  EXPECT_EQ(not_u(s), ERROR_VAR);
  EXPECT_EQ(u_and_u(s, t), ERROR_VAR);
  EXPECT_EQ(u_or_u(f, s), ERROR_VAR);
  EXPECT_EQ(l_and_u(1, s), ERROR_VAR);
  EXPECT_EQ(l_or_u(0, s), ERROR_VAR);
  EXPECT_EQ(seen(), "202|202|202|202|202|202");
  EXPECT_TRUE(reported(202, "can .and. only logicals"));
}

// Operands in the notation of make(): LOCAL numbers of several
// Decimals, number temporaries, an integer temporary, a strictly typed
// integer, and the other types, which the inline paths hand on.
const char* const kOperands[] = {"5",   "-2.50", "T:1.5", "T:0.125", "T:I4", "I7",    "S:I3",
                                 "F1.5", "'ab '", "NIL",   ".T.",     "D100", "UNDEF"};

enum class Route { Inline, Call };

// The call by the inline path (the macro) or by the entry point.
#define BY_ROAD(op, ...) (how == Route::Inline ? op(__VA_ARGS__) : (op)(__VA_ARGS__))

using RoutedBinary = var* (*)(var*, var*, int, Route);

class FastOps : public Ops {
 protected:
  void TearDown() override
  {
    (del_tmpvars)(tmp_mark_);
    Ops::TearDown();
  }

  // Which record a result is: "l", "r", "new", or a constant's name.
  static std::string which(var* res, var* l, var* r)
  {
    if (res == l) return "l";
    if (res == r) return "r";
    if (res == ERROR_VAR || res == ZERO_VAR) return show(res);
    return res->Mode == 'T' ? "new" : "other";
  }

  // Expects body(how) to describe the same, with the same reports, on both
  // roads (the temporaries it made released after each); context names the
  // case.
  template <class Body>
  void expect_same(const std::string& context, Body body)
  {
    std::string got[2];
    for (Route how : {Route::Inline, Route::Call}) {
      const int32_t mark = tmpvar_cnt;
      reports().clear();
      got[how == Route::Call] = body(how) + " | " + seen();
      (del_tmpvars)(mark);
    }
    EXPECT_EQ(got[0], got[1]) << context;
  }

  // Everything observable about l op r on fresh operands: the result, the
  // operands afterwards and the temporaries made.
  static std::string describe(RoutedBinary op, const char* ln, const char* rn, int assign, Route how)
  {
    var* l = make(ln);
    var* r = make(rn);
    const int32_t before = tmpvar_cnt;
    var* res = op(l, r, assign, how);
    return which(res, l, r) + " " + show(res) + " | " + show(l) + " " + show(r) + " | +" +
           std::to_string(tmpvar_cnt - before);
  }
};

TEST_F(FastOps, ArithmeticAgreesWithTheEntryPoints)
{
  const struct {
    const char* name;
    RoutedBinary op;
  } ops[] = {{"+", [](var* l, var* r, int a, Route how) { return BY_ROAD(u_add_u, l, r, a); }},
             {"-", [](var* l, var* r, int a, Route how) { return BY_ROAD(u_sub_u, l, r, a); }},
             {"*", [](var* l, var* r, int a, Route how) { return BY_ROAD(u_mul_u, l, r, a); }}};
  for (const auto& op : ops)
    for (const char* ln : kOperands)
      for (const char* rn : kOperands)
        for (int assign = 0; assign <= 1; ++assign)
          expect_same(std::string(ln) + " " + op.name + " " + rn + (assign ? " (compound)" : ""),
                      [&](Route how) { return describe(op.op, ln, rn, assign, how); });
}

TEST_F(FastOps, AssignmentAgreesWithTheEntryPoint)
{
  const char* const sources[] = {"T:1.5", "T:7", "T:I4", "5", "'ab'", "NIL"};
  const char* const targets[] = {"5", "2.25", "S:I3", "S:5", "NIL", "'x'", "UNDEF", "T:1"};
  for (const char* dn : targets)
    for (const char* sn : sources)
      expect_same(std::string(dn) + " := " + sn, [&](Route how) {
        var* dst = make(dn);
        var* src = make(sn);
        var* res = BY_ROAD(cpy_var, dst, src);
        return which(res, dst, src) + " " + show(dst) + " " + std::string(1, dst->Mode);
      });
  // A compiled number literal is a constant LOCAL-like record: never written.
  var literal{};
  literal.Type = 'N';
  literal.Mode = 'N';
  literal.Flags = VF_STATIC;
  literal.Length = -1;
  literal.Value.w1.d = 2;
  EXPECT_EQ(cpy_var(&literal, make("T:9")), ERROR_VAR);
  EXPECT_EQ(literal.Value.w1.d, 2.0);
}

using Compare = var* (*)(var*, var*, Route);

TEST_F(FastOps, ComparisonsAgreeWithTheEntryPoints)
{
  const struct {
    const char* name;
    Compare op;
  } ops[] = {{"<", [](var* l, var* r, Route how) { return BY_ROAD(u_lt_u, l, r); }},
             {"<=", [](var* l, var* r, Route how) { return BY_ROAD(u_leq_u, l, r); }},
             {">", [](var* l, var* r, Route how) { return BY_ROAD(u_gt_u, l, r); }},
             {">=", [](var* l, var* r, Route how) { return BY_ROAD(u_geq_u, l, r); }}};
  for (const auto& op : ops)
    for (const char* ln : kOperands)
      for (const char* rn : kOperands)
        expect_same(std::string(ln) + " " + op.name + " " + rn,
                    [&](Route how) { return show(op.op(make(ln), make(rn), how)); });
}

// A condition and ++/-- on every kind of operand, against the entry points:
// the truth or the result, the operand afterwards, the reports.
TEST_F(FastOps, ConditionsAndStepsAgreeWithTheEntryPoints)
{
  const char* const operands[] = {".T.", ".F.", "5",  "0",    "2.25", "T:1.5", "I0", "S:I3",
                                  "P:5", "D100", "'x'", "NIL", "UNDEF"};
  for (const char* n : operands)
    expect_same(n, [&](Route how) {
      var* v = make(n);
      const int truth = BY_ROAD(if_u, v);
      var* up = BY_ROAD(autoinc_u, v);
      const std::string after_up = which(up, v, nullptr) + " " + show(v);
      var* down = BY_ROAD(autodec_u, v);
      return std::to_string(truth) + " | " + after_up + " | " + which(down, v, nullptr) + " " +
             show(v);
    });
}

}  // namespace
