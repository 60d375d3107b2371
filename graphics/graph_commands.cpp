// SET on a graph: the keywords in the order of their table. Settings
// keywords write the graph's working copy (committed by /A); X and Y connect
// data sources at once.
#include <cmath>

#include "graphics/data_source.h"
#include "graphics/display_proxy.h"
#include "graphics/functions.h"
#include "graphics/graph_item.h"
#include "graphics/graph_words.h"
#include "graphics/item_sources.h"
#include "graphics/settings_commands.h"
#include "graphics/sub_command_table.h"
#include "numeric/matrix.h"
#include "shell/error_table.h"
#include "shell/options.h"
#include "shell/shell.h"

namespace {

constexpr int kUnknownKeyword = 65;
constexpr int kNotSupported = 157;
constexpr int kNoWindow = 7;
constexpr int kBadMinMax = 336;

struct SGraphSet {
    CShell& shell;
    CGraphItem& item;
    CWords& args;
    COptions& options;
    GraphProxy& proxy;
    Text& result;

    bool Print() const { return HasOption(options, L"Pp"); }
    static int Code(size_t i) { return ArgumentError(static_cast<int>(i) + 2, false); }
    const Text* Arg(size_t i) const { return i < args.size() ? &args[i].text : nullptr; }
    // Argument i when given and not "*".
    const Text* Given(size_t i) const { return Arg(i) && !IsSkip(*Arg(i)) ? Arg(i) : nullptr; }
};

int WithSettings(SGraphSet& c, int (*words)(SSettingsWords&)) {
    SSPGraphSettings* s = c.proxy.WorkingSettings();
    if (!s) return kNoWindow;
    SFontSource fonts{&c.shell.Env()};
    SSettingsWords w{*s, c.args, 1, 3, c.Print(), fonts, HasOption(c.options, L"Ss")};
    return words(w);
}
int Axis(SGraphSet& c) {
    return WithSettings(c, &SetAxisWords);
}
int Frame(SGraphSet& c) {
    return WithSettings(c, &SetFrameWords);
}
int Markers(SGraphSet& c) {
    return WithSettings(c, &SetMarkersWords);
}
int BgColors(SGraphSet& c) {
    return WithSettings(c, &SetBgColorsWords);
}
int Legend(SGraphSet& c) {
    return WithSettings(c, &SetLegendWords);
}
int Title(SGraphSet& c) {
    return WithSettings(c, [](SSettingsWords& w) { return SetTitleWords(w); });
}

// A table's numbers as a data source; null when `name` is no table.
std::shared_ptr<CTableSource> TableSource(CShell& shell, const Text& name) {
    Matrix values;
    if (!ReadTableMatrix(shell, name, values)) return nullptr;
    return std::make_shared<CTableSource>(name, std::move(values));
}

int X(SGraphSet& c) {
    const Text* name = c.Given(1);
    std::shared_ptr<CTableSource> source;
    if (name && !name->empty()) {
        source = TableSource(c.shell, *name);
        if (!source) return SGraphSet::Code(1);
    }
    c.proxy.Request(GR_SET_X, source.get());
    return c.proxy.Served() ? 0 : kNoWindow;
}

// The settings from position 6 on, by function type.
struct STypeWords {
    SGraphSet& c;
    SSPFunctionParams& p;
    size_t at = 5; // args index of position 6

