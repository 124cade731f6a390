// Implicitly shifted QL and QR iteration on a symmetric tridiagonal matrix.
//
//   Band              diagonal d and lower side e
//   takeBand          brings the band of the working matrix together
//   Iteration         runs until every eigenvalue is found or a limit is hit
//
// QR from the end is QL on the matrix with rows and columns in reverse order, so there is one text: the band and the
// vectors of objects that go backward are mirrored first. What differs between the directions is asked of `backward`:
// the closing update at the first index, the test of a NaN, and the running product of the values family.
//
// Every object has its own place in the iteration. An object that is done waits for the others of its block.
#pragma once

#include "eigen/symmetric_reduction.h"

namespace tarnm::symmetric {

template <class S> struct Band {
    Cells<S> d, e;
};

// The band replaces the first two rows of the matrix. Elements are taken in pairs from both ends, so that none is
// overwritten before it is read.
template <class W, class S> TARNM_INLINE Band<S> takeBand(const Matrix<S>& a, mask_t<W> backward)
{
    const int n = a.order;
    const Band<S> band{a.cells, a.cells.from(n)};
    const auto place = [&](Cells<S> run, int low, int high, S first, S last) __attribute__((always_inline))
    {
        const W wideFirst = widen<W>(first), wideLast = widen<W>(last);
        run.set(low, narrow<S>(select(backward, wideLast, wideFirst)));
        run.set(high, narrow<S>(select(backward, wideFirst, wideLast)));
    };
    for (int low = 0, high = n - 1; low <= high; ++low, --high)
        place(band.d, low, high, a.get(low, low), a.get(high, high));
    for (int low = 0, high = n - 2; low <= high; ++low, --high)
        place(band.e, low, high, a.get(low + 1, low), a.get(high + 1, high));
    return band;
}

template <class W, class S, class Vectors> struct Iteration {
    using M = mask_t<W>;
    static constexpr int stepLimit = 30;
    // Only the values family takes the product of the eigenvalues as it finds them.
    static constexpr bool countsHits = !Vectors::arePresent;

    const Band<S> band;
    const int n;
    const Cells<S> values;
    Vectors& vectors;
    const Variant& variant;
    const M backward;

    W product = W(1); // of the diagonal elements at all hits of a backward search
    M running = M(true);
    Index<W> l = Index<W>(0);     // the eigenvalue sought
    Index<W> m = Index<W>(0);     // end of the block that l belongs to
    Index<W> steps = Index<W>(0); // spent on l

    // Results of the chain of rotations.
    W s = W(1), c = W(1), p = W(0), q = W(0), g = W(0);
    M inChain = M(false);

    TARNM_INLINE W tolerance() const { return W(variant.tolerance); }

    // A NaN ends a forward search and not a backward one.
    TARNM_INLINE M isNegligible(int i) const
    {
        const W e = abs(widen<W>(band.e.get(i))), limit = W(2) * tolerance();
        return !(e > limit) && (e <= limit || !backward);
    }

    TARNM_INLINE void countHits(M hit, int i)
    {
        if constexpr (countsHits) {
            const M counted = hit && backward;
            product = select(counted, product * widen<W>(band.d.get(i)), product);
            if constexpr (isScalar<W>)
                if (counted) values.set(n - 1 - i, band.d.get(i));
        }
    }

    // Passes the eigenvalues that are found; objects with none left stop running. The block of the next one ends at the
    // first negligible element behind it, or with the matrix.
    TARNM_INLINE void findBlock()
    {
        m = Index<W>(n - 1);
        M open = running;
        for (int i = firstOf(l); i < n - 1; ++i) {
            const M negligible = open && isNegligible(i), found = negligible && l == i, hit = negligible && l < i;
            countHits(found || hit, i);
            l = select(found, Index<W>(i + 1), l);
            steps = select(found, Index<W>(0), steps);
            m = select(hit, Index<W>(i), m);
            open = open && !hit;
            if (none(open)) return;
        }
        running = running && l < n - 1;
    }

    TARNM_INLINE W rootOfOnePlusSquare(W x) const
    {
        if constexpr (std::is_same_v<W, float>)
            if (backward ? variant.wideBackwardShift : variant.wideForwardShift)
                return float(sqrt(1.0 + double(x * x)));
        return sqrt(W(1) + x * x);
    }

    // A small positive g takes the branch of the negative ones.
    TARNM_INLINE void shift()
    {
        const W first = at<W>(band.d, l, n - 1), next = at<W>(band.d.from(1), l, n - 1);
        const W coupling = at<W>(band.e, l, n - 1), last = at<W>(band.d, m, n);
        g = (next - first) / (W(2) * coupling);
        const W r = rootOfOnePlusSquare(g);
        g = last - first + coupling / select(g > tolerance(), g + r, g - r);
    }

    template <class Active> TARNM_INLINE void rotateVectors(int i, Active active) const
    {
        if constexpr (Vectors::arePresent)
            for (int r = 0; r < n; ++r) {
                const W t0 = widen<W>(vectors.get(r, i)), t1 = widen<W>(vectors.get(r, i + 1));
                vectors.set(r, i, narrow<S>(select(active, c * t0 - s * t1, t0)));
                vectors.set(r, i + 1, narrow<S>(select(active, s * t0 + c * t1, t1)));
            }
    }

    // `f`, `b` and `r`: the element that the rotation annihilates, what it leaves of its neighbour, and their root.
    template <class Active> TARNM_INLINE void turn(int i, W f, W b, W r, Active active)
    {
        s = select(active, f / r, s);
        c = select(active, g / r, c);
        const W next = widen<W>(band.d.get(i + 1)), d = next - p;
        q = select(active, (widen<W>(band.d.get(i)) - d) * s + W(2) * c * b, q);
        p = select(active, s * q, p);
        band.d.set(i + 1, narrow<S>(select(active, d + p, next)));
        g = select(active, c * q - b, g);
        rotateVectors(i, active);
    }

    // One rotation in columns i and i + 1. An object whose rotation vanishes leaves its chain.
    TARNM_INLINE void rotate(int i, M active)
    {
        const W e = widen<W>(band.e.get(i));
        const W f = s * e, b = c * e, r = sqrt(f * f + g * g);
        if (i + 1 < n - 1) {
            const M kept = active && m != i + 1;
            band.e.set(i + 1, narrow<S>(select(kept, r, widen<W>(band.e.get(i + 1)))));
        }
        const M broken = active && tolerance() >= abs(r);
        if (any(broken)) {
            const W next = widen<W>(band.d.get(i + 1));
            band.d.set(i + 1, narrow<S>(select(broken, next - p, next)));
            put(band.e, m - Index<W>(1), n - 1, W(0), broken);
            inChain = inChain && !broken;
            active = active && !broken;
            if (none(active)) return;
        }
        if (isScalar<W> || all(active))
            turn(i, f, b, r, Everywhere{});
        else
            turn(i, f, b, r, active);
    }

    TARNM_INLINE void chase()
    {
        s = c = W(1);
        p = q = W(0);
        inChain = running;
        for (int i = lastOf(m, n - 1) - 1; i >= firstOf(l); --i) {
            const M active = inChain && l <= i && m > i;
            if (none(active)) {
                if (isScalar<W>) return;
                continue;
            }
            rotate(i, active);
        }
    }

    // Left out after a broken chain, and where the last rotation moved nothing, but for the first index going forward.
    TARNM_INLINE void close()
    {
        const M closed = inChain && (abs(q) > tolerance() || (l == 0 && !backward));
        put(band.d, l, n - 1, at<W>(band.d, l, n - 1) - p, closed);
        put(band.e, l, n - 1, g, closed);
    }

    // Tells which objects did not converge; the others have come no further than these when there is one.
    TARNM_INLINE M run()
    {
        for (;;) {
            findBlock();
            if (none(running)) return M(false);
            const M exhausted = running && steps == stepLimit;
            if (any(exhausted)) return exhausted;
            steps = steps + Index<W>(1);
            shift();
            chase();
            close();
        }
    }
};

} // namespace tarnm::symmetric
