#include "progress.h"

#include "text.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>
#include <utility>

namespace NoisePreview {

namespace {

/// Such as "1.5 million".
std::string RateText(double rate) {
    const char* const names[] = {"", " thousand", " million"};
    size_t thousands = 0;
    for (; rate >= 1000.0 && thousands < 2; ++thousands) {
        rate /= 1000.0;
    }
    return Format(rate < 10.0 ? "%.1f%s" : "%.0f%s", rate, names[thousands]);
}

/// Such as "5 s", "2 min 05 s" or "3 h 10 min".
std::string DurationText(double seconds) {
    const double whole = std::min(seconds + 0.5, 1e15);
    const long long minutes = static_cast<long long>(whole) / 60;
    const int rest = static_cast<int>(static_cast<long long>(whole) % 60);
    if (minutes < 60) {
        return minutes == 0 ? Format("%d s", rest) : Format("%d min %02d s", static_cast<int>(minutes), rest);
    }
    return Format("%lld h %02d min", minutes / 60, static_cast<int>(minutes % 60));
}

} // namespace

CProgress::CProgress(EProgress kind, std::string label, uint64_t total, std::string unit)
    : m_Kind(kind),
      m_Label(std::move(label)),
      m_Total(std::max<uint64_t>(total, 1)),
      m_Unit(std::move(unit)),
      m_IsTerminal(isatty(STDERR_FILENO) != 0) {}

CProgress::~CProgress() {
    if (m_IsTerminal && m_LastPercent >= 0) {
        std::fputc('\n', stderr);
    }
}

void CProgress::Show(uint64_t done) {
    constexpr auto kPause = std::chrono::milliseconds(100);
    const int percent = static_cast<int>(100.0 * static_cast<double>(done) / static_cast<double>(m_Total));
    const auto now = std::chrono::steady_clock::now();
    const double seconds = std::chrono::duration<double>(now - m_Start).count();
    if (!m_IsTerminal) {
        _ShowQuarter(percent, done, seconds);
    } else if (done >= m_Total || now - m_LastTime >= kPause) {
        _ShowInPlace(percent, done, seconds);
        m_LastTime = now;
    }
}

void CProgress::_ShowQuarter(int percent, uint64_t done, double seconds) {
    if (m_Kind == EProgress::kPercent && percent / 25 != m_LastPercent / 25) {
        std::fprintf(stderr, "%s %d %%%s\n", m_Label.c_str(), percent, _Pace(done, seconds).c_str());
        m_LastPercent = percent;
    }
}

void CProgress::_ShowInPlace(int percent, uint64_t done, double seconds) {
    std::string line = m_Label;
    if (m_Kind == EProgress::kBar) {
        constexpr size_t kWidth = 40;
        const std::string bar(kWidth * static_cast<size_t>(percent) / 100, '#');
        line += " [" + bar + std::string(kWidth - bar.size(), ' ') + "]";
    }
    line += Format(" %3d %%", percent) + _Pace(done, seconds);
    const size_t length = line.size();
    line.append(m_LastLength > length ? m_LastLength - length : 0, ' '); // overwrites a longer line
    std::fprintf(stderr, "\r%s", line.c_str());
    m_LastLength = length;
    m_LastPercent = percent;
}

std::string CProgress::_Pace(uint64_t done, double seconds) const {
    constexpr double kFirstSeconds = 1.0; // too few for a reliable rate
    if (done == 0 || seconds < kFirstSeconds) {
        return "";
    }
    const double rate = static_cast<double>(done) / seconds;
    const std::string left =
        done < m_Total ? ", " + DurationText(static_cast<double>(m_Total - done) / rate) + " left" : "";
    return ", " + RateText(rate) + " " + m_Unit + "/s" + left;
}

} // namespace NoisePreview
