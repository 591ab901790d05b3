#!/usr/bin/env bash
# Runs the stories of stories.sh in a virtual machine with a Debian kernel, on the installed tool;
# then, in one whose time is its instructions, measures flash beside bare libusb and a list of 15
# hubs beside lsusb, and judges both.
# Usage: tests/vm/run.sh [--measure [--wall]] BUILD-FOLDER [INSTALLED-TREE]
# Without a tree (a prefix such as what cmake --install makes) it installs the build into one.
# With --measure it measures alone, --wall by the time that really passes, on an idle machine.
# The machines' consoles stay in BUILD-FOLDER/vm/console.log and measure.log.
set -euo pipefail
alone=no
clock=(-icount shift=1,sleep=off)
if [ "${1:-}" = --measure ]; then
    shift
    if [ "$1" = --wall ]; then
        shift
        clock=()
    fi
    alone=yes
fi
here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "$1" && pwd)
work=$build/vm
root=$work/root
kernel=$here/../../build/vm-kernel

if [ "${ZELHUB_NO_VM:-}" = 1 ]; then
    echo "vm: skipped, since ZELHUB_NO_VM=1 is set"
    exit 77
fi
for program in qemu-system-x86_64 cpio busybox lsusb; do
    command -v $program >/dev/null ||
        { echo "vm: no $program here; run: scripts/setup.sh vm" >&2; exit 1; }
done
"$here/kernel.sh" "$kernel"

rm -rf "$work"
mkdir -p "$root"/{bin,test,modules,etc,tmp,run}
if [ $# -gt 1 ]; then
    cp -a "$2/." "$root/usr"
else
    cmake --install "$build" --prefix "$root/usr" >/dev/null
    rm -rf "$root/usr/include"
fi
cp "$(command -v busybox)" "$root/bin/busybox"
cp "$(command -v lsusb)" "$root/usr/bin/"
cp "$kernel"/modules/*.ko "$root/modules/"
cp "$here/init" "$root/init"
cp "$here"/{stories.sh,measure.sh,apply-rules} "$here"/*.json "$here"/../../examples/desk.json "$root/test/"
cp "$build/tools/zelhub-bench-usbip/zelhub-bench-usbip" "$root/test/"
cp "$build/tests/vm_probe" "$root/test/probe"
cp "$build/tests/vm_speed" "$root/test/speed"
cp "$build/tests/vm_listcost" "$root/test/listcost"
printf 'root:x:0:0::/tmp:/bin/sh\nsecond:x:1000:1000::/tmp:/bin/sh\n' >"$root/etc/passwd"
printf 'root:x:0:\nsecond:x:1000:\n' >"$root/etc/group"

# Shared libraries stand where the build machine has them; ours comes from the installed tree.
ours=$(dirname "$(find "$root/usr" -name 'libZelhublib64.so*' | head -n 1)")
for program in "$root"/usr/bin/* "$root"/test/{zelhub-bench-usbip,probe,speed,listcost}; do
    LD_LIBRARY_PATH=$ours ldd "$program"
done | grep -o '/[^ ]*' | grep -v "^$root\|^$build" | sort -u | while read -r library; do
    mkdir -p "$root$(dirname "$library")"
    cp -L "$library" "$root$library"
done
sh -c "cd '$root' && find . | cpio -o -H newc --quiet -R 0:0" | gzip -1 >"$work/initrd.gz"

# boot SECONDS SCRIPT CONSOLE OPTION...: runs a script in the machine and shows what it says
boot() {
    local seconds=$1 script=$2 console=$work/$3
    shift 3
    # Programs at the same address each time: QEMU then need not translate them anew.
    timeout "$seconds" qemu-system-x86_64 -accel tcg "$@" -M q35 -m 512 -display none -no-reboot \
        -monitor none -serial file:"$console" \
        -kernel "$kernel/vmlinuz" -initrd "$work/initrd.gz" \
        -append "console=ttyS0 quiet panic=-1 norandmaps script=$script" \
        -device qemu-xhci,id=x -device usb-hub,bus=x.0,port=1 -device usb-hub,bus=x.0,port=1.1 \
        -device usb-kbd,bus=x.0,port=1.2 </dev/null || echo "vm: the machine did not end by itself"
    tr -d '\r' <"$console" | sed -n 's/^VM //p'
}

# measure SECONDS: in a machine whose clock counts instructions, two nanoseconds each, and so knows no
# other load; or by the time that passes
measure() {
    boot "$1" measure.sh measure.log "${clock[@]}" | tee "$work/measured"
    awk '/ times \(target / { n++; slow += $(NF - 3) + 0 > $NF + 0 } END { exit n != 3 || slow }' \
        "$work/measured" ||
        { echo "vm: FAILED, the library or the tool is too slow, or was not measured" >&2; return 1; }
}
if [ $alone = yes ]; then
    measure 240
    exit
fi
boot 300 stories.sh console.log
# Every story has to say that it passed, and the last line that none is missing.
expected=$(grep -c '^story_' "$here/stories.sh")
names=$(tr -d '\r' <"$work/console.log" | sed -n 's/^VM story \([a-z0-9_]*\): passed.*/\1/p')
passed=$(wc -w <<<"$names")
if [ "$expected" -gt 0 ] && [ "$passed" -eq "$expected" ] &&
    tr -d '\r' <"$work/console.log" | grep -aq "^VM end: $expected stories, 0 failed"; then
    echo "vm: $passed of $expected stories passed:" $names
else
    tail -n 15 "$work/console.log"
    echo "vm: FAILED, $passed of $expected stories passed" >&2
    exit 1
fi
measure 180
