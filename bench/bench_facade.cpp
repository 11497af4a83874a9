// The database functions against a direct call of the driver method they
// end in, in the same run, over the in-memory MEM test driver:
//
//   FacadeEof        EOF(): selected area, object, instance read, access
//   DirectEof        the driver's eof access function called with the object
//   FacadeFieldGet   FIELDGET(2): selected area, argument check, send by slot
//   DirectFieldGet   the driver's fieldget method called with (object, 2)
//
// Every iteration ends its statement (del_tmpvars) as generated code does,
// in both rows of each pair; the difference is the cost of the facade.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "areas.h"
#include "dsslots.h"
#include "facade.h"
#include "memdriver.h"
#include "vl.h"

namespace {

constexpr int kRows = 100;

// Open a fresh table of kRows rows in the lowest free area; its object.
var* open_table()
{
  memdrv::install();
  std::vector<memdrv::Row> rows;
  for (int i = 0; i < kRows; ++i) rows.push_back({std::string("name"), static_cast<double>(i)});
  memdrv::define("BENCH", {{"NAME", 'C', 10, 0}, {"NUM", 'N', 5, 0}}, rows);
  if (!memdrv::open("BENCH")) return nullptr;
  return vlnSelectedArea->obj;
}

void close_table() { _bb_dbcloseall(0, nullptr); }

void FacadeEof(benchmark::State& state)
{
  if (!open_table()) return state.SkipWithError("table did not open");
  const int32_t mark = tmpvar_cnt;
  for (auto _ : state) {
    benchmark::DoNotOptimize(_bb_eof(0, nullptr));
    del_tmpvars(mark);
  }
  close_table();
}
BENCHMARK(FacadeEof)->Iterations(1000000);

void DirectEof(benchmark::State& state)
{
  var* obj = open_table();
  if (!obj) return state.SkipWithError("table did not open");
  auto eof = reinterpret_cast<VlnAccessFn>(vlnGetMethod(obj, "eof", VLN_DS_EOF_AC));
  const int32_t mark = tmpvar_cnt;
  for (auto _ : state) {
    benchmark::DoNotOptimize(eof(obj));
    del_tmpvars(mark);
  }
  close_table();
}
BENCHMARK(DirectEof)->Iterations(1000000);

void FacadeFieldGet(benchmark::State& state)
{
  if (!open_table()) return state.SkipWithError("table did not open");
  var* field = set_Iv(2);
  const int32_t mark = tmpvar_cnt;
  for (auto _ : state) {
    benchmark::DoNotOptimize(_bb_fieldget(1, &field));
    del_tmpvars(mark);
  }
  close_table();
}
BENCHMARK(FacadeFieldGet)->Iterations(1000000);

void DirectFieldGet(benchmark::State& state)
{
  var* obj = open_table();
  if (!obj) return state.SkipWithError("table did not open");
  auto fieldget = reinterpret_cast<BbFn>(vlnGetMethod(obj, "fieldget", VLN_DS_FIELDGET));
  var* args[] = {obj, set_Iv(2)};
  const int32_t mark = tmpvar_cnt;
  for (auto _ : state) {
    benchmark::DoNotOptimize(fieldget(2, args));
    del_tmpvars(mark);
  }
  close_table();
}
BENCHMARK(DirectFieldGet)->Iterations(1000000);

}  // namespace
