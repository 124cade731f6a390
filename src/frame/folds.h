// Partial sums of several objects, folded side by side.
//
//   objectsTogether, SumsTogether    four objects, and a value of each
//   halvesAdded, neighboursAdded     two vectors of partial sums folded into one
//   foldedPieces                     four partial sums of each object: (0 + 1) + (2 + 3)
//
// To fold the lanes of one object costs more than to fill them. The folds of four are one transposition, and what
// follows, such as a square root, is one operation.
#pragma once

#include "frame/blocks.h"

namespace tarnm {

inline constexpr int objectsTogether = 4;
template <class T> using SumsTogether = lanes<T, objectsTogether>;

namespace folds {

template <int half, int length> constexpr int halfOfBoth(int i)
{
    return i % (length / 2) + half * (length / 2) + i / (length / 2) * length;
}

} // namespace folds

// The upper half of `a` onto its lower one, and behind it the same of `b`.
template <class V> TARNM_INLINE V halvesAdded(V a, V b)
{
    constexpr int length = lane_count_v<V>;
    return blocks::picked<folds::halfOfBoth<0, length>>(a, b) + blocks::picked<folds::halfOfBoth<1, length>>(a, b);
}

// In each piece of 16 bytes the sums of neighbours of `a`, and behind them those of `b`.
template <class V> TARNM_INLINE V neighboursAdded(V a, V b)
{
    if constexpr (blocks::pieceLength<V> == 2)
        return blocks::shuffled<0, 2>(a, b) + blocks::shuffled<1, 3>(a, b);
    else
        return blocks::shuffled<0, 2, 4, 6>(a, b) + blocks::shuffled<1, 3, 5, 7>(a, b);
}

// In `even` the partial sums of objects 0 and 2, in `odd` those of objects 1 and 3, a piece each.
TARNM_INLINE SumsTogether<float> foldedPieces(lanes<float, 8> even, lanes<float, 8> odd)
{
    const lanes<float, 8> pairs = neighboursAdded(even, odd);
    return neighboursAdded(blocks::pieceOf<0>(pairs), blocks::pieceOf<1>(pairs));
}

} // namespace tarnm
