// The main window: log lines from shell threads, the menu bar the master
// macro defines, and the events the window hands on to the MASTER shell.
#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QDropEvent>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <QMimeData>
#include <QUrl>
#include <cstdlib>
#include <filesystem>
#include <QClipboard>
#include <QTest>
#include <fstream>
#include <atomic>
#include <chrono>
#include <thread>

#include "app/console_line.h"
#include "app/main_dialog.h"
#include "items/table_data.h"
#include "shell/message_codes.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {

// gtest_main owns main(), so the application comes with the first fixture.
void EnsureApplication() {
    static int argc = 1;
    static char name[] = "app_tests";
    static char* argv[] = {name, nullptr};
    if (QApplication::instance()) return;
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    new QApplication(argc, argv);
}

// Start-up needs a library; this one loads nothing and succeeds.
class CEmptyLibrary : public IMacroLoader {
public:
    bool LoadMacros(CShellEnv&, const Text&, bool) override { return true; }
    void UnloadAll(CShellEnv&) override {}
};
CEmptyLibrary g_emptyLibrary;

std::unique_ptr<SPayload> Menu(const Text& title, std::initializer_list<SMenuItem> items) {
    auto menu = std::make_unique<SMenuPayload>();
    menu->title = title;
    menu->items = items;
    return menu;
}

class MainDialogTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { EnsureApplication(); }
    void TearDown() override {
        m_dialog.reset();
        CShellEnv::SetLoader(nullptr);
        std::error_code ec;
        std::filesystem::remove(m_logPath, ec);
    }

    CShellEnv& Env() { return m_dialog->Env(); }
    // A shell whose thread waits to be resumed: the test reads its messages in the thread's place.
    CShell* HeldShell() {
        CFrameBase frame(nullptr);
        return Env().NewShell(&frame, nullptr);
    }
    CShell* HeldMaster() {
        CShell* shell = HeldShell();
        Env().SetGlobal(L"MASTER", shell->IdText());
        return shell;
    }
    static void EndShell(CShell* shell) {
        shell->Post(nullptr, MSG_EXIT);
        shell->Resume();
        ASSERT_TRUE(shell->Finished().WaitFor(10000));
    }
    static Text NextLine(CShell* shell) {
        shell->Pump(false);
        if (shell->Queue().empty()) return L"<none>";
        Text line = shell->Queue().front();
        shell->Queue().pop_front();
        return line;
    }
    // What the shell threads posted reaches the window here.
    static void Deliver() { QCoreApplication::processEvents(); }

    std::vector<Text> Lines() const {
        std::vector<Text> lines;
        for (int i = 0; i < m_dialog->List()->count(); ++i)
            lines.push_back(m_dialog->List()->item(i)->text().toStdWString());
        return lines;
    }
    std::vector<std::string> FileLines() const {
        std::ifstream in(m_logPath);
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);) lines.push_back(line);
        return lines;
    }
    void OpenLogFile() {
        m_dialog->PostOrder(ORDER_LOG_FILE, std::make_unique<STextPayload>(FromUtf8(m_logPath.string())));
    }
    std::vector<QMenu*> BarMenus() const {
        std::vector<QMenu*> menus;
        for (QAction* a : m_dialog->menuBar()->actions())
            if (a->menu()) menus.push_back(a->menu());
        return menus;
    }
    static QAction* Item(QMenu* menu, const QString& text) {
        for (QAction* a : menu->actions())
            if (a->text() == text) return a;
        return nullptr;
    }
    void PostFileAndHelpMenus() {
        m_dialog->PostOrder(
            ORDER_ADD_MENU,
            Menu(L"&File", {{L"Open", 0}, {L"Save", MENU_GRAYED}, {L"", MENU_SEPARATOR}, {L"Exit", 0}}));
        m_dialog->PostOrder(ORDER_ADD_MENU, Menu(L"Help", {{L"About", MENU_CHECKED}}));
    }

    std::unique_ptr<CMainDialog> m_dialog = std::make_unique<CMainDialog>();
    std::filesystem::path m_logPath =
        std::filesystem::temp_directory_path() / ("kvo_main_dialog_" + std::to_string(::getpid()) + ".log");
};

