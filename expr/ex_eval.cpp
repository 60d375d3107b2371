#include "expr/ex_eval.h"

#include <cwchar>
#include <cwctype>
#include <exception>
#include <locale.h>
#include <memory>
#include <new>

#include "expr/ex_functions.h"
#include "expr/normalize.h"
#include "shell/item_kind.h"
#include "shell/shell.h"

namespace {

// Brackets, bars, arguments and signs nest on the machine stack; a line of
// some hundred open brackets is no expression anybody writes by hand.
constexpr int kMaxDepth = 400;
constexpr int kMaxSlots = 64;

bool IsLetter(wchar_t c) {
    if (c < 128) return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z');
    return iswalpha_l(static_cast<wint_t>(c), LetterLocale()) != 0;
}

bool IsDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

// "first argument must be an l-value" ... "eighth ...", then one text for all others.
int LValueCode(int index) {
    return index < 8 ? RC_ARG1_NOT_LVALUE + index : RC_ARGUMENT_NOT_LVALUE;
}

} // namespace

CExEval::CExEval(CShell* shell) : m_shell(shell) {}

void CExEval::SetExpression(TextView text) {
    m_result.Clear();
    m_error = 0;
    m_hasText = text.data() != nullptr;
    if (m_hasText) {
        NormalizeExpression(text, m_text);
    } else {
        m_text.clear();
    }
}

bool CExEval::Evaluate() {
    m_error = 0;
    m_result.Clear();
    m_depth = 0;
    if (!m_hasText) {
        m_error = EX_ERR_EMPTY;
        return false;
    }
    m_p = m_text.c_str();
    m_end = m_p + m_text.size();
    bool ok = false;
    try {
        ok = Conditional(m_result, nullptr);
    } catch (const std::bad_alloc&) {
        ok = Fail(EX_ERR_MEMORY);
    } catch (...) {
        ok = Fail(RC_DOES_NOT_COMPUTE); // "does not compute"
    }
    if (ok) {
        SkipBlank();
        // An embedded NUL ends the parse, but not the text.
        if (m_p != m_end) ok = Fail(EX_ERR_END_EXPECTED);
    }
    if (!ok || m_result.IsEmpty()) {
        m_result.Clear();
        return false;
    }
    return true;
}

Matrix CExEval::TakeResult() {
    Matrix out(std::move(m_result));
    m_result.Clear();
    return out;
}

Text CExEval::ShellDying(const CShell* reporting) {
    return Format(L"Internal error in CExEval %p (current expression \"%s\"): shell %p is reporting its "
                  L"premature death (my shell is %p).",
                  static_cast<const void*>(this), m_text.c_str(), static_cast<const void*>(reporting),
                  static_cast<const void*>(m_shell));
}

const SExFunction* CExEval::FindFunction(TextView name) const {
    return FindExFunction(name);
}

// The deepest failing rule names the code; the levels it returns through keep it.
bool CExEval::Fail(int code) {
    if (m_error == 0) m_error = code;
    return false;
}

bool CExEval::TooDeep() {
    if (m_depth <= kMaxDepth) return false;
    Fail(EX_ERR_NESTING);
    return true;
}

bool CExEval::Mark() {
    SkipBlank();
    if (*m_p != L'?') return false;
    ++m_p;
    return true;
}

bool CExEval::Unmark(bool marked) {
    if (marked) --m_p;
    return true;
}

// Level 1. Both branches are computed, so a failing branch fails the whole
// expression whatever the condition says. A "?" opens a conditional only in
// front of a letter, a digit, a blank or "(": "1?-1:2" stops at the "?" and
// ends in code 17.
bool CExEval::Conditional(Matrix& value, LValue* lvalue) {
    CDepth depth(m_depth);
    if (TooDeep()) return false;
    if (!LogicalOr(value, lvalue)) return false;
    if (*m_p != L'?') return true;
    const wchar_t behind = m_p[1];
    if (!(IsLetter(behind) || IsDigit(behind) || behind == L' ' || behind == L'(')) return true;
    ++m_p;
    if (lvalue) lvalue->clear();
    Matrix yes;
    if (!LogicalOr(yes, nullptr)) return false;
    SkipBlank();
    if (*m_p != L':') return Fail(RC_COLON_EXPECTED);
    ++m_p;
    Matrix no;
    if (!LogicalOr(no, nullptr)) return false;
    value = value.IsTrue() ? std::move(yes) : std::move(no);
    return true;
}

