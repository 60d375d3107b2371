// The shell's message cycle: how many posted messages per second become
// #MSG lines through Pump and MSG LOOP, and how long the environment takes
// from construction to the master shell's first line.
#include <benchmark/benchmark.h>

#include <thread>

#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "app/startup.h"
#include "base/event.h"
#include "shell/command_registry.h"
#include "macro/library_file.h"
#include "macro/preprocessor.h"
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

// The same with everything real: the library file is read and compiled, and
// the master shell's first line is a command that marks the moment.
CEvent* g_firstLine = nullptr;
int MarkFirstLine(CShell&, CWords&, COptions&, int, Text&) {
    g_firstLine->Set();
    return 0;
}
constexpr CCommandRow kMarkRow = {
    L"BENCHMARKFIRSTLINE", &MarkFirstLine, false, 0, 0, nullptr, nullptr, nullptr};

void BM_EnvToFirstLineWithLibrary(benchmark::State& state) {
    RegisterCore();
    CCommandRegistry::Register(kMarkRow);
    const auto dir = std::filesystem::temp_directory_path() / ("kvo_bench_" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    {
        std::ofstream source(dir / "master.kvs");
        source << "[MACRO MASTERSHELL]\nBENCHMARKFIRSTLINE\nEXIT 0\n";
        // An application's worth of further macros, each of a dozen lines of the usual kind.
        for (int64_t m = 0; m < state.range(0); ++m)
            source << "[MACRO APP" << m << " #a #b=2]\n#x := EVAL $#a + $#b\nIF $#x > 10 THEN\n"
                   << "  WRITELOG big $#x\nELSE\n  #y := SUBSTR abcdef 1 2\nEND\n"
                   << "FOR #i := 0 TO $#i < 3 STEP #i := INT $#i + 1\n  #s := FORMAT %d $#i\nEND\n"
                   << "EXIT 1 $#x\n";
    }
    const Text library = FromUtf8((dir / "kvo.lib").string());
    CLoadLog log;
    CConstantList constants;
    if (!AddSourceToLibrary(FromUtf8((dir / "master.kvs").string()), library, constants, log)) {
        state.SkipWithError("cannot write the library");
        return;
    }
    for (auto _ : state) {
        CEvent firstLine;
        g_firstLine = &firstLine;
        auto* env = new CShellEnv;
        env->SetStartValues(FromUtf8((dir / "kvo").string()), nullptr);
        if (!env->Start(L"")) {
            state.SkipWithError("start-up failed");
            delete env;
            break;
        }
        firstLine.Wait();
        state.PauseTiming();
        delete env;
        state.ResumeTiming();
    }
    std::filesystem::remove_all(dir);
}
BENCHMARK(BM_EnvToFirstLineWithLibrary)->Arg(0)->Arg(5000)->UseRealTime()->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
