// Points between object space and a viewport, through the matrices of world, view and projection.
//
//   Viewport                            normalised coordinates to and from the viewport
//   project, projectArray
//   unproject, unprojectArray
//
// The viewport has its origin in a corner, and its y axis runs downwards.
#pragma once

#include "geometry/transforms.h"
#include "matrixfunc/closed_inverse4.h"

namespace tarnm::geometry {

struct Viewport {
    float width, height, zMin, zMax;

    template <class V> TARNM_INLINE void fromNormalized(const V (&u)[3], V (&p)[3]) const
    {
        const float halfWidth = 0.5f * width, halfHeight = 0.5f * height;
        p[0] = V(halfWidth) * u[0] + V(halfWidth);
        p[1] = V(0.0f - halfHeight) * u[1] + V(halfHeight);
        p[2] = V(zMax - zMin) * u[2] + V(zMin);
    }

    template <class V> TARNM_INLINE void toNormalized(const V (&p)[3], V (&u)[3]) const
    {
        u[0] = V(2.0f) * p[0] / V(width) - V(1.0f);
        u[1] = V(-2.0f) * p[1] / V(height) + V(1.0f);
        u[2] = (p[2] - V(zMin)) / V(zMax - zMin);
    }
};

// ---- From object space to the viewport ----

TARNM_INLINE Row through(const float* m, Row point)
{
    const float p[4] = {point[0], point[1], point[2], point[3]};
    return rowOf<AffineSum<4>>(loadRows(m), p);
}

// The point goes through one matrix after the other.
inline tarnmStatus project(const float* projection, const float* view, const float* world, const float* v,
                           Viewport viewport, float* d)
{
    const Row inWorld = rowOf<CoordSum<3>>(loadRows(world), copied<3>(v).values);
    const Row clip = through(projection, through(view, inWorld));
    const Row u = clip / Row(clip[3]);
    Local<3> mapped;
    viewport.fromNormalized({u[0], u[1], u[2]}, mapped.values);
    return stored(mapped, d);
}

// The points go through the product of the matrices, which differs from `project` in the last bits.
inline tarnmStatus projectArray(const float* projection, const float* view, const float* world, const float* v,
                                std::int32_t vStride, Viewport viewport, float* d, std::int32_t dStride,
                                std::int32_t count)
{
    if (count < 1) return StatusOk;
    float whole[16];
    storeRows(productOf(loadRows(world), productOf(loadRows(view), loadRows(projection))), whole);
    return forEachVector<3, 3>(whole, v, vStride, d, dStride, count,
                               [&]<class V>(const V(&m)[4][4], const V(&point)[3], V(&out)[3]) {
                                   V u[3];
                                   dividedPoint(m, point, u);
                                   viewport.fromNormalized(u, out);
                               });
}

// ---- From the viewport to object space ----

// 256 times the smallest normal double.
inline constexpr double singularBelow = 5.696189077778436e-306;

// The product of the three is formed in single precision and inverted in double. False if it is singular.
[[gnu::noinline]] inline bool invertedProduct(const float* projection, const float* view, const float* world,
                                              float (&inverse)[16])
{
    const Rows product = productOf(productOf(loadRows(world), loadRows(view)), loadRows(projection));
    double wide[4][4], wideInverse[4][4];
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            wide[r][c] = product.row[r][c];
    if (closedInverse4(wide, singularBelow, wideInverse)) return false;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            inverse[4 * r + c] = float(wideInverse[r][c]);
    return true;
}

// The result holds the normalised point before the matrix is looked at, and keeps it if that is singular.
inline tarnmStatus unproject(const float* projection, const float* view, const float* world, const float* v,
                             Viewport viewport, float* d)
{
    Local<3> normalized;
    viewport.toNormalized(copied<3>(v).values, normalized.values);
    stored(normalized, d);
    float inverse[16];
    if (!invertedProduct(projection, view, world, inverse)) return StatusSingular;
    return transformPoint<3>(inverse, d, d);
}

inline tarnmStatus unprojectArray(const float* projection, const float* view, const float* world, const float* v,
                                  std::int32_t vStride, Viewport viewport, float* d, std::int32_t dStride,
                                  std::int32_t count)
{
    if (count < 1) return StatusOk;
    float inverse[16];
    if (!invertedProduct(projection, view, world, inverse)) return StatusSingular;
    return forEachVector<3, 3>(inverse, v, vStride, d, dStride, count,
                               [&]<class V>(const V(&m)[4][4], const V(&point)[3], V(&out)[3]) {
                                   V u[3];
                                   viewport.toNormalized(point, u);
                                   dividedPoint(m, u, out);
                               });
}

} // namespace tarnm::geometry
