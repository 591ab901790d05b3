#!/usr/bin/env bash
# Runs a Windows program of a cross build under Wine. Usage: scripts/wine.sh PREFIX PROGRAM [ARG...]
# The prefix is made at the first use; nothing of the user's own is touched.
set -euo pipefail
export WINEPREFIX=$1 WINEDEBUG=${WINEDEBUG:--all} WINEARCH=win64
# No browser engine, no .NET, no menu entries: none of them is needed here.
export WINEDLLOVERRIDES="mscoree=;mshtml=;winemenubuilder.exe="
shift

if [ ! -e "$WINEPREFIX.ready" ]; then
    mkdir -p "$(dirname "$WINEPREFIX")"
    exec {lock}>"$WINEPREFIX.lock"
    flock "$lock"
    if [ ! -e "$WINEPREFIX.ready" ]; then
        wineboot -i >/dev/null 2>&1 {lock}>&- || { echo "wine.sh: no prefix could be made in $WINEPREFIX" >&2; exit 1; }
        # Drivers do not start in the server that made the prefix.
        wineserver -w {lock}>&-
        touch "$WINEPREFIX.ready"
    fi
    exec {lock}>&-
fi
exec wine "$@"
