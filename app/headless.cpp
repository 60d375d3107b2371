#include "app/headless.h"

#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>

#include "app/startup.h"
#include "shell/message_codes.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

void CHeadlessWindow::PostOrder(int order, std::unique_ptr<SPayload> payload) {
    std::lock_guard lock(m_mutex);
    if (order == ORDER_SHOW) {
        if (auto* main = dynamic_cast<SMainWindowPayload*>(payload.get())) main->ApplyTo(m_state);
        return;
    }
    if (order == ORDER_BEEP) {
        // Every kind of sound is the terminal's bell; a log captured in a file gets no control characters.
        if (::isatty(STDERR_FILENO)) std::fputs("\a", stderr);
        return;
    }
    if (order != ORDER_LOG_FILE) return;
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

bool CHeadlessWindow::MainWindowState(SMainWindowState& out) {
    std::lock_guard lock(m_mutex);
    out = m_state;
    return true;
}

bool CHeadlessWindow::DesktopMetrics(SDesktopMetrics&) {
    return false; // no screen
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

namespace {

// The console: every line of standard input goes to the master shell as a
// RUN message; the end of the input ends the master shell. The reader may
// still wait for input when the program ends, so it reaches the environment
// only under this lock, and not at all once the environment is gone.
std::mutex g_consoleLock;
CShellEnv* g_consoleEnv = nullptr;

bool SendToMaster(const Text* line) {
    std::lock_guard lock(g_consoleLock);
    if (!g_consoleEnv) return false;
    // Before the master macro has set MASTER, the first shell is the master.
    CShell* shell = g_consoleEnv->FindShell(g_consoleEnv->GetGlobal(L"MASTER"));
    if (!shell) return false;
    return shell->Run(*line) == 0;
}

void FeedStandardInput(CShellEnv& env) {
    {
        std::lock_guard lock(g_consoleLock);
        g_consoleEnv = &env;
    }
    std::thread([] {
        std::string bytes;
        while (std::getline(std::cin, bytes)) {
            if (!bytes.empty() && bytes.back() == '\r') bytes.pop_back();
            if (bytes.empty()) continue;
            const Text line = FromUtf8(bytes);
            if (!SendToMaster(&line)) return;
        }
        // In line with what came before it, not ahead of it as an EXIT message would be.
        const Text exit = L"EXIT 0";
        SendToMaster(&exit);
    }).detach();
}

void StopFeeding() {
    std::lock_guard lock(g_consoleLock);
    g_consoleEnv = nullptr;
}

} // namespace

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
            if (commandLine.empty()) FeedStandardInput(env);
            // Each ended shell may have been the last one.
            do {
                window.WaitShellEnded();
            } while (!env.DeleteShell(nullptr));
            StopFeeding();
        }
    }
    return exitCode;
}
