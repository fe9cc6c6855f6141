#!/bin/bash
# Usage: tools/cross-setup.sh MACHINE
# Makes build/arm/MACHINE, a release build folder for another kind of machine whose programs run here under an emulator.
# What they are linked with comes from that architecture's Debian packages, unpacked in build/arm/sysroot-ARCH; this
# machine's own packages and architectures stay as they are. Does nothing when the folder is there; status 77 when the
# packages cannot be had.
set -Eeuo pipefail
cd "$(dirname "$0")/.."

sysroot_packages=(libc6-dev libstdc++6 libglib2.0-dev libasound2-dev libjson-glib-dev libgtest-dev
                  libgmock-dev)

# MACHINE: Debian's architecture, triplet, emulator, processor family of meson, byte order, compiler flags
declare -A machines=(
    [armhf-neon]="armhf arm-linux-gnueabihf qemu-arm arm little -mcpu=cortex-a7 -mfpu=neon-vfpv4"
    [armhf]="armhf arm-linux-gnueabihf qemu-arm arm little"
    [arm64]="arm64 aarch64-linux-gnu qemu-aarch64 aarch64 little"
    [s390x]="s390x s390x-linux-gnu qemu-s390x s390x big"
)
machine=${1-}
if [[ -z ${machines[$machine]:-} ]]; then
    echo "cross-setup: no machine '$machine'; there are: ${!machines[*]}" >&2
    exit 2
fi
read -r arch triplet emulator family endian rest <<<"${machines[$machine]}"
build=build/arm/$machine
[[ ! -f $build/build.ninja ]] || exit 0
root=$PWD/build/arm/sysroot-$arch

# With an apt of its own, which knows one architecture and no installed package: the archives that this machine has from
# Debian, or Debian's own when it has none.
fill_sysroot() {
    local state=$root.apt archives archive package
    rm -rf "$root" "$root.part" "$state"
    mkdir -p "$root.part" "$state"/{lists/partial,cache/archives/partial}
    : >"$state/status"
    # shellcheck disable=SC2016 # for apt
    archives=$(apt-get indextargets --format '$(REPO_URI) $(RELEASE) main' \
        'Identifier: Packages' 'Label: Debian' 'Component: main' | sort -u)
    while read -r archive; do
        echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $archive"
    done <<<"${archives:-http://deb.debian.org/debian bookworm main}" >"$state/sources.list"
    cat >"$state/apt.conf" <<END
APT { Architecture "$arch"; Architectures { "$arch"; }; Install-Recommends "false"; Sandbox::User "root"; };
Acquire::Languages "none";
Dir { State "$state"; State::lists "$state/lists"; State::status "$state/status"; Cache "$state/cache";
      Etc::sourcelist "$state/sources.list"; Etc::sourceparts "-"; };
Debug::NoLocking "true";
END
    export APT_CONFIG=$state/apt.conf
    apt-get -q -y update
    apt-get -q -y install --download-only "${sysroot_packages[@]}"
    unset APT_CONFIG
    for package in "$state"/cache/archives/*.deb; do dpkg-deb -x "$package" "$root.part"; done
    rm -rf "$state"
    mv "$root.part" "$root"
}

trap 'exit 77' ERR
[[ -d $root ]] || fill_sysroot
trap - ERR

compiler() { # COMPILER: as meson wants it, through the compiler cache where there is one
    command -v ccache >/dev/null && printf "'ccache', "
    printf "'%s-%s'" "$triplet" "$1"
}
read -r -a flags <<<"$rest"
printf -v quoted ", '%s'" "--sysroot=$root" -Wno-psabi "${flags[@]}"
cat >"build/arm/$machine.ini" <<END
[constants]
emulator = ['$emulator', '-L', '$root']
flags = [${quoted#, }]
[binaries]
c = [$(compiler gcc)]
cpp = [$(compiler g++)]
ar = '$triplet-ar'
strip = '$triplet-strip'
nm = '$triplet-nm'
pkgconfig = 'pkg-config'
exe_wrapper = emulator
[properties]
emulator = emulator
sys_root = '$root'
pkg_config_libdir = ['$root/usr/lib/$triplet/pkgconfig', '$root/usr/share/pkgconfig']
needs_exe_wrapper = true
[built-in options]
c_args = flags
cpp_args = flags
c_link_args = ['--sysroot=$root']
cpp_link_args = ['--sysroot=$root']
[host_machine]
system = 'linux'
cpu_family = '$family'
cpu = '$family'
endian = '$endian'
END
meson setup "$build" --cross-file "build/arm/$machine.ini" --buildtype=release -Doptimization=2 -Dbench=disabled
