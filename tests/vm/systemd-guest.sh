#!/bin/bash
# What an administrator does with the packages, on a machine with systemd: the service vm-test of the guest. One line a case
# on the console; the status leaves the machine through its port.
set -uo pipefail
cd /debs || exit
exec </dev/null >/dev/ttyS0 2>&1
export LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive
# shellcheck source=tools/deb-common.sh
. ./deb-common.sh

fail() { echo "$*"; exit 1; }
same() { [[ $2 == "$3" ]] || fail "$1: '$2', not '$3'"; }
of() { systemctl show -P "$2" "$1"; }
within() { local end=$((SECONDS + $1)); shift; until "$@"; do ((SECONDS < end)) || fail "in vain: $*"; sleep 0.2; done; }
ids() { echo "$(id -u "$1"):$(id -G "$1" | tr ' ' ,)"; }
runs() { user stranger ptzctl state --wait 1 --within "$1"; }
daemons=(krx-sim ptzd)
# /dev/mqueue is one of their own.
declare -A writes=([ptzd]='/dev/mqueue /run/ptz /tmp /var/lib/krx-sim /var/lib/krx-sim/thermal_zone0 /var/lib/ptz /var/tmp '
    [krx-sim]='/dev/mqueue /run/krx-sim /tmp /var/lib/krx-sim /var/lib/krx-sim/thermal_zone0 /var/tmp ')

boots() { same 'the machine' "$(systemctl is-system-running --wait)" running; }

goes_in() {
    dpkg -i old/*.deb
    for unit in "${daemons[@]}"; do
        same "$unit" "$(of "$unit" LoadState) $(of "$unit" UnitFileState) $(of "$unit" ActiveState)" 'loaded disabled inactive'
    done
    usermod -aG ptz mover && usermod -aG ptz-admin manager
}

# Ready is when the camera is.
starts() {
    systemctl start "${daemons[@]}"
    runs 1
    user mover ptzctl params set ImageSource.WDR on
}

is_confined() {
    local unit pid what
    # Out of a sandbox all is let.
    same 'outside' "$(user stranger perl systemd-sandbox.pl | grep -c '^was let')" "$(grep -c '=> sub' systemd-sandbox.pl)"
    journalctl --sync
    for unit in "${daemons[@]}"; do
        pid=$(of "$unit" MainPID)
        for what in "NoNewPrivs:1" "Seccomp:2" "CapEff:0000000000000000" "CapBnd:0000000000000000"; do
            same "$unit, ${what%:*}" "$(sed -n "s/^${what%:*}:\t//p" "/proc/$pid/status")" "${what#*:}"
        done
        same "$unit, its user" "$(stat -c %U "/proc/$pid")" "$(of "$unit" User)"
        for what in mnt net ipc user; do
            [[ $(readlink "/proc/$pid/ns/$what") != $(readlink "/proc/1/ns/$what") ]] || fail "$unit shares $what"
        done
        [[ $(awk '$5 == "/" { print $6 }' "/proc/$pid/mountinfo") == ro* ]] || fail "$unit has the files' system to write to"
        # What the service's own user found in its sandbox when it started.
        same "$unit" "$(journalctl -o cat -t perl -u "$unit" | sort | tr '\n' ' ')" "${writes[$unit]}"
        (echo $BASHPID >"/sys/fs/cgroup$(of "$unit" ControlGroup)/cgroup.procs"
         : >/dev/null
         ! : </dev/port) || fail "$unit has other devices"
    done
}

scores() { systemd-analyze security --no-pager --threshold=10 "${daemons[@]}"; }

serves_by_rights() {
    ./check-rights.sh rights.md everybody="$(ids stranger)" ptz="$(ids mover)" ptz-admin="$(ids manager)"
}

moves() {
    ! user stranger ptzctl move pan=10 || fail 'a stranger moves the camera'
    user mover ptzctl move pan=10 --wait
    user stranger ptzctl --json position | grep -E '"pan":(10[,.]|9\.9[5-9])'
}

# Only this thread stops: the main one still answers, and says so to the manager until it notices.
is_watched() {
    local before restarts thread
    before=$(of ptzd MainPID) restarts=$(of ptzd NRestarts)
    thread=$(cd "/proc/$before/task" && grep -lx commands -- */comm | sort -n | head -n 1) # those that it made have its name
    thread=${thread%/comm}
    perl -e 'my $thread = $ARGV[0] + 0; syscall(101, 0x4206, $thread, 0, 0) == 0 && syscall(101, 0x4207, $thread, 0, 0) == 0 or die;
        1 while waitpid(-1, 0x40000000) > 0' "$thread" & # ptrace: seize, interrupt
    within 10 grep -q '^State:.t' "/proc/$before/task/$thread/status"
    user stranger ptzctl state
    within 120 [ ! -e "/proc/$before" ]
    runs 120
    journalctl --sync
    journalctl -o cat -u ptzd | grep 'Watchdog timeout'
    same 'restarts' "$(of ptzd NRestarts)" $((restarts + 1))
}

