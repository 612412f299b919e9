#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace NoisePreview {

/// Percentages, in place on a terminal and elsewhere a line a quarter; or a bar, on a terminal alone.
enum class EProgress { kPercent, kBar };

/// Tells on standard error how far a piece of work has got.
class CProgress {
public:
    CProgress(EProgress kind, std::string label, uint64_t total);

    /// Ends the line on a terminal, so that what is said next stands on one of its own.
    ~CProgress();

    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

    /// `done` of the total is done. Cheap enough to call often.
    void Show(uint64_t done);

private:
    void _ShowInPlace(int percent) const;
    void _ShowQuarter(int percent);

    EProgress m_Kind;
    std::string m_Label;
    uint64_t m_Total;
    bool m_IsTerminal;
    int m_LastPercent = -100;
    std::chrono::steady_clock::time_point m_LastTime;
};

} // namespace NoisePreview
