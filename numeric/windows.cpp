#include "numeric/windows.h"

#include "numeric/vector_kernels.h"

#include <cmath>
#include <cstdlib>
#include <numbers>
#include <vector>

namespace numeric {

namespace {

constexpr const wchar_t* kNames[] = {
    L"Rectangle", L"Hanning",      L"Hamming", L"Blackman", L"Kaiser",
    L"Bartlett",  L"TapRectangle", L"NutTall", L"FlatTop",  L"Gaussian",
};

double BlackmanAlpha(double param, BlackmanLimit limit) {
    const bool inRange = param > 0.0 && (limit == BlackmanLimit::UpTo ? param <= 0.25 : param < 0.25);
    return inRange ? -param : -0.16;
}

// Windows of our own formulas: computed for the first half and mirrored; the middle
// point of an odd length is set to exactly 1 (FlatTop's sum of coefficients is not).
template <typename Weight> void ApplyMirrored(double* data, std::size_t n, Weight weight) {
    for (std::size_t k = 0; k < n / 2; ++k) {
        const double w = weight(k);
        data[k] *= w;
        data[n - 1 - k] *= w;
    }
}

void Cosines(double* data, std::size_t n, double a0, double a1, double a2, double a3) {
    const double step = 2.0 * std::numbers::pi / double(n - 1);
    ApplyMirrored(data, n, [=](std::size_t k) {
        const double x = step * double(k);
        return a0 - a1 * std::cos(x) + a2 * std::cos(2.0 * x) - a3 * std::cos(3.0 * x);
    });
}

void ApplyKind(const WindowShape& shape, double* data, std::size_t n) {
    switch (shape.kind) {
    case WindowKind::Rectangle:
        break;
    case WindowKind::Hanning:
        WindowHann(data, data, n);
        break;
    case WindowKind::Hamming:
        WindowHamming(data, data, n);
        break;
    case WindowKind::Bartlett:
        WindowBartlett(data, data, n);
        break;
    case WindowKind::Blackman:
        WindowBlackman(data, BlackmanAlpha(shape.param, shape.blackmanLimit), data, n);
        break;
    case WindowKind::Kaiser: {
        const double beta = shape.param > 0.0 ? shape.param : 8.0;
        WindowKaiser(data, 2.0 * beta / double(n - 1), data, n);
        break;
    }
    case WindowKind::TapRectangle: {
        const std::size_t taper = (n - 2) / 10 + 1;
        ApplyMirrored(data, n, [taper](std::size_t k) {
            return k < taper ? (1.0 - std::cos(std::numbers::pi * double(k) / double(taper))) / 2.0 : 1.0;
        });
        break;
    }
    case WindowKind::NutTall:
        Cosines(data, n, 0.3635819, 0.4891775, 0.1365995, 0.0106411);
        break;
    case WindowKind::FlatTop:
        Cosines(data, n, 0.2810639, 0.5208972, 0.1980399, 0.0);
        break;
    case WindowKind::Gaussian: {
        const double p = shape.param > 0.0 && shape.param < 20.0 ? shape.param : 3.0;
        const double last = double(n - 1);
        ApplyMirrored(data, n, [p, last](std::size_t k) {
            const double d = 0.5 - double(k) / last;
            return std::exp(-2.0 * p * p * d * d);
        });
        break;
    }
    }
}

} // namespace

const wchar_t* WindowName(WindowKind kind) noexcept {
    const int index = static_cast<int>(kind);
    return index >= 0 && index < 10 ? kNames[index] : kNames[0];
}

WindowKind WindowKindFromNumber(long long number) noexcept {
    return number >= 0 && number < 10 ? static_cast<WindowKind>(number) : WindowKind::Rectangle;
}

bool MakeWindow(const WindowShape& shape, double* window, std::size_t n) noexcept {
    if (n < 3) return false;
    Set(1.0, window, n);
    ApplyKind(shape, window, n);
    if (shape.noiseGain) MultiplyConstant(window, WindowNoiseGain(window, n), window, n);
    return true;
}

bool ApplyWindow(const WindowShape& shape, double* data, std::size_t n) {
    if (n < 3) return false;
    if (!shape.noiseGain) {
        ApplyKind(shape, data, n);
        return true;
    }
    std::vector<double> window(n);
    MakeWindow(shape, window.data(), n);
    Multiply(data, window.data(), data, n);
    return true;
}

double WindowNoiseGain(const double* window, std::size_t n) noexcept {
    // The scale of the random numbers cancels in the quotient; it is kept so that the
    // numbers are those of the unit interval on a library whose RAND_MAX is 32767.
    constexpr double kScale = 3.051850947599719e-05;
    double noise = 0.0, windowed = 0.0;
    for (std::size_t k = 0; k < n; ++k) {
        const double r = double(std::rand()) * kScale;
        noise += r * r;
        windowed += (r * window[k]) * (r * window[k]);
    }
    return windowed > 0.0 ? std::sqrt(noise / windowed) : 0.0;
}

} // namespace numeric
