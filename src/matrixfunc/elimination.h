// Gaussian elimination with row pivoting by index, in a block of scratch.
//
//   Workspace     the working copy of a matrix and the order of its rows
//   eliminate     the elimination
//
// Rows never move: the index of a row is exchanged instead. Elements below the diagonal are not cleared.
#pragma once

#include "frame/lanes.h"
#include "frame/operands.h"

namespace tarnm::elimination {

// n x n elements, row i at element i n, and behind them n row numbers of 32 bits. The block needs no alignment.
template <class T> class Workspace {
public:
    Workspace(void* block, std::ptrdiff_t order)
        : elements(static_cast<T*>(block))
        , rows(reinterpret_cast<std::int32_t*>(elements + order * order))
        , order(order)
    {}

    T* row(std::ptrdiff_t stored) const { return elements + stored * order; }
    void set(std::ptrdiff_t r, std::ptrdiff_t c, T value) const { storeElement(row(r) + c, value); }

    std::int32_t index(std::ptrdiff_t position) const { return loadElement(rows + position); }
    void setIndex(std::ptrdiff_t position, std::int32_t stored) const { storeElement(rows + position, stored); }
    void resetIndex(std::int32_t count) const
    {
        for (std::int32_t i = 0; i < count; ++i)
            setIndex(i, i);
    }

    // The row and the element that stand at a position now.
    T* rowAt(std::ptrdiff_t position) const { return row(index(position)); }
    T at(std::ptrdiff_t position, std::ptrdiff_t c) const { return loadElement(rowAt(position) + c); }

private:
    T* elements;
    std::int32_t* rows;
    std::ptrdiff_t order;
};

// A multiplier of a row: a true quotient, or the product with the pivot's reciprocal.
enum class Multiplier { quotient, product };

template <class T> struct Eliminated {
    T product;      // of the pivots but the last, in their order
    T sign;         // of the exchanges, also of the one at a pivot that is too small
    bool isRegular; // no pivot was too small; else the elimination stopped there
};

// The position of the largest magnitude in column k from position k on, the first of equal ones. `Magnitude` keeps the
// running maximum; where it is narrower than T the maximum is rounded to it.
template <class Magnitude, class T>
std::int32_t pivotPosition(const Workspace<T>& a, std::int32_t k, std::int32_t order)
{
    std::int32_t best = k;
    auto largest = Magnitude(abs(a.at(k, k)));
    for (std::int32_t p = k + 1; p < order; ++p) {
        const T magnitude = abs(a.at(p, k));
        if (magnitude > largest) {
            best = p;
            largest = Magnitude(magnitude);
        }
    }
    return best;
}

// to[from .. end - 1] -= factor * row[from .. end - 1]; `to` and `row` are different rows.
template <class T> void subtractMultiple(T* to, T factor, const T* row, std::int32_t from, std::int32_t end)
{
    using V = lanes<T, 16 / sizeof(T)>;
    std::int32_t c = from;
    for (; c + V::size() <= end; c += V::size())
        store(to + c, load<V>(to + c) - V(factor) * load<V>(row + c));
    for (; c < end; ++c)
        storeElement(to + c, loadElement(to + c) - factor * loadElement(row + c));
}

// Works on the rows and columns 0 .. order - 1. A pivot equal to the tolerance passes, and so does NaN.
template <Multiplier multiplier, class Magnitude, class T>
Eliminated<T> eliminate(const Workspace<T>& a, std::int32_t order, T tolerance)
{
    Eliminated<T> result{T(1), T(1), true};
    for (std::int32_t k = 0; k + 1 < order; ++k) {
        const std::int32_t best = pivotPosition<Magnitude>(a, k, order);
        if (best != k) {
            const std::int32_t chosen = a.index(best);
            a.setIndex(best, a.index(k));
            a.setIndex(k, chosen);
            result.sign = -result.sign;
        }
        const T* pivotRow = a.rowAt(k);
        const T pivot = loadElement(pivotRow + k);
        if (tolerance > abs(pivot)) {
            result.isRegular = false;
            return result;
        }
        const T reciprocal = T(1) / pivot;
        for (std::int32_t p = k + 1; p < order; ++p) {
            T* row = a.rowAt(p);
            const T first = loadElement(row + k);
            subtractMultiple(row, multiplier == Multiplier::quotient ? first / pivot : reciprocal * first, pivotRow,
                             k + 1, order);
        }
        result.product = result.product * pivot;
    }
    return result;
}

} // namespace tarnm::elimination
