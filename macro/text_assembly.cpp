// Text assembly: the pieces of a code line (literal text, variables, inline
// commands) joined into one text, and that text split into words.
#include "macro/execution.h"
#include "macro/execution_internal.h"
#include "shell/error_table.h"

namespace {
constexpr size_t kMaxWords = 256;
} // namespace

int Assemble(CShell& shell, const CPieceChain& pieces, Text& out, bool secondPass, bool firstBracketKept) {
    Text joined;
    Text value;
    for (const CCodePiece& piece : pieces) {
        switch (piece.type) {
        case CCodePiece::LITERAL:
            joined += piece.text;
            break;
        case CCodePiece::VARIABLE:
            if (shell.GetVar(piece.text, value)) joined += value;
            break;
        case CCodePiece::INLINE: {
            value.clear();
            const int code = ExecuteLine(shell, *piece.line, &value);
            if (IsError(code)) return code;
            joined += value;
            break;
        }
        default:
            break;
        }
    }
    if (secondPass)
        Substitute(shell, joined, out, firstBracketKept);
    else
        out = std::move(joined);
    return 0;
}

void SplitWords(TextView text, CWords& words) {
    words.clear();
    words.reserve(16);
    size_t i = 0;
    const size_t n = text.size();
    auto plainChar = [](wchar_t c) -> wchar_t {
        // Status codes that were left in place read as their characters from here on.
        return c == CODE_ITEM ? L'~' : c == CODE_OPEN ? L'[' : c == CODE_CLOSE ? L']' : c;
    };
    // A word is taken in one piece and its status codes mapped afterwards.
    auto take = [&](size_t begin, size_t end, int kind) {
        SWord& w = words.emplace_back();
        w.kind = kind;
        w.text.assign(text.data() + begin, end - begin);
        for (wchar_t& ch : w.text) ch = plainChar(ch);
    };
    auto separates = [](wchar_t c) {
        return c <= L' ' && c != CODE_ITEM && c != CODE_OPEN && c != CODE_CLOSE;
    };
    while (i < n && words.size() < kMaxWords) {
        const wchar_t c = text[i];
        if (c == CODE_QUOTE) {
            const size_t begin = ++i;
            while (i < n && text[i] != CODE_QUOTE) ++i;
            take(begin, i, SWord::Quoted);
            ++i;
            continue;
        }
        if (separates(c)) {
            ++i;
            continue;
        }
        const size_t begin = i;
        while (i < n && text[i] != CODE_QUOTE && !separates(text[i])) ++i;
        take(begin, i, SWord::Plain);
    }
}
