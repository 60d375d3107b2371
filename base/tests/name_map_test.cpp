#include <gtest/gtest.h>

#include "base/name_list.h"

TEST(NameList, KeepsInsertionOrderAndRemovesInTheMiddle) {
    CNameList<int> list;
    list.Add(L"c", 3);
    auto* b = list.Add(L"b", 2, 7);
    list.Add(L"a", 1);
    EXPECT_EQ(list.Count(), 3u);
    EXPECT_EQ(list.Find(L"B"), b);
    EXPECT_EQ(b->user, 7u);
    list.Remove(b);
    ASSERT_EQ(list.Count(), 2u);
    EXPECT_EQ(list.First()->key, L"c");
    EXPECT_EQ(list.First()->next->key, L"a");
    EXPECT_EQ(list.Last()->prev->key, L"c");
    EXPECT_EQ(list.At(1)->value, 1);
    EXPECT_EQ(list.At(2), nullptr);
    list.Remove(list.First());
    list.Remove(list.First());
    EXPECT_TRUE(list.Empty());
    EXPECT_EQ(list.Last(), nullptr);
}

TEST(NameMap, IndexIsByLengthThenTextIgnoringCase) {
    CNameMap<int> map;
    for (const wchar_t* k : {L"zeta", L"Alpha", L"b", L"ab", L"AA", L"beta"}) map.Add(k, 0);
    std::vector<Text> order;
    for (auto* e : map.Index()) order.push_back(e->key);
    EXPECT_EQ(order, (std::vector<Text>{L"b", L"AA", L"ab", L"beta", L"zeta", L"Alpha"}));
    // List order is untouched by the index.
    EXPECT_EQ(map.First()->key, L"zeta");
}

TEST(NameMap, FindsAmongManyAndAfterRemovals) {
    CNameMap<int> map;
    std::vector<CNameMap<int>::Entry*> entries;
    for (int i = 0; i < 500; ++i) entries.push_back(map.Add(L"Name" + std::to_wstring(i * 7919 % 1000), i));
    for (int i = 0; i < 500; ++i) {
        auto* e = map.Find(L"NAME" + std::to_wstring(i * 7919 % 1000));
        ASSERT_NE(e, nullptr) << i;
        EXPECT_EQ(e->value, i);
    }
    EXPECT_EQ(map.Find(L"name1001"), nullptr);
    EXPECT_EQ(map.Find(L""), nullptr);
    for (int i = 0; i < 500; i += 2) map.Remove(entries[i]);
    for (int i = 0; i < 500; ++i) {
        auto* e = map.Find(L"name" + std::to_wstring(i * 7919 % 1000));
        EXPECT_EQ(e != nullptr, i % 2 == 1) << i;
    }
    EXPECT_EQ(map.Count(), 250u);
    EXPECT_EQ(map.Index().size(), 250u);
}

TEST(NameMap, DuplicateKeysFindTheOldestAndRemoveTheRightOne) {
    CNameMap<int> map;
    auto* first = map.Add(L"x", 1);
    auto* second = map.Add(L"X", 2);
    EXPECT_EQ(map.Find(L"x"), first);
    map.Remove(first);
    EXPECT_EQ(map.Find(L"x"), second);
    map.Clear();
    EXPECT_EQ(map.Find(L"x"), nullptr);
    EXPECT_TRUE(map.Index().empty());
}

TEST(NameMap, MovesKeepTheIndex) {
    CNameMap<Text> a;
    a.Add(L"k", L"v");
    CNameMap<Text> b(std::move(a));
    ASSERT_NE(b.Find(L"K"), nullptr);
    EXPECT_EQ(b.Find(L"K")->value, L"v");
    EXPECT_EQ(a.Find(L"k"), nullptr);
}
