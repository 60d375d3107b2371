// Statements per second of a tight macro loop, run by a real shell thread:
//   FOR #i := 0 TO $#i < N STEP #i := INT $#i + 1
//     #x := abc$#i
//   END
// Each round executes four code lines (step, test, body, jump back).
#include <benchmark/benchmark.h>

#include "bench/macro_run.h"
#include "macro/register.h"

namespace {

void BM_TightLoopStatements(benchmark::State& state) {
    RegisterMacroLayer();
    const long long rounds = state.range(0);
    const std::vector<Text> source = {
        L"FOR #i := 0 TO $#i < " + IntText(rounds) + L" STEP #i := INT $#i + 1",
        L"  #x := abc$#i",
        L"END",
        L"@done := $#i",
        L"EXIT 0",
    };
    for (auto _ : state)
        if (!TimeMacroRun(state, L"loop", source, IntText(rounds))) return;
    state.counters["statements/s"] =
        benchmark::Counter(static_cast<double>(rounds * 4) * static_cast<double>(state.iterations()),
                           benchmark::Counter::kIsRate);
    state.counters["rounds/s"] = benchmark::Counter(
        static_cast<double>(rounds) * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_TightLoopStatements)->Arg(200000)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
