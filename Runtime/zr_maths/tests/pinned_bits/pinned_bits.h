#pragma once

// Pinned bits: one table of hashes for all configurations, compilers, processors and backends.

#include <cstddef>
#include <string>
#include <vector>

namespace Vestrel {

class CCoordinates;
struct CPinnedSubjects;

/// The number of results in each of the two hashes of an operation.
constexpr size_t kFewPinnedResults = 65536; // for slow configurations
constexpr size_t kManyPinnedResults = 4194304;

size_t PinnedCount();

/// The number of instruction sets with kernels for this processor.
size_t PinnedKernelsCount();

/// Makes all samplers use the kernels of one instruction set, widest first, and returns its name.
const char* UsePinnedKernels(size_t index);

const char* PinnedName(size_t index);

/// The inputs of `itemCount` items of an operation, made from `coordinates`.
std::vector<float> PinnedInputs(size_t index, CCoordinates& coordinates, size_t itemCount);

/// Computes the results of an operation.
void PinnedResults(size_t index, const CPinnedSubjects& subjects, const std::vector<float>& inputs,
                   size_t itemCount, float* results);

/// The number of results per item of an operation.
size_t PinnedResultCount(size_t index);

/// Compares the hash of an operation's results, kFewPinnedResults or kManyPinnedResults of them, with the
/// table. Empty if it is equal; otherwise the first result that differs from the scalar reference, with its
/// inputs, and the new line for the table.
std::string PinnedMismatch(size_t index, size_t resultCount);

} // namespace Vestrel
