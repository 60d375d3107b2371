// Text files (lines from the front of the read text, the appending writer)
// and section files (the scanner of lines and headings, sections by heading,
// writing back with SYNC).
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "items/shell_file.h"
#include "items/text_codec.h"
#include "shell/rc_codes.h"

// Text files ---------------------------------------------------------------------------------

// The line ends at the first CR or LF; with none, at the last character, so a
// last line without a line end loses its final character. The result is the
// end when that position is 0, even if text follows: macros written for this
// rely on both, so they stay.
int CShellFile::ReadLine(Text& line, bool& end) {
    line.clear();
    end = true;
    if (Type() != FILE_TYPE_TEXT) return RC_TEXT_OR_SECTION_EXPECTED;
    if (m_fd < 0) return RC_FILE_NOT_OPEN;
    if (Access() & (FILE_ACCESS_WRITE | FILE_ACCESS_APPEND)) return RC_NOT_OPEN_FOR_READING;
    const size_t rest = m_sText.size() - m_nTextPos;
    if (rest == 0) return 0;
    const TextView text = TextView(m_sText).substr(m_nTextPos);
    size_t at = text.find_first_of(L"\r\n");
    const bool terminated = at != TextView::npos;
    if (!terminated) at = rest - 1;
    line = Text(text.substr(0, at));
    end = at == 0;
    size_t consumed = at + 1;
    if (terminated && text[at] == L'\r' && at + 1 < rest && text[at + 1] == L'\n') ++consumed;
    m_nTextPos += consumed;
    return 0;
}

int CShellFile::TextLines(std::vector<Text>& lines) const {
    if (Type() != FILE_TYPE_TEXT) return RC_TEXT_OR_SECTION_EXPECTED;
    if (m_fd < 0) return RC_FILE_NOT_OPEN;
    if (Access() & (FILE_ACCESS_WRITE | FILE_ACCESS_APPEND)) return RC_NOT_OPEN_FOR_READING;
    const TextView text = TextView(m_sText).substr(m_nTextPos);
    size_t start = 0;
    size_t i = 0;
    while (i < text.size()) {
        const wchar_t c = text[i];
        if (c != L'\r' && c != L'\n') {
            ++i;
            continue;
        }
        lines.emplace_back(text.substr(start, i - start));
        ++i;
        // CR LF and LF CR are one break.
        if (i < text.size() && (text[i] == L'\r' || text[i] == L'\n') && text[i] != c) ++i;
        start = i;
    }
    if (start < text.size()) lines.emplace_back(text.substr(start));
    return 0;
}

int CShellFile::WriteText(TextView text) {
    if (Type() != FILE_TYPE_TEXT) return RC_TEXT_OR_SECTION_EXPECTED;
    if (m_fd < 0) return RC_FILE_NOT_OPEN;
    if (!(Access() & (FILE_ACCESS_WRITE | FILE_ACCESS_APPEND))) return RC_NOT_OPEN_FOR_WRITING;
    // Always at the end: the writer may have rewritten the whole file as UTF-8.
    ::lseek(m_fd, 0, SEEK_END);
    if (!::WriteText(m_fd, text)) return RC_TEXT_WRITE_FAILED;
    ++m_nChanged;
    return 0;
}

// Section files ---------------------------------------------------------------------------------

namespace {

enum EScan { SCAN_SKIP, SCAN_LINE, SCAN_COMMENT, SCAN_BLOCK };

bool IsBlank(wchar_t c) {
    return c == L' ' || c == L'\t';
}

// "[type name] rest": the heading "type name" or "type"; false for an ordinary line.
bool HeadingOf(const Text& line, Text& heading) {
    if (line.empty() || line[0] != L'[') return false;
    const size_t close = line.find(L']');
    if (close == Text::npos) return false;
    const Text inner = Trim(TextView(line).substr(1, close - 1));
    const size_t blank = inner.find_first_of(L" \t");
    const Text type = Trim(TextView(inner).substr(0, blank));
    if (type.empty()) return false;
    const Text name = blank == Text::npos ? Text() : Trim(TextView(inner).substr(blank + 1));
    heading = name.empty() ? type : type + L' ' + name;
    return true;
}

void EndLine(Text& line, std::vector<SFileLine>& out) {
    while (!line.empty() && line.back() == L' ') line.pop_back();
    if (!line.empty()) {
        SFileLine entry;
        entry.heading = HeadingOf(line, entry.text);
        if (!entry.heading) entry.text = std::move(line);
        out.push_back(std::move(entry));
    }
    line.clear();
}

Text HeadingText(TextView type, TextView name) {
    if (name.empty() || name == L"*") return Text(type);
    return Text(type) + L' ' + Text(name);
}

} // namespace

