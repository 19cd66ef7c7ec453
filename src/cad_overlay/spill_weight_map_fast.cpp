// Ring weights from one chessboard distance map instead of repeated 3 x 3 growth.
//
// The i-th 3 x 3 dilation of the pad (no growth from beyond the border) holds exactly the
// pixels within chessboard distance i of it, so a pixel's ring is its chessboard distance d.
// The growth stops before the first step reaching an outside pixel (after D - 1 steps, D the
// distance of the nearest outside pixel, at least 0 steps) or once the grown mask fills the
// plane (after the largest distance; distances take every value up to it, so each earlier step
// adds pixels), whichever comes first.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

#include <opencv2/core.hpp>

#include "cad_overlay/cad_overlay.hpp"
#include "common/para.hpp"

namespace imgtarn::cad_overlay {
namespace {

// Chessboard distance of every pixel to the nearest set pixel of `cad` (0 on the pad), by the
// two raster passes over the 8-neighbourhood with unit steps, which are exact for this metric.
// The rows carry one cell of `far` on either side and a row of `far` above and below, so the
// passes need no branches: nothing beyond the edge counts as pad. `Distance` must hold
// rows + cols + 3.
template <typename Distance>
class ChessboardDistance {
 public:
  explicit ChessboardDistance(const cv::Mat& cad)
      : cols_(cad.cols), stride_(static_cast<std::size_t>(cad.cols) + 2) {
    const auto far = static_cast<Distance>(cad.rows + cad.cols + 2);
    cells_.assign(stride_ * (static_cast<std::size_t>(cad.rows) + 2), far);
    std::vector<Distance> vertical(stride_);
    for (int y = 1; y <= cad.rows; ++y) {
      const unsigned char* c = cad.ptr<unsigned char>(y - 1);
      const Distance* up = Padded(y - 1);
      Distance* d = Padded(y);
      for (int x = 1; x <= cols_; ++x) {
        const Distance above = static_cast<Distance>(std::min({up[x - 1], up[x], up[x + 1]}) + 1);
        vertical[x] = c[x - 1] != 0 ? Distance{0} : above;
      }
      // The running distance stays in a register: reading back the cell just stored would add
      // a store-to-load round trip to every pixel of this serial chain.
      Distance run = far;
      for (int x = 1; x <= cols_; ++x) d[x] = run = std::min(vertical[x], Step(run));
    }
    for (int y = cad.rows; y >= 1; --y) {
      const Distance* down = Padded(y + 1);
      Distance* d = Padded(y);
      for (int x = 1; x <= cols_; ++x) {
        const Distance below =
            static_cast<Distance>(std::min({down[x - 1], down[x], down[x + 1]}) + 1);
        vertical[x] = std::min(d[x], below);
      }
      Distance run = far;
      for (int x = cols_; x >= 1; --x) d[x] = run = std::min(vertical[x], Step(run));
    }
  }

  // Distances of row y; entry x is column x.
  const Distance* Row(int y) const { return cells_.data() + stride_ * (y + 1) + 1; }

 private:
  Distance* Padded(int y) { return cells_.data() + stride_ * y; }
  static Distance Step(Distance d) { return static_cast<Distance>(d + 1); }

  int cols_;
  std::size_t stride_;
  std::vector<Distance> cells_;
};

// Which pixels lie outside: a boundary mask marks them by any byte but 255, an outside mask
// by any byte but 0.
enum class MaskKind { kBoundary, kOutside };

// The number of rings: growth steps that change the grown mask and stay clear of every
// outside pixel of `mask`.
template <MaskKind kind, typename Distance>
int RingCount(const ChessboardDistance<Distance>& distance, const cv::Mat& mask) {
  const unsigned char clear = kind == MaskKind::kBoundary ? 255 : 0;
  constexpr int kNone = std::numeric_limits<int>::max();
  int largest = 0;
  int nearestOutside = kNone;
  for (int y = 0; y < mask.rows; ++y) {
    const Distance* d = distance.Row(y);
    const unsigned char* m = mask.ptr<unsigned char>(y);
    // Branch-free so both reductions vectorise.
    int rowLargest = 0, rowNearest = kNone;
    for (int x = 0; x < mask.cols; ++x) {
      rowLargest = std::max<int>(rowLargest, d[x]);
      rowNearest = std::min<int>(rowNearest, m[x] != clear ? d[x] : kNone);
    }
    largest = std::max(largest, rowLargest);
    nearestOutside = std::min(nearestOutside, rowNearest);
  }
  if (nearestOutside == kNone) return largest;  // no outside pixel: only the filled plane stops
  return std::min(std::max(0, nearestOutside - 1), largest);
}

// Weight for each ring distance: a ring whose own weight truncates to 0 stays unmarked in the
// growth loop and takes the weight of the first later ring that has one. The last entry,
// rings + 1, is 0: it stands for every pixel the growth never reaches.
std::vector<unsigned char> RingWeights(int rings) {
  std::vector<unsigned char> weights(static_cast<std::size_t>(rings) + 2, 0);
  for (int i = rings; i >= 1; --i) {
    const float value = static_cast<float>(i) * 255.0f / static_cast<float>(rings);
    const auto weight = static_cast<unsigned char>(TruncToInt(value));
    weights[i] = weight != 0 ? weight : weights[i + 1];
  }
  return weights;
}

template <typename Distance>
cv::Mat SpillWeights(const cv::Mat& cad, const cv::Mat& boundary) {
  const ChessboardDistance<Distance> distance(cad);
  const int rings = RingCount<MaskKind::kBoundary>(distance, boundary);
  const std::vector<unsigned char> ringWeight = RingWeights(rings);
  const int beyond = rings + 1;
  cv::Mat weights(cad.size(), CV_8UC1);
  for (int y = 0; y < cad.rows; ++y) {
    const Distance* d = distance.Row(y);
    const unsigned char* c = cad.ptr<unsigned char>(y);
    unsigned char* w = weights.ptr<unsigned char>(y);
    // The pad keeps its own bytes; every other pixel lies at distance 1 or more.
    for (int x = 0; x < cad.cols; ++x)
      w[x] = c[x] != 0 ? c[x] : ringWeight[std::min<int>(d[x], beyond)];
  }
  return weights;
}

template <typename Distance>
int GrowthSteps(const cv::Mat& cad, const cv::Mat& outside) {
  const ChessboardDistance<Distance> distance(cad);
  return RingCount<MaskKind::kOutside>(distance, outside);
}

// 16-bit distances stream half the memory of 32-bit ones; they hold every plane up to 65532
// columns and rows together.
bool ShortDistancesFit(const cv::Mat& cad) {
  return static_cast<std::int64_t>(cad.rows) + cad.cols + 3 <= 0xFFFF;
}

}  // namespace

int CountInsideGrowthStepsFast(const cv::Mat& cad, const cv::Mat& outside) {
  if (cv::countNonZero(cad) == 0) return 0;  // an empty pad never grows
  return ShortDistancesFit(cad) ? GrowthSteps<std::uint16_t>(cad, outside)
                                : GrowthSteps<std::int32_t>(cad, outside);
}

cv::Mat BuildSpillWeightMapFast(const cv::Mat& cad, const cv::Mat& boundary) {
  if (cv::countNonZero(cad) == 0) return cad.clone();  // an empty pad has no rings
  return ShortDistancesFit(cad) ? SpillWeights<std::uint16_t>(cad, boundary)
                                : SpillWeights<std::int32_t>(cad, boundary);
}

}  // namespace imgtarn::cad_overlay