TEST_F(MainDialogTest, LogLinesFromOtherThreadsArriveInOrderAndTheListKeepsTheLast500) {
    OpenLogFile();
    std::thread shellThread([this] {
        for (int i = 1; i <= 501; ++i) m_dialog->PostLog(Format(L"line %d", i));
    });
    shellThread.join();
    EXPECT_EQ(m_dialog->List()->count(), 0) << "lines must wait for the GUI thread";
    Deliver();

    const std::vector<Text> lines = Lines();
    ASSERT_EQ(lines.size(), 500u);
    EXPECT_EQ(lines.front(), L"line 2");
    for (size_t i = 0; i < lines.size(); ++i) ASSERT_EQ(lines[i], Format(L"line %d", int(i) + 2));

    // The file keeps what the list dropped; after closing it takes nothing more.
    m_dialog->PostOrder(ORDER_LOG_FILE, nullptr);
    m_dialog->PostLog(L"after closing");
    Deliver();
    const std::vector<std::string> file = FileLines();
    ASSERT_EQ(file.size(), 501u);
    EXPECT_EQ(file.front(), "line 1");
    EXPECT_EQ(file.back(), "line 501");
    EXPECT_EQ(Lines().back(), L"after closing");
}

TEST_F(MainDialogTest, ClearEmptiesTheListBeforeItsLine) {
    for (const wchar_t* line : {L"a", L"b", L"c"}) m_dialog->PostLog(line);
    m_dialog->PostLog(L"", true);
    Deliver();
    EXPECT_TRUE(Lines().empty());

    m_dialog->PostLog(L"d");
    m_dialog->PostLog(L"e", true);
    m_dialog->PostLog(L"f");
    Deliver();
    EXPECT_EQ(Lines(), (std::vector<Text>{L"e", L"f"}));
    // A plain empty line is a line.
    m_dialog->PostLog(L"");
    Deliver();
    EXPECT_EQ(Lines().size(), 3u);
}

TEST_F(MainDialogTest, ListFillsTheWindowAndFollowsTheLastLine) {
    m_dialog->show();
    m_dialog->resize(500, 300);
    for (int i = 0; i < 200; ++i) m_dialog->PostLog(Format(L"line %d", i));
    Deliver();

    QListWidget* list = m_dialog->List();
    EXPECT_EQ(list->geometry(), m_dialog->centralWidget()->rect().adjusted(4, 4, -4, -4));
    const QRect view = list->viewport()->rect();
    EXPECT_TRUE(view.contains(list->visualItemRect(list->item(199))));
    EXPECT_FALSE(view.intersects(list->visualItemRect(list->item(0))));
}

TEST_F(MainDialogTest, LogFileThatCannotBeOpenedIsReported) {
    m_dialog->PostOrder(ORDER_LOG_FILE, std::make_unique<STextPayload>(L"/nonexistent-kvo-dir/x.log"));
    Deliver();
    ASSERT_EQ(Lines().size(), 1u);
    EXPECT_NE(Lines()[0].find(L"/nonexistent-kvo-dir/x.log"), Text::npos);
}

TEST_F(MainDialogTest, MenusAppearWithTheShowOrderAndClicksReachTheMaster) {
    CShell* master = HeldMaster();
    std::thread shellThread([this] { PostFileAndHelpMenus(); });
    shellThread.join();
    Deliver();
    EXPECT_TRUE(BarMenus().empty()) << "menus wait for the show order";
    EXPECT_TRUE(m_dialog->menuBar()->isHidden());

    m_dialog->PostOrder(ORDER_SHOW_MENU, nullptr);
    Deliver();
    EXPECT_FALSE(m_dialog->menuBar()->isHidden());
    const std::vector<QMenu*> menus = BarMenus();
    ASSERT_EQ(menus.size(), 2u);
    EXPECT_EQ(menus[0]->title(), QStringLiteral("&File"));
    EXPECT_EQ(menus[0]->actions().size(), 4);
    EXPECT_TRUE(menus[0]->actions()[2]->isSeparator());
    EXPECT_EQ(menus[1]->actions().size(), 1);

    // Ids skip the separator; the item index does not.
    QAction* exit = Item(menus[0], QStringLiteral("Exit"));
    QAction* about = Item(menus[1], QStringLiteral("About"));
    ASSERT_TRUE(exit && about);
    EXPECT_EQ(exit->data().toInt(), 1102);
    EXPECT_EQ(about->data().toInt(), 1103);
    exit->trigger();
    about->trigger();
    Item(menus[0], QStringLiteral("Open"))->trigger();
    Item(menus[0], QStringLiteral("Save"))->trigger(); // greyed: no click
    EXPECT_EQ(NextLine(master), L"MAIN MAIN POPUP 3");
    EXPECT_EQ(NextLine(master), L"MAIN MAIN POPUP 100");
    EXPECT_EQ(NextLine(master), L"MAIN MAIN POPUP 0");
    EXPECT_EQ(NextLine(master), L"<none>");
    EXPECT_TRUE(about->isChecked()) << "the macro's check mark survives a click";

    // A menu added to a bar on screen shows at once and continues the numbering.
    m_dialog->PostOrder(ORDER_ADD_MENU, Menu(L"Tools", {{L"-", MENU_SEPARATOR}, {L"Run", 0}}));
    Deliver();
    ASSERT_EQ(BarMenus().size(), 3u);
    QAction* run = Item(BarMenus()[2], QStringLiteral("Run"));
    ASSERT_TRUE(run);
    EXPECT_EQ(run->data().toInt(), 1104);
    run->trigger();
    EXPECT_EQ(NextLine(master), L"MAIN MAIN POPUP 201");
}

