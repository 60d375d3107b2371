// A wave object over frames in memory (FLOAT, interleaved): rendered
// sequences, and waves that tables are copied into.
#pragma once

#include <vector>

#include "signal/wave_object.h"

class CMemoryWave : public CWaveObject {
public:
    CMemoryWave(int channels, double rate, long long frames, int kind = WAVE_SEQUENCE);
    long long Transfer(int flags, long long first, long long count, void* buffer) override;
    bool CanWrite() const override { return true; }
    std::vector<float>& Samples() { return m_samples; }
    // Changes the length; new frames are silence.
    void Resize(long long frames);

private:
    std::vector<float> m_samples;
};
