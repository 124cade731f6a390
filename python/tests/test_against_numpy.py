"""Every function against NumPy in double precision, over sizes, stacks and ways to lie in memory."""

import itertools

import numpy
import pytest

import tarnm
from support import PLACES, close, positive, regular, stack_of, symmetric

STACKS = [(), (1,), (5,), (70,), (2, 3), (0,), (4, 0, 2)]
ORDERS = [1, 2, 3, 4, 5, 6, 7, 9]


def wide(a):
    return a.astype(numpy.float64)


@pytest.mark.parametrize("stack", STACKS, ids=str)
@pytest.mark.parametrize("sizes", [(3, 3, 3), (4, 4, 4), (6, 6, 6), (2, 5, 3), (1, 4, 7)], ids=str)
def test_matmul(random, dtype, stack, sizes):
    m, k, n = sizes
    a, b = stack_of(random, stack + (m, k), dtype), stack_of(random, stack + (k, n), dtype)
    product = tarnm.matmul(a, b)
    assert product.dtype == dtype
    close(product, wide(a) @ wide(b), dtype)


@pytest.mark.parametrize("place", PLACES, ids=lambda f: f.__name__)
@pytest.mark.parametrize("stack", [(), (70,), (2, 3)], ids=str)
def test_matmul_in_any_place(random, dtype, place, stack):
    a, b = stack_of(random, stack + (3, 4), dtype), stack_of(random, stack + (4, 5), dtype)
    close(tarnm.matmul(place(a), place(b)), wide(a) @ wide(b), dtype)
    close(tarnm.matmul(a, place(b)), wide(a) @ wide(b), dtype)


@pytest.mark.parametrize(
    "left, right",
    [((), (9,)), ((9,), ()), ((1,), (9,)), ((4, 1), (1, 9)), ((4, 1), (9,)), ((2, 1, 3), (5, 1)), ((2, 3), (3,))],
    ids=str,
)
def test_stacks_broadcast(random, dtype, left, right):
    a, b = stack_of(random, left + (3, 3), dtype), stack_of(random, right + (3, 3), dtype)
    close(tarnm.matmul(a, b), wide(a) @ wide(b), dtype)
    close(tarnm.add(a, b), wide(a) + wide(b), dtype)
    close(tarnm.subtract(a, b), wide(a) - wide(b), dtype)
    # With one axis less than a, the right side would be vectors.
    right = (1,) * (len(left) - len(right)) + right
    a, x = regular(random, left + (3, 3), dtype), stack_of(random, right + (3, 2), dtype)
    close(tarnm.solve(a, x), numpy.linalg.solve(wide(a), wide(x)), dtype)


def test_matmul_with_vectors(random, dtype):
    a, x = stack_of(random, (7, 3, 4), dtype), stack_of(random, (4,), dtype)
    y = stack_of(random, (3,), dtype)
    close(tarnm.matmul(a, x), wide(a) @ wide(x), dtype)
    close(tarnm.matmul(y, a), wide(y) @ wide(a), dtype)
    close(tarnm.matmul(x, x), wide(x) @ wide(x), dtype)


@pytest.mark.parametrize("place", PLACES, ids=lambda f: f.__name__)
@pytest.mark.parametrize("stack", [(), (70,), (2, 3)], ids=str)
def test_matvec(random, dtype, place, stack):
    a, x = stack_of(random, stack + (3, 4), dtype), stack_of(random, stack + (4,), dtype)
    expected = numpy.einsum("...ij,...j->...i", wide(a), wide(x))
    close(tarnm.matvec(place(a), place(x)), expected, dtype)


@pytest.mark.parametrize("place", PLACES, ids=lambda f: f.__name__)
@pytest.mark.parametrize("stack", STACKS, ids=str)
@pytest.mark.parametrize("size", [1, 2, 3, 4, 6, 17])
def test_dot_and_norm(random, dtype, place, stack, size):
    a, b = stack_of(random, stack + (size,), dtype), stack_of(random, stack + (size,), dtype)
    close(tarnm.dot(place(a), place(b)), (wide(a) * wide(b)).sum(-1), dtype)
    close(tarnm.norm(place(a)), numpy.sqrt((wide(a) ** 2).sum(-1)), dtype)


