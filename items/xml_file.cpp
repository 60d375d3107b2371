#include "items/xml_file.h"

#include <cstdio>
#include <sys/stat.h>

#include "base/keyword_table.h"
#include "items/xml_tables.h"
#include "shell/error_table.h"
#include "shell/options.h"
#include "shell/rc_codes.h"

namespace {

constexpr const wchar_t* kNodeWords[] = {L"TEXT", L"CDATA", L"COMMENT", L"PROC", L"DOCTYPE", nullptr};
constexpr int kNodeTypes[] = {XML_TEXT, XML_CDATA, XML_COMMENT, XML_PROC, XML_DOCTYPE};

// The failure `code`, or its warning twin under /S.
int Fails(int code, const COptions& options) {
    return HasOption(options, L"Ss") ? SilentTwin(code, code) : code;
}

std::string PathBytes(TextView path) {
    return ToUtf8(path);
}

bool ReadFileText(const std::string& path, CXMLDoc& doc) {
    return doc.LoadFile(path);
}

} // namespace

const CSubcommandTable<CXMLFileState::Member>& CXMLFileState::Keywords() {
    using S = CXMLFileState;
    static constexpr SSubcommand<Member> kRows[] = {
        {L"POSITION", &S::Position, 0, kXmlOnly},
        {L"ADDFILE", &S::AddFile, 0, kXmlOnly},
        {L"ADDTABLE", &S::AddTable, 0, kXmlOnly},
        {L"ADDELEMENT", &S::AddElement, 0, kXmlOnly},
        {L"SETATTRIBUTE", &S::SetAttribute, 0, kXmlOnly},
        {L"DELETEELEMENT", &S::DeleteElement, 0, kXmlOnly},
        {L"SETDATA", &S::SetData, 0, kXmlOnly},
        {L"GETDATA", &S::GetData, 0, kXmlOnly},
        {L"GOTO", &S::Goto, 0, kXmlOnly},
        {L"ROOT", &S::Root, 0, kXmlOnly},
        {L"ADDNODE", &S::AddNode, 0, kXmlOnly},
        {L"DOCTYPE", &S::DocType, 0, kXmlOnly},
        {L"VALIDATE", &S::Validate, 0, kXmlOnly},
        {L"EXTRACTFILE", &S::ExtractFile, 0, kXmlOnly},
        {L"EXTRACTTABLE", &S::ExtractTable, 0, kXmlOnly},
        {L"SORT", &S::Sort, 0, kXmlOnly},
        {L"FIND", &S::Find},
        {L"NEXT", &S::Next},
        {L"LOAD", &S::Load},
        {L"SAVE", &S::Save},
        {L"LIST", &S::List},
    };
    static const CSubcommandTable<Member> table(L"XML FILE", kRows);
    return table;
}

int CXMLFileState::Set(TextView keyword, CWords& args, COptions& options, Text& result) {
    const SSubcommand<Member>* row = Keywords().Find(keyword, true);
    if (!row) return RC_BAD_ARG1;
    std::lock_guard<std::recursive_mutex> lock(m_doc.Section());
    return (this->*row->handler)(args, options, result);
}

int CXMLFileState::Open(const std::string& path) {
    m_path = path;
    struct stat info;
    if (stat(path.c_str(), &info) != 0) {
        m_doc.Clear();
        m_schema.reset();
        return 0;
    }
    if (!m_doc.LoadFile(path)) return RC_CANNOT_LOAD_XML;
    ReadSchema();
    ReadPositionMap();
    return 0;
}

void CXMLFileState::ReadSchema() {
    m_schema.reset();
    Text doctype;
    if (!m_doc.GetDocType(doctype)) return;
    auto schema = std::make_unique<CXDTSchema>();
    Text message;
    if (schema->Parse(doctype, message)) m_schema = std::move(schema);
}

int CXMLFileState::Load(CWords& args, COptions& options, Text&) {
    const std::string path = args.empty() ? m_path : PathBytes(args[0].text);
    if (!ReadFileText(path, m_doc)) return Fails(RC_CANNOT_LOAD_XML, options);
    if (!args.empty()) m_path = path;
    ReadSchema();
    ReadPositionMap();
    return 0;
}

int CXMLFileState::Save(CWords& args, COptions& options, Text&) {
    const std::string path = args.empty() ? m_path : PathBytes(args[0].text);
    WritePositionMap();
    if (path.empty() || !m_doc.SaveFile(path)) return Fails(RC_CANNOT_SAVE_XML, options);
    if (!args.empty()) m_path = path;
    return 0;
}

