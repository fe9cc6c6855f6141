#!/bin/bash
# Usage: tools/tsan-mutants.sh SCRATCH_DIR [MUTANT...]
# Shows that the stress scenario sees a missing lock: removes one lock after the other (all of the table, or those named)
# in a copy of the tree and runs the scenario under ThreadSanitizer, which has to find a data race; without a mutation it
# has to find nothing. The last line says how many were found; the status is non-zero when one was not.
set -euo pipefail
cd "$(dirname "$0")/.." || exit 1
scratch=$1
shift
tree=$scratch/tree build=$scratch/build
ptzorvel=platform/ptzorvel

# What is without its lock | its file | the function, or nothing where it is all of the file.
table="
task-queue|$ptzorvel/common/task_queue.cpp|
parameters|$ptzorvel/common/param_store.cpp|
fair-queue|$ptzorvel/ptzd/fair_queue.cpp|
bus-guard|$ptzorvel/ptzd/bus_guard.cpp|
clients|$ptzorvel/ptzd/clients.cpp|
move-owners|$ptzorvel/ptzd/move_owners.cpp|
motion|$ptzorvel/ptzd/motion.cpp|
stopper|$ptzorvel/ptzd/stopper.cpp|
main-timer|$ptzorvel/ptzd/main_timer.cpp|
link-watch|$ptzorvel/ptzd/link_watch.cpp|
driver-host|$ptzorvel/ptzd/driver_host.cpp|
state-keeper|$ptzorvel/ptzd/state_keeper.cpp|
service-params|$ptzorvel/ptzd/service.cpp|PtzService::params
service-event|$ptzorvel/ptzd/service.cpp|PtzService::last_event
service-signal|$ptzorvel/ptzd/service_events.cpp|PtzService::camera_signal
data-caches|$ptzorvel/driver/data_caches.cpp|
status-cache|platform/status_cache/status_cache.cpp|
"

# Copies what differs, so that only that is built anew.
refresh_tree() {
    local file
    while IFS= read -r -d '' file; do
        cmp -s "$file" "$tree/$file" || cp --parents "$file" "$tree"
    done < <(git ls-files -z --cached --others --exclude-standard)
}

stress() {
    ninja -C "$build" "${targets[@]}" >"$scratch/ninja.log" 2>&1 || {
        tail -n 20 "$scratch/ninja.log"
        echo "tsan-mutants: does not build"
        exit 1
    } >&2
    tools/sanitizer-test.sh "$build" thread stress >"$scratch/test.log" 2>&1
}

mkdir -p "$tree"
refresh_tree
[[ -f $build/build.ninja ]] ||
    meson setup "$build" "$tree" -Db_sanitize=thread -Db_lundef=false -Dbench=disabled >"$scratch/meson.log"
targets=(tests/scenario/test_stress platform/ptzorvel/ptzd/ptzd sim/krx-sim driver/plugin/libptz_driver_canon.so)
echo "tsan-mutants: without a mutation"
stress || {
    cat "$scratch/test.log"
    echo "tsan-mutants: the scenario is red without a mutation"
    exit 1
}

tried=0 red=0
while IFS='|' read -r name file function; do
    [[ -n $name && ($# -eq 0 || " $* " == *" $name "*) ]] || continue
    tried=$((tried + 1))
    range=${function:+"/ $function(/,/^}/"}
    sed -i "${range}s/^ *const \(std::lock_guard\|Lock\) lock(.*);\$//" "$tree/$file"
    if cmp -s "$file" "$tree/$file"; then
        echo "tsan-mutants: $name: there is no such lock in $file any more; mend the table"
        exit 1
    fi
    for _ in 1 2 3; do # whether two threads meet is also a matter of luck
        stress || true
        race=$(sed -n 's/^SUMMARY: ThreadSanitizer: data race .* in //p' "$scratch/test.log")
        [[ -z $race ]] || break
    done
    if [[ -n $race ]]; then
        echo "tsan-mutants: $name: red, in ${race:0:60}"
        red=$((red + 1))
    else
        echo "tsan-mutants: $name: NOT SEEN"
    fi
    cp "$file" "$tree/$file"
done <<<"$table"
echo "tsan-mutants: $tried mutants, $red red"
[[ $red -eq $tried ]]
