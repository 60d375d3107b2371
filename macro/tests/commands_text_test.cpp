// The word and text commands, called through their registered rows with the
// words as the dispatcher hands them over: options already taken out. Here
// what macro text cannot spell: the quote code inside texts, control
// characters, wide characters, the rows themselves. The rest is tested from
// macros in tests/text_commands.kvs.
#include <gtest/gtest.h>

#include "macro/commands_text.h"
#include "shell/command_registry.h"
#include "shell/frame.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {

constexpr wchar_t Q = wchar_t(1); // the language's quote inside a text

SWord W(const wchar_t* text) {
    return SWord{SWord::Plain, text};
}
SWord L(const wchar_t* text) {
    return SWord{SWord::Quoted, text};
}
SOption O(wchar_t letter, const wchar_t* text = L"") {
    return SOption{letter, text};
}

struct SOutcome {
    int code;
    Text result;
};

class TextCommands : public ::testing::Test {
protected:
    void SetUp() override {
        RegisterTextCommands();
        CFrameBase hold(nullptr); // keeps the shell's thread waiting, so this thread may use the shell
        m_shell = m_env.NewShell(&hold, nullptr);
        ASSERT_NE(m_shell, nullptr);
        m_shell->m_pFrame = &m_frame;
    }
    void TearDown() override { m_shell->m_pFrame = nullptr; }

    SOutcome Run(const wchar_t* command, CWords words, COptions options = {}) {
        const CCommandRow* row = CCommandRegistry::Find(command);
        EXPECT_NE(row, nullptr) << ToUtf8(command);
        SOutcome out{-1, L"untouched"};
        if (!row) return out;
        out.result.clear();
        out.code = row->handler(*m_shell, words, options, row->selector, out.result);
        return out;
    }
    Text Result(const wchar_t* command, CWords words, COptions options = {}) {
        const SOutcome o = Run(command, std::move(words), std::move(options));
        EXPECT_EQ(o.code, 0) << ToUtf8(command);
        return o.result;
    }
    int Code(const wchar_t* command, CWords words, COptions options = {}) {
        return Run(command, std::move(words), std::move(options)).code;
    }
    Text Var(const wchar_t* name) { return m_shell->GetVar(name); }

    CShellEnv m_env;
    CFrameBase m_frame{nullptr};
    CShell* m_shell = nullptr;
};

TEST_F(TextCommands, RowsCarryTheDispatcherConventions) {
    for (const wchar_t* name :
         {L"LENGTH", L"LINELENGTH", L"SUBSTR", L"LOWER", L"UPPER", L"REVERSE", L"WORD", L"TOKEN", L"WORDS",
          L"KEYWORD", L"QUOTE", L"TRIM", L"STRCHR", L"SPELL", L"READVAR", L"READSTR"})
        EXPECT_NE(CCommandRegistry::Find(name), nullptr) << ToUtf8(name);
    const CCommandRow* readVar = CCommandRegistry::Find(L"readvar");
    ASSERT_NE(readVar, nullptr);
    EXPECT_TRUE(readVar->m_bOptions);
    EXPECT_EQ(readVar->minArgs, 2);
    EXPECT_STREQ(readVar->resultVar, L"#READ");
    EXPECT_STREQ(readVar->failText, L"0");
    EXPECT_FALSE(CCommandRegistry::Find(L"WORD")->m_bOptions); // "WORD 1 a /b" keeps "/b" as a word
    EXPECT_TRUE(CCommandRegistry::Find(L"TOKEN")->m_bOptions);
    EXPECT_EQ(CCommandRegistry::Find(L"SPELL")->minArgs, 1);
}

// Text is wide inside: one character is one element, whatever its code.
TEST_F(TextCommands, WideCharactersCountAndChangeCaseAsOne) {
    EXPECT_EQ(Result(L"LENGTH", {W(L"äöü")}), L"3");
    EXPECT_EQ(Result(L"UPPER", {W(L"straße"), W(L"x")}), L"STRAßE");
    EXPECT_EQ(Result(L"LOWER", {L(L"ÄÖÜ Ab")}), L"äöü ab");
}

TEST_F(TextCommands, TokenCutsTheJoinedWordsByDelimiters) {
    const CWords words{W(L"1"), W(L"a,b;;c"), W(L"d,e")};
    EXPECT_EQ(Result(L"TOKEN", words, {O(L'D', L",;")}), L"b");
    EXPECT_EQ(Result(L"TOKEN", {W(L"2"), W(L"a,b;;c")}, {O(L'D', L",;")}), L"c"); // a run is one cut
    EXPECT_EQ(Result(L"TOKEN", {W(L"2"), W(L"a,b;;c"), W(L"d,e")}, {O(L'D', L",;")}),
              L"c d"); // joined by blanks
    EXPECT_EQ(Result(L"TOKEN", {W(L"0"), W(L",,a")}, {O(L'D', L",")}), L"a");
    EXPECT_EQ(Code(L"TOKEN", {W(L"3"), W(L"a,b")}, {O(L'D', L","), O(L'S')}), 260);
    EXPECT_EQ(Result(L"TOKEN", {W(L"3"), W(L"a,b")}, {O(L'D', L",")}), L"");
}

TEST_F(TextCommands, QuoteMakesOneWordOfASubstitution) {
    EXPECT_EQ(Result(L"QUOTE", {W(L"a"), W(L"b")}), Text{Q} + L"a b" + Q);
    EXPECT_EQ(Result(L"QUOTE", {}), Text(2, Q)); // an empty word that survives splitting
    EXPECT_EQ(Result(L"QUOTE", {W(L"a"), L(L"b c")}, {O(L'E')}), Text{Q} + L"a" + Q + L' ' + Q + L"b c" + Q);
    EXPECT_EQ(Result(L"QUOTE", {}, {O(L'E')}), L"");
    EXPECT_EQ(Result(L"QUOTE", {W(L"a"), W(Text{Q, L'b', Q}.c_str())}, {O(L'R')}), L"a b");
}

