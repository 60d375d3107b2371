// Text files (the line quirks of reading, the writer that turns a file into
// UTF-8 only when it must) and section files (scanner, headings, sections,
// SYNC).
#include "items/tests/file_fixture.h"

namespace {

struct SRead {
    Text line;
    bool end;
};

std::vector<SRead> ReadAll(CShellFile& file, int limit = 10) {
    std::vector<SRead> reads;
    for (int i = 0; i < limit; ++i) {
        SRead r;
        EXPECT_EQ(file.ReadLine(r.line, r.end), 0);
        reads.push_back(r);
        if (r.end) break;
    }
    return reads;
}

std::vector<Text> Scan(const Text& text) {
    std::vector<SFileLine> lines;
    CShellFile::ScanSection(text, lines);
    std::vector<Text> out;
    for (const SFileLine& l : lines) out.push_back((l.heading ? L"H:" : L"") + l.text);
    return out;
}

using FileTextTest = FileTest;

TEST_F(FileTextTest, LastUnterminatedLineLosesItsFinalCharacter) {
    WriteBytes("a.txt", "a\r\nb");
    CShellFile* file = nullptr;
    ASSERT_EQ(New(L"f", WPath("a.txt") + L" /T", &file), 0);
    const auto reads = ReadAll(*file);
    ASSERT_EQ(reads.size(), 2u);
    EXPECT_EQ(reads[0].line, L"a");
    EXPECT_FALSE(reads[0].end);
    EXPECT_EQ(reads[1].line, L"");
    EXPECT_TRUE(reads[1].end);

    WriteBytes("b.txt", "xyz");
    ASSERT_EQ(New(L"g", WPath("b.txt") + L" /T", &file), 0);
    const auto single = ReadAll(*file);
    ASSERT_GE(single.size(), 1u);
    EXPECT_EQ(single[0].line, L"xy");
    EXPECT_FALSE(single[0].end);
}

TEST_F(FileTextTest, EmptyLineEndsTheReadingAlthoughTextFollows) {
    WriteBytes("a.txt", "ab\n\ncd\n");
    CShellFile* file = nullptr;
    ASSERT_EQ(New(L"f", WPath("a.txt") + L" /T", &file), 0);
    const auto reads = ReadAll(*file);
    ASSERT_EQ(reads.size(), 2u);
    EXPECT_EQ(reads[0].line, L"ab");
    EXPECT_FALSE(reads[0].end);
    EXPECT_EQ(reads[1].line, L"");
    EXPECT_TRUE(reads[1].end);
}

TEST_F(FileTextTest, ReadingGoesThroughTheCodecs) {
    // UTF-16LE with its mark, and windows-1252 without one.
    WriteBytes("u16.txt", std::string("\xFF\xFE"
                                      "a\0\xE9\0\r\0\n\0z\0!\0",
                                      14));
    WriteBytes("cp.txt", "\x80x\r\n!");
    CShellFile* file = nullptr;
    ASSERT_EQ(New(L"u", WPath("u16.txt") + L" /T", &file), 0);
    EXPECT_EQ(ReadAll(*file)[0].line, L"a\u00E9");
    ASSERT_EQ(New(L"c", WPath("cp.txt") + L" /T", &file), 0);
    EXPECT_EQ(ReadAll(*file)[0].line, L"\u20ACx");
    WriteBytes("u32.txt", std::string("\xFF\xFE\0\0a\0\0\0", 8));
    EXPECT_EQ(New(L"w", WPath("u32.txt") + L" /T"), 485);
}

TEST_F(FileTextTest, OpeningFailuresAndStateCodes) {
    EXPECT_EQ(New(L"m", WPath("missing.txt") + L" /T"), MapErrno(ENOENT, false, 333));
    // /I: the same failure as its warning.
    const int quiet = New(L"m", WPath("missing.txt") + L" /T /I");
    EXPECT_TRUE(IsWarning(quiet)) << quiet;
    EXPECT_EQ(New(L"n", L" /T"), 2);
    // A text longer than a signed 32-bit length (sparse: nothing is read).
    WriteBytes("big.txt", "");
    std::filesystem::resize_file(PathOf("big.txt"), 0x80000000ull);
    EXPECT_EQ(New(L"big", WPath("big.txt") + L" /T"), 107);

    WriteBytes("r.txt", "x\r\n");
    CShellFile* reader = nullptr;
    CShellFile* writer = nullptr;
    ASSERT_EQ(New(L"r", WPath("r.txt") + L" /T", &reader), 0);
    ASSERT_EQ(New(L"w", WPath("w.txt") + L" /T /W", &writer), 0);
    EXPECT_EQ(reader->WriteText(L"y"), 218);
    Text line;
    bool end = false;
    EXPECT_EQ(writer->ReadLine(line, end), 217);
    EXPECT_EQ(Status(L"r", L"!ACCESS"), L"Read");
    EXPECT_EQ(Status(L"w", L"!ACCESS"), L"Write");
}

TEST_F(FileTextTest, WriterKeepsWindows1252UntilACharacterDoesNotFit) {
    CShellFile* file = nullptr;
    ASSERT_EQ(New(L"w", WPath("out.txt") + L" /T /W", &file), 0);
    // The euro sign exists in code page 1252: one byte, no mark.
    ASSERT_EQ(file->WriteText(L"\u00E9\u20AC\r\n"), 0);
    EXPECT_EQ(ReadBytes("out.txt"), "\xE9\x80\r\n");
    // A Greek letter does not: the whole file becomes UTF-8 with its mark, old text kept.
    ASSERT_EQ(file->WriteText(L"\u03B1"), 0);
    EXPECT_EQ(ReadBytes("out.txt"), "\xEF\xBB\xBF\xC3\xA9\xE2\x82\xAC\r\n\xCE\xB1");
    ASSERT_EQ(file->WriteText(L"\u00E9"), 0);
    EXPECT_EQ(ReadBytes("out.txt").substr(12), "\xC3\xA9");
}

TEST_F(FileTextTest, WriteTruncatesAndAppendKeeps) {
    WriteBytes("a.txt", "old\r\n");
    CShellFile* file = nullptr;
    ASSERT_EQ(New(L"a", WPath("a.txt") + L" /T /A", &file), 0);
    EXPECT_EQ(Status(L"a", L"!ACCESS"), L"Append");
    ASSERT_EQ(file->WriteText(L"new"), 0);
    EXPECT_EQ(ReadBytes("a.txt"), "old\r\nnew");
    ASSERT_EQ(New(L"w", WPath("a.txt") + L" /T /W", &file), 0);
    EXPECT_EQ(ReadBytes("a.txt"), "");
}

TEST_F(FileTextTest, WriteAndReadCommands) {
    RunMacro(L"NEW FILE out '" + WPath("cmd.txt") +
             L"' /T /W\n"
             L"WRITE out one two /N\n"
             L"WRITE out /F '%d-%s' 7 x /N /N\n"
             L"@rc := WRITE nofile text\n"
             L"DELETE out\n"
             L"NEW FILE in '" +
             WPath("cmd.txt") +
             L"' /T\n"
             L"READ in #a #b\n"
             L"@a := $#a\n"
             L"@b := $#b\n"
             L"@n := $#READ\n"
             L"READ in #c\n"
             L"@c := $#c\n"
             L"READ in #d\n"
             L"@nd := $#READ\n");
    EXPECT_EQ(ReadBytes("cmd.txt"), "one two\r\n7-x\r\n\r\n");
    EXPECT_EQ(Global(L"rc"), L"7");
    EXPECT_EQ(Global(L"a"), L"one");
    EXPECT_EQ(Global(L"b"), L"two");
    EXPECT_EQ(Global(L"n"), L"2");
    EXPECT_EQ(Global(L"c"), L"7-x");
    // The empty line is the end: nothing is assigned.
    EXPECT_EQ(Global(L"nd"), L"0");
}

TEST_F(FileTextTest, ReadFromVariablesAndTextsUsesTheTemplate) {
    RunMacro(L"#v := alpha, beta gamma\n"
             L"READ #v #x ',' #y\n"
             L"@x := $#x\n"
             L"@y := $#y\n"
             L"READ 'p=q' #k '=' #w\n"
             L"@k := $#k\n"
             L"@w := $#w\n"
             L"READ 'a b c' #all /N\n"
             L"@all := $#all\n"
             L"@nall := $#READ\n");
    EXPECT_EQ(Global(L"x"), L"alpha");
    EXPECT_EQ(Global(L"y"), L"beta gamma");
    EXPECT_EQ(Global(L"k"), L"p");
    EXPECT_EQ(Global(L"w"), L"q");
    EXPECT_EQ(Global(L"all"), L"a b c");
    EXPECT_EQ(Global(L"nall"), L"1");
}

TEST_F(FileTextTest, SectionScannerCommentsBlanksAndHeadings) {
    EXPECT_EQ(Scan(L"x // y\r\nz"), (std::vector<Text>{L"x", L"z"}));
    EXPECT_EQ(Scan(L"x /* y */ z"), (std::vector<Text>{L"x z"}));
    EXPECT_EQ(Scan(L"x/y"), (std::vector<Text>{L"x/y"}));
    EXPECT_EQ(Scan(L"  a \t\t b   \r\n\r\n\n c"), (std::vector<Text>{L"a b", L"c"}));
    // A block over a line end ends the line; the text behind it starts a new one.
    EXPECT_EQ(Scan(L"a /* one\r\ntwo */ b"), (std::vector<Text>{L"a", L"b"}));
    EXPECT_EQ(Scan(L"x//y\nz"), (std::vector<Text>{L"x", L"z"}));
    EXPECT_EQ(Scan(L"[ MACRO   name ]\r\n[MACRO name] tail\r\n[SPU]\r\n[ ]\r\n[x"),
              (std::vector<Text>{L"H:MACRO name", L"H:MACRO name", L"H:SPU", L"[ ]", L"[x"}));
}

TEST_F(FileTextTest, SectionsByHeadingAndSync) {
    WriteBytes("s.kvs", "lost line\r\n[MACRO one]\r\na 1\r\n[macro TWO]\r\nb 2\r\nc 3\r\n[SPU one]\r\nd\r\n");
    CShellFile* file = nullptr;
    ASSERT_EQ(New(L"s", WPath("s.kvs") + L" /S", &file), 0);
    std::vector<Text> lines;
    ASSERT_TRUE(file->SectionLines(L"MACRO", L"two", lines));
    EXPECT_EQ(lines, (std::vector<Text>{L"b 2", L"c 3"}));
    EXPECT_FALSE(file->SectionLines(L"MACRO", L"three", lines));
    std::vector<Text> headings;
    file->Headings(L"mac", L"", headings);
    EXPECT_EQ(headings, (std::vector<Text>{L"MACRO one", L"macro TWO"}));
    headings.clear();
    file->Headings(L"SPU", L"one", headings);
    EXPECT_EQ(headings, (std::vector<Text>{L"SPU one"}));

    // Nothing written until the file counts as modified.
    EXPECT_EQ(Set(L"s", L"SYNC"), 0);
    EXPECT_EQ(ReadBytes("s.kvs").substr(0, 9), "lost line");
    // An empty table removes the section; new rows replace it at the end.
    file->ReplaceSection(L"MACRO", L"one", nullptr);
    const std::vector<Text> rows{L"e \u03B1"};
    file->ReplaceSection(L"SPU", L"one", &rows);
    EXPECT_EQ(Set(L"s", L"SYNC"), 0);
    EXPECT_EQ(ReadBytes("s.kvs"), "\xEF\xBB\xBF[macro TWO]\r\nb 2\r\nc 3\r\n[SPU one]\r\ne \xCE\xB1\r\n");
}

TEST_F(FileTextTest, WrongTypeCodes) {
    WriteBytes("t.txt", "x\r\n");
    ASSERT_EQ(New(L"t", WPath("t.txt") + L" /T"), 0);
    ASSERT_EQ(New(L"p", WPath("t.txt")), 0);
    EXPECT_EQ(Set(L"t", L"SYNC"), 220);
    EXPECT_EQ(Set(L"t", L"LIST x"), 196);
    EXPECT_EQ(Set(L"p", L"LOAD x"), 195);
    EXPECT_EQ(Set(L"t", L"FIND *"), 280);
    EXPECT_EQ(Set(L"t", L"NEXT"), 281);
    // XML keywords on a file that is no XML file.
    EXPECT_EQ(Set(L"t", L"ADDELEMENT x"), 97);
    EXPECT_EQ(Set(L"t", L"ADDELEMENT x /S"), 396);
    EXPECT_EQ(Set(L"t", L"NOSUCHWORD"), 64);
    // A text that is no XML document does not open as one.
    EXPECT_EQ(New(L"x", WPath("t.txt") + L" /X"), 282);
}

} // namespace
