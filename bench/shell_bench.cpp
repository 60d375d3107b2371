// The shell's message cycle: how many posted messages per second become
// #MSG lines through Pump and MSG LOOP, and how long the environment takes
// from construction to the master shell's first line.
#include <benchmark/benchmark.h>

#include <thread>

#include "base/event.h"
#include "shell/message_codes.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {

// MSG LOOP on a shell whose own thread is held: the benchmark thread plays it.
void BM_MsgLoopFromAnotherThread(benchmark::State& state) {
    CShellEnv env;
    CFrameBase hold(nullptr);
    CShell* shell = env.NewShell(&hold, nullptr);
    const int64_t perRound = state.range(0);
    for (auto _ : state) {
        std::thread producer([&] {
            for (int64_t i = 0; i < perRound; ++i) shell->Post(nullptr, MSG_UPDATE, static_cast<intptr_t>(i));
        });
        for (int64_t i = 0; i < perRound; ++i) {
            shell->SetState(SHELL_WAITING);
            shell->WaitMessage();
        }
        producer.join();
    }
    if (shell->GetVar(L"#MSG") != L"MAIN MAIN UPDATE " + IntText(perRound - 1))
        state.SkipWithError("last line is wrong");
    state.SetItemsProcessed(state.iterations() * perRound);
}
BENCHMARK(BM_MsgLoopFromAnotherThread)->Arg(100000)->UseRealTime()->Unit(benchmark::kMillisecond);

class CFirstLineRuntime : public IMacroRuntime {
public:
    bool RunFrames(CShell& shell) override { return shell.State() == SHELL_RUNNING; }
    void ExecuteText(CShell& shell, const Text&) override {
        m_firstLine.Set();
        shell.SetState(SHELL_ENDING);
    }
    void UnwindFrames(CShell&) override {}
    CEvent m_firstLine;
};

class CNoLoader : public IMacroLoader {
public:
    bool LoadMacros(CShellEnv&, const Text&, bool) override { return true; }
    void UnloadAll(CShellEnv&) override {}
};

void BM_EnvToFirstLine(benchmark::State& state) {
    CNoLoader loader;
    CShellEnv::SetLoader(&loader);
    for (auto _ : state) {
        CFirstLineRuntime runtime;
        CShellEnv::SetRuntime(&runtime);
        auto* env = new CShellEnv;
        env->SetStartValues(L"/opt/kvo/kvo", nullptr);
        env->Start(L"");
        runtime.m_firstLine.Wait();
        state.PauseTiming();
        delete env;
        CShellEnv::SetRuntime(nullptr);
        state.ResumeTiming();
    }
    CShellEnv::SetLoader(nullptr);
}
BENCHMARK(BM_EnvToFirstLine)->UseRealTime()->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
