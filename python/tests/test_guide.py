"""The jobs that the guide shows."""

import numpy

import tarnm
from support import close, positive


def test_normals_of_a_cloud(random):
    normal = numpy.array([1, 2, 2]) / 3
    cloud = random.uniform(-1, 1, (50, 12, 3))
    cloud -= (cloud @ normal)[..., None] * normal * 0.999
    neighbours = cloud.astype(numpy.float32)
    offsets = neighbours - neighbours.mean(axis=1, keepdims=True)
    covariance = tarnm.matmul(numpy.swapaxes(offsets, 1, 2), offsets)
    values, vectors = tarnm.eigh(covariance)
    assert (numpy.abs(vectors[:, :, 0] @ normal) > 0.999).all()


def test_a_bank_of_filters(random):
    count, states, measurements = 40, 6, 3
    f = numpy.eye(states) + 0.1 * random.uniform(-1, 1, (states, states))
    h = random.uniform(-1, 1, (measurements, states))
    q, r = 0.1 * numpy.eye(states), 0.2 * numpy.eye(measurements)
    x, z = random.uniform(-1, 1, (count, states)), random.uniform(-1, 1, (count, measurements))
    p = positive(random, (count, states, states), float)

    predicted = x @ f.T
    spread = f @ p @ f.T + q
    gain = spread @ h.T @ numpy.linalg.inv(h @ spread @ h.T + r)
    expected_x = predicted + numpy.einsum("nij,nj->ni", gain, z - predicted @ h.T)
    expected_p = spread - gain @ h @ spread

    x = tarnm.matvec(f, x)
    p = tarnm.add(tarnm.matmul(tarnm.matmul(f, p), f.T), q)
    s = tarnm.add(tarnm.matmul(tarnm.matmul(h, p), h.T), r)
    lower, statuses = tarnm.cholesky(s, errors="return")
    assert not statuses.any()
    gain_t = tarnm.cholesky_solve(lower, tarnm.matmul(h, p))
    innovation = tarnm.subtract(z, tarnm.matvec(h, x))
    x = tarnm.add(x, tarnm.matvec(numpy.swapaxes(gain_t, 1, 2), innovation))
    p = tarnm.subtract(p, tarnm.matmul(numpy.swapaxes(gain_t, 1, 2), tarnm.matmul(h, p)))
    close(x, expected_x, numpy.dtype(float), 10000)
    close(p, expected_p, numpy.dtype(float), 10000)
