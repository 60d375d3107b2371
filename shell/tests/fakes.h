// Stand-ins for the layers above the shell: a main window that records, a
// runtime that plays a scripted macro, and item kinds with plain objects.
#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <vector>

#include "shell/item_kind.h"
#include "shell/main_window.h"
#include "shell/runtime.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

class CRecordingWindow : public IMainWindow {
public:
    void PostOrder(int order, std::unique_ptr<SPayload>) override {
        std::lock_guard lock(m_mutex);
        m_orders.push_back(order);
    }
    void PostLog(const Text& line, bool clear) override {
        std::lock_guard lock(m_mutex);
        if (clear) m_lines.clear();
        if (!line.empty()) m_lines.push_back(line);
    }
    void PostShellEnded() override {
        std::lock_guard lock(m_mutex);
        ++m_ended;
        m_changed.notify_all();
    }
    std::vector<Text> Lines() {
        std::lock_guard lock(m_mutex);
        return m_lines;
    }
    bool WaitEnded(int count) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(10), [&] { return m_ended >= count; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Text> m_lines;
    std::vector<int> m_orders;
    int m_ended = 0;
};

// A macro that does nothing but MSG LOOP, records every #MSG and returns on "stop".
// Text lines: "loop" starts such a macro, "poll" does one MSG LOOP /N, "exit" ends the shell;
// anything else is only recorded.
class CScriptRuntime : public IMacroRuntime {
public:
    bool RunFrames(CShell& shell) override {
        const bool hadFrames = shell.m_pFrame != nullptr;
        while (shell.m_pFrame) {
            const int state = shell.State();
            if (state == SHELL_RUNNING) {
                shell.SetState(SHELL_WAITING); // the macro's next line is MSG LOOP
            } else if (state == SHELL_WAITING || state == SHELL_POLLING) {
                shell.WaitMessage();
                const Text msg = shell.GetVar(L"#MSG");
                Record(L"#MSG=" + msg);
                if (msg.find(L"stop") != Text::npos) Pop(shell);
            } else {
                break;
            }
            shell.Pump(false);
        }
        // From here on a RUN reaches the idle shell directly.
        if (hadFrames && shell.State() == SHELL_RUNNING) Record(L"idle");
        return shell.State() == SHELL_RUNNING;
    }
    void ExecuteText(CShell& shell, const Text& text) override {
        Record(text);
        if (text == L"loop") {
            shell.m_pFrame = new CFrameBase(shell.m_pFrame);
            ++shell.m_level;
        } else if (text == L"poll") {
            shell.SetState(SHELL_POLLING);
        } else if (text == L"exit") {
            shell.SetState(SHELL_ENDING);
        }
    }
    void UnwindFrames(CShell& shell) override {
        while (shell.m_pFrame) Pop(shell);
    }

    std::vector<Text> Log() {
        std::lock_guard lock(m_mutex);
        return m_log;
    }
    // Waits until `count` entries are recorded.
    bool WaitFor(size_t count) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(10), [&] { return m_log.size() >= count; });
    }

private:
    void Record(const Text& t) {
        std::lock_guard lock(m_mutex);
        m_log.push_back(t);
        m_changed.notify_all();
    }
    static void Pop(CShell& shell) {
        CFrameBase* f = shell.m_pFrame;
        shell.m_pFrame = f->Parent();
        delete f;
        if (shell.m_level) --shell.m_level;
    }
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Text> m_log;
};

// Objects of a test kind are plain heap objects; the kind counts their releases.
struct STestObject {
    Text value;
    CVariableMap members;
    bool claims = false;
};

class CTestKind : public CItemKind {
public:
    using CItemKind::CItemKind;
    void Release(void* object) override {
        ++m_released;
        delete static_cast<STestObject*>(object);
    }
    CVariableMap* Members(void* object) override {
        return Kind() == KIND_INSTANCE ? &static_cast<STestObject*>(object)->members : nullptr;
    }
    bool Claim(void* object, const SMessage&) override { return static_cast<STestObject*>(object)->claims; }
    void* FromLines(const std::vector<Text>& lines) override {
        auto* o = new STestObject;
        for (const auto& l : lines) o->value += l + L";";
        return o;
    }
    bool NumberText(void* object, Text& out) override {
        out = static_cast<STestObject*>(object)->value;
        return Kind() == KIND_NUMBER;
    }
    // A kind that words one message code itself: "<name> WORDED <param> <payload>".
    bool MessageLine(CShell&, void*, const Text& name, const SMessage& m, Text& line) override {
        if (m.code != m_wordedCode) return false;
        const auto* text = dynamic_cast<const STextPayload*>(m.payload.get());
        line = Format(L"%s WORDED %d %s", name.c_str(), static_cast<int>(m.param),
                      text ? text->text.c_str() : L"");
        return true;
    }
    int m_released = 0;
    uint32_t m_wordedCode = 0;
};
