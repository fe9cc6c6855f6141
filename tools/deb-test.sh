#!/bin/bash
# Usage: tools/deb-test.sh DEB_DIR
# What an administrator does with the packages and apt, in a fresh Debian 12 that nothing leaves: installs a previous
# version, upgrades, removes and purges. DEB_DIR/test.log has all of it. tests/vm/systemd.sh runs what they install.
set -euo pipefail
# shellcheck source=tools/deb-common.sh
. "${0%/*}/deb-common.sh"

fail() { echo "deb-test: $*" >&3; exit 1; }

# Runs inside.
inside() {
    export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8
    echo "APT::Install-Recommends \"false\";" >/etc/apt/apt.conf.d/90plain
    apt-get -q update
    everything >/tmp/before
    apt-get -q -y install /debs/old/*.deb || fail 'the previous packages cannot be installed'
    echo '# mine' >>/etc/ptz/krx_port.conf
    apt-get -q -y install /debs/{krx-sim,ptzd,ptzctl}_*.deb || fail 'the upgrade failed'
    [[ $(dpkg-query -W -f '${Version}\n' "${ours[@]}" | sort -u) == "$NEW_VERSION" ]] || fail 'the upgrade left old packages'
    grep -qx '# mine' /usr/share/ptz/krx_port.conf || fail 'the upgrade lost a change of the configuration'
    # The plug-in is there as well when the configuration that nobody has filled in is found wanting.
    { [[ $(ptzd --check) == *'ResetPin is missing'* ]] && krx-sim --help && krx-image --help && ptzctl --help; } ||
        fail 'a program has not all that it needs'

    apt-get -q -y install /debs/{libptzorvel-dev,ptz-driver-canon}_*.deb || fail 'the other packages cannot be installed'
    apt-get -q -y remove "${ours[@]}" libptzorvel-dev ptz-driver-canon || fail 'the packages cannot be removed'
    [[ -f /etc/ptz/krx_port.conf ]] || fail 'removal took the configuration with it'
    apt-get -q -y purge --auto-remove "${ours[@]}" || fail 'the packages cannot be purged'
    left_since /tmp/before >/tmp/left
    [[ ! -s /tmp/left ]] || { cat /tmp/left >&3; fail 'the purge left files behind'; }
    echo 'deb-test: installed with what they need, upgraded, removed and purged' >&3
}

if [[ ${1:-} == inside ]]; then
    inside
    exit
fi

debs=$(cd "${1:?usage: tools/deb-test.sh DEB_DIR}" && pwd)
cd "$(dirname "$0")/.."
if (($(id -u) != 0)); then exec sudo "$0" "$debs"; fi
exec 3>&1 >"$debs/test.log" 2>&1

# A word of tests in what is shipped; the camera block's own last test has its name from elsewhere.
root=$(mktemp -d "$debs/root.XXXXXX")
trap 'rm -rf "$root"' EXIT
trap '[[ $? == 0 ]] || echo "deb-test: FAILED, see $debs/test.log" >&3; rm -rf "$root"' EXIT
for deb in "$debs"/*.deb; do [[ $deb == *-dbgsym_* ]] || dpkg-deb -x "$deb" "$root/shipped"; done
! grep -rawiEo '.{0,20}\b(unit ?)?tests?\b.{0,20}' "$root/shipped" | grep -av 'last test' | grep -a . >&3 || fail 'the packages speak of tests'
rm -rf "$root/shipped"

fresh=$debs/debian12.tar
[[ -f $fresh ]] || { mmdebstrap --format=tar --variant=minbase --include=dbus,systemd bookworm "$fresh.new" && mv "$fresh.new" "$fresh"; } ||
    fail 'a fresh Debian 12 cannot be made'
tar -x -C "$root" --exclude='./dev/*' -f "$fresh"
mkdir -p "$root/debs/old"
cp "$debs"/*.deb tools/deb-{common,test}.sh "$root/debs"
rm -f "$root"/debs/*-dbgsym_*
new=$(dpkg-deb -f "$root"/debs/ptzd_*.deb Version)
older "$debs" "$root/debs/old"
cp /etc/resolv.conf "$root/etc/resolv.conf"
# Processes and mounts of its own, which end with it.
# shellcheck disable=SC2016 # the other shell's
unshare --mount --pid --fork --kill-child bash -c '
    mount -t proc proc "$0/proc" && mount -t tmpfs tmpfs "$0/dev" &&
    for node in null:3 zero:5 full:7 random:8 urandom:9; do mknod -m 666 "$0/dev/${node%:*}" c 1 "${node#*:}"; done &&
    mkdir "$0/dev/pts" && mount -t devpts -o newinstance,ptmxmode=0666 devpts "$0/dev/pts" && ln -s pts/ptmx "$0/dev/ptmx" && ln -s /proc/self/fd "$0/dev/fd" &&
    exec env NEW_VERSION="$1" chroot "$0" bash /debs/deb-test.sh inside' "$root" "$new"
