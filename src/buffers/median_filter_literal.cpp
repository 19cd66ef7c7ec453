// The reference windowed median on float planes: a hand-written exchange sort over the
// clipped window. Kept literal; faster versions are checked against it.
#include <algorithm>

#include "buffers.hpp"

namespace imgtarn::buffers {

void ExchangeSortLiteral(std::vector<float>& values) {
  const int n = static_cast<int>(values.size());
  // n full passes, no early exit. The exchange is arithmetic, in single precision: when the
  // two values differ widely in magnitude it rounds them, and those rounded values are the
  // filter's result.
  for (int pass = 0; pass < n; ++pass) {
    for (int i = 0; i + 1 < n; ++i) {
      float& left = values[i];
      float& right = values[i + 1];
      if (left > right) {
        left = left + right;
        right = left - right;
        left = left - right;
      }
    }
  }
}

float MedianOfCollected(std::vector<float>& values, EvenRule rule, float lower) {
  const std::size_t n = values.size();
  if (n == 0) return lower;
  if (n == 1) return values[0];
  ExchangeSortLiteral(values);
  if (n % 2 == 1) return values[(n - 1) / 2];
  switch (rule) {
    case EvenRule::kLower:
      return values[n / 2 - 1];
    case EvenRule::kUpper:
      return values[n / 2];
    case EvenRule::kMean:
    default:
      return (values[n / 2 - 1] + values[n / 2]) * 0.5f;
  }
}

void MedianFilterLiteral(const cv::Mat& source, cv::Mat& result, const MedianParams& params) {
  const long long half = params.HalfWindow();
  const long long lastRow = source.rows - 1, lastCol = source.cols - 1;
  std::vector<float> window;
  for (int y = 0; y < source.rows; ++y) {
    // Cut off at the borders, not mirrored; a negative half window leaves it empty.
    const long long top = std::max(0LL, y - half), bottom = std::min(y + half, lastRow);
    for (int x = 0; x < source.cols; ++x) {
      const long long left = std::max(0LL, x - half), right = std::min(x + half, lastCol);
      window.clear();
      for (long long wy = top; wy <= bottom; ++wy) {
        const float* row = source.ptr<float>(static_cast<int>(wy));
        for (long long wx = left; wx <= right; ++wx) {
          const float value = row[wx];
          if (!params.limited || (params.lower < value && value < params.upper))
            window.push_back(value);
        }
      }
      result.at<float>(y, x) = MedianOfCollected(window, params.evenRule, params.lower);
    }
  }
}

}  // namespace imgtarn::buffers
