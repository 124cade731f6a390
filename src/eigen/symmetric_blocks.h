// Objects side by side in lanes.
//
//   Block             the working memory of as many objects as there are lanes
//   atOrder           calls a function with the order as a constant, where there is code of its own for it
//   solveBlock        solves them; false if any fails, and then nothing in the block means anything
//
// Every object runs through the steps of its own: one that is done is frozen until the last of the block is.
// A lane has the bits that `solveOne` gives, so a block with a failing object is done again object by object.
#pragma once

#include "eigen/symmetric_values.h"
#include "eigen/symmetric_variant.h"

namespace tarnm::symmetric {

// Single precision beside double takes a vector of its own size, which has a least one.
template <class W, class T>
inline constexpr int vectorLanes = native_lane_count_v<W>* int(sizeof(T)) >= machine::pieceBytes
                                       ? native_lane_count_v<W>
                                       : machine::pieceBytes / int(sizeof(T));
template <class W, class T> using WorkingLanes = Pair<lanes<W, vectorLanes<W, T>>>;
template <class W, class T> using StoredLanes = Pair<lanes<T, vectorLanes<W, T>>>;

// Beyond this order the working memory of a block leaves the first-level cache.
inline constexpr int blockOrderLimit = 8;

template <int value> using Order = std::integral_constant<int, value>;

// With Order<0> for all orders beyond.
template <class Function> TARNM_INLINE bool atOrder(int n, Function function)
{
    switch (n) {
    case 2:
        return function(Order<2>{});
    case 3:
        return function(Order<3>{});
    case 4:
        return function(Order<4>{});
    default:
        return function(Order<0>{});
    }
}

// Cell k of lane l stands at [k * lanes + l].
template <class W, class T> struct Block {
    static constexpr int lanes = lane_count_v<WorkingLanes<W, T>>;
    static constexpr int cells = blockOrderLimit * blockOrderLimit * lanes;

    alignas(64) T matrix[cells];  // row by row; in: the objects
    alignas(64) T vectors[cells]; // out: eigenvectors in columns; in their order where that is constant
    alignas(64) T values[blockOrderLimit * lanes];  // out: sorted
    alignas(64) W columns[blockOrderLimit * lanes]; // out: which column of `vectors` belongs to value j
};

template <Family family, class W, class T> bool solveBlock(Block<W, T>& block, int n, const Variant& variant);

extern template bool solveBlock<Family::values>(Block<float, float>&, int, const Variant&);
extern template bool solveBlock<Family::values>(Block<double, double>&, int, const Variant&);
extern template bool solveBlock<Family::vectors>(Block<double, float>&, int, const Variant&);
extern template bool solveBlock<Family::vectors>(Block<double, double>&, int, const Variant&);

} // namespace tarnm::symmetric
