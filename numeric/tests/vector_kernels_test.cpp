#include "numeric/vector_kernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <numbers>
#include <set>
#include <vector>

using Vector = std::vector<double>;

TEST(VectorArithmetic, InPlaceAndSeparateDestinations) {
    Vector a = {1, 2, 3, 4}, b = {4, 3, 2, 1}, out(4);
    numeric::Add(a.data(), b.data(), out.data(), 4);
    EXPECT_EQ(out, (Vector{5, 5, 5, 5}));
    numeric::Subtract(a.data(), b.data(), out.data(), 4);
    EXPECT_EQ(out, (Vector{-3, -1, 1, 3}));
    numeric::Divide(a.data(), b.data(), out.data(), 4);
    EXPECT_EQ(out, (Vector{0.25, 2.0 / 3.0, 1.5, 4}));
    numeric::Multiply(a.data(), b.data(), a.data(), 4);
    EXPECT_EQ(a, (Vector{4, 6, 6, 4}));

    numeric::AddConstant(a.data(), 1, a.data(), 4);
    numeric::MultiplyConstant(a.data(), 2, a.data(), 4);
    numeric::SubtractConstant(a.data(), 4, a.data(), 4);
    numeric::DivideConstant(a.data(), 2, a.data(), 4);
    EXPECT_EQ(a, (Vector{3, 5, 5, 3}));

    numeric::Set(7.5, out.data(), 3);
    EXPECT_EQ(out, (Vector{7.5, 7.5, 7.5, 4}));

    // Copy tolerates overlap in either direction.
    Vector shift = {1, 2, 3, 4, 5};
    numeric::Copy(shift.data(), shift.data() + 1, 4);
    EXPECT_EQ(shift, (Vector{1, 1, 2, 3, 4}));
    numeric::Copy(shift.data() + 1, shift.data(), 4);
    EXPECT_EQ(shift, (Vector{1, 2, 3, 4, 4}));
}

TEST(VectorFunctions, SqrtLnPowerAndTheLowerThreshold) {
    const double tiny = 2.2250738585072014e-308;
    Vector x = {4, 0, -1, std::exp(2.0)};
    Vector out(4);
    numeric::Sqrt(x.data(), out.data(), 2);
    EXPECT_EQ(out[0], 2.0);
    EXPECT_EQ(out[1], 0.0);

    numeric::Ln(x.data(), out.data(), 4);
    EXPECT_EQ(out[1], -std::numeric_limits<double>::infinity());
    EXPECT_TRUE(std::isnan(out[2]));
    EXPECT_DOUBLE_EQ(out[3], 2.0);

    // Raising first turns zero and negative input into a large negative logarithm.
    numeric::ThresholdLow(x.data(), tiny, out.data(), 4);
    EXPECT_EQ(out[0], 4.0);
    EXPECT_EQ(out[1], tiny);
    EXPECT_EQ(out[2], tiny);
    numeric::Ln(out.data(), out.data(), 4);
    EXPECT_NEAR(out[1], -708.396418532264, 1e-9);

    numeric::ThresholdLow(x.data(), 0.5, -9.0, out.data(), 4);
    EXPECT_EQ(out, (Vector{4, -9, -9, x[3]}));

    numeric::Power(x.data(), 3.0, out.data(), 3);
    EXPECT_EQ(out[0], 64.0);
    EXPECT_EQ(out[2], -1.0);
}

TEST(ComplexKernels, MagnitudePowerAndPhaseOfInterleavedItems) {
    const Vector complex = {3, 4, -1, 0, 0, -2};
    Vector out(3);
    numeric::Magnitude(complex.data(), out.data(), 3);
    EXPECT_EQ(out, (Vector{5, 1, 2}));
    numeric::PowerSpectrum(complex.data(), out.data(), 3);
    EXPECT_EQ(out, (Vector{25, 1, 4}));
    numeric::Phase(complex.data(), out.data(), 3);
    EXPECT_DOUBLE_EQ(out[0], std::atan2(4.0, 3.0));
    EXPECT_DOUBLE_EQ(out[1], std::numbers::pi);
    EXPECT_DOUBLE_EQ(out[2], -std::numbers::pi / 2);
}

