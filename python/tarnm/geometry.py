"""The geometry kit in single precision: 4 x 4 matrices of transforms, views and projections, points, curves.

A point is a row to the left of a matrix, and a translation stands in the last row: p' = (p, 1) @ m. transform_column() alone
takes points as columns. Angles are radians. Matrices are arrays of shape (4, 4), points and vectors arrays whose last axis
has 2, 3 or 4 elements, all of float32; single vectors may be given as any sequence of numbers.

identity, translation, scaling, rotation_x, rotation_y, rotation_z, rotation, rotation_yaw_pitch_roll
look_at_lh, look_at_rh, orthographic_lh, orthographic_rh, perspective_lh, perspective_rh, perspective_fov_lh,
perspective_fov_rh, and with the edges of the volume orthographic_off_center_lh and so on
is_identity, multiply, multiply_transposed, transpose
transform, transform_point, transform_direction, transform_column, project, unproject, for stacks of points
length, length_squared, normalized, larger, smaller, interpolate, barycentric, hermite, catmull_rom, for one vector

The functions for stacks of points take out, threads and copy as those of the package do. Points whose elements lie one behind
the other, at any one distance from point to point, go through as they lie.
"""

import numpy

from . import _tarnm, raw

_SINGLE = numpy.dtype(numpy.float32)


def _fail(kind, function, reason):
    raise kind(f"tarnm.geometry.{function}: {reason}")


def _check_out(function, shape, out):
    if not isinstance(out, numpy.ndarray) or out.dtype != _SINGLE:
        _fail(TypeError, function, "out must be an array of float32")
    if out.shape != shape:
        _fail(ValueError, function, f"out has shape {out.shape}, the result has shape {shape}")
    if not out.flags.writeable:
        _fail(ValueError, function, "out is read-only")


def _written(function, shape, out, write):
    """What write(result) writes into packed memory: that of out, or new memory, which is copied to out where out has gaps."""
    if out is not None:
        _check_out(function, shape, out)
    packed = out is not None and out.flags.c_contiguous
    result = out if packed else numpy.empty(shape, _SINGLE)
    write(result)
    if out is None or packed:
        return result
    out[...] = result
    return out


def _matrix(function, name, m):
    m = numpy.asarray(m)
    if m.dtype != _SINGLE:
        _fail(TypeError, function, f"{name} must be an array of float32, not of {m.dtype}")
    if m.shape != (4, 4):
        _fail(ValueError, function, f"{name} must have shape (4, 4), not {m.shape}")
    return numpy.ascontiguousarray(m)


def _vector(function, name, v, sizes=(2, 3, 4)):
    if isinstance(v, numpy.ndarray) and v.dtype != _SINGLE:
        _fail(TypeError, function, f"{name} must be of float32, not of {v.dtype}")
    v = numpy.ascontiguousarray(v, dtype=_SINGLE)
    if v.ndim != 1 or v.size not in sizes:
        _fail(ValueError, function, f"{name} must be one vector of {' or '.join(map(str, sizes))} elements, its shape is {v.shape}")
    return v


# ---- matrices


def _built(name, function, *numbers, out):
    return _written(function, (4, 4), out, lambda m: getattr(raw, name)(*numbers, m))


def identity(*, out=None):
    """The identity."""
    return _built("tarnmIdentity_m4_32f", "identity", out=out)


def translation(x, y, z, *, out=None):
    """The matrix that moves points by (x, y, z)."""
    return _built("tarnmTranslation_m4_32f", "translation", x, y, z, out=out)


def scaling(x, y, z, *, out=None):
    """The matrix that scales along the axes."""
    return _built("tarnmScaling_m4_32f", "scaling", x, y, z, out=out)


def rotation_x(angle, *, out=None):
    """The matrix of a rotation about the x axis by an angle in radians."""
    return _built("tarnmRotationX_m4_32f", "rotation_x", angle, out=out)


def rotation_y(angle, *, out=None):
    """The matrix of a rotation about the y axis by an angle in radians."""
    return _built("tarnmRotationY_m4_32f", "rotation_y", angle, out=out)


def rotation_z(angle, *, out=None):
    """The matrix of a rotation about the z axis by an angle in radians."""
    return _built("tarnmRotationZ_m4_32f", "rotation_z", angle, out=out)


