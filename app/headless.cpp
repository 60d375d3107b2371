#include "app/headless.h"

#include <cstdio>

#include "app/startup.h"
#include "shell/shell_env.h"

void CHeadlessWindow::PostOrder(int order, std::unique_ptr<SPayload> payload) {
    if (order != ORDER_LOG_FILE) return;
    std::lock_guard lock(m_mutex);
    auto* path = dynamic_cast<STextPayload*>(payload.get());
    if (!m_log.OpenFile(path ? path->text : Text()))
        std::fprintf(stderr, "kvo: cannot open log file %s\n", ToUtf8(path->text).c_str());
}

void CHeadlessWindow::PostLog(const Text& line, bool clear) {
    std::lock_guard lock(m_mutex);
    m_log.Add(line, clear);
    if (line.empty() && clear) return;
    const std::string bytes = ToUtf8(line);
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

void CHeadlessWindow::PostShellEnded() {
    std::lock_guard lock(m_mutex);
    ++m_endedCount;
    m_ended.notify_all();
}

void CHeadlessWindow::WaitShellEnded() {
    std::unique_lock lock(m_mutex);
    m_ended.wait(lock, [this] { return m_endedCount > 0; });
    --m_endedCount;
}

int RunHeadless(const Text& commandLine) {
    RegisterCore();
    CHeadlessWindow window;
    int exitCode = 0;
    {
        CShellEnv env(&window);
        SetProcessStartValues(env);
        if (!env.Start(commandLine)) {
            window.PostLog(kStartupFailed, false);
            exitCode = kStartupFailedExit;
        } else {
            // Each ended shell may have been the last one.
            do {
                window.WaitShellEnded();
            } while (!env.DeleteShell(nullptr));
        }
    }
    return exitCode;
}
