#include "graphics/graph_words.h"

#include "expr/numeric_args.h"
#include "shell/shell_env.h"

namespace {
constexpr const wchar_t* kColors[] = {L"BLACK", L"BLUE",      L"GREEN",  L"CYAN",   L"RED",     L"MAGENTA",
                                      L"BROWN", L"GRAY",      L"HLGRAY", L"HLBLUE", L"HLGREEN", L"HLCYAN",
                                      L"HLRED", L"HLMAGENTA", L"YELLOW", L"WHITE",  nullptr};
constexpr const wchar_t* kSwitch[] = {L"Off", L"On", nullptr};
constexpr const wchar_t* kXModes[] = {L"Off", L"Above", L"Below", L"Both", nullptr};
constexpr const wchar_t* kYModes[] = {L"Off", L"Left", L"Right", L"Both", nullptr};
constexpr const wchar_t* kGridModes[] = {L"Off", L"X", L"Y", L"Both", nullptr};
constexpr const wchar_t* kLineStyles[] = {L"Solid", L"Dash", L"Dot", nullptr};
constexpr const wchar_t* kDrawStyles[] = {L"Lines", L"Points", L"Area", L"Steps", L"None", nullptr};
constexpr const wchar_t* kSymbols[] = {L"None",  L"Square",  L"Triangle", L"Circle",
                                       L"Cross", L"Diamond", nullptr};
constexpr const wchar_t* kScaleTypes[] = {L"label",     L"majortick", L"minortick",
                                          L"majorgrid", L"minorgrid", nullptr};
constexpr const wchar_t* kGraphTypes[] = {L"XYPlot",    L"Function",      L"Spectrogram", L"ColorSpectrogram",
                                          L"Waterfall", L"3DSpectrogram", L"Parameter",   L"Waveform",
                                          L"Signal",    L"Scatter",       nullptr};
constexpr int kGraphTypeFunction[] = {FUNC_XY,        FUNC_XY,        FUNC_SPECTROGRAM, FUNC_SPECTROGRAM,
                                      FUNC_WATERFALL, FUNC_WATERFALL, FUNC_PARAMETER,   FUNC_WAVEFORM,
                                      FUNC_WAVEFORM,  FUNC_SCATTER};
constexpr const wchar_t* kWindowModes[] = {L"NOWINDOW", L"HIDDEN", L"VISIBLE", L"ENABLED", nullptr};
constexpr const wchar_t* kWindowCommands[] = {L"MINIMIZED", L"RESTORED", L"MAXIMIZED", L"SHOW", nullptr};
constexpr const wchar_t* kDisplayKinds[] = {L"KVODefault", L"KVO",    L"Wave", L"SegmentDir",
                                            L"Dataset",    L"Viewer", nullptr};
constexpr int kXModeBits[] = {0, SIDE_ABOVE, SIDE_BELOW, SIDE_ABOVE | SIDE_BELOW};
constexpr int kYModeBits[] = {0, SIDE_LEFT, SIDE_RIGHT, SIDE_LEFT | SIDE_RIGHT};
constexpr int kZModeBits[] = {0, 16, 32, 48};
constexpr int kGridBits[] = {0, GRID_X, GRID_Y, GRID_X | GRID_Y};

bool Pick(const CKeywordTable& table, TextView word, const int* values, int& out) {
    if (IsSkip(word)) return false;
    const int i = table.Find(word, true);
    if (i < 0) return false;
    out = values[i];
    return true;
}
} // namespace

const CKeywordTable kColorWords(kColors);
const CKeywordTable kSwitchWords(kSwitch);
const CKeywordTable kXLabelModeWords(kXModes);
const CKeywordTable kYLabelModeWords(kYModes);
const CKeywordTable kZLabelModeWords(kYModes);
const CKeywordTable kGridModeWords(kGridModes);
const CKeywordTable kLineStyleWords(kLineStyles);
const CKeywordTable kDrawStyleWords(kDrawStyles);
const CKeywordTable kDrawSymbolWords(kSymbols);
const CKeywordTable kScaleTypeWords(kScaleTypes);
const CKeywordTable kGraphTypeWords(kGraphTypes);
const CKeywordTable kWindowModeWords(kWindowModes);
const CKeywordTable kWindowCommandWords(kWindowCommands);
const CKeywordTable kDisplayKindWords(kDisplayKinds);

const uint32_t kColorValues[16] = {0x000000, 0x800000, 0x008000, 0x808000, 0x000080, 0x800080,
                                   0x008080, 0x606060, 0xC0C0C0, 0xFF0000, 0x00FF00, 0xFFFF00,
                                   0x0000FF, 0xFF00FF, 0x00FFFF, 0xFFFFFF};

int GraphTypeOf(int word) {
    return word >= 0 && word < static_cast<int>(std::size(kGraphTypeFunction)) ? kGraphTypeFunction[word]
                                                                               : -1;
}

