// Speech analysis: formants, the fundamental frequency, zero-frequency filtering and
// segmentation; and the three stages of a Bark-band hearing model.
#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>

#include "expr/ex_functions_internal.h"
#include "numeric/fft.h"
#include "numeric/pitch_tracker.h"
#include "numeric/vector_kernels.h"

using namespace exfn;

namespace {

using Complex = std::complex<double>;

// One root of the polynomial a (ascending powers) by Laguerre's method, from x.
bool Laguerre(const std::vector<Complex>& a, Complex& x) {
    constexpr int kRounds = 10, kFractions = 8;
    static constexpr double kFraction[kFractions + 1] = {0.0, 0.5, 0.25, 0.75, 0.13, 0.38, 0.62, 0.88, 1.0};
    const int m = int(a.size()) - 1;
    constexpr double eps = std::numeric_limits<double>::epsilon();
    for (int iter = 1; iter <= kRounds * kFractions; ++iter) {
        Complex b = a[std::size_t(m)], d = 0, f = 0;
        double err = std::abs(b);
        const double abx = std::abs(x);
        for (int j = m - 1; j >= 0; --j) {
            f = x * f + d;
            d = x * d + b;
            b = x * b + a[std::size_t(j)];
            err = std::abs(b) + abx * err;
        }
        if (std::abs(b) <= err * eps) return true;
        const Complex g = d / b, g2 = g * g, h = g2 - 2.0 * f / b;
        const Complex sq = std::sqrt(double(m - 1) * (double(m) * h - g2));
        Complex gp = g + sq;
        const Complex gm = g - sq;
        const double abp = std::abs(gp), abm = std::abs(gm);
        if (abp < abm) gp = gm;
        const Complex dx = std::max(abp, abm) > 0 ? double(m) / gp : std::polar(1.0 + abx, double(iter));
        const Complex x1 = x - dx;
        if (x == x1) return true;
        // Every kRounds-th step is shortened by a fraction to break a limit cycle.
        x = iter % kRounds ? x1 : x - kFraction[iter / kRounds] * dx;
    }
    return false;
}

// Subtracts the moving mean over 2 half + 1 places (cut at the ends) from y.
void RemoveTrend(std::vector<double>& y, int half) {
    const int n = int(y.size());
    std::vector<double> prefix(y.size() + 1, 0.0);
    for (int i = 0; i < n; ++i) prefix[std::size_t(i) + 1] = prefix[std::size_t(i)] + y[std::size_t(i)];
    for (int i = 0; i < n; ++i) {
        const int lo = std::max(0, i - half), hi = std::min(n - 1, i + half);
        y[std::size_t(i)] -= (prefix[std::size_t(hi) + 1] - prefix[std::size_t(lo)]) / (hi - lo + 1);
    }
}

// The spreading of masking over the Bark scale (Schroeder's function), in dB, for a maskee
// dz Bark above the masker.
double SpreadingDb(double dz) {
    const double u = dz + 0.474;
    return 15.81 + 7.5 * u - 17.5 * std::sqrt(1.0 + u * u);
}

} // namespace

bool exfn::PolynomialRoots(const std::vector<double>& c, std::vector<double>& re, std::vector<double>& im) {
    std::vector<Complex> a(c.begin(), c.end());
    while (!a.empty() && a.back() == 0.0) a.pop_back();
    re.clear();
    im.clear();
    if (a.size() < 2) return a.size() == 1;
    const int m = int(a.size()) - 1;
    std::vector<Complex> roots(static_cast<std::size_t>(m)), deflated = a;
    for (int j = m; j >= 1; --j) {
        Complex x = 0;
        std::vector<Complex> part(deflated.begin(), deflated.begin() + j + 1);
        if (!Laguerre(part, x)) return false;
        if (std::fabs(x.imag()) <= 2.0 * std::numeric_limits<double>::epsilon() * std::fabs(x.real()))
            x = x.real();
        roots[std::size_t(j) - 1] = x;
        Complex b = deflated[std::size_t(j)];
        for (int k = j - 1; k >= 0; --k) {
            const Complex t = deflated[std::size_t(k)];
            deflated[std::size_t(k)] = b;
            b = x * b + t;
        }
    }
    // Polishing against the undeflated polynomial removes the error deflation piles up.
    for (Complex& x : roots) {
        if (!Laguerre(a, x)) return false;
        re.push_back(x.real());
        im.push_back(x.imag());
    }
    return true;
}

