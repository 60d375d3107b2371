#include "expr/normalize.h"

void NormalizeExpression(TextView text, Text& out) {
    out.clear();
    out.reserve(text.size());
    bool gap = false;
    for (wchar_t c : text) {
        if (c == L' ' || c == L'\t') {
            gap = true;
            continue;
        }
        if (gap && !out.empty()) out += L' ';
        gap = false;
        out += c;
    }
}
