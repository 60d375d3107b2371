#include "base/keyword_table.h"

#include <algorithm>
#include <atomic>
#include <cwchar>

namespace {
bool PlainInteger(TextView word, long long& value) {
    return ParseWholeLong(word, value);
}
std::atomic<CKeywordTable::IntegerEvaluator> g_evaluator{&PlainInteger};
} // namespace

void CKeywordTable::SetIntegerEvaluator(IntegerEvaluator evaluator) {
    g_evaluator = evaluator ? evaluator : &PlainInteger;
}

CKeywordTable::CKeywordTable(const wchar_t* const* words) {
    for (; words && *words; ++words) m_words.push_back(*words);
    Index();
}

CKeywordTable::CKeywordTable(std::span<const wchar_t* const> words) : m_words(words.begin(), words.end()) {
    Index();
}

void CKeywordTable::Index() {
    for (const wchar_t* word : m_words) m_lengths.push_back(std::wcslen(word));
    m_byLength.resize(m_words.size());
    for (size_t i = 0; i < m_words.size(); ++i) m_byLength[i] = static_cast<int>(i);
    std::stable_sort(m_byLength.begin(), m_byLength.end(),
                     [this](int a, int b) { return m_lengths[a] < m_lengths[b]; });
    const size_t longest = m_words.empty() ? 0 : m_lengths[m_byLength.back()];
    m_firstOfLength.assign(longest + 2, m_byLength.size());
    for (size_t n = 0; n <= longest + 1; ++n) {
        for (size_t k = 0; k < m_byLength.size(); ++k) {
            if (m_lengths[m_byLength[k]] >= n) {
                m_firstOfLength[n] = k;
                break;
            }
        }
    }
}

int CKeywordTable::FindExact(TextView word) const {
    if (word.empty() || word.size() >= m_firstOfLength.size()) return -1;
    for (size_t k = m_firstOfLength[word.size()]; k < m_byLength.size(); ++k) {
        const int i = m_byLength[k];
        if (m_lengths[i] != word.size()) break;
        if (CompareNoCase(TextView(m_words[i], m_lengths[i]), word) == 0) return i;
    }
    return -1;
}

int CKeywordTable::Find(TextView word, bool allowNumber) const {
    if (!word.empty() && word[0] == L'*') return -1;
    if (!word.empty() && word.size() < m_firstOfLength.size()) {
        for (size_t k = m_firstOfLength[word.size()]; k < m_byLength.size(); ++k) {
            const int i = m_byLength[k];
            if (CompareNoCase(TextView(m_words[i], word.size()), word) == 0) return i;
        }
    }
    if (allowNumber && !word.empty()) {
        long long n = 0;
        if (g_evaluator.load()(word, n) && n >= 0 && n < static_cast<long long>(m_words.size()))
            return static_cast<int>(n);
    }
    return -1;
}