// FORMANTS(x, rate, order, count, fmax [, fmin, preemphasis]): formants of one frame from
// the roots of its prediction polynomial (autocorrelation LPC of the given order after
// pre-emphasis, default 0, and a Hamming window). Each root above the real axis is a
// resonance of frequency arg(z) rate / 2 pi and bandwidth -ln|z| rate / pi; those from fmin
// (default 50 Hz) to fmax count. Result: `count` rows of (frequency, bandwidth) from the
// lowest, rows of 0 when fewer resonances were found.
EXFN(FORMANTS) {
    long long order, count;
    double rate, fmax;
    if (argc > 7 || !Given(argc, args, 0) || !args[0]->IsVector() || !ScalarArg(argc, args, 1, rate) ||
        !IntegerArg(argc, args, 2, order) || !IntegerArg(argc, args, 3, count) ||
        !ScalarArg(argc, args, 4, fmax) || !(rate > 0) || order < 2 || order >= args[0]->Rows() || count < 1)
        return false;
    const double fmin = OptionalScalar(argc, args, 5, 50.0);
    const double preemphasis = OptionalScalar(argc, args, 6, 0.0);
    if (!(preemphasis >= 0 && preemphasis < 1)) return false;
    std::vector<double> frame = Flat(*args[0]);
    for (std::size_t i = frame.size() - 1; i > 0; --i) frame[i] -= preemphasis * frame[i - 1];
    numeric::WindowHamming(frame.data(), frame.data(), frame.size());
    std::vector<double> r(std::size_t(order) + 1), a;
    numeric::AutoCorrelation(frame.data(), frame.size(), r.data(), r.size());
    if (Levinson(r.data(), int(order), a, nullptr) < 0) return false;
    std::reverse(a.begin(), a.end()); // z^p A(1/z) in ascending powers
    std::vector<double> re, im;
    if (!PolynomialRoots(a, re, im)) return false;
    std::vector<std::pair<double, double>> formants;
    for (std::size_t i = 0; i < re.size(); ++i) {
        if (im[i] <= 0) continue;
        const double f = std::atan2(im[i], re[i]) * rate / (2 * std::numbers::pi);
        const double bw = -std::log(std::hypot(re[i], im[i])) * rate / std::numbers::pi;
        if (f >= fmin && f <= fmax) formants.emplace_back(f, bw);
    }
    std::sort(formants.begin(), formants.end());
    std::vector<double> out(std::size_t(2 * count), 0.0);
    for (long long i = 0; i < count && i < static_cast<long long>(formants.size()); ++i) {
        out[std::size_t(i)] = formants[std::size_t(i)].first;
        out[std::size_t(count + i)] = formants[std::size_t(i)].second;
    }
    result = ColumnMajor(int(count), 2, out);
    return true;
}

// F0AC(x, rate [, minPitch 75, maxPitch 600, dt, periodsPerWindow 3, candidates 15,
// silence 0.03, voicing 0.45, octaveCost 0.01, octaveJumpCost 0.35, voicedUnvoicedCost 0.14]):
// the autocorrelation pitch tracker (numeric::CPitchTracker), which the F0AC atom uses too;
// an optional argument that is no number keeps the default. Result: one row per frame of
// (F0 in Hz, 0 when unvoiced; centre sample).
EXFN(F0AC) {
    double rate;
    if (argc > 12 || !Given(argc, args, 0) || !args[0]->IsVector() || !ScalarArg(argc, args, 1, rate) ||
        !(rate > 0))
        return false;
    numeric::CPitchTracker tracker;
    const auto parameters = numeric::CPitchTracker::Parameters();
    for (size_t i = 0; i < parameters.size(); ++i) {
        const int at = static_cast<int>(i) + 2;
        const double value =
            parameters[i].integer
                ? double(OptionalInteger(argc, args, at, static_cast<long long>(parameters[i].defaultValue)))
                : OptionalScalar(argc, args, at, parameters[i].defaultValue);
        if (!tracker.Values().Set(i, value)) return false;
    }
    const std::vector<double> x = Flat(*args[0]);
    std::vector<double> f0, centre;
    if (!tracker.Track(x, rate, f0, centre)) return false;
    std::vector<double> out = f0;
    out.insert(out.end(), centre.begin(), centre.end());
    result = ColumnMajor(int(f0.size()), 2, out);
    return true;
}

// ZFFunc1(x, rate, window, passes [, removals, mode]): zero-frequency filtering for the
// instants of glottal excitation. The differenced signal goes through `passes` resonators at
// 0 Hz (y[n] = d[n] + 2 y[n-1] - y[n-2]), each followed by `removals` (default 2)
// subtractions of the mean over `window` seconds (about 1.5 pitch periods), which keep the
// growing trend of the resonators out of the numbers. Mode 0 gives the filtered signal,
// mode 1 the indices of its upward zero crossings: the instants of negative excitation, which
// is what the closing glottis gives speech.
EXFN(ZFFunc1) {
    double rate, window;
    long long passes;
    if (!Given(argc, args, 0) || !args[0]->IsVector() || !ScalarArg(argc, args, 1, rate) ||
        !ScalarArg(argc, args, 2, window) || !IntegerArg(argc, args, 3, passes) || !(rate > 0) ||
        !(window > 0) || passes < 1 || passes > 4)
        return false;
    const long long removals = OptionalInteger(argc, args, 4, 2);
    const long long mode = OptionalInteger(argc, args, 5, 0);
    const long long half = std::llround(window * rate / 2);
    if (removals < 1 || removals > 8 || mode < 0 || mode > 1 || half < 1) return false;
    std::vector<double> y = Flat(*args[0]);
    for (std::size_t i = y.size() - 1; i > 0; --i) y[i] -= y[i - 1];
    for (long long p = 0; p < passes; ++p) {
        double y1 = 0, y2 = 0;
        for (double& v : y) {
            v += 2 * y1 - y2;
            y2 = y1;
            y1 = v;
        }
        for (long long k = 0; k < removals; ++k) RemoveTrend(y, int(std::min<long long>(half, 1 << 30)));
    }
    if (mode == 0) {
        result = Values(y);
        return true;
    }
    std::vector<double> instants;
    for (std::size_t i = 1; i < y.size(); ++i) {
        if (y[i - 1] < 0 && y[i] >= 0) instants.push_back(double(i));
    }
    if (instants.empty()) return false;
    result = Values(instants);
    return true;
}

