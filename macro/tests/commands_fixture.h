// Commands run through the dispatcher as a macro line would run them: the
// words of a line (blanks separate, '...' is one quoted word), options
// scanned, keyword looked up, result taken by the row's rules. The shell's
// own thread is held, so the test thread may use the shell; the main window
// records what it is asked.
#pragma once

#include <gtest/gtest.h>

#include <mutex>

#include "macro/dispatcher.h"
#include "macro/register.h"
#include "shell/frame.h"
#include "shell/main_window.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

class CRecordingWindow : public IMainWindow {
public:
    struct SOrder {
        int order;
        std::shared_ptr<SPayload> payload;
    };
    void PostOrder(int order, std::unique_ptr<SPayload> payload) override {
        std::lock_guard lock(m_mutex);
        m_orders.push_back({order, std::shared_ptr<SPayload>(std::move(payload))});
    }
    void PostLog(const Text& line, bool clear) override {
        std::lock_guard lock(m_mutex);
        if (clear) m_lines.clear();
        if (!clear || !line.empty()) m_lines.push_back(line);
    }
    void PostShellEnded() override {}
    bool MainWindowState(SMainWindowState& out) override {
        if (!m_bAnswers) return false;
        out = m_state;
        return true;
    }
    bool DesktopMetrics(SDesktopMetrics& out) override {
        if (!m_bAnswers) return false;
        out = m_desktop;
        return true;
    }
    bool FontFamilies(std::vector<Text>& out) override {
        out = m_fonts;
        return !m_fonts.empty();
    }
    std::vector<SOrder> Orders() {
        std::lock_guard lock(m_mutex);
        return m_orders;
    }
    std::vector<Text> Lines() {
        std::lock_guard lock(m_mutex);
        return m_lines;
    }

    bool m_bAnswers = false;
    SMainWindowState m_state;
    SDesktopMetrics m_desktop;
    std::vector<Text> m_fonts;

private:
    std::mutex m_mutex;
    std::vector<SOrder> m_orders;
    std::vector<Text> m_lines;
};

struct SOutcome {
    int code;
    Text result;
};

class CommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        RegisterMacroLayer();
        CFrameBase hold(nullptr); // keeps the shell's thread waiting
        m_shell = m_env.NewShell(&hold, nullptr);
        ASSERT_NE(m_shell, nullptr);
        m_shell->m_pFrame = &m_frame;
    }
    void TearDown() override { m_shell->m_pFrame = nullptr; }

    static CWords Split(const Text& line) {
        CWords words;
        for (size_t i = 0; i < line.size();) {
            if (line[i] == L' ') {
                ++i;
            } else if (line[i] == L'\'') {
                const size_t end = line.find(L'\'', i + 1);
                words.push_back({SWord::Quoted, line.substr(i + 1, end - i - 1)});
                i = end == Text::npos ? line.size() : end + 1;
            } else {
                const size_t end = std::min(line.find(L' ', i), line.size());
                words.push_back({SWord::Plain, line.substr(i, end - i)});
                i = end;
            }
        }
        return words;
    }
    // "COMMAND words..." through the dispatcher.
    SOutcome Run(const Text& line) {
        CWords words = Split(line);
        SOutcome out{-1, L"no such command"};
        if (words.empty()) return out;
        const CCommandRow* row = CCommandRegistry::Find(words[0].text);
        EXPECT_NE(row, nullptr) << ToUtf8(words[0].text);
        if (!row) return out;
        words.erase(words.begin());
        bool effective = false;
        out.code = Dispatch(*m_shell, *row, words, out.result, effective);
        return out;
    }
    Text Result(const Text& line) {
        const SOutcome o = Run(line);
        EXPECT_EQ(o.code, 0) << ToUtf8(line);
        return o.result;
    }
    int Code(const Text& line) { return Run(line).code; }

    CRecordingWindow m_window;
    CShellEnv m_env{&m_window};
    CFrameBase m_frame{nullptr};
    CShell* m_shell = nullptr;
};
