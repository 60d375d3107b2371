// The preprocessor, the source loader with its sections, the library file,
// LOAD and UNLOAD, and the start from a library.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "items/text_codec.h"
#include "macro/library_file.h"
#include "macro/preprocessor.h"
#include "macro/source_loader.h"
#include "macro/compiler.h"
#include "macro/register.h"
#include "testsupport/macro_fixture.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

namespace fs = std::filesystem;

// Bytes of a literal with its zeros, without its terminator.
template <size_t N> std::string Bytes(const char (&literal)[N]) {
    return std::string(literal, N - 1);
}

class CTempDir {
public:
    CTempDir() {
        char name[] = "/tmp/kvo-loader-XXXXXX";
        m_path = ::mkdtemp(name) ? name : "";
    }
    ~CTempDir() {
        std::error_code ec;
        if (!m_path.empty()) fs::remove_all(m_path, ec);
    }
    Text Path(const std::string& name = "") const {
        return FromUtf8(name.empty() ? m_path : m_path + "/" + name);
    }
    // Bytes as they stand: tests write windows-1252 or marked text on purpose.
    Text Write(const std::string& name, const std::string& bytes) const {
        const fs::path p = fs::path(m_path) / name;
        fs::create_directories(p.parent_path());
        std::ofstream(p, std::ios::binary) << bytes;
        return FromUtf8(p.string());
    }
    std::string Read(const std::string& name) const {
        std::ifstream in(fs::path(m_path) / name, std::ios::binary);
        std::ostringstream s;
        s << in.rdbuf();
        return s.str();
    }

private:
    std::string m_path;
};

struct SPreprocessed {
    bool ok = false;
    std::vector<SCodeText> code;
    std::vector<Text> log;
    std::vector<Text> Texts() const {
        std::vector<Text> texts;
        for (const auto& c : code) texts.push_back(c.text);
        return texts;
    }
    std::vector<int> Numbers() const {
        std::vector<int> numbers;
        for (const auto& c : code) numbers.push_back(c.line);
        return numbers;
    }
};

SPreprocessed Pre(const std::vector<Text>& lines, CConstantList* constants = nullptr,
                  const Text& base = Text()) {
    CConstantList own;
    CConstantList& list = constants ? *constants : own;
    std::vector<Text> includes;
    if (!base.empty()) includes.push_back(CanonicalPath(base));
    CLoadLog log;
    SPreprocessed r;
    r.ok = Preprocess(lines, r.code, list, includes, 0, base, log);
    r.log = log.Lines();
    return r;
}

// ---- the scanner ----

TEST(Preprocessor, CommentsQuotesAndEscapesKeepLineNumbersTrue) {
    const auto r = Pre({L"  [MACRO A]   ", L"a/**/b // tail", L"x /* open", L"still comment", L"end */ y",
                        L"'it`'s' `// kept // gone", L"trailing` ", L"   "});
    EXPECT_TRUE(r.ok);
    EXPECT_THAT(r.Texts(), ElementsAre(L"[MACRO A]", L"a b", L"x", L"y", L"'it`'s' `// kept", L"trailing` "));
    EXPECT_THAT(r.Numbers(), ElementsAre(1, 2, 3, 5, 6, 7));
    EXPECT_THAT(r.log, ElementsAre(L"8 source lines -> 6 code lines"));
}

TEST(Preprocessor, ScannerErrors) {
    // Quotes do not protect comment marks: the quote behind "//" is gone, and the count is odd.
    const auto r =
        Pre({L"[MACRO A]", L"x := 'abc", L"y `", L"z", L"q := 'a // b'", L"/* never closed", L"more"});
    EXPECT_FALSE(r.ok);
    EXPECT_THAT(r.log,
                ElementsAre(L"line 2: odd number of quotes", L"line 3: invalid escape at end-of-line",
                            L"line 5: odd number of quotes", L"line 6 - invalid end-of-file in comment",
                            L"7 source lines -> 2 code lines"));
    EXPECT_THAT(r.Texts(), ElementsAre(L"[MACRO A]", L"z"));
}

TEST(Preprocessor, FewerThanTwoCodeLinesIsAnError) {
    auto r = Pre({L"// nothing", L"[MACRO A]"});
    EXPECT_FALSE(r.ok);
    EXPECT_THAT(r.log, ElementsAre(L"2 source lines -> 1 code lines", L"source file contains no code lines"));
    EXPECT_TRUE(Pre({L"[MACRO A]", L"x"}).ok);
}

TEST(Preprocessor, SplitJoinsEscapedLineEnds) {
    std::vector<Text> lines;
    ASSERT_TRUE(SplitSourceLines(L"a\rb\r\nc\nd", lines));
    EXPECT_THAT(lines, ElementsAre(L"a", L"b", L"c", L"d"));
    lines.clear();
    // Each joined line leaves an empty one behind; an escaped backtick joins nothing.
    ASSERT_TRUE(SplitSourceLines(L"x`\ny`\r\nz\nw\ne``\nf\ng```\nh\nk`", lines));
    EXPECT_THAT(lines, ElementsAre(L"xyz", L"", L"", L"w", L"e``", L"f", L"g``h", L"", L"k`"));
    // An escape open at the end reaches the preprocessor, which refuses it.
    const auto r = Pre(lines);
    EXPECT_THAT(r.log, Contains(L"line 9: invalid escape at end-of-line"));
    EXPECT_FALSE(r.ok);
}

// ---- directives ----

