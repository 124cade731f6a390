"""What pip calls to make a wheel: CMake builds the module and the library, a zip file takes them.

    /usr/bin/python3 -m pip install ./python        from the top folder of the source tree, without a network

Build trees lie in build/wheel. TARNM_BUILD_JOBS sets the number of parallel jobs.
"""

import base64
import hashlib
import os
import re
import subprocess
import sys
import sysconfig
import zipfile
from pathlib import Path

PYTHON = Path(__file__).resolve().parent.parent
ROOT = PYTHON.parent
BUILD = ROOT / "build" / "wheel"


def _version():
    return re.search(r"VERSION ([0-9.]+)", (ROOT / "CMakeLists.txt").read_text()[len("cmake_minimum_required(VERSION 3.25)"):])[1]


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


def _build():
    # pip hides the packages of the interpreter by variables; CMake has to see its NumPy and pybind11.
    environment = {name: value for name, value in os.environ.items() if not name.startswith("PYTHON")}
    options = [
        "-DCMAKE_BUILD_TYPE=Release",
        "-DTARNM_BUILD_PYTHON=ON",
        "-DTARNM_BUILD_TESTS=OFF",
        "-DTARNM_BUILD_EXAMPLES=OFF",
        "-DTARNM_WARNINGS_AS_ERRORS=OFF",
        "-DCMAKE_BUILD_WITH_INSTALL_RPATH=ON",
        f"-DPython_EXECUTABLE={sys.executable}",
    ]
    jobs = os.environ.get("TARNM_BUILD_JOBS", str(os.cpu_count() or 1))
    subprocess.run(["cmake", "-S", str(ROOT), "-B", str(BUILD), *options], check=True, env=environment)
    subprocess.run(["cmake", "--build", str(BUILD), "--target", "tarnm_python", "--parallel", jobs], check=True, env=environment)


def _files():
    sources = PYTHON / "tarnm"
    for pattern in ("*.py", "*.pyi", "py.typed"):
        for path in sorted(sources.glob(pattern)):
            yield f"tarnm/{path.name}", path.read_bytes()
    for path in sorted((BUILD / "python" / "tarnm").glob("_tarnm.*.so")):
        yield f"tarnm/{path.name}", path.read_bytes()
    for name in ("libtarnm.so.7", "libtarncore.so.7"):
        yield f"tarnm/{name}", (BUILD / "lib" / name).read_bytes()


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    _build()
    version, tag = _version(), _tag()
    info = f"tarnm-{version}.dist-info"
    files = list(_files())
    files.append((f"{info}/METADATA", _metadata().encode()))
    files.append((f"{info}/WHEEL", f"Wheel-Version: 1.0\nGenerator: tarnm\nRoot-Is-Purelib: false\nTag: {tag}\n".encode()))
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
