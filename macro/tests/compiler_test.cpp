// The macro compiler: source alphabet, labels, word split, every statement
// form with its jumps, the pieces of a line, binding of built-in commands,
// and every message the compiler writes to the load log.
#include <gtest/gtest.h>

#include <algorithm>

#include "shell/command_registry.h"
#include "macro/compiler.h"

namespace {

// Rows of commands that exist only in this test, so that no other test's
// registry rows are replaced.
const CCommandRow kTestRows[] = {
    {.name = L"TESTPRINT"},
    {.name = L"TESTGET"},
};

// The internal codes shown as the characters they stand for.
Text Visible(TextView text) {
    Text out;
    for (wchar_t c : text) {
        if (c == CODE_INLINE_OPEN)
            out += L"$(";
        else if (c > 0 && c <= CODE_VARIABLE)
            out += L"'~[]$"[c - 1];
        else
            out += c == CODE_INLINE_CLOSE ? L')' : c;
    }
    return out;
}

Text LineText(const CCodeLine& line);

// Literal text as it stands, a variable as {$name}, an inline command as {$(line)}.
Text Pieces(const CPieceChain& chain) {
    Text out;
    for (const CCodePiece& p : chain) {
        if (p.type == CCodePiece::LITERAL)
            out += Visible(p.text);
        else if (p.type == CCodePiece::VARIABLE)
            out += L"{$" + p.text + L"}";
        else
            out += L"{$(" + LineText(*p.line) + L")}";
    }
    return out;
}

// A bound command is shown by its row's name, so that a line reads the same
// whether or not another test has registered its first word.
Text LineText(const CCodeLine& line) {
    Text out;
    if (line.hasAssign) out += Pieces(line.assignTarget) + L" := ";
    if (line.command) {
        out += line.command->name;
        if (!line.commandText.empty()) out += L' ';
    }
    return out + Pieces(line.commandText);
}

// One text per code line: the statement, or the jump with its resolved target.
std::vector<Text> Listing(const CMacroCode& code) {
    std::vector<Text> out;
    for (const auto& l : code.m_lines) {
        const Text text = LineText(*l), to = L" -> " + std::to_wstring(l->target);
        const int kind = l->Kind();
        if (kind == CCodeLine::STATEMENT) out.push_back(text);
        if (kind == CCodeLine::GOTO) out.push_back(L"GOTO " + std::to_wstring(l->target));
        if (kind == CCodeLine::IF_GOTO) out.push_back(L"IF " + text + to);
        if (kind == CCodeLine::IFNOT_GOTO) out.push_back(L"IFNOT " + text + to);
        if (kind == CCodeLine::COMPUTED_GOTO) out.push_back(L"JUMP " + text);
        if (kind == CCodeLine::EXIT) out.push_back(text.empty() ? Text(L"EXIT") : L"EXIT " + text);
        if (kind > CCodeLine::EXIT) out.push_back(L"kind " + std::to_wstring(kind));
    }
    return out;
}

using Lines = std::vector<Text>;

class CompilerTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { CCommandRegistry::Register(kTestRows, std::size(kTestRows)); }

    // Body lines are numbered from 0, so "[line 1]" is the first of them.
    bool Compile(std::initializer_list<const wchar_t*> body, bool ignoreWarnings = false,
                 std::vector<Text> header = {L"M"}, bool isClass = false) {
        std::vector<SSourceLine> lines;
        for (const wchar_t* text : body)
            lines.push_back({ConvertSourceLine(text), static_cast<int>(lines.size())});
        m_code = std::make_unique<CMacroCode>();
        m_code->m_bClass = isClass;
        m_log.clear();
        SCompileOptions options;
        options.ignoreWarnings = ignoreWarnings;
        options.headerLine = m_headerLine;
        return ::Compile(*m_code, header, lines, options, m_log);
    }
    // Compiling must fail with exactly this one message.
    void ExpectError(std::initializer_list<const wchar_t*> body, const Text& message) {
        EXPECT_FALSE(Compile(body)) << ToUtf8(message);
        EXPECT_EQ(m_log, Lines{message});
    }
    // A warning stops the compilation, unless warnings are taken lightly.
    void ExpectWarning(std::initializer_list<const wchar_t*> body, const Text& message) {
        EXPECT_FALSE(Compile(body)) << ToUtf8(message);
        EXPECT_EQ(m_log, Lines{message});
        EXPECT_TRUE(Compile(body, true)) << ToUtf8(message);
        EXPECT_EQ(m_log, Lines{message});
    }
    Lines Listing() const { return ::Listing(*m_code); }
    const CCodeLine& Line(int i) const { return *m_code->m_lines.at(i); }

    std::unique_ptr<CMacroCode> m_code;
    std::vector<Text> m_log;
    int m_headerLine = -1;
};

// ---------------------------------------------------------------- alphabet

TEST(SourceAlphabet, ConvertsTheMeaningfulCharacters) {
    EXPECT_EQ(ConvertSourceLine(L"'~[]$x"), Text(L"\x01\x02\x03\x04\x05x"));
    // $( opens an inline command, and its own closing parenthesis closes it;
    // ordinary parentheses inside are counted and stay as they are.
    EXPECT_EQ(ConvertSourceLine(L"a $(f (b) (c)) (d)"), Text(L"a \x11"
                                                             L"f (b) (c)\x12 (d)"));
    EXPECT_EQ(ConvertSourceLine(L"$($(x))"), Text(L"\x11\x11x\x12\x12"));
    // An unclosed inline command keeps its open code.
    EXPECT_EQ(ConvertSourceLine(L"$(x"), Text(L"\x11x"));
}

TEST(SourceAlphabet, BacktickMakesTheNextCharacterPlain) {
    EXPECT_EQ(ConvertSourceLine(L"`$x `'a`' ``"), Text(L"$x 'a' `"));
    EXPECT_EQ(ConvertSourceLine(L"`~`[`]"), Text(L"~[]"));
    // Escaped parentheses do not count inside an inline command.
    EXPECT_EQ(ConvertSourceLine(L"$(a `) b)"), Text(L"\x11"
                                                    L"a ) b\x12"));
    EXPECT_EQ(ConvertSourceLine(L"$(a `( b)"), Text(L"\x11"
                                                    L"a ( b\x12"));
    // A backtick at the very end ends the conversion.
    EXPECT_EQ(ConvertSourceLine(L"ab`"), Text(L"ab"));
}