int CXMLFileState::AddFile(CWords& args, COptions& options, Text&) {
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    Text xml;
    if (HasOption(options, L"Nn")) {
        xml = JoinWords(args);
    } else {
        CXMLDoc source;
        if (!source.LoadFile(PathBytes(args[0].text))) return Fails(RC_CANNOT_ADD_XML_SUBDOCUMENT, options);
        xml = source.GetText();
    }
    {
        CXMLDoc probe;
        if (!probe.Parse(xml)) return Fails(RC_CANNOT_ADD_XML_SUBDOCUMENT, options);
    }
    const SXMLCursor keep = m_doc.GetCursor();
    const bool replace = HasOption(options, L"Dd");
    int place = XML_BEHIND;
    if (HasOption(options, L"Oo") || replace) place = XML_BEFORE;
    if (HasOption(options, L"Cc")) place = XML_LAST_CHILD;
    const int old = m_doc.Current();
    if ((replace || place == XML_LAST_CHILD) && !old) return Fails(RC_XML_POSITION_UNSET, options);
    if (!m_doc.InsertSub(xml, place)) return Fails(RC_XML_INSERT_FAILED, options);
    const int added = m_doc.Current();
    MarkUnsorted(m_doc.Record(added).parent);
    if (replace) {
        m_doc.GoElement(old);
        m_doc.RemoveElement();
        m_doc.GoElement(added);
    }
    if (HasOption(options, L"Ii") && !replace) m_doc.SetCursor(keep);
    return 0;
}

int CXMLFileState::AddTable(CWords& args, COptions& options, Text& result) {
    return XmlAddTable(*this, args, options, result);
}

int CXMLFileState::ExtractTable(CWords& args, COptions& options, Text& result) {
    return XmlExtractTable(*this, args, options, result);
}

int CXMLFileState::List(CWords& args, COptions& options, Text& result) {
    return XmlListTable(*this, args, options, result);
}

int CXMLFileState::AddElement(CWords& args, COptions& options, Text& result) {
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    const SXMLCursor keep = m_doc.GetCursor();
    int place = XML_BEHIND;
    if (HasOption(options, L"Oo")) place = XML_BEFORE;
    if (HasOption(options, L"Ff")) place = XML_FIRST_CHILD;
    if (HasOption(options, L"Ll")) place = XML_LAST_CHILD;
    if (place >= XML_FIRST_CHILD && !m_doc.Current()) return Fails(RC_XML_POSITION_UNSET, options);
    const bool cdata = HasOption(options, L"Cc");
    Text data;
    const bool hasData = args.size() > 1;
    if (hasData) data = JoinWords(args, 1);
    if (cdata && data.find(L"]]>") != Text::npos) return Fails(RC_XML_ADD_DATA, options);
    if (!m_doc.AddElement(args[0].text, hasData && !cdata ? &data : nullptr, place))
        return Fails(RC_XML_ADD_ELEMENT, options);
    if (hasData && cdata && !m_doc.SetData(data, true)) return Fails(RC_XML_ADD_DATA, options);
    MarkUnsorted(m_doc.Record(m_doc.Current()).parent);
    result = args[0].text;
    if (HasOption(options, L"Ii")) m_doc.SetCursor(keep);
    return 0;
}

int CXMLFileState::SetAttribute(CWords& args, COptions& options, Text&) {
    int element = m_doc.Current();
    if (!element) return Fails(RC_XML_POSITION_UNSET, options);
    const bool parent = HasOption(options, L"Pp");
    const int failure = parent ? RC_XML_SET_PARENT_ATTRIBUTE : RC_XML_SET_ATTRIBUTE;
    if (parent) {
        element = m_doc.Record(element).parent;
        if (element == 0) return Fails(RC_XML_SET_PARENT_ATTRIBUTE, options);
    }
    const bool remove = HasOption(options, L"Rr");
    const size_t step = remove ? 1 : 2;
    if (args.empty() || (!remove && args.size() % 2 != 0)) return RC_TOO_FEW_ARGUMENTS;
    for (size_t k = 0; k < args.size(); k += step) {
        const Text& name = args[k].text;
        if (name.empty() || name[0] == L'#' || name.find_first_of(L" \t<>=\\/?!\"'&") != Text::npos ||
            (name[0] >= L'0' && name[0] <= L'9'))
            return Fails(RC_BAD_XML_ATTRIBUTE_NAME, options);
        Text present;
        const bool exists = m_doc.GetAttribute(name, present, element);
        if (remove) {
            if (!m_doc.RemoveAttribute(name, element)) return Fails(failure, options);
            continue;
        }
        if (HasOption(options, L"Ff") && !exists) return Fails(failure, options);
        if (HasOption(options, L"Yy") && exists) continue;
        const Text value = HasOption(options, L"Tt") ? Trim(args[k + 1].text) : args[k + 1].text;
        if (!m_doc.SetAttribute(name, value, element)) return Fails(failure, options);
    }
    return 0;
}

