// Fixed-size operands of the geometry kit: elements side by side at any address.
//
//   Source, Result     views of a vector of the caller
//   Local              a vector of n elements in local values
//   Matrix4            a 4x4 matrix as it is written down
//   copied             all elements of a vector, read at once
//   stored             writes a vector, an element or a matrix to the caller; the status of a member
//
// The formulas of the kit take vectors of any of these kinds: v[i] reads an element, v.set(i, value) stores one.
#pragma once

#include "frame/lanes.h"
#include "frame/operands.h"
#include "tarnm/tarnm.h"

namespace tarnm::geometry {

using Source = StridedVector<const float, Spacing::dense>;
using Result = StridedVector<float, Spacing::dense>;

TARNM_INLINE Source sourceAt(const float* base) { return {base, {}}; }
TARNM_INLINE Result resultAt(float* base) { return {base, {}}; }

template <int n> struct Local {
    float values[n];

    TARNM_INLINE float operator[](int i) const { return values[i]; }
    TARNM_INLINE void set(int i, float value) { values[i] = value; }
};

template <int n> TARNM_INLINE Local<n> copied(const float* base)
{
    Local<n> copy;
    TARNM_UNROLL
    for (int i = 0; i < n; ++i)
        copy.values[i] = loadElement(base + i);
    return copy;
}

template <int n> TARNM_INLINE tarnmStatus stored(const Local<n>& vector, float* base)
{
    TARNM_UNROLL
    for (int i = 0; i < n; ++i)
        storeElement(base + i, vector[i]);
    return StatusOk;
}

TARNM_INLINE tarnmStatus stored(float value, float* address)
{
    storeElement(address, value);
    return StatusOk;
}

struct Matrix4 {
    float rows[4][4];
};

// Rows are put together in registers: rows written element by element could not be loaded as wholes at once.
TARNM_INLINE tarnmStatus stored(const Matrix4& matrix, float* base)
{
    using Row = lanes<float, 4>;
    TARNM_UNROLL
    for (int r = 0; r < 4; ++r) {
        const auto& [x, y, z, w] = matrix.rows[r];
        store(base + 4 * r, Row(Row::Raw{x, y, z, w}));
    }
    return StatusOk;
}

} // namespace tarnm::geometry
