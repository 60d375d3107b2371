#include "graphics/ds_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace {
constexpr size_t kFlushBytes = 1 << 16;
std::atomic<unsigned> g_sequence{0};

bool UsableFolder(const char* path) {
    struct stat st;
    return path && *path && ::stat(path, &st) == 0 && S_ISDIR(st.st_mode) && ::access(path, W_OK) == 0;
}

std::string FolderBytes() {
    for (const char* name : {"TEMP", "TMPDIR"}) {
        const char* v = std::getenv(name);
        if (UsableFolder(v)) return v;
    }
    if (UsableFolder("/tmp")) return "/tmp";
    return ".";
}

// "kvo<pid>_<n>.tmp": the pid of the process that made the file, or -1.
long CacheOwner(const char* name) {
    if (std::strncmp(name, "kvo", 3) != 0) return -1;
    char* end = nullptr;
    const long pid = std::strtol(name + 3, &end, 10);
    if (end == name + 3 || *end != '_') return -1;
    char* tail = nullptr;
    std::strtoul(end + 1, &tail, 10);
    if (tail == end + 1 || std::strcmp(tail, ".tmp") != 0) return -1;
    return pid;
}

bool ProcessAlive(long pid) {
    return pid > 0 && (::kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM);
}
} // namespace

Text CDSFile::Folder() {
    return FromUtf8(FolderBytes());
}

int CDSFile::RemoveStale() {
    const std::string folder = FolderBytes();
    DIR* dir = ::opendir(folder.c_str());
    if (!dir) return 0;
    int removed = 0;
    while (dirent* e = ::readdir(dir)) {
        const long pid = CacheOwner(e->d_name);
        if (pid < 0 || ProcessAlive(pid)) continue;
        if (::unlink((folder + "/" + e->d_name).c_str()) == 0) ++removed;
    }
    ::closedir(dir);
    return removed;
}

CDSFile::CDSFile(int recordValues, int mode) : m_recordValues(std::max(1, recordValues)), m_mode(mode) {
    const std::string folder = FolderBytes();
    for (int attempt = 0; attempt < 100 && m_fd < 0; ++attempt) {
        const std::string path = folder + "/kvo" + std::to_string(::getpid()) + "_" +
                                 std::to_string(g_sequence.fetch_add(1)) + ".tmp";
        m_fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (m_fd >= 0)
            m_path = FromUtf8(path);
        else if (errno != EEXIST)
            break;
    }
    if (m_fd < 0) Fail("cannot make the cache file");
}

CDSFile::~CDSFile() {
    if (m_fd >= 0) ::close(m_fd);
    if (!m_path.empty()) ::unlink(ToUtf8(m_path).c_str());
}

bool CDSFile::Ok() const {
    std::lock_guard hold(m_lock);
    return m_fd >= 0 && m_error.empty();
}

Text CDSFile::Error() const {
    std::lock_guard hold(m_lock);
    return m_error;
}

void CDSFile::Fail(const char* what) const {
    m_error = FromUtf8(std::string(what) + ": " + std::strerror(errno));
}

long long CDSFile::Records() const {
    std::lock_guard hold(m_lock);
    return m_records;
}

long long CDSFile::BytesWritten() const {
    std::lock_guard hold(m_lock);
    return m_records * m_recordValues * static_cast<long long>(ValueBytes());
}

void CDSFile::FlushLocked() const {
    if (m_pending.empty() || m_fd < 0) return;
    const off_t end = ::lseek(m_fd, 0, SEEK_END);
    size_t done = 0;
    while (done < m_pending.size()) {
        const ssize_t n = ::pwrite(m_fd, m_pending.data() + done, m_pending.size() - done, end + off_t(done));
        if (n <= 0) {
            if (n < 0 && errno == EINTR) continue;
            Fail("cannot write the cache file");
            break;
        }
        done += static_cast<size_t>(n);
    }
    m_pending.clear();
}

long long CDSFile::Write(const float* values, long long records) {
    std::lock_guard hold(m_lock);
    if (m_fd < 0 || !m_error.empty() || records <= 0) return 0;
    const size_t count = static_cast<size_t>(records) * static_cast<size_t>(m_recordValues);
    const size_t at = m_pending.size();
    m_pending.resize(at + count * ValueBytes());
    if (m_mode == MODE_INT16) {
        auto* out = reinterpret_cast<int16_t*>(m_pending.data() + at);
        for (size_t i = 0; i < count; ++i)
            out[i] = static_cast<int16_t>(std::clamp(std::lround(values[i]), -32768L, 32767L));
    } else {
        std::memcpy(m_pending.data() + at, values, count * 4);
    }
    m_records += records;
    if (m_pending.size() >= kFlushBytes) FlushLocked();
    return records;
}

long long CDSFile::Write(const double* values, long long records) {
    // Doubles go through a float scratch buffer: the file keeps 32-bit values.
    std::vector<float> scratch(static_cast<size_t>(std::max(0LL, records)) *
                               static_cast<size_t>(m_recordValues));
    for (size_t i = 0; i < scratch.size(); ++i) scratch[i] = static_cast<float>(values[i]);
    return Write(scratch.data(), records);
}

void CDSFile::Rewind() {
    std::lock_guard hold(m_lock);
    m_readPosition = 0;
    m_recordsRead = 0;
}

bool CDSFile::Seek(long long record) {
    std::lock_guard hold(m_lock);
    if (record < 0 || record > m_records) return false;
    m_readPosition = record;
    return true;
}

long long CDSFile::ReadLocked(long long record, long long records, float* out) const {
    FlushLocked();
    if (m_fd < 0 || record < 0 || record >= m_records || records <= 0) return 0;
    records = std::min(records, m_records - record);
    const size_t count = static_cast<size_t>(records) * static_cast<size_t>(m_recordValues);
    const off_t offset = static_cast<off_t>(record) * m_recordValues * static_cast<off_t>(ValueBytes());
    uint8_t* target = reinterpret_cast<uint8_t*>(out);
    if (m_mode == MODE_INT16) {
        m_scratch.resize(count * 2);
        target = m_scratch.data();
    }
    size_t done = 0;
    const size_t bytes = count * ValueBytes();
    while (done < bytes) {
        const ssize_t n = ::pread(m_fd, target + done, bytes - done, offset + off_t(done));
        if (n <= 0) {
            if (n < 0 && errno == EINTR) continue;
            Fail("cannot read the cache file");
            return 0;
        }
        done += static_cast<size_t>(n);
    }
    if (m_mode == MODE_INT16) {
        const auto* in = reinterpret_cast<const int16_t*>(m_scratch.data());
        for (size_t i = 0; i < count; ++i) out[i] = in[i];
    }
    return records;
}

long long CDSFile::ReadAt(long long record, long long records, float* out) const {
    std::lock_guard hold(m_lock);
    return ReadLocked(record, records, out);
}

long long CDSFile::Read(float* out, long long records) {
    std::lock_guard hold(m_lock);
    const long long n = ReadLocked(m_readPosition, records, out);
    m_readPosition += n;
    m_recordsRead += n;
    return n;
}

long long CDSFile::Read(double* out, long long records) {
    std::vector<float> scratch(static_cast<size_t>(std::max(0LL, records)) *
                               static_cast<size_t>(m_recordValues));
    const long long n = Read(scratch.data(), records);
    for (size_t i = 0; i < static_cast<size_t>(n) * static_cast<size_t>(m_recordValues); ++i)
        out[i] = scratch[i];
    return n;
}
