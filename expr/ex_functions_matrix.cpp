// Shape, reductions, statistics and linear algebra.
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "expr/ex_functions_internal.h"
#include "numeric/linalg.h"
#include "numeric/vector_kernels.h"

using namespace exfn;

namespace {

double Mean(std::span<const double> v) {
    return std::accumulate(v.begin(), v.end(), 0.0) / double(v.size());
}

// Covariance with divisor n - 1 of two series of one length (at least 2).
double Covariance(std::span<const double> a, std::span<const double> b) {
    const double ma = Mean(a), mb = Mean(b);
    double s = 0;
    for (std::size_t i = 0; i < a.size(); ++i) s += (a[i] - ma) * (b[i] - mb);
    return s / double(a.size() - 1);
}

// Pearson correlation; false when either series is constant.
bool Correlation(std::span<const double> a, std::span<const double> b, double& r) {
    const double va = Covariance(a, a), vb = Covariance(b, b);
    if (!(va > 0) || !(vb > 0)) return false;
    r = Covariance(a, b) / std::sqrt(va * vb);
    return true;
}

bool Extreme(int argc, Matrix* args[], Matrix& result, bool largest) {
    double best = 0;
    bool any = false;
    for (int i = 0; i < argc; ++i) {
        if (!Given(argc, args, i)) return false;
        for (double x : args[i]->Elements()) {
            if (std::isnan(x)) continue;
            if (!any || (largest ? x > best : x < best)) best = x;
            any = true;
        }
    }
    if (!any) best = std::numeric_limits<double>::quiet_NaN();
    result.SetScalar(best);
    return true;
}

bool ExtremeIndex(int argc, Matrix* args[], Matrix& result, bool largest) {
    if (!Given(argc, args, 0)) return false;
    const auto e = args[0]->Elements();
    const auto it = largest ? std::max_element(e.begin(), e.end()) : std::min_element(e.begin(), e.end());
    result.SetScalar(double(it - e.begin()));
    return true;
}

// Bins of Sum: a vector of edges, or a matrix of two columns (lower and upper edge per row).
bool ReadBins(const Matrix& range, std::vector<double>& lower, std::vector<double>& upper) {
    if (range.IsVector()) {
        const auto e = range.Elements();
        lower.assign(e.begin(), e.end() - 1);
        upper.assign(e.begin() + 1, e.end());
        return true;
    }
    if (range.IsMatrix() && range.Cols() == 2) {
        lower.assign(range.Column(0), range.Column(0) + range.Rows());
        upper.assign(range.Column(1), range.Column(1) + range.Rows());
        return true;
    }
    return false;
}

// One-sided Jacobi (Hestenes) on a column-major m by n block with m >= n: the columns of `u`
// are rotated until they are orthogonal, `v` collects the rotations, and the column norms are
// the singular values.
void JacobiSvd(int m, int n, std::vector<double>& u, std::vector<double>& v) {
    v.assign(std::size_t(n) * n, 0.0);
    for (int i = 0; i < n; ++i) v[std::size_t(i) * n + i] = 1.0;
    constexpr double eps = std::numeric_limits<double>::epsilon();
    for (int sweep = 0; sweep < 80; ++sweep) {
        bool rotated = false;
        for (int p = 0; p < n - 1; ++p) {
            for (int q = p + 1; q < n; ++q) {
                double* up = u.data() + std::size_t(p) * m;
                double* uq = u.data() + std::size_t(q) * m;
                double alpha = 0, beta = 0, gamma = 0;
                for (int i = 0; i < m; ++i) {
                    alpha += up[i] * up[i];
                    beta += uq[i] * uq[i];
                    gamma += up[i] * uq[i];
                }
                if (gamma == 0.0 || std::fabs(gamma) <= eps * std::sqrt(alpha * beta)) continue;
                rotated = true;
                const double zeta = (beta - alpha) / (2.0 * gamma);
                const double t = (zeta >= 0 ? 1.0 : -1.0) / (std::fabs(zeta) + std::sqrt(1.0 + zeta * zeta));
                const double c = 1.0 / std::sqrt(1.0 + t * t), s = c * t;
                for (int i = 0; i < m; ++i) {
                    const double a = up[i], b = uq[i];
                    up[i] = c * a - s * b;
                    uq[i] = s * a + c * b;
                }
                double* vp = v.data() + std::size_t(p) * n;
                double* vq = v.data() + std::size_t(q) * n;
                for (int i = 0; i < n; ++i) {
                    const double a = vp[i], b = vq[i];
                    vp[i] = c * a - s * b;
                    vq[i] = s * a + c * b;
                }
            }
        }
        if (!rotated) break;
    }
}

} // namespace

