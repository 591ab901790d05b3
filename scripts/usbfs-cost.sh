#!/usr/bin/env bash
# Counts the instructions in user space of a 4,096-byte flash read through the library on Linux and
# of the same read by libusb alone, and fails when the first is above 1.05 times the second.
# Usage: scripts/usbfs-cost.sh PROGRAM    (usbfs_cost of a build with benchmarks)
set -euo pipefail
shopt -s inherit_errexit
program=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# count HOW TIMES: the instructions of a whole run
count() {
    valgrind --tool=callgrind --callgrind-out-file="$folder/out" "$program" "$1" "$2" \
        >"$folder/log" 2>&1 || { cat "$folder/log" >&2; return 1; }
    sed -n 's/.*Collected : *//p' "$folder/log"
}

# Starting and opening count in both runs and cancel out.
each() {
    local few many
    few=$(count "$1" 100)
    many=$(count "$1" 1100)
    echo $(((many - few) / 1000))
}

library=$(each library)
bare=$(each bare)
ratio=$(awk "BEGIN { printf \"%.2f\", $library / $bare }")
echo "instructions of a flash read: $library, by libusb alone $bare: $ratio times (at most 1.05)"
[ $((library * 100)) -le $((bare * 105)) ]