// Levels 2 and 3. Both operands are always computed. The marker is no
// element-wise form here: it makes the operator fail.
bool CExEval::LogicalOr(Matrix& value, LValue* lvalue) {
    if (!LogicalAnd(value, lvalue)) return false;
    for (;;) {
        const bool marked = Mark();
        if (!(m_p[0] == L'|' && m_p[1] == L'|')) return Unmark(marked);
        m_p += 2;
        if (lvalue) lvalue->clear();
        Matrix right;
        if (!LogicalAnd(right, nullptr)) return false;
        if (marked || !numeric::Or(value, right)) return Fail(RC_LOGICAL_OR_DOES_NOT_COMPUTE);
    }
}

bool CExEval::LogicalAnd(Matrix& value, LValue* lvalue) {
    if (!Relation(value, lvalue)) return false;
    for (;;) {
        const bool marked = Mark();
        if (!(m_p[0] == L'&' && m_p[1] == L'&')) return Unmark(marked);
        m_p += 2;
        if (lvalue) lvalue->clear();
        Matrix right;
        if (!Relation(right, nullptr)) return false;
        if (marked || !numeric::And(value, right)) return Fail(RC_LOGICAL_AND_DOES_NOT_COMPUTE);
    }
}

// Level 4: the two-character forms are tried before "<" and ">".
bool CExEval::Relation(Matrix& value, LValue* lvalue) {
    if (!Sum(value, lvalue)) return false;
    for (;;) {
        const bool marked = Mark();
        const wchar_t a = m_p[0];
        const wchar_t b = a ? m_p[1] : L'\0';
        numeric::Relation relation;
        int code;
        int length = 2;
        if (a == L'=' && b == L'=') {
            relation = numeric::Relation::Equal;
            code = RC_EQUALITY_DOES_NOT_COMPUTE;
        } else if ((a == L'<' && b == L'>') || (a == L'!' && b == L'=')) {
            relation = numeric::Relation::NotEqual;
            code = RC_UNEQUALITY_DOES_NOT_COMPUTE;
        } else if (a == L'<' && b == L'=') {
            relation = numeric::Relation::LessEqual;
            code = RC_LESS_EQUAL_DOES_NOT_COMPUTE;
        } else if (a == L'>' && b == L'=') {
            relation = numeric::Relation::GreaterEqual;
            code = RC_GREATER_EQUAL_DOES_NOT_COMPUTE;
        } else if (a == L'<') {
            relation = numeric::Relation::Less;
            code = RC_LESSNESS_DOES_NOT_COMPUTE;
            length = 1;
        } else if (a == L'>') {
            relation = numeric::Relation::Greater;
            code = RC_GREATERNESS_DOES_NOT_COMPUTE;
            length = 1;
        } else {
            return Unmark(marked);
        }
        m_p += length;
        if (lvalue) lvalue->clear();
        Matrix right;
        if (!Sum(right, nullptr)) return false;
        if (!numeric::Compare(value, right, relation)) return Fail(code);
    }
}

bool CExEval::Sum(Matrix& value, LValue* lvalue) {
    if (!Product(value, lvalue)) return false;
    for (;;) {
        const bool marked = Mark();
        const wchar_t op = *m_p;
        if (op != L'+' && op != L'-') return Unmark(marked);
        ++m_p;
        if (lvalue) lvalue->clear();
        Matrix right;
        if (!Product(right, nullptr)) return false;
        if (op == L'+' ? !numeric::Add(value, right) : !numeric::Subtract(value, right))
            return Fail(op == L'+' ? RC_ADDITION_DOES_NOT_COMPUTE : RC_SUBTRACTION_DOES_NOT_COMPUTE);
    }
}

// Level 6: the marker asks "*" and "/" for their element-wise forms; "%" has
// only one.
bool CExEval::Product(Matrix& value, LValue* lvalue) {
    if (!Power(value, lvalue)) return false;
    for (;;) {
        const bool marked = Mark();
        const wchar_t op = *m_p;
        if (op != L'*' && op != L'/' && op != L'%') return Unmark(marked);
        ++m_p;
        if (lvalue) lvalue->clear();
        Matrix right;
        if (!Power(right, nullptr)) return false;
        switch (op) {
        case L'*':
            if (!(marked ? numeric::MultiplyElements(value, right) : numeric::Multiply(value, right)))
                return Fail(RC_MULTIPLICATION_DOES_NOT_COMPUTE);
            break;
        case L'/':
            if (!(marked ? numeric::DivideElements(value, right) : numeric::Divide(value, right)))
                return Fail(RC_DIVISION_DOES_NOT_COMPUTE);
            break;
        case L'%':
            if (!numeric::Modulus(value, right)) return Fail(RC_MODULUS_DOES_NOT_COMPUTE);
            break;
        default:
            return Fail(RC_DOT_EXPRESSION_EXPECTED);
        }
    }
}

