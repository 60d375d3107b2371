// The status keys of a display, read on the GUI thread where the live window is.
#include "graphics/display_item.h"
#include "graphics/graph_container.h"
#include "graphics/graph_words.h"
#include "graphics/sp_display.h"
#include "graphics/sp_graph.h"

namespace {
enum EStatusKey {
    KEY_MODE,
    KEY_STYLE,
    KEY_WINDOW,
    KEY_TITLE,
    KEY_NROWS,
    KEY_NCOLS,
    KEY_HROWS,
    KEY_WCOLS,
    KEY_GRAPHS,
    KEY_ACTIVEGRAPH,
    KEY_FULLSCREEN,
    KEY_DIALOGITEM,
    KEY_DIALOGMODE,
    KEY_DIALOGALIGN,
    KEY_ONTOP,
    KEY_FOREGROUND,
};

const wchar_t* StyleWord(int style) {
    switch (style & STYLE_MODE_MASK) {
    case STYLE_DIALOG:
        return L"D";
    case STYLE_MODAL:
        return L"M";
    default:
        return L"F";
    }
}

const wchar_t* AlignWord(int align) {
    switch (align) {
    case ALIGN_ABOVE:
        return L"Above";
    case ALIGN_LEFT:
        return L"Left";
    case ALIGN_RIGHT:
        return L"Right";
    default:
        return L"Below";
    }
}
} // namespace

Text CSPDisplay::ModeWord() const {
    return kWindowModeWords.Word(static_cast<size_t>(std::clamp(m_mode, 0, 3)));
}

void CSPDisplay::StatusText(SStatusQuery& q) const {
    const std::vector<CSPGraph*> graphs = Graphs();
    const Text title = windowTitle().toStdWString();
    const Text window = isMinimized() ? L"MINIMIZED" : isMaximized() ? L"MAXIMIZED" : L"RESTORED";
    const Text active = m_active ? m_active->Name() : Text(L"none");
    Text& out = q.out;
    out.clear();
    const int rows = m_container ? m_container->Layout().rows : 0;
    switch (q.key) {
    case -1:
        out = Format(L"mode=%s, style=%s, window=%s, caption=\"%s\", graphs=%d, active=%s, dialog=%s",
                     ModeWord().c_str(), StyleWord(m_style), window.c_str(), title.c_str(),
                     static_cast<int>(graphs.size()), active.c_str(), L"none");
        break;
    case KEY_MODE:
        out = ModeWord();
        break;
    case KEY_STYLE:
        out = StyleWord(m_style);
        break;
    case KEY_WINDOW:
        out = window;
        break;
    case KEY_TITLE:
        out = title;
        break;
    case KEY_NROWS:
        out = IntText(rows);
        break;
    case KEY_NCOLS:
        for (int r = 0; r < rows; ++r) out += m_container->Layout().row[r].twoColumns ? L"2 " : L"1 ";
        break;
    case KEY_HROWS:
        if (m_container)
            for (double share : m_container->RowShares()) out += Format(L"%.20lg ", share);
        break;
    case KEY_WCOLS:
        if (m_container)
            for (double share : m_container->ColumnShares()) out += Format(L"%lg ", share);
        break;
    case KEY_GRAPHS: {
        long long index = -1;
        if (q.args.empty() || !ParseWholeLong(Trim(q.args[0]), index)) {
            out = IntText(static_cast<long long>(graphs.size()));
        } else if (index >= 0 && index < static_cast<long long>(graphs.size())) {
            const CSPGraph* g = graphs[static_cast<size_t>(index)];
            out = Format(L"%s %d %d", g->Name().c_str(), g->Row(), g->Column());
        }
        break;
    }
    case KEY_ACTIVEGRAPH:
        out = active;
        break;
    case KEY_FULLSCREEN:
        out = m_layout.fullScreen ? L"1" : L"0";
        break;
    case KEY_DIALOGITEM:
    case KEY_DIALOGMODE:
        break; // no dialog is embedded
    case KEY_DIALOGALIGN:
        out = AlignWord(m_layout.dialogAlign);
        break;
    case KEY_ONTOP:
        out = m_layout.onTop ? L"1" : L"0";
        break;
    case KEY_FOREGROUND:
        out = isActiveWindow() ? L"1" : L"0";
        break;
    default:
        break;
    }
}
