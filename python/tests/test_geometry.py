"""The geometry kit against the same in double precision."""

import numpy
import pytest

import tarnm
from support import close
from tarnm import geometry

SINGLE = numpy.dtype(numpy.float32)


def single(*shape, seed=3):
    return numpy.random.default_rng(seed).uniform(-1, 1, shape).astype(SINGLE)


def homogeneous(v, last):
    v = v.astype(float)
    if v.shape[-1] == 2:
        v = numpy.concatenate([v, numpy.zeros(v.shape[:-1] + (1,))], -1)
    return numpy.concatenate([v, numpy.full(v.shape[:-1] + (1,), last)], -1)


def test_builders():
    point = numpy.array([[1, 2, 3]], SINGLE)
    close(geometry.transform_point(geometry.translation(4, 5, 6), point), numpy.array([[5, 7, 9.0]]), SINGLE)
    close(geometry.transform_point(geometry.scaling(4, 5, 6), point), numpy.array([[4, 10, 18.0]]), SINGLE)
    angle = 0.3
    close(geometry.rotation((0, 0, 1), angle), geometry.rotation_z(angle).astype(float), SINGLE)
    close(geometry.rotation_z(angle)[:2, :2], numpy.array([[numpy.cos(angle), numpy.sin(angle)], [-numpy.sin(angle), numpy.cos(angle)]]), SINGLE)
    for m in (geometry.rotation_x(angle), geometry.rotation_y(angle), geometry.rotation_yaw_pitch_roll(1, 2, 3)):
        close(m @ m.T, numpy.eye(4), SINGLE)
    assert geometry.is_identity(geometry.identity()) and not geometry.is_identity(geometry.rotation_x(0.1))


def test_views():
    for look_at, sign in ((geometry.look_at_lh, 1), (geometry.look_at_rh, -1)):
        view = look_at((1, 2, 3), (4, 6, 3), (0, 0, 1))
        seen = geometry.transform_point(view, numpy.array([[1, 2, 3], [4, 6, 3]], SINGLE))
        close(seen, numpy.array([[0, 0, 0], [0, 0, 5.0 * sign]]), SINGLE)


@pytest.mark.parametrize("place", [lambda v: v, lambda v: numpy.repeat(v, 2, axis=0)[::2], lambda v: v[::-1].copy()[::-1]])
@pytest.mark.parametrize("shape", [(20, 3), (3,), (2, 5, 3), (20, 2), (0, 3)], ids=str)
def test_transforms(shape, place):
    m, v = single(4, 4) + 2 * numpy.eye(4, dtype=SINGLE), place(single(*shape)) if shape != (3,) else single(3)
    m[:, 3] += numpy.array([0, 0, 0, 3], SINGLE)
    wide, size = m.astype(float), shape[-1]
    close(geometry.transform(m, v), homogeneous(v, 1) @ wide, SINGLE)
    moved = homogeneous(v, 1) @ wide
    close(geometry.transform_point(m, v), moved[..., :size] / moved[..., 3:], SINGLE, 1000)
    close(geometry.transform_direction(m, v), (homogeneous(v, 0) @ wide)[..., :size], SINGLE)
    if size == 3:
        column = homogeneous(v, 1) @ wide.T
        close(geometry.transform_column(m, v), column[..., :3] / column[..., 3:], SINGLE, 1000)


def test_projection_and_back():
    projection = geometry.perspective_fov_rh(0.8, 1.5, 1, 100)
    view = geometry.look_at_rh((0, 0, 10), (0, 0, 0), (0, 1, 0))
    viewport = (640, 480, 0, 1)
    v = single(30, 3)
    seen = geometry.project(projection, view, geometry.identity(), viewport, v)
    close(geometry.unproject(projection, view, geometry.identity(), viewport, seen), v.astype(float), SINGLE, 5000)
    close(geometry.project(projection, view, geometry.identity(), viewport, numpy.zeros((1, 3), SINGLE))[:, :2],
          numpy.array([[320, 240.0]]), SINGLE)


