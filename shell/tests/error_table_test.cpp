#include "shell/error_table.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <set>

namespace {

const Text kUnknown = L"Unknown or invalid numerical error code.";

TEST(ErrorTableText, SampleEntriesWordForWord) {
    EXPECT_EQ(ErrorText(1), L"general memory allocation error");
    EXPECT_EQ(ErrorText(27), L"\"|\" expected");
    EXPECT_EQ(ErrorText(35), L"dot expression expected (\"*\", \"/\" or \"%\")");
    EXPECT_EQ(ErrorText(47),
              L"Access denied. The file may be write-protected, you may have insufficient privileges, "
              L"or another application may be accessing the file while we need exclusive access.");
    EXPECT_EQ(ErrorText(84), L"twenty first argument is invalid");
    EXPECT_EQ(ErrorText(91), L"twenty-eigth argument is invalid");
    EXPECT_EQ(ErrorText(265), L"cannot create unique name (please consult the Kvo support");
    EXPECT_EQ(ErrorText(338), L"there are now rows in this table");
    EXPECT_EQ(
        ErrorText(479),
        L"namespace for automatically generated segment names is exhausted for your chosen index length "
        L"(e.g. if you chose an index length of 2, you can generate at most 100 segments with names ranging "
        L"from \"prefix.00\" to \"prefix.99\").");
    EXPECT_EQ(ErrorText(485), L"unsupported byte order mark");
    // Repetitions in the table are kept as separate, equal entries.
    EXPECT_EQ(ErrorText(94), ErrorText(204));
    EXPECT_EQ(ErrorText(346), L"bad unload");
    EXPECT_EQ(ErrorText(347), L"bad unload");
}

// FNV-1a over entries 1..485, each followed by '\n', as computed from the
// language's list of messages by a script independent of this table. Any changed letter,
// lost quote or swapped entry shows here.
TEST(ErrorTableText, WholeTableMatchesDigest) {
    uint64_t hash = 0xcbf29ce484222325ull;
    size_t chars = 0;
    for (int code = 1; code < kErrorCount; ++code) {
        Text entry = ErrorText(code);
        entry += L'\n';
        for (wchar_t c : entry) {
            hash ^= static_cast<uint32_t>(c);
            hash *= 0x100000001b3ull;
        }
        chars += entry.size();
    }
    EXPECT_EQ(chars, 16513u);
    EXPECT_EQ(hash, 0x176dc7581ef0d184ull);
}

TEST(ErrorTableText, CodeZeroAndUnknownCodes) {
    EXPECT_EQ(ErrorText(0), L"The error code 0 does not indicate an error having occured. Usually, it even "
                            L"indicates an error not having occured.");
    for (int code : {-1, -486, kErrorCount, 487, 100000}) EXPECT_EQ(ErrorText(code), kUnknown) << code;
    for (int code = 1; code < kErrorCount; ++code) {
        EXPECT_FALSE(ErrorText(code).empty()) << code;
        EXPECT_NE(ErrorText(code), kUnknown) << code;
    }
}

TEST(ErrorTableText, OutParameterFormAgreesAndOverwrites) {
    Text out = L"left over";
    for (int code : {-1, 0, 1, 27, 485, 486}) {
        ErrorText(code, out);
        EXPECT_EQ(out, ErrorText(code)) << code;
    }
}

TEST(ErrorTableWarnings, SetHoldsExactlyTheMarkedCodes) {
    // 105 entries carry (w) in the table (15 among them), plus code 0.
    int warnings = 0;
    for (int code = 0; code < kErrorCount; ++code) {
        EXPECT_NE(IsWarning(code), IsError(code)) << code;
        warnings += IsWarning(code);
    }
    EXPECT_EQ(warnings, 106);

    for (int code : {0,   15,  129, 136, 194, 280, 281, 290, 292, 299, 301, 310, 312, 331, 341, 350,
                     351, 352, 388, 392, 393, 409, 446, 458, 460, 462, 468, 476, 480, 482, 484})
        EXPECT_TRUE(IsWarning(code)) << code;
    for (int code = 363; code <= 370; ++code) EXPECT_TRUE(IsWarning(code)) << code;
    for (int code = 435; code <= 446; ++code) EXPECT_TRUE(IsWarning(code)) << code;

    for (int code : {1,   2,   4,   14,  16,  46,  128, 130, 137, 193, 195, 279, 282, 311, 346, 347,
                     349, 362, 371, 387, 401, 422, 433, 447, 457, 459, 477, 479, 481, 483, 485})
        EXPECT_TRUE(IsError(code)) << code;
    for (int code : {-1, 486, 100000}) EXPECT_TRUE(IsError(code)) << code;
}

TEST(ErrorTableTwins, SpotPairsAndMisses) {
    EXPECT_EQ(SilentTwin(2, -1), 351);
    EXPECT_EQ(SilentTwin(46, -1), 435);
    EXPECT_EQ(SilentTwin(57, -1), 389);
    EXPECT_EQ(SilentTwin(71, -1), 370);
    EXPECT_EQ(SilentTwin(197, -1), 310);
    EXPECT_EQ(SilentTwin(346, -1), 347);
    EXPECT_EQ(SilentTwin(433, -1), 434);
    // Not in the twin table: no own twin, a twin itself, the code of a
    // system-error row that has a silent form, beyond the table.
    for (int code : {0, 1, 3, 50, 72, 351, 434, 471, 479, 485, -1, 486})
        EXPECT_EQ(SilentTwin(code, 7777), 7777) << code;
}

TEST(ErrorTableTwins, TwinsShareTextAndAreWarnings) {
    // The table's own exceptions: six twins word the message differently,
    // 347 is not marked (w), and 392 is a warning with a warning twin.
    const std::set<int> otherWording = {310, 314, 315, 307, 308, 309};
    std::set<int> twins;
    for (int code = 0; code < kErrorCount; ++code) {
        const int twin = SilentTwin(code, -1);
        if (twin < 0) continue;
        EXPECT_TRUE(twins.insert(twin).second) << "two errors share twin " << twin;
        EXPECT_NE(twin, code);
        EXPECT_EQ(SilentTwin(twin, -1), -1) << "twin " << twin << " has a twin itself";
        if (!otherWording.count(twin)) {
            EXPECT_EQ(ErrorText(twin), ErrorText(code)) << code << "/" << twin;
        }
        if (twin != 347) {
            EXPECT_TRUE(IsWarning(twin)) << twin;
        }
        if (code != 392) {
            EXPECT_TRUE(IsError(code)) << code;
        }
    }
    EXPECT_EQ(twins.size(), 70u);
    EXPECT_EQ(ErrorText(310), L"empty position");
    EXPECT_TRUE(IsError(347));
}

TEST(ErrorTableSystem, RowsOfTheTable) {
    struct Row {
        unsigned long system;
        int code, silent;
    };
    const Row rows[] = {
        {2, 46, 435},     {3, 46, 435},     {15, 46, 435},    {20, 46, 435},    {53, 46, 435},
        {55, 46, 435},    {5, 47, 436},     {19, 471, 472},   {21, 48, 437},    {32, 49, 438},
        {33, 469, 470},   {36, 467, 468},   {38, 50, 445},    {50, 251, 251},   {65, 475, 476},
        {80, 51, 439},    {110, 52, 440},   {112, 53, 441},   {123, 54, 442},   {167, 473, 474},
        {170, 55, 443},   {234, 250, 250},  {1200, 248, 248}, {1201, 249, 249}, {2250, 249, 249},
        {1203, 252, 252}, {1222, 252, 252},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(MapSystemError(row.system, false, -1), row.code) << row.system;
        EXPECT_EQ(MapSystemError(row.system, true, -1), row.silent) << row.system;
        // Where the silent form differs it is the same message as a warning.
        if (row.silent != row.code) {
            EXPECT_EQ(ErrorText(row.silent), ErrorText(row.code)) << row.system;
            EXPECT_TRUE(IsWarning(row.silent)) << row.system;
            EXPECT_TRUE(IsError(row.code)) << row.system;
        }
    }
    for (unsigned long other : {0ul, 1ul, 4ul, 17ul, 87ul, 145ul, 1202ul, 0xFFFFFFFFul}) {
        EXPECT_EQ(MapSystemError(other, false, 9), 9) << other;
        EXPECT_EQ(MapSystemError(other, true, 444), 444) << other;
    }
}

TEST(ErrorTableSystem, ErrnoCommonConditions) {
    struct Row {
        int err, code, silent;
    };
    const Row rows[] = {
        {ENOENT, 46, 435},       {ENOTDIR, 46, 435},   {EACCES, 47, 436},       {EPERM, 47, 436},
        {EISDIR, 47, 436},       {EROFS, 471, 472},    {ENODEV, 48, 437},       {ENXIO, 48, 437},
        {ENOMEDIUM, 48, 437},    {EIO, 48, 437},       {ETXTBSY, 49, 438},      {EAGAIN, 469, 470},
        {ENOLCK, 467, 468},      {EEXIST, 51, 439},    {ENOSPC, 53, 441},       {EDQUOT, 53, 441},
        {ENAMETOOLONG, 54, 442}, {EINVAL, 54, 442},    {EDEADLK, 473, 474},     {EBUSY, 55, 443},
        {ERANGE, 250, 250},      {ENOTCONN, 249, 249}, {ENETUNREACH, 252, 252},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(MapErrno(row.err, false, -1), row.code) << row.err;
        EXPECT_EQ(MapErrno(row.err, true, -1), row.silent) << row.err;
    }
    for (int err : {0, -2, EINTR, EBADF, ENOMEM, ENOBUFS, EMFILE, EXDEV, ENOTEMPTY, EOPNOTSUPP, 100000})
        EXPECT_EQ(MapErrno(err, false, 56), 56) << err;
    EXPECT_EQ(MapErrno(ENOBUFS, true, 444), 444);
}

TEST(ErrorTableArguments, PositionsAndSilentForms) {
    EXPECT_EQ(ArgumentError(1, false), 64);
    EXPECT_EQ(ArgumentError(8, false), 71);
    EXPECT_EQ(ArgumentError(9, false), 72);
    EXPECT_EQ(ArgumentError(30, false), 93);
    EXPECT_EQ(ArgumentError(31, false), 4);
    EXPECT_EQ(ArgumentError(1, true), 363);
    EXPECT_EQ(ArgumentError(8, true), 370);
    EXPECT_EQ(ArgumentError(9, true), 4);
    EXPECT_EQ(ArgumentError(30, true), 4);
    for (bool silent : {false, true}) {
        EXPECT_EQ(ArgumentError(0, silent), 4);
        EXPECT_EQ(ArgumentError(-3, silent), 4);
    }
    // The silent form is the twin of the plain one, and the texts name the
    // position.
    for (int n = 1; n <= 8; ++n)
        EXPECT_EQ(ArgumentError(n, true), SilentTwin(ArgumentError(n, false), -1)) << n;
    EXPECT_EQ(ErrorText(ArgumentError(1, false)), L"first argument or sub-command is invalid");
    EXPECT_EQ(ErrorText(ArgumentError(28, false)), L"twenty-eigth argument is invalid");
    EXPECT_EQ(ErrorText(ArgumentError(30, false)), L"thirtieth argument is invalid");
}

} // namespace
