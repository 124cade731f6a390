// What sets the kernels of the symmetric eigenproblem apart. The steps are the same in all of them.
//
//   Family, Form      which operation, and whether for one object or for an array
//   Working           the type of sums and scalars
//   Variant           tests and tolerances of a kernel
//   variantOf         the table
//
// A kernel with double scalars on single precision data keeps the matrix, the vectors and the band in single
// precision: operands are widened when loaded, every result is rounded when stored.
#pragma once

#include <type_traits>

#include "frame/path.h"

namespace tarnm::symmetric {

enum class Family { values, vectors };
enum class Form { one, many };

template <Family family, Form form, class T>
using Working = std::conditional_t<family == Family::vectors && form == Form::many, double, T>;

// Unit in the last place of 1. All tolerances are absolute: none is scaled by a norm of the matrix.
template <class T> inline constexpr double epsilon = 0x1p-52;
template <> inline constexpr double epsilon<float> = 0x1p-23;

struct Variant {
    bool sigmaTest;     // a column without a part below the band is left as it is
    bool alignmentTest; // so is one that the reflection would hardly turn
    bool sortsFirst;    // the test for singularity comes after the sort, else before it

    // Where single precision gives way to double for one sum and its root.
    bool wideForwardShift = false;
    bool wideBackwardShift = false;
    bool wideClosedForm = false;

    double closedFormTolerance; // determinant of order 2
    double reductionTolerance;  // the two tests above, and the squared length of a reflection's vector
    double leadingTolerance;    // the sign of a reflection's leading element
    double tolerance;           // everything else
};

template <Family family, Form form, class T> constexpr Variant variantOf(Layout layout, Path path)
{
    constexpr bool ofVectors = family == Family::vectors;
    constexpr bool ofArrays = form == Form::many;
    constexpr bool isSingle = std::is_same_v<T, float>;
    constexpr double e = epsilon<T>;

    Variant variant{.sigmaTest = ofArrays,
                    .alignmentTest = ofArrays || ofVectors,
                    .sortsFirst = ofVectors && !ofArrays,
                    .closedFormTolerance = e,
                    .reductionTolerance = e,
                    .leadingTolerance = e,
                    .tolerance = e};

    if (isSingle && !ofVectors && !ofArrays && path == Path::dense) variant.wideForwardShift = true;
    if (isSingle && ofVectors && !ofArrays)
        variant.wideForwardShift = variant.wideBackwardShift = variant.wideClosedForm = true;
    if (isSingle && !ofVectors && ofArrays && layout == Layout::standard && path == Path::dense)
        variant.closedFormTolerance = epsilon<double>;
    if (isSingle && ofVectors && ofArrays && layout == Layout::pointerList && path == Path::dense)
        variant.reductionTolerance = variant.leadingTolerance = epsilon<double>;
    return variant;
}

} // namespace tarnm::symmetric
