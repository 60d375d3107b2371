// Rotation orders: the speed of a machine from tachometer ticks, order spectra and the
// tracking of one order over time. An order is a multiple of the rotation frequency f1.
#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <numeric>

#include "expr/ex_functions_internal.h"
#include "numeric/fft.h"
#include "numeric/vector_kernels.h"

using namespace exfn;

namespace {

// The rotation frequency argument: a positive scalar, or one positive value per sample.
bool SpeedArg(int argc, Matrix* args[], int i, int samples, std::vector<double>& f1) {
    if (!Given(argc, args, i)) return false;
    const Matrix& m = *args[i];
    if (m.IsScalar()) {
        f1.assign(std::size_t(samples), m.Scalar());
    } else if (m.IsVector() && m.Rows() == samples) {
        f1 = Flat(m);
    } else {
        return false;
    }
    return std::all_of(f1.begin(), f1.end(), [](double f) { return f > 0 && std::isfinite(f); });
}

// Revolutions completed at each sample: the running trapezoid integral of f1 / rate.
std::vector<double> Revolutions(const std::vector<double>& f1, double rate) {
    std::vector<double> r(f1.size(), 0.0);
    for (std::size_t i = 1; i < f1.size(); ++i) r[i] = r[i - 1] + 0.5 * (f1[i - 1] + f1[i]) / rate;
    return r;
}

// The amplitude at orders dOrder, 2 dOrder, ... up to maxOrder (<= 0: as far as the spectrum
// reaches) of an amplitude spectrum with bins df apart, for the rotation frequency f1.
// Mode 0 takes the largest bin within half an order step either side (the peak, wherever
// the speed put it), mode 1 interpolates linearly at the order itself.
bool PickOrders(const double* a, int rows, double df, double f1, double maxOrder, double dOrder,
                long long mode, std::vector<double>& out) {
    const double top = (rows - 1) * df;
    if (!(df > 0) || !(f1 > 0) || !(dOrder > 0) || mode < 0 || mode > 1) return false;
    if (!(maxOrder > 0)) maxOrder = top / f1;
    out.clear();
    for (long long j = 1;; ++j) {
        const double order = double(j) * dOrder;
        if (order > maxOrder * (1 + 1e-12) || order * f1 > top * (1 + 1e-12)) break;
        const double at = std::min(order * f1 / df, double(rows - 1));
        const int k = std::min(int(at), rows - 2);
        double value = a[k] + (at - k) * (a[k + 1] - a[k]);
        if (mode == 0) {
            const int lo = std::max(0, int(std::ceil((order - dOrder / 2) * f1 / df)));
            const int hi = std::min(rows - 1, int(std::floor((order + dOrder / 2) * f1 / df)));
            for (int b = lo; b <= hi; ++b) value = std::max(value, a[b]);
        }
        out.push_back(value);
    }
    return !out.empty();
}

} // namespace

// Ticks2F1(ticks, rate, n [, perRevolution, mode]): the rotation frequency at each of n
// samples from the sample positions of tachometer ticks (perRevolution ticks per turn,
// default 1). Each interval between ticks gives its frequency at its middle; between the
// middles it is interpolated linearly and held beyond them. Mode 1 gives revolutions per
// minute instead of Hz.
EXFN(Ticks2F1) {
    double rate;
    long long n;
    if (!Given(argc, args, 0) || !args[0]->IsVector() || !ScalarArg(argc, args, 1, rate) ||
        !IntegerArg(argc, args, 2, n) || !(rate > 0) || n < 1)
        return false;
    const double perRevolution = OptionalScalar(argc, args, 3, 1.0);
    const long long mode = OptionalInteger(argc, args, 4, 0);
    if (!(perRevolution > 0) || mode < 0 || mode > 1) return false;
    const Matrix& ticks = *args[0];
    std::vector<double> at, frequency;
    for (int i = 1; i < ticks.Rows(); ++i) {
        const double interval = ticks(i) - ticks(i - 1);
        if (!(interval > 0)) return false;
        at.push_back(0.5 * (ticks(i) + ticks(i - 1)));
        frequency.push_back(rate / (interval * perRevolution) * (mode == 1 ? 60.0 : 1.0));
    }
    std::vector<double> out(static_cast<std::size_t>(n));
    for (long long s = 0; s < n; ++s) {
        const double t = double(s);
        const auto it = std::upper_bound(at.begin(), at.end(), t);
        if (it == at.begin()) {
            out[std::size_t(s)] = frequency.front();
        } else if (it == at.end()) {
            out[std::size_t(s)] = frequency.back();
        } else {
            const std::size_t k = std::size_t(it - at.begin());
            const double w = (t - at[k - 1]) / (at[k] - at[k - 1]);
            out[std::size_t(s)] = frequency[k - 1] + w * (frequency[k] - frequency[k - 1]);
        }
    }
    result = Values(out);
    return true;
}

