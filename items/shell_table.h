// CShellTable: the universal store of the macro runtime: lists of strings,
// records of named typed fields, and matrices of numbers (parameter tables,
// whose numbers live in one contiguous block). SPUs, displays, list controls
// and the evaluator read it; every access takes the item's critical section,
// so readers on other threads see a consistent table.
//
// This header is the table's contract with the rest of the program (files,
// commands, sound files, SPUs). Keep the public members stable.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "items/shell_item.h"

class Matrix;

enum ETableKind : int {
    TABLE_PLAIN = 0,
    TABLE_EXTENDED = 1,
    TABLE_DIRECTORY = 2,
    TABLE_PARAMETER = 4,
};

enum EFieldType : int {
    FIELD_UNDEFINED = 0,
    FIELD_NAME = 1,
    FIELD_STRING = 2,
    FIELD_INTEGER = 3,
    FIELD_NUMBER = 4,
};

// Bits of m_nChanged.
enum : int { TABLE_CHANGED_TAGS = 1, TABLE_CHANGED_FIELDS = 2, TABLE_CHANGED_CONTENT = 4 };

class CShellTableField;
struct STableRow;
struct STableCell;

class CShellTable : public CShellItem {
public:
    // A table of `fields` slots, all undefined, of the kind bits above. A plain
    // table (kind 0) gets its one String field "A" at once; a directory table gets
    // its three fixed fields on top of `fields`.
    CShellTable(CShellEnv* env, int kind, int fields, long startSize = 0, long chunkSize = 0);
    ~CShellTable() override;

    // The item of kind TABLE named `name` in `shell`; null when there is none.
    static CShellTable* Find(const CShell& shell, TextView name);

    // --- Kind and fields -------------------------------------------------------------
    int Kind() const { return m_nKind; }
    bool IsParameter() const { return (m_nKind & TABLE_PARAMETER) != 0; }
    // Defines slot `index` (0 based). Returns a code of the error table (0, 403, 405, 407, 112, 461, ...).
    int DefineField(int index, int type, TextView name);
    // m_nFields, or the count of defined and visible fields.
    int GetFields(bool visibleOnly) const;
    // An integer expression that is a defined field, else a name without case; -1 when neither.
    int FindField(TextView text) const;
    int FieldType(int field) const;
    Text FieldName(int field) const;

    // --- Rows (visible row numbers when ranged, as macros see them) ----------------------
    long GetRows() const;
    // Visible row number to real row number; -1 beyond the range.
    long GetRowIndex(long visible) const;
    // Appends n rows; the index of the first new row, or -1 (saved tags, no memory).
    long AppendRows(long n = 1);
    // Removes real row `row`; false when there is none.
    bool DeleteRow(long row);
    void DeleteAllRows();

    // --- Cells (real row numbers) ---------------------------------------------------------
    // The cell as text: "%.20lg" for numbers, "%i" for integers; empty for an empty cell.
    bool GetCell(long row, int field, Text& out) const;
    // The cell as a number; false on a string or empty cell of a non-parameter table.
    bool GetNumber(long row, int field, double& out) const;
    // Writes a cell from text, checked against the field's type: 0, 57, 152, 154, 31.
    // An empty text clears the cell (a parameter cell becomes 0).
    int SetCell(long row, int field, TextView text);
    // Writes a number (an Integer field truncates it); 0 or 57.
    int SetNumber(long row, int field, double value);
    // A row of a plain table: its one string.
    bool SetRowString(long row, TextView text);
    // The row text rule of separators and named IO, in either direction.
    int SetRowText(long row, TextView text);
    Text RowText(long row, bool storageForm) const;

    // --- Numbers in bulk ------------------------------------------------------------------------
    // Appends one row of a parameter table from n numbers (missing ones 0); the row index or -1.
    long AppendNumbers(const double* values, int n);
    // Up to n numbers of a row or of a column over the visible rows; the count written.
    int GetRowValues(long row, double* out, int n) const;
    long GetColumnValues(int field, double* out, long n) const;
    // -1 for "all" in either place: a cell, a row, a column, or the whole table (one column per field).
    bool ToValue(long row, int field, Matrix& out) const;

    // --- Tags -----------------------------------------------------------------------------
    bool IsTagged(long row) const;
    void SetTag(long row, bool on);
    void SetAllTags(bool on);
    bool IsRanged() const { return m_bRanged; }
    void SetRanged(bool on);


