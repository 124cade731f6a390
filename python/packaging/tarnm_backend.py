"""What pip calls to make a wheel: CMake builds the module and the library, a zip file takes what it installs.

    /usr/bin/python3 -m pip install --no-index --no-build-isolation ./python

from the top folder of the source tree; nothing is fetched. On x86-64 the wheel holds the library for AVX, for x86-64-v3 and
for x86-64-v4; the dynamic loader takes what the processor has. The environment may set

TARNM_BUILD_JOBS      parallel jobs, by default the number of processors
TARNM_BUILD_VARIANTS  OFF: the library for AVX alone, in a third of the time
TARNM_BUILD_FOLDER    the absolute path of a build tree that is there already, configured with
                      TARNM_BUILD_PYTHON; by default build/wheel is made
CMAKE_ARGS            more options for CMake
"""

import base64
import hashlib
import os
import platform
import re
import shlex
import subprocess
import sys
import sysconfig
import tempfile
import zipfile
from pathlib import Path

PYTHON = Path(__file__).resolve().parent.parent
ROOT = PYTHON.parent


def _version():
    return re.search(r"project\(tarnm\s+VERSION ([0-9.]+)", (ROOT / "CMakeLists.txt").read_text())[1]


def _tag():
    version = f"cp{sys.version_info.major}{sys.version_info.minor}"
    return f"{version}-{version}-{re.sub('[-.]', '_', sysconfig.get_platform())}"


def _metadata():
    return (
        "Metadata-Version: 2.1\n"
        "Name: tarnm\n"
        f"Version: {_version()}\n"
        "Summary: Numerics for many small vectors and matrices at once\n"
        "Requires-Python: >=3.9\n"
        "Requires-Dist: numpy\n"
    )


def _run(*command):
    # pip hides the packages of the interpreter by variables; CMake has to see its NumPy and pybind11.
    environment = {name: value for name, value in os.environ.items() if not name.startswith("PYTHON")}
    subprocess.run([str(word) for word in command], check=True, env=environment)


def _build():
    given = os.environ.get("TARNM_BUILD_FOLDER")
    if given:
        return Path(given)
    folder = ROOT / "build" / "wheel"
    has_variants = platform.machine() in ("x86_64", "AMD64") and sys.maxsize > 2**32
    variants = os.environ.get("TARNM_BUILD_VARIANTS", "ON" if has_variants else "OFF")
    targets = ["tarnm_python"] + (["tarnm_v3", "tarnm_v4"] if variants == "ON" else [])
    _run(
        "cmake", "-S", ROOT, "-B", folder, "-DCMAKE_BUILD_TYPE=Release", "-DTARNM_BUILD_PYTHON=ON",
        f"-DTARNM_BUILD_VARIANTS={variants}", "-DTARNM_BUILD_TESTS=OFF", "-DTARNM_BUILD_EXAMPLES=OFF",
        "-DTARNM_WARNINGS_AS_ERRORS=OFF", f"-DPython_EXECUTABLE={sys.executable}",
        *shlex.split(os.environ.get("CMAKE_ARGS", "")),
    )
    jobs = os.environ.get("TARNM_BUILD_JOBS", os.cpu_count() or 1)
    _run("cmake", "--build", folder, "--parallel", jobs, "--target", *targets)
    return folder


def _files():
    folder = _build()
    with tempfile.TemporaryDirectory() as stage:
        _run("cmake", "--install", folder, "--component", "python", "--prefix", stage)
        for path in sorted(Path(stage).rglob("*")):
            # A wheel holds no links: the library under its SONAME, not under its full version.
            if path.is_file() and not re.search(r"\.so\.\d+\.", path.name):
                yield str(path.relative_to(stage)), path.read_bytes()


def _information():
    return {
        "METADATA": _metadata(),
        "WHEEL": f"Wheel-Version: 1.0\nGenerator: tarnm\nRoot-Is-Purelib: false\nTag: {_tag()}\n",
    }


def prepare_metadata_for_build_wheel(metadata_directory, config_settings=None):
    folder = Path(metadata_directory) / f"tarnm-{_version()}.dist-info"
    folder.mkdir()
    for name, text in _information().items():
        (folder / name).write_text(text)
    return folder.name


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    version, tag = _version(), _tag()
    info = f"tarnm-{version}.dist-info"
    files = list(_files())
    files += [(f"{info}/{name}", text.encode()) for name, text in _information().items()]
    record = ""
    name = f"tarnm-{version}-{tag}.whl"
    with zipfile.ZipFile(Path(wheel_directory) / name, "w", zipfile.ZIP_DEFLATED) as wheel:
        for path, content in files:
            digest = base64.urlsafe_b64encode(hashlib.sha256(content).digest()).rstrip(b"=").decode()
            record += f"{path},sha256={digest},{len(content)}\n"
            wheel.writestr(path, content)
        wheel.writestr(f"{info}/RECORD", record + f"{info}/RECORD,,\n")
    return name


def get_requires_for_build_wheel(config_settings=None):
    return []
