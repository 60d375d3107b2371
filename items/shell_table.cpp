// The table item: its fields, rows, cells, tags and lifetime. Text forms,
// bulk numbers, sorting and the macro-facing kind live in the table_*.cpp files.
#include "items/shell_table.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "expr/numeric_args.h"
#include "items/table_data.h"
#include "numeric/matrix.h"
#include "shell/rc_codes.h"
#include "shell/shell.h"

struct CShellTable::SSavedTags {
    std::vector<unsigned char> tags;
    long tagged = 0;
    int mode = 1;
    bool ranged = false;
};

namespace {

// Large tables are freed on worker threads so that the macro does not wait.
constexpr long kLargeTable = 1000;
constexpr int kMaxFreeJobs = 16;
constexpr int kNiceFromJob = 6;
std::mutex g_freeLock;
int g_freeJobs = 0;

void FreeCells(STableCell* cells, int fields) {
    if (!cells) return;
    for (int f = 0; f < fields; ++f)
        if ((cells[f].type == FIELD_NAME || cells[f].type == FIELD_STRING)) delete cells[f].s;
    delete[] cells;
}

// `fields` 0: rows of a parameter table, which live in the table's chunks.
void FreeRows(STableRow** rows, long count, int fields, double* block) {
    for (long i = 0; fields > 0 && i < count; ++i) {
        FreeCells(rows[i]->cells, fields);
        delete rows[i];
    }
    std::free(rows);
    std::free(block);
}

// Hands the rows to a worker; false when too many workers run already.
bool FreeRowsLater(STableRow** rows, long count, int fields, double* block) {
    int job = 0;
    {
        std::lock_guard<std::mutex> hold(g_freeLock);
        if (g_freeJobs >= kMaxFreeJobs) return false;
        job = ++g_freeJobs;
    }
    try {
        std::thread([=] {
            if (job >= kNiceFromJob) setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), 5);
            FreeRows(rows, count, fields, block);
            std::lock_guard<std::mutex> hold(g_freeLock);
            --g_freeJobs;
        }).detach();
    } catch (...) {
        std::lock_guard<std::mutex> hold(g_freeLock);
        --g_freeJobs;
        return false;
    }
    return true;
}

constexpr wchar_t kNameForbidden[] = L"+-_=\\\",\t :'$/([])<>";

} // namespace

int PendingTableFrees() {
    std::lock_guard<std::mutex> hold(g_freeLock);
    return g_freeJobs;
}

bool IsValidTableName(TextView text, bool pattern) {
    if (text.empty()) return false;
    const wchar_t first = text[0];
    if (first < 33 || (first >= L'0' && first <= L'9')) return false;
    for (wchar_t c : text) {
        if (wcschr(kNameForbidden, c) && c != 0) return false;
        if (!pattern && (c == L'*' || c == L'?')) return false;
    }
    return pattern || text.back() != L'.';
}

// Construction and destruction ------------------------------------------------------------

CShellTable::CShellTable(CShellEnv* env, int kind, int fields, long startSize, long chunkSize)
    : CShellItem(env) {
    m_nKind = kind;
    if (kind & (TABLE_DIRECTORY | TABLE_PARAMETER)) m_nKind |= TABLE_EXTENDED;
    if (fields > 1) m_nKind |= TABLE_EXTENDED;
    m_nChunkSize = std::max(chunkSize, 50L);
    m_nStartSize = startSize > 0 ? startSize : m_nChunkSize;
    if (m_nKind == TABLE_PLAIN) {
        m_nFields = 1;
        m_pFields = std::make_unique<CShellTableField[]>(1);
        m_pFields[0].m_nType = FIELD_STRING;
        m_pFields[0].m_sName = L"A";
        m_pFields[0].m_sFormat = L"%s";
        return;
    }
    const int fixed = (m_nKind & TABLE_DIRECTORY) ? 3 : 0;
    m_nFields = std::max(fields, 0) + fixed;
    if (m_nFields < 1) m_nFields = 1;
    m_pFields = std::make_unique<CShellTableField[]>(static_cast<size_t>(m_nFields));
    if (fixed) {
        static constexpr const wchar_t* kFixed[] = {L"Name", L"Begin", L"Length"};
        static constexpr int kFixedType[] = {FIELD_NAME, FIELD_INTEGER, FIELD_INTEGER};
        for (int f = 0; f < 3; ++f) {
            m_pFields[f].m_nType = kFixedType[f];
            m_pFields[f].m_sName = kFixed[f];
        }
    }
}

