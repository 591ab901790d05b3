# Runs in a virtual machine of its own: flash through the library beside a bare libusb loop, and what a
# list costs with 15 hubs: QEMU's two and 13 served ones, two on each virtual controller; suspended as
# the kernel leaves them, and awake.
hubs() { grep -l 09 /sys/bus/usb/devices/*-*/bDeviceClass; }
nodes() {
    for class in $(hubs); do
        printf '/dev/bus/usb/%03d/%03d\n' "$(cat "${class%/*}/busnum")" "$(cat "${class%/*}/devnum")"
    done
}

# served FILE HUBS: serves a bench until that many hubs are there
served() {
    zelhub-bench-usbip serve "$1" --control /run/bench >/tmp/server.log 2>&1 &
    for _ in $(seq 60); do
        [ "$(hubs | wc -l)" -lt "$2" ] || break
        sleep 1
    done
    sleep 2
}

place='PLATFORM(vhci_hcd.0)#USBROOT(0)#USB(1)'
served /test/machine.json 5
zelhub --quiet --hub "path:$place" erase --yes >/tmp/erase.log || sed 's/^/VM /' /tmp/erase.log
speed "$(nodes | head -n 1)" "$place" | sed 's/^/VM vm: /'
zelhub-bench-usbip send /run/bench quit
until [ "$(hubs | wc -l)" -eq 2 ]; do sleep 1; done

for n in $(seq 0 12); do
    printf '%s{ "id": "h%d", "parent": "c%d", "port": %d, "vid": "0x1209", "pid": "0x001a",
        "flash": { "image": {} } }' "$comma" "$n" $((n / 2)) $((n % 2 + 1))
    comma=,
done >/tmp/hubs
echo '{ "schema": 1, "controllers": [{ "id": "c0" }, { "id": "c1" }, { "id": "c2" },
    { "id": "c3" }, { "id": "c4" }, { "id": "c5" }, { "id": "c6" }],' \
    "\"hubs\": [$(cat /tmp/hubs)] }" >/tmp/fifteen.json
served /tmp/fifteen.json 15
listcost $(nodes) 2>&1 | sed 's/^/VM vm: suspended, /'
for class in $(hubs); do echo on >"${class%/*}/power/control"; done
sleep 1
listcost $(nodes) 2>&1 | sed 's/^/VM vm: awake, /'
