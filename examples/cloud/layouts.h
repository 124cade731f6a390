// The three memory layouts of tarnm, for an array of 3-vectors, and the calls under the same names for each:
//
//   Packed  S: one block of numbers, with strides
//   Listed  L: a list of pointers to vectors that lie within larger records
//   Planar  P: a pointer per coordinate, here to one array of x, one of y and one of z
//
//   subtract(source, vector, result)   result(n)[k] = source(n)[k] - vector[k]
//   multiply(source, factor, result)   result(n)[k] = source(n)[k] * factor
//
// Source and result are different objects of the same number of points. A status other than StatusOk, which only a mistake
// in the layouts can cause, is thrown as std::logic_error.
#pragma once

#include "points.h"

#include <cstdint>

namespace cloud {

template <class T> class Packed {
public:
    static constexpr const char* description = "S  packed points";

    explicit Packed(std::size_t count)
        : points(count)
    {}
    std::size_t size() const { return points.size(); }
    T& at(std::size_t n, std::size_t k) { return points[n][k]; }
    const T& at(std::size_t n, std::size_t k) const { return points[n][k]; }

    static constexpr std::int32_t objectStride = sizeof(Point<T>);
    static constexpr std::int32_t elementStride = sizeof(T);

private:
    Points<T> points;
};

template <class T> class Listed {
public:
    static constexpr const char* description = "L  list of pointers to points";

    explicit Listed(std::size_t count);
    Listed(const Listed&) = delete;
    Listed& operator=(const Listed&) = delete;
    std::size_t size() const { return records.size(); }
    T& at(std::size_t n, std::size_t k) { return records[n].position[k]; }
    const T& at(std::size_t n, std::size_t k) const { return records[n].position[k]; }

    T* const* table() const { return pointers.data(); }
    static constexpr std::int32_t roiShift = 0;
    static constexpr std::int32_t elementStride = sizeof(T);

private:
    // What a program keeps of a point besides its position, which the calls pass over.
    struct Record {
        std::uint32_t number;
        Point<T> position;
    };
    std::vector<Record> records;
    std::vector<T*> pointers;
};

template <class T> class Planar {
public:
    static constexpr const char* description = "P  one array per coordinate";

    explicit Planar(std::size_t count);
    Planar(const Planar&) = delete;
    Planar& operator=(const Planar&) = delete;
    std::size_t size() const { return planes[0].size(); }
    T& at(std::size_t n, std::size_t k) { return planes[k][n]; }
    const T& at(std::size_t n, std::size_t k) const { return planes[k][n]; }

    T* const* table() const { return pointers.data(); }
    static constexpr std::int32_t roiShift = 0;
    static constexpr std::int32_t objectStride = sizeof(T);

private:
    std::array<std::vector<T>, 3> planes;
    std::array<T*, 3> pointers;
};

template <class T> void subtract(const Packed<T>& source, const Point<T>& vector, Packed<T>& result);
template <class T> void subtract(const Listed<T>& source, const Point<T>& vector, Listed<T>& result);
template <class T> void subtract(const Planar<T>& source, const Point<T>& vector, Planar<T>& result);

template <class T> void multiply(const Packed<T>& source, T factor, Packed<T>& result);
template <class T> void multiply(const Listed<T>& source, T factor, Listed<T>& result);
template <class T> void multiply(const Planar<T>& source, T factor, Planar<T>& result);

} // namespace cloud
