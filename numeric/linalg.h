// Dense linear algebra on column-major arrays, through LAPACKE on OpenBLAS.
//
// Complex matrices use the layout of complex data everywhere in the program: each column
// holds its items with real and imaginary part interleaved, so an n by n complex matrix is
// a real column-major block of 2n rows and n columns.
//
// All functions answer false on failure and never throw except std::bad_alloc.
#pragma once

namespace numeric {

// Determinant of the n by n matrix `a` by LU factorisation (dgetrf) of a copy. A singular
// matrix gives 0 and still answers true.
bool LuDeterminant(const double* a, int n, double& determinant);

// Inverts the n by n matrix `a` in place by LU factorisation (dgetrf, dgetri). False, with
// `a` unchanged, when the matrix is singular.
bool LuInvert(double* a, int n);

// Closed forms for 2 by 2 (column-major a00, a10, a01, a11).
double Determinant2x2(const double* a) noexcept;
// False, with `a` unchanged, when the determinant is zero.
bool Invert2x2(double* a) noexcept;

// Eigenvalues (ascending) and optionally eigenvectors of a Hermitian n by n complex matrix
// (interleaved layout, 2n doubles per column) by divide and conquer (zheevd). Only the
// upper triangle of `a` is read. `vectors`, when given, receives the orthonormal
// eigenvectors as columns in the same interleaved layout (2n * n doubles).
bool HermitianEigen(const double* a, int n, double* eigenvalues, double* vectors = nullptr);

// The same for a real symmetric n by n matrix (dsyevd); `vectors` gets n * n doubles.
bool SymmetricEigen(const double* a, int n, double* eigenvalues, double* vectors = nullptr);

} // namespace numeric
