# shellcheck shell=bash
# Sourced by the tests of the packages: what each of them does with them.

ours=(krx-sim ptzd ptzctl)

user() { local name=$1; shift; setpriv --reuid "$name" --regid "$name" --init-groups "$@"; }

# older DEBS OUT: packs what is ours of the folder DEBS again in OUT, as a previous version.
older() {
    local name version tree
    tree=$(mktemp -d)
    for name in "${ours[@]}"; do
        version=$(dpkg-deb -f "$1/${name}"_*.deb Version)
        dpkg-deb -R "$1/${name}"_*.deb "$tree/$name"
        sed -i "s/^Version: .*/Version: ${version%-*}-0/" "$tree/$name/DEBIAN/control"
        dpkg-deb --root-owner-group -b "$tree/$name" "$2"
    done
    rm -rf "$tree"
}

# Every file where a package could leave one.
everything() {
    find / /run -xdev \( -path /proc -o -path /tmp -o -path /debs -o -path /var/cache -o -path /var/lib/apt -o -path /var/lib/dpkg \
        -o -path /var/log -o -path /run/systemd -o -path '/etc/*passwd*' -o -path '/etc/*group*' -o -path '/etc/*shadow*' \) -prune -o -print | sort -u
}

# left_since LIST: the files that `everything` did not give then.
left_since() { everything | comm -13 "$1" -; }
