#!/bin/bash
# Usage: tools/run.sh BUILD_DIR [--time-scale N]
# Brings up a private bus, the simulated board and ptzd with the real plug-in, and tours the camera through ptzctl. Every
# step checks what came of it; a wrong one ends the tour with status 1. On a terminal the camera stays up afterwards
# until Ctrl-C. --time-scale N, or PTZ_TIME_SCALE=N, lets everything run N times faster.
set -uo pipefail

usage() {
    echo 'usage: tools/run.sh BUILD_DIR [--time-scale N]' >&2
    exit 2
}
scale=${PTZ_TIME_SCALE:-1}
if [[ $# -eq 3 && $2 == --time-scale ]]; then
    scale=$3
elif [[ $# -ne 1 ]]; then
    usage
fi
[[ $scale =~ ^[0-9]+([.][0-9]+)?$ ]] || usage
build=$(cd "$1" && pwd) || exit 2
data=$(cd "$(dirname "$0")/../data" && pwd)
plugin=$build/driver/plugin/libptz_driver_canon.so
export PATH=$build/tools/ptzctl:$build/sim:$build/platform/ptzorvel/ptzd:$PATH

dir=$(mktemp -d "${TMPDIR:-/tmp}/ptz-run.XXXXXX") || exit 1
# A page with the picture, where krx-sim was built with one.
view=()
if krx-sim --help | grep -q 'built without --view'; then
    echo 'run: no picture, krx-sim was built without it (libsoup 3, cairo, turbojpeg)'
else
    view=(--view --view-controls)
fi
bus_pid='' sim_pid='' page='' ptzd_pid='' mover_pid='' step='start'

# Ends one of our processes and gives its exit status; one that does not go within ten seconds is killed.
end_process() {
    local pid=$1 tries=100
    kill -TERM "$pid" 2>/dev/null
    while kill -0 "$pid" 2>/dev/null && ((tries-- > 0)); do sleep 0.1; done
    if kill -0 "$pid" 2>/dev/null; then
        echo "run: process $pid did not end, killed" >&2
        kill -KILL "$pid" 2>/dev/null
    fi
    wait "$pid" 2>/dev/null
}

clean_up() {
    local status=$? pid
    trap - EXIT INT TERM HUP
    for pid in $mover_pid $ptzd_pid $sim_pid $bus_pid; do end_process "$pid"; done
    if ((status != 0)) && [[ -d $dir ]]; then
        echo "run: FAILED at step: $step" >&2
        for log in ptzd sim; do
            [[ -s $dir/$log.log ]] && { echo "--- last lines of $log"; tail -n 25 "$dir/$log.log"; } >&2
        done
    fi
    rm -rf "$dir"
    exit "$status"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

begin() {
    step=$1
    printf '\n== %s\n' "$1"
}
fail() {
    printf 'run: %s\n' "$1" >&2
    exit 1
}
# Shows a command and what it says; its failure is ours.
show() {
    printf '$ %s\n' "$*"
    "$@" || fail "'$*' ended with status $?"
}
# wait_for TEXT FILE SECONDS: until a line of the file is TEXT.
wait_for() {
    local tries=$(($3 * 20))
    until grep -qx "$1" "$2" 2>/dev/null; do
        ((tries-- > 0)) || fail "no '$1' in $2 within $3 s"
        sleep 0.05
    done
}
# Waits for state 1, at most 40 seconds, as long as there is a ptzd to come to it.
wait_running() {
    local tries=20
    until ptzctl state --wait running --within 2 2>"$dir/state"; do
        kill -0 "$ptzd_pid" 2>/dev/null || fail 'ptzd ended by itself'
        ((tries-- > 0)) || fail "$(cat "$dir/state")"
    done
}
# field NAME: the number of that name in a JSON object on standard input.
field() { sed -n "s/.*\"$1\":\([-+.0-9e]*\).*/\1/p"; }
position() { ptzctl --json position | field "$1"; }
# Tells the simulated board something from outside.
simulator() {
    printf '(simulated board: %s)\n' "$1"
    gdbus call --system --dest com.orna.KrxSim --object-path /com/orna/KrxSim --method com.orna.KrxSim.Command "$1" \
        >"$dir/command" 2>&1 || fail "$(cat "$dir/command")"
}
# check WHAT CONDITION: the condition is awk's.
check() {
    awk "BEGIN { exit !($2) }" </dev/null || fail "$1 is wrong: $2"
    printf '   ok: %s (%s)\n' "$1" "$2"
}
# What power-up moved and what the block made of it, in order, from the simulator's own record.
power_up_steps() {
    sed -n 's/^\[[^]]*\] \(block .*\|line \(cam\|fpga\)_.*\)$/\1/p' "$dir/sim.log" | tail -n 9 | paste -sd, -
}
check_power_up() {
    local steps expected
    expected='line cam_power high,block powering,block held in reset,line cam_pcie_clk high,line cam_reset high'
    expected+=',block booting,block running,line cam_reset_pcie high,line fpga_reset high'
    steps=$(power_up_steps)
    [[ $steps == "$expected" ]] || fail "power-up went as: $steps; it should go as: $expected"
    printf '   ok: in the right order: %s\n' "${steps//,/, }"
}
check_offences() {
    ! grep -q 'OFFENCE' "$dir/sim.log" || fail "the simulator counted offences: $(grep OFFENCE "$dir/sim.log")"
    echo "   ok: the simulator counted no offence"
}

start_system() {
    begin 'a private bus, the simulated board, ptzd with the plug-in'
    cat >"$dir/bus.conf" <<CONF
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <listen>unix:path=$dir/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default"><allow send_destination="*"/><allow eavesdrop="true"/><allow own="*"/></policy>
</busconfig>
CONF
    # Each in a session of its own: Ctrl-C reaches this script alone, which then ends them in order.
    setsid dbus-daemon --config-file="$dir/bus.conf" --nofork --nopidfile --print-address=3 3>"$dir/address" \
        >"$dir/bus.log" 2>&1 &
    bus_pid=$!
    local tries=100
    until [[ -s $dir/address ]]; do
        ((tries-- > 0)) || fail "the bus does not start: $(cat "$dir/bus.log")"
        sleep 0.05
    done
    export DBUS_SYSTEM_BUS_ADDRESS=unix:path=$dir/bus
    # The driver's sound device, silent: most machines have none of that name.
    export ALSA_CONFIG_PATH=$data/asound.conf
    export PTZ_DATA_DIR=$dir/board PTZ_BOARD=$dir/board PTZ_TIME_SCALE=$scale

    setsid krx-sim --board "$dir/board" --trace "$dir/wire.trace" --trace-limit 64 --time-scale "$scale" --verbose --strict \
        "${view[@]}" >"$dir/sim.log" 2>&1 &
    sim_pid=$!
    wait_for ready "$dir/sim.log" 10
    page=$(sed -n 's/^view //p' "$dir/sim.log")
    [[ -z $page ]] || echo "   what the camera sees: $page"
    echo 'AudioInit=true' >>"$dir/board/krx_driver.conf"
    setsid ptzd --plugin "$plugin" --foreground >"$dir/ptzd.log" 2>&1 &
    ptzd_pid=$!
    wait_running
    check_power_up
}

# What the driver sent so far, in words. While it polls, the last line of the trace may be half written: left out.
decode_wire() {
    head -n -1 "$dir/wire.trace" >"$dir/whole.trace"
    ptzctl decode "$dir/whole.trace" --sent >"$dir/words"
}

# What ptzctl shows by itself: every axis, stops on the way, modes, settings, capabilities. It checks each step.
tour_camera() {
    begin 'a tour of the camera'
    show ptzctl tour --no-reset
    show ptzctl position
    show ptzctl fov
}

tour_stop_by_another() {
    begin 'a continuous move, ended by a stop from somebody else'
    local before tries=100
    ptzctl move --continuous tilt=10 >"$dir/mover.log" 2>&1 &
    mover_pid=$!
    before=$(position tilt)
    until awk "BEGIN { exit !($(position tilt) > $before + 0.5) }" </dev/null; do
        ((tries-- > 0)) || fail "the camera does not set off: $(cat "$dir/mover.log")"
        sleep 0.05
    done
    show ptzctl stop
    wait "$mover_pid" || fail "the move's own ptzctl failed: $(cat "$dir/mover.log")"
    mover_pid=''
    check 'tilt stopped before its end' "$(position tilt) < 89"
}

# The service that owns the video format changes it; the simulated board plays that service.
tour_format() {
    begin 'the image pipeline changes to 1080p50'
    local tries=400
    simulator 'set video-capture-mode 1080p50'
    simulator 'set capture-frequency 50'
    until decode_wire 2>/dev/null && grep -q 'Sensor capture mode 1 (50 Hz)' "$dir/words"; do
        ((tries-- > 0)) || fail 'the driver does not follow'
        sleep 0.1
    done
    wait_running
    echo '   ok: the camera block follows'
}

tour_wire() {
    begin 'what went over the wire, decoded'
    decode_wire || fail 'the trace cannot be decoded'
    echo '$ ptzctl decode wire.trace --sent | tail -n 12'
    tail -n 12 "$dir/words"
    local row
    for row in 'Pan position 10000 (10.000 deg)' 'Zoom magnification' 'Pan speed' 'Pan/tilt stop' 'Focus position' \
        'Iris level A' 'Brightness level' 'Sharpness' 'WDR on'; do
        grep -qF "$row" "$dir/words" || fail "no '$row' on the wire"
    done
    echo "   ok: $(wc -l <"$dir/words") records in words"
}

tour_reset() {
    begin 'a restart by "reset"'
    show ptzctl special list
    show ptzctl special reset
    wait_running
    check_power_up
    show ptzctl status
}

# Ends everything in order and looks at how it ended.
finish() {
    begin 'the end: ptzd closes the camera, the simulator counts'
    local status
    end_process "$ptzd_pid"
    status=$?
    ptzd_pid=''
    ((status == 0)) || fail "ptzd ended with status $status"
    end_process "$sim_pid"
    status=$?
    sim_pid=''
    ((status == 0)) || fail "krx-sim ended with status $status (3: it counted offences)"
    sed -n '/^Offences:/,$p' "$dir/sim.log"
    printf '\nAll of it worked.\n'
}

started=$SECONDS
start_system
tour_camera
tour_stop_by_another
tour_format
tour_wire
tour_reset
check_offences
echo "   (the tour took $((SECONDS - started)) s)"

if [[ -t 0 && -t 1 ]]; then
    begin 'the camera stays up until Ctrl-C'
    cat <<TEXT
To talk to it, in another terminal:

  export DBUS_SYSTEM_BUS_ADDRESS=$DBUS_SYSTEM_BUS_ADDRESS PTZ_TIME_SCALE=$scale
  export PATH=$build/tools/ptzctl:\$PATH
  ptzctl --help

What it sees, with light, heat and faults at hand: ${page:-nothing, krx-sim was built without --view}
Logs: $dir/ptzd.log, $dir/sim.log; the wire: $dir/wire.trace
(of the wire the last 64 MiB are kept, what went before in wire.trace.1)
TEXT
    trap 'trap - INT; stopped=1' INT
    stopped=0
    while ((!stopped)) && kill -0 "$ptzd_pid" 2>/dev/null && kill -0 "$sim_pid" 2>/dev/null; do
        sleep 1 || true
    done
    ((stopped)) || fail 'ptzd or krx-sim ended by itself'
fi
finish