def test_vectors():
    for size in (2, 3, 4):
        a, b, c, d = single(4, size)
        wide = a.astype(float)
        close(geometry.length(a), numpy.linalg.norm(wide), SINGLE)
        close(geometry.length_squared(a), (wide**2).sum(), SINGLE)
        close(geometry.normalized(a), wide / numpy.linalg.norm(wide), SINGLE)
        numpy.testing.assert_array_equal(geometry.larger(a, b), numpy.maximum(a, b))
        numpy.testing.assert_array_equal(geometry.smaller(a, b), numpy.minimum(a, b))
        close(geometry.interpolate(a, b, 0.25), wide + 0.25 * (b - wide), SINGLE)
        close(geometry.barycentric(a, b, c, 0.25, 0.5), wide + 0.25 * (b - wide) + 0.5 * (c - wide), SINGLE)
        close(geometry.hermite(a, b, c, d, 0), wide, SINGLE)
        close(geometry.catmull_rom(a, b, c, d, 1), c.astype(float), SINGLE)


def of_points(threads=None, copy=True):
    """All functions of stacks of 3-vectors, as (function of points, elements of a result)."""
    m = single(4, 4) + 2 * numpy.eye(4, dtype=SINGLE)
    m[:, 3] = m[3, :] = (0, 0, 0, 1)
    one, viewport = geometry.identity(), (640, 480, 0, 1)
    options = {"threads": threads, "copy": copy}
    return [
        (lambda v, **out: geometry.transform(m, v, **out, **options), 4),
        (lambda v, **out: geometry.transform_point(m, v, **out, **options), 3),
        (lambda v, **out: geometry.transform_direction(m, v, **out, **options), 3),
        (lambda v, **out: geometry.transform_column(m, v, **out, **options), 3),
        (lambda v, **out: geometry.project(m, one, one, viewport, v, **out, **options), 3),
        (lambda v, **out: geometry.unproject(m, one, one, viewport, v, **out, **options), 3),
    ]


@pytest.fixture(params=range(6))
def points(request):
    """One of these functions without copies and with them, the elements of a result, points, and their results."""
    function, size = of_points(copy=False)[request.param]
    copying, _ = of_points()[request.param]
    v = single(6, 4, 3)
    return function, copying, size, v, function(v)


def test_points_in_any_place(points):
    function, copying, size, v, expected = points
    for lying in (v[:, :1], v[:1], v[2], v[2, 1], v[::2, 1], v[2:]):
        result = function(lying)
        assert result.shape == lying.shape[:-1] + (size,)
        numpy.testing.assert_array_equal(result, copying(lying.copy()))
    # Gaps between points, at one distance in all of the stack.
    wide = numpy.full((6, 4, 5), numpy.nan, SINGLE)
    wide[..., :3] = v
    numpy.testing.assert_array_equal(function(wide[..., :3]), expected)
    for lying in (v[::-1], v[..., ::-1], numpy.asfortranarray(v), v.transpose(1, 0, 2)):
        with pytest.raises(ValueError, match="v with shape .* would have to be copied, which copy=False forbids"):
            function(lying)
        numpy.testing.assert_array_equal(copying(lying), function(lying.copy()))


def test_results_of_points_in_any_place(points):
    function, copying, size, v, expected = points
    wide = numpy.zeros((6, 4, 7), SINGLE)
    for out in (numpy.zeros((6, 4, size), SINGLE), wide[..., 2 : 2 + size]):
        assert function(v, out=out) is out
        numpy.testing.assert_array_equal(out, expected)
    assert not wide[..., :2].any() and not wide[..., 2 + size :].any()
    for out in (numpy.zeros((6, 4, size), SINGLE)[::-1], numpy.zeros((6, size, 4), SINGLE).transpose(0, 2, 1)):
        with pytest.raises(ValueError, match="out with shape .* copy=False forbids"):
            function(v, out=out)
        assert copying(v, out=out) is out
        numpy.testing.assert_array_equal(out, expected)
    # Into the memory of points that are read later: from a copy of them.
    room = numpy.zeros(6 * 4 * 4 + 8, SINGLE)
    source, out = room[: 6 * 4 * 3].reshape(6, 4, 3), room[8 : 8 + 6 * 4 * size].reshape(6, 4, size)
    source[...] = v
    with pytest.raises(ValueError, match="shares memory with out"):
        function(source, out=out)
    numpy.testing.assert_array_equal(copying(source, out=out), expected)


