// Eigenvalues and eigenvectors of symmetric matrices.
#include "parallel/thresholds.h"

namespace tarnm::test {
namespace {

std::int64_t values(const Sizes& s, std::int64_t count)
{
    const std::int64_t n = at(s, "widthHeight");
    return n * (n + 1) * count;
}
std::int64_t vectors(const Sizes& s, std::int64_t count)
{
    const std::int64_t n = at(s, "widthHeight");
    return n * (2 * n + 1) * count;
}

const ThresholdRow rows[] = {
    {"EigenValuesSym", "ma", "S L P", "32f 64f", values, 1001, 1001},
    {"EigenValuesVectorsSym", "ma", "S L P", "32f 64f", vectors, 701, 701},
};

} // namespace
} // namespace tarnm::test
