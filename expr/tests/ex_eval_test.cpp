// The evaluator against the language's rules: precedence and its two
// deliberate surprises, the dot marker and its one character of
// backtracking, the conditional that computes both branches, bars, names,
// function calls with output arguments, and the codes of every failure.
#include "expr/tests/ex_eval_fixture.h"

#include <clocale>
#include <limits>

namespace {

class ExEval : public ExprShellTest {
protected:
    void SetUp() override {
        ExprShellTest::SetUp();
        AddTable(L"v", Column({1, 2, 3}));
        AddTable(L"w", Column({1, 1}));
        AddTable(L"m", Rows(2, 2, {1, 2, 3, 4}));
        AddTable(L"r", Rows(3, 2, {1, 2, 3, 4, 5, 6}));
    }
};

TEST_F(ExEval, PrecedenceKeepsSignBeforePowerAndGroupsLeft) {
    EXPECT_EQ(Scalar(L"1+2*3"), 7);
    EXPECT_EQ(Scalar(L"-2^2"), 4); // the sign belongs to the primary
    EXPECT_EQ(Scalar(L"2^3^2"), 64);
    EXPECT_EQ(Scalar(L"-(2^2)"), -4);
    EXPECT_EQ(Scalar(L"2^-1"), 0.5);
    EXPECT_EQ(Scalar(L"10-4-3"), 3);
    EXPECT_EQ(Scalar(L"12/2/3"), 2);
    EXPECT_EQ(Scalar(L"2*7%4"), 2);
    EXPECT_EQ(Scalar(L"--3"), 3);
    EXPECT_EQ(Scalar(L"1+2 == 3"), 1);
    EXPECT_EQ(Scalar(L"1 < 2 && 3 > 4 || 1"), 1);
    EXPECT_EQ(Scalar(L"0 || 1 && 0"), 0);
    EXPECT_EQ(Scalar(L".5*4"), 2);
    EXPECT_EQ(Scalar(L"1.5e2"), 150);
}

TEST_F(ExEval, RelationsAndLogicGiveScalars) {
    EXPECT_EQ(Scalar(L"!0"), 1);
    EXPECT_EQ(Scalar(L"!7"), 0);
    EXPECT_EQ(Scalar(L"3!=3"), 0); // "!=" after an operand is a relation, never a NOT
    EXPECT_EQ(Scalar(L"3!=4"), 1);
    EXPECT_EQ(Scalar(L"3<>4"), 1);
    EXPECT_EQ(Scalar(L"2<=2"), 1);
    EXPECT_EQ(Scalar(L"2>=3"), 0);
    EXPECT_EQ(Scalar(L"2<3"), 1);
    EXPECT_EQ(Scalar(L"2>3"), 0);
    EXPECT_EQ(Scalar(L"v == v"), 1);
    EXPECT_EQ(Scalar(L"v == 1"), 0); // other shapes are simply unequal
    EXPECT_EQ(Scalar(L"v != 1"), 1);
    EXPECT_EQ(Scalar(L"v < v+1"), 1);
    EXPECT_EQ(Error(L"v < 1"), 359);
    EXPECT_EQ(Error(L"v > 1"), 358);
    EXPECT_EQ(Error(L"v <= 1"), 361);
    EXPECT_EQ(Error(L"v >= 1"), 360);
    EXPECT_EQ(Scalar(L"v && m"), 1);
    EXPECT_EQ(Scalar(L"!v"), 0);
}

TEST_F(ExEval, ConditionalComputesBothBranches) {
    EXPECT_EQ(Scalar(L"1 ? 2 : 3"), 2);
    EXPECT_EQ(Scalar(L"0 ? 2 : 3"), 3);
    EXPECT_EQ(Error(L"1 ? 2 : 3/0"), 22);
    EXPECT_EQ(Error(L"0 ? 3/0 : 2"), 22);
    EXPECT_EQ(Scalar(L"1?(5):3"), 5);
    EXPECT_EQ(Scalar(L"0 ?2:3"), 3); // a digit behind the "?" opens it
    ExpectMatrix(Value(L"v ? v : 0"), Column({1, 2, 3}));
    EXPECT_EQ(Scalar(L"w-1 ? 1 : 2"), 2); // true only with an element that is not zero
    // A sign behind "?" is taken by the sum as its own "-": then ":" is left over.
    EXPECT_EQ(Error(L"1?-1:2"), 17);
    EXPECT_EQ(Error(L"1 ?"), 17);
    EXPECT_EQ(Error(L"1 ? 2"), 161);
    EXPECT_EQ(Error(L"1 ? 2 ; 3"), 161);
    // The parts are parsed below the conditional: it does not nest without brackets.
    EXPECT_EQ(Error(L"1 ? 2 : 3 ? 4 : 5"), 17);
    EXPECT_EQ(Scalar(L"1 ? 2 : (0 ? 4 : 5)"), 2);
    EXPECT_EQ(Scalar(L"(0 ? 2 : 0) ? 4 : 5"), 5);
}

TEST_F(ExEval, DotMarkerPicksElementwiseFormsAndFallsBackToLooserLevels) {
    EXPECT_EQ(Scalar(L"v * v"), 14);
    ExpectMatrix(Value(L"v ?* v"), Column({1, 4, 9}), "?*");
    ExpectMatrix(Value(L"m ^ 2"), Rows(2, 2, {7, 10, 15, 22}), "^");
    ExpectMatrix(Value(L"m ?^ 2"), Rows(2, 2, {1, 4, 9, 16}), "?^");
    ExpectMatrix(Value(L"m * m"), Rows(2, 2, {7, 10, 15, 22}), "*");
    ExpectMatrix(Value(L"m ?* m"), Rows(2, 2, {1, 4, 9, 16}), "?*");
    ExpectMatrix(Value(L"v ?/ v"), Column({1, 1, 1}), "?/");
    ExpectMatrix(Value(L"2 ?^ v"), Column({2, 4, 8}), "scalar ?^ vector");
    EXPECT_EQ(Scalar(L"2 ?^ 3 * 2"), 16);
    EXPECT_EQ(Scalar(L"2?^3"), 8);
    // No effect on these, but the marker must still reach them past the tighter levels.
    EXPECT_EQ(Scalar(L"1 ?+ 2"), 3);
    EXPECT_EQ(Scalar(L"5 ?- 2"), 3);
    EXPECT_EQ(Scalar(L"7 ?% 4"), 3);
    EXPECT_EQ(Scalar(L"1 ?< 2"), 1);
    EXPECT_EQ(Scalar(L"1 ?== 1"), 1);
    EXPECT_EQ(Scalar(L"1 ?!= 1"), 0);
    // Logic refuses it.
    EXPECT_EQ(Error(L"1 ?&& 1"), 354);
    EXPECT_EQ(Error(L"0 ?|| 1"), 355);
    // Unclaimed by every operator level, the "?" is the conditional's.
    EXPECT_EQ(Scalar(L"2 ?3:4"), 3);
    EXPECT_EQ(Error(L"2 ?:4"), 17);
}

TEST_F(ExEval, OperatorShapesAndGuards) {
    EXPECT_EQ(Error(L"v * m"), 21);
    EXPECT_EQ(Error(L"v + w"), 19);
    EXPECT_EQ(Error(L"v - w"), 20);
    EXPECT_EQ(Error(L"1/0"), 22);
    EXPECT_EQ(Error(L"v % 0"), 23);
    EXPECT_EQ(Error(L"m ^ v"), 24);
    EXPECT_EQ(Error(L"r ^ -1"), 24);
    EXPECT_EQ(Scalar(L"1 ?/ 0"), std::numeric_limits<double>::max());
    EXPECT_EQ(Scalar(L"-1 ?/ 1e-39"), std::numeric_limits<double>::max()); // the sign is lost on purpose
    EXPECT_EQ(Scalar(L"0 ^ 0"), 1);
    EXPECT_EQ(Scalar(L"0 ?^ 0"), 0);
    EXPECT_EQ(Scalar(L"-8 ?^ 0.5"), 1); // a negative base truncates the exponent first
    ExpectMatrix(Value(L"m ^ 0"), Rows(2, 2, {1, 1, 1, 1}), "m^0");
    ExpectMatrix(Value(L"m * w"), Column({3, 7}), "m*w");
    ExpectMatrix(Value(L"1 - v"), Column({0, -1, -2}), "scalar - vector");
    ExpectMatrix(Value(L"m ^ -1 * m"), Rows(2, 2, {1, 0, 0, 1}), "inverse");
    EXPECT_EQ(Scalar(L"v ^ 2"), 14);
}

TEST_F(ExEval, BarsTakeTheMagnitude) {
    EXPECT_EQ(Scalar(L"|3-4|"), 1);
    EXPECT_EQ(Scalar(L"|-3|*2"), 6);
    EXPECT_EQ(Scalar(L"|1|+|2|"), 3);
    EXPECT_DOUBLE_EQ(Scalar(L"|v|"), std::sqrt(14.0));
    EXPECT_DOUBLE_EQ(Scalar(L"|m|"), -2);
    EXPECT_EQ(Scalar(L"|0 || 2|"), 1); // "||" inside bars is still OR
    // No magnitude for a matrix that is not square: the empty value fails later.
    EXPECT_EQ(Error(L"|r|"), 0);
    EXPECT_EQ(Error(L"|r| + 1"), 19);
    EXPECT_EQ(Error(L"-|r|"), 25);
    EXPECT_EQ(Error(L"!|r|"), 353);
    EXPECT_EQ(Error(L"|1"), 27);
}

TEST_F(ExEval, BlanksAreNormalisedSoOneIsEverSkipped) {
    CTestEval eval(m_shell);
    eval.SetExpression(L" \t 1 \t\t+  2\t ");
    EXPECT_EQ(eval.GetExpression(), L"1 + 2");
    ASSERT_TRUE(eval.Evaluate());
    EXPECT_EQ(eval.GetResult()->Scalar(), 3);
    EXPECT_EQ(Scalar(L"(  1 \t)  *\t(\t2  )"), 2);
    EXPECT_EQ(Scalar(L"Count( 1 ,\t 2 , 3 )"), 3);
    EXPECT_EQ(Scalar(L"1 \t ? \t 2 \t : \t 3"), 2);
    EXPECT_DOUBLE_EQ(Scalar(L"  |  v  ?*  v  |  "), std::sqrt(98.0));
    // The buffer is reused: a shorter text leaves nothing of the longer one behind.
    eval.SetExpression(L"4");
    ASSERT_TRUE(eval.Evaluate());
    EXPECT_EQ(eval.GetResult()->Scalar(), 4);
}

TEST_F(ExEval, SyntaxFailuresHaveTheirCodes) {
    CTestEval none(m_shell);
    EXPECT_FALSE(none.Evaluate());
    EXPECT_EQ(none.GetError(), 16);
    none.SetExpression(TextView());
    EXPECT_FALSE(none.Evaluate());
    EXPECT_EQ(none.GetError(), 16);
    EXPECT_EQ(Error(L""), 34);
    EXPECT_EQ(Error(L"  \t "), 34);
    EXPECT_EQ(Error(L"1 2"), 17);
    EXPECT_EQ(Error(L"1 +"), 34);
    EXPECT_EQ(Error(L"1 + )"), 300);
    EXPECT_EQ(Error(L"(1+2"), 28);
    EXPECT_EQ(Error(L"(1+2]"), 28);
    EXPECT_EQ(Error(L"_x"), 300);
    EXPECT_EQ(Error(L"1 & 2"), 17);
    EXPECT_EQ(Error(L"nosuchname"), 32);
    EXPECT_EQ(Error(L"nosuch(1)"), 32);
    EXPECT_EQ(Error(L"0x10"), 17); // numbers are decimal only
    EXPECT_EQ(Error(L"1,5"), 17);
    EXPECT_EQ(Error(L"!=1"), 300);
    EXPECT_EQ(Error(std::wstring(L"1\0 2", 4)), 17); // a NUL is no end of the text
    // The code is the deepest failing rule's: the sum does not replace it.
    EXPECT_EQ(Error(L"1 + (2 * )"), 300);
    EXPECT_EQ(Error(L"1 + nosuch"), 32);
}

TEST_F(ExEval, DeepNestingEndsInACodeNotACrash) {
    EXPECT_EQ(Scalar(Text(100, L'(') + L"1" + Text(100, L')')), 1);
    EXPECT_EQ(Error(Text(100000, L'(') + L"1"), EX_ERR_NESTING);
    EXPECT_EQ(Error(Text(100000, L'-') + L"1"), EX_ERR_NESTING);
    EXPECT_EQ(Error(Text(100000, L'!') + L"1"), EX_ERR_NESTING);
    EXPECT_EQ(Error(Text(100000, L'|') + L"1"), EX_ERR_NESTING);
    Text calls;
    for (int i = 0; i < 20000; ++i) calls += L"Same(";
    EXPECT_EQ(Error(calls + L"1"), EX_ERR_NESTING);
    // The limit is per evaluation: the next one starts from the top again.
    CTestEval eval(m_shell);
    eval.SetExpression(Text(100000, L'(') + L"1");
    EXPECT_FALSE(eval.Evaluate());
    eval.SetExpression(L"((1))");
    EXPECT_TRUE(eval.Evaluate());
}

TEST_F(ExEval, NamesFindTablesNumberObjectsAndOutputs) {
    ExpectMatrix(Value(L"V"), Column({1, 2, 3}), "names ignore case");
    ExpectMatrix(Value(L"(m)"), Rows(2, 2, {1, 2, 3, 4}));
    Text number;
    ASSERT_TRUE(NewNumberObject(*m_shell, Column({5, 6}), number));
    EXPECT_EQ(number.substr(0, 2), L"N#");
    ExpectMatrix(Value(number + L" * 2"), Column({10, 12}), "number object");
    ExpectMatrix(Value(LowerCase(number)), Column({5, 6}), "number object, lower case");
    // An output of an item by "item.output".
    m_shell->AddItem(L"s", new STestTable{Matrix(42.0)}, KIND_SPU);
    EXPECT_EQ(Scalar(L"s.out + 1"), 43);
    EXPECT_EQ(Error(L"s.other"), 32);
    EXPECT_EQ(Error(L"t#1"), 32);
}

TEST_F(ExEval, TableWinsOverFunctionUnlessEmpty) {
    EXPECT_EQ(Scalar(L"Seven"), 7);
    AddTable(L"seven", Column({1, 2}));
    ExpectMatrix(Value(L"Seven"), Column({1, 2}), "table first");
    m_shell->RemoveItem(m_shell->FindItem(L"seven"));
    AddTable(L"Seven", Matrix());
    EXPECT_EQ(Scalar(L"Seven"), 7);
    EXPECT_EQ(Scalar(L"Seven()"), 7);
}

TEST_F(ExEval, FunctionCallsCheckTheirArguments) {
    EXPECT_EQ(Scalar(L"Count"), 0);
    EXPECT_EQ(Scalar(L"Count()"), 0);
    EXPECT_EQ(Scalar(L"count( )"), 0);
    EXPECT_EQ(Scalar(L"COUNT(1, v, m)"), 3);
    EXPECT_EQ(Scalar(L"Count (1)"), 1);
    Text many = L"Count(0";
    for (int i = 1; i < 64; ++i) many += L",0";
    EXPECT_EQ(Scalar(many + L")"), 64);
    EXPECT_EQ(Error(many + L",0)"), 3);
    EXPECT_EQ(Error(L"Same"), 2);
    EXPECT_EQ(Error(L"Same()"), 2);
    EXPECT_EQ(Error(L"Need2(1)"), 2);
    EXPECT_EQ(Error(L"Same(1,2)"), 3);
    EXPECT_EQ(Error(L"Seven(1)"), 3);
    EXPECT_EQ(Error(L"Same(1 2)"), 213);
    EXPECT_EQ(Error(L"Same(1"), 213);
    EXPECT_EQ(Error(L"Same(1,)"), 3);
    EXPECT_EQ(Error(L"Need2(1,)"), 300);
    EXPECT_EQ(Error(L"Refuse()"), 33);
    EXPECT_EQ(Error(L"Throw"), 18);
    EXPECT_EQ(Error(L"Hog"), 1);
    // A function's name ends at "#" and ".".
    EXPECT_EQ(Error(L"Seven.x"), 17);
    EXPECT_EQ(Scalar(L"Same(1 ? 4 : 5)"), 4);
}

TEST_F(ExEval, OutputArgumentsReplaceTheirItems) {
    AddTable(L"t", Column({1, 2}), WithItemLevel(ITEM_TEMPORARY, 3));
    EXPECT_EQ(Scalar(L"Twice(t)"), 1);
    ExpectMatrix(TableData(L"t"), Column({2, 4}), "written back");
    EXPECT_EQ(m_tables.made, 1);
    EXPECT_EQ(m_tables.released, 1); // the old table went
    CShell::ItemEntry* e = m_shell->FindItem(L"t");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->key, L"t");
    EXPECT_EQ(e->user,
              WithItemLevel(static_cast<uint32_t>(KIND_TABLE) | ITEM_TEMPORARY, 3)); // flags as they were

