// Counting into four interleaved tables, for histograms of data with long runs of equal values
// (flat image areas, few grey levels): consecutive samples increment counters in different
// tables, so no increment waits for the store of the one before it.
#ifndef IMGTARN_COMMON_FOUR_TABLES_HPP
#define IMGTARN_COMMON_FOUR_TABLES_HPP

#include <cstddef>

namespace imgtarn {

constexpr int kCountTables = 4;

// Adds one count at binOf(values[i]) for every i in [0, n) to `tables`, which holds four tables
// of `bins` counters back to back; sample i goes to table i % 4. Nothing is reset, so calls
// accumulate. FoldCountTables gives the plain histogram.
template <typename T, typename BinOf>
void CountIntoTables(const T* values, int n, BinOf binOf, int* tables, std::size_t bins) {
  int* t0 = tables;
  int* t1 = t0 + bins;
  int* t2 = t1 + bins;
  int* t3 = t2 + bins;
  int i = 0;
  for (; i + kCountTables <= n; i += kCountTables) {
    ++t0[binOf(values[i])];
    ++t1[binOf(values[i + 1])];
    ++t2[binOf(values[i + 2])];
    ++t3[binOf(values[i + 3])];
  }
  for (; i < n; ++i) ++t0[binOf(values[i])];
}

// Adds tables 1 to 3 into table 0 (the first `bins` counters), which then holds the histogram.
inline void FoldCountTables(int* tables, std::size_t bins) {
  for (std::size_t bin = 0; bin < bins; ++bin) {
    tables[bin] += tables[bin + bins] + tables[bin + 2 * bins] + tables[bin + 3 * bins];
  }
}

}  // namespace imgtarn

#endif  // IMGTARN_COMMON_FOUR_TABLES_HPP
