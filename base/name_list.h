// CNameList: an insertion-ordered list of (key text, value, user word).
// CNameMap: the same entries with a second order, an index sorted by key
// length and then by case-insensitive text, searched by bisection. Keys of
// different length are never compared as text, which keeps look-ups cheap.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "base/text.h"

template <class V> class CNameList {
public:
    struct Entry {
        Text key;
        V value{};
        uint32_t user = 0;
        Entry* prev = nullptr;
        Entry* next = nullptr;
    };

    CNameList() = default;
    CNameList(const CNameList&) = delete;
    CNameList& operator=(const CNameList&) = delete;
    CNameList(CNameList&& other) noexcept { Swap(other); }
    CNameList& operator=(CNameList&& other) noexcept {
        if (this != &other) {
            Clear();
            Swap(other);
        }
        return *this;
    }
    virtual ~CNameList() { ClearList(); }

    // Appends a new entry; duplicate keys are the caller's affair.
    virtual Entry* Add(TextView key, V value, uint32_t user = 0) {
        auto* e = new Entry{Text(key), std::move(value), user, m_last, nullptr};
        (m_last ? m_last->next : m_first) = e;
        m_last = e;
        ++m_count;
        return e;
    }

    // First entry with this key, ignoring case; linear.
    virtual Entry* Find(TextView key) const {
        for (Entry* e = m_first; e; e = e->next)
            if (EqualNoCase(e->key, key)) return e;
        return nullptr;
    }

    virtual void Remove(Entry* e) {
        Unlink(e);
        delete e;
    }

    virtual void Clear() { ClearList(); }

    Entry* First() const { return m_first; }
    Entry* Last() const { return m_last; }
    size_t Count() const { return m_count; }
    bool Empty() const { return m_count == 0; }

    // The entry at a position in list order, or null.
    Entry* At(size_t index) const {
        Entry* e = m_first;
        while (e && index--) e = e->next;
        return e;
    }

protected:
    void Unlink(Entry* e) {
        (e->prev ? e->prev->next : m_first) = e->next;
        (e->next ? e->next->prev : m_last) = e->prev;
        --m_count;
    }
    void ClearList() {
        for (Entry* e = m_first; e;) {
            Entry* next = e->next;
            delete e;
            e = next;
        }
        m_first = m_last = nullptr;
        m_count = 0;
    }
    void Swap(CNameList& other) noexcept {
        std::swap(m_first, other.m_first);
        std::swap(m_last, other.m_last);
        std::swap(m_count, other.m_count);
    }

    Entry* m_first = nullptr;
    Entry* m_last = nullptr;
    size_t m_count = 0;
};

// Order of the index: shorter keys first, then case-insensitive text.
inline int CompareNameKeys(TextView a, TextView b) {
    if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
    return CompareNoCase(a, b);
}

template <class V> class CNameMap : public CNameList<V> {
public:
    using Entry = typename CNameList<V>::Entry;

    CNameMap() = default;
    CNameMap(CNameMap&& other) noexcept : CNameList<V>(std::move(other)) { m_index.swap(other.m_index); }
    CNameMap& operator=(CNameMap&& other) noexcept {
        CNameList<V>::operator=(std::move(other));
        m_index.swap(other.m_index);
        other.m_index.clear();
        return *this;
    }

    Entry* Add(TextView key, V value, uint32_t user = 0) override {
        Entry* e = CNameList<V>::Add(key, std::move(value), user);
        // Behind any equal keys, so that Find returns the oldest of duplicates.
        auto it = std::upper_bound(m_index.begin(), m_index.end(), e, [](const Entry* a, const Entry* b) {
            return CompareNameKeys(a->key, b->key) < 0;
        });
        m_index.insert(it, e);
        return e;
    }

    Entry* Find(TextView key) const override {
        size_t lo = 0, hi = m_index.size();
        while (lo < hi) {
            const size_t mid = (lo + hi) / 2;
            if (CompareNameKeys(m_index[mid]->key, key) < 0)
                lo = mid + 1;
            else
                hi = mid;
        }
        if (lo < m_index.size() && CompareNameKeys(m_index[lo]->key, key) == 0) return m_index[lo];
        return nullptr;
    }

    void Remove(Entry* e) override {
        auto it = std::lower_bound(m_index.begin(), m_index.end(), e, [](const Entry* a, const Entry* b) {
            return CompareNameKeys(a->key, b->key) < 0;
        });
        while (it != m_index.end() && *it != e) ++it;
        if (it != m_index.end()) m_index.erase(it);
        CNameList<V>::Remove(e);
    }

    void Clear() override {
        m_index.clear();
        CNameList<V>::Clear();
    }

    // The entries in index order.
    const std::vector<Entry*>& Index() const { return m_index; }

private:
    std::vector<Entry*> m_index;
};
