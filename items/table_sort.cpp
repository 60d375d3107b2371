// SORT and FIND of a table. Strings sort by German rules through ICU's
// collator for "de", so the order never depends on which system locales a
// machine has or on the process locale.
#include <unicode/coll.h>
#include <unicode/sortkey.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "expr/numeric_args.h"
#include "items/shell_table.h"
#include "items/table_data.h"
#include "shell/rc_codes.h"

namespace {

// One sort at a time in the process, as the key list once lived in globals; the collators
// are made once and kept.
std::mutex g_sortLock;
std::unique_ptr<icu::Collator> g_collator[2];

icu::Collator* Collator(bool caseSensitive) {
    auto& slot = g_collator[caseSensitive ? 1 : 0];
    if (!slot) {
        UErrorCode status = U_ZERO_ERROR;
        slot.reset(icu::Collator::createInstance(icu::Locale("de"), status));
        if (U_FAILURE(status) || !slot) {
            slot.reset();
            return nullptr;
        }
        slot->setStrength(caseSensitive ? icu::Collator::TERTIARY : icu::Collator::SECONDARY);
    }
    return slot.get();
}

std::string CollationKey(icu::Collator* collator, const Text& text) {
    const icu::UnicodeString u = icu::UnicodeString::fromUTF32(reinterpret_cast<const UChar32*>(text.data()),
                                                               static_cast<int32_t>(text.size()));
    if (!collator) {
        std::string raw;
        u.toUTF8String(raw);
        return raw;
    }
    icu::CollationKey key;
    UErrorCode status = U_ZERO_ERROR;
    collator->getCollationKey(u, key, status);
    int32_t length = 0;
    const uint8_t* bytes = key.getByteArray(length);
    return std::string(reinterpret_cast<const char*>(bytes), static_cast<size_t>(length));
}

int Sign(double a, double b) {
    return a < b ? -1 : (a > b ? 1 : 0);
}

} // namespace

// The comparison of two rows of a non-parameter table by the key list.
class CTableSorter {
public:
    struct SItem {
        STableRow* row;
        std::vector<std::string> keys; // collation keys of the string key fields
    };

    CTableSorter(const CShellTable& table, const std::vector<std::pair<int, int>>& keys, bool caseSensitive)
        : m_keys(keys), m_collator(Collator(caseSensitive)) {
        (void)table;
    }

    SItem Make(STableRow* row) const {
        SItem item{row, {}};
        for (auto [field, dir] : m_keys) {
            const STableCell& cell = row->cells[field];
            if (cell.type == FIELD_NAME || cell.type == FIELD_STRING)
                item.keys.push_back(CollationKey(m_collator, *cell.s));
            else
                item.keys.emplace_back();
        }
        return item;
    }

    int Compare(const SItem& a, const SItem& b) const {
        for (size_t k = 0; k < m_keys.size(); ++k) {
            const int field = m_keys[k].first;
            const STableCell& x = a.row->cells[field];
            const STableCell& y = b.row->cells[field];
            int c = 0;
            if (x.type == FIELD_UNDEFINED || y.type == FIELD_UNDEFINED) {
                c = (x.type != FIELD_UNDEFINED) - (y.type != FIELD_UNDEFINED);
            } else if (x.type == FIELD_INTEGER && y.type == FIELD_INTEGER) {
                c = Sign(x.i, y.i);
            } else if (x.type == FIELD_NUMBER && y.type == FIELD_NUMBER) {
                c = Sign(x.d, y.d);
            } else {
                c = a.keys[k].compare(b.keys[k]);
                c = c < 0 ? -1 : (c > 0 ? 1 : 0);
            }
            if (m_keys[k].second == 1) c = -c;
            if (c) return c;
        }
        return 0;
    }

    // Parameter rows move with their numbers: the block is rewritten in the new row order,
    // so every row sits at its own place again.
    static void Compact(CShellTable& t) {
        const int n = t.m_nFields;
        double* block = static_cast<double*>(std::malloc(sizeof(double) * std::max(t.m_nBlockRoom, 1L) * n));
        if (!block) return;
        std::memset(block, 0, sizeof(double) * std::max(t.m_nBlockRoom, 1L) * n);
        for (long r = 0; r < t.m_nRows; ++r) {
            std::memcpy(block + r * n, t.m_pBlock + t.m_ppRows[r]->place * n, sizeof(double) * n);
            t.m_ppRows[r]->place = r;
        }
        std::free(t.m_pBlock);
        t.m_pBlock = block;
        t.m_bPlacesMoved = false;
    }