def rotation(axis, angle, *, out=None):
    """The matrix of a rotation about an axis of 3 elements by an angle in radians."""
    return _built("tarnmRotationAxis_v3m4_32f", "rotation", _vector("rotation", "axis", axis, (3,)), angle, out=out)


def rotation_yaw_pitch_roll(yaw, pitch, roll, *, out=None):
    """The matrix of a rotation by three angles in radians."""
    return _built("tarnmRotationYawPitchRoll_m4_32f", "rotation_yaw_pitch_roll", yaw, pitch, roll, out=out)


def _look_at(name, function, eye, at, up, out):
    eye, at, up = (_vector(function, n, v, (3,)) for n, v in (("eye", eye), ("at", at), ("up", up)))
    return _built(name, function, eye, at, up, out=out)


def look_at_lh(eye, at, up, *, out=None):
    """The view from `eye` towards `at`, left-handed."""
    return _look_at("tarnmLookAtLH_m4_32f", "look_at_lh", eye, at, up, out)


def look_at_rh(eye, at, up, *, out=None):
    """The view from `eye` towards `at`, right-handed."""
    return _look_at("tarnmLookAtRH_m4_32f", "look_at_rh", eye, at, up, out)


def orthographic_lh(width, height, z_near, z_far, *, out=None):
    """The orthographic projection of a volume of this width and height, left-handed."""
    return _built("tarnmOrthoLH_m4_32f", "orthographic_lh", width, height, z_near, z_far, out=out)


def orthographic_rh(width, height, z_near, z_far, *, out=None):
    """The orthographic projection of a volume of this width and height, right-handed."""
    return _built("tarnmOrthoRH_m4_32f", "orthographic_rh", width, height, z_near, z_far, out=out)


def orthographic_off_center_lh(left, right, bottom, top, z_near, z_far, *, out=None):
    """The orthographic projection of a volume with these edges, left-handed."""
    return _built("tarnmOrthoOffCenterLH_m4_32f", "orthographic_off_center_lh", left, right, bottom, top, z_near, z_far, out=out)


def orthographic_off_center_rh(left, right, bottom, top, z_near, z_far, *, out=None):
    """The orthographic projection of a volume with these edges, right-handed."""
    return _built("tarnmOrthoOffCenterRH_m4_32f", "orthographic_off_center_rh", left, right, bottom, top, z_near, z_far, out=out)


def perspective_lh(width, height, z_near, z_far, *, out=None):
    """The perspective projection with this width and height of the near plane, left-handed."""
    return _built("tarnmPerspectiveLH_m4_32f", "perspective_lh", width, height, z_near, z_far, out=out)


def perspective_rh(width, height, z_near, z_far, *, out=None):
    """The perspective projection with this width and height of the near plane, right-handed."""
    return _built("tarnmPerspectiveRH_m4_32f", "perspective_rh", width, height, z_near, z_far, out=out)


def perspective_off_center_lh(left, right, bottom, top, z_near, z_far, *, out=None):
    """The perspective projection with these edges of the near plane, left-handed."""
    return _built("tarnmPerspectiveOffCenterLH_m4_32f", "perspective_off_center_lh", left, right, bottom, top, z_near, z_far, out=out)


def perspective_off_center_rh(left, right, bottom, top, z_near, z_far, *, out=None):
    """The perspective projection with these edges of the near plane, right-handed."""
    return _built("tarnmPerspectiveOffCenterRH_m4_32f", "perspective_off_center_rh", left, right, bottom, top, z_near, z_far, out=out)


def perspective_fov_lh(fov_y, aspect, z_near, z_far, *, out=None):
    """The perspective projection with a vertical field of view in radians and width by height, left-handed."""
    return _built("tarnmPerspectiveFovLH_m4_32f", "perspective_fov_lh", fov_y, aspect, z_near, z_far, out=out)


def perspective_fov_rh(fov_y, aspect, z_near, z_far, *, out=None):
    """The perspective projection with a vertical field of view in radians and width by height, right-handed."""
    return _built("tarnmPerspectiveFovRH_m4_32f", "perspective_fov_rh", fov_y, aspect, z_near, z_far, out=out)


def is_identity(m):
    """Whether all elements of a matrix are those of the identity."""
    return bool((_matrix("is_identity", "m", m) == numpy.eye(4, dtype=_SINGLE)).all())


