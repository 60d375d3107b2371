#include "numeric/fft.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

using numeric::ComplexDft;
using numeric::Dct;
using numeric::RealDft;
using numeric::RealFft;

namespace {

using Complex = std::complex<long double>;

std::vector<double> RandomSignal(std::size_t n, unsigned seed) {
    std::mt19937 engine(seed);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    std::vector<double> x(n);
    for (double& v : x) v = uniform(engine);
    return x;
}

// The textbook sum in long double, with the angle reduced by jk mod n so that large
// products lose no precision.
std::vector<Complex> DirectDft(const std::vector<Complex>& x, int sign = -1) {
    const std::size_t n = x.size();
    std::vector<Complex> result(n);
    for (std::size_t k = 0; k < n; ++k) {
        Complex sum = 0;
        for (std::size_t j = 0; j < n; ++j) {
            const long double angle = sign * 2.0L * std::numbers::pi_v<long double> * ((j * k) % n) / n;
            sum += x[j] * Complex(std::cos(angle), std::sin(angle));
        }
        result[k] = sum;
    }
    return result;
}

std::vector<Complex> AsComplex(const std::vector<double>& real) {
    return {real.begin(), real.end()};
}

// Largest difference relative to the largest magnitude of the reference.
double RelativeError(const std::vector<double>& got, const std::vector<double>& expected) {
    double diff = 0.0, scale = 0.0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        diff = std::max(diff, std::fabs(got[i] - expected[i]));
        scale = std::max(scale, std::fabs(expected[i]));
    }
    return diff / std::max(scale, 1e-300);
}

// The packed form expected of a real transform of n points: bins 0 .. n/2 interleaved,
// n + 2 places with an unused zero tail for odd n.
std::vector<double> ExpectedPacked(const std::vector<double>& x) {
    const std::size_t n = x.size();
    const auto spectrum = DirectDft(AsComplex(x));
    std::vector<double> packed(n + 2, 0.0);
    for (std::size_t k = 0; k <= n / 2; ++k) {
        packed[2 * k] = double(spectrum[k].real());
        packed[2 * k + 1] = double(spectrum[k].imag());
    }
    return packed;
}

} // namespace

TEST(RealFft, MatchesTheDirectSumInPackedFormForEveryOrder) {
    for (int order = 0; order <= 11; ++order) {
        SCOPED_TRACE(order);
        RealFft fft(order);
        const std::size_t n = std::size_t(1) << order;
        ASSERT_EQ(fft.Size(), n);
        ASSERT_EQ(fft.PackedSize(), n + 2);
        const auto x = RandomSignal(n, 100 + unsigned(order));
        std::vector<double> packed(n + 2, 123.0);
        fft.Forward(x.data(), packed.data());

        const auto expected = ExpectedPacked(x);
        EXPECT_LT(RelativeError(packed, expected), 1e-9);
        EXPECT_EQ(packed[1], 0.0);     // imaginary part of bin 0
        EXPECT_EQ(packed[n + 1], 0.0); // of the Nyquist bin, or the unused tail of order 0
        if (n == 1) {
            EXPECT_EQ(packed[0], x[0]);
        }

        std::vector<double> back(n, 0.0);
        fft.Inverse(packed.data(), back.data());
        EXPECT_LT(RelativeError(back, x), 1e-12);
    }
}

TEST(RealFft, InverseScalesByOneOverN) {
    // A unit bin 0 is the constant 1/n; a unit Nyquist bin alternates +-1/n.
    RealFft fft(3);
    std::vector<double> packed(10, 0.0), out(8);
    packed[0] = 1.0;
    fft.Inverse(packed.data(), out.data());
    for (double v : out) EXPECT_DOUBLE_EQ(v, 0.125);
    std::fill(packed.begin(), packed.end(), 0.0);
    packed[8] = 1.0;
    fft.Inverse(packed.data(), out.data());
    for (std::size_t i = 0; i < 8; ++i) EXPECT_DOUBLE_EQ(out[i], i % 2 ? -0.125 : 0.125);
}

