#pragma once

// The benchmark program consists of sections, each with benchmarks and a table of results.

#include <map>
#include <string>
#include <vector>

namespace Vestrel::Benchmarks {

/// The times of all runs, by name of the benchmark.
class CMedians {
public:
    void Add(const std::string& name, double nanoseconds);

    /// The median time per item; NaN if a filter excludes the benchmark.
    double Nanoseconds(const std::string& name) const;

    /// Half the interquartile range of the times, relative to the median.
    double Spread(const std::string& name) const;

    size_t BenchmarkCount() const {
        return m_Nanoseconds.size();
    }

private:
    std::map<std::string, std::vector<double>> m_Nanoseconds;
};

/// The first value at a multiple of 64 bytes; up to 15 values before it are skipped.
float* Aligned(std::vector<float>& values);

/// Prints a number in nine columns, or - if it is not finite.
void PrintNumber(double number);

void RegisterBatchBenchmarks();
void PrintBatchBenchmarks(const CMedians& medians);

void RegisterOperationBenchmarks();
void PrintOperationBenchmarks(const CMedians& medians);

void RegisterKernelBenchmarks();
void PrintKernelBenchmarks(const CMedians& medians);

} // namespace Vestrel::Benchmarks
