// Products of square matrices of 3 to 6 rows, as many objects at a time as a vector has lanes.
//
//   isStrided, movesInBlocks  whether the objects of an array can be brought into lanes at little cost
//   multiplyInBlocks          matrices by matrices
//   multiplyVectorsInBlocks   matrices by vectors, with a summand or without
//
// A block holds element by element the vectors of several objects, in memory and in the order in which the objects are
// stored. Loading, computing and storing are functions of their own, which block_product.cpp compiles once for all
// members: they differ in how objects lie and hardly in what is computed.
//
// Lane l has the bits that one object by itself would have. Operands may be arrays or one object for all.
#pragma once

#include "frame/blocks.h"
#include "products/row_case.h"

namespace tarnm {

// Distances of neighbouring rows and columns in a block, in vectors.
struct BlockSteps {
    int row;
    int column;
};

// z(i, j) = sum over k of x(i, k) * y(k, j), in ascending k from the first product on.
template <int n, class V> void multiplyBlocks(V* z, const V* x, BlockSteps xSteps, const V* y, BlockSteps ySteps);

// z(i) = sum over k of m(i, k) * x(k), and u(i) added to it unless `u` is null.
template <int n, RowGrouping grouping, class V>
void multiplyVectorBlocks(V* z, const V* m, BlockSteps mSteps, const V* x, const V* u);

// The objects first .. first + live - 1 of an array of dense objects or of tables with objects side by side.
template <int rows, int columns, class Array>
void loadProductBlock(const Array& array, std::ptrdiff_t first, int live,
                      native_lanes<typename Array::ObjectView::Element>* to);
template <int rows, int columns, class Array>
void storeProductBlock(const Array& array, std::ptrdiff_t first, int live,
                       const native_lanes<typename Array::ObjectView::Element>* from);

namespace products {

template <class Object> inline constexpr bool isStrided = false;
template <class T> inline constexpr bool isStrided<StridedMatrix<T, Spacing::strided>> = true;
template <class T> inline constexpr bool isStrided<StridedVector<T, Spacing::strided>> = true;
template <class Matrix> inline constexpr bool isStrided<Transposed<Matrix>> = isStrided<Matrix>;

// Dense objects take part in every layout; tables of elements where the same elements of all objects are neighbours.
template <class Array> bool movesInBlocks(const Array& array)
{
    if constexpr (Array::isSingle)
        return true;
    else if constexpr (
        requires { array.first.stored.table; } || requires { array.first.table; })
        return array.objectStride == sizeof(typename Array::ObjectView::Element);
    else
        return !isStrided<typename Array::ObjectView>;
}

// The elements of an operand for one block after another. A single object is read once.
template <int rows, int columns, class Array> struct Blocks {
    using Object = typename Array::ObjectView;
    using V = native_lanes<typename Object::Element>;
    static constexpr bool isTransposed = !Array::isSingle && blocks::isTransposed<Object>;
    static constexpr BlockSteps steps = isTransposed ? BlockSteps{1, rows} : BlockSteps{columns, 1};

    const Array& array;
    V elements[rows * columns];

    explicit Blocks(const Array& array)
        : array(array)
    {
        if constexpr (Array::isSingle)
            for (int r = 0; r < rows; ++r)
                for (int c = 0; c < columns; ++c)
                    elements[r * columns + c] = V(blocks::element(array.object, r, c));
    }

    const V* at(std::ptrdiff_t first, int live)
    {
        if constexpr (isTransposed)
            loadProductBlock<columns, rows>(blocks::asStored(array), first, live, elements);
        else if constexpr (!Array::isSingle)
            loadProductBlock<rows, columns>(array, first, live, elements);
        return elements;
    }
};

struct NoSummand {};
template <int n> struct Blocks<1, n, NoSummand> {
    explicit Blocks(const NoSummand&) {}
    std::nullptr_t at(std::ptrdiff_t, int) { return nullptr; }
};

// Calls block(first, live) for whole blocks and for a last one that is at least a quarter full, then object(o) for the
// few objects left.
template <class V, class BlockBody, class ObjectBody>
TARNM_INLINE void forBlocksOf(Place place, const BlockBody& block, const ObjectBody& object)
{
    constexpr int width = lane_count_v<V>;
    const std::ptrdiff_t end = std::ptrdiff_t(place.first) + place.count;
    std::ptrdiff_t o = place.first;
    for (; (end - o) * 4 >= width; o += width)
        block(o, end - o < width ? int(end - o) : width);
    for (; o < end; ++o)
        object(o);
}

template <int n, class A, class B, class D, class ObjectBody>
void multiplyInBlocks(const A& a, const B& b, const D& d, Place place, const ObjectBody& object)
{
    using V = native_lanes<typename D::ObjectView::Element>;
    Blocks<n, n, A> x(a);
    Blocks<n, n, B> y(b);
    forBlocksOf<V>(
        place,
        [&](std::ptrdiff_t first, int live) {
            V z[n * n];
            multiplyBlocks<n>(z, x.at(first, live), x.steps, y.at(first, live), y.steps);
            storeProductBlock<n, n>(d, first, live, z);
        },
        object);
}

template <int n, RowGrouping grouping, class M, class X, class U, class D, class ObjectBody>
void multiplyVectorsInBlocks(const M& m, const X& x, const U& u, const D& d, Place place, const ObjectBody& object)
{
    using V = native_lanes<typename D::ObjectView::Element>;
    Blocks<n, n, M> matrices(m);
    Blocks<1, n, X> vectors(x);
    Blocks<1, n, U> summands(u);
    forBlocksOf<V>(
        place,
        [&](std::ptrdiff_t first, int live) {
            V z[n];
            multiplyVectorBlocks<n, grouping, V>(z, matrices.at(first, live), matrices.steps, vectors.at(first, live),
                                                 summands.at(first, live));
            storeProductBlock<1, n>(d, first, live, z);
        },
        object);
}

} // namespace products
} // namespace tarnm
