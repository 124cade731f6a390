#!/bin/sh
# Runs a program of the thread sanitizer as it needs it.

# The barriers of clang's OpenMP runtime are told to it by a library that stands beside the runtime.
runtime=$(ldconfig -p | sed -n 's/.*libomp\.so\.5 .*=> //p' | head -n 1)
archer=$(dirname "$(readlink -f "$runtime")")/libarcher.so
[ ! -e "$archer" ] || export OMP_TOOL_LIBRARIES="$archer"

# At fixed addresses, where that is allowed: clang 14's does not start on kernels that randomise addresses in more bits than
# it knows of. Some containers forbid the change; then the program runs as it is.
setarch --addr-no-randomize true 2>/dev/null && exec setarch --addr-no-randomize "$@"
exec "$@"
