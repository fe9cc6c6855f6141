#!/bin/bash
# Usage: build-and-load.sh BUILD_DIR SOURCE_ROOT CC PTZD PTZCTL [SYSROOT, where the compiler is for another machine]
# The plug-in of docs/plugins.md: it is the file that the page quotes, builds with what gets installed for it, and moves.
set -euo pipefail
build=$1 root=$2 cc=$3 ptzd=$4 ptzctl=$5 sysroot=$6 source=$2/docs/examples/still_camera.c
dir=$(mktemp -d /tmp/ptz-plugin.XXXXXX)
trap 'kill $(jobs -p) 2>/dev/null; rm -rf "$dir"' EXIT

# shellcheck disable=SC2016 # no command
sed -n '/^```c$/,/^```$/p' "$root/docs/plugins.md" | sed '1d;$d' | diff - "$source"

meson install -C "$build" --no-rebuild --quiet --destdir "$dir/stage" >"$dir/log" 2>&1 || { cat "$dir/log"; exit 1; }
[[ -z $(find "$dir/stage" -iname '*test*') ]] || { echo 'tests get installed'; exit 1; }
private=$(readelf -dW "$(find "$dir/stage" -path '*/sbin/ptzd')" | sed -n 's/.*rpath: \[\(.*\)\]/\1/p')
[[ -f $dir/stage$private/libptzorvel_driver.so.1 ]] || { echo "ptzd looks for its libraries in '$private'"; exit 1; }

pc=$(find "$dir/stage" -name ptzorvel.pc)
prefix=$(sed -n 's/^prefix=//p' "$pc")
sed "s|$prefix|$dir/stage$prefix|g" "$pc" >"$dir/ptzorvel.pc"
if [[ -n $sysroot ]]; then
    PKG_CONFIG_LIBDIR=$sysroot/usr/lib/$("$cc" -print-multiarch)/pkgconfig
    export PKG_CONFIG_LIBDIR
fi
read -r -a flags < <(PKG_CONFIG_PATH=$dir pkg-config --cflags --libs ptzorvel)
"$cc" -shared -fPIC -Wall -Wextra -Werror -Wno-unused-parameter -o "$dir/still_camera.so" ${sysroot:+"--sysroot=$sysroot"} \
    "$source" "${flags[@]/#-I\/usr\//-I$sysroot/usr/}"

dbus-daemon --session --nofork --nopidfile --print-address=3 3>"$dir/address" &
for ((i = 0; i < 600; ++i)); do [[ -s $dir/address ]] && break; sleep 0.05; done
DBUS_SYSTEM_BUS_ADDRESS=$(<"$dir/address")
export DBUS_SYSTEM_BUS_ADDRESS PTZ_BOARD=$dir
"$ptzd" --plugin "$dir/still_camera.so" &
pid=$!
"$ptzctl" state --wait 1 --within 30
"$ptzctl" move pan=10 tilt=-5
"$ptzctl" --json position | grep '"pan":10.*"tilt":-5\|"tilt":-5.*"pan":10'
kill -TERM $pid
wait $pid
