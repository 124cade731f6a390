// Builders of view and projection matrices. A point is a row to the left of the matrix: p*M.
//
//   lookAt<hand>                                             the view from an eye to a point
//   orthographic<hand>, orthographicOffCenter<hand>          parallel projections
//   perspective<hand>, perspectiveOffCenter<hand>, perspectiveFov<hand>
//
// No denominator is tested: an empty volume of view leaves infinities or NaN in the matrix.
#pragma once

#include <cmath>

#include "geometry/vectors.h"

namespace tarnm::geometry {

enum class Hand {
    left,  // the viewer looks along +z
    right, // the viewer looks along -z
};

// ---- View ----

template <Hand hand> inline tarnmStatus lookAt(const float* pEye, const float* pAt, const float* pUp, float* d)
{
    const Local<3> eye = copied<3>(pEye), at = copied<3>(pAt), up = copied<3>(pUp);
    const Local<3>& from = hand == Hand::left ? eye : at;
    const Local<3>& to = hand == Hand::left ? at : eye;
    Local<3> x, y;
    const Local<3> z = normalized(Local<3>{{to[0] - from[0], to[1] - from[1], to[2] - from[2]}});
    cross(up, z, x);
    x = normalized(x);
    cross(z, x, y);
    return stored(Matrix4{{{x[0], y[0], z[0], 0},
                           {x[1], y[1], z[1], 0},
                           {x[2], y[2], z[2], 0},
                           {0.0f - dot<3>(x, eye), 0.0f - dot<3>(y, eye), 0.0f - dot<3>(z, eye), 1}}},
                  d);
}

// ---- Projections ----

// How depths between the planes zNear and zFar are mapped to 0 .. 1.
template <Hand hand> struct Depth {
    float range;      // distance of the planes, negative for the right hand
    float minusRange; // divisor of the term that brings the near plane to 0
    float zInFourth;  // how z enters the fourth coordinate, the divisor

    Depth(float zNear, float zFar)
    {
        if constexpr (hand == Hand::left) {
            range = zFar - zNear;
            minusRange = 0.0f - range;
            zInFourth = 1.0f;
        } else {
            range = minusRange = zNear - zFar;
            zInFourth = -1.0f;
        }
    }
};

// clang-format off
template <Hand hand>
inline tarnmStatus orthographic(float width, float height, float zNear, float zFar, float* d)
{
    const Depth<hand> depth(zNear, zFar);
    return stored(Matrix4{{{2.0f / width, 0,             0,                        0},
                           {0,            2.0f / height, 0,                        0},
                           {0,            0,             1.0f / depth.range,       0},
                           {0,            0,             zNear / depth.minusRange, 1}}}, d);
}

template <Hand hand>
inline tarnmStatus orthographicOffCenter(float left, float right, float bottom, float top, float zNear, float zFar,
                                         float* d)
{
    const Depth<hand> depth(zNear, zFar);
    const float width = right - left, height = top - bottom;
    return stored(Matrix4{{{2.0f / width, 0,             0,                  0},
                           {0,            2.0f / height, 0,                  0},
                           {0,            0,             1.0f / depth.range, 0},
                           {(right + left) / (0.0f - width), (top + bottom) / (0.0f - height),
                                                         zNear / depth.minusRange, 1}}}, d);
}

template <Hand hand>
inline tarnmStatus perspective(float width, float height, float zNear, float zFar, float* d)
{
    const Depth<hand> depth(zNear, zFar);
    return stored(Matrix4{{{(zNear + zNear) / width, 0, 0, 0},
                           {0, (zNear + zNear) / height, 0, 0},
                           {0, 0, zFar / depth.range, depth.zInFourth},
                           {0, 0, (zNear * zFar) / depth.minusRange, 0}}}, d);
}

template <Hand hand>
inline tarnmStatus perspectiveOffCenter(float left, float right, float bottom, float top, float zNear, float zFar,
                                        float* d)
{
    const Depth<hand> depth(zNear, zFar);
    const float width = right - left, height = top - bottom;
    const float shiftX = hand == Hand::left ? (right + left) / (0.0f - width) : (right + left) / width;
    const float shiftY = hand == Hand::left ? (top + bottom) / (0.0f - height) : (top + bottom) / height;
    return stored(Matrix4{{{(zNear + zNear) / width, 0, 0, 0},
                           {0, (zNear + zNear) / height, 0, 0},
                           {shiftX, shiftY, zFar / depth.range, depth.zInFourth},
                           {0, 0, (zNear * zFar) / depth.minusRange, 0}}}, d);
}

// Sine and cosine of the half angle in single precision; the scale is their quotient, not a tangent.
template <Hand hand>
inline tarnmStatus perspectiveFov(float fovY, float aspect, float zNear, float zFar, float* d)
{
    const Depth<hand> depth(zNear, zFar);
    const float half = 0.5f * fovY;
    const float y = std::cos(half) / std::sin(half);
    const float product = zNear * zFar;
    const float shiftZ = (hand == Hand::left ? 0.0f - product : product) / depth.range;
    return stored(Matrix4{{{y / aspect, 0, 0, 0},
                           {0, y, 0, 0},
                           {0, 0, zFar / depth.range, depth.zInFourth},
                           {0, 0, shiftZ, 0}}}, d);
}
// clang-format on

} // namespace tarnm::geometry
