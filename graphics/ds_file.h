// CDSFile: an on-disk store of fixed-size records behind a data set. The file
// has no header: a flat run of 32-bit floats in machine byte order (or 16-bit
// integers in the spectral mode). It lives in the temporary folder as
// "kvo<pid>_<n>.tmp" and is deleted with its owner; files of a process that
// died are removed at the next start.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "base/text.h"

class CDSFile {
public:
    enum EMode : int { MODE_BYTES = 0, MODE_FLOAT = 1, MODE_INT16 = 2 };

    // `recordValues`: values in one record. The file is made at once.
    explicit CDSFile(int recordValues, int mode = MODE_FLOAT);
    ~CDSFile();
    CDSFile(const CDSFile&) = delete;
    CDSFile& operator=(const CDSFile&) = delete;

    bool Ok() const;
    // The text of the last stream error, empty when none; the file stays as it was.
    Text Error() const;
    const Text& Path() const { return m_path; }
    int RecordValues() const { return m_recordValues; }

    // Appends whole records; answers the records written.
    long long Write(const double* values, long long records);
    long long Write(const float* values, long long records);
    long long Records() const;
    long long BytesWritten() const;

    // Sequential reading from the start.
    void Rewind();
    bool Seek(long long record);
    long long Read(float* out, long long records);
    long long Read(double* out, long long records);
    // Random access, independent of the sequential position.
    long long ReadAt(long long record, long long records, float* out) const;
    long long RecordsRead() const { return m_recordsRead; }

    // The folder of the caches: TEMP, TMPDIR or /tmp; the current folder when none can be used.
    static Text Folder();
    // Removes the caches that processes no longer alive left behind; the number removed.
    static int RemoveStale();

private:
    void FlushLocked() const;
    long long ReadLocked(long long record, long long records, float* out) const;
    void Fail(const char* what) const;
    size_t ValueBytes() const { return m_mode == MODE_INT16 ? 2 : 4; }

    mutable std::mutex m_lock;
    Text m_path;
    int m_fd = -1;
    int m_recordValues;
    int m_mode;
    long long m_records = 0;
    long long m_readPosition = 0;
    long long m_recordsRead = 0;
    mutable std::vector<uint8_t> m_pending; // written, not yet in the file
    mutable Text m_error;
    mutable std::vector<uint8_t> m_scratch;
};

// The spectral cache: values kept as rounded 16-bit integers.
class CDSFSpec : public CDSFile {
public:
    explicit CDSFSpec(int recordValues) : CDSFile(recordValues, MODE_INT16) {}
};
