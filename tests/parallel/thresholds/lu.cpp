// LU decomposition and its solver.
#include "parallel/thresholds.h"

namespace tarnm::test {
namespace {

std::int64_t elements(const Sizes& s, std::int64_t count)
{
    const std::int64_t n = at(s, "widthHeight");
    return n * n * count;
}
std::int64_t ownFactors(const Sizes& s, std::int64_t count)
{
    const std::int64_t n = at(s, "widthHeight");
    return (n + 2) * n * count;
}
std::int64_t oneFactor(const Sizes& s, std::int64_t count)
{
    const std::int64_t n = at(s, "widthHeight");
    return (n + 2 * count) * n;
}

const ThresholdRow rows[] = {
    {"LUDecomp", "ma", "S L P", "32f 64f", elements, 1001, 1001},
    {"LUBackSubst", "mava", "S L P", "32f 64f", ownFactors, 1201, 1201},
    {"LUBackSubst", "mva", "S L P", "32f 64f", oneFactor, 701, 701},
};

} // namespace
} // namespace tarnm::test
