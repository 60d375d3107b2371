#include "app/main_dialog.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QListWidget>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QScreen>
#include <QThread>
#include <QUrl>
#include <QVBoxLayout>

#include "app/console_line.h"
#include "app/startup.h"
#include "graphics/graphics_layer.h"
#include "items/table_data.h"
#include "shell/message_codes.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {
constexpr int kListMargin = 4;
constexpr int kDefaultWidth = 640;
constexpr int kDefaultHeight = 400;
// A menu's items are told apart by menu index * 100 + item index.
constexpr int kItemsPerMenu = 100;

QString ToQt(const Text& text) {
    return QString::fromStdWString(text);
}

Text FromQt(const QString& text) {
    return text.toStdWString();
}

// Tables reach the system clipboard through these; the clipboard object is the GUI
// thread's, so a shell thread waits for the GUI thread to do the work.
template <typename Work> void OnClipboardThread(Work work) {
    if (QThread::currentThread() == qApp->thread())
        work();
    else
        QMetaObject::invokeMethod(qApp, work, Qt::BlockingQueuedConnection);
}

bool GetClipboardText(Text& out) {
    bool ok = false;
    OnClipboardThread([&] {
        const QString text = QGuiApplication::clipboard()->text();
        ok = !text.isNull();
        out = FromQt(text);
    });
    return ok;
}

bool SetClipboardText(const Text& text) {
    OnClipboardThread([&] { QGuiApplication::clipboard()->setText(ToQt(text)); });
    return true;
}

} // namespace

void InstallSystemClipboard() {
    SetClipboardHooks(&GetClipboardText, &SetClipboardText);
}

namespace {

// The local paths among dropped URLs; anything else (web links, ...) is no file to hand on.
std::vector<Text> LocalPaths(const QMimeData* data) {
    std::vector<Text> paths;
    if (!data || !data->hasUrls()) return paths;
    for (const QUrl& url : data->urls())
        if (url.isLocalFile()) paths.push_back(url.toLocalFile().toStdWString());
    return paths;
}
} // namespace

CMainDialog::CMainDialog(QWidget* parent) : QMainWindow(parent), m_pEnv(std::make_unique<CShellEnv>(this)) {
    setWindowTitle(QStringLiteral("Kvo"));
    resize(kDefaultWidth, kDefaultHeight);
    setAcceptDrops(true);

    auto* client = new QWidget(this);
    auto* layout = new QVBoxLayout(client);
    layout->setContentsMargins(kListMargin, kListMargin, kListMargin, kListMargin);
    m_pList = new QListWidget(client);
    m_pList->setObjectName(QStringLiteral("log"));
    m_pList->setUniformItemSizes(true);
    // Drops on the list are the window's: the list takes none itself.
    m_pList->setAcceptDrops(false);
    layout->addWidget(m_pList);
    // The console line shows only when the program runs as a console (no arguments).
    m_pConsole = new CConsoleLine(client);
    m_pConsole->hide();
    layout->addWidget(m_pConsole);
    connect(m_pConsole, &CConsoleLine::LineEntered, this, &CMainDialog::SendConsoleLine);
    setCentralWidget(client);
    // The bar appears when the master macro shows its menus.
    menuBar()->hide();
}

CMainDialog::~CMainDialog() {
    // Shells that end now still post to this window, which is whole until the body is done.
    m_pEnv.reset();
    DropMenus();
}

bool CMainDialog::Start(const Text& commandLine) {
    m_bStarted = m_pEnv->Start(commandLine);
    if (m_bStarted && commandLine.empty()) {
        m_pConsole->show();
        m_pConsole->setFocus();
    }
    return m_bStarted;
}

void CMainDialog::SendConsoleLine(const QString& line) {
    // Before the master macro has set MASTER, the first shell is the master.
    CShell* shell = m_pEnv ? m_pEnv->FindShell(m_pEnv->GetGlobal(L"MASTER")) : nullptr;
    if (!shell || shell->Run(FromQt(line)) != 0) AddLogLine(L"the master shell takes no more lines", false);
}

// The calls of IMainWindow copy what they carry and go to the GUI thread as
// queued calls, also when made on the GUI thread itself: an order is then
// never executed in the middle of whatever the caller is doing.

