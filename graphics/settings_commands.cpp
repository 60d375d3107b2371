#include "graphics/settings_commands.h"

#include "shell/error_table.h"

int SSettingsWords::Code(size_t n) const {
    return ArgumentError(position + static_cast<int>(n) - 1, false);
}

namespace {

// Reads argument n with `read` when given and not "*": 0, or the position's code.
template <class Read> int Take(SSettingsWords& w, size_t n, uint64_t bit, Read read) {
    const Text* a = w.Arg(n);
    if (!a || IsSkip(*a)) return 0;
    if (!read(*a)) return w.Code(n);
    w.settings.Mark(bit);
    return 0;
}

// Colours never fail: a word that is no colour leaves the value.
void TakeColor(SSettingsWords& w, size_t n, uint64_t bit, SColorPair& pair) {
    const Text* a = w.Arg(n);
    if (a && ReadColor(*a, pair.For(w.print))) w.settings.Mark(bit | SET_COLOR);
}

int TakeFont(SSettingsWords& w, size_t n, uint64_t bit, SFontInfo& font) {
    return Take(w, n, bit, [&](const Text& a) { return ReadFont(a, font, w.fonts); });
}

int TakeSwitch(SSettingsWords& w, size_t n, uint64_t bit, bool& on) {
    return Take(w, n, bit, [&](const Text& a) { return ReadSwitch(a, on); });
}

int TakeInt(SSettingsWords& w, size_t n, uint64_t bit, int& value, long long low, long long high) {
    return Take(w, n, bit, [&](const Text& a) {
        long long v = 0;
        if (!ReadInteger(a, v) || v < low || v > high) return false;
        value = static_cast<int>(v);
        return true;
    });
}

int TakeDouble(SSettingsWords& w, size_t n, uint64_t bit, double& value) {
    return Take(w, n, bit, [&](const Text& a) { return ReadNumber(a, value); });
}

// The first failing code of a list of steps, all steps run in order up to it.
template <class... Steps> int First(Steps... codes) {
    int result = 0;
    ((result = result ? result : codes), ...);
    return result;
}

} // namespace

int SetAxisWords(SSettingsWords& w) {
    auto& s = w.settings;
    auto& l = s.labels;
    auto& t = s.axisTitle;
    int code = Take(w, 1, SET_LABELS, [&](const Text& a) { return ReadXMode(a, l.xMode); });
    if (!code) code = Take(w, 2, SET_LABELS, [&](const Text& a) { return ReadYMode(a, l.yMode); });
    if (!code) TakeColor(w, 3, SET_LABELS, l.color);
    if (!code) code = TakeFont(w, 4, SET_LABELS, l.font);
    if (!code) code = Take(w, 5, SET_AXISTITLE, [&](const Text& a) { return ReadXMode(a, t.xMode); });
    if (!code) code = Take(w, 6, SET_AXISTITLE, [&](const Text& a) { return ReadYMode(a, t.yMode); });
    if (!code) TakeColor(w, 7, SET_AXISTITLE, t.color);
    if (!code) code = TakeFont(w, 8, SET_AXISTITLE, t.font);
    if (!code) code = TakeSwitch(w, 9, SET_LABELS, l.xVisible);
    if (!code) code = TakeSwitch(w, 10, SET_LABELS, l.yVisible);
    if (!code) code = TakeDouble(w, 11, SET_AXISTITLE, t.offsetX);
    if (!code) code = TakeDouble(w, 12, SET_AXISTITLE, t.offsetY);
    // A title mode that shows a side makes the axis titles visible.
    if (!code && (w.Arg(5) || w.Arg(6))) t.visible = (t.xMode | t.yMode) != 0;
    return code;
}

int SetFrameWords(SSettingsWords& w) {
    auto& f = w.settings.frame;
    auto& g = w.settings.grid;
    int code = Take(w, 1, SET_FRAME, [&](const Text& a) { return ReadXMode(a, f.xMode); });
    if (!code) code = Take(w, 2, SET_FRAME, [&](const Text& a) { return ReadYMode(a, f.yMode); });
    if (!code) TakeColor(w, 3, SET_GRID, g.major.color);
    if (!code) code = Take(w, 4, SET_GRID, [&](const Text& a) { return ReadGridMode(a, g.mode); });
    if (!code) TakeColor(w, 5, SET_GRID, g.minor.color);
    if (!code) code = TakeInt(w, 6, SET_FRAME, f.tickMajor, 0, 32);
    if (!code) code = TakeInt(w, 7, SET_FRAME, f.tickMinor, 0, 32);
    if (!code) code = TakeInt(w, 8, SET_FRAME, f.majorCount, 0, 100);
    if (!code) code = TakeInt(w, 9, SET_FRAME, f.minorX, 0, 100);
    return code;
}

int SetMarkersWords(SSettingsWords& w) {
    auto& m = w.settings.markers;
    auto& c = w.settings.cursors;
    int code = TakeSwitch(w, 1, SET_MARKERS, m.bar);
    if (!code) code = TakeSwitch(w, 2, SET_MARKERS, m.caption);
    if (!code) code = TakeFont(w, 3, SET_MARKERS, m.font);
    if (!code) TakeColor(w, 4, SET_MARKERS, m.color);
    if (!code) code = TakeFont(w, 5, SET_SEGMENTS, w.settings.segments.font);
    if (!code) TakeColor(w, 6, SET_CURSORS, c.color);
    if (!code) TakeColor(w, 7, SET_CURSORS, c.color2);
    if (!code) TakeColor(w, 8, SET_CURSORS, c.color3);
    return code;
}

int SetBgColorsWords(SSettingsWords& w) {
    TakeColor(w, 1, SET_BACKGROUND, w.settings.bg.background);
    TakeColor(w, 2, SET_BACKGROUND, w.settings.bg.plot);
    return 0;
}

int SetLegendWords(SSettingsWords& w) {
    auto& l = w.settings.legend;
    int code = TakeSwitch(w, 1, SET_LEGEND, l.visible);
    if (!code) code = TakeFont(w, 2, SET_LEGEND, l.font);
    if (!code) TakeColor(w, 3, SET_LEGEND, l.color);
    return code;
}

int SetTitleWords(SSettingsWords& w, const Text** lastLine) {
    auto& t = w.settings.title;
    int code = TakeSwitch(w, 1, SET_TITLE, t.visible);
    if (!code) code = TakeFont(w, 2, SET_TITLE, t.font);
    if (!code) TakeColor(w, 3, SET_TITLE, t.color);
    if (code || w.Count() < 4) return code;
    if (!w.appendTitle) t.lines.clear();
    for (size_t n = 4; n <= w.Count(); ++n) t.lines.push_back(*w.Arg(n));
    w.settings.Mark(SET_TITLE);
    if (lastLine) *lastLine = w.Arg(w.Count());
    return 0;
}
