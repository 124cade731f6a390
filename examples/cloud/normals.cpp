#include "normals.h"

#include "axes.h"
#include "neighbours.h"
#include "progress.h"
#include "stopwatch.h"

#include <tarnm/tarnm.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

namespace cloud {
namespace {

constexpr std::int32_t element = sizeof(float), row = 3 * element, object = 3 * row;

void check(tarnmStatus status, const char* call)
{
    if (status != StatusOk)
        throw std::logic_error(std::string(call) + " returned the status " + std::to_string(status));
}

// Writes the neighbours relative to their mean, scaled so that the largest coordinate is 1 or -1: differences in double,
// whatever the cloud has, lose nothing of what single precision can hold. Neighbours at one place stay 0.
template <class T>
void centre(const Points<T>& points, const std::vector<std::uint32_t>& numbers, std::vector<Point<double>>& offsets,
            float* result)
{
    Point<double> mean{};
    for (std::uint32_t n : numbers) {
        for (std::size_t k = 0; k < 3; ++k)
            mean[k] += static_cast<double>(points[n][k]) / static_cast<double>(numbers.size());
    }
    double largest = 0;
    bool coincide = true;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        coincide = coincide && points[numbers[i]] == points[numbers[0]];
        for (std::size_t k = 0; k < 3; ++k) {
            offsets[i][k] = static_cast<double>(points[numbers[i]][k]) - mean[k];
            largest = std::max(largest, std::abs(offsets[i][k]));
        }
    }
    for (const Point<double>& offset : offsets) {
        for (double value : offset)
            *result++ = coincide ? 0 : static_cast<float>(value / largest);
    }
}

// Covariances of `count` neighbourhoods, each scaled to the trace 1 and shifted by the identity. The tolerances of the
// eigenproblem are absolute, so matrices must not be small; and a plane has the eigenvalue 0, which counts as singular.
// Returns which neighbourhoods have no spread: their matrix is the identity alone.
std::vector<bool> shiftedCovariances(const std::vector<float>& offsets, std::size_t neighbours,
                                     std::vector<Matrix3>& result)
{
    const auto count = static_cast<std::int32_t>(result.size()), height = static_cast<std::int32_t>(neighbours);
    const std::int32_t size = height * row;
    std::vector<Matrix3> products(result.size());
    std::vector<float> factors(result.size());
    check(tarnmMul_tama_32f(offsets.data(), size, row, element, 3, height, offsets.data(), size, row, element, 3,
                            height, products[0].data(), object, row, element, count),
          "Mul_tama");
    check(tarnmTrace_ma_32f(products[0].data(), object, row, element, 3, factors.data(), count), "Trace_ma");
    std::vector<bool> isPoint;
    for (float& factor : factors) {
        isPoint.push_back(factor == 0);
        factor = factor == 0 ? 0 : 1 / factor;
    }
    check(tarnmMul_vaca_32f(products[0].data(), object, element, factors.data(), element, result[0].data(), object,
                            element, 9, count),
          "Mul_vaca");
    products = result;
    const Matrix3 identity = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    check(tarnmAdd_mam_32f(products[0].data(), object, row, element, identity.data(), row, element, result[0].data(),
                           object, row, element, 3, 3, count),
          "Add_mam");
    return isPoint;
}

Point<float> upward(const Matrix3& vectors)
{
    Point<float> normal = {vectors[2], vectors[5], vectors[8]};
    const bool down = normal[2] != 0 ? normal[2] < 0 : normal[1] != 0 ? normal[1] < 0 : normal[0] < 0;
    if (down) {
        for (float& value : normal)
            value = -value;
    }
    return normal;
}

// Maps the values back by taking the shift away; with a trace of 1 they are shares of the spread.
void collect(const Axes& axes, const std::vector<bool>& isPoint, Normals& normals)
{
    // A few roundings of the shifted values.
    constexpr float negligible = 1e-5F;
    for (std::size_t n = 0; n < isPoint.size(); ++n) {
        if (isPoint[n]) {
            ++normals.report.coincident;
            normals.surface.normals.push_back({0, 0, 1});
            normals.surface.curvature.push_back(0);
            continue;
        }
        if (axes.values[n][1] - 1 < negligible) ++normals.report.onLine;
        normals.surface.normals.push_back(upward(axes.vectors[n]));
        normals.surface.curvature.push_back(std::max(0.0F, axes.values[n][2] - 1));
    }
    normals.report.alone += axes.alone;
    normals.report.unsolved += axes.unsolved;
}

} // namespace

template <class T> Normals normalsOf(const Points<T>& points, std::size_t neighbours)
{
    constexpr std::size_t batch = 4096;
    Normals normals;
    NormalsReport& report = normals.report;
    report.neighbours = std::min(neighbours, points.size());
    std::vector<std::uint32_t> numbers(report.neighbours);
    std::vector<Point<double>> offsets(report.neighbours);
    std::vector<float> centred;
    std::vector<Matrix3> covariances;

    Progress progress("computing normals", points.size());
    Neighbours<T> tree(points);
    for (std::size_t first = 0; first < points.size(); first += batch) {
        progress.lookAtClock(first);
        covariances.resize(std::min(batch, points.size() - first));
        centred.resize(covariances.size() * report.neighbours * 3);
        {
            const Stopwatch stopwatch(report.search);
            for (std::size_t i = 0; i < covariances.size(); ++i) {
                tree.nearest(points[first + i], report.neighbours, numbers.data());
                centre(points, numbers, offsets, &centred[i * report.neighbours * 3]);
            }
        }
        std::vector<bool> isPoint;
        {
            const Stopwatch stopwatch(report.covariance);
            isPoint = shiftedCovariances(centred, report.neighbours, covariances);
        }
        Axes axes;
        {
            const Stopwatch stopwatch(report.axes);
            axes = axesOf(covariances);
        }
        collect(axes, isPoint, normals);
    }
    for (double* time : {&report.search, &report.covariance, &report.axes})
        *time /= static_cast<double>(points.size());
    return normals;
}

template Normals normalsOf(const Points<float>&, std::size_t);
template Normals normalsOf(const Points<double>&, std::size_t);

} // namespace cloud
