#include "signal/sound_file.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/file_io.h"
#include "numeric/vector_kernels.h"
#include "shell/rc_codes.h"
#include "signal/sample_coding.h"
#include "signal/segment_tables.h"

#include <set>

namespace {
constexpr size_t kMaxPath = 260;
constexpr size_t kMoveBlock = 32768;
constexpr uint64_t kMaxRiffFile = 0x7FFFFFFF;
// Every sound file alive: a Wave file still being written when the process ends
// gets its sizes, so that it is a proper file for whoever reads it next.
class CLiveFiles {
public:
    void FinishAll() {
        std::lock_guard lock(m_lock);
        for (CSoundFile* file : m_files) file->FinishSizes();
    }
    void Add(CSoundFile* file) {
        std::lock_guard lock(m_lock);
        m_files.insert(file);
    }
    void Remove(CSoundFile* file) {
        std::lock_guard lock(m_lock);
        m_files.erase(file);
    }

private:
    std::mutex m_lock;
    std::set<CSoundFile*> m_files;
};

// Never destroyed, so that a file that outlives the statics can still leave the set.
CLiveFiles& LiveFiles() {
    static CLiveFiles* files = [] {
        auto* made = new CLiveFiles;
        std::atexit([] { LiveFiles().FinishAll(); });
        return made;
    }();
    return *files;
}

} // namespace

