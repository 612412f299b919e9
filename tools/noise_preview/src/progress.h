#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace NoisePreview {

/// Percentages: updated in place on a terminal, elsewhere a line per quarter. Or a bar, on terminals only.
enum class EProgress { kPercent, kBar };

/// Shows progress, rate and time left on standard error.
class CProgress {
public:
    /// The work is `total` of `unit`, such as pixels.
    CProgress(EProgress kind, std::string label, uint64_t total, std::string unit);

    /// Ends the line on a terminal.
    ~CProgress();

    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

    /// Cheap enough to call often.
    void Show(uint64_t done);

private:
    void _ShowInPlace(int percent, uint64_t done, double seconds);
    void _ShowQuarter(int percent, uint64_t done, double seconds);
    std::string _Pace(uint64_t done, double seconds) const;

    EProgress m_Kind;
    std::string m_Label;
    uint64_t m_Total;
    std::string m_Unit;
    bool m_IsTerminal;
    int m_LastPercent = -100;
    size_t m_LastLength = 0;
    std::chrono::steady_clock::time_point m_Start = std::chrono::steady_clock::now();
    std::chrono::steady_clock::time_point m_LastTime = {};
};

} // namespace NoisePreview
