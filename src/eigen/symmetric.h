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

#include "eigen/symmetric_solve.h"

namespace tarnm {

namespace symmetric {

struct NoResults {
    NoVectors operator[](std::ptrdiff_t) const { return {}; }
};

template <class T, Spacing spacing>
StridedVectors<T> storedVectors(const StridedMatrix<T, spacing>& matrix, int order)
{
    return {{matrix.base, matrix.rowStride, {matrix.elementStride.bytes}}, order};
}
template <class T>
ScatteredVectors<T> storedVectors(const ScatteredMatrix<T>& matrix, int order)
{
    return {matrix, order};
}
inline NoVectors storedVectors(NoVectors none, int)
{
    return none;
}

template <class Working, class T, class Source, class Vectors>
tarnmStatus solveStored(const Source& source, T* work, T* values, Vectors vectors, int n, const Variant& variant)
{
    if (n == 1) {
        storeElement(values, source(0, 0));
        setIdentity<T>(vectors, n);
        return StatusOk;
    }
    if (n == 2) {
        const auto outcome =
            solveOrder2<Working, T>(source(0, 0), source(0, 1), source(1, 1), Cells<T>{values}, vectors, variant);
        return outcome.singular ? StatusSingular : StatusOk;
    }
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c) storeElement(work + std::ptrdiff_t(r) * n + c, source(r, c));
    setIdentity<T>(vectors, n);
    return solveOne<Working>(work, values, vectors, n, variant);
}

template <Family family, Layout layout, Path path, class T, class Sources, class Results>
tarnmStatus solveObjects(const Sources& sources, T* work, T* values, const Results& results, int n, Place place)
{
    constexpr Form form = Sources::isSingle ? Form::one : Form::many;
    static constexpr Variant variant = variantOf<family, form, T>(layout, path);
    const std::ptrdiff_t end = std::ptrdiff_t(place.first) + place.count;
    for (std::ptrdiff_t k = place.first; k < end; ++k) {
        const tarnmStatus status = solveStored<Working<family, form, T>>(sources[k], work, values + k * n,
                                                                         storedVectors(results[k], n), n, variant);
        if (status != StatusOk) return status;
    }
    return StatusOk;
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
