// Traces and Frobenius norms.
#include <cmath>
#include <limits>

#include "reference/problem.h"

namespace tarnm::reference {
namespace {

template <class T> void trace(const Problem<T>& problem, Outcome<T>& outcome)
{
    const int order = problem.size("width");
    for (int n = 0; n < problem.count(); ++n) {
        const bool isCase = order >= 3 && order <= 6;
        T sum = isCase ? problem.stored("src", n, 0, 0) : T(0) + problem.stored("src", n, 0, 0);
        for (int i = 1; i < order; ++i)
            sum += problem.stored("src", n, i, i);
        outcome.exactly("pDst", n, 0, sum);
    }
}

// The order of additions is open. Each square and each of at most n additions has a relative error of half an epsilon,
// all terms have one sign, and the root halves the relative error and adds half an epsilon: n epsilon is an ample bound.
template <class T> void frobeniusNorm(const Problem<T>& problem, Outcome<T>& outcome)
{
    using limits = std::numeric_limits<T>;
    const int rows = problem.size("height"), columns = problem.size("width");
    for (int n = 0; n < problem.count(); ++n) {
        long double sum = 0;
        bool isNaN = false, isInfinite = false, isExtreme = false;
        for (int r = 0; r < rows; ++r)
            for (int c = 0; c < columns; ++c) {
                const T x = problem.stored("src", n, r, c), square = x * x;
                isNaN = isNaN || std::isnan(x);
                isInfinite = isInfinite || std::isinf(square);
                isExtreme = isExtreme || square > limits::max() / T(64) || (x != 0 && square < limits::min());
                sum += static_cast<long double>(x) * x;
            }
        if (isNaN)
            outcome.exactly("pDst", n, 0, limits::quiet_NaN());
        else if (isInfinite)
            outcome.exactly("pDst", n, 0, limits::infinity());
        else if (isExtreme && sum > static_cast<long double>(limits::max()) / 64)
            outcome.anything("pDst", n, 0);
        else {
            const double norm = double(std::sqrt(sum));
            // Squares below the smallest normal number lose up to half a denormal each.
            const double lost = isExtreme ? std::sqrt(double(rows) * columns * limits::denorm_min()) : 0;
            outcome.within("pDst", n, 0, norm, norm * rows * columns * limits::epsilon() + lost);
        }
    }
}

const Registration traces("Trace", "m ma", trace<float>, trace<double>);
const Registration norms("FrobNorm", "m ma", frobeniusNorm<float>, frobeniusNorm<double>);

} // namespace
} // namespace tarnm::reference
