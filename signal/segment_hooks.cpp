#include <atomic>

#include "shell/rc_codes.h"
#include "signal/segment_tables.h"
#include "signal/sound_file.h"

namespace {
std::atomic<const SSegmentTableHooks*> g_hooks{nullptr};
} // namespace

const SSegmentTableHooks* SegmentTableHooks() {
    return g_hooks.load();
}

void SetSegmentTableHooks(const SSegmentTableHooks* hooks) {
    g_hooks.store(hooks);
}

int AttachSegmentTable(CSoundFile& file, void* table, bool readDirectory) {
    const SSegmentTableHooks* hooks = SegmentTableHooks();
    if (!hooks) return RC_NOT_SUPPORTED;
    DetachSegmentTable(file);
    if (!table || !hooks->canHold(table)) return RC_INTERNAL_TABLE;
    hooks->addRef(table);
    file.m_pTable = table;
    if (readDirectory) hooks->fill(table, file);
    return 0;
}

void DetachSegmentTable(CSoundFile& file) {
    const SSegmentTableHooks* hooks = SegmentTableHooks();
    if (file.m_pTable && hooks) hooks->release(file.m_pTable);
    file.m_pTable = nullptr;
}

bool LookupFileSegment(const CSoundFile& file, TextView name, long long& begin, long long& end) {
    const SSegmentTableHooks* hooks = SegmentTableHooks();
    if (file.m_pTable && hooks) return hooks->lookup(file.m_pTable, name, begin, end);
    const SSegment* segment = file.FindSegment(name);
    if (!segment) return false;
    begin = segment->begin;
    end = segment->end;
    return true;
}