TEST(Correlation, LagsShiftTheSecondSequence) {
    const Vector x = {1, 2, 3};
    Vector out(5, -1.0);
    numeric::AutoCorrelation(x.data(), 3, out.data(), 5);
    EXPECT_EQ(out, (Vector{14, 8, 3, 0, 0}));

    const Vector y = {1, 0, 0, 5};
    numeric::CrossCorrelation(y.data(), Vector{0, 0, 0, 1}.data(), 4, out.data(), 4);
    EXPECT_EQ((Vector{out[0], out[1], out[2], out[3]}), (Vector{5, 0, 0, 1}));
}

TEST(WindowKernels, KnownPointsOfFivePointWindows) {
    const Vector ones(5, 1.0);
    Vector w(5);
    numeric::WindowHann(ones.data(), w.data(), 5);
    for (int i = 0; i < 5; ++i)
        EXPECT_NEAR(w[std::size_t(i)], (Vector{0, 0.5, 1, 0.5, 0})[std::size_t(i)], 1e-15);
    numeric::WindowHamming(ones.data(), w.data(), 5);
    for (int i = 0; i < 5; ++i)
        EXPECT_NEAR(w[std::size_t(i)], (Vector{0.08, 0.54, 1, 0.54, 0.08})[std::size_t(i)], 1e-15);
    numeric::WindowBartlett(ones.data(), w.data(), 5);
    EXPECT_EQ(w, (Vector{0, 0.5, 1, 0.5, 0}));
    numeric::WindowBlackman(ones.data(), -0.16, w.data(), 5);
    for (int i = 0; i < 5; ++i)
        EXPECT_NEAR(w[std::size_t(i)], (Vector{0, 0.34, 1, 0.34, 0})[std::size_t(i)], 1e-15);

    // Kaiser with beta 8: the ends are 1 / I0(8), the middle 1.
    numeric::WindowKaiser(ones.data(), 2.0 * 8.0 / 4.0, w.data(), 5);
    EXPECT_NEAR(w[0], 1.0 / 427.56411572180474, 1e-15);
    EXPECT_NEAR(w[2], 1.0, 1e-15);
    EXPECT_EQ(w[0], w[4]);
    Vector negative(5);
    numeric::WindowKaiser(ones.data(), -4.0, negative.data(), 5);
    EXPECT_EQ(negative, w);

    // Even lengths have no middle point and are still symmetric; the data is multiplied.
    Vector data = {2, 2, 2, 2, 2, 2};
    numeric::WindowHann(data.data(), data.data(), 6);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(data[std::size_t(i)], data[std::size_t(5 - i)]);
    EXPECT_NEAR(data[1], 2 * 0.5 * (1 - std::cos(2 * std::numbers::pi / 5)), 1e-15);

    Vector single = {3};
    numeric::WindowHann(single.data(), single.data(), 1);
    EXPECT_EQ(single[0], 3.0);
}

TEST(Conversions, PrecisionAndChannels) {
    const Vector d = {0.1, -2.5, 1e-3};
    std::vector<float> f(3);
    numeric::Convert(d.data(), f.data(), 3);
    EXPECT_EQ(f[1], -2.5f);
    EXPECT_EQ(f[0], 0.1f);
    Vector back(3);
    numeric::Convert(f.data(), back.data(), 3);
    EXPECT_EQ(back[0], double(0.1f));

    const Vector left = {1, 2, 3}, right = {-1, -2, -3};
    Vector frames(6), l(3), r(3);
    numeric::Interleave(left.data(), right.data(), frames.data(), 3);
    EXPECT_EQ(frames, (Vector{1, -1, 2, -2, 3, -3}));
    numeric::Deinterleave(frames.data(), l.data(), r.data(), 3);
    EXPECT_EQ(l, left);
    EXPECT_EQ(r, right);

    const std::vector<float> fl = {1, 2}, fr = {3, 4};
    std::vector<float> ff(4);
    numeric::Interleave(fl.data(), fr.data(), ff.data(), 2);
    EXPECT_EQ(ff, (std::vector<float>{1, 3, 2, 4}));
}