TEST(RealFft, InPlaceAndUnalignedBuffersGiveTheSameResult) {
    const std::size_t n = 256;
    RealFft fft(8);
    const auto x = RandomSignal(n, 7);
    std::vector<double> reference(n + 2);
    fft.Forward(x.data(), reference.data());

    // In place: the column holds the samples in its first n places.
    std::vector<double> column(x);
    column.resize(n + 2);
    fft.Forward(column.data(), column.data());
    EXPECT_EQ(column, reference);

    // Shifted by one double, so neither buffer has the alignment of the planned arrays.
    std::vector<double> in(n + 1), out(n + 3);
    std::copy(x.begin(), x.end(), in.begin() + 1);
    fft.Forward(in.data() + 1, out.data() + 1);
    // The unaligned plan runs other code, so the last bits may differ.
    EXPECT_LT(RelativeError(std::vector<double>(out.begin() + 1, out.end()), reference), 1e-14);

    std::vector<double> back(n + 1);
    fft.Inverse(out.data() + 1, back.data() + 1);
    EXPECT_LT(RelativeError(std::vector<double>(back.begin() + 1, back.end()), x), 1e-12);

    // The inverse in place, and it must not disturb a packed input given separately.
    const std::vector<double> packedCopy = reference;
    std::vector<double> separate(n);
    fft.Inverse(reference.data(), separate.data());
    EXPECT_EQ(reference, packedCopy);
    fft.Inverse(reference.data(), reference.data());
    EXPECT_EQ(std::vector<double>(reference.begin(), reference.begin() + long(n)), separate);
}

TEST(RealDft, AnyLengthKeepsThePackedForm) {
    for (std::size_t n : {std::size_t(7), std::size_t(12), std::size_t(1000)}) {
        SCOPED_TRACE(n);
        RealDft dft(n);
        const auto x = RandomSignal(n, unsigned(n));
        std::vector<double> packed(n + 2, 99.0);
        dft.Forward(x.data(), packed.data());
        EXPECT_LT(RelativeError(packed, ExpectedPacked(x)), 1e-9);
        if (n % 2) {
            EXPECT_EQ(packed[n + 1], 0.0);
        }
        std::vector<double> back(n);
        dft.Inverse(packed.data(), back.data());
        EXPECT_LT(RelativeError(back, x), 1e-12);
    }
}

TEST(ComplexDft, OddLengthAgreesWithTheDirectSumBothWays) {
    for (std::size_t n : {std::size_t(1), std::size_t(7), std::size_t(30)}) {
        SCOPED_TRACE(n);
        ComplexDft dft(n);
        const auto interleaved = RandomSignal(2 * n, 3 + unsigned(n));
        std::vector<Complex> x(n);
        for (std::size_t i = 0; i < n; ++i) x[i] = Complex(interleaved[2 * i], interleaved[2 * i + 1]);

        std::vector<double> out(2 * n), expected(2 * n);
        dft.Forward(interleaved.data(), out.data());
        const auto forward = DirectDft(x, -1);
        for (std::size_t k = 0; k < n; ++k) {
            expected[2 * k] = double(forward[k].real());
            expected[2 * k + 1] = double(forward[k].imag());
        }
        EXPECT_LT(RelativeError(out, expected), 1e-9);

        // The inverse has the opposite sign and divides by n.
        std::vector<double> inverse(2 * n);
        dft.Inverse(interleaved.data(), inverse.data());
        const auto backward = DirectDft(x, +1);
        for (std::size_t k = 0; k < n; ++k) {
            expected[2 * k] = double(backward[k].real()) / double(n);
            expected[2 * k + 1] = double(backward[k].imag()) / double(n);
        }
        EXPECT_LT(RelativeError(inverse, expected), 1e-9);

        std::vector<double> roundTrip(out);
        dft.Inverse(roundTrip.data(), roundTrip.data());
        EXPECT_LT(RelativeError(roundTrip, interleaved), 1e-12);
    }
}