TEST_F(TextCommands, TrimNeedsADirectionAndASet) {
    EXPECT_EQ(Result(L"TRIM", {L(L"  a  "), L(L"\tb\n")}, {O(L'L'), O(L'B')}), L"a   b\n");
    EXPECT_EQ(Result(L"TRIM", {L(L"  a  "), L(L"\tb\n")}, {O(L'T'), O(L'B')}), L"  a \tb");
    EXPECT_EQ(Result(L"TRIM", {L(L"  a  ")}, {O(L'L'), O(L'T'), O(L'B')}), L"a");
    EXPECT_EQ(Result(L"TRIM", {W(L"xxaxyx")}, {O(L'L'), O(L'T'), O(L'C', L"x")}), L"axy");
    EXPECT_EQ(Result(L"TRIM", {W(L"-+a+-")}, {O(L'L'), O(L'C', L"-"), O(L'C', L"+")}), L"a+-");
    EXPECT_EQ(Result(L"TRIM", {L(L" a ")}, {O(L'L'), O(L'T')}), L" a "); // an empty set trims nothing
    EXPECT_EQ(Result(L"TRIM", {L(L"")}, {O(L'L'), O(L'B')}), L"");
    m_shell->SetVar(L"#v", L"..x..");
    EXPECT_EQ(Result(L"TRIM", {W(L"#v")}, {O(L'T'), O(L'V'), O(L'C', L".")}), L"..x");
    EXPECT_EQ(Code(L"TRIM", {W(L"a")}, {O(L'B')}), 392);
    EXPECT_EQ(Code(L"TRIM", {W(L"a")}, {O(L's')}), 393);
    EXPECT_EQ(Code(L"TRIM", {}, {O(L'L')}), 2);
    EXPECT_EQ(Code(L"TRIM", {}, {O(L'L'), O(L's')}), 351);
}

TEST_F(TextCommands, ReadOptionsKeepEscapeAndWhole) {
    Result(L"READSTR", {L(L" a , b "), W(L"#p"), L(L","), W(L"#q")}, {O(L'T')});
    EXPECT_EQ(Var(L"#p"), L" a ");
    EXPECT_EQ(Var(L"#q"), L" b ");

    Result(L"READSTR", {L(L"a`,b,c"), W(L"#p"), L(L","), W(L"#q")}, {O(L'E')});
    EXPECT_EQ(Var(L"#p"), L"a,b");
    EXPECT_EQ(Var(L"#q"), L"c");
    Result(L"READSTR", {L(L"a\\ b c"), W(L"#p"), W(L"#q")}, {O(L'E', L"\\")});
    EXPECT_EQ(Var(L"#p"), L"a b");
    EXPECT_EQ(Var(L"#q"), L"c");
    Result(L"READSTR", {L(L"a`,b,c"), W(L"#p"), L(L","), W(L"#q")}); // without /E the backtick is text
    EXPECT_EQ(Var(L"#p"), L"a`");

    Result(L"READSTR", {L(L"  all of it "), W(L"#p"), W(L"#q")}, {O(L'N')});
    EXPECT_EQ(Var(L"#p"), L"  all of it ");
    EXPECT_EQ(Var(L"#READ"), L"1");
}

TEST_F(TextCommands, ReadVarBindsMacroArgumentsByQuotes) {
    // How a call's words reach a macro: quoted words keep the quote code in #ARGV.
    m_shell->SetVar(L"#ARGV", Text(L"x ") + Q + L"two words" + Q + L" " + Q + Q + L" last");
    Result(L"READVAR", {W(L"#ARGV"), W(L"#a"), W(L"#b"), W(L"#c"), W(L"#d")});
    EXPECT_EQ(Var(L"#a"), L"x");
    EXPECT_EQ(Var(L"#b"), L"two words");
    EXPECT_EQ(Var(L"#c"), L"");
    EXPECT_EQ(Var(L"#d"), L"last");
    EXPECT_EQ(Var(L"#READ"), L"4");

    // A single quoted word as the rest loses its quotes; several keep theirs, so the rest splits again.
    m_shell->SetVar(L"#ARGV", Text(L"x ") + Q + L"p q" + Q);
    Result(L"READVAR", {W(L"#ARGV"), W(L"#a"), W(L"#b")});
    EXPECT_EQ(Var(L"#b"), L"p q");
    m_shell->SetVar(L"#ARGV", Text(L"x ") + Q + L"p q" + Q + L" r");
    Result(L"READVAR", {W(L"#ARGV"), W(L"#a"), W(L"#b")});
    EXPECT_EQ(Var(L"#b"), Text{Q} + L"p q" + Q + L" r");

    // A separator inside a quoted word does not cut it.
    m_shell->SetVar(L"#s", Text{Q} + L"a,b" + Q + L",c");
    Result(L"READVAR", {W(L"#s"), W(L"#p"), L(L","), W(L"#q")});
    EXPECT_EQ(Var(L"#p"), L"a,b");
    EXPECT_EQ(Var(L"#q"), L"c");

    m_shell->SetVar(L"#s", L"");
    Result(L"READVAR", {W(L"#s"), W(L"#p")});
    EXPECT_EQ(Var(L"#READ"), L"0");
}

} // namespace
