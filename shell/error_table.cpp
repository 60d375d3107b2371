#include "shell/error_table.h"

#include <array>
#include <cerrno>
#include <string_view>

#include "shell/rc_codes.h"

namespace {

// The texts (one entry a line, word for word, repetitions, spellings and inner
// quotes kept: 27, 91, 265 ...) and the warning set come from
// shell/error_codes.txt through scripts/gen_error_codes.py.
#include "shell/error_table_data.inc"

static constexpr wchar_t kCodeZeroText[] =
    L"The error code 0 does not indicate an error having occured. Usually, "
    L"it even indicates an error not having occured.";
static constexpr wchar_t kUnknownCodeText[] = L"Unknown or invalid numerical error code.";

struct SystemErrorRow {
    unsigned long systemError;
    int code;
    int silent;
};
// Pairs the system-error table uses on its own (471/472, 50/445 ...) are no
// twins of the language's twin table, so the silent form is written out here.
// clang-format off
static constexpr SystemErrorRow kSystemErrors[] = {
    {2, RC_FILE_NOT_FOUND, RC_FILE_NOT_FOUND_SILENT},
    {3, RC_FILE_NOT_FOUND, RC_FILE_NOT_FOUND_SILENT},
    {15, RC_FILE_NOT_FOUND, RC_FILE_NOT_FOUND_SILENT},
    {20, RC_FILE_NOT_FOUND, RC_FILE_NOT_FOUND_SILENT},
    {53, RC_FILE_NOT_FOUND, RC_FILE_NOT_FOUND_SILENT},
    {55, RC_FILE_NOT_FOUND, RC_FILE_NOT_FOUND_SILENT},
    {5, RC_ACCESS_DENIED, RC_ACCESS_DENIED_SILENT},
    {19, RC_WRITE_PROTECTED, RC_WRITE_PROTECTED_WARNING},
    {21, RC_DEVICE_NOT_READY, RC_DEVICE_NOT_READY_SILENT},
    {32, RC_SHARING_VIOLATION, RC_SHARING_VIOLATION_SILENT},
    {33, RC_LOCK_VIOLATION, RC_LOCK_VIOLATION_WARNING},
    {36, RC_SHARING_BUFFER_EXCEEDED, RC_SHARING_BUFFER_EXCEEDED_WARNING},
    {38, RC_UNEXPECTED_EOF, RC_UNEXPECTED_EOF_WARNING},
    {50, RC_NO_UNC_SUPPORT, RC_NO_UNC_SUPPORT},
    {65, RC_NETWORK_ACCESS_DENIED, RC_NETWORK_ACCESS_DENIED_WARNING},
    {80, RC_FILE_ALREADY_EXISTS, RC_FILE_ALREADY_EXISTS_SILENT},
    {110, RC_OPEN_FAILED, RC_OPEN_FAILED_SILENT},
    {112, RC_DISK_FULL, RC_DISK_FULL_SILENT},
    {123, RC_INVALID_FILENAME, RC_INVALID_FILENAME_SILENT},
    {167, RC_LOCKING_FAILED, RC_LOCKING_FAILED_WARNING},
    {170, RC_RESOURCE_BUSY, RC_RESOURCE_BUSY_SILENT},
    {234, RC_BUFFER_TOO_SMALL, RC_BUFFER_TOO_SMALL},
    {1200, RC_NO_SUCH_DRIVE, RC_NO_SUCH_DRIVE},
    {1201, RC_DRIVE_NOT_CONNECTED, RC_DRIVE_NOT_CONNECTED},
    {2250, RC_DRIVE_NOT_CONNECTED, RC_DRIVE_NOT_CONNECTED},
    {1203, RC_NETWORK_UNAVAILABLE, RC_NETWORK_UNAVAILABLE},
    {1222, RC_NETWORK_UNAVAILABLE, RC_NETWORK_UNAVAILABLE},
};
// clang-format on

// Linux errno -> the Windows condition it stands for. Chosen by what the
// failing call means to the macro writer, not by name likeness:
//
//   ENOENT                      2    file not found
//   ENOTDIR, ELOOP              3    path not found (a component is no
//                                    directory / cannot be resolved)
//   EACCES, EPERM, EISDIR       5    access denied (Windows, too, answers a
//                                    write-open of a directory so)
//   EROFS                      19    write protected
//   ENODEV, ENXIO, ENOMEDIUM,  21    not ready: no medium, no driver, or a
//   EIO                              medium that went away under us, which
//                                    is what EIO mostly means on Linux
//   ETXTBSY                    32    sharing violation (running executable)
//   EAGAIN (= EWOULDBLOCK)     33    lock violation (a non-blocking lock that
//                                    someone else holds; file items never do
//                                    non-blocking reads)
//   ENOLCK                     36    sharing buffer exceeded (lock table full)
//   EEXIST                     80    file exists
//   ENOSPC, EDQUOT            112    disk full
//   ENAMETOOLONG, EINVAL,     123    invalid name (EINVAL from a path call is
//   EILSEQ                           a name the file system refuses)
//   EDEADLK                   167    locking failed (a blocking lock would
//                                    deadlock)
//   EBUSY                     170    busy (mount point, device in use)
//   ERANGE                    234    caller's buffer too small (getcwd ...)
//   ENETDOWN, ENETUNREACH    1222    no network
//   EHOSTDOWN, EHOSTUNREACH  1203    network path unreachable
//   ENOTCONN                 2250    not connected (a FUSE or network mount
//                                    whose server went away)
//
// Deliberately unmapped, so the caller's own code stands: ENOMEM and ENOBUFS
// (out of memory, Windows 8/14 are not in the table), EMFILE/ENFILE (4),
// EXDEV (17), ENOTEMPTY (145), EFBIG (223), EBADF, EINTR, ESTALE. EOPNOTSUPP
// is Windows 50, but the table's row for 50 speaks of UNC names, a network
// lookup Linux does not have; its text would mislead about a local file
// system. End of file (Windows 38) has no errno; readers report it with
// their own code.
static_assert(EAGAIN == EWOULDBLOCK);
struct ErrnoRow {
    int err;
    unsigned long systemError;
};
static constexpr ErrnoRow kErrnoRows[] = {
    {ENOENT, 2},          {ENOTDIR, 3},        {ELOOP, 3},       {EACCES, 5},         {EPERM, 5},
    {EISDIR, 5},          {EROFS, 19},         {ENODEV, 21},     {ENXIO, 21},         {EIO, 21},
#ifdef ENOMEDIUM
    {ENOMEDIUM, 21},
#endif
    {ETXTBSY, 32},        {EAGAIN, 33},        {ENOLCK, 36},     {EEXIST, 80},        {ENOSPC, 112},
    {EDQUOT, 112},        {ENAMETOOLONG, 123}, {EINVAL, 123},    {EILSEQ, 123},       {EDEADLK, 167},
    {EBUSY, 170},         {ERANGE, 234},       {ENETDOWN, 1222}, {ENETUNREACH, 1222}, {EHOSTDOWN, 1203},
    {EHOSTUNREACH, 1203}, {ENOTCONN, 2250},
};

constexpr bool InTable(int code) {
    return code >= 0 && code < kErrorCount;
}

constexpr std::array<bool, kErrorCount> MakeWarningFlags() {
    std::array<bool, kErrorCount> flags{};
    flags[0] = true;
    for (int code : kWarningCodes) flags[code] = true;
    return flags;
}
static constexpr std::array<bool, kErrorCount> kIsWarning = MakeWarningFlags();

// The table must stay exactly the language's: 485 texts after an empty entry 0,
// 105 marked codes, 70 twin pairs inside the table.
constexpr bool TextsComplete() {
    if (!kErrorTexts[0].empty()) return false;
    for (int code = 1; code < kErrorCount; ++code)
        if (kErrorTexts[code].empty()) return false;
    return true;
}
static_assert(TextsComplete());
static_assert(std::size(kWarningCodes) == 105);
static_assert(std::size(kErrorTexts) == kErrorCount && std::size(kRcSilentTwin) == kErrorCount);
constexpr bool TwinsInRange() {
    int pairs = 0;
    for (int code = 0; code < kErrorCount; ++code) {
        if (!HasSilentTwin(code)) continue;
        if (kRcSilentTwin[code] >= kErrorCount) return false;
        ++pairs;
    }
    if (pairs != 70) return false;
    for (int code : kWarningCodes)
        if (code <= 0 || code >= kErrorCount) return false;
    return true;
}
static_assert(TwinsInRange());

// ErrorText hands out references, so the texts live as Text once, built on
// first use (thread-safe as a function-local static).
const std::array<Text, kErrorCount + 1>& TextObjects() {
    static const std::array<Text, kErrorCount + 1> texts = [] {
        std::array<Text, kErrorCount + 1> built;
        built[0] = kCodeZeroText;
        for (int code = 1; code < kErrorCount; ++code) built[code] = Text(kErrorTexts[code]);
        built[kErrorCount] = kUnknownCodeText;
        return built;
    }();
    return texts;
}

} // namespace

