// The inline number paths that programs get for + - *, < <= > >=, the
// condition, ++ and -- and the assignment must give exactly what the entry
// points give: the same record, Type, Length, Decimals and value, the same
// reports and the same temporary-stack height, for every kind of operand.
// (The operator tests run the inline paths for their number cases, and the
// temporary-stack tests the inline statement release.)
#include "test_ops.hpp"

#if !defined(u_add_u) || !defined(cpy_var) || !defined(del_tmpvars) || !defined(_vln_signal_n)
#error "a program including vl.h gets the inline operator paths"
#endif

namespace {

using opstest::make;
using opstest::show;

// Operands in the notation of test_ops.hpp: LOCAL numbers of several
// Decimals, number temporaries, an integer temporary, a strictly typed
// integer, and the other types, which the inline paths hand on.
const char* const kOperands[] = {"5",   "-2.50", "T:1.5", "T:0.125", "T:I4", "I7",    "S:I3",
                                 "F1.5", "'ab '", "NIL",   ".T.",     "D100", "UNDEF"};

enum class Route { Inline, Call };

// The call by the inline path (the macro) or by the entry point.
#define BY_ROAD(op, ...) (how == Route::Inline ? op(__VA_ARGS__) : (op)(__VA_ARGS__))

using Binary = var* (*)(var*, var*, int, Route);

class FastOps : public opstest::Ops {
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

  // What body(how) describes, followed by the reports it caused, with the
  // temporaries it made released afterwards.
  template <class Body>
  std::string observe(Route how, Body body)
  {
    const int32_t mark = tmpvar_cnt;
    reports().clear();
    std::string out = body(how);
    out += " | " + seen();
    (del_tmpvars)(mark);
    return out;
  }

  // Expects body to describe the same on both roads; context names the case.
  template <class Body>
  void expect_same(const std::string& context, Body body)
  {
    const std::string inline_road = observe(Route::Inline, body);
    EXPECT_EQ(inline_road, observe(Route::Call, body)) << context;
  }

  // Everything observable about l op r on fresh operands: the result, the
  // operands afterwards and the temporaries made.
  static std::string describe(Binary op, const char* ln, const char* rn, int assign, Route how)
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
    Binary op;
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
