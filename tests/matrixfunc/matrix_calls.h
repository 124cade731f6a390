// Calls of determinants and inverses with matrices that a test makes up, in every layout, between guard pages.
//
//   Matrix               n x n numbers, row by row, in double precision
//   diagonal, identityBut, regular
//                        matrices
//   memberNamed, membersOf, stylesOf
//                        members, and how their operands may lie
//   toleranceOf, below   the limit of singularity, and the next smaller number
//   MatrixCall           a call of a member on several matrices
#pragma once

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "support/call.h"
#include "support/members.h"

namespace tarnm::test {

struct Matrix {
    int n;
    std::vector<double> elements;

    explicit Matrix(int order)
        : n(order)
        , elements(std::size_t(order) * std::size_t(order))
    {}
    Matrix(int order, std::vector<double> rows)
        : n(order)
        , elements(std::move(rows))
    {}

    double& operator()(int r, int c) { return elements[std::size_t(r * n + c)]; }
    double operator()(int r, int c) const { return elements[std::size_t(r * n + c)]; }
};

inline Matrix diagonal(const std::vector<double>& elements)
{
    Matrix m(int(elements.size()));
    for (int i = 0; i < m.n; ++i)
        m(i, i) = elements[std::size_t(i)];
    return m;
}

// The identity with `first` in the place of the first element.
inline Matrix identityBut(int n, double first)
{
    std::vector<double> elements(std::size_t(n), 1.0);
    elements[0] = first;
    return diagonal(elements);
}

// Well conditioned, and different for every number.
inline Matrix regular(int n, int number)
{
    Matrix m(n);
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c)
            m(r, c) = (r == c ? 3 : 0) + ((r * 7 + c * 5 + number * 3) % 11 - 5) / 16.0;
    return m;
}

inline const Member& memberNamed(std::string_view name)
{
    for (const Member& member : members())
        if (member.name == name) return member;
    throw std::invalid_argument(std::string(name));
}

// All members of an operation with one code, in both types and all layouts.
inline std::vector<const Member*> membersOf(std::string_view operation, std::string_view code)
{
    std::vector<const Member*> found;
    for (const Member& member : members())
        if (member.operation == operation && member.code == code) found.push_back(&member);
    return found;
}

// One style for all operands. The last one is not dense.
inline std::vector<Style> stylesOf(const Member& member)
{
    if (member.layout == "P") return {Style::planes, Style::paddedPlanes};
    return {Style::packed, Style::padded, Style::strided};
}

// 2 n^3 times the smallest normal number.
inline double toleranceOf(const Member& member, int n)
{
    const double smallest =
        member.type == Type::f32 ? double(std::numeric_limits<float>::min()) : std::numeric_limits<double>::min();
    return 2.0 * n * n * n * smallest;
}

// The next smaller number of the member's type.
inline double below(const Member& member, double x)
{
    return member.type == Type::f32 ? double(std::nextafter(float(x), -INFINITY)) : std::nextafter(x, -INFINITY);
}

class MatrixCall {
public:
    MatrixCall(const Member& member, const std::vector<Matrix>& matrices, Style style, int offset = 0)
        : call(member, setup(member, matrices, style, offset))
        , source(call.operandIndex("src"))
        , result(call.hasOperand("dst") ? call.operandIndex("dst") : call.operandIndex("pDst"))
    {
        for (int n = 0; n < int(matrices.size()); ++n)
            for (int r = 0; r < matrices[0].n; ++r)
                for (int c = 0; c < matrices[0].n; ++c)
                    write(source, n, r, c, matrices[std::size_t(n)](r, c));
        call.remember();
    }

    tarnmStatus operator()() { return call(); }

    double at(int n, int r, int c) const
    {
        return isSingle() ? call.read<float>(result, n, r, c) : call.read<double>(result, n, r, c);
    }
    double determinant(int n = 0) const { return at(n, 0, 0); }

    bool isUntouched(int n, int r, int c) const
    {
        if (isSingle()) return call.before<std::int32_t>(result, n, r, c) == call.read<std::int32_t>(result, n, r, c);
        return call.before<std::int64_t>(result, n, r, c) == call.read<std::int64_t>(result, n, r, c);
    }
    // Whether any element of rows `from` and behind was written.
    bool isUntouched(int n, int from = 0) const
    {
        for (int r = from; r < call.rows(result); ++r)
            for (int c = 0; c < call.columns(result); ++c)
                if (!isUntouched(n, r, c)) return false;
        return true;
    }
    // What a call wrote beside the results of the objects first .. end - 1: gaps, sources, scratch, other objects.
    std::string writtenBeside(int first, int end)
    {
        for (int n = first; n < end; ++n)
            for (int r = 0; r < call.rows(result); ++r)
                for (int c = 0; c < call.columns(result); ++c)
                    call.accept(result, n, r, c);
        return call.difference();
    }

    Call call;

private:
    static Setup setup(const Member& member, const std::vector<Matrix>& matrices, Style style, int offset)
    {
        Setup s;
        s.sizes = {{"widthHeight", matrices[0].n}};
        s.count = int(matrices.size());
        s.styles.assign(member.operands().size(), style);
        s.offset = offset;
        return s;
    }

    bool isSingle() const { return call.member().type == Type::f32; }

    void write(int operand, int n, int r, int c, double value)
    {
        if (isSingle())
            call.write(operand, n, r, c, float(value));
        else
            call.write(operand, n, r, c, value);
    }

    int source, result;
};

} // namespace tarnm::test
