// Expressions as macros use them: the commands in a real shell, where a
// number object that EVAL leaves becomes text in an assignment.
#include "testsupport/macro_fixture.h"

namespace {

using ExprMacros = MacroTest;

TEST_F(ExprMacros, EvalResultsBecomeTextInAssignments) {
    ASSERT_TRUE(Load(L"[MACRO main]\n"
                     L"@x := EVAL 2*3\n"
                     L"@y := INT $@x + 1\n"
                     L"@third := EVAL 1/3\n"
                     L"@cond := EVAL 1 ? 2 : 3\n"
                     L"@num := NUM $@y / 2\n"
                     L"@fmt := FORMAT '%5.2f|%-3d|%x|%-h' 3.14159 7 255 61\n"
                     L"@inline := $(EVAL -2^2)\n"));
    RunToEnd(L"main");
    EXPECT_EQ(Global(L"x"), L"6");
    EXPECT_EQ(Global(L"y"), L"7");
    EXPECT_EQ(Global(L"third"), L"0.33333333333333331483");
    EXPECT_EQ(Global(L"cond"), L"2");
    EXPECT_EQ(Global(L"num"), L"3.5");
    EXPECT_EQ(Global(L"fmt"), L" 3.14|7  |ff|1:01");
    EXPECT_EQ(Global(L"inline"), L"4");
}

TEST_F(ExprMacros, FailuresSetTheirCodes) {
    ASSERT_TRUE(Load(L"[MACRO main]\n"
                     L"EVAL 1 ? 2 : 3/0\n"
                     L"@division := $RC\n"
                     L"EVALCHECK 1 +\n"
                     L"@check := $RC\n"
                     L"INT abc\n"
                     L"@int := $RC\n"
                     L"#v := INTCHECK\n"
                     L"@intcheck := $RC|$#v|\n"
                     L"FORMAT %d\n"
                     L"@format := $RC\n"
                     L"EVAL\n"
                     L"@noargs := $RC\n"));
    RunToEnd(L"main");
    EXPECT_EQ(Global(L"division"), L"22");
    EXPECT_EQ(Global(L"check"), L"299");
    EXPECT_EQ(Global(L"int"), L"152");
    EXPECT_EQ(Global(L"intcheck"), L"299||");
    EXPECT_EQ(Global(L"format"), L"121");
    EXPECT_EQ(Global(L"noargs"), L"2");
}

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
