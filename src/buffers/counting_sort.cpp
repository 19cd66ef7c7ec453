// Counting sort of integer values with an optional stable permutation (slot 35).
#include <emmintrin.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "buffers.hpp"
#include "four_tables.hpp"

namespace imgtarn::buffers {
namespace {

// Small inputs always count densely, whatever their spread.
constexpr std::int64_t kDenseSlack = 1024;
// Up to this many counters, four interleaved tables are counted and summed: runs of equal
// values (a flat image area) then update four counters in turn instead of stalling on one.
constexpr std::int64_t kSplitCountersUpTo = 1 << 16;
// How far ahead of a permutation store its line is fetched for writing: two cache lines
// measured best for 256 grey levels (one line: 10 % slower).
constexpr std::uintptr_t kPrefetchAheadBytes = 128;

struct ValueRange {
  int low, high;
  std::int64_t Size() const { return static_cast<std::int64_t>(high) - low + 1; }
};

// The least and greatest value, four lanes a step. SSE2 has no 32-bit minimum or maximum, so
// they are formed from a comparison and a blend.
ValueRange FindRange(const int* values, int n) {
  const auto select = [](__m128i take, __m128i a, __m128i b) {  // take ? a : b
    return _mm_or_si128(_mm_and_si128(take, a), _mm_andnot_si128(take, b));
  };
  __m128i low = _mm_set1_epi32(values[0]), high = low;
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(values + i));
    low = select(_mm_cmplt_epi32(v, low), v, low);
    high = select(_mm_cmpgt_epi32(v, high), v, high);
  }
  alignas(16) int lows[4], highs[4];
  _mm_store_si128(reinterpret_cast<__m128i*>(lows), low);
  _mm_store_si128(reinterpret_cast<__m128i*>(highs), high);
  ValueRange range{*std::min_element(lows, lows + 4), *std::max_element(highs, highs + 4)};
  for (; i < n; ++i) {
    range.low = std::min(range.low, values[i]);
    range.high = std::max(range.high, values[i]);
  }
  return range;
}

// The counter of a value: v - low in unsigned arithmetic, which cannot overflow.
std::size_t Slot(int v, unsigned low) { return static_cast<unsigned>(v) - low; }

// The number of occurrences of each value, indexed by value - low.
std::vector<int> CountValues(const int* values, int n, const ValueRange& range) {
  const auto size = static_cast<std::size_t>(range.Size());
  const auto low = static_cast<unsigned>(range.low);
  const auto slot = [low](int v) { return Slot(v, low); };
  if (range.Size() > kSplitCountersUpTo) {
    std::vector<int> counts(size, 0);
    for (int i = 0; i < n; ++i) ++counts[slot(values[i])];
    return counts;
  }
  std::vector<int> tables(kCountTables * size, 0);
  CountIntoTables(values, n, slot, tables.data(), size);
  FoldCountTables(tables.data(), size);
  tables.resize(size);
  return tables;
}

// The number of entries delivered: all, or those of the values in delivery order up to the
// one that brings the count to K or more (all of its repetitions).
int DeliveredCount(const std::vector<int>& counts, const CountingSortParams& p, int n) {
  if (p.firstK == 0) return n;
  const int size = static_cast<int>(counts.size());
  std::int64_t written = 0;
  for (int k = 0; k < size; ++k) {
    const int count = counts[p.ascending ? k : size - 1 - k];
    if (count == 0) continue;
    written += count;
    if (written >= p.firstK) break;  // a negative K stops after the first value
  }
  return static_cast<int>(written);
}

// The first output position of each value in delivery order; -1 for values not delivered.
std::vector<int> DeliveryPositions(const std::vector<int>& counts, bool ascending, int delivered) {
  const int size = static_cast<int>(counts.size());
  std::vector<int> next(counts.size(), -1);
  int written = 0;
  for (int k = 0; k < size && written < delivered; ++k) {
    const int s = ascending ? k : size - 1 - k;
    next[s] = written;
    written += counts[s];
  }
  return next;
}

