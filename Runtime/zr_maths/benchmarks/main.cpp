#include "benchmark_sections.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <unistd.h>

namespace Vestrel::Benchmarks {

void CMedians::Add(const std::string& name, double nanoseconds) {
    m_Nanoseconds[name].push_back(nanoseconds);
}

double CMedians::Nanoseconds(const std::string& name) const {
    const auto found = m_Nanoseconds.find(name);
    if (found == m_Nanoseconds.end()) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    std::vector<double> times = found->second;
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

double CMedians::Spread(const std::string& name) const {
    const auto found = m_Nanoseconds.find(name);
    if (found == m_Nanoseconds.end()) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    std::vector<double> times = found->second;
    std::sort(times.begin(), times.end());
    return (times[3 * times.size() / 4] - times[times.size() / 4]) / (2.0 * times[times.size() / 2]);
}

float* Aligned(std::vector<float>& values) {
    const uintptr_t past = reinterpret_cast<uintptr_t>(values.data()) % 64;
    return values.data() + (64 - past) % 64 / sizeof(float);
}

void PrintNumber(double number) {
    std::isfinite(number) ? std::printf("%9.2f", number) : std::printf("%9s", "-");
}

} // namespace Vestrel::Benchmarks

namespace {

using namespace Vestrel::Benchmarks;

/// Collects the time of every run and prints tables of medians.
class CTableReporter final : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override {
        return true;
    }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
                m_Medians.Add(run.run_name.function_name, 1e9 / run.counters.at("items_per_second"));
            }
        }
        if (isatty(STDERR_FILENO) != 0) {
            std::fprintf(stderr, "\r%zu benchmarks done ", m_Medians.BenchmarkCount());
        }
    }

    void Finalize() override {
        std::fprintf(stderr, "\n");
        PrintBatchBenchmarks(m_Medians);
        PrintOperationBenchmarks(m_Medians);
        PrintKernelBenchmarks(m_Medians);
    }

private:
    CMedians m_Medians;
};

} // namespace

int main(int argumentCount, char** arguments) {
    RegisterBatchBenchmarks();
    RegisterOperationBenchmarks();
    RegisterKernelBenchmarks();
    benchmark::Initialize(&argumentCount, arguments);
    if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments)) {
        return 2;
    }
    CTableReporter reporter;
    return benchmark::RunSpecifiedBenchmarks(&reporter) > 0 ? 0 : 1;
}
