#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "signal/sequence_wave.h"

namespace {

constexpr double kRate = 8000;

SSection Section(int shape, long long length, std::vector<double> args) {
    SSection s;
    s.shape = shape;
    s.length = length;
    s.args = std::move(args);
    return s;
}

int ZeroCrossings(const std::vector<float>& x) {
    int n = 0;
    for (size_t i = 1; i < x.size(); ++i)
        if ((x[i - 1] < 0) != (x[i] < 0)) ++n;
    return n;
}

double Rms(const std::vector<float>& x, size_t from = 0) {
    double sum = 0;
    for (size_t i = from; i < x.size(); ++i) sum += double(x[i]) * x[i];
    return std::sqrt(sum / double(x.size() - from));
}

TEST(Generator, OscillatorsHaveTheirFrequencyAmplitudeAndShape) {
    const auto tone = CSequenceWave::Generate(Section(SHAPE_TONE, 8000, {100, 0.5, 90}), kRate);
    EXPECT_FLOAT_EQ(tone[0], 0.5f);     // starts at 90 degrees
    EXPECT_NEAR(tone[40], -0.5f, 1e-6); // half a period later
    EXPECT_NEAR(tone[20], 0.0f, 1e-6);
    EXPECT_EQ(ZeroCrossings(tone), 200);
    const auto rect = CSequenceWave::Generate(Section(SHAPE_RECTANGLE, 800, {10, 0.25, 0.25}), kRate);
    EXPECT_EQ(std::count(rect.begin(), rect.end(), 0.25f), 200); // a quarter of the period up
    EXPECT_EQ(std::count(rect.begin(), rect.end(), -0.25f), 600);
    const auto tri = CSequenceWave::Generate(Section(SHAPE_TRIANGLE, 800, {10, 1.0}), kRate);
    EXPECT_FLOAT_EQ(tri[0], -1.0f);
    EXPECT_FLOAT_EQ(tri[400], 1.0f);
    EXPECT_NEAR(tri[200], 0.0f, 1e-6);
    const auto value = CSequenceWave::Generate(Section(SHAPE_VALUE, 5, {-0.75}), kRate);
    EXPECT_EQ(value, std::vector<float>(5, -0.75f));
    const auto pause = CSequenceWave::Generate(Section(SHAPE_PAUSE, 3, {}), kRate);
    EXPECT_EQ(pause, std::vector<float>(3, 0.0f));
}

TEST(Generator, NoiseStaysInBoundsAndRepeatsByItsSeed) {
    const auto a = CSequenceWave::Generate(Section(SHAPE_NOISE, 4000, {0.5, 0, 7}), kRate);
    const auto b = CSequenceWave::Generate(Section(SHAPE_NOISE, 4000, {0.5, 0, 7}), kRate);
    const auto c = CSequenceWave::Generate(Section(SHAPE_NOISE, 4000, {0.5, 0, 8}), kRate);
    EXPECT_EQ(a, b);
    EXPECT_NE(a, c);
    EXPECT_LE(*std::max_element(a.begin(), a.end()), 0.5f);
    EXPECT_GE(*std::min_element(a.begin(), a.end()), -0.5f);
    EXPECT_NEAR(Rms(a), 0.5 / std::sqrt(3.0), 0.01);
    const auto normal = CSequenceWave::Generate(Section(SHAPE_NOISE, 8000, {1.0, 1, 3}), kRate);
    EXPECT_NEAR(Rms(normal), 1.0 / 3.0, 0.01);
}

TEST(Generator, LpSynthesisRingsWithItsPoles) {
    // One pulse, one pole at 0.5: 1, 0.5, 0.25 ...
    const auto y = CSequenceWave::Generate(Section(SHAPE_LPSYN, 6, {1, 2.0, -0.5}), kRate);
    EXPECT_FLOAT_EQ(y[0], 2.0f);
    EXPECT_FLOAT_EQ(y[1], 1.0f);
    EXPECT_FLOAT_EQ(y[5], 2.0f / 32.0f);
    // Pulses at 1000 Hz come every 8 frames.
    const auto train = CSequenceWave::Generate(Section(SHAPE_LPSYN, 40, {1000, 1.0}), kRate);
    EXPECT_EQ(std::count(train.begin(), train.end(), 1.0f), 5);
    EXPECT_EQ(train[8], 1.0f);
}

TEST(Generator, TransformationsApplyInOrder) {
    SSection s = Section(SHAPE_VALUE, 101, {1.0});
    STransform env;
    env.type = TRANSFORM_ENVELOPE;
    env.args = {0, 0.0, 100, 1.0};
    s.transforms.push_back(env);
    auto ramp = CSequenceWave::Generate(s, kRate);
    EXPECT_FLOAT_EQ(ramp[50], 0.5f);
    EXPECT_FLOAT_EQ(ramp[100], 1.0f);
    s.transforms[0].mode = 1; // steps
    s.transforms[0].args = {0, 0.25, 50, 1.0};
    auto steps = CSequenceWave::Generate(s, kRate);
    EXPECT_FLOAT_EQ(steps[49], 0.25f);
    EXPECT_FLOAT_EQ(steps[50], 1.0f);
    s.transforms[0].mode = 2; // exponential: the geometric middle
    s.transforms[0].args = {0, 0.01, 100, 1.0};
    auto expo = CSequenceWave::Generate(s, kRate);
    EXPECT_NEAR(expo[50], 0.1f, 1e-5);

    // A low pass lets 100 Hz through and takes 3 kHz down.
    STransform lowPass;
    lowPass.type = TRANSFORM_FILTER;
    lowPass.args = {300, 0.7071};
    SSection low = Section(SHAPE_TONE, 8000, {100, 1.0});
    low.transforms = {lowPass};
    SSection high = Section(SHAPE_TONE, 8000, {3000, 1.0});
    high.transforms = {lowPass};
    EXPECT_GT(Rms(CSequenceWave::Generate(low, kRate), 1000), 0.65);
    EXPECT_LT(Rms(CSequenceWave::Generate(high, kRate), 1000), 0.02);
    high.transforms[0].mode = 1; // high pass now
    EXPECT_GT(Rms(CSequenceWave::Generate(high, kRate), 1000), 0.65);

    // Frequency modulation moves the zero crossings, amplitude modulation the level.
    SSection fm = Section(SHAPE_TONE, 8000, {100, 1.0});
    STransform mod;
    mod.type = TRANSFORM_FMOD;
    mod.mode = MOD_RECTANGLE;
    mod.args = {1, 100}; // 200 Hz for half a second, 0 Hz for the other half
    fm.transforms = {mod};
    EXPECT_EQ(ZeroCrossings(CSequenceWave::Generate(fm, kRate)), 200);
    SSection am = Section(SHAPE_VALUE, 8, {1.0});
    STransform gain;
    gain.type = TRANSFORM_AMOD;
    gain.mode = MOD_SAMPLES;
    gain.args = {1}; // decibels
    gain.samples = {0, -20, -40};
    am.transforms = {gain};
    const auto levels = CSequenceWave::Generate(am, kRate);
    EXPECT_FLOAT_EQ(levels[1], 0.1f);
    EXPECT_NEAR(levels[2], 0.01f, 1e-7);
    EXPECT_FLOAT_EQ(levels[5], 1.0f); // beyond the modulator: 0 dB
}

TEST(Generator, SequencePlacesMixesNormalisesAndReverses) {
    CSequenceWave wave(2, kRate);
    SSection a = Section(SHAPE_VALUE, 4, {0.5});
    a.begin = 2;
    wave.AddSection(a);
    SSection b = Section(SHAPE_VALUE, 4, {0.25});
    b.begin = 4;
    b.channel = 2;
    b.mix = true;
    wave.AddSection(b);
    SSection c;
    c.shape = SHAPE_TABLE;
    c.source = {0.1f, 0.2f, 0.4f};
    c.length = 3;
    c.begin = 8;
    c.channel = 1;
    c.normalize = true;
    c.reverse = true;
    wave.AddSection(c);
    EXPECT_EQ(wave.GetFrames(), 11);
    std::vector<float> frames(22, -9.0f);
    ASSERT_EQ(wave.Transfer(SFIO_READ | CODING_FLOAT, 0, 11, frames.data()), 11);
    const std::vector<float> expected = {0,     0, 0,     0, 0.5f,  0.5f, 0.5f, 0.5f, 0.5f, 0.75f, 0.5f,
                                         0.75f, 0, 0.25f, 0, 0.25f, 1.0f, 0,    0.5f, 0,    0.25f, 0};
    EXPECT_EQ(frames, expected);
    // Rendered once, read the same; writing is refused.
    wave.Render();
    std::vector<int16_t> pcm(4);
    ASSERT_EQ(wave.Transfer(SFIO_READ | CODING_PCM16, 4, 2, pcm.data()), 2);
    EXPECT_EQ(pcm[1], 24576);
    EXPECT_EQ(wave.Transfer(SFIO_READWRITE | CODING_PCM16, 4, 2, pcm.data()), -100);
}

} // namespace
