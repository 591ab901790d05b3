# Runs in the virtual machine instead of the stories: what a list costs with 15 hubs, QEMU's two and
# 13 served ones, two on each virtual controller; suspended as the kernel leaves them, and awake. Then
# the speed of flash, as the story measures it.
hubs() { grep -l 09 /sys/bus/usb/devices/*-*/bDeviceClass; }
nodes() {
    for class in $(hubs); do
        printf '/dev/bus/usb/%03d/%03d\n' "$(cat "${class%/*}/busnum")" "$(cat "${class%/*}/devnum")"
    done
}

for n in $(seq 0 12); do
    printf '%s{ "id": "h%d", "parent": "c%d", "port": %d, "vid": "0x1209", "pid": "0x001a",
        "flash": { "image": {} } }' "$comma" "$n" $((n / 2)) $((n % 2 + 1))
    comma=,
done >/tmp/hubs
echo '{ "schema": 1, "controllers": [{ "id": "c0" }, { "id": "c1" }, { "id": "c2" },
    { "id": "c3" }, { "id": "c4" }, { "id": "c5" }, { "id": "c6" }],' \
    "\"hubs\": [$(cat /tmp/hubs)] }" >/tmp/fifteen.json
zelhub-bench-usbip serve /tmp/fifteen.json >/tmp/server.log 2>&1 &
for _ in $(seq 60); do
    [ "$(hubs | wc -l)" -lt 15 ] || break
    sleep 1
done
sleep 5
{
    zelhub list
    listcost $(nodes) | sed 's/^/suspended: /'
    for class in $(hubs); do echo on >"${class%/*}/power/control"; done
    sleep 1
    listcost $(nodes) | sed 's/^/awake: /'
    first='PLATFORM(vhci_hcd.0)#USBROOT(0)#USB(1)'
    zelhub --quiet --hub "path:$first" erase --yes && speed "$(nodes | head -n 1)" "$first"
    cat /tmp/server.log
} 2>&1 | sed 's/^/VM /'
