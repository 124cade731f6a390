"""The C functions by name."""

import numpy
import pytest

import tarnm
from tarnm import raw
from tarnm._members import MEMBERS


def test_every_member_is_there():
    assert len(MEMBERS) == 873
    for name in MEMBERS:
        assert getattr(raw, name).__doc__.startswith(name + "(")
    assert set(MEMBERS) < set(dir(raw))
    with pytest.raises(AttributeError):
        raw.tarnmNothing


def test_arrays_addresses_and_null(random):
    a, b = random.uniform(-1, 1, (2, 10, 4)).astype(numpy.float32)
    sums = numpy.zeros_like(a)
    assert raw.tarnmAdd_vava_32f(a, 16, 4, b, 16, 4, sums, 16, 4, 4, 10) == 0
    numpy.testing.assert_array_equal(sums, a + b)
    sums[...] = 0
    assert raw.tarnmAdd_vava_32f(a.ctypes.data, 16, 4, b, 16, 4, sums.ctypes.data, 16, 4, 4, 10) == 0
    numpy.testing.assert_array_equal(sums, a + b)
    assert raw.tarnmAdd_vava_32f(None, 16, 4, b, 16, 4, sums, 16, 4, 4, 10) == tarnm.Status.NULL_POINTER
    assert raw.tarnmAdd_vava_32f(a, 16, 4, b, 16, 4, sums, 16, 4, 4, 0) == tarnm.Status.BAD_COUNT


def test_tables(random):
    a, b = ([random.uniform(-1, 1, 3) for _ in range(5)] for _ in range(2))
    sums = [numpy.zeros(3) for _ in range(5)]
    assert raw.tarnmAdd_vava_64f_L(a, 0, 8, b, 0, 8, sums, 0, 8, 3, 5) == 0
    for x, y, z in zip(a, b, sums):
        numpy.testing.assert_array_equal(z, x + y)
    table = numpy.array([z.ctypes.data for z in sums], numpy.uintp)
    assert raw.tarnmSub_vava_64f_L(a, 0, 8, b, 0, 8, table, 0, 8, 3, 5) == 0
    for x, y, z in zip(a, b, sums):
        numpy.testing.assert_array_equal(z, x - y)


def test_wrong_arguments_raise():
    a = numpy.zeros(4, numpy.float32)
    with pytest.raises(TypeError, match="takes 7 arguments, 2 were given"):
        raw.tarnmAdd_vv_32f(a, 4)
    with pytest.raises(TypeError, match="pSrc2 must be an array of float32, not of float64"):
        raw.tarnmAdd_vv_32f(a, 4, a.astype(float), 4, a, 4, 4)
    with pytest.raises(TypeError, match="pDst must be an array, an address or None, not str"):
        raw.tarnmAdd_vv_32f(a, 4, a, 4, "a", 4, 4)
    read_only = a.copy()
    read_only.flags.writeable = False
    with pytest.raises(ValueError, match="pDst is read-only"):
        raw.tarnmAdd_vv_32f(a, 4, a, 4, read_only, 4, 4)


def test_version():
    assert raw.tarnmGetLibVersion()["major"] == 7
