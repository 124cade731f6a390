// The general eigenproblem of one matrix in the caller's scratch, and the iteration of several matrices in lanes.
// Knows nothing of layouts; compiled once per element type.
//
//   Workspace             the parts of the scratch block
//   LaneTile              matrices side by side
//   Values                where the eigenvalues of one matrix go
//   findValues            eigenvalues of the matrix in the workspace
//   findSchurForm         quasi-triangular form, Schur vectors and eigenvalues of the matrix in the workspace
//   findValuesInLanes, findSchurFormInLanes
//                         the same for the matrices of a tile
//   findVectors           eigenvectors from the quasi-triangular form, normalised
//
// The working matrix is the source row by row and is read by columns: it is the transpose of the source whose
// eigenproblem is solved.
#pragma once

#include <cstdint>

#include "eigen/general_back_substitution.h"
#include "frame/operands.h"
#include "tarnm/tarnm.h"

namespace tarnm::general {

enum class Sets { right, left, both };

// Bytes of the scratch blocks, in wrap-around arithmetic.
template <class T> constexpr std::int32_t valuesBufferSize(std::int32_t order)
{
    const auto n = static_cast<std::uint32_t>(order);
    return static_cast<std::int32_t>(n * std::uint32_t(sizeof(T)) * (n + 5u));
}

template <class T> constexpr std::int32_t vectorsBufferSize(std::int32_t order)
{
    const auto n = static_cast<std::uint32_t>(order);
    return static_cast<std::int32_t>(n * std::uint32_t(sizeof(T)) * (3u * n + 5u));
}

// The block may begin at any address; what it has to spare takes up the way to the next element.
template <class T> class Workspace {
public:
    Workspace(void* block, std::int32_t order)
        : n(order)
        , values(aligned(block))
    {}

    int order() const { return n; }
    ColumnMatrix<T> matrix() const { return {values, n}; }
    ColumnMatrix<T> vectors() const { return {values + square(), n}; }
    ColumnMatrix<T> secondVectors() const { return {values + 2 * square(), n}; }
    // Three vectors of n elements behind `matrices` matrices, with subscripts from 1.
    T* vector(int matrices, int number) const { return values + matrices * square() + std::ptrdiff_t(number) * n - 1; }

private:
    static T* aligned(void* block)
    {
        const auto address = reinterpret_cast<std::uintptr_t>(block);
        return reinterpret_cast<T*>((address + sizeof(T) - 1) & ~std::uintptr_t(sizeof(T) - 1));
    }
    std::ptrdiff_t square() const { return std::ptrdiff_t(n) * n; }

    int n;
    T* values;
};

// Eigenvalues of one object, with subscripts from 1.
template <class T> struct Values {
    ScalarArray<T> re, im;
    std::ptrdiff_t first; // element of the first eigenvalue

    void set(int k, bool, T real, T imaginary) const
    {
        re.set(first + k - 1, real);
        im.set(first + k - 1, imaginary);
    }
    T imaginary(int k) const { return im[first + k - 1]; }
};

// Matrices up to this order are worked on in lanes.
inline constexpr int largestOrderInLanes = 8;

// Lane l of value e belongs to object l.
template <class T> struct alignas(64) LaneTile {
    static constexpr int width = 2 * native_lane_count_v<T>;
    static constexpr int elements = largestOrderInLanes * largestOrderInLanes;

    T matrix[elements][width];
    T vectors[elements][width];
    T re[largestOrderInLanes][width];
    T im[largestOrderInLanes][width];
};

template <class T> tarnmStatus findValues(const Workspace<T>& work, const Values<T>& values);
template <class T> tarnmStatus findSchurForm(const Workspace<T>& work, int matrices, const Values<T>& values);

// Whether all lanes converged, of which `live` hold objects. Nothing is promised of the tile where one did not.
template <class T> bool findValuesInLanes(LaneTile<T>& tile, int order, int live);
template <class T> bool findSchurFormInLanes(LaneTile<T>& tile, int order, int live);

// From the Schur form in the workspace. Right vectors end in `vectors`, left ones too unless both are wanted: then they
// end in `secondVectors`.
template <class T> PassEnd findVectors(const Workspace<T>& work, Sets sets, const Values<T>& values);

#define TARNM_GENERAL_SOLVER(prefix, T)                                                                                \
    prefix template tarnmStatus findValues<T>(const Workspace<T>&, const Values<T>&);                                  \
    prefix template tarnmStatus findSchurForm<T>(const Workspace<T>&, int, const Values<T>&);                          \
    prefix template PassEnd findVectors<T>(const Workspace<T>&, Sets, const Values<T>&);
#define TARNM_GENERAL_SOLVER_IN_LANES(prefix, T)                                                                       \
    prefix template bool findValuesInLanes<T>(LaneTile<T>&, int, int);                                                 \
    prefix template bool findSchurFormInLanes<T>(LaneTile<T>&, int, int);

TARNM_GENERAL_SOLVER(extern, float)
TARNM_GENERAL_SOLVER(extern, double)
TARNM_GENERAL_SOLVER_IN_LANES(extern, float)
TARNM_GENERAL_SOLVER_IN_LANES(extern, double)

} // namespace tarnm::general
