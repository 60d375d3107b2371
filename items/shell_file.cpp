// The file item's names, attributes, opening and directory searches.
#include "items/shell_file.h"
#include "base/file_io.h"

#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <string>

#include "base/subcommand_table.h"
#include "items/text_codec.h"
#include "shell/error_table.h"

namespace {

std::atomic<const SXmlFileHooks*> g_xmlHooks{nullptr};

Text TimeText(time_t t) {
    struct tm local {};
    localtime_r(&t, &local);
    return Format(L"%.04d.%.02d.%.02d  %.02d.%.02d", local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
                  local.tm_hour, local.tm_min);
}

const wchar_t* TypeName(int type) {
    switch (type) {
    case FILE_TYPE_LIST:
        return L"LIST";
    case FILE_TYPE_TEXT:
        return L"TEXT";
    case FILE_TYPE_BINARY:
        return L"BINARY";
    case FILE_TYPE_SECTION:
        return L"SECTION";
    case FILE_TYPE_XML:
        return L"XML";
    case FILE_TYPE_GDX:
        return L"GDX";
    default:
        return L"FILE";
    }
}

// Creation time where the file system keeps one, else the time of the last status change.
time_t BirthTime(const std::string& path, const struct stat& st) {
#ifdef STATX_BTIME
    struct statx sx {};
    if (statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME, &sx) == 0 && (sx.stx_mask & STATX_BTIME))
        return static_cast<time_t>(sx.stx_btime.tv_sec);
#else
    (void)path;
#endif
    return st.st_ctime;
}

} // namespace

void RegisterXmlFileHooks(const SXmlFileHooks* hooks) {
    g_xmlHooks = hooks;
}

const SXmlFileHooks* XmlFileHooks() {
    return g_xmlHooks.load();
}

CShellFile::CShellFile(CShellEnv* env, int type) : CShellItem(env), m_nType(type) {}

CShellFile::~CShellFile() {
    if (m_fd >= 0) ::close(m_fd);
}

void CShellFile::Describe(Text& out) {
    out = Format(L"CShellFile %p (%s %s), usage count %d", static_cast<void*>(this), TypeName(Type()),
                 Path().c_str(), m_nShare);
}

// Names ------------------------------------------------------------------------------

void CShellFile::SetPath(TextView path) {
    m_sDrive.clear();
    const size_t slash = path.find_last_of(L'/');
    const size_t nameStart = slash == TextView::npos ? 0 : slash + 1;
    m_sDirectory = Text(path.substr(0, nameStart));
    TextView rest = path.substr(nameStart);
    // A name that only starts with a dot (".profile") has no extension.
    const size_t dot = rest.find_last_of(L'.');
    if (dot == TextView::npos || dot == 0) {
        m_sName = Text(rest);
        m_sExtension.clear();
    } else {
        m_sName = Text(rest.substr(0, dot));
        m_sExtension = Text(rest.substr(dot));
    }
    m_bFound = false;
}

Text CShellFile::Path() const {
    return m_sDrive + m_sDirectory + m_sName + m_sExtension;
}

bool CShellFile::LookUp() {
    const std::string path = ToUtf8(Path());
    struct stat st {};
    m_bFound = !path.empty() && ::stat(path.c_str(), &st) == 0;
    if (!m_bFound) return false;
    m_bDirectory = S_ISDIR(st.st_mode);
    // Devices, pipes and sockets are what "System" stands for on this platform.
    m_bSystem = !m_bDirectory && !S_ISREG(st.st_mode);
    m_bReadOnly = ::access(path.c_str(), W_OK) != 0;
    m_created = BirthTime(path, st);
    m_modified = st.st_mtime;
    m_accessed = st.st_atime;
    m_size = static_cast<double>(st.st_size);
    return true;
}

