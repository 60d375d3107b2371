#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "signal/sample_coding.h"

namespace {

// One sample through the converter, as raw bytes on both sides.
template <typename Out, typename In> Out One(int from, In in, int to) {
    Out out{};
    ConvertSamples(from, &in, 0, 1, to, &out, 0, 1, 1);
    return out;
}

int32_t From24(const uint8_t* p) {
    return static_cast<int32_t>(uint32_t(p[0]) << 8 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 24) >> 8;
}

int32_t To24(int from, const void* in) {
    uint8_t out[3];
    ConvertSamples(from, in, 0, 1, CODING_PCM24, out, 0, 1, 1);
    return From24(out);
}

TEST(SampleCoding, EightBitIsUnsignedAroundHalfScale) {
    EXPECT_EQ((One<int16_t, uint8_t>(CODING_PCM8, 0, CODING_PCM16)), -32768);
    EXPECT_EQ((One<int16_t, uint8_t>(CODING_PCM8, 255, CODING_PCM16)), 127 * 256);
    EXPECT_EQ((One<int32_t, uint8_t>(CODING_PCM8, 129, CODING_PCM32)), 1 << 24);
    EXPECT_FLOAT_EQ((One<float, uint8_t>(CODING_PCM8, 64, CODING_FLOAT)), -0.5f);
    const uint8_t u = 200;
    EXPECT_EQ(To24(CODING_PCM8, &u), 72 << 16);
    EXPECT_EQ((One<uint8_t, int16_t>(CODING_PCM16, -32768, CODING_PCM8)), 0);
    EXPECT_EQ((One<uint8_t, int16_t>(CODING_PCM16, 0x7F00, CODING_PCM8)), 255);
    EXPECT_EQ((One<uint8_t, int32_t>(CODING_PCM32, -1, CODING_PCM8)), 127); // high byte -1, not rounded
}

TEST(SampleCoding, WiderIntegersKeepTheirTopBytes) {
    EXPECT_EQ((One<int32_t, int16_t>(CODING_PCM16, -2, CODING_PCM32)), -2 * 65536);
    const int16_t v = 0x1234;
    EXPECT_EQ(To24(CODING_PCM16, &v), 0x123400);
    const uint8_t p24[3] = {0xFF, 0x34, 0x92}; // 0x9234FF, negative
    int16_t s16 = 0;
    ConvertSamples(CODING_PCM24, p24, 0, 1, CODING_PCM16, &s16, 0, 1, 1);
    EXPECT_EQ(s16, static_cast<int16_t>(0x9234));
    uint8_t u8 = 0;
    ConvertSamples(CODING_PCM24, p24, 0, 1, CODING_PCM8, &u8, 0, 1, 1);
    EXPECT_EQ(u8, 0x92 - 0x80); // high byte -110, plus 128
    int32_t s32 = 0;
    ConvertSamples(CODING_PCM24, p24, 0, 1, CODING_PCM32, &s32, 0, 1, 1);
    EXPECT_EQ(static_cast<uint32_t>(s32), 0x9234FF00u);
    const int32_t w = static_cast<int32_t>(0x8123457Fu);
    EXPECT_EQ(To24(CODING_PCM32, &w), static_cast<int32_t>(0xFF812345u));
    EXPECT_EQ((One<int16_t, int32_t>(CODING_PCM32, w, CODING_PCM16)), static_cast<int16_t>(0x8123));
}

TEST(SampleCoding, Pcm32ReachesFloatThroughTwentyFourBitsOnly) {
    // The low byte never reaches a float, in either direction.
    EXPECT_EQ((One<float, int32_t>(CODING_PCM32, 0x000000FF, CODING_FLOAT)), 0.0f);
    EXPECT_FLOAT_EQ((One<float, int32_t>(CODING_PCM32, 0x00000100, CODING_FLOAT)), 1.0f / 8388608.0f);
    EXPECT_EQ((One<int32_t, float>(CODING_FLOAT, 0.5f, CODING_PCM32)), 0x40000000);
    EXPECT_EQ((One<int32_t, float>(CODING_FLOAT, 1.0f, CODING_PCM32)), 0x7FFFFF00);
    EXPECT_EQ((One<int32_t, float>(CODING_FLOAT, 3.0f, CODING_PCM32)), 0x7FFFFF00);
    EXPECT_EQ(static_cast<uint32_t>(One<int32_t, float>(CODING_FLOAT, -1.0f, CODING_PCM32)), 0x80000000u);
    EXPECT_EQ(static_cast<uint32_t>(One<int32_t, float>(CODING_FLOAT, -0.5f, CODING_PCM32)), 0xC0000000u);
    EXPECT_EQ(static_cast<uint32_t>(One<int32_t, float>(CODING_FLOAT, -1.5f, CODING_PCM32)), 0x80000000u);
    const float f = 0.25f;
    EXPECT_EQ(To24(CODING_FLOAT, &f), 0x200000);
    const float full = 1.0f;
    EXPECT_EQ(To24(CODING_FLOAT, &full), 0x7FFFFF);
    const float below = -2.0f;
    EXPECT_EQ(To24(CODING_FLOAT, &below), -8388608);
}

TEST(SampleCoding, FloatToIntegersTruncatesTowardZeroAndClips) {
    EXPECT_EQ((One<int16_t, float>(CODING_FLOAT, 1.0f, CODING_PCM16)), 32767);
    EXPECT_EQ((One<int16_t, float>(CODING_FLOAT, -1.0f, CODING_PCM16)), -32768);
    EXPECT_EQ((One<int16_t, float>(CODING_FLOAT, -1.25f, CODING_PCM16)), -32768);
    EXPECT_EQ((One<int16_t, float>(CODING_FLOAT, 0.99999f, CODING_PCM16)), 32767 - 0); // trunc(32767.67)
    EXPECT_EQ((One<int16_t, float>(CODING_FLOAT, -0.00004f, CODING_PCM16)), -1);       // -1.31 -> -1
    EXPECT_EQ((One<int16_t, float>(CODING_FLOAT, 0.00004f, CODING_PCM16)), 1);
    EXPECT_EQ((One<int16_t, float>(CODING_FLOAT, 0.00002f, CODING_PCM16)), 0);
    EXPECT_EQ((One<uint8_t, float>(CODING_FLOAT, 1.0f, CODING_PCM8)), 255);
    EXPECT_EQ((One<uint8_t, float>(CODING_FLOAT, -1.0f, CODING_PCM8)), 0);
    EXPECT_EQ((One<uint8_t, float>(CODING_FLOAT, -0.01f, CODING_PCM8)), 127); // trunc(-1.28) = -1
    EXPECT_EQ((One<uint8_t, float>(CODING_FLOAT, -5.0f, CODING_PCM8)), 0);
    EXPECT_EQ((One<float, int16_t>(CODING_PCM16, -32768, CODING_FLOAT)), -1.0f);
    EXPECT_FLOAT_EQ((One<float, int16_t>(CODING_PCM16, 16384, CODING_FLOAT)), 0.5f);
}

TEST(SampleCoding, EveryPairRoundTripsThroughFloatAtItsOwnResolution) {
    const int codings[] = {CODING_PCM8, CODING_PCM16, CODING_PCM24, CODING_PCM32};
    const float values[] = {0.0f, 0.5f, -0.5f, 0.25f, -0.75f};
    for (int coding : codings) {
        for (float v : values) {
            uint8_t raw[4] = {};
            ConvertSamples(CODING_FLOAT, &v, 0, 1, coding, raw, 0, 1, 1);
            float back = 9;
            ConvertSamples(coding, raw, 0, 1, CODING_FLOAT, &back, 0, 1, 1);
            EXPECT_EQ(back, v) << CodingName(coding) << " " << v;
        }
    }
}

TEST(SampleCoding, StridesWalkOneChannelOfFrames) {
    // Three channels of PCM24 frames: pick the middle channel into PCM16.
    std::vector<uint8_t> frames(4 * 3 * 3);
    for (int f = 0; f < 4; ++f)
        for (int c = 0; c < 3; ++c) {
            const int32_t v = (f * 10 + c) << 8;
            std::memcpy(&frames[(f * 3 + c) * 3], &v, 3);
        }
    int16_t out[4] = {};
    ConvertSamples(CODING_PCM24, frames.data(), 1, 3, CODING_PCM16, out, 0, 1, 4);
    EXPECT_EQ(out[0], 1);
    EXPECT_EQ(out[3], 31);
    // And back into channel 2 of stereo floats.
    float stereo[8] = {};
    ConvertSamples(CODING_PCM16, out, 0, 1, CODING_FLOAT, stereo, 1, 2, 4);
    EXPECT_EQ(stereo[0], 0.0f);
    EXPECT_FLOAT_EQ(stereo[7], 31.0f / 32768.0f);
}

TEST(ChannelSet, NumbersBelowOneMeanAllAndAboveTheLimitFail) {
    CChannelSet set;
    EXPECT_TRUE(set.Add(2));
    EXPECT_TRUE(set.Add(128));
    EXPECT_FALSE(set.Add(129));
    EXPECT_EQ(set.Next(0, 200), 2);
    EXPECT_EQ(set.Next(2, 200), 128);
    EXPECT_EQ(set.Next(2, 100), 0);
    EXPECT_EQ(set.Count(128), 2);
    EXPECT_TRUE(set.Add(0));
    EXPECT_TRUE(set.All());
    EXPECT_EQ(set.Count(5), 5);
    EXPECT_EQ(CodingFromName(L"float"), CODING_FLOAT);
    EXPECT_EQ(CodingFromName(L"3"), CODING_PCM24);
    EXPECT_EQ(CodingFromName(L"5"), 0);
}

} // namespace