EXFN(NCol) {
    if (!Given(argc, args, 0)) return false;
    result.SetScalar(args[0]->Cols());
    return true;
}

EXFN(NRow) {
    if (!Given(argc, args, 0)) return false;
    result.SetScalar(args[0]->Rows());
    return true;
}

// NaN elements take no part in Min and Max.
EXFN(Min) {
    return Extreme(argc, args, result, false);
}
EXFN(Max) {
    return Extreme(argc, args, result, true);
}
EXFN(IMin) {
    return ExtremeIndex(argc, args, result, false);
}
EXFN(IMax) {
    return ExtremeIndex(argc, args, result, true);
}

// With a range, each bin sums the elements x with lower <= x < upper, the bins of Hist.
EXFN(Sum) {
    if (!Given(argc, args, 0)) return false;
    const auto e = args[0]->Elements();
    if (argc < 2) {
        result.SetScalar(std::accumulate(e.begin(), e.end(), 0.0));
        return true;
    }
    std::vector<double> lower, upper;
    if (!Given(argc, args, 1) || !ReadBins(*args[1], lower, upper)) return false;
    const std::vector<double> sums = BinValues(e, lower, upper, true);
    result = Values(sums);
    return true;
}

// WSum(x, w, form, step [, first, count, scale]): the kernel w slides over x by `step`
// places from `first`, `count` times (default: as often as it fits). Forms: 0 the sum of
// w x, 1 that sum over the sum of w (a weighted mean), 2 the sum of w x^2, 3 the root of
// form 2 over the sum of w (a weighted RMS). Every result is multiplied by `scale`.
EXFN(WSum) {
    long long form, step;
    if (!Given(argc, args, 0) || !Given(argc, args, 1) || !IntegerArg(argc, args, 2, form) ||
        !IntegerArg(argc, args, 3, step) || form < 0 || form > 3 || step < 1)
        return false;
    const auto x = args[0]->Elements();
    const auto w = args[1]->Elements();
    const long long n = static_cast<long long>(x.size()), m = static_cast<long long>(w.size());
    const long long first = OptionalInteger(argc, args, 4, 0);
    if (first < 0 || first + m > n) return false;
    const long long fit = (n - first - m) / step + 1;
    const long long count = OptionalInteger(argc, args, 5, fit);
    const double scale = OptionalScalar(argc, args, 6, 1.0);
    if (count < 1 || count > fit) return false;
    const double wsum = std::accumulate(w.begin(), w.end(), 0.0);
    if ((form == 1 || form == 3) && wsum == 0.0) return false;
    std::vector<double> out(static_cast<std::size_t>(count));
    for (long long j = 0; j < count; ++j) {
        const double* p = x.data() + first + j * step;
        double s = 0;
        for (long long k = 0; k < m; ++k) s += w[k] * (form >= 2 ? p[k] * p[k] : p[k]);
        if (form == 1) s /= wsum;
        if (form == 3) s = std::sqrt(s / wsum);
        out[std::size_t(j)] = s * scale;
    }
    result = Values(out);
    return true;
}

// With a second argument, the mean of the column of that index.
EXFN(Avr) {
    if (!Given(argc, args, 0)) return false;
    const Matrix& a = *args[0];
    if (argc < 2) {
        result.SetScalar(Mean(a.Elements()));
        return true;
    }
    long long col;
    if (!IntegerArg(argc, args, 1, col) || col < 0 || col >= a.Cols()) return false;
    result.SetScalar(Mean({a.Column(int(col)), std::size_t(a.Rows())}));
    return true;
}

EXFN(Var) {
    if (!Given(argc, args, 0) || args[0]->Size() < 2) return false;
    const auto a = args[0]->Elements();
    if (argc < 2) {
        result.SetScalar(Covariance(a, a));
        return true;
    }
    if (!Given(argc, args, 1) || args[1]->Size() != a.size()) return false;
    result.SetScalar(Covariance(a, args[1]->Elements()));
    return true;
}

EXFN(StdDev) {
    if (!Given(argc, args, 0)) return false;
    const auto a = args[0]->Elements();
    result.SetScalar(a.size() < 2 ? 0.0 : std::sqrt(Covariance(a, a)));
    return true;
}

