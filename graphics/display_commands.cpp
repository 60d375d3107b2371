// SET on a display: the window form, and the keywords in the order of their
// table. Layout and settings keywords write the working copies; /A commits
// them when the command ends.
#include <cmath>

#include "graphics/display_item.h"
#include "graphics/display_proxy.h"
#include "graphics/graph_item.h"
#include "graphics/graph_words.h"
#include "graphics/item_sources.h"
#include "graphics/settings_commands.h"
#include "graphics/sub_command_table.h"
#include "shell/error_table.h"
#include "shell/options.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {

constexpr int kHeightsZero = 199;
constexpr int kBadWidth = 456;
constexpr int kUnknownKeyword = 65;
constexpr int kNotSupported = 157;
constexpr int kNoWindow = 7;

struct SDisplaySet {
    CShell& shell;
    CDisplayItem& item;
    CWords& args; // args[0] is the keyword
    COptions& options;
    DisplayProxy& proxy;
    Text& result;

    bool Print() const { return HasOption(options, L"Pp"); }
    // The code of a bad args[i]: the item's name is the first word.
    static int Code(size_t i) { return ArgumentError(static_cast<int>(i) + 2, false); }
    const Text* Arg(size_t i) const { return i < args.size() ? &args[i].text : nullptr; }
};

int WithSettings(SDisplaySet& c, int (*words)(SSettingsWords&)) {
    SSPGraphSettings* s = c.proxy.WorkingSettings();
    if (!s) return kNoWindow;
    SFontSource fonts{&c.shell.Env()};
    SSettingsWords w{*s, c.args, 1, 3, c.Print(), fonts};
    return words(w);
}

int Height(SDisplaySet& c) {
    SSPDisplayLayout* layout = c.proxy.WorkingLayout();
    if (!layout) return kNoWindow;
    double weights[kMaxRows];
    double sum = 0;
    for (int r = 0; r < layout->rows; ++r) {
        weights[r] = 1.0;
        const Text* a = c.Arg(static_cast<size_t>(r) + 1);
        if (a && !IsSkip(*a) && (!ReadNumber(*a, weights[r]) || weights[r] < 0 || !std::isfinite(weights[r])))
            return r > 29 ? 4 : 66 + r;
        sum += weights[r];
    }
    if (sum <= 0) return kHeightsZero;
    double running = 0;
    for (int r = 0; r < layout->rows; ++r) {
        running += weights[r];
        layout->row[r].bottom = r + 1 == layout->rows ? 1.0 : running / sum;
    }
    return 0;
}

int Width(SDisplaySet& c) {
    SSPDisplayLayout* layout = c.proxy.WorkingLayout();
    if (!layout) return kNoWindow;
    long long row = -1;
    const bool all = !c.Arg(1) || !ReadInteger(*c.Arg(1), row);
    if (!all && (row < 0 || row >= layout->rows || !layout->row[row].twoColumns)) return SDisplaySet::Code(1);
    double left = 1.0, right = 1.0;
    if (c.Arg(2) && !IsSkip(*c.Arg(2)) && (!ReadNumber(*c.Arg(2), left) || left < 0))
        return SDisplaySet::Code(2);
    if (c.Arg(3) && !IsSkip(*c.Arg(3)) && (!ReadNumber(*c.Arg(3), right) || right < 0))
        return SDisplaySet::Code(3);
    if (left + right <= 0) return kBadWidth;
    for (int r = 0; r < layout->rows; ++r)
        if (layout->row[r].twoColumns && (all || r == row)) layout->row[r].leftRatio = left / (left + right);
    return 0;
}

int Axis(SDisplaySet& c) {
    return WithSettings(c, &SetAxisWords);
}
int Frame(SDisplaySet& c) {
    return WithSettings(c, &SetFrameWords);
}
int Markers(SDisplaySet& c) {
    return WithSettings(c, &SetMarkersWords);
}
int BgColors(SDisplaySet& c) {
    return WithSettings(c, &SetBgColorsWords);
}
int Legend(SDisplaySet& c) {
    return WithSettings(c, &SetLegendWords);
}

int Title(SDisplaySet& c) {
    SSPGraphSettings* s = c.proxy.WorkingSettings();
    if (!s) return kNoWindow;
    SFontSource fonts{&c.shell.Env()};
    SSettingsWords w{*s, c.args, 1, 3, c.Print(), fonts, HasOption(c.options, L"Ss")};
    const Text* last = nullptr;
    if (const int code = SetTitleWords(w, &last)) return code;
    // The last argument is the window's own title, at once.
    if (last) {
        Text title = *last;
        c.proxy.Request(DR_SET_TITLE, &title);
    }
    return 0;
}

