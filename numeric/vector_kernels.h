// Vector primitives on caller buffers: the whole-column work of the evaluator and the
// per-frame work of the atoms goes through these.
//
// Conventions: `n` counts elements (complex items for the complex forms); a destination may
// be the same array as a source (in place), but must not overlap it otherwise, except for
// Copy and Reverse, which allow any overlap. Nothing here allocates or throws.
// Complex data is interleaved: element 2k is the real and 2k+1 the imaginary part of item k.
#pragma once

#include <cstddef>
#include <cstdint>

namespace numeric {

void Set(double value, double* dst, std::size_t n) noexcept;
void Copy(const double* src, double* dst, std::size_t n) noexcept;

// dst = a op b, element by element.
void Add(const double* a, const double* b, double* dst, std::size_t n) noexcept;
void Subtract(const double* a, const double* b, double* dst, std::size_t n) noexcept;
void Multiply(const double* a, const double* b, double* dst, std::size_t n) noexcept;
// a / b with the floating-point rules (a zero divisor gives an infinity or a NaN).
void Divide(const double* a, const double* b, double* dst, std::size_t n) noexcept;

// dst = a op c with a constant c.
void AddConstant(const double* a, double c, double* dst, std::size_t n) noexcept;
void SubtractConstant(const double* a, double c, double* dst, std::size_t n) noexcept;
void MultiplyConstant(const double* a, double c, double* dst, std::size_t n) noexcept;
void DivideConstant(const double* a, double c, double* dst, std::size_t n) noexcept;

// Square root and natural logarithm with the floating-point rules: sqrt of a negative
// number and ln of a negative number are NaN, ln(0) is minus infinity. Callers that want
// large negative numbers instead raise their input first with ThresholdLow.
void Sqrt(const double* src, double* dst, std::size_t n) noexcept;
void Ln(const double* src, double* dst, std::size_t n) noexcept;
// pow(src[i], exponent) without any guard.
void Power(const double* src, double exponent, double* dst, std::size_t n) noexcept;

// Lower-bound threshold: every element below `level` becomes `level` (NaN passes through).
void ThresholdLow(const double* src, double level, double* dst, std::size_t n) noexcept;
// Every element below `level` becomes `value`.
void ThresholdLow(const double* src, double level, double value, double* dst, std::size_t n) noexcept;

// Of n interleaved complex items: magnitude sqrt(re^2 + im^2), power re^2 + im^2 and phase
// atan2(im, re), one real value per item.
void Magnitude(const double* complex, double* dst, std::size_t n) noexcept;
void PowerSpectrum(const double* complex, double* dst, std::size_t n) noexcept;
void Phase(const double* complex, double* dst, std::size_t n) noexcept;

// dst[k] = sum over i of x[i] * y[i + k], i from 0 to n - k - 1, for k below `lags`
// (unscaled). Lags at or beyond n give 0. dst must not overlap x or y.
void CrossCorrelation(const double* x, const double* y, std::size_t n, double* dst,
                      std::size_t lags) noexcept;
void AutoCorrelation(const double* x, std::size_t n, double* dst, std::size_t lags) noexcept;

// Window multiply: dst = src times the symmetric window of n points (k = 0 .. n-1,
// x = 2 pi k / (n - 1)). With fewer than 2 points the data is copied unchanged.
//   Hann       0.5 (1 - cos x)
//   Hamming    0.54 - 0.46 cos x
//   Bartlett   1 - |2k / (n - 1) - 1|
//   Blackman   (alpha + 1)/2 - 0.5 cos x - (alpha / 2) cos 2x; alpha = -0.16 is the
//              classic Blackman window
//   Kaiser     I0(alpha sqrt(((n-1)/2)^2 - (k - (n-1)/2)^2)) / I0(alpha (n-1)/2), so that
//              alpha = 2 beta / (n - 1) for the usual shape factor beta
void WindowHann(const double* src, double* dst, std::size_t n) noexcept;
void WindowHamming(const double* src, double* dst, std::size_t n) noexcept;
void WindowBartlett(const double* src, double* dst, std::size_t n) noexcept;
void WindowBlackman(const double* src, double alpha, double* dst, std::size_t n) noexcept;
void WindowKaiser(const double* src, double alpha, double* dst, std::size_t n) noexcept;

// Single <-> double precision.
void Convert(const float* src, double* dst, std::size_t n) noexcept;
void Convert(const double* src, float* dst, std::size_t n) noexcept;

// Two channels <-> frames of two samples (first, second, first, second ...); n counts frames.
void Interleave(const double* first, const double* second, double* frames, std::size_t n) noexcept;
void Interleave(const float* first, const float* second, float* frames, std::size_t n) noexcept;
void Deinterleave(const double* frames, double* first, double* second, std::size_t n) noexcept;
void Deinterleave(const float* frames, float* first, float* second, std::size_t n) noexcept;

// Reverses the order of n elements of `elementBytes` bytes (1, 2, 4 or 8; other sizes do
// nothing): dst[i] = src[n - 1 - i]. In place when src == dst.
void Reverse(const void* src, void* dst, std::size_t n, std::size_t elementBytes) noexcept;

// G.711 A-law to 16-bit linear (the 13-bit value shifted left by 3, so full scale is 32256).
std::int16_t ALawToLinear(std::uint8_t code) noexcept;
void ALawToLinear(const std::uint8_t* src, std::int16_t* dst, std::size_t n) noexcept;

} // namespace numeric
