// The macro compiler: one pass over the lines of a section. Labels and the
// control structure become jumps between code lines; the text of each line
// is cut into pieces by CompileLineText (compiler_lines.cpp).
#include "macro/compiler.h"

#include <algorithm>
#include <cwchar>
#include <iterator>

namespace {

constexpr size_t kMaxWords = 256;

constexpr const wchar_t* kCompareOperators[] = {L"<",   L"<=",  L"==",  L"!=",  L">=",  L">",   L"=SI",
                                                L"!SI", L"=SR", L"!SR", L"=NI", L"!NI", L"=NR", L"!NR"};
constexpr const wchar_t* kLogicalWords[] = {L"||", L"OR", L"&&", L"AND"};

bool IsInternalCode(wchar_t c) {
    switch (c) {
    case CODE_QUOTE:
    case CODE_ITEM:
    case CODE_OPEN:
    case CODE_CLOSE:
    case CODE_VARIABLE:
    case CODE_INLINE_OPEN:
    case CODE_INLINE_CLOSE:
        return true;
    default:
        return false;
    }
}

// Blanks and control characters separate words; the internal codes are
// control characters too, but they belong to the text.
bool IsSeparator(wchar_t c) {
    return c <= L' ' && !IsInternalCode(c);
}

// The search for a label's colon gives up at these characters (as written,
// or as their internal codes).
bool StopsLabel(wchar_t c) {
    return IsInternalCode(c) || (c != 0 && c < 128 && std::wcschr(L" \t'`\"()[]$~", c) != nullptr);
}

// Header words: blanks and control characters (the quote code among them)
// are stripped from both ends of a name and a default value.
Text StripControls(TextView text) {
    size_t b = 0, e = text.size();
    while (b < e && text[b] <= L' ') ++b;
    while (e > b && text[e - 1] <= L' ') --e;
    return Text(text.substr(b, e - b));
}

bool IsOneOf(TextView word, const wchar_t* const* table, size_t count) {
    for (size_t i = 0; i < count; ++i)
        if (EqualNoCase(word, table[i])) return true;
    return false;
}

// Where a condition stood, appended to its messages: a format with up to
// three words of the statement.
struct SWhere {
    const wchar_t* format;
    TextView a, b, c;
};

class CCompiler {
public:
    CCompiler(CMacroCode& code, const SCompileOptions& options, std::vector<Text>& log)
        : m_code(code), m_options(options), m_log(log) {}

    bool Run(const std::vector<Text>& headerWords, const std::vector<SSourceLine>& lines);

private:
    enum EControl { CTL_IF = 1, CTL_ELSE = 2, CTL_ELSEIF = 3, CTL_LOOP = 4 };
    struct SControl {
        int kind;
        int elseLabel; // or the continue label of a loop
        int endLabel;  // or the break label
    };
    static constexpr size_t npos = static_cast<size_t>(-1);

    bool ArgumentLines(const std::vector<Text>& headerWords);
    bool SourceLine(const SSourceLine& line);
    bool TakeLabel(size_t& pos);
    bool SplitWords(size_t pos);
    bool Statement();
    bool If();
    bool Else();
    bool Loop();
    bool For();
    bool BreakContinue();
    bool End();
    bool Cond(size_t assignAt);
    bool Finish();
    void ResolveJumps();

    TextView Word(size_t i) const { return TextView(m_text).substr(m_words[i].begin, m_words[i].length); }
    Text WordText(size_t i) const { return Text(Word(i)); }
    bool Is(size_t i, const wchar_t* keyword) const {
        return i < m_words.size() && !m_words[i].quoted && EqualNoCase(Word(i), keyword);
    }
    void JoinTo(Text& out, size_t first, size_t last) const;
    Text Join(size_t first, size_t last) const {
        Text out;
        JoinTo(out, first, last);
        return out;
    }
    int LineNo() const { return m_sourceLine + 1; }
    int LineCount() const { return static_cast<int>(m_code.m_lines.size()); }
    int NewLabels(int count) {
        const int first = static_cast<int>(m_autoLabels.size());
        m_autoLabels.resize(m_autoLabels.size() + count, 0);
        return first;
    }
    void Place(int label) { m_autoLabels[label] = LineCount(); }
    const SControl* InnermostLoop() const {
        for (auto it = m_stack.rbegin(); it != m_stack.rend(); ++it)
            if (it->kind == CTL_LOOP) return &*it;
        return nullptr;
    }

