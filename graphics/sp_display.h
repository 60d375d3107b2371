// CSPDisplay: the window of a display. It lives on the GUI thread, which
// serves the requests of shells (the message map in sp_display.cpp) and sends
// the window's events to the owning shell as posted messages: it never waits
// for a shell.
#pragma once

#include <QMainWindow>
#include <QPointer>
#include <memory>
#include <vector>

#include "graphics/display_layout.h"
#include "graphics/display_requests.h"
#include "graphics/graph_settings.h"
#include "graphics/popup_menus.h"

class CJoystick;
class CSPGraph;
class CSPGraphContainerWnd;
class CSPToolBar;
class QTimer;

class CSPDisplay : public QMainWindow, public IRequestTarget {
    Q_OBJECT

public:
    // The window class names of the display kinds, used as the windows' object names.
    static const char* ClassName(int kind);

    CSPDisplay(const SDisplayCreate& create, QWidget* parentWindow);
    ~CSPDisplay() override;

    void ServeRequest(int code, SRequestBlock& block) override;

    const WindowSlotPtr& Slot() const { return m_slot; }
    const EventSinkPtr& Sink() const { return m_sink; }
    CShellEnv* Env() const { return m_env; }
    CSPGraphContainerWnd* Container() const { return m_container; }
    const SSPDisplayLayout& Layout() const { return m_layout; }
    const SSPGraphSettings& Settings() const { return m_settings; }
    int Style() const { return m_style; }
    std::vector<CSPGraph*> Graphs() const;
    CSPGraph* ActiveGraph() const;
    void SetActiveGraph(CSPGraph* graph);
    // Background calculations still running for the display's functions.
    int WorkerCount() const;
    // Called by a graph as it goes.
    void GraphGone(CSPGraph* graph);
    const CPopupMenus& Popups() const { return m_popups; }

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    // Requests, one function each (the message map).
    void OnClose(SRequestBlock& block);
    void OnWindow(SRequestBlock& block);
    void OnGetLayout(SRequestBlock& block);
    void OnCommitLayout(SRequestBlock& block);
    void OnGetSettings(SRequestBlock& block);
    void OnCommitSettings(SRequestBlock& block);
    void OnSetTitle(SRequestBlock& block);
    void OnSetActiveGraph(SRequestBlock& block);
    void OnAddGraph(SRequestBlock& block);
    void OnRemoveGraph(SRequestBlock& block);
    void OnAddToolBar(SRequestBlock& block);
    void OnDelToolBar(SRequestBlock& block);
    void OnSetToolBar(SRequestBlock& block);
    void OnAddPopup(SRequestBlock& block);
    void OnSetPopup(SRequestBlock& block);
    void OnDelPopup(SRequestBlock& block);
    void OnStatus(SRequestBlock& block);

    void ApplyLayout(const SSPDisplayLayout& layout);
    void SetFullScreen(bool on);
    void SetOnTop(bool on);
    void Center();
    void StartJoystick();
    // The status key's text (display_window_status.cpp).
    void StatusText(SStatusQuery& query) const;
    Text ModeWord() const;
    CSPToolBar* ToolBar(int index) const;
    // Lets go of everything that reaches out: shell, workers, the slot.
    void Detach();

    WindowSlotPtr m_slot = std::make_shared<SWindowSlot>();
    EventSinkPtr m_sink;
    CShellEnv* m_env = nullptr;
    int m_style = 0;
    int m_kind = 0;
    int m_dialogStyle = 0;
    int m_mode = 1; // HIDDEN until a macro shows the window
    CSPGraphContainerWnd* m_container = nullptr;
    SSPDisplayLayout m_layout;
    std::shared_ptr<SSPDisplayLayout> m_workLayout;
    SSPGraphSettings m_settings;
    std::shared_ptr<SSPGraphSettings> m_workSettings;
    std::vector<QPointer<CSPGraph>> m_graphs;
    QPointer<CSPGraph> m_active;
    std::vector<CSPToolBar*> m_toolBars;
    CPopupMenus m_popups;
    std::unique_ptr<CJoystick> m_joystick;
    QTimer* m_joystickTimer = nullptr;
    QRect m_normalGeometry;
    bool m_detached = false;
};
