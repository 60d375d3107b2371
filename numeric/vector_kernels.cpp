#include "numeric/vector_kernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace numeric {

void Set(double value, double* dst, std::size_t n) noexcept {
    std::fill(dst, dst + n, value);
}

void Copy(const double* src, double* dst, std::size_t n) noexcept {
    if (n > 0 && src != dst) std::memmove(dst, src, n * sizeof(double));
}

void Add(const double* a, const double* b, double* dst, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) dst[i] = a[i] + b[i];
}

void Subtract(const double* a, const double* b, double* dst, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) dst[i] = a[i] - b[i];
}

void Multiply(const double* a, const double* b, double* dst, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) dst[i] = a[i] * b[i];
}

void Divide(const double* a, const double* b, double* dst, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) dst[i] = a[i] / b[i];
}

void AddConstant(const double* a, double c, double* dst, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) dst[i] = a[i] + c;
}

void SubtractConstant(const double* a, double c, double* dst, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) dst[i] = a[i] - c;
}

void MultiplyConstant(const double* a, double c, double* dst, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) dst[i] = a[i] * c;
}

void DivideConstant(const double* a, double c, double* dst, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) dst[i] = a[i] / c;
}

void Sqrt(const double* src, double* dst, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) dst[i] = std::sqrt(src[i]);
}

void Ln(const double* src, double* dst, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) dst[i] = std::log(src[i]);
}

void Power(const double* src, double exponent, double* dst, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) dst[i] = std::pow(src[i], exponent);
}

void ThresholdLow(const double* src, double level, double* dst, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) dst[i] = src[i] < level ? level : src[i];
}

void ThresholdLow(const double* src, double level, double value, double* dst, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) dst[i] = src[i] < level ? value : src[i];
}

void Magnitude(const double* complex, double* dst, std::size_t n) noexcept {
    // Not hypot: the spectra of the atoms never come near overflow and hypot is several
    // times slower.
    for (std::size_t i = 0; i < n; ++i) {
        const double re = complex[2 * i], im = complex[2 * i + 1];
        dst[i] = std::sqrt(re * re + im * im);
    }
}

void PowerSpectrum(const double* complex, double* dst, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) {
        const double re = complex[2 * i], im = complex[2 * i + 1];
        dst[i] = re * re + im * im;
    }
}

void Phase(const double* complex, double* dst, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) dst[i] = std::atan2(complex[2 * i + 1], complex[2 * i]);
}

void CrossCorrelation(const double* x, const double* y, std::size_t n, double* dst,
                      std::size_t lags) noexcept {
    for (std::size_t k = 0; k < lags; ++k) {
        double sum = 0.0;
        for (std::size_t i = 0; i + k < n; ++i) sum += x[i] * y[i + k];
        dst[k] = sum;
    }
}

void AutoCorrelation(const double* x, std::size_t n, double* dst, std::size_t lags) noexcept {
    CrossCorrelation(x, x, n, dst, lags);
}

namespace {

// Computes the first half of a symmetric window and mirrors it, so that both halves are
// exactly equal; `weight(k, x)` gets the index and x = 2 pi k / (n - 1).
template <typename Weight>
void ApplySymmetric(const double* src, double* dst, std::size_t n, Weight weight) noexcept {
    if (n < 2) {
        Copy(src, dst, n);
        return;
    }
    const double step = 2.0 * std::numbers::pi / double(n - 1);
    for (std::size_t k = 0; k < (n + 1) / 2; ++k) {
        const double w = weight(k, step * double(k));
        const std::size_t mirror = n - 1 - k;
        dst[k] = src[k] * w;
        if (mirror != k) dst[mirror] = src[mirror] * w;
    }
}

} // namespace

void WindowHann(const double* src, double* dst, std::size_t n) noexcept {
    ApplySymmetric(src, dst, n, [](std::size_t, double x) { return 0.5 * (1.0 - std::cos(x)); });
}

void WindowHamming(const double* src, double* dst, std::size_t n) noexcept {
    ApplySymmetric(src, dst, n, [](std::size_t, double x) { return 0.54 - 0.46 * std::cos(x); });
}

void WindowBartlett(const double* src, double* dst, std::size_t n) noexcept {
    const double scale = n > 1 ? 2.0 / double(n - 1) : 0.0;
    ApplySymmetric(src, dst, n, [scale](std::size_t k, double) { return scale * double(k); });
}

