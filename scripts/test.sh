#!/usr/bin/env bash
# Builds and tests. Usage: scripts/test.sh [--quick|--full|--windows]
#   (default)  release build and sanitizer build with their tests, among them the installed tool
#              on a real kernel in a virtual machine (not where ZELHUB_NO_VM=1 is set), what
#              --windows does, format of the whole tree, clang-tidy on what changed, a short run
#              of the fuzz targets
#   --quick    the release build and its tests alone, without packages and virtual machine
#   --full     also the clang build, the whole tree under clang-tidy, and the planted faults
#   --windows  the library, the tool and all tests cross-built for Windows and run under Wine,
#              in a prefix of their own that is removed again; nothing else
# Every step runs even when an earlier one failed; the release build's summary comes last, and
# the exit code is 0 only when every step passed.
set -uo pipefail
cd "$(dirname "$0")/.."

usage() { sed -n '2,12s/^# \{0,1\}//p' scripts/test.sh; }
mode=default
case "${1:-}" in
"") ;;
--quick) mode=quick ;;
--full) mode=full ;;
--windows) mode=windows ;;
-h | --help) usage; exit 0 ;;
*) usage >&2; exit 2 ;;
esac

groups=(build)
[ $mode = quick ] || groups+=(windows)
[ $mode = quick ] || [ $mode = windows ] || groups+=(lint fuzz package bench)
[ $mode != full ] || groups+=(clang)
[ $mode = quick ] || [ $mode = windows ] || [ "${ZELHUB_NO_VM:-}" = 1 ] || groups+=(vm)
scripts/setup.sh "${groups[@]}" || exit 1

jobs=$(nproc)
failed=()

# step NAME COMMAND...: runs it, says how long it took, remembers a failure
step() {
    local name=$1 start=$SECONDS
    shift
    echo "== $name"
    if "$@" </dev/null; then
        echo "== $name: passed ($((SECONDS - start)) s)"
    else
        echo "== $name: FAILED ($((SECONDS - start)) s)" >&2
        failed+=("$name")
        return 1
    fi
}

# build PRESET [OPTION...]: only what matters of a build: its errors, or one line.
build() {
    local log=build/$1.log
    mkdir -p build
    if cmake --preset "$@" >"$log" 2>&1 && cmake --build --preset "$1" -j "$jobs" >>"$log" 2>&1; then
        tail -n 1 "$log"
    else
        tail -n 60 "$log"
        return 1
    fi
}

tests() {
    local less=()
    [ $mode != quick ] || less=(-LE whole)
    ctest --preset "$1" -j "$jobs" "${less[@]}"
}

# A prefix that an earlier run left behind would hide what a fresh one lacks.
remove_prefix() {
    local prefix=$PWD/build/mingw/wineprefix
    [ ! -d "$prefix" ] || WINEPREFIX=$prefix wineserver -k 2>/dev/null
    rm -rf "$prefix" "$prefix.ready" "$prefix.lock"
}

windows() {
    remove_prefix
    step "Windows build" build mingw && step "Windows tests" tests mingw
    remove_prefix
}

if [ $mode = windows ]; then
    windows
    [ ${#failed[@]} -eq 0 ]
    exit
fi

# Of the benchmarks the one that counts instructions is a test; the others have to build.
release_options=()
[ $mode = quick ] || release_options=(-DZELHUB_BENCH=ON)
release_built=yes
step "release build" build release "${release_options[@]}" || release_built=no

if [ $mode != quick ]; then
    step "sanitizer build" build sanitize && step "sanitizer tests" tests sanitize
    windows
    if [ $mode = full ]; then
        step "clang build" build clang && step "clang tests" tests clang
    fi
    step "format" scripts/format.sh --check
    step "fuzz" scripts/fuzz.sh
    if [ $mode = full ]; then
        step "clang-tidy, whole tree" scripts/tidy.sh --all
        step "planted faults" scripts/planted-faults.sh
    else
        step "clang-tidy, what changed" scripts/tidy.sh
    fi
fi

# What tests counted, which ctest shows of failing tests alone.
counts() {
    sed -n -e '/^messages provoked/,/^\[/{/^\[/!p}' -e '/: [0-9]* runs, /p' -e '/^vm: /p' -e '/^instructions of /p' \
        build/release/Testing/Temporary/LastTest.log
}

[ ${#failed[@]} -eq 0 ] || printf 'FAILED so far: %s\n' "${failed[@]}" >&2
[ $release_built = yes ] || exit 1
result=0
summary=$(tests release) || result=1
counts
printf '%s\n' "$summary"
[ $result -eq 0 ] && [ ${#failed[@]} -eq 0 ]
