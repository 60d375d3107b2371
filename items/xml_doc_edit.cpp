// The changing operations of CXMLDoc. Every change is an edit of the one text
// string; the places of all records at or behind the edit move with it.
#include <algorithm>
#include <functional>

#include "items/xml_doc.h"

namespace {

bool ValidName(TextView name) {
    if (name.empty()) return false;
    const wchar_t first = name[0];
    if ((first >= L'0' && first <= L'9') || first == L'-' || first == L'.') return false;
    for (wchar_t c : name) {
        if (c <= L' ' || std::wcschr(L"<>=\\/?!\"'&", c)) return false;
    }
    return true;
}

} // namespace

void CXMLDoc::Shift(size_t at, long delta) {
    auto move = [&](int32_t& field) {
        if (field >= 0 && static_cast<size_t>(field) >= at) field = static_cast<int32_t>(field + delta);
    };
    for (size_t r = 0; r < m_count; ++r) {
        SXMLElement& e = m_records[r];
        if (r != 0 && e.spare == -1) continue;
        move(e.tagStart);
        move(e.tagEnd);
        move(e.closeStart);
        move(e.closeEnd);
    }
    auto moveNode = [&](SXMLCursor& c) {
        if (c.nodeType) move(c.nodeStart);
    };
    moveNode(m_cursor);
    for (auto& [name, cursor] : m_positions) moveNode(cursor);
}

void CXMLDoc::InsertText(size_t at, TextView text) {
    m_text.insert(at, text);
    Shift(at, static_cast<long>(text.size()));
}

void CXMLDoc::EraseText(size_t at, size_t length) {
    m_text.erase(at, length);
    auto move = [&](int32_t& field) {
        if (field < 0) return;
        const size_t f = static_cast<size_t>(field);
        if (f >= at + length)
            field = static_cast<int32_t>(f - length);
        else if (f > at)
            field = static_cast<int32_t>(at);
    };
    for (size_t r = 0; r < m_count; ++r) {
        SXMLElement& e = m_records[r];
        if (r != 0 && e.spare == -1) continue;
        move(e.tagStart);
        move(e.tagEnd);
        move(e.closeStart);
        move(e.closeEnd);
    }
    auto moveNode = [&](SXMLCursor& c) {
        if (!c.nodeType) return;
        if (static_cast<size_t>(c.nodeStart) >= at && static_cast<size_t>(c.nodeStart) < at + length) {
            c.nodeType = 0; // the node is gone
            return;
        }
        move(c.nodeStart);
    };
    moveNode(m_cursor);
    for (auto& [name, cursor] : m_positions) moveNode(cursor);
}

void CXMLDoc::Kill(int element) {
    for (int c = m_records[element].firstChild; c; c = m_records[c].nextSibling) Kill(c);
    m_records[element].spare = -1;
}

int CXMLDoc::PreviousSibling(int element) const {
    int previous = 0;
    for (int c = m_records[m_records[element].parent].firstChild; c && c != element;
         c = m_records[c].nextSibling)
        previous = c;
    return previous;
}

void CXMLDoc::Unlink(int element) {
    const int previous = PreviousSibling(element);
    const int next = m_records[element].nextSibling;
    if (previous)
        m_records[previous].nextSibling = next;
    else
        m_records[m_records[element].parent].firstChild = next;
    m_records[element].nextSibling = 0;
}

void CXMLDoc::LinkChild(int parent, int element) {
    m_records[element].parent = parent;
    int previous = 0;
    int c = m_records[parent].firstChild;
    while (c && m_records[c].tagStart < m_records[element].tagStart) {
        previous = c;
        c = m_records[c].nextSibling;
    }
    m_records[element].nextSibling = c;
    if (previous)
        m_records[previous].nextSibling = element;
    else
        m_records[parent].firstChild = element;
}