def _of_matrices(name, function, matrices, out):
    matrices = [_matrix(function, n, m) for n, m in matrices]

    def write(result):
        getattr(raw, name)(*(m.copy() if numpy.may_share_memory(m, result) else m for m in matrices), result)

    return _written(function, (4, 4), out, write)


def multiply(a, b, *, out=None):
    """a @ b: first a, then b, for points as rows."""
    return _of_matrices("tarnmMul_mm4x4_32f", "multiply", [("a", a), ("b", b)], out)


def multiply_transposed(a, b, *, out=None):
    """The transpose of a @ b."""
    return _of_matrices("tarnmMulTranspose_m4_32f", "multiply_transposed", [("a", a), ("b", b)], out)


def transpose(a, *, out=None):
    """The transpose of one matrix."""
    return _of_matrices("tarnmTranspose_m4_32f", "transpose", [("a", a)], out)


# ---- points


def _step_of(v):
    """The distance in bytes from point to point, or None where the points cannot go through as they lie."""
    if v.shape[-1] > 1 and v.strides[-1] != 4:
        return None
    step, count = 4 * v.shape[-1], 1
    for size, stride in zip(reversed(v.shape[:-1]), reversed(v.strides[:-1])):
        if size == 1:
            continue
        if count > 1 and stride != step * count:
            return None
        step = step if count > 1 else stride
        count *= size
    return step if 4 <= step < 2**31 and step % 4 == 0 else None


def _points(function, v, sizes, copy):
    if not isinstance(v, numpy.ndarray):
        _fail(TypeError, function, f"v must be an array of float32, not {type(v).__name__}")
    if v.dtype != _SINGLE:
        _fail(TypeError, function, f"v must be an array of float32, not of {v.dtype}")
    if v.ndim < 1 or v.shape[-1] not in sizes:
        _fail(ValueError, function, f"v must have {' or '.join(map(str, sizes))} elements along its last axis, its shape is {v.shape}")
    if v.size > 0 and _step_of(v) is None:
        if not copy:
            _fail(ValueError, function, f"v with shape {v.shape} would have to be copied, which copy=False forbids")
        return numpy.ascontiguousarray(v)
    return v


def _moved(function, v, sizes, size, call, out, threads, copy):
    """Results of `size` elements for a stack of points: call(points, step, results, step, count)."""
    v = _points(function, v, sizes, copy)
    shape = v.shape[:-1] + (size or v.shape[-1],)
    result = out
    if out is not None:
        _check_out(function, shape, out)
        if numpy.may_share_memory(out, v):
            if not copy:
                _fail(ValueError, function, "v shares memory with out and would have to be copied, which copy=False forbids")
            v = v.copy()
        if out.size > 0 and _step_of(out) is None:
            if not copy:
                _fail(ValueError, function, f"out with shape {shape} would have to be written by a copy, which copy=False forbids")
            result = None
    if result is None:
        result = numpy.empty(shape, _SINGLE)
    count = int(numpy.prod(shape[:-1], dtype=int))
    with _tarnm._Threads(threads):
        if count > 0:
            call(v, _step_of(v), result, _step_of(result), count)
    if out is None or out is result:
        return result
    out[...] = result
    return out


def _transformed(name, function, m, v, sizes, size, out, threads, copy):
    m = _matrix(function, "m", m)

    def call(v, step, result, result_step, count):
        getattr(raw, f"tarnm{name}_m4v{v.shape[-1]}a_32f")(m, v, step, result, result_step, count)

    return _moved(function, v, sizes, size, call, out, threads, copy)


def transform(m, v, *, out=None, threads=None, copy=True):
    """(v, 0, 1) @ m, (v, 1) @ m or v @ m for points of 2, 3 or 4 elements; the result has 4."""
    return _transformed("AffineTransform", "transform", m, v, (2, 3, 4), 4, out, threads, copy)


def transform_point(m, v, *, out=None, threads=None, copy=True):
    """(v, 1) @ m divided by its fourth element, for points of 2 or 3 elements."""
    return _transformed("AffineTransformCoord", "transform_point", m, v, (2, 3), None, out, threads, copy)


def transform_direction(m, v, *, out=None, threads=None, copy=True):
    """(v, 0) @ m for directions of 2 or 3 elements."""
    return _transformed("AffineTransformNormal", "transform_direction", m, v, (2, 3), None, out, threads, copy)