    EXPECT_EQ(Scalar(L"Twice(((T)))"), 1); // brackets keep an l-value, case does not matter
    ExpectMatrix(TableData(L"t"), Column({4, 8}), "through brackets");
    EXPECT_EQ(m_shell->FindItem(L"t")->key, L"t");

    EXPECT_EQ(Scalar(L"Out2(v, t)"), 0);
    ExpectMatrix(TableData(L"t"), Column({2, 3, 4}), "second argument");
    ExpectMatrix(TableData(L"v"), Column({1, 2, 3}), "input untouched");

    // A number object is written back as a number object.
    Text number;
    ASSERT_TRUE(NewNumberObject(*m_shell, Matrix(3.0), number));
    EXPECT_EQ(Scalar(L"Twice(" + number + L")"), 1);
    EXPECT_EQ(FindNumberObject(*m_shell, number)->value.Scalar(), 6);
}

TEST_F(ExEval, OutputArgumentsMustBeLValues) {
    AddTable(L"t", Column({1, 2}));
    EXPECT_EQ(Error(L"Twice(t+0)"), 36);
    EXPECT_EQ(Error(L"Twice(-t)"), 36);
    EXPECT_EQ(Error(L"Twice(|t|)"), 36);
    EXPECT_EQ(Error(L"Twice(1 ? t : t)"), 36);
    EXPECT_EQ(Error(L"Twice(Same(t))"), 36);
    EXPECT_EQ(Error(L"Out2(t, 1)"), 37);
    ExpectMatrix(TableData(L"t"), Column({1, 2}), "nothing written on failure");
    // Marked without being declared: judged after the call, by position.
    EXPECT_EQ(Error(L"Touch(0)"), 36);
    EXPECT_EQ(Error(L"Touch(2, 0, 0)"), 38);
    EXPECT_EQ(Error(L"Touch(7, 0,0,0,0,0,0,0)"), 43);
    EXPECT_EQ(Error(L"Touch(8, 0,0,0,0,0,0,0,0)"), 44);
    EXPECT_EQ(Error(L"Touch(20, 0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0)"), 44);
    EXPECT_EQ(Scalar(L"Touch(1, t)"), 1);
    EXPECT_EQ(m_tables.made, 1);
    // A call that completed stays done when a later part of the line fails.
    EXPECT_EQ(Error(L"Twice(t) + v * m"), 21);
    ExpectMatrix(TableData(L"t"), Column({2, 4}), "written before the failure");
}

