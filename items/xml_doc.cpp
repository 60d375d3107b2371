#include "items/xml_doc.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "items/text_codec.h"

namespace {

constexpr const wchar_t* kDelimiters = L"<>=\\/?!";
// Deeper nesting than this is refused instead of running the parser's stack out.
constexpr int kMaxDepth = 4000;
thread_local int t_depth = 0;

bool IsDelimiter(wchar_t c) {
    return std::wcschr(kDelimiters, c) != nullptr && c != 0;
}

// The text of a CDATA node. The node scanner takes any "<![" up to "]]>", so a
// node need not begin with the full "<![CDATA[".
Text CDataInner(TextView node) {
    const size_t head = node.starts_with(L"<![CDATA[") && node.size() >= 12 ? 9 : 3;
    if (node.size() < head + 3) return Text();
    return Text(node.substr(head, node.size() - head - 3));
}

} // namespace

CXMLDoc::CXMLDoc() {
    Clear();
}

void CXMLDoc::Clear() {
    Lock lock(m_cs);
    m_text.clear();
    m_message.clear();
    m_failed = false;
    m_records.assign(16, SXMLElement{});
    m_records[0] = SXMLElement{-1, -1, 0, 0, 0, 0, 0, 0};
    m_count = 1;
    m_cursor = SXMLCursor{};
    m_positions.clear();
}

int CXMLDoc::NewRecord() {
    if (m_count >= m_records.size()) m_records.resize(m_records.size() + m_records.size() / 2);
    m_records[m_count] = SXMLElement{};
    return static_cast<int>(m_count++);
}

bool CXMLDoc::Fail(const Text& message) {
    if (!m_failed) m_message = message;
    m_failed = true;
    return false;
}

CXMLDoc::SToken CXMLDoc::NextToken(size_t& i, size_t limit) const {
    SToken token;
    while (i < limit && IsSpace(m_text[i])) ++i;
    if (i >= limit) return token;
    token.found = true;
    token.start = i;
    const wchar_t c = m_text[i];
    if (c == L'"' || c == L'\'') {
        const size_t close = m_text.find(c, i + 1);
        token.quoted = true;
        token.end = (close == Text::npos || close >= limit) ? limit : close + 1;
    } else if (IsDelimiter(c)) {
        token.end = i + 1;
    } else {
        size_t j = i;
        while (j < limit && !IsSpace(m_text[j]) && !IsDelimiter(m_text[j])) ++j;
        token.end = j;
    }
    i = token.end;
    return token;
}

SXMLNode CXMLDoc::ScanNode(size_t i) const {
    SXMLNode node;
    const size_t length = m_text.size();
    if (i >= length) return node;
    node.start = i;
    if (m_text[i] != L'<') {
        size_t j = i;
        while (j < length && IsSpace(m_text[j])) ++j;
        if (j >= length || m_text[j] == L'<') {
            node.type = XML_WHITESPACE;
            node.end = j;
        } else {
            const size_t lt = m_text.find(L'<', j);
            node.type = XML_TEXT;
            node.end = lt == Text::npos ? length : lt;
        }
        return node;
    }
    auto until = [&](const wchar_t* terminator, size_t from, int type) {
        const size_t at = from <= length ? m_text.find(terminator, from) : Text::npos;
        if (at == Text::npos) return node;
        node.type = type;
        node.end = at + std::wcslen(terminator);
        return node;
    };
    if (m_text.compare(i, 2, L"<?") == 0) return until(L"?>", i + 2, XML_PROC);
    if (m_text.compare(i, 3, L"<!-") == 0) return until(L"-->", i + 4, XML_COMMENT);
    if (m_text.compare(i, 3, L"<![") == 0) return until(L"]]>", i + 3, XML_CDATA);
    if (m_text.compare(i, 2, L"<!") == 0) {
        size_t j = i + 2;
        int depth = 0;
        for (;;) {
            const SToken token = NextToken(j, length);
            if (!token.found) return node;
            if (token.quoted || token.end != token.start + 1) continue;
            const wchar_t c = m_text[token.start];
            if (c == L'[') ++depth;
            if (c == L']') --depth;
            if (c == L'>' && depth <= 0) {
                node.type = XML_DOCTYPE;
                node.end = token.end;
                return node;
            }
        }
    }
    if (m_text.compare(i, 2, L"</") == 0) return node;
    node.type = XML_ELEMENT;
    node.end = i + 1;
    return node;
}

