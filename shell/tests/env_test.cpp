// Start values, start-up with and without a library, the log list.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "shell/log_list.h"
#include "shell/tests/fakes.h"

namespace {

TEST(StartValues, FromExecutablePathAndTemp) {
    CShellEnv env;
    const Text temp = L"/var/tmp";
    env.SetStartValues(L"/opt/kvo/bin/kvo", &temp);
    EXPECT_EQ(env.GetGlobal(L"BUILD"), L"Unicode");
    EXPECT_EQ(env.GetGlobal(L"TEMPDIR"), L"/var/tmp");
    EXPECT_EQ(env.GetGlobal(L"OSVER"), L"0600");
    EXPECT_EQ(env.GetGlobal(L"ROOT"), L"/opt/kvo/bin");
    EXPECT_EQ(env.LibraryPath(), L"/opt/kvo/bin/kvo.lib");
}

TEST(StartValues, UnsetTempAndPathWithoutSeparator) {
    CShellEnv env;
    env.SetStartValues(L"kvo", nullptr);
    EXPECT_FALSE(env.Globals().Has(L"TEMPDIR"));
    EXPECT_FALSE(env.Globals().Has(L"ROOT")); // empty: no variable
    const Text longTemp(300, L't');
    env.SetStartValues(L"C:\\kvo\\kvo.exe", &longTemp);
    EXPECT_EQ(env.GetGlobal(L"TEMPDIR").size(), 260u);
    EXPECT_EQ(env.GetGlobal(L"ROOT"), L"C:\\kvo");
}

class FakeLoader : public IMacroLoader {
public:
    bool LoadMacros(CShellEnv&, const Text& path, bool) override {
        m_path = path;
        return m_ok;
    }
    void UnloadAll(CShellEnv&) override {}
    bool m_ok = true;
    Text m_path;
};

TEST(StartUp, MissingLibraryTakesTheFailurePath) {
    CRecordingWindow window;
    CShellEnv env(&window);
    env.SetStartValues(L"/nonexistent/dir/kvo", nullptr);
    EXPECT_FALSE(env.Start(L"a b"));
    EXPECT_FALSE(env.Started());
    EXPECT_EQ(env.ShellCount(), 0u);
    const auto lines = window.Lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find(L"/nonexistent/dir/kvo.lib"), Text::npos);
}

TEST(StartUp, MasterShellGetsTheCommandLineWithQuotesTurned) {
    CScriptRuntime runtime;
    FakeLoader loader;
    CShellEnv::SetRuntime(&runtime);
    CShellEnv::SetLoader(&loader);
    {
        CRecordingWindow window;
        CShellEnv env(&window);
        env.SetStartValues(L"/usr/lib/kvo/kvo", nullptr);
        ASSERT_TRUE(env.Start(L"\"/my files/a.kvs\" demo"));
        EXPECT_TRUE(env.Started());
        EXPECT_EQ(loader.m_path, L"/usr/lib/kvo/kvo.lib");
        ASSERT_TRUE(runtime.WaitFor(1));
        EXPECT_EQ(runtime.Log()[0], L"MASTERSHELL '/my files/a.kvs' demo");
        loader.m_ok = false;
        EXPECT_FALSE(env.Start(L""));
    }
    CShellEnv::SetRuntime(nullptr);
    CShellEnv::SetLoader(nullptr);
}

TEST(StartUp, ListsHaveTitlesAndUnknownNumbersNone) {
    CShellEnv env;
    Text title;
    std::vector<Text> names{L"stale"};
    EXPECT_TRUE(env.ListNames(1, title, names));
    EXPECT_EQ(title, L"Shell Macros");
    EXPECT_TRUE(names.empty());
    EXPECT_TRUE(env.ListNames(2, title, names));
    EXPECT_EQ(title, L"Signal Processing Units");
    EXPECT_TRUE(env.ListNames(3, title, names));
    EXPECT_EQ(title, L"Soundfiles");
    EXPECT_FALSE(env.ListNames(4, title, names));
    EXPECT_EQ(title, L"<< list 4 not defined >>");
}

TEST(LogList, The501stLineDropsTheOldestButTheFileKeepsAll) {
    const auto path = std::filesystem::temp_directory_path() / ("kvo_log_test_" + std::to_string(::getpid()));
    std::filesystem::remove(path);
    CLogList log;
    ASSERT_TRUE(log.OpenFile(FromUtf8(path.string())));
    for (int i = 1; i <= 500; ++i) EXPECT_FALSE(log.Add(L"line " + std::to_wstring(i)));
    EXPECT_TRUE(log.Add(L"line 501 äß"));
    ASSERT_EQ(log.Lines().size(), 500u);
    EXPECT_EQ(log.Lines().front(), L"line 2");
    EXPECT_EQ(log.Lines().back(), L"line 501 äß");
    log.CloseFile();
    std::ifstream in(path);
    std::string line, last;
    int count = 0;
    while (std::getline(in, line)) {
        if (count == 0) {
            EXPECT_EQ(line, "line 1");
        }
        ++count;
        last = line;
    }
    EXPECT_EQ(count, 501);
    EXPECT_EQ(FromUtf8(last), L"line 501 äß");
    log.Add(L"x", true);
    EXPECT_EQ(log.Lines().size(), 1u);
    std::filesystem::remove(path);
}

TEST(LogList, UnwritableLogFileIsRefused) {
    CLogList log;
    EXPECT_FALSE(log.OpenFile(L"/nonexistent-dir/log.txt"));
    EXPECT_FALSE(log.FileOpen());
    EXPECT_TRUE(log.OpenFile(L"")); // closing is always possible
}

} // namespace
