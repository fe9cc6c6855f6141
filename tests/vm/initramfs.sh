#!/bin/bash
# Usage: tests/vm/initramfs.sh BUILD_DIR MODULE OUT
# The guest's files, packed: the build's programs and what these need to run, busybox, the kernel module, guest.sh.
set -euo pipefail

build=$1 module=$2 out=$3
here=$(dirname "$0")
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT

mkdir -p "$root"/{bin,dev,etc,proc,sys,tmp,usr/bin,usr/share/ptz,lib64,lib/x86_64-linux-gnu}
programs=("$build"/sim/krx-{sim,image} "$build"/platform/ptzorvel/ptzd/ptzd "$build"/tools/ptzctl/ptzctl
    "$build"/tests/vm/vm_bridge /usr/bin/{dbus-daemon,gdbus,setpriv})
plugin=$build/driver/plugin/libptz_driver_canon.so
cp /bin/bash /bin/busybox "$root/bin"
cp "${programs[@]}" "$root/usr/bin"
cp "$plugin" "$root/lib/x86_64-linux-gnu"
ldd /bin/bash "${programs[@]}" "$plugin" | sed -n 's/^.* => \(\/[^ ]*\) .*$/\1/p' | sort -u |
    xargs -I{} cp -L {} "$root/lib/x86_64-linux-gnu"
cp -L /lib64/ld-linux-x86-64.so.2 "$root/lib64"
find "$root/usr/bin" "$root/lib" -type f -exec strip --strip-unneeded {} + 2>/dev/null || true
strip --strip-debug -o "$root/camera_board.ko" "$module"
cp "$here/guest.sh" "$root/init"
cp "$here/cases.sh" "$root"
echo root:x:0:0::/:/bin/sh >"$root/etc/passwd"
# Everything is root's there, whoever packs it. Not compressed: reading it is quicker.
(cd "$root" && find . | cpio --create --format=newc --owner=0:0 --quiet) >"$out"
