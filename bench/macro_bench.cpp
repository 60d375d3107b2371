// Statements per second of a tight macro loop, run by a real shell thread:
//   FOR #i := 0 TO $#i < N STEP #i := INT $#i + 1
//     #x := abc$#i
//   END
// Each round executes four code lines (step, test, body, jump back).
#include <benchmark/benchmark.h>

#include "base/event.h"
#include "macro/compiler.h"
#include "macro/register.h"
#include "shell/main_window.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {

class CQuietWindow : public IMainWindow {
public:
    void PostOrder(int, std::unique_ptr<SPayload>) override {}
    void PostLog(const Text&, bool) override {}
    void PostShellEnded() override { m_ended.Set(); }
    CEvent m_ended;
};

CMacroCode* CompileLoop(long long rounds) {
    const std::vector<Text> source = {
        L"FOR #i := 0 TO $#i < " + IntText(rounds) + L" STEP #i := INT $#i + 1",
        L"  #x := abc$#i",
        L"END",
        L"@done := $#i",
        L"EXIT 0",
    };
    std::vector<SSourceLine> lines;
    for (size_t i = 0; i < source.size(); ++i)
        lines.push_back({ConvertSourceLine(source[i]), static_cast<int>(i)});
    auto* code = new CMacroCode;
    std::vector<Text> log;
    if (!Compile(*code, {L"loop"}, lines, SCompileOptions{}, log)) {
        delete code;
        return nullptr;
    }
    return code;
}

void BM_TightLoopStatements(benchmark::State& state) {
    RegisterMacroLayer();
    const long long rounds = state.range(0);
    for (auto _ : state) {
        state.PauseTiming();
        CQuietWindow window;
        auto* env = new CShellEnv(&window);
        CMacroCode* code = CompileLoop(rounds);
        if (!code) {
            state.SkipWithError("the loop does not compile");
            delete env;
            return;
        }
        env->Macros().Add(L"LOOP", code);
        CShell* shell = env->NewShell(nullptr, nullptr);
        state.ResumeTiming();
        shell->Run(L"loop");
        window.m_ended.Wait();
        state.PauseTiming();
        if (env->GetGlobal(L"done") != IntText(rounds))
            state.SkipWithError("the loop did not count to the end");
        delete env;
        state.ResumeTiming();
    }
    state.counters["statements/s"] =
        benchmark::Counter(static_cast<double>(rounds * 4) * static_cast<double>(state.iterations()),
                           benchmark::Counter::kIsRate);
    state.counters["rounds/s"] = benchmark::Counter(
        static_cast<double>(rounds) * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_TightLoopStatements)->Arg(200000)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
