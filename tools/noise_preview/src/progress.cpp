#include "progress.h"

#include <cstdio>
#include <unistd.h>
#include <utility>

namespace NoisePreview {

CProgress::CProgress(std::string label, uint64_t total)
    : m_Label(std::move(label)), m_Total(total), m_IsTerminal(isatty(STDERR_FILENO) != 0) {}

void CProgress::Show(uint64_t done) {
    const int percent = static_cast<int>(100.0 * static_cast<double>(done) / static_cast<double>(m_Total));
    if (!m_IsTerminal) {
        if (percent / 25 != m_LastPercent / 25) {
            std::fprintf(stderr, "%s %d %%\n", m_Label.c_str(), percent);
            m_LastPercent = percent;
        }
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    const bool isDone = done == m_Total;
    if (percent == m_LastPercent || (!isDone && now - m_LastTime < std::chrono::milliseconds(50))) {
        return;
    }
    std::fprintf(stderr, "\r%s %3d %%%s", m_Label.c_str(), percent, isDone ? "\n" : "");
    m_LastPercent = percent;
    m_LastTime = now;
}

} // namespace NoisePreview
