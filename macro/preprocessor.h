// The line preprocessor of macro sources: comments, continued lines, quote
// counting and the '!' directives (constants, conditionals, includes). It
// works on line lists; reading files is the loader's affair, except for the
// files that '!include' names.
#pragma once

#include <functional>
#include <vector>

#include "base/name_list.h"
#include "base/text.h"

// A code line, and the number (from 1) of the source line it came from.
struct SCodeText {
    Text text;
    int line = 0;
    Text file; // the included file the line came from; empty for the loaded file itself
};

// Preprocessor constants: a name is defined or not, it has no value.
using CConstantList = CNameList<int>;

// The log of a load: whole lines, and a line composed piece by piece (a
// section's line). Lines go on to the sink as they are finished, and are
// kept for the caller. A fault line says why something failed, or warns;
// the others are the account of the work.
class CLoadLog {
public:
    using Sink = std::function<void(const Text& line, bool fault)>;
    explicit CLoadLog(Sink sink = {}) : m_sink(std::move(sink)) {}

    void Line(const Text& line) { Add(line, false); }
    void Fault(const Text& line) { Add(line, true); }
    void Begin(const Text& text) {
        End();
        m_open = true;
        m_current = text;
    }
    void Append(TextView text) {
        m_open = true;
        m_current += text;
    }
    // Appends to the line being composed and makes it a fault line.
    void AppendFault(TextView text) {
        Append(text);
        m_currentFault = true;
    }
    void End();

    const std::vector<Text>& Lines() const { return m_lines; }
    // All lines, each ended by a line feed.
    Text AllText() const;

private:
    void Add(const Text& line, bool fault);

    Sink m_sink;
    std::vector<Text> m_lines;
    Text m_current;
    bool m_open = false;
    bool m_currentFault = false;
};

inline constexpr const wchar_t* kReleaseConstant = L"KVORELEASE";
inline constexpr int kMaxConditionalLevels = 12;
inline constexpr int kMaxIncludeDepth = 43;
// Lines of included files pass a buffer of this many characters.
inline constexpr size_t kIncludeLineBuffer = 16384;

// A first character a letter or '_', then letters, digits and '_'.
bool IsConstantName(TextView name);

// Cuts text into lines at CR, LF and CR LF. A backtick that is not itself
// escaped joins its line with the next; an empty line takes the joined
// line's place so that numbers stay true. A backtick left open at the very
// end stays in the last line (the preprocessor rejects it). With a
// `bufferSize`, lines must fit the buffer of the included-file reader: a line
// may hold bufferSize - 1 characters, a joined one bufferSize - 2, and a join
// needs 80 characters left; false when a line does not fit.
bool SplitSourceLines(TextView text, std::vector<Text>& lines, size_t bufferSize = 0);

// Preprocesses `rawLines` (the lines of one file, numbered from 1) and appends
// the code lines of the active branches to `outLines`. `constants` is read and
// changed by the directives; `includes` holds the canonical paths of the files
// being included (the caller enters its own file); `basePath` is the file's
// path, whose directory is the second place an include is looked for.
// True when no error was counted.
bool Preprocess(const std::vector<Text>& rawLines, std::vector<SCodeText>& outLines, CConstantList& constants,
                std::vector<Text>& includes, int depth, const Text& basePath, CLoadLog& log);

// The canonical form of a path for the includes list and the list of loaded
// sources (a file named two ways is one file).
Text CanonicalPath(const Text& path);

// Reads a whole regular file's bytes.
enum class EReadResult { OK, OPEN_FAILED, EMPTY, READ_FAILED, NO_MEMORY };
EReadResult ReadFileBytes(const Text& path, std::string& bytes);
