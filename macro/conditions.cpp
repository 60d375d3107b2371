// Conditions of IF, WHILE and the like: triples of words joined by AND and OR,
// compared as numbers where both sides are, else as text or patterns.
#include "expr/ex_eval.h"
#include "macro/execution.h"
#include "macro/execution_internal.h"

bool MatchPattern(TextView text, TextView pattern, bool ignoreCase) {
    size_t t = 0, p = 0, starP = TextView::npos, starT = 0;
    auto same = [ignoreCase](wchar_t a, wchar_t b) {
        return ignoreCase ? UpperChar(a) == UpperChar(b) : a == b;
    };
    while (t < text.size()) {
        if (p < pattern.size() && (pattern[p] == L'?' || (pattern[p] != L'*' && same(pattern[p], text[t])))) {
            ++t;
            ++p;
        } else if (p < pattern.size() && pattern[p] == L'*') {
            starP = p++;
            starT = t;
        } else if (starP != TextView::npos) {
            p = starP + 1;
            t = ++starT;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == L'*') ++p;
    return p == pattern.size();
}

bool IsValidName(TextView text, bool left) {
    if (text.empty() || text[0] <= L' ' || (text[0] >= L'0' && text[0] <= L'9')) return false;
    static constexpr const wchar_t* kBad = L"+-_=\",\t :'$/([])<>";
    for (wchar_t c : text) {
        if (InSet(c, kBad)) return false;
        if (left && (c == L'*' || c == L'?')) return false;
    }
    if (left && text.back() == L'.') return false;
    return true;
}

namespace {

// A side of a comparison as a number: a plain decimal number at once, anything
// else through the expression evaluator (names of number objects, tables,
// constants, functions); only a single value counts.
bool SideNumber(CShell& shell, const Text& side, double& value) {
    if (side.empty()) return false;
    if (side.find_first_not_of(L"0123456789+-.eE") == Text::npos && ParseWholeDouble(side, value))
        return true;
    CExEval eval(&shell);
    eval.SetExpression(side);
    if (!eval.Evaluate()) return false;
    const Matrix* result = eval.GetResult();
    if (!result || !result->IsScalar()) return false;
    value = result->At(0, 0);
    return true;
}

int CompareTriple(CShell& shell, const Text& left, const Text& op, const Text& right, bool& value) {
    static constexpr const wchar_t* kRelations[] = {L"<", L"<=", L"==", L"!=", L">=", L">"};
    for (int r = 0; r < 6; ++r) {
        if (op != kRelations[r]) continue;
        double a = 0, b = 0;
        int cmp;
        if (SideNumber(shell, left, a) && SideNumber(shell, right, b))
            cmp = a < b ? -1 : (a > b ? 1 : 0);
        else
            cmp = CompareNoCase(left, right);
        static constexpr bool kTable[6][3] = {{true, false, false}, {true, true, false},
                                              {false, true, false}, {true, false, true},
                                              {false, true, true},  {false, false, true}};
        value = kTable[r][cmp + 1];
        return 0;
    }
    if (op.size() == 3 && (op[0] == L'=' || op[0] == L'!')) {
        const bool negative = op[0] == L'!';
        const wchar_t what = UpperChar(op[1]);
        const wchar_t how = UpperChar(op[2]);
        if ((what == L'S' || what == L'N') && (how == L'I' || how == L'R')) {
            bool match;
            if (what == L'N' && !(IsValidName(left, true) && IsValidName(right, false)))
                match = false;
            else
                match = MatchPattern(left, right, how == L'I');
            value = negative ? !match : match;
            return 0;
        }
    }
    return RC_SYNTAX_ERROR_CONDITION;
}

} // namespace

int EvalCondition(CShell& shell, const CWords& words, bool& value) {
    if (words.size() % 4 != 3) return RC_TOO_FEW_ARGUMENTS;
    value = false;
    for (size_t i = 0; i < words.size(); i += 4) {
        bool v = false;
        const int code = CompareTriple(shell, words[i].text, words[i + 1].text, words[i + 2].text, v);
        if (code) return code;
        if (i == 0) {
            value = v;
            continue;
        }
        const Text& logical = words[i - 1].text;
        if (logical == L"||" || EqualNoCase(logical, L"OR"))
            value = value || v;
        else if (logical == L"&&" || EqualNoCase(logical, L"AND"))
            value = value && v;
        else
            return RC_SYNTAX_ERROR_CONDITION;
    }
    return 0;
}
