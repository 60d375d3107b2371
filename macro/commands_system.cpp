// The commands that talk to the operating system: starting programs (the
// SYSTEM family), the process environment, the working directory, mounted
// file systems, the system's identity, clocks and timers, free file names
// and the checks of names.
//
// Linux choices, where the program's Windows roots have no direct match:
// - SYSTEM with no words starts $SHELL (COMSPEC when $SHELL is unset);
//   OPEN hands the target to xdg-open; HELP opens the help file with
//   xdg-open (there is no help viewer to close, so HELP CLOSE does nothing).
// - DRIVE: drive letters mean nothing here, so mount points stand in for
//   them: no word lists "/" and the mounted file systems that hold data; a
//   word is a path, answered with its mount point and the mounted device (the
//   volume name of a drive).
// - SYSINFO ends in ";Linux <release>" from uname.
// - NAME ... UNC: a path on an NFS or SMB mount gives the server's name for
//   it; any other path has no network name.
#include "macro/commands_system.h"

#include <fcntl.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/statvfs.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <random>
#include <string>
#include <thread>

#include "base/keyword_table.h"
#include "expr/numeric_args.h"
#include "shell/command_registry.h"
#include "shell/error_table.h"
#include "shell/options.h"
#include "shell/shell.h"

extern char** environ;

namespace fs = std::filesystem;

namespace {

// --- Starting programs ---------------------------------------------------------------

enum { SYS_WAIT = 0, SYS_NOWAIT = 1, SYS_CALL_WAIT = 2, SYS_CALL_NOWAIT = 3 };

// A child nobody waits for is reaped in the background, so it leaves no zombie.
void ReapLater(pid_t pid) {
    std::thread([pid] {
        int status = 0;
        while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
        }
    }).detach();
}

// Starts argv[0] looked up in PATH; the child's pid, or -1 with errno set.
pid_t Spawn(const std::vector<std::string>& words) {
    std::vector<char*> argv;
    for (const std::string& w : words) argv.push_back(const_cast<char*>(w.c_str()));
    argv.push_back(nullptr);
    pid_t pid = -1;
    const int rc = posix_spawnp(&pid, argv[0], nullptr, nullptr, argv.data(), environ);
    if (rc != 0) {
        errno = rc;
        return -1;
    }
    return pid;
}

// The exit status of a waited child: its code, or 128 and the signal that ended it.
int WaitStatus(pid_t pid) {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) return -1;
    }
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
    return -1;
}

// Runs the program of `words` (the system's command processor when it
// cannot be started by itself); XRC receives the exit status of a waited one.
int RunProgram(CShell& shell, const std::vector<std::string>& words, bool wait, bool silent) {
    pid_t pid = Spawn(words);
    if (pid < 0) {
        std::string joined;
        for (const std::string& w : words) joined += (joined.empty() ? "" : " ") + w;
        pid = Spawn({"/bin/sh", "-c", joined});
        if (pid < 0) return RC_SYSTEM_CALL_FAILED;
    }
    if (!wait) {
        ReapLater(pid);
        shell.SetVar(L"XRC", L"0");
        return 0;
    }
    const int status = WaitStatus(pid);
    shell.SetVar(L"XRC", IntText(status));
    if (status != 0) return Silent(RC_OS_COMMAND_FAILED, silent);
    return 0;
}

// Makes `path` with every missing parent; a directory that exists is success.
bool MakeDirectory(const Text& path) {
    std::error_code ec;
    const fs::path p(ToUtf8(path));
    if (fs::is_directory(p, ec)) return true;
    fs::create_directories(p, ec);
    return !ec && fs::is_directory(p, ec);
}

// The words SYSTEM takes in full before a program's name; the words behind each.
using SystemWordHandler = int (*)(CWords& args, bool silent);
using SSystemWord = SSubcommand<SystemWordHandler>;

