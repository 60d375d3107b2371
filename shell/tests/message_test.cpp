// The message cycle: posted triples become text lines, RUN reaches idle and
// busy shells differently, MSG LOOP takes one line at a time.
#include <gtest/gtest.h>

#include "shell/message_codes.h"
#include "shell/tests/fakes.h"

namespace {

class ShellMessages : public ::testing::Test {
protected:
    void SetUp() override {
        CShellEnv::SetRuntime(&m_runtime);
        for (auto* k : {&m_display, &m_table, &m_dde, &m_ip, &m_value}) CItemKindRegistry::Register(k);
    }
    void TearDown() override {
        delete m_env;
        CShellEnv::SetRuntime(nullptr);
        for (int k : {KIND_DISPLAY, KIND_TABLE, KIND_DDECONV, KIND_IP, KIND_VALUE})
            CItemKindRegistry::Unregister(k);
    }
    // A shell whose thread waits for Resume: the test plays its thread and may Pump.
    CShell* HeldShell() {
        CFrameBase frame(nullptr);
        return m_env->NewShell(&frame, nullptr);
    }
    Text PumpOne(CShell* shell) {
        shell->Pump(false);
        if (shell->Queue().empty()) return L"<none>";
        Text line = shell->Queue().front();
        shell->Queue().pop_front();
        return line;
    }

