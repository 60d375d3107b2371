// The table kind's ways in from C++: the process clipboard behind its hooks,
// the tables of dropped files and printed matrices, the internal-error report.
// What a macro does with tables is tested by tests/table_commands.kvs.
#include "items/table_kind.h"
#include "numeric/matrix.h"
#include "shell/options.h"
#include "testsupport/macro_fixture.h"

namespace {

class TableMacro : public MacroTest {
protected:
    // Runs the lines as one macro and gives back the shell for item checks.
    void Run(const Text& lines) {
        ASSERT_TRUE(Load(L"[MACRO T]\n" + lines));
        RunAndWait(L"T");
    }
    CShellTable* Table(const wchar_t* name) { return CShellTable::Find(*Shell(), name); }
};

TEST_F(TableMacro, ClipboardHooksReplaceTheProcessClipboard) {
    static Text s_copied;
    SetClipboardHooks(
        [](Text& out) {
            out = L"one\r\ntwo\r\n";
            return true;
        },
        [](const Text& text) {
            s_copied = text;
            return true;
        });
    Run(L"NEW TABLE p 1 line:String\nSET p CLIPBOARD /R\n@rows := p[!NROW]\n@p1 := p[1]\n"
        L"SET p CLIPBOARD\n");
    SetClipboardHooks(nullptr, nullptr);
    EXPECT_EQ(Global(L"rows"), L"2");
    EXPECT_EQ(Global(L"p1"), L"two");
    EXPECT_EQ(s_copied, L"one\r\ntwo\r\n");
}

TEST_F(TableMacro, DroppedFilesAndPrintedMatricesBecomeTables) {
    CItemKind* kind = CItemKindRegistry::Find(KIND_TABLE);
    void* lines = kind->FromLines({L"/tmp/a.wav", L"/tmp/b c.wav"});
    ASSERT_NE(lines, nullptr);
    Text cell;
    EXPECT_EQ(AsTable(lines).Kind(), TABLE_PLAIN);
    AsTable(lines).GetCell(1, 0, cell);
    EXPECT_EQ(cell, L"/tmp/b c.wav");
    kind->Release(lines);

    Matrix m(3, 2);
    m(2, 1) = 8;
    void* made = kind->NewFromMatrix(*Shell(), m);
    ASSERT_NE(made, nullptr);
    CShellTable& t = AsTable(made);
    EXPECT_EQ(t.FieldName(1), L"X1");
    EXPECT_EQ(t.m_nStartSize, 5) << "two spare rows";
    Matrix back;
    ASSERT_TRUE(kind->ToMatrix(made, {}, back));
    EXPECT_EQ(back(2, 1), 8);
    EXPECT_FALSE(kind->ToMatrix(made, L"out", back));
    kind->Release(made);
}

TEST_F(TableMacro, InternalErrorReportUsesTheTableDescription) {
    auto* t = new CShellTable(m_env, TABLE_PARAMETER, 1);
    t->AddRef();
    delete t; // two shares still counted
    bool found = false;
    for (const Text& line : m_window.Lines())
        if (line.find(L"Internal error: CShellTable ") == 0 &&
            line.find(L"(parameter table), usage count 2 decomposing with m_nShare=2 (should be 0).") !=
                Text::npos)
            found = true;
    EXPECT_TRUE(found);
}

} // namespace
