// The operators on the hot path of numeric code: ten million iterations of
//
//   x := x + a * b - c
//
// on numeric LOCALs, written the way generated code calls the operator
// entry points (a frame, statement boundaries releasing the statement's
// temporaries), against the same loop in Lua 5.4 on locals and in native
// C++ doubles, in the same run.  Each row reports ns_per_iter, the time of
// one loop iteration.
//
// Generated code includes vlgen.h, which gives it the number paths of the
// operators, the assignment and the release inline (fastops.h); the
// VlCalls row calls every entry point out of line instead, as a program
// built with VL_NO_INLINE_OPS does.
//
//   VlStatement   the statement alone: three operators, the assignment and
//                 the del_tmpvars release, under a native loop counter
//   VlCalls       the same statement, every step an out-of-line call
//   VlStmtSignal  the same with the full statement boundary generated code
//                 writes (_vln_signal_n before each statement)
//   VlForLoop     also the FOR loop's own counter as a language variable:
//                 i++ and i <= n through the operators
#include <benchmark/benchmark.h>

#include "vl.h"

#ifdef VL_HAVE_LUA
#include "lua_chunk.hpp"
#endif

namespace {

constexpr int64_t kLoop = 10'000'000;
constexpr double kA = 1.5;
constexpr double kB = 2.0;
constexpr double kC = 2.5;

enum class Boundary { Release, Calls, Signal, ForLoop };

// FUNCTION Loop(n)
//   LOCAL x := 0, a := 1.5, b := 2, c := 2.5
//   FOR i := 1 TO n
//     x := x + a * b - c
//   NEXT
// RETURN x
template <Boundary kind>
var* loop_fn(int argc, var** argv)
{
  VL_BEGIN("bench_ops.prg", "loop");
  var* n = VL_PARAM(0, 'N');
  var* x = VL_LOCAL('U');
  var* a = VL_LOCAL('U');
  var* b = VL_LOCAL('U');
  var* c = VL_LOCAL('U');
  var* i = VL_LOCAL('U');
  VL_STMT(set_nvar(x, 0, 0));
  VL_STMT(set_nvar(a, kA, 1));
  VL_STMT(set_nvar(b, kB, 0));
  VL_STMT(set_nvar(c, kC, 1));
  if constexpr (kind == Boundary::ForLoop) {
    VL_STMT(set_nvar(i, 1, 0));
    while (if_u(u_leq_u(i, n))) {
      VL_STMT(cpy_var(x, u_sub_u(u_add_u(x, u_mul_u(a, b, 0), 0), c, 0)));
      VL_STMT(autoinc_u(i));
    }
  } else {
    const int64_t count = vlnIntVar(n);
    for (int64_t k = 0; k < count; ++k) {
      if constexpr (kind == Boundary::Signal) {
        VL_STMT(cpy_var(x, u_sub_u(u_add_u(x, u_mul_u(a, b, 0), 0), c, 0)));
      } else if constexpr (kind == Boundary::Calls) {
        (cpy_var)(x, (u_sub_u)((u_add_u)(x, (u_mul_u)(a, b, 0), 0), c, 0));
        (del_tmpvars)(vl_frame_.TmvNp);
      } else {
        cpy_var(x, u_sub_u(u_add_u(x, u_mul_u(a, b, 0), 0), c, 0));
        del_tmpvars(vl_frame_.TmvNp);
      }
    }
  }
  VL_RETURN(x);
}

void per_iteration(benchmark::State& state)
{
  state.counters["ns_per_iter"] = benchmark::Counter(
      static_cast<double>(kLoop) * static_cast<double>(state.iterations()),
      benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

template <Boundary kind>
void BM_Vl(benchmark::State& state)
{
  const int32_t mark = tmpvar_cnt;
  for (auto _ : state) {
    var* r = vl_call(loop_fn<kind>, {set_nv(static_cast<double>(kLoop), 0)});
    if (vlnNumVar(r) != (kA * kB - kC) * kLoop) state.SkipWithError("wrong result");
    del_tmpvars(mark);
  }
  per_iteration(state);
}
BENCHMARK(BM_Vl<Boundary::Release>)->Name("VlStatement")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Vl<Boundary::Calls>)->Name("VlCalls")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Vl<Boundary::Signal>)->Name("VlStmtSignal")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Vl<Boundary::ForLoop>)->Name("VlForLoop")->Unit(benchmark::kMillisecond);

#ifdef VL_HAVE_LUA
constexpr const char* kLuaLoop =
    "local n = ...\n"
    "local x, a, b, c = 0.0, 1.5, 2.0, 2.5\n"
    "for i = 1, n do x = x + a * b - c end\n"
    "return x\n";

void BM_Lua(benchmark::State& state)
{
  run_lua_chunk(state, kLuaLoop, kLoop, (kA * kB - kC) * kLoop);
  per_iteration(state);
}
BENCHMARK(BM_Lua)->Name("Lua54")->Unit(benchmark::kMillisecond);
#endif

// The same arithmetic on doubles.  The operands come through volatile
// reads and every x is stored to a volatile sink, so the loop is neither
// vectorised nor folded into a closed form.
volatile double g_operands[3] = {kA, kB, kC};
volatile double g_sink;

void BM_Native(benchmark::State& state)
{
  const double a = g_operands[0], b = g_operands[1], c = g_operands[2];
  for (auto _ : state) {
    double x = 0;
    for (int64_t k = 0; k < kLoop; ++k) {
      x = x + a * b - c;
      g_sink = x;
    }
    if (x != (kA * kB - kC) * kLoop) state.SkipWithError("wrong result");
  }
  per_iteration(state);
}
BENCHMARK(BM_Native)->Name("Native")->Unit(benchmark::kMillisecond);

}  // namespace
