// Reading and writing the headers of the two sound file kinds with a header:
// the native KV5 file and RIFF/WAVE. The readers work on any byte source so
// that a file and a block of memory are parsed by the same code.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/text.h"

constexpr int SFKIND_BINARY = 0x100;
constexpr int SFKIND_KV5 = 0x200;
constexpr int SFKIND_WAVE = 0x300;
constexpr int SFKIND_MASK = 0xF00;
constexpr int SFACCESS_READ = 0x1000;
constexpr int SFACCESS_WRITE = 0x3000;
constexpr int SFACCESS_MASK = 0x3000;

// Answers of the file layer.
constexpr int SF_BADFORMAT = -196;
constexpr int SF_CANNOTOPEN = -197;
constexpr int SF_BADHEADER = -198;
constexpr int SF_CANNOTCREATE = -199;
constexpr int SF_BUSY = -200;

struct SSegment {
    Text name;
    long long begin = 0;
    long long end = 0;
};

struct SSoundHeader {
    int kind = 0;
    int coding = 0;         // what a reader gets: PCM16 for A-law data
    bool companded = false; // A-law, one byte a sample on file
    int channels = 0;
    double rate = 0;
    long long dataOffset = 0;
    long long dataLength = 0;
    std::vector<SSegment> segments; // the KV5 directory or the dir5 chunk
    // Bytes of one frame on file.
    int FrameBytes() const;
};

class CByteSource {
public:
    virtual ~CByteSource() = default;
    // False on a short read.
    virtual bool ReadAt(uint64_t offset, void* buffer, size_t bytes) = 0;
    virtual uint64_t Size() = 0;
};

class CMemorySource : public CByteSource {
public:
    CMemorySource(const void* data, size_t size) : m_data(static_cast<const uint8_t*>(data)), m_size(size) {}
    bool ReadAt(uint64_t offset, void* buffer, size_t bytes) override;
    uint64_t Size() override { return m_size; }

private:
    const uint8_t* m_data;
    size_t m_size;
};

// True when the bytes are a KV5 file; fills the header with its directory.
bool ReadKv5Header(CByteSource& source, SSoundHeader& out);
// True when the bytes are a Wave file the program reads.
bool ReadWaveHeader(CByteSource& source, SSoundHeader& out);
// KV5, then Wave: SFKIND_* of the kind found, 0 for none.
int ReadSoundHeader(CByteSource& source, SSoundHeader& out);

// The header bytes of a new file; false for values the kind cannot hold.
bool MakeWaveHeader(int coding, bool companded, int channels, double rate, std::string& out);
bool MakeKv5Header(int coding, int channels, double rate, std::string& out);

// A directory name: name up to the first byte below 33, ".", extension likewise.
Text DirectoryName(const uint8_t* name8, const uint8_t* ext3);
