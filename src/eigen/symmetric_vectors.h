// The eigenvectors while they are being computed: column j belongs to eigenvalue j.
//
//   NoVectors         values only
//   StoredVectors     scalars, in the caller's memory
//   LaneVectors       lanes, in local memory; exchanged columns stay where they are and change their numbers
//
// `mirror` turns the order of the columns for the objects whose iteration runs from the end; `mirrorBack` undoes it.
#pragma once

#include "eigen/symmetric_values.h"

namespace tarnm::symmetric {

struct NoVectors {
    static constexpr bool arePresent = false;

    template <class M> TARNM_INLINE void mirror(M) {}
    TARNM_INLINE void mirrorBack() {}
    template <class I> TARNM_INLINE void exchange(int, I) {}
};

template <class View> struct StoredVectors {
    static constexpr bool arePresent = true;
    using S = typename View::Element;

    View view;
    int order;
    bool isMirrored = false;

    S get(int r, int j) const { return view(r, isMirrored ? order - 1 - j : j); }
    void set(int r, int j, S value) const { view.set(r, isMirrored ? order - 1 - j : j, value); }

    void mirror(bool backward) { isMirrored = backward; }
    void mirrorBack() { isMirrored = false; }

    void exchange(int i, int k) const
    {
        for (int r = 0; r < order; ++r) {
            const S held = get(r, i);
            set(r, i, get(r, k));
            set(r, k, held);
        }
    }
};

template <class S, class W> struct LaneVectors {
    static constexpr bool arePresent = true;

    Cells<S> cells;
    Cells<W> columns; // columns[j] is the column of `cells` that holds the vector of eigenvalue j
    int order;

    TARNM_INLINE S get(int r, int j) const { return cells.get(r * order + j); }
    TARNM_INLINE void set(int r, int j, S value) const { cells.set(r * order + j, value); }

    TARNM_INLINE void mirror(mask_t<W> backward)
    {
        for (int j = 0; j < order; ++j)
            columns.set(j, select(backward, W(order - 1 - j), W(j)));
        for (int r = 0; r < order; ++r)
            for (int j = 0; j < order / 2; ++j) {
                const W a = widen<W>(get(r, j)), b = widen<W>(get(r, order - 1 - j));
                set(r, j, narrow<S>(select(backward, b, a)));
                set(r, order - 1 - j, narrow<S>(select(backward, a, b)));
            }
    }
    TARNM_INLINE void mirrorBack() {}

    // Brings the columns into the order of their numbers.
    template <int n> TARNM_INLINE void arrange() const
    {
        TARNM_UNROLL
        for (int r = 0; r < n; ++r) {
            W row[n];
            TARNM_UNROLL
            for (int j = 0; j < n; ++j)
                row[j] = widen<W>(get(r, j));
            TARNM_UNROLL
            for (int j = 0; j < n; ++j) {
                const W column = columns.get(j);
                W picked = row[0];
                TARNM_UNROLL
                for (int k = 1; k < n; ++k)
                    picked = select(column == W(k), row[k], picked);
                set(r, j, narrow<S>(picked));
            }
        }
    }

    TARNM_INLINE void exchange(int i, W k) const
    {
        const W held = columns.get(i);
        const W other = at<W>(columns, k, order);
        put(columns, k, order, held, mask_t<W>(true));
        columns.set(i, other);
    }
};

template <class S, class Vectors> TARNM_INLINE void setIdentity(const Vectors& vectors, int order)
{
    if constexpr (Vectors::arePresent)
        for (int r = 0; r < order; ++r)
            for (int j = 0; j < order; ++j)
                vectors.set(r, j, S(r == j ? 1 : 0));
}

} // namespace tarnm::symmetric
