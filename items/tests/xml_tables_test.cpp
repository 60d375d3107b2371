#include <gtest/gtest.h>

#include "items/shell_table.h"
#include "items/xml_doc.h"
#include "items/xml_file.h"
#include "items/xml_tables.h"
#include "testsupport/macro_fixture.h"

namespace {

// Tables are shared items: they go with Release, never with delete.
struct TableDeleter {
    void operator()(CShellTable* table) const { table->Release(); }
};
using TablePtr = std::unique_ptr<CShellTable, TableDeleter>;

TablePtr NumberTable(std::initializer_list<std::vector<double>> rows) {
    TablePtr table(new CShellTable(nullptr, TABLE_PARAMETER, 2));
    EXPECT_EQ(table->DefineField(0, FIELD_NUMBER, L"x"), 0);
    EXPECT_EQ(table->DefineField(1, FIELD_NUMBER, L"y"), 0);
    for (const std::vector<double>& row : rows)
        table->AppendNumbers(row.data(), static_cast<int>(row.size()));
    return table;
}

COptions Options(const wchar_t* letters) {
    COptions options;
    for (const wchar_t* l = letters; *l; ++l) options.push_back(SOption{*l, Text()});
    return options;
}

TEST(XMLTables, NumbersGoInByRowsOrByColumnsAndComeBack) {
    TablePtr table = NumberTable({{1, 2.5}, {3, -4}});
    CXMLDoc doc;
    ASSERT_TRUE(doc.Parse(L"<r/>"));
    doc.GoElement(doc.Root());
    const Text tag = L"m";
    ASSERT_EQ(TableToElement(doc, *table, &tag, XML_LAST_CHILD, Options(L"")), 0);
    EXPECT_EQ(doc.GetText(), L"<r>\r\n<m dim=\"2 2\">1 2.5\r\n3 -4</m>\r\n</r>");
    ASSERT_EQ(TableToElement(doc, *table, nullptr, XML_BEHIND, Options(L"C")), 0);
    EXPECT_EQ(doc.GetText(), L"<r>\r\n<m dim=\"2 2\" vector=\"1\">1 3\r\n2.5 -4</m>\r\n</r>");

    TablePtr back = NumberTable({});
    ASSERT_EQ(ElementToTable(doc, *back, Options(L"")), 0);
    ASSERT_EQ(back->GetRows(), 2);
    double value = 0;
    ASSERT_TRUE(back->GetNumber(back->GetRowIndex(0), 1, value));
    EXPECT_EQ(value, 2.5);
    ASSERT_TRUE(back->GetNumber(back->GetRowIndex(1), 0, value));
    EXPECT_EQ(value, 3);
}

TEST(XMLTables, AnEmptyTableLeavesNoDim) {
    TablePtr empty = NumberTable({});
    CXMLDoc doc;
    ASSERT_TRUE(doc.Parse(L"<r><m dim=\"2 2\" vector=\"1\">1 2</m></r>"));
    doc.GoElement(doc.Record(doc.Root()).firstChild);
    ASSERT_EQ(TableToElement(doc, *empty, nullptr, XML_BEHIND, Options(L"")), 0);
    EXPECT_EQ(doc.GetText(), L"<r><m></m></r>");
    // By columns the vector mark stays.
    ASSERT_TRUE(doc.Parse(L"<r><m dim=\"2 2\" vector=\"1\">1 2</m></r>"));
    doc.GoElement(doc.Record(doc.Root()).firstChild);
    ASSERT_EQ(TableToElement(doc, *empty, nullptr, XML_BEHIND, Options(L"C")), 0);
    EXPECT_EQ(doc.GetText(), L"<r><m vector=\"1\"></m></r>");
}

TEST(XMLTables, OtherTablesGoInRowByRowInStorageForm) {
    TablePtr plain(new CShellTable(nullptr, TABLE_PLAIN, 1));
    plain->SetRowString(plain->AppendRows(1), L"first line");
    plain->SetRowString(plain->AppendRows(1), L"a < b");
    CXMLDoc doc;
    ASSERT_TRUE(doc.Parse(L"<r/>"));
    doc.GoElement(doc.Root());
    ASSERT_EQ(TableToElement(doc, *plain, nullptr, XML_BEHIND, Options(L"")), 0);
    EXPECT_EQ(doc.GetText(), L"<r dim=\"2 1\">first line\r\na &lt; b</r>");
    TablePtr back(new CShellTable(nullptr, TABLE_PLAIN, 1));
    ASSERT_EQ(ElementToTable(doc, *back, Options(L"")), 0);
    ASSERT_EQ(back->GetRows(), 2);
    EXPECT_EQ(back->RowText(back->GetRowIndex(1), true), L"a < b");
}

// The commands find their tables by name in the shell the file item names.
class XMLTableCommands : public MacroTest {
protected:
    int Set(const wchar_t* keyword, std::vector<Text> words, const wchar_t* letters = L"") {
        CWords args;
        for (Text& w : words) args.push_back(SWord{SWord::Plain, std::move(w)});
        m_result.clear();
        return m_state.Set(keyword, args, m_options = Options(letters), m_result);
    }
    CXMLFileState m_state;
    COptions m_options;
    Text m_result;
};

TEST_F(XMLTableCommands, AddExtractAndListThroughTheShell) {
    ASSERT_TRUE(Load(L"[MACRO T]\nNEW TABLE p /P 2 a b\nNEW TABLE back /P 2 a b\nNEW TABLE tags\n"));
    RunAndWait(L"T");
    CShellTable* p = CShellTable::Find(*Shell(), L"p");
    ASSERT_NE(p, nullptr);
    const double one[] = {1, 2}, two[] = {3, 4};
    p->AppendNumbers(one, 2);
    p->AppendNumbers(two, 2);
    m_state.SetShell(Shell());
    ASSERT_TRUE(m_state.Doc().Parse(L"<r/>"));
    EXPECT_EQ(Set(L"ADDTABLE", {L"nosuch"}), 379);
    EXPECT_EQ(Set(L"ADDTABLE", {L"p"}), 125); // beside the root: a second root is refused
    EXPECT_EQ(Set(L"ADDTABLE", {L"p"}, L"F"), 132);
    EXPECT_EQ(Set(L"ROOT", {}), 0);
    EXPECT_EQ(Set(L"ADDTABLE", {L"p", L"values"}, L"FI"), 0);
    EXPECT_EQ(m_state.Doc().Tag(m_state.Doc().Current()), L"r"); // /I keeps the cursor
    EXPECT_EQ(m_state.Doc().GetText(), L"<r>\r\n<values dim=\"2 2\">1 2\r\n3 4</values>\r\n</r>");
    EXPECT_EQ(Set(L"LIST", {L"tags"}), 0);
    CShellTable* tags = CShellTable::Find(*Shell(), L"tags");
    ASSERT_NE(tags, nullptr);
    ASSERT_EQ(tags->GetRows(), 1);
    EXPECT_EQ(tags->RowText(tags->GetRowIndex(0), true), L"values");
    EXPECT_EQ(Set(L"GOTO", {}, L"I"), 0);
    EXPECT_EQ(Set(L"EXTRACTTABLE", {L"back"}), 0);
    CShellTable* back = CShellTable::Find(*Shell(), L"back");
    ASSERT_NE(back, nullptr);
    ASSERT_EQ(back->GetRows(), 2);
    double value = 0;
    ASSERT_TRUE(back->GetNumber(back->GetRowIndex(1), 1, value));
    EXPECT_EQ(value, 4);
}

} // namespace
