// Conversion of source text to the internal alphabet. It runs once per line
// when a section is read, so the compiler and the run time never have to
// tell an escaped character from a meaningful one again.
#include "macro/code.h"

namespace {

// Parenthesis depths are remembered for this many nested inline commands;
// deeper ones still open and close, but share one depth counter that is
// reset whenever such a level opens.
constexpr int kRememberedLevels = 64;

} // namespace

Text ConvertSourceLine(TextView line, bool headerMode) {
    Text out;
    out.reserve(line.size());
    int depth[kRememberedLevels] = {};
    int deepDepth = 0;
    int level = 0;
    auto depthAt = [&](int lvl) -> int& { return lvl <= kRememberedLevels ? depth[lvl - 1] : deepDepth; };

    const size_t n = line.size();
    for (size_t i = 0; i < n; ++i) {
        const wchar_t c = line[i];
        if (c == L'`') {
            // An escaped character is copied as it stands: no code, not counted.
            if (++i >= n) break;
            out += line[i];
            continue;
        }
        if (c == L'\'') {
            out += CODE_QUOTE;
            continue;
        }
        if (headerMode) {
            out += c;
            continue;
        }
        switch (c) {
        case L'~':
            out += CODE_ITEM;
            break;
        case L'[':
            out += CODE_OPEN;
            break;
        case L']':
            out += CODE_CLOSE;
            break;
        case L'$':
            if (i + 1 < n && line[i + 1] == L'(') {
                out += CODE_INLINE_OPEN;
                ++i;
                ++level;
                depthAt(level) = 0;
            } else {
                out += CODE_VARIABLE;
            }
            break;
        case L'(':
            if (level > 0) ++depthAt(level);
            out += c;
            break;
        case L')':
            if (level > 0) {
                int& d = depthAt(level);
                if (d == 0) {
                    out += CODE_INLINE_CLOSE;
                    --level;
                    break;
                }
                --d;
            }
            out += c;
            break;
        default:
            out += c;
            break;
        }
    }
    return out;
}
