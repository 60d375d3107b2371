// Decoding speed of the text codecs: 100 MB of UTF-8 (mixed ASCII, Latin and
// CJK text, as a transcription file has) and of windows-1252 (bytes of the
// whole upper half). Throughput is reported per input byte.
#include <benchmark/benchmark.h>

#include <string>

#include "items/text_codec.h"

namespace {

constexpr size_t kSize = 100u << 20;

const std::string& Utf8Input() {
    static const std::string text = [] {
        const std::string line = "the quick brown fox; Gr\xC3\xBC\xC3\x9F" "e aus M\xC3\xBCnchen; \xE5\xA3\xB0\xE9\x9F\xB3 "
                                 "spectrum 1234.5678 Hz\r\n";
        std::string s;
        s.reserve(kSize + line.size());
        while (s.size() < kSize) s += line;
        return s;
    }();
    return text;
}

const std::string& Windows1252Input() {
    static const std::string text = [] {
        std::string s(kSize, ' ');
        for (size_t i = 0; i < s.size(); ++i) s[i] = static_cast<char>(i % 7 == 0 ? 0xE4 + (i % 5) : 'a' + (i % 26));
        return s;
    }();
    return text;
}

void BM_DecodeUtf8(benchmark::State& state) {
    const std::string& in = Utf8Input();
    for (auto _ : state) {
        Text out = DecodeUtf8(in.data(), in.size());
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(in.size()));
}
BENCHMARK(BM_DecodeUtf8)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_DecodeWindows1252(benchmark::State& state) {
    const std::string& in = Windows1252Input();
    for (auto _ : state) {
        Text out = DecodeWindows1252(in.data(), in.size());
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(in.size()));
}
BENCHMARK(BM_DecodeWindows1252)->Unit(benchmark::kMillisecond)->UseRealTime();

// Through the detecting entry point that file reads use: no mark, so UTF-8 is tried first.
void BM_DecodeTextDetecting(benchmark::State& state) {
    const std::string& in = Windows1252Input();
    for (auto _ : state) {
        Text out;
        benchmark::DoNotOptimize(DecodeText(in.data(), in.size(), out));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(in.size()));
}
BENCHMARK(BM_DecodeTextDetecting)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
