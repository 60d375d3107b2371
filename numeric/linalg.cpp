#include "numeric/linalg.h"

#include <algorithm>
#include <complex>
#include <cstddef>
#include <vector>

// LAPACKE's default complex type in C++ is the C99 one; ours is the standard library's,
// which has the same layout as an interleaved pair of doubles.
#define lapack_complex_float std::complex<float>
#define lapack_complex_double std::complex<double>
#include <lapacke.h>

namespace numeric {

namespace {

std::size_t Square(int n) {
    return std::size_t(n) * std::size_t(n);
}

} // namespace

bool LuDeterminant(const double* a, int n, double& determinant) {
    if (n < 1) return false;
    std::vector<double> lu(a, a + Square(n));
    std::vector<lapack_int> pivots(static_cast<std::size_t>(n));
    const lapack_int info = LAPACKE_dgetrf(LAPACK_COL_MAJOR, n, n, lu.data(), n, pivots.data());
    if (info < 0) return false;
    if (info > 0) {
        // U has an exact zero on its diagonal; saying 0 outright keeps an infinite
        // entry elsewhere from turning the product into a NaN.
        determinant = 0.0;
        return true;
    }
    double product = 1.0;
    for (int i = 0; i < n; ++i) {
        product *= lu[std::size_t(i) * std::size_t(n) + std::size_t(i)];
        // Pivots are 1-based; each row interchange flips the sign.
        if (pivots[std::size_t(i)] != i + 1) product = -product;
    }
    determinant = product;
    return true;
}

bool LuInvert(double* a, int n) {
    if (n < 1) return false;
    std::vector<double> work(a, a + Square(n));
    std::vector<lapack_int> pivots(static_cast<std::size_t>(n));
    if (LAPACKE_dgetrf(LAPACK_COL_MAJOR, n, n, work.data(), n, pivots.data()) != 0) return false;
    if (LAPACKE_dgetri(LAPACK_COL_MAJOR, n, work.data(), n, pivots.data()) != 0) return false;
    std::copy(work.begin(), work.end(), a);
    return true;
}

double Determinant2x2(const double* a) noexcept {
    return a[0] * a[3] - a[2] * a[1];
}

bool Invert2x2(double* a) noexcept {
    const double det = Determinant2x2(a);
    if (det == 0.0) return false;
    const double a00 = a[0], a10 = a[1], a01 = a[2], a11 = a[3];
    a[0] = a11 / det;
    a[1] = -a10 / det;
    a[2] = -a01 / det;
    a[3] = a00 / det;
    return true;
}

bool HermitianEigen(const double* a, int n, double* eigenvalues, double* vectors) {
    if (n < 1) return false;
    std::vector<std::complex<double>> work(Square(n));
    std::copy(a, a + 2 * Square(n), reinterpret_cast<double*>(work.data()));
    const char job = vectors ? 'V' : 'N';
    if (LAPACKE_zheevd(LAPACK_COL_MAJOR, job, 'U', n, work.data(), n, eigenvalues) != 0) return false;
    if (vectors) {
        const double* result = reinterpret_cast<const double*>(work.data());
        std::copy(result, result + 2 * Square(n), vectors);
    }
    return true;
}

bool SymmetricEigen(const double* a, int n, double* eigenvalues, double* vectors) {
    if (n < 1) return false;
    std::vector<double> work(a, a + Square(n));
    const char job = vectors ? 'V' : 'N';
    if (LAPACKE_dsyevd(LAPACK_COL_MAJOR, job, 'U', n, work.data(), n, eigenvalues) != 0) return false;
    if (vectors) std::copy(work.begin(), work.end(), vectors);
    return true;
}

} // namespace numeric
