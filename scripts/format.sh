#!/usr/bin/env bash
# Formats the C and C++ files of the tree. Usage: scripts/format.sh [--check]
# --check changes nothing and fails when a file would change.
set -euo pipefail
cd "$(dirname "$0")/.."

format=$(command -v clang-format-14 || command -v clang-format)
mode=(-i)
[ "${1:-}" != --check ] || mode=(--dry-run --Werror)

folders=()
for folder in src sim tools tests bench fuzz examples; do
    [ ! -d $folder ] || folders+=($folder)
done
find "${folders[@]}" -type f \( -name '*.h' -o -name '*.c' -o -name '*.cpp' \) -print0 |
    xargs -0 -n 20 -P "$(nproc)" "$format" "${mode[@]}"
