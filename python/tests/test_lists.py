"""Lists of arrays in place of stacks: taken as they lie, written as they lie."""

import numpy
import pytest

import tarnm
from support import close, padded, positive, regular, stack_of, symmetric


def items_of(stack, place=lambda a: a.copy()):
    return [place(a) for a in stack]


def agreement(dtype):
    """Equal but for rounding: where objects lie decides the kernel for some."""
    return lambda actual, expected: close(actual, numpy.asarray(expected), dtype, 1000)


PLACES = [lambda a: a.copy(), padded, lambda a: numpy.asfortranarray(a)]
PLACE_NAMES = ["packed", "padded", "by_columns"]


@pytest.mark.parametrize("place", PLACES, ids=PLACE_NAMES)
@pytest.mark.parametrize("count", [1, 2, 7, 300])
def test_lists_give_what_stacks_give(random, dtype, count, place):
    a, p = regular(random, (count, 3, 3), dtype), positive(random, (count, 3, 3), dtype)
    b, x, y = (stack_of(random, (count,) + shape, dtype) for shape in ((3, 4), (3,), (3,)))
    la, lp, lb, lx, ly = (items_of(each, place) for each in (a, p, b, x, y))
    equal = agreement(dtype)

    equal(tarnm.matmul(la, lb, copy=False), tarnm.matmul(a, b))
    equal(tarnm.matvec(la, lx, copy=False), tarnm.matvec(a, x))
    for function in (tarnm.dot, tarnm.cross, tarnm.add, tarnm.subtract):
        equal(function(lx, ly, copy=False), function(x, y))
    equal(tarnm.norm(lx, copy=False), tarnm.norm(x))
    equal(tarnm.add(la, lp, copy=False), a + p)
    equal(tarnm.subtract(la, lp, copy=False), a - p)
    equal(tarnm.scale(lx, 0.5, copy=False), x * dtype.type(0.5))
    equal(tarnm.scale(la, 0.5, copy=False), a * dtype.type(0.5))
    equal(tarnm.subtract(1, la, copy=False), dtype.type(1) - a)
    for function in (tarnm.det, tarnm.trace, tarnm.transpose, tarnm.inv, tarnm.eigvals):
        equal(function(la, copy=False), function(a))
    equal(tarnm.cholesky(lp, copy=False), tarnm.cholesky(p))
    equal(tarnm.eigvalsh(lp, copy=False), tarnm.eigvalsh(p))
    for function, given, stack in ((tarnm.eigh, lp, p), (tarnm.qr, la, a)):
        for one, other in zip(function(given, copy=False), function(stack)):
            equal(one, other)
    for right, stack in ((lx, x), (lb, b)):
        equal(tarnm.solve(la, right, copy=False), tarnm.solve(a, stack))
        equal(tarnm.lstsq(la, right, copy=False), tarnm.lstsq(a, stack))
        equal(tarnm.lu(la, copy=False).solve(right, copy=False), tarnm.lu(a).solve(stack))
        equal(tarnm.qr_factor(la, copy=False).solve(right, copy=False), tarnm.qr_factor(a).solve(stack))
        lower = tarnm.cholesky(p)
        equal(tarnm.cholesky_solve(items_of(lower, place), right, copy=False), tarnm.cholesky_solve(lower, stack))
    equal(tarnm.solve(a[0], lb, copy=False), tarnm.solve(a[:1], b))
    equal(tarnm.lu(a[0]).solve(lb, copy=False), tarnm.solve(a[:1], b))
    equal(tarnm.lstsq(a[0], lb, copy=False), tarnm.solve(a[:1], b))
    equal(tarnm.cholesky_solve(tarnm.cholesky(p[0]), lb, copy=False), tarnm.solve(p[:1], b))
    for left, right in ((True, True), (True, False), (False, True)):
        for one, other in zip(tarnm.eig(la, left, right, copy=False), tarnm.eig(a, left, right)):
            equal(one, other)


def test_a_list_beside_a_stack_and_beside_one_object(random, dtype):
    a, b, one = stack_of(random, (9, 3, 4), dtype), stack_of(random, (9, 4, 2), dtype), stack_of(random, (4, 2), dtype)
    x = stack_of(random, (4,), dtype)
    equal = agreement(dtype)
    for left in (items_of(a), tuple(items_of(a))):
        equal(tarnm.matmul(left, b, copy=False), tarnm.matmul(a, b))
        equal(tarnm.matmul(left, one, copy=False), tarnm.matmul(a, one))
        equal(tarnm.matmul(left, padded(b), copy=False), tarnm.matmul(a, b))
        equal(tarnm.matvec(left, x, copy=False), tarnm.matvec(a, x))
    equal(tarnm.matmul(a, items_of(b), copy=False), tarnm.matmul(a, b))
    # More axes than a list has.
    equal(tarnm.matmul(items_of(a), numpy.broadcast_to(b, (2,) + b.shape)), tarnm.matmul(a, numpy.broadcast_to(b, (2,) + b.shape)))
    with pytest.raises(ValueError, match="copy=False forbids"):
        tarnm.matmul(items_of(a), numpy.broadcast_to(b, (2,) + b.shape), copy=False)
    # One right side for all, which the library has with one for each only.
    with pytest.raises(ValueError, match="copy=False forbids"):
        tarnm.solve(items_of(a[:, :, :3]), x[:3], copy=False)