void CMainDialog::PostOrder(int order, std::unique_ptr<SPayload> payload) {
    std::shared_ptr<SPayload> owned(std::move(payload));
    QMetaObject::invokeMethod(
        this, [this, order, owned] { ExecuteOrder(order, owned.get()); }, Qt::QueuedConnection);
}

void CMainDialog::PostLog(const Text& line, bool clear) {
    QMetaObject::invokeMethod(
        this, [this, line, clear] { AddLogLine(line, clear); }, Qt::QueuedConnection);
}

void CMainDialog::PostShellEnded() {
    QMetaObject::invokeMethod(
        this, [this] { OnShellEnded(); }, Qt::QueuedConnection);
}

void CMainDialog::ExecuteOrder(int order, SPayload* payload) {
    switch (order) {
    case ORDER_SHOW:
        if (auto* main = dynamic_cast<SMainWindowPayload*>(payload)) {
            ApplyMainWindow(*main);
            break;
        }
        m_bOwnStateChange = true;
        showNormal();
        m_bOwnStateChange = false;
        raise();
        activateWindow();
        break;
    case ORDER_ADD_MENU:
        if (auto* menu = dynamic_cast<SMenuPayload*>(payload)) {
            m_menuList.push_back({menu->title, menu->items});
            // A bar on screen takes the new menu at once; otherwise it waits for the show order.
            if (m_bMenuShown) BuildMenuBar();
        }
        break;
    case ORDER_SHOW_MENU:
        BuildMenuBar();
        menuBar()->show();
        m_bMenuShown = true;
        break;
    case ORDER_CLEAR_MENUS:
        DropMenus();
        break;
    case ORDER_LOG_FILE: {
        auto* path = dynamic_cast<STextPayload*>(payload);
        const Text file = path ? path->text : Text();
        if (!m_log.OpenFile(file)) AddLogLine(Format(L"cannot open log file \"%s\"", file.c_str()), false);
        break;
    }
    case ORDER_BEEP:
        // Qt knows one sound; every kind and every tone rings it.
        QApplication::beep();
        break;
    case ORDER_HIDE:
        m_bOwnStateChange = true;
        hide();
        m_bOwnStateChange = false;
        break;
    default:
        break;
    }
}

// The window modes of MSG MAIN: NOWINDOW and HIDDEN hide the window, VISIBLE
// and ENABLED show it; HIDDEN and ENABLED leave it enabled. The show state
// comes first, the mode after it, as with displays.
void CMainDialog::ApplyMainWindow(const SMainWindowPayload& order) {
    m_bOwnStateChange = true;
    const SMainWindowState& s = order.state;
    if (order.fields & SMainWindowPayload::SHOW) {
        if (s.show == L"MINIMIZED") {
            showMinimized();
        } else if (s.show == L"MAXIMIZED") {
            showMaximized();
        } else if (s.show == L"RESTORED") {
            showNormal();
        } else {
            show();
        }
    }
    if (order.fields & SMainWindowPayload::MODE) {
        m_mode = s.mode;
        setEnabled(s.mode == L"HIDDEN" || s.mode == L"ENABLED");
        if (s.mode == L"NOWINDOW" || s.mode == L"HIDDEN") {
            hide();
        } else {
            show();
        }
    }
    QRect frame = geometry();
    if (order.fields & SMainWindowPayload::LEFT) frame.moveLeft(s.left);
    if (order.fields & SMainWindowPayload::TOP) frame.moveTop(s.top);
    if (order.fields & SMainWindowPayload::WIDTH) frame.setWidth(s.width);
    if (order.fields & SMainWindowPayload::HEIGHT) frame.setHeight(s.height);
    if (order.fields & (SMainWindowPayload::LEFT | SMainWindowPayload::TOP | SMainWindowPayload::WIDTH |
                        SMainWindowPayload::HEIGHT))
        setGeometry(frame);
    if (order.fields & SMainWindowPayload::TITLE) setWindowTitle(ToQt(s.title));
    m_bOwnStateChange = false;
}

void CMainDialog::OnGuiThread(const std::function<void()>& work) {
    if (QThread::currentThread() == thread()) {
        work();
    } else {
        QMetaObject::invokeMethod(this, work, Qt::BlockingQueuedConnection);
    }
}

