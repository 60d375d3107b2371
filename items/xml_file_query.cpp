// The searching side of XML files: named positions and their "#posmap",
// internal references, FIND and NEXT, SORT, and the status queries.
#include <algorithm>

#include "base/keyword_table.h"
#include "items/xml_file.h"
#include "shell/error_table.h"
#include "shell/options.h"

namespace {

int Fails(int code, const COptions& options) {
    return HasOption(options, L"Ss") ? SilentTwin(code, code) : code;
}

std::vector<Text> SplitAt(TextView text, wchar_t separator) {
    std::vector<Text> parts;
    size_t start = 0;
    for (;;) {
        const size_t at = text.find(separator, start);
        const TextView part = text.substr(start, at == TextView::npos ? TextView::npos : at - start);
        if (!part.empty()) parts.emplace_back(part);
        if (at == TextView::npos) return parts;
        start = at + 1;
    }
}

Text JoinTags(const CXMLDoc& doc, int first) {
    Text out;
    for (int c = first; c; c = doc.Record(c).nextSibling) {
        if (!out.empty()) out += L' ';
        out += doc.Tag(c);
    }
    return out;
}

constexpr const wchar_t* kStatusWords[] = {
    L"XROOT",       L"XPARENT",       L"XPARENTPATH", L"XELEMENTS", L"XALL",    L"XTAG",
    L"XATTRIBUTES", L"XEMPTY",        L"XCDATA",      L"XCHILDS",   L"XSIZE",   L"XDATA",
    L"XNODETYPE",   L"XCHILDREN",     L"XATTRIBUTE",  L"XDTNAME",   L"XDTROOT", L"XDTELEMENTS",
    L"XDTCHILDREN", L"XDTATTRIBUTES", L"XDTISA",      nullptr};
enum {
    S_ROOT,
    S_PARENT,
    S_PARENTPATH,
    S_ELEMENTS,
    S_ALL,
    S_TAG,
    S_ATTRIBUTES,
    S_EMPTY,
    S_CDATA,
    S_CHILDS,
    S_SIZE,
    S_DATA,
    S_NODETYPE,
    S_CHILDREN,
    S_ATTRIBUTE,
    S_DTNAME,
    S_DTROOT,
    S_DTELEMENTS,
    S_DTCHILDREN,
    S_DTATTRIBUTES,
    S_DTISA,
};

} // namespace

// --- Named positions ----------------------------------------------------------------------

SXMLCursor* CXMLFileState::FindPosition(TextView name) {
    for (auto& [key, cursor] : m_doc.Positions())
        if (EqualNoCase(key, name)) return &cursor;
    return nullptr;
}

Text CXMLFileState::StorePosition(TextView name) {
    std::lock_guard<std::recursive_mutex> lock(m_doc.Section());
    Text key(name);
    if (key.empty() || key == L"*") {
        do key = Format(L"P#%d", ++m_nPositions);
        while (FindPosition(key));
    }
    if (SXMLCursor* present = FindPosition(key))
        *present = m_doc.GetCursor();
    else
        m_doc.Positions()[key] = m_doc.GetCursor();
    return key;
}

void CXMLFileState::WritePositionMap() {
    const SXMLCursor keep = m_doc.GetCursor();
    for (const auto& [name, cursor] : m_doc.Positions()) {
        if (!m_doc.CursorValid(cursor) || cursor.nodeType != 0 || cursor.element == 0) continue;
        Text names;
        m_doc.GetAttribute(L"#posmap", names, cursor.element);
        bool present = false;
        for (const Text& part : SplitAt(names, L',')) present = present || EqualNoCase(part, name);
        if (present) continue;
        m_doc.SetAttribute(L"#posmap", names.empty() ? name : names + L"," + name, cursor.element);
    }
    m_doc.SetCursor(keep);
    m_doc.Positions().clear();
    if (m_extended) ReadPositionMap();
}

void CXMLFileState::ReadPositionMap() {
    if (!m_extended) return;
    for (int r = 1; r < m_doc.RecordCount(); ++r) {
        Text names;
        if (!m_doc.IsLive(r) || !m_doc.GetAttribute(L"#posmap", names, r)) continue;
        for (const Text& name : SplitAt(names, L',')) {
            SXMLCursor cursor;
            cursor.parent = m_doc.Record(r).parent;
            cursor.element = r;
            m_doc.Positions()[Trim(name)] = cursor;
        }
    }
}

// --- Internal references ----------------------------------------------------------------

