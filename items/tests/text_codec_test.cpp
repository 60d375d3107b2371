#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include "items/text_codec.h"

namespace {

Text Decode(const std::string& bytes, bool* ok = nullptr) {
    Text out;
    const bool result = DecodeText(bytes.data(), bytes.size(), out);
    if (ok) *ok = result;
    return out;
}

Text Bom(const std::string& bytes) {
    return DetectBom(bytes.data(), bytes.size());
}

TEST(TextCodec, ByteOrderMarksAreTestedInOrder) {
    EXPECT_EQ(Bom("\xEF\xBB\xBF"), L"UTF-8");
    EXPECT_EQ(Bom(std::string("\xFF\xFE\0\0", 4)), L"UTF-32LE");
    // Three bytes are too few for UTF-32: the UTF-16 mark wins.
    EXPECT_EQ(Bom(std::string("\xFF\xFE\0", 3)), L"UTF-16LE");
    EXPECT_EQ(Bom(std::string("\0\0\xFE\xFF", 4)), L"UTF-32BE");
    EXPECT_EQ(Bom("\xFF\xFE"), L"UTF-16LE");
    EXPECT_EQ(Bom("\xFE\xFF"), L"UTF-16BE");
    EXPECT_EQ(Bom("\xEF\xBB"), L"");
    EXPECT_EQ(Bom("\xFF"), L"");
    EXPECT_EQ(Bom("abc"), L"");
    EXPECT_EQ(Bom(""), L"");
}

TEST(TextCodec, Utf32IsRefused) {
    bool ok = true;
    Decode(std::string("\xFF\xFE\0\0a\0\0\0", 8), &ok);
    EXPECT_FALSE(ok);
    Decode(std::string("\0\0\xFE\xFF\0\0\0a", 8), &ok);
    EXPECT_FALSE(ok);
}

TEST(TextCodec, NoMarkMeansWindows1252) {
    bool ok = false;
    EXPECT_EQ(Decode("a\x80\x8A\x9F\xE4\xFF", &ok), L"a\u20AC\u0160\u0178\u00E4\u00FF");
    EXPECT_TRUE(ok);
    // The five undefined bytes stand for the C1 controls of the same number.
    EXPECT_EQ(Decode("\x81\x8D\x8F\x90\x9D"), L"\u0081\u008D\u008F\u0090\u009D");
    // Zero bytes are text like any other (libraries end their lines with them).
    EXPECT_EQ(Decode(std::string("a\0b", 3)), Text(L"a\0b", 3));
}

TEST(TextCodec, Windows1252RoundTripsEveryByte) {
    for (int b = 0; b < 256; ++b) {
        const wchar_t c = Windows1252Char(static_cast<uint8_t>(b));
        EXPECT_EQ(Windows1252Byte(c), b) << "byte " << b;
    }
    std::string out;
    EXPECT_TRUE(EncodeWindows1252(L"\u20AC\u2122\u0152 \u00E9", out));
    EXPECT_EQ(out, "\x80\x99\x8C \xE9");
    // No byte for U+0080 (its place holds the euro sign), for Greek, or beyond the BMP.
    EXPECT_FALSE(EncodeWindows1252(L"a\u0080b", out));
    EXPECT_EQ(out, "a b");
    EXPECT_FALSE(EncodeWindows1252(L"\u03B1", out));
    EXPECT_FALSE(EncodeWindows1252(L"\U0001F600", out));
    EXPECT_EQ(out, " ");
}

TEST(TextCodec, Utf16BothByteOrders) {
    // "A€😀" with the surrogate pair of U+1F600.
    EXPECT_EQ(Decode(std::string("\xFF\xFE"
                                 "A\0\xAC\x20\x3D\xD8\x00\xDE",
                                 10)),
              L"A\u20AC\U0001F600");
    EXPECT_EQ(Decode(std::string("\xFE\xFF"
                                 "\0A\x20\xAC\xD8\x3D\xDE\x00",
                                 10)),
              L"A\u20AC\U0001F600");
    // An odd last byte is dropped.
    EXPECT_EQ(Decode(std::string("\xFF\xFE"
                                 "A\0B",
                                 5)),
              L"A");
    // Unpaired surrogates cannot stand in wide text.
    EXPECT_EQ(Decode(std::string("\xFF\xFE\x3D\xD8"
                                 "A\0\x00\xDE",
                                 8)),
              L"\uFFFDA\uFFFD");
    EXPECT_EQ(Decode("\xFF\xFE"), L"");
}

TEST(TextCodec, Utf8WithMark) {
    EXPECT_EQ(Decode("\xEF\xBB\xBF"
                     "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"),
              L"a\u00E4\u20AC\U0001F600");
    EXPECT_EQ(Decode("\xEF\xBB\xBF"), L"");
    // Without the mark the same bytes are windows-1252.
    EXPECT_EQ(Decode("\xC3\xA4"), L"\u00C3\u00A4");
}

TEST(TextCodec, MalformedUtf8BecomesReplacementCharacters) {
    const Text r = L"\uFFFD";
    // A lone continuation byte, a lead byte that can never start a sequence.
    EXPECT_EQ(DecodeUtf8("a\x80"
                         "b",
                         3),
              L"a" + r + L"b");
    EXPECT_EQ(DecodeUtf8("\xF5\xFF", 2), r + r);
    // Overlong forms, an encoded surrogate, and a value above U+10FFFF.
    EXPECT_EQ(DecodeUtf8("\xC0\x80", 2), r + r);
    EXPECT_EQ(DecodeUtf8("\xE0\x80\x80", 3), r + r + r);
    EXPECT_EQ(DecodeUtf8("\xED\xA0\x80", 3), r + r + r);
    EXPECT_EQ(DecodeUtf8("\xF4\x90\x80\x80", 4), r + r + r + r);
    // A sequence cut short: one replacement, and the breaking byte counts anew.
    EXPECT_EQ(DecodeUtf8("\xE2\x82"
                         "x",
                         3),
              r + L"x");
    EXPECT_EQ(DecodeUtf8("\xE2\x82", 2), r);
    EXPECT_EQ(DecodeUtf8("\xF0\x9F\x98", 3), r);
    // The last valid values of each length.
    EXPECT_EQ(DecodeUtf8("\xDF\xBF\xEF\xBF\xBF\xF4\x8F\xBF\xBF", 9), L"\u07FF\uFFFF\U0010FFFF");
}

TEST(TextCodec, Utf8EncoderRoundTripAndInvalidValues) {
    const Text text = L"x\u00E4\u20AC\U0001F600\u07FF\uFFFF\U0010FFFF";
    const std::string bytes = EncodeUtf8(text);
    EXPECT_EQ(DecodeUtf8(bytes.data(), bytes.size()), text);
    EXPECT_EQ(EncodeUtf8(Text(1, static_cast<wchar_t>(0xD800))), "\xEF\xBF\xBD");
    EXPECT_EQ(EncodeUtf8(Text(1, static_cast<wchar_t>(0x110000))), "\xEF\xBF\xBD");
}

class TextWriter : public ::testing::Test {
protected:
    void SetUp() override {
        char name[] = "/tmp/kvo-codec-XXXXXX";
        m_fd = ::mkstemp(name);
        ASSERT_GE(m_fd, 0);
        m_path = name;
    }
    void TearDown() override {
        if (m_fd >= 0) ::close(m_fd);
        ::unlink(m_path.c_str());
    }
    std::string Content() const {
        std::string bytes;
        char buf[256];
        for (off_t at = 0;;) {
            const ssize_t n = ::pread(m_fd, buf, sizeof buf, at);
            if (n <= 0) break;
            bytes.append(buf, static_cast<size_t>(n));
            at += n;
        }
        return bytes;
    }
    int m_fd = -1;
    std::string m_path;
};

TEST_F(TextWriter, StaysWindows1252UntilACharacterDoesNotFit) {
    // The euro sign has a byte in code page 1252: nothing changes.
    ASSERT_TRUE(WriteText(m_fd, L"caf\u00E9 \u20AC"));
    EXPECT_EQ(Content(), "caf\xE9 \x80");
    // A Greek letter does not: the text so far turns into UTF-8 behind the mark.
    ASSERT_TRUE(WriteText(m_fd, L" \u03B1"));
    EXPECT_EQ(Content(), "\xEF\xBB\xBF"
                         "caf\xC3\xA9 \xE2\x82\xAC \xCE\xB1");
    // From now on every text is UTF-8, also text that would fit the code page.
    ASSERT_TRUE(WriteText(m_fd, L"\u00E4"));
    EXPECT_EQ(Content(), "\xEF\xBB\xBF"
                         "caf\xC3\xA9 \xE2\x82\xAC \xCE\xB1\xC3\xA4");
    EXPECT_EQ(::lseek(m_fd, 0, SEEK_CUR), static_cast<off_t>(Content().size()));
}

TEST_F(TextWriter, AFileWithTheMarkIsWrittenAsUtf8) {
    ASSERT_EQ(::write(m_fd, "\xEF\xBB\xBF", 3), 3);
    ASSERT_TRUE(WriteText(m_fd, L"\u00E4"));
    EXPECT_EQ(Content(), "\xEF\xBB\xBF\xC3\xA4");
}

TEST_F(TextWriter, ConversionKeepsThePositionInsideTheText) {
    // A writer that overwrites a closing byte: the position stays in front of it.
    ASSERT_EQ(::write(m_fd,
                      "\xE4"
                      "b\0",
                      3),
              3);
    ASSERT_EQ(::lseek(m_fd, 2, SEEK_SET), 2);
    ASSERT_TRUE(WriteText(m_fd, L"\u03A9"));
    EXPECT_EQ(Content(), "\xEF\xBB\xBF\xC3\xA4"
                         "b\xCE\xA9");
}

TEST_F(TextWriter, StreamVariantFollowsTheSameRule) {
    FILE* file = ::fdopen(m_fd, "r+");
    ASSERT_NE(file, nullptr);
    m_fd = -1;
    std::fputs("ab", file);
    ASSERT_TRUE(WriteText(file, L"\u00FC"));
    ASSERT_TRUE(WriteText(file, L"\u0416"));
    std::fputs("!", file);
    std::fclose(file);
    FILE* in = std::fopen(m_path.c_str(), "rb");
    ASSERT_NE(in, nullptr);
    char buf[64] = {};
    const size_t n = std::fread(buf, 1, sizeof buf, in);
    std::fclose(in);
    EXPECT_EQ(std::string(buf, n), "\xEF\xBB\xBF"
                                   "ab\xC3\xBC\xD0\x96!");
}

// Long texts take the sixteen-byte path; the bytes that leave it may fall on
// any place of a block, and the chunks of the writer have edges too.
TEST(TextCodecBlocks, Windows1252AgreesWithTheTableAtEveryPlace) {
    std::string bytes;
    for (int i = 0; i < 20000; ++i)
        bytes += static_cast<char>((i * 37 + i / 16) % 7 == 0 ? 0x80 + (i % 40) : 'a' + (i % 26));
    const Text decoded = DecodeWindows1252(bytes.data(), bytes.size());
    ASSERT_EQ(decoded.size(), bytes.size());
    for (size_t i = 0; i < bytes.size(); ++i)
        ASSERT_EQ(decoded[i], Windows1252Char(static_cast<uint8_t>(bytes[i]))) << "at " << i;
}

TEST(TextCodecBlocks, Utf8RoundTripsAcrossBlockAndChunkEdges) {
    Text text;
    const wchar_t pieces[] = {L'a', 0xE4, 0x20AC, 0x1F600, L'z', 0x7F, 0x80, 0x7FF, 0x800, 0xFFFD};
    for (int i = 0; i < 30000; ++i) {
        text += static_cast<wchar_t>(L'a' + i % 26);
        if (i % 23 == 0 || i % 4093 == 0) text += pieces[i % 10];
    }
    const std::string bytes = EncodeUtf8(text);
    EXPECT_EQ(DecodeUtf8(bytes.data(), bytes.size()), text);
    // A broken byte after a long ASCII run is one replacement, and decoding goes on.
    std::string broken(40, 'x');
    broken += "\xC3(";
    EXPECT_EQ(DecodeUtf8(broken.data(), broken.size()), Text(40, L'x') + L"\uFFFD(");
}

} // namespace
