#!/usr/bin/env bash
# clang-tidy. Usage: scripts/tidy.sh [--all | FILE...]
#   (default)  the sources that changed since the base, and those named like a changed header.
#              The base is $ZELHUB_TIDY_BASE, else where the branch left origin/main, else the
#              previous commit; uncommitted changes count. At most $ZELHUB_TIDY_MAX sources (40)
#   --all      every source that the build knows (the benchmarks where their library is there)
# It runs inside a build of its own, build/tidy, so that a source that passed is read again only
# when it or a header that it includes changes.
set -euo pipefail
export LC_ALL=C
cd "$(dirname "$0")/.."
top=$PWD
tree=build/tidy

# The sources that the tidy build compiles, relative to the tree, in the order of the folders.
known_sources() {
    sed -n "s|^ *\"file\": \"$top/\(.*\)\",\{0,1\}\$|\1|p" $tree/compile_commands.json |
        grep -v '^build/' | sort -u
}

changed_files() {
    local base=${ZELHUB_TIDY_BASE:-}
    [ -n "$base" ] || base=$(git merge-base HEAD origin/main 2>/dev/null || true)
    if [ -z "$base" ] || [ "$(git rev-parse "$base")" = "$(git rev-parse HEAD)" ]; then
        base=$(git rev-parse -q --verify HEAD~1 || git hash-object -t tree /dev/null)
    fi
    git diff --name-only --diff-filter=d "$base"
    git ls-files --others --exclude-standard
}

# The sources of changed files: a source itself, a header by the source of the same name.
sources_of_changes() {
    changed_files | sed -n 's/\.h$/.cpp/; /\.cpp$/p' | sort -u
}

# A changed profile makes every earlier pass worthless.
[ ! -e $tree/build.ninja ] || [ ! .clang-tidy -nt $tree/build.ninja ] || rm -rf $tree
log=$(mktemp)
trap 'rm -f "$log"' EXIT
bench=OFF
[ ! -e /usr/include/benchmark/benchmark.h ] || bench=ON
cmake --preset tidy -DZELHUB_BENCH=$bench >"$log" 2>&1 || { cat "$log" >&2; exit 1; }

case "${1:-}" in
--all) mapfile -t sources < <(known_sources) ;;
"") mapfile -t sources < <(comm -12 <(known_sources) <(sources_of_changes)) ;;
*) sources=("$@") ;;
esac
total=${#sources[@]}
max=${ZELHUB_TIDY_MAX:-40}
if [ $# -eq 0 ] && [ "$total" -gt "$max" ]; then
    echo "clang-tidy: $total sources changed, reading the first $max (--all reads every one)"
    sources=("${sources[@]:0:$max}")
fi
if [ "$total" -eq 0 ]; then
    echo "clang-tidy: no source changed"
    exit 0
fi

# "FILE^" is ninja's word for what is made of FILE.
sources=("${sources[@]/#/$top/}")
if ! ninja -C $tree -k 0 "${sources[@]/%/^}" >"$log" 2>&1; then
    grep -vE '^(\[|FAILED|ninja|[0-9]+ warnings)|__run_co_compile' "$log" || cat "$log"
    exit 1
fi
echo "clang-tidy: ${#sources[@]} sources, nothing found"
