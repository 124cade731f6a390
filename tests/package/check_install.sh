#!/usr/bin/env bash
# Installs the build tree into a temporary prefix, moves the prefix, and builds and runs programs against it, once with
# CMake and once with pkg-config.
#
#   check_install.sh SOURCE_DIR BUILD_DIR      with CC, CXX, CFLAGS and CXXFLAGS in the environment
set -euo pipefail

source_dir=$1 build_dir=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# shellcheck source=programs.sh
. "$source_dir/tests/package/programs.sh"

step "install, then move the prefix"
cmake --install "$build_dir" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/moved"
prefix=$work/moved
libdir=$(dirname "$(find "$prefix" -name libtarnm.so -not -path '*glibc-hwcaps*')")
for file in include/tarnm/tarnm.h include/tarnm/tarnm.hpp include/tarncore/tarncore.h; do
    [ -f "$prefix/$file" ] || { echo "$file is not installed"; exit 1; }
done
[ -n "$(find "$prefix/share/doc" -name LICENSE)" ] || { echo "the licence is not installed"; exit 1; }
if grep -rlF -e "$work/first" -e "$build_dir" "$prefix" --include='*.cmake' --include='*.pc'; then
    echo "these files hold an absolute path"
    exit 1
fi

step "CMake: find_package(tarnm 7)"
build_consumer "$work/cmake" "$prefix"

step "the guide's first page, in a project of its own"
build_stranger "$work/first_page" "$prefix"

step "pkg-config"
export PKG_CONFIG_PATH=$libdir/pkgconfig
export LD_LIBRARY_PATH=$libdir
build_with_pkg_config "$work/pkg_config"
[ "$(pkg-config --modversion tarnm)" = 7.0.205 ] || { echo "wrong version in tarnm.pc"; exit 1; }

if [ -d "$libdir/glibc-hwcaps" ]; then
    step "the dynamic loader takes the best variant that the processor has"
    expected=$libdir/libtarnm.so.7
    supported=$(/lib64/ld-linux-x86-64.so.2 --help | awk '/x86-64-v[0-9] \(supported/ { print $1 }')
    for level in x86-64-v3 x86-64-v4; do
        [ -f "$libdir/glibc-hwcaps/$level/libtarnm.so.7" ] || { echo "variant $level is not installed"; exit 1; }
        if grep -qx "$level" <<<"$supported"; then expected=$libdir/glibc-hwcaps/$level/libtarnm.so.7; fi
    done
    taken=$(ldd "$work/pkg_config/example" | awk '$1 == "libtarnm.so.7" { print $3 }')
    [ "$taken" = "$expected" ] || { echo "the loader took $taken, not $expected"; exit 1; }
    echo "${taken#"$libdir"/}"
    for folder in "$libdir" "$libdir/glibc-hwcaps/x86-64-v3" "$libdir/glibc-hwcaps/x86-64-v4"; do
        # Each finds tarncore by its own run path, wherever the prefix lies.
        [[ $(env -u LD_LIBRARY_PATH ldd "$folder/libtarnm.so.7") == *"libtarncore.so.7 => $prefix"* ]] ||
            { echo "$folder/libtarnm.so.7 does not find tarncore"; exit 1; }
    done
fi