TEST(SourceAlphabet, HeaderModeConvertsOnlyQuotesAndBackticks) {
    EXPECT_EQ(ConvertSourceLine(L"MACRO m a='$x [y]' b=`' ~c $(d)", true),
              Text(L"MACRO m a=\x01$x [y]\x01 b=' ~c $(d)"));
}

TEST(SourceAlphabet, SixtyFourInlineLevelsKeepTheirParentheses) {
    // Each level holds "(p" before and ")" after the next level down.
    Text source = L"x";
    Text expected = L"x";
    for (int i = 0; i < 64; ++i) {
        source = L"$((p " + source + L")";
        source += L")";
        expected = L"\x11(p " + expected + L")\x12";
    }
    EXPECT_EQ(ConvertSourceLine(source), expected);
}

TEST(SourceAlphabet, DeeperLevelsStillOpenAndCloseButForgetTheirDepth) {
    Text source = L"x";
    for (int i = 0; i < 70; ++i) source = L"$(" + source + L")";
    const Text converted = ConvertSourceLine(source);
    EXPECT_EQ(std::count(converted.begin(), converted.end(), CODE_INLINE_OPEN), 70);
    EXPECT_EQ(std::count(converted.begin(), converted.end(), CODE_INLINE_CLOSE), 70);

    // At level 65, a parenthesis opened before a nested inline command is
    // forgotten when that command closes: the next ")" closes level 65.
    Text deep;
    for (int i = 0; i < 64; ++i) deep += L"$(";
    const Text atLevel65 = ConvertSourceLine(deep + L"$((a $(b) c)");
    EXPECT_EQ(atLevel65.substr(64), Text(L"\x11(a \x11"
                                         L"b\x12 c\x12"));
    const Text atLevel64 = ConvertSourceLine(deep.substr(2) + L"$((a $(b) c)");
    EXPECT_EQ(atLevel64.substr(63), Text(L"\x11(a \x11"
                                         L"b\x12 c)"));
}

// ---------------------------------------------------------------- labels

TEST_F(CompilerTest, ColonFollowedByEqualsOrColonIsNoLabel) {
    ASSERT_TRUE(Compile({L"x:=5", L"a::b 1"}));
    EXPECT_EQ(m_code->m_labels.Count(), 0u);
    EXPECT_EQ(Listing(), (Lines{L"x := 5", L"a::b 1", L"EXIT"}));
}

TEST_F(CompilerTest, LabelsNameTheNextCodeLine) {
    ASSERT_TRUE(
        Compile({L"TESTPRINT 0", L"start:", L"", L"again:TESTPRINT 1", L"Loop: \t TESTPRINT 2", L"tail:"}));
    EXPECT_EQ(m_code->m_labels.Find(L"START")->value, 1);
    EXPECT_EQ(m_code->m_labels.Find(L"AGAIN")->value, 1);
    EXPECT_EQ(m_code->m_labels.Find(L"LOOP")->value, 2);
    // A label behind the last statement names the closing EXIT.
    EXPECT_EQ(m_code->m_labels.Find(L"TAIL")->value, 3);
    EXPECT_EQ(m_code->m_labels.Find(L"Loop")->key, L"LOOP");
    EXPECT_EQ(Listing(), (Lines{L"TESTPRINT 0", L"TESTPRINT 1", L"TESTPRINT 2", L"EXIT"}));
}

TEST_F(CompilerTest, ColonsBehindBlanksQuotesOrSubstitutionsAreNoLabels) {
    ASSERT_TRUE(Compile({L"TESTPRINT a:b", L"'x:y'", L"$v:w", L"$(f):g", L"t[1]:u", L"~i:j", L"(p):q"}));
    EXPECT_EQ(m_code->m_labels.Count(), 0u);
    EXPECT_EQ(m_code->LineCount(), 8);
}

TEST_F(CompilerTest, DuplicateOrEmptyLabel) {
    ExpectError({L"a: TESTPRINT", L"A: TESTPRINT"}, L"[line 2] error: duplicate or invalid label A");
    ExpectError({L": TESTPRINT"}, L"[line 1] error: duplicate or invalid label ");
}

TEST_F(CompilerTest, MethodLabelsOfAClassGoToTheMethods) {
    ASSERT_TRUE(
        Compile({L"public_Open:", L"EXIT", L"Protected_read: TESTPRINT", L"PRIVATE_x: EXIT", L"inner: EXIT"},
                false, {L"C", L"BASE"}, true));
    ASSERT_EQ(m_code->m_methods.Count(), 3u);
    EXPECT_EQ(m_code->m_methods.Find(L"OPEN")->value.line, 0);
    EXPECT_EQ(m_code->m_methods.Find(L"OPEN")->value.access, ACCESS_PUBLIC);
    EXPECT_EQ(m_code->m_methods.Find(L"READ")->value.access, ACCESS_PROTECTED);
    EXPECT_EQ(m_code->m_methods.Find(L"READ")->value.line, 1);
    EXPECT_EQ(m_code->m_methods.Find(L"X")->value.access, ACCESS_PRIVATE);
    EXPECT_EQ(m_code->m_labels.Count(), 1u);
    EXPECT_TRUE(m_code->m_labels.Find(L"INNER"));
    EXPECT_EQ(m_code->m_parentName, L"BASE");

    EXPECT_FALSE(Compile({L"public_a: EXIT", L"PUBLIC_A: EXIT"}, false, {L"C"}, true));
    EXPECT_EQ(m_log, Lines{L"[line 2] error: duplicate or invalid label PUBLIC_A"});
    EXPECT_FALSE(Compile({L"private_: EXIT"}, false, {L"C"}, true));
    EXPECT_EQ(m_log, Lines{L"[line 1] error: duplicate or invalid label PRIVATE_"});
}

