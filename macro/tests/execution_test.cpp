// Macros run in a real shell: control flow, calls, results, RC and EMSG,
// the program check, the message loop.
#include "macro/tests/macro_fixture.h"

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

TEST_F(MacroRun, ForLoopSkipsTheStepOnTheFirstRound) {
    ASSERT_TRUE(Load(L"[MACRO count]\n"
                     L"@trace := start\n"
                     L"FOR #i := 0 TO $#i < 3 STEP #i := INT $#i + 1\n"
                     L"  @trace := $@trace,$#i\n"
                     L"END\n"
                     L"@after := $#i\n"));
    RunToEnd(L"count");
    EXPECT_EQ(Global(L"trace"), L"start,0,1,2");
    EXPECT_EQ(Global(L"after"), L"3");
}

TEST_F(MacroRun, ContinueGoesToTheTestInWhileAndToTheStepInFor) {
    ASSERT_TRUE(Load(L"[MACRO loops]\n"
                     L"#n := 0\n"
                     L"@w :=\n"
                     L"WHILE $#n < 4\n"
                     L"  #n := INT $#n + 1\n"
                     L"  IF $#n == 2 CONTINUE\n"
                     L"  @w := $@w$#n\n"
                     L"END\n"
                     L"@f :=\n"
                     L"FOR #k := 0 TO $#k < 5 STEP #k := INT $#k + 1\n"
                     L"  IF $#k == 1 THEN\n"
                     L"    CONTINUE\n"
                     L"  END\n"
                     L"  IF $#k == 3 BREAK\n"
                     L"  @f := $@f$#k\n"
                     L"END\n"));
    RunToEnd(L"loops");
    EXPECT_EQ(Global(L"w"), L"134");
    EXPECT_EQ(Global(L"f"), L"02");
}

TEST_F(MacroRun, BlockIfElseIfElseAndConditions) {
    ASSERT_TRUE(Load(L"[MACRO pick x]\n"
                     L"IF $x < 0 THEN\n"
                     L"  EXIT 1 negative\n"
                     L"ELSE IF $x == 0 THEN\n"
                     L"  EXIT 1 zero\n"
                     L"ELSE IFNOT $x > 100 THEN\n"
                     L"  EXIT 1 small\n"
                     L"ELSE\n"
                     L"  EXIT 1 large\n"
                     L"END\n"
                     L"[MACRO main]\n"
                     L"@a := pick -3\n"
                     L"@b := pick 0\n"
                     L"@c := pick 7.5\n"
                     L"@d := pick 1e3\n"
                     L"IF abc =SI A* && 2 > 10 || x ==  X THEN\n"
                     L"  @e := yes\n"
                     L"END\n"
                     L"IF name.txt =NI *.txt THEN\n"
                     L"  @f := valid\n"
                     L"END\n"
                     L"IF 9abc =NI * THEN\n"
                     L"  @g := nonsense\n"
                     L"END\n"
                     L"IF 10 > 9 THEN\n"
                     L"  @h := numbers\n"
                     L"END\n"
                     L"IF b10 > b9 THEN\n"
                     L"  @i := text\n"
                     L"END\n"
                     L"#n := EVAL 2*3\n"
                     L"IF $#n == 6 && 2^3 > 7.5 THEN\n"
                     L"  @j := expressions\n"
                     L"END\n"));
    RunToEnd(L"main");
    EXPECT_EQ(Global(L"a"), L"negative");
    EXPECT_EQ(Global(L"b"), L"zero");
    EXPECT_EQ(Global(L"c"), L"small");
    EXPECT_EQ(Global(L"d"), L"large");
    EXPECT_EQ(Global(L"e"), L"yes"); // strictly left to right: (true && false) || true
    EXPECT_EQ(Global(L"f"), L"valid");
    EXPECT_EQ(Global(L"g"), L"");
    EXPECT_EQ(Global(L"h"), L"numbers");
    EXPECT_EQ(Global(L"i"), L""); // compared as text: "b10" < "b9"
}

TEST_F(MacroRun, BadConditionsGiveTheirCodes) {
    ASSERT_TRUE(Load(L"[MACRO bad]\n"
                     L"#x := a b\n"
                     L"IF $#x == 1 THEN\n"
                     L"END\n"
                     L"@count := $RC\n"
                     L"IF 1 ~~ 1 THEN\n"
                     L"END\n"
                     L"@op := $RC\n"));
    RunToEnd(L"bad");
    EXPECT_EQ(Global(L"count"), L"2");
    EXPECT_EQ(Global(L"op"), L"12");
}