void CXMLDoc::OpenOut(int element) {
    // "<tag/>" becomes "<tag>", CR LF, "</tag>": the new content goes on a line of its own.
    const size_t slash = m_records[element].closeStart;
    const Text tag = Tag(element);
    EraseText(slash, 1);
    SXMLElement& r = m_records[element];
    r.tagEnd = static_cast<int32_t>(slash);
    const Text close = L"\r\n</" + tag + L">";
    InsertText(slash + 1, close);
    m_records[element].closeStart = static_cast<int32_t>(slash + 3);
    m_records[element].closeEnd = static_cast<int32_t>(slash + close.size());
}

bool CXMLDoc::InsertPoint(int place, size_t& at, int& parent) {
    int current = Current();
    size_t nodeStart = 0, nodeEnd = 0;
    const bool onNode = m_cursor.nodeType != 0;
    if (onNode) {
        nodeStart = m_cursor.nodeStart;
        nodeEnd = m_cursor.nodeStart + m_cursor.nodeLength;
    }
    parent = m_cursor.parent;
    if (parent != 0 && !IsLive(parent)) return false;
    if (place == XML_FIRST_CHILD || place == XML_LAST_CHILD) {
        if (!current) return false;
        parent = current;
        current = 0;
        place = place == XML_FIRST_CHILD ? XML_BEFORE : XML_BEHIND;
    } else if (onNode) {
        at = place == XML_BEFORE ? nodeStart : nodeEnd;
        return true;
    }
    if (current) {
        const SXMLElement& r = m_records[current];
        at = place == XML_BEFORE ? static_cast<size_t>(r.tagStart) : static_cast<size_t>(r.closeEnd) + 1;
    } else if (parent == 0) {
        at = place == XML_BEFORE ? 0 : m_text.size();
        return true;
    } else {
        if (m_records[parent].closeEnd == m_records[parent].tagEnd) {
            OpenOut(parent);
            at = m_records[parent].closeStart;
            return true;
        }
        const SXMLElement& r = m_records[parent];
        at = place == XML_BEFORE ? static_cast<size_t>(r.tagEnd) + 1 : static_cast<size_t>(r.closeStart);
    }
    size_t j = at;
    while (j < m_text.size() && IsSpace(m_text[j])) ++j;
    if (j >= m_text.size() || m_text[j] == L'<') at = j;
    return true;
}

bool CXMLDoc::SetAttribute(TextView name, TextView value, int element) {
    Lock lock(m_cs);
    element = Resolve(element);
    // A tag that is no name ("<>" reads as the tag ">") takes no attributes: one
    // written behind it would become the tag when the text is read again.
    if (!element || !ValidName(name) || !ValidName(Tag(element))) return false;
    const Text escaped = Escape(value, true);
    size_t ns, vs, ve;
    bool quoted;
    if (FindAttribute(element, name, ns, vs, ve, quoted)) {
        if (quoted) {
            EraseText(vs, ve - vs);
            InsertText(vs, escaped);
        } else {
            // A bare name or an unquoted value is rewritten in the quoted form.
            const size_t end = vs == ns + name.size() ? ns + name.size() : ve;
            EraseText(ns, end - ns);
            InsertText(ns, Text(name) + L"=\"" + escaped + L"\"");
        }
        return true;
    }
    InsertText(AttributeEnd(element), L" " + Text(name) + L"=\"" + escaped + L"\"");
    return true;
}

bool CXMLDoc::RemoveAttribute(TextView name, int element) {
    Lock lock(m_cs);
    element = Resolve(element);
    if (!element) return false;
    size_t ns, vs, ve;
    bool quoted;
    if (!FindAttribute(element, name, ns, vs, ve, quoted)) return false;
    size_t end = quoted ? ve + 1 : ve;
    if (end > static_cast<size_t>(m_records[element].tagEnd)) end = m_records[element].tagEnd;
    size_t start = ns;
    while (start > 0 && IsSpace(m_text[start - 1])) --start;
    EraseText(start, end - start);
    return true;
}

