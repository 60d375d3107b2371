// Macros run in a real shell where C++ must look: the bottom frame, the end
// of the shell, temporary items of a test kind, the program check and the log
// of the window, the message loop between shells, the stack guard, INTERPRET's
// report. What a macro can check itself is in tests/execution.kvs.
#include "macro/compiler.h"
#include "macro/register.h"
#include "testsupport/macro_fixture.h"

#include "shell/command_registry.h"
#include "shell/item_kind.h"

namespace {

// A kind whose objects count their releases, and a command that makes a
// temporary item of it at the caller's level, as EVAL or a result table would.
struct STempObject {};
int g_tempReleased = 0;

class CTempKind : public CItemKind {
public:
    CTempKind() : CItemKind(KIND_TABLE, L"TABLE", L"T") {}
    void Release(void* object) override {
        ++g_tempReleased;
        delete static_cast<STempObject*>(object);
    }
    long long Size(void*) override { return 7; }
};
CTempKind g_tempKind;

int MakeTemporary(CShell& shell, CWords&, COptions&, int, Text& result) {
    Text name;
    shell.MakeItemName(L"*", name, KIND_TABLE);
    shell.AddItem(name, new STempObject,
                  WithItemLevel(static_cast<uint32_t>(KIND_TABLE) | ITEM_TEMPORARY, shell.m_level));
    result = name;
    return 0;
}
constexpr CCommandRow kTestRows[] = {{L"TESTTEMP", &MakeTemporary, false, 0, 0, nullptr, nullptr, nullptr}};

class MacroRun : public MacroTest {
protected:
    void SetUp() override {
        MacroTest::SetUp();
        CItemKindRegistry::Register(&g_tempKind);
        CCommandRegistry::Register(kTestRows, 1);
        g_tempReleased = 0;
    }
    void TearDown() override {
        MacroTest::TearDown();
        CItemKindRegistry::Unregister(KIND_TABLE);
    }
};

TEST_F(MacroRun, ExitLevels) {
    ASSERT_TRUE(Load(L"[MACRO inner]\n"
                     L"EXIT 2 deep\n"
                     L"@never := 1\n"
                     L"[MACRO middle]\n"
                     L"inner\n"
                     L"@middle := reached\n"
                     L"[MACRO bottom]\n"
                     L"EXIT 1\n"
                     L"@bottom := still here\n"
                     L"x := middle\n"
                     L"@result := $RESULT\n"));
    RunToEnd(L"bottom");
    // EXIT 1 in the bottom frame pops nothing: the next line runs.
    EXPECT_EQ(Global(L"bottom"), L"still here");
    EXPECT_EQ(Global(L"never"), L"");
    EXPECT_EQ(Global(L"middle"), L"");
    EXPECT_EQ(Global(L"result"), L"deep");
}

TEST_F(MacroRun, ExitZeroEndsTheShellAtAnyDepth) {
    ASSERT_TRUE(Load(L"[MACRO deep]\n"
                     L"EXIT 0\n"
                     L"[MACRO top]\n"
                     L"x := deep\n"
                     L"@after := 1\n"));
    CShell* s = Shell();
    s->Run(L"top");
    ASSERT_TRUE(s->Finished().WaitFor(20000));
    EXPECT_EQ(Global(L"after"), L"");
    EXPECT_EQ(s->m_level, 0u);
}

TEST_F(MacroRun, TemporaryItemHandedBackSurvivesTheSweep) {
    ASSERT_TRUE(Load(L"[MACRO make]\n"
                     L"#t := TESTTEMP\n"
                     L"#lost := TESTTEMP\n"
                     L"EXIT 1 $#t\n"
                     L"[MACRO main]\n"
                     L"#t := make\n"
                     L"@name := $#t\n"
                     L"@size := $#t[]\n"
                     L"@kind := ~$#t\n"));
    RunToEnd(L"main");
    EXPECT_EQ(Global(L"name"), L"T#0");
    EXPECT_EQ(Global(L"kind"), L"TABLE");
    // The other temporary item of the callee went with its level.
    EXPECT_EQ(g_tempReleased, 1);
    ASSERT_NE(Shell()->FindItem(L"T#0"), nullptr);
    EXPECT_EQ(Shell()->FindItem(L"T#1"), nullptr);
}

TEST_F(MacroRun, IneffectiveStatementGives259AndAProgramCheck) {
    ASSERT_TRUE(Load(L"[MACRO main]\n"
                     L"foo bar\n"
                     L"@rc := $RC\n"
                     L"foo bar\n"
                     L"@emsg := $EMSG\n"
                     L"x := foo bar\n"
                     L"@assigned := $x|$RC\n"));
    RunToEnd(L"main");
    EXPECT_EQ(Global(L"rc"), L"259");
    EXPECT_EQ(Global(L"emsg"), L"ineffective statement (maybe a mis-spelled macro name or statement)");
    // An unknown word assigns the text itself, and that is effective.
    EXPECT_EQ(Global(L"assigned"), L"foo bar|0");
    const auto checks = m_window.Checks();
    ASSERT_GE(checks.size(), 1u);
    EXPECT_EQ(checks[0].substr(0, 48), L"Program check interruption #259 in macro MAIN, l");
    EXPECT_NE(checks[0].find(L"line 2:\n\n ineffective statement"), Text::npos);
    ASSERT_EQ(m_window.Checks().size(), 2u);
}

TEST_F(MacroRun, ProgramCheckTellsWhereAndAStopEndsTheShell) {
    ASSERT_TRUE(Load(L"[MACRO main]\n"
                     L"@before := 1\n"
                     L"x := EVAL 1/0\n"
                     L"@after := 1\n"));
    {
        std::lock_guard lock(m_env->Lock());
        dynamic_cast<CMacroCode*>(m_env->FindMacro(L"MAIN"))->m_source = L"src/app.kvs";
    }
    m_window.Answer(CHECK_STOP);
    CShell* s = Shell();
    ASSERT_EQ(s->Run(L"main"), 0);
    // Nothing but the stop ends this shell.
    ASSERT_TRUE(s->Finished().WaitFor(20000)) << "the stop did not end the shell";
    EXPECT_EQ(Global(L"before"), L"1");
    EXPECT_EQ(Global(L"after"), L"");
    const auto reports = m_window.Reports();
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].code, 22);
    EXPECT_EQ(reports[0].macro, L"MAIN");
    EXPECT_EQ(reports[0].file, L"src/app.kvs");
    EXPECT_EQ(reports[0].line, 3);
    EXPECT_EQ(reports[0].message, L"division does not compute");
    EXPECT_EQ(reports[0].text.substr(0, 50), L"Program check interruption #22 in macro MAIN, line");
}