    static void SortParameter(CShellTable& t, const std::vector<std::pair<int, int>>& keys) {
        const int n = t.m_nFields;
        const double* block = t.m_pBlock;
        const int first = keys[0].first;
        const bool firstDown = keys[0].second == 1;
        std::vector<std::pair<double, STableRow*>> items(static_cast<size_t>(t.m_nRows));
        for (long r = 0; r < t.m_nRows; ++r)
            items[r] = {block[t.m_ppRows[r]->place * n + first], t.m_ppRows[r]};
        auto less = [&](const std::pair<double, STableRow*>& a, const std::pair<double, STableRow*>& b) {
            int c = Sign(a.first, b.first);
            if (firstDown) c = -c;
            for (size_t k = 1; !c && k < keys.size(); ++k) {
                c = Sign(block[a.second->place * n + keys[k].first],
                         block[b.second->place * n + keys[k].first]);
                if (keys[k].second == 1) c = -c;
            }
            return c < 0;
        };
        std::sort(items.begin(), items.end(), less);
        for (long r = 0; r < t.m_nRows; ++r) t.m_ppRows[r] = items[r].second;
        Compact(t);
    }

private:
    std::vector<std::pair<int, int>> m_keys;
    icu::Collator* m_collator;
};

int CShellTable::Sort(const std::vector<std::pair<int, int>>& keys, bool caseSensitive) {
    CItemSection hold(m_cs);
    for (auto [field, dir] : keys)
        if (field < 0 || field >= m_nFields || !m_pFields[field].Defined()) return RC_NO_SUCH_FIELD;
    if (keys.empty()) {
        ReverseRows();
        return 0;
    }
    if (m_nRows >= 2) {
        std::lock_guard<std::mutex> sortHold(g_sortLock);
        if (IsParameter()) {
            CTableSorter::SortParameter(*this, keys);
        } else {
            CTableSorter sorter(*this, keys, caseSensitive);
            std::vector<CTableSorter::SItem> items;
            items.reserve(static_cast<size_t>(m_nRows));
            for (long r = 0; r < m_nRows; ++r) items.push_back(sorter.Make(m_ppRows[r]));
            std::sort(items.begin(), items.end(),
                      [&](const CTableSorter::SItem& a, const CTableSorter::SItem& b) {
                          return sorter.Compare(a, b) < 0;
                      });
            for (long r = 0; r < m_nRows; ++r) m_ppRows[r] = items[r].row;
        }
        RebuildTagIndex();
        m_nChanged |= TABLE_CHANGED_TAGS | TABLE_CHANGED_CONTENT;
    }
    m_sSort = IntText(caseSensitive ? 1 : 0);
    for (auto [field, dir] : keys) m_sSort += Format(L" %d %d", field, dir);
    return 0;
}

void CShellTable::ReverseRows() {
    CItemSection hold(m_cs);
    m_sSort.clear();
    if (m_nRows < 2) return;
    std::reverse(m_ppRows, m_ppRows + m_nRows);
    if (IsParameter()) CTableSorter::Compact(*this);
    RebuildTagIndex();
    m_nChanged |= TABLE_CHANGED_TAGS | TABLE_CHANGED_CONTENT;
}

// FIND ---------------------------------------------------------------------------------------

bool WildcardMatch(TextView pattern, TextView text, bool ignoreCase) {
    Text p(pattern), t(text);
    if (ignoreCase) {
        p = UpperCase(p);
        t = UpperCase(t);
    }
    auto pieceAt = [&](size_t pi, size_t len, size_t ti) {
        for (size_t k = 0; k < len; ++k)
            if (p[pi + k] != L'?' && p[pi + k] != t[ti + k]) return false;
        return true;
    };
    size_t i = 0, j = 0;
    while (i < p.size()) {
        if (p[i] == L'*') {
            while (i < p.size() && p[i] == L'*') ++i;
            if (i == p.size()) return true;
            size_t end = p.find(L'*', i);
            if (end == Text::npos) end = p.size();
            const size_t len = end - i;
            // The first place the piece fits is taken; a later one is never tried.
            size_t at = j;
            while (at + len <= t.size() && !pieceAt(i, len, at)) ++at;
            if (at + len > t.size()) return false;
            j = at + len;
            i = end;
            continue;
        }
        if (j >= t.size()) return false;
        if (p[i] != L'?' && p[i] != t[j]) return false;
        ++i;
        ++j;
    }
    return j == t.size();
}

