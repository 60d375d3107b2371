#include "signal/register_signal.h"

#include "signal/wave_item.h"

void RegisterSignalLayer() {
    RegisterSoundFileCommands();
    RegisterWaveKind();
}
