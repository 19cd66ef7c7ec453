// Integer values: the counting sort of slot 35.
#include <climits>

#include "buffers.hpp"
#include "input_checks.hpp"

namespace imgtarn {

SortResult CountingSort(const std::vector<int>& values, const SortOptions& options) {
  vision::Require(values.size() <= static_cast<std::size_t>(INT_MAX), "values",
                  "more values than one call can count");
  vision::Require(options.first >= 0, "first", "must be 0 (all) or above");
  buffers::CountingSortParams params;
  params.count = static_cast<int>(values.size());
  params.ascending = !options.descending;
  params.firstK = options.first;
  params.writePermutation = true;
  SortResult result;
  result.values = values;
  result.permutation.resize(values.size());
  const int delivered =
      buffers::CountingSort(result.values.data(), result.permutation.data(), params);
  // Only the entries the sort delivered belong to the answer.
  result.values.resize(static_cast<std::size_t>(delivered));
  result.permutation.resize(static_cast<std::size_t>(delivered));
  return result;
}

}  // namespace imgtarn