TEST_F(CompilerTest, MethodPrefixesAreOrdinaryLabelsInAMacro) {
    ASSERT_TRUE(Compile({L"public_a: EXIT"}));
    EXPECT_EQ(m_code->m_methods.Count(), 0u);
    EXPECT_TRUE(m_code->m_labels.Find(L"PUBLIC_A"));
}

// ---------------------------------------------------------------- words

TEST_F(CompilerTest, WordsAreJoinedByOneBlankAndQuotedWordsKeepTheirQuotes) {
    ASSERT_TRUE(
        Compile({L"TESTPRINT   a\tb", L"TESTPRINT x'a  b'c", L"TESTPRINT $(TESTGET 'p  q')r", L"''"}));
    EXPECT_EQ(Listing(), (Lines{L"TESTPRINT a b", L"TESTPRINT x 'a  b' c", L"TESTPRINT {$(TESTGET 'p  q')}r",
                                L"''", L"EXIT"}));
}

TEST_F(CompilerTest, AtMost256Words) {
    Text words = L"TESTPRINT";
    for (int i = 1; i < 256; ++i) words += L" w";
    ASSERT_TRUE(Compile({words.c_str()}));
    words += L" w";
    ExpectError({L"TESTPRINT", words.c_str()}, L"[line 2] error: too much arguments (max.=256)");
}

TEST_F(CompilerTest, LineEndingInsideAQuoteOrAnInlineCommand) {
    ExpectError({L"TESTPRINT 'abc"}, L"[line 1] error: invalid end-of-line (inline-level=0)");
    ExpectError({L"TESTPRINT $(a $(b)"}, L"[line 1] error: invalid end-of-line (inline-level=1)");
    ExpectError({L"TESTPRINT '$($(b"}, L"[line 1] error: invalid end-of-line (inline-level=2)");
}

// ---------------------------------------------------------------- IF

TEST_F(CompilerTest, NestedIfElseIfElseEnd) {
    ASSERT_TRUE(Compile({
        L"IF $a == 1 THEN",         // 0
        L"  TESTPRINT one",         // 1
        L"ELSE IF $a == 2 THEN",    // 2 GOTO end, 3 test
        L"  IFNOT $b < 0 THEN",     // 4
        L"    TESTPRINT two",       // 5
        L"  END",                   //
        L"ELSE IFNOT $a != 3 THEN", // 6 GOTO end, 7 test
        L"  TESTPRINT three",       // 8
        L"ELSE",                    // 9 GOTO end
        L"  TESTPRINT other",       // 10
        L"END",                     //
        L"TESTPRINT done",          // 11
    }));
    EXPECT_EQ(Listing(), (Lines{
                             L"IFNOT {$a} == 1 -> 3",
                             L"TESTPRINT one",
                             L"GOTO 11",
                             L"IFNOT {$a} == 2 -> 7",
                             L"IF {$b} < 0 -> 11", // through the GOTO of the ELSE IFNOT
                             L"TESTPRINT two",
                             L"GOTO 11",
                             L"IF {$a} != 3 -> 10",
                             L"TESTPRINT three",
                             L"GOTO 11",
                             L"TESTPRINT other",
                             L"TESTPRINT done",
                             L"EXIT",
                         }));
}

TEST_F(CompilerTest, ElseIfWithoutFinalElseEndsAtTheEnd) {
    ASSERT_TRUE(
        Compile({L"if $a == 1 then", L"TESTPRINT 1", L"else if $a == 2 then", L"TESTPRINT 2", L"end"}));
    EXPECT_EQ(Listing(), (Lines{L"IFNOT {$a} == 1 -> 3", L"TESTPRINT 1", L"GOTO 5", L"IFNOT {$a} == 2 -> 5",
                                L"TESTPRINT 2", L"EXIT"}));
}

TEST_F(CompilerTest, OneLineIfJumpsOverItsStatement) {
    ASSERT_TRUE(Compile({L"IF $a == 1 TESTPRINT x == y z", L"IFNOT $a =SI b* GOTO there",
                         L"IF $a > 2 EXIT 1 $a", L"IF $a < 1 x := 5"},
                        true));
    EXPECT_EQ(Listing(), (Lines{
                             // the last compare operator in front of the last word ends the condition
                             L"IFNOT {$a} == 1 TESTPRINT x == y -> 2",
                             L"z",
                             L"IF {$a} =SI b* -> 4",
                             L"JUMP there",
                             L"IFNOT {$a} > 2 -> 6",
                             L"EXIT 1 {$a}",
                             L"IFNOT {$a} < 1 -> 8",
                             L"x := 5",
                             L"EXIT",
                         }));
    EXPECT_EQ(m_log, (Lines{L"[line 1] warning: invalid arg4 - logical operator expexted in \"IF cond\""}));
}

TEST_F(CompilerTest, OneLineIfNeedsACompareOperatorAndAStatement) {
    ExpectError({L"IF $a TESTPRINT"}, L"[line 1] error: missing compare operator");
    ExpectError({L"IF"}, L"[line 1] error: missing compare operator");
    ExpectError({L"TESTPRINT", L"IF $a == 1"}, L"line 2: invalid empty sub-command");
}

TEST_F(CompilerTest, OneWordConditionIsAnErrorEvenWhenWarningsAreIgnored) {
    EXPECT_FALSE(Compile({L"IF $x==1 THEN", L"END"}, true));
    EXPECT_EQ(m_log, Lines{L"[line 1] error: too few condition arguments in \"IF cond THEN\""});
    EXPECT_TRUE(Compile({L"IF $x == 1 THEN", L"END"}));
}

TEST_F(CompilerTest, IfBreakAndContinueJumpOnTheConditionItself) {
    ASSERT_TRUE(Compile({L"WHILE $i < 9", L"IF $i == 3 CONTINUE", L"IFNOT $i != 5 BREAK", L"END"}));
    EXPECT_EQ(Listing(), (Lines{L"IFNOT {$i} < 9 -> 4", L"IF {$i} == 3 -> 0", L"IFNOT {$i} != 5 -> 4",
                                L"GOTO 0", L"EXIT"}));
    ExpectError({L"IF $i == 3 BREAK"}, L"line 1: invalid BREAK");
    ExpectError({L"IF $i == 3 THEN", L"IF $i == 4 continue", L"END"}, L"line 2: invalid continue");
}

