#include "base/text.h"

#include <clocale>
#include <cstdarg>
#include <cwchar>
#include <cwctype>
#include <locale.h>

// One "C" locale object for numbers and one UTF-8 aware object for letters,
// both independent of the process locale (which Qt sets from the environment).
locale_t NumericLocale() {
    static const locale_t loc = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
    return loc;
}

locale_t LetterLocale() {
    static const locale_t loc = [] {
        locale_t l = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(0));
        return l ? l : NumericLocale();
    }();
    return loc;
}

namespace {

// Formatting through vswprintf follows the thread's locale: switch the thread
// to the "C" object for the duration of one call.
class CNumericScope {
public:
    CNumericScope() : m_old(uselocale(NumericLocale())) {}
    ~CNumericScope() { uselocale(m_old); }

private:
    locale_t m_old;
};

// glibc's wide printf takes %s and %c as narrow; the program's formats mean wide.
std::wstring WidenFormat(const wchar_t* format) {
    std::wstring out;
    for (const wchar_t* p = format; *p; ++p) {
        out += *p;
        if (*p != L'%') continue;
        ++p;
        // flags, width, precision, length
        while (*p && std::wcschr(L"-+ #0123456789.*hlLqjzt'", *p)) {
            if (*p == L'l' && (p[1] == L's' || p[1] == L'c')) break;
            out += *p++;
        }
        if (!*p) break;
        if (*p == L's' || *p == L'c') out += L'l';
        out += *p;
    }
    return out;
}

} // namespace

wchar_t UpperChar(wchar_t c) {
    if (c < 128) return (c >= L'a' && c <= L'z') ? static_cast<wchar_t>(c - 32) : c;
    return static_cast<wchar_t>(towupper_l(static_cast<wint_t>(c), LetterLocale()));
}

wchar_t LowerChar(wchar_t c) {
    if (c < 128) return (c >= L'A' && c <= L'Z') ? static_cast<wchar_t>(c + 32) : c;
    return static_cast<wchar_t>(towlower_l(static_cast<wint_t>(c), LetterLocale()));
}

Text UpperCase(TextView text) {
    Text out(text);
    for (auto& c : out) c = UpperChar(c);
    return out;
}

Text LowerCase(TextView text) {
    Text out(text);
    for (auto& c : out) c = LowerChar(c);
    return out;
}

int CompareNoCase(TextView a, TextView b) {
    const size_t n = a.size() < b.size() ? a.size() : b.size();
    for (size_t i = 0; i < n; ++i) {
        wchar_t x = a[i], y = b[i];
        if (x == y) continue;
        x = UpperChar(x);
        y = UpperChar(y);
        if (x != y) return x < y ? -1 : 1;
    }
    if (a.size() == b.size()) return 0;
    return a.size() < b.size() ? -1 : 1;
}

bool EqualNoCase(TextView a, TextView b) {
    return a.size() == b.size() && CompareNoCase(a, b) == 0;
}

bool StartsWithNoCase(TextView text, TextView prefix) {
    return text.size() >= prefix.size() && CompareNoCase(text.substr(0, prefix.size()), prefix) == 0;
}

static Text VFormat(const wchar_t* format, va_list args) {
    const std::wstring fmt = WidenFormat(format);
    CNumericScope scope;
    wchar_t stack[256];
    va_list copy;
    va_copy(copy, args);
    int n = vswprintf(stack, sizeof stack / sizeof *stack, fmt.c_str(), copy);
    va_end(copy);
    if (n >= 0) return Text(stack, static_cast<size_t>(n));
    // Too long for the stack buffer (vswprintf does not say how long): grow.
    for (size_t size = 1024; size <= (size_t{1} << 26); size *= 4) {
        std::wstring buf(size, L'\0');
        va_copy(copy, args);
        n = vswprintf(buf.data(), size, fmt.c_str(), copy);
        va_end(copy);
        if (n >= 0) {
            buf.resize(static_cast<size_t>(n));
            return buf;
        }
    }
    return Text();
}

Text Format(const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    Text out = VFormat(format, args);
    va_end(args);
    return out;
}

Text DoubleText(double value) {
    CNumericScope scope;
    wchar_t buf[64];
    int n = swprintf(buf, 64, L"%.20lg", value);
    return Text(buf, n > 0 ? static_cast<size_t>(n) : 0);
}

Text IntText(long long value) {
    // Hot path of every counter in a macro: no locale, no printf.
    wchar_t buf[32];
    wchar_t* p = buf + 32;
    unsigned long long u = value < 0 ? 0ull - static_cast<unsigned long long>(value) : value;
    do {
        *--p = static_cast<wchar_t>(L'0' + u % 10);
        u /= 10;
    } while (u);
    if (value < 0) *--p = L'-';
    return Text(p, static_cast<size_t>(buf + 32 - p));
}

