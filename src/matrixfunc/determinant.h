// Determinants.
//
//   determinants        the kernel of all members
//   fixedDeterminant4   the member of the geometry kit
//
// Orders 3 to 6 have closed forms, which the objects of an array take in lanes. All others go through an elimination.
#pragma once

#include "frame/orders.h"
#include "frame/path.h"
#include "matrixfunc/determinant_forms.h"
#include "matrixfunc/elimination.h"
#include "matrixfunc/gathered_blocks.h"
#include "matrixfunc/tolerance.h"
#include "tarnm/tarnm.h"

namespace tarnm {

namespace determinant {

// Which closed form a kernel takes.
enum class Form {
    byLastRow,
    byFirstRow,
    pairs, // triple products for the pairs of aligned objects, and byFirstRow
};

template <class T, Path path, Layout layout, bool isSingle, int order> constexpr Form formOf()
{
    constexpr bool isDenseArrayOfSingles = sizeof(T) == 4 && layout == Layout::standard && !isSingle;
    if (path != Path::dense) return Form::byLastRow;
    if (isDenseArrayOfSingles && order == 3) return Form::byLastRow;
    if (isDenseArrayOfSingles && order == 4) return Form::pairs;
    return Form::byFirstRow;
}

constexpr auto lastRowKernel = [](const auto& a, auto& det) __attribute__((always_inline))
{
    det = determinantByLastRow(a);
};
constexpr auto firstRowKernel = [](const auto& a, auto& det) __attribute__((always_inline))
{
    det = determinantByFirstRow(a);
};
constexpr auto triplesKernel = [](const auto& a, auto& det) __attribute__((always_inline))
{
    det = determinant4ByTriples(a);
};

// `isDense`: the elements of a row stand side by side.
template <int order, bool isDense, class Kernel, class S, class D>
void expand(const S& from, const D& to, Place place, const Kernel& kernel)
{
    using T = typename S::ObjectView::Element;
    using V = std::conditional_t<S::isSingle, T, lanes_for_order<T, order>>;
    if constexpr (order > 4 && !isDense)
        forEachGatheredBlock<V, order>(place, kernel, from, to);
    else
        forEachBlockOf<V>(place, kernel, source<order, order>(from), result(to));
}

// Whether every row of every object lies on a boundary of 16 bytes.
template <class S> bool hasAlignedRows(const S& from)
{
    const auto address = reinterpret_cast<std::uintptr_t>(from.first.base);
    const auto strides = std::uintptr_t(from.objectStride) | std::uintptr_t(from.first.rowStride);
    return ((address | strides) & 15) == 0;
}

// The objects are paired over the whole call, so that its split over threads does not show: the last one of an odd
// number has no partner.
template <class S, class D> void expandPairs(const S& from, const D& to, Place place)
{
    const std::int32_t end = place.first + place.count;
    const std::int32_t paired = hasAlignedRows(from) ? place.total - place.total % 2 : 0;
    const std::int32_t middle = paired < place.first ? place.first : paired < end ? paired : end;
    expand<4, true>(from, to, {place.first, middle - place.first, place.total}, triplesKernel);
    expand<4, true>(from, to, {middle, end - middle, place.total}, firstRowKernel);
}

template <int order, Path path, Layout layout, class S, class D>
tarnmStatus closedForms(const S& from, const D& to, Place place)
{
    constexpr Form form = formOf<typename S::ObjectView::Element, path, layout, S::isSingle, order>();
    if constexpr (form == Form::pairs)
        expandPairs(from, to, place);
    else if constexpr (form == Form::byLastRow)
        expand<order, path == Path::dense>(from, to, place, lastRowKernel);
    else
        expand<order, path == Path::dense>(from, to, place, firstRowKernel);
    return StatusOk;
}

// The running maximum of the pivot search: rounded to single in the dense kernel of one matrix of doubles.
template <class T, Path path, bool isSingle>
using Maximum = std::conditional_t<path == Path::dense && isSingle, float, T>;

// After a pivot that is too small one matrix is +0. In an array a sign of 0 goes on through the last step, which gives
// zeros of either sign, and NaN for infinities.
template <class Magnitude, bool isSingle, class Object, class T>
T eliminated(const Object& object, const elimination::Workspace<T>& work, std::int32_t order)
{
    using namespace elimination;
    for (std::ptrdiff_t r = 0; r < order; ++r)
        for (std::ptrdiff_t c = 0; c < order; ++c)
            work.set(r, c, object(r, c));
    work.resetIndex(order);
    const T tolerance = singularityTolerance<T>(order);
    const Eliminated<T> done = eliminate<Multiplier::quotient, Magnitude>(work, order, tolerance);
    if (isSingle && !done.isRegular) return T(0);
    const T sign = done.isRegular ? done.sign : T(0);
    const T last = work.at(order - 1, order - 1);
    return abs(last) > tolerance ? done.product * (last * sign) : T(0);
}

template <Path path, class S, class D>
tarnmStatus eliminations(const S& from, const D& to, std::int32_t order, void* buffer, Place place)
{
    using T = typename S::ObjectView::Element;
    const elimination::Workspace<T> work(buffer, order);
    const std::ptrdiff_t end = std::ptrdiff_t(place.first) + place.count;
    for (std::ptrdiff_t n = place.first; n < end; ++n)
        to.set(n, eliminated<Maximum<T, path, S::isSingle>, S::isSingle>(from[n], work, order));
    return StatusOk;
}

} // namespace determinant

template <Path path, Layout layout, class S, class D>
tarnmStatus determinants(const S& from, const D& to, std::int32_t order, void* buffer, Place place)
{
    using namespace determinant;
    return forOrder3to6(
        order, [&]<int n>(std::integral_constant<int, n>) { return closedForms<n, path, layout>(from, to, place); },
        [&] { return eliminations<path>(from, to, order, buffer, place); });
}

inline tarnmStatus fixedDeterminant4(const float* from, float* to)
{
    float a[4][4];
    for (int i = 0; i < 16; ++i)
        a[i / 4][i % 4] = loadElement(from + i);
    storeElement(to, determinant4Fixed(a));
    return StatusOk;
}

} // namespace tarnm
