#!/bin/bash
# Usage: tools/lint.sh
# The scripts, formatting, a clang build without warnings and clang-tidy. Says what it looks at and goes on to the
# next; the status is non-zero when one of them found something.
set -u
cd "$(dirname "$0")/.." || exit 1
build=build/clang
failed=()

step() {
    local what=$1
    shift
    echo "lint: $what"
    "$@" || failed+=("$what")
}

mapfile -t sources < <(git ls-files '*.cpp' '*.h' '*.c')
# The C headers of the board's libraries keep the layout of GLib's C.
mapfile -t formatted < <(git ls-files '*.cpp' '*.h' '*.c' ':(glob,exclude)platform/*/*.h')
mapfile -t scripts < <(git ls-files '*.sh' .ci/run)

check_scripts() {
    local script status=0
    for script in "${scripts[@]}"; do
        bash -n "$script" || status=1
    done
    if command -v shellcheck >/dev/null; then
        shellcheck "${scripts[@]}" || status=1
        sed 's/@[A-Z]*@/ptzctl/g' data/completion/bash.in | shellcheck --shell=bash - || status=1
    fi
    return $status
}

clang_build() {
    [[ -f $build/build.ninja ]] || CC=clang CXX=clang++ meson setup $build -Db_lundef=false || return 1
    ninja -C $build
}

# Another compiler comes to the same numbers.
conversions() {
    $build/tests/golden/golden tests/golden/conversions.csv
}

tidy() {
    # Generated C is not ours to judge, and a benchmark's loop variable is never read; one clang-tidy per processor.
    printf '%s\0' "${sources[@]}" | grep -z '\.cpp$' | grep -zv '^bench/' |
        xargs -0 -n 4 -P "$(nproc)" clang-tidy -p $build --quiet 2>/dev/null
}

step "scripts" check_scripts
step "formatting" clang-format --dry-run -Werror "${formatted[@]}"
step "clang build without warnings" clang_build
step "conversions with clang" conversions
step "clang-tidy" tidy

if [[ ${#failed[@]} -gt 0 ]]; then
    printf 'lint: FAILED: %s\n' "${failed[@]}"
    exit 1
fi
echo "lint: all clean"
