# shellcheck shell=bash
# The guest's cases: each a function case_NAME that runs in a shell of its own, says at the end in a line what it has
# seen, and fails by `fail`.

fail() { echo "failed: $*"; exit 1; }
board=/tmp/board

# wait_for SECONDS COMMAND...: until it succeeds.
wait_for() {
    local looks=$(($1 * 20))
    shift
    until "$@" >/dev/null 2>&1; do
        ((looks-- > 0)) || fail "not seen: $*"
        usleep 50000
    done
}

# begin [PARAMETER...]: the board with the module's parameters, and a configuration that leads to the kernel's devices.
begin() {
    rm -rf $board /usr/share/ptz /tmp/parameters.conf
    insmod /camera_board.ko "$@" || fail 'the module cannot be loaded'
    krx-sim --board $board --trace "$log/wire.trace" --verbose --strict >"$log/sim.log" 2>&1 &
    sim=$!
    wait_for 30 grep -qx ready "$log/sim.log"
    PTZ_BOARD=$board vm_bridge >"$log/bridge.log" 2>&1 &
    bridge=$!
    wait_for 30 grep -qx ready "$log/bridge.log"
    mkdir -p /usr/share/ptz
    cp $board/*.conf /usr/share/ptz
    set_key krx_port 'Device=.*/spi\(.\)' 'Device=/dev/spidev1.\1'
}
set_key() { sed -i "s#^$2\$#$3#" /usr/share/ptz/"$1".conf; }
by_number() {
    local name number=39
    sed -i 's/=imc_req$/=37/' /usr/share/ptz/krx_port.conf
    for name in cam_power cam_power_good cam_reset cam_reset_pcie cam_init_done cam_pcie_clk cam_fw_complete fpga_reset; do
        sed -i "s/=$name\$/=$((++number))/" /usr/share/ptz/krx_driver.conf
    done
}
hide_sysfs() { mount -t tmpfs none /sys/class/gpio; }

start() { # [WRAPPER...]
    "$@" ptzd --plugin /lib/x86_64-linux-gnu/libptz_driver_canon.so --foreground --state-dir /tmp >>"$log/ptzd.log" 2>&1 &
    ptzd=$!
}
running() { ptzctl state --wait running --within "${1:-60}" >/dev/null || fail "not running: $(ptzctl state)"; }
stop() {
    kill $ptzd
    wait $ptzd || fail "ptzd ended with $?"
}
interrupts() { awk '/camera_board/ { n += $2 } END { print n + 0 }' /proc/interrupts; }
simulator() {
    gdbus call --system --dest com.orna.KrxSim --object-path /com/orna/KrxSim --method com.orna.KrxSim.Command "$1" ||
        fail "the simulator refuses: $1"
}
# Lines stay exported, and one that is holds the module.
give_lines_back() {
    local chip base line
    for chip in /sys/class/gpio/gpiochip*; do
        base=$(cat "$chip/base")
        for ((line = base; line < base + 16; ++line)); do echo $line >/sys/class/gpio/unexport; done
    done 2>/dev/null
}
# Everything in order to the end, and no offence counted.
end() {
    kill $bridge
    wait $bridge
    kill $sim
    wait $sim || fail "krx-sim ended with $?: $(grep OFFENCE "$log/sim.log" | head -n 3)"
    mountpoint -q /sys/class/gpio && umount /sys/class/gpio
    give_lines_back
    rmmod camera_board || fail 'the module is still used'
}

tour() { # [PARAMETER...]: with what `prepare` does to the configuration
    begin "$@"
    prepare
    start
    running
    ptzctl tour || fail 'the tour'
    stop
    local seen=$(interrupts)
    # Everything that the host did, in order: its bursts, what they mean, its lines. Left out are times, and as these
    # decide about them, reads of the status and what the block answers.
    sed 's/^\(# \)\?[0-9]*\.[0-9]* //' "$log/wire.trace" | grep -vE '^(port. block |port. host [0-9]* $|status read$)' >/kept/"$name".tour
    end
    echo "$(grep -c . /kept/"$name".tour) records, $seen interrupts"
}
case_tour_firmware() { prepare() { :; }; tour; }
case_tour_number() { prepare() { by_number; }; tour; }
