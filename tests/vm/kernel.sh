#!/bin/bash
# Usage: tests/vm/kernel.sh DIR
# Puts Debian's kernel for virtual machines into DIR, nothing of which is installed here: DIR/vmlinuz, its modules in
# DIR/lib/modules/VERSION, DIR/version, and in DIR/build what modules are built with (`make -C DIR/build M=...`).
# Made once; status 77 with a reason when the packages cannot be had.
set -euo pipefail

mkdir -p "${1:?usage: tests/vm/kernel.sh DIR}"
cd "$1"
[[ ! -e complete ]] || exit 0
exec 3>&1 >kernel.log 2>&1
trap '[[ $? == 0 ]] || echo "kernel: no kernel package can be had, see $PWD/kernel.log" >&3' EXIT
command -v apt-get && [[ $(dpkg --print-architecture) == amd64 ]] || exit 77

# With this machine's lists of packages or, when they are not there or too old, with lists of our own.
fetch() {
    version=$(apt-cache "$@" show linux-image-amd64 | sed -n 's/^Depends: linux-image-\([^ ,]*\).*/\1/p' | head -n 1)
    [[ -n $version ]] && apt-get "$@" -o APT::Sandbox::User=root download linux-image-"$version" linux-headers-"$version" \
        linux-headers-"${version%-amd64}"-common linux-kbuild-"$(cut -d. -f1,2 <<<"$version")"
}
fetch_anew() {
    local -a own=(-o Dir::State="$PWD/apt" -o Dir::State::status=/var/lib/dpkg/status -o Dir::Cache="$PWD/apt/cache")
    mkdir -p apt/lists/partial apt/cache/archives/partial
    apt-get "${own[@]}" -o APT::Sandbox::User=root -q update && fetch "${own[@]}"
}
fetch || { rm -f ./*.deb && fetch_anew; } || exit 77

for deb in ./*.deb; do
    # The common headers twice over would do no harm; of the kernel itself the maps and texts are left out.
    dpkg-deb --fsys-tarfile "$deb" | tar -x --exclude='./usr/share' --exclude='./boot/System.map*'
done
mv boot/vmlinuz-"$version" vmlinuz
echo "$version" >version
ln -sfn usr/src/linux-headers-"$version" build
sed -i "s#/usr/src/#$PWD/usr/src/#" build/Makefile
rm -rf ./*.deb apt
touch complete
