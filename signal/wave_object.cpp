#include "signal/wave_object.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "numeric/vector_kernels.h"
#include "shell/rc_codes.h"

CSfio* CWaveObject::CreateSfio(int flags, int& error, long long bufferFrames, long long first,
                               long long end) {
    error = 0;
    if (!IsValid()) {
        error = RC_BAD_SFIO;
        return nullptr;
    }
    const int access = flags & SFIO_ACCESS_MASK;
    if (access != SFIO_READ && access != SFIO_READWRITE) {
        error = RC_BAD_SFIO_OPERATION;
        return nullptr;
    }
    const int coding = flags & SFIO_CODING_MASK;
    if (coding != CODING_PCM16 && coding != CODING_PCM24 && coding != CODING_PCM32 &&
        coding != CODING_FLOAT) {
        error = RC_BAD_SFIO_CODING;
        return nullptr;
    }
    if (access == SFIO_READWRITE && !CanWrite()) {
        error = RC_SFIO_WITHOUT_SOUNDFILE;
        return nullptr;
    }
    const long long length = GetFrames();
    if (!(first >= 0 && first < end && end <= length)) {
        first = 0;
        end = length;
    }
    auto* sfio = new (std::nothrow) CSfio(*this, flags, first, end);
    if (!sfio) {
        error = RC_NO_MEMORY;
        return nullptr;
    }
    if (bufferFrames > 0 && !sfio->SetBuffer(bufferFrames)) {
        sfio->Close();
        error = RC_NO_MEMORY;
        return nullptr;
    }
    return sfio;
}

bool CWaveObject::TryDelete() {
    if (m_users.load() > 0) return false;
    delete this;
    return true;
}

CSfio::CSfio(CWaveObject& wave, int flags, long long first, long long end)
    : m_pWave(&wave), m_flags(flags), m_bytesPerSample(CodingBytes(flags & SFIO_CODING_MASK)),
      m_channels(wave.GetChannels()), m_first(first), m_end(end) {
    wave.AddUser();
}

CSfio::~CSfio() {
    if (m_bOwnsBuffer) delete[] m_pBuffer;
}

void* CSfio::SetBuffer(long long frames, void* external) {
    if (m_bOwnsBuffer) delete[] m_pBuffer;
    m_pBuffer = nullptr;
    m_bOwnsBuffer = false;
    m_bufferFrames = 0;
    if (frames <= 0) return nullptr;
    if (external) {
        m_pBuffer = static_cast<uint8_t*>(external);
    } else {
        const long long bytes = frames * m_channels * m_bytesPerSample;
        m_pBuffer = new (std::nothrow) uint8_t[static_cast<size_t>(bytes)];
        if (!m_pBuffer) return nullptr;
        m_bOwnsBuffer = true;
    }
    m_bufferFrames = frames;
    return m_pBuffer;
}

long long CSfio::SetPosition(long long frame) {
    if (frame >= 0 && frame <= m_end - m_first) m_position = frame;
    return m_position;
}

void CSfio::ReverseFrames(long long frames) {
    const size_t frameBytes = static_cast<size_t>(m_channels * m_bytesPerSample);
    if (frameBytes == 1 || frameBytes == 2 || frameBytes == 4 || frameBytes == 8) {
        numeric::Reverse(m_pBuffer, m_pBuffer, static_cast<size_t>(frames), frameBytes);
        return;
    }
    std::vector<uint8_t> swap(frameBytes);
    for (long long a = 0, b = frames - 1; a < b; ++a, --b) {
        uint8_t* pa = m_pBuffer + a * frameBytes;
        uint8_t* pb = m_pBuffer + b * frameBytes;
        std::memcpy(swap.data(), pa, frameBytes);
        std::memcpy(pa, pb, frameBytes);
        std::memcpy(pb, swap.data(), frameBytes);
    }
}

long long CSfio::Transfer() {
    if (!m_pBuffer) return -99;
    const long long left = m_end - m_first - m_position;
    const long long count = std::min(m_bufferFrames, left);
    if (count <= 0) return 0;
    const bool reversed = (m_flags & SFIO_REVERSED) != 0;
    const bool write = (m_flags & SFIO_ACCESS_MASK) == SFIO_READWRITE;
    const long long at = reversed ? m_end - count - m_position : m_first + m_position;
    long long moved;
    {
        std::lock_guard lock(m_pWave->m_cs);
        if (write && reversed) ReverseFrames(count);
        moved = m_pWave->Transfer(m_flags, at, count, m_pBuffer);
        if (reversed) ReverseFrames(write ? count : std::max(moved, 0LL));
    }
    if (moved < 0) return moved;
    m_position += moved;
    return moved;
}

long long CSfio::ChannelIn(void* samples, int channel, long long count) const {
    if (channel < 0 || channel >= m_channels || count < 0 || count > m_bufferFrames || !m_pBuffer)
        return -100;
    if (count == 0) count = m_bufferFrames;
    if (m_channels == 1) {
        std::memcpy(samples, m_pBuffer, static_cast<size_t>(count * m_bytesPerSample));
        return count;
    }
    const int coding = m_flags & SFIO_CODING_MASK;
    ConvertSamples(coding, m_pBuffer, static_cast<size_t>(channel), static_cast<size_t>(m_channels), coding,
                   samples, 0, 1, static_cast<size_t>(count));
    return count;
}

long long CSfio::ChannelOut(const void* samples, int channel, long long count) {
    if (channel < 0 || channel >= m_channels || count < 0 || count > m_bufferFrames || !m_pBuffer)
        return -100;
    if (count == 0) count = m_bufferFrames;
    if (m_channels == 1) {
        std::memcpy(m_pBuffer, samples, static_cast<size_t>(count * m_bytesPerSample));
        return count;
    }
    const int coding = m_flags & SFIO_CODING_MASK;
    ConvertSamples(coding, samples, 0, 1, coding, m_pBuffer, static_cast<size_t>(channel),
                   static_cast<size_t>(m_channels), static_cast<size_t>(count));
    return count;
}

void CSfio::Close() {
    {
        std::lock_guard lock(m_pWave->m_cs);
        m_pWave->ReleaseUser();
    }
    delete this;
}