TEST(Preprocessor, ConstantDirectivesAndTheirMessages) {
    CConstantList constants;
    const auto r = Pre({L"!define ONE", L"!define ONE", L"!undef TWO", L"!define", L"!define 9x",
                        L"!undef a-b", L"!showdef ONE", L"!showdef TWO", L"!showdef", L"!showdef 1x",
                        L"!warning careful", L"!warn", L"!error", L"!ERROR stop here", L"!frobnicate",
                        L"]define THREE", L"!\tundef\tONE", L"[MACRO A]", L"x"},
                       &constants);
    EXPECT_FALSE(r.ok);
    EXPECT_THAT(r.log, ElementsAre(L"note: redefining preprocessor constant \"ONE\" in line 2",
                                   L"note: undefining undef'd preprocessor constant \"TWO\" in line 3",
                                   L"preprocessor !define in line 4 missing an argument",
                                   L"!define in line 5: \"9x\" is not a valid preprocessor constant",
                                   L"!undef in line 6: \"a-b\" is not a valid preprocessor constant",
                                   L"line 7: preprocessor constant \"ONE\" is DEFINED",
                                   L"line 8: preprocessor constant \"TWO\" is UNDEFINED",
                                   L"There are the following preprocessor items defined in source line 9:",
                                   L"1. ONE", L"There are 1 preprocessor items defined in source line 9",
                                   L"line 10: \"1x\" in !showdef is not a valid preprocessor constant",
                                   L"issuing WARNING on user request in line 11: careful",
                                   L"issuing WARNING on user request in line 12",
                                   L"issuing ERROR on user request in line 13",
                                   L"issuing ERROR on user request in line 14: stop here",
                                   L"invalid preprocessor command \"!frobnicate\" in line 15",
                                   L"19 source lines -> 2 code lines"));
    EXPECT_TRUE(constants.Find(L"THREE"));
    EXPECT_FALSE(constants.Find(L"ONE"));
}

TEST(Preprocessor, NotesAndWarningsAreNoErrors) {
    const auto r = Pre({L"!warning w", L"!define A", L"!define A", L"!undef B", L"[MACRO A]", L"x"});
    EXPECT_TRUE(r.ok);
}

TEST(Preprocessor, ConditionalBranches) {
    const auto r = Pre({L"!define YES",
                        L"!if defined(YES) && !defined NO",
                        L"a",
                        L"!elif true",
                        L"b",
                        L"!else",
                        L"c",
                        L"!endif",
                        L"!ifdef NO",
                        L"d",
                        L"!else if defined YES",
                        L"e",
                        L"!end if",
                        L"!ifndef NO",
                        L"f",
                        L"!endif",
                        L"!ifdefined YES",
                        L"g",
                        L"!else",
                        L"h",
                        L"!endif",
                        L"!IF false",
                        L"i",
                        L"!ELIF false",
                        L"j",
                        L"!ELSE",
                        L"k",
                        L"!ENDIF"});
    EXPECT_TRUE(r.ok);
    EXPECT_THAT(r.Texts(), ElementsAre(L"a", L"e", L"f", L"g", L"k"));
    EXPECT_THAT(r.Numbers(), ElementsAre(3, 12, 15, 18, 27));
}

TEST(Preprocessor, SkippedBranchStillCountsItsLevels) {
    // Nothing is tested in a skipped branch, but every !if-form opens a level
    // that its !endif closes; !define's name is checked all the same.
    const auto r = Pre({L"!ifdef NOPE", L"!ifdef 9bad", L"x", L"!bogus", L"!endif", L"y", L"!define Q",
                        L"!define 1q", L"!endif", L"[MACRO A]", L"z"});
    EXPECT_THAT(r.Texts(), ElementsAre(L"[MACRO A]", L"z"));
    EXPECT_THAT(r.log, ElementsAre(L"!define in line 8: \"1q\" is not a valid preprocessor constant",
                                   L"11 source lines -> 2 code lines"));
}

TEST(Preprocessor, TwelveLevelsAndNoMore) {
    auto nest = [](int depth, const Text& innermost) {
        std::vector<Text> lines(depth - 1, L"!if true");
        lines.push_back(innermost);
        lines.push_back(L"x");
        for (int i = 0; i < depth; ++i) lines.push_back(L"!endif");
        lines.push_back(L"[MACRO A]");
        return lines;
    };
    const auto twelve = Pre(nest(12, L"!if true"));
    EXPECT_TRUE(twelve.ok);
    EXPECT_THAT(twelve.Texts(), ElementsAre(L"x", L"[MACRO A]"));

    const auto ifForm = Pre(nest(13, L"!if true"));
    EXPECT_FALSE(ifForm.ok);
    EXPECT_THAT(ifForm.log,
                ElementsAre(L"nesting too deeply in line 13, preprocessor supports only 12 levels",
                            L"28 source lines -> 1 code lines", L"source file contains no code lines"));
    // The message words differ for the name forms; the surplus !endif still pairs off.
    for (const wchar_t* form : {L"!ifdef A", L"!ifndef A"}) {
        const auto r = Pre(nest(13, form));
        EXPECT_THAT(r.log, Contains(L"line 13: nesting too deeply, preprocessor supports only 12 levels"));
        EXPECT_THAT(r.log, Not(Contains(HasSubstr(L"without corresponding"))));
        EXPECT_THAT(r.Texts(), ElementsAre(L"[MACRO A]"));
    }
}

TEST(Preprocessor, UnbalancedConditionals) {
    const auto r = Pre({L"!elif true", L"!else", L"!endif", L"!if true", L"!else junk", L"!endif more",
                        L"!ifdef", L"!endif", L"[MACRO A]", L"x"});
    EXPECT_FALSE(r.ok);
    EXPECT_THAT(r.log, ElementsAre(L"preprocessor !elif without corresponding !if in line 1",
                                   L"preprocessor !else without corresponding !if in line 2",
                                   L"preprocessor !endif without corresponding !if in line 3",
                                   L"encountering garbage after preprocessor !else in line 5: \"junk\"",
                                   L"encountering garbage after preprocessor !endif in line 6: \"more\"",
                                   L"line 7: \"\" is not a valid preprocessor constant",
                                   L"10 source lines -> 2 code lines"));
}

