#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>

#include "signal/sound_file.h"
#include "signal/stream_wave.h"
#include "signal/tests/sound_test_util.h"

namespace {

using SfioPtr = std::unique_ptr<CSfio, CSfioCloser>;

std::vector<float> ReadAllFloat(CSoundFile& file) {
    CChannelSet all;
    all.SetAll();
    CStreamWave wave(file, 0, file.Frames(), all);
    int error = 0;
    SfioPtr sfio(wave.CreateSfio(SFIO_READ | CODING_FLOAT, error, 333));
    std::vector<float> out;
    if (!sfio) return out;
    const auto* buffer = static_cast<const float*>(sfio->Buffer());
    for (long long n; (n = sfio->Transfer()) > 0;)
        out.insert(out.end(), buffer, buffer + n * file.Channels());
    return out;
}

struct SCodingCase {
    const char* name;
    const char* soxArgs;
    int coding;
    double tolerance; // PCM32 reaches floats through its top 24 bits
};

TEST(SoundFile, ReadsEveryCodingSoxWritesAsSoxReadsIt) {
    const SCodingCase cases[] = {
        {"u8", "-b 8 -e unsigned", CODING_PCM8, 0},
        {"s16", "-b 16 -e signed", CODING_PCM16, 0},
        {"s24", "-b 24 -e signed", CODING_PCM24, 0},
        {"s24p", "-b 24 -e signed -t wavpcm", CODING_PCM24, 0},
        {"s32", "-b 32 -e signed", CODING_PCM32, 1.0 / 8388608.0},
        {"s32p", "-b 32 -e signed -t wavpcm", CODING_PCM32, 1.0 / 8388608.0},
        {"f32", "-b 32 -e floating-point", CODING_FLOAT, 0},
        {"f32x", "-b 32 -e floating-point -c 3", CODING_FLOAT, 0},
        {"s16x", "-b 16 -e signed -c 4", CODING_PCM16, 0},
        {"alaw", "-b 8 -e a-law", CODING_PCM16, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = TestPath(std::string(c.name) + ".wav");
        const bool channelsGiven = std::strstr(c.soxArgs, "-c ") != nullptr;
        ASSERT_TRUE(Sox("-n -r 11025 " + std::string(channelsGiven ? "" : "-c 2 ") + c.soxArgs + " " + path +
                        " synth 0.05 sine 440 sine 1000 sine 3000 sine 5000 gain -1"));
        const std::vector<double> expected = SoxSamples(path);
        CSoundFile file;
        ASSERT_EQ(file.Open(FromUtf8(path), SFKIND_WAVE | SFACCESS_READ), 0);
        EXPECT_EQ(file.Kind(), SFKIND_WAVE);
        EXPECT_EQ(file.Coding(), c.coding);
        EXPECT_EQ(file.Rate(), 11025.0);
        EXPECT_EQ(file.Frames() * file.Channels(), static_cast<long long>(expected.size()));
        const std::vector<float> got = ReadAllFloat(file);
        ASSERT_EQ(got.size(), expected.size());
        double worst = 0;
        for (size_t i = 0; i < got.size(); ++i) worst = std::max(worst, std::fabs(got[i] - expected[i]));
        EXPECT_LE(worst, c.tolerance);
    }
}

TEST(SoundFile, RefusesCodingsItDoesNotRead) {
    const char* refused[] = {"-b 64 -e floating-point", "-b 8 -e u-law", "-b 4 -e ima-adpcm"};
    int i = 0;
    for (const char* args : refused) {
        const std::string path = TestPath("refused" + std::to_string(i++) + ".wav");
        ASSERT_TRUE(Sox("-n -r 8000 -c 1 " + std::string(args) + " " + path + " synth 0.01 sine 440"));
        CSoundFile file;
        EXPECT_EQ(file.Open(FromUtf8(path), SFACCESS_READ), SF_BADFORMAT) << args;
        EXPECT_FALSE(file.IsOpen());
    }
    CSoundFile missing;
    EXPECT_EQ(missing.Open(FromUtf8(TestPath("none.wav")), SFACCESS_READ), SF_CANNOTOPEN);
    EXPECT_EQ(missing.Open(Text(300, L'x'), SFACCESS_READ), SF_CANNOTOPEN);
}

TEST(SoundFile, SampleWidthDecidesBeforeTheTag) {
    const std::string base = TestPath("w24.wav");
    ASSERT_TRUE(Sox("-n -r 8000 -c 1 -b 24 -e signed -t wavpcm " + base + " synth 0.01 sine 440"));
    std::vector<unsigned char> bytes = FileBytes(base);
    ASSERT_EQ(Le32(bytes, 12), 0x20746D66u); // "fmt " right after the head
    auto variant = [&](uint16_t tag, uint16_t bits) {
        std::vector<unsigned char> b = bytes;
        b[20] = tag & 0xFF;
        b[21] = tag >> 8;
        b[34] = bits & 0xFF;
        b[35] = bits >> 8;
        const std::string path = TestPath("variant.wav");
        WriteBytes(path, b);
        CSoundFile file;
        const int answer = file.Open(FromUtf8(path), SFACCESS_READ);
        return answer == 0 ? file.Coding() : answer;
    };
    EXPECT_EQ(variant(1, 20), CODING_PCM24);
    EXPECT_EQ(variant(1, 12), SF_BADFORMAT);
    EXPECT_EQ(variant(77, 24), CODING_PCM24);
    EXPECT_EQ(variant(3890, 32), CODING_FLOAT);
    EXPECT_EQ(variant(3, 16), SF_BADFORMAT);
    EXPECT_EQ(variant(6, 16), SF_BADFORMAT);
    // A rate of 192000 is fine for Wave.
    bytes[24] = 0x00;
    bytes[25] = 0xEE;
    bytes[26] = 0x02;
    EXPECT_EQ(variant(1, 24), CODING_PCM24);
}

TEST(SoundFile, Dir5ChunkGivesSegmentsAndABadOneSpoilsTheFile) {
    CSoundFile file;
    ASSERT_EQ(file.Open(FromUtf8(WaveWithDir5("dir5.wav", 0)), SFACCESS_READ), 0);
    ASSERT_EQ(file.Segments().size(), 1u);
    EXPECT_EQ(file.Segments()[0].name, L"VOWEL.A");
    EXPECT_EQ(file.Segments()[0].begin, 100);
    EXPECT_EQ(file.Segments()[0].end, 300);
    EXPECT_EQ(file.Frames(), 800);
    CSoundFile bad;
    EXPECT_EQ(bad.Open(FromUtf8(WaveWithDir5("dir25.wav", -15)), SFACCESS_READ), SF_BADFORMAT);
}

TEST(SoundFile, WrittenWaveHasItsSizesAndSoxAgrees) {
    const Text path = FromUtf8(FreshPath("written.wav"));
    CSoundFile file;
    ASSERT_EQ(file.Create(path, SFKIND_WAVE | CODING_FLOAT | SFACCESS_WRITE, 2, 44100), 0);
    EXPECT_TRUE(file.Writable());
    std::vector<float> frames(2 * 1000);
    for (size_t i = 0; i < frames.size(); ++i) frames[i] = std::sin(0.01f * float(i)) * 0.5f;
    ASSERT_TRUE(file.WriteFrames(0, 1000, frames.data()));
    EXPECT_EQ(file.Frames(), 1000);
    ASSERT_EQ(file.Close(), 0);
    const std::vector<unsigned char> bytes = FileBytes(ToUtf8(path));
    ASSERT_EQ(bytes.size(), 44u + 8000u);
    EXPECT_EQ(Le32(bytes, 4), bytes.size() - 8);
    EXPECT_EQ(Le32(bytes, 40), 8000u);
    EXPECT_EQ(bytes[20], 3); // IEEE float tag
    const std::vector<double> sox = SoxSamples(ToUtf8(path));
    ASSERT_EQ(sox.size(), frames.size());
    EXPECT_EQ(sox[1999], frames[1999]);
    // Creating it again opens what is there.
    CSoundFile again;
    ASSERT_EQ(again.Create(path, SFKIND_KV5 | CODING_PCM16 | SFACCESS_WRITE, 1, 8000), 0);
    EXPECT_EQ(again.Kind(), SFKIND_WAVE);
    EXPECT_EQ(again.Frames(), 1000);
}

TEST(SoundFile, WaveBeyondTwoGigabytesKeepsTheSizesAsWritten) {
    const std::string path = FreshPath("huge.wav");
    CSoundFile file;
    ASSERT_EQ(file.Create(FromUtf8(path), SFKIND_WAVE | CODING_PCM16 | SFACCESS_WRITE, 1, 8000), 0);
    const int16_t one = 1;
    ASSERT_TRUE(file.WriteFrames(10, 1, &one));
    ASSERT_TRUE(file.WriteFrames(0x40000000LL, 1, &one)); // sparse: past 2 GiB
    ASSERT_EQ(file.Close(), 0);
    std::vector<unsigned char> head(44);
    FILE* in = std::fopen(path.c_str(), "rb");
    ASSERT_EQ(std::fread(head.data(), 1, 44, in), 44u);
    std::fclose(in);
    std::remove(path.c_str());
    EXPECT_EQ(Le32(head, 4), 36u);
    EXPECT_EQ(Le32(head, 40), 0u);
}

TEST(SoundFile, Kv5KeepsRateChannelsSamplesAndDirectory) {
    const std::string path = FreshPath("native.kv5");
    {
        CSoundFile file;
        ASSERT_EQ(file.Create(FromUtf8(path), SFKIND_KV5 | CODING_PCM16 | SFACCESS_WRITE, 3, 22050), 0);
        std::vector<int16_t> frames(3 * 500);
        for (size_t i = 0; i < frames.size(); ++i) frames[i] = static_cast<int16_t>(i * 7 - 3000);
        ASSERT_TRUE(file.WriteFrames(0, 500, frames.data()));
        ASSERT_EQ(file.Close(), 0);
    }
    // Directory: a marker, a begin/end pair and a lone begin.
    std::vector<unsigned char> b = FileBytes(path);
    ASSERT_EQ(b.size(), 64u + 1024u * 16u + 3000u);
    EXPECT_EQ(b[49], 3);
    EXPECT_EQ(b[64 + 1023 * 16], 255);
    auto entry = [&](int index, uint8_t flags, const char* name11, uint32_t at) {
        unsigned char* e = &b[64 + index * 16];
        e[0] = flags;
        std::memcpy(e + 1, name11, 11);
        std::memcpy(e + 12, &at, 4);
    };
    entry(0, 1, "MARK    X  ", 42);
    entry(1, 4, "WORD    1  ", 10);
    entry(2, 0, "OTHER      ", 77);
    entry(3, 4, "LONELY     ", 5);
    entry(4, 4, "WORD    1  ", 250);
    WriteBytes(path, b);
    CSoundFile file;
    ASSERT_EQ(file.Open(FromUtf8(path), SFACCESS_READ), 0);
    EXPECT_EQ(file.Kind(), SFKIND_KV5);
    EXPECT_EQ(file.Rate(), 22050.0);
    EXPECT_EQ(file.Channels(), 3);
    EXPECT_EQ(file.Frames(), 500);
    EXPECT_EQ(file.HeaderLine(), L"22050 3 500 PCM16 KV5 Read");
    ASSERT_EQ(file.Segments().size(), 2u);
    EXPECT_EQ(file.Segments()[0].name, L"MARK.X");
    EXPECT_EQ(file.Segments()[0].end, 42);
    EXPECT_EQ(file.Segments()[1].name, L"WORD.1");
    EXPECT_EQ(file.Segments()[1].begin, 10);
    EXPECT_EQ(file.Segments()[1].end, 250);
    int16_t frame[3];
    ASSERT_EQ(file.ReadFrames(499, 5, frame), 1);
    EXPECT_EQ(frame[2], static_cast<int16_t>(1499 * 7 - 3000));
}

TEST(SoundFile, Kv5RefusesItsRateLimitAndBadDirectories) {
    const std::string path = FreshPath("limit.kv5");
    {
        CSoundFile file;
        ASSERT_EQ(file.Create(FromUtf8(path), SFKIND_KV5 | CODING_PCM8 | SFACCESS_WRITE, 1, 191999), 0);
        EXPECT_EQ(file.Rate(), 191999.0);
    }
    std::vector<unsigned char> b = FileBytes(path);
    const float high = 192000.0f;
    std::memcpy(&b[43], &high, 4);
    WriteBytes(path, b);
    CSoundFile file;
    EXPECT_EQ(file.Open(FromUtf8(path), SFACCESS_READ), SF_BADFORMAT);
    CSoundFile refused;
    EXPECT_EQ(refused.Create(FromUtf8(FreshPath("high.kv5")), SFKIND_KV5 | CODING_PCM16 | SFACCESS_WRITE, 1,
                             192000),
              SF_BADHEADER);
    EXPECT_EQ(
        refused.Create(FromUtf8(FreshPath("f.kv5")), SFKIND_KV5 | CODING_FLOAT | SFACCESS_WRITE, 1, 8000),
        SF_BADHEADER);
    const float fine = 8000.0f;
    std::memcpy(&b[43], &fine, 4);
    b[52] = 20; // entry size must be 16
    WriteBytes(path, b);
    EXPECT_EQ(file.Open(FromUtf8(path), SFACCESS_READ), SF_BADFORMAT);
}

TEST(SoundFile, TruncateKeepsARangeAndBinaryNeedsAGoodDescription) {
    const std::string path = TestPath("cut.raw");
    {
        std::vector<int16_t> raw(2 * 100);
        for (size_t i = 0; i < raw.size(); ++i) raw[i] = static_cast<int16_t>(i);
        FILE* out = std::fopen(path.c_str(), "wb");
        std::fwrite(raw.data(), 2, raw.size(), out);
        std::fclose(out);
    }
    CSoundFile file;
    EXPECT_EQ(file.Open(FromUtf8(path), SFKIND_BINARY | CODING_PCM16, 2, 0), SF_BADFORMAT);
    EXPECT_EQ(file.Open(FromUtf8(path), SFKIND_BINARY | 7, 2, 8000), SF_BADFORMAT);
    ASSERT_EQ(file.Open(FromUtf8(path), SFKIND_BINARY | CODING_PCM16 | SFACCESS_READ, 2, 8000, 4), 0);
    EXPECT_EQ(file.Frames(), 99);
    EXPECT_EQ(file.TruncateFrames(0, 10), 171); // read-only
    EXPECT_EQ(file.Open(FromUtf8(path), SFACCESS_READ), SF_BUSY);
    ASSERT_EQ(file.Close(), 0);
    ASSERT_EQ(file.Open(FromUtf8(path), SFKIND_BINARY | CODING_PCM16 | SFACCESS_WRITE, 2, 8000), 0);
    EXPECT_EQ(file.TruncateFrames(20, 10), RC_BAD_TRUNCATION_SIZE);
    EXPECT_EQ(file.TruncateFrames(0, 101), RC_BAD_TRUNCATION_SIZE);
    EXPECT_EQ(file.TruncateFrames(-1, 10), RC_BAD_TRUNCATION_SIZE);
    ASSERT_EQ(file.TruncateFrames(10, 30), 0);
    EXPECT_EQ(file.Frames(), 20);
    int16_t frame[2];
    ASSERT_EQ(file.ReadFrames(0, 1, frame), 1);
    EXPECT_EQ(frame[1], 21);
    ASSERT_EQ(file.ReadFrames(19, 1, frame), 1);
    EXPECT_EQ(frame[0], 58);
    EXPECT_EQ(file.HeaderLine(), L"8000 2 20 PCM16 Binary Write");
    file.Close();
    EXPECT_EQ(FileBytes(path).size(), 80u);
}

} // namespace