TEST_F(CompilerTest, ConditionWarningsNameWhereTheyStood) {
    ExpectWarning({L"IF $a = 1 THEN", L"END"},
                  L"[line 1] warning: invalid arg2 - compare operator expexted in \"IF cond THEN\"");
    ExpectWarning({L"IF $a == 1 $b $c == 2 THEN", L"END"},
                  L"[line 1] warning: invalid arg4 - logical operator expexted in \"IF cond THEN\"");
    ExpectWarning({L"IF $a == 1 AND $b THEN", L"END"},
                  L"[line 1] warning: ill-formed conditional expressions in \"IF cond THEN\"");
    ExpectWarning({L"IF $a == 1 || THEN", L"END"},
                  L"[line 1] warning: ill-formed conditional expressions in \"IF cond THEN\"");
    ExpectWarning({L"IF $a == 1 AND $b == 2 OR $c =nr d* && $d x 4 THEN", L"END"},
                  L"[line 1] warning: invalid arg14 - compare operator expexted in \"IF cond THEN\"");
    ExpectWarning({L"WHILE $a == 1 AND", L"END"},
                  L"[line 1] warning: ill-formed conditional expressions in \"WHILE cond\"");
    ExpectWarning({L"DO WHILE $a == 1 AND", L"END"},
                  L"[line 1] warning: ill-formed conditional expressions in \"DO WHILE cond\"");
    ExpectWarning({L"WHILE $a == 1", L"IF $a is 1 BREAK", L"END"},
                  L"[line 2] warning: invalid arg2 - compare operator expexted in \"IF cond BREAK\"");
    ExpectWarning({L"IF $a == 1 THEN", L"ELSE IFNOT $a is 1 THEN", L"END"},
                  L"[line 2] warning: invalid arg3 - compare operator expexted in \"ELSE IFNOT cond THEN\"");
    ExpectWarning({L"FOR #i := 0 TO $#i is 3", L"END"},
                  L"[line 1] warning: invalid arg6 - compare operator expexted in FOR-statement");
    ExpectWarning({L"x := COND $a is 1 ? 2 : 3"},
                  L"[line 1] warning: invalid arg4 - compare operator expexted in COND-statement");
    ExpectError({L"x := COND $a ? 2 : 3"}, L"[line 1] error: too few condition arguments in COND-statement");
}

// ---------------------------------------------------------------- ELSE, END

TEST_F(CompilerTest, ElseNeedsAnOpenIf) {
    ExpectError({L"ELSE"}, L"[line 1] error: invalid ELSE");
    ExpectError({L"IF $a == 1 THEN", L"else", L"else", L"END"}, L"[line 3] error: invalid else");
    ExpectError({L"WHILE $a == 1", L"ELSE", L"END"}, L"[line 2] error: invalid ELSE");
    ExpectError({L"IF $a == 1 THEN", L"ELSE", L"ELSE IF $a == 2 THEN", L"END"},
                L"[line 3] error: invalid ELSE");
}

TEST_F(CompilerTest, ElseWithWordsMustBeElseIfThen) {
    const wchar_t* expected = L"[line 2] syntax error \"ELSE %s\" - expexted: \"ELSE IF|IFNOT cond THEN\"";
    ExpectError({L"IF $a == 1 THEN", L"ELSE TESTPRINT", L"END"}, Format(expected, L"TESTPRINT"));
    ExpectError({L"IF $a == 1 THEN", L"ELSE IF $a == 2", L"END"}, Format(expected, L"IF"));
    ExpectError({L"IF $a == 1 THEN", L"ELSE IF", L"END"}, Format(expected, L"IF"));
}

TEST_F(CompilerTest, EndNeedsAnOpenLevel) {
    ExpectError({L"TESTPRINT", L"END"}, L"[line 2] error: invalid END");
    ExpectError({L"IF $a == 1 THEN", L"END", L"end"}, L"[line 3] error: invalid END");
}

TEST_F(CompilerTest, EndWithArgumentsPopsWithoutPlacingItsLabels) {
    ExpectWarning({L"TESTPRINT 0", L"WHILE $a < 3", L"TESTPRINT 1", L"END WHILE", L"TESTPRINT 2"},
                  L"[line 4] warning: END-statement do not need arguments");
    // No closing GOTO, and the loop's exit goes to line 0.
    EXPECT_EQ(Listing(),
              (Lines{L"TESTPRINT 0", L"IFNOT {$a} < 3 -> 0", L"TESTPRINT 1", L"TESTPRINT 2", L"EXIT"}));

    ASSERT_TRUE(Compile(
        {L"TESTPRINT 0", L"IF $a == 1 THEN", L"TESTPRINT 1", L"ELSE", L"TESTPRINT 2", L"END IF"}, true));
    EXPECT_EQ(Listing(), (Lines{L"TESTPRINT 0", L"IFNOT {$a} == 1 -> 4", L"TESTPRINT 1", L"GOTO 0",
                                L"TESTPRINT 2", L"EXIT"}));
    // The level is gone: a further END has nothing to close.
    ExpectError({L"IF $a == 1 THEN", L"END IF", L"END"},
                L"[line 2] warning: END-statement do not need arguments");
    EXPECT_FALSE(Compile({L"IF $a == 1 THEN", L"END IF", L"END"}, true));
    EXPECT_EQ(m_log, (Lines{L"[line 2] warning: END-statement do not need arguments",
                            L"[line 3] error: invalid END"}));
}

// ---------------------------------------------------------------- loops

