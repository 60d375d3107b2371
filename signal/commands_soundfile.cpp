// LOAD SOUNDFILE, UNLOAD SOUNDFILE, SFTRUNCATE and SEGMENT.
//
// LOAD SOUNDFILE <path> [<kind> <coding> <channels> <rate> [<offset>]]
//   Attaches a sound file and makes it the shell's current one (CSF, CSFH).
//   Without more words a KV5 or Wave file is opened as it is. <kind> is
//   "WAVE", "KV5" or "BINARY", <coding> "PCM8", "PCM16", "PCM24", "PCM32" or
//   "FLOAT" (or their numbers); a Binary file needs them all, /C creates a
//   missing file of that kind (an existing one is opened as it is).
//   /W opens for writing (implied by /C), /S silent, /N no log line.
//   A file already attached is only selected.
// UNLOAD SOUNDFILE <path>... detaches files; /S silent.
// SFTRUNCATE <range>: keeps the frames of the range of the current file
//   (a single address keeps frames 0 up to it) and answers the new frame count.
// SEGMENT <range> [<rate> [<length>]]: "begin end length" of the range; rate,
//   length and segment names come from the current sound file unless given.
#include <filesystem>
#include <mutex>

#include "expr/numeric_args.h"
#include "shell/command_registry.h"
#include "shell/options.h"
#include "shell/rc_codes.h"
#include "shell/shell.h"
#include "shell/shell_env.h"
#include "signal/register_signal.h"
#include "signal/sample_coding.h"
#include "signal/segment_address.h"
#include "signal/segment_tables.h"
#include "signal/sound_file.h"
#include "signal/sound_file_list.h"

