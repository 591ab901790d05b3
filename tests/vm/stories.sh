# What is tried inside the virtual machine. Each function story_NAME is one story; it fails when
# a command of it does. Their results go to the console, a line each; run.sh counts them.
set -u

bus=/sys/bus/usb/devices
control=/run/bench
log=/tmp/requests.log
left='PLATFORM(vhci_hcd.0)#USBROOT(0)#USB(1)'
right='PLATFORM(vhci_hcd.1)#USBROOT(0)#USB(2)'
server() { zelhub-bench-usbip send $control "$@"; }

# What the devices were asked since mark.
mark() { marked=$(wc -l <$log); }
since_mark() { tail -n +$((marked + 1)) $log; }

say() { echo "    $*"; }
fail() { say "$*"; return 1; }

# gives STATUS COMMAND...: the command's exit status has to be that
gives() {
    local expected=$1 status=0
    shift
    "$@" || status=$?
    [ $status -eq "$expected" ] || fail "exit status $status instead of $expected: $*"
}
# until_true SECONDS COMMAND...: waits for something to become true
until_true() {
    local left=$(($1 * 20))
    shift
    until "$@" >/dev/null 2>&1; do
        left=$((left - 1))
        [ $left -gt 0 ] || fail "never came true: $*" || return 1
        usleep 50000
    done
}

# The sysfs node of a device on vhci by its product ID (the USB 2 half of a hub); its device file.
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
        until_true 15 suspended $product || return 1
    done
    until_true 10 node_of 0013
}

story_server_answers_as_the_models_do() {
    local file
    file=$(file_of 0010)
    [ "$(probe "$file" 80 06 0334 0 ff)" = 0e0356004f002000480055004200 ] ||
        fail "no identity" || return 1
    [ "$(probe "$file" c0 09 0 0 14 | wc -c)" = 41 ] || fail "no status block" || return 1
    server fault '{"hub":"left","request":"status","nth":0,"kind":"stall"}' &&
        [ "$(probe "$file" c0 09 0 0 14)" = "error 32" ] || fail "no stall" || return 1
    server fault '{"hub":"left","request":"status","nth":0,"kind":"timeout"}' || return 1
    [ "$(probe "$file" c0 09 0 0 14 200)" = "error 110" ] || fail "no time-out" || return 1
    probe "$file" c0 09 0 0 14 >/dev/null
}

story_devices_leave_and_return() {
    server unplug right && until_true 5 gone 0011 && server plug right &&
        until_true 10 bound 0011 || return 1
    probe "$(file_of 0011)" 40 e9 0101 0 0 && until_true 5 gone 0011 && until_true 10 bound 0011
}

story_server_refuses_what_it_cannot_serve() {
    gives 2 zelhub-bench-usbip serve /test/desk.json >/tmp/deep 2>&1
    cat /tmp/deep
    grep -q "USB/IP has no hubs below hubs" /tmp/deep || return 1
    gives 4 zelhub-bench-usbip serve /test/machine.json >/tmp/busy 2>&1
    grep "its port has a device already" /tmp/busy
}

# zelhub_on left|right ARGUMENT...
zelhub_on() {
    local place=$left
    [ "$1" = left ] || place=$right
    shift
    zelhub --quiet --hub "path:$place" "$@"
}
# runs ID VERSION: what the model itself says
runs() {
    server check | grep -q "^$1: on the bus, runs flash, version $2, misuse 0$" && return 0
    server check
    return 1
}
# image VERSION: an image for hubs, as /tmp/VERSION.bin
image() { [ -e "/tmp/$1.bin" ] || zelhub --quiet bench image --version "$1" "/tmp/$1.bin"; }

