#!/bin/bash
# Usage: tools/arm.sh [--short]
# The suite on other machines under an emulator: ARM as the camera has it (NEON), as Debian has it, with 64 bits, and a
# machine whose numbers begin with the most significant byte. Writes the sizes of the plug-in into docs/performance.md.
# The last line says "N passed, N failed" over all of them.
# --short: the conversions, the protocol, the port and one scenario with NEON alone, and no line; status 77 when there is
# no compiler or emulator to be had.
set -u
cd "$(dirname "$0")/.." || exit 1
machines=(armhf-neon armhf arm64 s390x)
short=()
status=0

# sizes: a row for each machine that the plug-in was built for
sizes() {
    local machine file strip rest text data stripped
    stripped=$(mktemp)
    printf '| machine | code and constants | data | stripped file |\n|---|---|---|---|\n'
    for machine in amd64 "${machines[@]}"; do
        file=build/arm/$machine strip=$(sed -n "s/^strip = '\(.*\)'/\1/p" "$file.ini" 2>/dev/null)
        [[ $machine != amd64 ]] || file=build/release
        file=$file/driver/plugin/libptz_driver_canon.so
        [[ -f $file ]] || continue
        "${strip:-strip}" -o "$stripped" "$file"
        read -r text data rest < <(size "$file" | tail -1)
        printf '| %s | %d kB | %d kB | %d kB |\n' "$machine" $((text / 1024)) $((data / 1024)) $(($(stat -c %s "$stripped") / 1024))
    done
    rm -f "$stripped"
}

write_sizes() {
    local page=docs/performance.md table
    table=$(sizes)
    table=$table awk '/^<!-- end of sizes -->/ { skip = 0 } !skip { print }
        /^<!-- sizes/ { print ENVIRON["table"]; skip = 1 }' $page >build/arm/page && cp build/arm/page $page
}

# try MACHINE: builds for it and tests
try() {
    rm -f "build/arm/$1/meson-logs/testlog.json"
    tools/cross-setup.sh "$1" || return
    # A short run builds what its tests need.
    ((${#short[@]})) || ninja -C "build/arm/$1" || return
    # Left out are figures of time, which an emulator stretches: how soon the camera is back from each fault.
    ((${#short[@]})) || echo "arm: $1: left out: the suite 'figures', as its times would be the emulator's"
    meson test -C "build/arm/$1" --no-suite figures --print-errorlogs --timeout-multiplier 5 "${short[@]}"
}

if [[ ${1-} == --short ]]; then
    machines=(armhf-neon)
    short=(golden 'golden sees fused products' vcc port upgrades)
    had=77
    tools/install-deps.sh armhf && { tools/cross-setup.sh armhf-neon; had=$?; }
    if ((had == 77)); then
        echo 'arm: left out, as the cross compiler, the emulator or the packages of the other machine cannot be had'
        exit 77
    fi
else
    tools/install-deps.sh build arm || status=1
fi
for machine in "${machines[@]}"; do
    echo "arm: $machine"
    try "$machine" || status=1
done
((${#short[@]} == 0)) || exit $status
write_sizes
tools/count-tests.py "${machines[@]/#/build/arm/}" || status=1
exit $status