TEST_F(CompilerTest, WhileContinueGoesToTheTest) {
    ASSERT_TRUE(Compile({L"TESTPRINT 0", L"WHILE $i < 3", L"CONTINUE", L"BREAK", L"END"}));
    EXPECT_EQ(Listing(),
              (Lines{L"TESTPRINT 0", L"IFNOT {$i} < 3 -> 5", L"GOTO 1", L"GOTO 5", L"GOTO 1", L"EXIT"}));
    ASSERT_TRUE(Compile({L"TESTPRINT 0", L"DO WHILE $i < 3", L"CONTINUE", L"BREAK", L"END"}));
    EXPECT_EQ(Listing(),
              (Lines{L"TESTPRINT 0", L"IFNOT {$i} < 3 -> 5", L"GOTO 1", L"GOTO 5", L"GOTO 1", L"EXIT"}));
}

TEST_F(CompilerTest, ForeverLoops) {
    ASSERT_TRUE(Compile(
        {L"TESTPRINT 0", L"FOREVER", L"TESTPRINT 1", L"BREAK", L"END", L"DO FOREVER", L"CONTINUE", L"END"}));
    EXPECT_EQ(Listing(),
              (Lines{L"TESTPRINT 0", L"TESTPRINT 1", L"GOTO 4", L"GOTO 1", L"GOTO 4", L"GOTO 4", L"EXIT"}));
    ExpectWarning({L"FOREVER 1", L"END"}, L"[line 1] warning: FOREVER-statement do not need arguments");
    ExpectWarning({L"DO forever x", L"END"}, L"[line 1] warning: forever-statement do not need arguments");
}

TEST_F(CompilerTest, DoMessagesStandTheWrongWayRound) {
    ExpectError({L"DO", L"END"}, L"[line 1] error: invalid keyword  in DO-statement");
    ExpectError({L"do UNTIL $a == 1", L"END"}, L"[line 1] error: missing keyword in do-statement");
}

TEST_F(CompilerTest, BreakAndContinueNeedALoop) {
    ExpectError({L"BREAK"}, L"[line 1] error: invalid BREAK");
    ExpectError({L"IF $a == 1 THEN", L"Continue", L"END"}, L"[line 2] error: invalid Continue");
    ExpectWarning({L"FOREVER", L"BREAK 2", L"END"},
                  L"[line 2] warning: BREAK-statement do not need arguments");
    // BREAK goes to the innermost loop, through any IF in between.
    ASSERT_TRUE(Compile(
        {L"FOREVER", L"WHILE $a < 1", L"IF $b == 1 THEN", L"BREAK", L"END", L"END", L"BREAK", L"END"}));
    EXPECT_EQ(Listing(), (Lines{L"IFNOT {$a} < 1 -> 6", L"IFNOT {$b} == 1 -> 0", L"GOTO 6", L"GOTO 0",
                                L"GOTO 6", L"GOTO 0", L"EXIT"}));
}

TEST_F(CompilerTest, ForSkipsTheStepOnTheFirstRound) {
    ASSERT_TRUE(Compile(
        {L"FOR #i := 0 TO $#i < 3 STEP #i := $#i + 1", L"IF $#i == 1 CONTINUE", L"TESTPRINT $#i", L"END"}));
    EXPECT_EQ(Listing(), (Lines{
                             L"#i := 0",
                             L"GOTO 3",
                             L"#i := {$#i} + 1",
                             L"IFNOT {$#i} < 3 -> 7",
                             L"IF {$#i} == 1 -> 2", // CONTINUE runs the step
                             L"TESTPRINT {$#i}",
                             L"GOTO 2",
                             L"EXIT",
                         }));
}

TEST_F(CompilerTest, ForWithoutInitRunsTheStepFirst) {
    ASSERT_TRUE(Compile({L"FOR $i < 3 STEP i := 1", L"END"}));
    EXPECT_EQ(Listing(), (Lines{L"i := 1", L"IFNOT {$i} < 3 -> 3", L"GOTO 0", L"EXIT"}));
    ASSERT_TRUE(Compile({L"FOR TO $i < 3", L"END"}));
    EXPECT_EQ(Listing(), (Lines{L"IFNOT {$i} < 3 -> 2", L"GOTO 0", L"EXIT"}));
    // No condition: no test; STEP without words: no step.
    ASSERT_TRUE(Compile({L"FOR i := 0 TO STEP", L"TESTPRINT", L"END"}));
    EXPECT_EQ(Listing(), (Lines{L"i := 0", L"GOTO 2", L"TESTPRINT", L"GOTO 2", L"EXIT"}));
}

TEST_F(CompilerTest, MisplacedToAndStepAreIgnored) {
    ExpectWarning({L"FOR i := 0 TO $i < TO", L"END"},
                  L"[line 1] warning: multiple/misplaced TO in FOR-statement - ignored");
    ExpectWarning({L"for $i < 3 STEP x TO y", L"END"},
                  L"[line 1] warning: multiple/misplaced TO in for-statement - ignored");
    ExpectWarning({L"FOR $i < 3 STEP i := 1 STEP", L"END"},
                  L"[line 1] warning: multiple/misplaced STEP in FOR-statement - ignored");
    // Ignored as keywords, the words stay where they stand.
    ASSERT_TRUE(Compile({L"FOR i := 0 TO $i < 3 STEP j TO k", L"END"}, true));
    EXPECT_EQ(Listing()[2], L"j TO k");
}

TEST_F(CompilerTest, ControlStackHoldsSixtyFourLevels) {
    std::vector<Text> source;
    for (int i = 0; i < 64; ++i) source.push_back(i % 2 ? L"WHILE $a < 1" : L"IF $a == 1 THEN");
    source.push_back(L"BREAK");
    for (int i = 0; i < 64; ++i) source.push_back(L"END");
    std::vector<SSourceLine> lines;
    for (const Text& t : source) lines.push_back({ConvertSourceLine(t), static_cast<int>(lines.size())});
    CMacroCode code;
    ASSERT_TRUE(::Compile(code, {L"M"}, lines, {}, m_log));
    // The BREAK leaves the innermost WHILE (level 64) for its own END: the
    // GOTO back to the test of the loop around it.
    const CCodeLine& brk = *code.m_lines[64];
    ASSERT_EQ(brk.Kind(), CCodeLine::GOTO);
    EXPECT_EQ(brk.target, 61);
}

// ---------------------------------------------------------------- COND

