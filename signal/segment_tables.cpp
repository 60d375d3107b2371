// The directory table of a sound file: one row a segment, fields Name, Begin
// and Length.
#include "signal/segment_tables.h"

#include "items/shell_table.h"
#include "shell/rc_codes.h"
#include "signal/sound_file.h"
#include "signal/sound_file_list.h"

namespace {

constexpr int kName = 0, kBegin = 1, kLength = 2;

CShellTable& Table(void* table) {
    return *static_cast<CShellTable*>(static_cast<CShellItem*>(table));
}

long FindRow(const CShellTable& table, TextView name) {
    Text cell;
    for (long row = 0; row < table.GetRows(); ++row)
        if (table.GetCell(row, kName, cell) && EqualNoCase(cell, name)) return row;
    return -1;
}

void Fill(void* object, const CSoundFile& file) {
    CShellTable& table = Table(object);
    CItemSection hold(table.m_cs);
    for (const SSegment& segment : file.Segments()) {
        long row = FindRow(table, segment.name);
        const bool added = row < 0;
        if (added) row = table.AppendRows(1);
        if (row < 0) return;
        // A name the table refuses (the table's names do not end in "." as a segment
        // without extension does) leaves no row behind.
        if (table.SetCell(row, kName, segment.name) != 0) {
            if (added) table.DeleteRow(row);
            continue;
        }
        table.SetNumber(row, kBegin, static_cast<double>(segment.begin));
        table.SetNumber(row, kLength, static_cast<double>(segment.end - segment.begin));
    }
}

void* Create(CSoundFile& file) {
    auto* table = new CShellTable(nullptr, TABLE_EXTENDED | TABLE_DIRECTORY, 0);
    void* object = static_cast<CShellItem*>(table);
    Fill(object, file);
    return object;
}

bool Lookup(void* object, TextView name, long long& begin, long long& end) {
    CShellTable& table = Table(object);
    CItemSection hold(table.m_cs);
    const long row = FindRow(table, name);
    double b = 0, length = 0;
    if (row < 0 || !table.GetNumber(row, kBegin, b) || !table.GetNumber(row, kLength, length)) return false;
    begin = static_cast<long long>(b);
    end = static_cast<long long>(b + length);
    return true;
}

void AddRef(void* object) {
    Table(object).AddRef();
}

void Release(void* object) {
    Table(object).Release();
}

bool CanHold(void* object) {
    return (Table(object).Kind() & TABLE_DIRECTORY) != 0;
}

constexpr SSegmentTableHooks kHooks = {Create, Lookup, AddRef, Release, CanHold, Fill};

} // namespace

namespace {
// NEW TABLE t /S: another share of the current sound file's segment table.
int CurrentSegments(CShell& shell, CShellTable*& table) {
    CSoundFile* file = CurrentSoundFile(shell);
    if (!file) return RC_NO_SOUNDFILE;
    if (!file->m_pTable) return RC_NOT_SUPPORTED;
    table = static_cast<CShellTable*>(static_cast<CShellItem*>(file->m_pTable));
    return 0;
}
} // namespace

void RegisterSegmentTables() {
    SetSegmentTableHooks(&kHooks);
    SetSegmentTableSource(&CurrentSegments);
}
