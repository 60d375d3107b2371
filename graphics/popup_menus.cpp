#include "graphics/popup_menus.h"

#include <QMenu>

namespace {
bool IsSeparator(const Text& e) {
    return e == L"-";
}
bool OpensSubmenu(const Text& e) {
    return e.size() > 1 && e[0] == L'+';
}
bool ClosesSubmenu(const Text& e) {
    return e == L"+";
}
bool HasId(const Text& e) {
    return !IsSeparator(e) && !OpensSubmenu(e) && !ClosesSubmenu(e);
}
} // namespace

int CPopupMenus::Ids(const std::vector<Text>& entries) {
    int n = 0;
    for (const Text& e : entries) n += HasId(e) ? 1 : 0;
    return n;
}

CPopupMenus::SMenu* CPopupMenus::Find(const Text& title) {
    for (SMenu& m : m_menus)
        if (EqualNoCase(m.title, title)) return &m;
    return nullptr;
}

int CPopupMenus::Add(const Text& menu, const std::vector<Text>& entries) {
    SMenu* m = Find(menu);
    const int before = m ? Ids(m->entries) : 0;
    if (before + Ids(entries) > kMaxEntries) return 3;
    if (!m) {
        m_menus.push_back({menu, {}});
        m = &m_menus.back();
    }
    m->entries.insert(m->entries.end(), entries.begin(), entries.end());
    return 0;
}

int CPopupMenus::Replace(const Text& menu, const std::vector<Text>& entries) {
    if (Ids(entries) > kMaxEntries) return 3;
    if (SMenu* m = Find(menu)) {
        m->entries = entries;
        return 0;
    }
    return Add(menu, entries);
}

bool CPopupMenus::Remove(const Text& menu) {
    if (menu.empty() || menu == L"*") {
        const bool any = !m_menus.empty();
        m_menus.clear();
        return any;
    }
    for (auto it = m_menus.begin(); it != m_menus.end(); ++it) {
        if (EqualNoCase(it->title, menu)) {
            m_menus.erase(it);
            return true;
        }
    }
    return false;
}

int CPopupMenus::Parameter(size_t menu, size_t place) const {
    if (menu >= m_menus.size() || place >= m_menus[menu].entries.size()) return -1;
    const std::vector<Text>& entries = m_menus[menu].entries;
    if (!HasId(entries[place])) return -1;
    int id = kFirstId;
    for (size_t i = 0; i < place; ++i) id += HasId(entries[i]) ? 1 : 0;
    return static_cast<int>(menu) * 100 + id;
}

void CPopupMenus::Fill(QMenu* menu, size_t index, const std::function<void(int)>& chosen) const {
    std::vector<QMenu*> open{menu};
    const std::vector<Text>& entries = m_menus[index].entries;
    for (size_t place = 0; place < entries.size(); ++place) {
        const Text& e = entries[place];
        if (IsSeparator(e)) {
            open.back()->addSeparator();
        } else if (OpensSubmenu(e)) {
            open.push_back(open.back()->addMenu(QString::fromStdWString(e.substr(1))));
        } else if (ClosesSubmenu(e)) {
            if (open.size() > 1) open.pop_back();
        } else {
            const int param = Parameter(index, place);
            QAction* action = open.back()->addAction(QString::fromStdWString(e));
            QObject::connect(action, &QAction::triggered, menu, [chosen, param] { chosen(param); });
        }
    }
}

QMenu* CPopupMenus::Build(QWidget* parent, const std::function<void(int)>& chosen) const {
    if (m_menus.empty()) return nullptr;
    auto* menu = new QMenu(parent);
    if (m_menus.size() == 1) {
        Fill(menu, 0, chosen);
    } else {
        for (size_t i = 0; i < m_menus.size(); ++i)
            Fill(menu->addMenu(QString::fromStdWString(m_menus[i].title)), i, chosen);
    }
    return menu;
}