// Input position of each delivered element, stable: equal values keep their input order.
// Consumes `next` (first positions, -1: not delivered).
void ScatterPermutation(const int* values, int n, int low, bool everyValueDelivered,
                        std::vector<int>& next, int* permutation) {
  const auto base = static_cast<unsigned>(low);
  int* slots = next.data();
  if (everyValueDelivered) {
    for (int i = 0; i < n; ++i) {
      const int position = slots[Slot(values[i], base)]++;
      // Each value writes its own stream; with hundreds of streams no hardware prefetcher
      // follows them, so each store asks for the line a few stores ahead in its stream.
      // (The address is formed as an integer: it may lie past the end, where prefetching is
      // harmless.)
      __builtin_prefetch(
          reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(permutation + position) +
                                        kPrefetchAheadBytes),
          1);
      permutation[position] = i;
    }
    return;
  }
  for (int i = 0; i < n; ++i) {
    int& position = slots[Slot(values[i], base)];
    if (position >= 0) permutation[position++] = i;
  }
}

// Writes each delivered value as often as it occurs, in delivery order, from the counts.
void WriteValues(int* values, const ValueRange& range, const std::vector<int>& counts,
                 bool ascending, int delivered) {
  const int size = static_cast<int>(counts.size());
  int written = 0;
  for (int k = 0; k < size && written < delivered; ++k) {
    const int s = ascending ? k : size - 1 - k;
    if (counts[s] == 0) continue;
    const int count = std::min(counts[s], delivered - written);
    std::fill(values + written, values + written + count,
              static_cast<int>(static_cast<std::int64_t>(range.low) + s));
    written += count;
  }
}

int SortDense(int* values, int* permutation, const CountingSortParams& params,
              const ValueRange& range) {
  const int n = params.count;
  const std::vector<int> counts = CountValues(values, n, range);
  const int delivered = DeliveredCount(counts, params, n);
  if (permutation != nullptr) {
    std::vector<int> next = DeliveryPositions(counts, params.ascending, delivered);
    // The permutation is taken from the input order, before any value is overwritten.
    ScatterPermutation(values, n, range.low, delivered == n, next, permutation);
  }
  WriteValues(values, range, counts, params.ascending, delivered);
  return delivered;
}

// Values spread far wider than their number: counters would need memory out of proportion to
// the input, so the same order comes from a stable comparison sort of the positions.
int SortSpread(int* values, int* permutation, const CountingSortParams& params) {
  const int n = params.count;
  std::vector<int> order(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) order[i] = i;
  const auto before = [&](int a, int b) {
    return params.ascending ? values[a] < values[b] : values[a] > values[b];
  };
  std::stable_sort(order.begin(), order.end(), before);
  int delivered = n;
  if (params.firstK != 0) {
    // Through all repetitions of the value that brings the count to K or more.
    delivered = std::min(std::max(params.firstK, 1), n);
    while (delivered < n && values[order[delivered]] == values[order[delivered - 1]]) ++delivered;
  }
  std::vector<int> sorted(static_cast<std::size_t>(delivered));
  for (int i = 0; i < delivered; ++i) sorted[i] = values[order[i]];
  if (permutation != nullptr) std::copy(order.begin(), order.begin() + delivered, permutation);
  std::copy(sorted.begin(), sorted.end(), values);
  return delivered;
}

}  // namespace

int CountingSort(int* values, int* permutation, const CountingSortParams& params) {
  const int n = params.count;
  if (n <= 0) return 0;
  const ValueRange range = FindRange(values, n);
  if (range.Size() <= 2 * static_cast<std::int64_t>(n) + kDenseSlack)
    return SortDense(values, permutation, params, range);
  return SortSpread(values, permutation, params);
}

int CountingSortValues(int* values, float* para, int* permutation) {
  const CountingSortParams params = CountingSortParams::FromPara(para);
  CountingSort(values, params.writePermutation ? permutation : nullptr, params);
  return 0;
}

}  // namespace imgtarn::buffers
