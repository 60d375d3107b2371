// The file encoder: packing and substitution, their round trips, and every
// message, through EncodeFile and through SET f COPY /Z.
#include <random>

#include "items/file_encoder.h"
#include "items/tests/file_fixture.h"

namespace {

using FileEncoderTest = FileTest;

std::string Sample(size_t size, unsigned seed, int alphabet) {
    std::mt19937 random(seed);
    // Skewed, so the frequency classes have something to do.
    std::geometric_distribution<int> pick(0.15);
    std::string s(size, '\0');
    for (char& c : s) c = static_cast<char>(pick(random) % alphabet);
    return s;
}

TEST(FileEncoderLayers, SubstitutionIsAPermutationForEveryPassword) {
    for (const wchar_t* password : {L"abc", L"aaa", L"secret password", L"\u00E9\u00E9x"}) {
        std::array<uint8_t, 256> table{};
        ASSERT_TRUE(SubstitutionTable(password, table)) << password;
        std::array<bool, 256> seen{};
        for (uint8_t v : table) seen[v] = true;
        EXPECT_EQ(std::count(seen.begin(), seen.end(), true), 256) << password;
    }
    std::array<uint8_t, 256> a{};
    std::array<uint8_t, 256> b{};
    ASSERT_TRUE(SubstitutionTable(L"abc", a));
    ASSERT_TRUE(SubstitutionTable(L"abd", b));
    EXPECT_NE(a, b);
    ASSERT_TRUE(SubstitutionTable(L"", a));
    EXPECT_EQ(a[0], 0);
    EXPECT_EQ(a[200], 200);
    EXPECT_FALSE(SubstitutionTable(L"ab", a));
    EXPECT_FALSE(SubstitutionTable(Text(129, L'x'), a));
    EXPECT_TRUE(SubstitutionTable(Text(128, L'x'), a));
}

TEST(FileEncoderLayers, PackingRoundTripsAndShrinksSkewedData) {
    for (int alphabet : {1, 2, 17, 200, 256}) {
        const std::string plain = Sample(5000, static_cast<unsigned>(alphabet), alphabet);
        const std::string packed = PackBytes(plain);
        std::string back;
        EXPECT_EQ(UnpackBytes(packed, back), L"") << alphabet;
        EXPECT_EQ(back, plain) << alphabet;
        // A byte costs at least 3 + 1 bits; the most frequent values must get those codes.
        if (alphabet <= 17) {
            EXPECT_LT(packed.size(), plain.size() * 52 / 100) << alphabet;
        }
    }
    // The header: N-1, the values by falling frequency (ties by value), 0 and 3, the widths.
    const std::string packed = PackBytes(std::string("bbbbaaaaaaaacccccccc", 20));
    EXPECT_EQ(packed[0], 2);
    EXPECT_EQ(packed.substr(1, 3), "acb");
    EXPECT_EQ(static_cast<unsigned char>(packed[4]), 0x30);
}

TEST(FileEncoderLayers, BrokenStreamsGiveTheirMessages) {
    std::string packed = PackBytes(std::string(40, 'q') + "xyz");
    std::string plain;
    EXPECT_EQ(UnpackBytes(packed.substr(0, 5), plain), L"invalid header size");
    std::string bad = packed;
    // Four values: count, 4 values, reserved and class bits at 5, widths 6 to 9, length 10 to 13.
    bad[5] = static_cast<char>(bad[5] ^ 0x01);
    EXPECT_EQ(UnpackBytes(bad, plain), L"invalid mapping");
    bad = packed;
    bad[6] = static_cast<char>(bad[6] & 0xF0); // w0 = 0
    EXPECT_EQ(UnpackBytes(bad, plain), L"invalid mapping");
    bad = packed;
    bad[10] = 15; // a length of 15
    bad[11] = bad[12] = bad[13] = 0;
    EXPECT_EQ(UnpackBytes(bad, plain), L"invalid data size");
    EXPECT_EQ(UnpackBytes(packed + '\0', plain), L"decode failed");
    EXPECT_EQ(UnpackBytes(packed.substr(0, packed.size() - 1), plain), L"decode failed");
}

TEST_F(FileEncoderTest, EncodeThenDecodeGivesTheSameBytes) {
    const std::string plain = Sample(20000, 7, 256) + std::string("\0\xFF\r\n", 4);
    WriteBytes("plain.bin", plain);
    Text log;
    ASSERT_TRUE(EncodeFile(WPath("plain.bin"), WPath("enc.bin"), L"open sesame", false, log)) << log;
    EXPECT_EQ(log, L"copy and encode \"" + WPath("plain.bin") + L"\" to \"" + WPath("enc.bin") +
                       L"\" ... finished");
    EXPECT_NE(ReadBytes("enc.bin"), plain);
    log.clear();
    ASSERT_TRUE(EncodeFile(WPath("enc.bin"), WPath("dec.bin"), L"open sesame", true, log)) << log;
    EXPECT_EQ(ReadBytes("dec.bin"), plain);

    // A wrong password ends in a message and writes nothing.
    log.clear();
    EXPECT_FALSE(EncodeFile(WPath("enc.bin"), WPath("wrong.bin"), L"open sesamf", true, log));
    EXPECT_NE(log.find(L"copy and decode"), Text::npos);
    const bool known =
        log.find(L"invalid mapping") != Text::npos || log.find(L"invalid data size") != Text::npos ||
        log.find(L"invalid header size") != Text::npos || log.find(L"decode failed") != Text::npos;
    EXPECT_TRUE(known) << log;
    EXPECT_FALSE(std::filesystem::exists(PathOf("wrong.bin")));

    // No password: packing only; "*" as target: the source itself.
    log.clear();
    ASSERT_TRUE(EncodeFile(WPath("plain.bin"), L"*", L"*", false, log)) << log;
    EXPECT_EQ(ReadBytes("plain.bin"), PackBytes(plain));
    ASSERT_TRUE(EncodeFile(WPath("plain.bin"), L"", L"", true, log)) << log;
    EXPECT_EQ(ReadBytes("plain.bin"), plain);
}

TEST_F(FileEncoderTest, SourceAndPasswordChecks) {
    WriteBytes("small", std::string(15, 'x'));
    WriteBytes("ok", std::string(16, 'x'));
    Text log;
    EXPECT_FALSE(EncodeFile(WPath("small"), WPath("t"), L"abc", false, log));
    EXPECT_NE(log.find(L" ... invalid sourcefile size"), Text::npos) << log;
    log.clear();
    EXPECT_FALSE(EncodeFile(WPath("ok"), WPath("t"), L"ab", false, log));
    EXPECT_NE(log.find(L" ... invalid password"), Text::npos) << log;
    log.clear();
    EXPECT_FALSE(EncodeFile(WPath("none"), WPath("t"), L"abc", false, log));
    EXPECT_NE(log.find(L" ... sourcefile open failed"), Text::npos) << log;
    log.clear();
    EXPECT_FALSE(EncodeFile(WPath("ok"), WPath("no/dir/t"), L"abc", false, log));
    EXPECT_NE(log.find(L" ... open targetfile failed"), Text::npos) << log;
    EXPECT_FALSE(std::filesystem::exists(PathOf("t")));
}

TEST_F(FileEncoderTest, CopyWithZThroughTheFileItem) {
    const std::string plain = "a plain text file of some length\r\n";
    WriteBytes("p.txt", plain);
    ASSERT_EQ(New(L"f", L""), 0);
    EXPECT_EQ(Set(L"f", L"COPY " + WPath("p.txt") + L" " + WPath("e.bin") + L" key1 /Z"), 6);
    EXPECT_EQ(Set(L"f", L"COPY " + WPath("p.txt") + L" " + WPath("e.bin") + L" key1 /Z /E /D"), 6);
    ASSERT_EQ(Set(L"f", L"COPY " + WPath("p.txt") + L" " + WPath("e.bin") + L" key1 /Z /E"), 0);
    ASSERT_EQ(Set(L"f", L"COPY " + WPath("e.bin") + L" " + WPath("d.txt") + L" key1 /Z /D"), 0);
    EXPECT_EQ(ReadBytes("d.txt"), plain);
    EXPECT_EQ(Set(L"f", L"COPY " + WPath("e.bin") + L" " + WPath("x.txt") + L" key2 /Z /D"), 7);
    EXPECT_FALSE(std::filesystem::exists(PathOf("x.txt")));
    bool logged = false;
    for (const Text& line : m_window.Lines()) logged = logged || line.find(L"... finished") != Text::npos;
    EXPECT_TRUE(logged);
}

} // namespace
