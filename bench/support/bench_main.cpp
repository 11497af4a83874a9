// The main of every benchmark program: the run-time starts before any
// benchmark runs, then Google Benchmark takes over.
#include <benchmark/benchmark.h>

#include "vl.h"

int main(int argc, char** argv)
{
  vln_start(argc, argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