int Print(SDisplaySet&) {
    return kNotSupported; // printing and export come with the print layer
}

int Graph(SDisplaySet& c) {
    const Text* name = c.Arg(1);
    if (!name || name->empty() || IsSkip(*name)) return 0;
    CGraphItem* graph = FindGraphItem(c.shell, *name);
    if (!graph || graph->Display() != c.item.Slot()) return SDisplaySet::Code(1);
    c.proxy.Request(DR_SET_ACTIVE_GRAPH, const_cast<WindowSlotPtr*>(&graph->Slot()));
    return 0;
}

int AddToolBar(SDisplaySet& c) {
    SToolBarRequest r;
    long long index = 0;
    if (!ReadInteger(c.args[1].text, index) || index < 0) return SDisplaySet::Code(1);
    r.index = static_cast<int>(index);
    static constexpr const wchar_t* kPositions[] = {L"Top", L"Bottom", L"Left", L"Right", nullptr};
    static const CKeywordTable kPositionWords(kPositions);
    r.position = std::max(0, kPositionWords.Find(c.args[2].text, true));
    r.bitmaps = c.args[3].text;
    for (size_t i = 4; i < c.args.size(); ++i) {
        long long id = 0;
        if (c.args[i].text == L"*")
            r.buttons.push_back(-1);
        else if (!ReadInteger(c.args[i].text, id) || id < 0)
            return SDisplaySet::Code(i);
        else
            r.buttons.push_back(static_cast<int>(id));
    }
    return static_cast<int>(c.proxy.Request(DR_ADD_TOOLBAR, &r));
}

int SetToolBar(SDisplaySet& c) {
    SToolBarRequest r;
    for (const SOption& o : c.options)
        if (Text(L"EDCUBSVH").find(UpperChar(o.letter)) != Text::npos) r.letters += UpperChar(o.letter);
    for (size_t i = 1; i < c.args.size(); ++i) {
        long long id = 0;
        if (ReadInteger(c.args[i].text, id)) r.buttons.push_back(static_cast<int>(id));
    }
    return static_cast<int>(c.proxy.Request(DR_SET_TOOLBAR, &r));
}

int DelToolBar(SDisplaySet& c) {
    SToolBarRequest r;
    long long index = 0;
    if (!c.Arg(1) || !ReadInteger(*c.Arg(1), index) || index < 0) return SDisplaySet::Code(1);
    r.index = static_cast<int>(index);
    return static_cast<int>(c.proxy.Request(DR_DEL_TOOLBAR, &r));
}

// The entries of a popup: the words, or with /T the rows of a table.
int PopupEntries(SDisplaySet& c, SPopupRequest& r) {
    r.menu = c.args[1].text;
    if (HasOption(c.options, L"Tt")) {
        if (c.args.size() < 3) return 2;
        if (!ReadTableLines(c.shell, c.args[2].text, r.entries)) return SDisplaySet::Code(2);
        return 0;
    }
    for (size_t i = 2; i < c.args.size(); ++i) r.entries.push_back(c.args[i].text);
    return 0;
}

int AddPopup(SDisplaySet& c) {
    SPopupRequest r;
    if (const int code = PopupEntries(c, r)) return code;
    return static_cast<int>(c.proxy.Request(DR_ADD_POPUP, &r));
}

int SetPopup(SDisplaySet& c) {
    SPopupRequest r;
    if (const int code = PopupEntries(c, r)) return code;
    return static_cast<int>(c.proxy.Request(DR_SET_POPUP, &r));
}

int DelPopup(SDisplaySet& c) {
    SPopupRequest r;
    if (c.Arg(1)) r.menu = *c.Arg(1);
    return static_cast<int>(c.proxy.Request(DR_DEL_POPUP, &r));
}

// FullScreen and OnTop: a switch, or a toggle without one.
int LayoutSwitch(SDisplaySet& c, bool SSPDisplayLayout::*flag) {
    SSPDisplayLayout* layout = c.proxy.WorkingLayout();
    if (!layout) return kNoWindow;
    bool on = !(layout->*flag);
    if (c.Arg(1) && !IsSkip(*c.Arg(1)) && !ReadSwitch(*c.Arg(1), on)) return SDisplaySet::Code(1);
    layout->*flag = on;
    return 0;
}
int FullScreen(SDisplaySet& c) {
    return LayoutSwitch(c, &SSPDisplayLayout::fullScreen);
}
int OnTop(SDisplaySet& c) {
    return LayoutSwitch(c, &SSPDisplayLayout::onTop);
}

