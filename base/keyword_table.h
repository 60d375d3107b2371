// CKeywordTable: a constant keyword list with exact and abbreviated look-up.
// Every keyword argument of the language may be abbreviated: the shortest
// entry that begins with the given word wins, then the earlier one in the
// declared order. Results are indices in declared order.
#pragma once

#include <span>
#include <vector>

#include "base/text.h"

class CKeywordTable {
public:
    // `words`: a null-ended array of keywords (at most 127 characters each).
    explicit CKeywordTable(const wchar_t* const* words);
    // `words`: the keywords in declared order, no terminating null.
    explicit CKeywordTable(std::span<const wchar_t* const> words);

    // Exact match ignoring case; -1 when none.
    int FindExact(TextView word) const;
    // Abbreviated match; with `allowNumber` a word that is no keyword but
    // evaluates to an integer from 0 to Count()-1 selects by position.
    // A word beginning with '*' never matches. -1 when none.
    int Find(TextView word, bool allowNumber = false) const;

    size_t Count() const { return m_words.size(); }
    const wchar_t* Word(size_t index) const { return m_words[index]; }

    // How a word is read as a number; the expression layer installs the
    // language's integer evaluator here, plain decimal parsing until then.
    using IntegerEvaluator = bool (*)(TextView word, long long& value);
    static void SetIntegerEvaluator(IntegerEvaluator evaluator);

private:
    void Index();

    std::vector<const wchar_t*> m_words; // declared order
    std::vector<size_t> m_lengths;       // per declared entry
    std::vector<int> m_byLength;         // declared indices sorted by length (stable)
    std::vector<size_t> m_firstOfLength; // index into m_byLength of the first entry of at least length n
};
