#include "expr/format_engine.h"

#include <cmath>
#include <cstdint>

#include "expr/numeric_args.h"
#include "shell/rc_codes.h"

namespace {

// The arguments: texts, or the one number of a table cell.
struct SFormatArgs {
    int count = 0;
    const Text* texts = nullptr; // null: the one argument is `number`
    double number = 0;

    Text TextAt(int i) const { return texts ? texts[i] : DoubleText(number); }
    bool NumberAt(int i, double& value) const {
        if (!texts) {
            value = number;
            return true;
        }
        return EvalNumber(texts[i], value);
    }
};

// "%d" keeps the low 32 bits of the truncated value; what has no such bits
// (NaN, infinities, values beyond 64 bits) gives the smallest int, as the
// processor's own conversion does.
int32_t Low32(double v) {
    if (!std::isfinite(v) || v >= 9.2e18 || v <= -9.2e18) return INT32_MIN;
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(static_cast<int64_t>(v))));
}

// Digits of a width or precision, cut down to kFormatMaxWidth; a leading
// zero of a width stays the zero-padding flag.
Text LimitDigits(const Text& digits, bool zeroFlag) {
    size_t k = 0;
    while (k < digits.size() && digits[k] == L'0') ++k;
    Text out = zeroFlag && k > 0 ? L"0" : L"";
    Text rest = digits.substr(k);
    if (rest.size() > 4 || (rest.size() == 4 && std::stoi(rest) > kFormatMaxWidth))
        rest = IntText(kFormatMaxWidth);
    return out + rest;
}

struct SConversion {
    bool minus = false;
    bool dot = false;
    Text width;
    Text precision;

    // The printf conversion for one of its conversions, "l" and "L" left out:
    // every argument is handed over as int, unsigned, double or wide text.
    Text Printf(wchar_t conversion) const {
        Text out = L"%";
        if (minus) out += L'-';
        out += LimitDigits(width, true);
        if (dot) out += L'.' + LimitDigits(precision, false);
        out += conversion;
        return out;
    }
};

// Seconds as [-]h:mm:ss, shortened by "-", with milliseconds after a ".".
int TimeText(const SConversion& conv, double x, wchar_t decimal, Text& result) {
    long long length = 0;
    if (!conv.width.empty()) {
        if (!EvalInteger(conv.width, length)) return RC_FORMAT_BAD_TIME_LENGTH;
        if (length < 0) length = -length;
        if (length > kFormatMaxWidth) length = kFormatMaxWidth;
    }
    // An endless time has no hours to print.
    if (!std::isfinite(x)) return RC_FORMAT_BAD_TIME_LENGTH;
    const bool negative = x < 0;
    x = std::fabs(x);
    if (!conv.dot) x = std::trunc(x + 0.5);
    Text clock;
    double rest = 0;
    if (x < 9.0e18) {
        const long long whole = static_cast<long long>(x);
        rest = x - static_cast<double>(whole);
        const long long hours = whole / 3600;
        const int minutes = static_cast<int>(whole % 3600 / 60);
        const int seconds = static_cast<int>(whole % 60);
        if (!conv.minus || hours != 0) {
            clock = Format(L"%lld:%02d:%02d", hours, minutes, seconds);
        } else if (minutes != 0) {
            clock = Format(L"%d:%02d", minutes, seconds);
        } else {
            clock = Format(L"%d", seconds);
        }
    } else {
        clock = Format(L"%.0f:00:00", std::trunc(x / 3600));
    }
    Text text = negative ? L"-" : L"";
    text += clock;
    if (conv.dot) {
        text += decimal;
        text += Format(L"%03d", static_cast<int>(std::trunc(rest * 1000)));
    }
    if (length > 0) text = Format(L"%*.*s", static_cast<int>(length), static_cast<int>(length), text.c_str());
    result += text;
    return 0;
}

int Run(TextView format, const SFormatArgs& args, wchar_t decimal, Text& result) {
    result.clear();
    if (format.data() == nullptr) return RC_FORMAT_MISSING;
    const size_t n = format.size();
    size_t i = 0;
    int next = 0;
    while (i < n) {
        const size_t percent = format.find(L'%', i);
        if (percent == TextView::npos) {
            result.append(format.substr(i));
            break;
        }
        result.append(format.substr(i, percent - i));
        i = percent + 1;

        SConversion conv;
        bool modifier = false;
        if (i < n && format[i] == L'-') {
            conv.minus = true;
            ++i;
        }
        for (; i < n; ++i) {
            const wchar_t c = format[i];
            if (c >= L'0' && c <= L'9') {
                (conv.dot ? conv.precision : conv.width) += c;
            } else if (c == L'.') {
                if (conv.dot) return RC_FORMAT_TWO_DOTS;
                conv.dot = true;
            } else if (c == L'l' || c == L'L') {
                if (modifier) return RC_FORMAT_TWO_L;
                modifier = true;
            } else {
                break;
            }
        }
        if (i >= n) return RC_FORMAT_LONELY_PERCENT;
        const wchar_t type = format[i++];

        switch (type) {
        case L'%':
            result += L'%';
            continue;
        case L'n':
            result += L'\n';
            continue;
        case L't':
            result += L"        ";
            continue;
        case L'T':
            result += L'\t';
            continue;
        case L's':
        case L'S':
        case L'd':
        case L'D':
        case L'x':
        case L'X':
        case L'f':
        case L'F':
        case L'g':
        case L'G':
        case L'h':
        case L'H':
            break;
        default:
            return RC_FORMAT_BAD_CHARACTER;
        }

        if (next >= args.count) return RC_FORMAT_NO_ARGUMENTS;
        const int arg = next++;
        if (type == L's' || type == L'S') {
            const Text text = args.TextAt(arg);
            result += Format(conv.Printf(L's').c_str(), text.c_str());
            continue;
        }
        double value = 0;
        const bool time = type == L'h' || type == L'H';
        if (!args.NumberAt(arg, value)) return time ? RC_FORMAT_BAD_TIME_LENGTH : RC_FORMAT_BAD_LENGTH;
        switch (type) {
        case L'd':
        case L'D':
            // A bare %d is what every counter of a macro goes through: no printf for it.
            if (!conv.minus && conv.width.empty() && !conv.dot)
                result += IntText(Low32(value));
            else
                result += Format(conv.Printf(L'd').c_str(), Low32(value));
            break;
        case L'x':
        case L'X':
            result += Format(conv.Printf(type).c_str(), static_cast<uint32_t>(Low32(value)));
            break;
        case L'f':
        case L'F':
        case L'g':
        case L'G': {
            Text number = Format(conv.Printf(type == L'f' || type == L'F' ? L'f' : L'g').c_str(), value);
            const size_t point = number.find(L'.');
            if (point != Text::npos) number[point] = decimal;
            result += number;
            break;
        }
        default:
            if (const int code = TimeText(conv, value, decimal, result)) return code;
            break;
        }
    }
    return 0;
}

} // namespace

bool FormatText(int argCount, const Text* args, TextView format, Text& result, int& error) {
    SFormatArgs a;
    a.count = args && argCount > 0 ? argCount : 0;
    a.texts = args;
    error = Run(format, a, L'.', result);
    return error == 0;
}

bool FormatNumber(TextView format, Text& result, int& error, double value, wchar_t decimal) {
    SFormatArgs a;
    a.count = 1;
    a.number = value;
    error = Run(format, a, decimal, result);
    return error == 0;
}
