// Sound file throughput: ten minutes of 44.1 kHz 16-bit stereo Wave read
// through an SFIO as FLOAT, against a plain memcpy of the same output bytes
// (the goal: at least half of memcpy's rate), and written back as FLOAT Wave.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "signal/sound_file.h"
#include "signal/stream_wave.h"

namespace {

constexpr double kRate = 44100;
constexpr long long kFrames = 10LL * 60 * 44100;
constexpr long long kBlock = 16384;
const char* const kSource = "/tmp/kvo_sound_bench_16.wav";
const char* const kTarget = "/tmp/kvo_sound_bench_float.wav";

// The source file, made once per run.
void MakeSource() {
    static bool made = false;
    if (made) return;
    std::remove(kSource);
    CSoundFile file;
    if (file.Create(FromUtf8(kSource), SFKIND_WAVE | CODING_PCM16 | SFACCESS_WRITE, 2, kRate) != 0) return;
    std::vector<int16_t> block(kBlock * 2);
    for (long long at = 0; at < kFrames; at += kBlock) {
        const long long n = std::min(kBlock, kFrames - at);
        for (long long i = 0; i < n; ++i) {
            const double t = double(at + i) / kRate;
            block[i * 2] = static_cast<int16_t>(12000 * std::sin(2 * M_PI * 440 * t));
            block[i * 2 + 1] = static_cast<int16_t>(9000 * std::sin(2 * M_PI * 1000 * t));
        }
        file.WriteFrames(at, n, block.data());
    }
    file.Close();
    made = true;
}

void BM_ReadWaveAsFloat(benchmark::State& state) {
    MakeSource();
    CSoundFile file;
    if (file.Open(FromUtf8(kSource), SFACCESS_READ) != 0) {
        state.SkipWithError("no source file");
        return;
    }
    CChannelSet all;
    all.SetAll();
    CStreamWave wave(file, 0, file.Frames(), all);
    std::vector<float> sink(kBlock * 2);
    for (auto _ : state) {
        int error = 0;
        std::unique_ptr<CSfio, CSfioCloser> sfio(wave.CreateSfio(SFIO_READ | CODING_FLOAT, error, kBlock));
        long long total = 0;
        for (long long n; (n = sfio->Transfer()) > 0;) total += n;
        benchmark::DoNotOptimize(total);
    }
    state.SetBytesProcessed(state.iterations() * kFrames * 2 * 4);
}
BENCHMARK(BM_ReadWaveAsFloat)->Unit(benchmark::kMillisecond);

// The same output bytes moved by memcpy, in the same blocks.
void BM_MemcpyOutputBytes(benchmark::State& state) {
    std::vector<float> source(kFrames * 2, 0.25f);
    std::vector<float> block(kBlock * 2);
    for (auto _ : state) {
        for (long long at = 0; at < kFrames; at += kBlock) {
            const long long n = std::min(kBlock, kFrames - at);
            std::memcpy(block.data(), source.data() + at * 2, static_cast<size_t>(n * 2 * 4));
            benchmark::ClobberMemory();
        }
    }
    state.SetBytesProcessed(state.iterations() * kFrames * 2 * 4);
}
BENCHMARK(BM_MemcpyOutputBytes)->Unit(benchmark::kMillisecond);

void BM_WriteFloatWave(benchmark::State& state) {
    MakeSource();
    CSoundFile source;
    if (source.Open(FromUtf8(kSource), SFACCESS_READ) != 0) {
        state.SkipWithError("no source file");
        return;
    }
    CChannelSet all;
    all.SetAll();
    CStreamWave in(source, 0, source.Frames(), all);
    for (auto _ : state) {
        std::remove(kTarget);
        CSoundFile target;
        if (target.Create(FromUtf8(kTarget), SFKIND_WAVE | CODING_FLOAT | SFACCESS_WRITE, 2, kRate) != 0) {
            state.SkipWithError("cannot create");
            return;
        }
        {
            CStreamWave out(target, 0, kFrames, all);
            int error = 0;
            std::unique_ptr<CSfio, CSfioCloser> reader(
                in.CreateSfio(SFIO_READ | CODING_FLOAT, error, kBlock));
            std::unique_ptr<CSfio, CSfioCloser> writer(
                out.CreateSfio(SFIO_READWRITE | CODING_FLOAT, error, 0));
            writer->SetBuffer(kBlock, reader->Buffer());
            for (long long n; (n = reader->Transfer()) > 0;) {
                writer->SetBuffer(n, reader->Buffer());
                writer->Transfer();
            }
        }
        target.Close();
    }
    state.SetBytesProcessed(state.iterations() * kFrames * 2 * 4);
}
BENCHMARK(BM_WriteFloatWave)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