bool CXMLDoc::SetData(TextView data, bool cdata, int element) {
    Lock lock(m_cs);
    element = Resolve(element);
    if (!element) return false;
    if (cdata && data.find(L"]]>") != TextView::npos) return false;
    const Text payload = cdata ? L"<![CDATA[" + Text(data) + L"]]>" : Escape(data, false);
    SXMLElement& r = m_records[element];
    if (r.closeEnd == r.tagEnd) {
        if (payload.empty()) return true;
        const Text tag = Tag(element);
        const size_t slash = r.closeStart;
        EraseText(slash, 1);
        m_records[element].tagEnd = static_cast<int32_t>(slash);
        const Text content = payload + L"</" + tag + L">";
        InsertText(slash + 1, content);
        m_records[element].closeStart = static_cast<int32_t>(slash + 1 + payload.size());
        m_records[element].closeEnd = static_cast<int32_t>(slash + content.size());
        return true;
    }
    if (!r.firstChild) {
        const size_t start = r.tagEnd + 1;
        EraseText(start, r.closeStart - start);
        InsertText(start, payload);
        return true;
    }
    // With child elements only the direct text goes; the children and the layout stay.
    std::vector<std::pair<size_t, size_t>> ranges;
    size_t pos = r.tagEnd + 1;
    int child = r.firstChild;
    while (pos < static_cast<size_t>(m_records[element].closeStart)) {
        const SXMLNode node = ScanNode(pos);
        if (node.type == 0) break;
        if (node.type == XML_ELEMENT) {
            while (child && static_cast<size_t>(m_records[child].tagStart) < pos)
                child = m_records[child].nextSibling;
            if (!child) break;
            pos = m_records[child].closeEnd + 1;
            continue;
        }
        if (node.type == XML_TEXT || node.type == XML_CDATA) ranges.emplace_back(pos, node.end - pos);
        pos = node.end;
    }
    for (auto it = ranges.rbegin(); it != ranges.rend(); ++it) EraseText(it->first, it->second);
    InsertText(m_records[element].tagEnd + 1, payload);
    return true;
}

bool CXMLDoc::AddElement(TextView tag, const Text* data, int place) {
    Lock lock(m_cs);
    if (!ValidName(tag)) return false;
    size_t at;
    int parent;
    if (!InsertPoint(place, at, parent)) return false;
    if (parent == 0 && Root() != 0) return false; // one root only
    Text text;
    if (parent == 0 && at > 0 && at == m_text.size() && m_text.back() != L'\n') text = L"\r\n";
    const size_t start = at + text.size();
    size_t tagEnd, closeStart, closeEnd;
    if (data) {
        const Text escaped = Escape(*data, false);
        text += L"<" + Text(tag) + L">";
        tagEnd = at + text.size() - 1;
        text += escaped;
        closeStart = at + text.size();
        text += L"</" + Text(tag) + L">";
        closeEnd = at + text.size() - 1;
    } else {
        text += L"<" + Text(tag) + L"/>";
        tagEnd = closeEnd = at + text.size() - 1;
        closeStart = tagEnd - 1;
    }
    text += L"\r\n";
    InsertText(at, text);
    const int record = NewRecord();
    SXMLElement& r = m_records[record];
    r.tagStart = static_cast<int32_t>(start);
    r.tagEnd = static_cast<int32_t>(tagEnd);
    r.closeStart = static_cast<int32_t>(closeStart);
    r.closeEnd = static_cast<int32_t>(closeEnd);
    LinkChild(parent, record);
    GoElement(record);
    return true;
}