TEST_F(CompilerTest, CondWithAndWithoutTarget) {
    ASSERT_TRUE(
        Compile({L"$t[1] := COND $a == 1 ? TESTGET x : 'y z'", L"COND $a != 1 ? TESTPRINT a : TESTPRINT b"}));
    EXPECT_EQ(Listing(), (Lines{
                             L"IFNOT {$a} == 1 -> 3",
                             L"{$t}[1] := TESTGET x",
                             L"GOTO 4",
                             L"{$t}[1] := 'y z'",
                             L"IFNOT {$a} != 1 -> 7",
                             L"TESTPRINT a",
                             L"GOTO 8",
                             L"TESTPRINT b",
                             L"EXIT",
                         }));
    EXPECT_TRUE(Line(1).flags & CCodeLine::BOUND);
    EXPECT_TRUE(Line(1).flags & CCodeLine::TARGET_HAS_STATUS);
}

TEST_F(CompilerTest, CondNeedsOneQuestionMarkThenOneColon) {
    ExpectError({L"x := COND $a == 1 ? 1 ? 2 : 3"},
                L"[line 1] error: multiple/misplaced \"?\" in COND-statement");
    ExpectError({L"cond $a == 1 : 1 ? 2"}, L"[line 1] error: multiple/misplaced \":\" in cond-statement");
    ExpectError({L"COND $a == 1 ? 1 : 2 : 3"}, L"[line 1] error: multiple/misplaced \":\" in COND-statement");
    ExpectError({L"COND $a == 1 ? 1 : 2 ? 3"}, L"[line 1] error: multiple/misplaced \"?\" in COND-statement");
    const Text missing = L"[line 1] error: missing condition, expr1 and/or expr2 in COND-statement";
    ExpectError({L"COND ? 1 : 2"}, missing);
    ExpectError({L"x := COND $a == 1 ? : 2"}, missing);
    ExpectError({L"COND $a == 1 ? 1 :"}, missing);
    ExpectError({L"COND $a == 1 ? 1"}, missing);
    // A quoted ":" is an operand.
    ASSERT_TRUE(Compile({L"x := COND $a == 1 ? ':' : 2"}));
    EXPECT_EQ(Listing()[1], L"x := ':'");
}

// ---------------------------------------------------------------- jumps

TEST_F(CompilerTest, JumpsToGotoLinesGoOnToTheFinalLine) {
    ASSERT_TRUE(Compile({
        L"WHILE $a < 3",    // 0
        L"IF $b == 1 THEN", // 1
        L"IF $c == 1 THEN", // 2
        L"TESTPRINT x",     // 3
        L"ELSE",            // 4 GOTO inner end (6)
        L"TESTPRINT y",     // 5
        L"END",             //
        L"ELSE",            // 6 GOTO outer end (8)
        L"TESTPRINT z",     // 7
        L"END",             //
        L"END",             // 8 GOTO the loop's test
    }));
    EXPECT_EQ(Listing(), (Lines{
                             L"IFNOT {$a} < 3 -> 9",
                             L"IFNOT {$b} == 1 -> 7",
                             L"IFNOT {$c} == 1 -> 5",
                             L"TESTPRINT x",
                             L"GOTO 0", // through 6 and 8
                             L"TESTPRINT y",
                             L"GOTO 0",
                             L"TESTPRINT z",
                             L"GOTO 0",
                             L"EXIT",
                         }));
    // A conditional jump is carried on too.
    ASSERT_TRUE(Compile({L"WHILE $a < 3", L"IF $d == 1 THEN", L"TESTPRINT w", L"END", L"END"}));
    EXPECT_EQ(Listing(),
              (Lines{L"IFNOT {$a} < 3 -> 4", L"IFNOT {$d} == 1 -> 0", L"TESTPRINT w", L"GOTO 0", L"EXIT"}));
}

TEST_F(CompilerTest, LoopsMadeOfGotoLinesOnlyStillCompile) {
    ASSERT_TRUE(Compile({L"FOREVER", L"END"}));
    EXPECT_EQ(Listing(), (Lines{L"GOTO 0", L"EXIT"}));
    ASSERT_TRUE(Compile({L"FOREVER", L"FOREVER", L"BREAK", L"END", L"END"}));
    EXPECT_EQ(Listing().back(), L"EXIT");
}

TEST_F(CompilerTest, UserGotoAndExitKeepTheirOperandAsText) {
    ASSERT_TRUE(Compile({L"GOTO $where else", L"exit 1 TESTPRINT", L"EXIT"}));
    EXPECT_EQ(Listing(), (Lines{L"JUMP {$where} else", L"EXIT 1 TESTPRINT", L"EXIT", L"EXIT"}));
    EXPECT_FALSE(Line(1).flags & CCodeLine::BOUND);
    ExpectError({L"GOTO a := b"}, L"line 1: control commands can not be used in an assignment");
    ExpectError({L"IF $a == x:=1 THEN", L"END"},
                L"line 1: control commands can not be used in an assignment");
}

// ---------------------------------------------------------------- header

TEST_F(CompilerTest, ArgumentsAreReadAtRunTimeAfterTheirDefaults) {
    ASSERT_TRUE(Compile({L"TESTPRINT $a"}, false, {L"m", L"a", L"b=5", L" \tc\x01=\x01 x y \x01", L"#d"}));
    EXPECT_EQ(m_code->m_name, L"M");
    EXPECT_EQ(Listing(), (Lines{L"b := SET '5'", L"c := SET 'x y'", L"#ARGC := READVAR #ARGV a b c #d",
                                L"TESTPRINT {$a}", L"EXIT"}));
}

TEST_F(CompilerTest, DefaultWithoutNameOrValue) {
    m_headerLine = 6;
    const std::initializer_list<const wchar_t*> body = {L"TESTPRINT"};
    for (const wchar_t* word : {L"a=", L"=5", L"a= \t"}) {
        EXPECT_FALSE(Compile(body, false, {L"M", word}));
        EXPECT_EQ(m_log,
                  Lines{L"[line 7] warning: invalid default argument assignment (no name and/or value)"});
    }
    ASSERT_TRUE(Compile(body, true, {L"M", L"a=", L"=5", L"b"}));
    EXPECT_EQ(Listing(), (Lines{L"#ARGC := READVAR #ARGV a b", L"TESTPRINT", L"EXIT"}));
}

