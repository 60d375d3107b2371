// The log as the main window keeps it: the last 500 lines in the list, and
// every line in the log file when one is open.
#pragma once

#include <cstdio>
#include <deque>

#include "base/text.h"

class CLogList {
public:
    static constexpr size_t kMaxLines = 500;

    ~CLogList() { CloseFile(); }
    // Appends one line (after clearing the list when asked); true when the oldest line was dropped.
    bool Add(const Text& line, bool clear = false);
    void Clear() { m_lines.clear(); }
    const std::deque<Text>& Lines() const { return m_lines; }

    // Opens (appending) or, with an empty path, closes the log file; false when it cannot be opened.
    bool OpenFile(const Text& path);
    void CloseFile();
    bool FileOpen() const { return m_file != nullptr; }

private:
    std::deque<Text> m_lines;
    std::FILE* m_file = nullptr;
};
