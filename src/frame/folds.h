// Partial sums of several objects, folded side by side.
//
//   objectsTogether, SumsTogether    four objects, and a value of each
//   foldedPieces                     four partial sums of each object: (0 + 1) + (2 + 3)
//
// To fold the lanes of one object costs more than to fill them. The folds of four are one transposition, and what
// follows, such as a square root, is one operation.
#pragma once

#include "frame/blocks.h"

namespace tarnm {

inline constexpr int objectsTogether = 4;
template <class T> using SumsTogether = lanes<T, objectsTogether>;

// In `even` the partial sums of objects 0 and 2, in `odd` those of objects 1 and 3, a piece each.
TARNM_INLINE SumsTogether<float> foldedPieces(lanes<float, 8> even, lanes<float, 8> odd)
{
    using namespace blocks;
    const lanes<float, 8> pairs = shuffled<0, 2, 4, 6>(even, odd) + shuffled<1, 3, 5, 7>(even, odd);
    const SumsTogether<float> of01 = pieceOf<0>(pairs), of23 = pieceOf<1>(pairs);
    return shuffled<0, 2, 4, 6>(of01, of23) + shuffled<1, 3, 5, 7>(of01, of23);
}

} // namespace tarnm
