// The commands that take words and texts apart: lengths, parts, cases, word
// and token picking, keyword matching, quoting, trimming, character search,
// spelled numbers, and READVAR/READSTR (their templates are cut by
// items/read_template.h, which READ shares).
#include "macro/commands_text.h"

#include <algorithm>

#include "base/keyword_table.h"
#include "expr/numeric_args.h"
#include "items/read_template.h"
#include "shell/command_registry.h"
#include "shell/error_table.h"
#include "shell/options.h"
#include "shell/shell.h"

namespace {

// The language's quote inside a text: a value that holds it splits into the
// same words as the line it came from.
constexpr wchar_t kQuote = wchar_t(1);

bool SilentOption(const COptions& options) {
    return HasOption(options, L"Ss");
}

int Length(CShell&, CWords& args, COptions&, int, Text& result) {
    result = IntText(args.empty() ? 0 : static_cast<long long>(args[0].text.size()));
    return 0;
}

int LineLength(CShell&, CWords& args, COptions&, int, Text& result) {
    result = IntText(static_cast<long long>(JoinWords(args).size()));
    return 0;
}

int Substr(CShell&, CWords& args, COptions&, int, Text& result) {
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    const Text& text = args[0].text;
    long long start = 0;
    long long count = -1;
    if (args.size() > 1) {
        if (!EvalInteger(args[1].text, start)) return RC_BAD_ARG2;
        if (start < 0) return RC_BAD_STRING_INDEX;
    }
    if (args.size() > 2) {
        if (!EvalInteger(args[2].text, count)) return RC_BAD_ARG3;
        if (count < 0) return RC_BAD_STRING_LENGTH;
    }
    if (start >= static_cast<long long>(text.size())) return 0;
    const size_t rest = text.size() - static_cast<size_t>(start);
    result = text.substr(static_cast<size_t>(start),
                         count < 0 ? rest : std::min(rest, static_cast<size_t>(count)));
    return 0;
}

enum { CASE_LOWER, CASE_UPPER, CASE_REVERSE };

int ChangeCase(CShell&, CWords& args, COptions&, int selector, Text& result) {
    if (args.empty()) return 0;
    const Text& text = args[0].text;
    if (selector == CASE_LOWER) {
        result = LowerCase(text);
    } else if (selector == CASE_UPPER) {
        result = UpperCase(text);
    } else {
        result.assign(text.rbegin(), text.rend());
    }
    return 0;
}

int Keyword(CShell&, CWords& args, COptions& options, int, Text& result) {
    int index = -1;
    if (!args.empty()) {
        const Text& text = args[0].text;
        if (HasOption(options, L"Ff")) {
            const bool exact = HasOption(options, L"Cc");
            for (size_t i = 1; i < args.size() && index < 0; ++i)
                if (exact ? args[i].text == text : EqualNoCase(args[i].text, text)) index = int(i - 1);
        } else {
            // The words as a keyword list: the shortest that begins with the text wins.
            std::vector<const wchar_t*> words;
            for (size_t i = 1; i < args.size(); ++i) words.push_back(args[i].text.c_str());
            words.push_back(nullptr);
            index = CKeywordTable(words.data()).Find(text);
        }
    }
    result = IntText(index);
    return 0;
}

// Cuts like strtok: a run of delimiters is one cut, and the ends give no empty token.
std::vector<Text> Tokens(TextView text, TextView delimiters) {
    std::vector<Text> tokens;
    size_t p = 0;
    while (p < text.size()) {
        p = text.find_first_not_of(delimiters, p);
        if (p == TextView::npos) break;
        const size_t end = std::min(text.find_first_of(delimiters, p), text.size());
        tokens.emplace_back(text.substr(p, end - p));
        p = end;
    }
    return tokens;
}

enum { PICK_WORD, PICK_TOKEN };

// WORD is forgiving: a bad number or index gives the empty result. TOKEN /S
// tells them apart by code, for macros that loop until the index runs out.
int PickWord(CShell&, CWords& args, COptions& options, int selector, Text& result) {
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    const bool strict = selector == PICK_TOKEN && SilentOption(options);
    long long n = 0;
    if (!EvalInteger(args[0].text, n)) return strict ? RC_BAD_ARG1 : 0;
    const SOption* cut = selector == PICK_TOKEN ? FindOption(options, L"Dd") : nullptr;
    if (cut) {
        const std::vector<Text> tokens = Tokens(JoinWords(args, 1), cut->text);
        if (n < 0 || n >= static_cast<long long>(tokens.size()))
            return strict ? RC_WORD_INDEX_OUT_OF_RANGE : 0;
        result = tokens[static_cast<size_t>(n)];
        return 0;
    }
    if (n < 0 || n >= static_cast<long long>(args.size()) - 1) return strict ? RC_WORD_INDEX_OUT_OF_RANGE : 0;
    result = args[static_cast<size_t>(n) + 1].text;
    return 0;
}

int Words(CShell&, CWords& args, COptions&, int, Text& result) {
    result = IntText(static_cast<long long>(args.size()));
    return 0;
}

// No words quote to an empty word; code 292 is not given for it.
int Quote(CShell&, CWords& args, COptions& options, int, Text& result) {
    if (HasOption(options, L"Rr")) {
        result = JoinWords(args);
        std::erase(result, kQuote);
    } else if (HasOption(options, L"Ee")) {
        for (size_t i = 0; i < args.size(); ++i) {
            if (i) result += L' ';
            result += kQuote;
            result += args[i].text;
            result += kQuote;
        }
    } else {
        result = kQuote + JoinWords(args) + kQuote;
    }
    return 0;
}

int TrimWords(CShell& shell, CWords& args, COptions& options, int, Text& result) {
    const bool silent = SilentOption(options);
    const bool left = HasOption(options, L"Ll");
    const bool right = HasOption(options, L"Tt");
    if (!left && !right) return Silent(RC_LEADING_OR_TRAILING_NEEDED, silent);
    if (args.empty()) return Silent(RC_TOO_FEW_ARGUMENTS, silent);
    // The set starts empty: /B and /C say what goes.
    Text set;
    if (HasOption(options, L"Bb")) set += L" \t\r\n";
    for (const SOption& o : options)
        if (o.letter == L'C' || o.letter == L'c') set += o.text;
    const bool byName = HasOption(options, L"Vv");
    for (size_t i = 0; i < args.size(); ++i) {
        const Text text = byName ? shell.GetVar(args[i].text) : args[i].text;
        size_t b = 0;
        size_t e = text.size();
        if (left)
            while (b < e && set.find(text[b]) != Text::npos) ++b;
        if (right)
            while (e > b && set.find(text[e - 1]) != Text::npos) --e;
        if (i) result += L' ';
        result.append(text, b, e - b);
    }
    return 0;
}

int StrChr(CShell& shell, CWords& args, COptions& options, int, Text& result) {
    const bool silent = SilentOption(options);
    if (args.size() < 2) return Silent(RC_TOO_FEW_ARGUMENTS, silent);
    const Text& set = args[0].text;
    if (set.empty()) return Silent(RC_BAD_ARG2, silent);
    const Text text = HasOption(options, L"Vv") ? shell.GetVar(args[1].text) : args[1].text;
    const size_t at = HasOption(options, L"Rr") ? text.find_last_of(set) : text.find_first_of(set);
    result = IntText(at == Text::npos ? -1 : static_cast<long long>(at));
    return 0;
}

// "fourty" is the language's spelling; macros compare against it.
static constexpr const wchar_t* kUnits[] = {L"zero",    L"one",     L"two",       L"three",    L"four",
                                            L"five",    L"six",     L"seven",     L"eight",    L"nine",
                                            L"ten",     L"eleven",  L"twelve",    L"thirteen", L"fourteen",
                                            L"fifteen", L"sixteen", L"seventeen", L"eighteen", L"nineteen"};
static constexpr const wchar_t* kTens[] = {L"",      L"",      L"twenty",  L"thirty", L"fourty",
                                           L"fifty", L"sixty", L"seventy", L"eighty", L"ninety"};

// Billions are the largest unit; "one thousand billions" would be the next.
constexpr long long kLargestSpelled = 999999999999LL;

Text Spell(long long n) {
    if (n < 20) return kUnits[n];
    if (n < 100) return n % 10 ? Text(kTens[n / 10]) + L'-' + kUnits[n % 10] : Text(kTens[n / 10]);
    struct SScale {
        long long size;
        const wchar_t* one;
        const wchar_t* many;
    };
    static constexpr SScale kScales[] = {{1000000000LL, L" billion", L" billions"},
                                         {1000000LL, L" million", L" millions"},
                                         {1000LL, L" thousand", L" thousand"},
                                         {100LL, L" hundred", L" hundred"}};
    for (const SScale& s : kScales) {
        if (n < s.size) continue;
        const long long head = n / s.size;
        const long long rest = n % s.size;
        Text out = Spell(head) + (head == 1 ? s.one : s.many);
        if (rest) out += L' ' + Spell(rest);
        return out;
    }
    return Text();
}

int SpellNumbers(CShell& shell, CWords& args, COptions& options, int, Text& result) {
    const bool silent = SilentOption(options);
    const bool byName = HasOption(options, L"Vv");
    const bool skipSmall = HasOption(options, L"Tt");
    const bool zeroIsNo = HasOption(options, L"Zz");
    const bool withNumber = HasOption(options, L"Nn");
    Text out;
    bool any = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const Text text = byName ? shell.GetVar(args[i].text) : args[i].text;
        long long n = 0;
        if (!EvalInteger(text, n)) return ArgumentError(static_cast<int>(i) + 1, silent);
        if (n < 0 || n > kLargestSpelled) return silent ? RC_SPELL_TOO_LARGE_WARNING : RC_SPELL_TOO_LARGE;
        if (skipSmall && n < 2) continue;
        const Text words = n == 0 && zeroIsNo ? Text(L"no") : Spell(n);
        if (any) out += L' ';
        any = true;
        out += withNumber ? IntText(n) + L" (" + words + L")" : words;
    }
    if (HasOption(options, L"Aa")) out += L' ';
    result = std::move(out);
    return 0;
}

