// The item frame: NEW and DELETE with names, barriers and protection, the
// owner lock of shared items across shells, and the VALUE item.
#include <thread>

#include "items/shell_item.h"
#include "macro/compiler.h"
#include "macro/register.h"
#include "testsupport/macro_fixture.h"
#include "shell/options.h"

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

TEST_F(ItemsTest, AutomaticNamesAndTakenNames) {
    ASSERT_TRUE(Load(L"[MACRO T]\n"
                     L"@a := NEW VALUE *\n"
                     L"@b := NEW VALUE *\n"
                     L"@x := NEW VALUE x\n"
                     L"@y := NEW VALUE x\n"
                     L"@rc := SET $RC\n"
                     L"@new := SET $#NEW\n"
                     L"@num := NEW 3 *\n"));
    RunAndWait(L"T");
    EXPECT_EQ(Global(L"a").substr(0, 2), L"V#");
    EXPECT_NE(Global(L"a"), Global(L"b"));
    EXPECT_EQ(Global(L"x"), L"x");
    EXPECT_EQ(Global(L"y"), L"*");
    EXPECT_EQ(Global(L"rc"), L"265");
    EXPECT_EQ(Global(L"new"), L"*");
    // A number in the place of the kind counts as its index: 3 is VALUE.
    EXPECT_EQ(Global(L"num").substr(0, 2), L"V#");
}

TEST_F(ItemsTest, BarriersProtectOlderItemsUntilTheyFall) {
    ASSERT_TRUE(Load(L"[MACRO T]\n"
                     L"NEW VALUE old\n"
                     L"NEW VALUE wall /U\n"
                     L"NEW VALUE second /U\n"
                     L"@twice := SET $RC\n"
                     L"DELETE old\n"
                     L"@blocked := SET $RC\n"
                     L"DELETE /s old\n"
                     L"@quiet := SET $RC\n"
                     L"DELETE wall\n"
                     L"@fell := SET $RC\n"
                     L"DELETE old\n"
                     L"@freed := SET $RC\n"));
    RunAndWait(L"T");
    EXPECT_EQ(Global(L"twice"), L"5");
    EXPECT_EQ(Global(L"blocked"), L"371");
    EXPECT_EQ(Global(L"quiet"), L"372");
    EXPECT_EQ(Global(L"fell"), L"0");
    EXPECT_EQ(Global(L"freed"), L"0");
    EXPECT_EQ(Shell()->FindItem(L"old"), nullptr);
}

TEST_F(ItemsTest, DeleteGoesOnAfterAMissingName) {
    ASSERT_TRUE(Load(L"[MACRO T]\n"
                     L"NEW VALUE b\n"
                     L"NEW VALUE keep /u\n"
                     L"@r := DELETE a b\n"
                     L"@rc := SET $RC\n"
                     L"DELETE keep\n"
                     L"@user := SET $RC\n"));
    RunAndWait(L"T");
    EXPECT_EQ(Global(L"rc"), L"379");
    EXPECT_EQ(Shell()->FindItem(L"b"), nullptr);
    // A macro's DELETE may remove an item made with /u.
    EXPECT_EQ(Global(L"user"), L"0");
    EXPECT_EQ(Shell()->FindItem(L"keep"), nullptr);
}

TEST_F(ItemsTest, TemporaryItemsGoWithTheirLevel) {
    ASSERT_TRUE(Load(L"[MACRO INNER]\n"
                     L"NEW VALUE gone /G\n"
                     L"NEW VALUE stays\n"
                     L"[MACRO T]\n"
                     L"INNER\n"
                     L"@after := SET 1\n"));
    RunAndWait(L"T");
    EXPECT_EQ(Shell()->FindItem(L"gone"), nullptr);
    EXPECT_NE(Shell()->FindItem(L"stays"), nullptr);
}

TEST_F(ItemsTest, LockWordsAreNotCounted) {
    ASSERT_TRUE(Load(L"[MACRO T]\n"
                     L"NEW FILE d\n"
                     L"@t1 := SET d TRYLOCK\n"
                     L"@t2 := SET d TRYLOCK\n"
                     L"@l2 := SET d LOCK\n"
                     L"@u1 := SET d UNLOCK\n"
                     L"@u2 := SET d UNLOCK\n"
                     L"@s := SET d UNLOCK /s\n"
                     L"@ping := SET d PING\n"));
    RunAndWait(L"T");
    EXPECT_EQ(Global(L"t1"), L"0");
    EXPECT_EQ(Global(L"t2"), L"383");
    EXPECT_EQ(Global(L"l2"), L"383");
    EXPECT_EQ(Global(L"u1"), L"0"); // one UNLOCK ends however many LOCKs
    EXPECT_EQ(Global(L"u2"), L"410");
    EXPECT_EQ(Global(L"s"), L"411");
    EXPECT_EQ(Global(L"ping"), L"pong");
    auto* item = AsItem(Shell()->ItemObject(L"d"));
    EXPECT_EQ(item->Owner(), nullptr);
}

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

TEST_F(ItemsTest, ShareOfAMissingItemOrShell) {
    ASSERT_TRUE(Load(L"[MACRO T]\n"
                     L"NEW FILE d2 /Z nothing =\n@missing := SET $RC\n"
                     L"NEW FILE d3 /Z nothing X0000BEEF\n@shell := SET $RC\n"
                     L"NEW VALUE v\nNEW VALUE v2 /Z v =\n@kind := SET $RC\n"
                     L"NEW VALUE v3 /Z /s v =\n@quiet := SET $RC\n"));
    RunAndWait(L"T");
    EXPECT_EQ(Global(L"missing"), L"349");
    EXPECT_EQ(Global(L"shell"), L"15");
    EXPECT_EQ(Global(L"kind"), L"96");
    EXPECT_EQ(Global(L"quiet"), L"352");
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

TEST_F(ItemsTest, ValueOutputTimerAndAttributes) {
    ASSERT_TRUE(Load(L"[MACRO T]\n"
                     L"NEW VALUE v\n"
                     L"SET v OUTPUT /V 1 2 3\n"
                     L"@data := SET ~v\n"
                     L"@rows := SET v[NROW]\n"
                     L"@sum := EVAL Sum(v)\n"
                     L"SET v OUTPUT /S hello world\n"
                     L"@text := SET v[DATA]\n"
                     L"@type := SET v[!TYPE]\n"
                     L"SET v INPUT nowhere\n@input := SET $RC\n"
                     L"SET v TIMER ON 10\n"
                     L"MSG LOOP\n"
                     L"@msg := SET $#MSG\n"
                     L"SET v TIMER OFF\n"
                     L"@timer := SET v[TIMER]\n"));
    RunAndWait(L"T");
    EXPECT_EQ(Global(L"data"), L"1 2 3");
    EXPECT_EQ(Global(L"rows"), L"3");
    EXPECT_EQ(Global(L"sum"), L"6");
    EXPECT_EQ(Global(L"text"), L"hello world");
    EXPECT_EQ(Global(L"type"), L"STRING");
    EXPECT_EQ(Global(L"input"), L"66");
    EXPECT_EQ(Global(L"msg").substr(0, 14), L"VALUE v TIMER ");
    EXPECT_EQ(Global(L"timer"), L"0");
}

} // namespace
