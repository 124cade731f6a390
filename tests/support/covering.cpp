#include "support/covering.h"

#include <numeric>
#include <random>

namespace tarnm::test {
namespace {

class Pairs {
public:
    explicit Pairs(const std::vector<int>& levels)
        : first(levels.size())
    {
        int total = 0;
        for (std::size_t i = 0; i < levels.size(); ++i) {
            first[i] = total;
            total += levels[i];
        }
        width = total;
        met.assign(std::size_t(total) * total, false);
    }

    int countNew(const std::vector<int>& row) const
    {
        int found = 0;
        for (std::size_t i = 0; i < row.size(); ++i)
            for (std::size_t j = i + 1; j < row.size(); ++j)
                found += !met[at(i, row[i], j, row[j])];
        return found;
    }

    void add(const std::vector<int>& row)
    {
        for (std::size_t i = 0; i < row.size(); ++i)
            for (std::size_t j = i + 1; j < row.size(); ++j)
                met[at(i, row[i], j, row[j])] = true;
    }

    bool has(std::size_t i, int a, std::size_t j, int b) const { return met[at(i, a, j, b)]; }

private:
    std::size_t at(std::size_t i, int a, std::size_t j, int b) const
    {
        return std::size_t(first[i] + a) * width + std::size_t(first[j] + b);
    }

    std::vector<int> first;
    int width;
    std::vector<bool> met;
};

} // namespace

std::vector<std::vector<int>> coverPairs(const std::vector<int>& levels)
{
    constexpr int candidates = 12;
    std::mt19937 generator(1);
    const auto below = [&](int limit) { return int(generator() % unsigned(limit)); };

    // Each pair that is left starts a row; the other factors are the best of a few random choices.
    std::vector<std::vector<int>> rows;
    Pairs pairs(levels);
    for (std::size_t i = 0; i < levels.size(); ++i)
        for (std::size_t j = i + 1; j < levels.size(); ++j)
            for (int cell = 0; cell < levels[i] * levels[j]; ++cell) {
                const int a = cell / levels[j], b = cell % levels[j];
                if (pairs.has(i, a, j, b)) continue;
                std::vector<int> best;
                for (int candidate = 0, most = -1; candidate < candidates; ++candidate) {
                    std::vector<int> row(levels.size());
                    for (std::size_t k = 0; k < row.size(); ++k)
                        row[k] = below(levels[k]);
                    row[i] = a;
                    row[j] = b;
                    if (const int found = pairs.countNew(row); found > most) {
                        most = found;
                        best = row;
                    }
                }
                pairs.add(best);
                rows.push_back(best);
            }
    return rows;
}

} // namespace tarnm::test
