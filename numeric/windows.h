// Analysis windows by kind, for the window functions of the evaluator and every atom with a
// window input. All windows are symmetric and need at least 3 points.
#pragma once

#include <array>
#include <cstddef>

namespace numeric {

// The values are the kind numbers that the evaluator's Window function takes.
enum class WindowKind {
    Rectangle = 0,
    Hanning = 1,
    Hamming = 2,
    Blackman = 3,
    Kaiser = 4,
    Bartlett = 5,
    TapRectangle = 6,
    NutTall = 7,
    FlatTop = 8,
    Gaussian = 9,
};

// The kinds in the order of the keyword list of the atoms' window inputs, where a number
// stands for a keyword by its position here (which is not the kind number).
inline constexpr std::array<WindowKind, 10> kWindowListOrder = {
    WindowKind::Rectangle,    WindowKind::Hanning,  WindowKind::Hamming, WindowKind::Bartlett,
    WindowKind::TapRectangle, WindowKind::NutTall,  WindowKind::FlatTop, WindowKind::Blackman,
    WindowKind::Kaiser,       WindowKind::Gaussian,
};

// "Rectangle", "Hanning", ... "Gaussian".
const wchar_t* WindowName(WindowKind kind) noexcept;
// A kind number as the Window function reads it: an unknown number gives the rectangle.
WindowKind WindowKindFromNumber(long long number) noexcept;

// The Blackman parameter is taken when it lies above 0 and below 0.25 in the evaluator's
// functions, and up to and including 0.25 on the atoms' C input.
enum class BlackmanLimit { Below, UpTo };

// How the shape parameter selects a window's own constant, with the defaults for a
// parameter out of range:
//   Blackman  alpha = -param for 0 < param < 0.25 (or <= 0.25, see BlackmanLimit), else -0.16
//   Kaiser    beta = param when above 0, else 8; the kernel gets 2 beta / (n - 1)
//   Gaussian  p = param when above 0 and below 20, else 3
// The other kinds ignore it.
struct WindowShape {
    WindowKind kind = WindowKind::Rectangle;
    double param = 0.0;
    BlackmanLimit blackmanLimit = BlackmanLimit::Below;
    // Scale the window by WindowNoiseGain.
    bool noiseGain = false;
};

// Multiplies the n values of `data` by the window (in place). False, with data untouched,
// for fewer than 3 points.
//   Hanning, Hamming, Blackman, Kaiser, Bartlett: the window kernels of vector_kernels.h.
//   TapRectangle: flat, with cosine tapers (1 - cos(pi j / L)) / 2 of L = (n - 2) / 10 + 1
//                 points at both ends (integer division).
//   NutTall:  0.3635819 - 0.4891775 cos x + 0.1365995 cos 2x - 0.0106411 cos 3x
//   FlatTop:  0.2810639 - 0.5208972 cos x + 0.1980399 cos 2x
//   Gaussian: exp(-2 p^2 (0.5 - k / (n - 1))^2)
// with x = 2 pi k / (n - 1). The last four are computed for the first half and mirrored,
// and the middle point of an odd length is exactly 1.
// May throw std::bad_alloc when the noise gain is asked for.
bool ApplyWindow(const WindowShape& shape, double* data, std::size_t n);
// The window itself (ApplyWindow on ones).
bool MakeWindow(const WindowShape& shape, double* window, std::size_t n) noexcept;

// The gain that keeps the power of noise through the window: n pseudo-random numbers r are
// drawn from the C library's rand and the gain is sqrt(sum r^2 / sum (r w)^2). Because the
// numbers come from rand, the value differs slightly from call to call; it is 1 for a
// rectangle and 0 for an empty or all-zero window.
double WindowNoiseGain(const double* window, std::size_t n) noexcept;

} // namespace numeric
