// Calls of the LU family on packed objects.
//
//   Matrices        count matrices of n x n elements, row by row
//   Factors         what a decomposition leaves; elements that it does not write keep their old value
//   Form            how the objects are handed over
//   decompose, decomposeOne
//   solve, solveOwn one factor for all vectors, one for each
#pragma once

#include <cstdint>
#include <functional>
#include <type_traits>
#include <vector>

#include "support/thread_count.h"
#include "tarnm/tarnm.h"

namespace tarnm::test {

template <class T> inline constexpr T untouched = T(-77.25);
inline constexpr std::int32_t untouchedIndex = -77;

template <class T, class Single, class Real> auto byType(Single single, Real real)
{
    if constexpr (std::is_same_v<T, float>)
        return single;
    else
        return real;
}

template <class T> struct Matrices {
    int n, count;
    std::vector<T> elements;

    Matrices(int order, int objects, T value = T(0))
        : n(order)
        , count(objects)
        , elements(std::size_t(order * order * objects), value)
    {}
    // element(object, row, column)
    template <class Element>
    requires std::is_invocable_v<Element, int, int, int> Matrices(int order, int objects, Element&& element)
        : Matrices(order, objects)
    {
        for (int o = 0; o < count; ++o)
            for (int r = 0; r < n; ++r)
                for (int c = 0; c < n; ++c)
                    at(o, r, c) = T(element(o, r, c));
    }

    T& at(int o, int r, int c) { return elements[std::size_t((o * n + r) * n + c)]; }
    T at(int o, int r, int c) const { return elements[std::size_t((o * n + r) * n + c)]; }

    bool operator==(const Matrices&) const = default;
};

template <class T> struct Factors {
    Matrices<T> lu;
    std::vector<std::int32_t> index;
    tarnmStatus status = StatusOk;

    Factors(int n, int count)
        : lu(n, count, untouched<T>)
        , index(std::size_t(n * count), untouchedIndex)
    {}
    // In place: the destination holds the source.
    explicit Factors(const Matrices<T>& source)
        : lu(source)
        , index(std::size_t(source.n * source.count), untouchedIndex)
    {}

    std::int32_t row(int o, int k) const { return index[std::size_t(o * lu.n + k)]; }
    // Row k of the factors.
    T factor(int o, int k, int c) const { return lu.at(o, row(o, k), c); }

    bool operator==(const Factors&) const = default;
};

enum class Form {
    dense,
    strided,    // the elements are packed and read and written column by column
    list,       // a pointer for each object
    perElement, // a pointer for each element
};
inline constexpr Form allForms[] = {Form::dense, Form::strided, Form::list, Form::perElement};

// Addresses of objects `size` elements apart, or of the elements of the first object.
template <class T> std::vector<T*> pointers(T* base, int entries, int step)
{
    std::vector<T*> table;
    for (int i = 0; i < entries; ++i)
        table.push_back(base + i * step);
    return table;
}

template <class T> struct Strides {
    explicit Strides(int n, Form form)
        : object(n * n * int(sizeof(T)))
        , row(form == Form::strided ? int(sizeof(T)) : n * int(sizeof(T)))
        , element(form == Form::strided ? n * int(sizeof(T)) : int(sizeof(T)))
    {}

    int object, row, element;
};

// With Form::strided the matrices are the transposes of what they look like.
template <class T> void decompose(const T* source, Factors<T>& f, Form form)
{
    const int n = f.lu.n, count = f.lu.count, e = sizeof(T);
    const Strides<T> s(n, form);
    T* const result = f.lu.elements.data();
    if (form == Form::list) {
        const auto from = pointers(source, count, n * n);
        const auto to = pointers(result, count, n * n);
        f.status = byType<T>(tarnmLUDecomp_ma_32f_L, tarnmLUDecomp_ma_64f_L)(from.data(), 0, s.row, e, f.index.data(),
                                                                             to.data(), 0, s.row, e, n, count);
    } else if (form == Form::perElement) {
        const auto from = pointers(source, n * n, 1);
        const auto to = pointers(result, n * n, 1);
        f.status = byType<T>(tarnmLUDecomp_ma_32f_P, tarnmLUDecomp_ma_64f_P)(from.data(), 0, s.object, f.index.data(),
                                                                             to.data(), 0, s.object, n, count);
    } else {
        f.status = byType<T>(tarnmLUDecomp_ma_32f, tarnmLUDecomp_ma_64f)(
            source, s.object, s.row, s.element, f.index.data(), result, s.object, s.row, s.element, n, count);
    }
}

template <class T> Factors<T> decompose(const Matrices<T>& m, Form form = Form::dense)
{
    Factors<T> f(m.n, m.count);
    decompose(m.elements.data(), f, form);
    return f;
}

template <class T> Factors<T> decomposeInPlace(const Matrices<T>& m, Form form = Form::dense)
{
    Factors<T> f(m);
    decompose(f.lu.elements.data(), f, form);
    return f;
}

// One object through the member for one object.
template <class T> Factors<T> decomposeOne(const Matrices<T>& m)
{
    Factors<T> f(m.n, 1);
    const int e = sizeof(T), row = m.n * e;
    f.status = byType<T>(tarnmLUDecomp_m_32f, tarnmLUDecomp_m_64f)(m.elements.data(), row, e, f.index.data(),
                                                                   f.lu.elements.data(), row, e, m.n);
    return f;
}

// ---- solutions of packed vectors

template <class T> using Vectors = std::vector<T>;

// A copy with gaps between the elements makes a call strided.
template <class T> std::vector<T> spread(const std::vector<T>& packed, int step)
{
    std::vector<T> wide(packed.size() * std::size_t(step));
    for (std::size_t i = 0; i < packed.size(); ++i)
        wide[std::size_t(step) * i] = packed[i];
    return wide;
}

// One factor for `count` vectors; `result` may be the right-hand sides themselves.
template <class T> tarnmStatus solve(const Factors<T>& f, const T* b, T* x, int count, Form form = Form::dense)
{
    const int n = f.lu.n, e = sizeof(T), row = n * e;
    const T* const lu = f.lu.elements.data();
    if (form == Form::list) {
        const auto from = pointers(b, count, n);
        const auto to = pointers(x, count, n);
        return byType<T>(tarnmLUBackSubst_mva_32f_L, tarnmLUBackSubst_mva_64f_L)(
            lu, row, e, f.index.data(), from.data(), 0, e, to.data(), 0, e, n, count);
    }
    if (form == Form::perElement) {
        const auto factor = pointers(lu, n * n, 1);
        const auto from = pointers(b, n, 1);
        const auto to = pointers(x, n, 1);
        return byType<T>(tarnmLUBackSubst_mva_32f_P, tarnmLUBackSubst_mva_64f_P)(
            factor.data(), 0, f.index.data(), from.data(), 0, row, to.data(), 0, row, n, count);
    }
    const int step = form == Form::strided ? 2 : 1;
    const auto factor = spread(f.lu.elements, step);
    return byType<T>(tarnmLUBackSubst_mva_32f, tarnmLUBackSubst_mva_64f)(
        factor.data(), row * step, e * step, f.index.data(), b, row, e, x, row, e, n, count);
}

template <class T> Vectors<T> solve(const Factors<T>& f, const Vectors<T>& b, Form form = Form::dense)
{
    Vectors<T> x(b.size(), untouched<T>);
    solve(f, b.data(), x.data(), int(b.size()) / f.lu.n, form);
    return x;
}

template <class T> tarnmStatus solveOne(const Factors<T>& f, const T* b, T* x)
{
    const int n = f.lu.n, e = sizeof(T);
    return byType<T>(tarnmLUBackSubst_mv_32f, tarnmLUBackSubst_mv_64f)(f.lu.elements.data(), n * e, e, f.index.data(),
                                                                       b, e, x, e, n);
}

template <class T> Vectors<T> solveOne(const Factors<T>& f, const Vectors<T>& b)
{
    Vectors<T> x(b.size(), untouched<T>);
    solveOne(f, b.data(), x.data());
    return x;
}

// A factor for each vector.
template <class T> tarnmStatus solveOwn(const Factors<T>& f, const T* b, T* x, Form form = Form::dense)
{
    const int n = f.lu.n, count = f.lu.count, e = sizeof(T), row = n * e;
    const T* const lu = f.lu.elements.data();
    if (form == Form::list) {
        const auto factors = pointers(lu, count, n * n);
        const auto from = pointers(b, count, n);
        const auto to = pointers(x, count, n);
        return byType<T>(tarnmLUBackSubst_mava_32f_L, tarnmLUBackSubst_mava_64f_L)(
            factors.data(), 0, row, e, f.index.data(), from.data(), 0, e, to.data(), 0, e, n, count);
    }
    if (form == Form::perElement) {
        const auto factors = pointers(lu, n * n, 1);
        const auto from = pointers(b, n, 1);
        const auto to = pointers(x, n, 1);
        return byType<T>(tarnmLUBackSubst_mava_32f_P, tarnmLUBackSubst_mava_64f_P)(
            factors.data(), 0, n * row, f.index.data(), from.data(), 0, row, to.data(), 0, row, n, count);
    }
    const int step = form == Form::strided ? 2 : 1;
    const auto spaced = spread(f.lu.elements, step);
    return byType<T>(tarnmLUBackSubst_mava_32f, tarnmLUBackSubst_mava_64f)(
        spaced.data(), n * row * step, row * step, e * step, f.index.data(), b, row, e, x, row, e, n, count);
}

// Factors as a decomposition would leave them, with any index array. element(k, c): row k of the factors.
template <class T, class Element> Factors<T> stored(const std::vector<std::int32_t>& index, Element&& element)
{
    const int n = int(index.size());
    Factors<T> f(n, 1);
    f.index = index;
    for (int k = 0; k < n; ++k)
        for (int c = 0; c < n; ++c)
            f.lu.at(0, index[std::size_t(k)], c) = T(element(k, c));
    return f;
}

} // namespace tarnm::test