namespace {

constexpr const wchar_t* kKindKeywords[] = {L"BINARY", L"KV5", L"WAVE", nullptr};
const CKeywordTable kKindTable(kKindKeywords);
constexpr int kKinds[] = {SFKIND_BINARY, SFKIND_KV5, SFKIND_WAVE};

int LoadSoundFile(CShell& shell, CWords& args, COptions& options, Text&) {
    const bool silent = HasOption(options, L"Ss");
    const int failure = silent ? RC_LOAD_FAILED_WARNING : RC_LOAD_FAILED;
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    const Text& path = args[0].text;
    CShellEnv& env = shell.Env();
    if (CSoundFile* present = FindSoundFile(env, path)) {
        SelectSoundFile(shell, present);
        return 0;
    }
    const bool create = HasOption(options, L"Cc");
    const bool write = create || HasOption(options, L"Ww");
    int mode = write ? SFACCESS_WRITE : SFACCESS_READ;
    long long channels = 0, offset = 0;
    double rate = 0;
    if (args.size() > 1) {
        if (args.size() < 5) return RC_TOO_FEW_ARGUMENTS;
        const int kind = kKindTable.Find(args[1].text, true);
        const int coding = CodingFromName(args[2].text);
        if (kind < 0 || coding == 0) return failure;
        if (!EvalInteger(args[3].text, channels) || !EvalNumber(args[4].text, rate)) return failure;
        if (args.size() > 5 && !EvalInteger(args[5].text, offset)) return failure;
        mode |= kKinds[kind] | coding;
    } else if (create) {
        return RC_TOO_FEW_ARGUMENTS;
    } else {
        mode |= SFKIND_WAVE;
    }
    auto* file = new CSoundFile;
    const Text key = SoundFileKey(path);
    const int answer = create ? file->Create(key, mode, static_cast<int>(channels), rate, offset)
                              : file->Open(key, mode, static_cast<int>(channels), rate, offset);
    if (answer != 0) {
        delete file;
        return failure;
    }
    // The directory goes into a table of its own when tables exist.
    if (const SSegmentTableHooks* hooks = SegmentTableHooks()) file->m_pTable = hooks->create(*file);
    {
        std::lock_guard lock(env.Lock());
        env.SoundFiles().Add(key, file);
    }
    if (!HasOption(options, L"Nn")) env.Log(Format(L"soundfile %s attached", key.c_str()), ELogKind::TRACE);
    SelectSoundFile(shell, file);
    return 0;
}

int UnloadSoundFiles(CShell& shell, CWords& args, COptions& options, Text&) {
    CShellEnv& env = shell.Env();
    int failures = 0;
    for (size_t i = 0; i < args.size(); ++i) {
        CSoundFile* file = nullptr;
        {
            std::lock_guard lock(env.Lock());
            auto* entry = env.SoundFiles().Find(SoundFileKey(args[i].text));
            if (entry) file = static_cast<CSoundFile*>(entry->value);
            if (!file || file->Users() > 0 || file->Close() != 0) {
                ++failures;
                continue;
            }
            env.SoundFiles().Remove(entry);
        }
        if (CurrentSoundFile(shell) == nullptr) SelectSoundFile(shell, nullptr);
        delete file;
    }
    if (failures == 0) return 0;
    return Silent(RC_CANNOT_UNLOAD_SOUNDFILE, HasOption(options, L"Ss"));
}

SSegmentContext FileContext(CSoundFile* file) {
    SSegmentContext context;
    if (!file) return context;
    context.rate = file->Rate();
    context.length = file->Frames();
    context.lookup = [file](TextView name, long long& begin, long long& end) {
        return LookupFileSegment(*file, name, begin, end);
    };
    return context;
}

int SfTruncateCommand(CShell& shell, CWords& args, COptions&, int, Text& result) {
    CSoundFile* file = CurrentSoundFile(shell);
    if (!file) return RC_NO_SOUNDFILE;
    const SSegmentContext context = FileContext(file);
    long long begin = 0, end = 0;
    const Text& text = args[0].text;
    if (text.find(L'_') == Text::npos) {
        long long unused = 0;
        if (!ParseAddress(text, context, end, unused)) return RC_BAD_SEGMENT_START;
        if (end < 0) return RC_BAD_TRUNCATION_SIZE;
    } else {
        const int code = ParseSegmentRange(text, context, begin, end);
        if (code != 0) return code;
    }
    const int code = file->TruncateFrames(begin, end);
    if (code != 0) return code;
    shell.SetVar(L"CSFH", file->HeaderLine());
    result = IntText(file->Frames());
    return 0;
}

int SegmentCommand(CShell& shell, CWords& args, COptions& options, int, Text& result) {
    const int failure = HasOption(options, L"Ss") ? RC_BAD_SEGMENT_EXPRESSION : RC_BAD_SEGMENT_ADDRESS;
    SSegmentContext context = FileContext(CurrentSoundFile(shell));
    if (args.size() > 1 && args[1].text != L"*" && !EvalNumber(args[1].text, context.rate)) return failure;
    if (args.size() > 2 && args[2].text != L"*" && !EvalInteger(args[2].text, context.length)) return failure;
    long long begin = 0, end = 0;
    if (ParseSegmentRange(args[0].text, context, begin, end) != 0) return failure;
    result = Format(L"%lld %lld %lld", begin, end, end - begin);
    return 0;
}

constexpr CCommandRow kSoundRows[] = {
    {.name = L"SFTRUNCATE", .handler = SfTruncateCommand, .minArgs = 1},
    {.name = L"SEGMENT", .handler = SegmentCommand, .m_bOptions = true, .minArgs = 1},
};

} // namespace

Text SoundFileKey(const Text& path) {
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(ToUtf8(path), error);
    if (error) return path;
    return FromUtf8(absolute.lexically_normal().string());
}

CSoundFile* FindSoundFile(CShellEnv& env, const Text& path) {
    std::lock_guard lock(env.Lock());
    auto* entry = env.SoundFiles().Find(SoundFileKey(path));
    return entry ? static_cast<CSoundFile*>(entry->value) : nullptr;
}

CSoundFile* CurrentSoundFile(CShell& shell) {
    const Text name = shell.GetVar(L"CSF");
    if (name.empty()) return nullptr;
    return FindSoundFile(shell.Env(), name);
}

void SelectSoundFile(CShell& shell, CSoundFile* file) {
    shell.SetVar(L"CSF", file ? file->Path() : Text());
    shell.SetVar(L"CSFH", file ? file->HeaderLine() : Text());
}

void RefreshSoundFileLine(CShell& shell) {
    if (CSoundFile* file = CurrentSoundFile(shell)) shell.SetVar(L"CSFH", file->HeaderLine());
}

void RegisterSoundFileCommands() {
    // LOAD and UNLOAD belong to the macro layer, which holds the place of SOUNDFILE.
    CSubcommandRegistry::Extend<SubcommandHandler>(L"LOAD", {L"SOUNDFILE", LoadSoundFile});
    CSubcommandRegistry::Extend<SubcommandHandler>(L"UNLOAD", {L"SOUNDFILE", UnloadSoundFiles});
    CCommandRegistry::Register(kSoundRows, std::size(kSoundRows));
}
