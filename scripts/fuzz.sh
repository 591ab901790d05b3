#!/usr/bin/env bash
# Builds the fuzz targets and lets each look for inputs that break it. Usage: scripts/fuzz.sh
# [SECONDS] (10 for each target). What was found interesting stays in build/fuzz/corpus for the
# next run; an input that breaks something is kept in build/fuzz/found and fails the run.
set -uo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build fuzz || exit 1
export seconds=${1:-10} out=build/fuzz
jobs=$(nproc)
mkdir -p "$out/found"
if ! { cmake --preset fuzz && cmake --build --preset fuzz -j "$jobs"; } >"$out.log" 2>&1; then
    tail -n 60 "$out.log" >&2
    exit 1
fi

# fuzz NAME: runs one target and says how far it came
fuzz() {
    local name=$1 seeds=()
    # The library's tests look for leaks; here that would cost most of the time.
    local args=(-max_total_time="$seconds" -max_len=4096 -len_control=0 -detect_leaks=0
        -timeout=20 -rss_limit_mb=2048 -artifact_prefix="$out/found/$name-")
    [ ! -f "fuzz/$name.dict" ] || args+=(-dict="fuzz/$name.dict")
    [ "$name" != BenchFiles ] || seeds=(examples)
    mkdir -p "$out/corpus/$name"
    if "$out/fuzz/fuzz_$name" "${args[@]}" "$out/corpus/$name" "${seeds[@]}" \
        </dev/null >"$out/$name.log" 2>&1; then
        printf '%-18s %s\n' "$name" "$(grep '^Done' "$out/$name.log")"
        return 0
    fi
    printf '%-18s BROKEN\n' "$name" >&2
    tail -n 40 "$out/$name.log" >&2
    return 1
}
export -f fuzz
basename -s .cpp fuzz/*.cpp | xargs -P "$jobs" -I '{}' bash -c 'fuzz "$1"' fuzz '{}'
