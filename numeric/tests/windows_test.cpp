#include "numeric/windows.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>
#include <vector>

using numeric::WindowKind;
using numeric::WindowShape;

namespace {

std::vector<double> Window(WindowShape shape, std::size_t n) {
    std::vector<double> w(n, -1.0);
    EXPECT_TRUE(numeric::MakeWindow(shape, w.data(), n));
    return w;
}

std::vector<double> Window(WindowKind kind, std::size_t n, double param = 0.0) {
    return Window(WindowShape{kind, param}, n);
}

const WindowKind kAllKinds[] = {
    WindowKind::Rectangle, WindowKind::Hanning,  WindowKind::Hamming,      WindowKind::Blackman,
    WindowKind::Kaiser,    WindowKind::Bartlett, WindowKind::TapRectangle, WindowKind::NutTall,
    WindowKind::FlatTop,   WindowKind::Gaussian,
};

} // namespace

TEST(Windows, EveryKindIsSymmetricWithAUnitMiddleAndNeedsThreePoints) {
    for (WindowKind kind : kAllKinds) {
        SCOPED_TRACE(static_cast<int>(kind));
        for (std::size_t n : {std::size_t(3), std::size_t(16), std::size_t(101)}) {
            const auto w = Window(kind, n);
            for (std::size_t k = 0; k < n / 2; ++k) EXPECT_EQ(w[k], w[n - 1 - k]) << "n=" << n << " k=" << k;
            // FlatTop dips to about -0.088 and peaks a hair above 1 near its middle.
            for (double v : w) {
                EXPECT_LE(v, 1.0 + 1e-5);
                EXPECT_GE(v, -0.1);
            }
            if (n % 2) {
                EXPECT_NEAR(w[n / 2], 1.0, 1e-15);
            }
        }
        std::vector<double> data = {5, 5};
        EXPECT_FALSE(numeric::ApplyWindow(WindowShape{kind}, data.data(), 2));
        EXPECT_EQ(data, (std::vector<double>{5, 5}));
    }
    // The FlatTop coefficients add up to 1.000001; the middle is still exactly 1.
    EXPECT_EQ(Window(WindowKind::FlatTop, 9)[4], 1.0);
    EXPECT_EQ(Window(WindowKind::NutTall, 9)[4], 1.0);
}

TEST(Windows, HannAndHammingAtEdgeAndCentre) {
    const auto hann = Window(WindowKind::Hanning, 16);
    EXPECT_NEAR(hann[0], 0.0, 1e-15);
    EXPECT_EQ(hann[7], hann[8]) << "symmetric";
    EXPECT_LT(hann[7], 1.0) << "an even length has no point at the top";
    EXPECT_NEAR(Window(WindowKind::Hanning, 17)[8], 1.0, 1e-15);

    const auto hamming = Window(WindowKind::Hamming, 33);
    EXPECT_NEAR(hamming[0], 0.08, 1e-15);
    EXPECT_NEAR(hamming[16], 1.0, 1e-15);
    EXPECT_NEAR(hamming[8], 0.54, 1e-15); // x = pi / 2

    const auto bartlett = Window(WindowKind::Bartlett, 9);
    EXPECT_EQ(bartlett[0], 0.0);
    EXPECT_EQ(bartlett[2], 0.5);
}

TEST(Windows, OwnFormulasAtKnownPoints) {
    // TapRectangle of 22 points has tapers of (22 - 2) / 10 + 1 = 3 points.
    const auto tap = Window(WindowKind::TapRectangle, 22);
    EXPECT_EQ(tap[0], 0.0);
    EXPECT_NEAR(tap[1], 0.25, 1e-15);
    EXPECT_NEAR(tap[2], 0.75, 1e-15);
    EXPECT_EQ(tap[3], 1.0);
    EXPECT_EQ(tap[18], 1.0);
    EXPECT_NEAR(tap[20], 0.25, 1e-15);

    EXPECT_NEAR(Window(WindowKind::NutTall, 9)[0], 0.3635819 - 0.4891775 + 0.1365995 - 0.0106411, 1e-15);
    EXPECT_NEAR(Window(WindowKind::FlatTop, 9)[0], 0.2810639 - 0.5208972 + 0.1980399, 1e-15);
    // Quarter point of FlatTop: x = pi / 2.
    EXPECT_NEAR(Window(WindowKind::FlatTop, 9)[2], 0.2810639 - 0.1980399, 1e-15);

    // Gaussian edge exp(-p^2 / 2); p out of (0, 20) falls back to 3.
    EXPECT_NEAR(Window(WindowKind::Gaussian, 11, 2.0)[0], std::exp(-2.0), 1e-15);
    EXPECT_NEAR(Window(WindowKind::Gaussian, 11)[0], std::exp(-4.5), 1e-15);
    EXPECT_EQ(Window(WindowKind::Gaussian, 11, 20.0), Window(WindowKind::Gaussian, 11));
    EXPECT_NEAR(Window(WindowKind::Gaussian, 11, 2.0)[3], std::exp(-8.0 * 0.2 * 0.2), 1e-15);
}