TEST(Preprocessor, ConditionGrammar) {
    CConstantList constants;
    constants.Add(L"A", 0);
    auto branch = [&](const Text& expression) {
        const auto r =
            Pre({L"!if " + expression, L"yes", L"!else", L"no", L"!endif", L"[MACRO A]"}, &constants);
        return r.Texts().front();
    };
    const std::pair<const wchar_t*, const wchar_t*> values[] = {
        {L"true", L"yes"},
        {L"FALSE", L"no"},
        {L"!true", L"no"},
        {L"! ! true", L"yes"},
        {L"true && false", L"no"},
        {L"false || true", L"yes"},
        {L"false || true && false", L"no"}, // && binds closer
        {L"(false || true) && true", L"yes"},
        {L"defined A", L"yes"},
        {L"defined(a)", L"yes"},
        {L"defined ( B )", L"no"},
        {L"DEFINED A&&!defined B", L"yes"},
        {L"  true  ", L"yes"},
    };
    for (const auto& [expression, expected] : values) EXPECT_EQ(branch(expression), expected) << expression;

    EXPECT_EQ(branch(Text(100, L'(') + L"true" + Text(100, L')')), L"yes");
    // Bracket nesting is bounded, so no line can exhaust the stack.
    const auto deep = Pre({L"!if " + Text(100000, L'(') + L"true", L"!endif", L"[MACRO A]", L"x"});
    EXPECT_THAT(deep.log, Contains(L"line 1: short on storage during preprocessor parsing phase"));

    const std::pair<const wchar_t*, const wchar_t*> faults[] = {
        {L"", L"empty conditional preprocessor expression"},
        {L"true false", L"expecting end of conditional preprocessor expression"},
        {L"true)", L"expecting end of conditional preprocessor expression"},
        {L"trueish", L"expecting end of conditional preprocessor expression"},
        {L"(", L"unexpected end of bracketized conditional preprocessor expression"},
        {L"(true", L"closing bracket missing in conditional preprocessor expression"},
        {L"defined", L"the preprocessor functor 'defined' requires an argument"},
        {L"defined 1a", L"illformed argument to preprocessor functor 'defined'"},
        {L"defined(A",
         L"if the argument to the preprocessor functor 'defined' is preceded by '(', it must be "
         L"followed by ')'"},
        {L"true &&", L"unexpected end of conditional preprocessor expression"},
        {L"!", L"unexpected end of conditional preprocessor expression"},
        {L"maybe", L"unintelligible conditional preprocessor expression"},
    };
    for (const auto& [expression, message] : faults) {
        const auto r = Pre(
            {Text(L"!if ") + expression, L"yes", L"!else", L"no", L"!endif", L"[MACRO A]", L"x"}, &constants);
        EXPECT_FALSE(r.ok) << expression;
        EXPECT_THAT(r.log, Contains(Text(L"line 1: ") + message)) << expression;
        // A faulty condition takes neither branch.
        EXPECT_THAT(r.Texts(), ElementsAre(L"[MACRO A]", L"x")) << expression;
    }
}

// ---- includes ----

TEST(Preprocessor, IncludeAsWrittenThenBesideTheIncludingFile) {
    CTempDir dir;
    dir.Write("sub/inc.kvs", "!define FROM_INC\r\nx_inc\r\n");
    dir.Write("sub/outer.kvs", "outer\n!include 'inc.kvs'\n");
    const std::string sub = ToUtf8(dir.Path("sub"));
    const Text main = dir.Write("main.kvs", "");
    CConstantList constants;
    const auto r =
        Pre({L"[MACRO A]", L"!include 'sub/inc.kvs'", L"!include \"" + FromUtf8(sub) + L"/outer.kvs\"",
             L"!ifdef FROM_INC", L"last", L"!endif"},
            &constants, main);
    EXPECT_TRUE(r.ok);
    EXPECT_THAT(r.Texts(), ElementsAre(L"[MACRO A]", L"x_inc", L"outer", L"x_inc", L"last"));
    // Included lines keep the numbers of their own file.
    EXPECT_THAT(r.Numbers(), ElementsAre(1, 2, 1, 2, 5));
    EXPECT_THAT(r.log, Contains(L"about to include file \"sub/inc.kvs\""));
    EXPECT_THAT(r.log, Contains(L"...not found, now trying to include \"" + dir.Path("sub/inc.kvs") + L"\""));
    EXPECT_THAT(r.log, Contains(L"about to include file \"" + FromUtf8(sub) + L"/outer.kvs\""));
    EXPECT_THAT(r.log, Contains(L"note: redefining preprocessor constant \"FROM_INC\" in line 1"));
    EXPECT_THAT(r.log, Contains(L"6 source lines -> 5 code lines"));
}

TEST(Preprocessor, IncludeFaultsStopTheFile) {
    CTempDir dir;
    const Text main = dir.Write("main.kvs", "");
    const std::pair<const wchar_t*, const wchar_t*> faults[] = {
        {L"!include sub/inc.kvs", L"filename in !include statement must be quoted"},
        // A lone single quote is already an odd count for the scanner.
        {L"!include \"abc", L"unmatched quotation marks in !include statement"},
        {L"!include 'x' junk", L"trailing garbage after !include statement"},
        {L"!include", L"!include statement missing a filename"},
        {L"!include ''", L"!include statement missing a filename"},
        {L"!include 'nothere.kvs'", L"cannot open include file"},
        {L"!include 'main.kvs'", L"using the !include statement recursively"},
    };
    for (const auto& [line, message] : faults) {
        const auto r = Pre({L"[MACRO A]", L"x", line, L"after"}, nullptr, main);
        EXPECT_FALSE(r.ok) << line;
        EXPECT_THAT(r.log, Contains(Text(L"line 3, depth 0: ") + message)) << line;
        EXPECT_THAT(r.log, Contains(L"!include failed due to reason(s) shown above")) << line;
        EXPECT_THAT(r.Texts(), Not(Contains(L"after"))) << line;
    }
    // Not acted on in a skipped branch.
    EXPECT_TRUE(
        Pre({L"!if false", L"!include 'nothere.kvs'", L"!endif", L"[MACRO A]", L"x"}, nullptr, main).ok);
}

TEST(Preprocessor, SelfIncludeStopsAtTheFirstRepetition) {
    CTempDir dir;
    dir.Write("b.kvs", "in_b\n!include 'b.kvs'\nnever\n");
    const Text a = dir.Write("a.kvs", "");
    const auto r = Pre({L"[MACRO A]", L"!include 'b.kvs'"}, nullptr, a);
    EXPECT_FALSE(r.ok);
    EXPECT_THAT(r.Texts(), ElementsAre(L"[MACRO A]", L"in_b"));
    EXPECT_THAT(r.log, Contains(L"line 2, depth 1: using the !include statement recursively"));
}

