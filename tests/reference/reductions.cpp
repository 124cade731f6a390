// Scalar products and Euclidean norms, in the order of additions of each kernel.
#include <cmath>

#include "reference/problem.h"
#include "reference/sums.h"

namespace tarnm::reference {
namespace {

template <class T> using Products = std::vector<T>;

// Sums of three to six products, as packed elements of a single object have them; arrays have them everywhere.
template <class T> T packedDot(const Products<T>& p)
{
    constexpr bool single = sizeof(T) == 4;
    switch (p.size()) {
    case 3:
        return (p[0] + p[1]) + p[2];
    case 4:
        return single ? (p[0] + p[1]) + (p[2] + p[3]) : (p[0] + p[2]) + (p[1] + p[3]);
    case 5:
        return (single ? (p[0] + p[1]) + (p[2] + p[3]) : (p[0] + p[2]) + (p[1] + p[3])) + p[4];
    default:
        return single ? (((p[0] + p[1]) + (p[2] + p[3])) + p[4]) + p[5]
                      : (p[0] + (p[2] + p[4])) + (p[1] + (p[3] + p[5]));
    }
}

template <class T> T stridedDot(const Products<T>& p)
{
    switch (p.size()) {
    case 3:
        return (p[1] + p[2]) + p[0];
    case 4:
        return ((p[3] + p[1]) + p[2]) + p[0];
    case 5:
        return (((p[4] + p[2]) + p[3]) + p[0]) + p[1];
    default:
        return ((((p[5] + p[3]) + p[4]) + p[0]) + p[1]) + p[2];
    }
}

template <class T> T packedSquares(const Products<T>& s)
{
    constexpr bool single = sizeof(T) == 4;
    switch (s.size()) {
    case 3:
        return single ? (s[0] + s[1]) + s[2] : (s[0] + s[2]) + s[1];
    case 4:
        return single ? (s[0] + s[1]) + (s[2] + s[3]) : (s[0] + s[2]) + (s[1] + s[3]);
    case 5:
        return single ? ((s[0] + s[1]) + (s[2] + s[3])) + s[4] : ((s[0] + s[2]) + s[4]) + (s[1] + s[3]);
    default:
        return single ? ((s[0] + s[1]) + (s[2] + s[3])) + (s[4] + s[5])
                      : ((s[0] + s[2]) + s[4]) + ((s[1] + s[3]) + s[5]);
    }
}

// Elements ahead of the first multiple of 32 bytes; -1 where no element stands at one.
int aheadOfAlignment(std::uintptr_t address, int elementSize)
{
    const int misplaced = int(address % 32);
    if (misplaced % elementSize != 0) return -1;
    return misplaced == 0 ? 0 : (32 - misplaced) / elementSize;
}

template <class T> T fromAlignment(const Products<T>& p, std::uintptr_t address, int vectors, int step)
{
    const int ahead = aheadOfAlignment(address, sizeof(T));
    if (ahead < 0 || int(p.size()) < ahead + step) return fromZero(p);
    return inLanes(p, ahead, vectors, step);
}

// `second` is the operand whose address decides, `table` the argument that holds its list of pointers.
template <class T>
T longSum(const Problem<T>& problem, const Products<T>& p, bool isNorm, std::string_view second, std::string_view table,
          int n)
{
    constexpr bool single = sizeof(T) == 4;
    const bool isArray = problem.member().code.find('a') != std::string_view::npos;
    switch (problem.path()) {
    case Path::dense:
        if (single && !isNorm) return fromAlignment(p, problem.address(second, n, 0, 0), 1, 8);
        return fromAlignment(p, problem.address(second, n, 0, 0), 2, 16);
    case Path::strided:
        if (int(p.size()) < (isArray && !single ? 8 : 16)) return fromZero(p);
        return inLanes(p, 0, 2);
    case Path::pointer:
        return single ? fromAlignment(p, problem.argumentAddress(table), 2, 16) : fromZero(p);
    }
    return T(0);
}

template <class T> void dotProduct(const Problem<T>& problem, Outcome<T>& outcome)
{
    const int length = problem.size("len");
    const bool isArray = problem.member().code.find('a') != std::string_view::npos;
    for (int n = 0; n < problem.count(); ++n) {
        Products<T> p;
        for (int k = 0; k < length; ++k)
            p.push_back(problem.element("src1", n, k) * problem.element("src2", n, k));
        T sum;
        if (length < 3 || length > 6)
            sum = longSum(problem, p, false, "src2", "ppSrc2", n);
        else if (isArray || problem.path() == Path::dense)
            sum = packedDot(p);
        else
            sum = problem.path() == Path::strided ? stridedDot(p) : fromFirst(p);
        outcome.exactly("pDst", n, 0, sum);
    }
}

template <class T> void norm(const Problem<T>& problem, Outcome<T>& outcome)
{
    const int length = problem.size("len");
    for (int n = 0; n < problem.count(); ++n) {
        Products<T> s;
        for (int k = 0; k < length; ++k)
            s.push_back(problem.element("src", n, k) * problem.element("src", n, k));
        const bool isShort = length >= 3 && length <= 6;
        outcome.exactly("pDst", n, 0,
                        std::sqrt(isShort ? packedSquares(s) : longSum(problem, s, true, "src", "ppSrc", n)));
    }
}

// Around every number of elements that decides a path, with up to 7 elements ahead of an alignment.
std::vector<std::map<std::string, int>> lengths(const test::Member&)
{
    std::vector<std::map<std::string, int>> found;
    for (const int length : {1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 15, 16, 17, 19, 20, 22, 23, 24, 31, 33, 40})
        found.push_back({{"len", length}});
    return found;
}

const Registration dotProducts("DotProduct", "vv vav vava", dotProduct<float>, dotProduct<double>, {.sizes = lengths});
const Registration norms("L2Norm", "", norm<float>, norm<double>, {.sizes = lengths});

} // namespace
} // namespace tarnm::reference
