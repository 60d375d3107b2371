// CMainDialog: the program's one window of its own. It shows the log, hosts
// the menu bar that the master macro defines, and passes what happens to the
// window (minimise, close, dropped files, menu clicks) on to the shell named
// by the global MASTER. Shells reach it from their threads only through
// IMainWindow, whose calls are queued to the GUI thread; the window never
// waits on a shell.
#pragma once

#include <QMainWindow>
#include <functional>
#include <memory>
#include <vector>

#include "shell/log_list.h"
#include "shell/main_window.h"

class QListWidget;
class QMenu;
class CShell;
class CShellEnv;

class CConsoleLine;

class CMainDialog : public QMainWindow, public IMainWindow {
    Q_OBJECT

public:
    // Menu items are numbered from here, counting every item that is no separator.
    static constexpr int kFirstMenuId = 1100;

    explicit CMainDialog(QWidget* parent = nullptr);
    // Ends the environment (and every shell still left) while the window can still take its calls.
    ~CMainDialog() override;

    CShellEnv& Env() { return *m_pEnv; }
    // Loads the library and starts the master shell; false when start-up failed.
    bool Start(const Text& commandLine);
    bool Started() const { return m_bStarted; }
    // True once the last shell has ended and the window has let go of the log file and the menus.
    bool HasEnded() const { return m_bEnded; }
    QListWidget* List() const { return m_pList; }
    CConsoleLine* Console() const { return m_pConsole; }

    // IMainWindow, from any thread.
    void PostOrder(int order, std::unique_ptr<SPayload> payload) override;
    void PostLog(const Text& line, bool clear = false) override;
    void PostShellEnded() override;
    bool MainWindowState(SMainWindowState& out) override;
    bool DesktopMetrics(SDesktopMetrics& out) override;
    bool FontFamilies(std::vector<Text>& out) override;
    // The program check box: a shell thread waits here while the GUI thread asks.
    int ProgramCheck(const SProgramCheck& check) override;

signals:
    // The program may end: no shell is left, or the window closed before start.
    void Ended();

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    struct SMenuDef {
        Text title;
        std::vector<SMenuItem> items;
    };

    // GUI thread only from here on.
    void ExecuteOrder(int order, SPayload* payload);
    void ApplyMainWindow(const SMainWindowPayload& order);
    // Runs `work` on the GUI thread and waits for it (a shell asking the window).
    void OnGuiThread(const std::function<void()>& work);
    void AddLogLine(const Text& line, bool clear);
    void OnShellEnded();
    void BuildMenuBar();
    void DropMenus();
    void OnMenuCommand(int id);
    // The shell named by the global MASTER, or null.
    CShell* MasterShell() const;
    void PostToMaster(uint32_t code, intptr_t param = 0);

    // The console line: Enter hands the line to the master shell as a RUN message.
    void SendConsoleLine(const QString& line);

    QListWidget* m_pList = nullptr;
    CConsoleLine* m_pConsole = nullptr;
    std::unique_ptr<CShellEnv> m_pEnv;
    bool m_bStarted = false;
    bool m_bEnded = false;
    std::vector<SMenuDef> m_menuList;
    std::vector<QMenu*> m_menus;
    bool m_bMenuShown = false;
    // The list's lines and the log file; the list widget mirrors it.
    CLogList m_log;
    // Set while the window changes its own state by an order, which is no user's doing.
    bool m_bOwnStateChange = false;
    // The mode word of the last MSG MAIN ("VISIBLE" until one comes).
    Text m_mode = L"VISIBLE";
};

// Tables copy to and paste from the system clipboard (CLIPBOARD) through the GUI thread.
void InstallSystemClipboard();
