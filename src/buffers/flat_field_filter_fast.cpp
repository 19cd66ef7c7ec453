// The production local filter of flat-field calibration. The accepted samples of a window and
// their count are integer sums, so integral images of the accepted samples and of the
// acceptance indicator give exactly the sums the literal loop adds up, at any window size.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "buffers.hpp"

namespace imgtarn::buffers {
namespace {

// Sums over rows [0, y) and columns [0, x) at (y, x), with one extra row and column of zeros.
struct AcceptedIntegrals {
  int stride;
  std::vector<std::int64_t> sum;
  std::vector<std::int32_t> count;

  // Sum and count over the inclusive rectangle; an empty rectangle gives zeros.
  std::int64_t Sum(long long top, long long bottom, long long left, long long right) const {
    return At(sum, bottom + 1, right + 1) - At(sum, top, right + 1) - At(sum, bottom + 1, left) +
           At(sum, top, left);
  }
  int Count(long long top, long long bottom, long long left, long long right) const {
    return At(count, bottom + 1, right + 1) - At(count, top, right + 1) -
           At(count, bottom + 1, left) + At(count, top, left);
  }

 private:
  template <typename T>
  T At(const std::vector<T>& table, long long y, long long x) const {
    return table[static_cast<std::size_t>(y * stride + x)];
  }
};

AcceptedIntegrals IntegrateAccepted(const cv::Mat& image, float low, float high) {
  // The acceptance test compares the sample as a float, exactly as the literal loop does.
  bool accepted[256];
  for (int level = 0; level < 256; ++level) {
    const float sample = static_cast<float>(level);
    accepted[level] = sample > low && sample < high;
  }
  AcceptedIntegrals integrals;
  integrals.stride = image.cols + 1;
  const std::size_t size = static_cast<std::size_t>(image.rows + 1) * integrals.stride;
  integrals.sum.assign(size, 0);
  integrals.count.assign(size, 0);
  for (int y = 0; y < image.rows; ++y) {
    const unsigned char* row = image.ptr<unsigned char>(y);
    const std::size_t above = static_cast<std::size_t>(y) * integrals.stride;
    const std::size_t here = above + integrals.stride;
    std::int64_t rowSum = 0;
    std::int32_t rowCount = 0;
    for (int x = 0; x < image.cols; ++x) {
      if (accepted[row[x]]) {
        rowSum += row[x];
        ++rowCount;
      }
      integrals.sum[here + x + 1] = integrals.sum[above + x + 1] + rowSum;
      integrals.count[here + x + 1] = integrals.count[above + x + 1] + rowCount;
    }
  }
  return integrals;
}

}  // namespace

void FlatFieldFilterFast(const cv::Mat& image, float mean, const FlatFieldParams& params,
                         cv::Mat& filtered) {
  const long long half = params.HalfWindow();
  const float low = mean * params.acceptLow;  // single precision, like the literal comparisons
  const float high = mean * params.acceptHigh;
  const AcceptedIntegrals integrals = IntegrateAccepted(image, low, high);
  const long long lastRow = image.rows - 1, lastCol = image.cols - 1;
  for (int y = 0; y < image.rows; ++y) {
    float* out = filtered.ptr<float>(y);
    const long long top = std::max(0LL, y - half), bottom = std::min(y + half, lastRow);
    for (int x = 0; x < image.cols; ++x) {
      const long long left = std::max(0LL, x - half), right = std::min(x + half, lastCol);
      // A negative half window leaves the window empty, as in the literal loop.
      const bool empty = bottom < top || right < left;
      const std::int64_t sum = empty ? 0 : integrals.Sum(top, bottom, left, right);
      const int count = empty ? 0 : integrals.Count(top, bottom, left, right);
      out[x] = FlatFieldValue(sum, count, mean, params);
    }
  }
}

}  // namespace imgtarn::buffers
