// Sub-command tables: the keywords of SET on displays and graphs as static
// rows of {keyword, handler, minimum arguments, option letters}, one function
// per keyword. The table is the one source of the keyword list: dispatch,
// abbreviation and the word-by-number rule all come from it.
#pragma once

#include <cstddef>
#include <vector>

#include "base/keyword_table.h"

template <class Context> struct SSubCommand {
    const wchar_t* keyword;
    int (*handler)(Context&);
    int minArgs;            // words after the keyword; fewer give code 2
    const wchar_t* options; // the option letters the keyword reads
};

template <class Context> class CSubCommandTable {
public:
    template <size_t N>
    explicit CSubCommandTable(const SSubCommand<Context> (&rows)[N])
        : m_rows(rows), m_count(N), m_words(Words(rows, N)), m_table(m_words.data()) {}

    // The row of a keyword (abbreviated, or by its number), or null.
    const SSubCommand<Context>* Find(TextView word) const {
        const int i = m_table.Find(word, true);
        return i < 0 ? nullptr : &m_rows[i];
    }
    size_t Count() const { return m_count; }
    const SSubCommand<Context>& Row(size_t i) const { return m_rows[i]; }

private:
    static std::vector<const wchar_t*> Words(const SSubCommand<Context>* rows, size_t n) {
        std::vector<const wchar_t*> words;
        for (size_t i = 0; i < n; ++i) words.push_back(rows[i].keyword);
        words.push_back(nullptr);
        return words;
    }
    const SSubCommand<Context>* m_rows;
    size_t m_count;
    std::vector<const wchar_t*> m_words;
    CKeywordTable m_table;
};