// One argument: the correlation matrix of its columns. Two vectors: their coefficient.
EXFN(Corr) {
    if (!Given(argc, args, 0) || args[0]->Rows() < 2) return false;
    const Matrix& a = *args[0];
    const std::size_t rows = std::size_t(a.Rows());
    if (argc > 1) {
        double r;
        if (!Given(argc, args, 1) || !a.IsVector() || !args[1]->IsVector() || args[1]->Rows() != a.Rows() ||
            !Correlation(a.Elements(), args[1]->Elements(), r))
            return false;
        result.SetScalar(r);
        return true;
    }
    const int n = a.Cols();
    std::vector<double> out(std::size_t(n) * n);
    for (int i = 0; i < n; ++i) {
        for (int j = i; j < n; ++j) {
            double r;
            if (!Correlation({a.Column(i), rows}, {a.Column(j), rows}, r)) return false;
            out[std::size_t(i) * n + j] = out[std::size_t(j) * n + i] = r;
        }
    }
    result = ColumnMajor(n, n, out);
    return true;
}

// CorrFun(x [, y] [, n [, mode]]): a vector in the second place is y, a scalar is n.
EXFN(CorrFun) {
    if (!Given(argc, args, 0) || !args[0]->IsVector()) return false;
    const Matrix& x = *args[0];
    const Matrix* y = &x;
    int next = 1;
    if (Given(argc, args, 1) && !args[1]->IsScalar()) {
        if (!args[1]->IsVector() || args[1]->Rows() != x.Rows()) return false;
        y = args[1];
        next = 2;
    }
    const int rows = x.Rows();
    const long long lags = OptionalInteger(argc, args, next, rows / 2);
    const long long mode = OptionalInteger(argc, args, next + 1, 0);
    if (lags < 1 || lags > rows || mode < 0 || mode > 2) return false;
    std::vector<double> r(static_cast<std::size_t>(lags));
    numeric::CrossCorrelation(x.Data(), y->Data(), std::size_t(rows), r.data(), r.size());
    for (long long k = 0; k < lags; ++k) {
        if (mode == 1) r[std::size_t(k)] /= rows;
        if (mode == 2) r[std::size_t(k)] /= double(rows - k);
    }
    result = Values(r);
    return true;
}

EXFN(Det) {
    if (!Given(argc, args, 0)) return false;
    Matrix out(*args[0]);
    if (!numeric::Magnitude(out)) return false;
    result = std::move(out);
    return true;
}

EXFN(QDet) {
    if (!Given(argc, args, 0) || !args[0]->IsSquare()) return false;
    double det;
    if (!numeric::LuDeterminant(args[0]->Data(), args[0]->Rows(), det)) return false;
    result.SetScalar(det);
    return true;
}

EXFN(Trn) {
    if (!Given(argc, args, 0)) return false;
    Matrix out(*args[0]);
    numeric::Transpose(out);
    result = std::move(out);
    return true;
}

EXFN(Mul) {
    if (!Given(argc, args, 0) || !Given(argc, args, 1)) return false;
    Matrix out(*args[0]);
    if (!numeric::Multiply(out, *args[1])) return false;
    result = std::move(out);
    return true;
}

EXFN(Inv) {
    if (!Given(argc, args, 0)) return false;
    Matrix out(*args[0]);
    if (!numeric::Invert(out)) return false;
    result = std::move(out);
    return true;
}

// HTH(h [, w]): the Gram matrix h' h of the columns of h, or h' diag(w) h with a weight per
// row (a scalar weight scales all rows).
EXFN(HTH) {
    if (!Given(argc, args, 0)) return false;
    const Matrix& h = *args[0];
    const std::size_t rows = std::size_t(h.Rows());
    std::vector<double> w(rows, 1.0);
    if (argc > 1) {
        if (!Given(argc, args, 1)) return false;
        if (args[1]->IsScalar()) {
            w.assign(rows, args[1]->Scalar());
        } else if (args[1]->Size() == rows) {
            w = Flat(*args[1]);
        } else {
            return false;
        }
    }
    const int n = h.Cols();
    std::vector<double> weighted(rows), out(std::size_t(n) * n);
    for (int i = 0; i < n; ++i) {
        numeric::Multiply(h.Column(i), w.data(), weighted.data(), rows);
        for (int j = i; j < n; ++j) {
            const double* cj = h.Column(j);
            double s = 0;
            for (std::size_t k = 0; k < rows; ++k) s += weighted[k] * cj[k];
            out[std::size_t(i) * n + j] = out[std::size_t(j) * n + i] = s;
        }
    }
    result = ColumnMajor(n, n, out);
    return true;
}

