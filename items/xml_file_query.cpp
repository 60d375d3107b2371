// The searching side of XML files: named positions and their "#posmap",
// internal references, FIND and NEXT, SORT, and the status queries.
#include <algorithm>

#include "base/subcommand_table.h"
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

namespace {

// What f[!X...] reads: the document at its cursor, or the schema.
struct SXmlQuery {
    const CXMLDoc& doc;
    const CXDTSchema* schema;
    const CWords& args;
    int current, root;
    Text& out;
    Text Arg(size_t i) const { return args.size() > i ? args[i].text : Text(); }
};
using XmlStatusHandler = void (*)(SXmlQuery& q);

void ParentPath(SXmlQuery& q) {
    for (int p = q.doc.GetCursor().parent; p; p = q.doc.Record(p).parent) q.out = L"/" + q.doc.Tag(p) + q.out;
}

void AllElements(SXmlQuery& q) {
    int n = 0;
    for (int r = 1; r < q.doc.RecordCount(); ++r) n += q.doc.IsLive(r) ? 1 : 0;
    q.out = IntText(n);
}

void AttributeNamesText(SXmlQuery& q) {
    for (const Text& name : q.doc.AttributeNames()) q.out += (q.out.empty() ? L"" : L" ") + name;
}

void ElementSize(SXmlQuery& q) {
    if (q.current)
        q.out = IntText(static_cast<long long>(q.doc.ElementText(q.current).size()));
    else if (q.doc.NodeType())
        q.out = IntText(q.doc.GetCursor().nodeLength);
}

void ElementData(SXmlQuery& q) {
    if (q.current)
        q.doc.GetData(q.out);
    else if (q.doc.NodeType())
        q.out = q.doc.NodeText();
}

void NodeTypeWord(SXmlQuery& q) {
    static constexpr struct {
        int type;
        const wchar_t* word;
    } kTypes[] = {{XML_ELEMENT, L"ELEMENT"}, {XML_TEXT, L"TEXT"}, {XML_WHITESPACE, L"TEXT"},
                  {XML_CDATA, L"CDATA"},     {XML_PROC, L"PROC"}, {XML_COMMENT, L"COMMENT"},
                  {XML_DOCTYPE, L"DOCTYPE"}};
    for (const auto& t : kTypes)
        if (t.type == q.doc.NodeType()) q.out = t.word;
}

// The schema's lists: all names, or with n the text form of the n-th entry.
template <class List, class Form, class Name>
void Pick(SXmlQuery& q, const List& list, Form form, Name name) {
    long long n = -1;
    if (q.args.size() > 2 && !ParseWholeLong(q.args[2].text, n)) return;
    if (n < 0) {
        for (const auto& entry : list) q.out += (q.out.empty() ? L"" : L" ") + name(entry);
    } else if (static_cast<size_t>(n) < list.size()) {
        q.out = form(list[n]);
    }
}

void SchemaElements(SXmlQuery& q) {
    if (q.args.size() > 2) {
        long long n = -1;
        if (!ParseWholeLong(q.args[2].text, n)) return;
    }
    const Text name = q.Arg(1);
    if (name.empty()) {
        for (const SXDTElement& e : q.schema->Elements()) q.out += (q.out.empty() ? L"" : L" ") + e.name;
    } else if (const SXDTElement* e = q.schema->Find(name)) {
        q.out = CXDTSchema::ElementForm(*e);
    }
}

// Rows flagged SCHEMA answer empty text when the file has no schema.
enum : unsigned { SCHEMA = 1 };

constexpr SSubcommand<XmlStatusHandler> kXmlStatus[] = {
    {L"XROOT", [](SXmlQuery& q) { q.out = q.doc.Tag(q.root); }},
    {L"XPARENT", [](SXmlQuery& q) { q.out = q.doc.Tag(q.doc.GetCursor().parent); }},
    {L"XPARENTPATH", ParentPath},
    {L"XELEMENTS",
     [](SXmlQuery& q) { q.out = JoinTags(q.doc, q.doc.Record(q.doc.GetCursor().parent).firstChild); }},
    {L"XALL", AllElements},
    {L"XTAG", [](SXmlQuery& q) { q.out = q.current ? q.doc.Tag(q.current) : q.doc.NodeName(); }},
    {L"XATTRIBUTES", AttributeNamesText},
    {L"XEMPTY",
     [](SXmlQuery& q) {
         if (q.current)
             q.out = q.doc.Record(q.current).closeEnd == q.doc.Record(q.current).tagEnd ? L"1" : L"0";
     }},
    {L"XCDATA",
     [](SXmlQuery& q) {
         if (q.current) q.out = q.doc.HasCData() ? L"1" : L"0";
     }},
    {L"XCHILDS",
     [](SXmlQuery& q) {
         if (q.current) q.out = IntText(q.doc.ChildCount(q.current));
     }},
    {L"XSIZE", ElementSize},
    {L"XDATA", ElementData},
    {L"XNODETYPE", NodeTypeWord},
    {L"XCHILDREN",
     [](SXmlQuery& q) {
         if (q.current) q.out = JoinTags(q.doc, q.doc.Record(q.current).firstChild);
     }},
    {L"XATTRIBUTE",
     [](SXmlQuery& q) {
         if (q.current) q.doc.GetAttribute(q.Arg(1), q.out);
     }},
    {L"XDTNAME", [](SXmlQuery& q) { q.out = q.schema->Name(); }, 0, SCHEMA},
    {L"XDTROOT", [](SXmlQuery& q) { q.out = q.schema->RootName(); }, 0, SCHEMA},
    {L"XDTELEMENTS", SchemaElements, 0, SCHEMA},
    {L"XDTCHILDREN",
     [](SXmlQuery& q) {
         Pick(q, q.schema->AllChildren(q.Arg(1)), CXDTSchema::ChildForm,
              [](const SXDTChild& c) { return c.name; });
     },
     0, SCHEMA},
    {L"XDTATTRIBUTES",
     [](SXmlQuery& q) {
         Pick(q, q.schema->AllAttributes(q.Arg(1)), CXDTSchema::AttributeForm,
              [](const SXDTAttribute& a) { return a.name; });
     },
     0, SCHEMA},
    {L"XDTISA",
     [](SXmlQuery& q) {
         if (q.args.size() > 2) q.out = q.schema->IsA(q.Arg(1), q.args[2].text) ? L"1" : L"0";
     },
     0, SCHEMA},
};
const CSubcommandTable<XmlStatusHandler> g_xmlStatus(L"XML FILE STATUS", kXmlStatus);

} // namespace

int CXMLFileState::Status(const CWords& args, Text& out) {
    std::lock_guard<std::recursive_mutex> lock(m_doc.Section());
    out.clear();
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    TextView key = args[0].text;
    if (!key.empty() && key[0] == L'!') key.remove_prefix(1);
    const auto* row = g_xmlStatus.Find(key);
    if (!row) return RC_BAD_ARG1;
    if ((row->options & SCHEMA) && !m_schema) return 0;
    SXmlQuery query{m_doc, m_schema.get(), args, m_doc.Current(), m_doc.Root(), out};
    row->handler(query);
    return 0;
}
