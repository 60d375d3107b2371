#include "macro/preprocessor.h"

#include <cstdio>
#include <cwchar>
#include <filesystem>
#include <new>
#include <sys/stat.h>

#include "items/text_codec.h"

namespace fs = std::filesystem;

void CLoadLog::Add(const Text& line, bool fault) {
    End();
    m_lines.push_back(line);
    if (m_sink) m_sink(line, fault);
}

void CLoadLog::End() {
    if (!m_open) return;
    m_open = false;
    const bool fault = m_currentFault;
    m_currentFault = false;
    Text line;
    line.swap(m_current);
    m_lines.push_back(line);
    if (m_sink) m_sink(line, fault);
}

Text CLoadLog::AllText() const {
    Text all;
    for (const Text& line : m_lines) {
        all += line;
        all += L'\n';
    }
    return all;
}

bool IsConstantName(TextView name) {
    auto letter = [](wchar_t c) { return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || c == L'_'; };
    if (name.empty() || !letter(name[0])) return false;
    for (wchar_t c : name)
        if (!letter(c) && !(c >= L'0' && c <= L'9')) return false;
    return true;
}

bool SplitSourceLines(TextView text, std::vector<Text>& lines, size_t bufferSize) {
    Text current;
    size_t joined = 0;   // lines joined into `current`, each owed an empty line
    bool escape = false; // the last character was a backtick that escapes the next
    auto tooLong = [&](size_t limit) { return bufferSize != 0 && current.size() > limit; };
    auto finish = [&] {
        lines.push_back(std::move(current));
        current.clear();
        for (; joined > 0; --joined) lines.emplace_back();
    };
    for (size_t i = 0; i < text.size(); ++i) {
        const wchar_t c = text[i];
        if (c == L'\r' || c == L'\n') {
            const size_t end = (c == L'\r' && i + 1 < text.size() && text[i + 1] == L'\n') ? i + 1 : i;
            if (escape && end + 1 < text.size()) {
                // The backtick and the line end vanish; the buffer must keep
                // room for a whole further line.
                current.pop_back();
                escape = false;
                ++joined;
                i = end;
                if (bufferSize && (tooLong(bufferSize - 2) || bufferSize - current.size() < 80)) return false;
                continue;
            }
            if (tooLong(joined ? bufferSize - 2 : bufferSize - 1)) return false;
            escape = false;
            finish();
            i = end;
            continue;
        }
        escape = c == L'`' && !escape;
        current += c;
    }
    if (!current.empty() || joined) {
        if (tooLong(joined ? bufferSize - 2 : bufferSize - 1)) return false;
        finish();
    }
    return true;
}

Text CanonicalPath(const Text& path) {
    std::error_code ec;
    const fs::path canonical = fs::weakly_canonical(fs::path(ToUtf8(path)), ec);
    return ec ? path : FromUtf8(canonical.string());
}

EReadResult ReadFileBytes(const Text& path, std::string& bytes) {
    FILE* file = std::fopen(ToUtf8(path).c_str(), "rb");
    if (!file) return EReadResult::OPEN_FAILED;
    struct stat info {};
    if (::fstat(::fileno(file), &info) != 0 || !S_ISREG(info.st_mode)) {
        std::fclose(file);
        return EReadResult::OPEN_FAILED;
    }
    EReadResult result = EReadResult::OK;
    if (info.st_size == 0) {
        result = EReadResult::EMPTY;
    } else {
        try {
            bytes.resize(static_cast<size_t>(info.st_size));
            if (std::fread(bytes.data(), 1, bytes.size(), file) != bytes.size())
                result = EReadResult::READ_FAILED;
        } catch (const std::bad_alloc&) {
            result = EReadResult::NO_MEMORY;
        }
    }
    std::fclose(file);
    return result;
}