TEST_F(CompilerTest, NoArgumentsNoArgumentLines) {
    ASSERT_TRUE(Compile({L"TESTPRINT"}));
    EXPECT_EQ(m_code->LineCount(), 2);
    ASSERT_TRUE(Compile({L"TESTPRINT"}, false, {L"C", L"PARENT"}, true));
    EXPECT_EQ(m_code->LineCount(), 2) << "a class header names its parent, not arguments";
}

// ---------------------------------------------------------------- end

TEST_F(CompilerTest, MacroWithoutCodeLinesFails) {
    // What the preprocessor leaves of a macro of comments: nothing, or blank lines.
    ExpectError({}, L"no code lines!");
    ExpectError({L"", L"  \t"}, L"no code lines!");
    ExpectError({L"only:"}, L"no code lines!");
    // Arguments make a line of their own.
    EXPECT_TRUE(Compile({}, false, {L"M", L"a"}));
}

TEST_F(CompilerTest, SectionEndsAtTheNextHeader) {
    ASSERT_TRUE(Compile({L"TESTPRINT 1", L"[MACRO next]", L"TESTPRINT 2"}));
    EXPECT_EQ(Listing(), (Lines{L"TESTPRINT 1", L"EXIT"}));
    ExpectError({L"[MACRO next]", L"TESTPRINT 2"}, L"no code lines!");
}

TEST_F(CompilerTest, MissingEndIsReportedAndTheMacroStillLoads) {
    ASSERT_TRUE(Compile({L"WHILE $a < 1", L"IF $a == 1 THEN", L"TESTPRINT"}));
    EXPECT_EQ(m_log, Lines{L"missing END statement (level 2)"});
    EXPECT_EQ(Listing(), (Lines{L"IFNOT {$a} < 1 -> 0", L"IFNOT {$a} == 1 -> 0", L"TESTPRINT", L"EXIT"}));
}

TEST_F(CompilerTest, ClosingExitTakesTheLastSourceLine) {
    ASSERT_TRUE(Compile({L"TESTPRINT", L"", L"lab:"}));
    ASSERT_EQ(m_code->LineCount(), 2);
    EXPECT_EQ(Line(0).sourceLine, 0);
    EXPECT_EQ(Line(1).sourceLine, 2);
    EXPECT_TRUE(Line(1).commandText.empty());
}

// ---------------------------------------------------------------- pieces

TEST_F(CompilerTest, VariablePieces) {
    ASSERT_TRUE(Compile({L"TESTPRINT $name-$#i.$@g$&m", L"TESTPRINT $obj.x $my_var"}));
    const CPieceChain& p = Line(0).commandText;
    ASSERT_EQ(p.size(), 6u);
    EXPECT_EQ(p[0].type, CCodePiece::VARIABLE);
    EXPECT_EQ(p[0].text, L"name");
    EXPECT_EQ(p[1].type, CCodePiece::LITERAL);
    EXPECT_EQ(p[1].text, L"-");
    EXPECT_EQ(p[2].text, L"#i");
    EXPECT_EQ(p[3].text, L".");
    EXPECT_EQ(p[4].text, L"@g");
    EXPECT_EQ(p[5].text, L"&m");
    // A dot or an underscore ends a name.
    EXPECT_EQ(LineText(Line(1)), L"TESTPRINT {$obj}.x {$my}_var");
}

TEST_F(CompilerTest, InlineCommandsAreCompiledLinesOfTheirOwn) {
    ASSERT_TRUE(Compile({L"x := $(TESTGET $(TESTGET $a) (b)) + $( y := z )"}));
    const CCodeLine& line = Line(0);
    EXPECT_EQ(LineText(line), L"x := {$(TESTGET {$(TESTGET {$a})} (b))} + {$(y := z)}");
    const CCodeLine& outer = *line.commandText[0].line;
    EXPECT_TRUE(outer.flags & CCodeLine::BOUND);
    EXPECT_EQ(outer.command, CCommandRegistry::Find(L"TESTGET"));
    EXPECT_EQ(outer.commandText[0].type, CCodePiece::INLINE);
    EXPECT_TRUE(outer.commandText[0].line->flags & CCodeLine::BOUND);

    ExpectError({L"TESTPRINT $()"}, L"line 1: invalid empty inline-command");
    ExpectError({L"TESTPRINT $(  )"}, L"line 1: invalid empty sub-command");
    ExpectError({L"TESTPRINT $(a $ b)"}, L"line 1: invalid empty variable name");
}

TEST_F(CompilerTest, AssignmentTargets) {
    ASSERT_TRUE(Compile({L"  x  :=   TESTGET  y  ", L"x :=", L"a.&b:=$c"}));
    EXPECT_EQ(Listing(), (Lines{L"x := TESTGET y", L"x := ", L"a.&b := {$c}", L"EXIT"}));
    EXPECT_TRUE(Line(1).hasAssign);
    EXPECT_TRUE(Line(1).commandText.empty());
    // $ ends at ':' and the ":=" still counts.
    ASSERT_TRUE(Compile({L"$v:= 1"}));
    EXPECT_EQ(LineText(Line(0)), L"{$v} := 1");

    ExpectError({L"a := b := c"}, L"line 1: invalid multiple assignments on one command level");
    ExpectError({L":= 5"}, L"line 1: invalid assignment - target is empty");
    ExpectError({L"TESTPRINT $"}, L"line 1: invalid empty variable name");
    ExpectError({L"TESTPRINT $ x"}, L"line 1: invalid empty variable name");
}

TEST_F(CompilerTest, QuotesProtectAssignmentsButNotVariables) {
    ASSERT_TRUE(Compile({L"TESTPRINT 'a := b'", L"x := 'a := $b' c"}));
    EXPECT_FALSE(Line(0).hasAssign);
    EXPECT_EQ(LineText(Line(0)), L"TESTPRINT 'a := b'");
    EXPECT_EQ(LineText(Line(1)), L"x := 'a := {$b}' c");
    ExpectError({L"x := 'a' b := c"}, L"line 1: invalid multiple assignments on one command level");
}