TEST_F(MainDialogTest, RemovedMenusHideTheBarAndNumberingStartsAgain) {
    CShell* master = HeldMaster();
    PostFileAndHelpMenus();
    m_dialog->PostOrder(ORDER_SHOW_MENU, nullptr);
    m_dialog->PostOrder(ORDER_CLEAR_MENUS, nullptr);
    Deliver();
    EXPECT_TRUE(BarMenus().empty());
    EXPECT_TRUE(m_dialog->menuBar()->isHidden());

    m_dialog->PostOrder(ORDER_ADD_MENU, Menu(L"Edit", {{L"Undo", 0}}));
    m_dialog->PostOrder(ORDER_SHOW_MENU, nullptr);
    Deliver();
    ASSERT_EQ(BarMenus().size(), 1u);
    QAction* undo = Item(BarMenus()[0], QStringLiteral("Undo"));
    ASSERT_TRUE(undo);
    EXPECT_EQ(undo->data().toInt(), 1100);
    undo->trigger();
    EXPECT_EQ(NextLine(master), L"MAIN MAIN POPUP 0");
}

TEST_F(MainDialogTest, WithoutAKnownMasterEventsGoNowhere) {
    // An unset MASTER must not fall back to the first shell.
    CShell* shell = HeldShell();
    m_dialog->PostOrder(ORDER_ADD_MENU, Menu(L"File", {{L"Open", 0}}));
    m_dialog->PostOrder(ORDER_SHOW_MENU, nullptr);
    Deliver();
    QAction* open = Item(BarMenus().at(0), QStringLiteral("Open"));
    open->trigger();
    m_dialog->show();
    m_dialog->setWindowState(Qt::WindowMinimized);
    EXPECT_EQ(NextLine(shell), L"<none>");

    Env().SetGlobal(L"MASTER", L"X7FFFFFFF");
    open->trigger();
    EXPECT_EQ(NextLine(shell), L"<none>");
}

TEST_F(MainDialogTest, WindowStateChangesGoToTheMasterButOrdersDoNot) {
    CShell* master = HeldMaster();
    m_dialog->show();
    Deliver();
    // The window system confirms each change later; it must not count twice.
    auto setState = [this](Qt::WindowStates state) {
        m_dialog->setWindowState(state);
        Deliver();
    };
    setState(Qt::WindowMinimized);
    setState(Qt::WindowNoState);
    setState(Qt::WindowMaximized);
    setState(Qt::WindowNoState);
    setState(Qt::WindowMaximized | Qt::WindowMinimized);
    setState(Qt::WindowMaximized);
    EXPECT_EQ(NextLine(master), L"MAIN MAIN MINIMIZE 0");
    EXPECT_EQ(NextLine(master), L"MAIN MAIN RESTORE 0");
    EXPECT_EQ(NextLine(master), L"MAIN MAIN MAXIMIZE 0");
    EXPECT_EQ(NextLine(master), L"MAIN MAIN RESTORE 0");
    EXPECT_EQ(NextLine(master), L"MAIN MAIN MINIMIZE 0");
    EXPECT_EQ(NextLine(master), L"MAIN MAIN RESTORE 0");
    EXPECT_EQ(NextLine(master), L"<none>");

    setState(Qt::WindowMinimized);
    EXPECT_EQ(NextLine(master), L"MAIN MAIN MINIMIZE 0");
    m_dialog->PostOrder(ORDER_HIDE, nullptr);
    Deliver();
    EXPECT_FALSE(m_dialog->isVisible());
    m_dialog->PostOrder(ORDER_SHOW, nullptr);
    Deliver();
    EXPECT_TRUE(m_dialog->isVisible());
    EXPECT_EQ(m_dialog->windowState() & (Qt::WindowMinimized | Qt::WindowMaximized), Qt::WindowNoState);
    EXPECT_EQ(NextLine(master), L"<none>") << "what a macro orders is no news to it";
}

