#!/bin/bash
# Usage: private-bus.sh PAGE KRX_SIM PTZD PLUGIN POLICY...
# The table of PAGE on a bus of its own, whose policy is the stock system bus's with these files. Users and groups of any
# machine stand in for ours. Only root can be several users: for others the test is skipped.
set -uo pipefail
page=$1 sim=$2 ptzd=$3 plugin=$4
shift 4
(($(id -u) == 0)) || { echo 'skipped: only root can be each kind of user'; exit 77; }
dir=$(mktemp -d /tmp/ptz-rights.XXXXXX)
chmod 755 "$dir"
trap 'kill $(jobs -p) 2>/dev/null; rm -rf "$dir"' EXIT
mkdir "$dir/system.d"
for policy in "$@"; do
    sed 's/group="ptz"/group="games"/; s/group="ptz-admin"/group="news"/; s/user="\(ptz\|krx-sim\)"/user="man"/' "$policy" \
        >"$dir/system.d/${policy##*/}"
done
sed -e "s|<listen>.*</listen>|<listen>unix:path=$dir/bus</listen>|" -e '/<user>\|<fork\/>\|<pidfile>\|<servicehelper>\|<standard_system\|<include /d' \
    -e '/<includedir>\/etc/d' /usr/share/dbus-1/system.conf >"$dir/system.conf"
dbus-daemon --config-file="$dir/system.conf" --nofork --nopidfile --print-address=3 3>"$dir/address" 2>"$dir/log" &
for ((i = 0; i < 600; ++i)); do [[ -s $dir/address ]] && break; sleep 0.05; done
export DBUS_SYSTEM_BUS_ADDRESS=unix:path=$dir/bus
export PTZ_BOARD=$dir/board PTZ_DATA_DIR=$dir/board PTZ_TIME_SCALE=20
"$sim" --board "$dir/board" --quiet >"$dir/sim" &
for ((i = 0; i < 600; ++i)); do grep -q ready "$dir/sim" && break; sleep 0.05; done
"$ptzd" --plugin "$plugin" >"$dir/ptzd" 2>&1 &
for ((i = 0; i < 600; ++i)); do gdbus introspect --system -d com.orna.PTZ -o / >/dev/null 2>&1 && break; sleep 0.05; done
"${0%/*}/check-rights.sh" "$page" everybody=nobody:nogroup ptz=nobody:nogroup,games ptz-admin=nobody:nogroup,news root=root:root
