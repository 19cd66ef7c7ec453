// The production windowed median: the same values as MedianFilterLiteral, reached faster.
//
// Two facts make the shortcuts exact:
//  - An exchange pass that exchanges nothing changes nothing, so every later pass sees the same
//    values and exchanges nothing either: the sort may stop after the first quiet pass.
//  - When every collectable sample of the plane is a multiple of one power of two 2^e, the
//    largest magnitude M satisfies 2M <= 2^(24+e), and there is no -0, NaN or infinity, then
//    a + b, (a + b) - b and (a + b) - a are all exact: every arithmetic exchange is a true swap,
//    the exchange sort ends sorted, and any selection algorithm finds the same order statistics
//    (equal values are equal bit patterns, since -0 is excluded and no swap can create it).
#include <emmintrin.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

#include "buffers.hpp"

namespace imgtarn::buffers {
namespace {

bool Collectable(float value, const MedianParams& params) {
  return !params.limited || (params.lower < value && value < params.upper);
}

// Exponent of the lowest set bit of a finite non-zero float: value is an odd multiple of 2^e.
int LowestBitExponent(float value) {
  std::uint32_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  const int biased = static_cast<int>((bits >> 23) & 0xFF);
  std::uint32_t mantissa = bits & 0x7FFFFF;
  int exponent = -149;  // subnormals: mantissa * 2^-149
  if (biased != 0) {
    mantissa |= 0x800000;
    exponent = biased - 150;
  }
  int trailing = 0;
  while ((mantissa & 1u) == 0) {
    mantissa >>= 1;
    ++trailing;
  }
  return exponent + trailing;
}

}  // namespace

bool EveryExchangeIsExact(const cv::Mat& source, const MedianParams& params) {
  int gridExponent = std::numeric_limits<int>::max();
  double largest = 0.0;
  for (int y = 0; y < source.rows; ++y) {
    const float* row = source.ptr<float>(y);
    for (int x = 0; x < source.cols; ++x) {
      const float value = row[x];
      if (!Collectable(value, params)) continue;
      if (!std::isfinite(value) || (std::signbit(value) && value == 0.0f)) return false;
      if (value == 0.0f) continue;  // +0 lies on every grid
      gridExponent = std::min(gridExponent, LowestBitExponent(value));
      largest = std::max(largest, std::fabs(static_cast<double>(value)));
    }
  }
  if (largest == 0.0) return true;  // only +0 or nothing: exchanges never fire
  // Sums of two samples stay below 2^(24+e) (exact on the grid) and far from overflow.
  return 2.0 * largest <= std::ldexp(1.0, 24 + gridExponent) && largest <= std::ldexp(1.0, 100);
}

void ExchangeSortEarlyExit(float* values, int n) {
  for (int pass = 0; pass < n; ++pass) {
    bool exchanged = false;
    float left = values[0];
    for (int i = 0; i + 1 < n; ++i) {
      const float right = values[i + 1];
      // The literal exchange, computed always and kept only where it fires, so the loop
      // carries no unpredictable branch.
      const float sum = left + right;
      const float newRight = sum - right;
      const float newLeft = sum - newRight;
      const bool swap = left > right;
      exchanged |= swap;
      values[i] = swap ? newLeft : left;
      left = swap ? newRight : right;
    }
    values[n - 1] = left;
    if (!exchanged) return;
  }
}

namespace {

float PickFromSorted(const float* sorted, int n, EvenRule rule) {
  if (n % 2 == 1) return sorted[(n - 1) / 2];
  switch (rule) {
    case EvenRule::kLower:
      return sorted[n / 2 - 1];
    case EvenRule::kUpper:
      return sorted[n / 2];
    case EvenRule::kMean:
    default:
      return (sorted[n / 2 - 1] + sorted[n / 2]) * 0.5f;
  }
}

// The order statistics the rule needs, by selection; only valid on exact planes.
float PickBySelection(float* values, int n, EvenRule rule) {
  const int upper = n / 2;
  std::nth_element(values, values + upper, values + n);
  if (n % 2 == 1 || rule == EvenRule::kUpper) return values[upper];
  const float lowerMiddle = *std::max_element(values, values + upper);
  if (rule == EvenRule::kLower) return lowerMiddle;
  return (lowerMiddle + values[upper]) * 0.5f;
}

}  // namespace

namespace {

constexpr int kLanes = 4;            // neighbouring output samples filtered side by side
constexpr int kLargestNetwork = 64;  // windows of up to 8 x 8 samples sort by network

// Batcher's odd-even merge sort for `size` (a power of two) inputs, as comparator pairs.
std::vector<std::pair<int, int>> OddEvenMergeNetwork(int size) {
  std::vector<std::pair<int, int>> comparators;
  for (int p = 1; p < size; p <<= 1)
    for (int k = p; k >= 1; k >>= 1)
      for (int j = k % p; j + k < size; j += 2 * k)
        for (int i = 0; i < k && i + j + k < size; ++i)
          if ((i + j) / (2 * p) == (i + j + k) / (2 * p))
            comparators.emplace_back(i + j, i + j + k);
  return comparators;
}

// Drops the comparators that cannot matter for windows of at most `largest` samples whose
// sorted positions up to largest / 2 are read: those whose larger input is still padding
// (+inf; more padding only leaves more +inf, a network being monotone) and those that feed
// no read position.
std::vector<std::pair<int, int>> PruneNetwork(const std::vector<std::pair<int, int>>& network,
                                              int size, int largest) {
  std::vector<char> padding(size), live(size);
  for (int i = 0; i < size; ++i) padding[i] = i >= largest;
  std::vector<std::pair<int, int>> acting;
  for (const auto& [a, b] : network) {
    if (padding[b]) continue;  // min keeps a, max keeps +inf at b
    if (padding[a]) padding[a] = 0, padding[b] = 1;
    acting.emplace_back(a, b);
  }
  for (int i = 0; i < size; ++i) live[i] = i <= largest / 2;
  std::vector<std::pair<int, int>> needed;
  for (auto it = acting.rbegin(); it != acting.rend(); ++it) {
    if (!live[it->first] && !live[it->second]) continue;
    live[it->first] = live[it->second] = 1;
    needed.push_back(*it);
  }
  return {needed.rbegin(), needed.rend()};
}

// Gathers the collectable samples of windows x .. x + kLanes - 1 of one row band, lane by
// lane, sample i of lane l at lanes[i * kLanes + l]; returns the counts.
struct LaneWindows {
  std::vector<float> samples;
  int count[kLanes];
};

void GatherLanes(const cv::Mat& source, long long top, long long bottom, int x, long long half,
                 const MedianParams& params, LaneWindows& lanes) {
  const long long lastCol = source.cols - 1;
  if (!params.limited && x - half >= 0 && x + kLanes - 1 + half <= lastCol) {
    // Unclipped windows taking every sample: sample i of all four lanes is one row load.
    int n = 0;
    for (long long wy = top; wy <= bottom; ++wy) {
      const float* row = source.ptr<float>(static_cast<int>(wy)) + (x - half);
      for (long long dx = 0; dx <= 2 * half; ++dx)
        _mm_storeu_ps(lanes.samples.data() + (n++) * kLanes, _mm_loadu_ps(row + dx));
    }
    for (int& count : lanes.count) count = n;
    return;
  }
  for (int l = 0; l < kLanes; ++l) {
    const long long left = std::max(0LL, x + l - half), right = std::min(x + l + half, lastCol);
    int n = 0;
    for (long long wy = top; wy <= bottom; ++wy) {
      const float* row = source.ptr<float>(static_cast<int>(wy));
      for (long long wx = left; wx <= right; ++wx)
        if (Collectable(row[wx], params)) lanes.samples[(n++) * kLanes + l] = row[wx];
    }
    lanes.count[l] = n;
  }
}

// Exact planes only: min/max are the exchanges there, and +inf padding (no sample is
// infinite on such a plane) sorts behind every sample.
void SortLanesByNetwork(LaneWindows& lanes, const std::vector<std::pair<int, int>>& network,
                        int size) {
  float* s = lanes.samples.data();
  for (int l = 0; l < kLanes; ++l)
    for (int i = lanes.count[l]; i < size; ++i)
      s[i * kLanes + l] = std::numeric_limits<float>::infinity();
  for (const auto& [a, b] : network) {
    const __m128 va = _mm_loadu_ps(s + a * kLanes), vb = _mm_loadu_ps(s + b * kLanes);
    _mm_storeu_ps(s + a * kLanes, _mm_min_ps(va, vb));
    _mm_storeu_ps(s + b * kLanes, _mm_max_ps(va, vb));
  }
}

// The early-exit exchange sort run on every lane at once; all lanes hold n samples. A lane
// that is already sorted only sees quiet passes, which change nothing.
void ExchangeSortLanes(LaneWindows& lanes, int n) {
  float* s = lanes.samples.data();
  for (int pass = 0; pass < n; ++pass) {
    __m128 exchanged = _mm_setzero_ps();
    __m128 left = _mm_loadu_ps(s);
    for (int i = 0; i + 1 < n; ++i) {
      const __m128 right = _mm_loadu_ps(s + (i + 1) * kLanes);
      const __m128 sum = _mm_add_ps(left, right);
      const __m128 newRight = _mm_sub_ps(sum, right);
      const __m128 newLeft = _mm_sub_ps(sum, newRight);
      const __m128 swap = _mm_cmpgt_ps(left, right);
      exchanged = _mm_or_ps(exchanged, swap);
      _mm_storeu_ps(s + i * kLanes,
                    _mm_or_ps(_mm_and_ps(swap, newLeft), _mm_andnot_ps(swap, left)));
      left = _mm_or_ps(_mm_and_ps(swap, newRight), _mm_andnot_ps(swap, right));
    }
    _mm_storeu_ps(s + (n - 1) * kLanes, left);
    if (_mm_movemask_ps(exchanged) == 0) return;
  }
}

// Only the sorted positions up to n / 2 are read (and, on exact planes, valid).
float PickFromLane(const LaneWindows& lanes, int lane, EvenRule rule, float* scratch) {
  const int n = lanes.count[lane];
  for (int i = 0; i <= n / 2; ++i) scratch[i] = lanes.samples[i * kLanes + lane];
  return PickFromSorted(scratch, n, rule);
}

// One output sample the plain way.
float MedianAt(const cv::Mat& source, long long top, long long bottom, int x, long long half,
               const MedianParams& params, bool exact, float* values) {
  const long long left = std::max(0LL, x - half), right = std::min(x + half, source.cols - 1LL);
  int n = 0;
  for (long long wy = top; wy <= bottom; ++wy) {
    const float* row = source.ptr<float>(static_cast<int>(wy));
    for (long long wx = left; wx <= right; ++wx)
      if (Collectable(row[wx], params)) values[n++] = row[wx];
  }
  if (n == 0) return params.lower;
  if (n == 1) return values[0];
  if (exact) return PickBySelection(values, n, params.evenRule);
  ExchangeSortEarlyExit(values, n);
  return PickFromSorted(values, n, params.evenRule);
}

}  // namespace

void MedianFilterFast(const cv::Mat& source, cv::Mat& result, const MedianParams& params) {
  const bool exact = EveryExchangeIsExact(source, params);
  const long long half = params.HalfWindow();
  const long long lastRow = source.rows - 1;
  // One buffer for every window: a clipped window never holds more than this.
  const long long rowsSpan = half < 0 ? 0 : std::min(2 * half + 1, lastRow + 1);
  const long long colsSpan = half < 0 ? 0 : std::min(2 * half + 1, source.cols + 0LL);
  const long long largest = std::max(1LL, rowsSpan * colsSpan);
  std::vector<float> values(static_cast<std::size_t>(largest));
  int networkSize = 2;
  while (networkSize < largest) networkSize *= 2;
  const bool byLanes = largest <= kLargestNetwork && largest > 1;
  const auto network = byLanes && exact ? PruneNetwork(OddEvenMergeNetwork(networkSize),
                                                       networkSize, static_cast<int>(largest))
                                        : std::vector<std::pair<int, int>>();
  LaneWindows lanes;
  if (byLanes) lanes.samples.resize(static_cast<std::size_t>(networkSize) * kLanes);
  for (int y = 0; y < source.rows; ++y) {
    const long long top = std::max(0LL, y - half), bottom = std::min(y + half, lastRow);
    float* out = result.ptr<float>(y);
    int x = 0;
    for (; byLanes && x + kLanes <= source.cols; x += kLanes) {
      GatherLanes(source, top, bottom, x, half, params, lanes);
      const int* n = lanes.count;
      const bool sameCount = n[0] == n[1] && n[0] == n[2] && n[0] == n[3];
      if (exact) {
        SortLanesByNetwork(lanes, network, networkSize);
      } else if (sameCount && n[0] > 1) {
        ExchangeSortLanes(lanes, n[0]);
      } else {
        for (int l = 0; l < kLanes; ++l)
          out[x + l] = MedianAt(source, top, bottom, x + l, half, params, exact, values.data());
        continue;
      }
      for (int l = 0; l < kLanes; ++l)
        out[x + l] =
            n[l] == 0 ? params.lower : PickFromLane(lanes, l, params.evenRule, values.data());
    }
    for (; x < source.cols; ++x)
      out[x] = MedianAt(source, top, bottom, x, half, params, exact, values.data());
  }
}

}  // namespace imgtarn::buffers