int CXMLFileState::DeleteElement(CWords& args, COptions& options, Text&) {
    const bool onNode = m_doc.NodeType() != 0 && m_doc.NodeType() != XML_ELEMENT;
    if (!m_doc.Current() && !onNode) return Fails(RC_XML_POSITION_UNSET, options);
    if (HasOption(options, L"Rr")) {
        if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
        for (const SWord& word : args)
            if (!m_doc.RemoveAttribute(word.text)) return Fails(RC_XML_DELETE_NODE, options);
        return 0;
    }
    if (HasOption(options, L"Cc")) return m_doc.RemoveContent() ? 0 : Fails(RC_XML_DELETE_NODE, options);
    if (HasOption(options, L"Tt"))
        return m_doc.SetData(Text(), false) ? 0 : Fails(RC_XML_DELETE_NODE, options);
    return m_doc.RemoveElement() ? 0 : Fails(RC_XML_DELETE_NODE, options);
}

int CXMLFileState::SetData(CWords& args, COptions& options, Text&) {
    if (!m_doc.Current()) return Fails(RC_XML_POSITION_UNSET, options);
    Text data = JoinWords(args);
    if (HasOption(options, L"Tt")) data = Trim(data);
    const bool cdata = HasOption(options, L"Cc");
    if (HasOption(options, L"Vv")) {
        // As it stands: entity references are kept, so the text is unescaped once
        // here and escaped again on the way in.
        if (data.find(L'<') != Text::npos) return Fails(RC_XML_SET_DATA, options);
        data = CXMLDoc::Unescape(data);
    }
    if (HasOption(options, L"Nn") && !cdata) {
        Text present;
        m_doc.GetData(present);
        data = present + data;
    }
    return m_doc.SetData(data, cdata) ? 0 : Fails(RC_XML_SET_DATA, options);
}

int CXMLFileState::GetData(CWords& args, COptions& options, Text& result) {
    if (!m_doc.Current()) return Fails(RC_XML_POSITION_UNSET, options);
    const bool lenient = HasOption(options, L"Vv");
    Text data;
    bool ok;
    if (!args.empty())
        ok = m_doc.GetAttribute(args[0].text, data);
    else
        ok = m_doc.GetData(data);
    if (!ok && !lenient) return Fails(RC_XML_GET_DATA, options);
    if (HasOption(options, L"Tt")) data = Trim(data);
    if (HasOption(options, L"Nn")) {
        double value;
        if (!ParseWholeDouble(Trim(data), value)) {
            if (!(lenient && data.empty())) return Fails(RC_XML_GET_DATA, options);
        } else {
            data = DoubleText(value);
        }
    }
    result = data;
    return 0;
}

int CXMLFileState::Goto(CWords& args, COptions& options, Text& result) {
    const Text tag = args.empty() ? Text() : args[0].text;
    bool ok;
    if (HasOption(options, L"Oo")) {
        if (!m_doc.Leave()) return Fails(RC_XML_ROOT_ELEMENT, options);
        ok = true;
    } else if (HasOption(options, L"Ii")) {
        const SXMLCursor keep = m_doc.GetCursor();
        if (!m_doc.Current()) return Fails(RC_XML_POSITION_UNSET, options);
        ok = m_doc.Enter() && m_doc.FirstElement(tag);
        if (!ok) m_doc.SetCursor(keep);
    } else if (HasOption(options, L"Ff")) {
        ok = m_doc.FirstElement(tag);
    } else if (HasOption(options, L"Ll")) {
        ok = m_doc.LastElement(tag);
    } else {
        ok = m_doc.NextElement(tag);
    }
    if (!ok) return Fails(RC_XML_NEXT_ELEMENT, options);
    result = m_doc.Tag(m_doc.Current());
    return 0;
}

int CXMLFileState::Root(CWords& args, COptions& options, Text& result) {
    const int root = m_doc.Root();
    if (!root) return Fails(RC_XML_ROOT_ELEMENT, options);
    if (HasOption(options, L"Dd")) {
        if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
        if (args.size() == 1) {
            if (!m_doc.GetAttribute(args[0].text, result, root))
                return Fails(RC_XML_ROOT_ATTRIBUTES, options);
            return 0;
        }
        return m_doc.SetAttribute(args[0].text, args[1].text, root) ? 0
                                                                    : Fails(RC_XML_ROOT_ATTRIBUTES, options);
    }
    m_doc.GoElement(root);
    result = m_doc.Tag(root);
    return 0;
}

