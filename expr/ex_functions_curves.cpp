// Functions on curves: crossings, peaks, interpolation, smoothing, differences and
// integrals, polynomials, spectral peaks and the periodogram test.
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "expr/ex_functions_internal.h"
#include "numeric/fft.h"
#include "numeric/vector_kernels.h"

using namespace exfn;

namespace {

bool VectorArg(int argc, Matrix* args[], int i) {
    return Given(argc, args, i) && args[i]->IsVector();
}

// Offset of the vertex of the parabola through three neighbouring values, in -0.5 .. 0.5
// for a true maximum, and the height there.
void Parabola(double left, double mid, double right, double& offset, double& height) {
    const double denominator = left - 2 * mid + right;
    offset = denominator == 0 ? 0 : 0.5 * (left - right) / denominator;
    height = mid - 0.25 * (left - right) * offset;
}

// Local maxima x[i] > x[i-1], x[i] >= x[i+1] (the first point of a plateau) at or above the
// threshold.
std::vector<int> LocalMaxima(const double* x, int n, double threshold) {
    std::vector<int> peaks;
    for (int i = 1; i + 1 < n; ++i) {
        if (x[i] > x[i - 1] && x[i] >= x[i + 1] && x[i] >= threshold) peaks.push_back(i);
    }
    return peaks;
}

// The step of YDiff and YInt between sample i-1 and i: from a vector of abscissas, a positive
// scalar step, or 1.
bool Steps(int argc, Matrix* args[], int rows, std::vector<double>& dx) {
    dx.assign(std::size_t(rows), 1.0);
    if (argc < 2) return true;
    if (!Given(argc, args, 1)) return false;
    const Matrix& x = *args[1];
    if (x.IsScalar()) {
        if (!(x.Scalar() > 0)) return false;
        dx.assign(std::size_t(rows), x.Scalar());
        return true;
    }
    if (!x.IsVector() || x.Rows() != rows) return false;
    for (int i = 1; i < rows; ++i) dx[std::size_t(i)] = x(i) - x(i - 1);
    return true;
}

} // namespace

// ZCross(x [, mode, level, scale]): crossings of `level`, upward (from below to at or above)
// and downward. Mode 0 gives their number times `scale` (scale = rate / rows gives a rate per
// second); modes 1, 2 and 3 give the interpolated positions of the upward, the downward or
// all crossings, times `scale`. No crossing in modes 1 to 3 fails.
EXFN(ZCross) {
    if (!VectorArg(argc, args, 0)) return false;
    const long long mode = OptionalInteger(argc, args, 1, 0);
    const double level = OptionalScalar(argc, args, 2, 0.0);
    const double scale = OptionalScalar(argc, args, 3, 1.0);
    if (mode < 0 || mode > 3) return false;
    const Matrix& x = *args[0];
    std::vector<double> positions;
    double count = 0;
    for (int i = 0; i + 1 < x.Rows(); ++i) {
        const bool up = x(i) < level && x(i + 1) >= level;
        const bool down = x(i) >= level && x(i + 1) < level;
        if (!up && !down) continue;
        ++count;
        if ((mode == 1 && up) || (mode == 2 && down) || mode == 3) {
            positions.push_back((i + (level - x(i)) / (x(i + 1) - x(i))) * scale);
        }
    }
    if (mode == 0) {
        result.SetScalar(count * scale);
        return true;
    }
    if (positions.empty()) return false;
    result = Values(positions);
    return true;
}

// IPeak(x [, threshold, distance, count, order, refine]): indices of the local maxima at or
// above `threshold`. Of peaks closer than `distance` places the higher stays; at most `count`
// (0: all) of the highest are kept; order 0 lists them by index, 1 by height; refine 1 gives
// the fractional index of the parabola through each peak and its neighbours. No peak fails.
EXFN(IPeak) {
    if (!VectorArg(argc, args, 0)) return false;
    const Matrix& x = *args[0];
    const double threshold = OptionalScalar(argc, args, 1, -std::numeric_limits<double>::infinity());
    const long long distance = OptionalInteger(argc, args, 2, 1);
    const long long count = OptionalInteger(argc, args, 3, 0);
    const long long order = OptionalInteger(argc, args, 4, 0);
    const bool refine = OptionalInteger(argc, args, 5, 0) != 0;
    if (distance < 1 || count < 0) return false;
    std::vector<int> peaks = LocalMaxima(x.Data(), x.Rows(), threshold);
    std::stable_sort(peaks.begin(), peaks.end(), [&](int a, int b) { return x(a) > x(b); });
    std::vector<int> kept;
    for (int p : peaks) {
        const bool near =
            std::any_of(kept.begin(), kept.end(), [&](int k) { return std::abs(k - p) < distance; });
        if (!near) kept.push_back(p);
        if (count > 0 && static_cast<long long>(kept.size()) == count) break;
    }
    if (kept.empty()) return false;
    if (order != 1) std::sort(kept.begin(), kept.end());
    std::vector<double> out;
    for (int p : kept) {
        double offset = 0, height;
        if (refine) Parabola(x(p - 1), x(p), x(p + 1), offset, height);
        out.push_back(p + offset);
    }
    result = Values(out);
    return true;
}