// SVD(a [, u, v]): the singular values in descending order; u and v, when given, receive
// the singular vectors as columns, so that a = u diag(s) v'. One-sided Jacobi keeps small
// singular values accurate, which a detour over the eigenvalues of a' a would not.
EXFN(SVD) {
    if (!Given(argc, args, 0)) return false;
    const Matrix& a = *args[0];
    const bool transposed = a.Rows() < a.Cols();
    const int m = transposed ? a.Cols() : a.Rows();
    const int n = transposed ? a.Rows() : a.Cols();
    std::vector<double> u(std::size_t(m) * n), v;
    for (int r = 0; r < a.Rows(); ++r) {
        for (int c = 0; c < a.Cols(); ++c) {
            u[transposed ? std::size_t(r) * m + c : std::size_t(c) * m + r] = a(r, c);
        }
    }
    JacobiSvd(m, n, u, v);
    std::vector<double> sigma(static_cast<std::size_t>(n));
    for (int j = 0; j < n; ++j) {
        double* col = u.data() + std::size_t(j) * m;
        const double norm = std::sqrt(std::inner_product(col, col + m, col, 0.0));
        sigma[std::size_t(j)] = norm;
        if (norm > 0) numeric::DivideConstant(col, norm, col, std::size_t(m));
    }
    std::vector<int> order(static_cast<std::size_t>(n));
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](int x, int y) { return sigma[x] > sigma[y]; });
    std::vector<double> s(static_cast<std::size_t>(n)), uo(u.size()), vo(v.size());
    for (int j = 0; j < n; ++j) {
        const int k = order[std::size_t(j)];
        s[std::size_t(j)] = sigma[std::size_t(k)];
        std::copy_n(u.data() + std::size_t(k) * m, m, uo.data() + std::size_t(j) * m);
        std::copy_n(v.data() + std::size_t(k) * n, n, vo.data() + std::size_t(j) * n);
    }
    // For a wide matrix the roles of the two sets of vectors swap.
    if (argc > 1 && args[1]) {
        *args[1] = transposed ? ColumnMajor(n, n, vo) : ColumnMajor(m, n, uo);
        args[1]->SetChanged();
    }
    if (argc > 2 && args[2]) {
        *args[2] = transposed ? ColumnMajor(m, n, uo) : ColumnMajor(n, n, vo);
        args[2]->SetChanged();
    }
    result = Values(s);
    return true;
}

// Dist(a [, b]): Euclidean distances between points, one point per row. Two scalars give
// their absolute difference, two vectors of one length the distance of the two points they
// are; one argument gives the matrix of distances between its rows; two matrices with the
// same column count give the distances from each row of a to each row of b.
EXFN(Dist) {
    if (!Given(argc, args, 0)) return false;
    const Matrix& a = *args[0];
    if (argc > 1) {
        if (!Given(argc, args, 1)) return false;
        const Matrix& b = *args[1];
        if (a.IsScalar() && b.IsScalar()) {
            result.SetScalar(std::fabs(a.Scalar() - b.Scalar()));
            return true;
        }
        if (a.IsVector() && b.IsVector()) {
            if (a.Rows() != b.Rows()) return false;
            double s = 0;
            for (int i = 0; i < a.Rows(); ++i) s += (a(i) - b(i)) * (a(i) - b(i));
            result.SetScalar(std::sqrt(s));
            return true;
        }
    }
    const Matrix& b = argc > 1 ? *args[1] : a;
    if (a.Cols() != b.Cols()) return false;
    const int na = a.Rows(), nb = b.Rows(), d = a.Cols();
    std::vector<double> out(std::size_t(na) * nb);
    for (int j = 0; j < nb; ++j) {
        for (int i = 0; i < na; ++i) {
            double s = 0;
            for (int c = 0; c < d; ++c) s += (a(i, c) - b(j, c)) * (a(i, c) - b(j, c));
            out[std::size_t(j) * na + i] = std::sqrt(s);
        }
    }
    result = ColumnMajor(na, nb, out);
    return true;
}