bool CXMLDoc::Parse(Text text) {
    Lock lock(m_cs);
    Text keep = std::move(text);
    Clear();
    m_text = std::move(keep);
    m_records[0].closeStart = m_records[0].closeEnd = static_cast<int32_t>(m_text.size());
    size_t i = 0;
    t_depth = 0;
    const int root = ParseElement(0, i);
    if (m_failed) return false;
    if (root == 0) return Fail(L"Element tag not found");
    m_records[0].firstChild = root;
    return true;
}

int CXMLDoc::ParseElement(int parent, size_t& i) {
    const size_t length = m_text.size();
    for (;;) {
        const size_t lt = m_text.find(L'<', i);
        if (lt == Text::npos) {
            Fail(L"Element tag not found");
            return 0;
        }
        size_t j = lt + 1;
        const SToken token = NextToken(j, length);
        if (!token.found) {
            Fail(L"Abrupt end within tag");
            return 0;
        }
        if (token.quoted) {
            Fail(L"Tag starts with quote");
            return 0;
        }
        const wchar_t first = m_text[token.start];
        if (token.end == token.start + 1 && (first == L'?' || first == L'!')) {
            const SXMLNode node = ScanNode(lt);
            if (node.type == 0) {
                Fail(L"Invalid node");
                return 0;
            }
            i = node.end;
            continue;
        }
        if (token.end == token.start + 1 && first == L'/') {
            i = lt;
            return 0;
        }
        // Quotes are not looked at: a ">" inside an attribute value ends the tag.
        const size_t gt = m_text.find(L'>', token.start);
        if (gt == Text::npos) {
            Fail(L"End of tag not found");
            return 0;
        }
        const int record = NewRecord();
        SXMLElement& element = m_records[record];
        element.tagStart = static_cast<int32_t>(lt);
        element.tagEnd = static_cast<int32_t>(gt);
        element.parent = parent;
        if (m_text[gt - 1] == L'/') {
            element.closeStart = static_cast<int32_t>(gt - 1);
            element.closeEnd = static_cast<int32_t>(gt);
            i = gt + 1;
            return record;
        }
        i = gt + 1;
        if (++t_depth > kMaxDepth) {
            Fail(L"Element nesting too deep");
            return 0;
        }
        const bool ok = ParseChildren(record, i);
        --t_depth;
        return ok ? record : 0;
    }
}

bool CXMLDoc::ParseChildren(int element, size_t& i) {
    const Text tag = Tag(element);
    int last = 0;
    for (;;) {
        if (m_text.find(L'<', i) == Text::npos)
            return Fail(Format(L"End tag of %s element not found", tag.c_str()));
        const int child = ParseElement(element, i);
        if (m_failed) return false;
        if (child == 0) break;
        if (last == 0)
            m_records[element].firstChild = child;
        else
            m_records[last].nextSibling = child;
        last = child;
    }
    const size_t length = m_text.size();
    const size_t lt = i;
    size_t j = lt + 1;
    SToken token = NextToken(j, length);
    if (!token.found || token.quoted || m_text.compare(token.start, token.end - token.start, L"/") != 0)
        return Fail(Format(L"Expecting end tag of element %s", tag.c_str()));
    token = NextToken(j, length);
    if (!token.found || token.quoted || m_text.compare(token.start, token.end - token.start, tag) != 0)
        return Fail(Format(L"End tag does not correspond to %s", tag.c_str()));
    for (;;) {
        token = NextToken(j, length);
        if (!token.found) return Fail(Format(L"End tag not completed for element %s", tag.c_str()));
        if (!token.quoted && token.end == token.start + 1 && m_text[token.start] == L'>') break;
    }
    m_records[element].closeStart = static_cast<int32_t>(lt);
    m_records[element].closeEnd = static_cast<int32_t>(j - 1);
    i = j;
    return true;
}

// --- Records and cursor ------------------------------------------------------------------

int CXMLDoc::Root() const {
    Lock lock(m_cs);
    return m_records[0].firstChild;
}

bool CXMLDoc::IsLive(int index) const {
    return index > 0 && static_cast<size_t>(index) < m_count && m_records[index].spare != -1;
}

Text CXMLDoc::Tag(int element) const {
    Lock lock(m_cs);
    if (!IsLive(element)) return Text();
    size_t j = m_records[element].tagStart + 1;
    const SToken token = NextToken(j, m_records[element].tagEnd + 1);
    if (!token.found || token.quoted) return Text();
    return m_text.substr(token.start, token.end - token.start);
}

Text CXMLDoc::ElementText(int element) const {
    Lock lock(m_cs);
    if (!IsLive(element)) return Text();
    const SXMLElement& r = m_records[element];
    return m_text.substr(r.tagStart, r.closeEnd + 1 - r.tagStart);
}

