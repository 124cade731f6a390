#include "normalise.h"

#include "layouts.h"
#include "progress.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <stdexcept>

namespace cloud {
namespace {

// One layout with its memory, from the points to the result.
template <template <class> class Layout, class T> class Run {
public:
    explicit Run(const Points<T>& points)
        : source(points.size())
        , centred(points.size())
        , scaled(points.size())
    {
        for (std::size_t n = 0; n < points.size(); ++n) {
            for (std::size_t k = 0; k < 3; ++k)
                source.at(n, k) = points[n][k];
        }
    }

    void once(const Placement<T>& placement)
    {
        const auto begin = std::chrono::steady_clock::now();
        subtract(source, placement.centre, centred);
        multiply(centred, placement.scale, scaled);
        const std::chrono::duration<double, std::nano> duration = std::chrono::steady_clock::now() - begin;
        times.push_back(duration.count() / static_cast<double>(source.size()));
    }

    LayoutTime time() const
    {
        std::vector<double> sorted = times;
        std::sort(sorted.begin(), sorted.end());
        return {Layout<T>::description, sorted.front(), sorted[sorted.size() / 2]};
    }

    Points<T> result() const
    {
        Points<T> points(scaled.size());
        for (std::size_t n = 0; n < points.size(); ++n) {
            for (std::size_t k = 0; k < 3; ++k)
                points[n][k] = scaled.at(n, k);
        }
        return points;
    }

private:
    Layout<T> source, centred, scaled;
    std::vector<double> times;
};

template <class T> void expectSame(const Points<T>& packed, const Points<T>& other, const char* layout)
{
    const auto difference = firstDifference(packed, other);
    if (!difference) return;
    throw std::runtime_error(std::string("the layouts S and ") + layout + " do not agree: point " +
                             std::to_string(*difference) + " differs");
}

} // namespace

template <class T> std::optional<std::size_t> firstDifference(const Points<T>& a, const Points<T>& b)
{
    for (std::size_t n = 0; n < a.size(); ++n) {
        if (std::memcmp(a[n].data(), b[n].data(), sizeof a[n]) != 0) return n;
    }
    return std::nullopt;
}

template <class T> Normalised<T> normalise(const Points<T>& points, const Placement<T>& placement, int repeat)
{
    Run<Packed, T> packed(points);
    Run<Listed, T> listed(points);
    Run<Planar, T> planar(points);
    Progress progress("measuring", static_cast<std::uint64_t>(repeat));
    for (int turn = 0; turn < repeat; ++turn) {
        progress.lookAtClock(static_cast<std::uint64_t>(turn));
        packed.once(placement);
        listed.once(placement);
        planar.once(placement);
    }
    Normalised<T> normalised{packed.result(), {packed.time(), listed.time(), planar.time()}};
    expectSame(normalised.points, listed.result(), "L");
    expectSame(normalised.points, planar.result(), "P");
    return normalised;
}

template std::optional<std::size_t> firstDifference(const Points<float>&, const Points<float>&);
template std::optional<std::size_t> firstDifference(const Points<double>&, const Points<double>&);
template Normalised<float> normalise(const Points<float>&, const Placement<float>&, int);
template Normalised<double> normalise(const Points<double>&, const Placement<double>&, int);

} // namespace cloud