bool CXMLDoc::AddNode(int type, TextView text, int place) {
    Lock lock(m_cs);
    Text node;
    bool lineEnd = true;
    switch (type) {
    case XML_TEXT:
    case XML_WHITESPACE:
        node = Escape(text, false);
        lineEnd = false;
        break;
    case XML_CDATA:
        if (text.find(L"]]>") != TextView::npos) return false;
        node = L"<![CDATA[" + Text(text) + L"]]>";
        lineEnd = false;
        break;
    case XML_PROC:
        if (text.empty() || text.find(L"?>") != TextView::npos) return false;
        node = L"<?" + Text(text) + L"?>";
        break;
    case XML_COMMENT:
        if (text.find(L"--") != TextView::npos || (!text.empty() && text.back() == L'-')) return false;
        node = L"<!--" + Text(text) + L"-->";
        break;
    case XML_DOCTYPE: {
        node = Text(text);
        CXMLDoc probe;
        probe.m_text = node;
        const SXMLNode scanned = probe.ScanNode(0);
        if (scanned.type != XML_DOCTYPE || scanned.end != node.size()) return false;
        break;
    }
    default:
        return false;
    }
    if (node.empty()) return false;
    size_t at;
    int parent;
    if (!InsertPoint(place, at, parent)) return false;
    if (parent == 0 && (type == XML_TEXT || type == XML_CDATA)) return false; // no text outside the root
    InsertText(at, lineEnd ? node + L"\r\n" : node);
    int before = 0;
    for (int c = m_records[parent].firstChild; c && static_cast<size_t>(m_records[c].closeEnd) < at;
         c = m_records[c].nextSibling)
        before = c;
    m_cursor =
        SXMLCursor{parent, before, 0, type, static_cast<int32_t>(at), static_cast<int32_t>(node.size())};
    return true;
}

bool CXMLDoc::RemoveElement() {
    Lock lock(m_cs);
    size_t start, end;
    int element = 0;
    if (m_cursor.nodeType != 0) {
        start = m_cursor.nodeStart;
        end = start + m_cursor.nodeLength;
    } else {
        element = Current();
        if (!element) return false;
        start = m_records[element].tagStart;
        end = m_records[element].closeEnd + 1;
    }
    // The line break behind goes too, and the indentation when the node stood alone.
    size_t lineEnd = end;
    while (lineEnd < m_text.size() && (m_text[lineEnd] == L' ' || m_text[lineEnd] == L'\t')) ++lineEnd;
    if (m_text.compare(lineEnd, 2, L"\r\n") == 0) {
        end = lineEnd + 2;
    } else if (lineEnd < m_text.size() && m_text[lineEnd] == L'\n') {
        end = lineEnd + 1;
    }
    if (end != lineEnd || end == m_text.size()) {
        size_t lineStart = start;
        while (lineStart > 0 && (m_text[lineStart - 1] == L' ' || m_text[lineStart - 1] == L'\t'))
            --lineStart;
        if (lineStart == 0 || m_text[lineStart - 1] == L'\n') start = lineStart;
    }
    const SXMLCursor keep = m_cursor;
    if (element) {
        const int previous = PreviousSibling(element);
        Unlink(element);
        Kill(element);
        m_cursor = SXMLCursor{keep.parent, previous, 0, 0, 0, 0};
    } else {
        m_cursor = SXMLCursor{keep.parent, keep.element, 0, 0, 0, 0};
    }
    EraseText(start, end - start);
    return true;
}

bool CXMLDoc::RemoveContent() {
    Lock lock(m_cs);
    const int element = Current();
    if (!element) return false;
    SXMLElement& r = m_records[element];
    if (r.closeEnd == r.tagEnd) return true;
    for (int c = r.firstChild; c; c = m_records[c].nextSibling) Kill(c);
    m_records[element].firstChild = 0;
    EraseText(r.tagEnd + 1, r.closeStart - r.tagEnd - 1);
    return true;
}

bool CXMLDoc::ExtractSub(Text& out) const {
    Lock lock(m_cs);
    const int element = Current();
    if (!element) return false;
    out = ElementText(element);
    return true;
}