@pytest.mark.parametrize("place", [lambda a: a.copy(), padded], ids=["packed", "padded"])
def test_results_in_lists(random, dtype, place):
    a, b = regular(random, (9, 3, 3), dtype), stack_of(random, (9, 3), dtype)
    p = positive(random, (9, 3, 3), dtype)
    equal = agreement(dtype)

    def room(*shape):
        return [place(numpy.zeros(shape, dtype)) for _ in range(9)]

    for function, arguments, shape in (
        (tarnm.inv, (a,), (3, 3)), (tarnm.matmul, (a, p), (3, 3)), (tarnm.matvec, (a, b), (3,)), (tarnm.cross, (b, b[::-1].copy()), (3,)),
        (tarnm.add, (a, p), (3, 3)), (tarnm.transpose, (a,), (3, 3)), (tarnm.cholesky, (p,), (3, 3)),
    ):
        for source in (arguments, [items_of(each) for each in arguments]):
            out = room(*shape)
            items = list(out)
            assert function(*source, out=out, copy=False) is out
            assert all(one is other for one, other in zip(out, items))
            equal(numpy.stack(out), function(*arguments))
    vectors, values = room(3, 3), numpy.zeros((9, 3), dtype)
    tarnm.eigh(items_of(p), out=(values, vectors), copy=False)
    equal(numpy.stack(vectors), tarnm.eigh(p)[1])
    equal(values, tarnm.eigh(p)[0])
    out = room(3)
    assert tarnm.solve(a, items_of(b), out=out, copy=False) is out
    equal(numpy.stack(out), tarnm.solve(a, b))
    # Through a copy: arrays of unlike strides.
    out = room(3, 3)
    out[4] = numpy.zeros((3, 3), dtype).T
    out[5] = numpy.zeros((3, 6), dtype)[:, ::2]
    assert tarnm.inv(a, out=out) is out
    equal(numpy.stack(out), tarnm.inv(a))
    with pytest.raises(ValueError, match="copy=False forbids"):
        tarnm.inv(a, out=out, copy=False)


def test_a_list_in_its_own_memory(random, dtype):
    a, b = regular(random, (9, 3, 3), dtype), stack_of(random, (9, 3, 3), dtype)
    x = items_of(a)
    tarnm.add(x, items_of(b), out=x, copy=False)
    numpy.testing.assert_array_equal(numpy.stack(x), a + b)
    x = items_of(a)
    tarnm.inv(x, out=x)
    close(numpy.stack(x), tarnm.inv(a), dtype)
    x = items_of(a)
    tarnm.add(x, items_of(b), out=x[1:] + x[:1])
    numpy.testing.assert_array_equal(numpy.stack(x[1:] + x[:1]), a + b)
    with pytest.raises(ValueError, match="copy=False forbids"):
        tarnm.inv(x, out=x, copy=False)


def test_failures_in_lists(random, dtype):
    a = positive(random, (70, 3, 3), dtype)
    a[[3, 66]] = 0
    good = numpy.setdiff1d(numpy.arange(70), [3, 66])
    for function in (tarnm.inv, tarnm.cholesky):
        result, statuses = function(items_of(a), errors="return", copy=False)
        assert (statuses[[3, 66]] < 0).all() and not statuses[good].any()
        close(result[good], function(a[good]), dtype)
        with pytest.raises(numpy.linalg.LinAlgError, match=r"at index \(3,\) .*; 2 of 70 failed"):
            function(items_of(a))


def test_small_matrices_in_lists_are_done_again(random, dtype):
    a = positive(random, (70, 4, 4), dtype) * dtype.type(2.0**-30)
    close(tarnm.inv(items_of(a)) * dtype.type(2.0**-30), numpy.linalg.inv(a.astype(float)) * 2.0**-30, dtype)
    q, r = tarnm.qr(items_of(a))
    close((q @ r) * dtype.type(2.0**30), a.astype(float) * 2.0**30, dtype)
    values = tarnm.eigvalsh(items_of(symmetric(random, (70, 4, 4), dtype)))
    assert values.shape == (70, 4)


def test_wrong_lists_raise(random, dtype):
    a = regular(random, (4, 3, 3), dtype)
    with pytest.raises(ValueError, match="tarnm.inv: a is an empty list"):
        tarnm.inv([])
    with pytest.raises(TypeError, match=r"a\[1\] must be an array of float32 or float64, not int"):
        tarnm.inv([a[0], 1])
    with pytest.raises(TypeError, match=r"a\[1\] .*int64"):
        tarnm.inv([a[0], a[0].astype(numpy.int64)])
    with pytest.raises(ValueError, match=r"a\[2\] has shape \(2, 2\), a\[0\] has shape \(3, 3\)"):
        tarnm.inv([a[0], a[1], a[2, :2, :2]])
    with pytest.raises(ValueError, match=r"a\[0\] with shape \(4, 3, 3\) must have 2 axes, as an item of a list"):
        tarnm.inv([a])
    with pytest.raises(ValueError, match="do not broadcast"):
        tarnm.matmul(items_of(a), items_of(a[:3]))
    with pytest.raises(ValueError, match="differ in shape"):
        tarnm.add(items_of(a), items_of(a[..., :2]))
    with pytest.raises(ValueError, match="result has shape"):
        tarnm.inv(items_of(a), out=items_of(a[:3]))
    mixed = [a[0].copy(), numpy.asfortranarray(a[1]), a[2][::-1]]
    close(tarnm.inv(mixed), numpy.linalg.inv(numpy.stack(mixed).astype(float)), dtype)
    with pytest.raises(ValueError, match="copy=False forbids"):
        tarnm.inv(mixed, copy=False)
