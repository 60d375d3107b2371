#include "graphics/sp_toolbar.h"

#include <QApplication>
#include <QPixmap>
#include <QStyle>

#include "graphics/graph_words.h"

namespace {
struct SIconRow {
    QStyle::StandardPixmap pixmap;
    const wchar_t* name;
};
constexpr SIconRow kIcons[] = {
    {QStyle::SP_MediaPlay, L"play"},           {QStyle::SP_MediaStop, L"stop"},
    {QStyle::SP_MediaPause, L"pause"},         {QStyle::SP_MediaSeekBackward, L"rewind"},
    {QStyle::SP_MediaSeekForward, L"forward"}, {QStyle::SP_MediaSkipBackward, L"begin"},
    {QStyle::SP_MediaSkipForward, L"end"},     {QStyle::SP_MediaVolume, L"volume"},
    {QStyle::SP_MediaVolumeMuted, L"mute"},    {QStyle::SP_DialogOpenButton, L"open"},
    {QStyle::SP_DialogSaveButton, L"save"},    {QStyle::SP_ArrowLeft, L"left"},
    {QStyle::SP_ArrowRight, L"right"},         {QStyle::SP_ArrowUp, L"up"},
    {QStyle::SP_ArrowDown, L"down"},           {QStyle::SP_BrowserReload, L"reload"},
    {QStyle::SP_TrashIcon, L"delete"},         {QStyle::SP_FileDialogDetailedView, L"details"},
    {QStyle::SP_DialogHelpButton, L"help"},    {QStyle::SP_DialogCloseButton, L"close"},
};
} // namespace

int ProgramIconCount() {
    return static_cast<int>(std::size(kIcons));
}

QIcon ProgramIcon(int index) {
    if (index < 0 || index >= ProgramIconCount()) return QIcon();
    return QApplication::style()->standardIcon(kIcons[index].pixmap);
}

const wchar_t* ProgramIconName(int index) {
    return index >= 0 && index < ProgramIconCount() ? kIcons[index].name : L"";
}

CSPToolBar::CSPToolBar(int index, QWidget* parent, PressFn pressed)
    : QToolBar(parent), m_index(index), m_pressed(std::move(pressed)) {
    setObjectName(QStringLiteral("toolbar %1").arg(index));
    setMovable(false);
}

bool CSPToolBar::SetButtons(const std::vector<int>& ids, const Text& bitmaps) {
    std::vector<QIcon> images;
    std::vector<Text> names;
    long long first = 0;
    const bool ownSet =
        bitmaps.empty() || IsSkip(bitmaps) || EqualNoCase(bitmaps, L"KVO") || ParseWholeLong(bitmaps, first);
    if (ownSet) {
        for (int i = static_cast<int>(first); i < ProgramIconCount(); ++i) {
            images.push_back(ProgramIcon(i));
            names.push_back(ProgramIconName(i));
        }
    } else {
        const QPixmap strip(QString::fromStdWString(bitmaps));
        if (strip.isNull() || strip.height() <= 0) return false;
        const int side = strip.height();
        for (int x = 0; x + side <= strip.width(); x += side) {
            images.emplace_back(strip.copy(x, 0, side, side));
            names.push_back(Format(L"button %d", static_cast<int>(images.size())));
        }
    }
    clear();
    size_t image = 0;
    for (int id : ids) {
        if (id < 0) {
            addSeparator();
            continue;
        }
        const Text name = image < names.size() ? names[image] : Format(L"button %d", id);
        QAction* action =
            addAction(image < images.size() ? images[image] : QIcon(), QString::fromStdWString(name));
        ++image;
        action->setData(id);
        connect(action, &QAction::triggered, this, [this, action, id](bool checked) {
            if (m_pressed) m_pressed(id, action->isCheckable(), checked, action->text().toStdWString());
        });
    }
    return true;
}

QAction* CSPToolBar::Button(int id) const {
    for (QAction* a : actions())
        if (a->data().isValid() && a->data().toInt() == id) return a;
    return nullptr;
}

bool CSPToolBar::SetState(int id, wchar_t letter) {
    QAction* a = Button(id);
    if (!a) return false;
    switch (letter) {
    case L'E':
        a->setEnabled(true);
        break;
    case L'D':
        a->setEnabled(false);
        break;
    case L'C':
    case L'U':
        a->setCheckable(true);
        a->setChecked(letter == L'C');
        break;
    case L'B':
        a->setSeparator(false);
        break;
    case L'S':
        a->setSeparator(true);
        break;
    default:
        return false;
    }
    return true;
}