int CXMLFileState::FormatIref(Text& path) {
    std::lock_guard<std::recursive_mutex> lock(m_doc.Section());
    int element = m_doc.Current();
    if (!element) return RC_XML_POSITION_UNSET;
    Text out;
    for (; element; element = m_doc.Record(element).parent) {
        Text id;
        if (!m_doc.GetAttribute(L"ID", id, element)) return RC_CANNOT_FORMAT_IREF;
        out = L"/" + id + out;
    }
    path = out;
    return 0;
}

int CXMLFileState::FindIref(TextView path) {
    std::lock_guard<std::recursive_mutex> lock(m_doc.Section());
    const SXMLCursor keep = m_doc.GetCursor();
    const std::vector<Text> parts = SplitAt(path, L'/');
    if (path.empty() || path[0] != L'/' || parts.empty()) return RC_IREF_NOT_FOUND;
    m_doc.GoStart();
    int parent = 0;
    for (size_t k = 0; k < parts.size(); ++k) {
        int found = 0;
        for (int c = m_doc.Record(parent).firstChild; c && !found; c = m_doc.Record(c).nextSibling) {
            Text id;
            if (m_doc.GetAttribute(L"ID", id, c) && id == parts[k]) found = c;
        }
        if (!found) {
            m_doc.SetCursor(keep);
            return RC_IREF_NOT_FOUND;
        }
        parent = found;
    }
    m_doc.GoElement(parent);
    return 0;
}

int XmlIref(CXMLFileState& state, CWords& args, COptions& options, Text& result) {
    if (!args.empty()) {
        const int code = state.FindIref(args[0].text);
        if (code) return Fails(code, options);
        result = args[0].text;
        return 0;
    }
    const int code = state.FormatIref(result);
    if (code == RC_CANNOT_FORMAT_IREF && HasOption(options, L"Ss")) return RC_CANNOT_FORMAT_IREF_SILENT;
    return code ? Fails(code, options) : 0;
}

int XmlPosition(CXMLFileState& state, CWords& args, COptions&, Text& result) {
    result = state.StorePosition(args.empty() ? TextView() : TextView(args[0].text));
    return 0;
}

// --- FIND and NEXT --------------------------------------------------------------------------

int CXMLFileState::SearchFrom(int start, bool first) {
    const int scope = HasOption(m_findOptions, L"Oo") ? start : 0;
    const bool siblings = HasOption(m_findOptions, L"Nn");
    const bool noCase = HasOption(m_findOptions, L"Ii");
    auto matches = [&](int element) {
        if (m_findTag != L"*" && !EqualNoCase(m_doc.Tag(element), m_findTag)) return false;
        if (m_findAttribute.empty()) return true;
        Text value;
        if (!m_doc.GetAttribute(m_findAttribute, value, element)) return false;
        if (!m_findHasValue) return true;
        return noCase ? EqualNoCase(value, m_findValue) : value == m_findValue;
    };
    // Document order: children first, then the next sibling, then up.
    auto next = [&](int element) {
        if (!siblings && m_doc.Record(element).firstChild)
            return static_cast<int>(m_doc.Record(element).firstChild);
        while (element && element != scope) {
            if (m_doc.Record(element).nextSibling) return static_cast<int>(m_doc.Record(element).nextSibling);
            if (siblings) return 0;
            element = m_doc.Record(element).parent;
        }
        return 0;
    };
    int candidate = first ? start : (start ? next(start) : 0);
    if (scope && candidate == scope) candidate = next(scope);
    bool wrapped = false;
    for (;;) {
        while (candidate) {
            if (wrapped && candidate == start) return 0;
            if (matches(candidate)) return candidate;
            candidate = next(candidate);
        }
        if (!HasOption(m_findOptions, L"Yy") || wrapped || scope || siblings) return 0;
        wrapped = true;
        candidate = m_doc.Root();
    }
}

int CXMLFileState::Find(CWords& args, COptions& options, Text& result) {
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    m_findTag = args[0].text;
    m_findAttribute = args.size() > 1 ? args[1].text : Text();
    m_findHasValue = args.size() > 2;
    m_findValue = m_findHasValue ? JoinWords(args, 2) : Text();
    m_findOptions = options;
    m_findActive = true;
    int start;
    bool first = false;
    if (HasOption(options, L"Rr")) {
        start = m_doc.Root();
        first = true;
    } else if (m_doc.Current()) {
        start = m_doc.Current();
    } else {
        const SXMLCursor cursor = m_doc.GetCursor();
        start = m_doc.Record(cursor.parent).firstChild;
        first = true;
        if (HasOption(options, L"Oo")) return Fails(RC_XML_POSITION_UNSET, options);
    }
    const int found = start ? SearchFrom(start, first) : 0;
    if (!found) return Fails(RC_NO_SUCH_XML_ELEMENT, options);
    m_doc.GoElement(found);
    result = m_doc.Tag(found);
    return 0;
}

