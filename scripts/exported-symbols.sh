#!/bin/sh
# Prints what the shared library exports, sorted. Usage: scripts/exported-symbols.sh [LIBRARY]
# To take a deliberate change into the lists that the tests compare with:
#   scripts/exported-symbols.sh > tests/structure/exported-symbols.txt
#   scripts/exported-symbols.sh build/mingw/bin/Zelhublib64.dll \
#       > tests/structure/exported-symbols-windows.txt
set -eu
library=${1:-$(dirname "$0")/../build/release/src/libZelhublib64.so}
case $library in
*.dll)
    x86_64-w64-mingw32-objdump -p "$library" |
        sed -n '/Ordinal\/Name Pointer/,/^$/s/^[[:space:]]*\[ *[0-9]*\] //p' | c++filt
    ;;
*)
    nm --dynamic --demangle --defined-only "$library" | sed 's/^[0-9a-f]* [A-Za-z] //; s/@@.*//; /^ZELHUBLIB64_1$/d' |
        grep -v '^__odr_asan'
    ;;
esac | LC_ALL=C sort -u