constexpr SSubCommand<SDisplaySet> kDisplayRows[] = {
    {L"Height", &Height, 0, L"A"},
    {L"Width", &Width, 0, L"A"},
    {L"Axis", &Axis, 0, L"AP"},
    {L"Frame", &Frame, 0, L"AP"},
    {L"Markers", &Markers, 0, L"AP"},
    {L"Bgcolors", &BgColors, 0, L"AP"},
    {L"Legend", &Legend, 0, L"AP"},
    {L"Title", &Title, 0, L"APS"},
    {L"Print", &Print, 0, L""},
    {L"Graph", &Graph, 0, L""},
    {L"AddToolBar", &AddToolBar, 4, L""},
    {L"SetToolBar", &SetToolBar, 0, L"EDCUBSVH"},
    {L"DelToolBar", &DelToolBar, 0, L""},
    {L"DeleteToolBar", &DelToolBar, 0, L""},
    {L"AddPopup", &AddPopup, 1, L"T"},
    {L"SetPopup", &SetPopup, 1, L"T"},
    {L"DelPopup", &DelPopup, 0, L""},
    {L"DeletePopup", &DelPopup, 0, L""},
    // Beyond the classic list: the layout's full-screen and on-top flags.
    {L"FullScreen", &FullScreen, 0, L"A"},
    {L"OnTop", &OnTop, 0, L"A"},
};
const CSubCommandTable<SDisplaySet> kDisplayTable(kDisplayRows);

// SET display mode state x y width height, with /C /F /D /V.
int WindowForm(CShell&, CDisplayItem& item, CWords& args, COptions& options) {
    SWindowForm form;
    if (!IsSkip(args[0].text)) form.mode = kWindowModeWords.Find(args[0].text, true);
    if (args.size() > 1 && !IsSkip(args[1].text) && !args[1].text.empty()) {
        form.state = kWindowCommandWords.Find(args[1].text, true);
        if (form.state < 0) return SDisplaySet::Code(1);
    }
    for (size_t k = 0; k < 4 && k + 2 < args.size(); ++k) {
        long long v = 0;
        if (!ReadInteger(args[k + 2].text, v)) continue;
        // A width or a height below 20 keeps the present one.
        if (k >= 2 && v < 20) continue;
        form.has[k] = true;
        form.rect[k] = static_cast<int>(v);
    }
    form.center = HasOption(options, L"Cc");
    form.foreground = HasOption(options, L"Ff");
    const SOption* d = FindOption(options, L"Dd");
    if (!d) d = FindOption(options, L"Vv");
    if (d && !d->text.empty()) {
        switch (UpperChar(d->text[0])) {
        case L'A':
            form.dialogAlign = 0;
            form.dialogFlags = 1;
            break;
        case L'B':
            form.dialogAlign = 16;
            break;
        case L'L':
            form.dialogAlign = 32;
            break;
        case L'R':
            form.dialogAlign = 64;
            break;
        case L'F':
            form.dialogFlags = 2;
            break;
        case L'W':
            form.dialogFlags = 4;
            break;
        default:
            break;
        }
    }
    CRequestProxy proxy(item.Slot());
    proxy.Request(DR_WINDOW, &form);
    return proxy.Served() ? 0 : kNoWindow;
}

} // namespace

int DisplaySet(CShell& shell, CDisplayItem& item, CWords& args, COptions& options, Text& result) {
    if (args.empty()) return 2;
    const TextView first = args[0].text;
    if (IsSkip(first) || kWindowModeWords.Find(first, true) >= 0)
        return WindowForm(shell, item, args, options);
    const SSubCommand<SDisplaySet>* row = kDisplayTable.Find(first);
    if (!row) return kUnknownKeyword;
    if (static_cast<int>(args.size()) - 1 < row->minArgs) return 2;
    DisplayProxy proxy(item.Slot());
    proxy.SetApply(HasOption(options, L"Aa"));
    SDisplaySet context{shell, item, args, options, proxy, result};
    return row->handler(context);
}

std::vector<Text> DisplayKeywords() {
    std::vector<Text> words;
    for (size_t i = 0; i < kDisplayTable.Count(); ++i) words.emplace_back(kDisplayTable.Row(i).keyword);
    return words;
}