int CXMLDoc::ChildCount(int element) const {
    Lock lock(m_cs);
    int n = 0;
    for (int c = m_records[element].firstChild; c; c = m_records[c].nextSibling) ++n;
    return n;
}

SXMLCursor CXMLDoc::GetCursor() const {
    Lock lock(m_cs);
    return m_cursor;
}

void CXMLDoc::SetCursor(const SXMLCursor& cursor) {
    Lock lock(m_cs);
    m_cursor = cursor;
}

bool CXMLDoc::CursorValid(const SXMLCursor& cursor) const {
    Lock lock(m_cs);
    if (cursor.parent != 0 && !IsLive(cursor.parent)) return false;
    if (cursor.element != 0 && !IsLive(cursor.element)) return false;
    return cursor.nodeType == 0 || static_cast<size_t>(cursor.nodeStart + cursor.nodeLength) <= m_text.size();
}

void CXMLDoc::GoStart() {
    Lock lock(m_cs);
    m_cursor = SXMLCursor{};
}

int CXMLDoc::Current() const {
    Lock lock(m_cs);
    return m_cursor.nodeType == 0 && IsLive(m_cursor.element) ? m_cursor.element : 0;
}

int CXMLDoc::Resolve(int element) const {
    return element ? (IsLive(element) ? element : 0) : Current();
}

void CXMLDoc::GoElement(int element) {
    Lock lock(m_cs);
    if (!IsLive(element)) return;
    m_cursor = SXMLCursor{};
    m_cursor.parent = m_records[element].parent;
    m_cursor.element = element;
}

bool CXMLDoc::NextElement(TextView tag) {
    Lock lock(m_cs);
    int candidate;
    if (m_cursor.nodeType != 0) {
        candidate = m_records[m_cursor.parent].firstChild;
        while (candidate && m_records[candidate].tagStart < m_cursor.nodeStart + m_cursor.nodeLength)
            candidate = m_records[candidate].nextSibling;
    } else if (m_cursor.element) {
        candidate = m_records[m_cursor.element].nextSibling;
    } else {
        candidate = m_records[m_cursor.parent].firstChild;
    }
    for (; candidate; candidate = m_records[candidate].nextSibling) {
        if (tag.empty() || EqualNoCase(Tag(candidate), tag)) {
            GoElement(candidate);
            return true;
        }
    }
    return false;
}

bool CXMLDoc::FirstElement(TextView tag) {
    Lock lock(m_cs);
    for (int c = m_records[m_cursor.parent].firstChild; c; c = m_records[c].nextSibling) {
        if (tag.empty() || EqualNoCase(Tag(c), tag)) {
            GoElement(c);
            return true;
        }
    }
    return false;
}

bool CXMLDoc::LastElement(TextView tag) {
    Lock lock(m_cs);
    int found = 0;
    for (int c = m_records[m_cursor.parent].firstChild; c; c = m_records[c].nextSibling)
        if (tag.empty() || EqualNoCase(Tag(c), tag)) found = c;
    if (!found) return false;
    GoElement(found);
    return true;
}

bool CXMLDoc::NextNode(int mask) {
    Lock lock(m_cs);
    const SXMLElement& parent = m_records[m_cursor.parent];
    size_t pos, limit;
    if (m_cursor.parent == 0) {
        limit = m_text.size();
    } else {
        if (parent.closeEnd == parent.tagEnd) return false;
        limit = parent.closeStart;
    }
    if (m_cursor.nodeType != 0)
        pos = m_cursor.nodeStart + m_cursor.nodeLength;
    else if (m_cursor.element)
        pos = m_records[m_cursor.element].closeEnd + 1;
    else
        pos = m_cursor.parent == 0 ? 0 : parent.tagEnd + 1;
    int before = m_cursor.nodeType != 0 || m_cursor.element ? m_cursor.element : 0;
    while (pos < limit) {
        const SXMLNode node = ScanNode(pos);
        if (node.type == 0) return false;
        if (node.type == XML_ELEMENT) {
            int child = m_records[m_cursor.parent].firstChild;
            while (child && static_cast<size_t>(m_records[child].tagStart) != pos)
                child = m_records[child].nextSibling;
            if (!child) return false;
            if (mask == 0 || (mask & XML_ELEMENT)) {
                GoElement(child);
                return true;
            }
            before = child;
            pos = m_records[child].closeEnd + 1;
            continue;
        }
        const size_t end = std::min(node.end, limit);
        if (mask == 0 || (mask & node.type)) {
            m_cursor.element = before;
            m_cursor.nodeType = node.type;
            m_cursor.nodeStart = static_cast<int32_t>(pos);
            m_cursor.nodeLength = static_cast<int32_t>(end - pos);
            return true;
        }
        pos = end;
    }
    return false;
}

