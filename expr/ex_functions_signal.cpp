// Windows, transforms, the cepstrum, linear prediction and filters.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "expr/ex_functions_internal.h"
#include "numeric/fft.h"
#include "numeric/vector_kernels.h"
#include "numeric/windows.h"

using namespace exfn;
using numeric::WindowKind;

namespace {

constexpr double kLogFloor = 2.2250738585072014e-308;
// The transforms stop at 2^30 points.
constexpr int kMaxOrder = 30;

// The first argument of a window function: a scalar above 2 is the length of a window to
// make, a value of at least 3 rows gets the window multiplied into each of its columns.
bool MakeWindowed(WindowKind kind, int argc, Matrix* args[], int at, Matrix& result) {
    if (!Given(argc, args, at)) return false;
    const Matrix& first = *args[at];
    double gain = 0;
    const bool noiseGain = ScalarArg(argc, args, at + 1, gain) && gain != 0.0;
    const numeric::WindowShape shape{kind, OptionalScalar(argc, args, at + 2, 0.0),
                                     numeric::BlackmanLimit::Below, noiseGain};
    if (first.IsScalar()) {
        long long n;
        if (!IntegerArg(argc, args, at, n) || n < 3) return false;
        Matrix out(int(n), 1);
        if (!numeric::MakeWindow(shape, out.Data(), out.Size())) return false;
        result = std::move(out);
        return true;
    }
    if (first.Rows() < 3) return false;
    // One window for all columns, so that they share one noise gain.
    std::vector<double> w(static_cast<std::size_t>(first.Rows()));
    if (!numeric::MakeWindow(shape, w.data(), w.size())) return false;
    Matrix out(first);
    for (int c = 0; c < out.Cols(); ++c) numeric::Multiply(out.Column(c), w.data(), out.Column(c), w.size());
    result = std::move(out);
    return true;
}

// n real values padded to `length` and transformed column by column into the packed form
// of length + 2 rows.
bool Transform(const Matrix& x, std::size_t length, numeric::RealDft& dft, Matrix& result) {
    const std::size_t rows = length + 2;
    std::vector<double> out(rows * x.Cols(), 0.0);
    for (int c = 0; c < x.Cols(); ++c) {
        double* col = out.data() + std::size_t(c) * rows;
        numeric::Copy(x.Column(c), col, std::size_t(x.Rows()));
        dft.Forward(col, col);
    }
    result = ColumnMajor(int(rows), x.Cols(), out);
    return true;
}

// Filter sections (b, a) with a[0] normalised to 1.
struct Section {
    std::vector<double> b, a;
    std::size_t Order() const { return std::max(b.size(), a.size()) - 1; }
};

bool MakeSection(std::vector<double> b, std::vector<double> a, Section& s) {
    if (b.empty() || a.empty() || a[0] == 0.0 || !std::isfinite(a[0])) return false;
    const double a0 = a[0];
    for (double& v : b) v /= a0;
    for (double& v : a) v /= a0;
    s = {std::move(b), std::move(a)};
    return true;
}

// Coefficients of a scalar or a vector.
bool Coefficients(int argc, Matrix* args[], int i, std::vector<double>& c) {
    if (!Given(argc, args, i) || args[i]->Cols() != 1) return false;
    c = Flat(*args[i]);
    return true;
}

// Filters every column of x through the sections in turn. The state argument, when there is
// one, is read when it holds the right number of values (the filter's order per section and
// column) and written back, so that a long signal can be filtered block by block.
bool RunFilter(const Matrix& x, const std::vector<Section>& sections, Matrix* state, Matrix& result) {
    std::size_t perColumn = 0;
    for (const Section& s : sections) perColumn += s.Order();
    const std::size_t total = perColumn * std::size_t(x.Cols());
    std::vector<double> z(total, 0.0);
    if (state && state->Size() == total) z = Flat(*state);
    Matrix out(x);
    for (int c = 0; c < out.Cols(); ++c) {
        double* zc = z.data() + std::size_t(c) * perColumn;
        for (const Section& s : sections) {
            FilterBlock(s.b, s.a, out.Column(c), out.Column(c), std::size_t(out.Rows()), zc);
            zc += s.Order();
        }
    }
    if (state && total > 0) {
        *state = ColumnMajor(int(perColumn), x.Cols(), z);
        state->SetChanged();
    }
    result = std::move(out);
    return true;
}

// Sections from the columns of a matrix of `rows` rows: 3 (b0 b1 b2) for FIR, 6 (b0 b1 b2 a0
// a1 a2) for IIR.
bool ReadSections(const Matrix& m, int rows, std::vector<Section>& sections) {
    if (m.Rows() != rows) return false;
    for (int c = 0; c < m.Cols(); ++c) {
        const double* p = m.Column(c);
        Section s;
        if (!MakeSection({p, p + 3}, rows == 6 ? std::vector<double>(p + 3, p + 6) : std::vector<double>{1.0},
                         s))
            return false;
        sections.push_back(std::move(s));
    }
    return true;
}

Matrix* StateArg(int argc, Matrix* args[], int i) {
    return i < argc ? args[i] : nullptr;
}

} // namespace

