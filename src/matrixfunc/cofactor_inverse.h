// The inverse as the adjugate over the determinant, each cofactor by an elimination of its own: orders 2, 7 and above.
//
// A minor with a pivot that is too small is not an error. It contributes the tolerance in the place of the product of
// the pivots, or of the whole minor where its last pivot is too small: never zero.
#pragma once

#include "matrixfunc/elimination.h"
#include "matrixfunc/tolerance.h"
#include "tarnm/tarnm.h"

namespace tarnm {

namespace cofactors {

using elimination::Multiplier;
using elimination::Workspace;

// All of the source but a row and a column; -1 leaves out none.
template <class Object, class T>
void copyWithout(const Object& object, std::int32_t order, std::int32_t row, std::int32_t column,
                 const Workspace<T>& work)
{
    for (std::int32_t r = 0, to = 0; r < order; ++r) {
        if (r == row) continue;
        for (std::int32_t c = 0, k = 0; c < order; ++c)
            if (c != column) work.set(to, k++, object(r, c));
        ++to;
    }
}

// Where the last pivot decides it is compared by itself and must be greater; else the determinant must be, and one
// that is NaN passes.
enum class SingularBy { determinant, lastPivot };

template <class T> struct Determinant {
    T value;
    bool isSingular;
};

template <SingularBy singularBy, class Object, class T>
Determinant<T> determinantOf(const Object& object, const Workspace<T>& work, std::int32_t order, T tolerance)
{
    copyWithout(object, order, -1, -1, work);
    work.resetIndex(order);
    const auto done = elimination::eliminate<Multiplier::product, T>(work, order, tolerance);
    if (!done.isRegular) {
        if (singularBy == SingularBy::determinant) work.set(0, 0, T(0));
        return {T(0), true};
    }
    const T last = work.at(order - 1, order - 1);
    const T determinant = (done.product * last) * done.sign;
    if (singularBy == SingularBy::lastPivot) return {determinant, !(abs(last) > tolerance)};
    return {determinant, tolerance >= abs(determinant)};
}

template <class Object, class T>
T minorOf(const Object& object, const Workspace<T>& work, std::int32_t order, std::int32_t row, std::int32_t column,
          T tolerance)
{
    copyWithout(object, order, row, column, work);
    work.resetIndex(order - 1);
    const auto done = elimination::eliminate<Multiplier::product, T>(work, order - 1, tolerance);
    const T product = done.isRegular ? done.product : tolerance;
    const T last = work.at(order - 2, order - 2);
    return abs(last) > tolerance ? (last * done.sign) * product : tolerance;
}

} // namespace cofactors

// Nothing is written where the matrix is singular.
template <cofactors::SingularBy singularBy, class T, class Source, class Result>
tarnmStatus cofactorInverse(const Source& from, const Result& to, std::int32_t order, void* buffer)
{
    using namespace cofactors;
    const Workspace<T> work(buffer, order);
    const T tolerance = singularityTolerance<T>(order);
    const Determinant<T> determinant = determinantOf<singularBy>(from, work, order, tolerance);
    if (determinant.isSingular) return StatusSingular;
    const T reciprocal = T(1) / determinant.value;
    for (std::int32_t i = 0; i < order; ++i)
        for (std::int32_t j = 0; j < order; ++j) {
            const T scaled = reciprocal * minorOf(from, work, order, i, j, tolerance);
            to.set(j, i, (i + j) % 2 == 0 ? scaled : -scaled);
        }
    return StatusOk;
}

} // namespace tarnm
