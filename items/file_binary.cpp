// Binary record files. A file is a plain sequence of records, with no file
// header of its own:
//
//   offset 0  type word: 0x102 16-bit integer, 0x204 32-bit integer,
//             0x304 32-bit float, 0x408 64-bit float (code in bits 8 to 11,
//             element size in bits 0 to 3; the high 20 bits are ignored when
//             read and written as 0)
//   offset 4  rows, signed, above 0
//   offset 8  columns, signed, above 0
//   offset 12 the elements, little-endian, column by column
//
// Records count from 0. A record is reached by walking the headers from the
// start of the file; only the walk to a later record may go on from the
// last record dealt with, while the file keeps the size the item left it
// with (see SeekRecord).
//
// GDX files are files of fixed records: NEW FILE f path a b c /Y, with `a`
// the bytes of a leading block that belongs to no record, `b` the bytes of
// one record and `c` the records the file is meant to hold (0: open-ended).
// The item keeps these three numbers (!BININFO) for the tools that read them.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>

#include "base/file_io.h"
#include "items/shell_file.h"
#include "shell/rc_codes.h"

namespace {

constexpr int kHeaderBytes = 12;

bool KnownElement(uint32_t type) {
    return type == RECORD_INT16 || type == RECORD_INT32 || type == RECORD_FLOAT || type == RECORD_DOUBLE;
}

// Reads up to `size` bytes at `offset`; the count read, or -1.
long long ReadAt(int fd, long long offset, void* buffer, size_t size) {
    int error = 0;
    const long long got = ReadFullyAt(fd, offset, buffer, size, &error);
    return error ? -1 : got;
}

uint32_t LittleWord(const unsigned char* p) {
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

void PutLittleWord(unsigned char* p, uint32_t w) {
    p[0] = static_cast<unsigned char>(w);
    p[1] = static_cast<unsigned char>(w >> 8);
    p[2] = static_cast<unsigned char>(w >> 16);
    p[3] = static_cast<unsigned char>(w >> 24);
}

// Integer elements take the value truncated toward zero, held inside their range.
template <typename T> T Truncated(double v) {
    if (std::isnan(v)) return 0;
    const double t = std::trunc(v);
    if (t <= static_cast<double>(std::numeric_limits<T>::min())) return std::numeric_limits<T>::min();
    if (t >= static_cast<double>(std::numeric_limits<T>::max())) return std::numeric_limits<T>::max();
    return static_cast<T>(t);
}

void EncodeElements(const std::vector<double>& values, uint32_t element, std::vector<unsigned char>& out) {
    const size_t size = element & 0xF;
    out.resize(values.size() * size);
    unsigned char* p = out.data();
    for (double v : values) {
        switch (element) {
        case RECORD_INT16: {
            const uint16_t w = static_cast<uint16_t>(Truncated<int16_t>(v));
            p[0] = static_cast<unsigned char>(w);
            p[1] = static_cast<unsigned char>(w >> 8);
            break;
        }
        case RECORD_INT32:
            PutLittleWord(p, static_cast<uint32_t>(Truncated<int32_t>(v)));
            break;
        case RECORD_FLOAT: {
            const float f = static_cast<float>(v);
            uint32_t w;
            std::memcpy(&w, &f, 4);
            PutLittleWord(p, w);
            break;
        }
        default: {
            uint64_t w;
            std::memcpy(&w, &v, 8);
            PutLittleWord(p, static_cast<uint32_t>(w));
            PutLittleWord(p + 4, static_cast<uint32_t>(w >> 32));
            break;
        }
        }
        p += size;
    }
}

double DecodeElement(const unsigned char* p, uint32_t element) {
    switch (element) {
    case RECORD_INT16:
        return static_cast<int16_t>(uint16_t(p[0] | p[1] << 8));
    case RECORD_INT32:
        return static_cast<int32_t>(LittleWord(p));
    case RECORD_FLOAT: {
        const uint32_t w = LittleWord(p);
        float f;
        std::memcpy(&f, &w, 4);
        return f;
    }
    default: {
        const uint64_t w = uint64_t(LittleWord(p)) | uint64_t(LittleWord(p + 4)) << 32;
        double d;
        std::memcpy(&d, &w, 8);
        return d;
    }
    }
}

} // namespace

// The header at `offset` and the bytes of its elements. A data block that
// would reach past the end of the file counts as truncated here already, so
// that nothing is allocated or skipped on the word of a broken header.
int CShellFile::ReadHeader(long long offset, uint32_t& type, int& rows, int& cols, long long& bytes) {
    unsigned char header[kHeaderBytes];
    const long long got = ReadAt(m_fd, offset, header, kHeaderBytes);
    if (got == 0) return RC_BINARY_EOF;
    if (got < kHeaderBytes) return RC_RECORD_HEADER_TRUNCATED;
    type = LittleWord(header) & 0xFFF;
    rows = static_cast<int32_t>(LittleWord(header + 4));
    cols = static_cast<int32_t>(LittleWord(header + 8));
    if (!KnownElement(type) || rows < 1 || cols < 1) return RC_RECORD_HEADER_CORRUPTED;
    const unsigned __int128 need =
        static_cast<unsigned __int128>(rows) * static_cast<unsigned>(cols) * (type & 0xF);
    const long long left = FileSize() - offset - kHeaderBytes;
    if (left < 0 || need > static_cast<unsigned __int128>(left)) return RC_RECORD_DATA_TRUNCATED;
    bytes = static_cast<long long>(need);
    return 0;
}

long long CShellFile::FileSize() const {
    struct stat st {};
    return ::fstat(m_fd, &st) == 0 ? static_cast<long long>(st.st_size) : -1;
}

// Walks the headers to record `index`, or with `toEnd` past the last record
// (`index` then receives the count of records). A walk to a record behind the
// last one dealt with goes on from that record's end, as long as the file has
// the size this item left it with; any other walk starts at the beginning.
int CShellFile::SeekRecord(long& index, long long& offset, bool toEnd) {
    long r = 0;
    offset = 0;
    if (m_nRecord >= 0 && m_nNextOffset > 0 && (toEnd || index > m_nRecord) && FileSize() == m_nKnownSize) {
        r = m_nRecord + 1;
        offset = m_nNextOffset;
    }
    for (; toEnd || r < index; ++r) {
        uint32_t type = 0;
        int rows = 0;
        int cols = 0;
        long long bytes = 0;
        const int code = ReadHeader(offset, type, rows, cols, bytes);
        if (code == RC_BINARY_EOF && toEnd) {
            index = r;
            return 0;
        }
        if (code == RC_BINARY_EOF) return RC_NO_SUCH_RECORD;
        if (code) return code;
        offset += kHeaderBytes + bytes;
    }
    return 0;
}

void CShellFile::DealtWith(long index, uint32_t type, int rows, int cols, long long offset) {
    m_nRecord = index;
    m_nLastResult = RECORD_GOOD;
    m_nHeader = type;
    m_nElement = type;
    m_nElementSize = static_cast<int>(type & 0xF);
    m_nRows = rows;
    m_nCols = cols;
    m_nDataOffset = offset + kHeaderBytes;
    m_nNextOffset = m_nDataOffset + static_cast<long long>(rows) * cols * m_nElementSize;
    m_nKnownSize = FileSize();
}

int CShellFile::ReadRecord(long index, SRecord& out) {
    if (Type() != FILE_TYPE_BINARY) return RC_BINARY_FILE_ONLY;
    if (m_fd < 0) return RC_FILE_NOT_OPEN;
    const bool next = index == -1;
    if (index < -1) return RC_BAD_RECORD_INDEX;
    long target = next ? m_nRecord + 1 : index;
    long long offset = 0;
    int code = SeekRecord(target, offset, false);
    uint32_t type = 0;
    int rows = 0;
    int cols = 0;
    long long bytesOfData = 0;
    if (!code) code = ReadHeader(offset, type, rows, cols, bytesOfData);
    if (code == RC_BINARY_EOF && !next) code = RC_NO_SUCH_RECORD;
    if (code) {
        m_nLastResult = code == RC_BINARY_EOF ? RECORD_END : RECORD_CORRUPTED;
        if (code == RC_NO_SUCH_RECORD) m_nLastResult = RECORD_END;
        return code;
    }
    const size_t size = type & 0xF;
    const size_t count = static_cast<size_t>(rows) * static_cast<size_t>(cols);
    std::vector<unsigned char> bytes(static_cast<size_t>(bytesOfData));
    if (ReadAt(m_fd, offset + kHeaderBytes, bytes.data(), bytes.size()) !=
        static_cast<long long>(bytes.size())) {
        m_nLastResult = RECORD_CORRUPTED;
        return RC_RECORD_DATA_TRUNCATED;
    }
    out.rows = rows;
    out.cols = cols;
    out.data.resize(count);
    for (size_t i = 0; i < count; ++i) out.data[i] = DecodeElement(bytes.data() + i * size, type);
    DealtWith(target, type, rows, cols, offset);
    m_nRawRow = 0;
    return 0;
}

int CShellFile::ReadRawRow(long index, SRecord& out) {
    if (index != -1 || !m_bRaw) {
        m_bRaw = false;
        if (const int code = ReadRecord(index, m_rawRecord)) return code;
        m_bRaw = true;
    }
    const SRecord& record = m_rawRecord;
    out.rows = 1;
    out.cols = record.cols;
    out.data.resize(static_cast<size_t>(record.cols));
    for (int c = 0; c < record.cols; ++c)
        out.data[static_cast<size_t>(c)] = record.data[static_cast<size_t>(c) * record.rows + m_nRawRow];
    if (++m_nRawRow >= record.rows) m_bRaw = false;
    return 0;
}

int CShellFile::WriteRecord(long index, const SRecord& record, uint32_t element) {
    if (Type() != FILE_TYPE_BINARY) return RC_BINARY_FILE_ONLY;
    if (m_fd < 0) return RC_FILE_NOT_OPEN;
    if (!(Access() & FILE_ACCESS_WRITE)) return RC_NOT_OPEN_FOR_WRITING;
    if (record.rows < 1 || record.cols < 1) return RC_BAD_RECORD_ITEM;
    long long offset = 0;
    if (index < 0) {
        long count = 0;
        const int code = SeekRecord(count, offset, true);
        if (code) return code;
        unsigned char header[kHeaderBytes];
        PutLittleWord(header, element);
        PutLittleWord(header + 4, static_cast<uint32_t>(record.rows));
        PutLittleWord(header + 8, static_cast<uint32_t>(record.cols));
        if (!WriteFullyAt(m_fd, offset, header, kHeaderBytes)) return RC_RECORD_HEADER_WRITE_ERROR;
        index = count;
    } else {
        int code = SeekRecord(index, offset, false);
        uint32_t type = 0;
        int rows = 0;
        int cols = 0;
        long long bytes = 0;
        if (!code) code = ReadHeader(offset, type, rows, cols, bytes);
        if (code == RC_BINARY_EOF) code = RC_NO_SUCH_RECORD;
        if (code) return code;
        if (rows != record.rows || cols != record.cols) return RC_BAD_RECORD_INDEX;
        element = type; // the record keeps its element type: its size is fixed
    }
    std::vector<unsigned char> bytes;
    EncodeElements(record.data, element, bytes);
    if (!WriteFullyAt(m_fd, offset + kHeaderBytes, bytes.data(), bytes.size())) return RC_BINARY_WRITE_ERROR;
    DealtWith(index, element, record.rows, record.cols, offset);
    m_bRaw = false;
    ++m_nChanged;
    return 0;
}

int CShellFile::RecordList(std::vector<Text>& rows) {
    if (Type() != FILE_TYPE_BINARY) return RC_BINARY_OR_SECTION_EXPECTED;
    if (m_fd < 0) return RC_FILE_NOT_OPEN;
    long long offset = 0;
    for (long index = 0;; ++index) {
        uint32_t type = 0;
        int r = 0;
        int c = 0;
        long long bytes = 0;
        const int code = ReadHeader(offset, type, r, c, bytes);
        if (code == RC_BINARY_EOF) return 0;
        if (code == RC_RECORD_HEADER_TRUNCATED) return code;
        if (code == RC_RECORD_HEADER_CORRUPTED) {
            // A header that cannot be named cannot be skipped either: the list ends here.
            rows.push_back(Format(L"%ld %d %d unknown", index, r, c));
            return 0;
        }
        const wchar_t letter = (type >> 8) <= 2 ? L'i' : L'f';
        rows.push_back(Format(L"%ld %d %d %c%d", index, r, c, letter, static_cast<int>(type & 0xF)));
        if (code) return 0; // its data runs past the end: nothing follows
        offset += kHeaderBytes + bytes;
    }
}