bool CXMLDoc::InsertSub(TextView xml, int place) {
    Lock lock(m_cs);
    CXMLDoc probe;
    if (!probe.Parse(Text(xml))) {
        m_message = probe.LastMessage();
        return false;
    }
    const Text element = probe.ElementText(probe.Root());
    size_t at;
    int parent;
    if (!InsertPoint(place, at, parent)) return false;
    if (parent == 0 && Root() != 0) return false;
    InsertText(at, element + L"\r\n");
    size_t i = at;
    m_failed = false;
    const int record = ParseElement(parent, i);
    if (!record) return false; // cannot happen: the same text parsed above
    LinkChild(parent, record);
    GoElement(record);
    return true;
}

bool CXMLDoc::ReorderChildren(int element, const std::vector<int>& order) {
    Lock lock(m_cs);
    std::vector<int> children;
    for (int c = m_records[element].firstChild; c; c = m_records[c].nextSibling) children.push_back(c);
    if (order.size() != children.size()) return false;
    std::vector<bool> seen(order.size());
    for (int k : order) {
        if (k < 0 || static_cast<size_t>(k) >= order.size() || seen[k]) return false;
        seen[k] = true;
    }
    if (children.empty()) return true;
    const size_t first = m_records[children.front()].tagStart;
    const size_t last = m_records[children.back()].closeEnd + 1;
    Text text;
    text.reserve(last - first);
    std::vector<long> delta(children.size());
    for (size_t k = 0; k < children.size(); ++k) {
        if (k > 0) {
            const size_t gap = m_records[children[k - 1]].closeEnd + 1;
            text.append(m_text, gap, m_records[children[k]].tagStart - gap);
        }
        const SXMLElement& moved = m_records[children[order[k]]];
        delta[order[k]] = static_cast<long>(first + text.size()) - moved.tagStart;
        text.append(m_text, moved.tagStart, moved.closeEnd + 1 - moved.tagStart);
    }
    m_text.replace(first, last - first, text);
    std::function<void(int, long)> move = [&](int r, long d) {
        SXMLElement& e = m_records[r];
        e.tagStart += d;
        e.tagEnd += d;
        e.closeStart += d;
        e.closeEnd += d;
        for (int c = e.firstChild; c; c = m_records[c].nextSibling) move(c, d);
    };
    for (size_t k = 0; k < children.size(); ++k) move(children[k], delta[k]);
    m_records[element].firstChild = children[order[0]];
    for (size_t k = 0; k < order.size(); ++k)
        m_records[children[order[k]]].nextSibling = k + 1 < order.size() ? children[order[k + 1]] : 0;
    return true;
}

bool CXMLDoc::GetDocType(Text& text) const {
    Lock lock(m_cs);
    const size_t limit = Root() ? m_records[Root()].tagStart : m_text.size();
    size_t pos = 0;
    while (pos < limit) {
        const SXMLNode node = ScanNode(pos);
        if (node.type == 0 || node.type == XML_ELEMENT) return false;
        if (node.type == XML_DOCTYPE) {
            text = m_text.substr(node.start, node.end - node.start);
            return true;
        }
        pos = node.end;
    }
    return false;
}

bool CXMLDoc::SetDocType(TextView text) {
    Lock lock(m_cs);
    if (!text.empty()) {
        CXMLDoc probe;
        probe.m_text = Text(text);
        const SXMLNode scanned = probe.ScanNode(0);
        if (scanned.type != XML_DOCTYPE || scanned.end != text.size()) return false;
    }
    const size_t limit = Root() ? m_records[Root()].tagStart : m_text.size();
    size_t pos = 0;
    while (pos < limit) {
        const SXMLNode node = ScanNode(pos);
        if (node.type == 0 || node.type == XML_ELEMENT) break;
        if (node.type == XML_DOCTYPE) {
            size_t end = node.end;
            if (text.empty() && m_text.compare(end, 2, L"\r\n") == 0) end += 2;
            EraseText(node.start, end - node.start);
            InsertText(node.start, text);
            return true;
        }
        pos = node.end;
    }
    if (text.empty()) return true;
    InsertText(limit, Text(text) + L"\r\n");
    return true;
}
