#!/bin/bash
# Usage: tests/vm/host.sh BUILD_DIR OUT whole|walk...
# What the guest's tours are compared with: the same on this machine over the simulated link, the deeds in OUT/host.WHAT.
set -euo pipefail

build=$(cd "$1" && pwd) out=$(cd "$2" && pwd)
shift 2
# shellcheck source=tests/vm/cases.sh
. "$(dirname "$0")/cases.sh"
export PATH=$build/tools/ptzctl:$build/sim:$build/platform/ptzorvel/ptzd:$PATH

log=$(mktemp -d "${TMPDIR:-/tmp}/ptz-vm.XXXXXX")
pids=()
trap 'kill "${pids[@]}" 2>/dev/null; wait; rm -rf "$log"' EXIT
export DBUS_SYSTEM_BUS_ADDRESS=unix:path=$log/bus
bus_configuration "$log/bus" >"$log/bus.conf"
dbus-daemon --config-file="$log/bus.conf" --nofork --nopidfile 2>"$log/bus.log" &
pids+=($!)
wait_for 30 test -S "$log/bus"
for what in "$@"; do
    export PTZ_BOARD=$log/$what PTZ_DATA_DIR=$log/$what
    krx-sim --board "$PTZ_BOARD" --trace "$log/wire.trace" --strict >"$log/sim.log" 2>&1 &
    sim=$!
    pids+=("$sim")
    wait_for 30 grep -qx ready "$log/sim.log"
    ptzd --plugin "$build/driver/plugin/libptz_driver_canon.so" --foreground >"$log/ptzd.log" 2>&1 &
    ptzd=$!
    pids+=("$ptzd")
    running
    "$what"
    kill "$ptzd" && wait "$ptzd"
    kill "$sim" && wait "$sim"
    deeds >"$out/host.$what"
done
