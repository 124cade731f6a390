#include "products/planes.h"

namespace tarnm {
namespace {

template <class V> TARNM_INLINE V lanesOf(PlaneTable<const scalar_t<V>> table, int element, std::ptrdiff_t o)
{
    return load<V>(table.addresses[element] + o * table.step);
}

// Objects o, o + 1, ... as long as they fill a V; o is the first that is left over.
template <class V, class Body> TARNM_INLINE void inVectorsOf(std::ptrdiff_t& o, std::ptrdiff_t count, const Body& body)
{
    for (; o + lane_count_v<V> <= count; o += lane_count_v<V>)
        body(V(0), o);
}

// body(V{}, o) for all objects, in vectors of the target, then in vectors of 16 bytes, then one by one.
template <class T, class Body> TARNM_INLINE void overObjects(std::ptrdiff_t count, const Body& body)
{
    std::ptrdiff_t o = 0;
    inVectorsOf<native_lanes<T>>(o, count, body);
    if constexpr (sizeof(native_lanes<T>) > 16) inVectorsOf<lanes<T, 16 / sizeof(T)>>(o, count, body);
    inVectorsOf<T>(o, count, body);
}

} // namespace

template <int n, class T>
void multiplyPlaneTables(PlaneTable<const T> a, PlaneTable<const T> b, PlaneTable<T> d, std::ptrdiff_t count)
{
    overObjects<T>(
        count, [&](auto v, std::ptrdiff_t o) __attribute__((always_inline)) {
            using V = decltype(v);
            for (int i = 0; i < n; ++i) {
                V row[n];
                TARNM_UNROLL
                for (int k = 0; k < n; ++k)
                    row[k] = lanesOf<V>(a, i * n + k, o);
                TARNM_UNROLL
                for (int j = 0; j < n; ++j)
                    store(d.addresses[i * n + j] + o,
                          rowOfCase<n, RowGrouping::none>(
                              [&](int k) __attribute__((always_inline)) { return row[k]; },
                              [&](int k) __attribute__((always_inline)) { return lanesOf<V>(b, k * n + j, o); }));
            }
        });
}

template <int n, class T>
void multiplyVectorPlaneTables(PlaneTable<const T> m, PlaneTable<const T> x, PlaneTable<const T> u, PlaneTable<T> d,
                               std::ptrdiff_t count)
{
    overObjects<T>(
        count, [&](auto v, std::ptrdiff_t o) __attribute__((always_inline)) {
            using V = decltype(v);
            V factors[n];
            TARNM_UNROLL
            for (int k = 0; k < n; ++k)
                factors[k] = lanesOf<V>(x, k, o);
            TARNM_UNROLL
            for (int i = 0; i < n; ++i) {
                V sum = rowOfCase<n, RowGrouping::none>(
                    [&](int k) __attribute__((always_inline)) { return lanesOf<V>(m, i * n + k, o); },
                    [&](int k) __attribute__((always_inline)) { return factors[k]; });
                if (u.addresses != nullptr) sum = sum + lanesOf<V>(u, i, o);
                store(d.addresses[i] + o, sum);
            }
        });
}

#define TARNM_PLANES(T, n)                                                                                             \
    template void multiplyPlaneTables<n>(PlaneTable<const T>, PlaneTable<const T>, PlaneTable<T>, std::ptrdiff_t);     \
    template void multiplyVectorPlaneTables<n>(PlaneTable<const T>, PlaneTable<const T>, PlaneTable<const T>,          \
                                               PlaneTable<T>, std::ptrdiff_t);

#define TARNM_PLANES_OF_ALL_ORDERS(T)                                                                                  \
    TARNM_PLANES(T, 3)                                                                                                 \
    TARNM_PLANES(T, 4)                                                                                                 \
    TARNM_PLANES(T, 5)                                                                                                 \
    TARNM_PLANES(T, 6)

TARNM_PLANES_OF_ALL_ORDERS(float)
TARNM_PLANES_OF_ALL_ORDERS(double)

} // namespace tarnm