TEST_F(MainDialogTest, CloseBeforeStartEndsAtOnce) {
    CShell* shell = HeldMaster();
    int ended = 0;
    QObject::connect(m_dialog.get(), &CMainDialog::Ended, [&] { ++ended; });
    m_dialog->show();
    EXPECT_TRUE(m_dialog->close());
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(NextLine(shell), L"<none>");
}

TEST_F(MainDialogTest, CloseAfterStartIsTheMasterMacrosDecision) {
    CShellEnv::SetLoader(&g_emptyLibrary);
    ASSERT_TRUE(m_dialog->Start(L"a b"));
    CShell* master = HeldMaster();
    int ended = 0;
    QObject::connect(m_dialog.get(), &CMainDialog::Ended, [&] { ++ended; });
    m_dialog->show();
    EXPECT_FALSE(m_dialog->close());
    EXPECT_FALSE(m_dialog->close());
    EXPECT_TRUE(m_dialog->isVisible());
    EXPECT_EQ(ended, 0);
    EXPECT_EQ(NextLine(master), L"MAIN MAIN CLOSE 0");
    EXPECT_EQ(NextLine(master), L"MAIN MAIN CLOSE 0");
}

TEST_F(MainDialogTest, FailedStartLeavesTheLoadersWordsInTheList) {
    Env().SetStartValues(L"/nonexistent-kvo-dir/kvo", nullptr);
    EXPECT_FALSE(m_dialog->Start(L""));
    EXPECT_FALSE(m_dialog->Started());
    Deliver();
    ASSERT_FALSE(Lines().empty());
    EXPECT_NE(Lines().back().find(L"/nonexistent-kvo-dir/kvo.lib"), Text::npos);
}