    CRecordingWindow m_window;
    CShellEnv* m_env = new CShellEnv(&m_window);
    CScriptRuntime m_runtime;
    CTestKind m_display{KIND_DISPLAY, L"DISPLAY", L"D"};
    CTestKind m_table{KIND_TABLE, L"TABLE", L"T"};
    CTestKind m_dde{KIND_DDECONV, L"DDECONV", L"DDE"};
    CTestKind m_ip{KIND_IP, L"IP", L"IP"};
    CTestKind m_value{KIND_VALUE, L"VALUE", L"V"};
};

TEST_F(ShellMessages, MessagesWithoutSourceSpeakForMain) {
    CShell* s = HeldShell();
    s->Post(nullptr, MSG_MINIMIZE, 0);
    s->Post(nullptr, MSG_POPUP_ITEM, 203);
    s->Post(nullptr, MSG_CLOSE, 0);
    s->Post(nullptr, MSG_DEVICE_RUN, 7);
    EXPECT_EQ(PumpOne(s), L"MAIN MAIN MINIMIZE 0");
    EXPECT_EQ(PumpOne(s), L"MAIN MAIN POPUP 203");
    EXPECT_EQ(PumpOne(s), L"MAIN MAIN CLOSE 0");
    EXPECT_EQ(PumpOne(s), L"MAIN MAIN RUN 7");
    EXPECT_EQ(PumpOne(s), L"<none>");
}

TEST_F(ShellMessages, ItemMessagesNameKindAndItem) {
    CShell* s = HeldShell();
    auto* d = new STestObject;
    s->AddItem(L"Disp", d, KIND_DISPLAY);
    s->Post(d, MSG_COMMAND, 12);
    s->Post(d, MSG_CELLEDITED, 0, std::make_unique<STextPayload>(L"3 4 new text"));
    s->Post(d, MSG_TBCHECK, 2, std::make_unique<STextPayload>(L"Zoom"));
    EXPECT_EQ(PumpOne(s), L"DISPLAY Disp COMMAND 12");
    EXPECT_EQ(PumpOne(s), L"DISPLAY Disp CELLEDITED 3 4 new text");
    EXPECT_EQ(PumpOne(s), L"DISPLAY Disp TBCHECK 2 Zoom");
}

TEST_F(ShellMessages, KeyLinesCarryModifiersAndNames) {
    CShell* s = HeldShell();
    auto* d = new STestObject;
    s->AddItem(L"d", d, KIND_DISPLAY);
    s->Post(d, MSG_KEY, 'A');
    s->Post(d, MSG_KEY, 'A' | KEY_SHIFT);
    s->Post(d, MSG_KEY, KEYCODE_ESCAPE | KEY_CTRL);
    s->Post(d, MSG_KEY, KEYCODE_F1 + 4);
    s->Post(d, MSG_KEY, KEYCODE_PRIOR);
    s->Post(d, MSG_KEY, '7');
    s->Post(d, MSG_KEY, 200); // no name
    EXPECT_EQ(PumpOne(s), L"DISPLAY d KEY 65 a");
    EXPECT_EQ(PumpOne(s), L"DISPLAY d KEY 131137 A");
    EXPECT_EQ(PumpOne(s), L"DISPLAY d KEY -1");
    EXPECT_EQ(PumpOne(s), L"DISPLAY d KEY 116 F5");
    EXPECT_EQ(PumpOne(s), L"DISPLAY d KEY 33 previous");
    EXPECT_EQ(PumpOne(s), L"DISPLAY d KEY 55 7");
    EXPECT_EQ(PumpOne(s), L"DISPLAY d KEY 200 ");
}

TEST_F(ShellMessages, WheelGivesSignedDeltaAndButtonStates) {
    CShell* s = HeldShell();
    auto* d = new STestObject;
    s->AddItem(L"d", d, KIND_DISPLAY);
    const intptr_t down = (static_cast<intptr_t>(static_cast<uint16_t>(-120)) << 16) | 0x04 | 0x10;
    s->Post(d, MSG_WHEEL, down);
    s->Post(d, MSG_WHEEL, (120 << 16) | 0x01 | 0x08);
    EXPECT_EQ(PumpOne(s), L"DISPLAY d WHEEL -120 0 0 1 0 1");
    EXPECT_EQ(PumpOne(s), L"DISPLAY d WHEEL 120 1 0 0 1 0");
}

TEST_F(ShellMessages, DroppedFilesBecomeATemporaryTable) {
    CShell* s = HeldShell();
    s->PostDroppedFiles({L"/a b.wav", L"/c.wav"});
    const Text line = PumpOne(s);
    ASSERT_EQ(line, L"MAIN MAIN DROPFILE T#0");
    auto* entry = s->FindItem(L"T#0", KIND_TABLE);
    ASSERT_NE(entry, nullptr);
    EXPECT_TRUE(entry->user & ITEM_TEMPORARY);
    EXPECT_EQ(static_cast<STestObject*>(entry->value)->value, L"/a b.wav;/c.wav;");
    // On an item, the item speaks.
    auto* d = new STestObject;
    s->AddItem(L"view", d, KIND_DISPLAY);
    s->PostDroppedFiles({L"/x"}, d);
    EXPECT_EQ(PumpOne(s), L"DISPLAY view DROPFILE T#1");
}

// A kind may word the messages of its items itself (the connections do); other
// codes, and kinds that do not, keep the common "KIND name MESSAGE param".
TEST_F(ShellMessages, KindsWordTheirOwnMessages) {
    CShell* s = HeldShell();
    m_dde.m_wordedCode = MSG_DDE_ADVISEDATA;
    auto* conv = new STestObject;
    auto* ip = new STestObject;
    s->AddItem(L"conv", conv, KIND_DDECONV);
    s->AddItem(L"net", ip, KIND_IP);
    s->Post(conv, MSG_DDE_ADVISEDATA, 42, std::make_unique<STextPayload>(L"R1C1"));
    s->Post(conv, MSG_DDE_DISCONNECTED, 0);
    s->Post(ip, MSG_DDE_ADVISEDATA, 7);
    s->Post(ip, MSG_IP_RECEIVE, 5);
    EXPECT_EQ(PumpOne(s), L"conv WORDED 42 R1C1");
    EXPECT_EQ(PumpOne(s), L"DDECONV conv DDECONVDISCONNECTED 0");
    EXPECT_EQ(PumpOne(s), L"IP net DDEADVISEDATA 7");
    EXPECT_EQ(PumpOne(s), L"IP net RECEIVE 5");
}

TEST_F(ShellMessages, ValueItemsClaimSyncAndData) {
    CShell* s = HeldShell();
    auto* v1 = new STestObject;
    auto* v2 = new STestObject;
    v2->claims = true;
    s->AddItem(L"v1", v1, KIND_VALUE);
    s->AddItem(L"v2", v2, KIND_VALUE);
    s->Post(nullptr, MSG_DATA, 3);
    EXPECT_EQ(PumpOne(s), L"VALUE v2 DATA 3");
}

TEST_F(ShellMessages, MessagesOfDeletedItemsAndForeignCodesVanish) {
    CShell* s = HeldShell();
    auto* d = new STestObject;
    auto* entry = s->AddItem(L"gone", d, KIND_DISPLAY);
    s->Post(d, MSG_COMMAND, 1);
    s->RemoveItem(entry);
    s->Post(nullptr, 5000, 1); // no code of a shell
    s->Post(nullptr, MSG_FIRST, 1);
    s->Post(nullptr, MSG_UPDATE, 9);
    EXPECT_EQ(PumpOne(s), L"<none>");
    EXPECT_EQ(PumpOne(s), L"<none>");
    EXPECT_EQ(PumpOne(s), L"<none>");
    EXPECT_EQ(PumpOne(s), L"MAIN MAIN UPDATE 9");
}

TEST_F(ShellMessages, RunAndTraceLinesNameTheSender) {
    CShell* s = HeldShell();
    CShell* other = HeldShell();
    EXPECT_EQ(s->Run(L"do this", other), 0);
    EXPECT_EQ(s->Run(L""), 14);
    s->Post(nullptr, MSG_TRACE, 0, std::make_unique<STextPayload>(L"why"));
    EXPECT_EQ(PumpOne(s), L"SHELL X00000002 RUN do this");
    EXPECT_EQ(PumpOne(s), L"SHELL X00000001 DEBUG");
    const auto lines = m_window.Lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_NE(lines.back().find(L"Trace-Message \"why\" received -> enter debug mode"), Text::npos);
}

TEST_F(ShellMessages, ExitEndsTheShellAndLaterPostsAreRefused) {
    CShell* s = HeldShell();
    s->Post(nullptr, MSG_EXIT, 0);
    EXPECT_EQ(PumpOne(s), L"<none>");
    EXPECT_EQ(s->State(), SHELL_ENDING);
    EXPECT_FALSE(s->Post(nullptr, MSG_COMMAND, 0));
    EXPECT_EQ(s->Run(L"late"), 15);
}

TEST_F(ShellMessages, DebugKeyTwiceWhileAMacroRunsEntersDebugMode) {
    CShell* s = HeldShell();
    auto* d = new STestObject;
    s->AddItem(L"d", d, KIND_DISPLAY);
    CFrameBase frame(nullptr);
    s->m_pFrame = &frame;
    auto debugLines = [&] {
        int n = 0;
        for (const auto& l : m_window.Lines()) n += l.find(L"debug key detected") != Text::npos;
        return n;
    };
    s->Post(d, MSG_KEY, 'B' | KEY_CTRL);
    s->Post(d, MSG_KEY, 'X'); // another key starts the count again
    s->Post(d, MSG_KEY, 'D' | KEY_CTRL);
    for (int i = 0; i < 3; ++i) PumpOne(s);
    EXPECT_EQ(debugLines(), 0);
    s->Post(d, MSG_KEY, 'B' | KEY_CTRL);
    PumpOne(s);
    EXPECT_EQ(debugLines(), 1);
    s->m_pFrame = nullptr;
}

TEST(MessageNames, EveryCodeHasItsWord) {
    EXPECT_STREQ(MessageName(4096), L"?");
    EXPECT_STREQ(MessageName(4114), L"EXIT");
    EXPECT_STREQ(MessageName(4123), L"SYNC");
    EXPECT_STREQ(MessageName(4135), L"POPUP");
    EXPECT_STREQ(MessageName(4143), L"ERROR");
    EXPECT_STREQ(MessageName(4144), L"?");
    EXPECT_STREQ(MessageName(0), L"?");
}

// Running shells with their own threads.
class ShellThreads : public ::testing::Test {
protected:
    void SetUp() override { CShellEnv::SetRuntime(&m_runtime); }
    void TearDown() override {
        delete m_env;
        CShellEnv::SetRuntime(nullptr);
    }
    CRecordingWindow m_window;
    CScriptRuntime m_runtime;
    CShellEnv* m_env = new CShellEnv(&m_window);
};

TEST_F(ShellThreads, RunToAnIdleShellRunsAtOnceToABusyShellBecomesALine) {
    CShell* s = m_env->NewShell(nullptr, nullptr);
    ASSERT_EQ(s->Run(L"first"), 0);
    ASSERT_TRUE(m_runtime.WaitFor(1));
    ASSERT_EQ(s->Run(L"loop"), 0); // a macro that sits in MSG LOOP
    ASSERT_TRUE(m_runtime.WaitFor(2));
    ASSERT_EQ(s->Run(L"hello there"), 0);
    ASSERT_TRUE(m_runtime.WaitFor(3));
    ASSERT_EQ(s->Run(L"stop"), 0);
    ASSERT_TRUE(m_runtime.WaitFor(5));
    ASSERT_EQ(s->Run(L"after"), 0); // idle again: runs at once
    ASSERT_TRUE(m_runtime.WaitFor(6));
    EXPECT_EQ(m_runtime.Log(), (std::vector<Text>{L"first", L"loop", L"#MSG=SHELL X00000001 RUN hello there",
                                                  L"#MSG=SHELL X00000001 RUN stop", L"idle", L"after"}));
}

TEST_F(ShellThreads, MessagesArrivingWhileBusyStayInOrder) {
    CFrameBase frame(nullptr);
    CShell* s = m_env->NewShell(&frame, nullptr); // held until Resume
    s->Run(L"loop");
    s->Post(nullptr, MSG_MINIMIZE, 1);
    s->Post(nullptr, MSG_RESTORE, 2);
    s->Run(L"stop");
    s->Resume();
    ASSERT_TRUE(m_runtime.WaitFor(5));
    EXPECT_EQ(m_runtime.Log(),
              (std::vector<Text>{L"loop", L"#MSG=MAIN MAIN MINIMIZE 1", L"#MSG=MAIN MAIN RESTORE 2",
                                 L"#MSG=SHELL X00000001 RUN stop", L"idle"}));
}

TEST_F(ShellThreads, PollingOnAnEmptyQueueClearsMsgAndGoesOn) {
    CShell* s = m_env->NewShell(nullptr, nullptr);
    s->Vars().Set(L"#MSG", L"stale");
    s->Run(L"poll");
    ASSERT_TRUE(m_runtime.WaitFor(1));
    s->Run(L"done");
    ASSERT_TRUE(m_runtime.WaitFor(2));
    EXPECT_EQ(s->GetVar(L"#MSG"), L"");
    EXPECT_EQ(s->State(), SHELL_RUNNING);
}

TEST_F(ShellThreads, ExitMessageEndsAWaitingMacroAndTheShellCanBeDeleted) {
    CShell* s = m_env->NewShell(nullptr, nullptr);
    s->Run(L"loop");
    ASSERT_TRUE(m_runtime.WaitFor(1));
    EXPECT_FALSE(m_env->DeleteShell(nullptr)); // still alive: refused
    s->Post(nullptr, MSG_EXIT, 0);
    ASSERT_TRUE(m_window.WaitEnded(1));
    s->Finished().Wait();
    EXPECT_EQ(s->State(), SHELL_DEAD);
    EXPECT_EQ(s->m_level, 0u);
    EXPECT_TRUE(m_env->DeleteShell(nullptr));
    EXPECT_EQ(m_env->ShellCount(), 0u);
}

TEST_F(ShellThreads, DestroyingAShellWithItemsWarns) {
    CTestKind table{KIND_TABLE, L"TABLE", L"T"};
    CItemKindRegistry::Register(&table);
    CShell* s = m_env->NewShell(nullptr, nullptr);
    s->AddItem(L"t", new STestObject, KIND_TABLE);
    m_env->DeleteAllShells();
    CItemKindRegistry::Unregister(KIND_TABLE);
    EXPECT_EQ(table.m_released, 1);
    const auto lines = m_window.Lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), L"Shell 00000001 Destruct - Warning: 1 shell items are still active!");
}

TEST_F(ShellThreads, ShellsNameTheirParents) {
    CShell* parent = m_env->NewShell(nullptr, nullptr);
    CShell* child = m_env->NewShell(nullptr, parent);
    EXPECT_EQ(child->Vars().Get(L"SHELL"), L"X00000002 X00000001");
    EXPECT_EQ(parent->Vars().Get(L"SHELL"), L"X00000001");
    EXPECT_EQ(parent->GetVar(L"#SHELL"), L"X00000002"); // no frame: kept in the shell store
    EXPECT_EQ(m_env->FindShell(L"x00000002"), child);
    EXPECT_EQ(m_env->FindShell(L""), parent);
    EXPECT_EQ(m_env->NextShell(parent), child);
    EXPECT_EQ(m_env->NextShell(child), nullptr);
}

} // namespace