enum { READ_VARIABLE, READ_STRING };

int ReadText(CShell& shell, CWords& args, COptions& options, int selector, Text& /*result*/) {
    if (args.size() < 2) return RC_TOO_FEW_ARGUMENTS;
    const Text source = selector == READ_VARIABLE ? shell.GetVar(args[0].text) : args[0].text;
    ReadTemplate(shell, source, CWords(args.begin() + 1, args.end()), options);
    return 0;
}

static constexpr CCommandRow kTextCommands[] = {
    {.name = L"LENGTH", .handler = Length},
    {.name = L"LINELENGTH", .handler = LineLength, .m_bOptions = true},
    {.name = L"SUBSTR", .handler = Substr, .minArgs = 1},
    {.name = L"LOWER", .handler = ChangeCase, .minArgs = 1, .selector = CASE_LOWER},
    {.name = L"UPPER", .handler = ChangeCase, .minArgs = 1, .selector = CASE_UPPER},
    {.name = L"REVERSE", .handler = ChangeCase, .minArgs = 1, .selector = CASE_REVERSE},
    {.name = L"KEYWORD", .handler = Keyword, .m_bOptions = true},
    {.name = L"WORD", .handler = PickWord, .selector = PICK_WORD},
    {.name = L"TOKEN", .handler = PickWord, .m_bOptions = true, .selector = PICK_TOKEN},
    {.name = L"WORDS", .handler = Words},
    {.name = L"QUOTE", .handler = Quote, .m_bOptions = true},
    {.name = L"TRIM", .handler = TrimWords, .m_bOptions = true},
    {.name = L"STRCHR", .handler = StrChr, .m_bOptions = true, .minArgs = 1},
    {.name = L"SPELL", .handler = SpellNumbers, .m_bOptions = true, .minArgs = 1},
    {.name = L"READVAR",
     .handler = ReadText,
     .m_bOptions = true,
     .minArgs = 2,
     .selector = READ_VARIABLE,
     .resultVar = L"#READ",
     .failText = L"0"},
    {.name = L"READSTR",
     .handler = ReadText,
     .m_bOptions = true,
     .minArgs = 2,
     .selector = READ_STRING,
     .resultVar = L"#READ",
     .failText = L"0"},
};

} // namespace

void RegisterTextCommands() {
    CCommandRegistry::Register(kTextCommands, std::size(kTextCommands));
}