    const Text* Next() { return c.Given(at++); }
    size_t Last() const { return at - 1; }
};

int Colour(STypeWords& w, SColorPair& pair) {
    if (const Text* a = w.Next()) ReadColor(*a, pair.For(w.c.Print()));
    return 0;
}
int Style(STypeWords& w) {
    if (const SOption* f = FindOption(w.c.options, L"Ff")) {
        if (!ReadNumber(f->text, w.p.fillBase)) return 111;
        w.p.hasFillBase = true;
    }
    const Text* a = w.Next();
    return a && !ReadDrawStyle(*a, w.p.drawStyle, w.p.steps) ? SGraphSet::Code(w.Last()) : 0;
}
int LineStyle(STypeWords& w) {
    const Text* a = w.Next();
    return a && !ReadLineStyle(*a, w.p.lineStyle) ? SGraphSet::Code(w.Last()) : 0;
}
int Width(STypeWords& w) {
    long long v = 0;
    const Text* a = w.Next();
    if (!a) return 0;
    if (!ReadInteger(*a, v) || v < 0 || v > 4) return SGraphSet::Code(w.Last());
    w.p.lineWidth = static_cast<int>(v) + 1;
    return 0;
}
int Symbol(STypeWords& w) {
    const Text* a = w.Next();
    return a && !ReadSymbol(*a, w.p.symbol) ? SGraphSet::Code(w.Last()) : 0;
}
int AtLeast(STypeWords& w, int& value, long long minimum) {
    long long v = 0;
    const Text* a = w.Next();
    if (!a) return 0;
    if (!ReadInteger(*a, v) || v < minimum || v > 100000) return SGraphSet::Code(w.Last());
    value = static_cast<int>(v);
    return 0;
}

int XYWords(STypeWords& w) {
    int code = Colour(w, w.p.color);
    for (int (*step)(STypeWords&) : {&Style, &LineStyle, &Width, &Symbol})
        if (!code) code = step(w);
    return code;
}
int ParameterWords(STypeWords& w) {
    int code = AtLeast(w, w.p.symbolSize, 2);
    if (!code) code = XYWords(w);
    return code;
}
int WaveWords(STypeWords& w) {
    auto& p = static_cast<SSPWaveFunctionParams&>(w.p);
    int code = AtLeast(w, p.columns, 2);
    if (!code) code = Colour(w, p.color);
    if (!code)
        if (const Text* a = w.Next()) p.drawStyle = WaveDrawStyle(*a);
    if (!code)
        if (const Text* a = w.Next()) {
            long long v = 0;
            if (!ReadInteger(*a, v)) return SGraphSet::Code(w.Last());
            p.rolling = v != 0;
        }
    return code;
}
int SpectrogramWords(STypeWords& w) {
    auto& p = static_cast<SSPSpectrogramParams&>(w.p);
    int code = AtLeast(w, p.levels, 2);
    if (code) return code;
    double low = p.low, high = p.high;
    const Text* a = w.Next();
    if (a && !ReadNumber(*a, low)) return SGraphSet::Code(w.Last());
    const Text* b = w.Next();
    if (b && !ReadNumber(*b, high)) return SGraphSet::Code(w.Last());
    if (!(low < high)) return kBadMinMax;
    p.low = low;
    p.high = high;
    if (HasOption(w.c.options, L"Rr")) p.inverted = true;
    if (const Text* table = w.Next()) {
        Matrix rows;
        // A table that doesn't fit a palette leaves the palette alone, without a code.
        if (ReadTableMatrix(w.c.shell, *table, rows) && rows.Rows() >= 2 && rows.Rows() <= 256 &&
            rows.Cols() >= 3) {
            std::vector<uint32_t> palette;
            for (int r = 0; r < rows.Rows(); ++r) {
                auto channel = [&](int col) {
                    return static_cast<int>(std::clamp(rows(r, col), 0.0, 255.0));
                };
                palette.push_back(RGB_(channel(0), channel(1), channel(2)));
            }
            (w.c.Print() ? p.printPalette : p.screenPalette) = std::move(palette);
        }
    }
    return 0;
}
int WaterfallWords(STypeWords& w) {
    auto& p = static_cast<SSPWaterfallParams&>(w.p);
    int code = AtLeast(w, p.spectra, 2);
    if (!code) code = AtLeast(w, p.points, 2);
    if (!code) code = Colour(w, p.lineColor);
    if (!code) code = Colour(w, p.fillColor);
    if (!code) code = LineStyle(w);
    if (!code) code = Width(w);
    return code;
}

struct STypeRow {
    int type;
    int (*words)(STypeWords&);
};
constexpr STypeRow kTypeWords[] = {
    {FUNC_XY, &XYWords},         {FUNC_PARAMETER, &ParameterWords}, {FUNC_SPECTROGRAM, &SpectrogramWords},
    {FUNC_WAVEFORM, &WaveWords}, {FUNC_SCATTER, &XYWords},          {FUNC_WATERFALL, &WaterfallWords},
};

int Y(SGraphSet& c) {
    long long index = 0;
    if (!c.Arg(1) || !ReadInteger(*c.Arg(1), index) || index < 0 || index >= c.item.Inputs())
        return SGraphSet::Code(1);
    SFunctionRequest r;
    r.index = static_cast<int>(index);
    c.proxy.Request(GR_GET_FUNCTION, &r);
    if (!c.proxy.Served()) return kNoWindow;
    if (const Text* typeWord = c.Given(3)) {
        const int type = GraphTypeOf(kGraphTypeWords.Find(*typeWord, true));
        if (type < 0) return SGraphSet::Code(3);
        if (!r.params || r.params->Type() != type) r.params = MakeParams(type);
    }
    // A new function needs its type.
    if (!r.params) return SGraphSet::Code(3);
    r.params->band = 0;
    if (const Text* band = c.Given(4)) {
        long long b = 0;
        if (ReadInteger(*band, b) && b >= 1 && b <= 8) r.params->band = static_cast<int>(b);
    }
    STypeWords words{c, *r.params};
    for (const STypeRow& row : kTypeWords)
        if (row.type == r.params->Type())
            if (const int code = row.words(words)) return code;
    r.keepSource = true;
    if (const Text* source = c.Given(2)) {
        r.keepSource = false;
        if (auto table = TableSource(c.shell, *source)) {
            r.source = table;
        } else if (CShell::ItemEntry* e = c.shell.FindItem(*source, KIND_WAVE)) {
            int error = 0;
            r.source = CWaveSource::Open(*source, AsItem(e->value), error);
            if (!r.source) return error ? error : SGraphSet::Code(2);
        } else {
            return SGraphSet::Code(2);
        }
    }
    c.proxy.Request(GR_SET_FUNCTION, &r);
    return r.code;
}

// XScale, YScale: low, high, unit, number format, table of label positions; /I, /L, /V.
int ReadPositions(SGraphSet& c, const Text& table, std::vector<std::pair<int, double>>& out) {
    std::vector<std::vector<Text>> rows;
    if (!ReadTableCells(c.shell, table, rows)) return 1;
    out.clear();
    for (const auto& row : rows) {
        if (row.empty()) continue;
        const int type = kScaleTypeWords.Find(row[0], true);
        if (type < 0) continue;
        for (size_t i = 1; i < row.size(); ++i) {
            double v = 0;
            if (ReadNumber(row[i], v)) out.emplace_back(type, v);
        }
    }
    return 0;
}

// The graph's present range of an axis (for a view that must lie inside it).
bool CurrentRange(SGraphSet& c, int axis, double& low, double& high) {
    SGraphStatusQuery q;
    q.key = 5; // RANGE
    c.proxy.Request(GR_STATUS, &q);
    const std::vector<Text> parts = SplitBlanks(q.out);
    if (parts.size() < 4) return false;
    return ParseWholeDouble(parts[axis * 2], low) && ParseWholeDouble(parts[axis * 2 + 1], high);
}

int Scale(SGraphSet& c, SScaleSettings SSPGraphSettings::*member, uint64_t bit, int axis, bool clampView) {
    SSPGraphSettings* s = c.proxy.WorkingSettings();
    if (!s) return kNoWindow;
    SScaleSettings scale = s->*member;
    if (const SOption* v = FindOption(c.options, L"Vv")) {
        if (!v->text.empty() && UpperChar(v->text[0]) == L'R') {
            scale.viewSet = false;
        } else {
            double low = 0, high = 0, rl = 0, rh = 0;
            if (!c.Given(1) || !ReadNumber(*c.Arg(1), low)) return SGraphSet::Code(1);
            if (!c.Given(2) || !ReadNumber(*c.Arg(2), high)) return SGraphSet::Code(2);
            if (!(low < high)) return kBadMinMax;
            if (scale.rangeSet) {
                rl = scale.low;
                rh = scale.high;
            } else if (!CurrentRange(c, axis, rl, rh)) {
                return kNoWindow;
            }
            if (clampView) {
                low = std::max(low, rl);
                high = std::min(high, rh);
                if (!(low < high)) return kBadMinMax;
            } else if (low < rl || high > rh) {
                return kBadMinMax;
            }
            scale.viewSet = true;
            scale.viewLow = low;
            scale.viewHigh = high;
        }
    } else if (c.Given(1) || c.Given(2)) {
        double low = 0, high = 0;
        if (!c.Given(1) || !ReadNumber(*c.Arg(1), low)) return SGraphSet::Code(1);
        if (!c.Given(2) || !ReadNumber(*c.Arg(2), high)) return SGraphSet::Code(2);
        if (!(low < high) || !std::isfinite(low) || !std::isfinite(high)) return kBadMinMax;
        scale.rangeSet = true;
        scale.low = low;
        scale.high = high;
    }
    if (const Text* unit = c.Given(3)) scale.unit = *unit;
    if (const Text* format = c.Given(4)) scale.format = *format;
    if (const Text* table = c.Given(5))
        if (ReadPositions(c, *table, scale.positions)) return SGraphSet::Code(5);
    if (const SOption* i = FindOption(c.options, L"Ii")) {
        bool on = true;
        scale.inverted = i->text.empty() || (ReadSwitch(i->text, on) && on);
    }
    if (const SOption* l = FindOption(c.options, L"Ll")) {
        bool on = true;
        scale.logarithmic = l->text.empty() || (ReadSwitch(l->text, on) && on);
    }
    s->*member = scale;
    s->Mark(bit);
    return 0;
}
int XScale(SGraphSet& c) {
    return Scale(c, &SSPGraphSettings::x, SET_RANGE_X, 0, false);
}
int YScale(SGraphSet& c) {
    return Scale(c, &SSPGraphSettings::y, SET_RANGE_Y, 1, true);
}

int ZScale(SGraphSet& c) {
    SSPGraphSettings* s = c.proxy.WorkingSettings();
    if (!s) return kNoWindow;
    SScaleSettings z = s->z;
    auto intIn = [&](size_t i, int& out, long long lo, long long hi) {
        long long v = 0;
        if (!c.Given(i)) return 0;
        if (!ReadInteger(*c.Arg(i), v) || v < lo || v > hi) return SGraphSet::Code(i);
        out = static_cast<int>(v);
        return 0;
    };
    auto numberIn = [&](size_t i, double& out, double lo, double hi) {
        double v = 0;
        if (!c.Given(i)) return 0;
        if (!ReadNumber(*c.Arg(i), v) || v < lo || v > hi) return SGraphSet::Code(i);
        out = v;
        return 0;
    };
    if (c.Given(1) && !ReadZMode(*c.Arg(1), z.labelMode)) return SGraphSet::Code(1);
    double low = z.low, high = z.high;
    if (int code = numberIn(3, low, -HUGE_VAL, HUGE_VAL)) return code;
    if (int code = numberIn(4, high, -HUGE_VAL, HUGE_VAL)) return code;
    if (c.Given(3) || c.Given(4)) {
        if (!(low < high)) return kBadMinMax;
        z.rangeSet = true;
        z.low = low;
        z.high = high;
    }
    if (int code = intIn(5, z.levels, -1, 32)) return code;
    if (c.Given(6) && !ReadZMode(*c.Arg(6), z.labelMode2)) return SGraphSet::Code(6);
    if (c.Given(7) && !ReadSwitch(*c.Arg(7), z.on)) return SGraphSet::Code(7);
    if (c.Given(8)) z.unit = *c.Arg(8);
    if (int code = intIn(9, z.mode, 0, 1000)) return code;
    if (c.Given(10)) z.format = *c.Arg(10);
    if (int code = numberIn(11, z.number1, -1, 1)) return code;
    if (int code = numberIn(12, z.number2, 0, 1)) return code;
    if (c.Given(13) && ReadPositions(c, *c.Arg(13), z.positions)) return SGraphSet::Code(13);
    if (const SOption* v = FindOption(c.options, L"Vv")) {
        if (!v->text.empty() && UpperChar(v->text[0]) == L'R') {
            z.viewSet = false;
        } else if (c.Given(3) && c.Given(4)) {
            z.viewSet = true;
            z.viewLow = low;
            z.viewHigh = high;
        }
    }
    s->z = z;
    s->Mark(SET_RANGE_Z);
    return 0;
}

int Splitters(SGraphSet& c) {
    SSPGraphSettings* s = c.proxy.WorkingSettings();
    if (!s) return kNoWindow;
    unsigned mask = 0;
    for (size_t i = 1; i < c.args.size(); ++i) {
        long long band = 0;
        if (ReadInteger(c.args[i].text, band) && band >= 1 && band <= 8) mask |= 1u << (band - 1);
    }
    s->bands = mask ? mask : 1u;
    s->Mark(SET_BANDS);
    return 0;
}

int Orientation(SGraphSet& c) {
    if (c.args.size() < 3) return 2;
    if (c.args.size() > 3) return 3;
    SSPGraphSettings* s = c.proxy.WorkingSettings();
    if (!s) return kNoWindow;
    if (const Text* a = c.Given(1)) {
        long long angle = 0;
        if (!ReadInteger(*a, angle)) return SGraphSet::Code(1);
        if (angle >= 1 && angle <= 3)
            angle *= 90;
        else if (angle % 90 != 0)
            return SGraphSet::Code(1);
        s->orientation.angle = static_cast<int>(((angle % 360) + 360) % 360);
    }
    if (const Text* f = c.Given(2)) {
        long long flags = 0;
        if (!ReadInteger(*f, flags) || flags < 0 || flags > 3) return SGraphSet::Code(2);
        s->orientation.flags = static_cast<int>(flags);
    }
    s->Mark(SET_ORIENTATION | SET_RANGES);
    return 0;
}

int Overview(SGraphSet& c) {
    SSPGraphSettings* s = c.proxy.WorkingSettings();
    if (!s) return kNoWindow;
    bool on = !s->overview;
    if (c.Given(1) && !ReadSwitch(*c.Arg(1), on)) return SGraphSet::Code(1);
    s->overview = on;
    s->Mark(SET_OVERVIEW | SET_RANGES);
    return 0;
}

int PopupEntries(SGraphSet& c, SPopupRequest& r) {
    r.menu = c.args[1].text;
    if (HasOption(c.options, L"Tt")) {
        if (c.args.size() < 3) return 2;
        return ReadTableLines(c.shell, c.args[2].text, r.entries) ? 0 : SGraphSet::Code(2);
    }
    for (size_t i = 2; i < c.args.size(); ++i) r.entries.push_back(c.args[i].text);
    return 0;
}
int AddPopup(SGraphSet& c) {
    SPopupRequest r;
    if (const int code = PopupEntries(c, r)) return code;
    return static_cast<int>(c.proxy.Request(GR_ADD_POPUP, &r));
}
int SetPopup(SGraphSet& c) {
    SPopupRequest r;
    if (const int code = PopupEntries(c, r)) return code;
    return static_cast<int>(c.proxy.Request(GR_SET_POPUP, &r));
}
int DelPopup(SGraphSet& c) {
    SPopupRequest r;
    if (c.Arg(1)) r.menu = *c.Arg(1);
    c.proxy.Request(GR_DEL_POPUP, &r);
    return 0;
}

// Cursors, markers and printing belong to the cursor and print layers.
int Later(SGraphSet&) {
    return kNotSupported;
}

constexpr SSubCommand<SGraphSet> kGraphRows[] = {
    {L"X", &X, 0, L"A"},
    {L"Y", &Y, 1, L"AFPR"},
    {L"Axis", &Axis, 0, L"AP"},
    {L"Frame", &Frame, 0, L"AP"},
    {L"Markers", &Markers, 0, L"AP"},
    {L"BgColors", &BgColors, 0, L"AP"},
    {L"Legend", &Legend, 0, L"AP"},
    {L"Title", &Title, 0, L"APS"},
    {L"XScale", &XScale, 0, L"AILV"},
    {L"YScale", &YScale, 0, L"AILV"},
    {L"Splitters", &Splitters, 0, L"A"},
    {L"CursorMode", &Later, 0, L""},
    {L"CursorPosition", &Later, 0, L""},
    {L"PlayCursor", &Later, 0, L""},
    {L"AddPopup", &AddPopup, 1, L"T"},
    {L"SetPopup", &SetPopup, 1, L"T"},
    {L"DelPopup", &DelPopup, 0, L""},
    {L"DeletePopup", &DelPopup, 0, L""},
    {L"AddMarker", &Later, 0, L""},
    {L"DelMarker", &Later, 0, L""},
    {L"DeleteMarker", &Later, 0, L""},
    {L"Print", &Later, 0, L""},
    {L"ZScale", &ZScale, 0, L"AV"},
    {L"Orientation", &Orientation, 0, L"A"},
    {L"Overview", &Overview, 0, L"A"},
};
const CSubCommandTable<SGraphSet> kGraphTable(kGraphRows);

} // namespace

int GraphSet(CShell& shell, CGraphItem& item, CWords& args, COptions& options, Text& result) {
    if (args.empty()) return 2;
    const SSubCommand<SGraphSet>* row = kGraphTable.Find(args[0].text);
    if (!row) return kUnknownKeyword;
    if (static_cast<int>(args.size()) - 1 < row->minArgs) return 2;
    GraphProxy proxy(item.Slot());
    proxy.SetApply(HasOption(options, L"Aa"));
    SGraphSet context{shell, item, args, options, proxy, result};
    return row->handler(context);
}

std::vector<Text> GraphKeywords() {
    std::vector<Text> words;
    for (size_t i = 0; i < kGraphTable.Count(); ++i) words.emplace_back(kGraphTable.Row(i).keyword);
    return words;
}
