// The front end without a window system: log lines go to standard output,
// window orders are ignored (the log file order is kept, MSG MAIN's values
// are remembered, a beep rings the terminal's bell), and the process
// ends when the last shell has ended.
#pragma once

#include <condition_variable>
#include <mutex>

#include "shell/log_list.h"
#include "shell/main_window.h"

class CHeadlessWindow : public IMainWindow {
public:
    void PostOrder(int order, std::unique_ptr<SPayload> payload) override;
    void PostLog(const Text& line, bool clear) override;
    void PostShellEnded() override;
    bool MainWindowState(SMainWindowState& out) override;
    bool DesktopMetrics(SDesktopMetrics& out) override;
    // Blocks until a shell has ended since the last call.
    void WaitShellEnded();

private:
    std::mutex m_mutex;
    std::condition_variable m_ended;
    int m_endedCount = 0;
    CLogList m_log;
    // There is no window: MSG MAIN keeps what it was given, so that it reads back.
    SMainWindowState m_state{.mode = L"NOWINDOW", .show = L"RESTORED", .title = L"Kvo"};
};