@pytest.mark.parametrize("place", PLACES, ids=lambda f: f.__name__)
@pytest.mark.parametrize("stack", [(), (70,), (2, 3), (0,)], ids=str)
def test_cross(random, dtype, place, stack):
    a, b = stack_of(random, stack + (3,), dtype), stack_of(random, stack + (3,), dtype)
    close(tarnm.cross(place(a), place(b)), numpy.cross(wide(a), wide(b)), dtype)


@pytest.mark.parametrize("place", PLACES, ids=lambda f: f.__name__)
@pytest.mark.parametrize("shape", [(3,), (70, 3), (70, 3, 4), (2, 3, 4, 4), (0, 3)], ids=str)
def test_elementwise(random, dtype, place, shape):
    a, b = stack_of(random, shape, dtype), stack_of(random, shape, dtype)
    x, y = place(a), place(b)
    numpy.testing.assert_array_equal(tarnm.add(x, y), a + b)
    numpy.testing.assert_array_equal(tarnm.subtract(x, y), a - b)
    c = dtype.type(0.75)
    numpy.testing.assert_array_equal(tarnm.add(x, c), a + c)
    numpy.testing.assert_array_equal(tarnm.add(0.75, y), c + b)
    numpy.testing.assert_array_equal(tarnm.subtract(x, 0.75), a - c)
    numpy.testing.assert_array_equal(tarnm.subtract(0.75, y), c - b)
    numpy.testing.assert_array_equal(tarnm.scale(x, 0.75), a * c)


@pytest.mark.parametrize("left, right", [((4, 3), (3,)), ((5, 4, 3), (4, 1)), ((4, 1), (1, 3)), ((5, 3, 3), (3,))], ids=str)
def test_elementwise_broadcasts_within_objects(random, dtype, left, right):
    a, b = stack_of(random, left, dtype), stack_of(random, right, dtype)
    numpy.testing.assert_array_equal(tarnm.add(a, b), a + b)
    numpy.testing.assert_array_equal(tarnm.subtract(b, a), b - a)


@pytest.mark.parametrize("order", ORDERS)
@pytest.mark.parametrize("stack", STACKS, ids=str)
def test_functions_of_square_matrices(random, dtype, stack, order):
    a = regular(random, stack + (order, order), dtype)
    close(tarnm.trace(a), numpy.trace(wide(a), axis1=-2, axis2=-1), dtype)
    close(tarnm.det(a), numpy.linalg.det(wide(a)), dtype)
    close(tarnm.inv(a), numpy.linalg.inv(wide(a)), dtype)
    numpy.testing.assert_array_equal(tarnm.transpose(a), numpy.swapaxes(a, -1, -2))


@pytest.mark.parametrize("place", PLACES, ids=lambda f: f.__name__)
@pytest.mark.parametrize("stack", [(), (70,), (2, 3)], ids=str)
@pytest.mark.parametrize("order", [3, 4, 7])
def test_functions_in_any_place(random, dtype, place, stack, order):
    a = regular(random, stack + (order, order), dtype)
    b = stack_of(random, stack + (order, 2), dtype)
    p = positive(random, stack + (order, order), dtype)
    close(tarnm.trace(place(a)), numpy.trace(wide(a), axis1=-2, axis2=-1), dtype)
    close(tarnm.det(place(a)), numpy.linalg.det(wide(a)), dtype)
    close(tarnm.inv(place(a)), numpy.linalg.inv(wide(a)), dtype)
    close(tarnm.solve(place(a), place(b)), numpy.linalg.solve(wide(a), wide(b)), dtype)
    close(tarnm.cholesky(place(p)), numpy.linalg.cholesky(wide(p)), dtype, 1000)
    close(tarnm.cholesky_solve(place(tarnm.cholesky(p)), place(b)), numpy.linalg.solve(wide(p), wide(b)), dtype, 1000)
    close(tarnm.eigvalsh(place(p)), numpy.linalg.eigvalsh(wide(p)), dtype)
    numpy.testing.assert_array_equal(tarnm.transpose(place(a)), numpy.swapaxes(a, -1, -2))