    bool Emit(int kind, TextView text, int label = 0);
    bool EmitStatement(size_t first, size_t last);
    bool CheckCondition(size_t first, size_t last, const SWhere& where);
    bool Error(Text message) {
        m_log.push_back(std::move(message));
        return false;
    }
    // Compiling goes on after a warning only where warnings are taken lightly.
    bool Warning(Text message) {
        m_log.push_back(std::move(message));
        return m_options.ignoreWarnings;
    }

    struct SWordRef {
        size_t begin;
        size_t length;
        bool quoted;
    };

    CMacroCode& m_code;
    const SCompileOptions& m_options;
    std::vector<Text>& m_log;
    std::vector<int> m_autoLabels; // label number -> line; a label never placed stays at line 0
    std::vector<SControl> m_stack;
    TextView m_text;
    std::vector<SWordRef> m_words;
    int m_sourceLine = 0;
};

void CCompiler::JoinTo(Text& out, size_t first, size_t last) const {
    for (size_t i = first; i < last; ++i) {
        if (i > first) out += L' ';
        if (m_words[i].quoted) {
            out += CODE_QUOTE;
            out += Word(i);
            out += CODE_QUOTE;
        } else {
            out += Word(i);
        }
    }
}

bool CCompiler::Run(const std::vector<Text>& headerWords, const std::vector<SSourceLine>& lines) {
    if (m_code.m_name.empty() && !headerWords.empty()) m_code.m_name = UpperCase(headerWords[0]);
    if (m_code.m_bClass && m_code.m_parentName.empty() && headerWords.size() > 1)
        m_code.m_parentName = headerWords[1];
    m_autoLabels.reserve(100);

    m_sourceLine = m_options.headerLine >= 0 ? m_options.headerLine
                                             : (lines.empty() ? 0 : std::max(lines.front().number - 1, 0));
    if (!m_code.m_bClass && headerWords.size() > 1 && !ArgumentLines(headerWords)) return false;

    for (const SSourceLine& line : lines) {
        if (!line.text.empty() && (line.text[0] == L'[' || line.text[0] == CODE_OPEN)) break;
        if (!SourceLine(line)) return false;
    }
    return Finish();
}

bool CCompiler::ArgumentLines(const std::vector<Text>& headerWords) {
    Text readLine = L"#ARGC := READVAR #ARGV";
    for (size_t i = 1; i < headerWords.size(); ++i) {
        const Text& word = headerWords[i];
        const size_t eq = word.find(L'=');
        if (eq == Text::npos) {
            readLine += L' ';
            readLine += word;
            continue;
        }
        const Text name = StripControls(TextView(word).substr(0, eq));
        const Text value = StripControls(TextView(word).substr(eq + 1));
        if (name.empty() || value.empty()) {
            if (!Warning(
                    Format(L"[line %d] warning: invalid default argument assignment (no name and/or value)",
                           LineNo())))
                return false;
        } else {
            Text line = name;
            line += L" := SET ";
            line += CODE_QUOTE;
            line += value;
            line += CODE_QUOTE;
            if (!Emit(CCodeLine::STATEMENT, line)) return false;
        }
        // READVAR reads into the names; the defaults are already set.
        if (!name.empty()) {
            readLine += L' ';
            readLine += name;
        }
    }
    return Emit(CCodeLine::STATEMENT, readLine);
}

bool CCompiler::SourceLine(const SSourceLine& line) {
    m_sourceLine = line.number;
    m_text = line.text;
    size_t pos = 0;
    if (!TakeLabel(pos)) return false;
    if (!SplitWords(pos)) return false;
    if (m_words.empty()) return true;
    return Statement();
}

bool CCompiler::TakeLabel(size_t& pos) {
    const size_t n = m_text.size();
    size_t i = 0;
    while (i < n && m_text[i] != L':' && !StopsLabel(m_text[i])) ++i;
    if (i >= n || m_text[i] != L':') return true;
    // "x:=5" is an assignment, "a::b" a call of a class's method.
    if (i + 1 < n && (m_text[i + 1] == L':' || m_text[i + 1] == L'=')) return true;
    const Text label = UpperCase(m_text.substr(0, i));
    pos = i + 1;
    while (pos < n && (m_text[pos] == L' ' || m_text[pos] == L'\t')) ++pos;

    if (m_code.m_bClass) {
        static constexpr struct {
            const wchar_t* prefix;
            int access;
        } kMethodPrefixes[] = {
            {L"PUBLIC_", ACCESS_PUBLIC}, {L"PROTECTED_", ACCESS_PROTECTED}, {L"PRIVATE_", ACCESS_PRIVATE}};
        for (const auto& m : kMethodPrefixes) {
            if (!StartsWithNoCase(label, m.prefix)) continue;
            const Text name = label.substr(std::wcslen(m.prefix));
            if (name.empty() || m_code.m_methods.Find(name))
                return Error(
                    Format(L"[line %d] error: duplicate or invalid label %s", LineNo(), label.c_str()));
            m_code.m_methods.Add(name, SMethodEntry{LineCount(), m.access});
            return true;
        }
    }
    if (label.empty() || m_code.m_labels.Find(label))
        return Error(Format(L"[line %d] error: duplicate or invalid label %s", LineNo(), label.c_str()));
    m_code.m_labels.Add(label, LineCount());
    return true;
}

bool CCompiler::SplitWords(size_t pos) {
    m_words.clear();
    const size_t n = m_text.size();
    while (pos < n) {
        while (pos < n && IsSeparator(m_text[pos])) ++pos;
        if (pos >= n) break;
        if (m_words.size() == kMaxWords)
            return Error(Format(L"[line %d] error: too much arguments (max.=%d)", LineNo(), int(kMaxWords)));
        const bool quoted = m_text[pos] == CODE_QUOTE;
        if (quoted) ++pos;
        const size_t begin = pos;
        int level = 0; // inside $( ... ) only the parentheses count
        for (;;) {
            if (pos >= n) {
                if (quoted || level > 0)
                    return Error(
                        Format(L"[line %d] error: invalid end-of-line (inline-level=%d)", LineNo(), level));
                break;
            }
            const wchar_t c = m_text[pos];
            if (c == L'`') {
                pos = std::min(pos + 2, n);
                continue;
            }
            if (c == CODE_INLINE_OPEN) {
                ++level;
            } else if (c == CODE_INLINE_CLOSE && level > 0) {
                --level;
            } else if (level == 0 && (c == CODE_QUOTE || (!quoted && IsSeparator(c)))) {
                break;
            }
            ++pos;
        }
        m_words.push_back(SWordRef{begin, pos - begin, quoted});
        if (quoted) ++pos; // the closing quote
    }
    return true;
}

bool CCompiler::Statement() {
    if (Is(0, L"IF") || Is(0, L"IFNOT")) return If();
    if (Is(0, L"ELSE")) return Else();
    if (Is(0, L"DO") || Is(0, L"WHILE") || Is(0, L"FOREVER")) return Loop();
    if (Is(0, L"FOR")) return For();
    if (Is(0, L"BREAK") || Is(0, L"CONTINUE")) return BreakContinue();
    if (Is(0, L"END")) return End();
    if (Is(0, L"COND")) return Cond(npos);
    for (size_t i = 1; i + 1 < m_words.size(); ++i)
        if (Is(i, L":=") && Is(i + 1, L"COND")) return Cond(i);
    return EmitStatement(0, m_words.size());
}

bool CCompiler::Emit(int kind, TextView text, int label) {
    auto line = std::make_unique<CCodeLine>();
    line->flags = static_cast<uint32_t>(kind);
    line->sourceLine = m_sourceLine;
    line->target = label;
    Text message;
    if (!CompileLineText(text, *line, message))
        return Error(Format(L"line %d: %s", LineNo(), message.c_str()));
    m_code.m_lines.push_back(std::move(line));
    return true;
}

bool CCompiler::EmitStatement(size_t first, size_t last) {
    int kind = CCodeLine::STATEMENT;
    if (first < last && Is(first, L"GOTO")) {
        kind = CCodeLine::COMPUTED_GOTO;
        ++first;
    } else if (first < last && Is(first, L"EXIT")) {
        kind = CCodeLine::EXIT;
        ++first;
    }
    return Emit(kind, Join(first, last));
}

bool CCompiler::CheckCondition(size_t first, size_t last, const SWhere& where) {
    auto in = [&] {
        return Format(where.format, Text(where.a).c_str(), Text(where.b).c_str(), Text(where.c).c_str());
    };
    if (last < first + 3)
        return Error(Format(L"[line %d] error: too few condition arguments", LineNo()) + in());
    size_t i = first;
    for (;;) {
        if (last - i < 3)
            return Warning(Format(L"[line %d] warning: ill-formed conditional expressions", LineNo()) + in());
        if (!IsOneOf(Word(i + 1), kCompareOperators, std::size(kCompareOperators)) &&
            !Warning(Format(L"[line %d] warning: invalid arg%d - compare operator expexted", LineNo(),
                            int(i + 1)) +
                     in()))
            return false;
        i += 3;
        if (i == last) return true;
        if (!IsOneOf(Word(i), kLogicalWords, std::size(kLogicalWords)) &&
            !Warning(
                Format(L"[line %d] warning: invalid arg%d - logical operator expexted", LineNo(), int(i)) +
                in()))
            return false;
        ++i;
    }
}

bool CCompiler::If() {
    const size_t n = m_words.size();
    const bool negated = Is(0, L"IFNOT");
    const int onTrue = negated ? CCodeLine::IFNOT_GOTO : CCodeLine::IF_GOTO;
    const int onFalse = negated ? CCodeLine::IF_GOTO : CCodeLine::IFNOT_GOTO;

    if (n >= 2 && Is(n - 1, L"THEN")) {
        if (!CheckCondition(1, n - 1, {L" in \"%s cond %s\"", Word(0), Word(n - 1), {}})) return false;
        const int a = NewLabels(2);
        if (!Emit(onFalse, Join(1, n - 1), a)) return false;
        m_stack.push_back({CTL_IF, a, a + 1});
        return true;
    }

    if (n >= 2 && (Is(n - 1, L"BREAK") || Is(n - 1, L"CONTINUE"))) {
        const SControl* loop = InnermostLoop();
        if (!loop) return Error(Format(L"line %d: invalid %s", LineNo(), WordText(n - 1).c_str()));
        const int label = Is(n - 1, L"BREAK") ? loop->endLabel : loop->elseLabel;
        if (!CheckCondition(1, n - 1, {L" in \"%s cond %s\"", Word(0), Word(n - 1), {}})) return false;
        return Emit(onTrue, Join(1, n - 1), label);
    }

    // One-line form: the condition ends with the right operand of the last
    // compare operator in front of the last word.
    size_t op = 0;
    for (size_t j = n - 1; j-- > 1;) {
        if (IsOneOf(Word(j), kCompareOperators, std::size(kCompareOperators))) {
            op = j;
            break;
        }
    }
    if (op == 0) return Error(Format(L"[line %d] error: missing compare operator", LineNo()));
    const size_t condEnd = op + 2;
    if (!CheckCondition(1, condEnd, {L" in \"%s cond\"", Word(0), {}, {}})) return false;
    const int a = NewLabels(1);
    if (!Emit(onFalse, Join(1, condEnd), a)) return false;
    if (!EmitStatement(condEnd, n)) return false;
    Place(a);
    return true;
}

bool CCompiler::Else() {
    const size_t n = m_words.size();
    if (m_stack.empty() || (m_stack.back().kind != CTL_IF && m_stack.back().kind != CTL_ELSEIF))
        return Error(Format(L"[line %d] error: invalid %s", LineNo(), WordText(0).c_str()));
    SControl& top = m_stack.back();
    if (n == 1) {
        if (!Emit(CCodeLine::GOTO, {}, top.endLabel)) return false;
        Place(top.elseLabel);
        top.kind = CTL_ELSE;
        return true;
    }
    if (!(Is(1, L"IF") || Is(1, L"IFNOT")) || !Is(n - 1, L"THEN"))
        return Error(Format(L"[line %d] syntax error \"%s %s\" - expexted: \"%s %s|%s cond %s\"", LineNo(),
                            WordText(0).c_str(), WordText(1).c_str(), L"ELSE", L"IF", L"IFNOT", L"THEN"));
    if (!CheckCondition(2, n - 1, {L" in \"%s %s cond %s\"", Word(0), Word(1), Word(n - 1)})) return false;
    if (!Emit(CCodeLine::GOTO, {}, top.endLabel)) return false;
    Place(top.elseLabel);
    const int a = NewLabels(1);
    if (!Emit(Is(1, L"IFNOT") ? CCodeLine::IF_GOTO : CCodeLine::IFNOT_GOTO, Join(2, n - 1), a)) return false;
    top.elseLabel = a;
    top.kind = CTL_ELSEIF;
    return true;
}

bool CCompiler::Loop() {
    const size_t n = m_words.size();
    size_t k = 0; // the WHILE or FOREVER word
    if (Is(0, L"DO")) {
        // The two messages stand the wrong way round; macros test for them as they are.
        if (n == 1)
            return Error(Format(L"[line %d] error: invalid keyword %s in %s-statement", LineNo(), L"",
                                WordText(0).c_str()));
        if (!Is(1, L"WHILE") && !Is(1, L"FOREVER"))
            return Error(
                Format(L"[line %d] error: missing keyword in %s-statement", LineNo(), WordText(0).c_str()));
        k = 1;
    }
    if (Is(k, L"FOREVER")) {
        if (n > k + 1 && !Warning(Format(L"[line %d] warning: %s-statement do not need arguments", LineNo(),
                                         WordText(k).c_str())))
            return false;
        const int a = NewLabels(2);
        Place(a);
        m_stack.push_back({CTL_LOOP, a, a + 1});
        return true;
    }
    const Text keyword = Join(0, k + 1);
    if (!CheckCondition(k + 1, n, {L" in \"%s cond\"", keyword, {}, {}})) return false;
    const int a = NewLabels(2);
    Place(a);
    if (!Emit(CCodeLine::IFNOT_GOTO, Join(k + 1, n), a + 1)) return false;
    m_stack.push_back({CTL_LOOP, a, a + 1});
    return true;
}

bool CCompiler::For() {
    const size_t n = m_words.size();
    size_t to = 0, step = 0;
    for (size_t i = 1; i < n; ++i) {
        if (Is(i, L"TO")) {
            if (to || step) {
                if (!Warning(Format(L"[line %d] warning: multiple/misplaced TO in %s-statement - ignored",
                                    LineNo(), WordText(0).c_str())))
                    return false;
                continue;
            }
            to = i;
        } else if (Is(i, L"STEP")) {
            if (step) {
                if (!Warning(Format(L"[line %d] warning: multiple/misplaced STEP in %s-statement - ignored",
                                    LineNo(), WordText(0).c_str())))
                    return false;
                continue;
            }
            step = i;
        }
    }
    const size_t condFirst = to ? to + 1 : 1;
    const size_t condLast = step ? step : n;

    const int a = NewLabels(3), b = a + 1, c = a + 2;
    // The first round jumps over the step to the test.
    if (to > 1) {
        if (!EmitStatement(1, to)) return false;
        if (!Emit(CCodeLine::GOTO, {}, b)) return false;
    }
    Place(a);
    if (step && step + 1 < n && !EmitStatement(step + 1, n)) return false;
    Place(b);
    if (condFirst < condLast) {
        if (!CheckCondition(condFirst, condLast, {L" in %s-statement", Word(0), {}, {}})) return false;
        if (!Emit(CCodeLine::IFNOT_GOTO, Join(condFirst, condLast), c)) return false;
    }
    // CONTINUE goes to the step.
    m_stack.push_back({CTL_LOOP, a, c});
    return true;
}

bool CCompiler::BreakContinue() {
    const SControl* loop = InnermostLoop();
    if (!loop) return Error(Format(L"[line %d] error: invalid %s", LineNo(), WordText(0).c_str()));
    const int label = Is(0, L"BREAK") ? loop->endLabel : loop->elseLabel;
    if (m_words.size() > 1 && !Warning(Format(L"[line %d] warning: %s-statement do not need arguments",
                                              LineNo(), WordText(0).c_str())))
        return false;
    return Emit(CCodeLine::GOTO, {}, label);
}

bool CCompiler::End() {
    if (m_stack.empty()) return Error(Format(L"[line %d] error: invalid END", LineNo()));
    const SControl top = m_stack.back();
    m_stack.pop_back();
    if (m_words.size() > 1) {
        // Kept as it always was: the level is gone but its labels are never
        // placed, so jumps to them land on line 0.
        return Warning(
            Format(L"[line %d] warning: %s-statement do not need arguments", LineNo(), WordText(0).c_str()));
    }
    switch (top.kind) {
    case CTL_IF:
        Place(top.elseLabel);
        break;
    case CTL_ELSE:
        Place(top.endLabel);
        break;
    case CTL_ELSEIF:
        Place(top.elseLabel);
        Place(top.endLabel);
        break;
    case CTL_LOOP:
        if (!Emit(CCodeLine::GOTO, {}, top.elseLabel)) return false;
        Place(top.endLabel);
        break;
    }
    return true;
}

bool CCompiler::Cond(size_t assignAt) {
    const size_t n = m_words.size();
    const size_t cond = assignAt == npos ? 0 : assignAt + 1;
    size_t question = 0, colon = 0;
    for (size_t i = cond + 1; i < n; ++i) {
        if (Is(i, L"?")) {
            if (question || colon)
                return Error(Format(L"[line %d] error: multiple/misplaced \"?\" in %s-statement", LineNo(),
                                    WordText(cond).c_str()));
            question = i;
        } else if (Is(i, L":")) {
            if (colon || !question)
                return Error(Format(L"[line %d] error: multiple/misplaced \":\" in %s-statement", LineNo(),
                                    WordText(cond).c_str()));
            colon = i;
        }
    }
    if (!question || !colon || question == cond + 1 || colon == question + 1 || colon + 1 == n)
        return Error(Format(L"[line %d] error: missing condition, expr1 and/or expr2 in %s-statement",
                            LineNo(), WordText(cond).c_str()));
    if (!CheckCondition(cond + 1, question, {L" in %s-statement", Word(cond), {}, {}})) return false;

    Text prefix;
    if (assignAt != npos) {
        JoinTo(prefix, 0, assignAt);
        prefix += L" := ";
    }
    const int a = NewLabels(2);
    if (!Emit(CCodeLine::IFNOT_GOTO, Join(cond + 1, question), a)) return false;
    Text text = prefix;
    JoinTo(text, question + 1, colon);
    if (!Emit(CCodeLine::STATEMENT, text)) return false;
    if (!Emit(CCodeLine::GOTO, {}, a + 1)) return false;
    Place(a);
    text = prefix;
    JoinTo(text, colon + 1, n);
    if (!Emit(CCodeLine::STATEMENT, text)) return false;
    Place(a + 1);
    return true;
}

bool CCompiler::Finish() {
    // Reported, but the macro still loads: its open levels simply jump to line 0.
    if (!m_stack.empty()) m_log.push_back(Format(L"missing END statement (level %d)", int(m_stack.size())));
    if (m_code.m_lines.empty()) return Error(L"no code lines!");
    auto exit = std::make_unique<CCodeLine>();
    exit->flags = CCodeLine::EXIT;
    exit->sourceLine = m_sourceLine;
    m_code.m_lines.push_back(std::move(exit));
    ResolveJumps();
    m_autoLabels.clear();
    m_autoLabels.shrink_to_fit();
    return true;
}

void CCompiler::ResolveJumps() {
    auto& lines = m_code.m_lines;
    const int count = LineCount();
    auto isJump = [](const CCodeLine& l) {
        return l.Kind() >= CCodeLine::GOTO && l.Kind() <= CCodeLine::IFNOT_GOTO;
    };
    for (auto& line : lines) {
        if (!isJump(*line)) continue;
        const int label = line->target;
        line->target = label >= 0 && label < static_cast<int>(m_autoLabels.size()) ? m_autoLabels[label] : 0;
    }
    // A jump that lands on a GOTO goes on to that GOTO's target. Earlier
    // GOTO lines are already carried through, which keeps long chains cheap;
    // the step limit ends loops made only of GOTO lines.
    for (auto& line : lines) {
        if (!isJump(*line)) continue;
        int target = line->target;
        for (int steps = 0; steps < count && target >= 0 && target < count; ++steps) {
            const CCodeLine& next = *lines[target];
            if (next.Kind() != CCodeLine::GOTO || next.target == target) break;
            target = next.target;
        }
        line->target = target;
    }
}

} // namespace

bool Compile(CMacroCode& code, const std::vector<Text>& headerWords, const std::vector<SSourceLine>& lines,
             const SCompileOptions& options, std::vector<Text>& log) {
    return CCompiler(code, options, log).Run(headerWords, lines);
}
