// Inverses.
//
//   inverses           the kernel of all members, orders above 1
//   inversesOfOne      order 1, which the entries answer themselves
//   fixedInverse4      the member of the geometry kit
//
// Objects of orders 3 to 6 are inverted in lanes. A call ends at the first singular object: those before it are
// complete, those behind it untouched.
#pragma once

#include "frame/orders.h"
#include "frame/overlapped_blocks.h"
#include "frame/path.h"
#include "matrixfunc/block_inverse.h"
#include "matrixfunc/closed_inverse.h"
#include "matrixfunc/cofactor_inverse.h"
#include "matrixfunc/gathered_blocks.h"
#include "matrixfunc/grouped_blocks.h"
#include "matrixfunc/tolerance.h"
#include "tarnm/tarnm.h"

namespace tarnm {

namespace inverse {

enum class Form {
    closed,  // adjugate, true division
    refined, // adjugate, refined reciprocal
    blocks,  // pivots and a 4x4 block, refined reciprocals
};

template <class T, Path path, Layout layout, bool isSingle, int order> constexpr Form formOf()
{
    if (path != Path::dense || sizeof(T) == 8) return Form::closed;
    if (order > 4) return Form::blocks;
    const bool isArrayOfSingles = layout == Layout::standard && !isSingle;
    return order == 3 && isArrayOfSingles ? Form::closed : Form::refined;
}

// The dense kernels of doubles take twice the tolerance at orders 3 and 4.
template <class T, Path path, int order> constexpr T toleranceOf()
{
    const bool isDoubled = path == Path::dense && sizeof(T) == 8 && order <= 4;
    return singularityTolerance<T>(order) * T(isDoubled ? 2 : 1);
}

template <Form form, class T, Path path, int order> struct Kernel {
    static constexpr bool isInTwoSteps = false;

    template <class V> TARNM_INLINE mask_t<V> operator()(const V (&a)[order][order], V (&x)[order][order]) const
    {
        const V tolerance = toleranceOf<T, path, order>();
        if constexpr (form == Form::closed)
            return longClosedInverse(a, tolerance, x);
        else if constexpr (form == Form::refined)
            return refinedInverse(a, tolerance, x);
        else
            return blockInverse(a, tolerance, x);
    }
};

// Orders 3 and 4 wait for one division as long as they compute.
template <Form form, int order> inline constexpr bool waitsLong = order == 3 || (order == 4 && form == Form::closed);

template <Form form, class T, Path path, int order>
requires waitsLong<form, order>
struct Kernel<form, T, path, order> {
    static constexpr bool isInTwoSteps = true;
    template <class V> using State = Adjugate<order, V>;

    template <class V> TARNM_INLINE mask_t<V> begin(const V (&a)[order][order], State<V>& state) const
    {
        const V tolerance = toleranceOf<T, path, order>();
        if constexpr (order == 3)
            return beginInverse3<form == Form::refined>(a, tolerance, state);
        else
            return beginInverse4(a, tolerance, state);
    }
    template <class V> TARNM_INLINE void finish(const State<V>& state, V (&x)[order][order]) const { state.scaleTo(x); }

