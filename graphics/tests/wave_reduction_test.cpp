// The waveform reduction, column by column against a direct computation on
// real speech, its edge cases, and the summaries that must not change a
// single column of what reading every sample gives.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "graphics/tests/real_signal.h"
#include "graphics/wave_data_set.h"
#include "graphics/wave_reduction.h"

namespace {

struct SColumns {
    std::vector<float> lo, hi;
};

// What the reduction must give when there are more samples than columns: column m
// holds the samples up to and including the one at which the running share of
// columns reaches m + 1/2, i.e. [E(m-1), E(m)) with E(m) = floor((m + 0.5) t / c) + 1.
SColumns Direct(const float* s, long long t, int c) {
    SColumns out;
    long long begin = 0;
    for (int m = 0; m < c; ++m) {
        long long end = static_cast<long long>(std::floor((m + 0.5) * double(t) / c)) + 1;
        end = std::min(end, t);
        float lo = s[begin], hi = s[begin];
        for (long long i = begin; i < end; ++i) {
            lo = std::min(lo, s[i]);
            hi = std::max(hi, s[i]);
        }
        out.lo.push_back(lo);
        out.hi.push_back(hi);
        begin = end;
    }
    return out;
}

SColumns Columns(const CWaveDataSet& data) {
    SColumns out;
    data.CopyColumns(out.lo, out.hi);
    return out;
}

void ExpectSame(const SColumns& got, const SColumns& want, const char* what) {
    ASSERT_EQ(got.lo.size(), want.lo.size()) << what;
    for (size_t i = 0; i < want.lo.size(); ++i) {
        ASSERT_EQ(got.lo[i], want.lo[i]) << what << ": min of column " << i;
        ASSERT_EQ(got.hi[i], want.hi[i]) << what << ": max of column " << i;
    }
}

// Feeds a data set the way a loader does: blocks of `block` samples.
void Feed(CWaveDataSet& data, const std::vector<float>& s, long long block, int columns, double rate = 1) {
    data.Prepare(static_cast<long long>(s.size()), block, rate, 0, columns);
    for (size_t at = 0; at < s.size(); at += static_cast<size_t>(block))
        data.AddBlock(s.data() + at, std::min<long long>(block, static_cast<long long>(s.size() - at)));
    data.Complete();
}

class SpeechReduction : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        s_samples = ReadFirstChannel(SpeechFile(), &s_rate);
        // An odd count against even column counts: no boundary falls on a sample exactly.
        if (!s_samples.empty() && s_samples.size() % 2 == 0) s_samples.pop_back();
    }
    void SetUp() override {
        if (s_samples.size() < 20000) GTEST_SKIP() << "espeak-ng did not speak";
    }
    static std::vector<float> s_samples;
    static double s_rate;
};
std::vector<float> SpeechReduction::s_samples;
double SpeechReduction::s_rate = 0;

TEST_F(SpeechReduction, LiveColumnsMatchTheDirectComputationColumnByColumn) {
    for (int columns : {2, 640, 1000, 1920}) {
        for (long long block : {1LL, 1000LL, 4096LL}) {
            CWaveDataSet data;
            Feed(data, s_samples, block, columns, s_rate);
            const SColumns want = Direct(s_samples.data(), static_cast<long long>(s_samples.size()), columns);
            ExpectSame(Columns(data), want, "live");
        }
    }
}

TEST_F(SpeechReduction, AZoomFromCacheZeroAndFromTheSummariesGivesTheDirectColumns) {
    CWaveDataSet data;
    Feed(data, s_samples, 4096, 800, 1.0);
    const long long first = 12345, end = first + 40001; // an odd part of the signal
    const SColumns want = Direct(s_samples.data() + first, end - first, 800);
    ASSERT_TRUE(data.Recalculate(800, double(first), double(end), false));
    ExpectSame(Columns(data), want, "cache 0");
    ASSERT_TRUE(data.Recalculate(800, double(first), double(end), true));
    ExpectSame(Columns(data), want, "summaries");
}