story_list_shows_whose_each_hub_is() {
    gives 0 zelhub list >/tmp/list || return 1
    cat /tmp/list
    [ "$(grep -c '1209:001[01] *hub ' /tmp/list)" = 2 ] || fail "the maker's hubs" || return 1
    [ "$(grep -c "1209:0010 *SuperSpeed half" /tmp/list)" = 1 ] || fail "the half" || return 1
    [ "$(grep -c "not the maker's" /tmp/list)" = 3 ] || fail "the hubs of others"
}

story_list_asks_little() {
    local device asked
    mark
    zelhub list >/dev/null || return 1
    for device in left right other; do
        # The rest of standard requests is the kernel's, when it wakes a hub.
        asked=$(since_mark | grep -cE "^$device ([4c]0/|80/0[68])")
        say "$device: $asked requests"
        [ "$asked" -le 2 ] || fail "$device was asked too much" || return 1
    done
    ! since_mark | grep '^thing' || fail "a device that is no hub was asked"
}

story_update_as_root() {
    image 0x0200 && gives 0 zelhub_on right update /tmp/0x0200.bin && runs right 0x0200 &&
        gives 0 zelhub_on right verify /tmp/0x0200.bin || return 1
    [ "$(cat "$(node_of 0011)/power/control")" = auto ] || fail "power/control was left on" || return 1
    until_true 10 suspended 0011
}

story_dump_is_what_was_written() {
    image 0x0200 && gives 0 zelhub_on left update /tmp/0x0200.bin && runs left 0x0200 || return 1
    rm -f /tmp/dump
    gives 0 zelhub_on left dump /tmp/dump --size 65536 && cmp /tmp/dump /tmp/0x0200.bin
}

story_erased_hub_recovers() {
    gives 0 zelhub_on left erase --yes || return 1
    server check | grep "^left: on the bus, runs ROM" || fail "not in ROM" || return 1
    image 0x0300 && gives 0 zelhub_on left update --force /tmp/0x0300.bin && runs left 0x0300
}

# interrupted STATUS FAULT: an update of right ends with that status, the next one works
interrupted() {
    local result=0
    server fault "$2" || return 1
    gives "$1" zelhub_on right update --force /tmp/0x0300.bin || result=1
    server plug right && until_true 10 bound 0011 &&
        gives 0 zelhub_on right update --force /tmp/0x0300.bin &&
        server check | grep "^right: on the bus, runs flash, version 0x0300" && return $result
}

story_hub_that_vanishes_while_written_recovers() {
    image 0x0300
    interrupted 8 '{"hub":"right","request":"write-flash","nth":5,"kind":"vanish"}'
}
story_hub_that_vanishes_while_read_back_recovers() {
    interrupted 8 '{"hub":"right","request":"read-flash","nth":4,"kind":"vanish"}'
}
story_hub_without_power_recovers() {
    interrupted 8 '{"hub":"right","powerCut":7,"when":"middle"}'
}

# update_begins ARGUMENT...: right is being written, as process $first, for some seconds more
update_begins() {
    mark
    server fault '{"hub":"right","request":"write-flash","nth":0,"times":30,"kind":"slow","lateMs":100}' ||
        return 1
    zelhub --quiet --hub "path:$right" update --force "$@" >/tmp/first 2>&1 &
    first=$!
    until_true 20 eval "since_mark | grep -q '^right 40/c8'"
}

story_unplugged_in_the_middle() {
    local status=0
    update_begins --allow-downgrade /tmp/0x0200.bin || return 1
    server unplug right
    wait $first || status=$?
    [ $status -eq 8 ] || { cat /tmp/first; fail "status $status"; return 1; }
    server plug right && until_true 10 bound 0011 &&
        gives 0 zelhub_on right update --force /tmp/0x0300.bin
}

story_pd_controller_is_updated() {
    gives 0 zelhub_on left pd list | tee /tmp/pds
    grep 0x42 /tmp/pds || return 1
    zelhub --quiet bench image --version 0x0222 --chip 0x7310 --size 32768 --overwrite /tmp/pd.bin
    gives 0 zelhub_on left pd update --addr 0x42 /tmp/pd.bin && runs pd 0x0222 || return 1
    rm -f /tmp/pd.dump
    gives 0 zelhub_on left pd dump --addr 0x42 --size 32768 /tmp/pd.dump && cmp /tmp/pd.dump /tmp/pd.bin
}

story_two_hubs_at_once() {
    local first second
    zelhub_on left update --force /tmp/0x0300.bin >/tmp/first 2>&1 &
    first=$!
    zelhub_on right update --force /tmp/0x0300.bin >/tmp/second 2>&1 &
    second=$!
    wait $first || { cat /tmp/first; return 1; }
    wait $second || { cat /tmp/second; return 1; }
    runs left 0x0300
}

story_two_on_the_same_hub() {
    update_begins /tmp/0x0300.bin || return 1
    kill -STOP $first # it has the hub for as long as the other one asks
    gives 4 zelhub_on right version >/tmp/second 2>&1
    kill -CONT $first
    cat /tmp/second
    grep "another zelhub is working on the hub" /tmp/second || return 1
    wait $first || { cat /tmp/first; return 1; }
}

story_bus_reset_while_written() {
    local status=0
    update_begins /tmp/0x0300.bin || return 1
    probe "$(file_of 0011)" reset || fail "no reset" || return 1
    wait $first || status=$?
    say "status $status"
    [ $status -eq 0 ] || gives 0 zelhub_on right update --force /tmp/0x0300.bin || return 1
    until_true 10 bound 0011 && gives 0 zelhub_on right verify /tmp/0x0300.bin
}

story_list_survives_a_hub_that_never_answers() {
    server fault '{"hub":"right","request":"get-descriptor","nth":0,"kind":"timeout"}'
    gives 0 zelhub list >/tmp/list || return 1
    cat /tmp/list
    grep -q "1209:0010 *hub " /tmp/list || fail "the other hub" || return 1
    ! grep "$right" /tmp/list | grep " hub " || fail "it did not answer" || return 1
    gives 0 zelhub_on right version
}

story_list_waits_for_a_slow_hub() {
    server fault '{"hub":"right","request":"get-descriptor","nth":0,"kind":"slow","lateMs":2000}'
    gives 0 zelhub list >/tmp/list || return 1
    grep "1209:0011 *hub " /tmp/list || { cat /tmp/list; fail "it answered late, not never"; }
}

# lost_at REQUEST COMMAND...: the hub leaves at the second such request
lost_at() {
    server fault "{\"hub\":\"right\",\"request\":\"$1\",\"nth\":1,\"kind\":\"vanish\"}"
    shift
    gives 8 zelhub_on right "$@" >/tmp/lost 2>&1 || { cat /tmp/lost; return 1; }
    server plug right && until_true 10 bound 0011
}
# Its node is there for a moment more, and must not be taken for it.
story_return_that_nobody_saw_is_noticed() {
    local eraser
    image 0x0300
    mark
    zelhub --quiet --hub "path:$right" erase --yes >/tmp/first 2>&1 &
    eraser=$!
    until_true 10 eval "since_mark | grep -q '^right 40/00'" && kill -STOP $eraser &&
        until_true 10 gone 0011 && until_true 10 bound 0011 || return 1
    kill -CONT $eraser
    gives 0 wait $eraser || { cat /tmp/first; return 1; }
    gives 0 zelhub_on right update --force /tmp/0x0300.bin
}
story_hub_that_leaves_while_asked_is_lost() {
    lost_at status status && lost_at status version &&
        lost_at read-flash dump /tmp/never --size 65536
}

story_server_keeps_its_state() {
    local kept='PLATFORM(vhci_hcd.3)#USBROOT(0)#USB(5)' keeper
    mkdir -p /tmp/kept && echo '{ "schema": 1, "controllers":
        [{ "id": "a" }, { "id": "b" }, { "id": "c" }, { "id": "d" }], "hubs":
        [{ "id": "kept", "parent": "d", "port": 5, "vid": "0x1209", "pid": "0x0014",
           "flash": { "image": {} }, "timing": { "returnMs": 200 } }] }' >/tmp/kept.json
    gives 2 zelhub-bench-usbip serve &&
        gives 1 zelhub-bench-usbip serve /tmp/kept.json --control /tmp/0x0200.bin || return 1
    for version in 0x0200 0x0300; do
        zelhub-bench-usbip serve /tmp/kept.json --control /run/kept --state /tmp/kept &
        keeper=$!
        until_true 10 bound 0014 || return 1
        gives 0 zelhub --quiet --hub "path:$kept" update /tmp/$version.bin || return 1
        zelhub-bench-usbip send /run/kept check | grep "kept: .*version $version" || return 1
        zelhub-bench-usbip send /run/kept quit && wait $keeper && until_true 5 gone 0014 || return 1
    done | tee /tmp/keeper
    grep "Before: *0x0200" /tmp/keeper # what the second server began with
}

