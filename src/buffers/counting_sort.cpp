// Counting sort of integer values with an optional stable permutation (slot 35).
#include <algorithm>
#include <cstdint>

#include "buffers/buffers.hpp"

namespace imgtarn::buffers {
namespace {

struct ValueCount {
  int value;
  int count;
};

// The distinct values of the input in ascending order with their counts. Counters are dense
// (one per integer between min and max) while the spread is comparable to the input; a wider
// spread is counted from a sorted copy instead, so memory stays in proportion to the input
// and widely spread values cannot exhaust it. Both give the same table.
class ValueTable {
 public:
  ValueTable(const int* values, int n) {
    int low = values[0], high = values[0];
    for (int i = 0; i < n; ++i) {
      if (values[i] < low)
        low = values[i];
      else
        high = std::max(high, values[i]);
    }
    low_ = low;
    const std::int64_t range = static_cast<std::int64_t>(high) - low + 1;
    if (range <= 2 * static_cast<std::int64_t>(n) + kDenseSlack)
      CountDense(values, n, static_cast<std::size_t>(range));
    else
      CountSorted(values, n);
  }

  const std::vector<ValueCount>& Ascending() const { return ascending_; }
  bool Dense() const { return !denseIndex_.empty(); }
  // For a dense table: value - low -> index in Ascending() (-1 for absent values), and low.
  const std::vector<int>& DenseIndex() const { return denseIndex_; }
  std::int64_t Low() const { return low_; }

  // The index of a value of the input in Ascending().
  int IndexOf(int value) const {
    if (!denseIndex_.empty())
      return denseIndex_[static_cast<std::size_t>(static_cast<std::int64_t>(value) - low_)];
    const auto found =
        std::lower_bound(ascending_.begin(), ascending_.end(), value,
                         [](const ValueCount& entry, int v) { return entry.value < v; });
    return static_cast<int>(found - ascending_.begin());
  }

 private:
  static constexpr std::int64_t kDenseSlack = 1024;  // small inputs always count densely

  void CountDense(const int* values, int n, std::size_t range) {
    std::vector<int> counters(range, 0);
    for (int i = 0; i < n; ++i) ++counters[static_cast<std::size_t>(Offset(values[i]))];
    denseIndex_.assign(range, -1);
    for (std::size_t slot = 0; slot < range; ++slot) {
      if (counters[slot] == 0) continue;
      denseIndex_[slot] = static_cast<int>(ascending_.size());
      ascending_.push_back(
          {static_cast<int>(low_ + static_cast<std::int64_t>(slot)), counters[slot]});
    }
  }

  void CountSorted(const int* values, int n) {
    std::vector<int> sorted(values, values + n);
    std::sort(sorted.begin(), sorted.end());
    for (const int v : sorted) {
      if (ascending_.empty() || ascending_.back().value != v)
        ascending_.push_back({v, 1});
      else
        ++ascending_.back().count;
    }
  }

  std::int64_t Offset(int value) const { return static_cast<std::int64_t>(value) - low_; }

  std::int64_t low_ = 0;
  std::vector<int> denseIndex_;  // value - low -> index in ascending_, or -1
  std::vector<ValueCount> ascending_;
};

// The values in delivery order, cut after the value that brings the count to K or more.
std::vector<ValueCount> DeliveredValues(const ValueTable& table, const CountingSortParams& p) {
  std::vector<ValueCount> order = table.Ascending();
  if (!p.ascending) std::reverse(order.begin(), order.end());
  std::int64_t written = 0;
  std::size_t delivered = 0;
  while (delivered < order.size()) {
    written += order[delivered++].count;
    if (p.firstK != 0 && written >= p.firstK) break;
  }
  order.resize(delivered);
  return order;
}

// Input position of each delivered element, stable: equal values keep their input order.
// Elements of values beyond the delivered ones get no position.
void WritePermutation(const int* values, int n, const ValueTable& table, bool ascending,
                      const std::vector<ValueCount>& delivered, int* permutation) {
  const int distinct = static_cast<int>(table.Ascending().size());
  std::vector<int> next(delivered.size());  // next free position of each delivered value
  int position = 0;
  for (std::size_t k = 0; k < delivered.size(); ++k) {
    next[k] = position;
    position += delivered[k].count;
  }
  if (table.Dense()) {
    // One table from value to next free position (-1: not delivered) saves the two-step
    // lookup per element on the common dense case.
    std::vector<int> slotNext(table.DenseIndex().size(), -1);
    for (std::size_t slot = 0; slot < slotNext.size(); ++slot) {
      const int ascendingIndex = table.DenseIndex()[slot];
      if (ascendingIndex < 0) continue;
      const int orderIndex = ascending ? ascendingIndex : distinct - 1 - ascendingIndex;
      if (orderIndex < static_cast<int>(delivered.size())) slotNext[slot] = next[orderIndex];
    }
    const std::int64_t low = table.Low();
    for (int i = 0; i < n; ++i) {
      int& position = slotNext[static_cast<std::size_t>(values[i] - low)];
      if (position >= 0) permutation[position++] = i;
    }
    return;
  }
  for (int i = 0; i < n; ++i) {
    const int ascendingIndex = table.IndexOf(values[i]);
    const int orderIndex = ascending ? ascendingIndex : distinct - 1 - ascendingIndex;
    if (orderIndex < static_cast<int>(delivered.size())) permutation[next[orderIndex]++] = i;
  }
}

}  // namespace

int CountingSort(int* values, int* permutation, const CountingSortParams& params) {
  const int n = params.count;
  if (n <= 0) return 0;
  const ValueTable table(values, n);
  const std::vector<ValueCount> delivered = DeliveredValues(table, params);
  // The permutation is taken from the input order, before any value is overwritten.
  if (permutation != nullptr)
    WritePermutation(values, n, table, params.ascending, delivered, permutation);
  int written = 0;
  for (const ValueCount& entry : delivered) {
    std::fill(values + written, values + written + entry.count, entry.value);
    written += entry.count;
  }
  return written;
}

int CountingSortValues(int* values, float* para, int* permutation) {
  const CountingSortParams params = CountingSortParams::FromPara(para);
  CountingSort(values, params.writePermutation ? permutation : nullptr, params);
  return 0;
}

}  // namespace imgtarn::buffers