TEST_F(SpeechReduction, TheSummariesNeverChangeAColumnWhateverTheViewAndWidth) {
    // A longer signal, so that the coarse pairs of 65,536 samples come into play.
    std::vector<float> s;
    while (s.size() < 700000) s.insert(s.end(), s_samples.begin(), s_samples.end());
    CWaveDataSet data;
    Feed(data, s, 4096, 512, 1.0);
    std::mt19937 random(7);
    const long long n = static_cast<long long>(s.size());
    for (int trial = 0; trial < 60; ++trial) {
        const long long a = std::uniform_int_distribution<long long>(0, n - 2)(random);
        const long long b = std::uniform_int_distribution<long long>(a + 1, n)(random);
        const int c = std::uniform_int_distribution<int>(2, 2500)(random);
        ASSERT_TRUE(data.Recalculate(c, double(a), double(b), false));
        const SColumns plain = Columns(data);
        ASSERT_TRUE(data.Recalculate(c, double(a), double(b), true));
        ExpectSame(Columns(data), plain, "summaries against cache 0");
    }
}

TEST(WaveReduction, FewerSamplesThanColumnsPutsEachSampleInColumnsOfItsOwn) {
    const std::vector<float> s = {0.1f, -0.4f, 0.9f, 0.3f, -0.8f, 0.0f, 0.5f, -0.2f, 0.7f, 0.2f};
    CWaveDataSet data;
    Feed(data, s, 64, 25);
    const SColumns got = Columns(data);
    ASSERT_EQ(got.lo.size(), 25u);
    size_t next = 0;
    for (size_t i = 0; i < got.lo.size(); ++i) {
        EXPECT_EQ(got.lo[i], got.hi[i]) << "column " << i;
        // Columns run through the samples in order, none skipped.
        if (next < s.size() && got.lo[i] == s[next]) ++next;
    }
    EXPECT_EQ(next, s.size());
}

TEST(WaveReduction, ABlockThatReachesNoBoundaryCarriesItsExtremesToTheNextColumn) {
    SReduction r;
    CColumnRing ring;
    ring.Resize(10);
    r.Restart(10, 1000);
    std::vector<float> quiet(30, 0.0f);
    quiet[5] = 0.75f; // a peak in the short block
    ReduceBlock(r, ring, quiet.data(), 30, false);
    EXPECT_EQ(ring.Count(), 0) << "30 samples make 0.3 of a column";
    std::vector<float> more(30, 0.0f);
    more[25] = -0.5f; // after the first boundary (at 21): the next column's
    ReduceBlock(r, ring, more.data(), 30, false);
    std::vector<float> lo, hi;
    ring.CopyOrdered(lo, hi);
    ASSERT_EQ(lo.size(), 1u);
    EXPECT_EQ(hi[0], 0.75f);
    EXPECT_EQ(lo[0], 0.0f);
    EXPECT_EQ(r.carry.lo, -0.5f);
}

TEST(WaveReduction, WithoutRollingSamplesAfterTheLastColumnChangeNothingWithRollingTheyScroll) {
    std::vector<float> first(100), second(100);
    for (int i = 0; i < 100; ++i) {
        first[i] = float(i);
        second[i] = float(-i);
    }
    for (bool rolling : {false, true}) {
        SReduction r;
        CColumnRing ring;
        ring.Resize(10);
        ring.m_rolling = rolling;
        r.Restart(10, 100);
        ReduceBlock(r, ring, first.data(), 100, false);
        std::vector<float> before, beforeHi, after, afterHi;
        ring.CopyOrdered(before, beforeHi);
        ASSERT_EQ(before.size(), 10u);
        ReduceBlock(r, ring, second.data(), 100, false);
        ring.CopyOrdered(after, afterHi);
        if (!rolling) {
            EXPECT_EQ(after, before);
            EXPECT_EQ(afterHi, beforeHi);
        } else {
            // The second block's ten columns have scrolled the first block's out; the
            // first of them holds the first block's carried end.
            ASSERT_EQ(after.size(), 10u);
            EXPECT_EQ(afterHi.front(), 99.0f);
            for (size_t i = 1; i < after.size(); ++i) EXPECT_LE(afterHi[i], 0.0f) << i;
            EXPECT_EQ(after.back(), -95.0f) << "the last samples wait in the carry";
        }
    }
}

