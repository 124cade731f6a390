// Vectors that memory fills in part or more than once. All memory ends at an inaccessible page.
#include "frame/operands.h"
#include "frame/partial.h"

#include <cstring>

#include <gtest/gtest.h>

#include "guarded_memory.h"

namespace tarnm {
namespace {

template <class T> T* elementsOf(const GuardedMemory& memory)
{
    T* const elements = reinterpret_cast<T*>(memory.data());
    for (std::size_t i = 0; i < memory.size() / sizeof(T); ++i)
        storeElement(elements + i, T(i + 1));
    return elements;
}

template <class V> class Partial : public testing::Test {};

using Vectors = testing::Types<lanes<float, 4>, lanes<float, 8>, lanes<double, 2>, lanes<double, 4>,
                               native_lanes<float>, native_lanes<double>>;
TYPED_TEST_SUITE(Partial, Vectors);

template <int n, class V> void expectFirst(Flush flush)
{
    using T = scalar_t<V>;
    const GuardedMemory source(n * sizeof(T), flush, 1), target(n * sizeof(T), flush, 1);
    const T* const from = elementsOf<T>(source);
    T* const to = elementsOf<T>(target);
    const V loaded = loadFirst<n, V>(from);
    for (int l = 0; l < V::size(); ++l)
        EXPECT_EQ(loaded[l], l < n ? T(l + 1) : T(0)) << n << " of " << V::size() << ", lane " << l;
    storeFirst<n>(to, V(T(7)) + loaded);
    for (int l = 0; l < n; ++l)
        EXPECT_EQ(loadElement(to + l), T(l + 8)) << n << " of " << V::size() << ", lane " << l;
    if constexpr (n < V::size()) expectFirst<n + 1, V>(flush);
}

TYPED_TEST(Partial, MovesTheFirstLanesAndNothingElse)
{
    expectFirst<1, TypeParam>(Flush::begin);
    expectFirst<1, TypeParam>(Flush::end);
}

template <unsigned bits, class V> void expectLanes()
{
    using T = scalar_t<V>;
    constexpr int last = 31 - __builtin_clz(bits);
    const GuardedMemory source((last + 1) * sizeof(T), Flush::end, 1);
    const V loaded = loadLanes<bits, V>(elementsOf<T>(source));
    for (int l = 0; l < V::size(); ++l)
        EXPECT_EQ(loaded[l], (bits >> l & 1) != 0 ? T(l + 1) : T(0)) << bits << ", lane " << l;
}

TYPED_TEST(Partial, LoadsTheLanesOfAPattern)
{
    constexpr unsigned all = (1u << TypeParam::size()) - 1;
    expectLanes<1, TypeParam>();
    expectLanes<2, TypeParam>();
    expectLanes<0x7777u & all, TypeParam>();
    expectLanes<(0x1249u & all) | 2, TypeParam>();
    expectLanes<all, TypeParam>();
}

template <int run, class V> void expectRepeated()
{
    using T = scalar_t<V>;
    const GuardedMemory source(run * sizeof(T), Flush::end, 1);
    const V loaded = loadRepeated<run, V>(elementsOf<T>(source));
    for (int l = 0; l < V::size(); ++l)
        EXPECT_EQ(loaded[l], T(l % run + 1)) << run << " in " << V::size() << ", lane " << l;
    if constexpr (2 * run <= V::size()) expectRepeated<2 * run, V>();
}

TYPED_TEST(Partial, RepeatsARun) { expectRepeated<16 / sizeof(scalar_t<TypeParam>), TypeParam>(); }

template <class V, class... Address> void expectPieces(const GuardedMemory& source, Address... address)
{
    using T = scalar_t<V>;
    constexpr int length = 16 / sizeof(T);
    const V loaded = loadFirstPieces<V>(address...);
    const T* const places[] = {address...};
    for (std::size_t l = 0; l < sizeof...(address) * length; ++l)
        EXPECT_EQ(loaded[int(l)], loadElement(places[l / length] + l % length)) << "lane " << l;
    if constexpr (sizeof...(address) * 16 < sizeof(V))
        expectPieces<V>(source, address...,
                        reinterpret_cast<const T*>(source.data()) + sizeof...(address) * (length - 1));
}

TYPED_TEST(Partial, JoinsPieces)
{
    using T = scalar_t<TypeParam>;
    const GuardedMemory source(64, Flush::end, 1);
    const T* const last = elementsOf<T>(source) + (64 - 16) / sizeof(T);
    expectPieces<TypeParam>(source, last);
}

} // namespace
} // namespace tarnm
