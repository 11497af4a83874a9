// Comparison operators: every member over the operand kinds, SET EXACT,
// NIL and undefined operands, identity of arrays and blocks, the 201 texts
// per member, and that a comparison allocates nothing.
#include <atomic>
#include <string>

#include "switches.hpp"
#include "test_ops.hpp"

using namespace vl;

using opstest::described;
using opstest::make;

// Count every allocation of the process, so that a test can show that a
// comparison makes none.  The sanitizer build owns malloc itself.
#ifndef __SANITIZE_ADDRESS__
namespace {
std::atomic<long> g_allocations{0};
}
extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* malloc(size_t n)
{
  g_allocations.fetch_add(1, std::memory_order_relaxed);
  return __libc_malloc(n);
}
void* calloc(size_t n, size_t size)
{
  g_allocations.fetch_add(1, std::memory_order_relaxed);
  return __libc_calloc(n, size);
}
void* realloc(void* p, size_t n)
{
  g_allocations.fetch_add(1, std::memory_order_relaxed);
  return __libc_realloc(p, n);
}
}
#define VL_COUNTS_ALLOCATIONS 1
#endif

namespace {

// Outcome letters, one per member of a table row:
//   T TRUE_VAR   F FALSE_VAR   E ERROR_VAR without a message
//   M 201 with the member's text and ERROR_VAR
//   U 901 "undefined variable in ..." and FALSE_VAR
char outcome(var* r)
{
  const auto& seen = vltest::VlTest::reports();
  if (r == TRUE_VAR) return seen.empty() ? 'T' : '?';
  if (r == FALSE_VAR) {
    if (seen.empty()) return 'F';
    return seen.size() == 1 && seen[0].code == 901 ? 'U' : '?';
  }
  if (r == ERROR_VAR) {
    if (seen.empty()) return 'E';
    return seen.size() == 1 && seen[0].code == 201 ? 'M' : '?';
  }
  return '?';
}

struct Member {
  const char* name;
  var* (*uu)(var*, var*);
  const char* mismatch;
  const char* undefined;
};

// The u op u members in the order of the outcome strings: = == # < <= > >=.
const Member kValueMembers[] = {
    {"u_equ_u", u_equ_u, "in equals '=' operation", "undefined variable in '=' operation"},
    {"u_eequ_u", u_eequ_u, "in exactly equals '==' operation",
     "undefined variable in '==' operation"},
    {"u_neq_u", u_neq_u, "in not equals '#' operation", "undefined variable in '!=' operation"},
    {"u_lt_u", u_lt_u, "in less than '<' operation", ""},
    {"u_leq_u", u_leq_u, "in less than or equal '<=' operation", ""},
    {"u_gt_u", u_gt_u, "in greater than '>' operation", ""},
    {"u_geq_u", u_geq_u, "in less than or equal '<=' operation", ""},
};

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
    {".F.", "0.5", "FFTTTFF"},
    {"D5", "D7", "FFTTTFF"},
    {"D-3", "D0", "FFTTTFF"},
    {"'abc'", "'ab'", "TFFFTFT"},
    {"'ab'", "'abc'", "FFTTTFF"},
    {"'x'", "''", "TFFFTFT"},
    {"''", "'x'", "FFTTTFF"},
    {"''", "''", "TTFFTFT"},
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
    {".T.", "D1", "MMMMMMM"},
    {"{}", "{}", "FFTTTTT"},
    {"O", "O", "FFTTTTT"},
    {"{}", "O", "MMMMMMM"},
    {"B", "B", "TTFFTFT"},
    {"B", "{}", "MMMMMMM"},
};

char run_value_member(const Member& m, const ValueRow& row)
{
  vltest::VlTest::reports().clear();
  const char c = outcome(m.uu(make(row.left), make(row.right)));
  const auto& seen = vltest::VlTest::reports();
  if (c == 'M' && seen[0].description != described(201, m.mismatch)) return '?';
  if (c == 'U' && seen[0].description != described(901, m.undefined)) return '?';
  return c;
}

}  // namespace

class OpsCompare : public opstest::Ops {};

