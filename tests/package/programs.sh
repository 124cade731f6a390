# shellcheck shell=bash
# The programs with which the tests of installed packages try them, and what these print. To be sourced; wants source_dir and
# work, a folder to write to.
#
#   $work/example.c     the example of the README
#   $consumer           a project of CMake with that and with a C++ program
#   $work/stranger      the project on the guide's first page

step() { echo "== $*"; }

# Runs a command quietly, unless it fails.
quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }; }

# expect_output PROGRAM TEXT
expect_output() {
    local output
    output=$("$1")
    echo "$1: $output"
    [ "$output" = "$2" ] || { echo "expected: $2"; exit 1; }
}

# block LANGUAGE FILE: the code of a document in this language.
block() { awk -v language="$1" '$0 == "```" language { on = 1; next } /^```$/ { on = 0 } on' "$2"; }

consumer=$source_dir/tests/package/consumer
c_output="11 22 33 / 14 25 36"
cpp_output="version 7.0, threads 3, sum 5"

block c "$source_dir/README.md" >"$work/example.c"
[ -s "$work/example.c" ] || { echo "the README has no example"; exit 1; }

first_page=$source_dir/docs/guide/first-call.md
mkdir "$work/stranger"
block cpp "$first_page" >"$work/stranger/first.cpp"
block cmake "$first_page" >"$work/stranger/CMakeLists.txt"
[ -s "$work/stranger/first.cpp" ] && [ -s "$work/stranger/CMakeLists.txt" ] || { echo "the page has no program"; exit 1; }
first_output=$(sed -n 's/^It prints `\(.*\)`\.$/\1/p' "$first_page")

# build_consumer FOLDER PREFIX [-DNAME=VALUE..], then its programs.
build_consumer() {
    quietly cmake -S "$consumer" -B "$1" -DCMAKE_PREFIX_PATH="$2" -DEXAMPLE="$work/example.c" "${@:3}"
    quietly cmake --build "$1"
    expect_output "$1/example" "$c_output"
    expect_output "$1/program" "$cpp_output"
}

# build_stranger FOLDER PREFIX, then its program.
build_stranger() {
    quietly cmake -S "$work/stranger" -B "$1" -DCMAKE_PREFIX_PATH="$2"
    quietly cmake --build "$1"
    expect_output "$1/first" "$first_output"
}

# build_with_pkg_config FOLDER [--static]: without CMake, from PKG_CONFIG_PATH, and runs all three.
build_with_pkg_config() {
    mkdir "$1"
    # The flags are lists of words.
    # shellcheck disable=SC2046,SC2086
    $CC $CFLAGS -std=c99 "$work/example.c" -o "$1/example" $(pkg-config --cflags --libs "${@:2}" tarnm)
    # shellcheck disable=SC2046,SC2086
    $CXX $CXXFLAGS -std=c++17 "$consumer/program.cpp" -o "$1/program" $(pkg-config --cflags --libs "${@:2}" tarnm tarncore)
    # shellcheck disable=SC2046,SC2086
    $CXX $CXXFLAGS -std=c++20 "$work/stranger/first.cpp" -o "$1/first" $(pkg-config --cflags --libs "${@:2}" tarnm)
    expect_output "$1/example" "$c_output"
    expect_output "$1/program" "$cpp_output"
    expect_output "$1/first" "$first_output"
}