// Level 7, left-associative: 2^3^2 is (2^3)^2.
bool CExEval::Power(Matrix& value, LValue* lvalue) {
    if (!Primary(value, lvalue)) return false;
    for (;;) {
        const bool marked = Mark();
        if (*m_p != L'^') return Unmark(marked);
        ++m_p;
        if (lvalue) lvalue->clear();
        Matrix right;
        if (!Primary(right, nullptr)) return false;
        if (!(marked ? numeric::PowerElements(value, right) : numeric::Power(value, right)))
            return Fail(RC_POWER_DOES_NOT_COMPUTE);
    }
}

// Level 8. A sign takes a primary, not a power, so -2^2 is (-2)^2.
bool CExEval::Primary(Matrix& value, LValue* lvalue) {
    CDepth depth(m_depth);
    if (TooDeep()) return false;
    SkipBlank();
    const wchar_t c = *m_p;
    if (c == L'(') {
        // A bracketed bare name is still an l-value.
        ++m_p;
        if (!Conditional(value, lvalue)) return false;
        SkipBlank();
        if (*m_p != L')') return Fail(RC_CLOSED_BRACKET_EXPECTED);
        ++m_p;
        return true;
    }
    if (c == L'|') {
        // Inside the bars "||" still reads as OR, so bars do not nest directly.
        ++m_p;
        if (lvalue) lvalue->clear();
        if (!Conditional(value, nullptr)) return false;
        SkipBlank();
        if (*m_p != L'|') return Fail(RC_BAR_EXPECTED);
        ++m_p;
        // A shape without a magnitude leaves an empty value, which fails at
        // the next operator or at the end.
        numeric::Magnitude(value);
        return true;
    }
    if (c == L'-') {
        ++m_p;
        if (lvalue) lvalue->clear();
        if (!Primary(value, nullptr)) return false;
        return numeric::Negate(value) || Fail(RC_NEGATION_DOES_NOT_COMPUTE);
    }
    if (c == L'!' && m_p[1] != L'=') {
        ++m_p;
        if (lvalue) lvalue->clear();
        if (!Primary(value, nullptr)) return false;
        return numeric::Not(value) || Fail(RC_LOGICAL_NOT_DOES_NOT_COMPUTE);
    }
    if (IsDigit(c) || (c == L'.' && IsDigit(m_p[1]))) {
        // Decimal only: the C library would also take "0x1A" as hexadecimal.
        double number = 0;
        if (c == L'0' && (m_p[1] == L'x' || m_p[1] == L'X')) {
            ++m_p;
        } else {
            wchar_t* end = nullptr;
            number = wcstod_l(m_p, &end, NumericLocale());
            m_p = end;
        }
        if (lvalue) lvalue->clear();
        value.SetScalar(number);
        return true;
    }
    if (c == L'\0') return Fail(RC_UNEXPECTED_END_OF_EXPRESSION);
    if (!IsLetter(c)) return Fail(RC_TERMINAL_OR_BRACKET_EXPECTED);
    return Name(m_p, value, lvalue);
}

// A name: a table or a number object of the shell, an item's output, or a
// function. A table with no data gives way to whatever else the name can be.
bool CExEval::Name(const wchar_t* start, Matrix& value, LValue* lvalue) {
    const wchar_t* end = start + 1;
    while (IsLetter(*end) || IsDigit(*end) || *end == L'#' || *end == L'.') ++end;
    const TextView name(start, static_cast<size_t>(end - start));
    if (m_shell) {
        const size_t dot = name.find(L'.');
        if (CShell::ItemEntry* e = m_shell->FindItem(name)) {
            const int kind = ItemKindOf(e->user);
            CItemKind* k = CItemKindRegistry::Find(kind);
            if (k && (kind == KIND_TABLE || kind == KIND_NUMBER || dot == TextView::npos) &&
                k->ToMatrix(e->value, {}, value)) {
                m_p = end;
                if (lvalue) {
                    if (kind == KIND_TABLE || kind == KIND_NUMBER) {
                        lvalue->assign(e->key);
                    } else {
                        lvalue->clear();
                    }
                }
                return true;
            }
        }
        if (dot != TextView::npos) {
            if (CShell::ItemEntry* e = m_shell->FindItem(name.substr(0, dot))) {
                CItemKind* k = CItemKindRegistry::Find(ItemKindOf(e->user));
                if (k && k->ToMatrix(e->value, name.substr(dot + 1), value)) {
                    m_p = end;
                    if (lvalue) lvalue->clear();
                    return true;
                }
            }
        }
    }
    // A function's name has letters and digits only, so it ends at "#" and ".".
    const wchar_t* last = start + 1;
    while (IsLetter(*last) || IsDigit(*last)) ++last;
    const SExFunction* function = FindFunction(TextView(start, static_cast<size_t>(last - start)));
    if (!function || !function->function) return Fail(RC_BAD_FUNCTION_NAME);
    m_p = last;
    if (lvalue) lvalue->clear();
    return Call(*function, value);
}