bool CMainDialog::MainWindowState(SMainWindowState& out) {
    OnGuiThread([this, &out] {
        out.mode = m_mode;
        out.show = isMinimized() ? L"MINIMIZED" : isMaximized() ? L"MAXIMIZED" : L"RESTORED";
        const QRect frame = geometry();
        out.left = frame.left();
        out.top = frame.top();
        out.width = frame.width();
        out.height = frame.height();
        out.title = windowTitle().toStdWString();
    });
    return true;
}

bool CMainDialog::DesktopMetrics(SDesktopMetrics& out) {
    bool any = false;
    OnGuiThread([&out, &any] {
        const QList<QScreen*> screens = QGuiApplication::screens();
        QScreen* primary = QGuiApplication::primaryScreen();
        if (screens.isEmpty() || !primary) return;
        const QRect desktop = primary->virtualGeometry();
        out.monitors = static_cast<int>(screens.size());
        out.left = desktop.left();
        out.top = desktop.top();
        out.width = desktop.width();
        out.height = desktop.height();
        any = true;
    });
    return any;
}

bool CMainDialog::FontFamilies(std::vector<Text>& out) {
    OnGuiThread([&out] {
        for (const QString& family : QFontDatabase::families()) out.push_back(family.toStdWString());
    });
    return true;
}

void CMainDialog::AddLogLine(const Text& line, bool clear) {
    m_pList->setUpdatesEnabled(false);
    if (clear) {
        m_pList->clear();
        m_log.Clear();
    }
    // A clear without a line only clears: an empty line is no part of what the clear asked for.
    if (!clear || !line.empty()) {
        if (m_log.Add(line)) delete m_pList->takeItem(0);
        m_pList->addItem(ToQt(line));
        m_pList->scrollToBottom();
    }
    m_pList->setUpdatesEnabled(true);
}

void CMainDialog::OnShellEnded() {
    if (!m_pEnv || m_bEnded) return;
    // A shell that is not dead yet (or another one still running) keeps the program alive.
    if (!m_pEnv->DeleteShell(nullptr)) return;
    m_log.CloseFile();
    DropMenus();
    m_bEnded = true;
    emit Ended();
}

void CMainDialog::BuildMenuBar() {
    for (QMenu* menu : m_menus) delete menu;
    m_menus.clear();
    menuBar()->clear();
    int id = kFirstMenuId;
    for (const SMenuDef& def : m_menuList) {
        QMenu* menu = menuBar()->addMenu(ToQt(def.title));
        m_menus.push_back(menu);
        for (const SMenuItem& item : def.items) {
            if (item.flags & MENU_SEPARATOR) {
                menu->addSeparator();
                continue;
            }
            QAction* action = menu->addAction(ToQt(item.text));
            action->setData(id);
            action->setEnabled(!(item.flags & MENU_GRAYED));
            const bool checked = item.flags & MENU_CHECKED;
            if (checked) {
                action->setCheckable(true);
                action->setChecked(true);
            }
            connect(action, &QAction::triggered, this, [this, action, id, checked] {
                // The mark is the macro's to set; a click must not take it away.
                if (checked) action->setChecked(true);
                OnMenuCommand(id);
            });
            ++id;
        }
    }
}

void CMainDialog::DropMenus() {
    m_menuList.clear();
    for (QMenu* menu : m_menus) delete menu;
    m_menus.clear();
    menuBar()->clear();
    menuBar()->hide();
    m_bMenuShown = false;
}

void CMainDialog::OnMenuCommand(int id) {
    // Ids skip separators, but the item index is the item's place in the list the
    // macro gave, separators included: the macro finds its item by that place.
    int rest = id - kFirstMenuId;
    for (size_t menu = 0; menu < m_menuList.size(); ++menu) {
        const std::vector<SMenuItem>& items = m_menuList[menu].items;
        for (size_t index = 0; index < items.size(); ++index) {
            if (items[index].flags & MENU_SEPARATOR) continue;
            if (rest-- == 0) {
                PostToMaster(MSG_POPUP_ITEM, static_cast<intptr_t>(menu * kItemsPerMenu + index));
                return;
            }
        }
    }
}

CShell* CMainDialog::MasterShell() const {
    if (!m_pEnv) return nullptr;
    const Text master = m_pEnv->GetGlobal(L"MASTER");
    // An empty id would find the first shell, which is not necessarily the master.
    return master.empty() ? nullptr : m_pEnv->FindShell(master);
}

