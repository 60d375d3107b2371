// The segments of a sound file live in a directory table (Name, Begin,
// Length) shared with the shell. The table code is linked in when the table
// layer is there; until then a sound file keeps the directory it read, and
// attaching a table answers 157.
#pragma once

#include "base/text.h"

class CSoundFile;

struct SSegmentTableHooks {
    // A new directory table filled from the file's directory; null on failure.
    void* (*create)(CSoundFile& file);
    // Begin and end of a named segment of the table.
    bool (*lookup)(void* table, TextView name, long long& begin, long long& end);
    // Raises or drops a share of the table.
    void (*addRef)(void* table);
    void (*release)(void* table);
    // True when the table can hold segments (a directory table).
    bool (*canHold)(void* table);
    // Fills the table from the file's directory.
    void (*fill)(void* table, const CSoundFile& file);
};

// Null until the table layer registers its hooks.
const SSegmentTableHooks* SegmentTableHooks();
void SetSegmentTableHooks(const SSegmentTableHooks* hooks);

// Releases a present table; takes `table` if it can hold segments, and reads the
// file's directory into it when asked. 0, 157 without tables, 146 for a table
// that cannot hold segments.
int AttachSegmentTable(CSoundFile& file, void* table, bool readDirectory);
// Drops the file's table.
void DetachSegmentTable(CSoundFile& file);
// A named segment of the file: its table when it has one, else the directory read.
bool LookupFileSegment(const CSoundFile& file, TextView name, long long& begin, long long& end);

// In segment_tables.cpp, compiled with the table layer.
void RegisterSegmentTables();
