#!/bin/bash
# Installs the library into a temporary prefix and builds a plain C program
# against it with cc and pkg-config, then runs it.
set -euo pipefail
build="$1"
src="$2"
prefix="$(mktemp -d)"
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" > /dev/null
export PKG_CONFIG_PATH="$prefix/lib/pkgconfig:$prefix/lib/x86_64-linux-gnu/pkgconfig"
flags=""
if grep -q 'VL_SANITIZE:BOOL=ON' "$build/CMakeCache.txt"; then
  flags="-fsanitize=address,undefined"
fi
cc -std=c11 -Wall -Wextra -Wno-unused-parameter -Werror $flags -o "$prefix/c_client" "$src/tests/install/c_client.c" \
  $(pkg-config --cflags --libs vl)
"$prefix/c_client"