int CXMLFileState::Next(CWords&, COptions& options, Text& result) {
    if (!m_findActive || !m_doc.Current()) return Fails(RC_NO_SUCH_XML_ELEMENT, options);
    // /O of the FIND keeps its scope: the search goes on inside the element it started from.
    const int found = SearchFrom(m_doc.Current(), false);
    if (!found) return Fails(RC_NO_SUCH_XML_ELEMENT, options);
    m_doc.GoElement(found);
    result = m_doc.Tag(found);
    return 0;
}

// --- SORT ------------------------------------------------------------------------------------

void CXMLFileState::MarkUnsorted(int element) {
    Text keys;
    if (element <= 0 || !m_doc.GetAttribute(L"XMLSort", keys, element)) return;
    if (keys.find(L"#unsorted") != Text::npos) return;
    m_doc.SetAttribute(L"XMLSort", keys + L" #unsorted", element);
}

int CXMLFileState::Sort(CWords& args, COptions& options, Text&) {
    const int element = m_doc.Current();
    if (!element) return Fails(RC_XML_SORT, options);
    std::vector<Text> keys;
    for (const SWord& word : args) keys.push_back(word.text);
    if (keys.empty()) {
        Text kept;
        if (!m_doc.GetAttribute(L"XMLSort", kept, element)) return Fails(RC_XML_SORT_ATTRIBUTE, options);
        std::vector<Text> words = SplitAt(kept, L' ');
        if (words.empty() || words[0] != L"sort") return Fails(RC_XML_SORT_ATTRIBUTE, options);
        for (size_t k = 1; k < words.size(); ++k)
            if (words[k] != L"#unsorted") keys.push_back(words[k]);
        if (keys.empty()) return Fails(RC_XML_SORT_ATTRIBUTE, options);
    }
    std::vector<int> children;
    for (int c = m_doc.Record(element).firstChild; c; c = m_doc.Record(c).nextSibling) children.push_back(c);
    struct SKey {
        Text name;
        bool falling;
    };
    std::vector<SKey> parsed;
    for (const Text& key : keys) {
        const bool falling = key.size() > 1 && key[0] == L'-';
        parsed.push_back({falling ? key.substr(1) : key, falling});
    }
    std::vector<std::vector<Text>> values(children.size());
    for (size_t k = 0; k < children.size(); ++k) {
        for (const SKey& key : parsed) {
            Text value;
            if (EqualNoCase(key.name, L"#tag"))
                value = m_doc.Tag(children[k]);
            else if (EqualNoCase(key.name, L"#data"))
                m_doc.GetData(value, children[k]);
            else
                m_doc.GetAttribute(key.name, value, children[k]);
            values[k].push_back(value);
        }
    }
    auto compare = [](const Text& a, const Text& b) {
        double x, y;
        if (ParseWholeDouble(Trim(a), x) && ParseWholeDouble(Trim(b), y)) return x < y ? -1 : (x > y ? 1 : 0);
        return CompareNoCase(a, b);
    };
    std::vector<int> order(children.size());
    for (size_t k = 0; k < order.size(); ++k) order[k] = static_cast<int>(k);
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) {
        for (size_t k = 0; k < parsed.size(); ++k) {
            const int c = compare(values[a][k], values[b][k]);
            if (c != 0) return parsed[k].falling ? c > 0 : c < 0;
        }
        return false;
    });
    if (!m_doc.ReorderChildren(element, order)) return Fails(RC_XML_SORT_FAILED, options);
    Text attribute = L"sort";
    for (const Text& key : keys) attribute += L" " + key;
    if (!m_doc.SetAttribute(L"XMLSort", attribute, element))
        return Fails(RC_XML_SORT_ATTRIBUTES_FAILED, options);
    return 0;
}

// --- Status ------------------------------------------------------------------------------------