void CMainDialog::PostToMaster(uint32_t code, intptr_t param) {
    if (CShell* master = MasterShell()) master->Post(nullptr, code, param);
}

void CMainDialog::closeEvent(QCloseEvent* event) {
    // Once the macros run, closing is the master macro's decision.
    if (m_bStarted && !m_bEnded) {
        PostToMaster(MSG_CLOSE);
        event->ignore();
        return;
    }
    event->accept();
    if (!m_bEnded) {
        m_bEnded = true;
        emit Ended();
    }
}

void CMainDialog::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() != QEvent::WindowStateChange || m_bOwnStateChange) return;
    const Qt::WindowStates before = static_cast<QWindowStateChangeEvent*>(event)->oldState();
    const Qt::WindowStates now = windowState();
    if (now & Qt::WindowMinimized) {
        if (!(before & Qt::WindowMinimized)) PostToMaster(MSG_MINIMIZE);
    } else if (before & Qt::WindowMinimized) {
        // Back from the task bar, also into a maximised window, is a restore.
        PostToMaster(MSG_RESTORE);
    } else if ((now & Qt::WindowMaximized) && !(before & Qt::WindowMaximized)) {
        PostToMaster(MSG_MAXIMIZE);
    } else if (!(now & Qt::WindowMaximized) && (before & Qt::WindowMaximized)) {
        PostToMaster(MSG_RESTORE);
    }
}

void CMainDialog::dragEnterEvent(QDragEnterEvent* event) {
    if (!LocalPaths(event->mimeData()).empty()) event->acceptProposedAction();
}

void CMainDialog::dropEvent(QDropEvent* event) {
    std::vector<Text> paths = LocalPaths(event->mimeData());
    if (paths.empty()) return;
    event->acceptProposedAction();
    if (CShell* master = MasterShell()) master->PostDroppedFiles(std::move(paths));
}

int RunWindowed(int& argc, char** argv, const Text& commandLine) {
    QApplication app(argc, argv);
    // Windows of macros come and go; the program ends with its last shell, not with a window.
    app.setQuitOnLastWindowClosed(false);
    RegisterCore();
    InstallSystemClipboard();
    RegisterGraphicsLayer();
    int exitCode = 0;
    {
        CMainDialog dialog;
        // Queued: an end reported before the event loop runs still ends it.
        QObject::connect(&dialog, &CMainDialog::Ended, &app, &QCoreApplication::quit, Qt::QueuedConnection);
        SetProcessStartValues(dialog.Env());
        dialog.show();
        if (!dialog.Start(commandLine)) {
            // What the loader said stays readable behind the box.
            QCoreApplication::processEvents();
            QMessageBox::critical(&dialog, dialog.windowTitle(), ToQt(kStartupFailed));
            exitCode = kStartupFailedExit;
        } else {
            app.exec();
        }
        // Shells still ending must not wait for a GUI thread that no longer serves them.
        SetClipboardHooks(nullptr, nullptr);
        CloseGraphicsLayer();
    } // the dialog takes the environment with it, while the application still exists
    return exitCode;
}

int CMainDialog::ProgramCheck(const SProgramCheck& check) {
    const Text& text = check.text;
    // Lines that fail before the window runs its loop are only logged.
    if (QThread::currentThread() == thread()) {
        AddLogLine(text, false);
        return CHECK_IGNORE;
    }
    int answer = CHECK_IGNORE;
    QMetaObject::invokeMethod(
        this,
        [this, &text, &answer] {
            QMessageBox box(QMessageBox::Critical, QStringLiteral("Kvo"), QString::fromStdWString(text),
                            QMessageBox::Abort | QMessageBox::Retry | QMessageBox::Ignore, this);
            box.setDefaultButton(QMessageBox::Ignore);
            box.setWindowModality(Qt::ApplicationModal);
            switch (box.exec()) {
            case QMessageBox::Abort:
                answer = CHECK_ABORT;
                break;
            case QMessageBox::Retry:
                answer = CHECK_RETRY;
                break;
            default:
                answer = CHECK_IGNORE;
                break;
            }
        },
        Qt::BlockingQueuedConnection);
    return answer;
}