// ASeg1(x, threshold, minLength, maxGap [, scale]): segments of a contour (an energy per
// frame, say) where it is at or above `threshold`; segments apart by at most `maxGap`
// places merge, and those shorter than `minLength` places are dropped. Result: one row per
// segment of (first, last) index times `scale` (the frame period gives seconds). None fails.
EXFN(ASeg1) {
    double threshold;
    long long minLength, maxGap;
    if (argc > 5 || !Given(argc, args, 0) || !args[0]->IsVector() || !ScalarArg(argc, args, 1, threshold) ||
        !IntegerArg(argc, args, 2, minLength) || !IntegerArg(argc, args, 3, maxGap) || minLength < 1 ||
        maxGap < 0)
        return false;
    const double scale = OptionalScalar(argc, args, 4, 1.0);
    const Matrix& x = *args[0];
    std::vector<std::pair<int, int>> segments;
    for (int i = 0; i < x.Rows(); ++i) {
        if (!(x(i) >= threshold)) continue;
        if (!segments.empty() && i - segments.back().second - 1 <= maxGap) {
            segments.back().second = i;
        } else {
            segments.emplace_back(i, i);
        }
    }
    std::erase_if(segments, [&](const auto& s) { return s.second - s.first + 1 < minLength; });
    if (segments.empty()) return false;
    const int k = int(segments.size());
    std::vector<double> out(std::size_t(2) * k);
    for (int i = 0; i < k; ++i) {
        out[std::size_t(i)] = segments[std::size_t(i)].first * scale;
        out[std::size_t(k + i)] = segments[std::size_t(i)].second * scale;
    }
    result = ColumnMajor(k, 2, out);
    return true;
}

// The Bark-band hearing model in three stages. MBBM1(a, df [, width]): the power (sum of
// squared amplitudes) of an amplitude spectrum with bins df Hz apart in bands `width` Bark
// wide (default 1) from 0 Bark up to the highest bin.
EXFN(MBBM1) {
    double df;
    if (argc < 2 || argc > 3 || !Given(argc, args, 0) || !args[0]->IsVector() ||
        !ScalarArg(argc, args, 1, df) || !(df > 0))
        return false;
    const double width = OptionalScalar(argc, args, 2, 1.0);
    if (!(width > 0)) return false;
    const Matrix& a = *args[0];
    const double count = std::ceil(HzToBark((a.Rows() - 1) * df) / width + 1e-12);
    if (!(count >= 1 && count <= 1e6)) return false;
    const int bands = int(count);
    std::vector<double> power(std::size_t(bands), 0.0);
    for (int k = 0; k < a.Rows(); ++k) {
        const int band = std::min(bands - 1, int(HzToBark(k * df) / width));
        power[std::size_t(band)] += a(k) * a(k);
    }
    result = Values(power);
    return true;
}

// MBBM2(p [, width]): the excitation of band powers `width` Bark apart after the spreading
// of masking, which reaches further up the scale than down.
EXFN(MBBM2) {
    if (argc < 1 || argc > 2 || !Given(argc, args, 0) || args[0]->Cols() != 1) return false;
    const double width = OptionalScalar(argc, args, 1, 1.0);
    if (!(width > 0)) return false;
    const Matrix& p = *args[0];
    std::vector<double> excitation(std::size_t(p.Rows()), 0.0);
    for (int j = 0; j < p.Rows(); ++j) {
        for (int i = 0; i < p.Rows(); ++i) {
            excitation[std::size_t(j)] += p(i) * std::pow(10.0, SpreadingDb((j - i) * width) / 10.0);
        }
    }
    result = Values(excitation);
    return true;
}

// MBBM3(e [, threshold]): specific loudness by Zwicker's law,
// 0.08 E_T^0.23 ((0.5 + 0.5 E / E_T)^0.23 - 1), 0 below the threshold in quiet E_T
// (default 1, in the units of e).
EXFN(MBBM3) {
    if (argc < 1 || argc > 2 || !Given(argc, args, 0)) return false;
    const double threshold = OptionalScalar(argc, args, 1, 1.0);
    if (!(threshold > 0)) return false;
    Matrix out(*args[0]);
    for (double& e : out.Elements()) {
        const double n = 0.08 * std::pow(threshold, 0.23) * (std::pow(0.5 + 0.5 * e / threshold, 0.23) - 1.0);
        e = n > 0 ? n : 0.0;
    }
    result = std::move(out);
    return true;
}