const Text& ErrorText(int code) {
    const auto& texts = TextObjects();
    return InTable(code) ? texts[code] : texts[kErrorCount];
}

void ErrorText(int code, Text& out) {
    out = ErrorText(code);
}

bool IsWarning(int code) {
    return InTable(code) && kIsWarning[code];
}

bool IsError(int code) {
    return !IsWarning(code);
}

int SilentTwin(int code, int fallback) {
    return HasSilentTwin(code) ? kRcSilentTwin[code] : fallback;
}

int MapSystemError(unsigned long systemError, bool silent, int fallback) {
    for (const SystemErrorRow& row : kSystemErrors)
        if (row.systemError == systemError) return silent ? row.silent : row.code;
    return fallback;
}

int MapErrno(int err, bool silent, int fallback) {
    if (err <= 0) return fallback;
    for (const ErrnoRow& row : kErrnoRows)
        if (row.err == err) return MapSystemError(row.systemError, silent, fallback);
    return fallback;
}

int ArgumentError(int position, bool silent) {
    static_assert(RC_BAD_ARG30 - RC_BAD_ARG1 == 29 && RC_BAD_ARG8_SILENT - RC_BAD_ARG1_SILENT == 7);
    if (position < 1) return RC_INVALID_ARGUMENT;
    if (silent) return position <= 8 ? RC_BAD_ARG1_SILENT + position - 1 : RC_INVALID_ARGUMENT;
    return position <= 30 ? RC_BAD_ARG1 + position - 1 : RC_INVALID_ARGUMENT;
}
