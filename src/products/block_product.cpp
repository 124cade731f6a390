#include "products/block_product.h"

namespace tarnm {

template <int n, class V> void multiplyBlocks(V* z, const V* x, BlockSteps xSteps, const V* y, BlockSteps ySteps)
{
    for (int i = 0; i < n; ++i) {
        V row[n];
        TARNM_UNROLL
        for (int k = 0; k < n; ++k)
            row[k] = x[i * xSteps.row + k * xSteps.column];
        for (int j = 0; j < n; ++j) {
            const V* const column = y + j * ySteps.column;
            z[i * n + j] = rowOfCase<n, RowGrouping::none>(
                [&](int k) __attribute__((always_inline)) { return row[k]; },
                [&](int k) __attribute__((always_inline)) { return column[k * ySteps.row]; });
        }
    }
}

template <int n, RowGrouping grouping, class V>
void multiplyVectorBlocks(V* z, const V* m, BlockSteps mSteps, const V* x, const V* u)
{
    V factors[n];
    TARNM_UNROLL
    for (int k = 0; k < n; ++k)
        factors[k] = x[k];
    for (int i = 0; i < n; ++i) {
        const V* const row = m + i * mSteps.row;
        V sum = rowOfCase<n, grouping>(
            [&](int k) __attribute__((always_inline)) { return row[k * mSteps.column]; },
            [&](int k) __attribute__((always_inline)) { return factors[k]; });
        if (u != nullptr) sum += u[i];
        z[i] = sum;
    }
}

template <int rows, int columns, class Array>
void loadProductBlock(const Array& array, std::ptrdiff_t first, int live,
                      native_lanes<typename Array::ObjectView::Element>* to)
{
    blocks::loadElementsOf<blocks::Shape<rows, columns>>(array, first, live, to);
}

template <int rows, int columns, class Array>
void storeProductBlock(const Array& array, std::ptrdiff_t first, int live,
                       const native_lanes<typename Array::ObjectView::Element>* from)
{
    blocks::storeElementsOf<blocks::Shape<rows, columns>>(array, first, live, from);
}

// ---- Shapes and operands that members have ----

template <class T> using Dense = StridedMatrix<T, Spacing::dense>;
template <class T> using DenseVector = StridedVector<T, Spacing::dense>;

#define TARNM_MOVES(T, Array, rows, n)                                                                                 \
    template void loadProductBlock<rows, n>(const Array<const T>&, std::ptrdiff_t, int, native_lanes<T>*);             \
    template void storeProductBlock<rows, n>(const Array<T>&, std::ptrdiff_t, int, const native_lanes<T>*);

template <class T> using DenseMatrices = ObjectArray<Dense<T>>;
template <class T> using ListedMatrices = ObjectList<Dense<T>>;
template <class T> using ScatteredMatrices = ObjectArray<ScatteredMatrix<T>>;
template <class T> using DenseVectors = ObjectArray<DenseVector<T>>;
template <class T> using ListedVectors = ObjectList<DenseVector<T>>;
template <class T> using ScatteredVectors = ObjectArray<ScatteredVector<T>>;

#define TARNM_BLOCKS(T, n)                                                                                             \
    template void multiplyBlocks<n>(native_lanes<T>*, const native_lanes<T>*, BlockSteps, const native_lanes<T>*,      \
                                    BlockSteps);                                                                       \
    template void multiplyVectorBlocks<n, RowGrouping::none>(native_lanes<T>*, const native_lanes<T>*, BlockSteps,     \
                                                             const native_lanes<T>*, const native_lanes<T>*);          \
    TARNM_MOVES(T, DenseMatrices, n, n)                                                                                \
    TARNM_MOVES(T, ListedMatrices, n, n)                                                                               \
    TARNM_MOVES(T, ScatteredMatrices, n, n)                                                                            \
    TARNM_MOVES(T, DenseVectors, 1, n)                                                                                 \
    TARNM_MOVES(T, ListedVectors, 1, n)                                                                                \
    TARNM_MOVES(T, ScatteredVectors, 1, n)

#define TARNM_BLOCKS_OF_ALL_ORDERS(T)                                                                                  \
    TARNM_BLOCKS(T, 3)                                                                                                 \
    TARNM_BLOCKS(T, 4)                                                                                                 \
    TARNM_BLOCKS(T, 5)                                                                                                 \
    TARNM_BLOCKS(T, 6)

TARNM_BLOCKS_OF_ALL_ORDERS(float)
TARNM_BLOCKS_OF_ALL_ORDERS(double)

#define TARNM_GROUPED(n, grouping)                                                                                     \
    template void multiplyVectorBlocks<n, grouping>(native_lanes<float>*, const native_lanes<float>*, BlockSteps,      \
                                                    const native_lanes<float>*, const native_lanes<float>*);

TARNM_GROUPED(4, RowGrouping::evenAndOdd)
TARNM_GROUPED(4, RowGrouping::neighbours)
TARNM_GROUPED(5, RowGrouping::neighbours)
TARNM_GROUPED(6, RowGrouping::neighbours)

} // namespace tarnm
