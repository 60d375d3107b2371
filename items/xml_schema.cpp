#include "items/xml_schema.h"

#include <map>

#include "base/keyword_table.h"
#include "items/xml_doc.h"

namespace {

constexpr const wchar_t* kSchemaWords[] = {L"root", L"element", L"child", L"attribute",
                                           L"name", L"close",   nullptr};
enum { W_ROOT, W_ELEMENT, W_CHILD, W_ATTRIBUTE, W_NAME, W_CLOSE };
constexpr const wchar_t* kTypeWords[] = {L"integer", L"number", L"string", L"valuelist", nullptr};
constexpr const wchar_t* kUseWords[] = {L"no", L"yes", L"all", nullptr};

bool Bound(const Text& word, double& value, bool& open) {
    open = word == L"*";
    if (open) return true;
    return ParseWholeDouble(word, value);
}

Text BoundText(double value, bool open, bool integer) {
    if (open) return L"* ";
    return integer ? Format(L"%d ", static_cast<int>(value)) : Format(L"%lg ", value);
}

} // namespace

bool CXDTSchema::Parse(TextView doctype, Text& message) {
    static const CKeywordTable words(kSchemaWords);
    static const CKeywordTable types(kTypeWords);
    static const CKeywordTable uses(kUseWords);
    *this = CXDTSchema{};
    // The document type's own name stands for the schema name and root until lines say otherwise.
    const std::vector<Text> head = SplitBlanks(doctype.substr(0, doctype.find_first_of(L"[\r\n")));
    if (head.size() >= 2) m_name = m_root = Trim(head[1]);
    const size_t open = doctype.find(L'[');
    const size_t close = doctype.rfind(L']');
    if (open == TextView::npos || close == TextView::npos || close < open) return false;
    const TextView body = doctype.substr(open + 1, close - open - 1);
    SXDTElement* current = nullptr;
    size_t pos = 0;
    int lineNumber = 0;
    while (pos <= body.size()) {
        size_t end = body.find_first_of(L"\r\n", pos);
        if (end == TextView::npos) end = body.size();
        const std::vector<Text> line = SplitBlanks(body.substr(pos, end - pos));
        pos = end + 1;
        ++lineNumber;
        if (line.empty()) continue;
        const int word = words.Find(line[0]);
        auto bad = [&](const wchar_t* what) {
            message = Format(L"line %d: %s", lineNumber, what);
            return false;
        };
        switch (word) {
        case W_ROOT:
            if (line.size() < 2) return bad(L"root name missing");
            m_root = line[1];
            break;
        case W_NAME:
            m_name = Trim(JoinFrom(line, 1));
            break;
        case W_ELEMENT: {
            if (line.size() < 2) return bad(L"element name missing");
            if (line.size() > 7) return bad(L"more than five element references");
            m_elements.push_back(SXDTElement{});
            current = &m_elements.back();
            current->name = line[1];
            for (size_t k = 2; k < line.size(); ++k)
                current->refs[k - 2] = line[k] == L"*" ? Text() : line[k];
            break;
        }
        case W_CHILD: {
            if (!current) return bad(L"child outside an element");
            if (line.size() < 2) return bad(L"child name missing");
            SXDTChild child{line[1], 0, -1};
            long long n;
            if (line.size() > 2) {
                if (!ParseWholeLong(line[2], n) || n < 0) return bad(L"bad child count");
                child.least = static_cast<int>(n);
            }
            if (line.size() > 3 && line[3] != L"*") {
                if (!ParseWholeLong(line[3], n) || n < child.least) return bad(L"bad child count");
                child.most = static_cast<int>(n);
            }
            current->children.push_back(child);
            break;
        }
        case W_ATTRIBUTE: {
            if (!current) return bad(L"attribute outside an element");
            if (line.size() < 3) return bad(L"attribute type missing");
            SXDTAttribute attribute;
            attribute.name = line[1];
            attribute.type = types.Find(line[2]);
            if (attribute.type < 0) return bad(L"unknown attribute type");
            size_t last = line.size();
            if (last > 3 && uses.Find(line[last - 1]) >= 0 && line[last - 1].size() > 1) {
                attribute.use = uses.Find(line[last - 1]);
                --last;
            }
            if (attribute.type == XDT_VALUELIST) {
                attribute.values.assign(line.begin() + 3, line.begin() + last);
            } else if (last > 3) {
                if (last != 5) return bad(L"two bounds expected");
                if (!Bound(line[3], attribute.low, attribute.lowOpen) ||
                    !Bound(line[4], attribute.high, attribute.highOpen))
                    return bad(L"bad bound");
            }
            current->attributes.push_back(attribute);
            break;
        }
        case W_CLOSE:
            current = nullptr;
            break;
        default:
            break;
        }
    }
    return true;
}