// QInterp(x, y, xi [, mode]): the parabola through the three points of the ascending x
// nearest each xi. Outside x, mode 0 holds the end values of y, mode 1 extrapolates with the
// end parabolas. The result has xi's shape.
EXFN(QInterp) {
    if (!VectorArg(argc, args, 0) || !VectorArg(argc, args, 1) || !Given(argc, args, 2)) return false;
    const Matrix &x = *args[0], &y = *args[1];
    const int n = x.Rows();
    if (n < 3 || y.Rows() != n) return false;
    for (int i = 1; i < n; ++i) {
        if (!(x(i) > x(i - 1))) return false;
    }
    const bool extrapolate = OptionalInteger(argc, args, 3, 0) == 1;
    Matrix out(*args[2]);
    for (double& v : out.Elements()) {
        if (!extrapolate && v <= x(0)) {
            v = y(0);
            continue;
        }
        if (!extrapolate && v >= x(n - 1)) {
            v = y(n - 1);
            continue;
        }
        const double* xs = x.Data();
        int k = int(std::lower_bound(xs, xs + n, v) - xs);
        if (k > 0 && (k == n || v - xs[k - 1] < xs[k] - v)) --k;
        const int j = std::clamp(k, 1, n - 2);
        const double x0 = x(j - 1), x1 = x(j), x2 = x(j + 1);
        v = y(j - 1) * (v - x1) * (v - x2) / ((x0 - x1) * (x0 - x2)) +
            y(j) * (v - x0) * (v - x2) / ((x1 - x0) * (x1 - x2)) +
            y(j + 1) * (v - x0) * (v - x1) / ((x2 - x0) * (x2 - x1));
    }
    result = std::move(out);
    return true;
}

EXFN(Smooth) {
    if (!VectorArg(argc, args, 0)) return false;
    const Matrix& x = *args[0];
    const int rows = x.Rows();
    const long long width = OptionalInteger(argc, args, 2, 1);
    const long long step = OptionalInteger(argc, args, 3, 1);
    if (OptionalInteger(argc, args, 1, 0) != 0 || width < 0 || width > rows / 2 || step < 1 || step > rows)
        return false;
    std::vector<double> prefix(std::size_t(rows) + 1, 0.0);
    for (int i = 0; i < rows; ++i) prefix[std::size_t(i) + 1] = prefix[std::size_t(i)] + x(i);
    std::vector<double> out(static_cast<std::size_t>(rows / step));
    for (std::size_t j = 0; j < out.size(); ++j) {
        const long long centre = static_cast<long long>(j) * step;
        const long long lo = std::max(0LL, centre - width),
                        hi = std::min<long long>(rows - 1, centre + width);
        out[j] = (prefix[std::size_t(hi) + 1] - prefix[std::size_t(lo)]) / double(hi - lo + 1);
    }
    result = Values(out);
    return true;
}

// A step that does not advance (x not increasing) gives 0 in YDiff and adds nothing in YInt.
EXFN(YDiff) {
    std::vector<double> dx;
    if (!VectorArg(argc, args, 0) || !Steps(argc, args, args[0]->Rows(), dx)) return false;
    const Matrix& y = *args[0];
    std::vector<double> out(std::size_t(y.Rows()) - 1);
    for (int i = 1; i < y.Rows(); ++i) {
        const double step = dx[std::size_t(i)];
        out[std::size_t(i) - 1] = step > 0 ? (y(i) - y(i - 1)) / step : 0.0;
    }
    result = Values(out);
    return true;
}

// YInt(y [, x]): running sum of y[i] times the step from i-1 to i, starting at 0, with as
// many elements as y: YDiff of the result with the same x gives y[1..] back.
EXFN(YInt) {
    std::vector<double> dx;
    if (!VectorArg(argc, args, 0) || !Steps(argc, args, args[0]->Rows(), dx)) return false;
    const Matrix& y = *args[0];
    std::vector<double> out(std::size_t(y.Rows()), 0.0);
    for (int i = 1; i < y.Rows(); ++i) {
        const double step = dx[std::size_t(i)];
        out[std::size_t(i)] = out[std::size_t(i) - 1] + (step > 0 ? y(i) * step : 0.0);
    }
    result = Values(out);
    return true;
}

