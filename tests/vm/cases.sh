# shellcheck shell=bash disable=SC2154
# The guest's cases: each a function case_NAME that runs in a shell of its own, with `log` a folder, ends with a line
# about what it has seen, and fails by `fail`. Processes and the module are as they were afterwards.

board=/tmp/board
conf=/usr/share/ptz

fail() { echo "failed: $*"; exit 1; }
# wait_for SECONDS COMMAND...: until it succeeds.
wait_for() {
    local looks=$(($1 * 5))
    shift
    until "$@" >/dev/null 2>&1; do
        ((looks-- > 0)) || fail "not seen: $*"
        sleep 0.2
    done
}
logged() { grep -qF "$1" "$log/ptzd.log"; }

# bus_configuration SOCKET: of a private bus on which everybody may do everything.
bus_configuration() {
    cat <<CONF
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <listen>unix:path=$1</listen>
  <policy context="default"><allow user="*"/><allow send_destination="*"/><allow eavesdrop="true"/><allow own="*"/></policy>
</busconfig>
CONF
}

# begin [PARAMETER...]: the board with the module's parameters, and a configuration that leads to the kernel's devices.
begin() {
    local device
    rm -rf $board $conf /tmp/parameters.conf
    insmod /camera_board.ko "$@" || fail 'the module cannot be loaded'
    for device in spi1.0 spi1.1; do
        echo spidev >/sys/bus/spi/devices/$device/driver_override
        echo $device >/sys/bus/spi/drivers/spidev/bind || fail "no spidev on $device"
    done
    krx-sim --board $board --trace "$log/wire.trace" --verbose --strict >"$log/sim.log" 2>&1 &
    sim=$!
    wait_for 30 grep -qx ready "$log/sim.log"
    PTZ_BOARD=$board vm_bridge >"$log/bridge.log" 2>&1 &
    bridge=$!
    wait_for 30 grep -qx ready "$log/bridge.log"
    mkdir -p $conf
    cp $board/*.conf $conf
    sed -i 's#^Device=.*/spi\(.\)$#Device=/dev/spidev1.\1#' $conf/krx_port.conf
}
by_number() {
    local name number=39
    for name in cam_power cam_power_good cam_reset cam_reset_pcie cam_init_done cam_pcie_clk cam_fw_complete fpga_reset; do
        sed -i "s/=$name\$/=$((++number))/" $conf/krx_driver.conf
    done
    sed -i 's/=imc_req$/=37/' $conf/krx_port.conf
}
hide_sysfs() { mount -t tmpfs none /sys/class/gpio; }

start() { # [COMMAND...]: which runs ptzd
    "$@" ptzd --plugin /lib/x86_64-linux-gnu/libptz_driver_canon.so --foreground --state-dir /tmp >>"$log/ptzd.log" 2>&1 &
    ptzd=$!
}
up() {
    begin
    start
    running
}
running() { ptzctl state --wait running --within "${1:-60}" >/dev/null || fail "not running: $(ptzctl state)"; }
stop() {
    local from=$SECONDS
    kill "$ptzd"
    wait "$ptzd" || fail "ptzd ended with $?"
    ((SECONDS - from <= 5)) || fail "ptzd took $((SECONDS - from)) s to end"
}
simulator() {
    gdbus call --system --dest com.orna.KrxSim --object-path /com/orna/KrxSim --method com.orna.KrxSim.Command "$1" ||
        fail "the simulator refuses: $1"
}
interrupts() { awk '/camera_board/ { n += $2 } END { print n + 0 }' /proc/interrupts; }
# Lines stay exported, and one that is holds the module.
give_lines_back() {
    local chip line
    for chip in /sys/class/gpio/gpiochip*; do
        for line in {0..15}; do echo $(($(<"$chip/base") + line)) >/sys/class/gpio/unexport; done
    done 2>/dev/null
}
# Ends everything in order; the simulator must have counted no offence.
down() {
    stop
    kill "$bridge"
    wait "$bridge"
    kill "$sim"
    wait "$sim" || fail "krx-sim ended with $?: $(grep OFFENCE "$log/sim.log" | head -n 3)"
    grep -q '^Offences: none' "$log/sim.log" || fail 'the simulator did not count'
    ! grep -q ' /sys/class/gpio ' /proc/mounts || umount /sys/class/gpio
    give_lines_back
    rmmod camera_board || fail 'the module is still used'
}

# What a camera does in a minute. The host does the same.
walk() {
    ptzctl move pan=10 tilt=5 zoom=2000 --wait && ptzctl params set ImageSource.WDR on && ptzctl move iris=4000 &&
        ptzctl params set ImageSource.Exposure manual && ptzctl special reset && running && ptzctl move pan=-5 --wait
}
whole() { ptzctl tour; }
# All that the host did, in order: bursts with what is in them, and levels. Left out are times and what they decide about:
# how often the status is read, and what is in it.
deeds() { sed 's/^\(# \)\?[0-9]*\.[0-9]* //' "$log/wire.trace" | grep -vE '^(port. block |port. host [0-9]* $|status read$)'; }
# tour whole|walk CHANGE [PARAMETER...]: with the change in the configuration.
tour() {
    local what=$1 change=$2
    shift 2
    begin "$@"
    $change
    start
    running
    "$what" || fail "the $what"
    down
    mkdir -p "/kept/$what"
    deeds >"/kept/$what/$name"
    echo "$(wc -l <"/kept/$what/$name") deeds"
}
case_firmware_names() { tour whole :; }
case_numbers() { tour walk by_number; }
case_driver_names() { tour walk : names=driver; }
case_dynamic_base() { tour walk : base=-1; }
case_twin() { tour walk : twin=64; }
case_twin_inside() { tour walk : twin=64 twin_inside=1; }
case_without_sysfs() { tour walk hide_sysfs; }