namespace {

bool IsBlank(wchar_t c) {
    return c != 0 && c <= L' ';
}

Text TrimBlanks(TextView text) {
    size_t b = 0, e = text.size();
    while (b < e && IsBlank(text[b])) ++b;
    while (e > b && IsBlank(text[e - 1])) --e;
    return Text(text.substr(b, e - b));
}

// Trims the end of a finished line, but keeps a blank that a backtick escapes.
void TrimLineEnd(Text& line) {
    while (!line.empty() && IsBlank(line.back())) {
        size_t ticks = 0;
        for (size_t k = line.size() - 1; k > 0 && line[k - 1] == L'`'; --k) ++ticks;
        if (ticks % 2 == 1) break;
        line.pop_back();
    }
}

// The '!if' expression: any number of blanks between the tokens; the keywords
// are taken without regard to case, and as prefixes.
class CConditionParser {
public:
    CConditionParser(TextView text, const CConstantList& constants) : m_text(text), m_constants(constants) {}

    // False with the message in `error`.
    bool Evaluate(bool& value, const wchar_t*& error) {
        try {
            SkipBlanks();
            if (AtEnd()) return Fail(error, L"empty conditional preprocessor expression");
            if (!Expression(value)) return Fail(error, m_error);
            SkipBlanks();
            if (!AtEnd()) return Fail(error, L"expecting end of conditional preprocessor expression");
            return true;
        } catch (const std::bad_alloc&) {
            return Fail(error, L"short on storage during preprocessor parsing phase");
        }
    }

private:
    static bool Fail(const wchar_t*& out, const wchar_t* message) {
        out = message;
        return false;
    }
    bool Error(const wchar_t* message) {
        m_error = message;
        return false;
    }
    bool AtEnd() const { return m_pos >= m_text.size(); }
    void SkipBlanks() {
        while (!AtEnd() && IsBlank(m_text[m_pos])) ++m_pos;
    }
    bool Take(TextView token) {
        SkipBlanks();
        if (!StartsWithNoCase(m_text.substr(m_pos), token)) return false;
        m_pos += token.size();
        return true;
    }

    bool Expression(bool& value) {
        if (!Term(value)) return false;
        while (Take(L"||")) {
            bool right = false;
            if (!Term(right)) return false;
            value = value || right;
        }
        return true;
    }
    bool Term(bool& value) {
        if (!Factor(value)) return false;
        while (Take(L"&&")) {
            bool right = false;
            if (!Factor(right)) return false;
            value = value && right;
        }
        return true;
    }
    bool Factor(bool& value) {
        bool negate = false;
        while (Take(L"!")) negate = !negate;
        if (!Primary(value)) return false;
        if (negate) value = !value;
        return true;
    }
    bool Primary(bool& value) {
        SkipBlanks();
        if (AtEnd()) return Error(L"unexpected end of conditional preprocessor expression");
        if (Take(L"(")) {
            // Brackets nest by recursion; a bound keeps a hostile line from exhausting the stack.
            if (++m_brackets > kMaxBrackets) throw std::bad_alloc();
            SkipBlanks();
            if (AtEnd()) return Error(L"unexpected end of bracketized conditional preprocessor expression");
            if (!Expression(value)) return false;
            if (!Take(L")")) return Error(L"closing bracket missing in conditional preprocessor expression");
            --m_brackets;
            return true;
        }
        if (Take(L"defined")) return Defined(value);
        if (Take(L"true")) {
            value = true;
            return true;
        }
        if (Take(L"false")) {
            value = false;
            return true;
        }
        return Error(L"unintelligible conditional preprocessor expression");
    }
    bool Defined(bool& value) {
        SkipBlanks();
        if (AtEnd()) return Error(L"the preprocessor functor 'defined' requires an argument");
        const bool bracket = Take(L"(");
        SkipBlanks();
        if (AtEnd()) return Error(L"the preprocessor functor 'defined' requires an argument");
        const size_t start = m_pos;
        if (!IsConstantName(m_text.substr(start, 1)))
            return Error(L"illformed argument to preprocessor functor 'defined'");
        while (!AtEnd() && IsConstantName(Text(L"_") + m_text[m_pos])) ++m_pos;
        value = m_constants.Find(m_text.substr(start, m_pos - start)) != nullptr;
        if (bracket && !Take(L")"))
            return Error(L"if the argument to the preprocessor functor 'defined' is preceded by '(', it must "
                         L"be followed by ')'");
        return true;
    }

