#!/usr/bin/env bash
# Packs the build, lets lintian read the packages, unpacks them into an empty tree and tries what
# they hold there. Usage: run.sh BUILD-FOLDER
set -euo pipefail
export LC_ALL=C
build=$(cd "$1" && pwd)
examples=$(cd "$(dirname "$0")/../../examples" && pwd)
work=$build/package-test
root=$work/root
rm -rf "$work"
mkdir -p "$root" "$work/desk"

fail() { echo "package: $*" >&2; exit 1; }

(cd "$build" && cpack -B "$work/packages") >"$work/cpack.log" 2>&1 || { cat "$work/cpack.log" >&2; fail "cpack"; }
packages=("$work"/packages/*.deb)
[ ${#packages[@]} -eq 3 ] || fail "expected three packages, found ${packages[*]}"

# Left out: the maintainer's host, which whoever publishes names; CPack's own call of ldconfig; the
# folder of the pkg-config file, since the packages serve one architecture only.
lintian --fail-on warning --suppress-tags bogus-mail-host,bogus-mail-host-in-debian-changelog \
    --suppress-tags maintscript-calls-ldconfig,pkg-config-unavailable-for-cross-compilation \
    "${packages[@]}" 2>"$work/lintian.err" || fail "lintian has complaints"

for package in "${packages[@]}"; do dpkg-deb -x "$package" "$root"; done
zelhub() { LD_LIBRARY_PATH=$root/usr/lib "$root/usr/bin/zelhub" "$@"; }
readelf -d "$root/usr/lib/libZelhublib64.so.1" | grep -q 'SONAME.*\[libZelhublib64.so.1\]' ||
    fail "the library's SONAME"
if readelf -d "$root/usr/bin/zelhub" | grep -qE 'RPATH|RUNPATH'; then fail "the tool has a run path"; fi

# Runs leave everything as it was: the tree, and a folder with an info.txt of somebody's own.
echo "mine" >"$work/desk/info.txt"
sums() { (cd "$work" && find root desk -type f -exec sha256sum {} + | sort -k 2); }
before=$(sums)
cd "$work/desk"
# On a machine that lets nobody at its USB devices the answer is 4.
zelhub --quiet list >/dev/null 2>"$work/list.err" || [ $? -eq 4 ] || fail "list on this machine"
zelhub --bench "$examples/desk.json" --json list | grep -q '"hubs"' || fail "list on the bench"
zelhub --bench "$examples/desk.json" bench image --version 0x0200 --chip 0x6560 "$work/new.bin" >/dev/null
zelhub --quiet --bench "$examples/desk.json" --hub '#1' update "$work/new.bin" >/dev/null ||
    fail "update on the bench"
[ "$before" = "$(sums)" ] || { diff <(echo "$before") <(sums) >&2; fail "a run changed files"; }

# The manual page and the completion know what the program knows.
# commands [COMMAND]: those that the help names
commands() { zelhub "$@" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z0-9-]*\) .*/\1/p'; }
manual=$(gzip -dc "$root/usr/share/man/man1/zelhub.1.gz")
for command in $(commands); do
    grep -qxF -e ".B ${command//-/\\-}" <<<"$manual" || fail "zelhub.1 lacks the command $command"
done
for option in $(zelhub --help | sed -n 's/^  \(-[a-z],\)\{0,1\}--\([a-z-]*\).*/\2/p'); do
    grep -qF -e "\\-\\-${option//-/\\-}" <<<"$manual" || fail "zelhub.1 lacks the option --$option"
done
source "$root/usr/share/bash-completion/completions/zelhub"
# completed WORD...: what the last word is completed to, in one line
completed() {
    COMP_WORDS=(zelhub "$@") COMP_CWORD=$#
    _zelhub
    echo "${COMPREPLY[*]}"
}
[ "$(completed upd)" = update ] || fail "completion of upd: $(completed upd)"
[ "$(completed --bench x.json pd ver)" = "version verify" ] || fail "completion of pd ver"
[ "$(completed update --backu)" = --backup ] || fail "completion of an option"
echo "package: three packages, lintian content, tried in a tree of their own"
