// Kernels of the general eigenproblem, over views.
//
//   generalValues       eigenvalues of each object
//   generalVectors      eigenvalues and one set of eigenvectors
//   generalBothVectors  eigenvalues and both sets
//   storeBufferSize     what the queries do
//
// Small objects are iterated in lanes. A block in which a lane does not converge is worked on again object by object,
// so that a failing call leaves what the same call without lanes would leave.
#pragma once

#include "eigen/general_solver.h"

namespace tarnm {

namespace general {

// From this many objects on a block of lanes costs less than the objects one by one.
inline constexpr int leastObjectsInLanes = 3;

template <class T, class Object> void loadObject(const Object& object, ColumnMatrix<T> matrix)
{
    const int n = matrix.order;
    for (int r = 0; r < n; ++r)
        for (int c = 0; c < n; ++c)
            matrix.values[std::ptrdiff_t(r) * n + c] = object(r, c);
}

template <class T, class Object> void storeVectors(ColumnMatrix<T> z, const Object& object)
{
    for (int r = 0; r < z.order; ++r)
        for (int c = 0; c < z.order; ++c)
            object.set(r, c, z(r + 1, c + 1));
}

// Unused lanes repeat the last object.
template <class T, class Array>
void loadTile(const Array& source, std::ptrdiff_t first, int live, int n, LaneTile<T>& tile)
{
    for (int l = 0; l < LaneTile<T>::width; ++l) {
        const auto object = source[first + (l < live ? l : live - 1)];
        for (int r = 0; r < n; ++r)
            for (int c = 0; c < n; ++c)
                tile.matrix[r * n + c][l] = object(r, c);
    }
}

template <class T> void storeValues(const LaneTile<T>& tile, int l, int n, const Values<T>& values)
{
    for (int k = 1; k <= n; ++k)
        values.set(k, true, tile.re[k - 1][l], tile.im[k - 1][l]);
}

template <class T> void unloadSchurForm(const LaneTile<T>& tile, int l, const Workspace<T>& work)
{
    for (int e = 0; e < work.order() * work.order(); ++e) {
        work.matrix().values[e] = tile.matrix[e][l];
        work.vectors().values[e] = tile.vectors[e][l];
    }
}

// Objects of the next block of lanes; 1: the next object by itself.
template <class T> int blockLength(int order, std::ptrdiff_t left)
{
    if (order == 1 || order > largestOrderInLanes || left < leastObjectsInLanes) return 1;
    return left < LaneTile<T>::width ? int(left) : LaneTile<T>::width;
}

// What ends a call: a failure, or a system of equations without a pivot.
struct ObjectEnd {
    bool endsCall;
    tarnmStatus status;
};

inline ObjectEnd endOf(tarnmStatus status) { return {status != StatusOk, status}; }

inline ObjectEnd endOf(PassEnd end)
{
    return {end != PassEnd::complete, end == PassEnd::noComplexPivot ? StatusError : StatusOk};
}

// Calls inLanes(first, live), which may decline, and else one(object) for the objects of a call.
template <class T, class InLanes, class One>
tarnmStatus forObjects(Place place, int order, InLanes&& inLanes, One&& one)
{
    const std::ptrdiff_t last = std::ptrdiff_t(place.first) + place.count;
    for (std::ptrdiff_t n = place.first; n < last;) {
        const int live = blockLength<T>(order, last - n);
        ObjectEnd end{};
        if (live == 1 || !inLanes(n, live, end))
            for (int l = 0; l < live && !end.endsCall; ++l)
                end = one(n + l);
        if (end.endsCall) return end.status;
        n += live;
    }
    return StatusOk;
}

// `store` copies the vectors of an object from the workspace to the caller.
template <class T, class Array, class Store>
tarnmStatus vectorsOfObjects(const Array& source, ScalarArray<T> re, ScalarArray<T> im, std::int32_t order,
                             void* buffer, Place place, Sets sets, Store&& store)
{
    const Workspace<T> work(buffer, order);
    const auto values = [&](std::ptrdiff_t n) { return Values<T>{re, im, n * order}; };
    const auto finish = [&](std::ptrdiff_t n) {
        const ObjectEnd end = endOf(findVectors(work, sets, values(n)));
        if (!end.endsCall) store(n, work);
        return end;
    };
    const auto one = [&](std::ptrdiff_t n) {
        loadObject(source[n], work.matrix());
        if (order == 1) {
            values(n).set(1, true, work.matrix()(1, 1), T(0));
            work.vectors()(1, 1) = T(1);
            if (sets == Sets::both) work.secondVectors()(1, 1) = T(1);
            store(n, work);
            return ObjectEnd{};
        }
        const ObjectEnd end = endOf(findSchurForm(work, sets == Sets::both ? 3 : 2, values(n)));
        return end.endsCall ? end : finish(n);
    };
    const auto inLanes = [&](std::ptrdiff_t first, int live, ObjectEnd& end) {
        LaneTile<T> tile;
        loadTile(source, first, live, order, tile);
        if (!findSchurFormInLanes(tile, order, live)) return false;
        for (int l = 0; l < live && !end.endsCall; ++l) {
            storeValues(tile, l, order, values(first + l));
            unloadSchurForm(tile, l, work);
            end = finish(first + l);
        }
        return true;
    };
    return forObjects<T>(place, order, inLanes, one);
}

} // namespace general

template <class T, class Array>
tarnmStatus generalValues(const Array& source, ScalarArray<T> re, ScalarArray<T> im, std::int32_t order, void* buffer,
                          Place place)
{
    using namespace general;
    const Workspace<T> work(buffer, order);
    const auto values = [&](std::ptrdiff_t n) { return Values<T>{re, im, n * order}; };
    const auto one = [&](std::ptrdiff_t n) {
        loadObject(source[n], work.matrix());
        return endOf(findValues(work, values(n)));
    };
    const auto inLanes = [&](std::ptrdiff_t first, int live, ObjectEnd&) {
        LaneTile<T> tile;
        loadTile(source, first, live, order, tile);
        if (!findValuesInLanes(tile, order, live)) return false;
        for (int l = 0; l < live; ++l)
            storeValues(tile, l, order, values(first + l));
        return true;
    };
    return forObjects<T>(place, order, inLanes, one);
}

template <general::Sets sets, class T, class Array, class Result>
tarnmStatus generalVectors(const Array& source, const Result& result, ScalarArray<T> re, ScalarArray<T> im,
                           std::int32_t order, void* buffer, Place place)
{
    static_assert(sets != general::Sets::both);
    return general::vectorsOfObjects<T>(
        source, re, im, order, buffer, place, sets,
        [&](std::ptrdiff_t n, const auto& work) { general::storeVectors(work.vectors(), result[n]); });
}

template <class T, class Array, class Right, class Left>
tarnmStatus generalBothVectors(const Array& source, const Right& right, const Left& left, ScalarArray<T> re,
                               ScalarArray<T> im, std::int32_t order, void* buffer, Place place)
{
    return general::vectorsOfObjects<T>(source, re, im, order, buffer, place, general::Sets::both,
                                        [&](std::ptrdiff_t n, const auto& work) {
                                            general::storeVectors(work.vectors(), right[n]);
                                            general::storeVectors(work.secondVectors(), left[n]);
                                        });
}

inline tarnmStatus storeBufferSize(std::int32_t bytes, std::int32_t* result)
{
    storeElement(result, bytes);
    return StatusOk;
}

} // namespace tarnm
