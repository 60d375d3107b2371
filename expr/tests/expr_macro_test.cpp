// Number objects in a real shell: the temporary items a called macro leaves
// go with its level. EVAL, INT, NUM and FORMAT from macros are tested in
// tests/language.kvs.
#include "testsupport/macro_fixture.h"

namespace {

using ExprMacros = MacroTest;

// Number objects are temporary items of the level that made them: those of a
// called macro go with the caller's next line, however many its loop made.
TEST_F(ExprMacros, NumberObjectsGoWithTheirLevel) {
    ASSERT_TRUE(Load(L"[MACRO outer]\n"
                     L"@a := EVAL 1+1\n"
                     L"inner\n"
                     L"@done := $@i\n"
                     L"[MACRO inner]\n"
                     L"#i := 0\n"
                     L"WHILE $#i < 50\n"
                     L"  #i := EVAL $#i + 1\n"
                     L"END\n"
                     L"@i := $#i\n"));
    RunToEnd(L"outer");
    EXPECT_EQ(Global(L"a"), L"2");
    EXPECT_EQ(Global(L"done"), L"50");
    int numbers = 0;
    for (auto* e = Shell()->Items().First(); e; e = e->next) {
        if (ItemKindOf(e->user) != KIND_NUMBER) continue;
        ++numbers;
        EXPECT_TRUE(e->user & ITEM_TEMPORARY);
        EXPECT_LE(ItemLevelOf(e->user), 1u) << ToUtf8(e->key) << " of the inner macro is left";
    }
    EXPECT_LE(numbers, 1);
}

} // namespace
