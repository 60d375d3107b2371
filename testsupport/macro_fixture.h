// A whole shell that runs macro text: sections "[MACRO name args]" are
// compiled into the environment, a line is sent to a shell, and the test
// reads what the macros left in variables and in the log.
//
// Tests of every layer may use it: it shows shell-level types only, and the
// macro layer stays behind testsupport/macro_fixture.cpp.
#pragma once

#include <gtest/gtest.h>

#include <mutex>
#include <vector>

#include "shell/main_window.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

class CTestWindow : public IMainWindow {
public:
    void PostOrder(int, std::unique_ptr<SPayload>) override {}
    void PostLog(const Text& line, bool) override {
        std::lock_guard lock(m_mutex);
        m_lines.push_back(line);
    }
    void PostShellEnded() override {}
    int ProgramCheck(const SProgramCheck& check) override {
        std::lock_guard lock(m_mutex);
        m_checks.push_back(check.text);
        m_reports.push_back(check);
        return m_answer;
    }
    // The checks as reported, and the answer to give them.
    std::vector<SProgramCheck> Reports() {
        std::lock_guard lock(m_mutex);
        return m_reports;
    }
    void Answer(int answer) {
        std::lock_guard lock(m_mutex);
        m_answer = answer;
    }
    std::vector<Text> Lines() {
        std::lock_guard lock(m_mutex);
        return m_lines;
    }
    std::vector<Text> Checks() {
        std::lock_guard lock(m_mutex);
        return m_checks;
    }

private:
    std::mutex m_mutex;
    std::vector<Text> m_lines;
    std::vector<Text> m_checks;
    std::vector<SProgramCheck> m_reports;
    int m_answer = CHECK_IGNORE;
};

class MacroTest : public ::testing::Test {
protected:
    // Registers the macro layer (commands, items, expressions); a test of a
    // layer above it registers its own layer as well.
    void SetUp() override;
    void TearDown() override { delete m_env; }

    // Compiles every section of `source`; the messages of the compiler go to m_compileLog.
    bool Load(const Text& source, bool ignoreWarnings = true);

    CShell* Shell() {
        if (!m_shell) {
            m_shell = m_env->NewShell(nullptr, nullptr);
            m_shell->WaitIdleAfter(0);
        }
        return m_shell;
    }

    // Runs `line` in the shell and waits until the shell is idle again:
    // a line that arrives while a macro runs would only be a message for it.
    void RunAndWait(const Text& line) {
        CShell* s = Shell();
        const uint64_t idle = s->IdleCount();
        ASSERT_EQ(s->Run(line), 0);
        ASSERT_TRUE(s->WaitIdleAfter(idle, 20000)) << "the shell did not come back";
    }

    // Runs `line`, then ends the shell.
    void RunToEnd(const Text& line) {
        CShell* s = Shell();
        RunAndWait(line);
        if (!s->Finished().IsSet()) s->Run(L"EXIT 0");
        ASSERT_TRUE(s->Finished().WaitFor(20000)) << "the shell did not end";
    }

    Text Var(const Text& name) { return Shell()->Vars().Get(name); }
    Text Global(const Text& name) { return m_env->GetGlobal(name); }

    CTestWindow m_window;
    CShellEnv* m_env = new CShellEnv(&m_window);
    CShell* m_shell = nullptr;
    std::vector<Text> m_compileLog;
};