CShellTable::~CShellTable() {
    if (s_bInternalReports.load() && m_nShare != 0)
        ReportInternal(Format(L"Internal error: %s decomposing with m_nShare=%d (should be 0). Answering "
                              L"\"No\" will suppress future runtime error reporting.",
                              GetDescription().c_str(), m_nShare));
    m_nShare = 0; // reported in the table's own words above
    const bool param = IsParameter();
    if (m_nRows > kLargeTable && FreeRowsLater(m_ppRows, m_nRows, param ? 0 : m_nFields, m_pBlock)) return;
    FreeRows(m_ppRows, m_nRows, param ? 0 : m_nFields, m_pBlock);
}

CShellTable* CShellTable::Find(const CShell& shell, TextView name) {
    CShell::ItemEntry* e = shell.FindItem(name, KIND_TABLE);
    if (!e || !e->value) return nullptr;
    return static_cast<CShellTable*>(AsItem(e->value));
}

void CShellTable::Describe(Text& out) {
    const wchar_t* word = L"plain table";
    if (m_nKind & TABLE_DIRECTORY)
        word = L"directory table";
    else if (m_nKind & TABLE_PARAMETER)
        word = L"parameter table";
    else if (m_nKind & TABLE_EXTENDED)
        word = L"extended table";
    else if (m_bRanged)
        word = L"ranged table";
    out = Format(L"CShellTable %p (%s), usage count %d", static_cast<void*>(this), word, m_nShare);
}

// Fields -------------------------------------------------------------------------------------

int CShellTable::DefineField(int index, int type, TextView name) {
    CItemSection hold(m_cs);
    if (index < 0) return RC_NEGATIVE_FIELD_INDEX;
    if (index >= m_nFields) return RC_TOO_MANY_FIELDS;
    if (type < FIELD_NAME || type > FIELD_NUMBER) return RC_BAD_FIELD_TYPE;
    if (IsParameter() && type != FIELD_INTEGER && type != FIELD_NUMBER) return RC_NON_NUMERIC_PARAMETER_FIELD;
    if (m_pFields[index].Defined()) return RC_FIELD_REDEFINED;
    if (!IsValidTableName(name)) return RC_BAD_FIELD_NAME;
    for (int f = 0; f < m_nFields; ++f)
        if (m_pFields[f].Defined() && EqualNoCase(m_pFields[f].m_sName, name)) return RC_BAD_FIELD_DEFINITION;
    m_pFields[index].Reset();
    m_pFields[index].m_nType = type;
    m_pFields[index].m_sName = Text(name);
    if (m_nFields > 1 || m_nKind != TABLE_PLAIN) m_nKind |= (m_nFields > 1 ? TABLE_EXTENDED : 0);
    m_nChanged |= TABLE_CHANGED_FIELDS;
    return 0;
}

int CShellTable::UndefineField(int field) {
    CItemSection hold(m_cs);
    if (field < 0 || field >= m_nFields || !m_pFields[field].Defined()) return RC_NO_SUCH_FIELD;
    if ((m_nKind & TABLE_DIRECTORY) && field < 3) return RC_FIELD_REDEFINED;
    if (!IsParameter())
        for (long r = 0; r < m_nRows; ++r) ClearCell(m_ppRows[r]->cells[field]);
    m_pFields[field].Reset();
    m_nChanged |= TABLE_CHANGED_FIELDS | TABLE_CHANGED_CONTENT;
    return 0;
}

int CShellTable::RenameField(int field, TextView name) {
    CItemSection hold(m_cs);
    if (field < 0 || field >= m_nFields || !m_pFields[field].Defined()) return RC_CANNOT_RENAME_FIELD;
    if (!IsValidTableName(name)) return RC_BAD_FIELD_NAME;
    for (int f = 0; f < m_nFields; ++f)
        if (f != field && m_pFields[f].Defined() && EqualNoCase(m_pFields[f].m_sName, name))
            return RC_CANNOT_RENAME_FIELD;
    m_pFields[field].m_sName = Text(name);
    m_nChanged |= TABLE_CHANGED_FIELDS;
    return 0;
}

