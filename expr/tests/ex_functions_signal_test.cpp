// Windows, transforms, the cepstrum, linear prediction, filters and the curve functions.
#include <cmath>
#include <numbers>
#include <random>

#include "expr/tests/ex_functions_fixture.h"

using namespace fntest;

namespace {

Matrix Impulse(int n, int at = 0) {
    std::vector<double> v(std::size_t(n), 0.0);
    v[std::size_t(at)] = 1;
    return V(v);
}

std::vector<double> Noise(int n, unsigned seed, double sigma = 1.0) {
    std::mt19937 engine(seed);
    std::normal_distribution<double> normal(0.0, sigma);
    std::vector<double> v(static_cast<std::size_t>(n));
    for (double& x : v) x = normal(engine);
    return v;
}

} // namespace

TEST(ExFunctionWindows, KindNumbersAndTheRectangleFallback) {
    EXPECT_EQ(E(Call(L"Window", {S(99), S(16)})), std::vector<double>(16, 1.0));
    EXPECT_EQ(E(Call(L"Window", {S(-1), S(5)})), std::vector<double>(5, 1.0));
    EXPECT_EQ(E(Call(L"Window", {S(1), S(16)})), E(Call(L"WHanning", {S(16)})));
    EXPECT_EQ(E(Call(L"Window", {S(3.9), S(9)})), E(Call(L"WBlackman", {S(9)})));
    EXPECT_EQ(E(Call(L"Window", {S(6), S(22)})), E(Call(L"WTapRect", {S(22)})));
    EXPECT_TRUE(Fails(L"Window", {V({1, 2}), S(16)}));
    const auto hann = E(Call(L"WHanning", {S(16)}));
    EXPECT_NEAR(hann[0], 0, 1e-15);
    EXPECT_NEAR(hann[15], 0, 1e-15);
    EXPECT_NEAR(hann[7], hann[8], 1e-15);
    EXPECT_TRUE(Fails(L"WHanning", {S(2)}));
    EXPECT_TRUE(Fails(L"WHamming", {V({1, 2})}));
}

TEST(ExFunctionWindows, AppliedToColumnsWithParametersAndNoiseGain) {
    const Matrix data = M(5, 2, {2, 1, 2, 1, 2, 1, 2, 1, 2, 1});
    const Matrix windowed = Call(L"WHamming", {data});
    const auto w = E(Call(L"WHamming", {S(5)}));
    ASSERT_EQ(windowed.Cols(), 2);
    for (int k = 0; k < 5; ++k) {
        EXPECT_NEAR(windowed(k, 0), 2 * w[std::size_t(k)], 1e-15);
        EXPECT_NEAR(windowed(k, 1), w[std::size_t(k)], 1e-15);
    }
    // Kaiser's beta defaults to 8 when the parameter is not above 0; Gauss's p to 3 from 20 on.
    EXPECT_EQ(E(Call(L"WKaiser", {S(21), S(0), S(0)})), E(Call(L"WKaiser", {S(21), S(0), S(8)})));
    EXPECT_NE(E(Call(L"WKaiser", {S(21), S(0), S(2)})), E(Call(L"WKaiser", {S(21)})));
    EXPECT_EQ(E(Call(L"WGauss", {S(21), S(0), S(25)})), E(Call(L"WGauss", {S(21), S(0), S(3)})));
    EXPECT_NE(E(Call(L"WGauss", {S(21), S(0), S(5)})), E(Call(L"WGauss", {S(21)})));
    // The noise gain of a Hamming window is about sqrt(1 / 0.3974); one factor for every point.
    const auto plain = E(Call(L"WHamming", {S(4096)}));
    const auto gained = E(Call(L"WHamming", {S(4096), S(1)}));
    const double factor = gained[100] / plain[100];
    EXPECT_NEAR(factor, 1 / std::sqrt(0.3974), 0.05);
    for (std::size_t k = 0; k < plain.size(); k += 511) EXPECT_NEAR(gained[k], factor * plain[k], 1e-12);
    EXPECT_EQ(E(Call(L"WHamming", {S(64), V({1, 2})})), E(Call(L"WHamming", {S(64)})));
}

