#pragma once

// The benchmark program is made of sections, each with benchmarks and a table of what they came to.

#include <map>
#include <string>
#include <vector>

namespace Vestrel::Benchmarks {

/// The times of all runs, by the names of the benchmarks.
class CMedians {
public:
    void Add(const std::string& name, double nanoseconds);

    /// The median time of an item; not a number where a filter has left the benchmark out.
    double Nanoseconds(const std::string& name) const;

    /// How far the quarters of the times lie from the median, on average and as a part of it.
    double Spread(const std::string& name) const;

    size_t BenchmarkCount() const {
        return m_Nanoseconds.size();
    }

private:
    std::map<std::string, std::vector<double>> m_Nanoseconds;
};

/// The first of the values at a multiple of 64 bytes; up to 15 before it are left out.
float* Aligned(std::vector<float>& values);

/// Nine columns: a number, or - where there is none.
void PrintNumber(double number);

void RegisterBatchBenchmarks();
void PrintBatchBenchmarks(const CMedians& medians);

void RegisterOperationBenchmarks();
void PrintOperationBenchmarks(const CMedians& medians);

void RegisterKernelBenchmarks();
void PrintKernelBenchmarks(const CMedians& medians);

} // namespace Vestrel::Benchmarks