// OPEN target: the desktop's opener.
int SystemOpen(CWords& args, bool) {
    const pid_t pid = Spawn({"xdg-open", ToUtf8(args[0].text)});
    if (pid < 0) return RC_SYSTEM_CALL_FAILED;
    ReapLater(pid);
    return 0;
}

// HELP file topic, HELP CLOSE: the help file in the desktop's viewer.
int SystemHelp(CWords& args, bool silent) {
    if (EqualNoCase(args[0].text, L"CLOSE")) return 0;
    std::error_code ec;
    if (!fs::is_regular_file(fs::path(ToUtf8(args[0].text)), ec)) return Silent(RC_NO_SUCH_HELPFILE, silent);
    const pid_t pid = Spawn({"xdg-open", ToUtf8(args[0].text)});
    if (pid < 0) return Silent(RC_NO_SUCH_HELPFILE, silent);
    ReapLater(pid);
    return 0;
}

int SystemMkdir(CWords& args, bool silent) {
    return MakeDirectory(args[0].text) ? 0 : Silent(RC_BAD_PATH, silent);
}

int SystemRmdir(CWords& args, bool silent) {
    return ::rmdir(ToUtf8(args[0].text).c_str()) == 0 ? 0 : Silent(RC_BAD_PATH, silent);
}

constexpr SSystemWord kSystemWords[] = {
    {L"OPEN", SystemOpen, 1},
    {L"HELP", SystemHelp, 1},
    {L"MKDIR", SystemMkdir, 1},
    {L"RMDIR", SystemRmdir, 1},
};
const CSubcommandTable<SystemWordHandler> g_systemWords(L"SYSTEM", kSystemWords);

int SystemCommand(CShell& shell, CWords& args, COptions&, int selector, Text&) {
    const bool wait = selector == SYS_WAIT || selector == SYS_CALL_WAIT;
    const bool silent = selector >= SYS_CALL_WAIT;
    if (args.empty()) {
        const char* interpreter = std::getenv("SHELL");
        if (!interpreter || !*interpreter) interpreter = std::getenv("COMSPEC");
        if (!interpreter || !*interpreter) return RC_SYSTEM_CALL_FAILED;
        const pid_t pid = Spawn({interpreter});
        if (pid < 0) return RC_SYSTEM_CALL_FAILED;
        if (wait) {
            shell.SetVar(L"XRC", IntText(WaitStatus(pid)));
        } else {
            ReapLater(pid);
        }
        return 0;
    }
    if (const SSystemWord* row = g_systemWords.FindExact(args[0].text)) {
        CWords rest(args.begin() + 1, args.end());
        if (static_cast<int>(rest.size()) < row->minArgs) return RC_TOO_FEW_ARGUMENTS;
        return row->handler(rest, silent);
    }
    std::vector<std::string> words;
    for (const SWord& w : args) words.push_back(ToUtf8(w.text));
    return RunProgram(shell, words, wait, silent);
}

// --- Environment and directories --------------------------------------------------------

int EnvCommand(CShell&, CWords& args, COptions&, int, Text& result) {
    const char* value = std::getenv(ToUtf8(UpperCase(args[0].text)).c_str());
    if (!value) return RC_NO_SUCH_ENV_VARIABLE;
    result = FromUtf8(value);
    return 0;
}

int PwdCommand(CShell&, CWords& args, COptions&, int, Text& result) {
    if (!args.empty()) {
        if (::chdir(ToUtf8(args[0].text).c_str()) != 0)
            return errno == ENAMETOOLONG ? RC_PATH_TOO_LONG : RC_NO_SUCH_DIRECTORY;
    }
    std::string buffer(PATH_MAX, '\0');
    if (!::getcwd(buffer.data(), buffer.size()))
        return errno == ERANGE ? RC_PATH_TOO_LONG : (errno == ENOMEM ? RC_NO_MEMORY : RC_NO_SUCH_DIRECTORY);
    buffer.resize(std::char_traits<char>::length(buffer.c_str()));
    // The root keeps its one '/': without it there would be no path at all.
    while (buffer.size() > 1 && buffer.back() == '/') buffer.pop_back();
    result = FromUtf8(buffer);
    return 0;
}