TEST_F(MacroRun, MacroxSharesLocalsAndMacroDoesNot) {
    ASSERT_TRUE(Load(L"[MACRO setx]\n"
                     L"#x := changed\n"
                     L"[MACRO main]\n"
                     L"#x := original\n"
                     L"MACRO setx\n"
                     L"@plain := $#x\n"
                     L"MACROX setx\n"
                     L"@shared := $#x\n"));
    RunToEnd(L"main");
    EXPECT_EQ(Global(L"plain"), L"original");
    EXPECT_EQ(Global(L"shared"), L"changed");
}

TEST_F(MacroRun, ArgumentsDefaultsAndSpecialLocals) {
    ASSERT_TRUE(Load(L"[MACRO args a b=two c]\n"
                     L"@got := $a|$b|$c|$#ARGC|$#MAC\n"
                     L"@argv := $#ARGV\n"));
    RunToEnd(L"args 1 'x y'");
    EXPECT_EQ(Global(L"got"), L"1|x y||2|ARGS");
}

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

TEST_F(MacroRun, ExitMinusOneStopsAtOnExitAll) {
    ASSERT_TRUE(Load(L"[MACRO leaf]\n"
                     L"EXIT -1 unwound\n"
                     L"[MACRO mid]\n"
                     L"leaf\n"
                     L"@mid := not skipped\n"
                     L"[MACRO top]\n"
                     L"#OnExitAll := 1\n"
                     L"mid\n"
                     L"@top := $RESULT\n"));
    RunToEnd(L"top");
    EXPECT_EQ(Global(L"mid"), L"");
    EXPECT_EQ(Global(L"top"), L"unwound");
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

TEST_F(MacroRun, InlineCallInsideAConditionRunsToItsEndFirst) {
    ASSERT_TRUE(Load(L"[MACRO five]\n"
                     L"@order := $@order+five\n"
                     L"EXIT 1 5\n"
                     L"[MACRO main]\n"
                     L"@order := start\n"
                     L"IF $(five) == 5 THEN\n"
                     L"  @order := $@order+then\n"
                     L"END\n"
                     L"@inline := [$(five)]\n"));
    RunToEnd(L"main");
    EXPECT_EQ(Global(L"order"), L"start+five+then+five");
    EXPECT_EQ(Global(L"inline"), L"[5]");
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

TEST_F(MacroRun, EmptyTargetAndDeletingAssignments) {
    ASSERT_TRUE(Load(L"[MACRO main]\n"
                     L"#name :=\n"
                     L"$#name := UPPER value\n"
                     L"@empty := $RC\n"
                     L"#v := something\n"
                     L"#v :=\n"
                     L"@deleted := [$#v]\n"));
    RunToEnd(L"main");
    EXPECT_EQ(Global(L"empty"), L"303");
    EXPECT_EQ(Global(L"deleted"), L"[]");
}

TEST_F(MacroRun, GosubGotoAndComputedLabels) {
    ASSERT_TRUE(Load(L"[MACRO main]\n"
                     L"#x := local\n"
                     L"GOSUB sub\n"
                     L"@own := $#x\n"
                     L"GOSUBX sub\n"
                     L"@shared := $#x\n"
                     L"#where := there\n"
                     L"GOTO $#where\n"
                     L"@skipped := 1\n"
                     L"there: @jumped := 1\n"
                     L"GOTO nowhere\n"
                     L"@badlabel := $RC\n"
                     L"EXIT 1\n"
                     L"sub:\n"
                     L"#x := from sub\n"
                     L"EXIT 1\n"));
    RunToEnd(L"main");
    EXPECT_EQ(Global(L"own"), L"local");
    EXPECT_EQ(Global(L"shared"), L"from sub");
    EXPECT_EQ(Global(L"skipped"), L"");
    EXPECT_EQ(Global(L"jumped"), L"1");
    EXPECT_EQ(Global(L"badlabel"), L"10");
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

TEST_F(MacroRun, StatusBracketsAndTildeOfUnknownNames) {
    ASSERT_TRUE(Load(L"[MACRO main]\n"
                     L"@size := nothing[]\n"
                     L"@kind := ~nothing\n"
                     L"@plain := a[1]\n"));
    RunToEnd(L"main");
    EXPECT_EQ(Global(L"size"), L"-1");
    EXPECT_EQ(Global(L"kind"), L"*");
    EXPECT_EQ(Global(L"plain"), L"a[1]");
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
