// The reference local filter of flat-field calibration: the mean of the accepted samples of a
// clipped square window, by direct summation. Kept literal; faster versions are checked
// against it.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "buffers.hpp"
#include "para.hpp"

namespace imgtarn::buffers {
namespace {

struct Accepted {
  std::int64_t sum = 0;
  int count = 0;
};

// Samples strictly inside (mean * low, mean * high); the window is clipped at the borders,
// not mirrored, and is empty for a negative half window.
Accepted AcceptedInWindow(const cv::Mat& image, int y, int x, int half, float low, float high) {
  Accepted accepted;
  const long long top = std::max(0LL, static_cast<long long>(y) - half);
  const long long bottom = std::min(static_cast<long long>(y) + half, image.rows - 1LL);
  const long long left = std::max(0LL, static_cast<long long>(x) - half);
  const long long right = std::min(static_cast<long long>(x) + half, image.cols - 1LL);
  for (long long wy = top; wy <= bottom; ++wy) {
    const unsigned char* row = image.ptr<unsigned char>(static_cast<int>(wy));
    for (long long wx = left; wx <= right; ++wx) {
      const float sample = row[wx];
      if (sample > low && sample < high) {
        accepted.sum += row[wx];
        ++accepted.count;
      }
    }
  }
  return accepted;
}

}  // namespace

// floor(sum / count) in double precision when enough samples were accepted (an empty count
// divides by k * k instead and gives 0), otherwise the truncated image mean; only the low
// byte is kept.
float FlatFieldValue(std::int64_t sum, int count, float mean, const FlatFieldParams& params) {
  int value;
  if (count >= params.minCount) {
    const double divisor = count != 0 ? static_cast<double>(count)
                                      : static_cast<double>(params.window) * params.window;
    value = TruncToInt(std::floor(static_cast<double>(sum) / divisor));
  } else {
    value = TruncToInt(mean);
  }
  return static_cast<float>(value & 0xFF);
}

void FlatFieldFilterLiteral(const cv::Mat& image, float mean, const FlatFieldParams& params,
                            cv::Mat& filtered) {
  const int half = params.HalfWindow();
  const float low = mean * params.acceptLow;  // single precision, like the comparisons
  const float high = mean * params.acceptHigh;
  for (int y = 0; y < image.rows; ++y) {
    float* out = filtered.ptr<float>(y);
    for (int x = 0; x < image.cols; ++x) {
      const Accepted accepted = AcceptedInWindow(image, y, x, half, low, high);
      out[x] = FlatFieldValue(accepted.sum, accepted.count, mean, params);
    }
  }
}

}  // namespace imgtarn::buffers