int CXMLFileState::AddNode(CWords& args, COptions& options, Text&) {
    static const CKeywordTable words(kNodeWords);
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    const int which = words.Find(args[0].text, true);
    if (which < 0) return RC_BAD_ARG1;
    const int type = kNodeTypes[which];
    Text text = JoinWords(args, 1);
    if (HasOption(options, L"Rr")) {
        if (type != XML_TEXT || text.find(L'<') != Text::npos) return Fails(RC_CANNOT_ADD_XML_NODE, options);
        text = CXMLDoc::Unescape(text);
    }
    const SXMLCursor keep = m_doc.GetCursor();
    int place = XML_BEHIND;
    if (HasOption(options, L"Bb")) place = XML_BEFORE;
    if (HasOption(options, L"Ff")) place = XML_FIRST_CHILD;
    if (HasOption(options, L"Ll")) place = XML_LAST_CHILD;
    if (HasOption(options, L"Oo")) {
        if (!m_doc.Leave()) return Fails(RC_CANNOT_ADD_XML_NODE, options);
        place = XML_BEHIND;
    }
    if (!m_doc.AddNode(type, text, place)) {
        m_doc.SetCursor(keep);
        return Fails(RC_CANNOT_ADD_XML_NODE, options);
    }
    if (type == XML_DOCTYPE) ReadSchema();
    if (HasOption(options, L"Ii")) m_doc.SetCursor(keep);
    return 0;
}

int CXMLFileState::DocType(CWords& args, COptions& options, Text& result) {
    if (args.empty()) {
        if (!m_doc.GetDocType(result)) return Fails(RC_XML_DOCTYPE_MISSING, options);
        return 0;
    }
    Text text;
    if (args[0].text == L"*") {
        text.clear();
    } else if (args[0].text.starts_with(L"<!")) {
        text = JoinWords(args);
    } else {
        text = L"<!DOCTYPE " + args[0].text;
        if (args.size() > 1) {
            text += L" [\r\n";
            for (size_t k = 1; k < args.size(); ++k) text += args[k].text + L"\r\n";
            text += L"]";
        }
        text += L">";
    }
    if (!m_doc.SetDocType(text)) return Fails(RC_XML_SET_DOCTYPE, options);
    ReadSchema();
    return 0;
}

int CXMLFileState::Validate(CWords&, COptions& options, Text& result) {
    if (!m_schema) return Fails(RC_XML_DOCTYPE_MISSING, options);
    int checks = 0;
    if (HasOption(options, L"Rr")) checks |= XDT_CHECK_ROOT;
    if (HasOption(options, L"Cc")) checks |= XDT_CHECK_CHILDREN;
    if (HasOption(options, L"Aa")) checks |= XDT_CHECK_ATTRIBUTES;
    if (HasOption(options, L"Pp")) checks |= XDT_CHECK_PARTIAL;
    if (HasOption(options, L"Ii")) checks |= XDT_IGNORE_UNKNOWN;
    Text message;
    if (!m_schema->Validate(m_doc, m_doc.Current(), checks, message)) {
        result = message;
        return Fails(RC_XML_VALIDATION_FAILED, options);
    }
    return 0;
}

int CXMLFileState::ExtractFile(CWords& args, COptions& options, Text&) {
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    Text text;
    if (!m_doc.ExtractSub(text)) return Fails(RC_XML_EXTRACT_SUBDOCUMENT, options);
    CXMLDoc sub;
    if (!sub.Parse(L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n" + text + L"\r\n"))
        return Fails(RC_XML_EXTRACT_SUBDOCUMENT, options);
    return sub.SaveFile(PathBytes(args[0].text)) ? 0 : Fails(RC_XML_EXTRACT_SUBDOCUMENT, options);
}

int CXMLFileState::Position(CWords& args, COptions& options, Text& result) {
    const Text name = args.empty() ? Text() : args[0].text;
    if (HasOption(options, L"Cc")) {
        m_doc.Positions().clear();
        return 0;
    }
    auto erase = [&]() {
        for (auto it = m_doc.Positions().begin(); it != m_doc.Positions().end(); ++it) {
            if (EqualNoCase(it->first, name)) {
                m_doc.Positions().erase(it);
                return;
            }
        }
    };
    if (HasOption(options, L"Dd")) {
        if (!FindPosition(name)) return Fails(RC_CANNOT_DELETE_XML_POSITION, options);
        erase();
        return 0;
    }
    const bool restore = HasOption(options, L"Rr");
    if (restore || HasOption(options, L"Gg")) {
        const int failure = restore ? RC_CANNOT_RESTORE_XML_POSITION : RC_CANNOT_GOTO_XML_POSITION;
        SXMLCursor* cursor = FindPosition(name);
        if (!cursor || !m_doc.CursorValid(*cursor)) return Fails(failure, options);
        m_doc.SetCursor(*cursor);
        if (restore) erase();
        return 0;
    }
    if (!HasOption(options, L"Ee") && name.empty()) return RC_MISSING_OPTION;
    result = StorePosition(name);
    return 0;
}
