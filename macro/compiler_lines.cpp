// Cutting the text of one code line into pieces: literals, variable names,
// inline commands (compiled recursively) and the assignment target, and
// binding the first word to a built-in command.
#include "shell/command_registry.h"
#include "macro/compiler.h"

namespace {

bool IsNameChar(wchar_t c) {
    if (c < 128)
        return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || (c >= L'0' && c <= L'9') ||
               c == L'#' || c == L'@' || c == L'&';
    // Letters of other scripts are the characters that have a case.
    return UpperChar(c) != c || LowerChar(c) != c;
}

bool IsBlank(wchar_t c) {
    return c == L' ' || c == L'\t';
}

void TrimChain(CPieceChain& chain) {
    if (!chain.empty() && chain.front().type == CCodePiece::LITERAL) {
        Text& t = chain.front().text;
        size_t b = 0;
        while (b < t.size() && IsBlank(t[b])) ++b;
        t.erase(0, b);
        if (t.empty()) chain.erase(chain.begin());
    }
    if (!chain.empty() && chain.back().type == CCodePiece::LITERAL) {
        Text& t = chain.back().text;
        size_t e = t.size();
        while (e > 0 && IsBlank(t[e - 1])) --e;
        t.resize(e);
        if (t.empty()) chain.pop_back();
    }
}

bool HoldsStatusCodes(const CPieceChain& chain) {
    for (const CCodePiece& p : chain)
        if (p.type == CCodePiece::LITERAL && p.text.find_first_of(L"\x02\x03") != Text::npos) return true;
    return false;
}

// The first word is bound only when the whole of it is literal text: a word
// that a variable or inline command continues is known only at run time.
void BindFirstWord(CCodeLine& line) {
    CPieceChain& chain = line.commandText;
    if (chain.empty() || chain.front().type != CCodePiece::LITERAL) return;
    Text& t = chain.front().text;
    size_t end = 0;
    while (end < t.size() && !IsBlank(t[end]) && t[end] != CODE_QUOTE) ++end;
    if (end == 0 || (end == t.size() && chain.size() > 1)) return;
    const CCommandRow* row = CCommandRegistry::Find(TextView(t).substr(0, end));
    if (!row) return;
    while (end < t.size() && IsBlank(t[end])) ++end;
    t.erase(0, end);
    if (t.empty()) chain.erase(chain.begin());
    line.command = row;
    line.flags |= CCodeLine::BOUND;
}

class CPieceCutter {
public:
    CPieceCutter(CCodeLine& line, Text& message) : m_line(line), m_message(message) {}

    bool Cut(TextView text) {
        const size_t n = text.size();
        for (size_t i = 0; i < n; ++i) {
            const wchar_t c = text[i];
            if (m_mode == INLINE) {
                if (c == CODE_QUOTE) m_quoted = !m_quoted;
                if (c == CODE_INLINE_OPEN) {
                    ++m_level;
                } else if (c == CODE_INLINE_CLOSE && --m_level == 0) {
                    if (!CloseInline(text.substr(m_inlineStart, i - m_inlineStart))) return false;
                    m_mode = LITERAL;
                }
                continue;
            }
            if (m_mode == VARIABLE) {
                if (IsNameChar(c)) {
                    m_current += c;
                    continue;
                }
                if (!CloseVariable()) return false;
                // The character that ended the name is treated as in literal text.
            }
            if (c == CODE_QUOTE) {
                m_quoted = !m_quoted;
                m_current += c;
            } else if (c == CODE_VARIABLE) {
                CloseLiteral();
                m_mode = VARIABLE;
            } else if (c == CODE_INLINE_OPEN) {
                CloseLiteral();
                m_mode = INLINE;
                m_level = 1;
                m_inlineStart = i + 1;
            } else if (c == L':' && !m_quoted && i + 1 < n && text[i + 1] == L'=') {
                CloseLiteral();
                if (m_line.hasAssign) return Fail(L"invalid multiple assignments on one command level");
                m_line.hasAssign = true;
                m_line.assignTarget = std::move(m_chain);
                m_chain.clear();
                ++i;
            } else {
                m_current += c;
            }
        }
        if (m_mode == INLINE) return Fail(L"missing ')'");
        if (m_mode == VARIABLE) {
            if (!CloseVariable()) return false;
        } else {
            CloseLiteral();
        }
        m_line.commandText = std::move(m_chain);
        return Finish();
    }

private:
    enum EMode { LITERAL, VARIABLE, INLINE };

    bool Fail(const wchar_t* message) {
        m_message = message;
        return false;
    }

    void CloseLiteral() {
        if (m_current.empty()) return;
        m_chain.push_back(CCodePiece{CCodePiece::LITERAL, std::move(m_current), nullptr});
        m_current.clear();
    }

    bool CloseVariable() {
        if (m_current.empty()) return Fail(L"invalid empty variable name");
        m_chain.push_back(CCodePiece{CCodePiece::VARIABLE, std::move(m_current), nullptr});
        m_current.clear();
        m_mode = LITERAL;
        return true;
    }

    bool CloseInline(TextView inner) {
        if (inner.empty()) return Fail(L"invalid empty inline-command");
        auto line = std::make_unique<CCodeLine>();
        line->sourceLine = m_line.sourceLine;
        if (!CompileLineText(inner, *line, m_message)) return false;
        m_chain.push_back(CCodePiece{CCodePiece::INLINE, Text(), std::move(line)});
        return true;
    }

    bool Finish() {
        TrimChain(m_line.assignTarget);
        TrimChain(m_line.commandText);
        if (m_line.hasAssign && m_line.assignTarget.empty())
            return Fail(L"invalid assignment - target is empty");
        if (HoldsStatusCodes(m_line.assignTarget)) m_line.flags |= CCodeLine::TARGET_HAS_STATUS;
        if (HoldsStatusCodes(m_line.commandText)) m_line.flags |= CCodeLine::COMMAND_HAS_STATUS;
        if (m_line.Kind() != CCodeLine::STATEMENT) {
            if (m_line.hasAssign) return Fail(L"control commands can not be used in an assignment");
            return true;
        }
        if (!m_line.hasAssign && m_line.commandText.empty()) return Fail(L"invalid empty sub-command");
        BindFirstWord(m_line);
        return true;
    }

    CCodeLine& m_line;
    Text& m_message;
    CPieceChain m_chain;
    Text m_current;
    EMode m_mode = LITERAL;
    bool m_quoted = false;
    int m_level = 0;
    size_t m_inlineStart = 0;
};

} // namespace

bool CompileLineText(TextView text, CCodeLine& line, Text& message) {
    line.flags &= CCodeLine::KIND_MASK;
    line.command = nullptr;
    line.hasAssign = false;
    line.assignTarget.clear();
    line.commandText.clear();
    return CPieceCutter(line, message).Cut(text);
}

bool CompileRunTimeLine(TextView sourceText, CCodeLine& line, Text& message) {
    Text converted = ConvertSourceLine(sourceText);
    size_t begin = 0;
    while (begin < converted.size() && converted[begin] <= L' ' && converted[begin] != CODE_QUOTE) ++begin;
    size_t end = begin;
    while (end < converted.size() && converted[end] > L' ') ++end;
    const TextView first = TextView(converted).substr(begin, end - begin);
    if (EqualNoCase(first, L"EXIT"))
        line.flags = CCodeLine::EXIT;
    else if (EqualNoCase(first, L"GOTO"))
        line.flags = CCodeLine::COMPUTED_GOTO;
    if (line.Kind() != CCodeLine::STATEMENT) converted.erase(0, end);
    return CompileLineText(converted, line, message);
}
