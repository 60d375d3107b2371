#include "signal/segment_address.h"

#include <cmath>
#include <cwctype>
#include <utility>

namespace {

bool IsDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

// A term counts as a number when it starts with a digit, or with "." or "-" before one.
bool StartsNumber(TextView t, size_t at) {
    if (at >= t.size()) return false;
    if (IsDigit(t[at])) return true;
    return (t[at] == L'.' || t[at] == L'-') && at + 1 < t.size() && IsDigit(t[at + 1]);
}

// The frames of a number and its unit.
bool NumberFrames(double value, TextView unit, const SSegmentContext& c, long long& out) {
    double frames;
    if (unit.empty()) {
        frames = value;
    } else if (unit == L"%" || unit == L"%%") {
        if (c.length < 0) return false;
        frames = value * double(c.length) / (unit.size() == 1 ? 100.0 : 1000.0);
    } else if (EqualNoCase(unit, L"ms") || EqualNoCase(unit, L"s")) {
        if (!(c.rate > 0)) return false;
        frames = unit.size() == 2 ? value * c.rate / 1000.0 : value * c.rate;
    } else if (EqualNoCase(unit, L"kHz") || EqualNoCase(unit, L"Hz")) {
        // One period of that frequency.
        if (!(c.rate > 0) || value == 0) return false;
        frames = unit.size() == 3 ? c.rate / (value * 1000.0) : c.rate / value;
    } else {
        return false;
    }
    frames = std::trunc(frames);
    if (!std::isfinite(frames) || std::fabs(frames) > 9.0e18) return false;
    out = static_cast<long long>(frames);
    return true;
}

// One term at `at`: advances `at` past it.
bool ParseTerm(TextView t, size_t& at, const SSegmentContext& c, long long& b, long long& e) {
    if (StartsNumber(t, at)) {
        size_t used = 0;
        double value = 0;
        if (!ParseDouble(t.substr(at), value, &used) || used == 0) return false;
        at += used;
        const size_t unitAt = at;
        while (at < t.size() && (std::iswalpha(t[at]) || t[at] == L'%')) ++at;
        long long frames = 0;
        if (!NumberFrames(value, t.substr(unitAt, at - unitAt), c, frames)) return false;
        b = e = frames;
        return true;
    }
    const size_t nameAt = at;
    while (at < t.size() && t[at] != L'+' && t[at] != L'-' && t[at] != L':') ++at;
    const TextView name = t.substr(nameAt, at - nameAt);
    if (name.empty() || !c.lookup || !c.lookup(name, b, e)) return false;
    if (at < t.size() && t[at] == L':') {
        if (at + 1 >= t.size()) return false;
        const wchar_t selector = UpperChar(t[at + 1]);
        at += 2;
        if (selector == L'B')
            e = b;
        else if (selector == L'E')
            b = e;
        else if (selector == L'L')
            b = e = e - b;
        else
            return false;
    }
    return true;
}

} // namespace

bool ParseAddress(TextView text, const SSegmentContext& context, long long& begin, long long& end) {
    if (text.empty()) return false;
    size_t at = 0;
    begin = end = 0;
    int sign = 1;
    // A leading "-" makes the first term negative; before a digit it is read with the number.
    if (text[0] == L'-' && !StartsNumber(text, 0)) {
        sign = -1;
        at = 1;
    }
    for (;;) {
        long long b = 0, e = 0;
        if (!ParseTerm(text, at, context, b, e)) return false;
        begin += sign * b;
        end += sign * e;
        if (at == text.size()) return true;
        if (text[at] != L'+' && text[at] != L'-') return false;
        sign = text[at] == L'+' ? 1 : -1;
        ++at;
    }
}

int ParseSegmentRange(TextView text, const SSegmentContext& context, long long& begin, long long& end) {
    int failure = RC_BAD_SEGMENT_START;
    // Segment names may hold "_" themselves: the first split whose left side is an
    // address decides.
    for (size_t cut = text.find(L'_'); cut != TextView::npos; cut = text.find(L'_', cut + 1)) {
        long long b = 0, e = 0;
        if (!ParseAddress(text.substr(0, cut), context, b, e)) continue;
        TextView rest = text.substr(cut + 1);
        int mode = 0;
        if (!rest.empty() && (rest[0] == L'+' || rest[0] == L'-')) {
            mode = rest[0] == L'+' ? 1 : -1;
            rest.remove_prefix(1);
        }
        long long v = 0, unused = 0;
        if (!ParseAddress(rest, context, v, unused)) {
            failure = RC_BAD_SEGMENT_END;
            continue;
        }
        begin = b;
        end = mode == 0 ? v : b + mode * v;
        if (end < begin) std::swap(begin, end);
        return begin < 0 ? RC_BAD_SEGMENT_START : 0;
    }
    long long b = 0, e = 0;
    if (!ParseAddress(text, context, b, e)) return failure;
    if (e < b) std::swap(b, e);
    if (b < 0) return RC_BAD_SEGMENT_START;
    begin = b;
    end = e;
    return 0;
}