TEST(Dct, OrthonormalTypeTwoAndItsInverse) {
    for (std::size_t n : {std::size_t(1), std::size_t(8), std::size_t(13)}) {
        SCOPED_TRACE(n);
        Dct dct(n);
        const auto x = RandomSignal(n, 40 + unsigned(n));
        std::vector<double> y(n), expected(n);
        dct.Forward(x.data(), y.data());
        for (std::size_t k = 0; k < n; ++k) {
            long double sum = 0;
            for (std::size_t j = 0; j < n; ++j)
                sum += x[j] * std::cos(std::numbers::pi_v<long double> * k * (j + 0.5L) / n);
            expected[k] = double(sum * std::sqrt((k == 0 ? 1.0L : 2.0L) / n));
        }
        EXPECT_LT(RelativeError(y, expected), 1e-12);

        double energyIn = 0, energyOut = 0;
        for (std::size_t i = 0; i < n; ++i) {
            energyIn += x[i] * x[i];
            energyOut += y[i] * y[i];
        }
        EXPECT_NEAR(energyOut, energyIn, 1e-12 * energyIn);

        std::vector<double> back(y);
        dct.Inverse(back.data(), back.data());
        EXPECT_LT(RelativeError(back, x), 1e-12);
    }
}

TEST(FftSizes, OrdersAndInvalidSizes) {
    EXPECT_EQ(numeric::FftOrderFor(0), 0);
    EXPECT_EQ(numeric::FftOrderFor(1), 0);
    EXPECT_EQ(numeric::FftOrderFor(2), 1);
    EXPECT_EQ(numeric::FftOrderFor(1000), 10);
    EXPECT_EQ(numeric::FftOrderFor(1024), 10);
    EXPECT_EQ(numeric::FftOrderFor(1025), 11);
    EXPECT_THROW(RealFft(-1), std::invalid_argument);
    EXPECT_THROW(RealFft(31), std::invalid_argument);
    EXPECT_THROW(RealDft(0), std::invalid_argument);
    EXPECT_THROW(ComplexDft(0), std::invalid_argument);
    EXPECT_THROW(Dct(0), std::invalid_argument);
}

TEST(FftObjects, MovedTransformsKeepWorking) {
    RealFft first(4);
    RealFft second = std::move(first);
    std::vector<double> x(16, 1.0), packed(18);
    second.Forward(x.data(), packed.data());
    EXPECT_DOUBLE_EQ(packed[0], 16.0);
    EXPECT_DOUBLE_EQ(packed[2], 0.0);
}

TEST(FftPlans, TwoThreadsPlanningTheSameNewSizesAgree) {
    // Sizes that no other test uses, so the plans are made while both threads run.
    auto work = [](std::vector<int>& failures) {
        for (std::size_t n = 3001; n < 3061; ++n) {
            RealDft real(n);
            ComplexDft complex(n);
            Dct dct(n);
            // An impulse has a flat spectrum of ones.
            std::vector<double> x(n, 0.0), packed(n + 2), back(n);
            x[0] = 1.0;
            real.Forward(x.data(), packed.data());
            for (std::size_t k = 0; k <= n / 2; ++k)
                if (std::fabs(packed[2 * k] - 1.0) > 1e-12 || std::fabs(packed[2 * k + 1]) > 1e-12)
                    failures.push_back(int(n));
            real.Inverse(packed.data(), back.data());
            if (std::fabs(back[0] - 1.0) > 1e-12) failures.push_back(int(n));
            std::vector<double> c(2 * n, 0.0), cOut(2 * n);
            c[0] = 1.0;
            complex.Forward(c.data(), cOut.data());
            if (std::fabs(cOut[2 * (n - 1)] - 1.0) > 1e-12) failures.push_back(int(n));
            dct.Forward(x.data(), back.data());
            if (std::fabs(back[0] - std::sqrt(1.0 / double(n))) > 1e-12) failures.push_back(int(n));
        }
    };
    std::vector<int> failuresA, failuresB;
    std::thread a(work, std::ref(failuresA));
    std::thread b(work, std::ref(failuresB));
    a.join();
    b.join();
    EXPECT_TRUE(failuresA.empty());
    EXPECT_TRUE(failuresB.empty());
}