int CShellTable::GetFields(bool visibleOnly) const {
    auto& cs = const_cast<std::recursive_mutex&>(m_cs);
    CItemSection hold(cs);
    if (!visibleOnly) return m_nFields;
    int count = 0;
    for (int f = 0; f < m_nFields; ++f)
        if (m_pFields[f].Defined() && m_pFields[f].m_bVisible) ++count;
    return count;
}

int CShellTable::FindField(TextView text) const {
    auto& cs = const_cast<std::recursive_mutex&>(m_cs);
    CItemSection hold(cs);
    TextView trimmed = text;
    while (!trimmed.empty() && (trimmed.front() == L' ' || trimmed.front() == L'\t'))
        trimmed.remove_prefix(1);
    while (!trimmed.empty() && (trimmed.back() == L' ' || trimmed.back() == L'\t')) trimmed.remove_suffix(1);
    if (trimmed.empty()) return -1;
    // A letter cannot begin an integer expression: names skip the evaluator.
    if (!iswalpha(trimmed[0])) {
        long long index = 0;
        if (EvalInteger(trimmed, index)) {
            if (index >= 0 && index < m_nFields && m_pFields[index].Defined()) return static_cast<int>(index);
            return -1;
        }
    }
    for (int f = 0; f < m_nFields; ++f)
        if (m_pFields[f].Defined() && EqualNoCase(m_pFields[f].m_sName, trimmed)) return f;
    return -1;
}

int CShellTable::FieldType(int field) const {
    auto& cs = const_cast<std::recursive_mutex&>(m_cs);
    CItemSection hold(cs);
    return (field >= 0 && field < m_nFields) ? m_pFields[field].m_nType : FIELD_UNDEFINED;
}

Text CShellTable::FieldName(int field) const {
    auto& cs = const_cast<std::recursive_mutex&>(m_cs);
    CItemSection hold(cs);
    return (field >= 0 && field < m_nFields) ? m_pFields[field].m_sName : Text();
}

Text CShellTable::FieldDefinition(int field) const {
    auto& cs = const_cast<std::recursive_mutex&>(m_cs);
    CItemSection hold(cs);
    if (field < 0 || field >= m_nFields) return {};
    const CShellTableField& f = m_pFields[field];
    Text out = Format(L"%d %s %d %d %.20lg", f.m_nType, f.m_sName.c_str(), f.m_bVisible ? 1 : 0,
                      f.m_bNamed ? 1 : 0, f.m_dScale);
    if (!f.m_sFormat.empty()) out += L" " + f.m_sFormat;
    if (f.m_bMissing) out += Format(L" %.20lg %s", f.m_dMissing, f.m_sMissing.c_str());
    return out;
}

void CShellTable::CopyLayout(const CShellTable& source) {
    CItemSection hold(m_cs);
    m_nKind = source.m_nKind;
    m_nMode = source.m_nMode;
    m_cDecimal = source.m_cDecimal;
    m_bNamedIO = source.m_bNamedIO;
    m_sLSep = source.m_sLSep;
    m_sVSep = source.m_sVSep;
    m_sNumFormat = source.m_sNumFormat;
    m_sIntFormat = source.m_sIntFormat;
    m_nStartSize = source.m_nStartSize;
    m_nChunkSize = source.m_nChunkSize;
    if (m_nRows == 0) {
        m_nFields = source.m_nFields;
        m_pFields = std::make_unique<CShellTableField[]>(static_cast<size_t>(m_nFields));
    }
    for (int f = 0; f < std::min(m_nFields, source.m_nFields); ++f) m_pFields[f] = source.m_pFields[f];
    m_nChanged = 7;
}

// Rows ---------------------------------------------------------------------------------------

long CShellTable::GetRows() const {
    auto& cs = const_cast<std::recursive_mutex&>(m_cs);
    CItemSection hold(cs);
    return m_bRanged ? m_nTagged : m_nRows;
}

long CShellTable::GetRowIndex(long visible) const {
    auto& cs = const_cast<std::recursive_mutex&>(m_cs);
    CItemSection hold(cs);
    if (visible < 0) return -1;
    if (m_bRanged) return visible < static_cast<long>(m_pTagIndex.size()) ? m_pTagIndex[visible] : -1;
    return visible < m_nRows ? visible : -1;
}

