// Complex columns: item k of a column is element 2k (real part) and 2k+1 (imaginary part),
// or magnitude and angle in polar form. A column of odd length is no complex column, and every
// function here fails on it.
#include <cmath>
#include <complex>

#include "expr/ex_functions_internal.h"
#include "numeric/vector_kernels.h"

using namespace exfn;

namespace {

using Complex = std::complex<double>;

bool IsComplex(const Matrix& m) {
    return !m.IsEmpty() && m.Rows() % 2 == 0;
}

bool ComplexArg(int argc, Matrix* args[], int i) {
    return Given(argc, args, i) && IsComplex(*args[i]);
}

Complex Item(const Matrix& m, int item, int col = 0) {
    return {m(2 * item, col), m(2 * item + 1, col)};
}

// A copy of the argument with every item passed through f.
template <class F> bool MapItems(int argc, Matrix* args[], Matrix& result, F f) {
    if (!ComplexArg(argc, args, 0)) return false;
    Matrix out(*args[0]);
    double* d = out.Data();
    for (std::size_t i = 0; i < out.Size(); i += 2) f(d[i], d[i + 1]);
    result = std::move(out);
    return true;
}

// One real value per item, by a kernel over a column of items.
template <class K> bool PerItem(int argc, Matrix* args[], Matrix& result, K kernel) {
    if (!ComplexArg(argc, args, 0)) return false;
    const Matrix& c = *args[0];
    const int items = c.Rows() / 2;
    std::vector<double> out(std::size_t(items) * c.Cols());
    for (int col = 0; col < c.Cols(); ++col)
        kernel(c.Column(col), out.data() + std::size_t(col) * items, items);
    result = ColumnMajor(items, c.Cols(), out);
    return true;
}

} // namespace

EXFN(CR2P) {
    return MapItems(argc, args, result, [](double& re, double& im) {
        const double m = std::hypot(re, im), a = std::atan2(im, re);
        re = m;
        im = a;
    });
}

EXFN(CP2R) {
    return MapItems(argc, args, result, [](double& m, double& a) {
        const double re = m * std::cos(a), im = m * std::sin(a);
        m = re;
        a = im;
    });
}

EXFN(CR2Len) {
    return PerItem(argc, args, result,
                   [](const double* c, double* out, int n) { numeric::Magnitude(c, out, std::size_t(n)); });
}

EXFN(CR2Phi) {
    return PerItem(argc, args, result,
                   [](const double* c, double* out, int n) { numeric::Phase(c, out, std::size_t(n)); });
}

EXFN(CSet) {
    if (!Given(argc, args, 0) || !Given(argc, args, 1) || !args[0]->SameShape(*args[1])) return false;
    const Matrix &re = *args[0], &im = *args[1];
    std::vector<double> out(2 * re.Size());
    for (int col = 0; col < re.Cols(); ++col) {
        numeric::Interleave(re.Column(col), im.Column(col), out.data() + 2 * std::size_t(col) * re.Rows(),
                            std::size_t(re.Rows()));
    }
    result = ColumnMajor(2 * re.Rows(), re.Cols(), out);
    return true;
}

// CGet(c [, part]): the real parts (part 0, the default) or the imaginary parts (part 1).
EXFN(CGet) {
    const long long part = OptionalInteger(argc, args, 1, 0);
    if (part != 0 && part != 1) return false;
    return PerItem(argc, args, result, [part](const double* c, double* out, int n) {
        for (int k = 0; k < n; ++k) out[k] = c[2 * k + part];
    });
}

EXFN(Conj) {
    return MapItems(argc, args, result, [](double&, double& im) { im = -im; });
}

// CDot(a, b): the inner product sum conj(a_k) b_k over all items of two values of one shape,
// one complex item.
EXFN(CDot) {
    if (!ComplexArg(argc, args, 0) || !ComplexArg(argc, args, 1) || !args[0]->SameShape(*args[1]))
        return false;
    const double *a = args[0]->Data(), *b = args[1]->Data();
    Complex s = 0;
    for (std::size_t i = 0; i < args[0]->Size(); i += 2)
        s += std::conj(Complex(a[i], a[i + 1])) * Complex(b[i], b[i + 1]);
    result = Values({s.real(), s.imag()});
    return true;
}

