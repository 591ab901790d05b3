#!/usr/bin/env bash
# Shows an update from end to end without hardware: builds the tool, lists the hubs of a simulated
# desk, updates one of them from an image file, and compares before and after.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh build
echo "Building the tool (once; a minute or two on a small machine) ..."
log=$(mktemp)
trap 'rm -f "$log"' EXIT
work=build/demo
rm -rf $work
mkdir -p $work
{ cmake --preset release && cmake --build --preset release --target zelhub; } >"$log" 2>&1 || {
    tail -n 40 "$log" >&2
    exit 1
}
tool=build/release/tools/zelhub/zelhub
hub=inst:11

# Every call is a process of its own; the state file keeps the desk between them.
zelhub() { $tool --bench examples/desk.json --bench-state $work/desk.state "$@"; }
show() {
    printf '\n$ zelhub %s\n' "$*"
    zelhub "$@"
}

echo
echo "A simulated desk (examples/desk.json); with real hubs leave out --bench and --bench-state."
show list
before=$(zelhub list)

show bench image --version 0x0200 --chip 0x6560 $work/new.bin
show info $work/new.bin
show --hub $hub --bench-pace 2 update $work/new.bin
show --hub $hub verify $work/new.bin
after=$(zelhub list)

# Instance number, port and version of the maker's hubs, out of a list.
versions() { awk -F '  +' '$5 == "hub" { print $2, $3, $7 }' <<<"$1"; }

printf '\nBefore and after:\n\n%-10s %-6s %-8s %-8s\n' Instance Port Before After
changed=0
while read -r instance port was is; do
    note=
    if [ "$was" != "$is" ]; then
        note="<- updated"
        changed=$((changed + 1))
    fi
    printf '%-10s %-6s %-8s %-8s %s\n' "$instance" "$port" "$was" "$is" "$note"
done < <(join -o 1.1,1.2,1.3,2.3 <(versions "$before" | sort) <(versions "$after" | sort))
cat <<END

Go on by yourself:
  $tool --bench examples/desk.json --bench-state $work/desk.state list
END
[ $changed -eq 1 ] || { echo "demo: expected one updated hub, found $changed" >&2; exit 1; }