TEST_F(OpsCompare, ValuesByKind)
{
  flags[VL_FLAG_EXACT] = 0;
  for (const ValueRow& row : kValueRows) {
    std::string got;
    for (const Member& m : kValueMembers) got += run_value_member(m, row);
    EXPECT_EQ(got, row.outcomes) << row.left << " vs " << row.right;
  }
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
    std::string got;
    for (const Member& m : kValueMembers) got += run_value_member(m, row);
    EXPECT_EQ(got, row.outcomes) << row.left << " vs " << row.right;
  }
  EXPECT_EQ(flags[VL_FLAG_EXACT], 1);
}

// == compares exactly whatever SET EXACT says, and leaves the switch as it
// found it.
TEST_F(OpsCompare, ExactlyEqualRestoresTheSwitch)
{
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
  EXPECT_EQ(u_lt_u(a, b), FALSE_VAR);
  EXPECT_EQ(u_gt_u(a, b), FALSE_VAR);
  EXPECT_EQ(u_leq_u(a, b), TRUE_VAR);
  var* s1 = make("NIL");
  var* s2 = make("NIL");
  s1->Type = s2->Type = 'S';
  s1->Value.w1.win = s2->Value.w1.win = &a;
  EXPECT_EQ(u_eequ_u(s1, s2), TRUE_VAR);
  EXPECT_EQ(u_lt_u(s1, s2), FALSE_VAR);
  EXPECT_EQ(u_geq_u(s1, s2), TRUE_VAR);
  EXPECT_TRUE(reports().empty());
}

namespace {

struct LiteralMember {
  const char* name;
  var* (*nu)(double, var*);
  var* (*lu)(int, var*);
  const char* mismatch;
};

// n op u and l op u: = # < <= > >=.
const LiteralMember kLiteralMembers[] = {
    {"=", n_equ_u, l_equ_u, "in equals '=' operation"},
    {"#", n_neq_u, l_neq_u, "in not equals '#' operation"},
    {"<", n_lt_u, l_lt_u, "in less than '<' operation"},
    {"<=", n_leq_u, l_leq_u, "in less than or equal '<=' operation"},
    {">", n_gt_u, l_gt_u, "in less than '<' operation"},
    {">=", n_geq_u, l_geq_u, "in less than or equal '<=' operation"},
};

struct NumRow {
  double d;
  const char* right;
  const char* outcomes;
};

template <class Call>
std::string run_literal_members(Call call)
{
  std::string got;
  for (const LiteralMember& m : kLiteralMembers) {
    vltest::VlTest::reports().clear();
    char c = outcome(call(m));
    if (c == 'M' && vltest::VlTest::reports()[0].description != described(201, m.mismatch))
      c = '?';
    got += c;
  }
  return got;
}

}  // namespace

TEST_F(OpsCompare, NumericLiteralAgainstValues)
{
  const NumRow rows[] = {
      {2.5, "I2", "TFFTFT"},    // the literal's whole part against an integer
      {2.5, "2", "FTFFTT"},
      {-2.5, "I-2", "TFFTFT"},
      {1, ".T.", "TFFTFT"},
      {0.5, "F0.25", "FTFFTT"},
      {1, "NIL", "FTMMMM"},
      {1, "UNDEF", "MMMMMM"},
      {1, "'a'", "MMMMMM"},
      {1, "D1", "MMMMMM"},
  };
  for (const NumRow& row : rows)
    EXPECT_EQ(run_literal_members([&](const LiteralMember& m) { return m.nu(row.d, make(row.right)); }),
              row.outcomes)
        << row.d << " vs " << row.right;
}

TEST_F(OpsCompare, LogicalLiteralAgainstValues)
{
  const NumRow rows[] = {
      {1, ".F.", "FTFFTT"},
      {0, "0", "TFFTFT"},
      {1, "I7", "TFFTFT"},
      {0, ".T.", "FTTTFF"},
      {1, "NIL", "FTMMMM"},
      {1, "'a'", "MMMMMM"},
  };
  for (const NumRow& row : rows)
    EXPECT_EQ(run_literal_members([&](const LiteralMember& m) {
                return m.lu(static_cast<int>(row.d), make(row.right));
              }),
              row.outcomes)
        << row.d << " vs " << row.right;
}