# as_second COMMAND: by a user without rights of its own
as_second() { su second -c "$*"; }

story_second_user_is_told_what_is_missing() {
    gives 4 as_second zelhub version >/tmp/second 2>&1
    cat /tmp/second
    as_second zelhub list >/tmp/second 2>&1
    cat /tmp/second
    grep -q "udev-rule" /tmp/second || fail "no word of the cure"
}

second_on() {
    local place=$left
    [ "$1" = left ] || place=$right
    shift
    as_second "zelhub --quiet --hub 'path:$place' $*"
}
owned() { [ "$(stat -c %U "$(file_of "$1")")" = second ]; }
# Tells of a hub anew, as udevadm trigger does.
rule_applied() {
    echo add >"$(node_of "$1")/uevent"
    owned "$1"
}

story_second_user_updates_with_a_rule() {
    gives 0 zelhub udev-rule >/tmp/60-zelhub.rules && cat /tmp/60-zelhub.rules
    [ "$(grep -c 'ATTR{idProduct}=="001[01]".*TAG+="uaccess"' /tmp/60-zelhub.rules)" = 2 ] &&
        [ "$(grep -vc '^#' /tmp/60-zelhub.rules)" = 2 ] || fail "the rules" || return 1
    uevent /test/apply-rules >/tmp/uevent.out 2>&1 & # to the end: every return asks the rule anew
    until_true 5 rule_applied 0010 && until_true 5 rule_applied 0011 || return 1
    gives 0 second_on right update --force --allow-downgrade /tmp/0x0200.bin &&
        runs right 0x0200 && gives 0 as_second "zelhub list"
}