namespace {

enum EFindOp {
    OP_FILLED,
    OP_SET,
    OP_EMPTY,
    OP_EQ,
    OP_NE,
    OP_LT,
    OP_LE,
    OP_GT,
    OP_GE,
    OP_WI,
    OP_NWI,
    OP_WR,
    OP_NWR
};

struct SCondition {
    int field = -1;
    EFindOp op = OP_FILLED;
    Text value;
    double number = 0;
    int connector = 0; // 0 none, 1 OR, 2 AND
};

struct SOpWord {
    const wchar_t* word;
    EFindOp op;
    bool onText;
    bool onNumber;
};

static constexpr SOpWord kFindOps[] = {
    {L"=", OP_SET, true, true},   {L"!", OP_EMPTY, true, true}, {L"==", OP_EQ, true, true},
    {L"!=", OP_NE, true, true},   {L"<", OP_LT, false, true},   {L"<=", OP_LE, false, true},
    {L">", OP_GT, false, true},   {L">=", OP_GE, false, true},  {L"=I", OP_WI, true, false},
    {L"!I", OP_NWI, true, false}, {L"=R", OP_WR, true, false},  {L"!R", OP_NWR, true, false},
};

int ParseCondition(const CShellTable& table, const Text& text, SCondition& cond) {
    const size_t c1 = text.find(L':');
    cond.field = table.FindField(c1 == Text::npos ? TextView(text) : TextView(text).substr(0, c1));
    if (cond.field < 0) return RC_NO_SUCH_FIELD;
    if (c1 == Text::npos) return 0;
    const size_t c2 = text.find(L':', c1 + 1);
    const Text op = text.substr(c1 + 1, c2 == Text::npos ? Text::npos : c2 - c1 - 1);
    if (c2 != Text::npos) cond.value = text.substr(c2 + 1);
    if (op.empty()) return 0;
    const bool numeric = table.Field(cond.field).Numeric() || table.IsParameter();
    for (const SOpWord& w : kFindOps) {
        if (!EqualNoCase(op, w.word)) continue;
        if (numeric ? !w.onNumber : !w.onText) return RC_INVALID_ARGUMENT;
        cond.op = w.op;
        if (numeric && cond.op >= OP_EQ && cond.op <= OP_GE && !ParseWholeDouble(cond.value, cond.number) &&
            !EvalNumber(cond.value, cond.number))
            return RC_NUMBER_EXPECTED;
        return 0;
    }
    return RC_INVALID_ARGUMENT;
}

bool Satisfies(const CShellTable& table, long row, const SCondition& c) {
    Text cell;
    table.GetCell(row, c.field, cell);
    const bool filled = !cell.empty();
    switch (c.op) {
    case OP_FILLED:
    case OP_SET:
        return filled;
    case OP_EMPTY:
        return !filled;
    case OP_WI:
        return WildcardMatch(c.value, cell, true);
    case OP_NWI:
        return !WildcardMatch(c.value, cell, true);
    case OP_WR:
        return WildcardMatch(c.value, cell, false);
    case OP_NWR:
        return !WildcardMatch(c.value, cell, false);
    default:
        break;
    }
    const bool numeric = table.Field(c.field).Numeric() || table.IsParameter();
    if (!numeric) {
        const bool equal = EqualNoCase(cell, c.value);
        return c.op == OP_EQ ? equal : (c.op == OP_NE ? !equal : false);
    }
    double value = 0;
    if (!table.GetNumber(row, c.field, value)) return c.op == OP_NE;
    switch (c.op) {
    case OP_EQ:
        return value == c.number;
    case OP_NE:
        return value != c.number;
    case OP_LT:
        return value < c.number;
    case OP_LE:
        return value <= c.number;
    case OP_GT:
        return value > c.number;
    case OP_GE:
        return value >= c.number;
    default:
        return false;
    }
}

} // namespace

int CShellTable::FindRows(const std::vector<Text>& conditions, bool tagAllFirst, bool invert, bool ranged) {
    CItemSection hold(m_cs);
    if (conditions.size() % 2 == 0 && !conditions.empty()) return RC_TOO_FEW_ARGUMENTS;
    std::vector<SCondition> chain;
    for (size_t k = 0; k < conditions.size(); k += 2) {
        SCondition cond;
        if (k > 0) {
            const Text& word = conditions[k - 1];
            if (word == L"||" || EqualNoCase(word, L"OR"))
                cond.connector = 1;
            else if (word == L"&&" || EqualNoCase(word, L"AND"))
                cond.connector = 2;
            else
                return RC_INVALID_ARGUMENT;
        }
        if (const int code = ParseCondition(*this, conditions[k], cond)) return code;
        chain.push_back(std::move(cond));
    }
    if (chain.empty() || tagAllFirst)
        for (long r = 0; r < m_nRows; ++r) m_ppRows[r]->tag = 1;
    for (long r = 0; r < m_nRows && !chain.empty(); ++r) {
        if (!m_ppRows[r]->tag) continue;
        bool result = false;
        for (const SCondition& c : chain) {
            const bool v = Satisfies(*this, r, c);
            result = c.connector == 0 ? v : (c.connector == 1 ? (result || v) : (result && v));
        }
        if (!result) m_ppRows[r]->tag = 0;
    }
    if (invert)
        for (long r = 0; r < m_nRows; ++r) m_ppRows[r]->tag = m_ppRows[r]->tag ? 0 : 1;
    if (ranged) m_bRanged = true;
    RebuildTagIndex();
    m_nChanged |= TABLE_CHANGED_TAGS;
    return 0;
}
