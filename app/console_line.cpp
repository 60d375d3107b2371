#include "app/console_line.h"

#include <QKeyEvent>

CConsoleLine::CConsoleLine(QWidget* parent) : QLineEdit(parent) {
    setObjectName(QStringLiteral("console"));
    setPlaceholderText(QStringLiteral("Type a line for the master shell; EXIT 0 ends"));
    connect(this, &QLineEdit::returnPressed, this, &CConsoleLine::Enter);
}

void CConsoleLine::Enter() {
    const QString line = text().trimmed();
    if (line.isEmpty()) return;
    if (m_history.isEmpty() || m_history.back() != line) m_history.push_back(line);
    m_position = static_cast<int>(m_history.size());
    m_typed.clear();
    clear();
    emit LineEntered(line);
}

void CConsoleLine::keyPressEvent(QKeyEvent* event) {
    const int key = event->key();
    if ((key != Qt::Key_Up && key != Qt::Key_Down) || m_history.isEmpty()) {
        QLineEdit::keyPressEvent(event);
        return;
    }
    const int last = static_cast<int>(m_history.size());
    if (m_position == last) m_typed = text();
    m_position = key == Qt::Key_Up ? std::max(0, m_position - 1) : std::min(last, m_position + 1);
    setText(m_position == last ? m_typed : m_history[m_position]);
}