// Comments end at a CR or an LF alike, so files written with Unix line ends
// keep the lines behind a comment.
void CShellFile::ScanSection(TextView text, std::vector<SFileLine>& out) {
    EScan state = SCAN_SKIP;
    Text line;
    bool blockCrossedEnd = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const wchar_t c = text[i];
        const wchar_t next = i + 1 < text.size() ? text[i + 1] : 0;
        switch (state) {
        case SCAN_SKIP:
            if (IsBlank(c) || c == L'\r' || c == L'\n') break;
            state = SCAN_LINE;
            [[fallthrough]];
        case SCAN_LINE:
            if (c == L'/' && next == L'/') {
                state = SCAN_COMMENT;
                ++i;
            } else if (c == L'/' && next == L'*') {
                state = SCAN_BLOCK;
                blockCrossedEnd = false;
                ++i;
            } else if (c == L'\r' || c == L'\n') {
                if (c == L'\r' && next == L'\n') ++i;
                EndLine(line, out);
                state = SCAN_SKIP;
            } else if (IsBlank(c)) {
                if (line.empty() || line.back() != L' ') line += L' ';
            } else {
                line += c;
            }
            break;
        case SCAN_COMMENT:
            if (c == L'\r' || c == L'\n') {
                EndLine(line, out);
                state = SCAN_SKIP;
            }
            break;
        case SCAN_BLOCK:
            if (c == L'\r' || c == L'\n') {
                blockCrossedEnd = true;
            } else if (c == L'*' && next == L'/') {
                ++i;
                if (blockCrossedEnd) {
                    EndLine(line, out);
                    state = SCAN_SKIP;
                } else {
                    if (!line.empty() && line.back() != L' ') line += L' ';
                    state = SCAN_LINE;
                }
            }
            break;
        }
    }
    EndLine(line, out);
}

bool CShellFile::SectionLines(TextView type, TextView name, std::vector<Text>& out) const {
    const Text wanted = HeadingText(type, name);
    size_t i = 0;
    while (i < m_lines.size() && !(m_lines[i].heading && EqualNoCase(m_lines[i].text, wanted))) ++i;
    if (i == m_lines.size()) return false;
    for (++i; i < m_lines.size() && !m_lines[i].heading; ++i) out.push_back(m_lines[i].text);
    return true;
}

void CShellFile::ReplaceSection(TextView type, TextView name, const std::vector<Text>* rows) {
    const Text wanted = HeadingText(type, name);
    size_t i = 0;
    while (i < m_lines.size() && !(m_lines[i].heading && EqualNoCase(m_lines[i].text, wanted))) ++i;
    if (i < m_lines.size()) {
        size_t end = i + 1;
        while (end < m_lines.size() && !m_lines[end].heading) ++end;
        m_lines.erase(m_lines.begin() + static_cast<long>(i), m_lines.begin() + static_cast<long>(end));
    }
    m_bModified = true;
    ++m_nChanged;
    if (!rows || rows->empty()) return;
    m_lines.push_back({wanted, true});
    for (const Text& row : *rows) m_lines.push_back({row, false});
}

void CShellFile::Headings(TextView type, TextView name, std::vector<Text>& out) const {
    const bool exact = !name.empty() && name != L"*";
    const Text wanted = HeadingText(type, name);
    for (const SFileLine& line : m_lines) {
        if (!line.heading) continue;
        if (exact ? EqualNoCase(line.text, wanted) : StartsWithNoCase(line.text, type))
            out.push_back(line.text);
    }
}

int CShellFile::Sync() {
    if (Type() != FILE_TYPE_SECTION) return RC_TEXT_OR_SECTION_EXPECTED;
    if (!m_bModified) return 0;
    if (m_fd < 0) return RC_FILE_NOT_OPEN;
    if (!(Access() & FILE_ACCESS_WRITE)) return RC_NOT_OPEN_FOR_WRITING;
    // Lines ahead of the first heading belong to no section and are not written.
    Text text;
    bool started = false;
    for (const SFileLine& line : m_lines) {
        started = started || line.heading;
        if (!started) continue;
        if (line.heading) {
            text += L'[';
            text += line.text;
            text += L"]\r\n";
        } else {
            text += line.text;
            text += L"\r\n";
        }
    }
    if (::ftruncate(m_fd, 0) != 0 || ::lseek(m_fd, 0, SEEK_SET) != 0) return RC_COMMAND_ERROR;
    if (!::WriteText(m_fd, text)) return RC_COMMAND_ERROR;
    m_bModified = false;
    return 0;
}