is_upgraded() {
    local before after
    before=$(of krx-sim MainPID)+$(of ptzd MainPID)
    dpkg -i ./*.deb
    runs 120
    after=$(of krx-sim MainPID)+$(of ptzd MainPID)
    [[ ${after%+*} != "${before%+*}" && ${after#*+} != "${before#*+}" ]] || fail "not started anew: $before, $after"
    user stranger ptzctl params get ImageSource.WDR | grep on
    user mover ptzctl move pan=-10 --wait
}

is_stopped() {
    systemctl stop "${daemons[@]}"
    for unit in "${daemons[@]}"; do same "$unit" "$(of "$unit" Result) $(of "$unit" ExecMainStatus)" 'success 0'; done
    [[ ! -e /run/krx-sim ]] || fail 'the board that is gone is still to be taken for the camera'
}

is_removed() {
    systemctl start "${daemons[@]}"
    dpkg --remove "${ours[@]}"
    ! grep -xE 'krx-sim|ptzd' /proc/[0-9]*/comm || fail 'they run on'
    [[ -f /var/lib/ptz/parameters.conf && -f /etc/ptz/krx_port.conf ]] || fail 'removal took settings with it'
}

# Users stay, as a file of theirs may.
is_purged() {
    dpkg --purge "${ours[@]}"
    rm -r /run/systemd/system/*.d
    systemctl daemon-reload
    same 'left' "$(left_since before)" ''
    same 'units' "$(systemctl list-unit-files --no-legend 'ptz*' 'krx*')" ''
    id ptz krx-sim
    getent group ptz ptz-admin
}

for who in mover manager stranger; do useradd -m -s /bin/sh "$who"; done
for unit in "${daemons[@]}"; do
    mkdir -p "/run/systemd/system/$unit.service.d"
    printf '[Service]\nExecStartPost=-/usr/bin/perl /debs/systemd-sandbox.pl\n' >"/run/systemd/system/$unit.service.d/guest.conf"
done
echo WatchdogSec=20 >>/run/systemd/system/ptzd.service.d/guest.conf
everything >before
passed=0 failed=0
for case in boots goes_in starts is_confined scores serves_by_rights moves is_watched is_upgraded is_stopped is_removed is_purged; do
    SECONDS=0
    (set -e; "$case") >log 2>&1
    # shellcheck disable=SC2181 # in a condition nothing would end at a fault
    if (($? == 0)); then
        echo "passed: systemd: $case ($SECONDS s)"
        ((++passed))
    else
        echo "FAILED: systemd: $case ($SECONDS s)"
        tail -n 20 log
        ((++failed))
    fi
done
((failed == 0)) || journalctl -q -n 60 -o short-monotonic
echo "$passed passed, $failed failed"
printf '%b' "\\x$(printf %x $((failed + 1)))" | dd of=/dev/port bs=1 seek=244 2>/dev/null
