// The analysis routines on synthetic signals whose answers are known: pitch, formants,
// excitation instants, segments, the Bark-band model, rotation orders and clustering.
#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <random>
#include <set>

#include "expr/tests/ex_functions_fixture.h"

using namespace fntest;

namespace {

constexpr double kPi = std::numbers::pi;

// A pulse train band-limited to ten harmonics of f0.
std::vector<double> PulseTrain(double f0, double rate, int n) {
    std::vector<double> x(static_cast<std::size_t>(n), 0.0);
    for (int i = 0; i < n; ++i) {
        for (int h = 1; h <= 10; ++h) x[std::size_t(i)] += std::cos(2 * kPi * h * f0 * i / rate);
    }
    return x;
}

// White noise through resonators (frequency, bandwidth) in cascade.
std::vector<double> Resonances(const std::vector<std::pair<double, double>>& formants, double rate, int n) {
    std::mt19937 engine(17);
    std::normal_distribution<double> normal;
    std::vector<double> x(static_cast<std::size_t>(n));
    for (double& v : x) v = normal(engine);
    for (auto [f, b] : formants) {
        const double r = std::exp(-kPi * b / rate), c = 2 * r * std::cos(2 * kPi * f / rate);
        double y1 = 0, y2 = 0;
        for (double& v : x) {
            v += c * y1 - r * r * y2;
            y2 = y1;
            y1 = v;
        }
    }
    return x;
}

Matrix Blobs(std::vector<double>& truth) {
    std::mt19937 engine(3);
    std::normal_distribution<double> normal;
    std::vector<double> xs, ys;
    for (int i = 0; i < 400; ++i) {
        const bool second = i >= 200;
        xs.push_back(second ? 5 + normal(engine) : 0.5 * normal(engine));
        ys.push_back(second ? 5 + normal(engine) : 0.5 * normal(engine));
        truth.push_back(second);
    }
    return Call(L"VMCol", {V(xs), V(ys)});
}

} // namespace

// The tracker itself is tested in numeric/; here the function's arguments:
// their order, defaults for words that are no numbers, and refused values.
TEST(ExFunctionPitch, ArgumentsReachTheTrackerInOrder) {
    const double rate = 16000;
    const auto x = PulseTrain(200, rate, 16000);
    const Matrix track = Call(L"F0AC", {V(x), S(rate), S(75), S(500), S(0.02)});
    ASSERT_EQ(track.Cols(), 2);
    ASSERT_GT(track.Rows(), 10);
    EXPECT_NEAR(track(1, 1) - track(0, 1), 0.02 * rate, 1) << "the fifth argument is the time step";
    EXPECT_NEAR(track(5, 0), 200, 1.0);
    EXPECT_TRUE(Fails(L"F0AC", {V(x), S(0)}));
    EXPECT_TRUE(Fails(L"F0AC", {V(std::vector<double>(500, 1.0)), S(rate)}));
    EXPECT_TRUE(Fails(L"F0AC", {V(x), S(rate), S(300), S(200)}));
    EXPECT_TRUE(Fails(L"F0AC", {V(x), S(rate), S(75), S(500), S(0), S(3), S(1)})) << "one candidate";
    std::vector<Matrix> tooMany(13, S(1));
    tooMany[0] = V(x);
    EXPECT_TRUE(Fails(L"F0AC", tooMany));
}

TEST(ExFunctionFormants, TwoResonancesAreFound) {
    const double rate = 10000;
    const auto x = Resonances({{700, 80}, {1800, 120}}, rate, 4096);
    const Matrix f = Call(L"FORMANTS", {V(x), S(rate), S(8), S(2), S(4500)});
    ASSERT_EQ(f.Rows(), 2);
    ASSERT_EQ(f.Cols(), 2);
    EXPECT_NEAR(f(0, 0), 700, 25);
    EXPECT_NEAR(f(1, 0), 1800, 40);
    EXPECT_GT(f(0, 1), 0);
    EXPECT_LT(f(0, 1), 300);
    EXPECT_LT(f(1, 1), 400);
    // Rows beyond the resonances found stay 0; the frequency range excludes the first.
    const Matrix four = Call(L"FORMANTS", {V(x), S(rate), S(4), S(4), S(4500), S(1000)});
    EXPECT_NEAR(four(0, 0), 1800, 60);
    EXPECT_EQ(four(1, 0), 0);
    EXPECT_EQ(four(3, 1), 0);
    EXPECT_TRUE(Fails(L"FORMANTS", {V(x), S(rate), S(8), S(2), S(4500), S(50), S(1)}));
    EXPECT_TRUE(Fails(L"FORMANTS", {V(x), S(rate), S(8), S(2), S(4500), S(50), S(0), S(1)}));
}