bool CShellFile::Attribute(TextView word, Text& out) {
    using Handler = void (*)(CShellFile & f, Text & out);
    // Rows that read the file's data look the file up first, except on a
    // directory search, which keeps the data of its hit.
    enum : unsigned { LOOKUP = 1 };
    static constexpr SSubcommand<Handler> kAttributes[] = {
        {L"PATH", [](CShellFile& f, Text& out) { out = f.Path(); }},
        {L"DRIVE", [](CShellFile& f, Text& out) { out = f.m_sDrive; }},
        {L"DIRECTORY", [](CShellFile& f, Text& out) { out = f.m_sDirectory; }},
        {L"NAME", [](CShellFile& f, Text& out) { out = f.m_sName; }},
        {L"EXTENSION", [](CShellFile& f, Text& out) { out = f.m_sExtension; }},
        {L"CREATED",
         [](CShellFile& f, Text& out) {
             if (f.m_bFound) out = TimeText(f.m_created);
         },
         0, LOOKUP},
        {L"MODIFIED",
         [](CShellFile& f, Text& out) {
             if (f.m_bFound) out = TimeText(f.m_modified);
         },
         0, LOOKUP},
        {L"ATTRIBUTES", [](CShellFile& f, Text& out) { f.AttributesText(out); }, 0, LOOKUP},
        {L"ACCESS", [](CShellFile& f, Text& out) { f.AccessText(out); }},
        {L"SIZE",
         [](CShellFile& f, Text& out) {
             if (f.m_bFound) out = DoubleText(f.m_size);
         },
         0, LOOKUP},
        {L"TYPE", [](CShellFile& f, Text& out) { out = TypeName(f.Type()); }},
        {L"SHELL", [](CShellFile& f, Text& out) { out = f.m_sShell; }},
        {L"USERS", [](CShellFile& f, Text& out) { out = IntText(f.m_nShare); }},
        {L"LASTACCESS",
         [](CShellFile& f, Text& out) {
             if (f.m_bFound) out = TimeText(f.m_accessed);
         }},
        {L"BININFO", [](CShellFile& f, Text& out) { f.RecordInfoText(out); }},
        {L"CHANGED", [](CShellFile& f, Text& out) { out = IntText(f.m_nChanged); }},
    };
    static const CSubcommandTable<Handler> table(L"FILE ATTRIBUTES", kAttributes);
    out.clear();
    const SSubcommand<Handler>* row = table.Find(word);
    if (!row) return false;
    if (Type() != FILE_TYPE_LIST && (row->options & LOOKUP)) LookUp();
    row->handler(*this, out);
    return true;
}

void CShellFile::AttributesText(Text& out) {
    if (!m_bFound) return;
    if (m_bDirectory) {
        out = L"Directory";
    } else if (m_bSystem) {
        out = L"System";
    } else if (!m_sName.empty() && m_sName[0] == L'.') {
        out = L"Hidden";
    } else {
        out = L"Normal";
    }
}

void CShellFile::AccessText(Text& out) {
    if (m_fd >= 0) {
        if (Access() & FILE_ACCESS_APPEND) {
            out = L"Append";
        } else if (Access() & FILE_ACCESS_WRITE) {
            out = L"Write";
        } else {
            out = L"Read";
        }
    } else if (LookUp()) {
        out = m_bReadOnly ? L"Read" : L"Write";
    }
}

// Index of the last record dealt with, last result, header word, rows, columns.
void CShellFile::RecordInfoText(Text& out) {
    if (Type() == FILE_TYPE_BINARY)
        out = Format(L"%ld %d %u %d %d", m_nRecord, m_nLastResult, m_nHeader, m_nRows, m_nCols);
    else if (Type() == FILE_TYPE_GDX)
        out = Format(L"%lld %lld %lld", m_gdx[0], m_gdx[1], m_gdx[2]);
}

// Opening ------------------------------------------------------------------------------

