#!/usr/bin/env bash
# Installs the build tree into a temporary prefix and moves it, then builds and runs programs with the static libraries: beside
# the shared ones, and alone, as a build with BUILD_SHARED_LIBS=OFF installs them.
#
#   check_static.sh SOURCE_DIR BUILD_DIR      with CC, CXX, CFLAGS and CXXFLAGS in the environment
set -euo pipefail

source_dir=$1 build_dir=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# shellcheck source=programs.sh
. "$source_dir/tests/package/programs.sh"

# needs_libraries PROGRAM: those of ours that the program loads.
needs_libraries() { readelf -d "$1" | grep -oE 'NEEDED.*\[libtarn[a-z]+' || true; }
must_be_static() {
    local program
    for program in "$@"; do
        [ -z "$(needs_libraries "$program")" ] || { echo "$program loads $(needs_libraries "$program")"; exit 1; }
    done
}
# must_not_configure TEXT LANGUAGES COMPONENTS..: a project that is refused, for this reason.
must_not_configure() {
    mkdir -p "$work/refused"
    printf '%s\n' 'cmake_minimum_required(VERSION 3.25)' "project(refused LANGUAGES $2)" \
        "find_package(tarnm 7 CONFIG REQUIRED COMPONENTS ${*:3})" >"$work/refused/CMakeLists.txt"
    if cmake -S "$work/refused" -B "$work/refused/build" -DCMAKE_PREFIX_PATH="$prefix" >"$work/log" 2>&1 ||
        ! grep -qF "$1" <<<"$(tr -s ' \n' ' ' <"$work/log")"; then
        cat "$work/log"
        echo "expected: $1"
        exit 1
    fi
    rm -r "$work/refused"
}

step "install, then move the prefix"
cmake --install "$build_dir" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/moved"
prefix=$work/moved
libdir=$(dirname "$(find "$prefix" -name libtarnm.a)")
[ -f "$libdir/libtarncore.a" ] || { echo "libtarncore.a is not installed"; exit 1; }

step "beside the shared libraries: find_package(tarnm 7 COMPONENTS static), and shared"
build_consumer "$work/chosen" "$prefix" -DCOMPONENTS=static
must_be_static "$work"/chosen/{example,program}
build_consumer "$work/shared" "$prefix" -DCOMPONENTS=shared
[ -n "$(needs_libraries "$work/shared/program")" ] || { echo "the shared libraries were asked for"; exit 1; }
must_not_configure "both kinds are asked for" "C CXX" static shared
must_not_configure "want the language CXX" C static

step "alone: find_package(tarnm 7)"
find "$prefix" \( -name '*.so' -o -name '*.so.*' -o -name 'tarnm-shared-targets*.cmake' \) -delete
build_consumer "$work/alone" "$prefix"
build_stranger "$work/first_page" "$prefix"
must_be_static "$work"/alone/{example,program} "$work/first_page/first"
must_not_configure "only the static libraries of tarnm are installed" "C CXX" shared

step "pkg-config --static"
export PKG_CONFIG_PATH=$libdir/pkgconfig
build_with_pkg_config "$work/pkg_config" --static
must_be_static "$work"/pkg_config/{example,program,first}