TEST(Reverse, EveryElementSizeInPlaceOutOfPlaceAndUnaligned) {
    std::vector<std::uint8_t> bytes = {1, 2, 3, 4, 5};
    numeric::Reverse(bytes.data(), bytes.data(), 5, 1);
    EXPECT_EQ(bytes, (std::vector<std::uint8_t>{5, 4, 3, 2, 1}));

    std::vector<std::int16_t> shorts = {1, 2, 3, 4};
    numeric::Reverse(shorts.data(), shorts.data(), 4, 2);
    EXPECT_EQ(shorts, (std::vector<std::int16_t>{4, 3, 2, 1}));

    const std::vector<float> floats = {1.5f, 2.5f, 3.5f};
    std::vector<float> reversed(3);
    numeric::Reverse(floats.data(), reversed.data(), 3, 4);
    EXPECT_EQ(reversed, (std::vector<float>{3.5f, 2.5f, 1.5f}));

    // Doubles at an odd byte offset, as they lie in a sound file's byte buffer.
    std::vector<unsigned char> raw(1 + 3 * sizeof(double));
    const double values[] = {1.0, 2.0, 3.0};
    std::memcpy(raw.data() + 1, values, sizeof values);
    numeric::Reverse(raw.data() + 1, raw.data() + 1, 3, 8);
    double check[3];
    std::memcpy(check, raw.data() + 1, sizeof check);
    EXPECT_EQ(check[0], 3.0);
    EXPECT_EQ(check[2], 1.0);

    // Partly overlapping buffers.
    std::vector<std::int32_t> overlap = {1, 2, 3, 4, 0};
    numeric::Reverse(overlap.data(), overlap.data() + 1, 4, 4);
    EXPECT_EQ(overlap, (std::vector<std::int32_t>{1, 4, 3, 2, 1}));

    std::vector<std::uint8_t> untouched = {1, 2, 3};
    numeric::Reverse(untouched.data(), untouched.data(), 3, 3);
    EXPECT_EQ(untouched, (std::vector<std::uint8_t>{1, 2, 3}));
}

TEST(ALaw, KnownCodesAndTheShapeOfTheTable) {
    // The two codes nearest zero (0xD5 is the line's idle pattern), segment starts and
    // full scale.
    EXPECT_EQ(numeric::ALawToLinear(0xD5), 8);
    EXPECT_EQ(numeric::ALawToLinear(0x55), -8);
    EXPECT_EQ(numeric::ALawToLinear(0xD4), 24);
    EXPECT_EQ(numeric::ALawToLinear(0xC5), 264);
    EXPECT_EQ(numeric::ALawToLinear(0xF5), 528);
    EXPECT_EQ(numeric::ALawToLinear(0xAA), 32256);
    EXPECT_EQ(numeric::ALawToLinear(0x2A), -32256);

    // 128 distinct positive levels, mirrored by the codes without the sign bit.
    std::set<int> positive;
    for (int code = 0; code < 256; ++code) {
        const std::int16_t value = numeric::ALawToLinear(std::uint8_t(code));
        EXPECT_EQ(numeric::ALawToLinear(std::uint8_t(code ^ 0x80)), -value);
        if (value > 0) positive.insert(value);
    }
    EXPECT_EQ(positive.size(), 128u);

    const std::uint8_t codes[] = {0xD5, 0x2A};
    std::int16_t out[2];
    numeric::ALawToLinear(codes, out, 2);
    EXPECT_EQ(out[0], 8);
    EXPECT_EQ(out[1], -32256);
}