    template <class V> TARNM_INLINE mask_t<V> operator()(const V (&a)[order][order], V (&x)[order][order]) const
    {
        State<V> state;
        const mask_t<V> failed = begin(a, state);
        finish(state, x);
        return failed;
    }
};

// Returns how many objects were completed. Groups of `together` objects are written together. `isDense`: the elements
// of a row stand side by side.
template <int order, bool isDense, int together, class Kernel, class S, class D>
std::int32_t invertObjects(const S& from, const D& to, Place place, const Kernel& kernel)
{
    using T = typename S::ObjectView::Element;
    using V = std::conditional_t<S::isSingle, T, lanes_for_order<T, order>>;
    const auto sources = source<order, order>(from);
    const auto results = result<order, order>(to);
    if constexpr (order > 4 && !isDense)
        return forEachGatheredBlock<V, order>(place, kernel, from, to);
    else if constexpr (together > 1)
        return forEachGroupedBlockOf<V, together>(place, kernel, sources, results);
    else if constexpr (Kernel::isInTwoSteps && !S::isSingle)
        return forEachOverlappedBlockOf<V>(place, kernel, sources, results);
    else
        return forEachBlockOf<V>(place, kernel, sources, results);
}

// Rows of 16 bytes, and every object on a boundary of 16.
template <class S, class D> bool arePairs(const S& from, const D& to)
{
    const auto address =
        reinterpret_cast<std::uintptr_t>(from.first.base) | reinterpret_cast<std::uintptr_t>(to.first.base);
    const auto strides = std::uintptr_t(from.objectStride) | std::uintptr_t(to.objectStride);
    return from.first.rowStride == 16 && to.first.rowStride == 16 && ((address | strides) & 15) == 0;
}

// The work area of the block form is the top of the result.
template <int order, class T, class Source, class Result> void leaveWorkRows(const Source& from, const Result& to)
{
    T a[order][order];
    for (int r = 0; r < order; ++r)
        for (int c = 0; c < order; ++c)
            a[r][c] = from(r, c);
    blockWorkRows(a, singularityTolerance<T>(order));
    for (int r = 0; r < order - 4; ++r)
        for (int c = 0; c < order; ++c)
            to.set(r, c, a[r][c]);
}

// A single object gains from its own rows what an array gains from lanes.
template <class Source, class Result> tarnmStatus invertByRows(const Source& from, const Result& to)
{
    FloatRow a[4], x[4];
    float determinant;
    TARNM_UNROLL
    for (int r = 0; r < 4; ++r)
        a[r] = load<FloatRow>(blocks::elementAddress(from, r, 0));
    if (refinedInverse4(a, singularityTolerance<float>(4), x, determinant)) return StatusSingular;
    TARNM_UNROLL
    for (int r = 0; r < 4; ++r)
        store(blocks::elementAddress(to, r, 0), x[r]);
    return StatusOk;
}

// One object of these orders takes four times as long by way of blocks.
template <int order, class Kernel, class Source, class Result>
[[gnu::noinline]] tarnmStatus invertAlone(const Source from, const Result to, Kernel kernel)
{
    using T = typename Result::Element;
    T a[order][order], x[order][order];
    TARNM_UNROLL
    for (int i = 0; i < order * order; ++i)
        a[i / order][i % order] = from(i / order, i % order);
    if (kernel(a, x)) return StatusSingular;
    TARNM_UNROLL
    for (int i = 0; i < order * order; ++i)
        to.set(i / order, i % order, x[i / order][i % order]);
    return StatusOk;
}

template <int order, Path path, Layout layout, class S, class D>
tarnmStatus closedForms(const S& from, const D& to, Place place)
{
    using T = typename S::ObjectView::Element;
    constexpr Form form = formOf<T, path, layout, S::isSingle, order>();
    constexpr bool isDense = path == Path::dense;
    constexpr Kernel<form, T, path, order> kernel;
    if constexpr (form == Form::refined && order == 4)
        if (place.total == 1) return invertByRows(from[0], to[0]);
    if constexpr (isDense && kernel.isInTwoSteps)
        if (place.count == 1) return invertAlone<order>(from[place.first], to[place.first], kernel);
    if constexpr (form == Form::refined && order == 4 && layout == Layout::standard && !S::isSingle)
        if (arePairs(from, to))
            return invertObjects<order, isDense, 2>(from, to, place, kernel) == place.count ? StatusOk : StatusSingular;
    const std::int32_t done = invertObjects<order, isDense, 1>(from, to, place, kernel);
    if (done == place.count) return StatusOk;
    if constexpr (form == Form::blocks) leaveWorkRows<order, T>(from[place.first + done], to[place.first + done]);
    return StatusSingular;
}

template <Path path, class S, class D>
tarnmStatus byCofactors(const S& from, const D& to, std::int32_t order, void* buffer, Place place)
{
    using namespace cofactors;
    using T = typename S::ObjectView::Element;
    constexpr SingularBy singularBy =
        path == Path::pointer && !S::isSingle ? SingularBy::lastPivot : SingularBy::determinant;
    const std::ptrdiff_t end = std::ptrdiff_t(place.first) + place.count;
    for (std::ptrdiff_t n = place.first; n < end; ++n) {
        const tarnmStatus status = cofactorInverse<singularBy, T>(from[n], to[n], order, buffer);
        if (status != StatusOk) return status;
    }
    return StatusOk;
}

} // namespace inverse

template <Path path, Layout layout, class S, class D>
tarnmStatus inverses(const S& from, const D& to, std::int32_t order, void* buffer, Place place)
{
    using namespace inverse;
    return forOrder3to6(
        order, [&]<int n>(std::integral_constant<int, n>) { return closedForms<n, path, layout>(from, to, place); },
        [&] { return byCofactors<path>(from, to, order, buffer, place); });
}

template <class S, class D> tarnmStatus inversesOfOne(const S& from, const D& to, Place place)
{
    using T = typename S::ObjectView::Element;
    for (std::ptrdiff_t n = 0; n < place.count; ++n) {
        const T a = from[n](0, 0);
        if (!(abs(a) > singularityTolerance<T>(1))) return StatusSingular;
        to[n].set(0, 0, T(1) / a);
    }
    return StatusOk;
}

// `determinantTo` may be null; it is written first, and with 0 where the matrix is singular.
inline tarnmStatus fixedInverse4(const float* from, float* determinantTo, float* to)
{
    FloatRow a[4], x[4];
    float determinant;
    TARNM_UNROLL
    for (int r = 0; r < 4; ++r)
        a[r] = load<FloatRow>(from + 4 * r);
    const bool isSingular = refinedInverse4(a, singularityTolerance<float>(4), x, determinant);
    if (determinantTo != nullptr) storeElement(determinantTo, isSingular ? 0.0f : determinant);
    if (isSingular) return StatusSingular;
    TARNM_UNROLL
    for (int r = 0; r < 4; ++r)
        store(to + 4 * r, x[r]);
    return StatusOk;
}

} // namespace tarnm
