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

template <class V, class T> TARNM_INLINE void loadLanes(const T (*tile)[lane_count_v<V>], V* values, int count)
{
    for (int e = 0; e < count; ++e)
        values[e] = load<V>(tile[e]);
}

template <class V, class T> TARNM_INLINE void storeLanes(const V* values, T (*tile)[lane_count_v<V>], int count)
{
    for (int e = 0; e < count; ++e)
        store(tile[e], values[e]);
}

template <Aim aim, class T> bool iterateInLanes(LaneTile<T>& tile, int order)
{
    using V = native_lanes<T>;
    LaneMatrices<V> lanes;
    const ColumnMatrix<V> h{lanes.matrix, order}, z{lanes.vectors, order};
    V *tau = lanes.tau - 1, *work = lanes.work - 1;
    loadLanes(tile.matrix, lanes.matrix, order * order);
    for (int k = 0; k < order; ++k)
        lanes.re[k] = lanes.im[k] = V(T(0));

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

} // namespace

template <class T> bool findValuesInLanes(LaneTile<T>& tile, int order)
{
    return iterateInLanes<Aim::values>(tile, order);
}

template <class T> bool findSchurFormInLanes(LaneTile<T>& tile, int order)
{
    return iterateInLanes<Aim::schurForm>(tile, order);
}

TARNM_GENERAL_SOLVER_IN_LANES(, float)
TARNM_GENERAL_SOLVER_IN_LANES(, double)

} // namespace tarnm::general
