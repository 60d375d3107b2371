#include <gtest/gtest.h>

#include "base/keyword_table.h"

namespace {
constexpr const wchar_t* kWords[] = {L"CONFIG", L"COPY", L"CLEAR", L"CONFIGURE", L"C", L"MODE", nullptr};
}

TEST(KeywordTable, AbbreviationPicksTheShortestThenTheEarliest) {
    CKeywordTable table(kWords);
    EXPECT_EQ(table.Find(L"CONF"), 0); // CONFIG is shorter than CONFIGURE
    EXPECT_EQ(table.Find(L"confi"), 0);
    EXPECT_EQ(table.Find(L"CONFIGU"), 3);
    EXPECT_EQ(table.Find(L"co"), 1); // COPY (4) before CONFIG (6)
    EXPECT_EQ(table.Find(L"c"), 4);  // the one-letter entry itself
    EXPECT_EQ(table.Find(L"cl"), 2);
    EXPECT_EQ(table.Find(L"x"), -1);
    EXPECT_EQ(table.Find(L"CONFIGUREX"), -1); // longer than any entry
    EXPECT_EQ(table.Find(L""), -1);
}

TEST(KeywordTable, ExactLookupComparesOnlyEqualLengths) {
    CKeywordTable table(kWords);
    EXPECT_EQ(table.FindExact(L"mode"), 5);
    EXPECT_EQ(table.FindExact(L"MOD"), -1);
    EXPECT_EQ(table.FindExact(L"configure"), 3);
}

TEST(KeywordTable, NumbersStandForKeywordsOnlyWhenAllowedAndInRange) {
    CKeywordTable table(kWords);
    EXPECT_EQ(table.Find(L"3"), -1);
    EXPECT_EQ(table.Find(L"3", true), 3);
    EXPECT_EQ(table.Find(L"0", true), 0);
    EXPECT_EQ(table.Find(L"6", true), -1);
    EXPECT_EQ(table.Find(L"-1", true), -1);
    // An installed evaluator decides what a number is.
    CKeywordTable::SetIntegerEvaluator([](TextView w, long long& v) {
        if (w != L"two") return false;
        v = 2;
        return true;
    });
    EXPECT_EQ(table.Find(L"two", true), 2);
    CKeywordTable::SetIntegerEvaluator(nullptr);
    EXPECT_EQ(table.Find(L"two", true), -1);
}

TEST(KeywordTable, StarNeverMatches) {
    constexpr const wchar_t* words[] = {L"*", L"*ALL", nullptr};
    CKeywordTable table(words);
    EXPECT_EQ(table.Find(L"*"), -1);
    EXPECT_EQ(table.Find(L"*A"), -1);
    EXPECT_EQ(table.FindExact(L"*"), 0);
}
