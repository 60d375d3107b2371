#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "signal/memory_wave.h"
#include "signal/sound_file.h"
#include "signal/stream_wave.h"
#include "signal/tests/sound_test_util.h"

namespace {

// A mono wave whose frame n holds n / 32768 (so PCM16 reads give n).
std::unique_ptr<CMemoryWave> Ramp(long long frames, int channels = 1) {
    auto wave = std::make_unique<CMemoryWave>(channels, 8000.0, frames);
    for (long long f = 0; f < frames; ++f)
        for (int c = 0; c < channels; ++c) wave->Samples()[f * channels + c] = float(f + 100 * c) / 32768.0f;
    return wave;
}

using SfioPtr = std::unique_ptr<CSfio, CSfioCloser>;

TEST(Sfio, ReversedReadingDeliversBlocksFromTheEnd) {
    auto wave = Ramp(10);
    int error = 0;
    SfioPtr sfio(wave->CreateSfio(SFIO_READ | SFIO_REVERSED | CODING_PCM16, error, 4));
    ASSERT_TRUE(sfio) << error;
    auto* samples = static_cast<int16_t*>(sfio->Buffer());
    std::vector<std::vector<int>> blocks;
    for (long long n; (n = sfio->Transfer()) > 0;) blocks.emplace_back(samples, samples + n);
    const std::vector<std::vector<int>> expected = {{9, 8, 7, 6}, {5, 4, 3, 2}, {1, 0}};
    EXPECT_EQ(blocks, expected);
    EXPECT_EQ(sfio->Transfer(), 0);
}

TEST(Sfio, ReversedWritingLandsInReadingOrder) {
    auto wave = Ramp(6, 2);
    int error = 0;
    SfioPtr sfio(wave->CreateSfio(SFIO_READWRITE | SFIO_REVERSED | CODING_PCM16, error, 4));
    ASSERT_TRUE(sfio);
    auto* samples = static_cast<int16_t*>(sfio->Buffer());
    // Write 1..6 as delivered order: the last frame of the wave gets 1.
    int next = 1;
    for (;;) {
        const long long left = sfio->Length() - sfio->GetPosition();
        const long long n = left < 4 ? left : 4;
        if (n <= 0) break;
        for (long long i = 0; i < n; ++i) samples[i * 2] = samples[i * 2 + 1] = static_cast<int16_t>(next++);
        ASSERT_EQ(sfio->Transfer(), n);
    }
    EXPECT_FLOAT_EQ(wave->Samples()[10] * 32768.0f, 1.0f);
    EXPECT_FLOAT_EQ(wave->Samples()[0] * 32768.0f, 6.0f);
    EXPECT_FLOAT_EQ(wave->Samples()[5] * 32768.0f, 4.0f); // frame 2, second channel
}

TEST(Sfio, BadRangesFallBackToTheWholeWave) {
    auto wave = Ramp(50);
    int error = 0;
    const long long pairs[][2] = {{5, 5}, {9, 3}, {-1, -1}, {10, 51}, {-2, 10}};
    for (const auto& pair : pairs) {
        SfioPtr sfio(wave->CreateSfio(SFIO_READ | CODING_FLOAT, error, 0, pair[0], pair[1]));
        ASSERT_TRUE(sfio);
        EXPECT_EQ(sfio->First(), 0);
        EXPECT_EQ(sfio->End(), 50);
    }
    SfioPtr window(wave->CreateSfio(SFIO_READ | CODING_PCM16, error, 100, 10, 20));
    EXPECT_EQ(window->Length(), 10);
    EXPECT_EQ(window->Transfer(), 10);
    EXPECT_EQ(static_cast<int16_t*>(window->Buffer())[0], 10);
    EXPECT_EQ(window->Transfer(), 0);
}

TEST(Sfio, RefusesWhatItCannotDo) {
    auto wave = Ramp(10);
    int error = 0;
    EXPECT_EQ(wave->CreateSfio(SFIO_READ | CODING_PCM8, error, 0), nullptr);
    EXPECT_EQ(error, RC_BAD_SFIO_CODING);
    EXPECT_EQ(wave->CreateSfio(0x2000 | CODING_PCM16, error, 0), nullptr);
    EXPECT_EQ(error, RC_BAD_SFIO_OPERATION);
    CMemoryWave empty(0, 8000, 10);
    EXPECT_EQ(empty.CreateSfio(SFIO_READ | CODING_PCM16, error, 0), nullptr);
    EXPECT_EQ(error, RC_BAD_SFIO);

    SfioPtr sfio(wave->CreateSfio(SFIO_READ | CODING_PCM24, error, 0));
    EXPECT_EQ(sfio->Transfer(), -99);
    EXPECT_EQ(sfio->SetPosition(11), 0);
    EXPECT_EQ(sfio->SetPosition(10), 10);
    EXPECT_EQ(sfio->SetPosition(-1), 10);
    int32_t samples[4];
    EXPECT_EQ(sfio->ChannelIn(samples, 0, 0), -100); // no buffer yet
    sfio->SetBuffer(4);
    EXPECT_EQ(sfio->ChannelIn(samples, 1, 0), -100);
    EXPECT_EQ(sfio->ChannelIn(samples, 0, 5), -100);
    EXPECT_EQ(wave->Users(), 1);
    sfio.reset();
    EXPECT_EQ(wave->Users(), 0);
}

TEST(Sfio, LentBufferStaysWithItsOwnerAndChannelsSplit) {
    auto wave = Ramp(8, 3);
    int error = 0;
    std::vector<float> lent(4 * 3, -9.0f);
    {
        SfioPtr sfio(wave->CreateSfio(SFIO_READ | CODING_FLOAT, error, 0));
        ASSERT_EQ(sfio->SetBuffer(4, lent.data()), lent.data());
        ASSERT_EQ(sfio->SetPosition(2), 2);
        ASSERT_EQ(sfio->Transfer(), 4);
        float third[4];
        ASSERT_EQ(sfio->ChannelIn(third, 2, 0), 4);
        EXPECT_FLOAT_EQ(third[0] * 32768.0f, 202.0f);
        EXPECT_FLOAT_EQ(third[3] * 32768.0f, 205.0f);
        const float ones[2] = {1.0f, 1.0f};
        ASSERT_EQ(sfio->ChannelOut(ones, 1, 2), 2);
    }
    // Still ours after the SFIO is gone.
    EXPECT_EQ(lent[1], 1.0f);
    EXPECT_EQ(lent[4], 1.0f);
    EXPECT_FLOAT_EQ(lent[7] * 32768.0f, 104.0f);
}

TEST(Sfio, StreamPicksChannelsOutOf128) {
    // 130 channels of PCM16: channel c of frame f holds c + 1000 f.
    const std::string path = TestPath("wide.raw");
    {
        std::vector<int16_t> raw(3 * 130);
        for (int f = 0; f < 3; ++f)
            for (int c = 0; c < 130; ++c) raw[f * 130 + c] = static_cast<int16_t>(c + 1 + 1000 * f);
        FILE* out = std::fopen(path.c_str(), "wb");
        std::fwrite(raw.data(), 2, raw.size(), out);
        std::fclose(out);
    }
    CSoundFile file;
    ASSERT_EQ(file.Open(FromUtf8(path), SFKIND_BINARY | CODING_PCM16, 130, 8000), 0);
    EXPECT_EQ(file.Frames(), 3);
    CChannelSet set;
    set.Add(2);
    set.Add(128);
    {
        CStreamWave wave(file, 0, 3, set);
        EXPECT_EQ(wave.GetChannels(), 2);
        int error = 0;
        SfioPtr sfio(wave.CreateSfio(SFIO_READ | CODING_PCM32, error, 8));
        ASSERT_EQ(sfio->Transfer(), 3);
        auto* s = static_cast<int32_t*>(sfio->Buffer());
        EXPECT_EQ(s[0], 2 << 16);
        EXPECT_EQ(s[1], 128 << 16);
        EXPECT_EQ(s[5], 2128 << 16);
        // A subset cannot be written, and the file is read-only anyway.
        EXPECT_EQ(wave.CreateSfio(SFIO_READWRITE | CODING_PCM16, error, 8), nullptr);
        EXPECT_EQ(error, RC_SFIO_WITHOUT_SOUNDFILE);
        EXPECT_EQ(file.Close(), SF_BUSY);
    }
    EXPECT_EQ(file.Close(), 0);
}

} // namespace
