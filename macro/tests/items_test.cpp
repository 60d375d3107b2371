// The owner lock of a shared item across two shells, counted by a probe kind,
// and the report of an item that dies while locked. Names, barriers,
// protection, the lock words and the VALUE item are tested in tests/items.kvs.
#include <thread>

#include "items/shell_item.h"
#include "macro/compiler.h"
#include "macro/register.h"
#include "shell/options.h"
#include "testsupport/macro_fixture.h"

namespace {

// A plain shared item for the lock tests; its SET counts calls and answers "pong".
class CProbeItem : public CShellItem {
public:
    using CShellItem::CShellItem;
    std::atomic<int> sets{0};
};

class CProbeKind : public CShellItemKind {
public:
    // Stands in for the FILE kind: only tables, files and instances are shared by NEW /Z.
    CProbeKind() : CShellItemKind(KIND_FILE, L"FILE", L"F", true) {}
    int Create(CShell& shell, const Text&, CWords&, COptions&, void*& object) override {
        object = static_cast<CShellItem*>(new CProbeItem(&shell.Env()));
        return 0;
    }

protected:
    int SetItem(CShell&, CShellItem& item, const Text&, CWords&, COptions&, Text& result) override {
        ++static_cast<CProbeItem&>(item).sets;
        result = L"pong";
        return 0;
    }
};

class ItemsTest : public MacroTest {
protected:
    void SetUp() override {
        MacroTest::SetUp();
        m_saved = CItemKindRegistry::Find(KIND_FILE);
        CItemKindRegistry::Register(&m_kind);
    }
    void TearDown() override {
        MacroTest::TearDown();
        if (m_saved)
            CItemKindRegistry::Register(m_saved);
        else
            CItemKindRegistry::Unregister(KIND_FILE);
    }
    CProbeKind m_kind;
    CItemKind* m_saved = nullptr;
};

TEST_F(ItemsTest, SetOfASecondShellWaitsForTheOwner) {
    ASSERT_TRUE(Load(L"[MACRO OWN]\nNEW FILE d\nSET d LOCK\n"
                     L"[MACRO FREE]\nSET d UNLOCK\n"
                     L"[MACRO SHARE #holder]\nNEW FILE d2 /Z d $#holder\n@shared := SET $RC\n"
                     L"[MACRO PING]\n@ping := SET d2 PING\n"));
    RunAndWait(L"OWN");
    CShell* second = m_env->NewShell(nullptr, nullptr);
    second->WaitIdleAfter(0);
    uint64_t idle = second->IdleCount();
    ASSERT_EQ(second->Run(L"SHARE " + Shell()->IdText()), 0);
    ASSERT_TRUE(second->WaitIdleAfter(idle, 20000));
    ASSERT_EQ(Global(L"shared"), L"0");
    auto* item = static_cast<CProbeItem*>(AsItem(Shell()->ItemObject(L"d")));
    EXPECT_EQ(item->Share(), 2);

    idle = second->IdleCount();
    ASSERT_EQ(second->Run(L"PING"), 0);
    // The owner holds the item: the second shell's SET must not get through.
    EXPECT_FALSE(second->WaitIdleAfter(idle, 300));
    EXPECT_EQ(item->sets.load(), 0);
    RunAndWait(L"FREE");
    ASSERT_TRUE(second->WaitIdleAfter(idle, 20000));
    EXPECT_EQ(Global(L"ping"), L"pong");
    EXPECT_EQ(item->sets.load(), 1);
}

TEST_F(ItemsTest, ItemDyingWhileLockedIsReported) {
    auto* item = new CProbeItem(m_env);
    EXPECT_FALSE(item->Lock(Shell(), false));
    EXPECT_TRUE(item->Lock(Shell(), false));
    // Another owner cannot take it within a short wait.
    bool wasOwner = true;
    EXPECT_FALSE(item->LockIfFree(reinterpret_cast<const CShell*>(item), wasOwner, 20, false));
    EXPECT_FALSE(wasOwner);
    item->m_nShare = 2; // a share that nobody dropped
    delete item;
    bool reported = false;
    for (const Text& line : m_window.Lines())
        reported |= line.find(L"decomposing with m_nShare=2") != Text::npos;
    EXPECT_TRUE(reported);
}

} // namespace