namespace exfn {

void FilterBlock(const std::vector<double>& b, const std::vector<double>& a, const double* x, double* y,
                 std::size_t n, double* z) {
    const std::size_t order = std::max(b.size(), a.size()) - 1;
    auto B = [&](std::size_t k) { return k < b.size() ? b[k] : 0.0; };
    auto A = [&](std::size_t k) { return k < a.size() ? a[k] : 0.0; };
    for (std::size_t i = 0; i < n; ++i) {
        const double xn = x[i];
        const double yn = B(0) * xn + (order > 0 ? z[0] : 0.0);
        for (std::size_t j = 0; j + 1 < order; ++j) z[j] = B(j + 1) * xn - A(j + 1) * yn + z[j + 1];
        if (order > 0) z[order - 1] = B(order) * xn - A(order) * yn;
        y[i] = yn;
    }
}

double Levinson(const double* r, int order, std::vector<double>& a, std::vector<double>* rc) {
    a.assign(std::size_t(order) + 1, 0.0);
    a[0] = 1.0;
    if (rc) rc->assign(std::size_t(order), 0.0);
    double error = r[0];
    if (!(error > 0)) return -1.0;
    std::vector<double> previous;
    for (int i = 1; i <= order; ++i) {
        // A perfectly predictable signal leaves no error to divide by; the rest stays 0.
        if (error <= r[0] * 1e-14) break;
        double acc = r[i];
        for (int j = 1; j < i; ++j) acc += a[std::size_t(j)] * r[i - j];
        const double k = -acc / error;
        previous = a;
        for (int j = 1; j < i; ++j)
            a[std::size_t(j)] = previous[std::size_t(j)] + k * previous[std::size_t(i - j)];
        a[std::size_t(i)] = k;
        if (rc) (*rc)[std::size_t(i - 1)] = k;
        error *= 1.0 - k * k;
    }
    return error;
}

} // namespace exfn

EXFN(Window) {
    double kind;
    if (!ScalarArg(argc, args, 0, kind)) return false;
    long long number = -1;
    ToInteger(kind, number);
    return MakeWindowed(numeric::WindowKindFromNumber(number), argc, args, 1, result);
}

EXFN(WHanning) {
    return MakeWindowed(WindowKind::Hanning, argc, args, 0, result);
}
EXFN(WHamming) {
    return MakeWindowed(WindowKind::Hamming, argc, args, 0, result);
}
EXFN(WBartlett) {
    return MakeWindowed(WindowKind::Bartlett, argc, args, 0, result);
}
EXFN(WTapRect) {
    return MakeWindowed(WindowKind::TapRectangle, argc, args, 0, result);
}
EXFN(WNutTall) {
    return MakeWindowed(WindowKind::NutTall, argc, args, 0, result);
}
EXFN(WFlatTop) {
    return MakeWindowed(WindowKind::FlatTop, argc, args, 0, result);
}
EXFN(WBlackman) {
    return MakeWindowed(WindowKind::Blackman, argc, args, 0, result);
}
EXFN(WKaiser) {
    return MakeWindowed(WindowKind::Kaiser, argc, args, 0, result);
}
EXFN(WGauss) {
    return MakeWindowed(WindowKind::Gaussian, argc, args, 0, result);
}