@pytest.mark.parametrize("which", range(6))
def test_threads_of_a_call_for_points(which, monkeypatch):
    seen = []

    def watched(name):
        plain = getattr(geometry.raw, name)

        def call(*arguments):
            seen.append(tarnm.get_num_threads())
            return plain(*arguments)

        monkeypatch.setattr(geometry.raw, name, call)

    for name in ("AffineTransform_m4v3a", "AffineTransformCoord_m4v3a", "AffineTransformNormal_m4v3a", "AffineTransform3DH_mva",
                 "Project_m4v3a", "Unproject_m4v3a"):
        watched(f"tarnm{name}_32f")
    v, before = single(20000, 3), tarnm.get_num_threads()
    results = [of_points(threads)[which][0](v) for threads in (1, 3, None)]
    assert seen == [1, 3, before] and tarnm.get_num_threads() == before
    numpy.testing.assert_array_equal(results[0], results[1])
    with pytest.raises(ValueError, match="threads must be 1 or more"):
        of_points(0)[which][0](v)
    tarnm.set_num_threads(2)
    try:
        of_points(1)[which][0](v)
        assert tarnm.get_num_threads() == 2
    finally:
        tarnm.set_num_threads(0)


def test_matrices_in_any_place():
    a, b = single(4, 4), single(4, 4, seed=5)
    room = numpy.zeros((4, 9), SINGLE)
    for out in (room[:, 1::2], numpy.zeros((4, 4), SINGLE).T, numpy.zeros((4, 4), SINGLE)[::-1]):
        assert geometry.multiply(a, b, out=out) is out
        close(out, a.astype(float) @ b.astype(float), SINGLE)
        assert geometry.transpose(a, out=out) is out
        numpy.testing.assert_array_equal(out, a.T)
        assert geometry.translation(1, 2, 3, out=out) is out
        numpy.testing.assert_array_equal(out, geometry.translation(1, 2, 3))
    assert not room[:, ::2].any()
    x = a.copy()
    assert geometry.multiply(x, b, out=x) is x
    numpy.testing.assert_array_equal(x, geometry.multiply(a, b))
    v = single(3)
    spread = numpy.zeros(6, SINGLE)[::2]
    assert geometry.normalized(v, out=spread) is spread
    numpy.testing.assert_array_equal(spread, geometry.normalized(v))
    fixed = geometry.identity()
    fixed.flags.writeable = False
    with pytest.raises(ValueError, match="tarnm.geometry.multiply: out is read-only"):
        geometry.multiply(a, b, out=fixed)


def test_wrong_arguments_raise():
    m, v = geometry.identity(), single(5, 3)
    with pytest.raises(TypeError, match="tarnm.geometry.transform: v must be an array of float32, not of float64"):
        geometry.transform(m, v.astype(float))
    with pytest.raises(ValueError, match=r"tarnm.geometry.transform: m must have shape \(4, 4\)"):
        geometry.transform(m[:3], v)
    with pytest.raises(ValueError, match="2 or 3 elements along its last axis"):
        geometry.transform_point(m, single(5, 4))
    with pytest.raises(ValueError, match="out has shape"):
        geometry.transform(m, v, out=numpy.empty((5, 3), SINGLE))
    with pytest.raises(ValueError, match="axis must be one vector of 3 elements"):
        geometry.rotation((1, 2), 0.5)
