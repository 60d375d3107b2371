// A table row as text, in both directions: the storage form that files and
// the clipboard carry (separators, named IO, number formats, missing values)
// and the display form of list controls and status reads.
#include <cmath>

#include "expr/format_engine.h"
#include "items/shell_table.h"
#include "items/table_data.h"
#include "shell/rc_codes.h"

namespace {

// The separator of a row text: a blank or a tab (with "%t") counts as a run
// and leading ones are skipped; any other text is exact and empty tokens count.
struct SSeparator {
    Text text;
    bool run = false;
};

SSeparator RowSeparator(const Text& lsep) {
    if (lsep == L" ") return {L" ", true};
    if (lsep == L"\t" || EqualNoCase(lsep, L"%t")) return {L"\t", true};
    return {lsep, false};
}

std::vector<Text> SplitRow(TextView text, const SSeparator& sep) {
    std::vector<Text> tokens;
    if (sep.text.empty()) {
        tokens.emplace_back(text);
        return tokens;
    }
    if (sep.run) {
        const wchar_t c = sep.text[0];
        size_t i = 0;
        while (i < text.size()) {
            while (i < text.size() && text[i] == c) ++i;
            if (i >= text.size()) break;
            size_t end = text.find(c, i);
            if (end == TextView::npos) end = text.size();
            tokens.emplace_back(text.substr(i, end - i));
            i = end;
        }
        return tokens;
    }
    size_t start = 0;
    for (;;) {
        const size_t end = text.find(sep.text, start);
        if (end == TextView::npos) {
            tokens.emplace_back(text.substr(start));
            break;
        }
        tokens.emplace_back(text.substr(start, end - start));
        start = end + sep.text.size();
    }
    return tokens;
}

Text MissingSymbolText(const Text& symbol) {
    if (EqualNoCase(symbol, L"<blank>")) return L" ";
    if (EqualNoCase(symbol, L"<empty>")) return {};
    return symbol;
}

Text FormatWith(const Text& format, double value, wchar_t decimal, const Text& fallback) {
    if (format.empty()) return fallback;
    Text out;
    int error = 0;
    if (!FormatNumber(format, out, error, value, decimal)) return fallback;
    return out;
}

} // namespace

int CShellTable::SetRowText(long row, TextView text) {
    CItemSection hold(m_cs);
    if (row < 0 || row >= m_nRows) return RC_NO_SUCH_ENTRY_INDEX;
    const std::vector<Text> tokens = SplitRow(text, RowSeparator(m_sLSep));
    int code = 0;
    auto put = [&](int field, Text value) {
        const CShellTableField& f = m_pFields[field];
        if (f.Numeric()) {
            if (f.m_bMissing && !f.m_sMissing.empty() && value == f.m_sMissing)
                value = DoubleText(f.m_dMissing);
            if (m_cDecimal != L'.') {
                const size_t at = value.find(m_cDecimal);
                if (at != Text::npos) value[at] = L'.';
            }
        }
        const int c = WriteCellText(*m_ppRows[row], field, value);
        if (c && !code) code = c;
    };
    if (!m_bNamedIO) {
        int field = 0;
        for (const Text& token : tokens) {
            while (field < m_nFields && !m_pFields[field].Defined()) ++field;
            if (field >= m_nFields) break;
            put(field++, token);
        }
    } else {
        for (const Text& token : tokens) {
            const size_t at = m_sVSep.empty() ? Text::npos : token.find(m_sVSep);
            if (at == Text::npos) continue;
            const int field = FindField(Trim(TextView(token).substr(0, at)));
            if (field < 0) {
                if (!code) code = RC_NO_SUCH_FIELD;
                continue;
            }
            put(field, Trim(TextView(token).substr(at + m_sVSep.size())));
        }
    }
    m_nChanged |= TABLE_CHANGED_CONTENT;
    return code;
}

Text CShellTable::RowText(long row, bool storageForm) const {
    auto& cs = const_cast<std::recursive_mutex&>(m_cs);
    CItemSection hold(cs);
    if (row < 0 || row >= m_nRows) return {};
    const Text sep = RowSeparator(m_sLSep).text;
    Text out;
    bool first = true;
    for (int f = 0; f < m_nFields; ++f) {
        const CShellTableField& field = m_pFields[f];
        if (!field.Defined()) continue;
        if (!storageForm) {
            if (!field.m_bVisible) continue;
            if (!first) out += sep;
            first = false;
            if (field.m_bNamed) out += field.m_sName + m_sVSep;
            out += DisplayCell(row, f);
            continue;
        }
        Text cell;
        GetCell(row, f, cell);
        const bool empty = cell.empty() && !IsParameter();
        if (m_bNamedIO && empty) continue;
        if (!empty && field.Numeric()) {
            double value = 0;
            GetNumber(row, f, value);
            if (field.m_bMissing && value == field.m_dMissing)
                cell = field.m_sMissing;
            else if (field.m_nType == FIELD_INTEGER)
                cell = FormatWith(m_sIntFormat, value, L'.', IntText(static_cast<long long>(value)));
            else
                cell = FormatWith(m_sNumFormat, value, L'.', DoubleText(value));
        }
        if (!first) out += sep;
        first = false;
        if (m_bNamedIO) out += Format(L"%d%s", f, m_sVSep.c_str());
        out += cell;
    }
    return out;
}

Text CShellTable::DisplayCell(long row, int field) const {
    auto& cs = const_cast<std::recursive_mutex&>(m_cs);
    CItemSection hold(cs);
    if (row < 0 || row >= m_nRows || field < 0 || field >= m_nFields) return {};
    const CShellTableField& f = m_pFields[field];
    if (f.Numeric()) {
        double value = 0;
        if (!GetNumber(row, field, value)) return {};
        if (f.m_bMissing && value == f.m_dMissing) return MissingSymbolText(f.m_sMissing);
        const double scaled = value * f.m_dScale;
        const Text plain = f.m_nType == FIELD_INTEGER ? IntText(static_cast<long long>(std::trunc(scaled)))
                                                      : DoubleText(scaled);
        return FormatWith(f.m_sFormat, scaled, m_cDecimal, plain);
    }
    Text cell;
    GetCell(row, field, cell);
    if (f.m_sFormat.empty() || cell.empty()) return cell;
    Text out;
    int error = 0;
    if (!FormatText(1, &cell, f.m_sFormat, out, error)) return cell;
    return out;
}
