// Eigenvalues and vectors of the objects in a working copy.
//
//   Outcome           which objects failed, and how
//   Solution          the steps behind the copy for order 3 and above: reduction, iteration, collection, order
//   solveOne          one object
#pragma once

#include "eigen/symmetric_iteration.h"
#include "eigen/symmetric_order2.h"
#include "frame/operands.h"
#include "tarnm/tarnm.h"

namespace tarnm::symmetric {

template <class W> struct Outcome {
    mask_t<W> notConverged;
    mask_t<W> singular;
};

// Descending. The comparison is strict, so that of equal values the first is taken.
template <class W, class S, class Vectors> TARNM_INLINE void sort(Cells<S> values, Vectors& vectors, int n)
{
    for (int i = 0; i < n - 1; ++i) {
        const W held = widen<W>(values.get(i));
        W largest = held;
        Index<W> place = Index<W>(i);
        for (int j = i + 1; j < n; ++j) {
            const W value = widen<W>(values.get(j));
            const auto isLarger = value > largest;
            largest = select(isLarger, value, largest);
            place = select(isLarger, Index<W>(j), place);
        }
        if (all(place == i)) continue;
        put(values, place, n, held, mask_t<W>(true));
        values.set(i, narrow<S>(largest));
        vectors.exchange(i, place);
    }
}

// Brings the diagonal into `values` in the order of the matrix and returns the product that tells singularity.
template <class W, class S, class Vectors>
TARNM_INLINE W collect(const Iteration<W, S, Vectors>& iteration, Cells<S> values)
{
    const int n = iteration.n;
    for (int i = 0; i < n; ++i) {
        const W here = widen<W>(iteration.band.d.get(i)), there = widen<W>(iteration.band.d.get(n - 1 - i));
        values.set(i, narrow<S>(select(iteration.backward, there, here)));
    }
    W product = W(1);
    for (int i = 0; i < n; ++i)
        product = product * widen<W>(values.get(i));
    if constexpr (!Vectors::arePresent)
        product = select(iteration.backward, iteration.product * widen<W>(values.get(0)), product);
    return product;
}

// Order 3 and above. The rows of the working matrix stand without gaps; `reflection` takes the vectors of the reflections.
// `vectors` is the identity.
template <class W, class S, class Run, class Vectors>
TARNM_INLINE Outcome<W> solve(const Matrix<S>& a, Run& reflection, Cells<S> values, Vectors& vectors,
                              const Variant& variant)
{
    const int n = a.order;
    reduceToBand<W>(a, reflection, vectors, variant);

    const auto backward = !(abs(widen<W>(a.get(n - 1, n - 1))) > abs(widen<W>(a.get(0, 0))));
    const Band<S> band = takeBand<W>(a, backward);
    vectors.mirror(backward);
    Iteration<W, S, Vectors> iteration{band, n, values, vectors, variant, backward};
    const auto notConverged = iteration.run();
    if (any(notConverged)) return {notConverged, mask_t<W>(false)};
    vectors.mirrorBack();

    const W product = collect(iteration, values);
    const auto singular = W(variant.tolerance) >= abs(product);
    if (variant.sortsFirst || none(singular)) sort<W>(values, vectors, n);
    return {mask_t<W>(false), singular};
}

// Order 2. Nothing is written for a singular object.
template <class W, class S, class Vectors>
TARNM_INLINE Outcome<W> solveOrder2(S a, S b, S c, Cells<S> values, Vectors& vectors, const Variant& variant)
{
    const auto form = closedValues<W>(a, b, c, variant);
    if (any(form.isSingular)) return {mask_t<W>(false), form.isSingular};
    values.set(0, narrow<S>(form.first));
    values.set(1, narrow<S>(form.second));
    if constexpr (Vectors::arePresent) {
        W cosine, sine;
        closedRotation(form, variant, cosine, sine);
        vectors.set(0, 0, narrow<S>(cosine));
        vectors.set(1, 0, narrow<S>(sine));
        vectors.set(0, 1, narrow<S>(-sine));
        vectors.set(1, 1, narrow<S>(cosine));
    }
    return {mask_t<W>(false), form.isSingular};
}

// In caller's memory throughout: `work` holds the copy of an object of order 3 or above, `values` its n results and,
// until these are known, the vectors of the reflections.
// Compiled once for each kind of vectors.
template <class W, class T, class Vectors>
tarnmStatus solveOne(T* work, T* values, Vectors vectors, int n, const Variant& variant)
{
    const Cells<T> run{values};
    const auto outcome = solve<W>(Matrix<T>{{work}, n}, run, run, vectors, variant);
    if (outcome.notConverged) return StatusNotConverged;
    return outcome.singular ? StatusSingular : StatusOk;
}

template <class T> using StridedVectors = StoredVectors<StridedMatrix<T, Spacing::strided>>;
template <class T> using ScatteredVectors = StoredVectors<ScatteredMatrix<T>>;

extern template tarnmStatus solveOne<float>(float*, float*, NoVectors, int, const Variant&);
extern template tarnmStatus solveOne<double>(double*, double*, NoVectors, int, const Variant&);
extern template tarnmStatus solveOne<float>(float*, float*, StridedVectors<float>, int, const Variant&);
extern template tarnmStatus solveOne<float>(float*, float*, ScatteredVectors<float>, int, const Variant&);
extern template tarnmStatus solveOne<double>(float*, float*, StridedVectors<float>, int, const Variant&);
extern template tarnmStatus solveOne<double>(float*, float*, ScatteredVectors<float>, int, const Variant&);
extern template tarnmStatus solveOne<double>(double*, double*, StridedVectors<double>, int, const Variant&);
extern template tarnmStatus solveOne<double>(double*, double*, ScatteredVectors<double>, int, const Variant&);

} // namespace tarnm::symmetric
