#!/usr/bin/env bash
# Gets a Debian kernel for the virtual machine: the package that linux-image-amd64 depends on,
# unpacked. Does nothing where it is there. Usage: tests/vm/kernel.sh FOLDER
# FOLDER then has vmlinuz and modules/, the modules that the machine loads, in their order.
set -euo pipefail

folder=$1
modules=(usb-common usbcore usbmon usbip-core vhci-hcd hid usbhid hid-generic xhci-hcd xhci-pci)

[ ! -e "$folder/complete" ] || exit 0
rm -rf "$folder"
mkdir -p "$folder/modules"

root=()
[ "$(id -u)" -eq 0 ] || root=(sudo)

# The package that linux-image-amd64 depends on, in the present lists.
package() {
    apt-cache depends linux-image-amd64 2>/dev/null |
        sed -n 's/^ *Depends: \(linux-image-.*\)/\1/p' | head -n 1
}
download() {
    local name
    name=$(package) && [ -n "$name" ] || return 1
    echo "vm: downloading $name"
    (cd "$folder" && apt-get download -q "$name" >download.log 2>&1)
}
# Lists that are missing or old name no package or one that is gone.
if ! download; then
    "${root[@]}" apt-get update -q >"$folder/update.log" 2>&1 || true
    download || { cat "$folder"/*.log >&2; echo "vm: no kernel could be downloaded" >&2; exit 1; }
fi
dpkg-deb --fsys-tarfile "$folder"/*.deb | tar -x -C "$folder" \
    --wildcards './boot/vmlinuz-*' './lib/modules/*/kernel/drivers/usb/*' \
    './lib/modules/*/kernel/drivers/hid/*' './lib/modules/*/kernel/drivers/i2c/*'
mv "$folder"/boot/vmlinuz-* "$folder/vmlinuz"
n=10
for module in "${modules[@]}"; do
    mv "$(find "$folder/lib" -name "$module.ko" | grep .)" "$folder/modules/$n-$module.ko"
    n=$((n + 1))
done
rm -rf "$folder/boot" "$folder/lib" "$folder"/*.deb "$folder"/*.log
touch "$folder/complete"
