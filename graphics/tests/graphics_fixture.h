// A whole program for the tests of displays and graphs: the application
// object (offscreen), the core layers and the graphics layer, an environment
// and one running shell. The test thread is the GUI thread: while a shell
// runs a line, the test keeps the event loop turning, so that the shell's
// requests are served exactly as in the program.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QCoreApplication>
#include <chrono>
#include <cstdio>
#include <functional>
#include <mutex>

#include "app/startup.h"
#include "graphics/graphics_layer.h"
#include "shell/main_window.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

inline void EnsureApplication() {
    static int argc = 1;
    static char name[] = "graphics_tests";
    static char* argv[] = {name, nullptr};
    if (QApplication::instance()) return;
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    new QApplication(argc, argv);
    RegisterCore();
    RegisterGraphicsLayer();
}

class CGraphicsTestWindow : public IMainWindow {
public:
    void PostOrder(int, std::unique_ptr<SPayload>) override {}
    void PostLog(const Text& line, bool) override {
        std::lock_guard lock(m_mutex);
        m_lines.push_back(line);
    }
    void PostShellEnded() override {}
    std::vector<Text> Lines() {
        std::lock_guard lock(m_mutex);
        return m_lines;
    }

private:
    std::mutex m_mutex;
    std::vector<Text> m_lines;
};

class GraphicsTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { EnsureApplication(); }
    void SetUp() override {
        m_env = std::make_unique<CShellEnv>(&m_window);
        m_shell = m_env->NewShell(nullptr, nullptr);
        m_shell->WaitIdleAfter(0);
        Run(L"MSG DEBUG RTERROR 0");
    }
    void TearDown() override {
        // Items go with the shell; their windows close through the channel, served here.
        if (m_shell) {
            m_shell->Run(L"EXIT 0");
            Spin([&] { return m_shell->Finished().IsSet(); });
        }
        m_env.reset();
        QCoreApplication::processEvents();
    }

    // Turns the event loop until `done` holds (or 20 s pass).
    template <class Done> bool Spin(Done done) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!done()) {
            if (std::chrono::steady_clock::now() > end) return false;
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        }
        return true;
    }

    // Runs one line in the shell and serves its requests until the shell is idle; the line's RC.
    int Run(const Text& line) {
        const uint64_t idle = m_shell->IdleCount();
        EXPECT_EQ(m_shell->Run(line), 0);
        EXPECT_TRUE(Spin([&] { return m_shell->WaitIdleAfter(idle, 0); })) << "the shell did not come back";
        return std::stoi(m_shell->GetVar(L"RC").empty() ? L"0" : m_shell->GetVar(L"RC"));
    }
    // The text of an expression line (a status key, a variable).
    Text Value(const Text& expression) {
        Run(L"#v := SET " + expression);
        return m_shell->GetVar(L"#v");
    }
    // The lines of the next `count` messages that `trigger` makes the windows send.
    // A macro takes them with MSG LOOP, as an application does (a shell that runs
    // no macro has no use for a message).
    // A `line` runs in the same macro first (the messages it causes would find an idle
    // shell otherwise, which has no use for them).
    std::vector<Text> Events(int count, const std::function<void()>& trigger, const Text& line = Text()) {
        if (!m_loaded) {
            const std::string path = "/tmp/kvo_graphics_events_" + std::to_string(::getpid()) + ".kvs";
            FILE* f = std::fopen(path.c_str(), "w");
            // A dropped file's table lives as long as the macro's level: its path is read at once.
            std::fputs("[MACRO COLLECT #n #line]\n@events :=\nIF '$#line' != '' THEN\n  INTERPRET /S "
                       "'$#line'\nEND\nFOR #i := 1 TO $#i <= $#n STEP #i := INT $#i + 1\n"
                       "  MSG LOOP\n  READSTR '$#MSG' #k #o #w #p\n  #row :=\n"
                       "  IF '$#w' == 'DROPFILE' THEN\n    #row := SET =$#p[0]\n  END\n"
                       "  @events := '$@events$#MSG$#row|'\nEND\n",
                       f);
            std::fclose(f);
            EXPECT_EQ(Run(L"LOAD MACROCODE '" + FromUtf8(path) + L"'"), 0);
            std::remove(path.c_str());
            m_loaded = true;
        }
        const uint64_t idle = m_shell->IdleCount();
        // An interpreted line reports its end as a message of its own.
        EXPECT_EQ(m_shell->Run(L"COLLECT " + IntText(count + (line.empty() ? 0 : 1)) + L" " + line), 0);
        trigger();
        EXPECT_TRUE(Spin([&] { return m_shell->WaitIdleAfter(idle, 0); })) << "the events did not come";
        std::vector<Text> lines;
        Text all = m_env->GetGlobal(L"events");
        for (size_t bar; (bar = all.find(L'|')) != Text::npos; all.erase(0, bar + 1))
            if (all.rfind(L"SHELL ", 0) != 0) lines.push_back(all.substr(0, bar));
        return lines;
    }
    // The messages that a line causes.
    std::vector<Text> EventsOf(const Text& line, int count = 1) {
        return Events(
            count, [] {}, line);
    }
    Text Event(const std::function<void()>& trigger) {
        std::vector<Text> lines = Events(1, trigger);
        return lines.empty() ? Text() : lines[0];
    }
    bool m_loaded = false;

    CGraphicsTestWindow m_window;
    std::unique_ptr<CShellEnv> m_env;
    CShell* m_shell = nullptr;
};
