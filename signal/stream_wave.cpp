#include "signal/stream_wave.h"

CStreamWave::CStreamWave(CSoundFile& file, long long begin, long long end, const CChannelSet& channels)
    : CWaveObject(WAVE_STREAM), m_pFile(&file) {
    m_rate = file.Rate();
    m_begin = begin;
    m_end = end;
    m_set = channels;
    const int fileChannels = file.Channels();
    for (int c = channels.Next(0, fileChannels); c; c = channels.Next(c, fileChannels))
        m_fileChannels.push_back(c - 1);
    m_all = static_cast<int>(m_fileChannels.size()) == fileChannels;
    m_channels = static_cast<int>(m_fileChannels.size());
    file.AddUser();
}

CStreamWave::~CStreamWave() {
    m_pFile->ReleaseUser();
}

bool CStreamWave::IsValid() const {
    return m_channels > 0 && m_rate > 0 && m_pFile->IsOpen();
}

long long CStreamWave::Transfer(int flags, long long first, long long count, void* buffer) {
    if (first < 0 || count < 0) return -100;
    if (first + count > m_end - m_begin) count = m_end - m_begin - first;
    if (count <= 0) return 0;
    const int coding = flags & SFIO_CODING_MASK;
    const int fileCoding = m_pFile->Coding();
    const int fileChannels = m_pFile->Channels();
    const long long at = m_begin + first;
    // The file's frames in the reader's coding (A-law arrives expanded).
    const size_t rawBytes = static_cast<size_t>(count) * fileChannels * CodingBytes(fileCoding);
    if ((flags & SFIO_ACCESS_MASK) == SFIO_READWRITE) {
        if (!m_all || m_pFile->Companded()) return -100;
        const void* data = buffer;
        if (coding != fileCoding) {
            m_frames.resize(rawBytes);
            ConvertSamples(coding, buffer, 0, 1, fileCoding, m_frames.data(), 0, 1,
                           static_cast<size_t>(count) * fileChannels);
            data = m_frames.data();
        }
        return m_pFile->WriteFrames(at, count, data) ? count : -100;
    }
    if (m_all && coding == fileCoding) return m_pFile->ReadFrames(at, count, buffer);
    m_frames.resize(rawBytes);
    const long long got = m_pFile->ReadFrames(at, count, m_frames.data());
    if (got <= 0) return got;
    if (m_all) {
        ConvertSamples(fileCoding, m_frames.data(), 0, 1, coding, buffer, 0, 1,
                       static_cast<size_t>(got) * fileChannels);
        return got;
    }
    for (size_t i = 0; i < m_fileChannels.size(); ++i)
        ConvertSamples(fileCoding, m_frames.data(), static_cast<size_t>(m_fileChannels[i]),
                       static_cast<size_t>(fileChannels), coding, buffer, i, m_fileChannels.size(),
                       static_cast<size_t>(got));
    return got;
}
