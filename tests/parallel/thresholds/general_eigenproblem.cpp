// General eigenvalues and eigenvectors.
#include "parallel/thresholds.h"

namespace tarnm::test {
namespace {

std::int64_t values(const Sizes& s, std::int64_t count)
{
    const std::int64_t n = at(s, "widthHeight");
    return (n * n + n) * count;
}
std::int64_t vectors(const Sizes& s, std::int64_t count)
{
    const std::int64_t n = at(s, "widthHeight");
    return n * (3 * n + 1) * count;
}

const ThresholdRow rows[] = {
    {"EigenValues", "ma", "S L P", "32f 64f", values, 251, 251},
    {"EigenValuesVectors", "ma", "S L P", "32f 64f", vectors, 501, 501},
};

} // namespace
} // namespace tarnm::test
