// The file item as a utility: split names, attributes, directory searches,
// delete, rename, copy, and NEW FILE's types and options.
#include <sys/stat.h>
#include <utime.h>

#include <ctime>

#include "items/tests/file_fixture.h"

namespace {

using FileItemTest = FileTest;

TEST_F(FileItemTest, AttributesOfAKnownFile) {
    WriteBytes("data.v1.txt", std::string(1234, 'x'));
    // A fixed modification time in local time: 2021-03-04 05:06.
    struct tm local {};
    local.tm_year = 121;
    local.tm_mon = 2;
    local.tm_mday = 4;
    local.tm_hour = 5;
    local.tm_min = 6;
    local.tm_isdst = -1;
    const time_t when = mktime(&local);
    struct utimbuf times {
        when, when
    };
    ASSERT_EQ(::utime(PathOf("data.v1.txt").c_str(), &times), 0);

    ASSERT_EQ(New(L"f", WPath("data.v1.txt")), 0);
    EXPECT_EQ(Status(L"f", L"!PATH"), WPath("data.v1.txt"));
    EXPECT_EQ(Status(L"f", L"!DIRECTORY"), FromUtf8(m_dir + "/"));
    EXPECT_EQ(Status(L"f", L"!NAME"), L"data.v1");
    EXPECT_EQ(Status(L"f", L"!EXTENSION"), L".txt");
    EXPECT_EQ(Status(L"f", L"!DRIVE"), L"");
    EXPECT_EQ(Status(L"f", L"!SIZE"), L"1234");
    EXPECT_EQ(Status(L"f", L"!MODIFIED"), L"2021.03.04  05.06");
    EXPECT_EQ(Status(L"f", L"!LASTACCESS"), L"2021.03.04  05.06");
    EXPECT_EQ(Status(L"f", L"!ATTRIBUTES"), L"Normal");
    EXPECT_EQ(Status(L"f", L"!ACCESS"), L"Write");
    EXPECT_EQ(Status(L"f", L"!TYPE"), L"FILE");
    EXPECT_EQ(Status(L"f", L"!USERS"), L"1");
    EXPECT_EQ(Status(L"f", L"!SHELL"), Shell()->IdText());
    EXPECT_EQ(Status(L"f", L"!CREATED").size(), 17u);
    // Keywords may be abbreviated.
    EXPECT_EQ(Status(L"f", L"!EXT"), L".txt");

    ASSERT_EQ(::chmod(PathOf("data.v1.txt").c_str(), 0444), 0);
    if (::geteuid() != 0) {
        EXPECT_EQ(Status(L"f", L"!ACCESS"), L"Read");
    }

    WriteBytes(".hidden", "");
    ASSERT_EQ(New(L"h", WPath(".hidden")), 0);
    EXPECT_EQ(Status(L"h", L"!NAME"), L".hidden");
    EXPECT_EQ(Status(L"h", L"!EXTENSION"), L"");
    EXPECT_EQ(Status(L"h", L"!ATTRIBUTES"), L"Hidden");
    ASSERT_EQ(New(L"d", FromUtf8(m_dir)), 0);
    EXPECT_EQ(Status(L"d", L"!ATTRIBUTES"), L"Directory");

    // A file that is not there has its names but no attributes.
    ASSERT_EQ(New(L"m", WPath("missing.dat")), 0);
    EXPECT_EQ(Status(L"m", L"!NAME"), L"missing");
    EXPECT_EQ(Status(L"m", L"!SIZE"), L"");
    EXPECT_EQ(Status(L"m", L"!MODIFIED"), L"");
    EXPECT_EQ(Status(L"m", L"!ATTRIBUTES"), L"");
    EXPECT_EQ(Set(L"m", L"STATUS " + WPath("nothing")), 66);
    EXPECT_EQ(Set(L"m", L"STATUS " + WPath("data.v1.txt")), 0);
    EXPECT_EQ(Status(L"m", L"!SIZE"), L"1234");
}

TEST_F(FileItemTest, FindAndNextOverADirectory) {
    std::filesystem::create_directory(PathOf("sub"));
    std::filesystem::create_directory(PathOf("other"));
    WriteBytes("b.txt", "1");
    WriteBytes("a.txt", "22");
    WriteBytes("c.dat", "333");
    WriteBytes(".d.txt", "");
    ASSERT_EQ(New(L"l", L"/L"), 0);

    Text hits;
    ASSERT_EQ(Set(L"l", L"FIND " + WPath("*.txt")), 0);
    do hits += Status(L"l", L"!NAME") + Status(L"l", L"!EXTENSION") + L":" + Status(L"l", L"!SIZE") + L" ";
    while (Set(L"l", L"NEXT") == 0);
    EXPECT_EQ(hits, L".d.txt:0 a.txt:2 b.txt:1 ");
    EXPECT_EQ(Set(L"l", L"NEXT"), 281);

    // "*.*" is everything, "." and ".." never come, /D finds the directories only.
    int count = 0;
    for (int code = Set(L"l", L"FIND " + WPath("*.*")); code == 0; code = Set(L"l", L"NEXT")) ++count;
    EXPECT_EQ(count, 4);
    hits.clear();
    for (int code = Set(L"l", L"FIND " + WPath("*") + L" /D"); code == 0; code = Set(L"l", L"NEXT"))
        hits += Status(L"l", L"!NAME") + L"=" + Status(L"l", L"!ATTRIBUTES") + L" ";
    EXPECT_EQ(hits, L"other=Directory sub=Directory ");
    EXPECT_EQ(Set(L"l", L"FIND " + WPath("?.dat")), 0);
    EXPECT_EQ(Status(L"l", L"!PATH"), WPath("c.dat"));
    EXPECT_EQ(Set(L"l", L"FIND " + WPath("*.none")), 280);
    EXPECT_EQ(Status(L"l", L"!SIZE"), L"");
    EXPECT_EQ(Set(L"l", L"FIND " + WPath("no/such/dir/*")), 280);
}

TEST_F(FileItemTest, DeleteRenameAndCopy) {
    WriteBytes("a", "content");
    ASSERT_EQ(New(L"f", L""), 0);
    EXPECT_EQ(Set(L"f", L"COPY " + WPath("a") + L" " + WPath("b")), 0);
    EXPECT_EQ(ReadBytes("b"), "content");
    EXPECT_EQ(Set(L"f", L"COPY " + WPath("none") + L" " + WPath("c")), 277);
    EXPECT_EQ(Set(L"f", L"RENAME " + WPath("b") + L" " + WPath("c")), 0);
    EXPECT_FALSE(std::filesystem::exists(PathOf("b")));
    EXPECT_EQ(ReadBytes("c"), "content");
    EXPECT_EQ(Set(L"f", L"RENAME " + WPath("b") + L" " + WPath("d")), 276);
    EXPECT_EQ(Set(L"f", L"RENAME " + WPath("b") + L" " + WPath("d") + L" /S"), 315);
    EXPECT_EQ(Set(L"f", L"DELETE " + WPath("c")), 0);
    EXPECT_FALSE(std::filesystem::exists(PathOf("c")));
    EXPECT_EQ(Set(L"f", L"DELETE " + WPath("c")), 275);
    EXPECT_EQ(Set(L"f", L"DEL " + WPath("c") + L" /S"), 314);
    EXPECT_EQ(Status(L"f", L"!CHANGED"), L"3");
}

TEST_F(FileItemTest, TypesAccessAndGdxGeometry) {
    WriteBytes("x.bin", "");
    CShellFile* file = nullptr;
    ASSERT_EQ(New(L"b", WPath("x.bin") + L" /B", &file), 0);
    EXPECT_EQ(Status(L"b", L"!TYPE"), L"BINARY");
    EXPECT_EQ(Status(L"b", L"!ACCESS"), L"Write");
    ASSERT_EQ(New(L"r", WPath("x.bin") + L" /B /R", &file), 0);
    EXPECT_EQ(Status(L"r", L"!ACCESS"), L"Read");

    ASSERT_EQ(New(L"g", WPath("x.gdx") + L" 16 8 100 /Y", &file), 0);
    EXPECT_EQ(Status(L"g", L"!TYPE"), L"GDX");
    EXPECT_EQ(Status(L"g", L"!BININFO"), L"16 8 100");
    EXPECT_TRUE(std::filesystem::exists(PathOf("x.gdx")));
    EXPECT_EQ(New(L"g2", WPath("x.gdx") + L" 16 0 1 /Y"), ArgumentError(4, false));
    EXPECT_EQ(New(L"g3", WPath("x.gdx") + L" 16 /Y"), 2);
    EXPECT_EQ(Set(L"g", L"LIST t"), 196);

    ASSERT_EQ(New(L"l", WPath("*") + L" /L"), 0);
    EXPECT_EQ(Status(L"l", L"!TYPE"), L"LIST");
    EXPECT_EQ(Set(L"l", L"SYNC"), 220);
    EXPECT_EQ(New(L"dir", FromUtf8(m_dir) + L" /B /R"), MapErrno(EISDIR, false, 333));
}

TEST_F(FileItemTest, LockWordsAndSharesOfAFileItem) {
    ASSERT_EQ(New(L"f", WPath("x")), 0);
    EXPECT_EQ(Set(L"f", L"LOCK"), 0);
    EXPECT_EQ(Set(L"f", L"LOCK"), 383);
    // A SET by the owner does not end its lock.
    EXPECT_EQ(Set(L"f", L"STATUS " + WPath("nothing")), 66);
    EXPECT_EQ(Set(L"f", L"TRYLOCK"), 383);
    EXPECT_EQ(Set(L"f", L"UNLOCK"), 0);
    EXPECT_EQ(Set(L"f", L"UNLOCK"), 410);
    CShell::ItemEntry* e = Shell()->FindItem(L"f", KIND_FILE);
    ASSERT_TRUE(CItemKindRegistry::Find(KIND_FILE)->AddRef(e->value));
    EXPECT_EQ(Status(L"f", L"!USERS"), L"2");
    CItemKindRegistry::Find(KIND_FILE)->Release(e->value);
    EXPECT_EQ(Status(L"f", L"!USERS"), L"1");
}

TEST_F(FileItemTest, NewFileThroughTheMacroLanguage) {
    WriteBytes("n.txt", "x y\r\n");
    RunMacro(L"@name := NEW FILE * '" + WPath("n.txt") +
             L"' /T\n"
             L"@type := SET $@name[!TYPE]\n"
             L"@bad := NEW FILE * '" +
             WPath("none.txt") +
             L"' /T\n"
             L"@badrc := SET $RC\n"
             L"@quiet := NEW FILE * '" +
             WPath("none.txt") +
             L"' /T /I\n"
             L"@quietrc := SET $RC\n"
             L"NEW FILE b '" +
             WPath("n.bin") +
             L"' /B\n"
             L"READ b #x\n"
             L"@readrc := SET $RC\n");
    EXPECT_EQ(Global(L"name").substr(0, 2), L"F#");
    EXPECT_EQ(Global(L"type"), L"TEXT");
    EXPECT_EQ(Global(L"bad"), L"*");
    EXPECT_EQ(Global(L"badrc"), IntText(MapErrno(ENOENT, false, 333)));
    EXPECT_EQ(Global(L"quietrc"), IntText(MapErrno(ENOENT, true, 331)));
    EXPECT_EQ(Global(L"readrc"), L"220");
}

} // namespace
