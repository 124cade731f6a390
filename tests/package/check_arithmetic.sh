#!/usr/bin/env bash
# check_arithmetic.sh LIBRARY: the machine code holds no fused multiply-add, whatever the compiler was told: its single
# rounding would give results that another variant does not.
set -euo pipefail

code=$(mktemp)
trap 'rm -f "$code"' EXIT
objdump --disassemble --demangle --no-show-raw-insn "$1" >"$code"
grep -qE '\bv?mul[sp][sd]\b' "$code" || { echo "no arithmetic found in $1"; exit 1; }

if ! awk '/^[0-9a-f]+ <.*>:$/ { name = $0 }
          /\tvfn?m(add|sub)/ { if (name != "") print name; name = ""; print; bad = 1 }
          END { exit bad }' "$code"; then
    echo "$1 holds fused operations"
    exit 1
fi