    void Describe(Text& out) override;

    // --- Beyond the shared contract: the table's own commands --------------------------------
    // Slot `field`, which must exist (see items/table_data.h for the class).
    CShellTableField& Field(int field);
    const CShellTableField& Field(int field) const;
    // Undefines a slot (cells cleared except in a parameter table): 0 or 57.
    int UndefineField(int field);
    // 0, 459 or 461.
    int RenameField(int field, TextView name);
    // "%d %s %d %d %.20lg" [format] [missing value and symbol]: the definition text.
    Text FieldDefinition(int field) const;
    // A cell through the field's display rules (scale, format, missing symbol).
    Text DisplayCell(long row, int field) const;
    // Real row of a row number a macro gives: visible unless `real`.
    long MacroRow(long index, bool real) const;
    void InvertTags();
    // Removes every tagged row of a ranged table, every row of another; -1 with saved tags.
    long DeleteTagged();
    void RebuildTagIndex();
    // Keys are (field, direction 1 = descending). 0 or 57.
    int Sort(const std::vector<std::pair<int, int>>& keys, bool caseSensitive);
    void ReverseRows();
    // FIND's conditions: 0, 2 (even count) or the code of a bad condition; nothing changes on failure.
    int FindRows(const std::vector<Text>& conditions, bool tagAllFirst, bool invert, bool ranged);
    // A deep copy of the layout (kind, fields, separators, mode, sizes) with no rows.
    void CopyLayout(const CShellTable& source);
    // A deep copy of real row `row` of `source` (same layout) appended here; the new index or -1.
    long AppendCopy(const CShellTable& source, long row);
    // The table of a value: c Number fields "prefix%d" by r rows (transposed: r by c).
    static CShellTable* FromMatrix(CShellEnv* env, const Matrix& value, TextView prefix, bool transpose,
                                   long startSize);
    // "%d %d": bytes estimated for all rows and for the visible rows.
    void MemoryEstimate(long long& all, long long& visible) const;

    // The data, for the table's own files (kind, SET, status, sort, find, text).
    int m_nChanged = 7;
    int m_nKind = 0;
    int m_nMode = 1;
    wchar_t m_cDecimal = L'.';
    bool m_bRanged = false;
    bool m_bNamedIO = false;
    Text m_sLSep = L";";
    Text m_sVSep = L"=";
    Text m_sNumFormat = L"%.20lg";
    Text m_sIntFormat = L"%i";
    long m_nStartSize = 50;
    long m_nChunkSize = 50;
    int m_nFields = 0;
    std::unique_ptr<CShellTableField[]> m_pFields;
    long m_nCapacity = 0;
    long m_nRows = 0;
    long m_nTagged = 0;
    STableRow** m_ppRows = nullptr;
    std::vector<long> m_pTagIndex;
    struct SSavedTags;
    std::unique_ptr<SSavedTags> m_pSavedTags;
    double* m_pBlock = nullptr;
    Text m_sSort;

protected:
    void SaveState() override;
    void RestoreState() override;

private:
    friend class CTableSorter;
    double* Place(long row) const;
    bool Grow(long n);
    void FreeRow(STableRow* row);
    void ClearCell(STableCell& cell);
    int WriteCellText(STableRow& row, int field, TextView text);
    // Physical room behind m_nCapacity: the block and the pointer array grow
    // geometrically underneath, so appending stays amortised whatever CHUNKSZ says.
    long m_nBlockRoom = 0;
    long m_nRowRoom = 0;
    // A row other than the last was deleted since the block last grew.
    bool m_bPlacesMoved = false;
    // Rows of a parameter table own nothing: they come from chunks of the table and go
    // back to a free list, so that appending a row costs no allocation of its own.
    STableRow* NewBlockRow();
    std::vector<std::unique_ptr<STableRow[]>> m_rowChunks;
    size_t m_nChunkUsed = 0;
    std::vector<STableRow*> m_freeRows;
};

// NEW TABLE name /S: the segment table of the shell's current sound file, which the
// sound layer owns and hands out here. 0 with the table (the caller takes a share), or a
// code (108 when no sound file is selected). Without a sound layer the option answers 157.
using SegmentTableSource = int (*)(CShell& shell, CShellTable*& table);
void SetSegmentTableSource(SegmentTableSource source);

// Registers the TABLE item kind and the table commands (FIND, TAGS).
void RegisterTables();
