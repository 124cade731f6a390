#include "eigen/symmetric_blocks.h"

#include "eigen/symmetric_solve.h"

namespace tarnm::symmetric {

namespace {

// The vector of a reflection in the working type: every element is read many times.
template <class S, class W> struct WideRun {
    W values[blockOrderLimit];

    TARNM_INLINE W get(int i) const { return values[i]; }
    TARNM_INLINE void set(int i, S value) { values[i] = widen<W>(value); }
};

template <class W> TARNM_INLINE bool succeeded(const Outcome<W>& outcome)
{
    return none(outcome.notConverged) && none(outcome.singular);
}

template <class W, class S, class Vectors>
TARNM_INLINE bool solveLanes(scalar_t<S>* matrix, scalar_t<S>* values, Vectors& vectors, int n, const Variant& variant)
{
    setIdentity<S>(vectors, n);
    WideRun<S, W> reflection;
    return succeeded(solve<W>(Matrix<S>{{matrix}, n}, reflection, Cells<S>{values}, vectors, variant));
}

template <class W, class S, class Vectors>
TARNM_INLINE bool solveOrder2Lanes(Cells<S> a, Cells<S> values, Vectors& vectors, const Variant& variant)
{
    return succeeded(solveOrder2<W>(a.get(0), a.get(1), a.get(3), values, vectors, variant));
}

} // namespace

template <Family family, class W, class T> bool solveBlock(Block<W, T>& block, int n, const Variant& variant)
{
    using S = StoredLanes<W, T>;
    using Wide = WorkingLanes<W, T>;
    return atOrder(
        n, [&](auto constant) __attribute__((always_inline)) {
            const int order = constant > 0 ? int(constant) : n;
            if constexpr (family == Family::values) {
                NoVectors none;
                if constexpr (constant == 2)
                    return solveOrder2Lanes<Wide>(Cells<S>{block.matrix}, Cells<S>{block.values}, none, variant);
                else
                    return solveLanes<Wide, S>(block.matrix, block.values, none, order, variant);
            } else {
                LaneVectors<S, Wide> vectors{{block.vectors}, {block.columns}, order};
                if constexpr (constant == 2)
                    return solveOrder2Lanes<Wide>(Cells<S>{block.matrix}, Cells<S>{block.values}, vectors, variant);
                else if (!solveLanes<Wide, S>(block.matrix, block.values, vectors, order, variant))
                    return false;
                if constexpr (constant > 2) vectors.template arrange<constant>();
                return true;
            }
        });
}

template bool solveBlock<Family::values>(Block<float, float>&, int, const Variant&);
template bool solveBlock<Family::values>(Block<double, double>&, int, const Variant&);
template bool solveBlock<Family::vectors>(Block<double, float>&, int, const Variant&);
template bool solveBlock<Family::vectors>(Block<double, double>&, int, const Variant&);

} // namespace tarnm::symmetric
