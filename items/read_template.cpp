// The template cutting shared by READVAR, READSTR, READ and READTAB.
#include "items/read_template.h"

#include <algorithm>
#include <vector>

#include "shell/options.h"
#include "shell/shell.h"

namespace {

// The language's quote inside a text: a value that holds it splits into the
// same words as the line it came from.
constexpr wchar_t kQuote = wchar_t(1);

// A source text cut by a template of variable names and quoted literals.
class CTemplateReader {
public:
    CTemplateReader(TextView text, bool keep, const wchar_t* escape) : m_keep(keep) {
        m_cells.reserve(text.size());
        for (size_t i = 0; i < text.size(); ++i) {
            if (escape && text[i] == *escape && i + 1 < text.size()) {
                m_cells.push_back({text[++i], true});
            } else {
                m_cells.push_back({text[i], false});
            }
        }
    }

    // The next word: blanks skipped, then up to a blank. A quoted word is one
    // word whatever it holds, and its quotes go.
    bool NextWord(Text& out) {
        SkipBlanks();
        if (m_pos >= m_cells.size()) return false;
        if (IsQuote(m_pos)) {
            const size_t end = ClosingQuote(m_pos);
            out = Chars(m_pos + 1, end);
            m_pos = std::min(end + 1, m_cells.size());
            return true;
        }
        const size_t begin = m_pos;
        while (m_pos < m_cells.size() && !IsBlank(m_pos) && !IsQuote(m_pos)) ++m_pos;
        out = Chars(begin, m_pos);
        return true;
    }

    // Everything up to the literal, which is passed over; the rest when it is not there.
    bool UpTo(TextView literal, Text& out) {
        if (!m_keep) SkipBlanks();
        if (m_pos >= m_cells.size()) return false;
        const size_t at = Find(literal);
        const size_t end = at == Text::npos ? m_cells.size() : at;
        out = Piece(m_pos, end);
        m_pos = at == Text::npos ? m_cells.size() : at + Literal(literal).size();
        return true;
    }

    bool Rest(Text& out) {
        if (!m_keep) SkipBlanks();
        if (m_pos >= m_cells.size()) return false;
        out = Piece(m_pos, m_cells.size());
        m_pos = m_cells.size();
        return true;
    }

    // A literal with no variable in front of it: passed over where it is found.
    void Skip(TextView literal) {
        const size_t at = Find(literal);
        if (at != Text::npos) m_pos = at + Literal(literal).size();
    }

private:
    struct SCell {
        wchar_t c;
        bool fixed; // escaped: taken as it stands, never a blank, quote or separator
    };

    static TextView Literal(TextView literal) { return literal.empty() ? TextView(L" ") : literal; }
    bool IsBlank(size_t i) const {
        return !m_cells[i].fixed && (m_cells[i].c == L' ' || m_cells[i].c == L'\t');
    }
    bool IsQuote(size_t i) const { return !m_cells[i].fixed && m_cells[i].c == kQuote; }
    void SkipBlanks() {
        while (m_pos < m_cells.size() && IsBlank(m_pos)) ++m_pos;
    }
    // The quote that closes the one at `open`; the end when there is none.
    size_t ClosingQuote(size_t open) const {
        size_t i = open + 1;
        while (i < m_cells.size() && !IsQuote(i)) ++i;
        return i;
    }
    // A literal inside a quoted word is part of the word, not a separator.
    size_t Find(TextView literal) const {
        literal = Literal(literal);
        for (size_t i = m_pos; i + literal.size() <= m_cells.size();) {
            if (IsQuote(i)) {
                i = ClosingQuote(i) + 1;
                continue;
            }
            size_t k = 0;
            while (k < literal.size() && !m_cells[i + k].fixed && m_cells[i + k].c == literal[k]) ++k;
            if (k == literal.size()) return i;
            ++i;
        }
        return Text::npos;
    }
    Text Chars(size_t begin, size_t end) const {
        Text out;
        out.reserve(end - begin);
        for (size_t i = begin; i < end; ++i) out += m_cells[i].c;
        return out;
    }
    // Trimmed unless the parts are kept as they stand; a part that is one
    // quoted word loses its quotes.
    Text Piece(size_t begin, size_t end) const {
        if (!m_keep) {
            while (begin < end && IsBlank(begin)) ++begin;
            while (end > begin && IsBlank(end - 1)) --end;
        }
        if (end - begin >= 2 && IsQuote(begin) && ClosingQuote(begin) == end - 1)
            return Chars(begin + 1, end - 1);
        return Chars(begin, end);
    }

    std::vector<SCell> m_cells;
    size_t m_pos = 0;
    bool m_keep;
};

} // namespace

int ReadTemplate(CShell& shell, const Text& source, const CWords& pattern, const COptions& options) {
    auto isVariable = [](const SWord& w) { return w.kind != SWord::Quoted; };

    if (HasOption(options, L"Dd"))
        for (const SWord& w : pattern)
            if (isVariable(w)) shell.SetVar(w.text, L"");

    int count = 0;
    if (HasOption(options, L"Nn")) {
        const auto first = std::find_if(pattern.begin(), pattern.end(), isVariable);
        if (first != pattern.end()) {
            shell.SetVar(first->text, source);
            count = 1;
        }
    } else {
        const SOption* escape = FindOption(options, L"Ee");
        const wchar_t* escapeChar = escape ? (escape->text.empty() ? L"`" : escape->text.c_str()) : nullptr;
        CTemplateReader reader(source, HasOption(options, L"Tt"), escapeChar);
        for (size_t i = 0; i < pattern.size(); ++i) {
            const SWord& w = pattern[i];
            if (!isVariable(w)) {
                reader.Skip(w.text);
                continue;
            }
            Text part;
            bool got;
            if (i + 1 == pattern.size()) {
                got = reader.Rest(part);
            } else if (!isVariable(pattern[i + 1])) {
                got = reader.UpTo(pattern[++i].text, part);
            } else {
                got = reader.NextWord(part);
            }
            // A variable the text does not reach keeps its value: macro
            // arguments that were not passed keep their defaults.
            if (!got) continue;
            shell.SetVar(w.text, part);
            ++count;
        }
    }
    shell.SetVar(L"#READ", IntText(count));
    return count;
}