bool CXMLDoc::Enter() {
    Lock lock(m_cs);
    const int element = Current();
    if (!element) return false;
    m_cursor = SXMLCursor{};
    m_cursor.parent = element;
    return true;
}

bool CXMLDoc::Leave() {
    Lock lock(m_cs);
    if (m_cursor.parent == 0 || !IsLive(m_cursor.parent)) return false;
    GoElement(m_cursor.parent);
    return true;
}

// --- Reading -------------------------------------------------------------------------------

size_t CXMLDoc::AttributeEnd(int element) const {
    const SXMLElement& r = m_records[element];
    size_t end = r.closeEnd == r.tagEnd ? r.closeStart : r.tagEnd;
    while (end > static_cast<size_t>(r.tagStart) && IsSpace(m_text[end - 1])) --end;
    return end;
}

bool CXMLDoc::FindAttribute(int element, TextView name, size_t& nameStart, size_t& valueStart,
                            size_t& valueEnd, bool& quoted) const {
    const SXMLElement& r = m_records[element];
    const size_t limit = r.closeEnd == r.tagEnd ? r.closeStart : r.tagEnd;
    size_t j = r.tagStart + 1;
    NextToken(j, limit); // the tag
    for (;;) {
        const SToken token = NextToken(j, limit);
        if (!token.found) return false;
        if (token.quoted || IsDelimiter(m_text[token.start])) continue;
        size_t k = j;
        const SToken equals = NextToken(k, limit);
        size_t vs = token.end, ve = token.end;
        bool q = false;
        if (equals.found && !equals.quoted && m_text[equals.start] == L'=') {
            const SToken value = NextToken(k, limit);
            if (value.found) {
                j = k;
                q = value.quoted;
                vs = q ? value.start + 1 : value.start;
                ve = value.end;
                if (q && ve > vs && m_text[ve - 1] == m_text[value.start]) --ve;
            }
        }
        if (m_text.compare(token.start, token.end - token.start, name.data(), name.size()) == 0 &&
            token.end - token.start == name.size()) {
            nameStart = token.start;
            valueStart = vs;
            valueEnd = ve;
            quoted = q;
            return true;
        }
    }
}

bool CXMLDoc::GetAttribute(TextView name, Text& value, int element) const {
    Lock lock(m_cs);
    element = Resolve(element);
    if (!element) return false;
    size_t ns, vs, ve;
    bool quoted;
    if (!FindAttribute(element, name, ns, vs, ve, quoted)) return false;
    value = Unescape(TextView(m_text).substr(vs, ve - vs));
    return true;
}

std::vector<Text> CXMLDoc::AttributeNames(int element) const {
    Lock lock(m_cs);
    std::vector<Text> names;
    element = Resolve(element);
    if (!element) return names;
    const SXMLElement& r = m_records[element];
    const size_t limit = r.closeEnd == r.tagEnd ? r.closeStart : r.tagEnd;
    size_t j = r.tagStart + 1;
    NextToken(j, limit);
    for (;;) {
        const SToken token = NextToken(j, limit);
        if (!token.found) break;
        if (token.quoted || IsDelimiter(m_text[token.start])) continue;
        names.push_back(m_text.substr(token.start, token.end - token.start));
        size_t k = j;
        const SToken equals = NextToken(k, limit);
        if (equals.found && !equals.quoted && m_text[equals.start] == L'=') {
            NextToken(k, limit);
            j = k;
        }
    }
    return names;
}

bool CXMLDoc::GetData(Text& data, int element) const {
    Lock lock(m_cs);
    element = Resolve(element);
    if (!element) return false;
    data.clear();
    const SXMLElement& r = m_records[element];
    if (r.closeEnd == r.tagEnd) return true;
    const bool children = r.firstChild != 0;
    size_t pos = r.tagEnd + 1;
    const size_t limit = r.closeStart;
    int child = r.firstChild;
    while (pos < limit) {
        const SXMLNode node = ScanNode(pos);
        if (node.type == 0) break;
        const size_t end = std::min(node.end, limit);
        switch (node.type) {
        case XML_ELEMENT:
            while (child && static_cast<size_t>(m_records[child].tagStart) < pos)
                child = m_records[child].nextSibling;
            if (!child || static_cast<size_t>(m_records[child].tagStart) != pos) return true;
            pos = m_records[child].closeEnd + 1;
            continue;
        case XML_TEXT:
            data += Unescape(TextView(m_text).substr(pos, end - pos));
            break;
        case XML_WHITESPACE:
            if (!children) data.append(m_text, pos, end - pos);
            break;
        case XML_CDATA:
            data += CDataInner(TextView(m_text).substr(pos, end - pos));
            break;
        default:
            break;
        }
        pos = end;
    }
    return true;
}

