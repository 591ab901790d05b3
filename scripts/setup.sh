#!/usr/bin/env bash
# Installs what the build needs and this machine lacks, with apt-get; does nothing where all is
# there. Usage: scripts/setup.sh [build] [lint] [clang] [fuzz] [bench] [package] [windows] [vm]
#        (default: build)
# Group vm also downloads the virtual machine's kernel into build/.
set -euo pipefail
cd "$(dirname "$0")/.."

missing=()

# need PACKAGE TEST...: notes the package when the test fails
need() {
    local package=$1
    shift
    "$@" >/dev/null 2>&1 || missing+=("$package")
}

has() { command -v "$1"; }
header() { test -e "/usr/include/$1"; }
static() { has "$1" && ! ldd "$(command -v "$1")"; }

kernel=no
fetch_kernel() { [ $kernel = no ] || tests/vm/kernel.sh build/vm-kernel; }

for group in "${@:-build}"; do
    case $group in
    build)
        need g++ has g++
        need cmake has cmake
        need ninja-build has ninja
        need ccache has ccache
        need pkg-config has pkg-config
        need libusb-1.0-0-dev header libusb-1.0/libusb.h
        need libumockdev-dev header umockdev-1.0/umockdev.h
        need umockdev has umockdev-wrapper
        need libgtest-dev header gtest/gtest.h
        need libgmock-dev header gmock/gmock.h
        need libcli11-dev header CLI/CLI.hpp
        need nlohmann-json3-dev header nlohmann/json.hpp
        ;;
    lint)
        need clang-format-14 has clang-format-14
        need clang-tidy-14 has clang-tidy-14
        ;;
    clang)
        need clang has clang++
        ;;
    fuzz)
        need clang has clang++
        need libclang-rt-14-dev compgen -G '/usr/lib/llvm-14/lib/clang/*/lib/linux/*fuzzer-*.a'
        ;;
    bench)
        need libbenchmark-dev header benchmark/benchmark.h
        need valgrind has valgrind
        ;;
    package)
        need dpkg-dev has dpkg-shlibdeps
        need file has file
        need lintian has lintian
        ;;
    windows)
        need g++-mingw-w64-x86-64-posix has x86_64-w64-mingw32-g++-posix
        need wine has wine
        need googletest test -e /usr/src/googletest/CMakeLists.txt
        ;;
    vm)
        need qemu-system-x86 has qemu-system-x86_64
        need busybox-static static busybox
        need cpio has cpio
        need usbutils has lsusb
        kernel=yes
        ;;
    *)
        echo "setup: no group named '$group' (build, lint, clang, fuzz, bench, package, windows, vm)" >&2
        exit 2
        ;;
    esac
done

[ ${#missing[@]} -gt 0 ] || { fetch_kernel; exit; }

if ! command -v apt-get >/dev/null; then
    echo "setup: this machine has no apt-get; please install: ${missing[*]}" >&2
    exit 1
fi
root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "setup: not root and no sudo; please install: ${missing[*]}" >&2
        exit 1
    fi
    root=(sudo)
fi

echo "setup: installing ${missing[*]}" >&2
log=$(mktemp)
trap 'rm -f "$log"' EXIT
quietly() { "$@" >"$log" 2>&1 </dev/null || { cat "$log" >&2; return 1; }; }
quietly "${root[@]}" apt-get update -q
quietly "${root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -q -y --no-install-recommends "${missing[@]}"
fetch_kernel