// CTrn(c): the conjugate transpose. A complex column of n items becomes a complex row, which
// is 2 rows by n columns.
EXFN(CTrn) {
    if (!ComplexArg(argc, args, 0)) return false;
    const Matrix& c = *args[0];
    const int items = c.Rows() / 2, cols = c.Cols();
    std::vector<double> out(c.Size());
    for (int r = 0; r < items; ++r) {
        for (int col = 0; col < cols; ++col) {
            const Complex z = std::conj(Item(c, r, col));
            const std::size_t at = std::size_t(r) * 2 * cols + 2 * std::size_t(col);
            out[at] = z.real();
            out[at + 1] = z.imag();
        }
    }
    result = ColumnMajor(2 * cols, items, out);
    return true;
}

// CMul(a, b): the product in the linear-algebra form of the * operator on complex values: a
// complex scalar (one item) scales the other side; two complex columns of one length give
// their inner product (not conjugated, see CDot); a complex matrix of m columns times a value
// of m items per column gives the matrix product.
EXFN(CMul) {
    if (!ComplexArg(argc, args, 0) || !ComplexArg(argc, args, 1)) return false;
    const Matrix &a = *args[0], &b = *args[1];
    const bool aScalar = a.Rows() == 2 && a.Cols() == 1, bScalar = b.Rows() == 2 && b.Cols() == 1;
    if (aScalar || bScalar) {
        const Complex s = aScalar ? Item(a, 0) : Item(b, 0);
        Matrix out(aScalar ? b : a);
        double* d = out.Data();
        for (std::size_t i = 0; i < out.Size(); i += 2) {
            const Complex z = Complex(d[i], d[i + 1]) * s;
            d[i] = z.real();
            d[i + 1] = z.imag();
        }
        result = std::move(out);
        return true;
    }
    if (a.Cols() == 1 && b.Cols() == 1) {
        if (a.Rows() != b.Rows()) return false;
        Complex s = 0;
        for (int k = 0; k < a.Rows() / 2; ++k) s += Item(a, k) * Item(b, k);
        result = Values({s.real(), s.imag()});
        return true;
    }
    const int n = a.Rows() / 2, m = a.Cols(), p = b.Cols();
    if (m < 2 || b.Rows() != 2 * m) return false;
    std::vector<double> out(std::size_t(2) * n * p);
    for (int col = 0; col < p; ++col) {
        for (int r = 0; r < n; ++r) {
            Complex s = 0;
            for (int k = 0; k < m; ++k) s += Item(a, r, k) * Item(b, k, col);
            out[std::size_t(col) * 2 * n + 2 * r] = s.real();
            out[std::size_t(col) * 2 * n + 2 * r + 1] = s.imag();
        }
    }
    result = ColumnMajor(2 * n, p, out);
    return true;
}

// CMulV(a, b): item by item; a single complex item on either side applies to every item.
EXFN(CMulV) {
    if (!ComplexArg(argc, args, 0) || !ComplexArg(argc, args, 1)) return false;
    const Matrix &a = *args[0], &b = *args[1];
    const bool aOne = a.Size() == 2, bOne = b.Size() == 2;
    if (!a.SameShape(b) && !aOne && !bOne) return false;
    Matrix out(aOne ? b : a);
    const Matrix& other = aOne ? a : b;
    double* d = out.Data();
    const double* o = other.Data();
    const bool single = other.Size() == 2 && out.Size() != 2;
    for (std::size_t i = 0; i < out.Size(); i += 2) {
        const std::size_t j = single ? 0 : i;
        const Complex z = Complex(d[i], d[i + 1]) * Complex(o[j], o[j + 1]);
        d[i] = z.real();
        d[i + 1] = z.imag();
    }
    result = std::move(out);
    return true;
}
