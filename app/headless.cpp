#include "app/headless.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <mutex>
#include <optional>
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
        if (::isatty(::fileno(m_err))) std::fputs("\a", m_err);
        return;
    }
    if (order != ORDER_LOG_FILE) return;
    auto* path = dynamic_cast<STextPayload*>(payload.get());
    if (!m_log.OpenFile(path ? path->text : Text()))
        std::fprintf(m_err, "kvo: cannot open log file %s\n", ToUtf8(path->text).c_str());
}

void CHeadlessWindow::Write(std::FILE* stream, const Text& line) {
    const std::string bytes = ToUtf8(line);
    std::fwrite(bytes.data(), 1, bytes.size(), stream);
    std::fputc('\n', stream);
    // Line by line, so that the two streams keep their order on one terminal.
    std::fflush(stream);
}

void CHeadlessWindow::PostLog(const Text& line, bool clear) {
    if (clear) {
        std::lock_guard lock(m_mutex);
        m_log.Add(line, true);
        if (line.empty()) return;
        Write(m_out, line);
        return;
    }
    PostLogLine(ELogKind::OUTPUT, line);
}

void CHeadlessWindow::PostLogLine(ELogKind kind, const Text& line) {
    std::lock_guard lock(m_mutex);
    m_log.Add(line);
    if (kind == ELogKind::OUTPUT)
        Write(m_out, line);
    else if (kind == ELogKind::FAULT || m_options.verbose)
        Write(m_err, line);
}

Text ProgramCheckLine(const SProgramCheck& check) {
    Text line = check.file.empty() ? Text() : Format(L"%s:%d: ", check.file.c_str(), check.line);
    line += Format(L"error %d: %s", check.code, check.message.c_str());
    if (!check.macro.empty()) line += Format(L" (in macro %s)", check.macro.c_str());
    return line;
}

int CHeadlessWindow::ProgramCheck(const SProgramCheck& check) {
    // Nobody is there to answer the box: one line, then Ignore (or the end of the run).
    const Text line = ProgramCheckLine(check);
    std::lock_guard lock(m_mutex);
    m_log.Add(line);
    Write(m_err, line);
    if (!m_options.strict) return CHECK_IGNORE;
    m_stopped = true;
    return CHECK_STOP;
}

bool CHeadlessWindow::Stopped() {
    std::lock_guard lock(m_mutex);
    return m_stopped;
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

int ShellEndStatus(CShell& shell) {
    auto integer = [](const Text& text, long long& value) {
        const Text t = Trim(text);
        if (t.empty()) return false;
        size_t i = (t[0] == L'-' || t[0] == L'+') ? 1 : 0;
        if (i == t.size()) return false;
        value = 0;
        for (; i < t.size(); ++i) {
            if (t[i] < L'0' || t[i] > L'9') return false;
            value = std::min<long long>(value * 10 + (t[i] - L'0'), 1000);
        }
        if (t[0] == L'-') value = -value;
        return true;
    };
    long long status = 0;
    if (!integer(shell.Vars().Get(L"RESULT"), status) && !integer(shell.Vars().Get(L"RC"), status))
        status = 0;
    return static_cast<int>(std::clamp<long long>(status, 0, 255));
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

namespace {

// Deletes the shells that have ended. The master's end value is read before it goes.
bool ReapShells(CShellEnv& env, const CShell* master, std::optional<int>& masterStatus) {
    for (CShell* shell = env.NextShell(nullptr); shell;) {
        CShell* next = env.NextShell(shell);
        if (shell->State() == SHELL_DEAD) {
            if (shell == master) masterStatus = ShellEndStatus(*shell);
            env.DeleteShell(shell);
        }
        shell = next;
    }
    return env.ShellCount() == 0;
}

// After a stop every shell ends, as MSG EXIT * would have it.
void EndAllShells(CShellEnv& env) {
    for (CShell* shell = env.NextShell(nullptr); shell; shell = env.NextShell(shell))
        shell->Post(nullptr, MSG_EXIT);
}

} // namespace

int RunHeadless(const Text& commandLine, const SHeadlessOptions& options) {
    RegisterCore();
    CHeadlessWindow window(options);
    int exitCode = 0;
    {
        CShellEnv env(&window);
        SetProcessStartValues(env);
        if (!env.Start(commandLine)) {
            window.PostLogLine(ELogKind::FAULT, kStartupFailed);
            exitCode = kStartupFailedExit;
        } else {
            // Start made the master shell first; only this thread deletes shells.
            const CShell* master = env.FindShell(Text());
            std::optional<int> masterStatus;
            if (commandLine.empty()) FeedStandardInput(env);
            do {
                window.WaitShellEnded();
                if (window.Stopped()) EndAllShells(env);
            } while (!ReapShells(env, master, masterStatus));
            StopFeeding();
            exitCode = window.Stopped() ? kStrictStopExit : masterStatus.value_or(0);
        }
    }
    return exitCode;
}
