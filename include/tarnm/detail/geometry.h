// The geometry kit in single precision: vectors of 2 to 4 elements, 4 x 4 matrices, views, projections, curves.
//
//   vector2, vector3, vector4, matrix4        arrays; a matrix is written row by row
//   translation, scaling, rotation_x, rotation_y, rotation_z, rotation, rotation_yaw_pitch_roll
//   look_at_lh, look_at_rh, orthographic_lh, orthographic_rh, perspective_lh, perspective_rh, perspective_fov_lh,
//   perspective_fov_rh; with the edges of the volume: orthographic_lh, orthographic_rh, perspective_lh, perspective_rh
//   identity4, is_identity, multiply, multiply_transposed
//   transform, transform_point, transform_direction, transform_column, project, unproject
//   length, length_squared, normalized, larger, smaller
//   interpolate, barycentric, hermite, catmull_rom
//
// A point stands as a row to the left of a matrix, and a translation in the last row; transform_column() alone takes
// points as columns.
#ifndef TARNM_DETAIL_GEOMETRY_H
#define TARNM_DETAIL_GEOMETRY_H

#include <array>

#include "call.h"

namespace tarnm {

using vector2 = std::array<float, 2>;
using vector3 = std::array<float, 3>;
using vector4 = std::array<float, 4>;
using matrix4 = std::array<std::array<float, 4>, 4>;

struct viewport {
    float width = 1;
    float height = 1;
    float z_min = 0;
    float z_max = 1;
};

namespace detail {

inline const float* elements(const matrix4& m) { return m[0].data(); }
inline float* elements(matrix4& m) { return m[0].data(); }

// Builds a matrix by a function whose last argument is the result.
template <class Function, class... Arguments> matrix4 built(Function function, Arguments... arguments)
{
    matrix4 m;
    function(arguments..., elements(m));
    return m;
}

// The one of three functions for vectors of Size elements.
template <std::size_t Size, class F2, class F3, class F4> constexpr auto of_size(F2 two, F3 three, F4 four)
{
    static_assert(Size >= 2 && Size <= 4, "vectors of the geometry kit have 2, 3 or 4 elements");
    if constexpr (Size == 2)
        return two;
    else if constexpr (Size == 3)
        return three;
    else
        return four;
}

template <std::size_t Size, class Function, class... Arguments>
std::array<float, Size> computed(Function function, Arguments... arguments)
{
    std::array<float, Size> result;
    function(arguments..., result.data());
    return result;
}

template <class V>
concept float_vectors = vector_operand<V> && operand_type<V>::place ==
                        layout::strided&& std::same_as<typename operand_type<V>::value_type, float>;

template <class View> constexpr problem must_be_packed(const View& view, const char* name)
{
    if (view.element_stride() == sizeof(float)) return {};
    return {StatusBadStride, name, "element_stride", view.element_stride()};
}

// What transforms have in common: sizes are looked at when the program runs, since a view may have any.
template <class V, class D, class Options, class Single, class Many>
TARNM_DETAIL_INLINE auto transform_views(const char* function, const V& v, const D& d, problem shapes, Options options,
                                         Single single, Many many)
{
    static_assert(V::is_array == D::is_array, "the result is an array where the source is one");
    if (!shapes) shapes = first_of(must_be_packed(v, "v"), must_be_packed(d, "result"));
    const auto call = [&](const auto& v_, const auto& d_) -> tarnmStatus {
        if constexpr (V::is_array)
            return many(v_.columns(), v_.origin(), v_.object_stride(), d_.origin(), d_.object_stride(), v_.count());
        else
            return single(v_.columns(), v_.origin(), d_.origin());
    };
    return execute(function, shapes, call, options, named<V>{"v", v}, named<D>{"result", d});
}

template <class V> constexpr problem must_be_between(const V& v, std::ptrdiff_t least, std::ptrdiff_t most)
{
    if (v.columns() >= least && v.columns() <= most) return {};
    return {StatusSizeMismatch, "v", "size", v.columns()};
}

} // namespace detail

// ---- matrices

inline matrix4 identity4() { return detail::built(tarnmIdentity_m4_32f); }

inline matrix4 multiply(const matrix4& a, const matrix4& b)
{
    return detail::built(tarnmMul_mm4x4_32f, detail::elements(a), detail::elements(b));
}

// The transpose of a * b.
inline matrix4 multiply_transposed(const matrix4& a, const matrix4& b)
{
    return detail::built(tarnmMulTranspose_m4_32f, detail::elements(a), detail::elements(b));
}

inline matrix4 transpose(const matrix4& a) { return detail::built(tarnmTranspose_m4_32f, detail::elements(a)); }

// Whether all 16 elements are those of the identity. (The C function passes matrices with one right column.)
inline bool is_identity(const matrix4& m)
{
    for (std::size_t r = 0; r < 4; ++r)
        for (std::size_t c = 0; c < 4; ++c)
            if (m[r][c] != (r == c ? 1.0F : 0.0F)) return false;
    return true;
}

inline matrix4 translation(float x, float y, float z) { return detail::built(tarnmTranslation_m4_32f, x, y, z); }
inline matrix4 scaling(float x, float y, float z) { return detail::built(tarnmScaling_m4_32f, x, y, z); }

// Angles are radians.
inline matrix4 rotation_x(float angle) { return detail::built(tarnmRotationX_m4_32f, angle); }
inline matrix4 rotation_y(float angle) { return detail::built(tarnmRotationY_m4_32f, angle); }
inline matrix4 rotation_z(float angle) { return detail::built(tarnmRotationZ_m4_32f, angle); }
inline matrix4 rotation(const vector3& axis, float angle)
{
    return detail::built(tarnmRotationAxis_v3m4_32f, axis.data(), angle);
}
inline matrix4 rotation_yaw_pitch_roll(float yaw, float pitch, float roll)
{
    return detail::built(tarnmRotationYawPitchRoll_m4_32f, yaw, pitch, roll);
}

inline matrix4 look_at_lh(const vector3& eye, const vector3& at, const vector3& up)
{
    return detail::built(tarnmLookAtLH_m4_32f, eye.data(), at.data(), up.data());
}
inline matrix4 look_at_rh(const vector3& eye, const vector3& at, const vector3& up)
{
    return detail::built(tarnmLookAtRH_m4_32f, eye.data(), at.data(), up.data());
}

inline matrix4 orthographic_lh(float width, float height, float z_near, float z_far)
{
    return detail::built(tarnmOrthoLH_m4_32f, width, height, z_near, z_far);
}
inline matrix4 orthographic_rh(float width, float height, float z_near, float z_far)
{
    return detail::built(tarnmOrthoRH_m4_32f, width, height, z_near, z_far);
}
inline matrix4 orthographic_lh(float left, float right, float bottom, float top, float z_near, float z_far)
{
    return detail::built(tarnmOrthoOffCenterLH_m4_32f, left, right, bottom, top, z_near, z_far);
}
inline matrix4 orthographic_rh(float left, float right, float bottom, float top, float z_near, float z_far)
{
    return detail::built(tarnmOrthoOffCenterRH_m4_32f, left, right, bottom, top, z_near, z_far);
}
inline matrix4 perspective_lh(float width, float height, float z_near, float z_far)
{
    return detail::built(tarnmPerspectiveLH_m4_32f, width, height, z_near, z_far);
}
inline matrix4 perspective_rh(float width, float height, float z_near, float z_far)
{
    return detail::built(tarnmPerspectiveRH_m4_32f, width, height, z_near, z_far);
}
inline matrix4 perspective_lh(float left, float right, float bottom, float top, float z_near, float z_far)
{
    return detail::built(tarnmPerspectiveOffCenterLH_m4_32f, left, right, bottom, top, z_near, z_far);
}
inline matrix4 perspective_rh(float left, float right, float bottom, float top, float z_near, float z_far)
{
    return detail::built(tarnmPerspectiveOffCenterRH_m4_32f, left, right, bottom, top, z_near, z_far);
}
inline matrix4 perspective_fov_lh(float fov_y, float aspect, float z_near, float z_far)
{
    return detail::built(tarnmPerspectiveFovLH_m4_32f, fov_y, aspect, z_near, z_far);
}
inline matrix4 perspective_fov_rh(float fov_y, float aspect, float z_near, float z_far)
{
    return detail::built(tarnmPerspectiveFovRH_m4_32f, fov_y, aspect, z_near, z_far);
}

// ---- transforms of one vector or of an array

// result = (v, 0, 1) * m, or (v, 1) * m, or v * m: vectors of 2, 3 or 4 elements; the result has 4.
template <detail::float_vectors V, detail::vector_result D, detail::option... Options>
requires detail::float_vectors<D> TARNM_DETAIL_INLINE auto transform(const matrix4& m, V&& v, D&& result,
                                                                     Options&&... options)
{
    const float* const matrix = detail::elements(m);
    const auto from = detail::operand_of(v);
    const auto to = detail::operand_of(result);
    return detail::transform_views(
        "transform", from, to,
        detail::first_of(detail::must_be_between(from, 2, 4), detail::must_equal(to.columns(), 4, "result", "size")),
        std::tie(options...),
        [matrix](int size, const float* x, float* y) {
            const auto function = size == 2   ? tarnmAffineTransform_m4v2_32f
                                  : size == 3 ? tarnmAffineTransform_m4v3_32f
                                              : tarnmAffineTransform_m4v4_32f;
            return function(matrix, x, y);
        },
        [matrix](int size, const float* x, std::int32_t step, float* y, std::int32_t to_step, std::int32_t count) {
            const auto function = size == 2   ? tarnmAffineTransform_m4v2a_32f
                                  : size == 3 ? tarnmAffineTransform_m4v3a_32f
                                              : tarnmAffineTransform_m4v4a_32f;
            return function(matrix, x, step, y, to_step, count);
        });
}

// (v, 1) * m, divided by its fourth element: points of 2 or 3 elements.
template <detail::float_vectors V, detail::vector_result D, detail::option... Options>
requires detail::float_vectors<D> TARNM_DETAIL_INLINE auto transform_point(const matrix4& m, V&& v, D&& result,
                                                                           Options&&... options)
{
    const float* const matrix = detail::elements(m);
    const auto from = detail::operand_of(v);
    const auto to = detail::operand_of(result);
    return detail::transform_views(
        "transform_point", from, to,
        detail::first_of(detail::must_be_between(from, 2, 3),
                         detail::must_equal(to.columns(), from.columns(), "result", "size")),
        std::tie(options...),
        [matrix](int size, const float* x, float* y) {
            return (size == 2 ? tarnmAffineTransformCoord_m4v2_32f : tarnmAffineTransformCoord_m4v3_32f)(matrix, x, y);
        },
        [matrix](int size, const float* x, std::int32_t step, float* y, std::int32_t to_step, std::int32_t count) {
            return (size == 2 ? tarnmAffineTransformCoord_m4v2a_32f
                              : tarnmAffineTransformCoord_m4v3a_32f)(matrix, x, step, y, to_step, count);
        });
}

// (v, 0) * m: directions of 2 or 3 elements.
template <detail::float_vectors V, detail::vector_result D, detail::option... Options>
requires detail::float_vectors<D> TARNM_DETAIL_INLINE auto transform_direction(const matrix4& m, V&& v, D&& result,
                                                                               Options&&... options)
{
    const float* const matrix = detail::elements(m);
    const auto from = detail::operand_of(v);
    const auto to = detail::operand_of(result);
    return detail::transform_views(
        "transform_direction", from, to,
        detail::first_of(detail::must_be_between(from, 2, 3),
                         detail::must_equal(to.columns(), from.columns(), "result", "size")),
        std::tie(options...),
        [matrix](int size, const float* x, float* y) {
            return (size == 2 ? tarnmAffineTransformNormal_m4v2_32f : tarnmAffineTransformNormal_m4v3_32f)(matrix, x,
                                                                                                           y);
        },
        [matrix](int size, const float* x, std::int32_t step, float* y, std::int32_t to_step, std::int32_t count) {
            return (size == 2 ? tarnmAffineTransformNormal_m4v2a_32f
                              : tarnmAffineTransformNormal_m4v3a_32f)(matrix, x, step, y, to_step, count);
        });
}

// m * (v, 1), divided by its fourth element; points of 3 elements, in an array, any strides. A point whose fourth element
// is zero gives the largest numbers and StatusDivByZero; the others are complete.
template <detail::matrix_operand M, detail::float_vectors V, detail::vector_result D, detail::option... Options>
requires(detail::float_vectors<D>&& detail::same_element<D, M>&&
             detail::operand_type<V>::is_array) auto transform_column(M&& m, V&& v, D&& result, Options&&... options)
{
    const auto matrix = detail::operand_of(m);
    const auto from = detail::operand_of(v);
    const auto to = detail::operand_of(result);
    using From = std::remove_const_t<decltype(from)>;
    using To = std::remove_const_t<decltype(to)>;
    const detail::problem shapes =
        detail::first_of(detail::must_have(matrix, 4, 4, "m"), detail::must_equal(from.columns(), 3, "v", "size"),
                         detail::must_equal(to.columns(), 3, "result", "size"));
    const auto call = [&matrix](const auto& v_, const auto& d_) {
        return detail::invoke<detail::operation::AffineTransform3DH, detail::code("mva"), layout::strided, float>(
            matrix.arguments(), v_.arguments(), d_.arguments(), detail::numbers(v_.count()));
    };
    return detail::execute("transform_column", shapes, call, std::tie(options...), detail::named<From>{"v", from},
                           detail::named<To>{"result", to});
}

// From object space to the viewport, whose y axis runs downwards.
template <detail::float_vectors V, detail::vector_result D, detail::option... Options>
requires detail::float_vectors<D> TARNM_DETAIL_INLINE auto project(const matrix4& projection, const matrix4& view,
                                                                   const matrix4& world, const viewport& port, V&& v,
                                                                   D&& result, Options&&... options)
{
    const auto from = detail::operand_of(v);
    const auto to = detail::operand_of(result);
    return detail::transform_views(
        "project", from, to,
        detail::first_of(detail::must_be_between(from, 3, 3), detail::must_equal(to.columns(), 3, "result", "size")),
        std::tie(options...),
        [&](int, const float* x, float* y) {
            return tarnmProject_m4v3_32f(detail::elements(projection), detail::elements(view), detail::elements(world),
                                         x, port.width, port.height, port.z_min, port.z_max, y);
        },
        [&](int, const float* x, std::int32_t step, float* y, std::int32_t to_step, std::int32_t count) {
            return tarnmProject_m4v3a_32f(detail::elements(projection), detail::elements(view), detail::elements(world),
                                          x, step, port.width, port.height, port.z_min, port.z_max, y, to_step, count);
        });
}

// From the viewport back to object space.
template <detail::float_vectors V, detail::vector_result D, detail::option... Options>
requires detail::float_vectors<D> TARNM_DETAIL_INLINE auto unproject(const matrix4& projection, const matrix4& view,
                                                                     const matrix4& world, const viewport& port, V&& v,
                                                                     D&& result, Options&&... options)
{
    const auto from = detail::operand_of(v);
    const auto to = detail::operand_of(result);
    return detail::transform_views(
        "unproject", from, to,
        detail::first_of(detail::must_be_between(from, 3, 3), detail::must_equal(to.columns(), 3, "result", "size")),
        std::tie(options...),
        [&](int, const float* x, float* y) {
            return tarnmUnproject_m4v3_32f(detail::elements(projection), detail::elements(view),
                                           detail::elements(world), x, port.width, port.height, port.z_min, port.z_max,
                                           y);
        },
        [&](int, const float* x, std::int32_t step, float* y, std::int32_t to_step, std::int32_t count) {
            return tarnmUnproject_m4v3a_32f(detail::elements(projection), detail::elements(view),
                                            detail::elements(world), x, step, port.width, port.height, port.z_min,
                                            port.z_max, y, to_step, count);
        });
}

// ---- vectors of 2, 3 or 4 elements by value

template <std::size_t Size> float length(const std::array<float, Size>& v)
{
    float value;
    detail::of_size<Size>(tarnmLen_v2_32f, tarnmLen_v3_32f, tarnmLen_v4_32f)(v.data(), &value);
    return value;
}

template <std::size_t Size> float length_squared(const std::array<float, Size>& v)
{
    float value;
    detail::of_size<Size>(tarnmLenSqr_v2_32f, tarnmLenSqr_v3_32f, tarnmLenSqr_v4_32f)(v.data(), &value);
    return value;
}

// v divided by its length.
template <std::size_t Size> std::array<float, Size> normalized(const std::array<float, Size>& v)
{
    return detail::computed<Size>(
        detail::of_size<Size>(tarnmNormalize_v2_32f, tarnmNormalize_v3_32f, tarnmNormalize_v4_32f), v.data());
}

// The larger element of each pair.
template <std::size_t Size>
std::array<float, Size> larger(const std::array<float, Size>& a, const std::array<float, Size>& b)
{
    return detail::computed<Size>(detail::of_size<Size>(tarnmMax_v2_32f, tarnmMax_v3_32f, tarnmMax_v4_32f), a.data(),
                                  b.data());
}

// The smaller element of each pair.
template <std::size_t Size>
std::array<float, Size> smaller(const std::array<float, Size>& a, const std::array<float, Size>& b)
{
    return detail::computed<Size>(detail::of_size<Size>(tarnmMin_v2_32f, tarnmMin_v3_32f, tarnmMin_v4_32f), a.data(),
                                  b.data());
}

// a + t * (b - a)
template <std::size_t Size>
std::array<float, Size> interpolate(const std::array<float, Size>& a, const std::array<float, Size>& b, float t)
{
    return detail::computed<Size>(detail::of_size<Size>(tarnmInterpolationLinear_v2_32f,
                                                        tarnmInterpolationLinear_v3_32f,
                                                        tarnmInterpolationLinear_v4_32f),
                                  a.data(), b.data(), t);
}

// a + f * (b - a) + g * (c - a)
template <std::size_t Size>
std::array<float, Size> barycentric(const std::array<float, Size>& a, const std::array<float, Size>& b,
                                    const std::array<float, Size>& c, float f, float g)
{
    return detail::computed<Size>(
        detail::of_size<Size>(tarnmBaryCentric_v2_32f, tarnmBaryCentric_v3_32f, tarnmBaryCentric_v4_32f), a.data(),
        b.data(), c.data(), f, g);
}

// From `start` to `end` with the tangents there; t from 0 to 1.
template <std::size_t Size>
std::array<float, Size> hermite(const std::array<float, Size>& start, const std::array<float, Size>& start_tangent,
                                const std::array<float, Size>& end, const std::array<float, Size>& end_tangent, float t)
{
    return detail::computed<Size>(detail::of_size<Size>(tarnmHermite_v2_32f, tarnmHermite_v3_32f, tarnmHermite_v4_32f),
                                  start.data(), start_tangent.data(), end.data(), end_tangent.data(), t);
}

// From b to c along the curve through a, b, c and d; t from 0 to 1.
template <std::size_t Size>
std::array<float, Size> catmull_rom(const std::array<float, Size>& a, const std::array<float, Size>& b,
                                    const std::array<float, Size>& c, const std::array<float, Size>& d, float t)
{
    return detail::computed<Size>(detail::of_size<Size>(tarnmInterpolationCatmullRom_v2_32f,
                                                        tarnmInterpolationCatmullRom_v3_32f,
                                                        tarnmInterpolationCatmullRom_v4_32f),
                                  a.data(), b.data(), c.data(), d.data(), t);
}

} // namespace tarnm

#endif
