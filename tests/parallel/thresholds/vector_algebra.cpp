// Reductions and combinations of vectors, traces and Frobenius norms.
#include "parallel/thresholds.h"

namespace tarnm::test {
namespace {

std::int64_t pairWithOne(const Sizes& s, std::int64_t count) { return at(s, "len") * (count + 1); }
std::int64_t pairs(const Sizes& s, std::int64_t count) { return at(s, "len") * 2 * count; }
std::int64_t vectors(const Sizes& s, std::int64_t count) { return at(s, "len") * count; }
std::int64_t oneArray(const Sizes& s, std::int64_t count) { return at(s, "len") * 2 * count + at(s, "len"); }
std::int64_t twoArrays(const Sizes& s, std::int64_t count) { return 3 * at(s, "len") * count; }
std::int64_t twice(const Sizes&, std::int64_t count) { return 2 * count; }
std::int64_t thrice(const Sizes&, std::int64_t count) { return 3 * count; }
std::int64_t diagonals(const Sizes& s, std::int64_t count) { return at(s, "width") * count; }
std::int64_t matrices(const Sizes& s, std::int64_t count) { return at(s, "width") * at(s, "height") * count; }

struct DotRows {
    DotRows(const char* layout, const char* types, std::int64_t dense, std::int64_t other)
        : withOne("DotProduct", "vav", layout, types, pairWithOne, dense, other)
        , ofArrays("DotProduct", "vava", layout, types, pairs, dense, other)
    {}
    ThresholdRow withOne, ofArrays;
};

const DotRows dotS32("S", "32f", 5001, 2621), dotL32("L", "32f", 2401, 2401), dotP32("P", "32f", 2401, 2401);
const DotRows dotS64("S", "64f", 3501, 2001), dotL64("L", "64f", 4201, 3301), dotP64("P", "64f", 2001, 2001);
const ThresholdRow norms("L2Norm", "va", "S L P", "32f 64f", vectors, 1501, 1501);

const ThresholdRow crossWithOne("CrossProduct", "vav vva", "S L P", "32f 64f", twice, 3000, 3000);
const ThresholdRow crossOfArrays("CrossProduct", "vava", "S L P", "32f 64f", thrice, above(3000), above(3000));

struct CombinationRows {
    CombinationRows(const char* operation, const char* withOneCodes, const char* layout, const char* types,
                    std::int64_t dense, std::int64_t other)
        : withOne(operation, withOneCodes, layout, types, oneArray, dense, other)
        , ofArrays(operation, "vava", layout, types, twoArrays, dense, other)
    {}
    ThresholdRow withOne, ofArrays;
};

const CombinationRows lcombS("LComb", "vav", "S", "32f 64f", 4501, 4501),
    lcombL32("LComb", "vav", "L", "32f", 4501, 3751);
const CombinationRows lcombL64("LComb", "vav", "L", "64f", 4501, 4501),
    lcombP("LComb", "vav", "P", "32f 64f", 4501, 4501);
const CombinationRows saxpyS32("Saxpy", "vav vva", "S", "32f", 3001, 2001);
const CombinationRows saxpyS64("Saxpy", "vav vva", "S", "64f", 3001, 1201);
const CombinationRows saxpyL32("Saxpy", "vav", "L", "32f", 1501, 1001);
const ThresholdRow saxpyL32Reversed("Saxpy", "vva", "L", "32f", oneArray, 1501, 1501);
const CombinationRows saxpyL64("Saxpy", "vav vva", "L", "64f", 1001, 1001);
const CombinationRows saxpyP("Saxpy", "vav vva", "P", "32f 64f", 1201, 1201);

const ThresholdRow traces("Trace", "ma", "S L P", "32f 64f", diagonals, 3601, 3601);
const ThresholdRow frobeniusS32("FrobNorm", "ma", "S", "32f", matrices, 2501, 1801);
const ThresholdRow frobeniusS64("FrobNorm", "ma", "S", "64f", matrices, 1801, 1501);
const ThresholdRow frobeniusL("FrobNorm", "ma", "L", "32f 64f", matrices, 1601, 1601);
const ThresholdRow frobeniusP32("FrobNorm", "ma", "P", "32f", matrices, 1501, 1501);
const ThresholdRow frobeniusP64("FrobNorm", "ma", "P", "64f", matrices, 2501, 2501);

} // namespace
} // namespace tarnm::test
