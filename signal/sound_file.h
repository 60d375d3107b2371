// CSoundFile: one file of samples (KV5, Wave or Binary) opened by a shell,
// with its directory of segments. Frames are read and written here in the
// file's own coding; A-law data is expanded to PCM16 on reading.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "base/text.h"
#include "signal/sound_header.h"

// The one wrapper of file I/O for sound files: paths over 260 characters are refused.
class CSoundFileHandle {
public:
    enum EMode { OPEN_READ, OPEN_READWRITE, OPEN_CREATE };
    ~CSoundFileHandle() { Close(); }
    bool Open(const Text& path, EMode mode);
    void Close();
    bool IsOpen() const { return m_fd >= 0; }
    long long Read(uint64_t offset, void* buffer, size_t bytes);
    bool Write(uint64_t offset, const void* buffer, size_t bytes);
    bool Truncate(uint64_t size);
    uint64_t Size() const;

private:
    int m_fd = -1;
};

class CFileSource : public CByteSource {
public:
    explicit CFileSource(CSoundFileHandle& file) : m_file(file) {}
    bool ReadAt(uint64_t offset, void* buffer, size_t bytes) override {
        return m_file.Read(offset, buffer, bytes) == static_cast<long long>(bytes);
    }
    uint64_t Size() override { return m_file.Size(); }

private:
    CSoundFileHandle& m_file;
};

class CSoundFile {
public:
    CSoundFile();
    ~CSoundFile();
    CSoundFile(const CSoundFile&) = delete;
    CSoundFile& operator=(const CSoundFile&) = delete;

    // mode: kind (SFKIND_*), access (SFACCESS_*) and, for Binary, the coding in the low byte.
    // 0 or SF_BADFORMAT, SF_CANNOTOPEN, SF_BUSY.
    int Open(const Text& path, int mode, int channels = 0, double rate = 0, long long dataOffset = 0);
    // Opens an existing file as it is; makes a missing one with the header of the kind asked for.
    int Create(const Text& path, int mode, int channels, double rate, long long dataOffset = 0);
    // SF_BUSY while SFIOs use the file. Rewrites the RIFF sizes of a written Wave file.
    int Close();
    bool IsOpen() const { return m_file.IsOpen(); }

    const Text& Path() const { return m_path; }
    int Mode() const { return m_mode; }
    int Kind() const { return m_mode & SFKIND_MASK; }
    int Coding() const { return m_mode & 0xFF; }
    bool Writable() const { return (m_mode & SFACCESS_MASK) == SFACCESS_WRITE; }
    bool Companded() const { return m_companded; }
    int Channels() const { return m_channels; }
    double Rate() const { return m_rate; }
    int FrameBytes() const { return m_frameBytes; }
    long long Frames() const;
    const std::vector<SSegment>& Segments() const { return m_segments; }
    const SSegment* FindSegment(TextView name) const;

    // Frames in the file's coding (PCM16 for A-law), interleaved; the count read.
    long long ReadFrames(long long first, long long count, void* buffer);
    // Writes and extends the data; false on failure or a read-only file.
    bool WriteFrames(long long first, long long count, const void* buffer);
    // Keeps frames first..end at the start of the data and cuts the rest (0 or a code;
    // RC_BAD_TRUNCATION_SIZE unless 0 <= first <= end <= frames).
    int TruncateFrames(long long first, long long end);

    // The SFIOs open on the file.
    void AddUser();
    void ReleaseUser();
    int Users() const;

    // "%lg %d %ld %s %s %s": rate, channels, frames, coding, kind, access.
    Text HeaderLine() const;

    // The table of segments (a CShellTable) when one is attached; opaque here.
    void* m_pTable = nullptr;

    // Rewrites the RIFF sizes of a written Wave file now (also done by Close, and for
    // every file still open when the process ends).
    void FinishSizes();

private:
    int OpenHeader(const Text& path, int mode, int channels, double rate, long long dataOffset);

    mutable std::recursive_mutex m_cs;
    CSoundFileHandle m_file;
    Text m_path;
    bool m_companded = false;
    int m_mode = 0;
    int m_channels = 0;
    double m_rate = 0;
    long long m_dataOffset = 0;
    long long m_dataLength = 0;
    int m_users = 0;
    int m_frameBytes = 0;
    bool m_bSizesDirty = false;
    std::vector<SSegment> m_segments;
    std::vector<uint8_t> m_companded8;
};