TEST(ExFunctionExcitation, ZeroFrequencyFilterMarksTheImpulses) {
    const double rate = 8000;
    std::vector<double> x(4000, 0.0);
    std::vector<int> impulses;
    // Closures of the glottis excite the vocal tract with negative pulses.
    for (int at = 37; at < 4000; at += 80) {
        x[std::size_t(at)] = -1;
        impulses.push_back(at);
    }
    const auto epochs = E(Call(L"ZFFunc1", {V(x), S(rate), S(0.015), S(2), S(2), S(1)}));
    int matched = 0;
    for (double e : epochs) {
        if (e < 200 || e > 3800) continue;
        const int nearest = *std::min_element(impulses.begin(), impulses.end(), [&](int a, int b) {
            return std::fabs(a - e) < std::fabs(b - e);
        });
        EXPECT_LE(std::fabs(nearest - e), 2) << e;
        ++matched;
    }
    EXPECT_EQ(matched, 45);
    EXPECT_EQ(Call(L"ZFFunc1", {V(x), S(rate), S(0.015), S(2)}).Rows(), 4000);
    EXPECT_TRUE(Fails(L"ZFFunc1", {V(x), S(rate), S(0.015), S(5)}));
    EXPECT_TRUE(Fails(L"ZFFunc1", {V(x), S(rate), S(0), S(2)}));
}

TEST(ExFunctionSegmentation, RunsMergeAcrossGapsAndShortOnesDrop) {
    const Matrix x = V({0, 0, 5, 5, 5, 0, 5, 5, 0, 0, 0, 0, 5, 0});
    ExpectNear(E(Call(L"ASeg1", {x, S(1), S(2), S(1)})), {2, 7}, 0);
    ExpectNear(E(Call(L"ASeg1", {x, S(1), S(2), S(1), S(0.01)})), {0.02, 0.07}, 1e-15);
    const Matrix apart = Call(L"ASeg1", {x, S(1), S(1), S(0)});
    ASSERT_EQ(apart.Rows(), 3);
    ExpectNear(E(apart), {2, 6, 12, 4, 7, 12}, 0);
    EXPECT_TRUE(Fails(L"ASeg1", {x, S(6), S(1), S(0)}));
    EXPECT_TRUE(Fails(L"ASeg1", {x, S(1), S(1), S(0), S(1), S(1)}));
}

TEST(ExFunctionHearing, BandPowersSpreadingAndLoudness) {
    const Matrix flat = V(std::vector<double>(81, 1.0));
    const auto bands = E(Call(L"MBBM1", {flat, S(100)}));
    const double top = Scalar(L"Hz2Bark", {S(8000)});
    EXPECT_EQ(bands.size(), std::size_t(std::ceil(top)));
    EXPECT_NEAR(std::accumulate(bands.begin(), bands.end(), 0.0), 81, 1e-12);
    EXPECT_EQ(bands[0], 2);            // 0 and 100 Hz lie below 1 Bark
    EXPECT_GT(bands.back(), bands[0]); // the bands widen in Hz
    EXPECT_EQ(Call(L"MBBM1", {flat, S(100), S(2)}).Rows(), int(std::ceil(top / 2)));
    EXPECT_TRUE(Fails(L"MBBM1", {flat}));

    std::vector<double> one(12, 0.0);
    one[5] = 1;
    const auto excitation = E(Call(L"MBBM2", {V(one)}));
    EXPECT_NEAR(excitation[5], 1, 0.01);
    EXPECT_LT(excitation[6], excitation[5]);
    EXPECT_GT(excitation[6], excitation[4]); // masking reaches further upward
    EXPECT_GT(excitation[4], excitation[3]);

    const auto loud = E(Call(L"MBBM3", {V({0, 1, 1e10, 1e11})}));
    EXPECT_EQ(loud[0], 0);
    EXPECT_EQ(loud[1], 0);
    EXPECT_NEAR(loud[3] / loud[2], std::pow(10.0, 0.23), 0.01); // +10 dB: about 1.7 times as loud
    EXPECT_TRUE(Fails(L"MBBM3", {}));
}

