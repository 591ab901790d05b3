#!/bin/sh
# Prints what the shared library exports, sorted. Usage: scripts/exported-symbols.sh [LIBRARY]
# To take a deliberate change into the list that the tests compare with:
#   scripts/exported-symbols.sh > tests/structure/exported-symbols.txt
set -eu
library=${1:-$(dirname "$0")/../build/release/src/libZelhublib64.so}
nm --dynamic --demangle --defined-only "$library" | sed 's/^[0-9a-f]* [A-Za-z] //' |
    grep -v '^__odr_asan' | LC_ALL=C sort -u
