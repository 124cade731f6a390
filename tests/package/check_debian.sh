#!/usr/bin/env bash
# Builds the Debian package, installs it under a root of its own, and builds and runs a program against what lies there.
#
#   check_debian.sh SOURCE_DIR BUILD_DIR      with CXX and CXXFLAGS in the environment
set -euo pipefail

source_dir=$1 build_dir=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

step() { echo "== $*"; }

step "cpack"
(cd "$build_dir" && cpack -G DEB -B "$work/package") >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
package=$(find "$work/package" -maxdepth 1 -name '*.deb')
[ -f "$package" ] || { echo "no package"; exit 1; }
dpkg-deb --field "$package" Package Version Architecture Depends
[ "$(dpkg-deb --field "$package" Version)" = 7.0.205 ] || { echo "wrong version"; exit 1; }
[[ $(dpkg-deb --field "$package" Depends) == *libc6* ]] || { echo "the package does not depend on the C library"; exit 1; }

step "install"
root=$work/root
mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates"
touch "$root/var/lib/dpkg/status" "$root/var/lib/dpkg/available"
# Its dependencies are those of this machine, not of the new root.
dpkg --root="$root" --force-not-root --force-depends --force-script-chrootless --log=/dev/null \
    --install "$package" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
[[ $(dpkg --root="$root" --status tarnm) == *'install ok installed'* ]] || { echo "not installed"; exit 1; }

step "use"
libdir=$(dirname "$(find "$root/usr" -name libtarnm.so -not -path '*glibc-hwcaps*')")
# shellcheck disable=SC2086
$CXX ${CXXFLAGS:-} -std=c++17 "$source_dir/tests/package/consumer/program.cpp" -o "$work/program" \
    -I"$root/usr/include" -L"$libdir" -ltarnm -ltarncore
output=$(LD_LIBRARY_PATH=$libdir "$work/program")
[ "$output" = "version 7.0, threads 3, sum 5" ] || { echo "unexpected: $output"; exit 1; }
echo "$output"