TEST_F(MainDialogTest, DroppedLocalFilesReachTheMasterAsOneMessage) {
    CShell* master = HeldMaster();
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QStringLiteral("/tmp/take five.wav")),
                  QUrl(QStringLiteral("https://example.org/x.wav")),
                  QUrl::fromLocalFile(QStringLiteral("/tmp/\u00e4.kv5"))});
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(m_dialog.get(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(m_dialog.get(), &drop);

    // Without a table kind the message cannot become a line; it is read as it came.
    SMessage message;
    ASSERT_EQ(master->NextMessage(false, message), static_cast<uint32_t>(MSG_DROPFILE));
    auto* paths = dynamic_cast<SLinesPayload*>(message.payload.get());
    ASSERT_TRUE(paths);
    EXPECT_EQ(paths->lines, (std::vector<Text>{L"/tmp/take five.wav", L"/tmp/\u00e4.kv5"}));
    EXPECT_EQ(master->NextMessage(false, message), 0u);

    QMimeData webOnly;
    webOnly.setUrls({QUrl(QStringLiteral("https://example.org/y.wav"))});
    QDragEnterEvent refused(QPoint(10, 10), Qt::CopyAction, &webOnly, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(m_dialog.get(), &refused);
    EXPECT_FALSE(refused.isAccepted());
}

TEST_F(MainDialogTest, TheLastEndedShellEndsTheWindowsWork) {
    CShell* master = HeldMaster();
    CShell* other = HeldShell();
    int ended = 0;
    QObject::connect(m_dialog.get(), &CMainDialog::Ended, [&] { ++ended; });
    OpenLogFile();
    m_dialog->PostLog(L"while running");
    PostFileAndHelpMenus();
    m_dialog->PostOrder(ORDER_SHOW_MENU, nullptr);
    Deliver();

    EndShell(other);
    Deliver();
    EXPECT_EQ(Env().ShellCount(), 1u) << "the dead shell is deleted";
    EXPECT_FALSE(m_dialog->HasEnded());
    EXPECT_EQ(BarMenus().size(), 2u);

    EndShell(master);
    Deliver();
    EXPECT_EQ(Env().ShellCount(), 0u);
    EXPECT_TRUE(m_dialog->HasEnded());
    EXPECT_EQ(ended, 1);
    EXPECT_TRUE(BarMenus().empty());
    m_dialog->PostLog(L"after the end");
    Deliver();
    EXPECT_EQ(Lines().back(), L"after the end");
    EXPECT_EQ(FileLines(), std::vector<std::string>{"while running"}) << "the log file was closed";
}

} // namespace

namespace {

SProgramCheck Check(const wchar_t* text) {
    SProgramCheck check;
    check.code = 2;
    check.text = text;
    return check;
}

// The box waits on the GUI thread while the shell's thread waits for its answer.
TEST_F(MainDialogTest, ProgramCheckAsksOnTheGuiThreadAndReturnsTheButton) {
    for (auto [button, expected] : {std::pair{QMessageBox::Abort, int(CHECK_ABORT)},
                                    std::pair{QMessageBox::Retry, int(CHECK_RETRY)},
                                    std::pair{QMessageBox::Ignore, int(CHECK_IGNORE)}}) {
        // The box runs its own event loop: the answering hand has to come from inside it.
        QString seenText;
        bool ignoreIsDefault = false;
        QTimer hand;
        hand.setInterval(5);
        QObject::connect(&hand, &QTimer::timeout, [&, button = button] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box) return;
            hand.stop();
            seenText = box->text();
            ignoreIsDefault =
                static_cast<QAbstractButton*>(box->defaultButton()) == box->button(QMessageBox::Ignore);
            box->button(button)->click();
        });
        hand.start();
        std::atomic<int> answer{-1};
        std::thread shellThread(
            [&] { answer = m_dialog->ProgramCheck(Check(L"Program check interruption #2")); });
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (answer.load() < 0 && std::chrono::steady_clock::now() < deadline)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        if (answer.load() < 0) {
            shellThread.detach();
            FAIL() << "no answer came back";
        }
        shellThread.join();
        EXPECT_EQ(answer.load(), expected);
        EXPECT_EQ(seenText, QStringLiteral("Program check interruption #2"));
        EXPECT_TRUE(ignoreIsDefault);
    }
}

TEST_F(MainDialogTest, ProgramCheckOnTheGuiThreadOnlyLogs) {
    EXPECT_EQ(m_dialog->ProgramCheck(Check(L"early failure")), CHECK_IGNORE);
    Deliver();
    ASSERT_FALSE(Lines().empty());
    EXPECT_EQ(Lines().back(), L"early failure");
}

} // namespace

