// The table as other code sees it: kinds and fields, growth, the parameter
// block and its row-sharing quirk, tags and saved tags, row text, sorting,
// FIND and the conversion to matrices.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <clocale>
#include <thread>

#include "items/table_data.h"
#include "numeric/matrix.h"

namespace {

// Tables made here are owned by the test; the share is dropped like a shell would.
struct TableHolder {
    CShellTable* t;
    explicit TableHolder(CShellTable* table) : t(table) {}
    ~TableHolder() { t->Release(); }
    CShellTable* operator->() { return t; }
    CShellTable& operator*() { return *t; }
};

TableHolder Parameter(std::initializer_list<const wchar_t*> names, long start = 0, long chunk = 0) {
    auto* t = new CShellTable(nullptr, TABLE_PARAMETER, static_cast<int>(names.size()), start, chunk);
    int f = 0;
    for (const wchar_t* n : names) EXPECT_EQ(t->DefineField(f++, FIELD_NUMBER, n), 0);
    return TableHolder(t);
}

std::vector<Text> Column(CShellTable& t, int field) {
    std::vector<Text> out;
    Text cell;
    for (long r = 0; r < t.m_nRows; ++r) {
        t.GetCell(r, field, cell);
        out.push_back(cell);
    }
    return out;
}

TEST(TableKinds, PlainDirectoryAndParameterLayouts) {
    TableHolder plain(new CShellTable(nullptr, TABLE_PLAIN, 0));
    EXPECT_EQ(plain->m_nFields, 1);
    EXPECT_EQ(plain->FieldName(0), L"A");
    EXPECT_EQ(plain->FieldType(0), FIELD_STRING);

    TableHolder dir(new CShellTable(nullptr, TABLE_DIRECTORY, 3));
    EXPECT_EQ(dir->m_nFields, 6);
    EXPECT_EQ(dir->m_nKind & TABLE_EXTENDED, TABLE_EXTENDED);
    EXPECT_EQ(dir->FindField(L"name"), 0);
    EXPECT_EQ(dir->FieldType(1), FIELD_INTEGER);
    EXPECT_EQ(dir->FieldType(2), FIELD_INTEGER);
    EXPECT_EQ(dir->FieldType(3), FIELD_UNDEFINED);
    // The fixed fields can be neither redefined nor undefined.
    EXPECT_EQ(dir->DefineField(0, FIELD_STRING, L"other"), 405);
    EXPECT_NE(dir->UndefineField(1), 0);

    TableHolder param(new CShellTable(nullptr, TABLE_PARAMETER, 2));
    EXPECT_EQ(param->m_nKind, TABLE_PARAMETER | TABLE_EXTENDED);
    EXPECT_EQ(param->DefineField(0, FIELD_STRING, L"s"), 407);
    EXPECT_EQ(param->DefineField(-1, FIELD_NUMBER, L"n"), 403);
    EXPECT_EQ(param->DefineField(2, FIELD_NUMBER, L"n"), 401);
    EXPECT_EQ(param->DefineField(0, FIELD_NUMBER, L"bad name"), 461);
    EXPECT_EQ(param->DefineField(0, FIELD_NUMBER, L"n"), 0);
    EXPECT_EQ(param->DefineField(0, FIELD_NUMBER, L"m"), 405);
    EXPECT_EQ(param->DefineField(1, FIELD_INTEGER, L"N"), 114) << "names are unique without case";
}

TEST(TableKinds, NamesFollowTheLanguageRules) {
    EXPECT_TRUE(IsValidTableName(L"Begin"));
    EXPECT_TRUE(IsValidTableName(L"a.b"));
    EXPECT_FALSE(IsValidTableName(L"a."));
    EXPECT_FALSE(IsValidTableName(L"1a"));
    EXPECT_FALSE(IsValidTableName(L"a-b"));
    EXPECT_FALSE(IsValidTableName(L"a*"));
    EXPECT_TRUE(IsValidTableName(L"a*.", true));
    EXPECT_FALSE(IsValidTableName(L""));
}

TEST(TableGrowth, ChunkIsAtLeastFiftyAndStartSizeIsKept) {
    TableHolder t(new CShellTable(nullptr, TABLE_PARAMETER, 1, 10, 10));
    EXPECT_EQ(t->m_nChunkSize, 50);
    EXPECT_EQ(t->m_nStartSize, 10);
    t->DefineField(0, FIELD_NUMBER, L"x");
    EXPECT_EQ(t->AppendRows(1), 0);
    EXPECT_EQ(t->m_nCapacity, 10);
    EXPECT_EQ(t->AppendRows(10), 1);
    EXPECT_EQ(t->m_nCapacity, 60);
    EXPECT_EQ(t->AppendRows(100), 11) << "a larger request grows by itself";
    EXPECT_EQ(t->m_nCapacity, 160);

    TableHolder defaults(new CShellTable(nullptr, TABLE_EXTENDED, 2, 0, 70));
    EXPECT_EQ(defaults->m_nStartSize, 70) << "the start size defaults to the chunk";
}

TEST(TableCells, ParameterIntegerFieldsTruncateOnWrite) {
    auto* raw = new CShellTable(nullptr, TABLE_PARAMETER, 2);
    TableHolder t(raw);
    t->DefineField(0, FIELD_INTEGER, L"i");
    t->DefineField(1, FIELD_NUMBER, L"x");
    const double values[] = {-2.7, 2.7};
    EXPECT_EQ(t->AppendNumbers(values, 2), 0);
    double v = 0;
    ASSERT_TRUE(t->GetNumber(0, 0, v));
    EXPECT_EQ(v, -2.0);
    ASSERT_TRUE(t->GetNumber(0, 1, v));
    EXPECT_EQ(v, 2.7);
    EXPECT_EQ(t->SetCell(0, 0, L"9.99"), 0);
    Text cell;
    t->GetCell(0, 0, cell);
    EXPECT_EQ(cell, L"9");
    EXPECT_EQ(t->SetNumber(0, 0, 3.5), 0);
    t->GetCell(0, 0, cell);
    EXPECT_EQ(cell, L"3");
    EXPECT_EQ(t->SetCell(0, 1, L""), 0);
    t->GetCell(0, 1, cell);
    EXPECT_EQ(cell, L"0") << "an empty value clears a parameter cell to zero";
    EXPECT_EQ(t->SetCell(0, 1, L"abc"), 152);
    EXPECT_EQ(t->SetCell(0, 0, L"abc"), 154);
    EXPECT_EQ(t->SetCell(0, 5, L"1"), 57);
}

TEST(TableCells, ExtendedCellsAreCheckedByFieldType) {
    TableHolder t(new CShellTable(nullptr, TABLE_EXTENDED, 3));
    t->DefineField(0, FIELD_NAME, L"n");
    t->DefineField(1, FIELD_INTEGER, L"i");
    t->DefineField(2, FIELD_STRING, L"s");
    t->AppendRows(1);
    EXPECT_EQ(t->SetCell(0, 0, L"bad name"), 31);
    EXPECT_EQ(t->SetCell(0, 0, L"good"), 0);
    EXPECT_EQ(t->SetCell(0, 1, L"2*3"), 0) << "numbers are expressions";
    EXPECT_EQ(t->SetCell(0, 1, L"x"), 154);
    double v = 0;
    EXPECT_TRUE(t->GetNumber(0, 1, v));
    EXPECT_EQ(v, 6);
    EXPECT_FALSE(t->GetNumber(0, 0, v)) << "a string cell has no number";
    EXPECT_FALSE(t->GetNumber(0, 2, v)) << "an empty cell has no number";
    EXPECT_EQ(t->SetCell(0, 2, L"x y"), 0);
    EXPECT_EQ(t->SetCell(0, 2, L""), 0);
    Text cell = L"junk";
    EXPECT_TRUE(t->GetCell(0, 2, cell));
    EXPECT_EQ(cell, L"");
}

TEST(TableCells, FieldDefinedAfterRowsShowsEmptyOrZero) {
    TableHolder ext(new CShellTable(nullptr, TABLE_EXTENDED, 2));
    ext->DefineField(0, FIELD_STRING, L"a");
    ext->AppendRows(3);
    ext->SetCell(1, 0, L"x");
    ASSERT_EQ(ext->DefineField(1, FIELD_NUMBER, L"late"), 0);
    EXPECT_EQ(Column(*ext, 1), (std::vector<Text>{L"", L"", L""}));

    TableHolder param(new CShellTable(nullptr, TABLE_PARAMETER, 2));
    param->DefineField(0, FIELD_NUMBER, L"a");
    const double one[] = {5};
    param->AppendNumbers(one, 1);
    param->AppendNumbers(one, 1);
    ASSERT_EQ(param->DefineField(1, FIELD_NUMBER, L"late"), 0);
    EXPECT_EQ(Column(*param, 1), (std::vector<Text>{L"0", L"0"}));
    // Undefining keeps the numbers of a parameter table, clears cells of others.
    param->SetNumber(0, 1, 7);
    EXPECT_EQ(param->UndefineField(1), 0);
    EXPECT_EQ(Column(*param, 1), (std::vector<Text>{L"7", L"0"}));
    ext->SetCell(0, 1, L"4");
    EXPECT_EQ(ext->UndefineField(1), 0);
    EXPECT_EQ(ext->DefineField(1, FIELD_NUMBER, L"again"), 0);
    EXPECT_EQ(Column(*ext, 1), (std::vector<Text>{L"", L"", L""}));
}

TEST(TableBlock, AppendAfterDeletingAMiddleRowSharesThePlaceOfTheLastRow) {
    TableHolder t = Parameter({L"x"}, 3);
    for (double v : {10.0, 20.0, 30.0}) t->AppendNumbers(&v, 1);
    ASSERT_TRUE(t->DeleteRow(1));
    EXPECT_EQ(Column(*t, 0), (std::vector<Text>{L"10", L"30"}));
    // The new row takes place 2, which row 1 still uses: both read the zeroed place.
    EXPECT_EQ(t->AppendRows(1), 2);
    EXPECT_EQ(Column(*t, 0), (std::vector<Text>{L"10", L"0", L"0"}));
    t->SetNumber(2, 0, 7);
    EXPECT_EQ(Column(*t, 0), (std::vector<Text>{L"10", L"7", L"7"}));
    // A growth of the block gives every row its own index as place again, so row 1 reads
    // what the deleted row left at place 1.
    EXPECT_EQ(t->AppendRows(1), 3);
    EXPECT_EQ(Column(*t, 0), (std::vector<Text>{L"10", L"20", L"7", L"0"}));
    t->SetNumber(1, 0, 1);
    EXPECT_EQ(Column(*t, 0), (std::vector<Text>{L"10", L"1", L"7", L"0"}));
}

TEST(TableBlock, DeletingTheLastRowSharesNothing) {
    TableHolder t = Parameter({L"x"});
    for (double v : {1.0, 2.0}) t->AppendNumbers(&v, 1);
    ASSERT_TRUE(t->DeleteRow(1));
    const double three = 3;
    t->AppendNumbers(&three, 1);
    EXPECT_EQ(Column(*t, 0), (std::vector<Text>{L"1", L"3"}));
    EXPECT_FALSE(t->DeleteRow(2));
    EXPECT_FALSE(t->DeleteRow(-1));
    t->DeleteAllRows();
    EXPECT_EQ(t->m_nCapacity, 0);
    EXPECT_EQ(t->GetRows(), 0);
}

TEST(TableValue, WholeTableRowColumnAndCell) {
    TableHolder t = Parameter({L"a", L"b"});
    const double r0[] = {1, 2}, r1[] = {3, 4}, r2[] = {5, 6};
    t->AppendNumbers(r0, 2);
    Matrix m;
    ASSERT_TRUE(t->ToValue(-1, -1, m));
    EXPECT_TRUE(m.IsVector()) << "a table of one row is a vector over its fields";
    EXPECT_EQ(m.Rows(), 2);
    EXPECT_EQ(m(1), 2);
    t->AppendNumbers(r1, 2);
    t->AppendNumbers(r2, 2);
    ASSERT_TRUE(t->ToValue(-1, -1, m));
    ASSERT_EQ(m.Rows(), 3);
    ASSERT_EQ(m.Cols(), 2);
    EXPECT_EQ(m(2, 0), 5);
    EXPECT_EQ(m(1, 1), 4);
    ASSERT_TRUE(t->ToValue(-1, 1, m));
    EXPECT_EQ(m.Rows(), 3);
    EXPECT_EQ(m(2), 6);
    ASSERT_TRUE(t->ToValue(1, -1, m));
    EXPECT_EQ(m(0), 3);
    EXPECT_EQ(m(1), 4);
    ASSERT_TRUE(t->ToValue(2, 0, m));
    EXPECT_TRUE(m.IsScalar());
    EXPECT_EQ(m.Scalar(), 5);
    EXPECT_FALSE(t->ToValue(3, 0, m));
    EXPECT_FALSE(t->ToValue(0, 7, m));
    // A ranged table shows its tagged rows only.
    t->SetTag(0, true);
    t->SetTag(2, true);
    t->SetRanged(true);
    ASSERT_TRUE(t->ToValue(-1, 0, m));
    ASSERT_EQ(m.Rows(), 2);
    EXPECT_EQ(m(1), 5);
    double column[4] = {};
    EXPECT_EQ(t->GetColumnValues(1, column, 4), 2);
    EXPECT_EQ(column[1], 6);
    double row[2] = {};
    EXPECT_EQ(t->GetRowValues(1, row, 2), 2);
    EXPECT_EQ(row[0], 5);

    TableHolder empty = Parameter({L"a"});
    ASSERT_TRUE(empty->ToValue(-1, -1, m));
    EXPECT_TRUE(m.IsEmpty());
}

TEST(TableValue, FromMatrixNamesFieldsByPrefix) {
    Matrix m(2, 3);
    m(1, 2) = 9;
    TableHolder t(CShellTable::FromMatrix(nullptr, m, L"X", false, 4));
    EXPECT_EQ(t->m_nKind, TABLE_PARAMETER | TABLE_EXTENDED);
    EXPECT_EQ(t->m_nFields, 3);
    EXPECT_EQ(t->FieldName(2), L"X2");
    EXPECT_EQ(t->GetRows(), 2);
    EXPECT_EQ(t->m_nStartSize, 4);
    Text cell;
    t->GetCell(1, 2, cell);
    EXPECT_EQ(cell, L"9");
    TableHolder turned(CShellTable::FromMatrix(nullptr, m, L"p", true, 0));
    EXPECT_EQ(turned->m_nFields, 2);
    EXPECT_EQ(turned->GetRows(), 3);
    turned->GetCell(2, 1, cell);
    EXPECT_EQ(cell, L"9");
    TableHolder one(CShellTable::FromMatrix(nullptr, Matrix(4.5), L"v", false, 0));
    EXPECT_EQ(one->FieldName(0), L"v");
}

TEST(TableTags, RangedRowsAndSavedTagsUnderALock) {
    TableHolder t = Parameter({L"x"});
    for (double v : {1.0, 2.0, 3.0, 4.0}) t->AppendNumbers(&v, 1);
    t->SetTag(1, true);
    t->SetTag(3, true);
    t->SetRanged(true);
    EXPECT_EQ(t->GetRows(), 2);
    EXPECT_EQ(t->GetRowIndex(1), 3);
    EXPECT_EQ(t->GetRowIndex(2), -1);

    const CShell* owner = reinterpret_cast<const CShell*>(0x1234);
    EXPECT_FALSE(t->Lock(owner, true));
    t->SetRanged(false);
    t->SetAllTags(false);
    t->m_nMode = 7;
    EXPECT_EQ(t->AppendRows(1), -1) << "no rows come while tags are saved";
    EXPECT_FALSE(t->DeleteRow(0));
    // Another SET by the owner ends with Unlock(true): the saved state stays.
    t->Unlock(true);
    EXPECT_FALSE(t->IsRanged());
    t->Unlock(false);
    EXPECT_TRUE(t->IsRanged());
    EXPECT_EQ(t->m_nMode, 1);
    EXPECT_EQ(t->GetRows(), 2);
    EXPECT_TRUE(t->IsTagged(3));
    EXPECT_EQ(t->AppendRows(1), 4);
}

TEST(TableTags, DeleteTaggedRemovesTaggedRowsOnlyWhenRanged) {
    TableHolder t = Parameter({L"x"});
    for (double v : {1.0, 2.0, 3.0}) t->AppendNumbers(&v, 1);
    t->SetTag(0, true);
    t->SetTag(2, true);
    t->SetRanged(true);
    EXPECT_EQ(t->DeleteTagged(), 2);
    EXPECT_EQ(Column(*t, 0), (std::vector<Text>{L"2"}));
    t->SetRanged(false);
    EXPECT_EQ(t->DeleteTagged(), 1);
    EXPECT_EQ(t->m_nRows, 0);
}

TEST(TableText, SeparatorsNamedIoDecimalAndMissingValues) {
    TableHolder t(new CShellTable(nullptr, TABLE_EXTENDED, 3));
    t->DefineField(0, FIELD_STRING, L"s");
    t->DefineField(1, FIELD_NUMBER, L"x");
    t->DefineField(2, FIELD_INTEGER, L"i");
    t->AppendRows(1);
    // The default ";" is exact: empty tokens empty their cells.
    EXPECT_EQ(t->SetRowText(0, L"a b;1.5;7"), 0);
    EXPECT_EQ(t->RowText(0, true), L"a b;1.5;7");
    EXPECT_EQ(t->SetRowText(0, L";2;"), 0);
    EXPECT_EQ(t->RowText(0, true), L";2;");
    // A blank separator: runs count once, leading ones are skipped.
    t->m_sLSep = L" ";
    EXPECT_EQ(t->SetRowText(0, L"   b   3  4"), 0);
    EXPECT_EQ(t->RowText(0, true), L"b 3 4");
    t->m_sLSep = L"%T";
    EXPECT_EQ(t->SetRowText(0, L"\t\tc\t5"), 0);
    EXPECT_EQ(t->RowText(0, true), L"c\t5\t4");
    // A comma as the decimal character, and the missing symbol.
    t->m_sLSep = L";";
    t->m_cDecimal = L',';
    t->Field(1).m_bMissing = true;
    t->Field(1).m_dMissing = -1;
    t->Field(1).m_sMissing = L"n/a";
    EXPECT_EQ(t->SetRowText(0, L"d;2,5;1"), 0);
    double v = 0;
    t->GetNumber(0, 1, v);
    EXPECT_EQ(v, 2.5);
    EXPECT_EQ(t->SetRowText(0, L"d;n/a;1"), 0);
    t->GetNumber(0, 1, v);
    EXPECT_EQ(v, -1);
    EXPECT_EQ(t->RowText(0, true), L"d;n/a;1");
    // Named IO: "field=value" tokens, others ignored; storage writes field numbers.
    t->m_bNamedIO = true;
    t->SetCell(0, 0, L"");
    EXPECT_EQ(t->SetRowText(0, L" i = 9 ;junk; x=3"), 0);
    EXPECT_EQ(t->RowText(0, true), L"1=3;2=9");
    EXPECT_EQ(t->SetRowText(0, L"nope=1"), 57);
}

TEST(TableText, DisplayFormUsesVisibleFieldsScaleAndFormat) {
    TableHolder t(new CShellTable(nullptr, TABLE_EXTENDED, 3));
    t->DefineField(0, FIELD_STRING, L"s");
    t->DefineField(1, FIELD_NUMBER, L"x");
    t->DefineField(2, FIELD_INTEGER, L"i");
    t->AppendRows(1);
    t->SetRowText(0, L"ab;1.25;3");
    t->Field(0).m_bVisible = false;
    t->Field(1).m_dScale = 2;
    t->Field(1).m_sFormat = L"%.1f";
    t->Field(2).m_bNamed = true;
    t->m_cDecimal = L',';
    EXPECT_EQ(t->RowText(0, false), L"2,5;i=3");
    t->Field(2).m_bMissing = true;
    t->Field(2).m_dMissing = 3;
    t->Field(2).m_sMissing = L"<blank>";
    EXPECT_EQ(t->DisplayCell(0, 2), L" ");
    t->Field(2).m_sMissing = L"<empty>";
    EXPECT_EQ(t->DisplayCell(0, 2), L"");
    EXPECT_EQ(t->FieldDefinition(1), L"4 x 1 0 2 %.1f");
    EXPECT_EQ(t->FieldDefinition(2), L"3 i 1 1 1 3 <empty>");
}

TableHolder Words(std::initializer_list<const wchar_t*> words) {
    auto* t = new CShellTable(nullptr, TABLE_EXTENDED, 1);
    t->DefineField(0, FIELD_STRING, L"w");
    for (const wchar_t* w : words) t->SetCell(t->AppendRows(1), 0, w);
    return TableHolder(t);
}

void ExpectGermanOrder() {
    TableHolder t = Words({L"Zebra", L"Äpfel", L"apfel", L"Ofen"});
    ASSERT_EQ(t->Sort({{0, 0}}, false), 0);
    const std::vector<Text> got = Column(*t, 0);
    // "Ä" sorts with "A", before "O" and "Z", never behind "Z" as code points would.
    EXPECT_EQ(got[2], L"Ofen");
    EXPECT_EQ(got[3], L"Zebra");
    ASSERT_EQ(t->Sort({{0, 1}}, false), 0);
    EXPECT_EQ(Column(*t, 0)[0], L"Zebra");
}

TEST(TableSort, GermanCollationWhateverTheProcessLocale) {
    const std::string saved = setlocale(LC_ALL, nullptr);
    setlocale(LC_ALL, "C");
    ExpectGermanOrder();
    if (setlocale(LC_ALL, "de_DE.UTF-8")) ExpectGermanOrder();
    setlocale(LC_ALL, saved.c_str());
}

TEST(TableSort, CaseCountsOnlyWithCapitalR) {
    TableHolder t = Words({L"b", L"B", L"a"});
    ASSERT_EQ(t->Sort({{0, 0}}, true), 0);
    EXPECT_EQ(Column(*t, 0), (std::vector<Text>{L"a", L"b", L"B"}))
        << "lower case first at tertiary strength";
    EXPECT_EQ(t->m_sSort, L"1 0 0");
    ASSERT_EQ(t->Sort({{0, 1}}, false), 0);
    EXPECT_EQ(Column(*t, 0)[2], L"a");
    EXPECT_EQ(t->m_sSort, L"0 0 1");
    t->ReverseRows();
    EXPECT_EQ(Column(*t, 0)[0], L"a");
    EXPECT_EQ(t->m_sSort, L"");
}

TEST(TableSort, EmptyCellsFirstAndNumbersByValue) {
    TableHolder t(new CShellTable(nullptr, TABLE_EXTENDED, 2));
    t->DefineField(0, FIELD_NUMBER, L"x");
    t->DefineField(1, FIELD_STRING, L"s");
    for (const wchar_t* v : {L"10", L"", L"9", L"-1"}) t->SetCell(t->AppendRows(1), 0, v);
    ASSERT_EQ(t->Sort({{0, 0}}, false), 0);
    EXPECT_EQ(Column(*t, 0), (std::vector<Text>{L"", L"-1", L"9", L"10"}));
    EXPECT_EQ(t->Sort({{5, 0}}, false), 57);
}

TEST(TableSort, ParameterTablesByKeysAscendingAndDescending) {
    TableHolder t = Parameter({L"k", L"v"});
    const double rows[][2] = {{3, 0}, {1, 1}, {2, 2}, {1, 3}};
    for (const auto& r : rows) t->AppendNumbers(r, 2);
    t->SetTag(0, true);
    ASSERT_EQ(t->Sort({{0, 0}, {1, 1}}, false), 0);
    EXPECT_EQ(Column(*t, 0), (std::vector<Text>{L"1", L"1", L"2", L"3"}));
    EXPECT_EQ(Column(*t, 1), (std::vector<Text>{L"3", L"1", L"2", L"0"}));
    EXPECT_TRUE(t->IsTagged(3)) << "tags move with their rows";
    ASSERT_EQ(t->Sort({{0, 1}}, false), 0);
    EXPECT_EQ(Column(*t, 0), (std::vector<Text>{L"3", L"2", L"1", L"1"}));
    // Sorted rows keep their numbers through a later growth of the block.
    t->AppendRows(100);
    EXPECT_EQ(Column(*t, 0)[1], L"2");
    Matrix m;
    t->ToValue(-1, 0, m);
    EXPECT_EQ(m(0), 3);
}

TEST(TableFind, WildcardsTakeTheFirstPlaceAndNeverGoBack) {
    EXPECT_TRUE(WildcardMatch(L"a*c", L"abbbc", false));
    EXPECT_TRUE(WildcardMatch(L"a?c", L"abc", false));
    EXPECT_FALSE(WildcardMatch(L"a?c", L"ac", false));
    EXPECT_TRUE(WildcardMatch(L"*", L"", false));
    EXPECT_TRUE(WildcardMatch(L"ab*", L"ab", false));
    EXPECT_FALSE(WildcardMatch(L"*b", L"abab", false)) << "the first b is taken, the rest is left over";
    EXPECT_FALSE(WildcardMatch(L"ABC", L"abc", false));
    EXPECT_TRUE(WildcardMatch(L"ä*", L"Ärger", true));
}

TEST(TableFind, ConditionsNarrowTheTaggedRows) {
    TableHolder t(new CShellTable(nullptr, TABLE_EXTENDED, 2));
    t->DefineField(0, FIELD_STRING, L"s");
    t->DefineField(1, FIELD_NUMBER, L"x");
    const wchar_t* rows[][2] = {{L"apple", L"1"}, {L"Apricot", L"5"}, {L"", L"7"}, {L"banana", L""}};
    for (const auto& r : rows) {
        const long at = t->AppendRows(1);
        t->SetCell(at, 0, r[0]);
        t->SetCell(at, 1, r[1]);
    }
    // Nothing is tagged yet: a FIND without /S gains no rows.
    EXPECT_EQ(t->FindRows({L"s"}, false, false, false), 0);
    EXPECT_EQ(t->m_nTagged, 0);
    EXPECT_EQ(t->FindRows({L"s:=I:a*"}, true, false, false), 0);
    EXPECT_EQ(t->m_nTagged, 2);
    EXPECT_EQ(t->FindRows({L"x:>:2"}, false, false, false), 0);
    EXPECT_TRUE(t->IsTagged(1));
    EXPECT_EQ(t->m_nTagged, 1);
    // An even count fails at once and leaves the tags.
    EXPECT_EQ(t->FindRows({L"s", L"OR"}, true, false, false), 2);
    EXPECT_EQ(t->m_nTagged, 1);
    // Left to right with no precedence: (x<2 OR x>6) AND s.
    EXPECT_EQ(t->FindRows({L"x:<:2", L"||", L"x:>:6", L"AND", L"s"}, true, false, false), 0);
    EXPECT_TRUE(t->IsTagged(0));
    EXPECT_EQ(t->m_nTagged, 1);
    EXPECT_EQ(t->FindRows({L"s:=R:A*"}, true, true, true), 0);
    EXPECT_TRUE(t->IsRanged());
    EXPECT_EQ(t->GetRows(), 3) << "/I inverts the one hit";
    EXPECT_EQ(t->FindRows({L"s:!"}, true, false, false), 0);
    EXPECT_EQ(t->GetRows(), 1);
    EXPECT_EQ(t->GetRowIndex(0), 2);
    // Failures change nothing.
    EXPECT_EQ(t->FindRows({L"nope:==:1"}, true, false, false), 57);
    EXPECT_EQ(t->FindRows({L"s:<:b"}, true, false, false), 4);
    EXPECT_EQ(t->FindRows({L"x:==:abc"}, true, false, false), 152);
    EXPECT_EQ(t->FindRows({L"s", L"XOR", L"x"}, true, false, false), 4);
    EXPECT_EQ(t->GetRows(), 1);
    EXPECT_EQ(t->FindRows({L"s:==:APPLE"}, true, false, false), 0);
    EXPECT_EQ(t->GetRowIndex(0), 0);
    EXPECT_EQ(t->FindRows({}, false, false, false), 0);
    EXPECT_EQ(t->m_nTagged, 4) << "an empty list tags every row";
}

TEST(TableThreads, ReadersSeeWholeRowsWhileAMacroAppends) {
    TableHolder t = Parameter({L"a", L"b"});
    std::atomic<bool> done{false};
    std::atomic<int> torn{0};
    std::thread reader([&] {
        Matrix m;
        while (!done.load()) {
            if (!t->ToValue(-1, -1, m) || m.IsEmpty() || m.Cols() != 2) continue;
            // Every row is written whole under the table's section: b is always a + 1.
            for (int r = 0; r < m.Rows(); ++r)
                if (m(r, 1) != m(r, 0) + 1) ++torn;
        }
    });
    for (int r = 0; r < 20000; ++r) {
        const double row[] = {static_cast<double>(r), static_cast<double>(r + 1)};
        t->AppendNumbers(row, 2);
    }
    done = true;
    reader.join();
    EXPECT_EQ(torn.load(), 0);
    EXPECT_EQ(t->GetRows(), 20000);
}

TEST(TableLifetime, LargeTablesAreFreedOnAWorker) {
    for (int k = 0; k < 3; ++k) {
        auto* t = new CShellTable(nullptr, TABLE_EXTENDED, 1);
        t->DefineField(0, FIELD_STRING, L"s");
        t->AppendRows(5000);
        for (long r = 0; r < 5000; r += 7) t->SetCell(r, 0, L"some text");
        t->Release();
    }
    for (int wait = 0; wait < 500 && PendingTableFrees() > 0; ++wait)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(PendingTableFrees(), 0);
}

TEST(TableLifetime, DescriptionNamesTheKind) {
    TableHolder t = Parameter({L"a"});
    EXPECT_NE(t->GetDescription().find(L"(parameter table), usage count 1"), Text::npos);
    TableHolder p(new CShellTable(nullptr, TABLE_PLAIN, 1));
    p->SetRanged(true);
    EXPECT_NE(p->GetDescription().find(L"(ranged table)"), Text::npos);
}

} // namespace