TEST(Preprocessor, IncludesNestAtMost42Deep) {
    CTempDir dir;
    // f0 is the file itself (depth 0); f<n> is included at depth n.
    for (int i = 1; i < 42; ++i)
        dir.Write("f" + std::to_string(i) + ".kvs", "!include 'f" + std::to_string(i + 1) + ".kvs'\n");
    dir.Write("f42.kvs", "deepest\n");
    dir.Write("f43.kvs", "too deep\n");
    const Text f0 = dir.Write("f0.kvs", "");
    const auto ok = Pre({L"[MACRO A]", L"!include 'f1.kvs'"}, nullptr, f0);
    EXPECT_TRUE(ok.ok);
    EXPECT_THAT(ok.Texts(), ElementsAre(L"[MACRO A]", L"deepest"));

    dir.Write("f42.kvs", "!include 'f43.kvs'\n");
    const auto deep = Pre({L"[MACRO A]", L"!include 'f1.kvs'"}, nullptr, f0);
    EXPECT_FALSE(deep.ok);
    EXPECT_THAT(deep.log, Contains(L"line 1, depth 42: nesting includes too deeply"));
    EXPECT_THAT(deep.Texts(), Not(Contains(L"too deep")));
}

TEST(Preprocessor, IncludedLinesPassALineBuffer) {
    CTempDir dir;
    const Text main = dir.Write("main.kvs", "");
    // A continuation needs 80 characters left of the 16384.
    dir.Write("fits.kvs", std::string(16300, 'a') + "`\nb\n");
    dir.Write("full.kvs", std::string(16310, 'a') + "`\nb\n");
    const auto fits = Pre({L"[MACRO A]", L"!include 'fits.kvs'"}, nullptr, main);
    EXPECT_TRUE(fits.ok);
    ASSERT_EQ(fits.code.size(), 2u);
    EXPECT_EQ(fits.code[1].text, Text(16300, L'a') + L"b");
    const auto full = Pre({L"[MACRO A]", L"!include 'full.kvs'"}, nullptr, main);
    EXPECT_THAT(full.log,
                Contains(L"line 2, depth 0: line continuation results in too long a line in included file"));
    // The file being loaded has no such limit.
    std::vector<Text> lines;
    ASSERT_TRUE(SplitSourceLines(Text(20000, L'a') + L"`\nb", lines));
    EXPECT_TRUE(Pre({L"[MACRO A]", lines[0]}).ok);
}

// ---- loader, sections, library ----

class Loader : public MacroTest {
protected:
    bool LoadFile(const Text& path, std::vector<Text>* log = nullptr, CConstantList* constants = nullptr) {
        CLoadLog loadLog;
        CConstantList own;
        const bool ok = LoadSourceFile(*m_env, path, constants ? *constants : own, loadLog);
        if (log) *log = loadLog.Lines();
        return ok;
    }
    // The lines that the sink was told are faults.
    std::vector<Text> LoadFaults(const Text& path, bool* ok = nullptr) {
        std::vector<Text> faults;
        CLoadLog loadLog([&faults](const Text& line, bool fault) {
            if (fault) faults.push_back(line);
        });
        CConstantList constants;
        const bool loaded = LoadSourceFile(*m_env, path, constants, loadLog);
        if (ok) *ok = loaded;
        return faults;
    }
    bool AddToLibrary(const Text& source, const Text& library, std::vector<Text>* log = nullptr) {
        CLoadLog loadLog;
        CConstantList constants;
        const bool ok = AddSourceToLibrary(source, library, constants, loadLog);
        if (log) *log = loadLog.Lines();
        return ok;
    }
    CMacroCode* Macro(const wchar_t* name) { return dynamic_cast<CMacroCode*>(m_env->FindMacro(name)); }

    CTempDir m_dir;
};

TEST_F(Loader, SectionsAndTheirLogLines) {
    const Text path = m_dir.Write("s.kvs", "[MACRO GOOD]\n@g := 1\n[MACRO BROKEN\nx\n[MACRO TAIL] junk\nx\n"
                                           "[MACRO]\nx\n[DATA stuff]\nwhatever\n[spu filt]\nx\n");
    std::vector<Text> log;
    EXPECT_FALSE(LoadFile(path, &log));
    EXPECT_THAT(
        log, ElementsAre(L"load sources from file '" + path + L"'", L"12 source lines -> 12 code lines",
                         L"-- section #1 - MACRO GOOD loaded - linked (add)", L"-- section #2 - missing ']'",
                         L"-- section #3 - unexpected text or end-of-section behind header - skipped",
                         L"-- section #4 - header does not contain type and/or name - skipped",
                         L"-- section #5 - skipping non-source section of type DATA",
                         L"-- section #6 - SPU filt skipped - SPU definitions cannot be loaded by this "
                         L"program yet",
                         L"1 sections of 6 loaded"));
    ASSERT_NE(Macro(L"GOOD"), nullptr);
    EXPECT_EQ(Macro(L"GOOD")->m_source, path);
    EXPECT_FALSE(Macro(L"GOOD")->m_bFromLibrary);
    EXPECT_EQ(m_env->FindMacro(L"TAIL"), nullptr);
}

TEST_F(Loader, FaultsAreToldApartFromTheAccountOfTheWork) {
    const Text mixed = m_dir.Write("s.kvs", "[MACRO GOOD]\n@g := 1\n[MACRO BROKEN\nx\n[MACRO TAIL] junk\nx\n"
                                            "[MACRO]\nx\n[DATA stuff]\nwhatever\n[spu filt]\nx\n");
    bool ok = true;
    EXPECT_THAT(LoadFaults(mixed, &ok),
                ElementsAre(L"-- section #2 - missing ']'",
                            L"-- section #3 - unexpected text or end-of-section behind header - skipped",
                            L"-- section #4 - header does not contain type and/or name - skipped",
                            L"-- section #6 - SPU filt skipped - SPU definitions cannot be loaded by this "
                            L"program yet",
                            L"1 sections of 6 loaded"));
    EXPECT_FALSE(ok);
    const Text good = m_dir.Write("good.kvs", "[MACRO FINE]\n@f := 1\n");
    EXPECT_THAT(LoadFaults(good, &ok), ElementsAre());
    EXPECT_TRUE(ok);
    const Text missing = m_dir.Path("missing.kvs");
    EXPECT_THAT(LoadFaults(missing, &ok), ElementsAre(L"open file '" + missing + L"' failed"));
    const Text quotes = m_dir.Write("quotes.kvs", "[MACRO Q]\nWRITELOG 'open\n");
    EXPECT_THAT(LoadFaults(quotes, &ok),
                ElementsAre(L"line 2: odd number of quotes", L"source file contains no code lines"));
    EXPECT_FALSE(ok);
    const Text empty = m_dir.Write("nosections.kvs", "// nothing to load\n");
    EXPECT_THAT(LoadFaults(empty, &ok), ElementsAre(L"source file contains no code lines"));
    const Text data = m_dir.Write("data.kvs", "[DATA x]\nno code\n");
    EXPECT_THAT(LoadFaults(data, &ok), ElementsAre(L"0 sections of 1 loaded"));
    EXPECT_FALSE(ok);
}

