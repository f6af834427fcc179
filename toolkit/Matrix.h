#pragma once

#include <cstdint>

/// Arithmetic on matrices of doubles, row by row.
namespace Toolkit {

/// out = a * b, with a of `rows` x `inner` and b of `innerB` x `columns`. ZEL_BAD_ARGUMENT unless the inner sizes are
/// equal. `out` must be neither a nor b.
std::int32_t Multiply(const double* a, int rows, int inner, const double* b, int innerB, int columns, double* out);

/// Inverts an n x n matrix in place, pivot by pivot in their order. There is no search for a pivot: a matrix with a
/// zero pivot gives infinities.
void Invert(double* matrix, int n);

/// out (columns x rows) = the transpose of matrix (rows x columns).
void Transpose(const double* matrix, int rows, int columns, double* out);

}
