#!/bin/bash
# Usage: tests/vm/run.sh BUILD_DIR OUT [--short|DEB_DIR]
# The release build in virtual machines of Debian's kernel, on its spidev, GPIO and thermal zone (cases.sh). A line for
# each case; the last one, "N passed, N failed", also in OUT/result. With DEB_DIR another machine
# runs its packages meanwhile (systemd.sh). Status 1 when a case failed, 77 with the reason when there is no emulator or no
# kernel to be had.
set -euo pipefail

build=${1:?usage: tests/vm/run.sh BUILD_DIR OUT [--short|DEB_DIR]} out=${2:?OUT} length=${3:-}
here=$(dirname "$0")
rm -rf "$out"/{result,kept,host.*}
mkdir -p "$out/kept" "$out/module"
skip() { echo "vm: skipped, $1"; exit 77; }
for program in qemu-system-x86_64 busybox cpio gdbus dbus-daemon make gcc; do
    command -v $program >/dev/null || skip "no $program"
done
why=$("$here/kernel.sh" "$out/kernel") || skip "${why:-no kernel}"

# begin COMMAND...: in the background, in a process group of its own, which ends with this script, whatever ends that.
begin() { set -m; "$@" & set +m; }
end() { local group; for group in $(jobs -pr); do kill -- "-$group"; done; }
trap end EXIT
trap 'exit 130' INT
trap 'exit 143' TERM HUP

# Each boot's cases, and parameters of its kernel.
boots=('numbers driver_names without_sysfs late_request') parameters=('') tours=(walk)
if [[ $length != --short ]]; then
    boots=('firmware_names numbers driver_names dynamic_base twin twin_inside without_sysfs late_request late_request_looks
        late_request_edges late_request_without_sysfs firmware heat unbound_in_move power_lost held most_significant_first user'
        'bufsiz')
    parameters=('' spidev.bufsiz=512)
    tours=(walk whole)
fi

cp -u "$here"/module/* "$out/module"
make -s -C "$out/kernel/build" M="$(cd "$out/module" && pwd)" modules >"$out/module.log" 2>&1 || { cat "$out/module.log"; exit 1; }
"$here/initramfs.sh" "$build" "$out/module/camera_board.ko" "$out/initramfs"
begin "$here/host.sh" "$build" "$out" "${tours[@]}" >"$out/host.log" 2>&1
host=$! systemd=
if [[ -n $length && $length != --short ]]; then
    begin "$here/systemd.sh" "$out" "$length" >"$out/systemd.result"
    systemd=$!
fi

passed=0 failed=0
# counted STATUS LINE: a result, with what there is to say of it.
counted() {
    if (($1 == 0)); then passed=$((passed + 1)); else failed=$((failed + 1)); fi
    [[ -z $2 ]] || echo "$2"
}
# boot CASES PARAMETERS: what the guest says, also in OUT/console.log.
boot() {
    VM_LIMIT=1500 VM_APPEND="cases=$1 $2" "$here/boot.sh" "$out/kernel/vmlinuz" "$out/initramfs" \
        -serial "file:$out/kept.tar.gz" -icount shift=1,sleep=off -rtc clock=vm | tee "$out/console.log"
}
for i in "${!boots[@]}"; do
    read -r -d '' -a cases <<<"${boots[i]}" || true
    # The guest's time is that of its instructions, and what it waits for comes at once: no load of this machine disturbs
    # it. It says itself what passes and fails; its second serial port gives what it keeps.
    status=0 before=$failed
    begin boot "$(IFS=,; echo "${cases[*]}")" "${parameters[i]}"
    wait $! || status=$?
    for name in "${cases[@]}" kernel; do
        if grep -q "^passed: $name " "$out/console.log"; then counted 0 ''
        elif grep -q "^FAILED: $name$" "$out/console.log"; then counted 1 ''
        else counted 1 "FAILED: $name, which the guest did not come to"; fi
    done
    ((status == 0 || failed > before)) || counted 1 "FAILED: the guest ended with status $status"
    [[ ! -s $out/kept.tar.gz ]] || tar -x -z -C "$out/kept" -f "$out/kept.tar.gz" --warning=no-timestamp
done

wait $host || { cat "$out/host.log"; counted 1 'FAILED: the tours on this machine'; }
for trace in "$out"/kept/*/*; do
    what=$(basename "$(dirname "$trace")")
    if cmp "$trace" "$out/host.$what"; then
        counted 0 "passed: $(basename "$trace") did on the wire what this machine does"
    else
        counted 1 "FAILED: $(basename "$trace") did something else on the wire than this machine: diff $trace $out/host.$what"
    fi
done
if [[ -n $systemd ]]; then
    wait $systemd || true
    sed '$d' "$out/systemd.result"
    read -r its_passed _ its_failed _ < <(tail -n 1 "$out/systemd.result") || its_failed=1
    passed=$((passed + its_passed)) failed=$((failed + its_failed))
fi
echo "$passed passed, $failed failed" | tee "$out/result"
((failed == 0))
