// Comparison operators: every member over the operand kinds, SET EXACT,
// NIL and undefined operands, identity of arrays and blocks, and that a
// comparison makes no temporary.
#include <string>

#include "switches.hpp"
#include "test_ops.hpp"

using namespace vl;

using opstest::make;

namespace {

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

}  // namespace

class OpsCompare : public opstest::Ops {};

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

namespace {

// n op u and l op u: = # < <= > >=.
const std::pair<var* (*)(double, var*), var* (*)(int, var*)> kLiteralMembers[] = {
    {n_equ_u, l_equ_u}, {n_neq_u, l_neq_u}, {n_lt_u, l_lt_u},
    {n_leq_u, l_leq_u}, {n_gt_u, l_gt_u},   {n_geq_u, l_geq_u}};

// A number literal ('n') or a logical one ('l', 0 or 1) against a value.
struct LiteralRow {
  char kind;
  double d;
  const char* right;
  const char* outcomes;
};

}  // namespace

TEST_F(OpsCompare, NumericAndLogicalLiteralsAgainstValues)
{
  const LiteralRow rows[] = {
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
  for (const LiteralRow& row : rows)
    EXPECT_EQ(outcomes(kLiteralMembers, [&](const auto& m) {
                return row.kind == 'n' ? m.first(row.d, make(row.right))
                                       : m.second(static_cast<int>(row.d), make(row.right));
              }),
              row.outcomes)
        << row.kind << row.d << " vs " << row.right;
}

namespace {

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

}  // namespace

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
  EXPECT_EQ(c_equ_c("abc", "ab"), TRUE_VAR);
  EXPECT_EQ(c_equ_c("ab", "abc"), FALSE_VAR);
  EXPECT_EQ(c_neq_c("ab", "abc"), TRUE_VAR);
  EXPECT_EQ(c_lt_c("ab", "abc"), TRUE_VAR);
  EXPECT_EQ(c_leq_c("abc", "ab"), TRUE_VAR);
  EXPECT_EQ(c_gt_c("b", "abc"), TRUE_VAR);
  EXPECT_EQ(c_geq_c("a", "b"), FALSE_VAR);
  flags[VL_FLAG_EXACT] = 1;
  EXPECT_EQ(c_equ_c("abc", "ab"), FALSE_VAR);
  EXPECT_EQ(c_equ_c("ab  ", "ab"), TRUE_VAR);
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
