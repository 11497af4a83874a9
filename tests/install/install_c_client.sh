#!/bin/bash
# Installs the library into a temporary prefix and builds plain C programs
# against it with cc and pkg-config, then runs them: c_client.c calls
# library functions inside a frame, extend_client.c writes functions with
# the Extend interface and calls them by name, names_client.c defines
# globals named like the library's internal ones (flags, open_fil, ...).
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
for client in c_client extend_client names_client; do
  cc -std=c11 -Wall -Wextra -Wno-unused-parameter -Werror $flags -o "$prefix/$client" \
    "$src/tests/install/$client.c" $(pkg-config --cflags --libs vl)
  "$prefix/$client"
done