    static constexpr int kMaxBrackets = 256;
    TextView m_text;
    size_t m_pos = 0;
    int m_brackets = 0;
    const CConstantList& m_constants;
    const wchar_t* m_error = L"";
};

enum EDirective {
    DIR_INCLUDE,
    DIR_DEFINE,
    DIR_UNDEF,
    DIR_IFDEFINED,
    DIR_IFDEF,
    DIR_IFNDEF,
    DIR_IF,
    DIR_ELIF,
    DIR_ELSE,
    DIR_ENDIF,
    DIR_END_IF,
    DIR_SHOWDEF,
    DIR_ERROR,
    DIR_WARNING,
    DIR_WARN,
};

// Prefix tests in this order: "ifdefined" must come before "ifdef", and both
// before "if"; "warning" before "warn".
constexpr const wchar_t* kDirectives[] = {L"include", L"define",  L"undef", L"ifdefined", L"ifdef",
                                          L"ifndef",  L"if",      L"elif",  L"else",      L"endif",
                                          L"end if",  L"showdef", L"error", L"warning",   L"warn"};

class CPreprocessor {
public:
    CPreprocessor(CConstantList& constants, std::vector<Text>& includes, int depth, const Text& basePath,
                  CLoadLog& log)
        : m_constants(constants), m_includes(includes), m_depth(depth), m_basePath(basePath), m_log(log) {}

    bool Run(const std::vector<Text>& rawLines, std::vector<SCodeText>& out);

private:
    struct SLevel {
        bool skipping;
        bool taken;
    };

    bool Active() const { return m_overflow == 0 && (m_levels.empty() || !m_levels.back().skipping); }
    void Error(const Text& message) {
        m_log.Fault(message);
        ++m_errors;
    }
    void FinishedLine(Text& text, int number, std::vector<SCodeText>& out);
    void Directive(Text text, int number, std::vector<SCodeText>& out);
    bool OpenLevel(int number, bool ifForm);
    void OpenCondition(bool value, bool ok);
    bool Condition(TextView expression, int number, bool& value);
    void Elif(TextView expression, int number);
    void Else(TextView rest, int number);
    void Endif(TextView rest, int number);
    void Define(TextView name, int number);
    void Undef(TextView name, int number);
    void Showdef(TextView name, int number);
    bool Include(TextView argument, int number, std::vector<SCodeText>& out);
    bool IncludeFault(int number, const wchar_t* message) {
        m_log.Fault(Format(L"line %d, depth %d: %s", number, m_depth, message));
        return false;
    }