// ASp2OSp(a, df, f1 [, maxOrder, dOrder, mode]): the order spectrum of an amplitude spectrum
// taken at a constant speed f1, at orders dOrder (default 1) apart, see PickOrders.
EXFN(ASp2OSp) {
    double df, f1;
    if (!Given(argc, args, 0) || !args[0]->IsVector() || !ScalarArg(argc, args, 1, df) ||
        !ScalarArg(argc, args, 2, f1))
        return false;
    std::vector<double> out;
    if (!PickOrders(args[0]->Data(), args[0]->Rows(), df, f1, OptionalScalar(argc, args, 3, 0.0),
                    OptionalScalar(argc, args, 4, 1.0), OptionalInteger(argc, args, 5, 0), out))
        return false;
    result = Values(out);
    return true;
}

// Sig2OSp(x, rate, f1 [, maxOrder, dOrder, mode]): the order spectrum of a signal. f1 is the
// rotation frequency, constant or per sample. The signal is resampled at equal steps of
// angle, so that a changing speed does not smear the orders, then Hann-windowed and
// transformed; a sine of amplitude A at an order shows as A there. The orders are then
// picked as in ASp2OSp.
EXFN(Sig2OSp) {
    double rate;
    if (!Given(argc, args, 0) || !args[0]->IsVector() || !ScalarArg(argc, args, 1, rate) || !(rate > 0))
        return false;
    const Matrix& x = *args[0];
    const int n = x.Rows();
    std::vector<double> f1;
    if (!SpeedArg(argc, args, 2, n, f1)) return false;
    const std::vector<double> revs = Revolutions(f1, rate);
    const double total = revs.back();
    std::vector<double> angular(static_cast<std::size_t>(n));
    std::size_t k = 0;
    for (int i = 0; i < n; ++i) {
        const double target = total * i / n;
        while (k + 2 < revs.size() && revs[k + 1] < target) ++k;
        const double w = (target - revs[k]) / (revs[k + 1] - revs[k]);
        angular[std::size_t(i)] = x(int(k)) + w * (x(int(k) + 1) - x(int(k)));
    }
    numeric::WindowHann(angular.data(), angular.data(), angular.size());
    double windowSum = 0;
    for (int i = 0; i < n; ++i) windowSum += 0.5 * (1 - std::cos(2 * std::numbers::pi * i / (n - 1)));
    numeric::RealDft dft{std::size_t(n)};
    const std::size_t bins = std::size_t(n) / 2 + 1;
    std::vector<double> packed(std::size_t(n) + 2), amplitude(bins);
    dft.Forward(angular.data(), packed.data());
    numeric::Magnitude(packed.data(), amplitude.data(), bins);
    numeric::MultiplyConstant(amplitude.data(), 2.0 / windowSum, amplitude.data(), bins);
    // One bin of the angle-domain transform is one order over the revolutions analysed.
    std::vector<double> out;
    if (!PickOrders(amplitude.data(), int(bins), 1.0 / total, 1.0, OptionalScalar(argc, args, 3, 0.0),
                    OptionalScalar(argc, args, 4, 1.0), OptionalInteger(argc, args, 5, 0), out))
        return false;
    result = Values(out);
    return true;
}

// OTrack1(x, rate, f1, order [, frame, step]): the amplitude of one order over time. The
// signal is shifted down by the order's running phase, so that the order sits at 0 Hz, and
// averaged over frames of `frame` samples (default eight turns of the order) every `step`
// samples (default half a frame); twice the magnitude of each mean is the amplitude.
EXFN(OTrack1) {
    double rate, order;
    if (!Given(argc, args, 0) || !args[0]->IsVector() || !ScalarArg(argc, args, 1, rate) ||
        !ScalarArg(argc, args, 3, order) || !(rate > 0) || !(order > 0))
        return false;
    const Matrix& x = *args[0];
    const int n = x.Rows();
    std::vector<double> f1;
    if (!SpeedArg(argc, args, 2, n, f1)) return false;
    const double meanF1 = std::accumulate(f1.begin(), f1.end(), 0.0) / n;
    const long long frame = OptionalInteger(
        argc, args, 4, std::clamp<long long>(std::llround(8 * rate / (order * meanF1)), 2, n));
    const long long step = OptionalInteger(argc, args, 5, std::max<long long>(1, frame / 2));
    if (frame < 2 || frame > n || step < 1) return false;
    const std::vector<double> revs = Revolutions(f1, rate);
    std::vector<std::complex<double>> shifted(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
        shifted[std::size_t(i)] =
            x(i) * std::polar(1.0, -2 * std::numbers::pi * order * revs[std::size_t(i)]);
    std::vector<double> out;
    for (long long start = 0; start + frame <= n; start += step) {
        std::complex<double> s = 0;
        for (long long i = start; i < start + frame; ++i) s += shifted[std::size_t(i)];
        out.push_back(2.0 * std::abs(s) / double(frame));
    }
    result = Values(out);
    return true;
}
