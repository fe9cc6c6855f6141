#!/bin/bash
# Usage: tools/after-install.sh
# What a package's own scripts would do after `make install` on this machine: users, folders, devices, and word to those
# who read configuration. Each step is left out where there is nobody to carry it out.
set -u

step() {
    command -v "$1" >/dev/null || return 0
    "$@" || echo "after-install: '$*' failed; run it again as root" >&2
}

step systemd-sysusers ptzd.conf krx-sim.conf
step systemd-tmpfiles --create ptzd.conf
if [[ -d /run/systemd/system ]]; then
    step systemctl daemon-reload
    step udevadm control --reload
    step udevadm trigger --subsystem-match=spidev --subsystem-match=gpio
    step systemctl reload dbus
fi
echo 'Installed. The camera is configured in /usr/share/ptz; then: systemctl enable --now ptzd'