// --- Mount points in the place of drives ------------------------------------------------------

struct SMount {
    std::string device;
    std::string point;
    std::string type;
};

// /proc/self/mounts writes blanks and a few other characters as octal escapes.
std::string UnescapeMountField(const std::string& field) {
    std::string out;
    for (size_t i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && i + 3 < field.size()) {
            const std::string digits = field.substr(i + 1, 3);
            if (digits.size() == 3 && digits.find_first_not_of("01234567") == std::string::npos) {
                out += static_cast<char>(std::stoi(digits, nullptr, 8));
                i += 3;
                continue;
            }
        }
        out += field[i];
    }
    return out;
}

std::vector<SMount> ReadMounts() {
    std::vector<SMount> mounts;
    std::ifstream in("/proc/self/mounts");
    std::string device, point, type, rest;
    while (in >> device >> point >> type) {
        std::getline(in, rest);
        mounts.push_back({UnescapeMountField(device), UnescapeMountField(point), type});
    }
    return mounts;
}

// The kernel's own trees and file systems (processes, devices, control groups,
// run-time state) hold no user data.
bool HoldsData(const SMount& m) {
    for (const char* tree : {"/proc", "/sys", "/dev", "/run"})
        if (m.point.compare(0, std::strlen(tree), tree) == 0 &&
            (m.point.size() == std::strlen(tree) || m.point[std::strlen(tree)] == '/'))
            return false;
    static constexpr const char* kPseudo[] = {
        "proc",    "sysfs",     "devtmpfs",    "devpts", "cgroup",   "cgroup2",    "mqueue",
        "debugfs", "tracefs",   "securityfs",  "pstore", "bpf",      "autofs",     "configfs",
        "fusectl", "hugetlbfs", "binfmt_misc", "nsfs",   "efivarfs", "rpc_pipefs", "selinuxfs"};
    for (const char* p : kPseudo)
        if (m.type == p) return false;
    return true;
}

// The mount that holds `path`: the longest mount point that is a prefix of it.
bool MountOf(const std::vector<SMount>& mounts, const std::string& path, SMount& out) {
    size_t best = 0;
    bool found = false;
    for (const SMount& m : mounts) {
        const std::string& p = m.point;
        const bool prefix =
            p == "/" || path == p ||
            (path.compare(0, p.size(), p) == 0 && path.size() > p.size() && path[p.size()] == '/');
        if (prefix && (!found || p.size() >= best)) {
            best = p.size();
            out = m;
            found = true;
        }
    }
    return found;
}

// The lock of the cached mount list, taken by every DRIVE.
std::mutex g_mountLock;
std::vector<SMount> g_mounts;
std::string g_mountsText;

// Reads the mount table again when it changed since the last look.
void RefreshMounts() {
    std::ifstream in("/proc/self/mounts");
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (text == g_mountsText && !g_mounts.empty()) return;
    g_mountsText = text;
    g_mounts = ReadMounts();
}

constexpr const wchar_t* kUnits[] = {L"kbytes", L"mbytes", L"gbytes", nullptr};
const CKeywordTable kUnitTable(kUnits);

