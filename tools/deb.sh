#!/bin/bash
# Usage: tools/deb.sh
# Builds the Debian packages from the work tree into build/deb, and has lintian look at them. The suite is not run again
# (DEB_BUILD_OPTIONS= tools/deb.sh runs it).
set -euo pipefail
cd "$(dirname "$0")/.."
out=$PWD/build/deb source=$PWD/build/deb/source
export DEB_BUILD_OPTIONS=${DEB_BUILD_OPTIONS-nocheck}

rm -f "$out"/*.deb "$out"/*.changes "$out"/*.buildinfo
mkdir -p "$source"
# The build keeps its folder, so that only what has changed is built again.
find "$source" -mindepth 1 -maxdepth 1 ! -name debian -exec rm -rf {} +
find "$source" -mindepth 2 -maxdepth 2 -path '*/debian/*' ! -name build -exec rm -rf {} + 2>/dev/null || true
git ls-files -z --cached --others --exclude-standard | tar -c --null -T - | tar -x -C "$source"
(cd "$source" && dpkg-buildpackage --no-pre-clean -b -us -uc) >"$out/build.log" 2>&1 ||
    { tail -n 40 "$out/build.log" >&2; echo "deb: the packages could not be built; $out/build.log has all of it" >&2; exit 1; }
# The packages are not Debian's: they close no bug there, and nobody gets mail.
lintian --allow-root --fail-on error,warning "$out"/*.changes \
    --suppress-tags initial-upload-closes-no-bugs,bogus-mail-host,bogus-mail-host-in-debian-changelog
echo "deb: $(find "$out" -name '*.deb' ! -name '*-dbgsym_*' | wc -l) packages in build/deb, lintian has nothing to say"