int CXMLFileState::Status(const CWords& args, Text& out) {
    static const CKeywordTable words(kStatusWords);
    std::lock_guard<std::recursive_mutex> lock(m_doc.Section());
    out.clear();
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    TextView key = args[0].text;
    if (!key.empty() && key[0] == L'!') key.remove_prefix(1);
    const int which = words.Find(key);
    if (which < 0) return RC_BAD_ARG1;
    const int current = m_doc.Current();
    const int root = m_doc.Root();
    const Text arg1 = args.size() > 1 ? args[1].text : Text();
    switch (which) {
    case S_ROOT:
        out = m_doc.Tag(root);
        break;
    case S_PARENT: {
        const int parent = m_doc.GetCursor().parent;
        out = m_doc.Tag(parent);
        break;
    }
    case S_PARENTPATH:
        for (int p = m_doc.GetCursor().parent; p; p = m_doc.Record(p).parent) out = L"/" + m_doc.Tag(p) + out;
        break;
    case S_ELEMENTS:
        out = JoinTags(m_doc, m_doc.Record(m_doc.GetCursor().parent).firstChild);
        break;
    case S_ALL: {
        int n = 0;
        for (int r = 1; r < m_doc.RecordCount(); ++r) n += m_doc.IsLive(r) ? 1 : 0;
        out = IntText(n);
        break;
    }
    case S_TAG:
        out = current ? m_doc.Tag(current) : m_doc.NodeName();
        break;
    case S_ATTRIBUTES:
        for (const Text& name : m_doc.AttributeNames()) out += (out.empty() ? L"" : L" ") + name;
        break;
    case S_EMPTY:
        if (current) out = m_doc.Record(current).closeEnd == m_doc.Record(current).tagEnd ? L"1" : L"0";
        break;
    case S_CDATA:
        if (current) out = m_doc.HasCData() ? L"1" : L"0";
        break;
    case S_CHILDS:
        if (current) out = IntText(m_doc.ChildCount(current));
        break;
    case S_SIZE:
        if (current)
            out = IntText(static_cast<long long>(m_doc.ElementText(current).size()));
        else if (m_doc.NodeType())
            out = IntText(m_doc.GetCursor().nodeLength);
        break;
    case S_DATA:
        if (current)
            m_doc.GetData(out);
        else if (m_doc.NodeType())
            out = m_doc.NodeText();
        break;
    case S_NODETYPE: {
        static constexpr struct {
            int type;
            const wchar_t* word;
        } kTypes[] = {{XML_ELEMENT, L"ELEMENT"}, {XML_TEXT, L"TEXT"}, {XML_WHITESPACE, L"TEXT"},
                      {XML_CDATA, L"CDATA"},     {XML_PROC, L"PROC"}, {XML_COMMENT, L"COMMENT"},
                      {XML_DOCTYPE, L"DOCTYPE"}};
        for (const auto& t : kTypes)
            if (t.type == m_doc.NodeType()) out = t.word;
        break;
    }
    case S_CHILDREN:
        if (current) out = JoinTags(m_doc, m_doc.Record(current).firstChild);
        break;
    case S_ATTRIBUTE:
        if (current) m_doc.GetAttribute(arg1, out);
        break;
    default:
        return SchemaStatus(which - S_DTNAME, args, out);
    }
    return 0;
}

int CXMLFileState::SchemaStatus(int which, const CWords& args, Text& out) {
    if (!m_schema) return 0;
    const Text arg1 = args.size() > 1 ? args[1].text : Text();
    long long n = -1;
    if (args.size() > 2 && which != 5 && !ParseWholeLong(args[2].text, n)) return 0;
    auto pick = [&](const auto& list, auto form, auto name) {
        if (n < 0) {
            for (const auto& entry : list) out += (out.empty() ? L"" : L" ") + name(entry);
        } else if (static_cast<size_t>(n) < list.size()) {
            out = form(list[n]);
        }
    };
    switch (which) {
    case 0:
        out = m_schema->Name();
        break;
    case 1:
        out = m_schema->RootName();
        break;
    case 2:
        if (arg1.empty()) {
            for (const SXDTElement& e : m_schema->Elements()) out += (out.empty() ? L"" : L" ") + e.name;
        } else if (const SXDTElement* e = m_schema->Find(arg1)) {
            out = CXDTSchema::ElementForm(*e);
        }
        break;
    case 3:
        pick(m_schema->AllChildren(arg1), CXDTSchema::ChildForm, [](const SXDTChild& c) { return c.name; });
        break;
    case 4:
        pick(m_schema->AllAttributes(arg1), CXDTSchema::AttributeForm,
             [](const SXDTAttribute& a) { return a.name; });
        break;
    case 5:
        if (args.size() > 2) out = m_schema->IsA(arg1, args[2].text) ? L"1" : L"0";
        break;
    default:
        break;
    }
    return 0;
}
