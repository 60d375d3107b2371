#include "signal/memory_wave.h"

CMemoryWave::CMemoryWave(int channels, double rate, long long frames, int kind) : CWaveObject(kind) {
    m_channels = channels;
    m_rate = rate;
    m_set.SetAll();
    Resize(frames);
}

void CMemoryWave::Resize(long long frames) {
    if (frames < 0) frames = 0;
    m_samples.resize(static_cast<size_t>(frames * m_channels));
    m_begin = 0;
    m_end = frames;
}

long long CMemoryWave::Transfer(int flags, long long first, long long count, void* buffer) {
    if (first < 0 || count < 0) return -100;
    if (first + count > m_end) count = m_end - first;
    if (count <= 0) return 0;
    const int coding = flags & SFIO_CODING_MASK;
    const size_t n = static_cast<size_t>(count * m_channels);
    float* at = m_samples.data() + first * m_channels;
    if ((flags & SFIO_ACCESS_MASK) == SFIO_READWRITE)
        ConvertSamples(coding, buffer, 0, 1, CODING_FLOAT, at, 0, 1, n);
    else
        ConvertSamples(CODING_FLOAT, at, 0, 1, coding, buffer, 0, 1, n);
    return count;
}