namespace {

// A shell's thread asks the window; the GUI thread answers while it runs its events.
template <class Ask> void AskFromOtherThread(Ask ask) {
    std::atomic<bool> done{false};
    std::thread asker([&] {
        ask();
        done = true;
    });
    while (!done) QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    asker.join();
}

TEST_F(MainDialogTest, MsgMainOrdersChangeOnlyTheGivenPartsAndReadBack) {
    m_dialog->show();
    Deliver();
    auto order = std::make_unique<SMainWindowPayload>();
    order->fields = SMainWindowPayload::LEFT | SMainWindowPayload::WIDTH | SMainWindowPayload::HEIGHT |
                    SMainWindowPayload::TITLE;
    order->state.left = 40;
    order->state.width = 420;
    order->state.height = 260;
    order->state.title = L"Kvo test";
    const int top = m_dialog->geometry().top();
    m_dialog->PostOrder(ORDER_SHOW, std::move(order));
    Deliver();

    SMainWindowState state;
    AskFromOtherThread([&] { EXPECT_TRUE(m_dialog->MainWindowState(state)); });
    EXPECT_EQ(state.left, 40);
    EXPECT_EQ(state.top, top) << "a part not given stays";
    EXPECT_EQ(state.width, 420);
    EXPECT_EQ(state.height, 260);
    EXPECT_EQ(state.title, L"Kvo test");
    EXPECT_EQ(state.mode, L"VISIBLE");

    auto hide = std::make_unique<SMainWindowPayload>();
    hide->fields = SMainWindowPayload::MODE;
    hide->state.mode = L"HIDDEN";
    m_dialog->PostOrder(ORDER_SHOW, std::move(hide));
    Deliver();
    EXPECT_FALSE(m_dialog->isVisible());
    EXPECT_TRUE(m_dialog->isEnabled()) << "HIDDEN leaves the window enabled";
    EXPECT_TRUE(m_dialog->MainWindowState(state)) << "asked on the GUI thread itself";
    EXPECT_EQ(state.mode, L"HIDDEN");

    auto show = std::make_unique<SMainWindowPayload>();
    show->fields = SMainWindowPayload::MODE;
    show->state.mode = L"ENABLED";
    m_dialog->PostOrder(ORDER_SHOW, std::move(show));
    Deliver();
    EXPECT_TRUE(m_dialog->isVisible());
    EXPECT_TRUE(m_dialog->isEnabled());
}

TEST_F(MainDialogTest, DesktopMetricsAndFontsComeFromTheSystem) {
    SDesktopMetrics desktop;
    bool answered = false;
    AskFromOtherThread([&] { answered = m_dialog->DesktopMetrics(desktop); });
    ASSERT_TRUE(answered);
    EXPECT_EQ(desktop.monitors, static_cast<int>(QGuiApplication::screens().size()));
    EXPECT_GT(desktop.width, 0);
    EXPECT_GT(desktop.height, 0);
    std::vector<Text> fonts;
    AskFromOtherThread([&] { EXPECT_TRUE(m_dialog->FontFamilies(fonts)); });
    EXPECT_EQ(fonts.size(), static_cast<size_t>(QFontDatabase::families().size()));
    m_dialog->PostOrder(ORDER_BEEP, std::make_unique<SBeepPayload>());
    Deliver(); // a beep has nothing to show; it must not disturb the window
    EXPECT_TRUE(m_dialog->isEnabled());
}

TEST_F(MainDialogTest, ConsoleLineShowsWithoutArgumentsAndSendsRunLines) {
    CShellEnv::SetLoader(&g_emptyLibrary);
    ASSERT_TRUE(m_dialog->Start(L""));
    EXPECT_FALSE(m_dialog->Console()->isHidden());
    CShell* master = HeldMaster();
    QTest::keyClicks(m_dialog->Console(), QStringLiteral("UPPER abc"));
    QTest::keyClick(m_dialog->Console(), Qt::Key_Return);
    EXPECT_TRUE(m_dialog->Console()->text().isEmpty());
    const Text line = NextLine(master);
    EXPECT_NE(line.find(L"RUN UPPER abc"), Text::npos) << ToUtf8(line);
    // Up brings the line back, Down returns to what was being typed.
    QTest::keyClicks(m_dialog->Console(), QStringLiteral("par"));
    QTest::keyClick(m_dialog->Console(), Qt::Key_Up);
    EXPECT_EQ(m_dialog->Console()->text(), QStringLiteral("UPPER abc"));
    QTest::keyClick(m_dialog->Console(), Qt::Key_Down);
    EXPECT_EQ(m_dialog->Console()->text(), QStringLiteral("par"));
    EndShell(master);
}

TEST_F(MainDialogTest, ConsoleLineStaysHiddenForAnApplication) {
    CShellEnv::SetLoader(&g_emptyLibrary);
    ASSERT_TRUE(m_dialog->Start(L"app.kvs MAIN"));
    EXPECT_TRUE(m_dialog->Console()->isHidden());
}

TEST_F(MainDialogTest, TablesReachTheSystemClipboardFromAShellThread) {
    InstallSystemClipboard();
    bool written = false;
    std::thread shellSide([&] { written = WriteClipboard(L"a;1\r\nb;2\r\n"); });
    // The shell's side waits for the GUI thread, which serves it here.
    while (!written) {
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (QGuiApplication::clipboard()->text() == QStringLiteral("a;1\r\nb;2\r\n")) break;
    }
    shellSide.join();
    EXPECT_TRUE(written);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("a;1\r\nb;2\r\n"));
    QGuiApplication::clipboard()->setText(QStringLiteral("from the desktop"));
    Text read;
    EXPECT_TRUE(ReadClipboard(read));
    EXPECT_EQ(read, L"from the desktop");
    SetClipboardHooks(nullptr, nullptr);
}

} // namespace
