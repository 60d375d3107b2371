// The file item's bulk paths: the encoder's two layers over a megabyte, the
// section scanner over a macro source, and binary records appended and read
// back from the start.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <random>
#include <string>

#include "items/file_encoder.h"
#include "items/shell_file.h"

namespace {

std::string Skewed(size_t size) {
    std::mt19937 random(11);
    std::geometric_distribution<int> pick(0.08);
    std::string s(size, '\0');
    for (char& c : s) c = static_cast<char>(pick(random) % 256);
    return s;
}

void BM_PackBytes(benchmark::State& state) {
    const std::string plain = Skewed(static_cast<size_t>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(PackBytes(plain));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_PackBytes)->Arg(1 << 20);

void BM_UnpackBytes(benchmark::State& state) {
    const std::string packed = PackBytes(Skewed(static_cast<size_t>(state.range(0))));
    std::string plain;
    for (auto _ : state) benchmark::DoNotOptimize(UnpackBytes(packed, plain));
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_UnpackBytes)->Arg(1 << 20);

void BM_ScanSection(benchmark::State& state) {
    Text source;
    for (int i = 0; i < 2000; ++i) {
        source += L"[MACRO m" + IntText(i) + L" #a #b]\r\n";
        source += L"  #x := INT $#a + 1   // a comment\r\n  /* block */ WRITELOG\t$#x\r\n\r\n";
    }
    for (auto _ : state) {
        std::vector<SFileLine> lines;
        CShellFile::ScanSection(source, lines);
        benchmark::DoNotOptimize(lines.data());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(source.size() * sizeof(wchar_t)));
}
BENCHMARK(BM_ScanSection);

// Records appended and then read one after the other: each step must go on from the
// record before, not walk the file from its start.
void BM_BinaryRecords(benchmark::State& state) {
    char dir[] = "/tmp/kvo_file_bench_XXXXXX";
    if (!::mkdtemp(dir)) {
        state.SkipWithError("no temporary directory");
        return;
    }
    const Text path = FromUtf8(std::string(dir) + "/r.bin");
    SRecord record;
    record.rows = 64;
    record.cols = 2;
    record.data.assign(128, 0.5);
    for (auto _ : state) {
        CShellFile file(nullptr, FILE_TYPE_BINARY | FILE_ACCESS_READ | FILE_ACCESS_WRITE | FILE_ACCESS_EMPTY);
        file.SetPath(path);
        if (file.Open(false) != 0) {
            state.SkipWithError("cannot open");
            break;
        }
        for (int64_t i = 0; i < state.range(0); ++i) file.WriteRecord(-1, record, RECORD_FLOAT);
        SRecord back;
        file.ReadRecord(0, back);
        for (int64_t i = 1; i < state.range(0); ++i)
            if (file.ReadRecord(-1, back) != 0) state.SkipWithError("record missing");
        file.m_nShare = 0; // on the stack: no shares to count
    }
    std::filesystem::remove_all(dir);
}
BENCHMARK(BM_BinaryRecords)->Arg(100)->Arg(1000);

} // namespace

BENCHMARK_MAIN();