long CShellTable::MacroRow(long index, bool real) const {
    if (real) {
        auto& cs = const_cast<std::recursive_mutex&>(m_cs);
        CItemSection hold(cs);
        return (index >= 0 && index < m_nRows) ? index : -1;
    }
    return GetRowIndex(index);
}

bool CShellTable::Grow(long n) {
    long step = m_nCapacity == 0 ? m_nStartSize : m_nChunkSize;
    if (n > step) step = n;
    const long capacity = m_nCapacity + step;
    if (capacity > m_nRowRoom) {
        const long room = std::max(capacity, m_nRowRoom * 2);
        auto* rows = static_cast<STableRow**>(std::realloc(m_ppRows, sizeof(STableRow*) * room));
        if (!rows) return false;
        m_ppRows = rows;
        m_nRowRoom = room;
    }
    if (IsParameter()) {
        if (capacity > m_nBlockRoom) {
            const long room = std::max(capacity, m_nBlockRoom * 2);
            auto* block = static_cast<double*>(std::realloc(m_pBlock, sizeof(double) * room * m_nFields));
            if (!block) return false;
            m_pBlock = block;
            m_nBlockRoom = room;
        }
        std::memset(m_pBlock + m_nCapacity * m_nFields, 0, sizeof(double) * step * m_nFields);
        // The block may have moved: every row gets place i again, which also ends any
        // sharing of a place that a deletion left behind.
        if (m_bPlacesMoved)
            for (long r = 0; r < m_nRows; ++r) m_ppRows[r]->place = r;
        m_bPlacesMoved = false;
    }
    std::fill(m_ppRows + m_nCapacity, m_ppRows + capacity, nullptr);
    m_nCapacity = capacity;
    return true;
}

long CShellTable::AppendRows(long n) {
    CItemSection hold(m_cs);
    if (n < 1 || m_pSavedTags) return -1;
    if (m_nRows + n > m_nCapacity && !Grow(n)) return -1;
    const long first = m_nRows;
    const bool param = IsParameter();
    for (long k = 0; k < n; ++k) {
        auto* row = param ? NewBlockRow() : new STableRow;
        if (param) {
            // The place comes from the row count: after the deletion of a middle row it is the
            // place the last row still uses, and the two rows share it from now on.
            row->inBlock = true;
            row->place = m_nRows;
            std::memset(m_pBlock + m_nRows * m_nFields, 0, sizeof(double) * m_nFields);
        } else {
            row->cells = new STableCell[static_cast<size_t>(m_nFields)];
        }
        m_ppRows[m_nRows++] = row;
    }
    m_nChanged |= TABLE_CHANGED_CONTENT;
    return first;
}

STableRow* CShellTable::NewBlockRow() {
    constexpr size_t kRowsPerChunk = 4096;
    if (!m_freeRows.empty()) {
        STableRow* row = m_freeRows.back();
        m_freeRows.pop_back();
        *row = STableRow{};
        return row;
    }
    if (m_rowChunks.empty() || m_nChunkUsed == kRowsPerChunk) {
        m_rowChunks.push_back(std::make_unique<STableRow[]>(kRowsPerChunk));
        m_nChunkUsed = 0;
    }
    return &m_rowChunks.back()[m_nChunkUsed++];
}

void CShellTable::FreeRow(STableRow* row) {
    if (IsParameter()) {
        m_freeRows.push_back(row);
        return;
    }
    FreeCells(row->cells, m_nFields);
    delete row;
}

bool CShellTable::DeleteRow(long row) {
    CItemSection hold(m_cs);
    if (m_pSavedTags || row < 0 || row >= m_nRows) return false;
    if (m_ppRows[row]->tag) {
        --m_nTagged;
        m_nChanged |= TABLE_CHANGED_TAGS;
    }
    FreeRow(m_ppRows[row]);
    std::memmove(m_ppRows + row, m_ppRows + row + 1, sizeof(STableRow*) * (m_nRows - row - 1));
    --m_nRows;
    m_ppRows[m_nRows] = nullptr;
    if (row != m_nRows && IsParameter()) m_bPlacesMoved = true;
    if (m_bRanged) RebuildTagIndex();
    m_nChanged |= TABLE_CHANGED_CONTENT;
    return true;
}

