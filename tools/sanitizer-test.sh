#!/bin/bash
# Usage: tools/sanitizer-test.sh BUILD_DIR address|thread [TEST...]
# Runs the test suite, or those tests, of a build made with that sanitizer. The first finding ends the program that has it.
set -euo pipefail
build=$1
tools=$(cd "$(dirname "$0")" && pwd)

case $2 in
address)
    export ASAN_OPTIONS=detect_leaks=1:halt_on_error=1:detect_stack_use_after_return=1
    export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
    # GLib's own pools would hide leaks and uses after free.
    export G_SLICE=always-malloc
    ;;
thread)
    export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1:atexit_sleep_ms=0:suppressions=$tools/tsan.supp
    ;;
*)
    echo "sanitizer-test: no sanitizer '$2'; there are address and thread" >&2
    exit 2
    ;;
esac

# With much address-space randomisation the sanitizers of gcc 12 do not find room for their shadow memory.
still=()
if setarch -R true 2>/dev/null; then
    still=(setarch -R)
fi
exec "${still[@]}" meson test -C "$build" --no-rebuild --print-errorlogs --timeout-multiplier 4 "${@:3}"
