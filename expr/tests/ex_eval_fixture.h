// A shell with tables of a minimal kind of its own, for the evaluator and the
// commands of expressions. The shell's thread never runs: the test thread
// uses the shell as its own.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <stdexcept>
#include <vector>

#include "expr/ex_eval.h"
#include "expr/ex_functions.h"
#include "expr/number_object.h"
#include "expr/register_expr.h"
#include "numeric/matrix.h"
#include "shell/frame.h"
#include "shell/item_kind.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

// Tables as the evaluator sees them: a matrix, and nothing when there is no data.
struct STestTable {
    Matrix data;
};

class CTestTables : public CItemKind {
public:
    CTestTables() : CItemKind(KIND_TABLE, L"TABLE", L"T") {}
    void Release(void* object) override {
        ++released;
        delete static_cast<STestTable*>(object);
    }
    bool ToMatrix(void* object, TextView part, Matrix& out) override {
        const auto* t = static_cast<STestTable*>(object);
        if (!part.empty() || t->data.IsEmpty()) return false;
        out = t->data;
        return true;
    }
    void* NewFromMatrix(CShell&, const Matrix& value) override {
        ++made;
        return new STestTable{value};
    }
    int made = 0;
    int released = 0;
};

// An item with a named output, as an SPU has.
class CTestOutputs : public CItemKind {
public:
    CTestOutputs() : CItemKind(KIND_SPU, L"SPU", L"S") {}
    void Release(void* object) override { delete static_cast<STestTable*>(object); }
    bool ToMatrix(void* object, TextView part, Matrix& out) override {
        if (part != L"out") return false;
        out = static_cast<STestTable*>(object)->data;
        return true;
    }
};

inline Matrix Column(std::initializer_list<double> values) {
    return Matrix::FromVector(std::span<const double>(values.begin(), values.size()));
}
// Rows by cols, the elements given row by row as they are written on paper.
inline Matrix Rows(int rows, int cols, std::initializer_list<double> values) {
    Matrix m(rows, cols);
    auto it = values.begin();
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < cols; ++c) m(r, c) = *it++;
    return m;
}

// Functions of the test, beside the real table.
namespace test_functions {

inline bool Seven(int, Matrix**, Matrix& result) {
    result.SetScalar(7);
    return true;
}
inline bool Count(int argc, Matrix**, Matrix& result) {
    result.SetScalar(argc);
    return true;
}
inline bool Same(int, Matrix** args, Matrix& result) {
    result = *args[0];
    return true;
}
// Doubles its argument in place; the result says it worked.
inline bool Twice(int, Matrix** args, Matrix& result) {
    for (double& x : args[0]->Elements()) x *= 2;
    args[0]->SetChanged();
    result.SetScalar(1);
    return true;
}
// Out2(a, b): writes a + 1 into b, declared as an output argument.
inline bool Out2(int, Matrix** args, Matrix& result) {
    *args[1] = *args[0];
    numeric::Add(*args[1], Matrix(1.0));
    args[1]->SetChanged();
    result.SetScalar(0);
    return true;
}
// Touch(k, ...): marks argument k as written without declaring it.
inline bool Touch(int argc, Matrix** args, Matrix& result) {
    const int k = static_cast<int>(args[0]->Scalar());
    if (k < argc) args[k]->SetChanged();
    result.SetScalar(k);
    return true;
}
inline bool Refuse(int, Matrix**, Matrix&) {
    return false;
}
inline bool Throw(int, Matrix**, Matrix&) {
    throw std::runtime_error("broken");
}
inline bool Hog(int, Matrix**, Matrix&) {
    throw std::bad_alloc();
}

inline const SExFunction kTable[] = {
    {L"Seven", Seven, 0, 0, 0},   {L"Count", Count, 0, -1, 0}, {L"Same", Same, 1, 1, 0},
    {L"Twice", Twice, 1, 1, 1},   {L"Out2", Out2, 2, 2, 2},    {L"Touch", Touch, 1, -1, 0},
    {L"Refuse", Refuse, 0, 0, 0}, {L"Throw", Throw, 0, 0, 0},  {L"Hog", Hog, 0, 0, 0},
    {L"Need2", Same, 2, 3, 0},
};

} // namespace test_functions

class CTestEval : public CExEval {
public:
    using CExEval::CExEval;

protected:
    const SExFunction* FindFunction(TextView name) const override {
        for (const SExFunction& f : test_functions::kTable)
            if (EqualNoCase(f.name, name)) return &f;
        return CExEval::FindFunction(name);
    }
};

class ExprShellTest : public ::testing::Test {
protected:
    void SetUp() override {
        RegisterExpressionLayer();
        CItemKindRegistry::Register(&m_tables);
        CItemKindRegistry::Register(&m_outputs);
        CFrameBase hold(nullptr); // keeps the shell's thread suspended
        m_shell = m_env.NewShell(&hold, nullptr);
        ASSERT_NE(m_shell, nullptr);
        m_shell->m_pFrame = &m_frame;
    }
    void TearDown() override {
        // The test kinds go away with the fixture: their items must go first.
        while (auto* e = m_shell->Items().Last()) m_shell->RemoveItem(e);
        m_shell->m_pFrame = nullptr;
        CItemKindRegistry::Unregister(KIND_TABLE);
        CItemKindRegistry::Unregister(KIND_SPU);
    }

    void AddTable(const wchar_t* name, Matrix data, uint32_t flags = 0) {
        m_shell->AddItem(name, new STestTable{std::move(data)}, static_cast<uint32_t>(KIND_TABLE) | flags);
    }
    const Matrix& TableData(const wchar_t* name) {
        static const Matrix none;
        CShell::ItemEntry* e = m_shell->FindItem(name, KIND_TABLE);
        EXPECT_NE(e, nullptr) << ToUtf8(name);
        return e ? static_cast<STestTable*>(e->value)->data : none;
    }

    // The value of a text that must evaluate.
    Matrix Value(TextView text) {
        CTestEval eval(m_shell);
        eval.SetExpression(text);
        const bool ok = eval.Evaluate();
        EXPECT_TRUE(ok) << "\"" << ToUtf8(text) << "\" failed with code " << eval.GetError();
        EXPECT_EQ(eval.GetError(), 0);
        return ok && eval.GetResult() ? *eval.GetResult() : Matrix();
    }
    double Scalar(TextView text) {
        const Matrix m = Value(text);
        EXPECT_TRUE(m.IsScalar()) << ToUtf8(text) << " is " << m.Rows() << " by " << m.Cols();
        return m.IsScalar() ? m.Scalar() : std::nan("");
    }
    // The code of a text that must fail; a failure never leaves a result.
    int Error(TextView text) {
        CTestEval eval(m_shell);
        eval.SetExpression(text);
        EXPECT_FALSE(eval.Evaluate()) << ToUtf8(text);
        EXPECT_EQ(eval.GetResult(), nullptr) << ToUtf8(text);
        return eval.GetError();
    }

    CShellEnv m_env;
    CFrameBase m_frame{nullptr};
    CShell* m_shell = nullptr;
    CTestTables m_tables;
    CTestOutputs m_outputs;
};

inline void ExpectMatrix(const Matrix& actual, const Matrix& expected, const char* what = "") {
    ASSERT_EQ(actual.Rows(), expected.Rows()) << what;
    ASSERT_EQ(actual.Cols(), expected.Cols()) << what;
    for (size_t i = 0; i < expected.Size(); ++i)
        EXPECT_DOUBLE_EQ(actual.Elements()[i], expected.Elements()[i]) << what << " element " << i;
}
