#include "signal/register_signal.h"

#include "signal/segment_tables.h"
#include "signal/wave_item.h"

void RegisterSignalLayer() {
    RegisterSoundFileCommands();
    RegisterWaveKind();
    RegisterSegmentTables();
}
