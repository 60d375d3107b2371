// The status keys of a graph, read on the GUI thread.
#include "graphics/data_set.h"
#include "graphics/functions.h"
#include "graphics/graph_item.h"
#include "graphics/graph_words.h"
#include "graphics/sp_display.h"
#include "graphics/sp_graph.h"

namespace {
enum EGraphKey {
    KEY_FUNCTIONS,
    KEY_DISPLAY,
    KEY_INDEX,
    KEY_INPUTS,
    KEY_SEGMENTS,
    KEY_RANGE,
    KEY_ORIENTATION,
    KEY_VIEW,
    KEY_MODE,
    KEY_CURSORMODE,
    KEY_CURSORLIMIT,
};

// The GRAPHTYPE word of a function type.
const wchar_t* TypeWord(int type) {
    static constexpr const wchar_t* kWords[] = {L"XYPlot",   L"Parameter", L"Spectrogram",
                                                L"Waveform", L"Scatter",   L"Waterfall"};
    return type >= 0 && type < 6 ? kWords[type] : L"none";
}
} // namespace

void CSPGraph::StatusText(SGraphStatusQuery& q) const {
    Text& out = q.out;
    out.clear();
    int segments = 0;
    for (const SBand& b : m_bands) segments += static_cast<int>(b.segments.m_segments.size());
    int index = -1;
    if (m_display) {
        const std::vector<CSPGraph*> graphs = m_display->Graphs();
        for (size_t i = 0; i < graphs.size(); ++i)
            if (graphs[i] == this) index = static_cast<int>(i);
    }
    const CSPView& y = YView(UsedBands().front());
    long long arg = -1;
    const bool hasArg = !q.args.empty() && ParseWholeLong(Trim(q.args[0]), arg);
    switch (q.key) {
    case -1: {
        const CFunction* first = Function(0);
        out = Format(
            L"function=%s, display=%s, index=%d, inputs=%d, segments=%d, x=%.20lg..%.20lg, y=%.20lg..%.20lg",
            first ? TypeWord(first->Type()) : L"none", m_displayName.c_str(), index, Inputs(), segments,
            m_xView.Low(), m_xView.High(), y.Low(), y.High());
        break;
    }
    case KEY_FUNCTIONS: {
        if (!hasArg) {
            int n = 0;
            for (const auto& f : m_functions) n += f ? 1 : 0;
            out = IntText(n);
            break;
        }
        const CFunction* f = Function(static_cast<int>(arg));
        if (!f) break;
        double xl = 0, xh = 0, yl = 0, yh = 0;
        const auto& data = f->DataSet();
        if (data) data->Ranges(xl, xh, yl, yh);
        out = Format(L"%d %s %d %d %.20lg %.20lg %.20lg %.20lg", f->Type(), f->SourceName().c_str(),
                     f->Params().band, static_cast<int>(data ? data->Points() : 0), xl, xh, yl, yh);
        break;
    }
    case KEY_DISPLAY:
        out = m_displayName;
        break;
    case KEY_INDEX:
        out = IntText(index);
        break;
    case KEY_INPUTS:
        out = IntText(Inputs());
        break;
    case KEY_SEGMENTS:
        if (!hasArg) {
            out = IntText(segments);
        } else {
            long long i = arg;
            for (const SBand& b : m_bands) {
                if (i < static_cast<long long>(b.segments.m_segments.size())) {
                    if (i >= 0) {
                        const auto& s = b.segments.m_segments[static_cast<size_t>(i)];
                        out = Format(L"%.20lg %.20lg %s", s.begin, s.end, s.text.c_str());
                    }
                    break;
                }
                i -= static_cast<long long>(b.segments.m_segments.size());
            }
        }
        break;
    case KEY_RANGE:
        out = Format(L"%.20lg %.20lg %.20lg %.20lg", m_xView.Low(), m_xView.High(), y.Low(), y.High());
        break;
    case KEY_ORIENTATION:
        out = Format(L"%d %d", m_settings.orientation.angle, m_settings.orientation.flags);
        break;
    case KEY_VIEW:
        out = Format(L"%.20lg %.20lg %.20lg %.20lg %.20lg %.20lg", m_xView.ViewLow(), m_xView.ViewHigh(),
                     y.ViewLow(), y.ViewHigh(), m_zView.ViewLow(), m_zView.ViewHigh());
        break;
    case KEY_MODE:
        out = m_settings.overview                                ? L"overview"
              : !m_xView.IsWhole() || !y.IsWhole()               ? L"view"
              : (m_settings.x.rangeSet || m_settings.y.rangeSet) ? L"range"
                                                                 : L"none";
        break;
    case KEY_CURSORMODE:
        out = L"0"; // cursors come with the cursor layer
        break;
    case KEY_CURSORLIMIT:
    default:
        break;
    }
}
