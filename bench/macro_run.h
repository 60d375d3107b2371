// What the benchmarks of macro text share: a window that only notices the
// end, and one timed run of a macro by a real shell thread.
#pragma once

#include <benchmark/benchmark.h>

#include <vector>

#include "base/event.h"
#include "macro/compiler.h"
#include "shell/main_window.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

class CQuietWindow : public IMainWindow {
public:
    void PostOrder(int, std::unique_ptr<SPayload>) override {}
    void PostLog(const Text&, bool) override {}
    void PostShellEnded() override { m_ended.Set(); }
    CEvent m_ended;
};

// Compiles `source` as the macro `name` into a new environment, times its run
// in a new shell until the shell ends, and then compares the global @done with
// `done`. False (with the benchmark's error set) when anything fails.
inline bool TimeMacroRun(benchmark::State& state, const Text& name, const std::vector<Text>& source,
                         const Text& done) {
    state.PauseTiming();
    CQuietWindow window;
    auto* env = new CShellEnv(&window);
    std::vector<SSourceLine> lines;
    for (size_t i = 0; i < source.size(); ++i)
        lines.push_back({ConvertSourceLine(source[i]), static_cast<int>(i)});
    auto* code = new CMacroCode;
    std::vector<Text> log;
    if (!Compile(*code, {name}, lines, SCompileOptions{}, log)) {
        delete code;
        delete env;
        state.SkipWithError("the macro does not compile");
        return false;
    }
    env->Macros().Add(UpperCase(name), code);
    CShell* shell = env->NewShell(nullptr, nullptr);
    state.ResumeTiming();
    shell->Run(name);
    window.m_ended.Wait();
    state.PauseTiming();
    const bool ok = env->GetGlobal(L"done") == done;
    if (!ok) state.SkipWithError("the macro did not reach its end");
    delete env;
    state.ResumeTiming();
    return ok;
}
