// What the part that knows Python hands to the part that computes: operands as addresses and strides, nothing of Python.
//
//   operand   a stack of vectors or matrices, or one that serves all objects
//   batch     the operands of one call of the library
//   kernel    computes a batch: gives the number of objects that failed, or a negative status for the whole
#ifndef TARNM_PYTHON_BATCH_H
#define TARNM_PYTHON_BATCH_H

#include <cstddef>

#include <tarnm/tarnm.h>

namespace tarnm::python {

// Strides are bytes.
struct operand {
    void* data = nullptr;
    std::ptrdiff_t object = 0;
    std::ptrdiff_t row = 0;
    std::ptrdiff_t element = 0;
    std::ptrdiff_t rows = 1;
    std::ptrdiff_t columns = 1;
    bool many = false;
    // The addresses of the elements of the first object, where the batch is planar; of the first elements of all objects, where
    // it is listed.
    void** table = nullptr;
};

struct batch {
    std::ptrdiff_t count = 1;
    operand in[3];
    operand out[3];
    // One for each object; null where an operation cannot fail.
    tarnmStatus* statuses = nullptr;
    double number = 0;
    int core = 2;
    // Objects lie element beside element: every element of an object has a plane of its own.
    bool planar = false;
    // Objects lie anywhere: each has an address of its own.
    bool listed = false;
    // Set by the kernel where a result has an imaginary part.
    mutable bool complex_found = false;
};

using kernel = std::ptrdiff_t (*)(const batch&);

// The kernel in single and in double precision.
struct kernel_pair {
    kernel single;
    kernel wide;
};

// products.cpp
extern const kernel_pair multiply_matrices, multiply_vectors;
// vectors.cpp
extern const kernel_pair dot_products, norms, cross_products;
// elementwise.cpp
extern const kernel_pair sums, differences, sums_with_number, differences_with_number, differences_from_number,
    products_with_number;
// matrices.cpp
extern const kernel_pair determinants, inverses, traces, transposes;
// lu.cpp
extern const kernel_pair lu_factors, lu_solutions, solutions;
// cholesky.cpp
extern const kernel_pair cholesky_lower, cholesky_solutions;
// qr.cpp
extern const kernel_pair qr_factors, qr_solutions, qr_matrices, qr_factored_solutions;
// eigen.cpp
extern const kernel_pair symmetric_values, symmetric_vectors, general_values, general_vectors, left_vectors,
    general_vectors_both;

} // namespace tarnm::python

#endif
