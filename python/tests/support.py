"""What the tests share: matrices with a known condition, ways in which a stack can lie in memory, comparisons."""

import numpy


def stack_of(random, shape, dtype):
    return random.uniform(-1, 1, shape).astype(dtype)


def regular(random, shape, dtype):
    """Matrices far from singular: a strong diagonal, with rows exchanged so that elimination has to pivot."""
    n = shape[-1]
    a = random.uniform(-1, 1, shape) + 2 * n * numpy.eye(n)
    return numpy.roll(a, 1, axis=-2).astype(dtype)


def symmetric(random, shape, dtype):
    a = random.uniform(-1, 1, shape)
    return (a + numpy.swapaxes(a, -1, -2)).astype(dtype)


def positive(random, shape, dtype):
    a = random.uniform(-1, 1, shape)
    return (a @ numpy.swapaxes(a, -1, -2) + numpy.eye(shape[-1])).astype(dtype)


def packed(a):
    return numpy.ascontiguousarray(a)


def padded(a):
    """Gaps between elements, rows and objects."""
    room = numpy.full([2 * size + 1 for size in a.shape], numpy.nan if a.dtype.kind == "f" else -1, a.dtype)
    view = room[tuple(slice(1, None, 2) for _ in a.shape)]
    view[...] = a
    return view


def by_columns(a):
    """The two last axes exchanged in memory."""
    if a.ndim < 2:
        return padded(a)
    return numpy.swapaxes(numpy.ascontiguousarray(numpy.swapaxes(a, -1, -2)), -1, -2)


def planar(a):
    """Element beside element: the first axis runs fastest in memory."""
    return numpy.asfortranarray(a)


def reversed_axes(a):
    """Negative strides, which the library cannot take."""
    every = tuple(slice(None, None, -1) for _ in a.shape)
    return numpy.ascontiguousarray(a[every])[every]


def unaligned(a):
    """An address that is no multiple of the element size."""
    bytes_of = numpy.zeros(a.nbytes + 1, numpy.uint8)
    view = bytes_of[1:].view(a.dtype).reshape(a.shape)
    view[...] = a
    return view


PLACES = [packed, padded, by_columns, planar, reversed_axes, unaligned]


def close(actual, expected, dtype, factor=100):
    """Equal to `factor` eps, relative to the largest element of the whole."""
    expected = numpy.asarray(expected)
    assert actual.shape == expected.shape
    scale = max(numpy.abs(expected).max(initial=0), numpy.finfo(dtype).tiny)
    error = numpy.abs(actual.astype(expected.dtype) - expected).max(initial=0)
    assert error <= factor * numpy.finfo(dtype).eps * scale, (error, scale)
