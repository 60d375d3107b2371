// Tables in and out of XML elements. A table of numbers goes into an element
// as its text, one line a row (or a column with /C), values joined by one
// blank, with `dim` "rows columns" ("columns rows" and `vector`="1" by
// columns). A table with other fields goes in row by row in storage form,
// `dim` "rows 1". An empty table leaves no `dim`.
#include "items/xml_tables.h"

#include "items/shell_table.h"
#include "items/xml_file.h"
#include "shell/error_table.h"
#include "shell/options.h"

namespace {

int Fails(int code, const COptions& options) {
    return HasOption(options, L"Ss") ? SilentTwin(code, code) : code;
}

CShellTable* TableOf(CXMLFileState& state, const CWords& args) {
    if (args.empty() || !state.Shell()) return nullptr;
    return CShellTable::Find(*state.Shell(), args[0].text);
}

// The defined fields, in their order.
std::vector<int> DefinedFields(const CShellTable& table) {
    std::vector<int> fields;
    for (int f = 0; f < table.GetFields(false); ++f)
        if (table.FieldType(f) != FIELD_UNDEFINED) fields.push_back(f);
    return fields;
}

bool Numeric(const CShellTable& table, const std::vector<int>& fields) {
    if (fields.empty()) return false;
    for (int f : fields) {
        const int type = table.FieldType(f);
        if (type != FIELD_INTEGER && type != FIELD_NUMBER) return false;
    }
    return true;
}

std::vector<Text> Lines(TextView text) {
    std::vector<Text> lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find_first_of(L"\r\n", start);
        if (end == TextView::npos) end = text.size();
        if (end > start) lines.emplace_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

} // namespace

int TableToElement(CXMLDoc& doc, CShellTable& tableRef, const Text* tag, int place, const COptions& options) {
    CShellTable* table = &tableRef;
    std::lock_guard<std::recursive_mutex> lock(doc.Section());
    CItemSection section(table->m_cs);
    const bool byColumns = HasOption(options, L"Cc");
    const bool taggedOnly = HasOption(options, L"Tt");
    std::vector<long> rows;
    for (long v = 0; v < table->GetRows(); ++v) {
        const long real = table->GetRowIndex(v);
        if (real >= 0 && (!taggedOnly || table->IsTagged(real))) rows.push_back(real);
    }
    const std::vector<int> fieldList = DefinedFields(*table);
    const bool numeric = Numeric(*table, fieldList);
    const int fields = numeric ? static_cast<int>(fieldList.size()) : 1;
    Text data;
    if (rows.empty()) {
        // Nothing to write: the element is left empty.
    } else if (numeric) {
        const size_t outer = byColumns ? fields : rows.size();
        const size_t inner = byColumns ? rows.size() : fields;
        for (size_t a = 0; a < outer; ++a) {
            if (a) data += L"\r\n";
            for (size_t b = 0; b < inner; ++b) {
                Text cell;
                table->GetCell(byColumns ? rows[b] : rows[a], fieldList[byColumns ? a : b], cell);
                if (b) data += L' ';
                data += cell.empty() ? Text(L"0") : cell;
            }
        }
    } else {
        for (size_t r = 0; r < rows.size(); ++r) {
            if (r) data += L"\r\n";
            data += table->RowText(rows[r], true);
        }
    }
    if (!tag) {
        if (!doc.Current() || !doc.SetData(data, false)) return Fails(RC_XML_INSERT_FAILED, options);
    } else if (!doc.AddElement(*tag, &data, place)) {
        return Fails(RC_XML_INSERT_FAILED, options);
    }
    if (rows.empty()) {
        doc.RemoveAttribute(L"dim");
        if (!byColumns) doc.RemoveAttribute(L"vector");
    } else if (!numeric) {
        doc.SetAttribute(L"dim", Format(L"%d %d", static_cast<int>(rows.size()), 1));
        doc.RemoveAttribute(L"vector");
    } else if (byColumns) {
        doc.SetAttribute(L"dim", Format(L"%d %d", fields, static_cast<int>(rows.size())));
    } else {
        doc.SetAttribute(L"dim", Format(L"%d %d", static_cast<int>(rows.size()), fields));
        doc.RemoveAttribute(L"vector");
    }
    if (byColumns && !rows.empty()) doc.SetAttribute(L"vector", L"1");
    return 0;
}

int XmlAddTable(CXMLFileState& state, CWords& args, COptions& options, Text&) {
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    CShellTable* table = TableOf(state, args);
    if (!table) return Fails(RC_NO_SUCH_ITEM, options);
    CXMLDoc& doc = state.Doc();
    std::lock_guard<std::recursive_mutex> lock(doc.Section());
    const SXMLCursor keep = doc.GetCursor();
    int place = XML_BEHIND;
    if (HasOption(options, L"Oo")) place = XML_BEFORE;
    if (HasOption(options, L"Ff")) place = XML_FIRST_CHILD;
    const Text tag = args.size() > 1 ? args[1].text : Text(L"table");
    const bool into = HasOption(options, L"Rr");
    if ((into || place == XML_FIRST_CHILD) && !doc.Current()) return Fails(RC_XML_POSITION_UNSET, options);
    const int code = TableToElement(doc, *table, into ? nullptr : &tag, place, options);
    if (code) return code;
    if (!into) state.MarkUnsorted(doc.Record(doc.Current()).parent);
    if (HasOption(options, L"Ii")) doc.SetCursor(keep);
    return 0;
}

int XmlExtractTable(CXMLFileState& state, CWords& args, COptions& options, Text&) {
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    CShellTable* table = TableOf(state, args);
    if (!table) return Fails(RC_NO_SUCH_ITEM, options);
    return ElementToTable(state.Doc(), *table, options);
}

int ElementToTable(CXMLDoc& doc, CShellTable& tableRef, const COptions& options) {
    CShellTable* table = &tableRef;
    std::lock_guard<std::recursive_mutex> lock(doc.Section());
    if (!doc.Current()) return Fails(RC_XML_POSITION_UNSET, options);
    Text data, dim, vector;
    if (!doc.GetData(data)) return Fails(RC_XML_EXTRACT_SUBDOCUMENT, options);
    const bool hasDim = doc.GetAttribute(L"dim", dim);
    const bool byColumns = doc.GetAttribute(L"vector", vector) && Trim(vector) == L"1";
    CItemSection section(table->m_cs);
    const std::vector<Text> lines = Lines(data);
    const std::vector<int> fieldList = DefinedFields(*table);
    const bool numeric = Numeric(*table, fieldList);
    std::vector<Text> dims = SplitBlanks(dim);
    long long columns = 0;
    if (hasDim && dims.size() == 2) ParseWholeLong(dims[byColumns ? 0 : 1], columns);
    if (!numeric || (hasDim && columns == 1 && !byColumns && !table->IsParameter())) {
        for (const Text& line : lines) {
            const long row = table->AppendRows(1);
            if (row < 0) return Fails(RC_XML_EXTRACT_SUBDOCUMENT, options);
            const int code = table->SetRowText(row, line);
            if (code) return Fails(code, options);
        }
        return 0;
    }
    std::vector<std::vector<double>> cells;
    for (const Text& line : lines) {
        std::vector<double> values;
        for (const Text& word : SplitBlanks(line)) {
            double value;
            if (!ParseWholeDouble(word, value)) return Fails(RC_XML_EXTRACT_SUBDOCUMENT, options);
            values.push_back(value);
        }
        cells.push_back(values);
    }
    const size_t outer = cells.size();
    size_t inner = 0;
    for (const auto& line : cells) inner = std::max(inner, line.size());
    const size_t rowsOut = byColumns ? inner : outer;
    const size_t columnsOut = byColumns ? outer : inner;
    for (size_t r = 0; r < rowsOut; ++r) {
        const long row = table->AppendRows(1);
        if (row < 0) return Fails(RC_XML_EXTRACT_SUBDOCUMENT, options);
        for (size_t c = 0; c < columnsOut && c < fieldList.size(); ++c) {
            const std::vector<double>& line = cells[byColumns ? c : r];
            const size_t k = byColumns ? r : c;
            if (k < line.size() && table->SetNumber(row, fieldList[c], line[k]) != 0)
                return Fails(RC_XML_EXTRACT_SUBDOCUMENT, options);
        }
    }
    return 0;
}

int XmlListTable(CXMLFileState& state, CWords& args, COptions& options, Text&) {
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    CShellTable* table = TableOf(state, args);
    if (!table) return Fails(RC_NO_SUCH_ITEM, options);
    CXMLDoc& doc = state.Doc();
    std::lock_guard<std::recursive_mutex> lock(doc.Section());
    const int current = doc.Current();
    const int first =
        current ? doc.Record(current).firstChild : doc.Record(doc.GetCursor().parent).firstChild;
    CItemSection section(table->m_cs);
    for (int c = first; c; c = doc.Record(c).nextSibling) {
        const long row = table->AppendRows(1);
        if (row < 0 || table->SetRowText(row, doc.Tag(c)) != 0) return Fails(RC_COMMAND_ERROR, options);
    }
    return 0;
}