story_second_user_recovers_what_vanished_or_was_erased() {
    server fault '{"hub":"right","request":"write-flash","nth":5,"kind":"vanish"}' &&
        gives 8 second_on right update --force /tmp/0x0300.bin || return 1
    server plug right && until_true 10 bound 0011 && until_true 5 owned 0011 &&
        gives 0 second_on right update --force /tmp/0x0300.bin && runs right 0x0300 || return 1
    gives 0 second_on right erase --yes && server check | grep "^right: on the bus, runs ROM" &&
        gives 0 second_on right update --force /tmp/0x0300.bin && runs right 0x0300 || return 1
    gives 0 second_on right dump /tmp/second.dump --size 65536 &&
        cmp /tmp/second.dump /tmp/0x0300.bin
}

story_second_user_updates_a_pd_controller() {
    zelhub --quiet bench image --version 0x0333 --chip 0x7310 --size 32768 --overwrite /tmp/pd.bin
    gives 0 second_on left pd update --addr 0x42 /tmp/pd.bin && runs pd 0x0333
}

story_nothing_else_was_written() {
    mkdir -p /tmp/desk && cd /tmp/desk && echo mine >info.txt && touch /tmp/stamp && sleep 1
    zelhub list >/dev/null && zelhub_on left update --force /tmp/0x0300.bin || return 1
    cd /tmp
    [ "$(ls /tmp/desk)" = info.txt ] && [ "$(cat /tmp/desk/info.txt)" = mine ] || fail "the folder" || return 1
    [ -z "$(find /usr /etc -newer /tmp/stamp)" ] || fail "changed: $(find /usr /etc -newer /tmp/stamp)" || return 1
    ! ls /tmp/zelhub-*.lock || fail "locks that nobody holds"
}

# Bits 5 and 6 of the request type say vendor: a first digit of 4, 5, c or d.
vendor_requests() { grep -cE '^[^ ]+ [0-9]+ S C[io]:[0-9:]+ s [45cd]' /tmp/usbmon; }

story_foreign_devices_see_no_vendor_request() {
    local keyboard
    [ "$(grep -c 's 80 06' /tmp/usbmon)" -gt 0 ] || fail "usbmon saw nothing at all" || return 1
    [ "$(vendor_requests)" = 0 ] || { grep -E ' s [45cd]' /tmp/usbmon; return 1; }
    ! grep -E '^(other|thing) [45cd]' $log || return 1
    # The watch itself is worth something: it sees one when there is one.
    keyboard=$(grep -l 0627 $bus/*/idVendor)
    keyboard=${keyboard%/*}
    probe "$(printf '/dev/bus/usb/%03d/%03d' "$(cat "$keyboard/busnum")" "$(cat "$keyboard/devnum")")" c0 09 0 0 14
    until_true 5 eval '[ "$(vendor_requests)" = 1 ]'
}

# What a failed story leaves for whoever reads the console.
account() {
    sed 's/^/VM | /' /tmp/story.out
    { cat /tmp/server.log; server check; } | sed 's/^/VM server | /'
    tail -n 15 $log | sed 's/^/VM requests | /'
    dmesg | tail -n 25 | sed 's/^/VM kernel | /'
}

main() {
    local stories story failed=0 count=0 start bus_number
    zelhub-bench-usbip serve /test/machine.json --control $control --log $log >/tmp/server.log 2>&1 &
    for bus_number in $(cat /sys/bus/pci/devices/*/usb*/busnum); do
        cat "/sys/kernel/debug/usb/usbmon/${bus_number}u" >>/tmp/usbmon &
    done
    stories=$(sed -n 's/^story_\([a-z0-9_]*\)() .*/\1/p' /test/stories.sh)
    for story in $stories; do
        start=$(cut -d. -f1 /proc/uptime)
        count=$((count + 1))
        if (story_"$story") >/tmp/story.out 2>&1; then
            echo "VM story $story: passed ($(($(cut -d. -f1 /proc/uptime) - start)) s)"
        else
            echo "VM story $story: FAILED"
            account 2>&1
            failed=$((failed + 1))
        fi
    done
    echo "VM end: $count stories, $failed failed, up $(cut -d' ' -f1 /proc/uptime) s"
}
main
