// Temporaries and frames against the allocator and std::string.
//
// A temporary must cost less than a malloc/free pair, and a frame with two
// locals must allocate nothing on the heap.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "vl.h"

namespace {

void BM_TempCreateRelease(benchmark::State& state)
{
  const int32_t mark = tmpvar_cnt;
  for (auto _ : state) {
    var* t = cre_tmpvar();
    benchmark::DoNotOptimize(t);
    del_tmpvars(mark);
  }
}
BENCHMARK(BM_TempCreateRelease);

// mk_var_cp of a variable that holds what fill puts in it, and release.
void temp_copy(benchmark::State& state, void (*fill)(var*))
{
  var* x = mak_var('N', 'U');
  fill(x);
  const int32_t mark = tmpvar_cnt;
  for (auto _ : state) {
    benchmark::DoNotOptimize(mk_var_cp(x));
    del_tmpvars(mark);
  }
  del_var(x);
}

void BM_TempCopyNumeric(benchmark::State& state)
{
  temp_copy(state, [](var* x) { set_nvar(x, 3.25, 2); });
}
BENCHMARK(BM_TempCopyNumeric);

void BM_TempCopyString(benchmark::State& state)
{
  temp_copy(state, [](var* x) { set_Cvar(x, "customer name", -1); });
}
BENCHMARK(BM_TempCopyString);

// Baseline: one malloc/free pair of a record's size.
void BM_BaselineMallocFree(benchmark::State& state)
{
  for (auto _ : state) {
    void* p = std::malloc(sizeof(var));
    benchmark::DoNotOptimize(p);
    std::free(p);
  }
}
BENCHMARK(BM_BaselineMallocFree);

// Baseline: copying a std::string past the small-string buffer.
void BM_BaselineStringCopy(benchmark::State& state)
{
  const std::string s = "customer name, long enough to leave SSO";
  for (auto _ : state) {
    std::string c = s;
    benchmark::DoNotOptimize(c);
  }
}
BENCHMARK(BM_BaselineStringCopy);

var* two_locals(int argc, var** argv)
{
  VL_BEGIN("bench.prg", "twolocals");
  var* a = VL_LOCAL('U');
  var* b = VL_LOCAL('N');
  VL_STMT(set_nvar(a, 1, 0));
  VL_STMT(set_nvar(b, 2, 0));
  VL_RETURN_NIL();
}

void BM_FrameWithTwoLocals(benchmark::State& state)
{
  const int32_t mark = tmpvar_cnt;
  for (auto _ : state) {
    benchmark::DoNotOptimize(two_locals(0, nullptr));
    del_tmpvars(mark);
  }
}
BENCHMARK(BM_FrameWithTwoLocals);

}  // namespace