namespace {

struct TextMember {
  const char* name;
  var* (*call)(const char*, var*);
  const char* mismatch;
};

// The members with a text literal on one side, the literal passed first.
var* equ_c(const char* t, var* v) { return u_equ_c(v, t); }
var* neq_c(const char* t, var* v) { return u_neq_c(v, t); }
var* lt_c(const char* t, var* v) { return u_lt_c(v, t); }
var* leq_c(const char* t, var* v) { return u_leq_c(v, t); }
var* gt_c(const char* t, var* v) { return u_gt_c(v, t); }
var* geq_c(const char* t, var* v) { return u_geq_c(v, t); }

// "text" op v: == # < <= >=.
const TextMember kTextLeft[] = {
    {"c_eequ_u", c_eequ_u, "in exactly equals '==' operation"},
    {"c_neq_u", c_neq_u, "in not equals '#' operation"},
    {"c_lt_u", c_lt_u, "in less than '<' operation"},
    {"c_leq_u", c_leq_u, "in less than or equal '<=' operation"},
    {"c_geq_u", c_geq_u, "in less than or equal '<=' operation"},
};

// v op "text": = # < <= > >=.
const TextMember kTextRight[] = {
    {"u_equ_c", equ_c, "in equals '=' operation"},
    {"u_neq_c", neq_c, "in not equals '#' operation"},
    {"u_lt_c", lt_c, "in less than '<' operation"},
    {"u_leq_c", leq_c, "in less than or equal '<=' operation"},
    {"u_gt_c", gt_c, "in less than '<' operation"},
    {"u_geq_c", geq_c, "in less than or equal '<=' operation"},
};

struct TextRow {
  const char* text;
  const char* value;
  const char* outcomes;
};

template <size_t N>
std::string run_text_members(const TextMember (&members)[N], const TextRow& row)
{
  std::string got;
  for (const TextMember& m : members) {
    vltest::VlTest::reports().clear();
    char c = outcome(m.call(row.text, make(row.value)));
    if (c == 'M' && vltest::VlTest::reports()[0].description != described(201, m.mismatch))
      c = '?';
    got += c;
  }
  return got;
}

}  // namespace

TEST_F(OpsCompare, TextLiteralOnTheLeft)
{
  flags[VL_FLAG_EXACT] = 0;
  const TextRow rows[] = {
      {"abc", "'ab'", "FFFTT"},
      {"ab", "'abc'", "FTTTF"},
      {"ab", "M'ab'", "TFFTT"},
      {"a", "NIL", "FTMMM"},
      {"a", "5", "MMMMM"},
  };
  for (const TextRow& row : rows)
    EXPECT_EQ(run_text_members(kTextLeft, row), row.outcomes) << row.text << " vs " << row.value;
}

TEST_F(OpsCompare, TextLiteralOnTheRight)
{
  flags[VL_FLAG_EXACT] = 0;
  const TextRow rows[] = {
      {"abc", "'ab'", "FTTTFF"},
      {"ab", "'abc'", "TFFTFT"},
      {"", "'x'", "TFFTFT"},
      {"x", "M'x'", "TFFTFT"},
      {"x", "NIL", "MTMMMM"},  // only # answers NIL here
      {"x", ".T.", "MMMMMM"},
  };
  for (const TextRow& row : rows)
    EXPECT_EQ(run_text_members(kTextRight, row), row.outcomes) << row.value << " vs " << row.text;
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

// A comparison gives a constant record: no temporary, no allocation.
TEST_F(OpsCompare, AllocatesNothing)
{
  var* a = make("1.5");
  var* i = make("I2");
  var* s = make("'abc'");
  var* t = make("'ab'");
  var* d = make("D3");
  var* arr = make("{}");
  const int32_t before = tmpvar_cnt;
#ifdef VL_COUNTS_ALLOCATIONS
  const long allocations = g_allocations.load();
#endif
  for (int k = 0; k < 1000; ++k) {
    u_lt_u(a, i);
    u_equ_u(s, t);
    u_eequ_u(s, t);
    u_geq_u(d, d);
    u_neq_u(arr, arr);
    n_gt_u(2.5, i);
    u_equ_c(s, "abc");
    c_lt_u("b", t);
    l_equ_u(1, a);
    u_in_u(t, s);
  }
#ifdef VL_COUNTS_ALLOCATIONS
  EXPECT_EQ(g_allocations.load(), allocations);
#endif
  EXPECT_EQ(tmpvar_cnt, before);
}
