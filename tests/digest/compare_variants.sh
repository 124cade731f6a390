#!/usr/bin/env bash
# compare_variants.sh DIGEST LIBRARY: every variant beside the library that this processor runs gives the same results.
set -euo pipefail
digest=$1
folder=$(dirname "$2")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# A folder with one library in it leaves the dynamic loader no choice of a variant.
results_of() {
    mkdir -p "$work/$1"
    ln -s "$2" "$work/$1/libtarnm.so.7"
    LD_LIBRARY_PATH=$work/$1 "$digest" >"$work/$1.txt"
}

runs_here() { [[ $(/lib64/ld-linux-x86-64.so.2 --help) == *"$1 (supported"* ]]; }

results_of baseline "$folder/libtarnm.so.7"
compared=0
for variant in "$folder"/glibc-hwcaps/*/; do
    level=$(basename "$variant")
    if ! runs_here "$level"; then
        echo "$level: this processor does not run it"
        continue
    fi
    results_of "$level" "${variant}libtarnm.so.7"
    diff "$work/baseline.txt" "$work/$level.txt" || { echo "$level differs from the baseline"; exit 1; }
    echo "$level: $(wc -l <"$work/$level.txt") members give the bits of the baseline"
    compared=$((compared + 1))
done
[ "$compared" -gt 0 ] || echo "no variant to compare with on this processor"
