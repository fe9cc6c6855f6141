#!/bin/bash
# Usage: tools/check-exports.sh PLUGIN
# The plug-in defines exactly one dynamic symbol: ptz_driver_new.
set -euo pipefail

symbols=$(nm -D --defined-only "$1" | awk '{ print $NF }' | sort)
if [[ $symbols != ptz_driver_new ]]; then
    echo "$1 must export exactly ptz_driver_new; it exports:"
    printf '%s\n' "${symbols:-(nothing)}"
    exit 1
fi
