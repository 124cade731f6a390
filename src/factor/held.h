// Matrices and vectors in values of our own, scalars or lanes, seen as kernels see them.
//
//   HeldMatrix    rows of `columns` values
//   HeldVector    values one after the other
#pragma once

#include "frame/machine.h"

namespace tarnm {

template <class V, int columns> struct HeldMatrix {
    V* values;

    TARNM_INLINE V operator()(int i, int j) const { return values[i * columns + j]; }
    TARNM_INLINE void set(int i, int j, V value) const { values[i * columns + j] = value; }
};

template <class V> struct HeldVector {
    V* values;

    TARNM_INLINE V operator[](int i) const { return values[i]; }
    TARNM_INLINE void set(int i, V value) const { values[i] = value; }
};

} // namespace tarnm
