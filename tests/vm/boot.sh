#!/bin/bash
# Usage: tests/vm/boot.sh KERNEL INITRD [QEMU-ARGUMENT...]
# Boots a virtual machine with its console on stdout and ends with the status that the guest gives: root there writes
# 1 + status (0 to 100) as one byte to I/O port 0xf4 (dd of=/dev/port bs=1 seek=244). 124: the guest took longer than
# VM_LIMIT seconds (300) and was ended. 125: it ended without a status, as after a panic. VM_APPEND is added to the kernel's
# command line. The processor is emulated: /dev/kvm often is there and does not work. VM_ACCEL=kvm uses it all the same.
set -u

kernel=${1:?usage: boot.sh KERNEL INITRD [QEMU-ARGUMENT...]} initrd=${2:?initrd}
shift 2
# One processor: with two, emulated, each burst takes twenty times as long. In the foreground, the emulator stays in the
# process group of whoever wants it to end.
timeout --foreground --kill-after=10 "${VM_LIMIT:-300}" qemu-system-x86_64 -M pc -cpu max -accel "${VM_ACCEL:-tcg}" -smp 1 -m 512 -nodefaults \
    -display none -no-reboot -kernel "$kernel" -initrd "$initrd" \
    -append "console=ttyS0 quiet panic=-1 mitigations=off ${VM_APPEND:-}" -serial stdio \
    -device isa-debug-exit,iobase=0xf4,iosize=4 "$@" </dev/null | stdbuf -oL tr -d '\r'
status=${PIPESTATUS[0]}
((status != 124 && status != 137)) || exit 124
# The emulator ends with 2 * byte + 1; with 0 or 1, or by a signal, when the guest said nothing.
((status % 2 == 1 && status > 1)) || exit 125
exit $((status / 2 - 1))
