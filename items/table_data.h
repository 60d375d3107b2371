// The pieces a CShellTable is made of: field slots, rows and cells. Readers
// outside the table (list controls, data sets) may look at CShellTableField
// for column titles and formats; rows and cells stay the table's business.
#pragma once

#include <mutex>

#include "base/text.h"
#include "items/shell_table.h"

// Bits of CShellTableField::m_nFlags.
enum : int {
    FIELD_ALIGN = 1,
    FIELD_SORTABLE = 2,
    FIELD_VIEW = 8,
    FIELD_EDITABLE = 16,
    FIELD_HAS_VTABLE = 32,
    FIELD_VONLY = 64,
    FIELD_VDEFAULT = 128,
    FIELD_VUSERDEFAULT = 256,
    FIELD_MULTIROW = 512,
};

class CShellTableField {
public:
    int m_nType = FIELD_UNDEFINED;
    Text m_sName;
    bool m_bVisible = true;
    bool m_bNamed = false;
    double m_dScale = 1.0;
    Text m_sFormat;
    bool m_bMissing = false;
    double m_dMissing = 0.0;
    Text m_sMissing;
    Text m_sHeader;
    double m_dWidth = 0.0;
    int m_nFlags = 0;
    Text m_sVTable;
    int m_nVField = 0;

    bool Defined() const { return m_nType != FIELD_UNDEFINED; }
    bool Numeric() const { return m_nType == FIELD_INTEGER || m_nType == FIELD_NUMBER; }
    // Back to an undefined slot with every attribute at its default.
    void Reset() { *this = CShellTableField(); }
};

// One cell of a non-parameter row: the type it was written with (0 empty) and the value.
struct STableCell {
    int type = FIELD_UNDEFINED;
    union {
        Text* s;
        int i;
        double d;
    };
    STableCell() : s(nullptr) {}
};

// A row. In a parameter table it owns nothing: its numbers are the block's
// place `place` (the place may be shared after a deletion, see AppendRows).
struct STableRow {
    unsigned char tag = 0;
    bool inBlock = false;
    long place = 0;
    STableCell* cells = nullptr;
};

inline double* CShellTable::Place(long row) const {
    return m_pBlock + m_ppRows[row]->place * m_nFields;
}
inline CShellTableField& CShellTable::Field(int field) {
    return m_pFields[field];
}
inline const CShellTableField& CShellTable::Field(int field) const {
    return m_pFields[field];
}

// A valid name of the language: what field names and Name cells must be.
// With `pattern` the FIND wildcards "*" and "?" and a final "." are allowed.
bool IsValidTableName(TextView text, bool pattern = false);

// "*" matches any run, "?" one character; the text behind a "*" is searched from the
// left and the first place taken, with no going back.
bool WildcardMatch(TextView pattern, TextView text, bool ignoreCase);

// The clipboard of the process. kvocore runs without a window system, so the
// clipboard is a text held here under a mutex; a front end with a real
// clipboard installs its own pair of functions and the table never knows.
using ClipboardGet = bool (*)(Text& out);
using ClipboardSet = bool (*)(const Text& text);
void SetClipboardHooks(ClipboardGet get, ClipboardSet set);
bool ReadClipboard(Text& out);
bool WriteClipboard(const Text& text);

// Jobs that free large tables on worker threads, for tests and the benchmark.
int PendingTableFrees();
