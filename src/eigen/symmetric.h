// Eigenvalues and eigenvectors of symmetric matrices: the kernels of the members.
//
//   symmetricEigenvalues
//   symmetricEigenvectors
//
// Objects are worked on in order; the first that fails ends the call and gives its status. The objects behind it are
// untouched. What it leaves itself:
//
//   not converged              values and vectors as the iteration left them
//   singular, order 2          nothing
//   singular, order above 2    values and vectors, sorted only by the single-object members with vectors
#pragma once

#include "eigen/symmetric_blocks.h"
#include "eigen/symmetric_solve.h"
#include "frame/blocks.h"

namespace tarnm {

namespace symmetric {

struct NoResults {
    NoVectors operator[](std::ptrdiff_t) const { return {}; }
};

template <class T, Spacing spacing> StridedVectors<T> storedVectors(const StridedMatrix<T, spacing>& matrix, int order)
{
    return {{matrix.base, matrix.rowStride, {matrix.elementStride.bytes}}, order};
}
template <class T> ScatteredVectors<T> storedVectors(const ScatteredMatrix<T>& matrix, int order)
{
    return {matrix, order};
}
inline NoVectors storedVectors(NoVectors none, int) { return none; }

template <class W, class T, class Source, class Vectors>
tarnmStatus solveStored(const Source& source, T* work, T* values, Vectors vectors, int n, const Variant& variant)
{
    if (n == 1) {
        storeElement(values, source(0, 0));
        setIdentity<T>(vectors, n);
        return StatusOk;
    }
    if (n == 2) {
        const auto outcome =
            solveOrder2<W, T>(source(0, 0), source(0, 1), source(1, 1), Cells<T>{values}, vectors, variant);
        return outcome.singular ? StatusSingular : StatusOk;
    }
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c)
            storeElement(work + std::ptrdiff_t(r) * n + c, source(r, c));
    setIdentity<T>(vectors, n);
    return solveOne<W>(work, values, vectors, n, variant);
}

// One object after the other, `first` to the end or to the first that fails.
template <class W, class T, class Sources, class Results>
tarnmStatus solveSingly(const Sources& sources, T* work, T* values, const Results& results, int n,
                        const Variant& variant, std::ptrdiff_t first, std::ptrdiff_t end)
{
    for (std::ptrdiff_t k = first; k < end; ++k) {
        const auto vectors = storedVectors(results[k], n);
        const tarnmStatus status = solveStored<W>(sources[k], work, values + k * n, vectors, n, variant);
        if (status != StatusOk) return status;
    }
    return StatusOk;
}

// The last object of a block that is not full stands in the lanes behind it as well.
template <class W, class T, class Sources>
void loadObjects(const Sources& sources, std::ptrdiff_t first, int live, int n, Block<W, T>& block)
{
    constexpr int lanes = Block<W, T>::lanes;
    for (int l = 0; l < lanes; ++l) {
        const auto source = sources[first + (l < live ? l : live - 1)];
        T* cell = block.matrix + l;
        for (int r = 0; r < n; ++r)
            for (int c = 0; c < n; ++c, cell += lanes)
                *cell = source(r, c);
    }
}

template <class W, class T, class Results>
void storeObjects(const Block<W, T>& block, T* values, const Results& results, std::ptrdiff_t first, int live, int n)
{
    constexpr int lanes = Block<W, T>::lanes;
    for (int l = 0; l < live; ++l) {
        for (int j = 0; j < n; ++j)
            storeElement(values + (first + l) * n + j, block.values[j * lanes + l]);
        if constexpr (!std::is_same_v<Results, NoResults>) {
            const auto vectors = results[first + l];
            for (int j = 0; j < n; ++j) {
                const T* column = block.vectors + int(block.columns[j * lanes + l]) * lanes + l;
                for (int r = 0; r < n; ++r)
                    vectors.set(r, j, column[r * n * lanes]);
            }
        }
    }
}

// The same for a constant order, by way of registers. A block takes several of them.
template <class W, class T>
using Piece = lanes < T,
      native_lane_count_v<T><Block<W, T>::lanes ? native_lane_count_v<T> : Block<W, T>::lanes>;

template <int n, class W, class T, class Sources>
void loadObjectsOfOrder(const Sources& sources, std::ptrdiff_t first, int live, Block<W, T>& block)
{
    using P = Piece<W, T>;
    constexpr int lanes = Block<W, T>::lanes;
    for (int l = 0; l < lanes; l += P::size()) {
        P a[n][n];
        if (l < live)
            loadBlock(sources, first + l, live - l < P::size() ? live - l : P::size(), a);
        else
            loadBlock(sources, first + live - 1, 1, a);
        for (int k = 0; k < n * n; ++k)
            store(block.matrix + k * lanes + l, a[k / n][k % n]);
    }
}

template <int n, class W, class T, class Results>
void storeObjectsOfOrder(const Block<W, T>& block, T* values, const Results& results, std::ptrdiff_t first, int live)
{
    using P = Piece<W, T>;
    constexpr int lanes = Block<W, T>::lanes;
    for (int l = 0; l < live; l += P::size()) {
        const int count = live - l < P::size() ? live - l : P::size();
        P found[n];
        for (int j = 0; j < n; ++j)
            found[j] = load<P>(block.values + j * lanes + l);
        storeBlock(vectorArray<Spacing::dense>(values, n * int(sizeof(T)), sizeof(T)), first + l, count, found);
        if constexpr (!std::is_same_v<Results, NoResults>) {
            P vectors[n][n];
            for (int k = 0; k < n * n; ++k)
                vectors[k / n][k % n] = load<P>(block.vectors + k * lanes + l);
            storeBlock(results, first + l, count, vectors);
        }
    }
}

template <Family family, class W, class T, class Sources, class Results>
tarnmStatus solveInBlocks(const Sources& sources, T* work, T* values, const Results& results, int n,
                          const Variant& variant, std::ptrdiff_t first, std::ptrdiff_t end)
{
    Block<W, T> block;
    while (end - first > 1) {
        const int live = end - first < block.lanes ? int(end - first) : block.lanes;
        const bool isSolved = atOrder(
            n, [&](auto order) __attribute__((always_inline)) {
                if constexpr (order > 0)
                    loadObjectsOfOrder<order>(sources, first, live, block);
                else
                    loadObjects(sources, first, live, n, block);
                if (!solveBlock<family>(block, n, variant)) return false;
                if constexpr (order > 0)
                    storeObjectsOfOrder<order>(block, values, results, first, live);
                else
                    storeObjects(block, values, results, first, live, n);
                return true;
            });
        if (!isSolved) {
            const tarnmStatus status = solveSingly<W>(sources, work, values, results, n, variant, first, first + live);
            if (status != StatusOk) return status;
        }
        first += live;
    }
    return solveSingly<W>(sources, work, values, results, n, variant, first, end);
}

template <Family family, Layout layout, Path path, class T, class Sources, class Results>
tarnmStatus solveObjects(const Sources& sources, T* work, T* values, const Results& results, int n, Place place)
{
    constexpr Form form = Sources::isSingle ? Form::one : Form::many;
    using W = Working<family, form, T>;
    static constexpr Variant variant = variantOf<family, form, T>(layout, path);
    const std::ptrdiff_t first = place.first, end = first + place.count;
    if constexpr (form == Form::many)
        if (n > 1 && n <= blockOrderLimit)
            return solveInBlocks<family, W>(sources, work, values, results, n, variant, first, end);
    return solveSingly<W>(sources, work, values, results, n, variant, first, end);
}

} // namespace symmetric

template <Layout layout, Path path, class T, class Sources>
tarnmStatus symmetricEigenvalues(const Sources& sources, void* pBuffer, T* pDstValues, std::int32_t n, Place place)
{
    using namespace symmetric;
    return solveObjects<Family::values, layout, path>(sources, static_cast<T*>(pBuffer), pDstValues, NoResults{}, n,
                                                      place);
}

template <Layout layout, Path path, class T, class Sources, class Results>
tarnmStatus symmetricEigenvectors(const Sources& sources, void* pBuffer, const Results& results, T* pDstValues,
                                  std::int32_t n, Place place)
{
    using namespace symmetric;
    return solveObjects<Family::vectors, layout, path>(sources, static_cast<T*>(pBuffer), pDstValues, results, n,
                                                       place);
}

} // namespace tarnm