TEST(ExFunctionTransforms, FftNeedsEightRowsAndPadsToAPowerOfTwo) {
    Matrix result = S(1);
    std::vector<Matrix> seven = {V({1, 2, 3, 4, 5, 6, 7})};
    EXPECT_TRUE(Invoke(L"FFT", seven, result));
    EXPECT_TRUE(result.IsEmpty());
    const Matrix eight = V({1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_EQ(Call(L"FFT", {eight}).Rows(), 10);
    EXPECT_EQ(Call(L"FFT", {eight, S(4)}).Rows(), 10);
    EXPECT_EQ(Call(L"FFT", {eight, S(20)}).Rows(), 34);
    EXPECT_EQ(Call(L"FFT", {V({1, 2, 3, 4, 5, 6, 7, 8, 9})}).Rows(), 18);
    const Matrix two = Call(L"FFT", {M(8, 2, {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1})});
    EXPECT_EQ(two.Cols(), 2);
    EXPECT_EQ(two(0, 0), 1);
    EXPECT_EQ(two(2, 0), 1); // an impulse at 0 is flat
    EXPECT_NEAR(two(2, 1), std::cos(2 * std::numbers::pi * 7 / 8), 1e-15);

    std::vector<double> cosine(16);
    for (int k = 0; k < 16; ++k) cosine[std::size_t(k)] = std::cos(2 * std::numbers::pi * 2 * k / 16);
    const auto packed = E(Call(L"FFT", {V(cosine)}));
    ASSERT_EQ(packed.size(), 18u);
    for (std::size_t i = 0; i < packed.size(); ++i) EXPECT_NEAR(packed[i], i == 4 ? 8.0 : 0.0, 1e-12) << i;
}

TEST(ExFunctionTransforms, InverseAndTheDftOfAnyLength) {
    const Matrix nine = V({1, -2, 3, 0.5, 5, 6, -7, 8, 9});
    const auto back = E(Call(L"IFFT", {Call(L"FFT", {nine})}));
    ASSERT_EQ(back.size(), 16u);
    for (std::size_t i = 0; i < 16; ++i) EXPECT_NEAR(back[i], i < 9 ? E(nine)[i] : 0.0, 1e-12);
    EXPECT_TRUE(Fails(L"IFFT", {nine}));
    EXPECT_TRUE(Fails(L"IFFT", {V({1, 2, 3})}));
    const Matrix six = V({0, 1, 0, -1, 0, 1});
    EXPECT_EQ(Call(L"DFT", {six}).Rows(), 8);
    EXPECT_EQ(Call(L"DFT", {six, S(10)}).Rows(), 12);
    EXPECT_TRUE(Fails(L"DFT", {S(3)}));
    const auto sine = E(Call(L"DFT", {V({0, 1, 0, -1, 0, 1, 0, -1, 0, 1, 0, -1})}));
    EXPECT_NEAR(sine[6], 0, 1e-12);  // bin 3: real part
    EXPECT_NEAR(sine[7], -6, 1e-12); // and imaginary part
}

TEST(ExFunctionTransforms, CepstrumOfAnEcho) {
    // x = d[n] + a d[n - 20]: ln|X| is the series of ln(1 + a e^-iw), whose cepstrum is
    // (-1)^(m+1) a^m / (2m) at quefrency 20 m.
    std::vector<double> echo(200, 0.0);
    echo[0] = 1;
    echo[20] = 0.5;
    const auto c = E(Call(L"Cepstrum", {V(echo)}));
    ASSERT_EQ(c.size(), 129u);
    EXPECT_NEAR(c[0], 0, 1e-12);
    EXPECT_NEAR(c[20], 0.25, 1e-12);
    EXPECT_NEAR(c[40], -0.0625, 1e-12);
    EXPECT_NEAR(c[60], 0.125 / 6, 1e-12);
    EXPECT_NEAR(c[30], 0, 1e-12);
    EXPECT_EQ(Call(L"Cepstrum", {V(echo), S(5)}).Rows(), 5);
    EXPECT_EQ(Call(L"Cepstrum", {V(echo), S(300), S(512)}).Rows(), 300);
    EXPECT_TRUE(Fails(L"Cepstrum", {V(echo), S(0)}));
    EXPECT_TRUE(Fails(L"Cepstrum", {V(echo), S(257)}));
}

TEST(ExFunctionTransforms, DctIsOrthonormalAndInvertible) {
    ExpectNear(E(Call(L"DCT", {V({1, 1, 1, 1})})), {2, 0, 0, 0}, 1e-12);
    const Matrix x = V({3, -1, 4, 1, -5});
    ExpectNear(E(Call(L"DCT", {Call(L"DCT", {x}), S(5), S(1)})), E(x), 1e-12);
    const Matrix padded = Call(L"DCT", {x, S(8)});
    EXPECT_EQ(padded.Rows(), 8);
    EXPECT_NEAR(Scalar(L"HTH", {padded}), Scalar(L"HTH", {x}), 1e-12);
}

TEST(ExFunctionPrediction, LevinsonRecoversAnAutoregressiveProcess) {
    const auto e = Noise(20000, 11);
    std::vector<double> x(e.size(), 0.0);
    for (std::size_t n = 2; n < x.size(); ++n) x[n] = 1.5 * x[n - 1] - 0.75 * x[n - 2] + e[n];
    std::vector<Matrix> args = {V(x), S(2), S(0), S(0)};
    Matrix a;
    ASSERT_TRUE(Invoke(L"LPC", args, a));
    ExpectNear(E(a), {1, -1.5, 0.75}, 0.02);
    EXPECT_TRUE(args[2].Changed());
    EXPECT_TRUE(args[3].Changed());
    ASSERT_EQ(args[2].Rows(), 2);
    EXPECT_NEAR(args[2](1), 0.75, 0.02);      // the last reflection coefficient is the last a
    EXPECT_NEAR(args[3].Scalar(), 1.0, 0.05); // the driving noise's power
    const auto higher = E(Call(L"LPC", {V(x), S(4)}));
    EXPECT_NEAR(higher[3], 0, 0.03);
    EXPECT_NEAR(higher[4], 0, 0.03);
    EXPECT_TRUE(Fails(L"LPC", {V({0, 0, 0, 0}), S(2)}));
    EXPECT_TRUE(Fails(L"LPC", {V({1, 2, 3}), S(3)}));
}

TEST(ExFunctionFilters, ImpulseResponses) {
    std::vector<double> decay;
    for (int n = 0; n < 8; ++n) decay.push_back(std::pow(0.5, n));
    ExpectNear(E(Call(L"IIR1", {Impulse(8), S(1), V({1, -0.5})})), decay, 1e-15);
    ExpectNear(E(Call(L"IIR1", {Impulse(8), S(2), V({2, -1})})), decay, 1e-15);
    ExpectNear(E(Call(L"IIR2", {Impulse(8), V({1, 0, 0, 1, -0.5, 0})})), decay, 1e-15);
    ExpectNear(E(Call(L"FIR1", {Impulse(6), V({1, 2, 3})})), {1, 2, 3, 0, 0, 0}, 0);
    ExpectNear(E(Call(L"FIR2", {Impulse(5), M(3, 2, {1, 1, 1, -1, 0, 0})})), {1, 0, -1, 0, 0}, 0);
    // (1 - 0.9 z^-1) twice against 1 / (1 - 0.9 z^-1): the cascade gives back the FIR.
    const Matrix sos = M(6, 2, {1, 1, -0.9, 0, 0, 0, 1, 1, 0, -0.9, 0, 0});
    ExpectNear(E(Call(L"IIR2", {Impulse(6), sos})), {1, 0, 0, 0, 0, 0}, 1e-15);
    const Matrix columns = Call(L"FIR1", {M(3, 2, {1, 0, 0, 1, 0, 0}), V({1, 2})});
    ExpectNear(E(columns), {1, 2, 0, 0, 1, 2}, 0);
    EXPECT_TRUE(Fails(L"IIR1", {Impulse(4), S(1), V({0, 1})}));
    EXPECT_TRUE(Fails(L"IIR2", {Impulse(4), V({1, 0, 0, 1, 0})}));
    EXPECT_TRUE(Fails(L"FIR2", {Impulse(4), V({1, 0})}));
}

TEST(ExFunctionFilters, StateCarriesAFilterFromBlockToBlock) {
    const auto x = Noise(40, 5);
    const std::vector<double> first(x.begin(), x.begin() + 17), second(x.begin() + 17, x.end());
    auto blocks = [&](const wchar_t* name, std::vector<Matrix> coefficients) {
        const auto whole = E([&] {
            std::vector<Matrix> args = {V(x)};
            args.insert(args.end(), coefficients.begin(), coefficients.end());
            return Call(name, args);
        }());
        std::vector<Matrix> args = {V(first)};
        args.insert(args.end(), coefficients.begin(), coefficients.end());
        args.push_back(S(0)); // not the right size: the filter starts from rest
        Matrix y1, y2;
        ASSERT_TRUE(Invoke(name, args, y1));
        EXPECT_TRUE(args.back().Changed());
        args.front() = V(second);
        ASSERT_TRUE(Invoke(name, args, y2));
        auto joined = E(y1);
        const auto rest = E(y2);
        joined.insert(joined.end(), rest.begin(), rest.end());
        ExpectNear(joined, whole, 1e-12);
    };
    blocks(L"IIR1", {V({0.2, 0.3, 0.1}), V({1, -0.4, 0.2})});
    blocks(L"FIR1", {V({0.5, -1, 2, 0.25})});
    blocks(L"IIR2", {M(6, 2, {1, 0.5, 0.2, 0.1, 0.3, 0, 1, 1, -0.6, 0.5, 0.1, 0.2})});
    blocks(L"FIR2", {M(3, 2, {1, 2, -1, 1, 0.5, 0.5})});
}

TEST(ExFunctionFilters, RastaPassesNoDirectCurrent) {
    const auto h = E(Call(L"RASTA", {Impulse(6)}));
    std::vector<double> expected = {0.2, 0.1, 0, -0.1, -0.2, 0};
    for (std::size_t n = 1; n < expected.size(); ++n) expected[n] += 0.98 * expected[n - 1];
    ExpectNear(h, expected, 1e-15);
    // Past the numerator's length a constant input only decays at the rate of the pole.
    const auto steady = E(Call(L"RASTA", {V(std::vector<double>(600, 1.0)), S(0.9)}));
    EXPECT_NEAR(steady[3], 0.9 * (0.9 * (0.9 * 0.2 + 0.3) + 0.3) + 0.2, 1e-15);
    EXPECT_NEAR(steady[4], 0.9 * steady[3], 1e-15);
    EXPECT_NEAR(steady[5], 0.9 * steady[4], 1e-15);
    EXPECT_LT(std::fabs(steady.back()), 1e-12);
    const Matrix bands = Call(L"RASTA", {M(3, 2, {1, 0, 0, 1, 0, 0})});
    ExpectNear(E(bands), {0.2, 0.296, 0.29008, 0, 0.2, 0.296}, 1e-15);
    EXPECT_TRUE(Fails(L"RASTA", {Impulse(6), S(1)}));
}

TEST(ExFunctionCurves, CrossingsCountedAndPlaced) {
    std::vector<double> x;
    for (int k = 0; k < 32; ++k) x.push_back(std::sin(2 * std::numbers::pi * (k + 0.5) / 8));
    EXPECT_EQ(Scalar(L"ZCross", {V(x)}), 7);
    EXPECT_EQ(Scalar(L"ZCross", {V(x), S(0), S(0), S(2)}), 14);
    ExpectNear(E(Call(L"ZCross", {V(x), S(1)})), {7.5, 15.5, 23.5}, 1e-12);
    ExpectNear(E(Call(L"ZCross", {V(x), S(2), S(0), S(0.5)})), {1.75, 5.75, 9.75, 13.75}, 1e-12);
    EXPECT_EQ(Call(L"ZCross", {V(x), S(3)}).Rows(), 7);
    EXPECT_EQ(Scalar(L"ZCross", {V(x), S(0), S(2)}), 0);
    EXPECT_EQ(Scalar(L"ZCross", {V({0, 2, 0}), S(0), S(1)}), 2);
    EXPECT_TRUE(Fails(L"ZCross", {V(x), S(1), S(2)}));
    EXPECT_TRUE(Fails(L"ZCross", {V(x), S(4)}));
}

TEST(ExFunctionCurves, PeaksByThresholdDistanceCountAndRefinement) {
    const Matrix x = V({0, 3, 1, 5, 2, 5, 0, 1, 0});
    ExpectNear(E(Call(L"IPeak", {x})), {1, 3, 5, 7}, 0);
    ExpectNear(E(Call(L"IPeak", {x, S(2)})), {1, 3, 5}, 0);
    ExpectNear(E(Call(L"IPeak", {x, S(0), S(3)})), {3, 7}, 0);
    ExpectNear(E(Call(L"IPeak", {x, S(0), S(1), S(2)})), {3, 5}, 0);
    ExpectNear(E(Call(L"IPeak", {x, S(0), S(1), S(0), S(1)})), {3, 5, 1, 7}, 0);
    EXPECT_NEAR(E(Call(L"IPeak", {x, S(4), S(1), S(1), S(0), S(1)}))[0], 3 + 0.5 / 7, 1e-15);
    EXPECT_TRUE(Fails(L"IPeak", {V({1, 1, 1, 1})}));
    EXPECT_TRUE(Fails(L"IPeak", {x, S(10)}));
}

TEST(ExFunctionCurves, QuadraticInterpolationIsExactOnAParabola) {
    const Matrix x = V({0, 1, 2, 3, 4}), y = V({0, 1, 4, 9, 16});
    ExpectNear(E(Call(L"QInterp", {x, y, V({0.5, 2.5, 3.7})})), {0.25, 6.25, 13.69}, 1e-12);
    ExpectNear(E(Call(L"QInterp", {x, y, V({-1, 5})})), {0, 16}, 0);
    ExpectNear(E(Call(L"QInterp", {x, y, V({-1, 5}), S(1)})), {1, 25}, 1e-12);
    const Matrix shaped = Call(L"QInterp", {x, y, M(2, 2, {1, 2, 3, 4})});
    EXPECT_EQ(shaped.Cols(), 2);
    EXPECT_TRUE(Fails(L"QInterp", {V({0, 2, 1}), V({0, 1, 2}), S(1)}));
    EXPECT_TRUE(Fails(L"QInterp", {V({0, 1}), V({0, 1}), S(1)}));
}

TEST(ExFunctionCurves, SmoothingDifferencesAndIntegrals) {
    const Matrix x = V({1, 2, 3, 4, 5, 6});
    ExpectNear(E(Call(L"Smooth", {x})), {1.5, 2, 3, 4, 5, 5.5}, 1e-15);
    ExpectNear(E(Call(L"Smooth", {x, S(0), S(1), S(2)})), {1.5, 3, 5}, 1e-15);
    ExpectNear(E(Call(L"Smooth", {x, S(0), S(2)})), {2, 2.5, 3, 4, 4.5, 5}, 1e-15);
    EXPECT_TRUE(Fails(L"Smooth", {x, S(0), S(4)}));
    EXPECT_TRUE(Fails(L"Smooth", {x, S(1)}));
    const Matrix y = V({0, 1, 4, 9});
    ExpectNear(E(Call(L"YDiff", {y})), {1, 3, 5}, 0);
    ExpectNear(E(Call(L"YDiff", {y, V({0, 0.5, 1, 2})})), {2, 6, 5}, 0);
    ExpectNear(E(Call(L"YDiff", {y, V({0, 0, 1, 2})})), {0, 3, 5}, 0);
    ExpectNear(E(Call(L"YDiff", {y, S(0.5)})), {2, 6, 10}, 0);
    EXPECT_TRUE(Fails(L"YDiff", {y, S(-1)}));
    EXPECT_TRUE(Fails(L"YDiff", {y, V({0, 1})}));
    ExpectNear(E(Call(L"YInt", {y})), {0, 1, 5, 14}, 0);
    const Matrix steps = V({0, 0.5, 0.5, 2});
    const auto back = E(Call(L"YDiff", {Call(L"YInt", {y, steps}), steps}));
    ExpectNear(back, {1, 0, 9}, 1e-15); // y[1..], 0 where x stands still
}

TEST(ExFunctionCurves, PolynomialsAndTheRegressionLine) {
    ExpectNear(E(Call(L"RPoly", {V({2, -3, 1}), V({0, 1, 2})})), {1, 0, 3}, 0);
    EXPECT_EQ(Scalar(L"RPoly", {S(4), S(10)}), 4);
    ExpectNear(E(Call(L"RPolyReg", {V({1, 3, 5, 7}), S(1)})), {2, 1}, 1e-12);
    const Matrix line = Call(L"RPolyReg", {V({0, 1, 2}), S(1), V({1, 1, 4})});
    ExpectNear(E(line), {1.5, 0.5}, 1e-12);
    ExpectNear(E(Call(L"RPoly", {line, V({0, 2})})), {0.5, 3.5}, 1e-12);
    EXPECT_TRUE(Fails(L"RPolyReg", {V({1, 2, 3}), S(2)}));
    EXPECT_TRUE(Fails(L"RPolyReg", {V({1, 2, 3}), S(1), V({1, 2})}));
    EXPECT_TRUE(Fails(L"RPolyReg", {V({2, 2}), S(1), V({1, 2})}));
}

TEST(ExFunctionCurves, SpectralPeaksHighestFirst) {
    const Matrix a = V({0, 1, 3, 1, 0, 0, 2, 4, 2, 0});
    const Matrix peaks = Call(L"SPPEAKS", {a, S(0), S(0), S(10)});
    ASSERT_EQ(peaks.Rows(), 2);
    ASSERT_EQ(peaks.Cols(), 2);
    EXPECT_EQ(peaks(0, 0), 70);
    EXPECT_EQ(peaks(0, 1), 4);
    EXPECT_EQ(peaks(1, 0), 20);
    ExpectNear(E(Call(L"SPPEAKS", {a, S(1)})), {7, 4}, 0);
    ExpectNear(E(Call(L"SPPEAKS", {a, S(0), S(3.5)})), {7, 4}, 0);
    // An asymmetric peak moves toward its higher neighbour and rises above the sample.
    const Matrix skew = Call(L"SPPEAKS", {V({0, 2, 4, 3, 0})});
    EXPECT_NEAR(skew(0), 2 + 0.5 * (2 - 3) / (2 - 8 + 3.0), 1e-15);
    EXPECT_GT(skew(1), 4);
    EXPECT_TRUE(Fails(L"SPPEAKS", {V({1, 2, 3})}));
}

TEST(ExFunctionCurves, PeriodogramTestTellsASineFromNoise) {
    for (int n : {64, 512}) {
        auto x = Noise(n, 21, 0.5);
        for (int k = 0; k < n; ++k) x[std::size_t(k)] += std::sin(2 * std::numbers::pi * 5 * k / n);
        const auto r = E(Call(L"PGTEST", {V(x)}));
        ASSERT_EQ(r.size(), 3u);
        EXPECT_GT(r[0], 0.3) << n;
        EXPECT_LT(r[1], 1e-6) << n;
        EXPECT_EQ(r[2], 5) << n;
        const auto noise = E(Call(L"PGTEST", {V(Noise(n, 3))}));
        EXPECT_GT(noise[1], 0.05) << n;
        EXPECT_LT(noise[0], 0.3) << n;
    }
    // Two equal ordinates: g = 1/2, and only the first term, 2 (1 - g), is below 1 / g.
    EXPECT_NEAR(E(Call(L"PGTEST", {V({1, 0, 0, 0, 0})}))[1], 1, 1e-12);
    EXPECT_TRUE(Fails(L"PGTEST", {V({1, 2, 3, 4})}));
    EXPECT_TRUE(Fails(L"PGTEST", {V({1, 2, 3, 4, 5}), S(1)}));
    EXPECT_TRUE(Fails(L"PGTEST", {}));
}