bool CSoundFileHandle::Open(const Text& path, EMode mode) {
    Close();
    if (path.empty() || path.size() > kMaxPath) return false;
    const std::string p = ToUtf8(path);
    int flags = O_RDONLY;
    if (mode == OPEN_READWRITE) flags = O_RDWR;
    if (mode == OPEN_CREATE) flags = O_RDWR | O_CREAT | O_EXCL;
    m_fd = ::open(p.c_str(), flags | O_CLOEXEC, 0644);
    if (m_fd < 0) return false;
    struct stat st;
    if (::fstat(m_fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        Close();
        return false;
    }
    return true;
}

void CSoundFileHandle::Close() {
    if (m_fd >= 0) ::close(m_fd);
    m_fd = -1;
}

long long CSoundFileHandle::Read(uint64_t offset, void* buffer, size_t bytes) {
    return ReadFullyAt(m_fd, static_cast<long long>(offset), buffer, bytes);
}

bool CSoundFileHandle::Write(uint64_t offset, const void* buffer, size_t bytes) {
    return WriteFullyAt(m_fd, static_cast<long long>(offset), buffer, bytes);
}

bool CSoundFileHandle::Truncate(uint64_t size) {
    return ::ftruncate(m_fd, static_cast<off_t>(size)) == 0;
}

uint64_t CSoundFileHandle::Size() const {
    struct stat st;
    if (m_fd < 0 || ::fstat(m_fd, &st) != 0) return 0;
    return static_cast<uint64_t>(st.st_size);
}

CSoundFile::CSoundFile() {
    LiveFiles().Add(this);
}

CSoundFile::~CSoundFile() {
    LiveFiles().Remove(this);
    m_users = 0;
    Close();
}

void CSoundFile::FinishSizes() {
    std::lock_guard lock(m_cs);
    if (!m_file.IsOpen() || Kind() != SFKIND_WAVE || !Writable() || !m_bSizesDirty) return;
    const uint64_t size = m_file.Size();
    if (size <= kMaxRiffFile) {
        const uint32_t riff = static_cast<uint32_t>(size - 8);
        const uint32_t data = static_cast<uint32_t>(size - static_cast<uint64_t>(m_dataOffset));
        m_file.Write(4, &riff, 4);
        m_file.Write(static_cast<uint64_t>(m_dataOffset) - 4, &data, 4);
    }
    m_bSizesDirty = false;
}

int CSoundFile::OpenHeader(const Text& path, int mode, int channels, double rate, long long dataOffset) {
    const bool write = (mode & SFACCESS_MASK) == SFACCESS_WRITE;
    if (!m_file.Open(path, write ? CSoundFileHandle::OPEN_READWRITE : CSoundFileHandle::OPEN_READ))
        return SF_CANNOTOPEN;
    SSoundHeader header;
    if ((mode & SFKIND_MASK) == SFKIND_BINARY) {
        const int coding = mode & 0xFF;
        if (!IsCoding(coding) || channels < 1 || channels > 256 || !(rate >= 1.0 && rate <= 2000000.0) ||
            dataOffset < 0) {
            m_file.Close();
            return SF_BADFORMAT;
        }
        header.kind = SFKIND_BINARY;
        header.coding = coding;
        header.channels = channels;
        header.rate = rate;
        header.dataOffset = dataOffset;
        const uint64_t size = m_file.Size();
        header.dataLength = size > uint64_t(dataOffset) ? static_cast<long long>(size - dataOffset) : 0;
    } else {
        CFileSource source(m_file);
        if (ReadSoundHeader(source, header) == 0) {
            m_file.Close();
            return SF_BADFORMAT;
        }
    }
    m_path = path;
    m_companded = header.companded;
    m_mode = header.kind | header.coding | (write ? SFACCESS_WRITE : SFACCESS_READ);
    m_channels = header.channels;
    m_rate = header.rate;
    m_dataOffset = header.dataOffset;
    m_dataLength = header.dataLength;
    m_frameBytes = header.FrameBytes();
    m_segments = std::move(header.segments);
    m_bSizesDirty = false;
    return 0;
}

int CSoundFile::Open(const Text& path, int mode, int channels, double rate, long long dataOffset) {
    std::lock_guard lock(m_cs);
    if (m_file.IsOpen()) return SF_BUSY;
    return OpenHeader(path, mode, channels, rate, dataOffset);
}

int CSoundFile::Create(const Text& path, int mode, int channels, double rate, long long dataOffset) {
    std::lock_guard lock(m_cs);
    if (m_file.IsOpen()) return SF_BUSY;
    const int readMode = (mode & ~SFACCESS_MASK) | SFACCESS_READ;
    const int opened = OpenHeader(path, readMode, channels, rate, dataOffset);
    if (opened != SF_CANNOTOPEN) {
        // An existing file keeps its contents; it is reopened with the access asked for.
        if (opened != 0 || (mode & SFACCESS_MASK) != SFACCESS_WRITE) return opened;
        m_file.Close();
        return OpenHeader(path, mode, channels, rate, dataOffset);
    }
    const int kind = mode & SFKIND_MASK;
    const int coding = mode & 0xFF;
    std::string header;
    if (kind == SFKIND_WAVE) {
        if (!MakeWaveHeader(coding, false, channels, rate, header)) return SF_BADHEADER;
    } else if (kind == SFKIND_KV5) {
        if (!MakeKv5Header(coding, channels, rate, header)) return SF_BADHEADER;
    } else {
        if (dataOffset != 0 || !IsCoding(coding) || channels < 1 || channels > 256 ||
            !(rate >= 1.0 && rate <= 2000000.0))
            return SF_BADHEADER;
    }
    CSoundFileHandle created;
    if (!created.Open(path, CSoundFileHandle::OPEN_CREATE)) return SF_CANNOTCREATE;
    if (!header.empty() && !created.Write(0, header.data(), header.size())) {
        created.Close();
        ::unlink(ToUtf8(path).c_str());
        return SF_CANNOTCREATE;
    }
    created.Close();
    return OpenHeader(path, (mode & ~SFACCESS_MASK) | SFACCESS_WRITE, channels, rate, dataOffset);
}

int CSoundFile::Close() {
    std::lock_guard lock(m_cs);
    if (m_users > 0) return SF_BUSY;
    if (!m_file.IsOpen()) return 0;
    FinishSizes();
    m_file.Close();
    m_bSizesDirty = false;
    DetachSegmentTable(*this);
    return 0;
}

long long CSoundFile::Frames() const {
    std::lock_guard lock(m_cs);
    return m_frameBytes > 0 ? m_dataLength / m_frameBytes : 0;
}

const SSegment* CSoundFile::FindSegment(TextView name) const {
    for (const SSegment& segment : m_segments)
        if (EqualNoCase(segment.name, name)) return &segment;
    return nullptr;
}

long long CSoundFile::ReadFrames(long long first, long long count, void* buffer) {
    std::lock_guard lock(m_cs);
    const long long frames = m_frameBytes > 0 ? m_dataLength / m_frameBytes : 0;
    if (!m_file.IsOpen() || first < 0 || count <= 0 || first >= frames) return 0;
    if (count > frames - first) count = frames - first;
    const uint64_t at = static_cast<uint64_t>(m_dataOffset + first * m_frameBytes);
    const size_t bytes = static_cast<size_t>(count * m_frameBytes);
    if (!m_companded) {
        const long long got = m_file.Read(at, buffer, bytes);
        return got < 0 ? 0 : got / m_frameBytes;
    }
    m_companded8.resize(bytes);
    const long long got = m_file.Read(at, m_companded8.data(), bytes);
    if (got <= 0) return 0;
    const long long whole = got / m_frameBytes;
    numeric::ALawToLinear(m_companded8.data(), static_cast<int16_t*>(buffer),
                          static_cast<size_t>(whole * m_frameBytes));
    return whole;
}

bool CSoundFile::WriteFrames(long long first, long long count, const void* buffer) {
    std::lock_guard lock(m_cs);
    if (!m_file.IsOpen() || !Writable() || m_companded || first < 0 || count < 0) return false;
    const long long bytes = count * m_frameBytes;
    if (!m_file.Write(static_cast<uint64_t>(m_dataOffset + first * m_frameBytes), buffer,
                      static_cast<size_t>(bytes)))
        return false;
    const long long end = (first + count) * m_frameBytes;
    if (end > m_dataLength) m_dataLength = end;
    m_bSizesDirty = true;
    return true;
}

int CSoundFile::TruncateFrames(long long first, long long end) {
    std::lock_guard lock(m_cs);
    if (!m_file.IsOpen() || !Writable()) return RC_SFIO_WITHOUT_SOUNDFILE;
    const long long frames = m_frameBytes > 0 ? m_dataLength / m_frameBytes : 0;
    if (first < 0 || first > end || end > frames) return RC_BAD_TRUNCATION_SIZE;
    const uint64_t base = static_cast<uint64_t>(m_dataOffset);
    if (first > 0) {
        std::vector<uint8_t> block(kMoveBlock);
        uint64_t from = base + static_cast<uint64_t>(first * m_frameBytes);
        uint64_t to = base;
        uint64_t left = static_cast<uint64_t>((end - first) * m_frameBytes);
        while (left > 0) {
            const size_t n = static_cast<size_t>(left < kMoveBlock ? left : kMoveBlock);
            if (m_file.Read(from, block.data(), n) != static_cast<long long>(n) ||
                !m_file.Write(to, block.data(), n))
                return RC_COMMAND_ERROR;
            from += n;
            to += n;
            left -= n;
        }
    }
    m_dataLength = (end - first) * m_frameBytes;
    if (!m_file.Truncate(base + static_cast<uint64_t>(m_dataLength))) return RC_COMMAND_ERROR;
    m_bSizesDirty = true;
    return 0;
}

void CSoundFile::AddUser() {
    std::lock_guard lock(m_cs);
    ++m_users;
}

void CSoundFile::ReleaseUser() {
    std::lock_guard lock(m_cs);
    if (m_users > 0) --m_users;
}

int CSoundFile::Users() const {
    std::lock_guard lock(m_cs);
    return m_users;
}

Text CSoundFile::HeaderLine() const {
    static constexpr const wchar_t* kKinds[] = {L"Binary", L"KV5", L"Wave"};
    const int kind = Kind() >> 8;
    const wchar_t* kindName = kind >= 1 && kind <= 3 ? kKinds[kind - 1] : L"?";
    return Format(L"%lg %d %ld %s %s %s", m_rate, m_channels, static_cast<long>(Frames()),
                  CodingName(Coding()), kindName, Writable() ? L"Write" : L"Read");
}