TEST_F(MacroRun, ProgramCheckCanBeTurnedOff) {
    ASSERT_TRUE(Load(L"[MACRO main]\n"
                     L"MSG DEBUG RTERROR 0\n"
                     L"foo bar\n"
                     L"@rc := $RC\n"));
    RunToEnd(L"main");
    EXPECT_EQ(Global(L"rc"), L"259");
    EXPECT_TRUE(m_window.Checks().empty());
    EXPECT_FALSE(m_env->m_bProgramCheck);
}

TEST_F(MacroRun, RunMessageIsReadByABusyMacro) {
    ASSERT_TRUE(Load(L"[MACRO listen]\n"
                     L"MSG LOOP\n"
                     L"@first := SET $#MSG\n"
                     L"MSG LOOP /N\n"
                     L"@second := [$#MSG]\n"
                     L"MSG LOOP\n"
                     L"@third := SET $#MSG\n"
                     L"EXIT 0\n"));
    CShell* s = Shell();
    s->Run(L"listen");
    s->Run(L"hello world");
    // The second wait polls an empty queue; the third blocks until this arrives.
    while (Global(L"second").empty()) std::this_thread::yield();
    s->Run(L"third line");
    ASSERT_TRUE(s->Finished().WaitFor(20000));
    EXPECT_EQ(Global(L"first"), L"SHELL " + s->IdText() + L" RUN hello world");
    EXPECT_EQ(Global(L"second"), L"[]");
    EXPECT_EQ(Global(L"third"), L"SHELL " + s->IdText() + L" RUN third line");
}

