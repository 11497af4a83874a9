#!/bin/bash
# Builds a fuzz target with clang and runs it for the given number of
# seconds (default 600) on its corpus, tests/fuzz/corpus_<name>, with its
# dictionary <name>.dict:
#   run_fuzz.sh eval [SECONDS]   the expression evaluator
#   run_fuzz.sh dbf [SECONDS]    the DBF driver's open and read paths
#   run_fuzz.sh idx [SECONDS]    index open, seek, walk and the checker
#   run_fuzz.sh prog [SECONDS]   the statement parser on program sources
# libFuzzer's closing lines give the executions, coverage and time; an
# input that fails is kept in the build directory.
# Needs: clang, libclang-rt-14-dev (libFuzzer and the sanitizer runtimes).
set -euo pipefail
src="$(cd "$(dirname "$0")/../.." && pwd)"
name="${1:?usage: run_fuzz.sh eval|dbf|idx|prog [SECONDS]}"
secs="${2:-600}"
case "$name" in
  eval) max_len=512 ;;
  dbf) max_len=8192 ;;
  idx) max_len=8192 ;;
  prog) max_len=4096 ;;
  *) echo "no fuzz target '$name'" >&2; exit 2 ;;
esac
build="$src/build-fuzz"
CC=clang CXX=clang++ cmake -S "$src" -B "$build" -G Ninja -DVL_FUZZ=ON \
  -DVL_BUILD_TESTS=OFF -DVL_BUILD_BENCH=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build" --target "fuzz_$name"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
cp "$src/tests/fuzz/corpus_$name"/* "$work"/
"$build/tests/fuzz/fuzz_$name" -max_total_time="$secs" -max_len="$max_len" -timeout=10 \
  -rss_limit_mb=2048 -malloc_limit_mb=512 -print_final_stats=1 -artifact_prefix="$build/" \
  -dict="$src/tests/fuzz/$name.dict" "$work"