// The real function table behind the evaluator.
TEST_F(ExEval, LibraryFunctionsByAnyCase) {
    EXPECT_DOUBLE_EQ(Scalar(L"Pi"), std::acos(-1.0));
    EXPECT_EQ(Scalar(L"Pi"), Scalar(L"pI()"));
    EXPECT_EQ(Scalar(L"sin(0)"), 0);
    EXPECT_EQ(Error(L"Sin"), 2);
    EXPECT_EQ(Error(L"SIN(1,2)"), 3);
    EXPECT_EQ(Error(L"Pi(1)"), 3);
}

TEST_F(ExEval, LibraryOutputArgumentsIntoTables) {
    AddTable(L"a", Rows(2, 2, {3, 0, 0, 2}));
    AddTable(L"u", Matrix(0.0));
    AddTable(L"vv", Matrix(0.0));
    ExpectMatrix(Value(L"SVD(a, u, vv)"), Column({3, 2}), "singular values");
    const Matrix u = TableData(L"u");
    ASSERT_TRUE(u.IsSquare());
    EXPECT_DOUBLE_EQ(std::fabs(u(0, 0)), 1);
    EXPECT_DOUBLE_EQ(std::fabs(Scalar(L"|vv|")), 1);
    EXPECT_EQ(Error(L"SVD(a, u+0)"), 37);
}

// A comma decimal mark in the process locale changes nothing.
TEST_F(ExEval, NumbersIgnoreTheProcessLocale) {
    const char* set = nullptr;
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8"})
        if ((set = std::setlocale(LC_ALL, name))) break;
    if (!set) GTEST_SKIP() << "no locale with a comma decimal mark is installed";
    EXPECT_EQ(Scalar(L"1.5*2"), 3);
    EXPECT_EQ(Error(L"1,5"), 17);
    Text text;
    ASSERT_TRUE(NewNumberObject(*m_shell, Matrix(0.25), text));
    CItemKind* numbers = CItemKindRegistry::Find(KIND_NUMBER);
    ASSERT_TRUE(numbers->NumberText(FindNumberObject(*m_shell, text), text));
    EXPECT_EQ(text, L"0.25");
    std::setlocale(LC_ALL, "C");
}

} // namespace
