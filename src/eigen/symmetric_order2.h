// Order 2 in closed form.
//
//   ClosedForm        eigenvalues, and the rotation that diagonalises the matrix
//   closedValues, closedRotation
//
// The values are not sorted: the first is the one of larger magnitude, and where the trace is negative it is the
// smaller one.
#pragma once

#include "eigen/symmetric_values.h"
#include "eigen/symmetric_variant.h"

namespace tarnm::symmetric {

template <class W> struct ClosedForm {
    mask_t<W> isSingular;
    W first, second;
    mask_t<W> firstIsPositive;
    W difference, doubled, root; // a - c, 2b, and the root of the sum of their squares
};

// Of [a b; b c]. The determinant is tested in the stored precision and used in the working precision.
template <class W, class S>
TARNM_INLINE ClosedForm<W> closedValues(S storedA, S storedB, S storedC, const Variant& variant)
{
    const W e = W(variant.tolerance), half = W(0.5);
    const W a = widen<W>(storedA), b = widen<W>(storedB), c = widen<W>(storedC);

    ClosedForm<W> form;
    const W tested = widen<W>(storedA * storedC - storedB * storedB);
    form.isSingular = W(variant.closedFormTolerance) >= abs(tested);
    form.difference = a - c;
    form.doubled = b + b;
    form.root = sqrt(form.difference * form.difference + form.doubled * form.doubled);

    const W trace = a + c, determinant = a * c - b * b;
    const auto above = trace > e, below = trace < -e;
    form.first = select(above, (form.root + trace) * half, select(below, half * (trace - form.root), form.root * half));
    form.second = select(above || below, determinant / form.first, form.root * W(-0.5));
    form.firstIsPositive = above || !below;
    return form;
}

template <class W> TARNM_INLINE W inverseRootOfOnePlusSquare(W u, [[maybe_unused]] const Variant& variant)
{
    if constexpr (std::is_same_v<W, float>)
        if (variant.wideClosedForm) return float(1.0 / sqrt(1.0 + double(u * u)));
    return W(1) / sqrt(W(1) + u * u);
}

// The vectors are the columns (cosine, sine) and (-sine, cosine).
template <class W>
TARNM_INLINE void closedRotation(const ClosedForm<W>& form, const Variant& variant, W& cosine, W& sine)
{
    const W e = W(variant.tolerance), one = W(1);
    const auto below = form.difference < -e;
    const W t = select(below, form.difference - form.root, form.difference + form.root);

    const auto isSteep = abs(t) > abs(form.doubled);
    const auto isDiagonal = !isSteep && e >= abs(form.doubled);
    const W u = select(isSteep, -form.doubled / t, -t / form.doubled);
    const W larger = inverseRootOfOnePlusSquare(u, variant);
    const W smaller = u * larger;
    const W cs = select(isDiagonal, one, select(isSteep, smaller, larger));
    const W sn = select(isDiagonal, W(0), select(isSteep, larger, smaller));

    // The sign of the difference and that of the trace tell which column belongs to the first value.
    const auto signsAgree = (form.firstIsPositive && !below) || (!form.firstIsPositive && below);
    cosine = select(signsAgree, -sn, cs);
    sine = select(signsAgree, cs, sn);
}

} // namespace tarnm::symmetric
