#include "eigen/general_francis.h"
#include "eigen/general_hessenberg.h"
#include "eigen/general_solver.h"

namespace tarnm::general {
namespace {

// Eigenvalues of several objects, lane by lane.
template <class V> struct LaneValues {
    V* re;
    V* im;

    void set(int k, mask_t<V> lanesOfPair, V real, V imaginary) const
    {
        re[k - 1] = select(lanesOfPair, real, re[k - 1]);
        im[k - 1] = select(lanesOfPair, imaginary, im[k - 1]);
    }
};

// The tile as values of its lanes.
template <class V> struct LaneMatrices {
    static constexpr int elements = LaneTile<scalar_t<V>>::elements;

    V matrix[elements], vectors[elements];
    V re[largestOrderInLanes], im[largestOrderInLanes], tau[largestOrderInLanes], work[largestOrderInLanes];
};

// A tile is as wide as a pair of vectors; single ones are its first lanes.
template <class V> using LanesOfTile = scalar_t<V>[LaneTile<scalar_t<V>>::width];

template <class V> TARNM_INLINE void loadLanes(const LanesOfTile<V>* tile, V* values, int count)
{
    for (int e = 0; e < count; ++e)
        if constexpr (isPair<V>) {
            using Half = decltype(V::low);
            values[e] = V(load<Half>(tile[e]), load<Half>(tile[e] + lane_count_v<Half>));
        } else
            values[e] = load<V>(tile[e]);
}

template <class V> TARNM_INLINE void storeLanes(const V* values, LanesOfTile<V>* tile, int count)
{
    for (int e = 0; e < count; ++e)
        if constexpr (isPair<V>) {
            store(tile[e], values[e].low);
            store(tile[e] + lane_count_v<decltype(V::low)>, values[e].high);
        } else
            store(tile[e], values[e]);
}

template <Aim aim, class V> bool iterateLanes(LaneTile<scalar_t<V>>& tile, int order)
{
    LaneMatrices<V> lanes;
    const ColumnMatrix<V> h{lanes.matrix, order}, z{lanes.vectors, order};
    V *tau = lanes.tau - 1, *work = lanes.work - 1;
    loadLanes(tile.matrix, lanes.matrix, order * order);
    for (int k = 0; k < order; ++k)
        lanes.re[k] = lanes.im[k] = V(scalar_t<V>(0));

    reduceToHessenberg(h, tau, work);
    if constexpr (aim == Aim::schurForm) formOrthogonalMatrix(h, tau, z);
    clearBelowSubdiagonal(h);
    if (any(iterate<aim, V>(h, z, LaneValues<V>{lanes.re, lanes.im}))) return false;

    storeLanes(lanes.re, tile.re, order);
    storeLanes(lanes.im, tile.im, order);
    if constexpr (aim == Aim::schurForm) {
        storeLanes(lanes.matrix, tile.matrix, order * order);
        storeLanes(lanes.vectors, tile.vectors, order * order);
    }
    return true;
}

template <Aim aim, class T> bool iterateTile(LaneTile<T>& tile, int order, int live)
{
    using V = native_lanes<T>;
    return live > lane_count_v<V> ? iterateLanes<aim, Pair<V>>(tile, order) : iterateLanes<aim, V>(tile, order);
}

} // namespace

template <class T> bool findValuesInLanes(LaneTile<T>& tile, int order, int live)
{
    return iterateTile<Aim::values>(tile, order, live);
}

template <class T> bool findSchurFormInLanes(LaneTile<T>& tile, int order, int live)
{
    return iterateTile<Aim::schurForm>(tile, order, live);
}

TARNM_GENERAL_SOLVER_IN_LANES(, float)
TARNM_GENERAL_SOLVER_IN_LANES(, double)

} // namespace tarnm::general