// Fewer than 8 rows give an empty result, which fails the whole expression.
EXFN(FFT) {
    if (!Given(argc, args, 0)) return false;
    const Matrix& x = *args[0];
    if (x.Rows() < 8) {
        result.Clear();
        return true;
    }
    const long long n = std::max<long long>(x.Rows(), OptionalInteger(argc, args, 1, 0));
    const int order = numeric::FftOrderFor(static_cast<std::size_t>(n));
    if (order > kMaxOrder) return false;
    numeric::RealFft fft(order);
    return Transform(x, fft.Size(), fft, result);
}

// The inverse of FFT: a packed column of 2^k + 2 rows gives 2^k values.
EXFN(IFFT) {
    if (!Given(argc, args, 0)) return false;
    const Matrix& c = *args[0];
    const int length = c.Rows() - 2;
    if (length < 2 || (length & (length - 1)) != 0) return false;
    numeric::RealFft fft(numeric::FftOrderFor(static_cast<std::size_t>(length)));
    std::vector<double> out(std::size_t(length) * c.Cols());
    for (int col = 0; col < c.Cols(); ++col)
        fft.Inverse(c.Column(col), out.data() + std::size_t(col) * length);
    result = ColumnMajor(length, c.Cols(), out);
    return true;
}

// FFT for any length: n (at least the row count) is not raised. A scalar has nothing to
// transform and fails.
EXFN(DFT) {
    if (!Given(argc, args, 0) || args[0]->Rows() < 2) return false;
    const Matrix& x = *args[0];
    const long long n = std::max<long long>(x.Rows(), OptionalInteger(argc, args, 1, 0));
    numeric::RealDft dft{std::size_t(n)};
    return Transform(x, dft.Size(), dft, result);
}

// Cepstrum(x [, count, n]): the real cepstrum, the inverse transform of ln |X| of the column
// padded to n (default and minimum the row count, raised to a power of 2). Since it is even,
// `count` quefrencies from 0 are given, by default n / 2 + 1. Each column of a matrix alike.
EXFN(Cepstrum) {
    if (!Given(argc, args, 0) || args[0]->Rows() < 2) return false;
    const Matrix& x = *args[0];
    const long long asked = std::max<long long>(x.Rows(), OptionalInteger(argc, args, 2, 0));
    const int order = numeric::FftOrderFor(static_cast<std::size_t>(asked));
    if (order > kMaxOrder) return false;
    numeric::RealFft fft(order);
    const std::size_t n = fft.Size(), bins = n / 2 + 1;
    const long long count = OptionalInteger(argc, args, 1, static_cast<long long>(bins));
    if (count < 1 || count > static_cast<long long>(n)) return false;
    std::vector<double> packed(n + 2), magnitude(bins), cepstrum(n), out(std::size_t(count) * x.Cols());
    for (int c = 0; c < x.Cols(); ++c) {
        std::fill(packed.begin(), packed.end(), 0.0);
        numeric::Copy(x.Column(c), packed.data(), std::size_t(x.Rows()));
        fft.Forward(packed.data(), packed.data());
        numeric::Magnitude(packed.data(), magnitude.data(), bins);
        numeric::ThresholdLow(magnitude.data(), kLogFloor, magnitude.data(), bins);
        numeric::Ln(magnitude.data(), magnitude.data(), bins);
        std::fill(packed.begin(), packed.end(), 0.0);
        for (std::size_t k = 0; k < bins; ++k) packed[2 * k] = magnitude[k];
        fft.Inverse(packed.data(), cepstrum.data());
        std::copy_n(cepstrum.begin(), count, out.begin() + std::ptrdiff_t(c) * count);
    }
    result = ColumnMajor(int(count), x.Cols(), out);
    return true;
}

