// The word and text commands, called through their registered rows with the
// words as the dispatcher hands them over: options already taken out.
#include <gtest/gtest.h>

#include "shell/command_registry.h"
#include "macro/commands_text.h"
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

TEST_F(TextCommands, LengthsCountCharactersOfWords) {
    EXPECT_EQ(Result(L"LENGTH", {}), L"0");
    EXPECT_EQ(Result(L"LENGTH", {L(L"a b")}), L"3");
    EXPECT_EQ(Result(L"LENGTH", {W(L"abc"), W(L"defgh")}), L"3"); // the first word only
    EXPECT_EQ(Result(L"LENGTH", {W(L"äöü")}), L"3");
    EXPECT_EQ(Result(L"LINELENGTH", {W(L"ab"), L(L"c d"), W(L"e")}), L"8");
    EXPECT_EQ(Result(L"LINELENGTH", {}), L"0");
    EXPECT_EQ(Result(L"WORDS", {W(L"a"), L(L"b c"), W(L"d")}), L"3");
    EXPECT_EQ(Result(L"WORDS", {}), L"0");
}

TEST_F(TextCommands, SubstrBoundsAndCodes) {
    EXPECT_EQ(Result(L"SUBSTR", {W(L"abcdef"), W(L"2")}), L"cdef");
    EXPECT_EQ(Result(L"SUBSTR", {W(L"abcdef"), W(L"1"), W(L"3")}), L"bcd");
    EXPECT_EQ(Result(L"SUBSTR", {W(L"abcdef")}), L"abcdef");
    EXPECT_EQ(Result(L"SUBSTR", {W(L"abcdef"), W(L"2*2"), W(L"10")}), L"ef"); // counts past the end are cut
    EXPECT_EQ(Result(L"SUBSTR", {W(L"abcdef"), W(L"6")}), L"");
    EXPECT_EQ(Result(L"SUBSTR", {W(L"abcdef"), W(L"99"), W(L"1")}), L"");
    EXPECT_EQ(Result(L"SUBSTR", {W(L"abcdef"), W(L"0"), W(L"0")}), L"");
    EXPECT_EQ(Code(L"SUBSTR", {W(L"abc"), W(L"x")}), 65);
    EXPECT_EQ(Code(L"SUBSTR", {W(L"abc"), W(L"1.5")}), 65);
    EXPECT_EQ(Code(L"SUBSTR", {W(L"abc"), W(L"0"), W(L"y")}), 66);
    EXPECT_EQ(Code(L"SUBSTR", {W(L"abc"), W(L"-1")}), 254);
    EXPECT_EQ(Code(L"SUBSTR", {W(L"abc"), W(L"0"), W(L"-1")}), 255);
    EXPECT_EQ(Code(L"SUBSTR", {W(L"abc"), W(L"-1"), W(L"x")}), 254); // the start is judged first
}

TEST_F(TextCommands, CaseAndReverseTakeTheFirstWord) {
    EXPECT_EQ(Result(L"UPPER", {W(L"straße"), W(L"x")}), L"STRAßE");
    EXPECT_EQ(Result(L"LOWER", {L(L"ÄÖÜ Ab")}), L"äöü ab");
    EXPECT_EQ(Result(L"REVERSE", {W(L"abc"), W(L"def")}), L"cba");
    EXPECT_EQ(Result(L"REVERSE", {}), L"");
    EXPECT_EQ(Result(L"UPPER", {}), L"");
}

TEST_F(TextCommands, KeywordByPrefixOrWholeWord) {
    EXPECT_EQ(Result(L"KEYWORD", {W(L"ab"), W(L"abc"), W(L"abd")}), L"0");
    EXPECT_EQ(Result(L"KEYWORD", {W(L"ab"), W(L"abcd"), W(L"abd")}), L"1"); // the shortest fitting word wins
    EXPECT_EQ(Result(L"KEYWORD", {W(L"AB"), W(L"x"), W(L"aBc")}), L"1");
    EXPECT_EQ(Result(L"KEYWORD", {W(L"abx"), W(L"abc")}), L"-1");
    EXPECT_EQ(Result(L"KEYWORD", {W(L"1"), W(L"a"), W(L"b")}), L"-1"); // no number for a keyword here
    EXPECT_EQ(Result(L"KEYWORD", {W(L"*"), W(L"*a")}), L"-1");
    EXPECT_EQ(Result(L"KEYWORD", {}), L"-1");
    EXPECT_EQ(Result(L"KEYWORD", {W(L"ab"), W(L"abc"), W(L"AB")}, {O(L'F')}), L"1");
    EXPECT_EQ(Result(L"KEYWORD", {W(L"ab"), W(L"AB"), W(L"ab")}, {O(L'f'), O(L'C')}), L"1");
    EXPECT_EQ(Result(L"KEYWORD", {W(L"ab"), W(L"abc")}, {O(L'F')}), L"-1");
}