TEST(WaveReduction, TheWholeRangeAfterAWidthChangeComesFromTheBlockPairs) {
    // Cache 1 holds one pair per input block: with at least as many pairs as
    // columns the whole range is recomputed from them, and each column is the
    // extremes of whole blocks.
    std::vector<float> s(64 * 100);
    for (size_t i = 0; i < s.size(); ++i) s[i] = std::sin(float(i) * 0.01f);
    CWaveDataSet data;
    Feed(data, s, 64, 50);
    ASSERT_EQ(data.Cache1Pairs(), 100);
    ASSERT_TRUE(data.Recalculate(40, 0, 0));
    std::vector<float> pairs(200);
    for (int b = 0; b < 100; ++b) {
        const auto [lo, hi] = std::minmax_element(s.begin() + b * 64, s.begin() + (b + 1) * 64);
        pairs[2 * b] = *lo;
        pairs[2 * b + 1] = *hi;
    }
    const SColumns got = Columns(data);
    ASSERT_EQ(got.lo.size(), 40u);
    for (int m = 0; m < 40; ++m) {
        const long long begin = m == 0 ? 0 : static_cast<long long>(std::floor((m - 0.5) * 100.0 / 40)) + 1;
        const long long end = static_cast<long long>(std::floor((m + 0.5) * 100.0 / 40)) + 1;
        float lo = pairs[2 * begin], hi = pairs[2 * begin + 1];
        for (long long p = begin; p < end; ++p) {
            lo = std::min(lo, pairs[2 * p]);
            hi = std::max(hi, pairs[2 * p + 1]);
        }
        EXPECT_EQ(got.lo[m], lo) << m;
        EXPECT_EQ(got.hi[m], hi) << m;
    }
}

TEST(WaveReduction, AWidthChangeWhileDataArrivesIsMadeGoodOnceTheDataIsComplete) {
    std::vector<float> s(10001);
    for (size_t i = 0; i < s.size(); ++i) s[i] = std::sin(float(i) * 0.003f) * float(i % 97) / 97.0f;
    CWaveDataSet data;
    data.Prepare(static_cast<long long>(s.size()), 1000, 1, 0, 300);
    data.AddBlock(s.data(), 5000);
    ASSERT_TRUE(data.Recalculate(200, 0, 0));
    data.AddBlock(s.data() + 5000, 5001);
    data.Complete();
    ASSERT_TRUE(data.NeedsRecalculation(200, 0, 0)) << "the first half is not in the columns";
    ASSERT_TRUE(data.Recalculate(200, 0, 0, true));
    ExpectSame(Columns(data), Direct(s.data(), static_cast<long long>(s.size()), 200),
               "after the width change");
}

TEST(WaveSummary, ExtremesOfAnyRunAgreeWithEverySample) {
    std::vector<float> s(300000);
    std::mt19937 random(3);
    std::normal_distribution<float> noise;
    for (float& v : s) v = noise(random);
    CWaveSummary summary;
    // Arriving in uneven pieces, as blocks do.
    for (size_t at = 0; at < s.size();) {
        const size_t n = std::min<size_t>(s.size() - at, 1 + random() % 5000);
        summary.Add(s.data() + at, static_cast<long long>(n));
        at += n;
    }
    ASSERT_EQ(summary.FinePairs(), s.size() / 256);
    ASSERT_EQ(summary.CoarsePairs(), s.size() / 65536);
    long long rawRead = 0;
    const CWaveSummary::RawReader raw = [&](long long a, long long n, float* out) {
        rawRead += n;
        std::copy(s.begin() + a, s.begin() + a + n, out);
        return n;
    };
    for (int trial = 0; trial < 200; ++trial) {
        const long long a = static_cast<long long>(random() % s.size());
        const long long b = a + 1 + static_cast<long long>(random() % (s.size() - a));
        rawRead = 0;
        const SExtremes e = summary.Extremes(a, b, raw);
        const auto [lo, hi] = std::minmax_element(s.begin() + a, s.begin() + b);
        ASSERT_EQ(e.lo, *lo) << a << ".." << b;
        ASSERT_EQ(e.hi, *hi) << a << ".." << b;
        // Raw samples only at the two ends.
        ASSERT_LE(rawRead, 2 * 255 + (b - a < 512 ? b - a : 0));
    }
}

} // namespace