// DCT(x [, n, inverse]): the orthonormal DCT-II of each column, cut or padded with zeros to n
// values (default the row count); `inverse` not 0 gives the inverse (DCT-III).
EXFN(DCT) {
    if (!Given(argc, args, 0)) return false;
    const Matrix& x = *args[0];
    const long long n = OptionalInteger(argc, args, 1, x.Rows());
    if (n < 1) return false;
    const bool inverse = OptionalInteger(argc, args, 2, 0) != 0;
    numeric::Dct dct{std::size_t(n)};
    std::vector<double> in(static_cast<std::size_t>(n)), out(std::size_t(n) * x.Cols());
    for (int c = 0; c < x.Cols(); ++c) {
        std::fill(in.begin(), in.end(), 0.0);
        numeric::Copy(x.Column(c), in.data(), std::min<std::size_t>(std::size_t(n), std::size_t(x.Rows())));
        double* dst = out.data() + std::size_t(c) * std::size_t(n);
        inverse ? dct.Inverse(in.data(), dst) : dct.Forward(in.data(), dst);
    }
    result = ColumnMajor(int(n), x.Cols(), out);
    return true;
}

// LPC(x, order [, rc, error]): the prediction polynomial 1, a1 .. ap of the autocorrelation
// method by Levinson-Durbin, so that e[n] = x[n] + sum a_k x[n-k] is the prediction error.
// The caller windows the frame. rc receives the reflection coefficients, error the remaining
// error energy per sample.
EXFN(LPC) {
    long long order;
    if (!Given(argc, args, 0) || !args[0]->IsVector() || !IntegerArg(argc, args, 1, order) || order < 1 ||
        order >= args[0]->Rows())
        return false;
    const Matrix& x = *args[0];
    std::vector<double> r(std::size_t(order) + 1), a, rc;
    numeric::AutoCorrelation(x.Data(), std::size_t(x.Rows()), r.data(), r.size());
    const double error = Levinson(r.data(), int(order), a, &rc);
    if (error < 0) return false;
    if (argc > 2 && args[2]) {
        *args[2] = Values(rc);
        args[2]->SetChanged();
    }
    if (argc > 3 && args[3]) {
        args[3]->SetScalar(error / x.Rows());
        args[3]->SetChanged();
    }
    result = Values(a);
    return true;
}

// The filters work on each column from rest, or from the state argument (see RunFilter).
// IIR1(x, b, a [, state]): one direct form with numerator b and denominator a.
EXFN(IIR1) {
    std::vector<double> b, a;
    Section s;
    if (!Given(argc, args, 0) || !Coefficients(argc, args, 1, b) || !Coefficients(argc, args, 2, a) ||
        !MakeSection(b, a, s))
        return false;
    return RunFilter(*args[0], {s}, StateArg(argc, args, 3), result);
}

// IIR2(x, sections [, state]): a cascade of second-order sections, one per column of 6 rows
// (b0 b1 b2 a0 a1 a2).
EXFN(IIR2) {
    std::vector<Section> sections;
    if (!Given(argc, args, 0) || !Given(argc, args, 1) || !ReadSections(*args[1], 6, sections)) return false;
    return RunFilter(*args[0], sections, StateArg(argc, args, 2), result);
}

// FIR1(x, b [, state]): y[n] = sum b_k x[n-k].
EXFN(FIR1) {
    std::vector<double> b;
    Section s;
    if (!Given(argc, args, 0) || !Coefficients(argc, args, 1, b) || !MakeSection(b, {1.0}, s)) return false;
    return RunFilter(*args[0], {s}, StateArg(argc, args, 2), result);
}

// FIR2(x, sections [, state]): a cascade of second-order FIR sections, columns of 3 rows.
EXFN(FIR2) {
    std::vector<Section> sections;
    if (!Given(argc, args, 0) || !Given(argc, args, 1) || !ReadSections(*args[1], 3, sections)) return false;
    return RunFilter(*args[0], sections, StateArg(argc, args, 2), result);
}

// RASTA(x [, pole]): the band pass of RASTA processing, 0.1 (2 + z^-1 - z^-3 - 2 z^-4) /
// (1 - pole z^-1), pole 0.98 by default, along each column (one row per frame, one column
// per band, as a table of log band energies holds them), from rest.
EXFN(RASTA) {
    const double pole = OptionalScalar(argc, args, 1, 0.98);
    Section s;
    if (!Given(argc, args, 0) || !(std::fabs(pole) < 1.0) ||
        !MakeSection({0.2, 0.1, 0.0, -0.1, -0.2}, {1.0, -pole}, s))
        return false;
    return RunFilter(*args[0], {s}, nullptr, result);
}
