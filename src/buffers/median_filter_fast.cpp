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
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "buffers/buffers.hpp"

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

void MedianFilterFast(const cv::Mat& source, cv::Mat& result, const MedianParams& params) {
  const bool exact = EveryExchangeIsExact(source, params);
  const long long half = params.HalfWindow();
  const long long lastRow = source.rows - 1, lastCol = source.cols - 1;
  // One buffer for every window: a clipped window never holds more than this.
  const long long rowsSpan = half < 0 ? 0 : std::min(2 * half + 1, lastRow + 1);
  const long long colsSpan = half < 0 ? 0 : std::min(2 * half + 1, lastCol + 1);
  std::vector<float> window(static_cast<std::size_t>(std::max(1LL, rowsSpan * colsSpan)));
  float* values = window.data();
  for (int y = 0; y < source.rows; ++y) {
    const long long top = std::max(0LL, y - half), bottom = std::min(y + half, lastRow);
    float* out = result.ptr<float>(y);
    for (int x = 0; x < source.cols; ++x) {
      const long long left = std::max(0LL, x - half), right = std::min(x + half, lastCol);
      int n = 0;
      for (long long wy = top; wy <= bottom; ++wy) {
        const float* row = source.ptr<float>(static_cast<int>(wy));
        for (long long wx = left; wx <= right; ++wx)
          if (Collectable(row[wx], params)) values[n++] = row[wx];
      }
      if (n == 0) {
        out[x] = params.lower;
      } else if (n == 1) {
        out[x] = values[0];
      } else if (exact) {
        out[x] = PickBySelection(values, n, params.evenRule);
      } else {
        ExchangeSortEarlyExit(values, n);
        out[x] = PickFromSorted(values, n, params.evenRule);
      }
    }
  }
}

}  // namespace imgtarn::buffers
