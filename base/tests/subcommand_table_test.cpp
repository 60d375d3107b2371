#include <gtest/gtest.h>

#include <algorithm>

#include "base/subcommand_table.h"

namespace {

using Handler = int (*)(int);
int Twice(int n) {
    return 2 * n;
}
int Negate(int n) {
    return -n;
}
int Square(int n) {
    return n * n;
}

constexpr SSubcommand<Handler> kRows[] = {
    {L"CONFIG", Twice, 1},
    {L"COPY", Negate},
    {L"SOUNDFILE", nullptr, 2}, // a place another layer fills
    {L"CONFIGURE", Square},
};

TEST(SubcommandTable, RowsAreFoundByTheKeywordRules) {
    CSubcommandTable<Handler> table(L"T", kRows);
    ASSERT_NE(table.Find(L"conf"), nullptr);
    EXPECT_EQ(table.Find(L"conf")->handler(3), 6); // CONFIG is shorter than CONFIGURE
    EXPECT_EQ(table.Find(L"CONFIGU")->handler(3), 9);
    EXPECT_EQ(table.Find(L"co")->handler(3), -3); // COPY before CONFIG: shorter
    EXPECT_EQ(table.Find(L"*CONFIG"), nullptr);
    EXPECT_EQ(table.Find(L"xyz"), nullptr);
    // A number selects by position only where the caller allows it.
    EXPECT_EQ(table.Find(L"1"), nullptr);
    ASSERT_NE(table.Find(L"1", true), nullptr);
    EXPECT_EQ(table.Find(L"1", true)->keyword, Text(L"COPY"));
    EXPECT_EQ(table.IndexOf(*table.Find(L"CONFIGURE")), 3u);
    EXPECT_EQ(table.Find(L"conf")->minArgs, 1);
    EXPECT_EQ(table.Keywords(), (std::vector<Text>{L"CONFIG", L"COPY", L"SOUNDFILE", L"CONFIGURE"}));
}

TEST(SubcommandTable, ExtensionFillsTheHeldPlaceOrAppends) {
    CSubcommandTable<Handler> table(L"T", kRows);
    EXPECT_EQ(table.Find(L"SOUND")->handler, nullptr);
    table.Extend({L"soundfile", Square, 1});
    // Same place, so its number and the positions of the others stay.
    EXPECT_EQ(table.Find(L"2", true)->handler(4), 16);
    EXPECT_EQ(table.Find(L"SOUND")->minArgs, 1);
    table.Extend({L"SPEAK", Negate});
    EXPECT_EQ(table.Count(), 5u);
    EXPECT_EQ(table.Find(L"SP")->handler(5), -5);
    EXPECT_EQ(table.Find(L"S")->handler(4), -4); // the appended SPEAK is the shorter
}

TEST(SubcommandRegistry, ExtensionsWaitForTheirTableAndFollowReplacement) {
    CSubcommandTable<Handler> first(L"ZZTEST LOAD", kRows);
    // The extending layer may start before the owner.
    CSubcommandRegistry::Extend<Handler>(L"zztest load", {L"SOUNDFILE", Twice, 1});
    EXPECT_EQ(first.Find(L"SOUND")->handler, nullptr);
    CSubcommandRegistry::Register(first);
    EXPECT_EQ(first.Find(L"SOUND")->handler(7), 14);
    ASSERT_EQ(CSubcommandRegistry::Find(L"ZZTEST load"), &first);

    // A table registered again under the name takes the place, extended as well.
    CSubcommandTable<Handler> second(L"ZZTEST LOAD", kRows);
    CSubcommandRegistry::Register(second);
    EXPECT_EQ(CSubcommandRegistry::Find(L"zztest LOAD"), &second);
    EXPECT_EQ(second.Find(L"SOUND")->handler(8), 16);
    const auto names = CSubcommandRegistry::Names();
    EXPECT_EQ(std::count(names.begin(), names.end(), Text(L"ZZTEST LOAD")), 1);

    CSubcommandRegistry::Unregister(second);
    EXPECT_EQ(CSubcommandRegistry::Find(L"ZZTEST LOAD"), nullptr);
}

} // namespace
