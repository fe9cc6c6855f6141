#!/bin/bash
# Usage: tools/install-deps.sh GROUP...
# Installs the Debian packages of the groups that this machine does not have. Does nothing when all are there.
set -euo pipefail

declare -A groups=(
    [install]="make meson ninja-build g++ pkg-config libglib2.0-dev libasound2-dev libjson-glib-dev
               libncurses-dev libevdev-dev libsoup-3.0-dev libcairo2-dev libturbojpeg0-dev"
    [build]="make meson ninja-build g++ pkg-config libglib2.0-dev libasound2-dev libjson-glib-dev
             libncurses-dev libevdev-dev libsoup-3.0-dev libcairo2-dev libturbojpeg0-dev dbus dbus-daemon python3-gi
             libgtest-dev libgmock-dev libbenchmark-dev mandoc chromium python3-websocket"
    [deb]="make build-essential debhelper lintian meson pkg-config libglib2.0-dev
           libasound2-dev libjson-glib-dev libncurses-dev libevdev-dev libsoup-3.0-dev libcairo2-dev
           libturbojpeg0-dev"
    [deb-test]="mmdebstrap binutils"
    [fuzz]="clang libclang-rt-14-dev"
    [lint]="clang clang-format clang-tidy clang-tools shellcheck"
    [coverage]="gcovr"
    [bench]="valgrind"
    [bench-peers]="nanopb libnanopb-dev protobuf-compiler libmsgpack-dev libcbor-dev libmodbus-dev libsystemd-dev"
    [wireshark]="tshark"
    [vm-systemd]="mmdebstrap zstd"
    [vm]="qemu-system-x86 busybox-static cpio make gcc libelf1 libssl3 dbus-daemon libglib2.0-bin util-linux"
    [armhf]="g++-arm-linux-gnueabihf qemu-user"
    [arm]="g++-arm-linux-gnueabihf g++-aarch64-linux-gnu g++-s390x-linux-gnu qemu-user"
)

wanted=()
for group in "$@"; do
    if [[ -z ${groups[$group]:-} ]]; then
        echo "install-deps: no package group '$group'; there are: ${!groups[*]}" >&2
        exit 2
    fi
    read -r -d '' -a packages <<<"${groups[$group]}" || true
    wanted+=("${packages[@]}")
done

if ! command -v dpkg-query >/dev/null; then
    echo "install-deps: not a Debian machine, nothing is installed. Needed are: ${wanted[*]}"
    exit 0
fi

missing=()
for package in "${wanted[@]}"; do
    status=$(dpkg-query -W -f='${db:Status-Status} ' "$package" 2>/dev/null || true)
    [[ " $status" == *" installed "* ]] || missing+=("$package")
done
[[ ${#missing[@]} -gt 0 ]] || exit 0

echo "install-deps: these Debian packages are missing and will be installed: ${missing[*]}"

as_root=()
if [[ $(id -u) -ne 0 ]]; then
    if ! command -v sudo >/dev/null || ! { sudo -n true 2>/dev/null || [[ -t 0 ]]; }; then
        echo "install-deps: cannot install them: not root, and sudo is not there or asks for a password." >&2
        echo "install-deps: run this as root, then try again:  apt-get update && apt-get install ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi

apt() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=300 "$@"
}
if ! { apt update && apt install --no-install-recommends "${missing[@]}"; }; then
    echo "install-deps: apt-get failed (see above). With the network in order, try again or run as root:" >&2
    echo "install-deps:   apt-get update && apt-get install ${missing[*]}" >&2
    exit 1
fi