bool IsSkip(TextView word) {
    return word == L"*";
}

bool ReadColor(TextView word, uint32_t& color) {
    if (IsSkip(word) || word.empty()) return false;
    if (const int i = kColorWords.FindExact(word); i >= 0) {
        color = kColorValues[i];
        return true;
    }
    long long rgb[3];
    size_t start = 0;
    for (int part = 0; part < 3; ++part) {
        const size_t colon = word.find(L':', start);
        if ((part < 2) != (colon != TextView::npos)) return false;
        const TextView piece = word.substr(start, part < 2 ? colon - start : TextView::npos);
        if (!EvalInteger(piece, rgb[part]) || rgb[part] < 0 || rgb[part] > 255) return false;
        start = colon + 1;
    }
    color = RGB_(static_cast<int>(rgb[0]), static_cast<int>(rgb[1]), static_cast<int>(rgb[2]));
    return true;
}

const std::vector<Text>& SFontSource::List() {
    if (!m_loaded && env && env->MainWnd()) env->MainWnd()->FontFamilies(m_list);
    m_loaded = true;
    return m_list;
}

bool ReadFont(TextView word, SFontInfo& font, SFontSource& source) {
    if (IsSkip(word) || word.empty()) return false;
    SFontInfo out = font;
    const size_t c1 = word.find(L':');
    const TextView name = word.substr(0, c1);
    if (!name.empty() && name != L"*" && name != L"?") {
        long long index = 0;
        if (ParseWholeLong(name, index) && index >= 0 && index < static_cast<long long>(source.List().size()))
            out.name = source.List()[static_cast<size_t>(index)];
        else
            out.name = Text(name);
    }
    if (c1 != TextView::npos) {
        const size_t c2 = word.find(L':', c1 + 1);
        const TextView size = word.substr(c1 + 1, c2 == TextView::npos ? TextView::npos : c2 - c1 - 1);
        double points = 0;
        if (!size.empty() && size != L"*") {
            if (!EvalNumber(size, points) || points <= 0 || points > 1000) return false;
            out.tenths = static_cast<int>(points * 10 + 0.5);
        }
        if (c2 != TextView::npos) {
            out.style = 0;
            for (wchar_t ch : word.substr(c2 + 1)) {
                switch (UpperChar(ch)) {
                case L'B':
                    out.style |= FONT_BOLD;
                    break;
                case L'I':
                    out.style |= FONT_ITALIC;
                    break;
                case L'U':
                    out.style |= FONT_UNDERLINE;
                    break;
                default:
                    break;
                }
            }
        }
    }
    font = out;
    return true;
}

bool ReadSwitch(TextView word, bool& on) {
    static constexpr int kValues[] = {0, 1};
    int v = 0;
    if (!Pick(kSwitchWords, word, kValues, v)) return false;
    on = v != 0;
    return true;
}

bool ReadXMode(TextView word, int& mode) {
    return Pick(kXLabelModeWords, word, kXModeBits, mode);
}
bool ReadYMode(TextView word, int& mode) {
    return Pick(kYLabelModeWords, word, kYModeBits, mode);
}
bool ReadZMode(TextView word, int& mode) {
    return Pick(kZLabelModeWords, word, kZModeBits, mode);
}
bool ReadGridMode(TextView word, int& mode) {
    return Pick(kGridModeWords, word, kGridBits, mode);
}
bool ReadLineStyle(TextView word, int& style) {
    static constexpr int kValues[] = {LINE_SOLID, LINE_DASH, LINE_DOT};
    return Pick(kLineStyleWords, word, kValues, style);
}

bool ReadDrawStyle(TextView word, int& style, bool& steps) {
    static constexpr int kValues[] = {DRAW_LINES, DRAW_POINTS, DRAW_AREA, DRAW_LINES, DRAW_NONE};
    if (IsSkip(word)) return false;
    const int i = kDrawStyleWords.Find(word, true);
    if (i < 0) return false;
    style = kValues[i];
    steps = i == 3;
    return true;
}

int WaveDrawStyle(TextView word) {
    const int i = kDrawStyleWords.Find(word, true);
    return i == 2 ? WAVE_AREA : WAVE_LINES;
}

bool ReadSymbol(TextView word, int& symbol) {
    static constexpr int kValues[] = {SYMBOL_NONE,   SYMBOL_SQUARE, SYMBOL_TRIANGLE,
                                      SYMBOL_CIRCLE, SYMBOL_CROSS,  SYMBOL_DIAMOND};
    return Pick(kDrawSymbolWords, word, kValues, symbol);
}

bool ReadInteger(TextView word, long long& value) {
    return !IsSkip(word) && EvalInteger(word, value);
}

bool ReadNumber(TextView word, double& value) {
    return !IsSkip(word) && EvalNumber(word, value);
}
