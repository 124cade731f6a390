// Calls of the general eigenproblem on packed objects, with scratch of exactly the size that the queries tell.
//
//   Matrix            n x n elements, row by row
//   Solution          what a call leaves; elements that it does not write keep `untouched`
//   valuesOf, vectorsOf
//                     one matrix
//   valuesOfArray, bothOfArray, rightOfArray
//                     several
#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "support/guarded_memory.h"
#include "tarnm/tarnm.h"

namespace tarnm::test {

template <class T> struct Matrix {
    int n;
    std::vector<T> elements;

    explicit Matrix(int order)
        : n(order)
        , elements(std::size_t(order) * std::size_t(order))
    {}
    Matrix(int order, std::initializer_list<double> rows)
        : Matrix(order)
    {
        std::transform(rows.begin(), rows.end(), elements.begin(), [](double x) { return T(x); });
    }
    template <class Element>
    Matrix(int order, Element&& element)
        : Matrix(order)
    {
        for (int r = 0; r < n; ++r)
            for (int c = 0; c < n; ++c)
                (*this)(r, c) = T(element(r, c));
    }

    T& operator()(int r, int c) { return elements[std::size_t(r * n + c)]; }
    T operator()(int r, int c) const { return elements[std::size_t(r * n + c)]; }
};

template <class T> inline constexpr T untouched = T(-77.25);

template <class T> struct Solution {
    Solution(int order, int count)
        : re(std::size_t(order * count), untouched<T>)
        , im(re)
        , right(std::size_t(order * order * count), untouched<T>)
        , left(right)
    {}

    tarnmStatus status = StatusOk;
    std::vector<T> re, im, right, left;

    bool operator==(const Solution&) const = default;
};

template <class T, class Single, class Real> auto byType(Single single, Real real)
{
    if constexpr (std::is_same_v<T, float>)
        return single;
    else
        return real;
}

// Against the end of its page, so that one byte too many is a fault.
template <class T> class Scratch {
public:
    enum class Of { values, vectors };

    Scratch(Of of, int n)
        : block(sizeOf(of, n), Against::end)
    {}
    void* get() const { return block.begin(); }

    static std::size_t sizeOf(Of of, int n)
    {
        std::int32_t size = -1;
        if (of == Of::values)
            byType<T>(tarnmEigenValuesGetBufSize_32f, tarnmEigenValuesGetBufSize_64f)(n, &size);
        else
            byType<T>(tarnmEigenValuesVectorsGetBufSize_32f, tarnmEigenValuesVectorsGetBufSize_64f)(n, &size);
        return std::size_t(size);
    }

private:
    GuardedBlock block;
};

template <class T> Solution<T> valuesOf(const Matrix<T>& m)
{
    const int n = m.n, e = sizeof(T);
    const Scratch<T> scratch(Scratch<T>::Of::values, n);
    Solution<T> s(n, 1);
    s.status = byType<T>(tarnmEigenValues_m_32f, tarnmEigenValues_m_64f)(m.elements.data(), n * e, e, s.re.data(),
                                                                         s.im.data(), n, scratch.get());
    return s;
}

template <class T> Solution<T> vectorsOf(const Matrix<T>& m)
{
    const int n = m.n, e = sizeof(T);
    const Scratch<T> scratch(Scratch<T>::Of::vectors, n);
    Solution<T> s(n, 1);
    s.status = byType<T>(tarnmEigenValuesVectors_m_32f, tarnmEigenValuesVectors_m_64f)(
        m.elements.data(), n * e, e, s.right.data(), n * e, e, s.left.data(), n * e, e, s.re.data(), s.im.data(), n,
        scratch.get());
    return s;
}

template <class T> std::vector<T> joined(const std::vector<Matrix<T>>& objects)
{
    std::vector<T> all;
    for (const Matrix<T>& m : objects)
        all.insert(all.end(), m.elements.begin(), m.elements.end());
    return all;
}

template <class T> Solution<T> valuesOfArray(const std::vector<Matrix<T>>& objects)
{
    const int n = objects.front().n, count = int(objects.size()), e = sizeof(T);
    const Scratch<T> scratch(Scratch<T>::Of::values, n);
    Solution<T> s(n, count);
    s.status = byType<T>(tarnmEigenValues_ma_32f, tarnmEigenValues_ma_64f)(
        joined(objects).data(), n * n * e, n * e, e, s.re.data(), s.im.data(), n, count, scratch.get());
    return s;
}

template <class T> Solution<T> bothOfArray(const std::vector<Matrix<T>>& objects)
{
    const int n = objects.front().n, count = int(objects.size()), e = sizeof(T);
    const Scratch<T> scratch(Scratch<T>::Of::vectors, n);
    Solution<T> s(n, count);
    s.status = byType<T>(tarnmEigenValuesVectors_ma_32f, tarnmEigenValuesVectors_ma_64f)(
        joined(objects).data(), n * n * e, n * e, e, s.right.data(), n * n * e, n * e, e, s.left.data(), n * n * e,
        n * e, e, s.re.data(), s.im.data(), n, count, scratch.get());
    return s;
}

template <class T> Solution<T> rightOfArray(const std::vector<Matrix<T>>& objects)
{
    const int n = objects.front().n, count = int(objects.size()), e = sizeof(T);
    const Scratch<T> scratch(Scratch<T>::Of::vectors, n);
    Solution<T> s(n, count);
    s.status = byType<T>(tarnmEigenValuesVectorsRight_ma_32f, tarnmEigenValuesVectorsRight_ma_64f)(
        joined(objects).data(), n * n * e, n * e, e, s.right.data(), n * n * e, n * e, e, s.re.data(), s.im.data(), n,
        count, scratch.get());
    return s;
}

template <class T> Solution<T> leftOfArray(const std::vector<Matrix<T>>& objects)
{
    const int n = objects.front().n, count = int(objects.size()), e = sizeof(T);
    const Scratch<T> scratch(Scratch<T>::Of::vectors, n);
    Solution<T> s(n, count);
    s.status = byType<T>(tarnmEigenValuesVectorsLeft_ma_32f, tarnmEigenValuesVectorsLeft_ma_64f)(
        joined(objects).data(), n * n * e, n * e, e, s.left.data(), n * n * e, n * e, e, s.re.data(), s.im.data(), n,
        count, scratch.get());
    return s;
}

} // namespace tarnm::test