@pytest.mark.parametrize("order", ORDERS)
@pytest.mark.parametrize("stack", STACKS, ids=str)
def test_solve(random, dtype, stack, order):
    a = regular(random, stack + (order, order), dtype)
    b = stack_of(random, stack + (order, 3), dtype)
    expected = numpy.linalg.solve(wide(a), wide(b))
    close(tarnm.solve(a, b), expected, dtype)
    factors = tarnm.lu(a)
    close(tarnm.lu_solve(factors, b), expected, dtype)
    close(factors.p @ factors.l @ factors.u, wide(a), dtype)
    if stack:
        vector = numpy.linalg.solve(wide(a), wide(b[..., :1]))[..., 0]
        close(tarnm.solve(a, b[..., 0]), vector, dtype)
        close(factors.solve(b[..., 0]), vector, dtype)


def test_one_matrix_serves_many_right_sides(random, dtype):
    a, b = regular(random, (4, 4), dtype), stack_of(random, (50, 4, 2), dtype)
    p = positive(random, (4, 4), dtype)
    close(tarnm.solve(a, b), numpy.linalg.solve(wide(a), wide(b)), dtype)
    close(tarnm.lu(a).solve(b), numpy.linalg.solve(wide(a), wide(b)), dtype)
    close(tarnm.cholesky_solve(tarnm.cholesky(p), b), numpy.linalg.solve(wide(p), wide(b)), dtype, 1000)
    close(tarnm.lstsq(a, b), numpy.linalg.solve(wide(a), wide(b)), dtype, 1000)


@pytest.mark.parametrize("order", ORDERS)
@pytest.mark.parametrize("stack", STACKS, ids=str)
def test_cholesky(random, dtype, stack, order):
    a = positive(random, stack + (order, order), dtype)
    lower = tarnm.cholesky(a)
    close(lower, numpy.linalg.cholesky(wide(a)), dtype, 1000)
    b = stack_of(random, stack + (order, 2), dtype)
    close(tarnm.cholesky_solve(lower, b), numpy.linalg.solve(wide(a), wide(b)), dtype, 1000)


def test_cholesky_reads_the_lower_triangle(random, dtype):
    a = positive(random, (5, 4, 4), dtype)
    spoiled = numpy.tril(a) + 100 * numpy.triu(numpy.ones((4, 4), dtype), 1)
    close(tarnm.cholesky(spoiled), numpy.linalg.cholesky(wide(a)), dtype, 1000)


@pytest.mark.parametrize("shape", [(1, 1), (3, 3), (4, 4), (5, 5), (6, 6), (5, 3), (7, 7), (4, 1)], ids=str)
@pytest.mark.parametrize("stack", STACKS, ids=str)
def test_qr(random, dtype, stack, shape):
    a = stack_of(random, stack + shape, dtype)
    q, r = tarnm.qr(a)
    assert q.shape == a.shape and r.shape == stack + (shape[1], shape[1])
    close(q @ r, wide(a), dtype)
    close(numpy.swapaxes(q, -1, -2) @ q, numpy.broadcast_to(numpy.eye(shape[1]), r.shape), dtype)
    numpy.testing.assert_array_equal(r, numpy.triu(r))
    close(numpy.abs(tarnm.qr_factor(a).r), numpy.abs(numpy.linalg.qr(wide(a))[1]), dtype)


@pytest.mark.parametrize("shape", [(3, 3), (6, 3), (5, 2), (9, 6)], ids=str)
@pytest.mark.parametrize("stack", [(), (5,), (70,), (2, 3)], ids=str)
def test_lstsq(random, dtype, stack, shape):
    a = stack_of(random, stack + shape, dtype) + 2 * numpy.eye(*shape, dtype=dtype)
    b = stack_of(random, stack + (shape[0], 2), dtype)
    expected = numpy.linalg.pinv(wide(a)) @ wide(b)
    close(tarnm.lstsq(a, b), expected, dtype, 2000)
    close(tarnm.qr_solve(tarnm.qr_factor(a), b), expected, dtype, 2000)
    if stack:
        close(tarnm.lstsq(a, b[..., 0]), expected[..., 0], dtype, 2000)


