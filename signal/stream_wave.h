// The Stream wave object: a range of a sound file and a set of its channels.
#pragma once

#include <vector>

#include "signal/sound_file.h"
#include "signal/wave_object.h"

class CStreamWave : public CWaveObject {
public:
    // Frames begin..end of the file (end may pass the file's end on a writable file:
    // the data grows as it is written). The file is kept in use while the stream lives.
    CStreamWave(CSoundFile& file, long long begin, long long end, const CChannelSet& channels);
    ~CStreamWave() override;

    bool IsValid() const override;
    long long Transfer(int flags, long long first, long long count, void* buffer) override;
    bool CanWrite() const override { return m_pFile->Writable() && m_all; }
    CSoundFile& File() const { return *m_pFile; }

private:
    CSoundFile* m_pFile;
    bool m_all;
    std::vector<int> m_fileChannels; // 0-based channels of the file, in order
    std::vector<uint8_t> m_frames;
};
