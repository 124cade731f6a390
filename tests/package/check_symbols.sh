#!/usr/bin/env bash
# Checks the dynamic symbols of a shared library.
#
#   check_symbols.sh exports LIBRARY MAP            defines exactly the names of the map's global section
#   check_symbols.sh soname  LIBRARY NAME           has this SONAME
#   check_symbols.sh imports LIBRARY SOURCES NAME.. imports every NAME that the sources mention, and defines none
set -euo pipefail

# Names without a version suffix; the name of a version itself is an absolute symbol and is left out.
defined() { nm -D --defined-only "$1" | awk '$(NF-1) != "A" { sub(/@.*/, "", $NF); print $NF }' | LC_ALL=C sort -u; }
undefined() { nm -D --undefined-only "$1" | awk '{ sub(/@.*/, "", $NF); print $NF }' | LC_ALL=C sort -u; }

# The names between "global:" and "local:", comments left out.
names_of_map() {
    sed -e 's|/\*.*\*/||g' -e 's|#.*||' "$1" | tr '{};' '\n' |
        awk '/global:/ { on = 1; sub(/.*global:/, "") } /local:/ { on = 0 } on && NF { print $1 }' | LC_ALL=C sort -u
}

what=$1 library=$2
shift 2
case $what in
exports)
    names=$(names_of_map "$1")
    [ -n "$names" ] || { echo "no names in $1"; exit 1; }
    if ! diff <(echo "$names") <(defined "$library") >/dev/null; then
        echo "$library does not export what $1 lists ('<': missing, '>': too many):"
        diff <(echo "$names") <(defined "$library") | grep '^[<>]'
        exit 1
    fi
    echo "$(echo "$names" | wc -l) names"
    ;;
soname)
    soname=$(readelf -d "$library" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
    [ "$soname" = "$1" ] || { echo "SONAME is '$soname', not '$1'"; exit 1; }
    ;;
imports)
    sources=$1
    shift
    for name in "$@"; do
        if grep -qx "$name" <<<"$(defined "$library")"; then
            echo "$library defines $name itself"
            exit 1
        fi
        if grep -rqw --include='*.cpp' --include='*.h' --exclude-dir=core "$name(" "$sources" &&
            ! grep -qx "$name" <<<"$(undefined "$library")"; then
            echo "$library does not import $name"
            exit 1
        fi
    done
    ;;
*)
    echo "unknown check: $what"
    exit 2
    ;;
esac
