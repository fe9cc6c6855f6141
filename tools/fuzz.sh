#!/bin/bash
# Usage: tools/fuzz.sh BUILD_DIR SECONDS [TARGET...]
# Runs the fuzz targets, all when none is named, for so many seconds each, as many at a time as there are processors.
# What they learn stays in BUILD_DIR for the next run. The last line says what was tried and found; the status is
# non-zero when something was.
set -euo pipefail
cd "$(dirname "$0")/.." || exit 1
build=$1 seconds=$2
shift 2
targets=("$@")
if [[ ${#targets[@]} -eq 0 ]]; then
    mapfile -t targets < <(find fuzz/corpus -mindepth 1 -maxdepth 1 -printf '%f\n' | sort)
fi
found=$build/found
logs=$build/fuzz-logs
rm -rf "$found" "$logs"
mkdir -p "$found" "$logs"

run_one() {
    local name=$1 learnt=$build/learnt/$1
    local inputs=("$learnt" "fuzz/corpus/$name")
    [[ ! -d fuzz/findings/$name ]] || inputs+=("fuzz/findings/$name")
    mkdir -p "$learnt"
    # What a target prints is of no use; its own messages are. Leaks are looked for at the end: after every input would
    # take ten times as long as most inputs do.
    if "$build/fuzz/fuzz_$name" -max_total_time="$seconds" -timeout=10 -detect_leaks=0 -rss_limit_mb=1024 -close_fd_mask=1 \
        -print_final_stats=1 -artifact_prefix="$found/$name-" "${inputs[@]}" &>"$logs/$name"; then
        echo "$name: $(sed -n 's/^stat::number_of_executed_units: *//p' "$logs/$name") inputs"
    else
        echo "$name: FOUND SOMETHING, see $logs/$name"
        touch "$logs/$name.failed"
    fi
}
export -f run_one
export build seconds found logs

# shellcheck disable=SC2016 # the inner shell has the argument
printf '%s\0' "${targets[@]}" | xargs -0 -n 1 -P "$(nproc)" bash -c 'run_one "$1"' run_one
tried=$(sed -n 's/^stat::number_of_executed_units: *//p' "$logs"/* | awk '{ sum += $1 } END { print sum + 0 }')
failed=$(find "$logs" -name '*.failed' | wc -l)
if [[ $failed -gt 0 ]]; then
    echo "fuzz: ${#targets[@]} targets for $seconds s each, $tried inputs, FOUND SOMETHING in $failed:" \
        "$found has the inputs, but of a leak, which $logs tells of"
    exit 1
fi
echo "fuzz: ${#targets[@]} targets for $seconds s each, $tried inputs, nothing found"
