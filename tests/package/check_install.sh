#!/usr/bin/env bash
# Installs the build tree into a temporary prefix, moves the prefix, and builds and runs programs against it, once with
# CMake and once with pkg-config. The C program is the example of the README, taken from there.
#
#   check_install.sh SOURCE_DIR BUILD_DIR      with CC, CXX, CFLAGS and CXXFLAGS in the environment
set -euo pipefail

source_dir=$1 build_dir=$2
consumer=$source_dir/tests/package/consumer
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

step() { echo "== $*"; }

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

step "the example of the README"
awk '/^```c$/ { on = 1; next } /^```$/ { on = 0 } on' "$source_dir/README.md" >"$work/example.c"
[ -s "$work/example.c" ] || { echo "the README has no example"; exit 1; }

# Runs a program that was built here, and compares what it prints.
expect_output() {
    local output
    output=$("$1")
    echo "$1: $output"
    [ "$output" = "$2" ] || { echo "expected: $2"; exit 1; }
}
c_output="11 22 33 / 14 25 36"
cpp_output="version 7.0, threads 3, sum 5"

step "CMake: find_package(tarnm 7)"
build_consumer() {
    cmake -S "$consumer" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" -DEXAMPLE="$work/example.c" &&
        cmake --build "$work/cmake"
}
build_consumer >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
expect_output "$work/cmake/example" "$c_output"
expect_output "$work/cmake/program" "$cpp_output"

step "the guide's first page, in a project of its own"
first=$source_dir/docs/guide/first-call.md
block() { awk -v language="$1" '$0 == "```" language { on = 1; next } /^```$/ { on = 0 } on' "$first"; }
mkdir "$work/stranger"
block cpp >"$work/stranger/first.cpp"
block cmake >"$work/stranger/CMakeLists.txt"
[ -s "$work/stranger/first.cpp" ] && [ -s "$work/stranger/CMakeLists.txt" ] || { echo "the page has no program"; exit 1; }
cmake -S "$work/stranger" -B "$work/stranger/build" -DCMAKE_PREFIX_PATH="$prefix" >"$work/log" 2>&1 &&
    cmake --build "$work/stranger/build" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
first_output=$(sed -n 's/^It prints `\(.*\)`\.$/\1/p' "$first")
expect_output "$work/stranger/build/first" "$first_output"

step "pkg-config"
export PKG_CONFIG_PATH=$libdir/pkgconfig
export LD_LIBRARY_PATH=$libdir
# The flags are lists of words.
# shellcheck disable=SC2046,SC2086
$CC $CFLAGS -std=c99 "$work/example.c" -o "$work/example" $(pkg-config --cflags --libs tarnm)
# shellcheck disable=SC2046,SC2086
$CXX $CXXFLAGS -std=c++17 "$consumer/program.cpp" -o "$work/program" $(pkg-config --cflags --libs tarnm tarncore)
expect_output "$work/example" "$c_output"
expect_output "$work/program" "$cpp_output"
# shellcheck disable=SC2046,SC2086
$CXX $CXXFLAGS -std=c++20 "$work/stranger/first.cpp" -o "$work/first_program" $(pkg-config --cflags --libs tarnm)
expect_output "$work/first_program" "$first_output"
[ "$(pkg-config --modversion tarnm)" = 7.0.205 ] || { echo "wrong version in tarnm.pc"; exit 1; }

if [ -d "$libdir/glibc-hwcaps" ]; then
    step "the dynamic loader takes the best variant that the processor has"
    expected=$libdir/libtarnm.so.7
    supported=$(/lib64/ld-linux-x86-64.so.2 --help | awk '/x86-64-v[0-9] \(supported/ { print $1 }')
    for level in x86-64-v3 x86-64-v4; do
        [ -f "$libdir/glibc-hwcaps/$level/libtarnm.so.7" ] || { echo "variant $level is not installed"; exit 1; }
        if grep -qx "$level" <<<"$supported"; then expected=$libdir/glibc-hwcaps/$level/libtarnm.so.7; fi
    done
    taken=$(ldd "$work/example" | awk '$1 == "libtarnm.so.7" { print $3 }')
    [ "$taken" = "$expected" ] || { echo "the loader took $taken, not $expected"; exit 1; }
    echo "${taken#"$libdir"/}"
    for folder in "$libdir" "$libdir/glibc-hwcaps/x86-64-v3" "$libdir/glibc-hwcaps/x86-64-v4"; do
        # Each finds tarncore by its own run path, wherever the prefix lies.
        [[ $(env -u LD_LIBRARY_PATH ldd "$folder/libtarnm.so.7") == *"libtarncore.so.7 => $prefix"* ]] ||
            { echo "$folder/libtarnm.so.7 does not find tarncore"; exit 1; }
    done
fi
