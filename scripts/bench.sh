#!/usr/bin/env bash
# Builds and runs the benchmarks, prints ratios of one run and compares them with the targets.
# Usage: scripts/bench.sh [GOOGLE BENCHMARK OPTIONS]; fails when a target is missed.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh build bench
log=$(mktemp)
trap 'rm -f "$log"' EXIT
{ cmake --preset bench && cmake --build --preset bench; } >"$log" 2>&1 || { cat "$log" >&2; exit 1; }
missed=0
build/bench/bench/zelhub_benchmarks --benchmark_repetitions=3 --benchmark_min_time=0.1 \
    --benchmark_enable_random_interleaving=true "$@" || missed=1
scripts/usbfs-cost.sh build/bench/bench/usbfs_cost || missed=1
exit $missed
