#include "expr/numeric_args.h"

#include "expr/normalize.h"
#include "numeric/frequency_scales.h"
#include "numeric/random.h"
#include "shell/rc_codes.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cwchar>
#include <locale.h>

namespace {

// Bracket and sign nesting beyond this fails instead of running the thread's
// stack out: a number argument may come from any variable's value.
constexpr int kMaxDepth = 512;

// RAND, LRAN and SETLRAN draw from the process-wide generator of number arguments.
double Rand(double) {
    return numeric::RandNumber();
}
double LRan(double) {
    return numeric::LRanNumber();
}
double SetLRan(double x) {
    return numeric::SetLRanNumber(x);
}

double Hz2Bark(double f) {
    return HzToBark(f);
}
double Bark2Hz(double z) {
    return BarkToHz(z);
}

double Sin(double x) {
    return std::sin(x);
}
double Cos(double x) {
    return std::cos(x);
}
double Tan(double x) {
    return std::tan(x);
}
double Asin(double x) {
    return std::asin(x);
}
double Acos(double x) {
    return std::acos(x);
}
double Atan(double x) {
    return std::atan(x);
}
double Exp(double x) {
    return std::exp(x);
}
double Log10(double x) {
    return std::log10(x);
}
double Ln(double x) {
    return std::log(x);
}
double Sqrt(double x) {
    return std::sqrt(x);
}
double Abs(double x) {
    return std::fabs(x);
}
double Int(double x) {
    return std::trunc(x);
}
double Round(double x) {
    return std::trunc(x + 0.5);
}
double Floor(double x) {
    return std::floor(x);
}
double Db(double x) {
    return std::pow(10.0, x / 20.0);
}
// At 0 the limit, so that a sweep through 0 does not produce a NaN.
double SinX(double x) {
    return x == 0 ? 1.0 : std::sin(x) / x;
}
double Sign(double x) {
    return x < 0 ? -1.0 : 1.0;
}
double Bit(double x) {
    const double n = std::trunc(x);
    return n >= 0 && n <= 31 ? double(uint32_t(1) << int(n)) : 0.0;
}

struct SFunction {
    const wchar_t* name;
    int args;
    double (*fn)(double);
};

static constexpr SFunction kFunctions[] = {
    {L"RAND", 0, Rand},   {L"LRAN", 0, LRan},       {L"SETLRAN", 1, SetLRan}, {L"SIN", 1, Sin},
    {L"COS", 1, Cos},     {L"TAN", 1, Tan},         {L"ASIN", 1, Asin},       {L"ACOS", 1, Acos},
    {L"ATAN", 1, Atan},   {L"EXP", 1, Exp},         {L"LOG", 1, Log10},       {L"LN", 1, Ln},
    {L"SQRT", 1, Sqrt},   {L"ABS", 1, Abs},         {L"INT", 1, Int},         {L"ROUND", 1, Round},
    {L"FLOOR", 1, Floor}, {L"DB", 1, Db},           {L"SINX", 1, SinX},       {L"SINC", 1, SinX},
    {L"SIGN", 1, Sign},   {L"HZ2BARK", 1, Hz2Bark}, {L"BARK2HZ", 1, Bark2Hz}, {L"BIT", 1, Bit},
};

bool IsAsciiLetter(wchar_t c) {
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z');
}
bool IsAsciiDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

// The low 32 bits of the value truncated toward zero, as `&`, `|` and `!` see it.
uint32_t Low32(double v) {
    if (!std::isfinite(v)) return 0;
    if (v >= 9.2e18 || v <= -9.2e18) return 0;
    return static_cast<uint32_t>(static_cast<int64_t>(v));
}

bool SameNoCase(const wchar_t* a, size_t n, const wchar_t* keyword) {
    for (size_t i = 0; i < n; ++i, ++keyword) {
        if (!*keyword) return false;
        wchar_t c = a[i];
        if (c >= L'a' && c <= L'z') c = wchar_t(c - L'a' + L'A');
        if (c != *keyword) return false;
    }
    return *keyword == 0;
}

class CScalarEval {
public:
    CScalarEval(TextView text, bool names) : m_names(names) {
        NormalizeExpression(text, m_text);
        m_p = m_text.c_str();
    }

    bool Run(double& value) {
        if (!Climb(0, value, 0)) return false;
        SkipBlank();
        return *m_p == 0;
    }
    int Error() const { return m_error; }

private:
    void SkipBlank() {
        if (*m_p == L' ') ++m_p;
    }
    bool Fail(int code) {
        m_error = code;
        return false;
    }