void CShellTable::DeleteAllRows() {
    CItemSection hold(m_cs);
    if (m_pSavedTags) return;
    for (long r = 0; r < m_nRows; ++r) FreeRow(m_ppRows[r]);
    std::free(m_ppRows);
    m_ppRows = nullptr;
    m_nRowRoom = 0;
    m_nCapacity = 0;
    m_nRows = 0;
    m_nTagged = 0;
    m_bPlacesMoved = false;
    m_pTagIndex.clear();
    m_nChanged |= TABLE_CHANGED_CONTENT | TABLE_CHANGED_TAGS;
}

long CShellTable::DeleteTagged() {
    CItemSection hold(m_cs);
    if (m_pSavedTags) return -1;
    if (!m_bRanged) {
        const long all = m_nRows;
        DeleteAllRows();
        return all;
    }
    long kept = 0;
    const long before = m_nRows;
    for (long r = 0; r < m_nRows; ++r) {
        if (m_ppRows[r]->tag) {
            FreeRow(m_ppRows[r]);
            if (IsParameter() && r != m_nRows - 1) m_bPlacesMoved = true;
        } else {
            m_ppRows[kept++] = m_ppRows[r];
        }
    }
    std::fill(m_ppRows + kept, m_ppRows + m_nRows, nullptr);
    m_nRows = kept;
    m_nTagged = 0;
    RebuildTagIndex();
    m_nChanged |= TABLE_CHANGED_CONTENT | TABLE_CHANGED_TAGS;
    return before - kept;
}

long CShellTable::AppendCopy(const CShellTable& source, long row) {
    CItemSection hold(m_cs);
    auto& cs = const_cast<std::recursive_mutex&>(source.m_cs);
    CItemSection holdSource(cs);
    if (row < 0 || row >= source.m_nRows) return -1;
    const long at = AppendRows(1);
    if (at < 0) return -1;
    const int fields = std::min(m_nFields, source.m_nFields);
    if (IsParameter() && source.IsParameter()) {
        std::memcpy(Place(at), source.Place(row), sizeof(double) * fields);
        return at;
    }
    Text text;
    for (int f = 0; f < fields; ++f)
        if (source.GetCell(row, f, text) && !text.empty()) WriteCellText(*m_ppRows[at], f, text);
    return at;
}

// Cells --------------------------------------------------------------------------------------

void CShellTable::ClearCell(STableCell& cell) {
    if (cell.type == FIELD_NAME || cell.type == FIELD_STRING) delete cell.s;
    cell.type = FIELD_UNDEFINED;
    cell.s = nullptr;
}

bool CShellTable::GetCell(long row, int field, Text& out) const {
    auto& cs = const_cast<std::recursive_mutex&>(m_cs);
    CItemSection hold(cs);
    out.clear();
    if (row < 0 || row >= m_nRows || field < 0 || field >= m_nFields) return false;
    if (IsParameter()) {
        out = DoubleText(Place(row)[field]);
        return true;
    }
    const STableCell& cell = m_ppRows[row]->cells[field];
    switch (cell.type) {
    case FIELD_NAME:
    case FIELD_STRING:
        out = *cell.s;
        break;
    case FIELD_INTEGER:
        out = IntText(cell.i);
        break;
    case FIELD_NUMBER:
        out = DoubleText(cell.d);
        break;
    default:
        break;
    }
    return true;
}

bool CShellTable::GetNumber(long row, int field, double& out) const {
    auto& cs = const_cast<std::recursive_mutex&>(m_cs);
    CItemSection hold(cs);
    if (row < 0 || row >= m_nRows || field < 0 || field >= m_nFields) return false;
    if (IsParameter()) {
        out = Place(row)[field];
        return true;
    }
    const STableCell& cell = m_ppRows[row]->cells[field];
    if (cell.type == FIELD_INTEGER) {
        out = cell.i;
        return true;
    }
    if (cell.type == FIELD_NUMBER) {
        out = cell.d;
        return true;
    }
    return false;
}

