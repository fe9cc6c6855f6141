#!/bin/bash
# Usage: tools/deb-test.sh DEB_DIR
# What an administrator does with the packages, in a fresh Debian 12 that nothing leaves: installs a previous version, runs
# the daemons by their units on a stock system bus, upgrades, removes and purges. DEB_DIR/test.log has all of it.
set -euo pipefail

fail() { echo "deb-test: $*" >&3; exit 1; }

# Everything below runs inside.
user() { local name=$1; shift; setpriv --reuid "$name" --regid "$name" --init-groups "$@"; }
ids() { echo "$(id -u "$1"):$(id -G "$1" | tr ' ' ,)"; }
everything() { find / -xdev \( -path /proc -o -path /tmp -o -path /debs -o -path /var/cache -o -path /var/lib/apt -o -path /var/lib/dpkg \
    -o -path /var/log -o -path '/etc/*passwd*' -o -path '/etc/*group*' -o -path '/etc/*shadow*' \) -prune -o -print | sort; }
value() { sed -n "s/^$2=//p" /lib/systemd/system/"$1".service; }

# Starts a unit as its file and what is added to it say.
start() {
    local unit=$1 name folder
    local -a before command
    for name in RuntimeDirectory:/run StateDirectory:/var/lib; do
        folder=$(value "$unit" "${name%%:*}")
        [[ -z $folder ]] || install -d -o "$(value "$unit" User)" -g "$(value "$unit" Group)" -m 0770 "${name#*:}/$folder"
    done
    read -r -a before < <(value "$unit" ExecStartPre) || true
    ((${#before[@]} == 0)) || user "$(value "$unit" User)" "${before[@]}"
    read -r -a command < <(value "$unit" ExecStart)
    local -a variables=("STATE_DIRECTORY=/var/lib/$(value "$unit" StateDirectory)")
    while read -r name; do [[ ! -f $name ]] || mapfile -t -O "${#variables[@]}" variables <"$name"; done \
        < <(sed -n 's/^EnvironmentFile=-//p' /lib/systemd/system/"$unit".service.d/*.conf 2>/dev/null)
    (umask "$(value "$unit" UMask)"
     exec setpriv --reuid "$(value "$unit" User)" --regid "$(value "$unit" Group)" --init-groups --no-new-privs --bounding-set=-all \
        env "${variables[@]}" "${command[@]}") &
    pids+=($!)
}
start_all() {
    pids=()
    start krx-sim
    for ((i = 0; i < 600; ++i)); do [[ -S /var/lib/krx-sim/spi1 ]] && break; sleep 0.1; done
    start ptzd
    user stranger ptzctl state --wait 1 --within 120 || fail 'the camera does not come up'
}
stop_all() {
    kill -TERM "${pids[1]}"; wait "${pids[1]}" || fail 'ptzd did not end in order'
    kill -TERM "${pids[0]}"; wait "${pids[0]}" || fail 'krx-sim did not end in order'
}

inside() {
    local -a ours=(krx-sim ptzd ptzctl)
    export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8
    echo "APT::Install-Recommends \"false\";" >/etc/apt/apt.conf.d/90plain
    apt-get -q update
    for who in mover manager stranger; do useradd -M -s /bin/sh "$who"; done
    everything >/tmp/before
    apt-get -q -y install /debs/old/{krx-sim,ptzd,ptzctl}_*.deb || fail 'the previous packages cannot be installed'
    usermod -aG ptz mover && usermod -aG ptz-admin manager
    echo '# mine' >>/etc/ptz/krx_port.conf
    mkdir -p /run/dbus && dbus-daemon --system --fork
    start_all
    user mover ptzctl params set ImageSource.WDR on || fail 'a member of the group cannot set a parameter'
    stop_all

    apt-get -q -y install /debs/{krx-sim,ptzd,ptzctl}_*.deb || fail 'the upgrade failed'
    [[ $(dpkg-query -W -f '${Version}\n' "${ours[@]}" | sort -u) == "$NEW_VERSION" ]] || fail 'the upgrade left old packages'
    grep -qx '# mine' /usr/share/ptz/krx_port.conf || fail 'the upgrade lost a change of the configuration'
    start_all
    [[ $(user stranger ptzctl params get ImageSource.WDR) == *on* ]] || fail 'the upgrade lost a setting'
    /debs/check-rights.sh /debs/rights.md everybody="$(ids stranger)" ptz="$(ids mover)" ptz-admin="$(ids manager)" \
        root="$(ids root)" >/tmp/rights || { cat /tmp/rights >&3; fail 'rights are not as the table says'; }
    ! user stranger ptzctl move pan=10 || fail 'a stranger moves the camera'
    user mover ptzctl move pan=10 || fail 'a member of the group cannot move the camera'
    for ((i = 0; i < 300; ++i)); do user stranger ptzctl --json position | grep -Eq '"pan":(10[,.]|9\.9[5-9])' && break; sleep 0.1; done
    ((i < 300)) || fail 'the camera does not look where it was told to'
    stop_all

    apt-get -q -y install /debs/{libptzorvel-dev,ptz-driver-canon}_*.deb || fail 'the other packages cannot be installed'
    apt-get -q -y remove "${ours[@]}" libptzorvel-dev ptz-driver-canon || fail 'the packages cannot be removed'
    [[ -f /var/lib/ptz/parameters.conf && -f /etc/ptz/krx_port.conf ]] || fail 'removal took settings with it'
    apt-get -q -y purge --auto-remove "${ours[@]}" || fail 'the packages cannot be purged'
    kill "$(cat /run/dbus/pid)" && rm -rf /run/dbus
    everything >/tmp/after
    comm -13 /tmp/before /tmp/after >/tmp/left
    [[ ! -s /tmp/left ]] || { cat /tmp/left >&3; fail 'the purge left files behind'; }
    echo "deb-test: installed, $(cat /tmp/rights), moved as a member of the group, upgraded, removed and purged" >&3
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
cp "$debs"/*.deb tests/rights/check-rights.sh docs/rights.md tools/deb-test.sh "$root/debs"
rm -f "$root"/debs/*-dbgsym_*
new=$(dpkg-deb -f "$root"/debs/ptzd_*.deb Version)
for deb in "$root"/debs/{krx-sim,ptzd,ptzctl}_*.deb; do
    dpkg-deb -R "$deb" "$root/debs/old/tree"
    sed -i "s/^Version: .*/Version: ${new%-*}-0/" "$root/debs/old/tree/DEBIAN/control"
    dpkg-deb --root-owner-group -b "$root/debs/old/tree" "$root/debs/old"
    rm -rf "$root/debs/old/tree"
done
cp /etc/resolv.conf "$root/etc/resolv.conf"
# Processes and mounts of its own, which end with it.
# shellcheck disable=SC2016 # the other shell's
unshare --mount --pid --fork --kill-child bash -c '
    mount -t proc proc "$0/proc" && mount -t tmpfs tmpfs "$0/dev" &&
    for node in null:3 zero:5 full:7 random:8 urandom:9; do mknod -m 666 "$0/dev/${node%:*}" c 1 "${node#*:}"; done &&
    mkdir "$0/dev/pts" && mount -t devpts -o newinstance,ptmxmode=0666 devpts "$0/dev/pts" && ln -s pts/ptmx "$0/dev/ptmx" && ln -s /proc/self/fd "$0/dev/fd" &&
    exec env NEW_VERSION="$1" chroot "$0" bash /debs/deb-test.sh inside' "$root" "$new"
