// Builders of translations, scalings and rotations. A point is a row to the left of the matrix: p*M.
//
//   translation, scaling
//   rotationX, rotationY, rotationZ            about an axis of the coordinates
//   rotationAxis                               about any axis through the origin
//   rotationYawPitchRoll                       roll about z, then pitch about x, then yaw about y
//
// Angles are radians. Sines and cosines are taken in double precision and each narrowed once.
#pragma once

#include <cmath>

#include "geometry/vectors.h"

namespace tarnm::geometry {

struct Turn {
    float sine;
    float minusSine; // 0 - sine, taken ahead of the narrowing: +0 for an angle of zero
    float cosine;
};

inline Turn turnBy(float angle)
{
    const double sine = std::sin(double(angle)), cosine = std::cos(double(angle));
    return {float(sine), float(0.0 - sine), float(cosine)};
}

// clang-format off
inline tarnmStatus translation(float x, float y, float z, float* d)
{
    return stored(Matrix4{{{1, 0, 0, 0},
                           {0, 1, 0, 0},
                           {0, 0, 1, 0},
                           {x, y, z, 1}}}, d);
}

inline tarnmStatus scaling(float x, float y, float z, float* d)
{
    return stored(Matrix4{{{x, 0, 0, 0},
                           {0, y, 0, 0},
                           {0, 0, z, 0},
                           {0, 0, 0, 1}}}, d);
}

inline tarnmStatus rotationX(float angle, float* d)
{
    const auto [s, minusS, c] = turnBy(angle);
    return stored(Matrix4{{{1,      0, 0, 0},
                           {0,      c, s, 0},
                           {0, minusS, c, 0},
                           {0,      0, 0, 1}}}, d);
}

inline tarnmStatus rotationY(float angle, float* d)
{
    const auto [s, minusS, c] = turnBy(angle);
    return stored(Matrix4{{{c, 0, minusS, 0},
                           {0, 1,      0, 0},
                           {s, 0,      c, 0},
                           {0, 0,      0, 1}}}, d);
}

inline tarnmStatus rotationZ(float angle, float* d)
{
    const auto [s, minusS, c] = turnBy(angle);
    return stored(Matrix4{{{     c, s, 0, 0},
                           {minusS, c, 0, 0},
                           {     0, 0, 1, 0},
                           {     0, 0, 0, 1}}}, d);
}

// The axis may have any length but zero.
inline tarnmStatus rotationAxis(const float* axis, float angle, float* d)
{
    const auto [s, minusS, c] = turnBy(angle);
    const auto [x, y, z] = normalized(copied<3>(axis)).values;
    const float q = 1.0f - c;
    const float xq = x * q, yq = y * q, zq = z * q;
    return stored(Matrix4{{{c + x * xq,     x * yq + s * z, x * zq - s * y, 0},
                           {y * xq - s * z, c + y * yq,     s * x + y * zq, 0},
                           {s * y + z * xq, z * yq - s * x, c + z * zq,     0},
                           {0,              0,              0,              1}}}, d);
}

inline tarnmStatus rotationYawPitchRoll(float yaw, float pitch, float roll, float* d)
{
    const Turn y = turnBy(yaw), p = turnBy(pitch), r = turnBy(roll);
    const float sy = y.sine, cy = y.cosine, sp = p.sine, cp = p.cosine, sr = r.sine, cr = r.cosine;
    return stored(Matrix4{{{sr * (sy * sp) + cy * cr, sr * cp,   sr * (sp * cy) - cr * sy, 0},
                           {cr * (sy * sp) - cy * sr, cr * cp,   sy * sr + cr * (sp * cy), 0},
                           {sy * cp,                  0.0f - sp, cy * cp,                  0},
                           {0,                        0,         0,                        1}}}, d);
}
// clang-format on

} // namespace tarnm::geometry