# The request line rises 60 ms after each burst: the driver waits, by edges or by looking.
# late_request BURST TRIGGER-MODE interrupts|looks CHANGE
late_request() {
    local count gaps last
    begin
    sed -i "s/^BurstLenght=.*/BurstLenght=$1/; s/^TriggerMode=0/TriggerMode=$2/" $conf/krx_port.conf
    $4
    start
    running
    simulator 'set request-delay 60ms'
    count=$(interrupts)
    sed -n '/ host /=' "$log/wire.trace" | tail -n 1 >"$log/from"
    ptzctl move pan=10 --wait || fail 'a move'
    last=$(wc -l <"$log/wire.trace") # the camera is polled on
    count=$(($(interrupts) - count))
    gaps=$(sed -n "$(($(<"$log/from") + 1)),${last}p" "$log/wire.trace" | awk -v length_wanted="$1" '$3 == "host" { ++n
        if ($4 != length_wanted) wrong = 1
        if (at && $1 - at < 0.06) wrong = 1
        at = $1 } END { print wrong ? 0 : n - 1 }')
    ((gaps >= 5)) || fail "bursts of another length or less than 60 ms apart: $gaps"
    [[ $3 == looks && $count == 0 ]] || [[ $3 == interrupts && $count -ge $gaps ]] || fail "$count interrupts, $gaps waits"
    down
    echo "$gaps waits, $count interrupts"
}
case_late_request() { late_request 1024 0 interrupts :; }
case_late_request_looks() { late_request 1024 1 looks :; }
case_late_request_edges() { late_request 1920 2 interrupts :; }
case_late_request_without_sysfs() { late_request 1920 2 interrupts hide_sysfs; }

case_firmware() {
    begin
    krx-image --version 0x01020999 --size 200KiB $conf/IMC.APP
    start
    running 180
    ptzctl status | grep -q 'version:1020999$' || fail "another version: $(ptzctl status)"
    down
    echo "$(grep -c ' port1 host 1024 .' "$log/wire.trace") bursts over the second port"
}
case_heat() {
    up
    echo 95000 >/sys/module/camera_board/parameters/temp
    ptzctl state --wait too-hot --within 30 || fail 'heat goes unseen'
    echo 40000 >/sys/module/camera_board/parameters/temp
    running
    down
    echo 'too hot, and running again'
}

# comes_back TEXT: the camera by itself, after the driver has logged that.
comes_back() {
    wait_for 90 logged "$1"
    running
    walk || fail 'a move'
    down
    echo "seen: $1"
}
case_unbound_in_move() {
    up
    ptzctl move --continuous pan=5 &
    sleep 1
    echo spi1.0 >/sys/bus/spi/drivers/spidev/unbind
    sleep 3
    echo spi1.0 >/sys/bus/spi/drivers/spidev/bind
    comes_back 'The camera block is still silent: reset'
}
case_power_lost() {
    up
    simulator 'fault power-loss for 2s'
    wait_for 30 logged 'The camera block does not answer'
    comes_back 'All parameters are applied again'
}

# refused TEXT [PARAMETER...]: the log names the cause, and ptzd ends as ever.
refused() {
    local cause=$1
    shift
    begin "$@"
    start
    wait_for 30 logged "$cause"
    sleep 5
    down
    echo "$cause"
}
case_held() { refused '(Device or resource busy) ERROR: Failed to change gpio -1/cam_power' held=8; }
case_most_significant_first() { refused 'Could not set spi mode' lsb_first=0; }
# With spidev.bufsiz=512 on the kernel's command line.
case_bufsiz() { refused 'Bursts of 1024 bytes are more than device "/dev/spidev1.0" takes: set the kernel'"'"'s parameter spidev.bufsiz'; }

# What the device manager does for the service's group: once for devices, and for lines as they are exported.
hand_over() { chgrp 1001 "$@" && chmod g+rw "$@"; }
hand_over_lines() {
    local value had=
    while sleep 0.1; do
        for value in /sys/class/gpio/*/value; do
            [[ ! -e $value || $had == *" $value "* ]] || { hand_over "${value%/*}"/{value,direction,edge} && had+=" $value "; }
        done
    done
}
# Nobody but a member of the group 1001.
ordinary=(setpriv --reuid 1000 --regid 1000 --groups 1001)
case_user() {
    local manager
    begin names=driver
    chmod o-rwx /dev/gpiochip* /dev/spidev*
    start "${ordinary[@]}"
    wait_for 30 logged 'Permission denied'
    stop
    hand_over /dev/gpiochip* /dev/spidev*
    chgrp 1001 /sys/class/gpio/export && chmod g+w /sys/class/gpio/export
    hand_over_lines &
    manager=$!
    : >"$log/ptzd.log"
    start "${ordinary[@]}"
    running
    walk || fail 'a move'
    simulator 'set request-delay 60ms' # now it needs edges
    ptzctl move pan=20 --wait || fail 'a move by edges'
    ! logged 'Permission denied' || fail 'a right is missing'
    kill "$manager"
    down
    echo 'by the group alone'
}