def transform_column(m, v, *, out=None, threads=None, copy=True):
    """m @ (v, 1) divided by its fourth element, for points of 3 elements.

    A point whose fourth element is zero gives the largest numbers of float32.
    """
    m = _matrix("transform_column", "m", m)

    def call(v, step, result, result_step, count):
        raw.tarnmAffineTransform3DH_mva_32f(m, 16, 4, v, step, 4, result, result_step, 4, count)

    return _moved("transform_column", v, (3,), None, call, out, threads, copy)


def _viewport(function, viewport):
    try:
        width, height, z_min, z_max = viewport
    except (TypeError, ValueError):
        _fail(ValueError, function, "viewport must be (width, height, z_min, z_max)")
    return width, height, z_min, z_max


def project(projection, view, world, viewport, v, *, out=None, threads=None, copy=True):
    """Points of 3 elements from object space to the viewport (width, height, z_min, z_max), whose y axis runs downwards."""
    matrices = [_matrix("project", n, m) for n, m in (("projection", projection), ("view", view), ("world", world))]
    numbers = _viewport("project", viewport)

    def call(v, step, result, result_step, count):
        raw.tarnmProject_m4v3a_32f(*matrices, v, step, *numbers, result, result_step, count)

    return _moved("project", v, (3,), None, call, out, threads, copy)


def unproject(projection, view, world, viewport, v, *, out=None, threads=None, copy=True):
    """Points of 3 elements from the viewport (width, height, z_min, z_max) back to object space."""
    matrices = [_matrix("unproject", n, m) for n, m in (("projection", projection), ("view", view), ("world", world))]
    numbers = _viewport("unproject", viewport)
    status = 0

    def call(v, step, result, result_step, count):
        nonlocal status
        status = raw.tarnmUnproject_m4v3a_32f(*matrices, v, step, *numbers, result, result_step, count)

    result = _moved("unproject", v, (3,), None, call, out, threads, copy)
    if status != 0:
        _fail(numpy.linalg.LinAlgError, "unproject", f"the product of the matrices has no inverse (status {status})")
    return result


# ---- one vector


def _of_vectors(name, function, vectors, numbers, out):
    vectors = [_vector(function, n, v) for n, v in vectors]
    size = vectors[0].size
    if any(v.size != size for v in vectors):
        _fail(ValueError, function, "vectors differ in length")
    return _written(function, (size,), out, lambda result: getattr(raw, f"tarnm{name}_v{size}_32f")(*vectors, *numbers, result))


def _number_of(name, function, v):
    v = _vector(function, "v", v)
    result = numpy.empty(1, _SINGLE)
    getattr(raw, f"tarnm{name}_v{v.size}_32f")(v, result)
    return result[0]


def length(v):
    """The length of a vector of 2, 3 or 4 elements."""
    return _number_of("Len", "length", v)


def length_squared(v):
    """The square of the length of a vector of 2, 3 or 4 elements."""
    return _number_of("LenSqr", "length_squared", v)


def normalized(v, *, out=None):
    """v divided by its length."""
    return _of_vectors("Normalize", "normalized", [("v", v)], (), out)


def larger(a, b, *, out=None):
    """The larger element of each pair."""
    return _of_vectors("Max", "larger", [("a", a), ("b", b)], (), out)


def smaller(a, b, *, out=None):
    """The smaller element of each pair."""
    return _of_vectors("Min", "smaller", [("a", a), ("b", b)], (), out)


def interpolate(a, b, t, *, out=None):
    """a + t * (b - a)"""
    return _of_vectors("InterpolationLinear", "interpolate", [("a", a), ("b", b)], (t,), out)


def barycentric(a, b, c, f, g, *, out=None):
    """a + f * (b - a) + g * (c - a)"""
    return _of_vectors("BaryCentric", "barycentric", [("a", a), ("b", b), ("c", c)], (f, g), out)


def hermite(start, start_tangent, end, end_tangent, t, *, out=None):
    """The point at t, from 0 to 1, on the curve from `start` to `end` with these tangents there."""
    vectors = [("start", start), ("start_tangent", start_tangent), ("end", end), ("end_tangent", end_tangent)]
    return _of_vectors("Hermite", "hermite", vectors, (t,), out)


def catmull_rom(a, b, c, d, t, *, out=None):
    """The point at t, from 0 to 1, on the curve from b to c through a, b, c and d."""
    return _of_vectors("InterpolationCatmullRom", "catmull_rom", [("a", a), ("b", b), ("c", c), ("d", d)], (t,), out)
