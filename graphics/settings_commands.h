// The settings keywords that displays and graphs share: Axis, Frame, Markers,
// BgColors, Legend and Title write the same fields of a settings record, the
// display's defaults or a graph's own. Arguments go by position; "*" skips one.
#pragma once

#include "graphics/graph_settings.h"
#include "graphics/graph_words.h"
#include "shell/words.h"

struct SSettingsWords {
    SSPGraphSettings& settings;
    const CWords& args;
    size_t first; // index in `args` of argument 1
    int position; // the position of argument 1 for error codes
    bool print;   // /P: the print value of a colour
    SFontSource& fonts;
    bool appendTitle = false; // Title /S

    size_t Count() const { return args.size() > first ? args.size() - first : 0; }
    // Argument n (from 1), or null when not given.
    const Text* Arg(size_t n) const {
        return first + n - 1 < args.size() ? &args[first + n - 1].text : nullptr;
    }
    int Code(size_t n) const;
};

int SetAxisWords(SSettingsWords& w);
int SetFrameWords(SSettingsWords& w);
int SetMarkersWords(SSettingsWords& w);
int SetBgColorsWords(SSettingsWords& w);
int SetLegendWords(SSettingsWords& w);
// Lines from argument 4 on; returns the last argument in `lastLine` (a display
// shows it as its window title).
int SetTitleWords(SSettingsWords& w, const Text** lastLine = nullptr);
