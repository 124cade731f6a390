"""All 873 functions of the C library by their names.

    >>> import numpy, tarnm.raw
    >>> a = numpy.ones((10, 4), numpy.float32)
    >>> sums = numpy.empty_like(a)
    >>> tarnm.raw.tarnmAdd_vava_32f(a, 16, 4, a, 16, 4, sums, 16, 4, 4, 10)
    0

Arguments stand in the order of the C header and are told by the docstring of each function. A pointer takes

    an array of its element type: the address of its first element, whatever the strides of the array
    a whole number: an address
    None: the null pointer

and a table of pointers takes besides these a list of arrays of the element type, one for each entry of the table; an array
given as a table is one of addresses (uintp). Strides and shifts are bytes. The result is the status as a number, see
tarnm.Status; nothing is raised for it. Wrong strides and sizes reach memory that is not an array's: nothing is checked but
types and what the C function itself checks.
"""

import ctypes

import numpy

from . import _tarnm  # noqa: F401
from ._members import MEMBERS


# The module of this package is linked with it and lies loaded already, in the variant that the loader chose: found by its SONAME.
_library = ctypes.CDLL("libtarnm.so.7")
_ELEMENT = {"f": numpy.dtype(numpy.float32), "d": numpy.dtype(numpy.float64), "i": numpy.dtype(numpy.int32), "v": None}
_ADDRESS = numpy.dtype(numpy.uintp)
_NUMBER = {"i": ctypes.c_int32, "f": ctypes.c_float, "d": ctypes.c_double}


def _of_address(value, function, name):
    try:
        return value.__index__()
    except AttributeError:
        raise TypeError(
            f"tarnm.raw.{function}: {name} must be an array, an address or None, not {type(value).__name__}"
        ) from None


def _pointer(function, name, element, written):
    def convert(value, kept):
        if value is None:
            return 0
        if not isinstance(value, numpy.ndarray):
            return _of_address(value, function, name)
        if element is not None and value.dtype != element:
            raise TypeError(f"tarnm.raw.{function}: {name} must be an array of {element}, not of {value.dtype}")
        if written and not value.flags.writeable:
            raise ValueError(f"tarnm.raw.{function}: {name} is read-only")
        return value.ctypes.data

    return convert


def _table(function, name, element, written):
    one = _pointer(function, name, element, written)

    def convert(value, kept):
        if value is None:
            return 0
        if isinstance(value, (list, tuple)):
            addresses = numpy.array([one(entry, kept) for entry in value], dtype=_ADDRESS)
            kept.append(addresses)
            return addresses.ctypes.data
        if not isinstance(value, numpy.ndarray):
            return _of_address(value, function, name)
        if value.dtype != _ADDRESS or not value.flags.c_contiguous:
            raise TypeError(f"tarnm.raw.{function}: {name} must be a list of arrays or a packed array of addresses (uintp)")
        return value.ctypes.data

    return convert


_SHOWN = {"i": "int", "f": "float", "d": "float", "*f": "float32 array", "*d": "float64 array", "*i": "int32 array",
          "*v": "scratch", "**f": "table of float32 arrays", "**d": "table of float64 arrays"}


def _function(name):
    arguments = [argument.split(":") for argument in MEMBERS[name].split()]
    function = getattr(_library, name)
    types, converters, lines = [], [], []
    for code, argument in arguments:
        written, kind = code.startswith("!"), code.lstrip("!")
        lines.append(f"    {argument}: {_SHOWN[kind]}{', written' if written else ''}")
        if kind in _NUMBER:
            types.append(_NUMBER[kind])
            converters.append(None)
            continue
        types.append(ctypes.c_void_p)
        make = _table if kind.startswith("**") else _pointer
        converters.append(make(name, argument, _ELEMENT[kind[-1]], written))
    function.argtypes = types
    function.restype = ctypes.c_int32
    number = len(types)

    def call(*values):
        if len(values) != number:
            raise TypeError(f"tarnm.raw.{name} takes {number} arguments, {len(values)} were given")
        kept = []
        return function(*[v if convert is None else convert(v, kept) for v, convert in zip(values, converters)])

    call.__name__ = call.__qualname__ = name
    call.__module__ = __name__
    call.__doc__ = f"{name}({', '.join(argument for _, argument in arguments)})\n\n" + "\n".join(lines)
    return call


class _Version(ctypes.Structure):
    _fields_ = [
        ("major", ctypes.c_int32),
        ("minor", ctypes.c_int32),
        ("major_build", ctypes.c_int32),
        ("build", ctypes.c_int32),
        ("target_code", ctypes.c_char * 4),
        ("name", ctypes.c_char_p),
        ("version", ctypes.c_char_p),
        ("build_date", ctypes.c_char_p),
    ]


def tarnmGetLibVersion():
    """The version record of the library as a dictionary."""
    query = _library.tarnmGetLibVersion
    query.restype = ctypes.POINTER(_Version)
    record = query().contents
    texts = {field: getattr(record, field) for field, _ in _Version._fields_}
    return {field: text.decode() if isinstance(text, bytes) else text for field, text in texts.items()}


def __getattr__(name):
    if name not in MEMBERS:
        raise AttributeError(f"module {__name__!r} has no attribute {name!r}")
    function = _function(name)
    globals()[name] = function
    return function


def __dir__():
    return sorted(MEMBERS) + ["tarnmGetLibVersion"]
