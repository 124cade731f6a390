// Points on a segment, in a triangle, on cubic curves.
//
//   interpolateLinear, combineBarycentric, hermite, catmullRom
//
// All elements are read before the first is stored, so that a result may lie on any of the sources.
#pragma once

#include "geometry/elements.h"

namespace tarnm::geometry {

// Calls formula(i) for every element, then stores.
template <int n, class Formula> TARNM_INLINE tarnmStatus evaluated(float* d, Formula formula)
{
    Local<n> values;
    TARNM_UNROLL
    for (int i = 0; i < n; ++i)
        values.values[i] = formula(i);
    return stored(values, d);
}

// The parameter is not clamped: outside of 0 to 1 the line goes on.
template <int n> TARNM_INLINE tarnmStatus interpolateLinear(const float* a, const float* b, float s, float* d)
{
    const Local<n> from = copied<n>(a), to = copied<n>(b);
    return evaluated<n>(d, [&](int i) { return from[i] + s * (to[i] - from[i]); });
}

template <int n>
TARNM_INLINE tarnmStatus combineBarycentric(const float* pA, const float* pB, const float* pC, float weightB,
                                            float weightC, float* d)
{
    const Local<n> a = copied<n>(pA), b = copied<n>(pB), c = copied<n>(pC);
    return evaluated<n>(d, [&](int i) { return (a[i] + weightB * (b[i] - a[i])) + weightC * (c[i] - a[i]); });
}

// Formed in double precision from the single precision powers, then narrowed once each.
struct HermiteWeights {
    float difference; // of start minus end
    float startTangent;
    float endTangent;

    TARNM_INLINE explicit HermiteWeights(float parameter)
    {
        const float square = parameter * parameter;
        const double s = parameter, s2 = square, s3 = parameter * square;
        difference = float((s3 - 3.0 * s2) + s3);
        startTangent = float(((s - s2) - s2) + s3);
        endTangent = float(s3 - s2);
    }
};

template <int n>
TARNM_INLINE tarnmStatus hermiteOf(const Local<n>& start, const Local<n>& startTangent, const Local<n>& end,
                                   const Local<n>& endTangent, float s, float* d)
{
    const HermiteWeights weights(s);
    return evaluated<n>(d, [&](int i) {
        return (start[i] - end[i]) * weights.difference +
               ((start[i] + weights.startTangent * startTangent[i]) + weights.endTangent * endTangent[i]);
    });
}

template <int n>
TARNM_INLINE tarnmStatus hermite(const float* start, const float* startTangent, const float* end,
                                 const float* endTangent, float s, float* d)
{
    return hermiteOf(copied<n>(start), copied<n>(startTangent), copied<n>(end), copied<n>(endTangent), s, d);
}

// Runs from b to c; a and e shape the tangents.
template <int n>
TARNM_INLINE tarnmStatus catmullRom(const float* pA, const float* pB, const float* pC, const float* pE, float s,
                                    float* d)
{
    const Local<n> a = copied<n>(pA), b = copied<n>(pB), c = copied<n>(pC), e = copied<n>(pE);
    Local<n> tangentB, tangentC;
    TARNM_UNROLL
    for (int i = 0; i < n; ++i) {
        tangentB.values[i] = (c[i] - a[i]) * 0.5f;
        tangentC.values[i] = (e[i] - b[i]) * 0.5f;
    }
    return hermiteOf(b, tangentB, c, tangentC, s, d);
}

} // namespace tarnm::geometry