Text CXDTSchema::JoinFrom(const std::vector<Text>& words, size_t first) {
    Text out;
    for (size_t k = first; k < words.size(); ++k) {
        if (k > first) out += L' ';
        out += words[k];
    }
    return out;
}

const SXDTElement* CXDTSchema::Find(TextView name) const {
    for (const SXDTElement& element : m_elements)
        if (element.name == name) return &element;
    return nullptr;
}

void CXDTSchema::Collect(TextView name, std::vector<const SXDTElement*>& chain) const {
    const SXDTElement* element = Find(name);
    if (!element) return;
    for (const SXDTElement* seen : chain)
        if (seen == element) return; // a loop of references ends here
    chain.push_back(element);
    for (const Text& ref : element->refs)
        if (!ref.empty()) Collect(ref, chain);
}

bool CXDTSchema::IsA(TextView name, TextView base) const {
    std::vector<const SXDTElement*> chain;
    Collect(name, chain);
    for (const SXDTElement* element : chain)
        if (element->name == base) return true;
    return false;
}

std::vector<SXDTChild> CXDTSchema::AllChildren(TextView name) const {
    std::vector<const SXDTElement*> chain;
    Collect(name, chain);
    std::vector<SXDTChild> out;
    for (const SXDTElement* element : chain) {
        for (const SXDTChild& child : element->children) {
            bool known = false;
            for (const SXDTChild& have : out) known = known || have.name == child.name;
            if (!known) out.push_back(child);
        }
    }
    return out;
}

std::vector<SXDTAttribute> CXDTSchema::AllAttributes(TextView name) const {
    std::vector<const SXDTElement*> chain;
    Collect(name, chain);
    std::vector<SXDTAttribute> out;
    for (size_t k = 0; k < chain.size(); ++k) {
        for (SXDTAttribute attribute : chain[k]->attributes) {
            bool known = false;
            for (const SXDTAttribute& have : out) known = known || have.name == attribute.name;
            if (known) continue;
            if (k > 0 && attribute.use == 1) attribute.use = 0; // "yes" binds its own element only
            out.push_back(attribute);
        }
    }
    return out;
}

Text CXDTSchema::ElementForm(const SXDTElement& element) {
    auto slot = [&](int k) { return element.refs[k].empty() ? Text(L"*") : element.refs[k]; };
    return Format(L"%s %s %s %s %s", slot(0).c_str(), slot(1).c_str(), slot(2).c_str(), slot(3).c_str(),
                  slot(4).c_str());
}

Text CXDTSchema::ChildForm(const SXDTChild& child) {
    return Format(L"%s %d %d", child.name.c_str(), child.least, child.most);
}

Text CXDTSchema::AttributeForm(const SXDTAttribute& a) {
    Text out =
        Format(L"%s %d %d %s ", a.name.c_str(), a.use != 0 ? 1 : 0, a.use == 2 ? 1 : 0, kUseWords[a.use]);
    switch (a.type) {
    case XDT_INTEGER:
        out += L"Integer " + BoundText(a.low, a.lowOpen, true) + BoundText(a.high, a.highOpen, true);
        break;
    case XDT_NUMBER:
        out += L"Number " + BoundText(a.low, a.lowOpen, false) + BoundText(a.high, a.highOpen, false);
        break;
    case XDT_STRING:
        out += Format(L"String %d %d", a.lowOpen ? 0 : static_cast<int>(a.low),
                      a.highOpen ? -1 : static_cast<int>(a.high));
        break;
    default:
        out += L"ValueList";
        for (const Text& value : a.values) out += L" " + value;
    }
    return out;
}

