// The popup menus a macro gives a display or a graph. Entries are texts: "-"
// alone is a separator and uses no id, "+text" opens a submenu and "+" alone
// closes it. Each menu numbers its entries from 4100; a chosen entry is
// reported as the menu's index times 100 plus the entry's id.
#pragma once

#include <functional>
#include <vector>

#include "base/text.h"

class QMenu;
class QWidget;

// What AddPopup and SetPopup hand to a window: the menu's title and its entries.
struct SPopupRequest {
    Text menu;
    std::vector<Text> entries;
};

class CPopupMenus {
public:
    static constexpr int kFirstId = 4100;
    static constexpr int kMaxEntries = 50;

    // Adds entries to the menu of that title (made when new); 3 when the menu
    // would have more than 50 entries with ids.
    int Add(const Text& menu, const std::vector<Text>& entries);
    // Replaces the entries of the menu (made when new).
    int Replace(const Text& menu, const std::vector<Text>& entries);
    // Removes the menu; an empty title removes all. False when there was none.
    bool Remove(const Text& menu);
    bool Empty() const { return m_menus.empty(); }
    size_t Count() const { return m_menus.size(); }

    // The menu to show: with one menu its entries, with several a submenu each.
    // `chosen` receives the POPUP parameter of the entry taken.
    QMenu* Build(QWidget* parent, const std::function<void(int)>& chosen) const;
    // The parameter of the entry at `place` (0-based, separators and submenu marks
    // counted) in menu `menu`; -1 for a place without an id.
    int Parameter(size_t menu, size_t place) const;

private:
    struct SMenu {
        Text title;
        std::vector<Text> entries;
    };
    static int Ids(const std::vector<Text>& entries);
    SMenu* Find(const Text& title);
    void Fill(QMenu* menu, size_t index, const std::function<void(int)>& chosen) const;

    std::vector<SMenu> m_menus;
};
