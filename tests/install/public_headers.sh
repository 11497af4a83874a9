#!/bin/bash
# Installs the library into a temporary prefix and checks its headers: vl.h
# includes exactly the other installed headers, and each installed header
# compiles alone as C11 and as C++ with every warning an error (var.h also
# as C99, which has no anonymous unions without __extension__).
set -euo pipefail
build="$1"
prefix="$(mktemp -d)"
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" > /dev/null
inc="$prefix/include/vl"
cd "$inc"

installed="$(ls *.h | grep -vx vl.h | sort)"
included="$(sed -n 's/^#include "\(.*\)"$/\1/p' vl.h | sort)"
if [ "$installed" != "$included" ]; then
  echo "vl.h and the installed headers differ (< installed, > included by vl.h):"
  diff <(echo "$installed") <(echo "$included") || true
  exit 1
fi

failures=0
compile() {  # language (c or c++), header, flags...
  local lang="$1" header="$2"
  shift 2
  local cc=cc
  [ "$lang" = c ] || cc=c++
  if ! echo "#include \"$header\"" | "$cc" -x "$lang" "$@" -fsyntax-only -I "$inc" -; then
    echo "FAIL: $header ($cc $*)"
    failures=$((failures + 1))
  fi
}
for h in *.h; do
  compile c "$h" -std=c11 -Wall -Wextra -Werror -pedantic
  compile c++ "$h" -std=c++20 -Wall -Wextra -Werror -pedantic
done
compile c var.h -std=c99 -pedantic -Werror
echo "$(ls *.h | wc -l) headers checked, $failures failures"
[ "$failures" -eq 0 ]
