#!/bin/bash
# Builds the DBF driver's fuzz target with clang and runs it for the given
# number of seconds (default 600) on the corpus in tests/fuzz/corpus_dbf;
# libFuzzer's closing lines give the executions, coverage and time, and an
# input that fails is kept in the build directory.
# Needs: clang, libclang-rt-14-dev (libFuzzer and the sanitizer runtimes).
set -euo pipefail
src="$(cd "$(dirname "$0")/../.." && pwd)"
secs="${1:-600}"
build="$src/build-fuzz"
CC=clang CXX=clang++ cmake -S "$src" -B "$build" -G Ninja -DVL_FUZZ=ON \
  -DVL_BUILD_TESTS=OFF -DVL_BUILD_BENCH=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build" --target fuzz_dbf
work="$(mktemp -d)"
cp "$src"/tests/fuzz/corpus_dbf/* "$work"/
"$build/tests/fuzz/fuzz_dbf" -max_total_time="$secs" -max_len=8192 -timeout=10 \
  -rss_limit_mb=2048 -malloc_limit_mb=512 -print_final_stats=1 -artifact_prefix="$build/" \
  -dict="$src/tests/fuzz/dbf.dict" "$work"
