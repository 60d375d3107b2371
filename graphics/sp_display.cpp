#include "graphics/sp_display.h"

#include <QApplication>
#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QCursor>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QMimeData>
#include <QScreen>
#include <QStyle>
#include <QTimer>
#include <QUrl>

#include "graphics/graph_container.h"
#include "graphics/graph_requests.h"
#include "graphics/joystick.h"
#include "graphics/key_codes.h"
#include "graphics/sp_graph.h"
#include "graphics/sp_toolbar.h"
#include "shell/message_codes.h"
#include "shell/shell_env.h"

namespace {

constexpr const char* kClassNames[] = {"defaultDisplay", "kvoDisplay",     "fileDisplay",
                                       "segmentDisplay", "datasetDisplay", "viewerDisplay"};
constexpr QStyle::StandardPixmap kKindIcons[] = {
    QStyle::SP_DesktopIcon,        QStyle::SP_ComputerIcon,           QStyle::SP_MediaVolume,
    QStyle::SP_FileDialogListView, QStyle::SP_FileDialogDetailedView, QStyle::SP_FileDialogInfoView};
constexpr int kDefaultWidth = 640, kDefaultHeight = 480;
constexpr int kJoystickPeriod = 10; // ms
constexpr int kBadArgument3 = 66;

enum EMode { MODE_NOWINDOW = 0, MODE_HIDDEN = 1, MODE_VISIBLE = 2, MODE_ENABLED = 3 };
enum EState { STATE_MINIMIZED = 0, STATE_RESTORED = 1, STATE_MAXIMIZED = 2, STATE_SHOW = 3 };

struct SRequestRow {
    int code;
    void (CSPDisplay::*handler)(SRequestBlock&);
};

std::vector<Text> LocalPaths(const QMimeData* data) {
    std::vector<Text> paths;
    if (!data || !data->hasUrls()) return paths;
    for (const QUrl& url : data->urls())
        if (url.isLocalFile()) paths.push_back(url.toLocalFile().toStdWString());
    return paths;
}

} // namespace

// The message map: each request code and the function that serves it.
#define KVO_DISPLAY_ROW(code, fn)                                                                            \
    { code, &CSPDisplay::fn }

const char* CSPDisplay::ClassName(int kind) {
    return kind >= 0 && kind < static_cast<int>(std::size(kClassNames)) ? kClassNames[kind] : kClassNames[0];
}

CSPDisplay::CSPDisplay(const SDisplayCreate& create, QWidget* parentWindow)
    : QMainWindow(parentWindow, Qt::Window), m_sink(create.sink), m_env(create.env), m_style(create.style),
      m_kind(create.kind), m_dialogStyle(create.dialogStyle) {
    m_slot->target = this;
    setObjectName(ClassName(m_kind));
    setWindowIcon(QApplication::style()->standardIcon(kKindIcons[std::clamp(m_kind, 0, 5)]));
    setWindowTitle(QString::fromStdWString(create.title));
    setAcceptDrops(true);
    setFocusPolicy(Qt::StrongFocus);
    const int mode = m_style & STYLE_MODE_MASK;
    // Dialog-only windows have no graph container.
    if (mode == STYLE_GRAPHS || mode == STYLE_GRAPHS2) {
        m_container = new CSPGraphContainerWnd(this);
        setCentralWidget(m_container);
    } else {
        setCentralWidget(new QWidget(this));
    }
    if (create.dialogStyle) m_layout.dialogAlign = create.dialogStyle & STYLE_DIALOG_MASK;
    if (create.hasRect)
        setGeometry(create.rect[0], create.rect[1], std::max(20, create.rect[2]),
                    std::max(20, create.rect[3]));
    else
        resize(kDefaultWidth, kDefaultHeight);
    if (m_style & STYLE_JOYSTICK) StartJoystick();
}

CSPDisplay::~CSPDisplay() {
    Detach();
}

void CSPDisplay::Detach() {
    if (m_detached) return;
    m_detached = true;
    m_slot->gone = true;
    m_slot->target = nullptr;
    if (m_sink) m_sink->Clear();
    // The graphs go before the display's own members do.
    for (CSPGraph* g : Graphs()) {
        g->ForgetDisplay();
        g->Detach();
        delete g;
    }
    m_graphs.clear();
}

void CSPDisplay::StartJoystick() {
    m_joystick = std::make_unique<CJoystick>(
        [this](uint32_t mask) { m_sink->Post(MSG_JOYSTICKBUTTON, static_cast<intptr_t>(mask)); },
        [this](int pov) { m_sink->Post(MSG_JOYSTICKPOV, pov); });
    if (!m_joystick->OpenFirst()) {
        // No joystick on this machine: the display goes on without one.
        m_joystick.reset();
        m_style &= ~STYLE_JOYSTICK;
        return;
    }
    m_joystickTimer = new QTimer(this);
    connect(m_joystickTimer, &QTimer::timeout, this, [this] { m_joystick->Poll(); });
    m_joystickTimer->start(kJoystickPeriod);
}

