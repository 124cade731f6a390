#include "eigen/general_solver.h"

#include "eigen/general_francis.h"
#include "eigen/general_hessenberg.h"
#include "eigen/general_normalise.h"

namespace tarnm::general {
namespace {

template <class T> struct ImaginaryParts {
    const Values<T>& values;

    T operator[](int k) const { return values.imaginary(k); }
};

} // namespace

template <class T> tarnmStatus findValues(const Workspace<T>& work, const Values<T>& values)
{
    const ColumnMatrix<T> h = work.matrix();
    reduceToHessenberg(h, work.vector(1, 0), work.vector(1, 1));
    clearBelowSubdiagonal(h);
    return iterate<Aim::values, T>(h, h, values) ? StatusNotConverged : StatusOk;
}

template <class T> tarnmStatus findSchurForm(const Workspace<T>& work, int matrices, const Values<T>& values)
{
    const ColumnMatrix<T> h = work.matrix(), z = work.vectors();
    reduceToHessenberg(h, work.vector(matrices, 0), work.vector(matrices, 1));
    formOrthogonalMatrix(h, work.vector(matrices, 0), z);
    clearBelowSubdiagonal(h);
    return iterate<Aim::schurForm, T>(h, z, values) ? StatusNotConverged : StatusOk;
}

template <class T> PassEnd findVectors(const Workspace<T>& work, Sets sets, const Values<T>& values)
{
    const int matrices = sets == Sets::both ? 3 : 2;
    const VectorWork<T> parts{work.vector(matrices, 0), work.vector(matrices, 1), work.vector(matrices, 2)};
    const SchurForm<T> t(work.matrix(), parts.norms);
    const ColumnMatrix<T> first = work.vectors(), second = work.secondVectors();
    const bool isBoth = sets == Sets::both;
    if (isBoth)
        for (std::ptrdiff_t e = 0; e < std::ptrdiff_t(work.order()) * work.order(); ++e)
            second.values[e] = first.values[e];

    PassEnd end = sets == Sets::left ? leftVectors(t, parts, first) : rightVectors(t, parts, first);
    if (end == PassEnd::complete && isBoth) end = leftVectors(t, parts, second);
    if (end != PassEnd::complete) return end;
    normaliseVectors(first, ImaginaryParts<T>{values});
    if (isBoth) normaliseVectors(second, ImaginaryParts<T>{values});
    return end;
}

TARNM_GENERAL_SOLVER(, float)
TARNM_GENERAL_SOLVER(, double)

} // namespace tarnm::general
