"""Any arrays: results agree with NumPy whatever the stacks and the steps through memory."""

import numpy
from hypothesis import given, settings
from hypothesis import strategies as any_of
from hypothesis.extra import numpy as arrays

import tarnm
from support import close

TYPES = any_of.sampled_from([numpy.float32, numpy.float64])
STACKS = arrays.mutually_broadcastable_shapes(num_shapes=2, max_dims=3, max_side=4)


@any_of.composite
def views(draw, shape, dtype):
    """A view of this shape with a step, forwards or backwards, along every axis."""
    steps = [draw(any_of.sampled_from([1, 1, 1, 2, 3, -1, -2])) for _ in shape]
    seed = draw(any_of.integers(0, 2**31))
    room = numpy.random.default_rng(seed).uniform(-1, 1, [size * abs(step) for size, step in zip(shape, steps)])
    view = room.astype(dtype)[tuple(slice(None, None, step) for step in steps)]
    order = draw(any_of.permutations(range(view.ndim)))
    return numpy.transpose(numpy.ascontiguousarray(numpy.transpose(view, order)), numpy.argsort(order)) if draw(
        any_of.booleans()) else view


@settings(max_examples=150, deadline=None)
@given(any_of.data(), TYPES, STACKS, any_of.tuples(*[any_of.integers(1, 6)] * 3))
def test_products(data, dtype, stacks, sizes):
    m, k, n = sizes
    left, right = stacks.input_shapes
    a, b = data.draw(views(left + (m, k), dtype)), data.draw(views(right + (k, n), dtype))
    close(tarnm.matmul(a, b), a.astype(float) @ b.astype(float), dtype)
    x = data.draw(views(right + (k,), dtype))
    close(tarnm.matvec(a, x), numpy.einsum("...ij,...j->...i", a.astype(float), x.astype(float)), dtype)


@settings(max_examples=150, deadline=None)
@given(any_of.data(), TYPES, arrays.mutually_broadcastable_shapes(num_shapes=2, min_dims=1, max_dims=4, max_side=4, min_side=1))
def test_sums(data, dtype, shapes):
    a, b = (data.draw(views(shape, dtype)) for shape in shapes.input_shapes)
    numpy.testing.assert_array_equal(tarnm.add(a, b), a + b)
    numpy.testing.assert_array_equal(tarnm.subtract(a, b), a - b)


@settings(max_examples=100, deadline=None)
@given(any_of.data(), TYPES, arrays.array_shapes(min_dims=0, max_dims=3, max_side=4), any_of.integers(1, 6))
def test_square_matrices(data, dtype, stack, order):
    a = data.draw(views(stack + (order, order), dtype))
    a = a + 2 * order * numpy.eye(order, dtype=dtype)
    close(tarnm.inv(a), numpy.linalg.inv(a.astype(float)), dtype)
    close(tarnm.det(a), numpy.linalg.det(a.astype(float)), dtype)
    close(tarnm.eigvalsh(a), numpy.linalg.eigvalsh(a.astype(float)), dtype, 500)


@settings(max_examples=150, deadline=None)
@given(any_of.data(), TYPES, STACKS, any_of.integers(1, 7), any_of.integers(1, 3))
def test_systems(data, dtype, stacks, order, columns):
    left, right = stacks.input_shapes
    # With one axis less than a, the right side would be vectors.
    right = (1,) * (len(left) - len(right)) + right
    a = data.draw(views(left + (order, order), dtype))
    a = a + 2 * order * numpy.eye(order, dtype=dtype)
    b = data.draw(views(right + (order, columns), dtype))
    expected = numpy.linalg.solve(a.astype(float), b.astype(float))
    close(tarnm.solve(a, b), expected, dtype)
    close(tarnm.lu(a).solve(b), expected, dtype)
    close(tarnm.lstsq(a, b), expected, dtype, 1000)
    p = a @ numpy.swapaxes(a, -1, -2)
    close(tarnm.cholesky(p), numpy.linalg.cholesky(p.astype(float)), dtype, 1000)


@settings(max_examples=100, deadline=None)
@given(any_of.data(), TYPES, any_of.integers(1, 40), any_of.integers(1, 7), any_of.booleans())
def test_lists(data, dtype, count, order, alike):
    """Arrays anywhere, with strides of one kind or each with its own."""
    def list_of(shape):
        if not alike:
            return [data.draw(views(shape, dtype)) for _ in range(count)]
        return list(data.draw(views((count,) + shape, dtype)))

    a = [each + 2 * order * numpy.eye(order, dtype=dtype) for each in list_of((order, order))]
    b = list_of((order,))
    wide, right = numpy.stack(a).astype(float), numpy.stack(b).astype(float)
    close(tarnm.solve(a, b), numpy.linalg.solve(wide, right[..., None])[..., 0], dtype)
    close(tarnm.matvec(a, b), numpy.einsum("nij,nj->ni", wide, right), dtype)
    close(tarnm.inv(a), numpy.linalg.inv(wide), dtype)
    q, r = tarnm.qr(a)
    close(q @ r, wide, dtype)