TEST_F(Loader, AMacroOfAnIncludedFileComesFromThereWithItsLines) {
    const Text sub = m_dir.Write("lib/sub.kvs", "// helpers\n\n[MACRO HELPER]\n@h := 1\n");
    const Text main = m_dir.Write("main.kvs", "!include 'lib/sub.kvs'\n[MACRO TOP]\n@t := 1\n");
    ASSERT_TRUE(LoadFile(main));
    ASSERT_NE(Macro(L"HELPER"), nullptr);
    ASSERT_NE(Macro(L"TOP"), nullptr);
    EXPECT_EQ(Macro(L"HELPER")->m_source, sub);
    EXPECT_EQ(Macro(L"TOP")->m_source, main);
    // Line numbers count in the file the line is in (zero-based in the code).
    EXPECT_EQ(Macro(L"HELPER")->m_lines.front()->sourceLine, 3);
    EXPECT_EQ(Macro(L"TOP")->m_lines.front()->sourceLine, 2);
}

TEST_F(Loader, HeaderWordsKeepQuotedDefaultsTogether) {
    ASSERT_TRUE(LoadFile(m_dir.Write("qd.kvs", "[MACRO QD  a='x y'\tb ]\n@qd := $a|$b\n")));
    RunToEnd(L"QD");
    EXPECT_EQ(Global(L"qd"), L"x y|");
}

TEST_F(Loader, ReplaceOrAddAndReloading) {
    const Text a =
        m_dir.Write("a.kvs", "[MACRO DUP]\n@d := 1\n[MACRO DUP]\n@d := 2\n[MACRO ONLYA]\n@oa := a\n");
    const Text b = m_dir.Write("b.kvs", "[MACRO ONLYA]\n@oa := b\n[MACRO ONLYB]\n@ob := b\n");
    std::vector<Text> log;
    ASSERT_TRUE(LoadFile(a, &log));
    EXPECT_THAT(log, Contains(L"-- section #1 - MACRO DUP loaded - linked (add)"));
    EXPECT_THAT(log, Contains(L"-- section #2 - MACRO DUP loaded - linked (replace)"));
    ASSERT_TRUE(LoadFile(b, &log));
    EXPECT_THAT(log, Contains(L"-- section #1 - MACRO ONLYA loaded - linked (replace)"));
    EXPECT_THAT(LoadedSources(*m_env), ElementsAre(a, b));

    // A file loaded again goes first and moves to the end of the load order.
    ASSERT_TRUE(LoadFile(a, &log));
    EXPECT_THAT(log, Contains(L"Sourcefile " + a + L" unloaded."));
    EXPECT_THAT(LoadedSources(*m_env), ElementsAre(b, a));

    // What another file replaced is not taken away by unloading the first.
    CLoadLog unloadLog;
    ASSERT_TRUE(LoadFile(b));
    ASSERT_TRUE(UnloadSourceFile(*m_env, a, false, unloadLog));
    EXPECT_THAT(unloadLog.Lines(), ElementsAre(L"Sourcefile " + a + L" unloaded."));
    EXPECT_EQ(m_env->FindMacro(L"DUP"), nullptr);
    ASSERT_NE(m_env->FindMacro(L"ONLYA"), nullptr);
    RunToEnd(L"ONLYA");
    EXPECT_EQ(Global(L"oa"), L"b");
    EXPECT_FALSE(UnloadSourceFile(*m_env, a, false, unloadLog));
    EXPECT_THAT(LoadedSources(*m_env), ElementsAre(b));
}

TEST_F(Loader, ActiveCodeIsNotReplaced) {
    ASSERT_TRUE(Load(L"[MACRO KEEP]\n@k := old\n"));
    CSourceCode* keep = m_env->FindMacro(L"KEEP");
    keep->Use();
    const Text a = m_dir.Write("a.kvs", "[MACRO KEEP]\n@k := new\n[MACRO OTHER]\n@o := new\n");
    std::vector<Text> log;
    EXPECT_FALSE(LoadFile(a, &log));
    EXPECT_THAT(log, Contains(L"-- section #1 - cannot replace active MACRO KEEP"));
    EXPECT_THAT(log, Contains(L"-- section #2 - MACRO OTHER loaded - linked (add)"));
    EXPECT_THAT(log, Contains(L"1 sections of 2 loaded"));
    EXPECT_EQ(m_env->FindMacro(L"KEEP"), keep);

    // Reloading a file while its code runs keeps the old code whole and counts as done.
    CSourceCode* other = m_env->FindMacro(L"OTHER");
    other->Use();
    keep->Unuse();
    EXPECT_TRUE(LoadFile(a, &log));
    EXPECT_THAT(log,
                ElementsAre(L"load sources from file '" + a + L"'",
                            L"Sourcefile " + a + L" unload failed because all/some code objects are in use"));
    EXPECT_EQ(m_env->FindMacro(L"OTHER"), other);
    EXPECT_EQ(m_env->FindMacro(L"KEEP"), keep);

    // UNLOAD takes what it can; /F forgets the file and leaves the rest linked.
    CLoadLog unloadLog;
    EXPECT_FALSE(UnloadSourceFile(*m_env, a, false, unloadLog));
    EXPECT_THAT(unloadLog.Lines(),
                ElementsAre(L"Sourcefile " + a + L" unload failed because all/some code objects are in use"));
    EXPECT_TRUE(UnloadSourceFile(*m_env, a, true, unloadLog));
    EXPECT_EQ(m_env->FindMacro(L"OTHER"), other);
    EXPECT_TRUE(LoadedSources(*m_env).empty());
    other->Unuse();
}

