// tarnm for C++20: views instead of byte strides, one name for an operation, exceptions or statuses.
//
//   tarnm::matrix_array<const float> a(elements, 1000, 3, 3);
//   tarnm::matrix_array<float> b(inverses, 1000, 3, 3);
//   tarnm::invert(a, b);                                // throws tarnm::error
//   tarnm::status s = tarnm::invert(a, b, std::nothrow);
//   std::ptrdiff_t failed = tarnm::invert(a, b, statuses);   // one status for each matrix
//
// Header only: every operation is a call of a C function of tarnm/tarnm.h, chosen when the program is compiled.
#ifndef TARNM_TARNM_HPP
#define TARNM_TARNM_HPP

#include "detail/cholesky.h"        // cholesky, cholesky_factors
#include "detail/eigen.h"           // plain::eigen_symmetric, plain::eigenvalues, plain::eigenvectors
#include "detail/elementwise.h"     // add, subtract, scale
#include "detail/error.h"           // error, status_name
#include "detail/factor.h"          // lu, qr, solve, plain::cholesky
#include "detail/general.h"         // eigenvalues
#include "detail/general_vectors.h" // eigenvectors, left_eigenvectors
#include "detail/geometry.h"        // transform, project, matrices of views and projections, curves
#include "detail/invert.h"          // invert
#include "detail/matrices.h"        // trace, frobenius_norm, determinant, plain::invert
#include "detail/movement.h"        // copy, extract, transpose, load_identity
#include "detail/objects.h"         // view_of, transposed, object_traits
#include "detail/products.h"        // multiply, gaxpy
#include "detail/symmetric.h"       // eigen_symmetric
#include "detail/vectors.h"         // dot, norm, cross, saxpy, linear_combination
#include "detail/views.h"           // vector_view, matrix_view, vector_array, matrix_array and the others

#endif