Text HexText(unsigned long long value, int width) {
    static constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
    Text out;
    do {
        out.insert(out.begin(), kDigits[value & 15]);
        value >>= 4;
    } while (value);
    while (static_cast<int>(out.size()) < width) out.insert(out.begin(), L'0');
    return out;
}

bool ParseDouble(TextView text, double& value, size_t* end) {
    // Short integers, the most common numbers in macro text, are exact without strtod.
    {
        size_t i = 0;
        const bool negative = !text.empty() && text[0] == L'-';
        if (negative || (!text.empty() && text[0] == L'+')) ++i;
        const size_t first = i;
        long long n = 0;
        while (i < text.size() && i - first < 15 && text[i] >= L'0' && text[i] <= L'9') n = n * 10 + (text[i++] - L'0');
        const bool more = i < text.size() && (text[i] == L'.' || text[i] == L'e' || text[i] == L'E' ||
                                              text[i] == L'x' || text[i] == L'X' || (text[i] >= L'0' && text[i] <= L'9'));
        if (i > first && !more && !(n == 0 && negative)) {
            value = static_cast<double>(negative ? -n : n);
            if (end) *end = i;
            return true;
        }
    }
    const Text s(text);
    wchar_t* stop = nullptr;
    value = wcstod_l(s.c_str(), &stop, NumericLocale());
    const size_t used = static_cast<size_t>(stop - s.c_str());
    if (end) *end = used;
    return used > 0;
}

bool ParseLong(TextView text, long long& value, size_t* end, int base) {
    const Text s(text);
    wchar_t* stop = nullptr;
    value = wcstoll_l(s.c_str(), &stop, base, NumericLocale());
    const size_t used = static_cast<size_t>(stop - s.c_str());
    if (end) *end = used;
    return used > 0;
}

static bool OnlyBlanksFrom(TextView text, size_t pos) {
    for (; pos < text.size(); ++pos)
        if (text[pos] != L' ' && text[pos] != L'\t') return false;
    return true;
}

bool ParseWholeDouble(TextView text, double& value) {
    size_t end = 0;
    return ParseDouble(text, value, &end) && OnlyBlanksFrom(text, end);
}

bool ParseWholeLong(TextView text, long long& value) {
    size_t end = 0;
    return ParseLong(text, value, &end) && OnlyBlanksFrom(text, end);
}

void AppendUtf8(std::string& out, uint32_t c) {
    if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = 0xFFFD;
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

std::string ToUtf8(TextView text) {
    std::string out;
    out.reserve(text.size());
    for (wchar_t wc : text) AppendUtf8(out, static_cast<uint32_t>(wc));
    return out;
}

Text FromUtf8(std::string_view bytes) {
    Text out;
    out.reserve(bytes.size());
    size_t i = 0;
    const size_t n = bytes.size();
    while (i < n) {
        const auto b = static_cast<unsigned char>(bytes[i]);
        uint32_t c;
        int extra;
        if (b < 0x80) {
            out += static_cast<wchar_t>(b);
            ++i;
            continue;
        } else if ((b & 0xE0) == 0xC0) {
            c = b & 0x1F;
            extra = 1;
        } else if ((b & 0xF0) == 0xE0) {
            c = b & 0x0F;
            extra = 2;
        } else if ((b & 0xF8) == 0xF0) {
            c = b & 0x07;
            extra = 3;
        } else {
            out += L'\xFFFD';
            ++i;
            continue;
        }
        if (i + static_cast<size_t>(extra) >= n) {
            out += L'\xFFFD';
            break;
        }
        bool ok = true;
        for (int k = 1; k <= extra; ++k) {
            const auto cb = static_cast<unsigned char>(bytes[i + static_cast<size_t>(k)]);
            if ((cb & 0xC0) != 0x80) {
                ok = false;
                break;
            }
            c = (c << 6) | (cb & 0x3F);
        }
        if (!ok) {
            out += L'\xFFFD';
            ++i;
            continue;
        }
        static constexpr uint32_t kMin[] = {0, 0x80, 0x800, 0x10000};
        if (c < kMin[extra] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = 0xFFFD;
        out += static_cast<wchar_t>(c);
        i += static_cast<size_t>(extra) + 1;
    }
    return out;
}

Text Trim(TextView text) {
    size_t a = 0, b = text.size();
    while (a < b && (text[a] == L' ' || text[a] == L'\t')) ++a;
    while (b > a && (text[b - 1] == L' ' || text[b - 1] == L'\t')) --b;
    return Text(text.substr(a, b - a));
}

std::vector<Text> SplitBlanks(TextView line) {
    std::vector<Text> words;
    size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && (line[i] == L' ' || line[i] == L'\t')) ++i;
        const size_t start = i;
        while (i < line.size() && line[i] != L' ' && line[i] != L'\t') ++i;
        if (i > start) words.emplace_back(line.substr(start, i - start));
    }
    return words;
}