TEST_F(CompilerTest, EscapedCharactersArePlainText) {
    ASSERT_TRUE(Compile({L"TESTPRINT `$x `~t `[1`] `$(y`)"}));
    const CCodeLine& line = Line(0);
    ASSERT_EQ(line.commandText.size(), 1u);
    EXPECT_EQ(line.commandText[0].type, CCodePiece::LITERAL);
    EXPECT_EQ(line.commandText[0].text, L"$x ~t [1] $(y)");
    EXPECT_EQ(line.flags & (CCodeLine::TARGET_HAS_STATUS | CCodeLine::COMMAND_HAS_STATUS), 0u);
}

TEST_F(CompilerTest, StatusFlagsSayWhereTildeOrBracketStands) {
    ASSERT_TRUE(Compile({L"x := ~t", L"t[1] := 5", L"t[$i] := ~v[2]", L"TESTPRINT $a", L"TESTPRINT $(~t)",
                         L"TESTPRINT '~'"}));
    const uint32_t mask = CCodeLine::TARGET_HAS_STATUS | CCodeLine::COMMAND_HAS_STATUS;
    EXPECT_EQ(Line(0).flags & mask, uint32_t(CCodeLine::COMMAND_HAS_STATUS));
    EXPECT_EQ(Line(1).flags & mask, uint32_t(CCodeLine::TARGET_HAS_STATUS));
    EXPECT_EQ(Line(2).flags & mask, mask);
    EXPECT_EQ(Line(3).flags & mask, 0u);
    // The inline command carries its own flag.
    EXPECT_EQ(Line(4).flags & mask, 0u);
    EXPECT_EQ(Line(4).commandText[0].line->flags & mask, uint32_t(CCodeLine::COMMAND_HAS_STATUS));
    EXPECT_EQ(Line(5).flags & mask, uint32_t(CCodeLine::COMMAND_HAS_STATUS));
}

// ---------------------------------------------------------------- binding

TEST_F(CompilerTest, FirstWordIsBoundToABuiltInCommand) {
    ASSERT_TRUE(Compile({L"testPrint a b", L"NOSUCHCOMMANDWORD a b", L"TESTPRINT", L"TESTPRINT'q'",
                         L"r := TESTGET $x", L"TESTPRINT$x", L"'TESTPRINT' a", L"$cmd a", L"TESTPRINTX a"}));
    const CCommandRow* print = CCommandRegistry::Find(L"TESTPRINT");
    const CCommandRow* get = CCommandRegistry::Find(L"TESTGET");

    EXPECT_TRUE(Line(0).flags & CCodeLine::BOUND);
    EXPECT_EQ(Line(0).command, print);
    EXPECT_EQ(Pieces(Line(0).commandText), L"a b") << "the command word leaves the text";

    EXPECT_FALSE(Line(1).flags & CCodeLine::BOUND);
    EXPECT_EQ(Line(1).command, nullptr);
    EXPECT_EQ(Pieces(Line(1).commandText), L"NOSUCHCOMMANDWORD a b");

    EXPECT_EQ(Line(2).command, print);
    EXPECT_TRUE(Line(2).commandText.empty());
    EXPECT_EQ(Line(3).command, print) << "a quote ends the word";
    EXPECT_EQ(Pieces(Line(3).commandText), L"'q'");
    EXPECT_EQ(Line(4).command, get);
    EXPECT_EQ(Pieces(Line(4).assignTarget), L"r");
    // Words that are not wholly literal are found only at run time.
    for (int i : {5, 6, 7, 8}) EXPECT_FALSE(Line(i).flags & CCodeLine::BOUND) << i;
}

TEST_F(CompilerTest, ControlLinesAreNeverBound) {
    ASSERT_TRUE(Compile({L"IF TESTPRINT == 1 THEN", L"END", L"GOTO TESTPRINT", L"EXIT TESTPRINT"}));
    for (const auto& line : m_code->m_lines) EXPECT_FALSE(line->flags & CCodeLine::BOUND);
}

// ---------------------------------------------------------------- lines made at run time

TEST(CompileLineText, CutsAndBindsOneLine) {
    CCommandRegistry::Register(kTestRows, std::size(kTestRows));
    CCodeLine line;
    Text message;
    ASSERT_TRUE(CompileLineText(ConvertSourceLine(L"res := TESTGET $a $(TESTGET b)"), line, message));
    EXPECT_EQ(LineText(line), L"res := TESTGET {$a} {$(TESTGET b)}");
    EXPECT_EQ(line.Kind(), CCodeLine::STATEMENT);

    // The line is filled anew.
    ASSERT_TRUE(CompileLineText(ConvertSourceLine(L"other"), line, message));
    EXPECT_EQ(LineText(line), L"other");
    EXPECT_FALSE(line.hasAssign);
    EXPECT_FALSE(line.flags & CCodeLine::BOUND);

    EXPECT_FALSE(CompileLineText(ConvertSourceLine(L"TESTPRINT $(a"), line, message));
    EXPECT_EQ(message, L"missing ')'");
    EXPECT_FALSE(CompileLineText(L"", line, message));
    EXPECT_EQ(message, L"invalid empty sub-command");
}

TEST(CompileLineText, KeepsTheKindOfAControlLine) {
    CCodeLine line;
    line.flags = CCodeLine::COMPUTED_GOTO;
    Text message;
    ASSERT_TRUE(CompileLineText(L"", line, message)) << "GOTO with no label fails at run time, not here";
    ASSERT_TRUE(CompileLineText(L"TESTPRINT", line, message));
    EXPECT_EQ(line.Kind(), CCodeLine::COMPUTED_GOTO);
    EXPECT_FALSE(line.flags & CCodeLine::BOUND);
    EXPECT_FALSE(CompileLineText(L"a := b", line, message));
    EXPECT_EQ(message, L"control commands can not be used in an assignment");
}

} // namespace
