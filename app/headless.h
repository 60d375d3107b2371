// The front end without a window system. What macros write goes to standard
// output, errors and warnings to standard error, the loader's account of its
// work only with --verbose (to standard error); the log file order gets every
// line. A program check is one line on standard error that editors and CI
// annotators read ("file:line: error N: text (in macro NAME)"), answered
// with Ignore, or with --strict ending the run. Window orders are ignored
// (MSG MAIN's values are remembered, a beep rings the terminal's bell), and
// the process ends when the last shell has ended, with the master shell's
// end value as its exit status.
#pragma once

#include <condition_variable>
#include <cstdio>
#include <mutex>

#include "shell/log_list.h"
#include "shell/main_window.h"

class CShell;

struct SHeadlessOptions {
    bool verbose = false; // the loader's lines too
    bool strict = false;  // the first program check ends the run
};

class CHeadlessWindow : public IMainWindow {
public:
    explicit CHeadlessWindow(const SHeadlessOptions& options = {}, std::FILE* out = stdout,
                             std::FILE* err = stderr)
        : m_options(options), m_out(out), m_err(err) {}

    void PostOrder(int order, std::unique_ptr<SPayload> payload) override;
    void PostLog(const Text& line, bool clear) override;
    void PostLogLine(ELogKind kind, const Text& line) override;
    void PostShellEnded() override;
    int ProgramCheck(const SProgramCheck& check) override;
    bool MainWindowState(SMainWindowState& out) override;
    bool DesktopMetrics(SDesktopMetrics& out) override;
    // Blocks until a shell has ended since the last call.
    void WaitShellEnded();
    // True once a program check has stopped the run (--strict).
    bool Stopped();

private:
    void Write(std::FILE* stream, const Text& line);

    const SHeadlessOptions m_options;
    std::FILE* const m_out;
    std::FILE* const m_err;
    std::mutex m_mutex;
    std::condition_variable m_ended;
    int m_endedCount = 0;
    bool m_stopped = false;
    CLogList m_log;
    // There is no window: MSG MAIN keeps what it was given, so that it reads back.
    SMainWindowState m_state{.mode = L"NOWINDOW", .show = L"RESTORED", .title = L"Kvo"};
};

// The one line of a program check: "file:line: error N: text (in macro NAME)";
// without a file (a line that ran outside any macro) "error N: text".
Text ProgramCheckLine(const SProgramCheck& check);

// A shell's end value as an exit status: its RESULT when that is an integer,
// else the RC of its last line; clamped to 0..255.
int ShellEndStatus(CShell& shell);