    bool Climb(int level, double& v, int depth) {
        if (depth > kMaxDepth) return Fail(RC_STACK_OVERFLOW);
        if (!Operand(v, depth)) return false;
        for (;;) {
            const wchar_t* at = m_p;
            if (*at == L' ') ++at;
            const wchar_t op = *at;
            int right;
            if ((op == L'+' || op == L'-') && level <= 0) {
                right = 1;
            } else if ((op == L'*' || op == L'/' || op == L'%' || op == L'&' || op == L'|') && level <= 1) {
                right = 2;
            } else if (op == L'^' && level <= 2) {
                right = 3;
            } else {
                return true;
            }
            m_p = at + 1;
            double r = 0;
            if (!Climb(right, r, depth + 1)) return false;
            switch (op) {
            case L'+':
                v += r;
                break;
            case L'-':
                v -= r;
                break;
            case L'*':
                v *= r;
                break;
            case L'/':
                v /= r;
                break;
            case L'%':
                v = std::fmod(v, r);
                break;
            case L'&':
                v = double(Low32(v) & Low32(r));
                break;
            case L'|':
                v = double(Low32(v) | Low32(r));
                break;
            default:
                v = std::pow(v, r);
                break;
            }
        }
    }

    bool Operand(double& v, int depth) {
        SkipBlank();
        const wchar_t c = *m_p;
        if (c == 0) return Fail(RC_UNEXPECTED_END_OF_EXPRESSION);
        if (c == L'0' && (m_p[1] == L'x' || m_p[1] == L'X')) {
            // Unsigned, so that a set top bit reads as a value above 2147483647.
            wchar_t* end = nullptr;
            v = double(wcstoul_l(m_p, &end, 16, NumericLocale()));
            m_p = end;
            return true;
        }
        if (IsAsciiDigit(c) || (c == L'.' && IsAsciiDigit(m_p[1]))) {
            wchar_t* end = nullptr;
            v = wcstod_l(m_p, &end, NumericLocale());
            m_p = end;
            return true;
        }
        if (c == L'(') {
            ++m_p;
            if (!Climb(0, v, depth + 1)) return false;
            SkipBlank();
            if (*m_p != L')') return Fail(RC_CLOSED_BRACKET_EXPECTED);
            ++m_p;
            return true;
        }
        if (c == L'-' || c == L'!') {
            ++m_p;
            if (!Climb(10, v, depth + 1)) return false;
            v = c == L'-' ? -v : double(~Low32(v));
            return true;
        }
        if (!m_names || !IsAsciiLetter(c)) return Fail(RC_BAD_FUNCTION_NAME);
        const wchar_t* word = m_p;
        while (IsAsciiLetter(*m_p) || IsAsciiDigit(*m_p)) ++m_p;
        const size_t n = size_t(m_p - word);
        if (SameNoCase(word, n, L"PI")) {
            v = std::acos(-1.0);
            return true;
        }
        if (SameNoCase(word, n, L"E")) {
            v = std::exp(1.0);
            return true;
        }
        for (const SFunction& f : kFunctions) {
            if (SameNoCase(word, n, f.name)) return Call(f, v, depth);
        }
        return Fail(RC_BAD_FUNCTION_NAME);
    }

    bool Call(const SFunction& f, double& v, int depth) {
        int given = 0;
        double arg = 0;
        const wchar_t* at = m_p;
        if (*at == L' ') ++at;
        if (*at == L'(') {
            m_p = at + 1;
            SkipBlank();
            if (*m_p == L')') {
                ++m_p;
            } else {
                if (!Climb(0, arg, depth + 1)) return false;
                SkipBlank();
                if (*m_p != L')') return Fail(RC_CLOSED_BRACKET_EXPECTED);
                ++m_p;
                given = 1;
            }
        }
        if (given < f.args) return Fail(RC_TOO_FEW_ARGUMENTS);
        if (given > f.args) return Fail(RC_TOO_MANY_ARGUMENTS);
        v = f.fn(arg);
        return true;
    }

    Text m_text;
    const wchar_t* m_p = nullptr;
    bool m_names;
    int m_error = 0;
};

bool Evaluate(TextView text, bool names, double& value, int* error) {
    if (error) *error = 0;
    if (text.data() == nullptr) {
        if (error) *error = RC_NO_EXPRESSION;
        return false;
    }
    CScalarEval eval(text, names);
    double v = 0;
    const bool ok = eval.Run(v);
    if (error) *error = eval.Error();
    if (ok) value = v;
    return ok;
}

} // namespace

bool EvalNumber(TextView text, double& value, int* error) {
    return Evaluate(text, true, value, error);
}

bool EvalInteger(TextView text, long long& value, int* error) {
    double v = 0;
    if (!Evaluate(text, false, v, error)) return false;
    // Beyond the range of the integer type there is no whole number to give.
    if (v != std::trunc(v) || !(v > -9.2e18 && v < 9.2e18)) {
        if (error) *error = RC_INTEGER_EXPECTED;
        return false;
    }
    value = static_cast<long long>(v);
    return true;
}
