// Segments in the directory tables of the table layer.
#include <gtest/gtest.h>

#include <cstring>

#include "items/shell_table.h"
#include "testsupport/macro_fixture.h"
#include "signal/register_signal.h"
#include "signal/sample_coding.h"
#include "signal/segment_tables.h"
#include "signal/sound_file.h"
#include "signal/sound_file_list.h"
#include "signal/tests/sound_test_util.h"

namespace {

class SegmentTable : public MacroTest {
protected:
    void SetUp() override {
        MacroTest::SetUp();
        RegisterSignalLayer();
    }
};

TEST_F(SegmentTable, DirectoryGoesIntoATableThatMacrosShare) {
    const Text path = FromUtf8(WaveWithDir5("table_dir5.wav", 0));
    ASSERT_TRUE(Load(L"[MACRO T]\n"
                     L"LOAD SOUNDFILE '" +
                     path +
                     L"'\n"
                     L"SEG := SEGMENT vowel.a\n"
                     L"NEW TABLE d /D 1\n"
                     L"NEW TABLE plain 1\n"));
    RunAndWait(L"T");
    EXPECT_EQ(Var(L"SEG"), L"100 300 200");
    CSoundFile* file = FindSoundFile(*m_env, path);
    ASSERT_NE(file, nullptr);
    ASSERT_NE(file->m_pTable, nullptr); // made when the file was attached
    CShellTable* plain = CShellTable::Find(*Shell(), L"plain");
    CShellTable* directory = CShellTable::Find(*Shell(), L"d");
    ASSERT_NE(directory, nullptr);
    ASSERT_NE(plain, nullptr);
    EXPECT_EQ(AttachSegmentTable(*file, static_cast<CShellItem*>(plain), true), 146);
    ASSERT_EQ(AttachSegmentTable(*file, static_cast<CShellItem*>(directory), true), 0);
    EXPECT_EQ(directory->Share(), 2);
    ASSERT_EQ(directory->GetRows(), 1);
    Text name;
    double begin = 0, length = 0;
    ASSERT_TRUE(directory->GetCell(0, 0, name));
    ASSERT_TRUE(directory->GetNumber(0, 1, begin));
    ASSERT_TRUE(directory->GetNumber(0, 2, length));
    EXPECT_EQ(name, L"VOWEL.A");
    EXPECT_EQ(begin, 100);
    EXPECT_EQ(length, 200);
    // A row the macros add is a segment for addresses at once.
    {
        CItemSection hold(directory->m_cs);
        const long row = directory->AppendRows(1);
        directory->SetCell(row, 0, L"EXTRA.X");
        directory->SetNumber(row, 1, 10);
        directory->SetNumber(row, 2, 5);
    }
    ASSERT_TRUE(Load(L"[MACRO U]\nSEG2 := SEGMENT EXTRA.X:E_+1\nSEGRC := $RC\nSEG3 := SEGMENT VOWEL.A:L\n"));
    RunAndWait(L"U");
    EXPECT_EQ(Var(L"SEG2"), L"15 16 1") << Var(L"SEGRC");
    RunAndWait(L"UNLOAD SOUNDFILE '" + path + L"'");
    EXPECT_EQ(directory->Share(), 1);
}

TEST_F(SegmentTable, NamesWithoutExtensionStayOutOfTheTable) {
    const std::string path = FreshPath("noext.kv5");
    {
        CSoundFile file;
        ASSERT_EQ(file.Create(FromUtf8(path), SFKIND_KV5 | CODING_PCM16 | SFACCESS_WRITE, 1, 8000), 0);
    }
    std::vector<unsigned char> bytes = FileBytes(path);
    const char* names[] = {"M          ", "OK      X  "};
    for (int i = 0; i < 2; ++i) {
        bytes[64 + 16 * i] = 1;
        std::memcpy(&bytes[64 + 16 * i + 1], names[i], 11);
        bytes[64 + 16 * i + 12] = static_cast<unsigned char>(5 + i);
    }
    WriteBytes(path, bytes);
    ASSERT_TRUE(Load(L"[MACRO T]\nLOAD SOUNDFILE '" + FromUtf8(path) + L"'\n"));
    RunAndWait(L"T");
    CSoundFile* file = FindSoundFile(*m_env, FromUtf8(path));
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(file->Segments().size(), 2u);
    auto* table = static_cast<CShellTable*>(static_cast<CShellItem*>(file->m_pTable));
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->GetRows(), 1);
    long long begin = 0, end = 0;
    EXPECT_TRUE(LookupFileSegment(*file, L"ok.x", begin, end));
    EXPECT_EQ(end, 6);
    EXPECT_FALSE(LookupFileSegment(*file, L"M.", begin, end));
}

} // namespace
