#!/usr/bin/env bash
# Shows an update from end to end without hardware: builds the tool, lists the hubs of a simulated
# dock, updates the hub and a PD controller behind it, and compares before and after.
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
pd=0x42

# Every call is a process of its own; the state file keeps the dock between them.
zelhub() { $tool --bench examples/dock.json --bench-state $work/dock.state "$@"; }
show() {
    printf '\n$ zelhub %s\n' "$*"
    zelhub "$@"
}

echo
echo "A simulated dock (examples/dock.json); with real hubs leave out --bench and --bench-state."
show list --details
show pd list --hub $hub
before=$(zelhub list --details)
pd_before=$(zelhub --quiet pd list --hub $hub)

show bench image --version 0x0200 --chip 0x6560 $work/new.bin
show info $work/new.bin
show --hub $hub --bench-pace 2 update $work/new.bin
show --hub $hub verify $work/new.bin

show bench image --version 0x0222 --chip 0x7310 --size 131072 $work/pd.bin
show --hub $hub --bench-pace 20 pd update $work/pd.bin --addr $pd
show --hub $hub pd verify $work/pd.bin --addr $pd
after=$(zelhub list --details)
pd_after=$(zelhub --quiet pd list --hub $hub)

# Instance number, port and version of the maker's hubs, out of a list.
versions() { awk -F '  +' '$5 == "hub" { print $2, $3, $7 }' <<<"$1"; }
# Address, 7-bit address and version of the PD controllers behind it.
pd_versions() { awk '$1 ~ /^0x/ { print "PD:" $1, "7bit:" $2, $4 }' <<<"$1"; }
all_before=$(versions "$before" && pd_versions "$pd_before")
all_after=$(versions "$after" && pd_versions "$pd_after")

printf '\nBefore and after:\n\n%-10s %-10s %-8s %-8s\n' Device Place Before After
changed=0
while read -r instance port was is; do
    note=
    if [ "$was" != "$is" ]; then
        note="<- updated"
        changed=$((changed + 1))
    fi
    printf '%-10s %-10s %-8s %-8s %s\n' "$instance" "$port" "$was" "$is" "$note"
done < <(join -o 1.1,1.2,1.3,2.3 <(sort <<<"$all_before") <(sort <<<"$all_after"))
cat <<END

Go on by yourself:
  $tool --bench examples/dock.json --bench-state $work/dock.state list
END
[ $changed -eq 2 ] || { echo "demo: expected an updated hub and PD controller, found $changed" >&2; exit 1; }
