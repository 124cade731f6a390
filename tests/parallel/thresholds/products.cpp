// Products of matrices and vectors, and gaxpy.
#include "parallel/thresholds.h"

namespace tarnm::test {
namespace {

// Elements of a stored matrix.
std::int64_t elements(const Sizes& s, const std::string& matrix)
{
    return at(s, matrix + "Width") * at(s, matrix + "Height");
}

// The measure is the number of elements that the call reads and writes. `rows` and `columns` name the arguments that
// give the extent of the result.
template <bool firstIsArray, bool secondIsArray>
std::int64_t readAndWritten(const Sizes& s, std::int64_t count, const char* rows, const char* columns)
{
    return elements(s, "src1") * (firstIsArray ? count : 1) + elements(s, "src2") * (secondIsArray ? count : 1) +
           at(s, rows) * at(s, columns) * count;
}

template <bool firstIsArray, bool secondIsArray> std::int64_t storedStored(const Sizes& s, std::int64_t count)
{
    return readAndWritten<firstIsArray, secondIsArray>(s, count, "src1Height", "src2Width");
}
template <bool firstIsArray, bool secondIsArray> std::int64_t storedTransposed(const Sizes& s, std::int64_t count)
{
    return readAndWritten<firstIsArray, secondIsArray>(s, count, "src1Height", "src2Height");
}
template <bool firstIsArray, bool secondIsArray> std::int64_t transposedStored(const Sizes& s, std::int64_t count)
{
    return readAndWritten<firstIsArray, secondIsArray>(s, count, "src1Width", "src2Width");
}
template <bool firstIsArray, bool secondIsArray> std::int64_t bothTransposed(const Sizes& s, std::int64_t count)
{
    return readAndWritten<firstIsArray, secondIsArray>(s, count, "src1Width", "src2Height");
}

template <bool matrixIsArray, bool vectorIsArray>
std::int64_t withVector(const Sizes& s, std::int64_t count, const char* result)
{
    return elements(s, "src1") * (matrixIsArray ? count : 1) + at(s, "src2Len") * (vectorIsArray ? count : 1) +
           at(s, result) * count;
}
template <bool matrixIsArray, bool vectorIsArray> std::int64_t storedVector(const Sizes& s, std::int64_t count)
{
    return withVector<matrixIsArray, vectorIsArray>(s, count, "src1Height");
}
template <bool matrixIsArray, bool vectorIsArray> std::int64_t transposedVector(const Sizes& s, std::int64_t count)
{
    return withVector<matrixIsArray, vectorIsArray>(s, count, "src1Width");
}

// The matrix does not count.
std::int64_t gaxpyOfArrays(const Sizes& s, std::int64_t count)
{
    return (at(s, "src2Len") + 2 * at(s, "src3Len")) * count;
}
std::int64_t gaxpyOfOneSummand(const Sizes& s, std::int64_t count)
{
    return (at(s, "src2Len") + at(s, "src3Len")) * count + at(s, "src3Len");
}

struct ProductRows {
    ProductRows(const char* layouts, const char* types, std::int64_t dense)
        : rows{{"Mul", "mam", layouts, types, storedStored<true, false>, dense, 1441},
               {"Mul", "mma", layouts, types, storedStored<false, true>, dense, 1441},
               {"Mul", "mama", layouts, types, storedStored<true, true>, dense, 1441},
               {"Mul", "mat", layouts, types, storedTransposed<true, false>, dense, 1441},
               {"Mul", "mta", layouts, types, storedTransposed<false, true>, dense, 1441},
               {"Mul", "mata", layouts, types, storedTransposed<true, true>, dense, 1441},
               {"Mul", "tam", layouts, types, transposedStored<true, false>, dense, 1441},
               {"Mul", "tma", layouts, types, transposedStored<false, true>, dense, 1441},
               {"Mul", "tama", layouts, types, transposedStored<true, true>, dense, 1441},
               {"Mul", "tat", layouts, types, bothTransposed<true, false>, dense, 1441},
               {"Mul", "tta", layouts, types, bothTransposed<false, true>, dense, 1441},
               {"Mul", "tata", layouts, types, bothTransposed<true, true>, dense, 1441},
               {"Mul", "mav", layouts, types, storedVector<true, false>, dense, 1441},
               {"Mul", "mva", layouts, types, storedVector<false, true>, dense, 1441},
               {"Mul", "mava", layouts, types, storedVector<true, true>, dense, 1441},
               {"Mul", "tav", layouts, types, transposedVector<true, false>, dense, 1441},
               {"Mul", "tva", layouts, types, transposedVector<false, true>, dense, 1441},
               {"Mul", "tava", layouts, types, transposedVector<true, true>, dense, 1441}}
    {}

    ThresholdRow rows[18];
};

const ProductRows singleStrides("S", "32f", 2501);
const ProductRows doubleStrides("S", "64f", 3601);
const ProductRows lists("L", "32f 64f", 3601);
const ProductRows tables("P", "32f 64f", 1441);

struct GaxpyRows {
    GaxpyRows(const char* layout, const char* type, std::int64_t dense, std::int64_t other)
        : ofArrays("Gaxpy", "mva", layout, type, gaxpyOfArrays, dense, other)
        , ofOneSummand("Gaxpy", "mvav", layout, type, gaxpyOfOneSummand, dense, other)
    {}

    ThresholdRow ofArrays, ofOneSummand;
};

const GaxpyRows gaxpyRows[] = {{"S", "32f", 7001, 5001}, {"L", "32f", 7001, 501},  {"P", "32f", 4501, 4501},
                               {"S", "64f", 5001, 5001}, {"L", "64f", 6001, 5001}, {"P", "64f", 7001, 7001}};

} // namespace
} // namespace tarnm::test