TEST(ExFunctionOrders, SpeedFromTicks) {
    std::vector<double> ticks;
    for (int t = 0; t <= 1000; t += 100) ticks.push_back(t);
    EXPECT_EQ(E(Call(L"Ticks2F1", {V(ticks), S(10000), S(500)})), std::vector<double>(500, 100.0));
    const auto f = E(Call(L"Ticks2F1", {V({0, 100, 180}), S(10000), S(200)}));
    EXPECT_EQ(f[0], 100);
    EXPECT_NEAR(f[95], 112.5, 1e-12);
    EXPECT_EQ(f[150], 125);
    EXPECT_EQ(Call(L"Ticks2F1", {V({0, 100, 180}), S(10000), S(200), S(2), S(1)})(0), 3000);
    EXPECT_TRUE(Fails(L"Ticks2F1", {V({0, 100, 100}), S(10000), S(200)}));
}

TEST(ExFunctionOrders, OrderSpectraFromSpectrumAndSignal) {
    std::vector<double> a(201, 0.0);
    a[50] = 2;
    a[75] = 0.5;
    a[100] = 1;
    ExpectNear(E(Call(L"ASp2OSp", {V(a), S(1), S(25)})), {0, 2, 0.5, 1, 0, 0, 0, 0}, 0);
    ExpectNear(E(Call(L"ASp2OSp", {V(a), S(1), S(25), S(2), S(0.5), S(1)})), {0, 0, 0, 2}, 0);
    // Off the nominal speed the peak is still caught within half an order, but not at the
    // order itself.
    EXPECT_EQ(E(Call(L"ASp2OSp", {V(a), S(1), S(24.5)}))[1], 2);
    EXPECT_EQ(E(Call(L"ASp2OSp", {V(a), S(1), S(24.5), S(0), S(1), S(1)}))[1], 0);

    const double rate = 2000;
    const int n = 4000;
    std::vector<double> constant(static_cast<std::size_t>(n), 20.0), ramp(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) ramp[std::size_t(i)] = 15 + 15.0 * i / n;
    for (const std::vector<double>& f1 : {constant, ramp}) {
        std::vector<double> x(static_cast<std::size_t>(n));
        double revs = 0;
        for (int i = 0; i < n; ++i) {
            if (i > 0) revs += 0.5 * (f1[std::size_t(i) - 1] + f1[std::size_t(i)]) / rate;
            x[std::size_t(i)] = std::sin(2 * kPi * 3 * revs) + 0.5 * std::sin(2 * kPi * 5 * revs);
        }
        const auto orders = E(Call(L"Sig2OSp", {V(x), S(rate), V(f1), S(8)}));
        ASSERT_EQ(orders.size(), 8u);
        EXPECT_NEAR(orders[2], 1, 0.02);
        EXPECT_NEAR(orders[4], 0.5, 0.01);
        EXPECT_LT(orders[1], 0.01);
        EXPECT_LT(orders[6], 0.01);
    }
    EXPECT_TRUE(Fails(L"Sig2OSp", {V(std::vector<double>(100, 1.0)), S(rate), V({1, 2})}));
}

TEST(ExFunctionOrders, TrackingOneOrderThroughAnAmplitudeRamp) {
    const double rate = 2000;
    const int n = 8000;
    std::vector<double> x(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        const double revs = 20.0 * i / rate;
        x[std::size_t(i)] = (1 + double(i) / n) * std::sin(2 * kPi * 2 * revs) + std::sin(2 * kPi * 3 * revs);
    }
    const auto amplitude = E(Call(L"OTrack1", {V(x), S(rate), S(20), S(2)}));
    ASSERT_EQ(amplitude.size(), 39u); // frames of 400 samples every 200
    for (std::size_t j = 0; j < amplitude.size(); ++j) {
        const double centre = 200.0 * j + 200;
        EXPECT_NEAR(amplitude[j], 1 + (centre - 0.5) / n, 0.01) << j;
    }
    EXPECT_EQ(Call(L"OTrack1", {V(x), S(rate), S(20), S(2), S(1000), S(1000)}).Rows(), 8);
    EXPECT_TRUE(Fails(L"OTrack1", {V(x), S(rate), S(20), S(0)}));
    EXPECT_TRUE(Fails(L"OTrack1", {V(x), S(rate), S(20), S(2), S(n + 1)}));
}

