#!/usr/bin/env bash
# check_wheel.sh PYTHON [BUILD]: pip makes a wheel from the source tree and installs it into a fresh environment, without a
# network; the package is imported and used in an empty folder. With BUILD, that build tree is taken; else all is compiled.
set -euo pipefail
python=$1
if [ $# -gt 1 ]; then
    TARNM_BUILD_FOLDER=$(cd "$2" && pwd)
    export TARNM_BUILD_FOLDER
fi
sources=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
# What the environment finds must be what pip installed, and its libraries must be its own.
unset PYTHONPATH LD_LIBRARY_PATH

"$python" -m venv --system-site-packages "$folder/environment"
"$folder/environment/bin/python" -m pip install --quiet --no-index --no-build-isolation --no-deps "$sources"
mkdir "$folder/empty"
cd "$folder/empty"
"$folder/environment/bin/python" - "$folder/environment" <<'CHECK'
import sys

import numpy

import tarnm
import tarnm.geometry
import tarnm.raw

a = numpy.random.default_rng(1).uniform(-1, 1, (100, 3, 3)) + 4 * numpy.eye(3)
assert numpy.allclose(tarnm.matmul(a, tarnm.inv(a)), numpy.eye(3))
assert numpy.allclose(tarnm.solve(a, a[..., 0]), [1, 0, 0])
assert tarnm.geometry.is_identity(tarnm.geometry.identity())
assert tarnm.__version__.startswith(f"{tarnm.raw.tarnmGetLibVersion()['major']}.")
libraries = {line.split()[-1] for line in open("/proc/self/maps") if "tarn" in line.rsplit("/", 1)[-1]}
assert len(libraries) == 3, libraries
assert all(path.startswith(sys.argv[1]) for path in libraries), libraries
print("installed and used:", *sorted(libraries), sep="\n    ")
CHECK