TEST_F(Loader, ClassesNeedALoadedParentClass) {
    const Text path =
        m_dir.Write("c.kvs", "[MACRO PLAIN]\n@p := 1\n[CLASS BASECLS]\npublic_hello:\n@h := base\nEXIT\n"
                             "[CLASS DERIVED BASECLS]\npublic_x:\nEXIT\n"
                             "[CLASS ORPHAN NOSUCH]\nx:\nEXIT\n[CLASS NOTCLASS PLAIN]\ny:\nEXIT\n");
    std::vector<Text> log;
    EXPECT_FALSE(LoadFile(path, &log));
    EXPECT_THAT(log, Contains(L"-- section #3 - CLASS DERIVED loaded - linked (add)"));
    EXPECT_THAT(log, Contains(L"-- section #4 - invalid parent class NOSUCH"));
    EXPECT_THAT(log, Contains(L"-- section #5 - invalid parent class PLAIN"));
    CMacroCode* base = Macro(L"BASECLS");
    ASSERT_NE(base, nullptr);
    EXPECT_TRUE(base->m_bClass);
    EXPECT_EQ(Macro(L"DERIVED")->m_pParent, base);
    // The derived class holds its parent.
    EXPECT_EQ(base->Uses(), 1);
    const Text again = m_dir.Write("again.kvs", "[CLASS BASECLS]\nx:\nEXIT\n");
    EXPECT_FALSE(LoadFile(again, &log));
    EXPECT_THAT(log, Contains(L"-- section #1 - cannot replace active CLASS BASECLS"));
    // Unloading the file frees the child first, then the parent.
    CLoadLog unloadLog;
    EXPECT_TRUE(UnloadSourceFile(*m_env, path, false, unloadLog));
    EXPECT_EQ(m_env->FindMacro(L"BASECLS"), nullptr);
}

TEST_F(Loader, CompileMessagesNameTheTrueLine) {
    const Text path = m_dir.Write("lines.kvs", "[MACRO LINES]\n@a := one`\ntwo\n@b := 1 /* a comment\n"
                                               "that crosses */\nEND\n");
    std::vector<Text> log;
    EXPECT_FALSE(LoadFile(path, &log));
    EXPECT_THAT(log, Contains(L"-- section #1 - MACRO LINES [line 6] error: invalid END"));
    EXPECT_THAT(log, Contains(L"0 sections of 1 loaded"));
}

TEST_F(Loader, WarningsStopASourceUnlessTakenLightly) {
    const std::string text = "[MACRO W]\nIF 1 == 1 THEN\n@w := 1\nEND extra\n";
    const Text path = m_dir.Write("w.kvs", text);
    std::vector<Text> log;
    EXPECT_FALSE(LoadFile(path, &log));
    EXPECT_THAT(log,
                Contains(L"-- section #1 - MACRO W [line 4] warning: END-statement do not need arguments"));
    CConstantList constants;
    constants.Add(L"IgnoreLoaderWarnings", 0);
    EXPECT_TRUE(LoadFile(path, &log, &constants));
    EXPECT_THAT(log, ElementsAre(L"load sources from file '" + path + L"'", L"4 source lines -> 4 code lines",
                                 L"-- section #1 - MACRO W loaded - linked (add)",
                                 L"[line 4] warning: END-statement do not need arguments",
                                 L"1 sections of 1 loaded"));
    // In a library warnings never stop the load; its lines count from 1.
    const Text library = m_dir.Path("w.lib");
    ASSERT_TRUE(AddToLibrary(path, library));
    m_dir.Write("bad.lib", Bytes("KVOBCL[MACRO BAD]\0x := 1\0END\0\0"));
    EXPECT_TRUE(LoadFile(library, &log));
    EXPECT_TRUE(Macro(L"W")->m_bFromLibrary);
    EXPECT_FALSE(LoadFile(m_dir.Path("bad.lib"), &log));
    EXPECT_THAT(log, Contains(L"-- section #1 - MACRO BAD [line 3] error: invalid END"));
}

TEST_F(Loader, ReadFailures) {
    std::vector<Text> log;
    const Text missing = m_dir.Path("missing.kvs");
    EXPECT_FALSE(LoadFile(missing, &log));
    EXPECT_THAT(log, ElementsAre(L"load sources from file '" + missing + L"'",
                                 L"open file '" + missing + L"' failed"));
    EXPECT_FALSE(LoadFile(m_dir.Write("empty.kvs", ""), &log));
    EXPECT_THAT(log.back(), L"invalid file size");
    EXPECT_FALSE(LoadFile(m_dir.Write("u32.kvs", Bytes("\xFF\xFE\0\0[\0\0\0")), &log));
    EXPECT_THAT(log.back(), L"unsupported byte order mark");
    // A UTF-16 source is read like any other.
    EXPECT_TRUE(LoadFile(m_dir.Write("u16.kvs", Bytes("\xFE\xFF\0[\0M\0A\0C\0R\0O\0 \0U\0]\0\n\0x"))));
    EXPECT_NE(m_env->FindMacro(L"U"), nullptr);
}

