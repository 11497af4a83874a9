// One million DTOC and CTOD conversions in the default SET DATE format
// ("MM/DD/YY"), beside the C library's strftime and strptime doing the
// same conversions from and to a day count.
//
// Each benchmark iteration converts one million consecutive days, so the
// reported time is the time of a million conversions.
#include <benchmark/benchmark.h>
#include <time.h>

#include <string>
#include <vector>

#include "dates.hpp"
#include "vl.h"

using namespace vl;

namespace {

constexpr int kConversions = 1000000;
constexpr int kDateText = 16;
constexpr int64_t kSecondsPerDay = 86400;
constexpr int32_t kDayOf1970 = 719163;  // day number of 1 January 1970

int32_t first_day() { return datoint(1, 1, 1950); }

// The texts of the million days, for the reading benchmarks.
const std::vector<std::string>& texts()
{
  static const std::vector<std::string> all = [] {
    std::vector<std::string> out;
    out.reserve(kConversions);
    for (int i = 0; i < kConversions; ++i) out.emplace_back(vln_dtoc(first_day() + i % 36500));
    return out;
  }();
  return all;
}

void BM_DtocLanguage(benchmark::State& state)
{
  var* day = mak_var('N', 'U');
  const int32_t mark = tmpvar_cnt;
  for (auto _ : state) {
    for (int i = 0; i < kConversions; ++i) {
      set_dvar(day, first_day() + i % 36500);
      benchmark::DoNotOptimize(vl_call(_bb_dtoc, {day}));
      del_tmpvars(mark);
    }
  }
  del_var(day);
}
BENCHMARK(BM_DtocLanguage)->Unit(benchmark::kMillisecond);

void BM_DtocHelper(benchmark::State& state)
{
  for (auto _ : state)
    for (int i = 0; i < kConversions; ++i) benchmark::DoNotOptimize(vln_dtoc(first_day() + i % 36500));
}
BENCHMARK(BM_DtocHelper)->Unit(benchmark::kMillisecond);

// Baseline: day count to calendar fields (gmtime_r) and text (strftime).
void BM_NativeStrftime(benchmark::State& state)
{
  char buf[kDateText];
  for (auto _ : state) {
    for (int i = 0; i < kConversions; ++i) {
      const time_t t = static_cast<time_t>(first_day() + i % 36500 - kDayOf1970) * kSecondsPerDay;
      struct tm fields;
      gmtime_r(&t, &fields);
      benchmark::DoNotOptimize(strftime(buf, sizeof buf, "%m/%d/%y", &fields));
    }
  }
}
BENCHMARK(BM_NativeStrftime)->Unit(benchmark::kMillisecond);

void BM_CtodLanguage(benchmark::State& state)
{
  const auto& all = texts();
  std::vector<var*> vars;
  for (int i = 0; i < 100; ++i) {
    var* v = mak_var('N', 'U');
    set_Cvar(v, all[static_cast<size_t>(i)].c_str(), -1);
    vars.push_back(v);
  }
  const int32_t mark = tmpvar_cnt;
  for (auto _ : state) {
    for (int i = 0; i < kConversions; ++i) {
      benchmark::DoNotOptimize(vl_call(_bb_ctod, {vars[static_cast<size_t>(i % 100)]}));
      del_tmpvars(mark);
    }
  }
  for (var* v : vars) del_var(v);
}
BENCHMARK(BM_CtodLanguage)->Unit(benchmark::kMillisecond);

void BM_CtodHelper(benchmark::State& state)
{
  const auto& all = texts();
  for (auto _ : state)
    for (const auto& t : all) benchmark::DoNotOptimize(vln_ctod(t.c_str()));
}
BENCHMARK(BM_CtodHelper)->Unit(benchmark::kMillisecond);

// Baseline: text to calendar fields (strptime) and to a day count (timegm).
void BM_NativeStrptime(benchmark::State& state)
{
  const auto& all = texts();
  for (auto _ : state) {
    for (const auto& t : all) {
      struct tm fields = {};
      strptime(t.c_str(), "%m/%d/%y", &fields);
      benchmark::DoNotOptimize(timegm(&fields) / kSecondsPerDay + kDayOf1970);
    }
  }
}
BENCHMARK(BM_NativeStrptime)->Unit(benchmark::kMillisecond);

}  // namespace