namespace {
// A number of a command line: plain decimal text first, the expression evaluator for the rest.
bool CellNumber(TextView text, double& value) {
    if (ParseWholeDouble(text, value)) return true;
    return EvalNumber(text, value);
}
int ToInt(double value) {
    if (!(value == value)) return 0;
    if (value >= 2147483647.0) return 2147483647;
    if (value <= -2147483648.0) return -2147483647 - 1;
    return static_cast<int>(value); // truncation, as the Integer fields keep it
}
} // namespace

int CShellTable::WriteCellText(STableRow& row, int field, TextView text) {
    const CShellTableField& f = m_pFields[field];
    if (IsParameter()) {
        double* place = m_pBlock + row.place * m_nFields;
        if (text.empty()) {
            place[field] = 0.0;
            return 0;
        }
        double value = 0;
        if (!CellNumber(text, value))
            return f.m_nType == FIELD_INTEGER ? RC_INTEGER_EXPECTED : RC_NUMBER_EXPECTED;
        place[field] = f.m_nType == FIELD_INTEGER ? std::trunc(value) : value;
        return 0;
    }
    STableCell& cell = row.cells[field];
    if (text.empty()) {
        ClearCell(cell);
        return 0;
    }
    switch (f.m_nType) {
    case FIELD_NAME:
    case FIELD_STRING: {
        if (f.m_nType == FIELD_NAME && !IsValidTableName(text)) return RC_NAME_EXPECTED;
        if (cell.type == FIELD_NAME || cell.type == FIELD_STRING) {
            cell.s->assign(text);
        } else {
            cell.s = new Text(text);
        }
        cell.type = f.m_nType;
        return 0;
    }
    case FIELD_INTEGER:
    case FIELD_NUMBER: {
        double value = 0;
        if (!CellNumber(text, value))
            return f.m_nType == FIELD_INTEGER ? RC_INTEGER_EXPECTED : RC_NUMBER_EXPECTED;
        ClearCell(cell);
        cell.type = f.m_nType;
        if (f.m_nType == FIELD_INTEGER)
            cell.i = ToInt(value);
        else
            cell.d = value;
        return 0;
    }
    default:
        return RC_NO_SUCH_FIELD;
    }
}

int CShellTable::SetCell(long row, int field, TextView text) {
    CItemSection hold(m_cs);
    if (row < 0 || row >= m_nRows) return RC_NO_SUCH_ENTRY_INDEX;
    if (field < 0 || field >= m_nFields || !m_pFields[field].Defined()) return RC_NO_SUCH_FIELD;
    const int code = WriteCellText(*m_ppRows[row], field, text);
    if (!code) m_nChanged |= TABLE_CHANGED_CONTENT;
    return code;
}

int CShellTable::SetNumber(long row, int field, double value) {
    CItemSection hold(m_cs);
    if (row < 0 || row >= m_nRows) return RC_NO_SUCH_ENTRY_INDEX;
    if (field < 0 || field >= m_nFields || !m_pFields[field].Defined()) return RC_NO_SUCH_FIELD;
    const CShellTableField& f = m_pFields[field];
    m_nChanged |= TABLE_CHANGED_CONTENT;
    if (IsParameter()) {
        Place(row)[field] = f.m_nType == FIELD_INTEGER ? std::trunc(value) : value;
        return 0;
    }
    STableCell& cell = m_ppRows[row]->cells[field];
    if (f.m_nType == FIELD_INTEGER) {
        ClearCell(cell);
        cell.type = FIELD_INTEGER;
        cell.i = ToInt(value);
    } else if (f.m_nType == FIELD_NUMBER) {
        ClearCell(cell);
        cell.type = FIELD_NUMBER;
        cell.d = value;
    } else {
        return WriteCellText(*m_ppRows[row], field, DoubleText(value));
    }
    return 0;
}

bool CShellTable::SetRowString(long row, TextView text) {
    CItemSection hold(m_cs);
    if (row < 0 || row >= m_nRows || IsParameter()) return false;
    STableCell& cell = m_ppRows[row]->cells[0];
    if (cell.type == FIELD_STRING || cell.type == FIELD_NAME) {
        cell.s->assign(text);
    } else {
        cell.s = new Text(text);
    }
    cell.type = FIELD_STRING;
    m_nChanged |= TABLE_CHANGED_CONTENT;
    return true;
}