TEST_F(Loader, LibraryRoundTrip) {
    const Text one = m_dir.Write("one.kvs", "// first\n[MACRO LIBONE x]\n@one := got $x\n");
    const Text two = m_dir.Write("two.kvs", "!ifdef KVORELEASE\n[MACRO LIBTWO]\n@two := release\n!else\n"
                                            "[MACRO LIBTWO]\n@two := plain\n!endif\n");
    const Text library = m_dir.Path("kvo.lib");
    std::vector<Text> log;
    ASSERT_TRUE(AddToLibrary(one, library, &log));
    EXPECT_THAT(log, Contains(L"add source file '" + one + L"' to library '" + library + L"'"));
    EXPECT_EQ(m_dir.Read("kvo.lib"), Bytes("KVOBCL[MACRO LIBONE x]\0@one := got $x\0\0"));
    // A library is made with the constants it is given: KVORELEASE is not among them.
    ASSERT_TRUE(AddToLibrary(two, library));
    EXPECT_EQ(m_dir.Read("kvo.lib"),
              Bytes("KVOBCL[MACRO LIBONE x]\0@one := got $x\0[MACRO LIBTWO]\0@two := plain\0\0"));

    ASSERT_TRUE(m_env->LoadMacros(library, true));
    EXPECT_THAT(m_window.Lines(), Contains(L"4 code lines loaded"));
    EXPECT_THAT(m_window.Lines(), Contains(L"-- section #2 - MACRO LIBTWO loaded - linked (add)"));
    EXPECT_THAT(m_window.Lines(), Contains(L"2 sections of 2 loaded"));
    EXPECT_THAT(m_window.Lines(), Not(Contains(HasSubstr(L"source lines ->"))));
    EXPECT_TRUE(Macro(L"LIBONE")->m_bFromLibrary);
    RunAndWait(L"LIBONE 5");
    RunToEnd(L"LIBTWO");
    EXPECT_EQ(Global(L"one"), L"got 5");
    EXPECT_EQ(Global(L"two"), L"plain");
    // The same source loaded by itself sees KVORELEASE.
    ASSERT_TRUE(m_env->LoadMacros(two, false));
    EXPECT_NE(Macro(L"LIBTWO"), nullptr);
    EXPECT_FALSE(Macro(L"LIBTWO")->m_bFromLibrary);
}

TEST_F(Loader, EmptyLibraryLoadsNothing) {
    for (const std::string& bytes : {Bytes("KVOBCL\0"), std::string("KVOBCL")}) {
        std::vector<Text> log;
        EXPECT_FALSE(LoadFile(m_dir.Write("empty.lib", bytes), &log));
        EXPECT_THAT(log, ElementsAre(HasSubstr(L"load sources from file"), L"0 code lines loaded",
                                     L"0 sections of 0 loaded"));
    }
}

TEST_F(Loader, SourceBeginningWithTheMagicIsALibrary) {
    std::vector<Text> log;
    ASSERT_TRUE(LoadFile(m_dir.Write("x.kvs", Bytes("KVOBCL[MACRO FROMLIB]\0@fl := 1 // kept\0\0")), &log));
    EXPECT_THAT(log, Contains(L"2 code lines loaded"));
    EXPECT_TRUE(Macro(L"FROMLIB")->m_bFromLibrary);
    // Library lines are not preprocessed: the "comment" is text of the line.
    RunToEnd(L"FROMLIB");
    EXPECT_EQ(Global(L"fl"), L"1 // kept");
}

TEST_F(Loader, AddingToAnotherFormatChangesNothing) {
    const Text source = m_dir.Write("s.kvs", "[MACRO S]\nx\n");
    const Text other = m_dir.Write("notes.txt", "hello world");
    std::vector<Text> log;
    EXPECT_FALSE(AddToLibrary(source, other, &log));
    EXPECT_THAT(log, Contains(L"'" + other + L"' is not a library file"));
    EXPECT_EQ(m_dir.Read("notes.txt"), "hello world");
    // A source with preprocessor errors is not added at all.
    const Text bad = m_dir.Write("bad.kvs", "[MACRO S]\n!error no\nx\n");
    EXPECT_FALSE(AddToLibrary(bad, m_dir.Path("new.lib"), &log));
    EXPECT_FALSE(fs::exists(ToUtf8(m_dir.Path("new.lib"))));
}

TEST_F(Loader, LibraryTurnedUtf8StillLoadsButTakesNoMoreAdditions) {
    const Text umlaut = m_dir.Write("a.kvs", "[MACRO UMLAUT]\n@u := \xE4\x80\n");
    const Text greek = m_dir.Write("b.kvs", "\xEF\xBB\xBF[MACRO GREEK]\n@g := \xCE\xB1\xCE\xB2\n");
    const Text library = m_dir.Path("mixed.lib");
    ASSERT_TRUE(AddToLibrary(umlaut, library));
    EXPECT_EQ(m_dir.Read("mixed.lib"), Bytes("KVOBCL[MACRO UMLAUT]\0@u := \xE4\x80\0\0"));
    ASSERT_TRUE(AddToLibrary(greek, library));
    EXPECT_EQ(m_dir.Read("mixed.lib"), Bytes("\xEF\xBB\xBF"
                                             "KVOBCL[MACRO UMLAUT]\0@u := \xC3\xA4\xE2\x82\xAC\0"
                                             "[MACRO GREEK]\0@g := \xCE\xB1\xCE\xB2\0\0"));
    ASSERT_TRUE(m_env->LoadMacros(library, false));
    RunAndWait(L"UMLAUT");
    RunToEnd(L"GREEK");
    EXPECT_EQ(Global(L"u"), L"\u00E4\u20AC");
    EXPECT_EQ(Global(L"g"), L"\u03B1\u03B2");

    const std::string before = m_dir.Read("mixed.lib");
    std::vector<Text> log;
    EXPECT_FALSE(AddToLibrary(umlaut, library, &log));
    EXPECT_THAT(log, Contains(L"'" + library + L"' is not a library file"));
    EXPECT_EQ(m_dir.Read("mixed.lib"), before);
}

