// CExEval: one line of text to one Matrix value. A recursive-descent
// interpreter without tokens or tree: a single cursor walks the normalised
// text and every rule computes its value as it goes. Operands are matrices
// only; text reaches an expression already substituted, so a table arrives as
// its item name ("T#1A") and a number object as "N#3".
//
// Levels, loosest first: conditional, ||, &&, relations, + -, * / %, ^,
// primary. A sign belongs to the primary, so -2^2 is 4, and every binary
// level groups to the left, so 2^3^2 is 64. Both are kept on purpose.
#pragma once

#include <cstdint>

#include "base/text.h"
#include "numeric/matrix.h"

class CShell;
struct SExFunction;

class CExEval {
public:
    // Names of tables and number objects are looked up in `shell`; without a
    // shell only numbers, constants and functions are known.
    explicit CExEval(CShell* shell = nullptr);
    virtual ~CExEval() = default;
    CExEval(const CExEval&) = delete;
    CExEval& operator=(const CExEval&) = delete;

    // Frees the old result, clears the error and keeps the text normalised
    // (the buffer only grows). A null view leaves the evaluator without text.
    void SetExpression(TextView text);
    // True when the text parsed to its end and gave a value that is not empty.
    bool Evaluate();
    // The value, or null when it is empty.
    const Matrix* GetResult() const { return m_result.IsEmpty() ? nullptr : &m_result; }
    // Moves the value out, leaving the evaluator's result empty.
    Matrix TakeResult();
    // The code that stopped the last evaluation; 0 when none.
    int GetError() const { return m_error; }
    const Text& GetExpression() const { return m_text; }

    // The shell under a running evaluation reports its death: the line for
    // the program's internal-error report.
    virtual Text ShellDying(const CShell* reporting);

protected:
    // The function table; a test puts functions of its own in front of it.
    virtual const SExFunction* FindFunction(TextView name) const;

private:
    // The l-value slot of a rule: the name of the item that the value came
    // from when the value is nothing but a bare item name; empty otherwise.
    using LValue = Text;

    bool Fail(int code);
    void SkipBlank() {
        if (*m_p == L' ') ++m_p;
    }
    // The dot marker: one blank skipped, then a "?" stepped over; Unmark
    // steps back over it so that a looser level may claim it.
    bool Mark();
    bool Unmark(bool marked);

    bool Conditional(Matrix& value, LValue* lvalue);
    bool LogicalOr(Matrix& value, LValue* lvalue);
    bool LogicalAnd(Matrix& value, LValue* lvalue);
    bool Relation(Matrix& value, LValue* lvalue);
    bool Sum(Matrix& value, LValue* lvalue);
    bool Product(Matrix& value, LValue* lvalue);
    bool Power(Matrix& value, LValue* lvalue);
    bool Primary(Matrix& value, LValue* lvalue);
    bool Name(const wchar_t* start, Matrix& value, LValue* lvalue);
    bool Call(const SExFunction& function, Matrix& value);
    bool WriteBack(int argc, Matrix* const* slots, const LValue* lvalues);

    // Nesting is counted so that a hostile text ends in a code instead of
    // running the machine stack out.
    class CDepth {
    public:
        explicit CDepth(int& depth) : m_depth(++depth) {}
        ~CDepth() { --m_depth; }

    private:
        int& m_depth;
    };
    bool TooDeep();

    CShell* m_shell;
    Text m_text;
    bool m_hasText = false;
    const wchar_t* m_p = nullptr;
    const wchar_t* m_end = nullptr;
    Matrix m_result;
    int m_error = 0;
    int m_depth = 0;
};

// The codes of the evaluator that callers name.
enum : int {
    EX_ERR_MEMORY = 1,
    EX_ERR_EMPTY = 16,
    EX_ERR_END_EXPECTED = 17,
    EX_ERR_NESTING = 211, // "stack overflow - probably too deep or infinite recursion"
};