// Tags ---------------------------------------------------------------------------------------

bool CShellTable::IsTagged(long row) const {
    auto& cs = const_cast<std::recursive_mutex&>(m_cs);
    CItemSection hold(cs);
    return row >= 0 && row < m_nRows && m_ppRows[row]->tag;
}

void CShellTable::SetTag(long row, bool on) {
    CItemSection hold(m_cs);
    if (row < 0 || row >= m_nRows) return;
    unsigned char& tag = m_ppRows[row]->tag;
    if ((tag != 0) == on) return;
    tag = on ? 1 : 0;
    m_nTagged += on ? 1 : -1;
    m_nChanged |= TABLE_CHANGED_TAGS;
    if (m_bRanged) RebuildTagIndex();
}

void CShellTable::SetAllTags(bool on) {
    CItemSection hold(m_cs);
    for (long r = 0; r < m_nRows; ++r) m_ppRows[r]->tag = on ? 1 : 0;
    m_nTagged = on ? m_nRows : 0;
    m_nChanged |= TABLE_CHANGED_TAGS;
    RebuildTagIndex();
}

void CShellTable::InvertTags() {
    CItemSection hold(m_cs);
    for (long r = 0; r < m_nRows; ++r) m_ppRows[r]->tag = m_ppRows[r]->tag ? 0 : 1;
    m_nTagged = m_nRows - m_nTagged;
    m_nChanged |= TABLE_CHANGED_TAGS;
    RebuildTagIndex();
}

void CShellTable::SetRanged(bool on) {
    CItemSection hold(m_cs);
    m_bRanged = on;
    m_nChanged |= TABLE_CHANGED_TAGS;
    RebuildTagIndex();
}

void CShellTable::RebuildTagIndex() {
    CItemSection hold(m_cs);
    m_pTagIndex.clear();
    long tagged = 0;
    for (long r = 0; r < m_nRows; ++r)
        if (m_ppRows[r]->tag) {
            ++tagged;
            if (m_bRanged) m_pTagIndex.push_back(r);
        }
    m_nTagged = tagged;
}

void CShellTable::SaveState() {
    auto saved = std::make_unique<SSavedTags>();
    saved->tags.resize(static_cast<size_t>(m_nRows));
    for (long r = 0; r < m_nRows; ++r) saved->tags[r] = m_ppRows[r]->tag;
    saved->tagged = m_nTagged;
    saved->mode = m_nMode;
    saved->ranged = m_bRanged;
    m_pSavedTags = std::move(saved);
}

void CShellTable::RestoreState() {
    if (!m_pSavedTags) return;
    // No row came or went while the tags were saved.
    const long n = std::min<long>(m_nRows, static_cast<long>(m_pSavedTags->tags.size()));
    for (long r = 0; r < n; ++r) m_ppRows[r]->tag = m_pSavedTags->tags[r];
    m_nMode = m_pSavedTags->mode;
    m_bRanged = m_pSavedTags->ranged;
    m_pSavedTags.reset();
    RebuildTagIndex();
    m_nChanged |= TABLE_CHANGED_TAGS;
}

void CShellTable::MemoryEstimate(long long& all, long long& visible) const {
    auto& cs = const_cast<std::recursive_mutex&>(m_cs);
    CItemSection hold(cs);
    if (m_nKind == TABLE_PLAIN) {
        all = visible = -1;
        return;
    }
    auto rowBytes = [&](long r) -> long long {
        if (IsParameter()) return static_cast<long long>(m_nFields + 2) * 8;
        long long bytes = 16;
        for (int f = 0; f < m_nFields; ++f) {
            const STableCell& cell = m_ppRows[r]->cells[f];
            if (cell.type == FIELD_NAME || cell.type == FIELD_STRING)
                bytes += static_cast<long long>(cell.s->size());
            else if (cell.type == FIELD_INTEGER)
                bytes += 4;
            else if (cell.type == FIELD_NUMBER)
                bytes += 8;
        }
        return bytes;
    };
    all = visible = 0;
    for (long r = 0; r < m_nRows; ++r) {
        const long long b = rowBytes(r);
        all += b;
        if (!m_bRanged || m_ppRows[r]->tag) visible += b;
    }
}
