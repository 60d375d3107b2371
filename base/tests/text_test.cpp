#include <gtest/gtest.h>

#include <clocale>

#include "base/text.h"

TEST(TextCase, NonAsciiLettersFoldBothWays) {
    EXPECT_EQ(UpperCase(L"straße äöü ÿ"), L"STRAßE ÄÖÜ Ÿ"); // ß has no one-letter capital
    EXPECT_EQ(LowerCase(L"ÄÖÜ ΣΩ ЖЯ"), L"äöü σω жя");
    EXPECT_TRUE(EqualNoCase(L"Größe", L"GRÖßE"));
    EXPECT_TRUE(EqualNoCase(L"жук", L"ЖУК"));
    EXPECT_FALSE(EqualNoCase(L"abc", L"abd"));
    EXPECT_FALSE(EqualNoCase(L"abc", L"abcd"));
}

TEST(TextCase, CompareOrdersLikeUpperCaseAndByLengthLast) {
    EXPECT_LT(CompareNoCase(L"apple", L"BANANA"), 0);
    EXPECT_GT(CompareNoCase(L"Zebra", L"apple"), 0);
    EXPECT_EQ(CompareNoCase(L"MiXeD", L"mixed"), 0);
    EXPECT_LT(CompareNoCase(L"ab", L"ABC"), 0);
    EXPECT_TRUE(StartsWithNoCase(L"PUBLIC_method", L"public_"));
    EXPECT_FALSE(StartsWithNoCase(L"pub", L"public_"));
}

// A process locale with a comma decimal mark (Qt sets the process locale from
// the environment) must never reach the numbers of the language.
class TextNumbers : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8"})
            if (std::setlocale(LC_ALL, name)) break;
    }
    void TearDown() override { std::setlocale(LC_ALL, "C"); }
};

TEST_F(TextNumbers, FormattingUsesPointWhateverTheLocale) {
    EXPECT_EQ(DoubleText(0.5), L"0.5");
    EXPECT_EQ(DoubleText(1.0 / 3.0), L"0.33333333333333331483");
    EXPECT_EQ(DoubleText(1e300), L"1.0000000000000000525e+300");
    EXPECT_EQ(Format(L"%.2f|%d|%s|%c", 2.5, -7, L"wide", L'ß'), L"2.50|-7|wide|ß");
    EXPECT_EQ(Format(L"X%.08lX", 0x1fUL), L"X0000001F");
    EXPECT_EQ(Format(L"%%s stays %s", L"x"), L"%s stays x");
}

TEST_F(TextNumbers, ParsingUsesPointAndReportsWhatWasUsed) {
    double d = 0;
    size_t end = 0;
    ASSERT_TRUE(ParseDouble(L"3.25abc", d, &end));
    EXPECT_DOUBLE_EQ(d, 3.25);
    EXPECT_EQ(end, 4u);
    EXPECT_FALSE(ParseWholeDouble(L"3,25", d));
    EXPECT_TRUE(ParseWholeDouble(L" -1e3 ", d));
    EXPECT_DOUBLE_EQ(d, -1000);
    long long n = 0;
    EXPECT_TRUE(ParseWholeLong(L"42", n));
    EXPECT_EQ(n, 42);
    EXPECT_FALSE(ParseWholeLong(L"42x", n));
    EXPECT_FALSE(ParseWholeLong(L"", n));
    EXPECT_TRUE(ParseLong(L"ff", n, nullptr, 16));
    EXPECT_EQ(n, 255);
}

TEST(TextNumbersPlain, IntegerAndHexTexts) {
    EXPECT_EQ(IntText(0), L"0");
    EXPECT_EQ(IntText(-123), L"-123");
    EXPECT_EQ(IntText(-9223372036854775807LL - 1), L"-9223372036854775808");
    EXPECT_EQ(HexText(0x1F), L"1F");
    EXPECT_EQ(HexText(0, 8), L"00000000");
}

TEST(TextFormat, LongResultsAreNotCut) {
    const Text big(5000, L'x');
    EXPECT_EQ(Format(L"<%s>", big.c_str()).size(), 5002u);
}

TEST(TextUtf8, RoundTripAndBadBytes) {
    const Text sample = L"aß€𝄞";
    EXPECT_EQ(ToUtf8(sample), "a\xC3\x9F\xE2\x82\xAC\xF0\x9D\x84\x9E");
    EXPECT_EQ(FromUtf8(ToUtf8(sample)), sample);
    EXPECT_EQ(FromUtf8("a\xFF"
                       "b"),
              L"a\xFFFD"
              L"b");
    EXPECT_EQ(FromUtf8("\xE2\x82"), L"\xFFFD"); // cut in the middle of a character
    EXPECT_EQ(FromUtf8("\xC0\xAF"), L"\xFFFD"); // overlong form of '/'
}

TEST(TextTrim, BlanksAndTabsOnly) {
    EXPECT_EQ(Trim(L" \t a b \t"), L"a b");
    EXPECT_EQ(Trim(L"\n x"), L"\n x");
    EXPECT_EQ(Trim(L"   "), L"");
}
