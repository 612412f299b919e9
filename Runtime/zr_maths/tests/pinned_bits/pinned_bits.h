#pragma once

// The bits of every operation, pinned: all configurations, compilers, processors and backends have to come to
// the values of one table.

#include <cstddef>
#include <string>
#include <vector>

namespace Vestrel {

class CCoordinates;
struct CPinnedSubjects;

/// How many results of an operation the two hashes of the table are over.
constexpr size_t kFewPinnedResults = 65536; // for where all is slow
constexpr size_t kManyPinnedResults = 4194304;

size_t PinnedCount();

/// How many instruction sets there are, here, that long runs can be sampled with.
size_t PinnedKernelsCount();

/// Makes all samplers use the kernels of one of them, the best first, and returns its name.
const char* UsePinnedKernels(size_t index);

const char* PinnedName(size_t index);

/// Inputs of `itemCount` items of an operation of the table, made from `coordinates`.
std::vector<float> PinnedInputs(size_t index, CCoordinates& coordinates, size_t itemCount);

/// Makes the results of an operation of the table.
void PinnedResults(size_t index, const CPinnedSubjects& subjects, const std::vector<float>& inputs,
                   size_t itemCount, float* results);

/// The number of results that an operation of the table has for an item.
size_t PinnedResultCount(size_t index);

/// Hashes the results of an operation of the table, kFewPinnedResults or kManyPinnedResults of them. Empty if
/// all is as it should be; otherwise the first result that the scalar reference does not share, with its
/// inputs, and the line for the table.
std::string PinnedMismatch(size_t index, size_t resultCount);

} // namespace Vestrel