// Paths begin with '/', so the words are not scanned for options: the silent
// option is a word of its own, "/S" or "/s", anywhere on the line.
int DriveCommand(CShell&, CWords& args, COptions&, int, Text& result) {
    bool silent = false;
    for (size_t i = 0; i < args.size();) {
        if (args[i].kind == SWord::Plain && (args[i].text == L"/S" || args[i].text == L"/s")) {
            silent = true;
            args.erase(args.begin() + static_cast<long>(i));
        } else {
            ++i;
        }
    }
    // A plain mutex tried in steps rather than a timed one: thread checkers see every step of it.
    std::unique_lock lock(g_mountLock, std::defer_lock);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (!lock.try_lock()) {
        if (std::chrono::steady_clock::now() >= deadline) return RC_CANNOT_ACQUIRE_LOCK;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    RefreshMounts();
    if (args.empty()) {
        // The root comes first: it is always there, whatever the mount table says.
        result = L"/ ";
        for (const SMount& m : g_mounts) {
            if (!HoldsData(m) || m.point == "/") continue;
            const Text point = FromUtf8(m.point);
            if (result.find(point + L' ') == 0 || result.find(L' ' + point + L' ') != Text::npos) continue;
            result += point + L' ';
        }
        return 0;
    }
    const Text& word = args[0].text;
    if (word.empty() || word[0] != L'/') return RC_BAD_DRIVE_LETTER;
    int unit = -1;
    if (args.size() > 1) {
        unit = kUnitTable.Find(args[1].text);
        if (unit < 0) return RC_BAD_UNIT;
    }
    const std::string path = ToUtf8(word);
    struct statvfs vfs {};
    if (::statvfs(path.c_str(), &vfs) != 0)
        return MapErrno(errno, silent, silent ? RC_DRIVE_NOT_AVAILABLE : RC_SYSTEM_CALL_FAILED_NO_REASON);
    std::error_code ec;
    const std::string canonical = fs::weakly_canonical(fs::path(path), ec).string();
    SMount mount;
    if (!MountOf(g_mounts, ec ? path : canonical, mount))
        return silent ? RC_DRIVE_NOT_AVAILABLE : RC_SYSTEM_CALL_FAILED_NO_REASON;
    result = FromUtf8(mount.point) + L' ' + FromUtf8(mount.device);
    if (unit >= 0) {
        const double scale = std::pow(1024.0, unit + 1);
        const double block = static_cast<double>(vfs.f_frsize ? vfs.f_frsize : vfs.f_bsize);
        result += Format(L" %.3f %.3f %.3f", static_cast<double>(vfs.f_bavail) * block / scale,
                         static_cast<double>(vfs.f_blocks) * block / scale,
                         static_cast<double>(vfs.f_bfree) * block / scale);
    }
    return 0;
}

// --- Identity of the system ----------------------------------------------------------------

int SysInfoCommand(CShell&, CWords&, COptions&, int, Text& result) {
    result = Format(L"%8.8lX", static_cast<unsigned long>(::getpid()));
    char host[HOST_NAME_MAX + 1] = {};
    result += ::gethostname(host, sizeof host - 1) == 0 && host[0] ? L";" + FromUtf8(host) : Text(L";*");
    const passwd* pw = ::getpwuid(::geteuid());
    const char* user = pw && pw->pw_name ? pw->pw_name : std::getenv("USER");
    result += user && *user ? L";" + FromUtf8(user) : Text(L";*");
    utsname name{};
    result += ::uname(&name) == 0 ? L";Linux " + FromUtf8(name.release) : Text(L";*");
    return 0;
}

// --- Clock and timer -----------------------------------------------------------------------------

Text LocalTimeText() {
    const std::time_t now = std::time(nullptr);
    std::tm t{};
    ::localtime_r(&now, &t);
    return Format(L"%.04d.%.02d.%.02d  %.02d.%.02d.%.02d", t.tm_year + 1900, t.tm_mon + 1, t.tm_mday,
                  t.tm_hour, t.tm_min, t.tm_sec);
}

enum { CLOCK_TIME, CLOCK_TSET, CLOCK_TGET };

int ClockCommand(CShell& shell, CWords&, COptions& options, int selector, Text& result) {
    using namespace std::chrono;
    if (selector == CLOCK_TGET) {
        const auto elapsed = duration_cast<milliseconds>(steady_clock::now() - shell.m_ticks).count();
        const unsigned long value = HasOption(options, L"Mm")
                                        ? static_cast<unsigned long>(elapsed)
                                        : static_cast<unsigned long>((elapsed + 500) / 1000);
        result = Format(L"%lu", value);
        return 0;
    }
    if (selector == CLOCK_TSET) shell.m_ticks = steady_clock::now();
    result = LocalTimeText();
    return 0;
}

// --- Free file names ------------------------------------------------------------------------------

bool IsDefault(const CWords& args, size_t i) {
    return args.size() <= i || args[i].text == L"*";
}

int UniqueCommand(CShell&, CWords& args, COptions&, int, Text& result) {
    std::error_code ec;
    fs::path dir = IsDefault(args, 0) ? fs::current_path(ec) : fs::path(ToUtf8(args[0].text));
    if (ec || !fs::is_directory(dir, ec)) return RC_BAD_ARG1;
    dir = fs::absolute(dir, ec);
    if (ec) return RC_BAD_ARG1;
    Text ext = IsDefault(args, 1) ? Text() : args[1].text;
    if (!ext.empty() && ext[0] != L'.') ext.insert(ext.begin(), L'.');
    long long random = 1;
    if (!IsDefault(args, 2) && !EvalInteger(args[2].text, random)) return RC_BAD_ARG3;
    long long digits = 8;
    if (!IsDefault(args, 3) && (!EvalInteger(args[3].text, digits))) return RC_BAD_ARG4;
    if (digits < 1 || digits > 8) return RC_BAD_ARG4;
    long long start = 0;
    if (!IsDefault(args, 4) && (!EvalInteger(args[4].text, start) || start < 0)) return RC_BAD_ARG5;

    const auto taken = [&](const Text& name) {
        std::error_code e;
        return fs::exists(dir / ToUtf8(name + ext), e) || e;
    };
    Text name;
    if (random) {
        static std::mt19937 generator(std::random_device{}());
        static std::mutex generatorLock;
        const unsigned long long mask = (1ull << (4 * digits)) - 1;
        // Every name of a small space gets its chance before the directory counts as full.
        const long long attempts = std::max<long long>(4096, static_cast<long long>(mask) * 4);
        long long n = 0;
        for (; n < attempts; ++n) {
            unsigned long long value;
            {
                std::lock_guard lock(generatorLock);
                value =
                    ((static_cast<unsigned long long>(generator() & 0xFFFF) << 16) | (generator() & 0xFFFF)) &
                    mask;
            }
            name = Format(L"%0*llX", static_cast<int>(digits), value);
            if (!taken(name)) break;
        }
        if (n == attempts) return RC_TOO_MANY_TEMP_FILES;
    } else {
        long long limit = 1;
        for (long long i = 0; i < digits; ++i) limit *= 10;
        limit -= 1;
        long long n = start;
        for (; n <= limit; ++n) {
            name = Format(L"%0*lld", static_cast<int>(digits), n);
            if (!taken(name)) break;
        }
        if (n > limit) return RC_TOO_MANY_TEMP_FILES;
    }
    result = FromUtf8((dir / ToUtf8(name + ext)).string());
    return 0;
}

// --- Names ---------------------------------------------------------------------------------------

bool AsciiLetter(wchar_t c) {
    return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z');
}
bool AsciiDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

// The network name of a path on an NFS or SMB mount; false for a local path.
bool NetworkName(const Text& path, Text& out) {
    std::error_code ec;
    const std::string absolute = fs::absolute(fs::path(ToUtf8(path)), ec).lexically_normal().string();
    if (ec) return false;
    std::lock_guard lock(g_mountLock);
    RefreshMounts();
    SMount mount;
    if (!MountOf(g_mounts, absolute, mount)) return false;
    const bool network = mount.type == "cifs" || mount.type == "smb3" || mount.type == "smbfs" ||
                         mount.type == "nfs" || mount.type == "nfs4";
    if (!network) return false;
    std::string rest = absolute.substr(mount.point == "/" ? 0 : mount.point.size());
    std::string device = mount.device;
    while (!device.empty() && device.back() == '/') device.pop_back();
    if (!rest.empty() && rest[0] != '/') rest.insert(rest.begin(), '/');
    out = FromUtf8(device + rest);
    return true;
}

// A name of letters and digits (no digit first); `wide` also takes the dot and
// the underscore. Invalid: empty, or with `fix` each offending character an 'x'.
void CheckName(const Text& text, bool wide, bool fix, Text& result) {
    Text name = text;
    bool valid = !name.empty();
    for (size_t i = 0; i < name.size(); ++i) {
        const wchar_t c = name[i];
        const bool ok = AsciiLetter(c) || (i > 0 && AsciiDigit(c)) || (wide && (c == L'.' || c == L'_'));
        if (!ok) {
            valid = false;
            name[i] = L'x';
        }
    }
    if (valid) {
        result = text;
    } else {
        result = fix ? name : Text();
    }
}

// The types of NAME, one function each: items and table fields are plain names,
// segment and XML names take the dot and the underscore, UNC asks the mounts.
using NameHandler = void (*)(const Text& text, bool fix, Text& result);
void NarrowName(const Text& text, bool fix, Text& result) {
    CheckName(text, false, fix, result);
}
void WideName(const Text& text, bool fix, Text& result) {
    CheckName(text, true, fix, result);
}
void UncName(const Text& text, bool fix, Text& result) {
    Text network;
    if (NetworkName(text, network)) {
        result = network;
    } else {
        result = fix ? text : Text();
    }
}
constexpr SSubcommand<NameHandler> kNameTypes[] = {
    {L"ITEM", NarrowName},       {L"TABLEFIELD", NarrowName}, {L"SEGMENT", WideName},
    {L"XMLATTRIBUTE", WideName}, {L"XMLID", WideName},        {L"UNC", UncName},
};
CSubcommandTable<NameHandler> g_nameTypes(L"NAMETYPES", kNameTypes);

// NAME text type? check?
int NameCommand(CShell&, CWords& args, COptions&, int, Text& result) {
    const Text text = args.empty() ? Text() : args[0].text;
    const SSubcommand<NameHandler>* type = &g_nameTypes[0];
    if (args.size() > 1 && args[1].text != L"*") {
        type = g_nameTypes.Find(args[1].text, true);
        if (!type) return RC_BAD_ARG2;
    }
    type->handler(text, args.size() > 2 && args[2].text == L"1", result);
    return 0;
}

constexpr CCommandRow kSystemRows[] = {
    {.name = L"SYSTEM", .handler = SystemCommand, .selector = SYS_WAIT, .resultVar = L"RC"},
    {.name = L"SYSTEMX", .handler = SystemCommand, .selector = SYS_NOWAIT, .resultVar = L"RC"},
    {.name = L"SYSTEMCALL", .handler = SystemCommand, .selector = SYS_CALL_WAIT, .resultVar = L"RC"},
    {.name = L"SYSTEMCALLX", .handler = SystemCommand, .selector = SYS_CALL_NOWAIT, .resultVar = L"RC"},
    {.name = L"ENV", .handler = EnvCommand, .minArgs = 1},
    {.name = L"PWD", .handler = PwdCommand},
    {.name = L"DRIVE", .handler = DriveCommand},
    {.name = L"SYSINFO", .handler = SysInfoCommand},
    {.name = L"TIME", .handler = ClockCommand, .selector = CLOCK_TIME},
    {.name = L"TSET", .handler = ClockCommand, .selector = CLOCK_TSET},
    // TGET alone takes an option (/M), so its words are scanned.
    {.name = L"TGET", .handler = ClockCommand, .m_bOptions = true, .selector = CLOCK_TGET},
    {.name = L"UNIQUE", .handler = UniqueCommand},
    {.name = L"NAME", .handler = NameCommand},
};

} // namespace

void RegisterSystemCommands() {
    CSubcommandRegistry::Register(g_nameTypes);
    CCommandRegistry::Register(kSystemRows, std::size(kSystemRows));
}
