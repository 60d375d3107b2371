// MSG towards the main window and other shells, LIST, TRANSLATE,
// KVOCONSTANTS, WRITELOG's forms and EMSG.
#include <algorithm>
#include <set>
#include <sstream>

#include "macro/code.h"
#include "macro/tests/commands_fixture.h"

namespace {

std::vector<Text> WordsOf(const Text& text) {
    std::wistringstream in(text);
    std::vector<Text> words;
    for (Text w; in >> w;) words.push_back(w);
    return words;
}

class MiscCommands : public CommandTest {
protected:
    template <class P> const P* LastPayload(int order) {
        const auto orders = m_window.Orders();
        for (auto it = orders.rbegin(); it != orders.rend(); ++it)
            if (it->order == order) return dynamic_cast<const P*>(it->payload.get());
        return nullptr;
    }
    size_t OrderCount(int order) {
        const auto orders = m_window.Orders();
        return static_cast<size_t>(
            std::count_if(orders.begin(), orders.end(), [&](auto& o) { return o.order == order; }));
    }
};

TEST_F(MiscCommands, MsgMainSendsOnlyTheGivenPartsAndAnswersTheMergedState) {
    m_window.m_bAnswers = true;
    m_window.m_state = {L"VISIBLE", L"RESTORED", 1, 2, 300, 200, L"Kvo"};

    EXPECT_EQ(Result(L"MSG MAIN"), L"VISIBLE RESTORED 1 2 300 200 Kvo");
    EXPECT_EQ(OrderCount(ORDER_SHOW), 0u) << "nothing given, nothing sent";

    EXPECT_EQ(Result(L"MSG MAIN HID MAX 10 * 0 -5 My title"), L"HIDDEN MAXIMIZED 10 2 300 200 My title");
    EXPECT_EQ(m_shell->GetVar(L"#MSG"), L"HIDDEN MAXIMIZED 10 2 300 200 My title");
    const auto* order = LastPayload<SMainWindowPayload>(ORDER_SHOW);
    ASSERT_NE(order, nullptr);
    EXPECT_EQ(order->fields, unsigned(SMainWindowPayload::MODE | SMainWindowPayload::SHOW |
                                      SMainWindowPayload::LEFT | SMainWindowPayload::TITLE))
        << "'*' and sizes of 0 or less leave a value";
    EXPECT_EQ(order->state.mode, L"HIDDEN");
    EXPECT_EQ(order->state.left, 10);

    EXPECT_EQ(Result(L"MSG MAIN 3 0"), L"ENABLED MINIMIZED 1 2 300 200 Kvo") << "numbers stand for keywords";
}

TEST_F(MiscCommands, MsgMainRefusesBadWordsWithThePositionsCode) {
    m_window.m_bAnswers = false;
    EXPECT_EQ(Run(L"MSG MAIN SOMETIMES").code, 65);
    EXPECT_EQ(Run(L"MSG MAIN SOMETIMES").result, L"*");
    EXPECT_EQ(Code(L"MSG MAIN * SIDEWAYS"), 66);
    EXPECT_EQ(Code(L"MSG MAIN * * left"), 67);
    EXPECT_EQ(Code(L"MSG MAIN * * 1 2 3 high"), 70);
    EXPECT_EQ(OrderCount(ORDER_SHOW), 0u);
    // A window that cannot tell: the given values over the defaults.
    EXPECT_EQ(Result(L"MSG MAIN * * 5 6 70 80"), L"VISIBLE RESTORED 5 6 70 80 ");
}

TEST_F(MiscCommands, MsgDesktopAsksTheWindowAndIsEmptyWithoutScreen) {
    m_window.m_bAnswers = true;
    m_window.m_desktop = {2, -1920, 0, 3840, 1080};
    EXPECT_EQ(Result(L"MSG DESKTOP"), L"2 -1920 0 3840 1080");
    m_window.m_bAnswers = false;
    m_shell->SetVar(L"#MSG", L"old");
    EXPECT_EQ(Result(L"MSG DESK"), L"");
}

TEST_F(MiscCommands, MsgBeepChoosesASoundByOptionOrATone) {
    Result(L"MSG BEEP /E");
    ASSERT_NE(LastPayload<SBeepPayload>(ORDER_BEEP), nullptr);
    EXPECT_EQ(LastPayload<SBeepPayload>(ORDER_BEEP)->sound, 48);
    Result(L"MSG BEEP /O");
    EXPECT_EQ(LastPayload<SBeepPayload>(ORDER_BEEP)->sound, 0);
    Result(L"MSG BEEP /e 440 100");
    EXPECT_EQ(LastPayload<SBeepPayload>(ORDER_BEEP)->frequency, 440) << "the letters have one case only";
    Result(L"MSG BEEP * 100");
    EXPECT_EQ(LastPayload<SBeepPayload>(ORDER_BEEP)->frequency, 1000);
    EXPECT_EQ(LastPayload<SBeepPayload>(ORDER_BEEP)->duration, 100);
    Result(L"MSG BEEP");
    EXPECT_EQ(LastPayload<SBeepPayload>(ORDER_BEEP)->sound, -1);
    EXPECT_EQ(LastPayload<SBeepPayload>(ORDER_BEEP)->frequency, 0);
    EXPECT_EQ(Code(L"MSG BEEP high 100"), 65);
}

TEST_F(MiscCommands, MsgExitAndRunCountTheShellsTheyReach) {
    const SOutcome unknown = Run(L"MSG EXIT X0BADBAD");
    EXPECT_EQ(unknown.code, 15);
    EXPECT_EQ(unknown.result, L"*");
    EXPECT_EQ(Code(L"MSG RUN X0BADBAD WRITELOG x"), 15);
    EXPECT_EQ(Result(L"MSG EXIT *"), L"0") << "no other shell";
    EXPECT_EQ(Code(L"MSG EXIT"), 2);
    EXPECT_EQ(Code(L"MSG NOSUCH"), 64);
}

TEST_F(MiscCommands, MsgWindowOrdersAndDebugWordsGiveTheirCodes) {
    EXPECT_EQ(Result(L"MSG NOMAIN"), L"0");
    EXPECT_EQ(OrderCount(ORDER_HIDE), 1u);
    Result(L"MSG LOGFILE '/tmp/kvo log.txt'");
    ASSERT_NE(LastPayload<STextPayload>(ORDER_LOG_FILE), nullptr);
    EXPECT_EQ(LastPayload<STextPayload>(ORDER_LOG_FILE)->text, L"/tmp/kvo log.txt");
    Result(L"MSG LOGFILE *");
    EXPECT_EQ(LastPayload<STextPayload>(ORDER_LOG_FILE), nullptr) << "no path closes the file";
    EXPECT_EQ(Code(L"MSG MENU title a b"), 6) << "one of /A /S /D is required";
    EXPECT_EQ(Code(L"MSG MENU /A"), 2);

    EXPECT_EQ(Code(L"MSG DEBUG"), 2);
    EXPECT_EQ(Code(L"MSG DEBUG RTERROR 2"), 66);
    EXPECT_EQ(Code(L"MSG DEBUG RTERROR"), 66);
    EXPECT_EQ(Code(L"MSG DEBUG SOMETIMES"), 65);
    Result(L"MSG DEBUG RT 0");
    EXPECT_FALSE(m_env.m_bProgramCheck);
    Result(L"MSG DEBUG RTERROR 1");
    EXPECT_TRUE(m_env.m_bProgramCheck);
    EXPECT_EQ(Code(L"MSG DEBUG INIT X0BADBAD"), 15);
    Result(L"MSG DEBUG NO");
    EXPECT_FALSE(m_shell->m_bDebugAllowed);
}

TEST_F(MiscCommands, TranslateAppliesThePairsInTheirOrder) {
    EXPECT_EQ(Result(L"TRANSLATE ab a b b c"), L"cc");
    EXPECT_EQ(Result(L"TRANSLATE ab b c a b"), L"bc");
    EXPECT_EQ(Result(L"TRANSLATE aaa a aa"), L"aaaaaa") << "a replacement is not scanned again";
    EXPECT_EQ(Result(L"TRANSLATE 'x y x' x '' y z"), L" z ");
    EXPECT_EQ(Code(L"TRANSLATE ab a b b"), 2);
    EXPECT_EQ(Code(L"TRANSLATE ab a"), 2);
    m_shell->SetVar(L"source", L"one two");
    EXPECT_EQ(Result(L"TRANSLATE source o 0 /V"), L"0ne tw0");
    EXPECT_EQ(m_shell->GetVar(L"source"), L"one two") << "the variable stays";
}

TEST_F(MiscCommands, KvoconstantsGivesTheListsByKeyword) {
    const std::vector<Text> keywords = WordsOf(Result(L"KVOCONSTANTS"));
    ASSERT_EQ(keywords.size(), 42u);
    EXPECT_EQ(keywords.front(), L"LOAD");
    EXPECT_EQ(keywords[5], L"WINDOWMODE");
    EXPECT_EQ(keywords.back(), L"COMMANDS");

    EXPECT_EQ(Result(L"KVOCONSTANTS WINDOWM"), L"NOWINDOW HIDDEN VISIBLE ENABLED");
    EXPECT_EQ(Result(L"KVOCONSTANTS 0"), L"MACROCODE SPUCODE SOUNDFILE SOURCECODE");
    EXPECT_EQ(WordsOf(Result(L"KVOCONSTANTS COLORS")).size(), 16u);
    EXPECT_EQ(Result(L"KVOCONSTANTS CURSORMODE"), L"Off 1 2 Both");
    EXPECT_EQ(Result(L"KVOCONSTANTS DRAWSTYLE"), L"Lines Points Area Steps None");
    EXPECT_EQ(Result(L"KVOCONSTANTS NAMETYPES"), L"ITEM TABLEFIELD SEGMENT XMLATTRIBUTE XMLID UNC");
    EXPECT_EQ(Code(L"KVOCONSTANTS NOSUCHLIST"), 64);
}

TEST_F(MiscCommands, KvoconstantsCommandsNamesEveryRegisteredCommand) {
    const std::vector<Text> listed = WordsOf(Result(L"KVOCONSTANTS COMMANDS"));
    // The call keywords and SET are rows too, but no commands of the table.
    const wchar_t* const keywords[] = {L"GOSUB", L"GOSUBX", L"MACRO", L"MACROX", L"SHELL", L"SET"};
    EXPECT_EQ(listed.size() + std::size(keywords), CCommandRegistry::Count());
    const std::set<Text> names(listed.begin(), listed.end());
    EXPECT_EQ(names.size(), listed.size()) << "each once";
    for (const Text& name : listed) EXPECT_NE(CCommandRegistry::Find(name), nullptr) << ToUtf8(name);
    for (const wchar_t* name : {L"MSG", L"SYSTEM", L"SYSTEMCALLX", L"KVOCONSTANTS", L"LIST", L"FORMAT",
                                L"SPELL", L"INTERPRET", L"TRANSLATE", L"UNIQUE", L"NEW", L"DELETE"})
        EXPECT_EQ(names.count(name), 1u) << ToUtf8(name);
    for (const wchar_t* name : keywords) {
        EXPECT_NE(CCommandRegistry::Find(name), nullptr) << ToUtf8(name);
        EXPECT_EQ(names.count(name), 0u) << ToUtf8(name);
    }
}

TEST_F(MiscCommands, KvoconstantsFontsComeFromTheWindow) {
    EXPECT_EQ(Result(L"KVOCONSTANTS FONTS"), L"") << "a window without fonts";
    m_window.m_fonts = {L"Sans", L"Mono"};
    EXPECT_EQ(Result(L"KVOCONSTANTS FONTS"), L"Sans Mono");
}

TEST_F(MiscCommands, ListCountsShellsAndCode) {
    EXPECT_EQ(Result(L"LIST SHELL"), L"1");
    CShell* second = m_env.NewShell(nullptr, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(Result(L"LIST SH"), L"2");

    auto* plain = new CMacroCode;
    auto* klass = new CMacroCode;
    klass->m_bClass = true;
    klass->m_parentName = L"BASE";
    {
        std::lock_guard lock(m_env.Lock());
        m_env.Macros().Add(L"PLAIN", plain);
        m_env.Macros().Add(L"CHILD", klass);
    }
    EXPECT_EQ(Result(L"LIST MACROCODE"), L"2");
    EXPECT_EQ(Result(L"LIST CLASS"), L"1");
    EXPECT_EQ(Result(L"LIST 1"), L"0") << "no item of kind FILE";
    EXPECT_EQ(Code(L"LIST NOTHING"), 64);
}

TEST_F(MiscCommands, WritelogFormatsAndClears) {
    Result(L"WRITELOG first line");
    Result(L"WRITELOG /F %s-%5.1f a 2.25");
    EXPECT_EQ(m_window.Lines().back(), L"a-  2.2");
    Result(L"WRITELOG /C after clear");
    EXPECT_EQ(m_window.Lines(), std::vector<Text>{L"after clear"});
    EXPECT_EQ(Result(L"WRITELOG /N two"), L"0");
    EXPECT_EQ(m_window.Lines().back(), L"two\n");
    EXPECT_EQ(Code(L"WRITELOG /F"), 2);
}

} // namespace
