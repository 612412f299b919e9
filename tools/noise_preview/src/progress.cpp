#include "progress.h"

#include <cstdio>
#include <unistd.h>
#include <utility>

namespace NoisePreview {

CProgress::CProgress(EProgress kind, std::string label, uint64_t total)
    : m_Kind(kind), m_Label(std::move(label)), m_Total(total), m_IsTerminal(isatty(STDERR_FILENO) != 0) {}

CProgress::~CProgress() {
    if (m_IsTerminal && m_LastPercent >= 0) {
        std::fputc('\n', stderr);
    }
}

void CProgress::Show(uint64_t done) {
    const int percent = static_cast<int>(100.0 * static_cast<double>(done) / static_cast<double>(m_Total));
    if (!m_IsTerminal) {
        _ShowQuarter(percent);
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (percent == m_LastPercent || (done != m_Total && now - m_LastTime < std::chrono::milliseconds(50))) {
        return;
    }
    _ShowInPlace(percent);
    m_LastPercent = percent;
    m_LastTime = now;
}

void CProgress::_ShowQuarter(int percent) {
    if (m_Kind == EProgress::kPercent && percent / 25 != m_LastPercent / 25) {
        std::fprintf(stderr, "%s %d %%\n", m_Label.c_str(), percent);
        m_LastPercent = percent;
    }
}

void CProgress::_ShowInPlace(int percent) const {
    std::string bar;
    if (m_Kind == EProgress::kBar) {
        constexpr size_t kWidth = 40;
        bar.assign(kWidth * static_cast<size_t>(percent) / 100, '#');
        bar = " [" + bar + std::string(kWidth - bar.size(), ' ') + "]";
    }
    std::fprintf(stderr, "\r%s%s %3d %%", m_Label.c_str(), bar.c_str(), percent);
}

} // namespace NoisePreview