void WindowBlackman(const double* src, double alpha, double* dst, std::size_t n) noexcept {
    ApplySymmetric(src, dst, n, [alpha](std::size_t, double x) {
        return (alpha + 1.0) / 2.0 - 0.5 * std::cos(x) - alpha / 2.0 * std::cos(2.0 * x);
    });
}

void WindowKaiser(const double* src, double alpha, double* dst, std::size_t n) noexcept {
    // I0 is even; the library's Bessel function throws on a negative argument.
    alpha = std::fabs(alpha);
    const double half = double(n > 0 ? n - 1 : 0) / 2.0;
    const double norm = std::cyl_bessel_i(0.0, alpha * half);
    ApplySymmetric(src, dst, n, [alpha, half, norm](std::size_t k, double) {
        const double d = double(k) - half;
        return std::cyl_bessel_i(0.0, alpha * std::sqrt(std::max(0.0, half * half - d * d))) / norm;
    });
}

void Convert(const float* src, double* dst, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) dst[i] = double(src[i]);
}

void Convert(const double* src, float* dst, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) dst[i] = float(src[i]);
}

namespace {

template <typename T> void InterleaveT(const T* first, const T* second, T* frames, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) {
        frames[2 * i] = first[i];
        frames[2 * i + 1] = second[i];
    }
}

template <typename T> void DeinterleaveT(const T* frames, T* first, T* second, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) {
        first[i] = frames[2 * i];
        second[i] = frames[2 * i + 1];
    }
}

template <typename T> void ReverseT(const void* src, void* dst, std::size_t n) noexcept {
    // Element by element through memcpy: the byte buffers of sound files carry no
    // alignment promise.
    const auto* in = static_cast<const unsigned char*>(src);
    auto* out = static_cast<unsigned char*>(dst);
    if (src != dst) {
        if (in < out + n * sizeof(T) && out < in + n * sizeof(T)) {
            // Overlapping but not identical: reverse in place after moving.
            std::memmove(out, in, n * sizeof(T));
        } else {
            for (std::size_t i = 0; i < n; ++i)
                std::memcpy(out + i * sizeof(T), in + (n - 1 - i) * sizeof(T), sizeof(T));
            return;
        }
    }
    for (std::size_t i = 0, j = n; i + 1 < j; ++i) {
        --j;
        T a, b;
        std::memcpy(&a, out + i * sizeof(T), sizeof(T));
        std::memcpy(&b, out + j * sizeof(T), sizeof(T));
        std::memcpy(out + i * sizeof(T), &b, sizeof(T));
        std::memcpy(out + j * sizeof(T), &a, sizeof(T));
    }
}

} // namespace

void Interleave(const double* first, const double* second, double* frames, std::size_t n) noexcept {
    InterleaveT(first, second, frames, n);
}

void Interleave(const float* first, const float* second, float* frames, std::size_t n) noexcept {
    InterleaveT(first, second, frames, n);
}

void Deinterleave(const double* frames, double* first, double* second, std::size_t n) noexcept {
    DeinterleaveT(frames, first, second, n);
}

void Deinterleave(const float* frames, float* first, float* second, std::size_t n) noexcept {
    DeinterleaveT(frames, first, second, n);
}

void Reverse(const void* src, void* dst, std::size_t n, std::size_t elementBytes) noexcept {
    switch (elementBytes) {
    case 1:
        ReverseT<std::uint8_t>(src, dst, n);
        break;
    case 2:
        ReverseT<std::uint16_t>(src, dst, n);
        break;
    case 4:
        ReverseT<std::uint32_t>(src, dst, n);
        break;
    case 8:
        ReverseT<std::uint64_t>(src, dst, n);
        break;
    default:
        break;
    }
}

std::int16_t ALawToLinear(std::uint8_t code) noexcept {
    // Even bits are inverted on the line; the top bit set means positive.
    const unsigned value = code ^ 0x55u;
    const unsigned segment = (value >> 4) & 0x07u;
    // Quantisation step midpoint in the 16-bit scale: mantissa * 16 + 8 in segment 0,
    // then each segment doubles the step and adds the implicit leading bit.
    unsigned magnitude = ((value & 0x0Fu) << 4) + 8u;
    if (segment > 0) magnitude = (magnitude + 0x100u) << (segment - 1);
    return static_cast<std::int16_t>((value & 0x80u) ? int(magnitude) : -int(magnitude));
}

void ALawToLinear(const std::uint8_t* src, std::int16_t* dst, std::size_t n) noexcept {
    for (std::size_t i = 0; i < n; ++i) dst[i] = ALawToLinear(src[i]);
}

} // namespace numeric
