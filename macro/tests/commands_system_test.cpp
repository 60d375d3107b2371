// The commands that reach the operating system: programs and their exit
// status, directories, the environment, mounts, identity, clocks, free file
// names and name checks.
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>

#include "macro/tests/commands_fixture.h"
#include "shell/error_table.h"

namespace fs = std::filesystem;

namespace {

class SystemCommands : public CommandTest {
protected:
    void SetUp() override {
        CommandTest::SetUp();
        m_dir = fs::temp_directory_path() / ("kvo-system-" + std::to_string(::getpid()) + "-" +
                                             ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(m_dir);
        fs::create_directories(m_dir);
        m_cwd = fs::current_path();
    }
    void TearDown() override {
        fs::current_path(m_cwd);
        fs::remove_all(m_dir);
        CommandTest::TearDown();
    }
    Text Dir(const std::string& sub = "") const {
        return FromUtf8((sub.empty() ? m_dir : m_dir / sub).string());
    }
    void Touch(const std::string& name) const { std::ofstream(m_dir / name) << "x"; }

    fs::path m_dir;
    fs::path m_cwd;
};

TEST_F(SystemCommands, ExitStatusLandsInXrcAndAFailureIsCode430OrItsSilentTwin) {
    EXPECT_EQ(Run(L"SYSTEM true").result, L"0");
    EXPECT_EQ(m_shell->GetVar(L"XRC"), L"0");

    const SOutcome failed = Run(L"SYSTEM false");
    EXPECT_EQ(failed.code, 430);
    EXPECT_EQ(failed.result, L"430"); // the row's result is the code as text
    EXPECT_EQ(m_shell->GetVar(L"XRC"), L"1");

    EXPECT_EQ(Code(L"SYSTEMCALL sh -c 'exit 3'"), 431);
    EXPECT_EQ(m_shell->GetVar(L"XRC"), L"3");
    EXPECT_TRUE(IsWarning(431));
}

TEST_F(SystemCommands, WordsThatNameNoProgramGoToTheCommandProcessor) {
    // "exit" is no program in PATH, only a word of the shell.
    EXPECT_EQ(Code(L"SYSTEM exit 4"), 430);
    EXPECT_EQ(m_shell->GetVar(L"XRC"), L"4");
    EXPECT_EQ(Code(L"SYSTEM kvo-no-such-program"), 430);
    EXPECT_EQ(m_shell->GetVar(L"XRC"), L"127") << "the command processor's status for an unknown command";
    // A program that exists gets the words as they are: no redirection.
    const std::string target = (m_dir / "made").string();
    EXPECT_EQ(Code(L"SYSTEM echo hi >" + FromUtf8(target)), 0);
    EXPECT_FALSE(fs::exists(target));
}

TEST_F(SystemCommands, ProgramsNotWaitedForNeverFailOnTheirStatus) {
    m_shell->SetVar(L"XRC", L"7");
    EXPECT_EQ(Code(L"SYSTEMX false"), 0);
    EXPECT_EQ(m_shell->GetVar(L"XRC"), L"0");
    EXPECT_EQ(Code(L"SYSTEMCALLX false"), 0);
}

TEST_F(SystemCommands, MkdirMakesEveryMissingLevelAndRmdirRemovesOne) {
    const Text nested = Dir("a/b/c");
    EXPECT_EQ(Code(L"SYSTEM MKDIR " + nested), 0);
    EXPECT_TRUE(fs::is_directory(m_dir / "a/b/c"));
    EXPECT_EQ(Code(L"SYSTEM mkdir " + nested), 0) << "an existing directory is success";

    Touch("plain");
    EXPECT_EQ(Code(L"SYSTEM MKDIR " + Dir("plain/sub")), 279);
    EXPECT_EQ(Code(L"SYSTEMCALL MKDIR " + Dir("plain/sub")), 429);

    EXPECT_EQ(Code(L"SYSTEM RMDIR " + Dir("a")), 279) << "not empty";
    EXPECT_EQ(Code(L"SYSTEM RMDIR " + nested), 0);
    EXPECT_FALSE(fs::exists(m_dir / "a/b/c"));
    EXPECT_EQ(Code(L"SYSTEMCALL RMDIR " + nested), 429);
}

TEST_F(SystemCommands, HelpWithoutItsFileIsCode427) {
    EXPECT_EQ(Code(L"SYSTEM HELP " + Dir("missing.html") + L" topic"), 427);
    EXPECT_EQ(Code(L"SYSTEMCALL HELP " + Dir("missing.html") + L" topic"), 428);
    EXPECT_EQ(Code(L"SYSTEM HELP CLOSE"), 0);
}

TEST_F(SystemCommands, EnvLooksUpTheNameInUpperCase) {
    ::setenv("KVO_SYSTEM_TEST", "a value", 1);
    EXPECT_EQ(Result(L"ENV kvo_system_test"), L"a value");
    ::unsetenv("KVO_SYSTEM_TEST");
    EXPECT_EQ(Code(L"ENV kvo_system_test"), 240);
    ::setenv("kvo_lower_only", "x", 1);
    EXPECT_EQ(Code(L"ENV kvo_lower_only"), 240);
    ::unsetenv("kvo_lower_only");
}

TEST_F(SystemCommands, PwdChangesDirectoryAndGivesItWithoutTrailingSlash) {
    const Text target = Dir("sub") + L"/";
    fs::create_directories(m_dir / "sub");
    const Text now = Result(L"PWD " + target);
    EXPECT_EQ(now, FromUtf8(fs::canonical(m_dir / "sub").string()));
    EXPECT_EQ(Code(L"PWD " + Dir("missing")), 241);
    EXPECT_EQ(Result(L"PWD"), now) << "a failed change keeps the directory";
    EXPECT_EQ(Result(L"PWD /"), L"/");
    EXPECT_EQ(Code(L"PWD /" + Text(5000, L'a')), 242);
}

TEST_F(SystemCommands, DriveListsMountPointsAndMeasuresOne) {
    const Text all = Result(L"DRIVE");
    EXPECT_EQ(all.rfind(L"/ ", 0), 0u) << ToUtf8(all);
    EXPECT_EQ(all.find(L"/proc "), Text::npos) << "the kernel's own file systems hold no data";
    EXPECT_EQ(all.find(L"/ ", 1), Text::npos) << "the root once";
    EXPECT_EQ(all.back(), L' ');

    const Text root = Result(L"DRIVE /");
    EXPECT_EQ(root.rfind(L"/ ", 0), 0u);
    const Text sized = Result(L"DRIVE " + Dir() + L" mbytes");
    std::wistringstream in(sized.substr(sized.find(L' ', sized.find(L' ') + 1)));
    double free = -1, total = -1, freeAll = -1;
    in >> free >> total >> freeAll;
    EXPECT_GT(total, 0.0) << ToUtf8(sized);
    EXPECT_LE(free, freeAll);
    EXPECT_LE(freeAll, total);
    const Text kilo = Result(L"DRIVE " + Dir() + L" k");
    EXPECT_NE(kilo, sized);

    EXPECT_EQ(Code(L"DRIVE / bytes"), 253);
    EXPECT_EQ(Code(L"DRIVE home"), 245);
    const int missing = Code(L"DRIVE /kvo-no-such-dir/x");
    EXPECT_TRUE(IsError(missing)) << missing;
    const int silent = Code(L"DRIVE /kvo-no-such-dir/x /S");
    EXPECT_TRUE(IsWarning(silent) && silent != 0) << silent;
}

TEST_F(SystemCommands, SysinfoGivesProcessHostUserAndSystem) {
    const Text info = Result(L"SYSINFO");
    const std::wregex form(L"([0-9A-F]{8});([^;]+);([^;]+);Linux .+");
    std::wsmatch parts;
    ASSERT_TRUE(std::regex_match(info, parts, form)) << ToUtf8(info);
    EXPECT_EQ(std::stoul(parts[1].str(), nullptr, 16), static_cast<unsigned long>(::getpid()));
}

TEST_F(SystemCommands, TimerCountsFromTsetInSecondsOrMilliseconds) {
    const std::wregex stamp(L"\\d{4}\\.\\d{2}\\.\\d{2}  \\d{2}\\.\\d{2}\\.\\d{2}");
    EXPECT_TRUE(std::regex_match(Result(L"TIME"), stamp));
    EXPECT_TRUE(std::regex_match(Result(L"TSET"), stamp));
    EXPECT_EQ(Result(L"TGET"), L"0");

    m_shell->m_ticks = std::chrono::steady_clock::now() - std::chrono::milliseconds(10600);
    EXPECT_EQ(Result(L"TGET"), L"11") << "seconds are rounded to the nearest";
    const long long ms = std::stoll(Result(L"TGET /M"));
    EXPECT_GE(ms, 10600);
    EXPECT_LT(ms, 60000);
    Result(L"TSET");
    EXPECT_LT(std::stoll(Result(L"TGET /m")), 5000);
}

TEST_F(SystemCommands, UniqueCountsSequentialNamesUpToTheLimitOfItsDigits) {
    const Text dir = Dir();
    EXPECT_EQ(Result(L"UNIQUE " + dir + L" * 0 1"), dir + L"/0");
    for (int i = 0; i < 9; ++i) Touch(std::to_string(i));
    EXPECT_EQ(Result(L"UNIQUE " + dir + L" * 0 1"), dir + L"/9");
    Touch("9");
    EXPECT_EQ(Code(L"UNIQUE " + dir + L" * 0 1"), 244) << "10^1 - 1 is the last name";
    EXPECT_EQ(Result(L"UNIQUE " + dir + L" * 0 2"), dir + L"/00") << "names have all their digits";
    EXPECT_EQ(Result(L"UNIQUE " + dir + L" txt 0 3 5"), dir + L"/005.txt");
    EXPECT_EQ(Code(L"UNIQUE " + dir + L" * 0 2 100"), 244);
}

TEST_F(SystemCommands, UniqueChecksItsArguments) {
    const Text dir = Dir();
    EXPECT_EQ(Code(L"UNIQUE " + dir + L" * 0 9"), 67);
    EXPECT_EQ(Code(L"UNIQUE " + dir + L" * 0 0"), 67);
    EXPECT_EQ(Code(L"UNIQUE " + dir + L" * 0 2 -1"), 68);
    EXPECT_EQ(Code(L"UNIQUE " + dir + L" * 0 2 x"), 68);
    EXPECT_EQ(Code(L"UNIQUE " + Dir("missing")), 64);
}

TEST_F(SystemCommands, UniqueRandomNamesAreUpperCaseHexOfTheGivenLength) {
    fs::current_path(m_dir);
    const Text name = Result(L"UNIQUE * .dat 1 2");
    EXPECT_TRUE(std::regex_match(name, std::wregex(L".*/[0-9A-F]{2}\\.dat"))) << ToUtf8(name);
    EXPECT_EQ(name.substr(0, name.rfind(L'/')), FromUtf8(fs::current_path().string()));
    // A full space of one digit: every name is taken.
    for (const char* n : {"0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "A", "B", "C", "D", "E", "F"})
        Touch(n);
    EXPECT_EQ(Code(L"UNIQUE * * 1 1"), 244);
    EXPECT_EQ(Code(L"UNIQUE"), 0) << "eight digits leave room";
}

TEST_F(SystemCommands, NameChecksOrRepairsByType) {
    EXPECT_EQ(Result(L"NAME abc1"), L"abc1");
    EXPECT_EQ(Result(L"NAME 1abc"), L"");
    EXPECT_EQ(Result(L"NAME 1abc * 1"), L"xabc");
    EXPECT_EQ(Result(L"NAME a.b_c ITEM 1"), L"axbxc");
    EXPECT_EQ(Result(L"NAME a.b_c SEGMENT"), L"a.b_c");
    EXPECT_EQ(Result(L"NAME a.b-c XMLID 1"), L"a.bxc");
    EXPECT_EQ(Result(L"NAME ab TABLEF"), L"ab");
    EXPECT_EQ(Result(L"NAME 'a b' TABLEFIELD 1"), L"axb");
    EXPECT_EQ(Result(L"NAME 'x' XMLATTRIBUTE 0"), L"x");
    EXPECT_EQ(Code(L"NAME abc NOTYPE"), 65);
}

TEST_F(SystemCommands, NameOfALocalPathHasNoNetworkName) {
    EXPECT_EQ(Result(L"NAME " + Dir() + L" UNC"), L"");
    EXPECT_EQ(Result(L"NAME " + Dir() + L" UNC 1"), Dir());
}

} // namespace
