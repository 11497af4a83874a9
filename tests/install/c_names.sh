#!/bin/bash
# Every C symbol the library exports without a library prefix must be one
# that docs/interface.md lists as public: anything else is an internal name
# that a program's own globals could collide with.
set -euo pipefail
build="$1"
src="$2"
lib="$build/libVL.a"
[ -f "$lib" ] || lib="$build/libVL.so"
# The rows of the table of public names.
public="$(sed -n '/^## Exported C names/,/^## Made internal/p' "$src/docs/interface.md" | grep '^|')"
missing=0
for name in $(nm -g --defined-only "$lib" | awk 'NF==3 {print $3}' | grep -v '^_Z' | sort -u |
                grep -Ev '^(_bb|_vln|vln|vl_|VL|vlsc|__|DW\.)'); do
  if ! grep -qF "\`$name\`" <<< "$public"; then
    echo "exported but not public in docs/interface.md: $name"
    missing=$((missing + 1))
  fi
done
[ "$missing" -eq 0 ]
