// The file item with tables: text and section files loaded into tables,
// sections saved from tables, headings and record lists listed into tables,
// records between binary files and tables, and READ/READTAB from entries.
#include "items/file_tables.h"
#include "items/shell_table.h"
#include "items/tests/file_fixture.h"

namespace {

class FileTablesTest : public FileTest {
protected:
    // A table entered in the shell: plain (kind 0) or parameter (with `fields` Number fields).
    CShellTable* Table(const Text& name, int kind = TABLE_PLAIN, int fields = 0) {
        auto* table = new CShellTable(&Shell()->Env(), kind, fields);
        for (int f = 0; kind == TABLE_PARAMETER && f < fields; ++f)
            EXPECT_EQ(table->DefineField(f, FIELD_NUMBER, L"x" + IntText(f)), 0);
        Shell()->AddItem(name, static_cast<CShellItem*>(table), KIND_TABLE);
        return table;
    }
    static std::vector<Text> Rows(CShellTable& table) {
        std::vector<Text> rows;
        for (long r = 0; r < table.GetRows(); ++r) {
            Text cell;
            table.GetCell(table.GetRowIndex(r), 0, cell);
            rows.push_back(cell);
        }
        return rows;
    }
};

TEST_F(FileTablesTest, TextFileLoadsOneRowPerLine) {
    // CR LF and LF CR are one break each; a lone CR or LF is one too.
    WriteBytes("t.txt", "a\r\nb\n\rc\rd\ne");
    ASSERT_EQ(New(L"f", WPath("t.txt") + L" /T"), 0);
    CShellTable* table = Table(L"t");
    ASSERT_EQ(Set(L"f", L"LOAD t"), 0);
    EXPECT_EQ(Rows(*table), (std::vector<Text>{L"a", L"b", L"c", L"d", L"e"}));
    EXPECT_EQ(Set(L"f", L"LOAD nosuchtable"), 65);
}

TEST_F(FileTablesTest, SectionsLoadSaveListAndSync) {
    WriteBytes("s.kvs", "ahead\r\n[MACRO one]\r\na 1\r\n[MACRO two]\r\nb 2\r\nc 3\r\n[SPU x]\r\nd\r\n");
    CShellFile* file = nullptr;
    ASSERT_EQ(New(L"s", WPath("s.kvs") + L" /S", &file), 0);
    CShellTable* lines = Table(L"lines");
    ASSERT_EQ(Set(L"s", L"LOAD lines macro TWO"), 0);
    EXPECT_EQ(Rows(*lines), (std::vector<Text>{L"b 2", L"c 3"}));
    EXPECT_EQ(Set(L"s", L"LOAD lines MACRO three"), 235);

    CShellTable* headings = Table(L"headings");
    ASSERT_EQ(Set(L"s", L"LIST headings"), 0);
    EXPECT_EQ(Rows(*headings), (std::vector<Text>{L"MACRO one", L"MACRO two", L"SPU x"}));
    headings->DeleteAllRows();
    ASSERT_EQ(Set(L"s", L"LIST headings MAC"), 0);
    EXPECT_EQ(Rows(*headings).size(), 2u);

    // SAVE replaces the section at the end; an empty table removes it.
    ASSERT_EQ(Set(L"s", L"SAVE lines MACRO one"), 0);
    Table(L"empty");
    ASSERT_EQ(Set(L"s", L"SAVE empty SPU x"), 0);
    ASSERT_EQ(Set(L"s", L"SYNC"), 0);
    EXPECT_EQ(ReadBytes("s.kvs"), "[MACRO two]\r\nb 2\r\nc 3\r\n[MACRO one]\r\nb 2\r\nc 3\r\n");
}

TEST_F(FileTablesTest, NewSectionFileBuiltBySaveAndSync) {
    EXPECT_EQ(New(L"r", WPath("new.kvs") + L" /S /R"), MapErrno(ENOENT, false, 333));
    ASSERT_EQ(New(L"s", WPath("new.kvs") + L" /S"), 0);
    CShellTable* table = Table(L"t");
    ASSERT_EQ(AppendTableRows(table, {L"#a := 1", L"WRITELOG done"}), 0);
    ASSERT_EQ(Set(L"s", L"SAVE t MACRO main"), 0);
    ASSERT_EQ(Set(L"s", L"SYNC"), 0);
    EXPECT_EQ(ReadBytes("new.kvs"), "[MACRO main]\r\n#a := 1\r\nWRITELOG done\r\n");
    // Read only: SAVE changes the lines in memory, SYNC cannot write them.
    ASSERT_EQ(New(L"ro", WPath("new.kvs") + L" /S /R"), 0);
    ASSERT_EQ(Set(L"ro", L"SAVE t MACRO other"), 0);
    EXPECT_EQ(Set(L"ro", L"SYNC"), 218);
}

TEST_F(FileTablesTest, RecordsIntoAndOutOfParameterTables) {
    CShellFile* file = nullptr;
    ASSERT_EQ(New(L"b", WPath("r.bin") + L" /B", &file), 0);
    CShellTable* source = Table(L"src", TABLE_PARAMETER, 2);
    for (double row : {1.5, 2.5, 3.5}) {
        const double values[2] = {row, -row};
        ASSERT_GE(source->AppendNumbers(values, 2), 0);
    }
    ASSERT_EQ(Set(L"b", L"SAVE src /2"), 0);
    CShellTable* target = Table(L"dst", TABLE_PARAMETER, 2);
    ASSERT_EQ(Set(L"b", L"LOAD dst 0"), 0);
    ASSERT_EQ(target->GetRows(), 3);
    double v = 0;
    ASSERT_TRUE(target->GetNumber(target->GetRowIndex(2), 1, v));
    EXPECT_EQ(v, -3);
    CShellTable* list = Table(L"list");
    ASSERT_EQ(Set(L"b", L"LIST list"), 0);
    EXPECT_EQ(Rows(*list), std::vector<Text>{L"0 3 2 i4"});
}

TEST_F(FileTablesTest, ReadAndReadTabFromTableEntries) {
    CShellTable* table = Table(L"t");
    ASSERT_EQ(AppendTableRows(table, {L"alpha beta", L"x,y"}), 0);
    RunMacro(L"READ t 0 #a #b\n"
             L"@a := $#a\n"
             L"@b := $#b\n"
             L"READTAB t 1 #c ',' #d\n"
             L"@c := $#c\n"
             L"@d := $#d\n"
             L"READ t 1 #e /C=0\n"
             L"@e := $#e\n"
             L"@bad := READ t 9 #x\n");
    EXPECT_EQ(Global(L"a"), L"alpha");
    EXPECT_EQ(Global(L"b"), L"beta");
    EXPECT_EQ(Global(L"c"), L"x");
    EXPECT_EQ(Global(L"d"), L"y");
    EXPECT_EQ(Global(L"e"), L"x,y");
    EXPECT_EQ(Global(L"bad"), L"0");
}

} // namespace