// Arguments are parsed into slots as many as the function may take; each
// remembers the item it came from, so that an output argument can be written
// back.
bool CExEval::Call(const SExFunction& function, Matrix& value) {
    const int capacity = function.maxArgs < 0 || function.maxArgs > kMaxSlots ? kMaxSlots : function.maxArgs;
    // A scalar call never touches the heap: a few slots live on the stack.
    constexpr int kLocalSlots = 4;
    Matrix localSlots[kLocalSlots];
    LValue localNames[kLocalSlots];
    std::unique_ptr<Matrix[]> heapSlots;
    std::unique_ptr<LValue[]> heapNames;
    Matrix* slots = localSlots;
    LValue* names = localNames;
    if (capacity > kLocalSlots) {
        heapSlots.reset(new (std::nothrow) Matrix[static_cast<size_t>(capacity)]);
        heapNames.reset(new (std::nothrow) LValue[static_cast<size_t>(capacity)]);
        if (!heapSlots || !heapNames) return Fail(EX_ERR_MEMORY);
        slots = heapSlots.get();
        names = heapNames.get();
    }

    int argc = 0;
    SkipBlank();
    if (*m_p == L'(') {
        ++m_p;
        SkipBlank();
        if (*m_p == L')') {
            ++m_p;
        } else {
            for (;;) {
                if (argc >= capacity) return Fail(RC_TOO_MANY_ARGUMENTS);
                if (!Conditional(slots[argc], &names[argc])) return false;
                ++argc;
                SkipBlank();
                if (*m_p == L')') {
                    ++m_p;
                    break;
                }
                if (*m_p != L',') return Fail(RC_COMMA_EXPECTED);
                ++m_p;
            }
        }
    }
    if (argc < function.minArgs) return Fail(RC_TOO_FEW_ARGUMENTS);
    if (argc > capacity) return Fail(RC_TOO_MANY_ARGUMENTS);
    Matrix* pointers[kMaxSlots];
    for (int i = 0; i < argc; ++i) {
        if (i < 64 && ((function.outputArgs >> i) & 1u) && names[i].empty()) return Fail(LValueCode(i));
        slots[i].SetChanged(false);
        pointers[i] = &slots[i];
    }
    value.Clear();
    if (!function.function(argc, pointers, value)) {
        value.Clear();
        return Fail(RC_EVAL_FUNCTION_FAILED);
    }
    return WriteBack(argc, pointers, names);
}

// Every slot that the function marked goes back where it came from: the
// item under that name is replaced by a new one of its kind holding the
// value, and the old one is released. Nothing is written unless every
// marked slot has a place to go.
bool CExEval::WriteBack(int argc, Matrix* const* slots, const LValue* lvalues) {
    bool any = false;
    for (int i = 0; i < argc; ++i) {
        if (!slots[i]->Changed()) continue;
        if (lvalues[i].empty()) return Fail(LValueCode(i));
        any = true;
    }
    if (!any) return true;
    if (!m_shell) return Fail(RC_INTERNAL_PARSER_ERROR);
    for (int i = 0; i < argc; ++i) {
        if (!slots[i]->Changed()) continue;
        CShell::ItemEntry* e = m_shell->FindItem(lvalues[i]);
        CItemKind* kind = e ? CItemKindRegistry::Find(ItemKindOf(e->user)) : nullptr;
        void* object = kind ? kind->NewFromMatrix(*m_shell, *slots[i]) : nullptr;
        if (!object) return Fail(RC_INTERNAL_PARSER_ERROR);
        const Text name = e->key;
        const uint32_t flags = e->user;
        m_shell->RemoveItem(e, true);
        m_shell->AddItem(name, object, flags);
    }
    return true;
}