void CSPDisplay::ServeRequest(int code, SRequestBlock& block) {
    static constexpr SRequestRow kMessageMap[] = {
        KVO_DISPLAY_ROW(DR_CLOSE, OnClose),
        KVO_DISPLAY_ROW(DR_WINDOW, OnWindow),
        KVO_DISPLAY_ROW(DR_GET_LAYOUT, OnGetLayout),
        KVO_DISPLAY_ROW(DR_COMMIT_LAYOUT, OnCommitLayout),
        KVO_DISPLAY_ROW(DR_GET_SETTINGS, OnGetSettings),
        KVO_DISPLAY_ROW(DR_COMMIT_SETTINGS, OnCommitSettings),
        KVO_DISPLAY_ROW(DR_SET_TITLE, OnSetTitle),
        KVO_DISPLAY_ROW(DR_SET_ACTIVE_GRAPH, OnSetActiveGraph),
        KVO_DISPLAY_ROW(DR_ADD_GRAPH, OnAddGraph),
        KVO_DISPLAY_ROW(DR_REMOVE_GRAPH, OnRemoveGraph),
        KVO_DISPLAY_ROW(DR_ADD_TOOLBAR, OnAddToolBar),
        KVO_DISPLAY_ROW(DR_DEL_TOOLBAR, OnDelToolBar),
        KVO_DISPLAY_ROW(DR_SET_TOOLBAR, OnSetToolBar),
        KVO_DISPLAY_ROW(DR_ADD_POPUP, OnAddPopup),
        KVO_DISPLAY_ROW(DR_SET_POPUP, OnSetPopup),
        KVO_DISPLAY_ROW(DR_DEL_POPUP, OnDelPopup),
        KVO_DISPLAY_ROW(DR_STATUS, OnStatus),
    };
    for (const SRequestRow& row : kMessageMap) {
        if (row.code == code) {
            (this->*row.handler)(block);
            return;
        }
    }
}

void CSPDisplay::OnClose(SRequestBlock&) {
    // The item is going: no more events for its shell, no more work for the graphs.
    Detach();
    if (QWidget* parent = parentWidget(); parent && parent->isWindow()) {
        parent->setEnabled(true);
        parent->activateWindow();
    }
    delete this;
}

void CSPDisplay::OnWindow(SRequestBlock& block) {
    const auto& f = *static_cast<SWindowForm*>(block.data);
    if (f.foreground) {
        raise();
        activateWindow();
    }
    switch (f.state) {
    case STATE_MINIMIZED:
        showMinimized();
        break;
    case STATE_RESTORED:
        showNormal();
        break;
    case STATE_MAXIMIZED:
        showMaximized();
        break;
    case STATE_SHOW:
        show();
        break;
    default:
        break;
    }
    if (f.center) {
        Center();
    } else if (f.has[0] || f.has[1] || f.has[2] || f.has[3]) {
        QRect r = geometry();
        if (f.has[0]) r.moveLeft(f.rect[0]);
        if (f.has[1]) r.moveTop(f.rect[1]);
        if (f.has[2]) r.setWidth(f.rect[2]);
        if (f.has[3]) r.setHeight(f.rect[3]);
        setGeometry(r);
    }
    if (f.dialogAlign >= 0) m_layout.dialogAlign = f.dialogAlign;
    if (f.mode >= 0) {
        m_mode = f.mode;
        setEnabled(f.mode == MODE_HIDDEN || f.mode == MODE_ENABLED);
        if (f.mode == MODE_NOWINDOW || f.mode == MODE_HIDDEN) {
            hide();
        } else if (!isVisible()) {
            show();
        }
        if (f.foreground && isVisible()) {
            raise();
            activateWindow();
        }
    }
}

void CSPDisplay::Center() {
    QRect area;
    if (QWidget* parent = parentWidget()) {
        area = parent->window()->geometry();
    } else {
        QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
        if (!screen) screen = QGuiApplication::primaryScreen();
        if (screen) area = screen->availableGeometry();
    }
    if (area.isEmpty()) return;
    QRect r = geometry();
    r.moveCenter(area.center());
    setGeometry(r);
}

void CSPDisplay::OnGetLayout(SRequestBlock& block) {
    if (!m_workLayout) {
        SSPDisplayLayout live = m_layout;
        // The grid knows what the user's splitters did since.
        if (m_container) {
            const SSPDisplayLayout& grid = m_container->Layout();
            live.rows = grid.rows;
            live.row = grid.row;
        }
        m_workLayout = std::make_shared<SSPDisplayLayout>(live);
    }
    *static_cast<std::shared_ptr<SSPDisplayLayout>*>(block.data) = m_workLayout;
}