TEST_F(Loader, LoadAndUnloadCommands) {
    const Text good = m_dir.Write("good.kvs", "[MACRO GOODMAC]\n@good := yes\n");
    const Text cond = m_dir.Write("cond.kvs", "!ifdef FLAVOR\n[MACRO CONDMAC]\n@flavor := yes\n!else\n"
                                              "[MACRO CONDMAC]\n@flavor := no\n!endif\n");
    const Text quiet = m_dir.Write("quiet.kvs", "[MACRO QUIETMAC]\n@q := 1\n");
    const Text library = m_dir.Path("cmd.lib");
    const Text missing = m_dir.Path("nothere.kvs");
    auto q = [](const Text& path) { return L"'" + path + L"'"; };
    ASSERT_TRUE(Load(L"[MACRO CMDS]\n"
                     L"@load := LOAD MACROCODE " +
                     q(good) +
                     L"\n"
                     L"GOODMAC\n"
                     L"@missing := LOAD MACROCODE " +
                     q(missing) +
                     L"\n"
                     L"@silent := LOAD MACROCODE " +
                     q(missing) +
                     L" /S\n"
                     L"@badconst := LOAD MACROCODE " +
                     q(good) +
                     L" /D=9x\n"
                     L"@define := LOAD SOURCECODE " +
                     q(cond) +
                     L" /D=FLAVOR /D=OTHER\n"
                     L"CONDMAC\n"
                     L"@quiet := LOAD SPUCODE " +
                     q(quiet) +
                     L" /N\n"
                     L"@sound := LOAD SOUNDFILE 'x.wav'\n"
                     L"@table := LOAD MACROCODE 'x' /T\n"
                     L"@lib := LOAD MACROCODE " +
                     q(good) + L" " + q(library) +
                     L" /M\n"
                     L"@unload := UNLOAD MACROCODE " +
                     q(good) +
                     L"\n"
                     L"@again := UNLOAD MACROCODE " +
                     q(good) +
                     L"\n"
                     L"@spu := UNLOAD SPUCODE " +
                     q(good) +
                     L" /S\n"
                     L"@source := UNLOAD SOURCECODE " +
                     q(good) + L" " + q(quiet) +
                     L"\n"
                     L"@source2 := UNLOAD SOURCECODE " +
                     q(good) +
                     L" /S\n"
                     L"@nosound := UNLOAD SOUNDFILE 'x.wav'\n"
                     L"@few := LOAD MACROCODE\n"));
    RunToEnd(L"CMDS");
    EXPECT_EQ(Global(L"load"), L"0");
    EXPECT_EQ(Global(L"good"), L"yes");
    EXPECT_EQ(Global(L"missing"), L"455");
    EXPECT_EQ(Global(L"silent"), L"316");
    EXPECT_EQ(Global(L"badconst"), L"156");
    EXPECT_EQ(Global(L"define"), L"0");
    EXPECT_EQ(Global(L"flavor"), L"yes");
    EXPECT_EQ(Global(L"quiet"), L"0");
    EXPECT_EQ(Global(L"sound"), L"157");
    EXPECT_EQ(Global(L"table"), L"455"); // no table of that name
    EXPECT_EQ(Global(L"lib"), L"0");
    EXPECT_EQ(Global(L"unload"), L"0");
    EXPECT_EQ(Global(L"again"), L"342");
    EXPECT_EQ(Global(L"spu"), L"341");
    // One of two names failing is enough.
    EXPECT_EQ(Global(L"source"), L"344");
    EXPECT_EQ(Global(L"source2"), L"345");
    EXPECT_EQ(Global(L"nosound"), L"157");
    EXPECT_EQ(Global(L"few"), L"2");
    EXPECT_EQ(m_env->FindMacro(L"GOODMAC"), nullptr);
    EXPECT_EQ(m_env->FindMacro(L"QUIETMAC"), nullptr);
    EXPECT_EQ(m_dir.Read("cmd.lib"), Bytes("KVOBCL[MACRO GOODMAC]\0@good := yes\0\0"));
    const auto lines = m_window.Lines();
    EXPECT_THAT(lines, Contains(L"load sources from file '" + good + L"'"));
    EXPECT_THAT(lines, Contains(L"open file '" + missing + L"' failed"));
    EXPECT_THAT(lines, Not(Contains(L"load sources from file '" + quiet + L"'")));
}

TEST_F(Loader, FinalUnloadRetriesWhileRoundsRemoveSomething) {
    const Text u = m_dir.Write("u.kvs", "[MACRO U1]\n@u := 1\n[MACRO U2]\n@u := 2\n");
    const Text v = m_dir.Write("v.kvs", "[MACRO V1]\n@v := 1\n");
    ASSERT_TRUE(LoadFile(u));
    ASSERT_TRUE(LoadFile(v));
    // A use nobody gives back: the environment deletes what the unload leaves.
    m_env->FindMacro(L"U1")->Use();
    delete m_env;
    m_env = nullptr;
    const auto lines = m_window.Lines();
    const std::vector<Text> tail(lines.end() - 6, lines.end());
    EXPECT_THAT(
        tail,
        ElementsAre(L"Unload sourcefile " + v + L". Trial #1", L"  1 code objects removed - finished",
                    L"Unload sourcefile " + u + L". Trial #1", L"  1 code objects removed - try again",
                    L"Unload sourcefile " + u + L". Trial #2", L"  1 remaining code objects - failed!"));
}

TEST_F(Loader, StartRunsMasterShellFromTheLibrary) {
    const Text source = m_dir.Write("master.kvs", "[MACRO MASTERSHELL first second]\n@MASTER := $SHELL\n"
                                                  "@STARTARGS := $#ARGC|$first|$second\n");
    ASSERT_TRUE(AddToLibrary(source, m_dir.Path("kvo.lib")));
    m_env->SetStartValues(m_dir.Path("kvo"), nullptr);
    ASSERT_TRUE(m_env->Start(L"a 'b c'"));
    EXPECT_TRUE(m_env->Started());
    CShell* master = m_env->FindShell(L"");
    ASSERT_NE(master, nullptr);
    for (uint64_t seen = 0; Global(L"STARTARGS").empty(); seen = master->IdleCount())
        ASSERT_TRUE(master->WaitIdleAfter(seen, 20000)) << "MASTERSHELL did not run";
    EXPECT_EQ(Global(L"STARTARGS"), L"2|a|b c");
    EXPECT_EQ(Global(L"MASTER"), master->IdText());
    EXPECT_THAT(m_window.Lines(), Contains(L"load sources from file '" + m_dir.Path("kvo.lib") + L"'"));
}

TEST_F(Loader, StartFailsWithoutALibrary) {
    m_env->SetStartValues(m_dir.Path("kvo"), nullptr);
    EXPECT_FALSE(m_env->Start(L""));
    EXPECT_FALSE(m_env->Started());
    EXPECT_THAT(m_window.Lines(), Contains(L"open file '" + m_dir.Path("kvo.lib") + L"' failed"));
}

} // namespace
