#!/usr/bin/env bash
# Checks that the suite notices faults: plants each of tests/faults/*.patch into a copy of the
# tree, builds it and demands that a test of behaviour fails. Usage: scripts/planted-faults.sh
# [PATCH...]. Fails when a fault goes unnoticed, or when a patch no longer applies or compiles.
set -uo pipefail
cd "$(dirname "$0")/.."
top=$PWD
copy=$top/build/faults/tree
out=$top/build/faults/build
jobs=$(nproc)
if [ $# -gt 0 ]; then patches=("$@"); else patches=(tests/faults/*.patch); fi
[ -e "${patches[0]}" ] || { echo "planted faults: none found" >&2; exit 1; }

fresh_copy() {
    mkdir -p "$copy"
    # Only what differs is written, so that the build stays incremental.
    git ls-files -z --cached --others --exclude-standard | while IFS= read -r -d '' file; do
        [ -f "$file" ] || continue
        cmp -s "$file" "$copy/$file" || { mkdir -p "$copy/$(dirname "$file")"; cp "$file" "$copy/$file"; }
    done
    (cd "$copy" && find . -type f) | while read -r file; do
        [ -f "$top/$file" ] || rm "$copy/$file"
    done
}

build() { cmake --build "$out" -j "$jobs" >"$out.log" 2>&1; }

# Tests of the tree's shape prove nothing about behaviour and are left out.
suite() {
    ctest --test-dir "$out" -j "$jobs" --stop-on-failure -E '^(structure|install)$' -LE whole >"$out.tests.log" 2>&1
}

# Outside of any repository for git, so that paths in patches are the copy's own.
apply() { (cd "$copy" && GIT_CEILING_DIRECTORIES=$top/build/faults git apply "$@"); }

fresh_copy
cmake -S "$copy" -B "$out" -G Ninja -DCMAKE_BUILD_TYPE=Release >"$out.log" 2>&1 && build || {
    tail -n 40 "$out.log" >&2
    exit 1
}
suite || { echo "planted faults: the suite fails without any fault" >&2; tail -n 40 "$out.tests.log" >&2; exit 1; }

bad=0
for patch in "${patches[@]}"; do
    name=$(basename "$patch" .patch)
    patch=$(realpath "$patch")
    if ! apply "$patch"; then
        printf '%-40s %s\n' "$name" "does not apply"
        bad=$((bad + 1))
        continue
    fi
    if ! build; then
        verdict="does not compile"
        grep -m 3 'error' "$out.log" >&2
    elif suite; then
        verdict="NOT NOTICED"
    else
        verdict="caught by $(sed -n 's/^[[:space:]]*[0-9]* - \([^ ]*\) (.*/\1/p' "$out.tests.log" | sort -u | paste -sd ' ')"
    fi
    printf '%-40s %s\n' "$name" "$verdict"
    [[ $verdict == caught* ]] || bad=$((bad + 1))
    apply -R "$patch"
done
echo "planted faults: $((${#patches[@]} - bad)) of ${#patches[@]} caught"
[ $bad -eq 0 ]