void CSPDisplay::OnCommitLayout(SRequestBlock& block) {
    if (!m_workLayout || !block.args[0]) return;
    const SSPDisplayLayout layout = *m_workLayout;
    m_workLayout.reset();
    ApplyLayout(layout);
}

void CSPDisplay::ApplyLayout(const SSPDisplayLayout& layout) {
    const bool fullScreen = layout.fullScreen != m_layout.fullScreen;
    const bool onTop = layout.onTop != m_layout.onTop;
    m_layout = layout;
    if (onTop) SetOnTop(layout.onTop);
    if (fullScreen) SetFullScreen(layout.fullScreen);
    if (m_container) m_container->Apply(layout);
}

void CSPDisplay::SetFullScreen(bool on) {
    if (on) {
        m_normalGeometry = geometry();
        if (isVisible())
            showFullScreen();
        else
            setWindowState(windowState() | Qt::WindowFullScreen);
    } else {
        setWindowState(windowState() & ~Qt::WindowFullScreen);
        if (m_normalGeometry.isValid()) setGeometry(m_normalGeometry);
    }
}

void CSPDisplay::SetOnTop(bool on) {
    const bool visible = isVisible();
    setWindowFlag(Qt::WindowStaysOnTopHint, on);
    // Changing the flags takes the window off the screen.
    if (visible) show();
}

void CSPDisplay::OnGetSettings(SRequestBlock& block) {
    if (!m_workSettings) {
        m_workSettings = std::make_shared<SSPGraphSettings>(m_settings);
        m_workSettings->m_mask = 0;
    }
    *static_cast<std::shared_ptr<SSPGraphSettings>*>(block.data) = m_workSettings;
}

void CSPDisplay::OnCommitSettings(SRequestBlock& block) {
    if (!m_workSettings || !block.args[0]) return;
    std::shared_ptr<SSPGraphSettings> changes = std::move(m_workSettings);
    // Only the display's groups travel: a graph's own scales are not the display's to set.
    changes->m_mask &= SET_DISPLAY_GROUPS | SET_COLOR;
    if (!changes->m_mask) return;
    m_settings.Assign(*changes);
    m_settings.m_mask = 0;
    for (CSPGraph* g : Graphs()) g->PushSettings(*changes);
}

void CSPDisplay::OnSetTitle(SRequestBlock& block) {
    setWindowTitle(QString::fromStdWString(*static_cast<Text*>(block.data)));
}

void CSPDisplay::OnSetActiveGraph(SRequestBlock& block) {
    const WindowSlotPtr& slot = *static_cast<WindowSlotPtr*>(block.data);
    for (CSPGraph* g : Graphs())
        if (g->Slot() == slot) SetActiveGraph(g);
}

void CSPDisplay::SetActiveGraph(CSPGraph* graph) {
    CSPGraph* before = m_active;
    m_active = graph;
    if (before && before != graph) before->update();
    if (graph) graph->update();
}

std::vector<CSPGraph*> CSPDisplay::Graphs() const {
    std::vector<CSPGraph*> out;
    for (const QPointer<CSPGraph>& g : m_graphs)
        if (g) out.push_back(g);
    return out;
}

void CSPDisplay::GraphGone(CSPGraph* graph) {
    std::erase_if(m_graphs, [graph](const QPointer<CSPGraph>& g) { return !g || g == graph; });
    if (m_container) {
        for (int r = 0; r < m_layout.rows; ++r)
            for (int c = 0; c < 2; ++c)
                if (m_container->GraphAt(r, c) == graph) m_container->Place(r, c, nullptr);
    }
}

int CSPDisplay::WorkerCount() const {
    int n = 0;
    for (CSPGraph* g : Graphs()) n += g->WorkerCount();
    return n;
}

void CSPDisplay::OnAddGraph(SRequestBlock& block) {
    auto& create = *static_cast<SGraphCreate*>(block.data);
    if (!m_container || create.row < 0 || create.row >= m_container->Layout().rows) {
        create.code = 68;
        return;
    }
    if (!m_container->CellExists(create.row, create.column)) {
        create.code = 69;
        return;
    }
    if (m_container->GraphAt(create.row, create.column)) {
        create.code = 7; // a cell holds one graph
        return;
    }
    auto* graph = new CSPGraph(this, create);
    m_container->Place(create.row, create.column, graph);
    m_graphs.emplace_back(graph);
    graph->PushSettings(m_settings);
    if (!m_active) m_active = graph;
    create.slot = graph->Slot();
}

void CSPDisplay::OnRemoveGraph(SRequestBlock& block) {
    const WindowSlotPtr& slot = *static_cast<WindowSlotPtr*>(block.data);
    for (CSPGraph* g : Graphs()) {
        if (g->Slot() != slot) continue;
        if (m_active == g) m_active = nullptr;
        GraphGone(g);
        g->Detach();
        delete g;
        return;
    }
}