TEST_F(TextCommands, WordIsForgivingAndTokenSIsStrict) {
    EXPECT_EQ(Result(L"WORD", {W(L"1"), W(L"a"), L(L"b c"), W(L"d")}), L"b c");
    EXPECT_EQ(Result(L"WORD", {W(L"1+1"), W(L"a"), W(L"b"), W(L"c")}), L"c");
    EXPECT_EQ(Result(L"WORD", {W(L"5"), W(L"a"), W(L"b")}), L"");
    EXPECT_EQ(Result(L"WORD", {W(L"-1"), W(L"a")}), L"");
    EXPECT_EQ(Result(L"WORD", {W(L"x"), W(L"a")}), L"");
    EXPECT_EQ(Result(L"WORD", {W(L"0")}), L"");
    EXPECT_EQ(Code(L"WORD", {}), 2);

    EXPECT_EQ(Result(L"TOKEN", {W(L"5"), W(L"a"), W(L"b")}), L"");
    EXPECT_EQ(Code(L"TOKEN", {W(L"5"), W(L"a"), W(L"b")}, {O(L'S')}), 260);
    EXPECT_EQ(Code(L"TOKEN", {W(L"-1"), W(L"a")}, {O(L's')}), 260);
    EXPECT_EQ(Code(L"TOKEN", {W(L"one"), W(L"a")}, {O(L'S')}), 64);
    EXPECT_EQ(Result(L"TOKEN", {W(L"0"), W(L"a")}, {O(L'S')}), L"a");
    EXPECT_EQ(Code(L"TOKEN", {}, {O(L'S')}), 2);
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

TEST_F(TextCommands, StrchrFindsFirstOrLast) {
    EXPECT_EQ(Result(L"STRCHR", {W(L"xc"), W(L"abcabc")}), L"2");
    EXPECT_EQ(Result(L"STRCHR", {W(L"xc"), W(L"abcabc")}, {O(L'R')}), L"5");
    EXPECT_EQ(Result(L"STRCHR", {W(L"z"), W(L"abc")}), L"-1");
    EXPECT_EQ(Result(L"STRCHR", {L(L" "), L(L"a b")}), L"1");
    m_shell->SetVar(L"#t", L"path/to/file");
    EXPECT_EQ(Result(L"STRCHR", {W(L"/"), W(L"#t")}, {O(L'V'), O(L'R')}), L"7");
    EXPECT_EQ(Code(L"STRCHR", {W(L"a")}), 2);
    EXPECT_EQ(Code(L"STRCHR", {W(L"a")}, {O(L's')}), 351);
    EXPECT_EQ(Code(L"STRCHR", {L(L""), W(L"abc")}), 65);
    EXPECT_EQ(Code(L"STRCHR", {L(L""), W(L"abc")}, {O(L'S')}), 364);
}

TEST_F(TextCommands, SpellWritesEnglishNumbers) {
    EXPECT_EQ(Result(L"SPELL", {W(L"21")}), L"twenty-one");
    EXPECT_EQ(Result(L"SPELL", {W(L"1000000")}), L"one million");
    EXPECT_EQ(Result(L"SPELL", {W(L"0")}), L"zero");
    EXPECT_EQ(Result(L"SPELL", {W(L"13")}), L"thirteen");
    EXPECT_EQ(Result(L"SPELL", {W(L"40")}), L"fourty");
    EXPECT_EQ(Result(L"SPELL", {W(L"45")}), L"fourty-five");
    EXPECT_EQ(Result(L"SPELL", {W(L"100")}), L"one hundred");
    EXPECT_EQ(Result(L"SPELL", {W(L"101")}), L"one hundred one");
    EXPECT_EQ(Result(L"SPELL", {W(L"999")}), L"nine hundred ninety-nine");
    EXPECT_EQ(Result(L"SPELL", {W(L"1000")}), L"one thousand");
    EXPECT_EQ(Result(L"SPELL", {W(L"12345")}), L"twelve thousand three hundred fourty-five");
    EXPECT_EQ(Result(L"SPELL", {W(L"2000017")}), L"two millions seventeen");
    EXPECT_EQ(Result(L"SPELL", {W(L"1001000")}), L"one million one thousand");
    EXPECT_EQ(Result(L"SPELL", {W(L"1000000000")}), L"one billion");
    EXPECT_EQ(
        Result(L"SPELL", {W(L"2147483647")}),
        L"two billions one hundred fourty-seven millions four hundred eighty-three thousand six hundred "
        L"fourty-seven");
    EXPECT_EQ(Result(L"SPELL", {W(L"3*4"), W(L"2")}), L"twelve two");
}

TEST_F(TextCommands, SpellOptionsAndCodes) {
    EXPECT_EQ(Result(L"SPELL", {W(L"0"), W(L"3")}, {O(L'Z')}), L"no three");
    EXPECT_EQ(Result(L"SPELL", {W(L"0"), W(L"1"), W(L"2")}, {O(L'T')}), L"two");
    EXPECT_EQ(Result(L"SPELL", {W(L"21")}, {O(L'N')}), L"21 (twenty-one)");
    EXPECT_EQ(Result(L"SPELL", {W(L"2")}, {O(L'A')}), L"two ");
    m_shell->SetVar(L"#n", L"7");
    EXPECT_EQ(Result(L"SPELL", {W(L"#n")}, {O(L'V')}), L"seven");
    EXPECT_EQ(Code(L"SPELL", {W(L"x")}), 64);
    EXPECT_EQ(Code(L"SPELL", {W(L"1"), W(L"2"), W(L"1.5")}), 66);
    EXPECT_EQ(Code(L"SPELL", {W(L"1"), W(L"x")}, {O(L'S')}), 364);
    EXPECT_EQ(Code(L"SPELL", {W(L"-1")}), 481);
    EXPECT_EQ(Code(L"SPELL", {W(L"-1")}, {O(L's')}), 482);
    EXPECT_EQ(Code(L"SPELL", {W(L"1000000000000")}), 481);
    EXPECT_EQ(Code(L"SPELL", {W(L"#missing")}, {O(L'V')}), 64);
}

TEST_F(TextCommands, ReadWordsLiteralsAndTheRest) {
    EXPECT_EQ(Result(L"READSTR", {L(L"  1 2   three four  "), W(L"#a"), W(L"#b"), W(L"#c")}), L"");
    EXPECT_EQ(Var(L"#a"), L"1");
    EXPECT_EQ(Var(L"#b"), L"2");
    EXPECT_EQ(Var(L"#c"), L"three four"); // the last takes the rest, trimmed
    EXPECT_EQ(Var(L"#READ"), L"3");

    Result(L"READSTR", {L(L"(x = 1, y = 2)"), L(L"("), W(L"#k"), L(L"="), W(L"#v"), L(L","), W(L"#r")});
    EXPECT_EQ(Var(L"#k"), L"x");
    EXPECT_EQ(Var(L"#v"), L"1");
    EXPECT_EQ(Var(L"#r"), L"y = 2)");
    EXPECT_EQ(Var(L"#READ"), L"3");

    Result(L"READSTR", {L(L"a,,c"), W(L"#p"), L(L","), W(L"#q"), L(L","), W(L"#r")});
    EXPECT_EQ(Var(L"#p"), L"a");
    EXPECT_EQ(Var(L"#q"), L""); // an empty field still counts
    EXPECT_EQ(Var(L"#r"), L"c");
    EXPECT_EQ(Var(L"#READ"), L"3");

    Result(L"READSTR", {L(L"a b"), W(L"#p"), L(L""), W(L"#q")}); // an empty literal stands for a blank
    EXPECT_EQ(Var(L"#p"), L"a");
    EXPECT_EQ(Var(L"#q"), L"b");

    Result(L"READSTR", {L(L"no colon"), W(L"#p"), L(L":"), W(L"#q")}); // a literal not found: the rest
    EXPECT_EQ(Var(L"#p"), L"no colon");
    EXPECT_EQ(Var(L"#q"), L"b");
    EXPECT_EQ(Var(L"#READ"), L"1");

    Result(L"READSTR", {L(L"x"), L(L"<"), W(L"#p")}); // a leading literal that is not there
    EXPECT_EQ(Var(L"#p"), L"x");
}

TEST_F(TextCommands, ReadLeavesUnreachedVariablesUnlessCleared) {
    m_shell->SetVar(L"#b", L"default");
    m_shell->SetVar(L"#c", L"other");
    Result(L"READSTR", {W(L"one"), W(L"#a"), W(L"#b"), W(L"#c")});
    EXPECT_EQ(Var(L"#a"), L"one");
    EXPECT_EQ(Var(L"#b"), L"default");
    EXPECT_EQ(Var(L"#READ"), L"1");
    Result(L"READSTR", {W(L"one"), W(L"#a"), W(L"#b"), W(L"#c")}, {O(L'D')});
    EXPECT_EQ(Var(L"#b"), L"");
    EXPECT_EQ(Var(L"#c"), L"");
    Result(L"READSTR", {L(L""), W(L"#a")});
    EXPECT_EQ(Var(L"#a"), L"one");
    EXPECT_EQ(Var(L"#READ"), L"0");
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
