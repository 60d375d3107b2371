// The commands that fill or read table items: LIST, KVOCONSTANTS, TRANSLATE
// /T, EMSG, MSG MENU /T and INTERPRET with its history.
#include "items/shell_table.h"
#include "macro/tests/commands_fixture.h"
#include "macro/compiler.h"
#include "macro/register.h"
#include "testsupport/macro_fixture.h"

namespace {

std::vector<Text> Rows(CShell& shell, const wchar_t* name) {
    std::vector<Text> rows;
    CShellTable* table = CShellTable::Find(shell, name);
    EXPECT_NE(table, nullptr) << ToUtf8(name);
    if (!table) return rows;
    std::lock_guard lock(table->m_cs);
    for (long v = 0; v < table->GetRows(); ++v) {
        Text cell;
        table->GetCell(table->GetRowIndex(v), 0, cell);
        rows.push_back(cell);
    }
    return rows;
}

class TableCommands : public CommandTest {
protected:
    std::vector<Text> Rows(const wchar_t* name) { return ::Rows(*m_shell, name); }
};

TEST_F(TableCommands, ListAppendsOneRowPerNameAndEmptiesOnRequest) {
    ASSERT_EQ(Result(L"NEW TABLE t"), L"t");
    ASSERT_EQ(Result(L"NEW TABLE u"), L"u");
    EXPECT_EQ(Result(L"LIST TABLE t"), L"2");
    EXPECT_EQ(Rows(L"t"), (std::vector<Text>{L"t", L"u"}));
    EXPECT_EQ(Result(L"LIST SHELL t"), L"1");
    EXPECT_EQ(Rows(L"t").size(), 3u) << "appended";
    EXPECT_EQ(Result(L"LIST SHELL t * 1"), L"1");
    EXPECT_EQ(Rows(L"t"), std::vector<Text>{m_shell->IdText()});
    EXPECT_EQ(Code(L"LIST SHELL nosuchtable"), 65);
    EXPECT_EQ(Code(L"LIST SHELL t nosuchfield"), 66);
}

TEST_F(TableCommands, KvoconstantsFillsATableAndCountsIt) {
    ASSERT_EQ(Result(L"NEW TABLE k"), L"k");
    EXPECT_EQ(Result(L"KVOCONSTANTS LINESTYLE k"), L"3");
    EXPECT_EQ(Rows(L"k"), (std::vector<Text>{L"Solid", L"Dash", L"Dot"}));
    EXPECT_EQ(Code(L"KVOCONSTANTS LINESTYLE nosuchtable"), 65);
}

TEST_F(TableCommands, TranslateTakesTheTextOfATableRow) {
    ASSERT_EQ(Result(L"NEW TABLE t"), L"t");
    ASSERT_EQ(Result(L"KVOCONSTANTS SWITCH t"), L"2");
    EXPECT_EQ(Result(L"TRANSLATE /T t 1 n N"), L"ON");
    EXPECT_EQ(Code(L"TRANSLATE /T t 7 n N"), 65);
    EXPECT_EQ(Code(L"TRANSLATE /T nosuchtable 0 n N"), 64);
    EXPECT_EQ(Code(L"TRANSLATE /T t 1 n"), 2);
}

TEST_F(TableCommands, EmsgFillsEveryCodesMessage) {
    ASSERT_EQ(Result(L"NEW TABLE e"), L"e");
    Result(L"LIST SHELL e");
    EXPECT_EQ(Result(L"EMSG e"), L"487");
    const std::vector<Text> rows = Rows(L"e");
    ASSERT_EQ(rows.size(), 487u) << "filled, not appended";
    EXPECT_EQ(rows[2], L"error 2: too few arguments");
    EXPECT_EQ(rows[15], Result(L"EMSG 15"));
}

TEST_F(TableCommands, MenuItemsComeFromTheFirstFieldOfATable) {
    ASSERT_EQ(Result(L"NEW TABLE m"), L"m");
    Result(L"KVOCONSTANTS SWITCH m");
    Result(L"MSG MENU /A /T File m");
    const auto orders = m_window.Orders();
    ASSERT_FALSE(orders.empty());
    const auto* menu = dynamic_cast<const SMenuPayload*>(orders.back().payload.get());
    ASSERT_NE(menu, nullptr);
    EXPECT_EQ(menu->title, L"File");
    ASSERT_EQ(menu->items.size(), 2u);
    EXPECT_EQ(menu->items[1].text, L"On");
    EXPECT_EQ(Code(L"MSG MENU /A /T File nosuchtable"), 66);
}

class InterpretTables : public MacroTest {};

TEST_F(InterpretTables, TableTextRunsAndTheHistoryKeepsOneCopyAtTheEnd) {
    ASSERT_TRUE(Load(L"[MACRO setup]\n"
                     L"NEW TABLE src\n"
                     L"NEW TABLE hist\n"
                     L"[MACRO run]\n"
                     L"@r := INTERPRET /T src 1 out hist\n"
                     L"[MACRO missing]\n"
                     L"@m := INTERPRET /T nosuchtable\n"));
    RunAndWait(L"setup");
    CShell* shell = Shell();
    CShellTable* src = CShellTable::Find(*shell, L"src");
    CShellTable* hist = CShellTable::Find(*shell, L"hist");
    ASSERT_TRUE(src && hist);
    {
        std::lock_guard lock(src->m_cs);
        for (const wchar_t* text : {L"WRITELOG zero", L"@ran := $(INT 6*7)"}) {
            const long row = src->AppendRows(1);
            src->SetCell(row, 0, text);
        }
        std::lock_guard lockHist(hist->m_cs);
        for (const wchar_t* text : {L"@ran := $(INT 6*7)", L"older"}) {
            const long row = hist->AppendRows(1);
            hist->SetCell(row, 0, text);
        }
        hist->SetTag(0, true);
    }
    RunAndWait(L"run");
    EXPECT_EQ(Global(L"r"), L"2;");
    EXPECT_EQ(Global(L"ran"), L"42");
    EXPECT_EQ(Rows(*shell, L"hist"), (std::vector<Text>{L"older", L"@ran := $(INT 6*7)"}));
    {
        std::lock_guard lock(hist->m_cs);
        EXPECT_FALSE(hist->IsTagged(0));
        EXPECT_FALSE(hist->IsTagged(1));
    }
    RunAndWait(L"missing");
    EXPECT_EQ(Global(L"m"), L"0;") << "a missing table leaves the text empty";
}

} // namespace