TEST(ExFunctionMixtures, EmFitsTwoBlobsAndDensityAgrees) {
    std::vector<double> truth;
    const Matrix data = Blobs(truth);
    std::vector<Matrix> args = {data, M(2, 2, {1, 1, 4, 4}), S(0), S(0), S(0), S(0), S(1e-6), S(200), S(1e-9),
                                S(1)};
    Matrix r;
    ASSERT_TRUE(Invoke(L"EM", args, r));
    ASSERT_EQ(r.Rows(), 2);
    EXPECT_GT(r(0), 1);
    for (int i = 1; i <= 5; ++i) EXPECT_TRUE(args[std::size_t(i)].Changed()) << i;
    const Matrix &means = args[1], &member = args[2], &sigma = args[3], &weights = args[4], &post = args[5];
    ASSERT_EQ(means.Rows(), 2);
    EXPECT_NEAR(means(0, 0), 0, 0.15);
    EXPECT_NEAR(means(0, 1), 0, 0.15);
    EXPECT_NEAR(means(1, 0), 5, 0.2);
    EXPECT_NEAR(means(1, 1), 5, 0.2);
    EXPECT_NEAR(sigma(0, 0), 0.25, 0.06);
    EXPECT_NEAR(sigma(1, 1), 1.0, 0.25);
    ExpectNear(E(weights), {0.5, 0.5}, 0.01);
    EXPECT_EQ(E(member), truth);
    ASSERT_EQ(post.Rows(), 400);
    ASSERT_EQ(post.Cols(), 2);
    EXPECT_NEAR(post(17, 0) + post(17, 1), 1, 1e-12);

    // The likelihood of the fitted model, computed again by Density.
    std::vector<Matrix> density = {data, means, sigma, weights, S(0), S(1), S(0)};
    Matrix total;
    ASSERT_TRUE(Invoke(L"Density", density, total));
    EXPECT_NEAR(total.Scalar(), r(1), 1e-6 * std::fabs(r(1)));
    EXPECT_TRUE(density[4].Changed());
    EXPECT_NEAR(Scalar(L"Density", {data, means, sigma, weights, S(0), S(1), S(1)}), r(1) / 400, 1e-6);
    EXPECT_EQ(Call(L"Density", {data, means, sigma, weights, S(0), S(1), S(0), S(0), S(1)}).Rows(), 400);
    EXPECT_TRUE(Fails(L"Density", {data, means, V({1, 2, 3}), weights, S(0), S(1), S(0)}));

    // Full covariances: k blocks of d by d, symmetric.
    std::vector<Matrix> full = {data, M(2, 2, {1, 1, 4, 4}), S(0), S(0), S(0), S(0), S(1e-6), S(200), S(1e-9),
                                S(0)};
    ASSERT_TRUE(Invoke(L"EM", full, r));
    ASSERT_EQ(full[3].Rows(), 4);
    EXPECT_NEAR(full[3](0, 1), full[3](1, 0), 1e-12);
    EXPECT_NEAR(full[3](2, 0), 1.0, 0.25);
    EXPECT_NEAR(full[1](1, 0), 5, 0.2);
}

TEST(ExFunctionClustering, ModelSelectionAndHierarchy) {
    std::vector<double> truth;
    const Matrix data = Blobs(truth);
    std::vector<Matrix> args = {data, S(1), S(4), S(0)};
    Matrix member;
    ASSERT_TRUE(Invoke(L"ModClust", args, member));
    ASSERT_EQ(args[3].Rows(), 4);
    EXPECT_EQ(Scalar(L"IMax", {args[3]}), 1); // two clusters win
    const auto labels = E(member);
    EXPECT_EQ(std::set<double>(labels.begin(), labels.end()).size(), 2u);
    for (std::size_t i = 1; i < labels.size(); ++i)
        EXPECT_EQ(labels[i] == labels[0], truth[i] == truth[0]) << i;
    EXPECT_TRUE(Fails(L"ModClust", {data, S(3), S(2)}));

    for (int method = 0; method <= 3; ++method) {
        auto h = E(Call(L"HAClust", {data, S(2), S(method)}));
        EXPECT_EQ(h, truth) << "method " << method;
    }
    const Matrix line = V({0, 1, 5, 6, 20});
    ExpectNear(E(Call(L"HAClust", {line, S(2), S(0)})), {0, 0, 0, 0, 1}, 0);
    ExpectNear(E(Call(L"HAClust", {line, S(3)})), {0, 0, 1, 1, 2}, 0);
    ExpectNear(E(Call(L"HAClust", {line, S(5)})), {0, 1, 2, 3, 4}, 0);
    EXPECT_TRUE(Fails(L"HAClust", {line, S(6)}));
    EXPECT_TRUE(Fails(L"HAClust", {line, S(2), S(4)}));
}
