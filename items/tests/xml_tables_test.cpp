#include <gtest/gtest.h>

#include "items/shell_table.h"
#include "items/xml_doc.h"
#include "items/xml_tables.h"

namespace {

// Tables are shared items: they go with Release, never with delete.
struct TableDeleter {
    void operator()(CShellTable* table) const { table->Release(); }
};
using TablePtr = std::unique_ptr<CShellTable, TableDeleter>;

TablePtr NumberTable(std::initializer_list<std::vector<double>> rows) {
    TablePtr table(new CShellTable(nullptr, TABLE_PARAMETER, 2));
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

} // namespace
