// The pitch tracker and the declared parameters it shares with its callers.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "numeric/pitch_tracker.h"

namespace {

std::vector<double> PulseTrain(double f0, double rate, int n) {
    std::vector<double> x(static_cast<std::size_t>(n), 0.0);
    for (int i = 0; i < n; ++i)
        for (int h = 1; h <= 10; ++h) x[std::size_t(i)] += std::cos(2 * std::numbers::pi * h * f0 * i / rate);
    return x;
}

TEST(Parameters, RangesDefaultsAndNames) {
    using numeric::CParameters;
    using numeric::kUnbounded;
    static constexpr numeric::SParameter kDeclared[] = {
        {L"low", L"above 0", 0, true, kUnbounded, false, 1.5},
        {L"count", L"whole, 2 to 8", 2, false, 8, true, 3},
    };
    CParameters values(kDeclared);
    EXPECT_EQ(values[L"LOW"], 1.5);
    EXPECT_EQ(values[1], 3);
    EXPECT_FALSE(values.Set(L"low", 0)) << "an open bound excludes itself";
    EXPECT_TRUE(values.Set(L"low", 1e-9));
    EXPECT_FALSE(values.Set(L"count", 2.5));
    EXPECT_FALSE(values.Set(L"count", 9));
    EXPECT_FALSE(values.Set(L"count", std::nan("")));
    EXPECT_TRUE(values.Set(1, 2));
    EXPECT_FALSE(values.Set(L"nosuch", 1));
    EXPECT_EQ(values.Find(L"Count"), 1);
    EXPECT_EQ(values[1], 2) << "a refused value leaves the last good one";
    EXPECT_TRUE(std::isnan(values[L"nosuch"]));
}

TEST(PitchTracker, PulseTrainsWithinOneHertz) {
    const double rate = 22050;
    numeric::CPitchTracker tracker;
    for (double f0 : {200.0, 137.0}) {
        std::vector<double> track, centre;
        ASSERT_TRUE(tracker.Track(PulseTrain(f0, rate, 13230), rate, track, centre));
        ASSERT_GT(track.size(), 10u);
        for (size_t f = 0; f < track.size(); ++f) EXPECT_NEAR(track[f], f0, 1.0) << "frame " << f;
        // Frames advance by a quarter of the 40 ms window by default.
        EXPECT_NEAR(centre[1] - centre[0], 0.01 * rate, 1);
    }
}

TEST(PitchTracker, SilenceIsUnvoicedAndBadSettingsAreRefused) {
    const double rate = 16000;
    auto x = PulseTrain(200, rate, 16000);
    std::fill(x.begin(), x.begin() + 8000, 0.0);
    numeric::CPitchTracker tracker;
    ASSERT_TRUE(tracker.Values().Set(L"maxPitch", 500));
    ASSERT_TRUE(tracker.Values().Set(L"timeStep", 0.02));
    std::vector<double> track, centre;
    ASSERT_TRUE(tracker.Track(x, rate, track, centre));
    int silent = 0, voiced = 0;
    for (size_t f = 0; f < track.size(); ++f) {
        if (centre[f] < 7500) {
            EXPECT_EQ(track[f], 0) << "frame " << f;
            ++silent;
        } else if (centre[f] > 8500) {
            EXPECT_NEAR(track[f], 200, 1.0) << "frame " << f;
            ++voiced;
        }
    }
    EXPECT_GT(silent, 10);
    EXPECT_GT(voiced, 10);
    EXPECT_NEAR(centre[1] - centre[0], 0.02 * rate, 1);

    EXPECT_FALSE(tracker.Track(x, 0, track, centre)) << "no rate";
    EXPECT_FALSE(tracker.Track(std::vector<double>(500, 1.0), rate, track, centre)) << "shorter than a frame";
    ASSERT_TRUE(tracker.Values().Set(L"minPitch", 600));
    EXPECT_FALSE(tracker.Track(x, rate, track, centre)) << "maxPitch not above minPitch";
    EXPECT_FALSE(tracker.Values().Set(L"candidates", 1));
    EXPECT_FALSE(tracker.Values().Set(L"voicing", -0.1));
}

} // namespace
