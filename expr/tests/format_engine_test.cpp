// The format engine's codes and types, the time format, the decimal
// character, and the commands built on the engine and the evaluator.
#include <gtest/gtest.h>

#include <clocale>
#include <vector>

#include "expr/format_engine.h"
#include "expr/tests/ex_eval_fixture.h"
#include "shell/command_registry.h"

namespace {

struct SFormatted {
    int error;
    Text text;
};

SFormatted Formatted(const wchar_t* format, std::vector<Text> args = {}) {
    SFormatted out{-1, L"untouched"};
    const bool ok = FormatText(static_cast<int>(args.size()), args.data(), format, out.text, out.error);
    EXPECT_EQ(ok, out.error == 0);
    return out;
}

// The text of a format that must work.
Text F(const wchar_t* format, std::vector<Text> args = {}) {
    const SFormatted out = Formatted(format, std::move(args));
    EXPECT_EQ(out.error, 0) << ToUtf8(format);
    return out.text;
}

int FormatError(const wchar_t* format, std::vector<Text> args = {}) {
    return Formatted(format, std::move(args)).error;
}

Text N(const wchar_t* format, double value, wchar_t decimal = L'.') {
    Text out;
    int error = -1;
    EXPECT_TRUE(FormatNumber(format, out, error, value, decimal)) << ToUtf8(format) << " code " << error;
    return out;
}

TEST(FormatEngine, PlainTextAndTypesWithoutArguments) {
    EXPECT_EQ(F(L"100%%"), L"100%");
    EXPECT_EQ(F(L"a%nb"), L"a\nb");
    EXPECT_EQ(F(L"a%tb"), L"a        b");
    EXPECT_EQ(F(L"a%Tb"), L"a\tb");
    EXPECT_EQ(F(L"%-5.2l%"), L"%"); // their digits and modifiers are ignored
    EXPECT_EQ(F(L""), L"");
    EXPECT_EQ(F(L"no percent", {L"surplus"}), L"no percent");
}

TEST(FormatEngine, SpecificationCodes) {
    Text result = L"old";
    int error = 0;
    EXPECT_FALSE(FormatText(0, nullptr, TextView(), result, error));
    EXPECT_EQ(error, 116);
    EXPECT_EQ(result, L"");
    EXPECT_EQ(FormatError(L"%"), 117);
    EXPECT_EQ(FormatError(L"%5"), 117);
    EXPECT_EQ(FormatError(L"%-1.2l"), 117);
    EXPECT_EQ(FormatError(L"%q"), 120);
    EXPECT_EQ(FormatError(L"%N"), 120);
    EXPECT_EQ(FormatError(L"%1.2.3f", {L"1"}), 118);
    EXPECT_EQ(FormatError(L"%llf", {L"1"}), 119);
    EXPECT_EQ(FormatError(L"%lLd", {L"1"}), 119);
    EXPECT_EQ(FormatError(L"%l2.l3d", {L"1"}), 119);
    EXPECT_EQ(FormatError(L"%s"), 121);
    EXPECT_EQ(FormatError(L"%d", {L"abc"}), 122);
    EXPECT_EQ(FormatError(L"%f", {L""}), 122);
    EXPECT_EQ(FormatError(L"%h", {L"abc"}), 123);
    // The text built up to an error stays.
    const SFormatted partial = Formatted(L"%d %d", {L"2"});
    EXPECT_EQ(partial.error, 121);
    EXPECT_EQ(partial.text, L"2 ");
    EXPECT_EQ(Formatted(L"ab%1.2.3f", {L"1"}).text, L"ab");
}

TEST(FormatEngine, NumbersAreExpressions) {
    EXPECT_EQ(F(L"%d", {L"2.9"}), L"2");
    EXPECT_EQ(F(L"%d", {L"-2.9"}), L"-2");
    EXPECT_EQ(F(L"%D", {L"2*3+1"}), L"7");
    EXPECT_EQ(F(L"%x", {L"255"}), L"ff");
    EXPECT_EQ(F(L"%X", {L"255"}), L"FF");
    EXPECT_EQ(F(L"%x", {L"-1"}), L"ffffffff");
    EXPECT_EQ(F(L"%d", {L"0xFFFFFFFF"}), L"-1"); // truncated to 32 bits
    EXPECT_EQ(F(L"%d", {L"4294967298"}), L"2");
    EXPECT_EQ(F(L"%5d|%-5d|%05d", {L"42", L"42", L"42"}), L"   42|42   |00042");
    EXPECT_EQ(F(L"%.2lf", {L"3.14159"}), L"3.14");
    EXPECT_EQ(F(L"%8.3F", {L"pi"}), L"   3.142");
    EXPECT_EQ(F(L"%Lf", {L"1"}), L"1.000000"); // "L" is no long double here
    EXPECT_EQ(F(L"%g|%G", {L"0.5", L"1e20"}), L"0.5|1e+20");
    EXPECT_EQ(F(L"%.20lg", {L"0.1"}), L"0.10000000000000000555");
    EXPECT_EQ(F(L"%d%%", {L"50"}), L"50%");
}

TEST(FormatEngine, TextArguments) {
    EXPECT_EQ(F(L"[%s]", {L"a b"}), L"[a b]");
    EXPECT_EQ(F(L"[%5s|%-5S]", {L"ab", L"ab"}), L"[   ab|ab   ]");
    EXPECT_EQ(F(L"[%.2s]", {L"abcdef"}), L"[ab]");
    EXPECT_EQ(F(L"[%ls]", {L"äöü€"}), L"[äöü€]");
    EXPECT_EQ(F(L"%s-%s", {L"1", L"2", L"3"}), L"1-2");
}

TEST(FormatEngine, TimeFormat) {
    EXPECT_EQ(F(L"%h", {L"3661.4"}), L"1:01:01");
    EXPECT_EQ(F(L"%H", {L"3661.4"}), L"1:01:01");
    EXPECT_EQ(F(L"%h", {L"59.5"}), L"0:01:00"); // rounded without "."
    EXPECT_EQ(F(L"%-h", {L"61"}), L"1:01");
    EXPECT_EQ(F(L"%-h", {L"1"}), L"1");
    EXPECT_EQ(F(L"%-h", {L"3600"}), L"1:00:00");
    EXPECT_EQ(F(L"%-h", {L"3599"}), L"59:59");
    EXPECT_EQ(F(L"%h", {L"-1"}), L"-0:00:01");
    EXPECT_EQ(F(L"%h", {L"360000"}), L"100:00:00");
    EXPECT_EQ(F(L"%.h", {L"1.5"}), L"0:00:01.500");
    EXPECT_EQ(F(L"%.h", {L"59.9999"}), L"0:00:59.999"); // truncated, not rounded
    EXPECT_EQ(F(L"%-.h", {L"-61.25"}), L"-1:01.250");
    EXPECT_EQ(F(L"[%8h]", {L"61"}), L"[ 0:01:01]");
    EXPECT_EQ(F(L"[%-8h]", {L"61"}), L"[    1:01]");
    EXPECT_EQ(F(L"[%3h]", {L"61"}), L"[0:0]"); // cut at the width
    EXPECT_EQ(N(L"%.h", 1.5, L','), L"0:00:01,500");
    EXPECT_EQ(FormatError(L"%h", {L"1/0"}), 123);
}

TEST(FormatEngine, DecimalCharacterOnlyInFixedAndGeneral) {
    EXPECT_EQ(N(L"%g", 1.5, L','), L"1,5");
    EXPECT_EQ(N(L"%.3f", 1.5, L','), L"1,500");
    EXPECT_EQ(N(L"%d", 1.5, L','), L"1");
    EXPECT_EQ(N(L"%s", 1.5, L','), L"1.5");
    EXPECT_EQ(N(L"%g", 1e20, L','), L"1e+20");
    EXPECT_EQ(N(L"%f", 1, L','), L"1,000000");
}

TEST(FormatEngine, WidthsHaveALimit) {
    EXPECT_EQ(F(L"%99999999999999999999d", {L"1"}).size(), size_t(kFormatMaxWidth));
    EXPECT_EQ(F(L"%.99999999f", {L"1"}).size(), size_t(kFormatMaxWidth) + 2);
    EXPECT_EQ(F(L"%99999999h", {L"1"}).size(), size_t(kFormatMaxWidth));
}

TEST(FormatEngine, NoCommaFromTheProcessLocale) {
    const char* set = nullptr;
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8"})
        if ((set = std::setlocale(LC_ALL, name))) break;
    if (!set) GTEST_SKIP() << "no locale with a comma decimal mark is installed";
    EXPECT_EQ(F(L"%.2f|%g|%.h|%s", {L"1.5", L"2.5", L"1.5", L"x"}), L"1.50|2.5|0:00:01.500|x");
    EXPECT_EQ(FormatError(L"%f", {L"1,5"}), 122);
    std::setlocale(LC_ALL, "C");
}

// The command rows, called with the words as the dispatcher hands them over.
class ExprCommands : public ExprShellTest {
protected:
    struct SOutcome {
        int code;
        Text result;
    };
    SOutcome Run(const wchar_t* command, std::vector<const wchar_t*> words) {
        const CCommandRow* row = CCommandRegistry::Find(command);
        EXPECT_NE(row, nullptr) << ToUtf8(command);
        if (!row) return {-1, L""};
        CWords args;
        for (const wchar_t* w : words) args.push_back(SWord{SWord::Plain, w});
        COptions options;
        SOutcome out{-1, L"untouched"};
        out.code = row->handler(*m_shell, args, options, row->selector, out.result);
        return out;
    }
    Text Result(const wchar_t* command, std::vector<const wchar_t*> words) {
        const SOutcome o = Run(command, std::move(words));
        EXPECT_EQ(o.code, 0) << ToUtf8(command);
        return o.result;
    }
};

TEST_F(ExprCommands, RowsOfTheTable) {
    for (const wchar_t* name : {L"EVAL", L"EVALCHECK", L"INT", L"NUM", L"INTCHECK", L"NUMCHECK", L"FORMAT"}) {
        const CCommandRow* row = CCommandRegistry::Find(name);
        ASSERT_NE(row, nullptr) << ToUtf8(name);
        EXPECT_FALSE(row->m_bOptions) << ToUtf8(name); // "FORMAT %d/%d" keeps its slash
        EXPECT_EQ(row->resultVar, nullptr);
        EXPECT_EQ(row->failText, nullptr);
    }
    EXPECT_EQ(CCommandRegistry::Find(L"EVAL")->minArgs, 1);
    EXPECT_EQ(CCommandRegistry::Find(L"EVALCHECK")->minArgs, 0);
    EXPECT_EQ(CCommandRegistry::Find(L"INT")->minArgs, 1);
    EXPECT_EQ(CCommandRegistry::Find(L"NUMCHECK")->minArgs, 0);
    EXPECT_EQ(CCommandRegistry::Find(L"FORMAT")->minArgs, 1);
}

TEST_F(ExprCommands, EvalLeavesATemporaryNumberObject) {
    m_shell->m_level = 2;
    const Text name = Result(L"EVAL", {L"2", L"*", L"(3", L"+", L"1)"});
    ASSERT_EQ(name.substr(0, 2), L"N#");
    CShell::ItemEntry* e = m_shell->FindItem(name, KIND_NUMBER);
    ASSERT_NE(e, nullptr);
    EXPECT_TRUE(e->user & ITEM_TEMPORARY);
    EXPECT_EQ(ItemLevelOf(e->user), 2u);
    EXPECT_EQ(FindNumberObject(*m_shell, name)->value.Scalar(), 8);
    // Each value its own object, and one may name the other.
    const Text second = Result(L"EVAL", {(name + L"+1").c_str()});
    EXPECT_NE(second, name);
    EXPECT_EQ(FindNumberObject(*m_shell, second)->value.Scalar(), 9);
    AddTable(L"v", Column({1, 2}));
    const Text third = Result(L"EVAL", {(name + L"+v").c_str()});
    ExpectMatrix(FindNumberObject(*m_shell, third)->value, Column({9, 10}));
}

TEST_F(ExprCommands, EvalFailures) {
    AddTable(L"r", Rows(3, 2, {1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(Run(L"EVAL", {L"1", L"+"}).code, 34);
    EXPECT_EQ(Run(L"EVAL", {L"1/0"}).code, 22);
    EXPECT_EQ(Run(L"EVAL", {L"|r|"}).code, 7); // failed without a code
    const SOutcome check = Run(L"EVALCHECK", {L"1/0"});
    EXPECT_EQ(check.code, 299);
    EXPECT_EQ(check.result, L"");
    EXPECT_EQ(Run(L"EVALCHECK", {}).code, 299);
    EXPECT_EQ(m_shell->TemporaryItems(), 0u); // nothing left behind
}

TEST_F(ExprCommands, NumberTextOfEveryShape) {
    CItemKind* numbers = CItemKindRegistry::Find(KIND_NUMBER);
    ASSERT_NE(numbers, nullptr);
    Text name, text;
    ASSERT_TRUE(NewNumberObject(*m_shell, Matrix(0.1), name));
    ASSERT_TRUE(numbers->NumberText(FindNumberObject(*m_shell, name), text));
    EXPECT_EQ(text, L"0.10000000000000000555");
    ASSERT_TRUE(NewNumberObject(*m_shell, Matrix(), name));
    ASSERT_TRUE(numbers->NumberText(FindNumberObject(*m_shell, name), text));
    EXPECT_EQ(text, L"");
    // A larger value becomes a new table that the evaluator reads back.
    m_shell->m_level = 4;
    ASSERT_TRUE(NewNumberObject(*m_shell, Column({1, 2, 3}), name));
    ASSERT_TRUE(numbers->NumberText(FindNumberObject(*m_shell, name), text));
    EXPECT_EQ(text.substr(0, 2), L"X#");
    CShell::ItemEntry* table = m_shell->FindItem(text, KIND_TABLE);
    ASSERT_NE(table, nullptr);
    EXPECT_TRUE(table->user & ITEM_TEMPORARY);
    EXPECT_EQ(ItemLevelOf(table->user), 4u);
    EXPECT_EQ(Scalar(text + L" * " + name), 14);
    // Through the shell's dereferencing assignment too.
    m_shell->SetVar(L"x", name, true);
    EXPECT_EQ(m_shell->GetVar(L"x").substr(0, 2), L"X#");
    EXPECT_NE(m_shell->GetVar(L"x"), text);
}

TEST_F(ExprCommands, IntAndNumReadOneNumber) {
    EXPECT_EQ(Result(L"INT", {L"2.9"}), L"2");
    EXPECT_EQ(Result(L"INT", {L"-2.9"}), L"-2");
    EXPECT_EQ(Result(L"INT", {L"7", L"/", L"2"}), L"3"); // the words are one expression
    EXPECT_EQ(Result(L"NUM", {L"1/4"}), L"0.25");
    EXPECT_EQ(Result(L"NUM", {L"0.1"}), L"0.10000000000000000555");
    EXPECT_EQ(Result(L"NUM", {L"sqrt(4)", L"+", L"pi-pi"}), L"2");
    const SOutcome bad = Run(L"INT", {L"abc"});
    EXPECT_EQ(bad.code, 152);
    EXPECT_EQ(bad.result, L"");
    EXPECT_EQ(Run(L"NUM", {L"1", L"+"}).code, 152);
    EXPECT_EQ(Result(L"INTCHECK", {L"5"}), L"5");
    EXPECT_EQ(Result(L"NUMCHECK", {L"2.5"}), L"2.5");
    for (const wchar_t* check : {L"INTCHECK", L"NUMCHECK"}) {
        const SOutcome none = Run(check, {});
        EXPECT_EQ(none.code, 299);
        EXPECT_EQ(none.result, L"");
        const SOutcome junk = Run(check, {L"x"});
        EXPECT_EQ(junk.code, 299);
        EXPECT_EQ(junk.result, L"");
    }
}

TEST_F(ExprCommands, FormatCommandKeepsPartialText) {
    EXPECT_EQ(Result(L"FORMAT", {L"%d-%s|%5.1f", L"3", L"a", L"2.25"}), L"3-a|  2.2");
    EXPECT_EQ(Result(L"FORMAT", {L"plain"}), L"plain");
    const SOutcome partial = Run(L"FORMAT", {L"<%d> <%d>", L"1"});
    EXPECT_EQ(partial.code, 121);
    EXPECT_EQ(partial.result, L"<1> <");
    EXPECT_EQ(Run(L"FORMAT", {L"%q"}).code, 120);
}

} // namespace
