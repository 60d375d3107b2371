// The console of the window version: one input line under the log. Enter
// sends the line to the master shell, as standard input does headless; Up
// and Down walk the lines sent before.
#pragma once

#include <QLineEdit>
#include <QStringList>

class CConsoleLine : public QLineEdit {
    Q_OBJECT

public:
    explicit CConsoleLine(QWidget* parent = nullptr);

signals:
    void LineEntered(const QString& line);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void Enter();
    QStringList m_history;
    int m_position = 0; // m_history.size() stands for the line being typed
    QString m_typed;
};
