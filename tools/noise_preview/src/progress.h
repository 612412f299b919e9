#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace NoisePreview {

/// Percentages, in place on a terminal and elsewhere a line a quarter; or a bar, on a terminal alone.
enum class EProgress { kPercent, kBar };

/// Tells on standard error how far a piece of work has got, how fast it is, and how long it still takes.
class CProgress {
public:
    /// `total` is how many pieces there are, which are called `unit` where their rate is told.
    CProgress(EProgress kind, std::string label, uint64_t total, std::string unit);

    /// Ends the line on a terminal, so that what is said next stands on one of its own.
    ~CProgress();

    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

    /// `done` of the total is done. Cheap enough to call often.
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