@pytest.mark.parametrize("order", ORDERS)
@pytest.mark.parametrize("stack", STACKS, ids=str)
def test_eigh(random, dtype, stack, order):
    a = symmetric(random, stack + (order, order), dtype)
    expected = numpy.linalg.eigvalsh(wide(a))
    close(tarnm.eigvalsh(a), expected, dtype, 500)
    values, vectors = tarnm.eigh(a)
    close(values, expected, dtype, 500)
    close(a @ vectors, wide(vectors) * wide(values)[..., None, :], dtype, 500)
    close(numpy.swapaxes(vectors, -1, -2) @ vectors, numpy.broadcast_to(numpy.eye(order), a.shape), dtype, 500)


@pytest.mark.parametrize("triangle", ["L", "U"])
def test_eigh_reads_one_triangle(random, dtype, triangle):
    a = random.uniform(-1, 1, (20, 4, 4)).astype(dtype)
    close(tarnm.eigvalsh(a, UPLO=triangle), numpy.linalg.eigvalsh(wide(a), UPLO=triangle), dtype)
    close(tarnm.eigh(a, triangle)[0], numpy.linalg.eigh(wide(a), triangle)[0], dtype)


def sorted_values(values):
    values = numpy.asarray(values, dtype=numpy.complex128)
    order = numpy.lexsort((values.imag.round(3), values.real.round(3)))
    return numpy.take_along_axis(values, order, -1)


@pytest.mark.parametrize("order", [1, 2, 3, 4, 6, 7])
@pytest.mark.parametrize("stack", STACKS, ids=str)
def test_eigvals(random, dtype, stack, order):
    a = stack_of(random, stack + (order, order), dtype)
    values = tarnm.eigvals(a)
    assert values.shape == stack + (order,)
    close(sorted_values(values), sorted_values(numpy.linalg.eigvals(wide(a))), dtype, 5000)


def test_eigvals_are_real_where_all_are(random, dtype):
    a = symmetric(random, (20, 3, 3), dtype)
    assert tarnm.eigvals(a).dtype == dtype
    assert tarnm.eig(a)[0].dtype == dtype and tarnm.eig(a)[1].dtype == dtype
    turn = numpy.array([[0, -1], [1, 0]], dtype)
    assert tarnm.eigvals(turn).dtype == numpy.result_type(dtype, numpy.complex64)
    close(sorted_values(tarnm.eigvals(turn)), numpy.array([-1j, 1j]), dtype)


@pytest.mark.parametrize("order", [1, 2, 3, 4, 6, 7])
@pytest.mark.parametrize("stack", STACKS, ids=str)
def test_eig(random, dtype, stack, order):
    a = stack_of(random, stack + (order, order), dtype)
    values, left, right = tarnm.eig(a, left=True)
    close(wide(a) @ right, right.astype(numpy.complex128) * values[..., None, :], dtype, 5000)
    conjugate = numpy.conj(numpy.swapaxes(left, -1, -2)).astype(numpy.complex128)
    close(conjugate @ wide(a), values[..., :, None] * conjugate, dtype, 5000)
    for vectors in (left, right):
        close(numpy.linalg.norm(vectors, axis=-2), numpy.ones(stack + (order,)), dtype)
    alone, vectors = tarnm.eig(a)
    numpy.testing.assert_array_equal(alone, values)
    close(wide(a) @ vectors, vectors.astype(numpy.complex128) * alone[..., None, :], dtype, 5000)
    alone, vectors = tarnm.eig(a, left=True, right=False)
    close(numpy.conj(numpy.swapaxes(vectors, -1, -2)) @ a, conjugate @ wide(a), dtype, 5000)


@pytest.fixture
def narrow_vectors():
    """Eliminations with the vectors of the baseline, on processors that have wider ones too."""

    def of(function, *arguments, **options):
        tarnm._tarnm._use_wide_vectors(False)
        try:
            return function(*arguments, **options)
        finally:
            tarnm._tarnm._use_wide_vectors(True)

    return of


