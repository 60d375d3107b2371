#include "macro/library_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "base/file_io.h"
#include "items/text_codec.h"
#include "macro/source_loader.h"

namespace {

bool ReadBytes(int fd, void* bytes, size_t length) {
    return ReadFully(fd, bytes, length) == static_cast<long long>(length);
}

// Steps 4 to 7 of an add: the library file itself. The reading side takes a
// converted library by its decoded text, but this test is on the bytes, so a
// library that turned into UTF-8 (and so begins with the mark) takes no more
// additions. Old libraries have always behaved so; keep it.
bool AppendLines(const std::vector<SCodeText>& code, const Text& libraryPath, CLoadLog& log) {
    const int fd = ::open(ToUtf8(libraryPath).c_str(), O_RDWR | O_CREAT, 0666);
    if (fd < 0) {
        log.Fault(Format(L"open/create library file '%s' failed", libraryPath.c_str()));
        return false;
    }
    bool ok = true;
    const off_t size = ::lseek(fd, 0, SEEK_END);
    if (size == 0) {
        ok = WriteFully(fd, kLibraryMagic, kLibraryMagicLength);
    } else {
        char magic[kLibraryMagicLength];
        if (size < 0 || ::lseek(fd, 0, SEEK_SET) != 0 || !ReadBytes(fd, magic, sizeof magic) ||
            std::memcmp(magic, kLibraryMagic, sizeof magic) != 0) {
            log.Fault(Format(L"'%s' is not a library file", libraryPath.c_str()));
            ::close(fd);
            return false;
        }
        // The closing zero is overwritten by the first new line.
        ok = ::lseek(fd, size - 1, SEEK_SET) == size - 1;
    }
    static constexpr char kZero = 0;
    for (size_t i = 0; ok && i < code.size(); ++i)
        ok = WriteText(fd, code[i].text) && WriteFully(fd, &kZero, 1);
    ok = ok && WriteFully(fd, &kZero, 1);
    if (::close(fd) != 0) ok = false;
    return ok;
}

} // namespace

bool IsLibraryText(TextView text) {
    if (text.size() < kLibraryMagicLength) return false;
    for (size_t i = 0; i < kLibraryMagicLength; ++i)
        if (text[i] != static_cast<wchar_t>(kLibraryMagic[i])) return false;
    return true;
}

void ReadLibraryLines(TextView text, std::vector<SCodeText>& code, CLoadLog& log) {
    int count = 0;
    for (size_t p = kLibraryMagicLength; p < text.size();) {
        size_t end = text.find(L'\0', p);
        if (end == TextView::npos) end = text.size(); // a library whose add broke off
        if (end == p) break;
        code.push_back({Text(text.substr(p, end - p)), ++count, Text()});
        p = end + 1;
    }
    log.Line(Format(L"%d code lines loaded", count));
}

bool AddSourceToLibrary(const Text& sourcePath, const Text& libraryPath, CConstantList& constants,
                        CLoadLog& log) {
    Text text;
    if (!ReadSourceText(sourcePath, text, log)) return false;
    std::vector<SCodeText> code;
    if (IsLibraryText(text)) {
        // A library added to a library: its lines are preprocessed already.
        ReadLibraryLines(text, code, log);
    } else {
        std::vector<Text> lines;
        SplitSourceLines(text, lines);
        std::vector<Text> includes{CanonicalPath(sourcePath)};
        if (!Preprocess(lines, code, constants, includes, 0, sourcePath, log)) return false;
    }
    log.Line(Format(L"add source file '%s' to library '%s'", sourcePath.c_str(), libraryPath.c_str()));
    return AppendLines(code, libraryPath, log);
}