TEST(Windows, ShapeParametersAndTheirDefaults) {
    // Blackman: 0.25 is in range only on the atoms' side.
    const auto classic = Window(WindowKind::Blackman, 9);
    EXPECT_EQ(Window(WindowKind::Blackman, 9, 0.25), classic);
    EXPECT_EQ(Window(WindowKind::Blackman, 9, 0.3), classic);
    const auto quarter = Window(WindowShape{WindowKind::Blackman, 0.25, numeric::BlackmanLimit::UpTo}, 9);
    EXPECT_NE(quarter, classic);
    // alpha = -0.25 at the quarter point: 0.375 - 0.125.
    EXPECT_NEAR(quarter[2], 0.25, 1e-15);
    EXPECT_NE(Window(WindowKind::Blackman, 9, 0.1), classic);

    // Kaiser: beta 8 unless a positive parameter is given; the ends are 1 / I0(beta).
    EXPECT_NEAR(Window(WindowKind::Kaiser, 21)[0], 1.0 / std::cyl_bessel_i(0.0, 8.0), 1e-15);
    EXPECT_NEAR(Window(WindowKind::Kaiser, 21, 3.0)[0], 1.0 / std::cyl_bessel_i(0.0, 3.0), 1e-15);
    EXPECT_EQ(Window(WindowKind::Kaiser, 21, -1.0), Window(WindowKind::Kaiser, 21));
}

TEST(Windows, KindNumbersNamesAndListOrder) {
    EXPECT_EQ(numeric::WindowKindFromNumber(3), WindowKind::Blackman);
    EXPECT_EQ(numeric::WindowKindFromNumber(9), WindowKind::Gaussian);
    EXPECT_EQ(numeric::WindowKindFromNumber(99), WindowKind::Rectangle);
    EXPECT_EQ(numeric::WindowKindFromNumber(-1), WindowKind::Rectangle);
    EXPECT_EQ(Window(numeric::WindowKindFromNumber(99), 16), std::vector<double>(16, 1.0));

    EXPECT_EQ(std::wstring(numeric::WindowName(WindowKind::TapRectangle)), L"TapRectangle");
    EXPECT_EQ(std::wstring(numeric::WindowName(WindowKind::Gaussian)), L"Gaussian");
    // In the atoms' keyword list Bartlett is the fourth entry, though its number is 5.
    EXPECT_EQ(numeric::kWindowListOrder[3], WindowKind::Bartlett);
    EXPECT_EQ(numeric::kWindowListOrder[7], WindowKind::Blackman);
}

TEST(Windows, ApplyMultipliesTheData) {
    std::vector<double> data(7, 2.0);
    ASSERT_TRUE(numeric::ApplyWindow(WindowShape{WindowKind::Hamming}, data.data(), data.size()));
    const auto w = Window(WindowKind::Hamming, 7);
    for (std::size_t i = 0; i < 7; ++i) EXPECT_DOUBLE_EQ(data[i], 2.0 * w[i]);

    std::vector<double> gained(7, 2.0);
    ASSERT_TRUE(numeric::ApplyWindow(WindowShape{WindowKind::Rectangle, 0.0, {}, true}, gained.data(), 7));
    EXPECT_EQ(gained, std::vector<double>(7, 2.0));
}

TEST(WindowGain, KeepsThePowerOfNoise) {
    // A rectangle passes noise unchanged.
    const std::vector<double> ones(64, 1.0);
    EXPECT_EQ(numeric::WindowNoiseGain(ones.data(), ones.size()), 1.0);

    // For white noise the gain tends to sqrt(n / sum w^2): sqrt(8/3) for Hann.
    const std::size_t n = 8192;
    const auto hann = Window(WindowKind::Hanning, n);
    double squares = 0;
    for (double v : hann) squares += v * v;
    const double gain = numeric::WindowNoiseGain(hann.data(), n);
    EXPECT_NEAR(gain, std::sqrt(double(n) / squares), 0.03 * gain);
    EXPECT_NEAR(gain, std::sqrt(8.0 / 3.0), 0.05);

    const auto scaled = Window(WindowShape{WindowKind::Hanning, 0.0, {}, true}, n);
    EXPECT_NEAR(scaled[n / 2], gain, 0.03 * gain);

    const std::vector<double> zeros(8, 0.0);
    EXPECT_EQ(numeric::WindowNoiseGain(zeros.data(), zeros.size()), 0.0);
}
