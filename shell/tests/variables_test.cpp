// Where a name is stored: locals, instance members, named members, globals,
// the shell's own store; and RC/EMSG after a statement.
#include <gtest/gtest.h>

#include "shell/error_table.h"
#include "shell/tests/fakes.h"

namespace {

class ShellVariables : public ::testing::Test {
protected:
    void SetUp() override {
        CItemKindRegistry::Register(&m_instances);
        CItemKindRegistry::Register(&m_numbers);
    }
    void TearDown() override {
        for (CShell* s : {a, b}) s->m_pFrame = nullptr;
        delete m_env;
        CItemKindRegistry::Unregister(KIND_INSTANCE);
        CItemKindRegistry::Unregister(KIND_NUMBER);
    }
    CShell* Held() {
        CFrameBase frame(nullptr);
        return m_env->NewShell(&frame, nullptr);
    }

    CTestKind m_instances{KIND_INSTANCE, L"INSTANCE", L"I"};
    CTestKind m_numbers{KIND_NUMBER, L"", L"N"};
    CShellEnv* m_env = new CShellEnv;
    CShell* a = Held();
    CShell* b = Held();
};

TEST_F(ShellVariables, WithoutAFrameHashNamesLiveInTheShellStore) {
    a->SetVar(L"#x", L"1");
    EXPECT_EQ(a->GetVar(L"#X"), L"1"); // survives to the next line, any case
    EXPECT_EQ(a->Vars().Get(L"#x"), L"1");
    a->SetVar(L"&m", L"2"); // outside a method: a shell variable called "&m"
    EXPECT_EQ(a->Vars().Get(L"&M"), L"2");
    EXPECT_EQ(b->GetVar(L"#x"), L"");
}

TEST_F(ShellVariables, FrameLocalsAndSharedLocals) {
    CFrameBase caller(nullptr);
    a->m_pFrame = &caller;
    a->SetVar(L"#x", L"caller");
    CFrameBase own(&caller); // MACRO: own store
    a->m_pFrame = &own;
    EXPECT_EQ(a->GetVar(L"#x"), L"");
    a->SetVar(L"#x", L"callee");
    CFrameBase shared(&caller, &caller.Locals()); // MACROX: the caller's store
    a->m_pFrame = &shared;
    EXPECT_EQ(a->GetVar(L"#x"), L"caller");
    a->SetVar(L"#x", L"changed");
    a->m_pFrame = &caller;
    EXPECT_EQ(a->GetVar(L"#x"), L"changed");
    EXPECT_EQ(a->Vars().Get(L"#x"), L""); // nothing leaked into the shell store
}

TEST_F(ShellVariables, GlobalsAreSharedByShellsAndPlainNamesAreNot) {
    a->SetVar(L"@Count", L"5");
    EXPECT_EQ(b->GetVar(L"@COUNT"), L"5");
    EXPECT_EQ(m_env->GetGlobal(L"count"), L"5");
    a->SetVar(L"plain", L"a's");
    EXPECT_EQ(b->GetVar(L"plain"), L"");
}

TEST_F(ShellVariables, EmptyValueDeletesInEveryStore) {
    CFrameBase f(nullptr);
    a->m_pFrame = &f;
    for (const wchar_t* name : {L"#loc", L"@glob", L"shellvar"}) {
        a->SetVar(name, L"v");
        Text out;
        EXPECT_TRUE(a->GetVar(name, out)) << name;
        a->SetVar(name, L"");
        EXPECT_FALSE(a->GetVar(name, out)) << name;
    }
    EXPECT_EQ(f.Locals().Count(), 0u);
    EXPECT_EQ(m_env->Globals().Count(), 0u);
}

TEST_F(ShellVariables, InstanceMembersByAmpersandAndByItemName) {
    auto* inst = new STestObject;
    a->AddItem(L"obj", inst, KIND_INSTANCE);
    CFrameBase method(nullptr);
    method.SetInstance(inst);
    a->m_pFrame = &method;
    a->SetVar(L"&size", L"3");
    EXPECT_EQ(inst->members.Get(L"size"), L"3");
    EXPECT_EQ(a->GetVar(L"obj.size"), L"3");
    EXPECT_EQ(a->GetVar(L"OBJ.&SIZE"), L"3");
    a->SetVar(L"obj.&colour", L"red");
    EXPECT_EQ(a->GetVar(L"&colour"), L"red");
    // No such instance: nothing read, nothing written anywhere.
    a->SetVar(L"nobody.x", L"1");
    EXPECT_EQ(a->GetVar(L"nobody.x"), L"");
    EXPECT_FALSE(a->Vars().Has(L"nobody.x"));
    EXPECT_FALSE(a->Vars().Has(L"x"));
    // An item of another kind is no instance.
    a->AddItem(L"num", new STestObject, KIND_NUMBER);
    a->SetVar(L"num.x", L"1");
    EXPECT_EQ(a->GetVar(L"num.x"), L"");
}

TEST_F(ShellVariables, DereferenceTurnsANumberObjectIntoItsText) {
    auto* n = new STestObject;
    n->value = L"2.5";
    a->AddItem(L"N#0", n, KIND_NUMBER);
    a->SetVar(L"v", L"N#0", true);
    EXPECT_EQ(a->GetVar(L"v"), L"2.5");
    a->SetVar(L"w", L"N#0", false);
    EXPECT_EQ(a->GetVar(L"w"), L"N#0");
}

TEST_F(ShellVariables, ResultCodeSetsAndClearsEmsg) {
    a->SetResultCode(2);
    EXPECT_EQ(a->GetVar(L"RC"), L"2");
    EXPECT_EQ(a->GetVar(L"EMSG"), L"too few arguments");
    a->SetResultCode(0);
    EXPECT_EQ(a->GetVar(L"RC"), L"0");
    Text out;
    EXPECT_FALSE(a->GetVar(L"EMSG", out));
    a->SetResultCode(486);
    EXPECT_EQ(a->GetVar(L"EMSG"), L"Unknown or invalid numerical error code.");
    a->SetResultCode(-3);
    EXPECT_EQ(a->GetVar(L"RC"), L"-3");
    EXPECT_EQ(a->GetVar(L"EMSG"), L"Unknown or invalid numerical error code.");
}

TEST_F(ShellVariables, GeneratedNamesArePerKindAndPerShellInUpperHex) {
    CTestKind tables{KIND_TABLE, L"TABLE", L"T"};
    CItemKindRegistry::Register(&tables);
    Text name;
    for (int i = 0; i < 31; ++i) {
        ASSERT_TRUE(a->MakeItemName(L"*", name, KIND_TABLE));
        a->AddItem(name, new STestObject, KIND_TABLE);
    }
    EXPECT_EQ(name, L"T#1E");
    ASSERT_TRUE(a->MakeItemName(L"", name, KIND_TABLE));
    EXPECT_EQ(name, L"T#1F");
    ASSERT_TRUE(a->MakeItemName(L"", name, KIND_DDECONV));
    EXPECT_EQ(name, L"DDE#0");
    ASSERT_TRUE(b->MakeItemName(L"*", name, KIND_TABLE));
    EXPECT_EQ(name, L"T#0");
    // A given name must be free; a taken generated name is skipped.
    EXPECT_FALSE(a->MakeItemName(L"t#5", name, KIND_TABLE));
    b->AddItem(L"T#1", new STestObject, KIND_TABLE);
    ASSERT_TRUE(b->MakeItemName(L"*", name, KIND_TABLE));
    EXPECT_EQ(name, L"T#2");
    ASSERT_TRUE(a->MakeItemName(L"mine", name, KIND_TABLE));
    EXPECT_EQ(name, L"mine");
    for (CShell* s : {a, b})
        while (auto* e = s->Items().First()) s->RemoveItem(e);
    CItemKindRegistry::Unregister(KIND_TABLE);
    EXPECT_EQ(tables.m_released, 32);
}

TEST_F(ShellVariables, ItemsAreFoundByNameKindAndObject) {
    auto* o = new STestObject;
    auto* e = a->AddItem(L"Thing", o, KIND_INSTANCE);
    EXPECT_EQ(a->FindItem(L"thing"), e);
    EXPECT_EQ(a->FindItem(L"thing", KIND_INSTANCE), e);
    EXPECT_EQ(a->FindItem(L"thing", KIND_TABLE), nullptr);
    EXPECT_EQ(a->ItemObject(L"THING"), o);
    // A second share under another name keeps the object findable when the first goes.
    auto* e2 = a->AddItem(L"alias", o, KIND_INSTANCE);
    EXPECT_EQ(a->FindItemByObject(o), e);
    a->RemoveItem(e, false);
    EXPECT_EQ(a->FindItemByObject(o), e2);
    a->RemoveItem(e2);
    EXPECT_EQ(a->FindItemByObject(o), nullptr);
}

} // namespace