bool CXMLDoc::HasCData(int element) const {
    Lock lock(m_cs);
    element = Resolve(element);
    if (!element) return false;
    const SXMLElement& r = m_records[element];
    if (r.closeEnd == r.tagEnd) return false;
    size_t pos = r.tagEnd + 1;
    int child = r.firstChild;
    while (pos < static_cast<size_t>(r.closeStart)) {
        const SXMLNode node = ScanNode(pos);
        if (node.type == 0) return false;
        if (node.type == XML_CDATA) return true;
        if (node.type == XML_ELEMENT) {
            while (child && static_cast<size_t>(m_records[child].tagStart) < pos)
                child = m_records[child].nextSibling;
            if (!child) return false;
            pos = m_records[child].closeEnd + 1;
            continue;
        }
        pos = node.end;
    }
    return false;
}

int CXMLDoc::NodeType() const {
    Lock lock(m_cs);
    if (m_cursor.nodeType) return m_cursor.nodeType;
    return Current() ? XML_ELEMENT : 0;
}

Text CXMLDoc::NodeName() const {
    Lock lock(m_cs);
    switch (NodeType()) {
    case XML_ELEMENT:
        return Tag(Current());
    case XML_TEXT:
    case XML_WHITESPACE:
        return L"#text";
    case XML_CDATA:
        return L"#cdata-section";
    case XML_COMMENT:
        return L"#comment";
    case XML_PROC: {
        size_t j = m_cursor.nodeStart + 2;
        const SToken token = NextToken(j, m_cursor.nodeStart + m_cursor.nodeLength);
        return token.found ? m_text.substr(token.start, token.end - token.start) : Text();
    }
    default:
        return Text();
    }
}

Text CXMLDoc::NodeText() const {
    Lock lock(m_cs);
    if (static_cast<size_t>(m_cursor.nodeStart) > m_text.size()) return Text();
    const TextView node = TextView(m_text).substr(m_cursor.nodeStart, m_cursor.nodeLength);
    switch (NodeType()) {
    case XML_ELEMENT:
        return ElementText(Current());
    case XML_TEXT:
        return Unescape(node);
    case XML_CDATA:
        return CDataInner(node);
    case XML_COMMENT:
        return Text(node.substr(4, node.size() - 7));
    case XML_PROC:
        return Text(node.substr(2, node.size() - 4));
    default:
        return Text(node);
    }
}

// --- Entities ---------------------------------------------------------------------------------

Text CXMLDoc::Escape(TextView text, bool attribute) {
    Text out;
    out.reserve(text.size());
    for (wchar_t c : text) {
        switch (c) {
        case L'<':
            out += L"&lt;";
            break;
        case L'&':
            out += L"&amp;";
            break;
        case L'>':
            out += L"&gt;";
            break;
        case L'\'':
            out += attribute ? L"&apos;" : L"'";
            break;
        case L'"':
            out += attribute ? L"&quot;" : L"\"";
            break;
        default:
            out += c;
        }
    }
    return out;
}

Text CXMLDoc::Unescape(TextView text) {
    static constexpr struct {
        const wchar_t* name;
        wchar_t c;
    } kEntities[] = {{L"lt;", L'<'}, {L"gt;", L'>'}, {L"amp;", L'&'}, {L"apos;", L'\''}, {L"quot;", L'"'}};
    Text out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != L'&') {
            out += text[i];
            continue;
        }
        bool done = false;
        for (const auto& entity : kEntities) {
            const size_t n = std::wcslen(entity.name);
            if (text.substr(i + 1, n) == entity.name) {
                out += entity.c;
                i += n;
                done = true;
                break;
            }
        }
        if (!done && text.substr(i + 1, 1) == L"#") {
            const size_t semi = text.find(L';', i);
            const bool hex = text.substr(i + 2, 1) == L"x" || text.substr(i + 2, 1) == L"X";
            long long code = 0;
            size_t used = 0;
            if (semi != TextView::npos && semi > i + (hex ? 3 : 2)) {
                const TextView digits = text.substr(i + (hex ? 3 : 2), semi - i - (hex ? 3 : 2));
                if (ParseLong(digits, code, &used, hex ? 16 : 10) && used == digits.size() && code > 0 &&
                    code <= 0x10FFFF) {
                    out += static_cast<wchar_t>(code);
                    i = semi;
                    done = true;
                }
            }
        }
        if (!done) out += L'&';
    }
    return out;
}
