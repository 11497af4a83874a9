// Programs run by the compiler and machine of src/prog against the same
// programs in Lua 5.4, in the same run:
//
//   ProgLoop   FOR i := 1 TO 10000000 / x := x + a * b - c / NEXT on LOCALs
//   ProgFib    fib(27), recursive
//   GenFib     the same fib as generated code writes it, for reference
//
// Each program is parsed and loaded once; an iteration of the benchmark is
// one run of its main procedure (Session::run_main).  Rows report
// ns_per_iter: the time of one loop turn, or of one call of fib.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "parse.hpp"
#include "session.hpp"
#include "vl.h"

#ifdef VL_HAVE_LUA
#include "lua_chunk.hpp"
#endif

namespace {

constexpr int64_t kLoop = 10'000'000;
constexpr int kFibN = 27;
// Calls fib(27) makes: fib(n) makes 2 * fib(n + 1) - 1 calls.
constexpr double kFibCalls = 2.0 * 317811 - 1;
constexpr double kLoopResult = (1.5 * 2.0 - 2.5) * kLoop;
constexpr double kFibResult = 196418;

constexpr const char* kProgLoop =
    "LOCAL x := 0, a := 1.5, b := 2, c := 2.5, i\n"
    "FOR i := 1 TO 10000000\n"
    "  x := x + a * b - c\n"
    "NEXT\n"
    "result(x)\n";

constexpr const char* kProgFib =
    "result(fib(27))\n"
    "FUNCTION fib(n)\n"
    "  IF n < 2\n"
    "    RETURN n\n"
    "  ENDIF\n"
    "RETURN fib(n - 1) + fib(n - 2)\n";

double g_result = 0;

var* result_fn(int argc, var** argv)
{
  g_result = argc > 0 ? vlnNumVar(argv[0]) : 0;
  return NIL_VAR;
}

void per(benchmark::State& state, double count)
{
  state.counters["ns_per_iter"] =
      benchmark::Counter(count * static_cast<double>(state.iterations()),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void run_program(benchmark::State& state, const char* name, const char* text, double expect,
                 double count)
{
  vln_register_fun("result", result_fn);
  vl::prog::Session session;
  std::vector<vl::prog::Unit> units(1);
  vl::prog::Diagnostic diag;
  if (!vl::prog::parse_unit(name, 0, text, units[0], diag) || !session.load(units, diag)) {
    state.SkipWithError(diag.message.c_str());
    return;
  }
  for (auto _ : state) {
    session.run_main({});
    if (g_result != expect) state.SkipWithError("wrong result");
  }
  per(state, count);
}

void BM_ProgLoop(benchmark::State& state)
{
  run_program(state, "bench_loop.prg", kProgLoop, kLoopResult, static_cast<double>(kLoop));
}
BENCHMARK(BM_ProgLoop)->Name("ProgLoop")->Unit(benchmark::kMillisecond);

void BM_ProgFib(benchmark::State& state)
{
  run_program(state, "bench_fib.prg", kProgFib, kFibResult, kFibCalls);
}
BENCHMARK(BM_ProgFib)->Name("ProgFib")->Unit(benchmark::kMillisecond);

// The same fib written as generated code (vlgen.h): what a compiled
// program pays for its frames, the floor of ProgFib.
var* k_one = nullptr;
var* k_two = nullptr;

var* gen_fib(int argc, var** argv)
{
  VL_BEGIN("bench_fib.prg", "fib");
  var* n = VL_PARAM(0, 'U');
  _vln_signal_n();
  vl_frame_.Line = 3;
  if (if_u(u_lt_u(n, k_two))) {
    del_tmpvars(vl_frame_.TmvNp);
    VL_RETURN(n);
  }
  del_tmpvars(vl_frame_.TmvNp);
  _vln_signal_n();
  vl_frame_.Line = 6;
  var* a = vl_call(gen_fib, {u_sub_u(n, k_one, 0)});
  VL_RETURN(u_add_u(a, vl_call(gen_fib, {u_sub_u(n, k_two, 0)}), 0));
}

var* constant(double d)
{
  var* v = mak_var('C', 'N');
  set_nvar(v, d, 0);
  v->Flags |= VF_STATIC;
  return v;
}

void BM_GenFib(benchmark::State& state)
{
  if (!k_one) k_one = constant(1), k_two = constant(2);
  const int32_t mark = tmpvar_cnt;
  for (auto _ : state) {
    var* r = vl_call(gen_fib, {set_nv(kFibN, 0)});
    if (vlnNumVar(r) != kFibResult) state.SkipWithError("wrong result");
    del_tmpvars(mark);
  }
  per(state, kFibCalls);
}
BENCHMARK(BM_GenFib)->Name("GenFib")->Unit(benchmark::kMillisecond);

#ifdef VL_HAVE_LUA
constexpr const char* kLuaLoop =
    "local n = ...\n"
    "local x, a, b, c = 0.0, 1.5, 2.0, 2.5\n"
    "for i = 1, n do x = x + a * b - c end\n"
    "return x\n";

constexpr const char* kLuaFib =
    "local n = ...\n"
    "local function fib(n) if n < 2 then return n end return fib(n - 1) + fib(n - 2) end\n"
    "return fib(n)\n";

void run_lua(benchmark::State& state, const char* chunk_text, lua_Integer arg, double expect,
             double count)
{
  run_lua_chunk(state, chunk_text, arg, expect);
  per(state, count);
}

void BM_LuaLoop(benchmark::State& state)
{
  run_lua(state, kLuaLoop, kLoop, kLoopResult, static_cast<double>(kLoop));
}
BENCHMARK(BM_LuaLoop)->Name("LuaLoop")->Unit(benchmark::kMillisecond);

void BM_LuaFib(benchmark::State& state) { run_lua(state, kLuaFib, kFibN, kFibResult, kFibCalls); }
BENCHMARK(BM_LuaFib)->Name("LuaFib")->Unit(benchmark::kMillisecond);
#endif

}  // namespace