bool CXDTSchema::Validate(const CXMLDoc& doc, int element, int checks, Text& message) const {
    std::lock_guard<std::recursive_mutex> lock(doc.Section());
    if ((checks & (XDT_CHECK_ROOT | XDT_CHECK_CHILDREN | XDT_CHECK_ATTRIBUTES)) == 0)
        checks |= XDT_CHECK_ROOT | XDT_CHECK_CHILDREN | XDT_CHECK_ATTRIBUTES;
    const int root = doc.Root();
    if (checks & XDT_CHECK_ROOT) {
        if (!root || doc.Tag(root) != m_root) {
            message = Format(L"root element %s expected", m_root.c_str());
            return false;
        }
    }
    if ((checks & (XDT_CHECK_CHILDREN | XDT_CHECK_ATTRIBUTES)) == 0) return true;
    if (!element) element = root;
    if (!element) return true;
    return ValidateElement(doc, element, checks, message);
}

bool CXDTSchema::ValidateElement(const CXMLDoc& doc, int element, int checks, Text& message) const {
    const Text tag = doc.Tag(element);
    if (!Find(tag)) {
        if (checks & XDT_IGNORE_UNKNOWN) return true;
        message = Format(L"element %s not defined", tag.c_str());
        return false;
    }
    if (checks & XDT_CHECK_ATTRIBUTES) {
        const std::vector<SXDTAttribute> allowed = AllAttributes(tag);
        for (const Text& name : doc.AttributeNames(element)) {
            // The file's own bookkeeping is no part of the schema.
            if (name.starts_with(L"#") || name == L"XMLSort") continue;
            const SXDTAttribute* a = nullptr;
            for (const SXDTAttribute& candidate : allowed)
                if (candidate.name == name) a = &candidate;
            if (!a) {
                message = Format(L"attribute %s not allowed in %s", name.c_str(), tag.c_str());
                return false;
            }
            Text value;
            doc.GetAttribute(name, value, element);
            bool ok = true;
            double number = 0;
            long long whole = 0;
            switch (a->type) {
            case XDT_INTEGER:
                ok = ParseWholeLong(Trim(value), whole);
                number = static_cast<double>(whole);
                break;
            case XDT_NUMBER:
                ok = ParseWholeDouble(Trim(value), number);
                break;
            case XDT_STRING:
                number = static_cast<double>(value.size());
                break;
            default:
                ok = false;
                for (const Text& word : a->values) ok = ok || word == value;
            }
            if (ok && a->type != XDT_VALUELIST)
                ok = (a->lowOpen || number >= a->low) && (a->highOpen || number <= a->high);
            if (!ok) {
                message = Format(L"bad value \"%s\" of attribute %s in %s", value.c_str(), name.c_str(),
                                 tag.c_str());
                return false;
            }
        }
        for (const SXDTAttribute& a : allowed) {
            Text value;
            if (a.use != 0 && !doc.GetAttribute(a.name, value, element)) {
                message = Format(L"attribute %s missing in %s", a.name.c_str(), tag.c_str());
                return false;
            }
        }
    }
    if (checks & XDT_CHECK_CHILDREN) {
        const std::vector<SXDTChild> allowed = AllChildren(tag);
        std::map<Text, int> counts;
        for (int c = doc.Record(element).firstChild; c; c = doc.Record(c).nextSibling) {
            const Text childTag = doc.Tag(c);
            bool known = false;
            for (const SXDTChild& child : allowed) known = known || child.name == childTag;
            if (!known && !((checks & XDT_IGNORE_UNKNOWN) && !Find(childTag))) {
                message = Format(L"element %s not allowed in %s", childTag.c_str(), tag.c_str());
                return false;
            }
            ++counts[childTag];
        }
        for (const SXDTChild& child : allowed) {
            const int n = counts[child.name];
            if (n < child.least || (child.most >= 0 && n > child.most)) {
                message = Format(L"%d elements %s in %s", n, child.name.c_str(), tag.c_str());
                return false;
            }
        }
    }
    if (checks & XDT_CHECK_PARTIAL) return true;
    for (int c = doc.Record(element).firstChild; c; c = doc.Record(c).nextSibling)
        if (!ValidateElement(doc, c, checks, message)) return false;
    return true;
}