CSPToolBar* CSPDisplay::ToolBar(int index) const {
    for (CSPToolBar* t : m_toolBars)
        if (t->Index() == index) return t;
    return nullptr;
}

void CSPDisplay::OnAddToolBar(SRequestBlock& block) {
    const auto& r = *static_cast<SToolBarRequest*>(block.data);
    CSPToolBar* bar = ToolBar(r.index);
    if (!bar) {
        bar = new CSPToolBar(r.index, this, [this](int id, bool checkStyle, bool checked, const Text& text) {
            const uint32_t code = !checkStyle ? MSG_TBCOMMAND : checked ? MSG_TBCHECK : MSG_TBUNCHECK;
            m_sink->Post(code, id, std::make_unique<STextPayload>(text));
        });
        static constexpr Qt::ToolBarArea kAreas[] = {Qt::TopToolBarArea, Qt::BottomToolBarArea,
                                                     Qt::LeftToolBarArea, Qt::RightToolBarArea};
        addToolBar(kAreas[std::clamp(r.position, 0, 3)], bar);
        m_toolBars.push_back(bar);
    }
    if (!bar->SetButtons(r.buttons, r.bitmaps)) block.result = 67; // the picture of the buttons
}

void CSPDisplay::OnDelToolBar(SRequestBlock& block) {
    const auto& r = *static_cast<SToolBarRequest*>(block.data);
    CSPToolBar* bar = ToolBar(r.index);
    if (!bar) {
        block.result = kBadArgument3;
        return;
    }
    std::erase(m_toolBars, bar);
    removeToolBar(bar);
    delete bar;
}

void CSPDisplay::OnSetToolBar(SRequestBlock& block) {
    const auto& r = *static_cast<SToolBarRequest*>(block.data);
    for (wchar_t letter : r.letters) {
        if (letter == L'V' || letter == L'H') {
            CSPToolBar* bar = r.buttons.empty() ? nullptr : ToolBar(r.buttons[0]);
            if (!bar) {
                block.result = kBadArgument3;
                return;
            }
            addToolBar(letter == L'V' ? Qt::LeftToolBarArea : Qt::TopToolBarArea, bar);
            bar->setOrientation(letter == L'V' ? Qt::Vertical : Qt::Horizontal);
            bar->show();
            continue;
        }
        for (int id : r.buttons)
            for (CSPToolBar* bar : m_toolBars) bar->SetState(id, letter);
    }
}

void CSPDisplay::OnAddPopup(SRequestBlock& block) {
    const auto& r = *static_cast<SPopupRequest*>(block.data);
    block.result = m_popups.Add(r.menu, r.entries);
}

void CSPDisplay::OnSetPopup(SRequestBlock& block) {
    const auto& r = *static_cast<SPopupRequest*>(block.data);
    block.result = m_popups.Replace(r.menu, r.entries);
}

void CSPDisplay::OnDelPopup(SRequestBlock& block) {
    m_popups.Remove(static_cast<SPopupRequest*>(block.data)->menu);
}

void CSPDisplay::OnStatus(SRequestBlock& block) {
    StatusText(*static_cast<SStatusQuery*>(block.data));
}

// Events -----------------------------------------------------------------------

void CSPDisplay::keyPressEvent(QKeyEvent* event) {
    const intptr_t param = KeyParameter(*event);
    if (param) m_sink->Post(MSG_KEY, param);
    event->accept();
}

void CSPDisplay::wheelEvent(QWheelEvent* event) {
    m_sink->Post(MSG_WHEEL, WheelParameter(*event));
    event->accept();
}

void CSPDisplay::closeEvent(QCloseEvent* event) {
    // A display that a shell owns asks its shell; the macro decides.
    if (m_sink && m_sink->HasShell()) {
        m_sink->Post(MSG_CLOSE, 0);
        event->ignore();
        return;
    }
    event->accept();
    Detach();
    deleteLater();
}

void CSPDisplay::dragEnterEvent(QDragEnterEvent* event) {
    if (!LocalPaths(event->mimeData()).empty()) event->acceptProposedAction();
}

void CSPDisplay::dropEvent(QDropEvent* event) {
    const std::vector<Text> paths = LocalPaths(event->mimeData());
    if (paths.empty()) return;
    event->acceptProposedAction();
    m_sink->PostFiles(paths);
}

void CSPDisplay::contextMenuEvent(QContextMenuEvent* event) {
    QMenu* menu = m_popups.Build(this, [this](int param) { m_sink->Post(MSG_POPUP, param); });
    if (!menu) return;
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(event->globalPos());
}

CSPGraph* CSPDisplay::ActiveGraph() const {
    return m_active;
}
