#!/usr/bin/env bash
# Runs a Windows program of a cross build under Wine. Usage: scripts/wine.sh PREFIX PROGRAM [ARG...]
# The prefix is made at the first use; nothing of the user's own is touched.
set -euo pipefail
export WINEPREFIX=$1 WINEDEBUG=${WINEDEBUG:--all} WINEARCH=win64
# No browser engine, no .NET, no menu entries: none of them is needed here.
export WINEDLLOVERRIDES="mscoree=;mshtml=;winemenubuilder.exe="
shift

mkdir -p "$(dirname "$WINEPREFIX")"
exec {lock}>"$WINEPREFIX.lock"
flock "$lock"
if [ ! -e "$WINEPREFIX.ready" ]; then
    wineboot -i >/dev/null 2>&1 {lock}>&- || { echo "wine.sh: no prefix could be made in $WINEPREFIX" >&2; exit 1; }
    # Drivers do not start in the server that made the prefix.
    wineserver -w {lock}>&-
    touch "$WINEPREFIX.ready"
fi
# One server for all programs of a test run; this fails where it runs already. A server that ends
# with each program costs seconds at the next start, which may even meet the old one's end.
wineserver -p30 >/dev/null 2>&1 {lock}>&- || true
exec {lock}>&-

[ ! -t 2 ] || exec wine "$@"
# What Wine starts beside the program has the program's error stream for as long as anything runs in
# the prefix: who reads that to its end, as ctest does, must not wait for it.
exec {errors}<>"$WINEPREFIX.errors.$$"
rm "$WINEPREFIX.errors.$$"
status=0
wine "$@" 2>&$errors {errors}>&- || status=$?
cat "/dev/fd/$errors" >&2
exit $status
