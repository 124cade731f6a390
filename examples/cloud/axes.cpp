#include "axes.h"

#include <tarnm/tarnm.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace cloud {
namespace {

constexpr std::int32_t order = 3;

// The iteration does not give up on a matrix because of its eigenvalues but because of the way it takes to them, and another
// order of the coordinates is another way.
bool solveAlone(const Matrix3& matrix, std::array<float, 3>& values, Matrix3& vectors)
{
    for (std::size_t turn = 0; turn < 3; ++turn) {
        const std::size_t at[] = {turn, (turn + 1) % 3, (turn + 2) % 3};
        double turned[9], axes[9], found[3], scratch[9];
        for (std::size_t r = 0; r < 3; ++r) {
            for (std::size_t c = 0; c < 3; ++c)
                turned[3 * r + c] = matrix[3 * at[r] + at[c]];
        }
        constexpr std::int32_t element = sizeof(double), row = order * element;
        if (tarnmEigenValuesVectorsSym_m_64f(turned, row, element, scratch, axes, row, element, found, order) !=
            StatusOk)
            continue;
        for (std::size_t j = 0; j < 3; ++j) {
            values[j] = static_cast<float>(found[j]);
            for (std::size_t r = 0; r < 3; ++r)
                vectors[3 * at[r] + j] = static_cast<float>(axes[3 * r + j]);
        }
        return true;
    }
    for (std::size_t j = 0; j < 3; ++j)
        values[j] = matrix[4 * j];
    vectors = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    return false;
}

void solveAlone(const Matrix3& matrix, std::size_t n, Axes& axes)
{
    ++axes.alone;
    if (!solveAlone(matrix, axes.values[n], axes.vectors[n])) ++axes.unsolved;
}

// Nothing but a few roundings lies between the images of the vectors and their multiples.
bool isPrecise(const Matrix3& matrix, const std::array<float, 3>& values, const Matrix3& vectors)
{
    constexpr float limit = 16 * std::numeric_limits<float>::epsilon();
    float largest = 0;
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t j = 0; j < 3; ++j) {
            const float image =
                matrix[3 * r] * vectors[j] + matrix[3 * r + 1] * vectors[3 + j] + matrix[3 * r + 2] * vectors[6 + j];
            largest = std::max(largest, std::abs(image - values[j] * vectors[3 * r + j]));
        }
    }
    return largest <= limit;
}

// A call that fails does not tell where, and with threads it may leave gaps: it is made again for its parts.
void solve(const std::vector<Matrix3>& matrices, std::size_t first, std::size_t count, Axes& axes)
{
    constexpr std::int32_t element = sizeof(float), row = order * element, object = order * row;
    float scratch[9];
    const tarnmStatus status = tarnmEigenValuesVectorsSym_ma_32f(
        matrices[first].data(), object, row, element, scratch, axes.vectors[first].data(), object, row, element,
        axes.values[first].data(), order, static_cast<std::int32_t>(count));
    if (status == StatusOk) {
        for (std::size_t n = first; n < first + count; ++n) {
            if (!isPrecise(matrices[n], axes.values[n], axes.vectors[n])) solveAlone(matrices[n], n, axes);
        }
        return;
    }
    if (status != StatusNotConverged && status != StatusSingular)
        throw std::logic_error("EigenValuesVectorsSym_ma returned the status " + std::to_string(status));
    if (count == 1) {
        solveAlone(matrices[first], first, axes);
        return;
    }
    const std::size_t part = std::max<std::size_t>(1, count / 16), end = first + count;
    for (; first < end; first += part)
        solve(matrices, first, std::min(part, end - first), axes);
}

} // namespace

Axes axesOf(const std::vector<Matrix3>& matrices)
{
    static_assert(sizeof(Matrix3) == 9 * sizeof(float));
    Axes axes;
    axes.values.resize(matrices.size());
    axes.vectors.resize(matrices.size());
    if (!matrices.empty()) solve(matrices, 0, matrices.size(), axes);
    return axes;
}

} // namespace cloud