// RPoly(c, x): c[0] x^(n-1) + ... + c[n-1], highest power first, the order in which
// RPolyReg gives its line.
EXFN(RPoly) {
    if (!Given(argc, args, 0) || args[0]->Cols() != 1 || !Given(argc, args, 1)) return false;
    const auto c = args[0]->Elements();
    Matrix out(*args[1]);
    for (double& v : out.Elements()) {
        double s = 0;
        for (double k : c) s = s * v + k;
        v = s;
    }
    result = std::move(out);
    return true;
}

// RPolyReg(y, 1) fits the line through (i, y[i]); RPolyReg(x, 1, y) through (x[i], y[i]).
EXFN(RPolyReg) {
    long long order;
    if (!VectorArg(argc, args, 0) || !IntegerArg(argc, args, 1, order) || order != 1) return false;
    const Matrix* px = nullptr;
    const Matrix* py = args[0];
    if (argc > 2) {
        if (!Given(argc, args, 2) || !args[2]->SameShape(*args[0])) return false;
        px = args[0];
        py = args[2];
    }
    const int n = py->Rows();
    double sx = 0, sy = 0, sxx = 0, sxy = 0;
    for (int i = 0; i < n; ++i) {
        const double xi = px ? (*px)(i) : i, yi = (*py)(i);
        sx += xi;
        sy += yi;
        sxx += xi * xi;
        sxy += xi * yi;
    }
    const double denominator = n * sxx - sx * sx;
    if (denominator == 0) return false;
    const double slope = (n * sxy - sx * sy) / denominator;
    result = Values({slope, (sy - slope * sx) / n});
    return true;
}

// SPPEAKS(a [, count, threshold, df]): peaks of an amplitude spectrum, each refined by the
// parabola through it and its neighbours, as rows of (frequency, amplitude), the highest
// first; frequencies are bins times df (default 1). No peak fails.
EXFN(SPPEAKS) {
    if (!VectorArg(argc, args, 0)) return false;
    const Matrix& a = *args[0];
    const long long count = OptionalInteger(argc, args, 1, 0);
    const double threshold = OptionalScalar(argc, args, 2, -std::numeric_limits<double>::infinity());
    const double df = OptionalScalar(argc, args, 3, 1.0);
    if (count < 0) return false;
    std::vector<std::pair<double, double>> peaks;
    for (int i : LocalMaxima(a.Data(), a.Rows(), threshold)) {
        double offset, height;
        Parabola(a(i - 1), a(i), a(i + 1), offset, height);
        peaks.emplace_back((i + offset) * df, height);
    }
    std::stable_sort(peaks.begin(), peaks.end(),
                     [](const auto& p, const auto& q) { return p.second > q.second; });
    if (count > 0 && static_cast<long long>(peaks.size()) > count)
        peaks.resize(static_cast<std::size_t>(count));
    if (peaks.empty()) return false;
    const int k = int(peaks.size());
    std::vector<double> out(std::size_t(2) * k);
    for (int i = 0; i < k; ++i) {
        out[std::size_t(i)] = peaks[std::size_t(i)].first;
        out[std::size_t(k + i)] = peaks[std::size_t(i)].second;
    }
    result = ColumnMajor(k, 2, out);
    return true;
}

// PGTEST(x): Fisher's periodogram test for a hidden periodicity in a series of at least 5
// values. Gives g (the largest periodogram ordinate over their sum, without the mean and
// Nyquist bins), its p-value under white noise, and the bin of the largest ordinate. The
// exact p-value is an alternating sum that loses its precision for many ordinates; from
// 50 ordinates on its first term, an upper bound and accurate for small p, is taken.
EXFN(PGTEST) {
    if (argc != 1 || !VectorArg(argc, args, 0) || args[0]->Rows() < 5) return false;
    const Matrix& x = *args[0];
    const std::size_t n = std::size_t(x.Rows()), m = (n - 1) / 2;
    numeric::RealDft dft(n);
    std::vector<double> packed(n + 2), power(m + 1);
    dft.Forward(x.Data(), packed.data());
    numeric::PowerSpectrum(packed.data(), power.data(), m + 1);
    const double total = std::accumulate(power.begin() + 1, power.end(), 0.0);
    if (!(total > 0)) return false;
    const auto peak = std::max_element(power.begin() + 1, power.end());
    const double g = *peak / total;
    double p;
    if (m < 50) {
        long double sum = 0;
        for (std::size_t j = 1; j <= m && double(j) * g < 1.0; ++j) {
            const long double term =
                std::exp(std::lgamma(m + 1.0L) - std::lgamma(j + 1.0L) - std::lgamma(m - j + 1.0L)) *
                std::pow(1.0L - j * (long double)g, (long double)(m - 1));
            sum += j % 2 ? term : -term;
        }
        p = double(sum);
    } else {
        p = double(m) * std::pow(1.0 - g, double(m - 1));
    }
    result = Values({g, std::clamp(p, 0.0, 1.0), double(peak - power.begin())});
    return true;
}