@pytest.mark.parametrize("place", PLACES, ids=lambda f: f.__name__)
@pytest.mark.parametrize("order", [2, 3, 4, 5, 6, 7])
@pytest.mark.parametrize("count", [1, 3, 8, 16, 75, 3000])
def test_eliminations_have_the_same_bits_in_all_vectors(random, dtype, narrow_vectors, place, order, count):
    a, p = place(regular(random, (count, order, order), dtype)), place(positive(random, (count, order, order), dtype))
    b = place(stack_of(random, (count, order), dtype))
    x, lower = tarnm.solve(a, b), tarnm.cholesky(p)
    close(x, numpy.linalg.solve(wide(a), wide(b)), dtype)
    close(lower, numpy.linalg.cholesky(wide(p)), dtype, 1000)
    numpy.testing.assert_array_equal(narrow_vectors(tarnm.solve, a, b), x)
    numpy.testing.assert_array_equal(narrow_vectors(tarnm.cholesky, p), lower)
    for out in (place(numpy.zeros((count, order), dtype)), numpy.zeros((order, count), dtype).T):
        numpy.testing.assert_array_equal(tarnm.solve(a, b, out=out), x)
        numpy.testing.assert_array_equal(narrow_vectors(tarnm.solve, a, b, out=out), x)
    for out in (place(numpy.zeros((count, order, order), dtype)), numpy.zeros((order, order, count), dtype).transpose(2, 0, 1)):
        numpy.testing.assert_array_equal(tarnm.cholesky(p, out=out), lower)
        numpy.testing.assert_array_equal(narrow_vectors(tarnm.cholesky, p, out=out), lower)
    numpy.testing.assert_array_equal(numpy.triu(lower, 1), numpy.zeros_like(lower))


@pytest.mark.parametrize("order", [3, 4, 5, 6])
@pytest.mark.parametrize("is_wide", [True, False], ids=["wide", "narrow"])
def test_pivots_in_every_place(dtype, narrow_vectors, order, is_wide):
    """Every permutation matrix, scaled row by row: each step finds its pivot in another row."""
    rows = numpy.array(list(itertools.permutations(range(order))))
    a = (numpy.eye(order)[rows] * numpy.arange(2, order + 2)[:, None]).astype(dtype)
    b = numpy.arange(1, order + 1, dtype=dtype) * numpy.ones((len(a), 1), dtype)
    x = tarnm.solve(a, b) if is_wide else narrow_vectors(tarnm.solve, a, b)
    close(x, numpy.linalg.solve(wide(a), wide(b)), dtype, 4)


@pytest.mark.parametrize("order", [3, 4, 5, 6])
@pytest.mark.parametrize("at", [0, 1, 7, 8, 15, 16, 40])
def test_one_matrix_that_fails_among_others(random, dtype, narrow_vectors, order, at):
    """Zero in any step of the elimination: the failure is found, and does not spread."""
    for step in range(order):
        p = positive(random, (41, order, order), dtype)
        a, b = regular(random, (41, order, order), dtype), stack_of(random, (41, order), dtype)
        good = numpy.delete(numpy.arange(41), at)
        p[at, step], p[at, :, step] = 0, 0
        a[at, :, step] = 0
        for function, arguments, status in ((tarnm.cholesky, (p,), tarnm.Status.NOT_POSITIVE_DEFINITE),
                                            (tarnm.solve, (a, b), tarnm.Status.SINGULAR)):
            for result, statuses in (function(*arguments, errors="return"), narrow_vectors(function, *arguments, errors="return")):
                assert statuses[at] == status and not statuses[good].any()
                close(result[good], function(*(each[good] for each in arguments)), dtype, 1000)


@pytest.mark.parametrize("order", [3, 4, 5, 6])
def test_factors_of_matrices_that_are_nearly_singular(dtype, order):
    """Small pivots beside large ones, at scales from one end of the range to the other."""
    eps, largest = numpy.finfo(dtype).eps, numpy.finfo(dtype).maxexp
    lower = numpy.tril(numpy.ones((order, order), dtype))
    lower[-1, -1] = 64 * numpy.sqrt(eps)
    p = lower @ lower.T
    for exponent in (-largest // 2, -40, 0, 40, largest // 2):
        close(tarnm.cholesky(p * dtype.type(4.0**(exponent // 2))) / dtype.type(2.0**(exponent // 2)), numpy.linalg.cholesky(wide(p)),
              dtype, 1000)
    p[-1, -1] -= 1
    with pytest.raises(numpy.linalg.LinAlgError):
        tarnm.cholesky(p)
