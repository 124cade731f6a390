// Products of matrices and vectors: every element is a sum of products, and the order of the additions is told by the
// member, the element strides, the sizes and in places the addresses.
#include <algorithm>
#include <array>
#include <string>

#include "reference/problem.h"
#include "reference/sums.h"

namespace tarnm::reference {
namespace {

template <class T> constexpr bool isSingle = sizeof(T) == 4;
template <class T> const char* typeName = isSingle<T> ? "32f" : "64f";

bool isOneOf(std::string_view name, std::initializer_list<std::string_view> names)
{
    return std::ranges::find(names, name) != names.end();
}

// The members of a call, as the tables below name them: "mam 32f L".
template <class T> std::string shortName(const Problem<T>& problem)
{
    const auto& member = problem.member();
    return std::string(member.code) + " " + typeName<T> + " " + std::string(member.layout);
}

std::string withoutArrays(std::string_view code)
{
    std::string base(code);
    std::erase(base, 'a');
    return base;
}

// ---- Matrix by matrix

// Square matrices of order 3 to this have straight-line code.
template <class T> int largestOrderOfCase(const Problem<T>& problem)
{
    const std::string name = shortName(problem);
    switch (problem.path()) {
    case Path::dense:
        if (name == "tm 32f S") return 5;
        return isOneOf(name, {"mta 32f L", "tta 32f L", "tta 64f L"}) ? 0 : 6;
    case Path::strided:
        if (name == "mama 32f S") return 5;
        return isOneOf(name, {"mat 32f S", "tam 32f S", "mam 32f L", "mat 32f L", "tam 32f L", "tat 32f L"}) ? 3 : 6;
    case Path::pointer:
        return isOneOf(name, {"mam 32f P", "mat 32f P", "tam 32f P"}) ? 3 : 6;
    }
    return 0;
}

// Whether element (i, j) of the result lies clear of `inner` packed elements from the start of object n's row.
template <class T>
bool isClear(const Problem<T>& problem, std::uintptr_t element, std::string_view source, int n, int row, int inner)
{
    const std::uintptr_t start = problem.address(source, n, row, 0);
    return element + sizeof(T) <= start || element >= start + std::uintptr_t(inner) * sizeof(T);
}

template <class T> T sumOutsideCases(const Problem<T>& problem, const std::vector<T>& p, int n, int i, int j, int rows)
{
    const std::string base = withoutArrays(problem.member().code);
    const int inner = int(p.size()), perVector = isSingle<T> ? 8 : 4;
    const bool longEnough = inner >= 2 * perVector;
    if (problem.path() == Path::dense) {
        const int leftOver = rows % 4;
        const bool isLeftOver = i >= rows - leftOver;
        if (isOneOf(base, {"mm", "tt"}) && isLeftOver && (leftOver == 1 || leftOver == 2)) return evenAndOdd(p);
        if (base == "tm" && longEnough) return inLanes(p, 0, 2);
    }
    if (problem.path() == Path::strided && base == "mt" && shortName(problem) != "mat 32f L" && longEnough) {
        const std::uintptr_t element = problem.address("dst", n, i, j);
        if (isClear(problem, element, "src1", n, i, inner) && isClear(problem, element, "src2", n, j, inner))
            return inLanes(p, 0, 2);
    }
    return fromZero(p);
}

template <class T> void matrixProducts(const Problem<T>& problem, Outcome<T>& outcome)
{
    const std::string base = withoutArrays(problem.member().code);
    const bool firstStored = base[0] == 'm', secondStored = base[1] == 'm';
    const int rows = problem.size(firstStored ? "src1Height" : "src1Width");
    const int inner = problem.size(firstStored ? "src1Width" : "src1Height");
    const int columns = problem.size(secondStored ? "src2Width" : "src2Height");
    const bool isCase = rows == columns && rows == inner && rows >= 3 && rows <= largestOrderOfCase(problem);
    const bool groupsLastColumn = rows == 5 && problem.path() == Path::dense && shortName(problem) == "mm 32f S";

    for (int n = 0; n < problem.count(); ++n)
        for (int i = 0; i < rows; ++i)
            for (int j = 0; j < columns; ++j) {
                std::vector<T> p(inner);
                for (int k = 0; k < inner; ++k)
                    p[k] = problem.seen("src1", n, i, k) * problem.seen("src2", n, k, j);
                T sum;
                if (!isCase)
                    sum = sumOutsideCases(problem, p, n, i, j, rows);
                else if (groupsLastColumn && j == 4)
                    sum = ((p[0] + p[1]) + (p[2] + p[3])) + p[4];
                else
                    sum = fromFirst(p);
                outcome.exactly("dst", n, i, j, sum);
            }
}

// ---- Matrix by vector

// Whether all of these arguments, pointers and strides, are multiples of `unit`.
template <class T>
bool areMultiples(const Problem<T>& problem, std::uintptr_t unit, std::initializer_list<const char*> pointers,
                  std::initializer_list<const char*> strides)
{
    return std::ranges::all_of(pointers, [&](auto name) { return problem.argumentAddress(name) % unit == 0; }) &&
           std::ranges::all_of(strides, [&](auto name) { return problem.argument(name) % int(unit) == 0; });
}

// Lanes that begin at the first element of the vector at a multiple of 32 bytes. `step` products at a time in `vectors`
// vectors.
template <class T> T fromAlignment(const Problem<T>& problem, const std::vector<T>& p, int n, int step, int vectors)
{
    const std::uintptr_t address = problem.address("src2", n, 0, 0);
    if (address % sizeof(T) != 0) return fromZero(p);
    const int first = address % 32 == 0 ? 0 : int((32 - address % 32) / sizeof(T));
    return int(p.size()) < first + step ? fromZero(p) : inLanes(p, first, vectors);
}

// 8 products at a time; in single precision one vector of lanes, in double two.
template <class T> T alignedBy8(const Problem<T>& problem, const std::vector<T>& p, int n)
{
    return fromAlignment(problem, p, n, 8, isSingle<T> ? 1 : 2);
}

// One object by itself, with its sums in aligned lanes.
template <class T> T alignedAlone(const Problem<T>& problem, const std::vector<T>& p, int n, int i, int rows)
{
    const int leftOver = rows % 8;
    const bool isLeftOver = i >= rows - leftOver;
    if (isSingle<T> && isLeftOver && leftOver <= 3) return fromAlignment(problem, p, n, 16, 2);
    return alignedBy8(problem, p, n);
}

template <class T> T plainAlone(const std::vector<T>& p, int i, int rows)
{
    const int leftOver = rows % 8;
    return i >= rows - leftOver && leftOver <= 3 ? evenAndOdd(p) : fromZero(p);
}

// 16 products at a time in two vectors, from the start. In double precision a step is two rounds of the 8 lanes.
template <class T> T bySixteens(const std::vector<T>& p)
{
    if (p.size() < 16) return fromZero(p);
    return inLanes(p, 0, 2, 16);
}

template <class T> T denseRow(const Problem<T>& problem, const std::vector<T>& p, int n, int i, int rows)
{
    const std::string name = shortName(problem);
    const std::string_view code = problem.member().code;
    if (code == "mv") return plainAlone(p, i, rows);
    if (code == "tv") return alignedAlone(problem, p, n, i, rows);
    if (name == "mva 32f S") {
        if (p.size() >= 16 && areMultiples(problem, 32, {"pSrc1", "pSrc2", "pDst"},
                                           {"src1RowStride", "src2ObjectStride", "dstObjectStride"}))
            return bySixteens(p);
        return alignedBy8(problem, p, n);
    }
    const bool isAlone = n == problem.count() - 1 && problem.count() % 2 == 1;
    if (problem.member().layout == "L" && code == "mava") return bySixteens(p);
    if (problem.member().layout == "L" && code == "tava")
        return isAlone ? alignedAlone(problem, p, n, i, rows) : bySixteens(p);
    if (code[0] == 't' || (problem.member().layout == "L" && code == "mav"))
        return isAlone ? alignedAlone(problem, p, n, i, rows) : alignedBy8(problem, p, n);
    if (isAlone) return plainAlone(p, i, rows);
    return rows % 4 == 1 && i == rows - 1 ? evenAndOdd(p) : fromZero(p);
}

template <class T> T stridedRow(const Problem<T>& problem, const std::vector<T>& p, int n, int i)
{
    const int inner = int(p.size());
    if (problem.member().code[0] == 't' || inner < (isSingle<T> ? 16 : 8)) return fromZero(p);
    const std::uintptr_t element = problem.address("dst", n, 0, i);
    const bool isFree =
        isClear(problem, element, "src1", n, i, inner) && isClear(problem, element, "src2", n, 0, inner);
    return isFree ? inLanes(p, 0, 2) : fromZero(p);
}

template <class T> T rowOfCase(const Problem<T>& problem, const std::vector<T>& p)
{
    if (shortName(problem) == "mva 32f S" && problem.path() == Path::dense) {
        if (p.size() == 4 && problem.argument("src1RowStride") == 16 &&
            areMultiples(problem, 16, {"pSrc1", "pSrc2", "pDst"}, {"src2ObjectStride", "dstObjectStride"}))
            return (p[0] + p[2]) + (p[1] + p[3]);
        if (p.size() == 5 && problem.count() >= 5 &&
            areMultiples(problem, 16, {"pSrc2", "pDst"}, {"src2ObjectStride", "dstObjectStride"}))
            return ((p[0] + p[1]) + (p[2] + p[3])) + p[4];
    }
    return fromFirst(p);
}

template <class T> void vectorProducts(const Problem<T>& problem, Outcome<T>& outcome)
{
    const bool isStored = problem.member().code[0] == 'm';
    const int rows = problem.size(isStored ? "src1Height" : "src1Width"), inner = problem.size("src2Len");
    const bool isCase = rows == inner && rows >= 3 && rows <= 6;
    for (int n = 0; n < problem.count(); ++n)
        for (int i = 0; i < rows; ++i) {
            std::vector<T> p(inner);
            for (int k = 0; k < inner; ++k)
                p[k] = problem.seen("src1", n, i, k) * problem.element("src2", n, k);
            T sum;
            if (isCase)
                sum = rowOfCase(problem, p);
            else if (problem.path() == Path::dense)
                sum = denseRow(problem, p, n, i, rows);
            else if (problem.path() == Path::strided)
                sum = stridedRow(problem, p, n, i);
            else
                sum = fromZero(p);
            outcome.exactly("dst", n, i, sum);
        }
}

// ---- Gaxpy

template <class T> T gaxpySum(const Problem<T>& problem, const std::vector<T>& p, int n, int i, int rows)
{
    const int inner = int(p.size());
    if (rows == inner && rows >= 3 && rows <= 6) {
        if (problem.path() != Path::dense || rows == 3 || std::string_view(typeName<T>) != "32f" ||
            problem.member().code != "mvav")
            return fromFirst(p);
        T sum = (p[1] + p[0]) + (p[2] + p[3]);
        for (int k = 4; k < inner; ++k)
            sum += p[k];
        return sum;
    }
    if (problem.path() == Path::strided && problem.member().layout == "S") return stridedRow(problem, p, n, i);
    return fromZero(p);
}

template <class T> void gaxpies(const Problem<T>& problem, Outcome<T>& outcome)
{
    const int rows = problem.size("src1Height"), inner = problem.size("src1Width");
    for (int n = 0; n < problem.count(); ++n)
        for (int i = 0; i < rows; ++i) {
            std::vector<T> p(inner);
            for (int k = 0; k < inner; ++k)
                p[k] = problem.seen("src1", n, i, k) * problem.element("src2", n, k);
            outcome.exactly("dst", n, i, gaxpySum(problem, p, n, i, rows) + problem.element("src3", n, i));
        }
}

// ---- Sizes: every number of rows left over by 4 and by 8, and inner sizes around the steps of the lanes

std::vector<std::map<std::string, int>> matrixSizes(const test::Member& member)
{
    // Rows, columns, inner size. Sizes whose bitwise OR is 3 have a test of their own.
    constexpr std::array<int, 3> shapes[] = {
        {1, 1, 1},  {2, 2, 2},  {3, 3, 3},  {4, 4, 4},   {5, 5, 5},   {6, 6, 6},   {7, 7, 7},  {8, 8, 8},  {1, 4, 3},
        {4, 1, 3},  {3, 4, 1},  {2, 3, 7},  {3, 2, 8},   {4, 5, 9},   {5, 4, 15},  {6, 3, 16}, {4, 3, 17}, {7, 2, 15},
        {9, 10, 8}, {8, 9, 16}, {3, 8, 24}, {17, 5, 3},  {16, 16, 4}, {2, 2, 33},  {6, 6, 5},  {5, 5, 4},  {5, 9, 7},
        {6, 5, 9},  {1, 1, 7},  {2, 1, 16}, {1, 18, 17}, {13, 20, 6}, {10, 17, 31}};
    const std::string base = withoutArrays(member.code);
    std::vector<std::map<std::string, int>> found;
    for (const auto& [rows, columns, inner] : shapes) {
        auto& sizes = found.emplace_back();
        sizes[base[0] == 'm' ? "src1Height" : "src1Width"] = rows;
        sizes[base[0] == 'm' ? "src1Width" : "src1Height"] = inner;
        sizes[base[1] == 'm' ? "src2Height" : "src2Width"] = inner;
        sizes[base[1] == 'm' ? "src2Width" : "src2Height"] = columns;
    }
    return found;
}

std::vector<std::map<std::string, int>> vectorSizes(const test::Member& member)
{
    constexpr std::array<int, 2> shapes[] = {
        // rows, inner size
        {1, 1},   {2, 2},   {3, 3},   {4, 4},   {5, 5},   {6, 6},   {7, 7},   {8, 8},  {1, 7},   {2, 9},
        {3, 16},  {3, 17},  {4, 15},  {5, 8},   {6, 23},  {7, 24},  {9, 12},  {9, 31}, {10, 11}, {10, 32},
        {11, 40}, {12, 17}, {13, 33}, {14, 19}, {16, 16}, {17, 15}, {2, 47},  {3, 48}, {8, 20},  {1, 25},
        {4, 33},  {5, 16},  {3, 2},   {2, 3},   {12, 8},  {3, 4},   {19, 22}, {21, 9}};
    std::vector<std::map<std::string, int>> found;
    for (const auto& [rows, inner] : shapes) {
        auto& sizes = found.emplace_back();
        sizes[member.code[0] == 'm' ? "src1Height" : "src1Width"] = rows;
        sizes[member.code[0] == 'm' ? "src1Width" : "src1Height"] = inner;
        sizes["src2Len"] = inner;
        if (member.operation == "Gaxpy") sizes["src3Len"] = rows;
    }
    return found;
}

const Registration matrixMul("Mul", "mm mt tm tt mam mat tam tat mma mta tma tta mama mata tama tata",
                             matrixProducts<float>, matrixProducts<double>, {.sizes = matrixSizes});
const Registration vectorMul("Mul", "mv tv mva tva mav tav mava tava", vectorProducts<float>, vectorProducts<double>,
                             {.sizes = vectorSizes});
const Registration gaxpy("Gaxpy", "", gaxpies<float>, gaxpies<double>, {.sizes = vectorSizes});

} // namespace
} // namespace tarnm::reference