int CShellFile::Open(bool quiet) {
    const int fallback = quiet ? RC_CANNOT_CREATE_FILE_WARNING : RC_CANNOT_ALLOCATE_FILE;
    const std::string path = ToUtf8(Path());
    const int type = Type();
    if (type == FILE_TYPE_FILE || type == FILE_TYPE_LIST) {
        LookUp();
        return 0;
    }
    int flags = 0;
    const int access = Access();
    if (type == FILE_TYPE_TEXT) {
        if (access & (FILE_ACCESS_WRITE | FILE_ACCESS_APPEND))
            flags = O_RDWR | O_CREAT | ((access & FILE_ACCESS_EMPTY) ? O_TRUNC : 0);
        else
            flags = O_RDONLY;
    } else if (access & FILE_ACCESS_WRITE) {
        flags = O_RDWR | O_CREAT | ((access & FILE_ACCESS_EMPTY) ? O_TRUNC : 0);
    } else {
        flags = O_RDONLY;
    }
    m_fd = ::open(path.c_str(), flags | O_CLOEXEC, 0666);
    if (m_fd < 0 && type == FILE_TYPE_SECTION && (access & FILE_ACCESS_WRITE) &&
        (errno == EACCES || errno == EROFS)) {
        // A section file that may not be written can still be read; SYNC answers 218.
        m_nType &= ~FILE_ACCESS_MASK;
        m_nType |= FILE_ACCESS_READ;
        m_fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    }
    if (m_fd < 0) return MapErrno(errno, quiet, fallback);
    struct stat st {};
    if (::fstat(m_fd, &st) != 0) return MapErrno(errno, quiet, fallback);
    if (S_ISDIR(st.st_mode)) return MapErrno(EISDIR, quiet, fallback);
    LookUp();
    const bool readWhole = type == FILE_TYPE_SECTION ||
                           (type == FILE_TYPE_TEXT && !(access & (FILE_ACCESS_WRITE | FILE_ACCESS_APPEND)));
    if (type == FILE_TYPE_TEXT && (access & FILE_ACCESS_APPEND)) ::lseek(m_fd, 0, SEEK_END);
    if (!readWhole) return 0;
    if (st.st_size > INT_MAX) return RC_FILE_TOO_LARGE;
    std::string bytes(static_cast<size_t>(st.st_size), '\0');
    int error = 0;
    const long long got = ReadFully(m_fd, bytes.data(), bytes.size(), &error);
    if (error) return MapErrno(error, quiet, fallback);
    bytes.resize(static_cast<size_t>(got));
    Text text;
    if (!DecodeText(bytes.data(), bytes.size(), text)) return RC_BAD_BYTE_ORDER_MARK;
    if (type == FILE_TYPE_TEXT) {
        m_sText = std::move(text);
        m_nTextPos = 0;
    } else {
        ScanSection(text, m_lines);
    }
    return 0;
}

// Directory search ------------------------------------------------------------------------

// The patterns a user expects: "*" and "?" of the shell, "*.*" for everything
// (names without a dot too), and dot files found by "*" as any other name.
int CShellFile::FindFirst(TextView pattern, bool directories, bool quiet) {
    // The find codes are warnings already: the silent option changes nothing.
    const int failed = Silent(RC_FIND_NO_FILE, quiet);
    m_hits.clear();
    m_nextHit = 0;
    if (Type() != FILE_TYPE_LIST) return failed;
    Text text(pattern.empty() ? TextView(L"*") : pattern);
    const size_t slash = text.find_last_of(L'/');
    m_searchDirectory = slash == Text::npos ? Text() : text.substr(0, slash + 1);
    Text mask = slash == Text::npos ? text : text.substr(slash + 1);
    if (mask.empty() || mask == L"*.*") mask = L"*";
    m_bSearchDirectories = directories;
    const std::string dirPath = m_searchDirectory.empty() ? std::string(".") : ToUtf8(m_searchDirectory);
    const std::string maskBytes = ToUtf8(mask);
    DIR* dir = ::opendir(dirPath.c_str());
    if (!dir) return failed;
    while (const dirent* e = ::readdir(dir)) {
        const std::string name = e->d_name;
        if (name == "." || name == "..") continue;
        if (::fnmatch(maskBytes.c_str(), name.c_str(), 0) != 0) continue;
        struct stat st {};
        const std::string full =
            (m_searchDirectory.empty() ? std::string() : ToUtf8(m_searchDirectory)) + name;
        if (::stat(full.c_str(), &st) != 0) continue;
        if (S_ISDIR(st.st_mode) != directories) continue;
        m_hits.push_back(FromUtf8(name));
    }
    ::closedir(dir);
    std::sort(m_hits.begin(), m_hits.end());
    if (!TakeHit()) {
        m_bFound = false;
        return failed;
    }
    return 0;
}

int CShellFile::FindNext(bool quiet) {
    if (Type() != FILE_TYPE_LIST || !TakeHit()) return Silent(RC_FIND_NO_MORE_FILES, quiet);
    return 0;
}

bool CShellFile::TakeHit() {
    while (m_nextHit < m_hits.size()) {
        SetPath(m_searchDirectory + m_hits[m_nextHit++]);
        if (LookUp()) return true; // gone since the search began: the next one
    }
    return false;
}
