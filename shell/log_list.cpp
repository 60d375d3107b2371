#include "shell/log_list.h"

bool CLogList::Add(const Text& line, bool clear) {
    if (clear) m_lines.clear();
    if (m_file) {
        const std::string bytes = ToUtf8(line);
        std::fwrite(bytes.data(), 1, bytes.size(), m_file);
        std::fputc('\n', m_file);
        std::fflush(m_file);
    }
    m_lines.push_back(line);
    if (m_lines.size() > kMaxLines) {
        m_lines.pop_front();
        return true;
    }
    return false;
}

bool CLogList::OpenFile(const Text& path) {
    CloseFile();
    if (path.empty()) return true;
    m_file = std::fopen(ToUtf8(path).c_str(), "a");
    return m_file != nullptr;
}

void CLogList::CloseFile() {
    if (m_file) std::fclose(m_file);
    m_file = nullptr;
}
