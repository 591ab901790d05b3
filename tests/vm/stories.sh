# What is tried inside the virtual machine. Each function story_NAME is one story; it fails when
# a command of it does. Their results go to the console, a line each; run.sh counts them.
set -u

bus=/sys/bus/usb/devices
control=/run/bench
log=/tmp/requests.log
server() { zelhub-bench-usbip send $control "$@"; }

say() { echo "    $*"; }
fail() { say "$*"; return 1; }

# until SECONDS COMMAND...: waits for something to become true
until_true() {
    local left=$(($1 * 20))
    shift
    until "$@" >/dev/null 2>&1; do
        left=$((left - 1))
        [ $left -gt 0 ] || fail "never came true: $*" || return 1
        usleep 50000
    done
}

# The sysfs node of a device on vhci by its product ID; its device file.
node_of() {
    local product
    for product in $bus/*/idProduct; do
        if [ "$(cat "$product" 2>/dev/null)" = "$1" ] &&
            [ "$(cat "${product%/*}/idVendor" 2>/dev/null)" = 1209 ]; then
            echo "${product%/*}"
            return 0
        fi
    done
    return 1
}
file_of() {
    local node
    node=$(node_of "$1") || return 1
    printf '/dev/bus/usb/%03d/%03d\n' "$(cat "$node/busnum")" "$(cat "$node/devnum")"
}
bound() { [ "$(basename "$(readlink "$(node_of "$1")"/*:1.0/driver)")" = hub ]; }
gone() { ! node_of "$1"; }
suspended() { [ "$(cat "$(node_of "$1")/power/runtime_status")" = suspended ]; }

story_kernel_drives_the_served_hubs() {
    local product
    for product in 0010 0011 0012; do
        until_true 10 bound $product || return 1
        [ "$(cat "$(node_of $product)/maxchild")" = 4 ] || fail "$product: ports" || return 1
        until_true 10 suspended $product || return 1
    done
    until_true 10 node_of 0013
}

story_server_answers_as_the_models_do() {
    local file
    file=$(file_of 0010)
    [ "$(probe "$file" 80 06 0334 0 ff)" = 0e0356004f002000480055004200 ] ||
        fail "no identity" || return 1
    [ "$(probe "$file" c0 09 0 0 14 | wc -c)" = 41 ] || fail "no status block" || return 1
    [ "$(probe "$file" c0 77 0 0 14)" = "error 32" ] || fail "an unknown request is no stall" || return 1
    server fault '{"hub":"left","request":"status","nth":0,"kind":"timeout"}' || return 1
    [ "$(probe "$file" c0 09 0 0 14 200)" = "error 110" ] || fail "no time-out" || return 1
    probe "$file" c0 09 0 0 14 >/dev/null
}

story_devices_leave_and_return() {
    server unplug right && until_true 5 gone 0011 && server plug right &&
        until_true 10 bound 0011 || return 1
    probe "$(file_of 0011)" 40 e9 0101 0 0 && until_true 5 gone 0011 && until_true 10 bound 0011
}

main() {
    local stories story failed=0 count=0 start
    zelhub-bench-usbip serve /test/machine.json --control $control --log $log >/tmp/server.log 2>&1 &
    stories=$(sed -n 's/^story_\([a-z0-9_]*\)() .*/\1/p' /test/stories.sh)
    for story in $stories; do
        start=$(cut -d. -f1 /proc/uptime)
        count=$((count + 1))
        if story_"$story" >/tmp/story.out 2>&1; then
            echo "VM story $story: passed ($(($(cut -d. -f1 /proc/uptime) - start)) s)"
        else
            echo "VM story $story: FAILED"
            sed 's/^/VM | /' /tmp/story.out
            failed=$((failed + 1))
        fi
    done
    if [ $failed -ne 0 ]; then
        sed 's/^/VM server | /' /tmp/server.log
        server check | sed 's/^/VM server | /'
        tail -n 20 $log | sed 's/^/VM requests | /'
        dmesg | tail -n 40 | sed 's/^/VM kernel | /'
    fi
    echo "VM end: $count stories, $failed failed, up $(cut -d' ' -f1 /proc/uptime) s"
}
main