    CConstantList& m_constants;
    std::vector<Text>& m_includes;
    const int m_depth;
    const Text& m_basePath;
    CLoadLog& m_log;
    std::vector<SLevel> m_levels; // the bottom level (never skipping) is not stored
    int m_overflow = 0;           // levels opened beyond the limit, skipped whole
    int m_errors = 0;
    bool m_stopped = false;
};

bool CPreprocessor::Run(const std::vector<Text>& rawLines, std::vector<SCodeText>& out) {
    // 0: start of a line, 1: in a line, 2: in a comment opened in this line,
    // 3: in a comment that crossed a line end.
    int state = 0;
    int commentLine = 0;
    for (size_t n = 0; n < rawLines.size() && !m_stopped; ++n) {
        const Text& raw = rawLines[n];
        const int number = static_cast<int>(n + 1);
        if (state != 3) state = 0;
        Text line;
        int quotes = 0;
        bool dropped = false;
        for (size_t i = 0; i < raw.size();) {
            const wchar_t c = raw[i];
            const wchar_t next = i + 1 < raw.size() ? raw[i + 1] : 0;
            if (state == 0) {
                if (IsBlank(c)) {
                    ++i;
                    continue;
                }
                state = 1;
            }
            if (state >= 2) {
                if (c == L'*' && next == L'/') {
                    i += 2;
                    // A comment inside a line still separates words; one that
                    // swallowed line ends leaves nothing behind.
                    if (state == 2) {
                        line += L' ';
                        state = 1;
                    } else {
                        state = 0;
                    }
                } else {
                    ++i;
                }
                continue;
            }
            if (c == L'`') {
                if (i + 1 >= raw.size()) {
                    Error(Format(L"line %d: invalid escape at end-of-line", number));
                    dropped = true;
                    break;
                }
                line += c;
                line += next;
                i += 2;
                continue;
            }
            if (c == L'/' && next == L'/') break;
            if (c == L'/' && next == L'*') {
                state = 2;
                commentLine = number;
                i += 2;
                continue;
            }
            if (c == L'\'') ++quotes;
            line += c;
            ++i;
        }
        if (state == 2) state = 3;
        if (dropped) continue;
        if (quotes % 2 != 0) {
            Error(Format(L"line %d: odd number of quotes", number));
            continue;
        }
        FinishedLine(line, number, out);
    }
    if (!m_stopped && state > 2) Error(Format(L"line %d - invalid end-of-file in comment", commentLine));
    if (m_depth == 0) {
        m_log.Line(Format(L"%d source lines -> %d code lines", static_cast<int>(rawLines.size()),
                          static_cast<int>(out.size())));
        if (out.size() < 2) Error(L"source file contains no code lines");
    }
    return m_errors == 0;
}

void CPreprocessor::FinishedLine(Text& text, int number, std::vector<SCodeText>& out) {
    TrimLineEnd(text);
    if (text.empty()) return;
    // ']' in front of a directive is what old sources use in place of '!'.
    if (text[0] == L'!' || text[0] == L']') {
        Directive(std::move(text), number, out);
        return;
    }
    if (Active()) out.push_back({std::move(text), number, m_depth > 0 ? m_basePath : Text()});
}

void CPreprocessor::Directive(Text text, int number, std::vector<SCodeText>& out) {
    for (wchar_t& c : text)
        if (c < L' ' || c == 0x7F) c = L' ';
    size_t at = 1;
    while (at < text.size() && text[at] == L' ') ++at;
    const TextView word = TextView(text).substr(at);
    int kind = -1;
    size_t keywordLength = 0;
    for (size_t k = 0; k < std::size(kDirectives); ++k) {
        if (StartsWithNoCase(word, kDirectives[k])) {
            kind = static_cast<int>(k);
            keywordLength = std::wcslen(kDirectives[k]);
            break;
        }
    }
    const Text rest = kind < 0 ? Text() : TrimBlanks(word.substr(keywordLength));
    switch (kind) {
    case DIR_INCLUDE:
        if (Active() && !Include(rest, number, out)) {
            m_log.Fault(L"!include failed due to reason(s) shown above");
            ++m_errors;
            m_stopped = true;
        }
        return;
    case DIR_DEFINE:
        Define(rest, number);
        return;
    case DIR_UNDEF:
        Undef(rest, number);
        return;
    case DIR_IFDEFINED:
    case DIR_IFDEF:
    case DIR_IFNDEF: {
        if (!OpenLevel(number, false)) return;
        if (!Active()) {
            // Inside a skipped branch nothing is tested, but the level counts.
            m_levels.push_back({true, true});
            return;
        }
        if (!IsConstantName(rest)) {
            Error(Format(L"line %d: \"%s\" is not a valid preprocessor constant", number, rest.c_str()));
            OpenCondition(false, false);
            return;
        }
        const bool defined = m_constants.Find(rest) != nullptr;
        OpenCondition(kind == DIR_IFNDEF ? !defined : defined, true);
        return;
    }
    case DIR_IF: {
        if (!OpenLevel(number, true)) return;
        if (!Active()) {
            m_levels.push_back({true, true});
            return;
        }
        bool value = false;
        const bool ok = Condition(rest, number, value);
        OpenCondition(value, ok);
        return;
    }
    case DIR_ELIF:
        Elif(rest, number);
        return;
    case DIR_ELSE:
        Else(rest, number);
        return;
    case DIR_ENDIF:
    case DIR_END_IF:
        Endif(rest, number);
        return;
    case DIR_SHOWDEF:
        if (Active()) Showdef(rest, number);
        return;
    case DIR_ERROR:
    case DIR_WARNING:
    case DIR_WARN: {
        if (!Active()) return;
        const wchar_t* what = kind == DIR_ERROR ? L"ERROR" : L"WARNING";
        if (rest.empty())
            m_log.Fault(Format(L"issuing %s on user request in line %d", what, number));
        else
            m_log.Fault(Format(L"issuing %s on user request in line %d: %s", what, number, rest.c_str()));
        if (kind == DIR_ERROR) ++m_errors;
        return;
    }
    default:
        if (Active()) Error(Format(L"invalid preprocessor command \"%s\" in line %d", text.c_str(), number));
        return;
    }
}

// False when the level cannot be opened; the directive is then counted as a
// level beyond the limit, so that its '!endif' still finds it.
bool CPreprocessor::OpenLevel(int number, bool ifForm) {
    if (m_overflow == 0 && static_cast<int>(m_levels.size()) < kMaxConditionalLevels) return true;
    if (m_overflow == 0) {
        if (ifForm)
            Error(Format(L"nesting too deeply in line %d, preprocessor supports only %d levels", number,
                         kMaxConditionalLevels));
        else
            Error(Format(L"line %d: nesting too deeply, preprocessor supports only %d levels", number,
                         kMaxConditionalLevels));
    }
    ++m_overflow;
    return false;
}

// A faulty condition opens a level in which no branch is ever taken, so the
// structure of the file stays intact for the messages that follow.
void CPreprocessor::OpenCondition(bool value, bool ok) {
    if (!ok)
        m_levels.push_back({true, true});
    else
        m_levels.push_back({!value, value});
}

bool CPreprocessor::Condition(TextView expression, int number, bool& value) {
    const wchar_t* message = nullptr;
    CConditionParser parser(expression, m_constants);
    if (parser.Evaluate(value, message)) return true;
    Error(Format(L"line %d: %s", number, message));
    return false;
}

void CPreprocessor::Elif(TextView expression, int number) {
    if (m_overflow > 0) return;
    if (m_levels.empty()) {
        Error(Format(L"preprocessor !elif without corresponding !if in line %d", number));
        return;
    }
    SLevel& level = m_levels.back();
    if (level.taken) {
        level.skipping = true;
        return;
    }
    bool value = false;
    if (!Condition(expression, number, value)) {
        level.skipping = true;
        return;
    }
    level.skipping = !value;
    level.taken = value;
}

void CPreprocessor::Else(TextView rest, int number) {
    // "!else if expr" is the long spelling of "!elif expr".
    if (StartsWithNoCase(rest, L"if") && (rest.size() == 2 || !IsConstantName(rest.substr(2, 1)))) {
        Elif(TrimBlanks(rest.substr(2)), number);
        return;
    }
    if (m_overflow > 0) return;
    if (!rest.empty())
        Error(Format(L"encountering garbage after preprocessor !else in line %d: \"%s\"", number,
                     Text(rest).c_str()));
    if (m_levels.empty()) {
        Error(Format(L"preprocessor !else without corresponding !if in line %d", number));
        return;
    }
    SLevel& level = m_levels.back();
    level.skipping = level.taken;
    level.taken = true;
}

void CPreprocessor::Endif(TextView rest, int number) {
    if (m_overflow > 0) {
        --m_overflow;
        return;
    }
    if (!rest.empty())
        Error(Format(L"encountering garbage after preprocessor !endif in line %d: \"%s\"", number,
                     Text(rest).c_str()));
    if (m_levels.empty()) {
        Error(Format(L"preprocessor !endif without corresponding !if in line %d", number));
        return;
    }
    m_levels.pop_back();
}

// The name is checked in skipped branches too; only the definition waits for an active one.
void CPreprocessor::Define(TextView name, int number) {
    if (name.empty()) {
        Error(Format(L"preprocessor !define in line %d missing an argument", number));
        return;
    }
    if (!IsConstantName(name)) {
        Error(Format(L"!define in line %d: \"%s\" is not a valid preprocessor constant", number,
                     Text(name).c_str()));
        return;
    }
    if (!Active()) return;
    if (m_constants.Find(name))
        m_log.Fault(
            Format(L"note: redefining preprocessor constant \"%s\" in line %d", Text(name).c_str(), number));
    else
        m_constants.Add(name, 0);
}

void CPreprocessor::Undef(TextView name, int number) {
    if (!IsConstantName(name)) {
        Error(Format(L"!undef in line %d: \"%s\" is not a valid preprocessor constant", number,
                     Text(name).c_str()));
        return;
    }
    if (!Active()) return;
    if (auto* e = m_constants.Find(name))
        m_constants.Remove(e);
    else
        m_log.Fault(Format(L"note: undefining undef'd preprocessor constant \"%s\" in line %d",
                           Text(name).c_str(), number));
}

void CPreprocessor::Showdef(TextView name, int number) {
    if (name.empty()) {
        m_log.Line(Format(L"There are the following preprocessor items defined in source line %d:", number));
        int i = 0;
        for (auto* e = m_constants.First(); e; e = e->next)
            m_log.Line(Format(L"%d. %s", ++i, e->key.c_str()));
        m_log.Line(Format(L"There are %d preprocessor items defined in source line %d",
                          static_cast<int>(m_constants.Count()), number));
        return;
    }
    if (!IsConstantName(name)) {
        Error(Format(L"line %d: \"%s\" in !showdef is not a valid preprocessor constant", number,
                     Text(name).c_str()));
        return;
    }
    m_log.Line(Format(L"line %d: preprocessor constant \"%s\" is %s", number, Text(name).c_str(),
                      m_constants.Find(name) ? L"DEFINED" : L"UNDEFINED"));
}

bool CPreprocessor::Include(TextView argument, int number, std::vector<SCodeText>& out) {
    if (argument.empty()) return IncludeFault(number, L"!include statement missing a filename");
    const wchar_t quote = argument[0];
    if (quote != L'\'' && quote != L'"')
        return IncludeFault(number, L"filename in !include statement must be quoted");
    const size_t close = argument.find(quote, 1);
    if (close == TextView::npos)
        return IncludeFault(number, L"unmatched quotation marks in !include statement");
    const Text name(argument.substr(1, close - 1));
    if (!TrimBlanks(argument.substr(close + 1)).empty())
        return IncludeFault(number, L"trailing garbage after !include statement");
    if (name.empty()) return IncludeFault(number, L"!include statement missing a filename");

    // As written first (relative to the working directory), then beside the including file.
    m_log.Line(Format(L"about to include file \"%s\"", name.c_str()));
    Text path = name;
    std::string bytes;
    EReadResult read = ReadFileBytes(path, bytes);
    if (read == EReadResult::OPEN_FAILED) {
        const size_t cut = m_basePath.find_last_of(L'/');
        if (name[0] == L'/' || cut == Text::npos) return IncludeFault(number, L"cannot open include file");
        try {
            path = m_basePath.substr(0, cut + 1) + name;
        } catch (const std::bad_alloc&) {
            return IncludeFault(number, L"short on storage when building name of include file");
        }
        m_log.Line(Format(L"...not found, now trying to include \"%s\"", path.c_str()));
        read = ReadFileBytes(path, bytes);
        if (read == EReadResult::OPEN_FAILED) return IncludeFault(number, L"cannot open include file");
    }
    if (read == EReadResult::NO_MEMORY)
        return IncludeFault(number, L"short on storage when executing !include statement");
    if (read == EReadResult::READ_FAILED) return IncludeFault(number, L"cannot open include file");

    const Text key = CanonicalPath(path);
    for (const Text& active : m_includes)
        if (active == key) return IncludeFault(number, L"using the !include statement recursively");
    if (m_depth + 1 >= kMaxIncludeDepth) return IncludeFault(number, L"nesting includes too deeply");

    Text text;
    std::vector<Text> lines;
    try {
        if (!DecodeText(bytes.data(), bytes.size(), text))
            return IncludeFault(number, L"cannot open include file");
        if (!SplitSourceLines(text, lines, kIncludeLineBuffer))
            return IncludeFault(number, L"line continuation results in too long a line in included file");
    } catch (const std::bad_alloc&) {
        return IncludeFault(number, L"cannot add included line to line buffer (this probably indicates "
                                    L"shortness on storage)");
    }
    try {
        m_includes.push_back(key);
    } catch (const std::bad_alloc&) {
        return IncludeFault(number,
                            L"cannot add include file to list (this may indicate shortness on storage "
                            L"or an internal error)");
    }
    const bool ok = Preprocess(lines, out, m_constants, m_includes, m_depth + 1, path, m_log);
    m_includes.pop_back();
    return ok;
}

} // namespace

bool Preprocess(const std::vector<Text>& rawLines, std::vector<SCodeText>& outLines, CConstantList& constants,
                std::vector<Text>& includes, int depth, const Text& basePath, CLoadLog& log) {
    CPreprocessor preprocessor(constants, includes, depth, basePath, log);
    return preprocessor.Run(rawLines, outLines);
}
