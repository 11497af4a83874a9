// SUBSTR, AT, STRTRAN and UPPER over a 1 MiB text, each beside a native
// C++ baseline doing the same work with std::string_view and std::string.
//
// The language functions build a new text temporary per call (released
// between iterations, as between statements); the baselines build a
// std::string, so both sides pay for the result they hand back.
#include <benchmark/benchmark.h>

#include <string>
#include <string_view>

#include "stringsfn.h"
#include "vl.h"

namespace {

constexpr size_t kMiB = 1024 * 1024;
constexpr size_t kPiece = kMiB / 2;
constexpr size_t kPieceStart = 1000;

// 1 MiB of words with "needle" once, near the end.
const std::string& haystack()
{
  static const std::string text = [] {
    const std::string words = "lorem ipsum dolor sit amet consectetur adipiscing elit ";
    std::string s;
    while (s.size() < kMiB) s += words;
    s.resize(kMiB);
    s.replace(kMiB - 100, 6, "needle");
    return s;
  }();
  return text;
}

// A variable holding the 1 MiB text, kept for the whole run.
var* haystack_var()
{
  static var* v = [] {
    var* r = mak_var('N', 'U');
    set_Cvar(r, haystack().data(), static_cast<int32_t>(haystack().size()));
    return r;
  }();
  return v;
}

// Run fn(args) per iteration, releasing its temporaries as a statement end does.
void run(benchmark::State& state, BbFn fn, std::initializer_list<var*> args)
{
  const int32_t mark = tmpvar_cnt;
  for (auto _ : state) {
    benchmark::DoNotOptimize(vl_call(fn, args));
    del_tmpvars(mark);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kMiB));
}

var* keep_number(double d)
{
  var* v = mak_var('N', 'U');
  set_nvar(v, d, 0);
  return v;
}

var* keep_text(const char* s)
{
  var* v = mak_var('N', 'U');
  set_Cvar(v, s, -1);
  return v;
}

void BM_Substr(benchmark::State& state)
{
  run(state, _bb_substr, {haystack_var(), keep_number(kPieceStart + 1), keep_number(kPiece)});
}
BENCHMARK(BM_Substr);

void BM_NativeSubstr(benchmark::State& state)
{
  const std::string_view sv = haystack();
  for (auto _ : state) benchmark::DoNotOptimize(std::string(sv.substr(kPieceStart, kPiece)));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kMiB));
}
BENCHMARK(BM_NativeSubstr);

void BM_At(benchmark::State& state) { run(state, _bb_at, {keep_text("needle"), haystack_var()}); }
BENCHMARK(BM_At);

void BM_NativeFind(benchmark::State& state)
{
  const std::string_view sv = haystack();
  for (auto _ : state) benchmark::DoNotOptimize(sv.find("needle"));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kMiB));
}
BENCHMARK(BM_NativeFind);

void BM_Strtran(benchmark::State& state)
{
  run(state, _bb_strtran, {haystack_var(), keep_text("ipsum"), keep_text("IPSUM!")});
}
BENCHMARK(BM_Strtran);

// Baseline: find and append into a reserved std::string.
void BM_NativeReplaceAll(benchmark::State& state)
{
  const std::string_view sv = haystack();
  const std::string_view from = "ipsum", to = "IPSUM!";
  for (auto _ : state) {
    std::string out;
    out.reserve(sv.size() + sv.size() / 8);
    size_t done = 0;
    for (size_t at = sv.find(from); at != std::string_view::npos; at = sv.find(from, done)) {
      out.append(sv, done, at - done);
      out.append(to);
      done = at + from.size();
    }
    out.append(sv, done);
    benchmark::DoNotOptimize(out);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kMiB));
}
BENCHMARK(BM_NativeReplaceAll);

void BM_Upper(benchmark::State& state) { run(state, _bb_upper, {haystack_var()}); }
BENCHMARK(BM_Upper);

// Baseline: copy and fold ASCII letters.
void BM_NativeUpper(benchmark::State& state)
{
  const std::string_view sv = haystack();
  for (auto _ : state) {
    std::string out(sv);
    for (char& c : out)
      if (c >= 'a' && c <= 'z') c = static_cast<char>(c - ('a' - 'A'));
    benchmark::DoNotOptimize(out);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kMiB));
}
BENCHMARK(BM_NativeUpper);

}  // namespace
