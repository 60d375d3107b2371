// Sub-command tables: the keywords that follow a command (MSG LOOP, LOAD
// MACROCODE) or an item's name (SET t DEFINE, SET f RENAME). Each table is a
// static array of rows {keyword, handler, minimum arguments, options}, one
// handler function per keyword, and it is the single source of
//
//   - dispatch: Find() looks a word up with the language's keyword rules (the
//     shortest entry that begins with the word wins, then the earlier one; a
//     number may stand for the entry at that position where the caller allows
//     it; a word starting with '*' never matches);
//   - the keyword lists of KVOCONSTANTS and HELP, through CSubcommandRegistry;
//   - extension: a higher layer adds a row to a lower layer's table by
//     registration (the sound layer adds SOUNDFILE under LOAD), never by
//     wrapping the table's handlers.
//
// A table is typed by its handler, so that each owner chooses the one call
// shape its handlers share (a command's words, an item's SET call ...).
// Tables are built and extended at start-up, before any shell runs; after
// that they are only read, from any thread.
#pragma once

#include <functional>
#include <span>
#include <vector>

#include "base/keyword_table.h"
#include "base/text.h"

// One row. `handler` may be null: the keyword keeps its place (and its number)
// in the table until a higher layer registers the handler for it.
template <class Handler> struct SSubcommand {
    const wchar_t* keyword = nullptr;
    Handler handler{};
    int minArgs = 0;      // arguments after the keyword; the owner answers fewer with its code
    unsigned options = 0; // flags whose meaning the owning table gives (e.g. "also on XML files")
};

// The keyword side of a table, whatever its handlers are: what the registry,
// KVOCONSTANTS and HELP see.
class CSubcommandList {
public:
    explicit CSubcommandList(const wchar_t* name) : m_name(name) {}
    virtual ~CSubcommandList() = default;
    CSubcommandList(const CSubcommandList&) = delete;
    CSubcommandList& operator=(const CSubcommandList&) = delete;

    // The table's name in the registry: a command ("MSG"), an item kind's SET
    // ("FILE"), or a word path ("MSG DEBUG").
    const wchar_t* Name() const { return m_name; }
    size_t Count() const { return m_keywords.size(); }
    const wchar_t* Keyword(size_t index) const { return m_keywords[index]; }
    std::vector<Text> Keywords() const { return {m_keywords.begin(), m_keywords.end()}; }
    // The index of the row a word selects, or -1.
    int FindIndex(TextView word, bool allowNumber) const { return m_lookup.Find(word, allowNumber); }
    // The index of the row whose keyword is the whole word (ignoring case), or -1:
    // for words that are keywords only in full (a program's name may follow).
    int FindExactIndex(TextView word) const { return m_lookup.FindExact(word); }

protected:
    void SetKeywords(std::vector<const wchar_t*> keywords) {
        m_keywords = std::move(keywords);
        m_lookup = CKeywordTable(std::span<const wchar_t* const>(m_keywords));
    }

private:
    const wchar_t* m_name;
    std::vector<const wchar_t*> m_keywords;
    CKeywordTable m_lookup{std::span<const wchar_t* const>()};
};

// A named list of words without handlers, for the lists of values a command
// takes (window modes, name types): registered, KVOCONSTANTS gives it out as
// it is, and the command looks its words up in it.
class CKeywordList : public CSubcommandList {
public:
    // `words`: null-ended.
    CKeywordList(const wchar_t* name, const wchar_t* const* words) : CSubcommandList(name) {
        std::vector<const wchar_t*> list;
        for (; words && *words; ++words) list.push_back(*words);
        SetKeywords(std::move(list));
    }
};

template <class Handler> class CSubcommandTable : public CSubcommandList {
public:
    using Row = SSubcommand<Handler>;

    CSubcommandTable(const wchar_t* name, std::span<const Row> rows)
        : CSubcommandList(name), m_rows(rows.begin(), rows.end()) {
        Reindex();
    }

    // The row a word selects, or null.
    const Row* Find(TextView word, bool allowNumber = false) const {
        const int index = FindIndex(word, allowNumber);
        return index < 0 ? nullptr : &m_rows[static_cast<size_t>(index)];
    }
    const Row* FindExact(TextView word) const {
        const int index = FindExactIndex(word);
        return index < 0 ? nullptr : &m_rows[static_cast<size_t>(index)];
    }
    const Row& operator[](size_t index) const { return m_rows[index]; }
    // The position of a row of this table (its number in the language).
    size_t IndexOf(const Row& row) const { return static_cast<size_t>(&row - m_rows.data()); }

    // A row from another layer: it fills the row of the same keyword that
    // holds the place without a handler, or is appended. A keyword that
    // already has a handler is replaced.
    void Extend(const Row& row) {
        for (Row& own : m_rows) {
            if (EqualNoCase(own.keyword, row.keyword)) {
                own = row;
                return;
            }
        }
        m_rows.push_back(row);
        Reindex();
    }

private:
    void Reindex() {
        std::vector<const wchar_t*> keywords;
        for (const Row& row : m_rows) keywords.push_back(row.keyword);
        SetKeywords(std::move(keywords));
    }

    std::vector<Row> m_rows;
};

// The tables of the whole program by name. Owners register their tables at
// start-up; KVOCONSTANTS and HELP read the keyword lists here, and a layer
// extends another's table here by name, whichever of the two starts first.
class CSubcommandRegistry {
public:
    // A table registered again under its name replaces the earlier one.
    static void Register(CSubcommandList& table);
    static void Unregister(CSubcommandList& table);
    // Exact, case-insensitive.
    static const CSubcommandList* Find(TextView name);
    // The names in the order of first registration.
    static std::vector<Text> Names();

    // Adds `row` to the table `name` once that table is registered (at once
    // when it already is). The table's handler type must be `Handler`.
    template <class Handler> static void Extend(const wchar_t* name, const SSubcommand<Handler>& row) {
        AddExtension(name, [row](CSubcommandList& table) {
            auto* typed = dynamic_cast<CSubcommandTable<Handler>*>(&table);
            if (typed) typed->Extend(row);
            return typed != nullptr;
        });
    }

private:
    // `extend` answers false when the table's handlers are of another type: a
    // start-up fault of the program, which then stops with a message.
    static void AddExtension(const wchar_t* name, std::function<bool(CSubcommandList&)> extend);
};
