// Cholesky and QR factorisations and their solvers.
#include "parallel/thresholds.h"

namespace tarnm::test {
namespace {

std::int64_t squares(const Sizes& s, std::int64_t count) { return at(s, "widthHeight") * at(s, "widthHeight") * count; }
std::int64_t systems(const Sizes& s, std::int64_t count)
{
    return (at(s, "widthHeight") + 2) * at(s, "widthHeight") * count;
}
std::int64_t rightSides(const Sizes& s, std::int64_t count)
{
    return (at(s, "widthHeight") + 2 * count) * at(s, "widthHeight");
}

const ThresholdRow choleskyFactors[] = {
    {"CholeskyDecomp", "ma", "S", "32f", squares, 7501, 7501},
    {"CholeskyDecomp", "ma", "L P", "32f", squares, 2001, 2001},
    {"CholeskyDecomp", "ma", "S P", "64f", squares, 2001, 2001},
    {"CholeskyDecomp", "ma", "L", "64f", squares, 721, 2001},
};
const ThresholdRow choleskySolutions[] = {
    {"CholeskyBackSubst", "mava", "S", "32f", systems, 2051, 1701},
    {"CholeskyBackSubst", "mava", "L P", "32f", systems, 1701, 1701},
    {"CholeskyBackSubst", "mava", "S L", "64f", systems, 1701, 1701},
    {"CholeskyBackSubst", "mava", "P", "64f", systems, 2051, 2051},
    {"CholeskyBackSubst", "mva", "S", "32f", rightSides, 1201, 1201},
    {"CholeskyBackSubst", "mva", "L P", "32f", rightSides, 721, 721},
    {"CholeskyBackSubst", "mva", "S L P", "64f", rightSides, 721, 721},
};

std::int64_t elements(const Sizes& s) { return at(s, "width") * at(s, "height"); }
std::int64_t sourceAndResult(const Sizes& s, std::int64_t count) { return 2 * elements(s) * count; }
std::int64_t tallSystems(const Sizes& s, std::int64_t count)
{
    return (elements(s) + at(s, "width") + at(s, "height")) * count;
}
std::int64_t tallRightSides(const Sizes& s, std::int64_t count)
{
    return elements(s) + (at(s, "width") + at(s, "height")) * count;
}

const ThresholdRow qr[] = {
    {"QRDecomp", "ma", "S", "32f 64f", sourceAndResult, 2801, 2801},
    {"QRDecomp", "ma", "L P", "32f 64f", sourceAndResult, 1801, 1801},
    {"QRBackSubst", "mava", "S", "32f 64f", tallSystems, 2801, 2801},
    {"QRBackSubst", "mava", "L P", "32f 64f", tallSystems, 1801, 1801},
    {"QRBackSubst", "mva", "S", "32f 64f", tallRightSides, 2801, 2801},
    {"QRBackSubst", "mva", "L P", "32f 64f", tallRightSides, 1801, 1801},
};

} // namespace
} // namespace tarnm::test