TEST_F(MacroRun, MsgExitAndRunAddressShells) {
    ASSERT_TRUE(Load(L"[MACRO worker]\n"
                     L"@worker := $SHELL\n"
                     L"[MACRO main]\n"
                     L"SHELL worker\n"
                     L"@child := $#SHELL\n"
                     L"MSG RUN nobody text\n"
                     L"@unknown := $RC\n"
                     L"MSG EXIT =\n"
                     L"@after := not reached\n"));
    CShell* s = Shell();
    s->Run(L"main");
    // The own shell ends through its own queue: the line after it never runs.
    ASSERT_TRUE(s->Finished().WaitFor(20000));
    EXPECT_EQ(Global(L"unknown"), L"15");
    EXPECT_EQ(Global(L"after"), L"");
    const Text child = Global(L"child");
    ASSERT_FALSE(child.empty());
    CShell* worker = m_env->FindShell(child);
    ASSERT_NE(worker, nullptr);
    worker->Post(nullptr, 4097, 0);
    ASSERT_TRUE(worker->Finished().WaitFor(20000));
    EXPECT_EQ(Global(L"worker"), child + L" " + Shell()->IdText());
}

TEST_F(MacroRun, RunawayRecursionIsStoppedByTheStackGuard) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer loses track of a hundred thousand nested frames";
#endif
    ASSERT_TRUE(Load(L"[MACRO rec]\n"
                     L"#x := rec\n"
                     L"IF $RC == 211 THEN\n"
                     L"  @overflow := 1\n"
                     L"END\n"));
    RunToEnd(L"rec");
    EXPECT_EQ(Global(L"overflow"), L"1");
    bool logged = false;
    for (const auto& l : m_window.Lines())
        logged |= l == L"Stack overflow - probably infinite or too deep macro recursion";
    EXPECT_TRUE(logged);
    EXPECT_EQ(Shell()->m_level, 0u);
}

TEST_F(MacroRun, InterpretRunsTheTextAsTheNextLineAndReportsIt) {
    ASSERT_TRUE(Load(L"[MACRO main]\n"
                     L"#cmd := SET UPPER abc\n"
                     L"@how := INTERPRET #cmd #out\n"
                     L"@after := $#out|$RC\n"
                     L"MSG LOOP /N\n"
                     L"@report := SET $#MSG\n"
                     L"@bad := INTERPRET /S 'x := `$(UPPER'\n"
                     L"@empty := INTERPRET /S ''\n"
                     L"INTERPRET /S 'nonsense words'\n"
                     L"MSG LOOP /N\n"
                     L"@ineffective := SET $#MSG\n"));
    RunToEnd(L"main");
    EXPECT_EQ(Global(L"how"), L"2;");
    EXPECT_EQ(Global(L"after"), L"ABC|0");
    const Text id = Shell()->IdText();
    // RC, then the lengths of target, result and message, then the three texts in a row;
    // an ineffective line reports its RC before it becomes 259, with the message behind.
    EXPECT_EQ(Global(L"report"), L"SHELL " + id + L" INTERPRET 0 4 3 0 #outABC");
    EXPECT_EQ(Global(L"bad").substr(0, 2), L"1;");
    EXPECT_EQ(Global(L"empty"), L"0;");
    const Text message = L"ineffective statement (maybe a mis-spelled macro name or statement)";
    EXPECT_EQ(Global(L"ineffective"), L"SHELL " + id + L" INTERPRET 0 4 14 " + IntText(message.size()) +
                                          L" IRESnonsense words" + message);
}

TEST_F(MacroRun, WritelogAndEmsgSpeakTheLanguagesWords) {
    ASSERT_TRUE(Load(L"[MACRO main]\n"
                     L"WRITELOG hello   world\n"
                     L"@e2 := EMSG 2\n"
                     L"@e15 := EMSG 15\n"
                     L"@e999 := EMSG 999\n"));
    RunToEnd(L"main");
    const auto lines = m_window.Lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0], L"hello world");
    EXPECT_EQ(Global(L"e2"), L"error 2: too few arguments");
    EXPECT_EQ(Global(L"e15"), L"warning 15: shell cancelled (exit 0)");
    EXPECT_EQ(Global(L"e999"), L"error 486: Unknown or invalid numerical error code.");
}

} // namespace
