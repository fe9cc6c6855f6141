#!/bin/bash
# Usage: tests/vm/systemd.sh VM_DIR DEB_DIR
# The packages of DEB_DIR on a Debian 12 with systemd, in a virtual machine: one line a case, the last line "N passed, N
# failed". VM_DIR keeps the kernel and the system, which root makes once, and systemd.log.
set -euo pipefail

# make_system FILE PACKAGE,...: what the packages need and no more.
make_system() {
    local root name left_out=()
    root=$(mktemp -d)
    for name in doc man locale info; do left_out+=("--dpkgopt=path-exclude=/usr/share/$name/*"); done
    # shellcheck disable=SC2016 # the hook's
    mmdebstrap --variant=essential --aptopt='Apt::Install-Recommends "false"' "${left_out[@]}" \
        --include="systemd,dbus,$2" \
        --customize-hook='rm "$1"/etc/dpkg/dpkg.cfg.d/99mmdebstrap && ln -s lib/systemd/systemd "$1/init"' bookworm "$root"
    (cd "$root" && find . -xdev | cpio -o -H newc --quiet) | zstd -q -3 >"$1.new" && mv "$1.new" "$1"
    rm -rf "$root"
}
if [[ $1 == make_system ]]; then make_system "$2" "$3"; exit; fi

vm=$(mkdir -p "$1" && cd "$1" && pwd) debs=$(cd "${2:?usage: tests/vm/systemd.sh VM_DIR DEB_DIR}" && pwd)
cd "$(dirname "$0")/../.."
# shellcheck source=tools/deb-common.sh
. tools/deb-common.sh
exec 3>&1 >"$vm/systemd.log" 2>&1
work=$(mktemp -d "$vm/systemd.XXXXXX")
trap 'rm -rf "$work"' EXIT
fail() { echo "systemd: $*, see $vm/systemd.log" >&3; echo '0 passed, 1 failed' >&3; exit 1; }

tests/vm/kernel.sh "$vm/kernel" || fail 'no kernel'
# Packages of others, by their names alone, the first where one of several will do.
needed=$(for name in "${ours[@]}"; do dpkg-deb -f "$debs/${name}"_*.deb Depends; done | tr ',' '\n' | sed 's/[(|].*//; s/ //g' |
    grep -vxFf <(printf '%s\n' "${ours[@]}") | sort -u | paste -sd ,)
system=$vm/systemd-$({ declare -f make_system; echo "$needed"; } | cksum | cut -d ' ' -f 1).cpio.zst
as_root=()
(($(id -u) == 0)) || as_root=(sudo)
[[ -f $system ]] || "${as_root[@]}" "$PWD/tests/vm/systemd.sh" make_system "$system" "$needed" || fail 'a Debian 12 cannot be made'

# What is to be tried is an archive of its own before the system's.
mkdir -p "$work"/{debs/old,etc/systemd/system}
for name in "${ours[@]}"; do cp "$debs/${name}"_*.deb "$work/debs"; done
older "$debs" "$work/debs/old"
cp tests/vm/systemd-{guest.sh,sandbox.pl} tools/deb-common.sh tests/rights/check-rights.sh docs/rights.md "$work/debs"
printf '[Unit]\nAfter=dbus.service\n[Service]\nExecStart=/bin/bash /debs/systemd-guest.sh\n' >"$work/etc/systemd/system/vm-test.service"
(cd "$work" && find debs etc | cpio -o -H newc -R 0:0 --quiet | cat - "$system" >initrd)
# Time is that of the guest's instructions, and waits cost none.
VM_APPEND='loglevel=3 systemd.show_status=no systemd.wants=vm-test.service systemd.getty_auto=no systemd.mask=getty@tty1.service' \
    VM_LIMIT=1500 tests/vm/boot.sh "$vm/kernel/vmlinuz" "$work/initrd" -m 768 -icount shift=1,sleep=off -rtc clock=vm | tee -a "$vm/systemd.log" >&3 || status=$?
((${status:-0} < 124)) || fail "the machine ended by itself or had to be ended"
exit "${status:-0}"
