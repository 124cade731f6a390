// Addition, subtraction and scaling.
#include "parallel/thresholds.h"

namespace tarnm::test {
namespace {

std::int64_t oneArray(const Sizes& s, std::int64_t count) { return at(s, "len") * 2 * count + at(s, "len"); }
std::int64_t twoArrays(const Sizes& s, std::int64_t count) { return 3 * at(s, "len") * count; }
std::int64_t constantsWithVectors(const Sizes& s, std::int64_t count) { return count * (2 * at(s, "len") + 1); }
std::int64_t constantsWithVector(const Sizes& s, std::int64_t count) { return at(s, "len") * (count + 1) + count; }
std::int64_t objectsOnly(const Sizes&, std::int64_t count) { return 2 * count; }
std::int64_t scaledVectors(const Sizes& s, std::int64_t count) { return at(s, "len") * 2 * count; }

std::int64_t area(const Sizes& s) { return at(s, "width") * at(s, "height"); }
std::int64_t oneArrayOfMatrices(const Sizes& s, std::int64_t count) { return area(s) * (2 * count + 1); }
std::int64_t twoArraysOfMatrices(const Sizes& s, std::int64_t count) { return 3 * area(s) * count; }
std::int64_t scaledMatrices(const Sizes& s, std::int64_t count) { return 2 * area(s) * count; }

const char both[] = "32f 64f";

// Sums and differences of vectors: strictly above the limit, but for `cva`, which the limit itself sends there.
struct VectorRows {
    VectorRows(const char* layout, const char* types, std::int64_t limit)
        : sums("Add", "vav vac", layout, types, oneArray, above(limit), above(limit))
        , differences("Sub", "vav vva vac", layout, types, oneArray, above(limit), above(limit))
        , sumsOfArrays("Add", "vava", layout, types, twoArrays, above(limit), above(limit))
        , differencesOfArrays("Sub", "vava", layout, types, twoArrays, above(limit), above(limit))
        , sumsWithConstants("Add", "vaca", layout, types, constantsWithVectors, above(limit), above(limit))
        , differencesWithConstants("Sub", "vaca cava", layout, types, constantsWithVectors, above(limit), above(limit))
        , sumsOfOne("Add", "vca", layout, types, constantsWithVector, above(limit), above(limit))
        , differencesOfOne("Sub", "vca cav", layout, types, constantsWithVector, above(limit), above(limit))
        , fromConstant("Sub", "cva", layout, types, objectsOnly, limit, limit)
    {}

    ThresholdRow sums, differences, sumsOfArrays, differencesOfArrays, sumsWithConstants, differencesWithConstants,
        sumsOfOne, differencesOfOne, fromConstant;
};

const VectorRows singleStrides("S", "32f", 4800);
const VectorRows doubleStrides("S", "64f", 1400);
const VectorRows lists("L", both, 2500);
const VectorRows tables("P", both, 1500);

const char sumsWithOneArray[] = "mam mat tam tat";
const char sumsWithTwoArrays[] = "mama tama tata";
const char differencesWithOneArray[] = "mam mat tam tat mma mta tma tta";
const char differencesWithTwoArrays[] = "mama mata tama tata";

struct MatrixRows {
    MatrixRows(const char* layouts, const char* types, std::int64_t dense)
        : sums("Add", sumsWithOneArray, layouts, types, oneArrayOfMatrices, dense, 2000)
        , sumsOfArrays("Add", sumsWithTwoArrays, layouts, types, twoArraysOfMatrices, dense, 2000)
        , differences("Sub", differencesWithOneArray, layouts, types, oneArrayOfMatrices, dense, 2000)
        , differencesOfArrays("Sub", differencesWithTwoArrays, layouts, types, twoArraysOfMatrices, dense, 2000)
    {}

    ThresholdRow sums, sumsOfArrays, differences, differencesOfArrays;
};

const MatrixRows singleMatrices("S", "32f", 3000);
const MatrixRows doubleMatrices("S", "64f", 2000);
const MatrixRows matricesBehindPointers("L P", both, 2000);

const ThresholdRow scalings[] = {
    {"Mul", "vac", "S", "32f", scaledVectors, 2501, 1441},
    {"Mul", "vac", "S", "64f", scaledVectors, 3601, 1441},
    {"Mul", "vac", "L", both, scaledVectors, 3601, 1441},
    {"Mul", "vac", "P", both, scaledVectors, 1441, 1441},
    {"Mul", "mac tac", "S", both, scaledMatrices, 3501, 3501},
    {"Mul", "mac tac", "L", "32f", scaledMatrices, 3501, 1501},
    {"Mul", "mac tac", "L", "64f", scaledMatrices, 3501, 3501},
    {"Mul", "mac tac", "P", both, scaledMatrices, 1701, 1701},
    {"Mul", "vca", "S", both, constantsWithVector, above(2100), above(2100)},
    {"Mul", "vca", "L", both, constantsWithVector, above(1200), above(1200)},
    {"Mul", "vca", "P", both, constantsWithVector, above(650), above(650)},
    {"Mul", "vaca", "S", both, constantsWithVectors, above(2100), above(2100)},
    {"Mul", "vaca", "L", both, constantsWithVectors, above(1200), above(1200)},
    {"Mul", "vaca", "P", both, constantsWithVectors, above(650), above(650)},
};

} // namespace
} // namespace tarnm::test
