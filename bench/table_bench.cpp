// Speed of the parameter table, the store that SPUs and macros fill:
//   appending rows from C++ (goal 10,000,000 rows/s),
//   appending rows by SET t * a 1 b 2 c 3 d 4 from a macro loop (goal 300,000 rows/s),
//   sorting 1,000,000 rows on one key (goal below 0.5 s),
//   reading 1,000,000 x 4 as a Matrix against a memcpy of the same bytes (goal: half its speed).
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>

#include "bench/macro_run.h"
#include "items/table_kind.h"
#include "macro/compiler.h"
#include "macro/register.h"
#include "numeric/matrix.h"
#include "shell/main_window.h"
#include "shell/options.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {

CShellTable* FourFields() {
    auto* t = new CShellTable(nullptr, TABLE_PARAMETER, 4);
    const wchar_t* names[] = {L"a", L"b", L"c", L"d"};
    for (int f = 0; f < 4; ++f) t->DefineField(f, FIELD_NUMBER, names[f]);
    return t;
}

void BM_AppendNumbers(benchmark::State& state) {
    const long rows = static_cast<long>(state.range(0));
    for (auto _ : state) {
        CShellTable* t = FourFields();
        double values[4] = {1, 2, 3, 4};
        for (long r = 0; r < rows; ++r) {
            values[0] = static_cast<double>(r);
            t->AppendNumbers(values, 4);
        }
        benchmark::DoNotOptimize(t->m_pBlock);
        state.PauseTiming();
        t->Release();
        state.ResumeTiming();
    }
    state.counters["rows/s"] =
        benchmark::Counter(static_cast<double>(rows) * state.iterations(), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_AppendNumbers)->Arg(1000000)->Unit(benchmark::kMillisecond);

// The whole macro line: loop step, test, SET and jump back per row.
void BM_SetRowsFromMacroLoop(benchmark::State& state) {
    RegisterMacroLayer();
    const long long rounds = state.range(0);
    const std::vector<Text> source = {
        L"NEW TABLE t /P 4 a b c d",  L"FOR #i := 0 TO $#i < " + IntText(rounds) + L" STEP #i := INT $#i + 1",
        L"  SET t * a 1 b 2 c 3 d 4", L"END",
        L"@done := t[!NROW]",         L"EXIT 0",
    };
    for (auto _ : state)
        if (!TimeMacroRun(state, L"fill", source, IntText(rounds))) return;
    state.counters["rows/s"] =
        benchmark::Counter(static_cast<double>(rounds) * state.iterations(), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_SetRowsFromMacroLoop)->Arg(200000)->UseRealTime()->Unit(benchmark::kMillisecond);

// The SET handler alone: the words of one line as the dispatcher hands them over.
void BM_SetRowsThroughKind(benchmark::State& state) {
    RegisterMacroLayer();
    CQuietWindow window;
    auto* env = new CShellEnv(&window);
    CShell* shell = env->NewShell(nullptr, nullptr);
    CItemKind* kind = CItemKindRegistry::Find(KIND_TABLE);
    const long rows = static_cast<long>(state.range(0));
    for (auto _ : state) {
        CShellTable* t = FourFields();
        for (long r = 0; r < rows; ++r) {
            CWords words;
            for (const wchar_t* w : {L"*", L"a", L"1", L"b", L"2", L"c", L"3", L"d", L"4"})
                words.push_back({SWord::Plain, w});
            COptions options;
            Text result;
            kind->Set(*shell, AsObject(t), L"t", words, options, result);
        }
        state.PauseTiming();
        if (t->m_nRows != rows) state.SkipWithError("rows missing");
        t->Release();
        state.ResumeTiming();
    }
    delete env;
    state.counters["rows/s"] =
        benchmark::Counter(static_cast<double>(rows) * state.iterations(), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_SetRowsThroughKind)->Arg(200000)->Unit(benchmark::kMillisecond);

CShellTable* RandomTable(long rows) {
    CShellTable* t = FourFields();
    std::mt19937_64 random(42);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    double values[4];
    for (long r = 0; r < rows; ++r) {
        for (double& v : values) v = uniform(random);
        t->AppendNumbers(values, 4);
    }
    return t;
}

void BM_SortParameterOneKey(benchmark::State& state) {
    const long rows = static_cast<long>(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        CShellTable* t = RandomTable(rows);
        state.ResumeTiming();
        t->Sort({{1, 0}}, false);
        state.PauseTiming();
        t->Release();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_SortParameterOneKey)->Arg(1000000)->Unit(benchmark::kMillisecond);

void BM_ToValueWholeTable(benchmark::State& state) {
    const long rows = static_cast<long>(state.range(0));
    CShellTable* t = RandomTable(rows);
    Matrix m;
    for (auto _ : state) {
        t->ToValue(-1, -1, m);
        benchmark::DoNotOptimize(m.Data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * rows * 4 * 8);
    t->Release();
}
BENCHMARK(BM_ToValueWholeTable)->Arg(1000000)->Unit(benchmark::kMillisecond);

// What ToValue is measured against: the same bytes copied straight.
void BM_MemcpySameBytes(benchmark::State& state) {
    const size_t bytes = static_cast<size_t>(state.range(0)) * 4 * sizeof(double);
    std::vector<double> from(bytes / sizeof(double), 1.0);
    Matrix to(static_cast<int>(state.range(0)), 4);
    for (auto _ : state) {
        std::memcpy(to.Data(), from.data(), bytes);
        benchmark::DoNotOptimize(to.Data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes));
}
BENCHMARK(BM_MemcpySameBytes)->Arg(1000000)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
