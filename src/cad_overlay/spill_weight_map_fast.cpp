// Ring weights from one chessboard distance map instead of repeated 3 x 3 growth.
//
// The i-th 3 x 3 dilation of the pad (no growth from beyond the border) holds exactly the
// pixels within chessboard distance i of it, so a pixel's ring is its chessboard distance d.
// The growth stops before the first step reaching an outside pixel (after D - 1 steps, D the
// distance of the nearest outside pixel, at least 0 steps) or once the grown mask fills the
// plane (after the largest distance; distances take every value up to it, so each earlier step
// adds pixels), whichever comes first.
#include <emmintrin.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <opencv2/core.hpp>
#include <vector>

#include "cad_overlay.hpp"
#include "para.hpp"

namespace imgtarn::cad_overlay {
namespace {

// d[x] = min(v[x], d[x - 1] + 1) from left to right (from `far` before the first column), and
// the mirror image from right to left. The chain is serial; its running value stays in a
// register, since reading back the cell just stored adds a store-to-load trip per pixel.
template <typename Distance>
void RunRightwards(const Distance* v, Distance* d, int count, Distance far) {
  Distance run = far;
  for (int x = 0; x < count; ++x) d[x] = run = std::min(v[x], static_cast<Distance>(run + 1));
}
template <typename Distance>
void RunLeftwards(const Distance* v, Distance* d, int count, Distance far) {
  Distance run = far;
  for (int x = count - 1; x >= 0; --x) d[x] = run = std::min(v[x], static_cast<Distance>(run + 1));
}

// Eight 16-bit cells a step (SSE2, the baseline of every x86-64): within a block the chain is
// a prefix minimum of v[k] + |x - k|, formed in three shifted steps, then the carry from the
// neighbouring block joins. Additions saturate and shifted-in lanes hold 32767, so they never
// win a minimum; every real distance lies below that.
void RunRightwards(const std::int16_t* v, std::int16_t* d, int count, std::int16_t far) {
  constexpr short kBig = 0x7FFF;
  const __m128i big1 = _mm_set_epi16(0, 0, 0, 0, 0, 0, 0, kBig);
  const __m128i big2 = _mm_set_epi16(0, 0, 0, 0, 0, 0, kBig, kBig);
  const __m128i big4 = _mm_set_epi16(0, 0, 0, 0, kBig, kBig, kBig, kBig);
  const __m128i ramp = _mm_set_epi16(8, 7, 6, 5, 4, 3, 2, 1);
  __m128i run = _mm_set1_epi16(far);
  int x = 0;
  for (; x + 8 <= count; x += 8) {
    __m128i s = _mm_loadu_si128(reinterpret_cast<const __m128i*>(v + x));
    s = _mm_min_epi16(s,
                      _mm_adds_epi16(_mm_or_si128(_mm_slli_si128(s, 2), big1), _mm_set1_epi16(1)));
    s = _mm_min_epi16(s,
                      _mm_adds_epi16(_mm_or_si128(_mm_slli_si128(s, 4), big2), _mm_set1_epi16(2)));
    s = _mm_min_epi16(s,
                      _mm_adds_epi16(_mm_or_si128(_mm_slli_si128(s, 8), big4), _mm_set1_epi16(4)));
    s = _mm_min_epi16(s, _mm_adds_epi16(run, ramp));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d + x), s);
    const __m128i last = _mm_shufflehi_epi16(s, _MM_SHUFFLE(3, 3, 3, 3));
    run = _mm_unpackhi_epi64(last, last);
  }
  const auto carried = static_cast<std::int16_t>(_mm_cvtsi128_si32(run));
  RunRightwards<std::int16_t>(v + x, d + x, count - x, carried);
}

void RunLeftwards(const std::int16_t* v, std::int16_t* d, int count, std::int16_t far) {
  constexpr short kBig = 0x7FFF;
  const __m128i big1 = _mm_set_epi16(kBig, 0, 0, 0, 0, 0, 0, 0);
  const __m128i big2 = _mm_set_epi16(kBig, kBig, 0, 0, 0, 0, 0, 0);
  const __m128i big4 = _mm_set_epi16(kBig, kBig, kBig, kBig, 0, 0, 0, 0);
  const __m128i ramp = _mm_set_epi16(1, 2, 3, 4, 5, 6, 7, 8);
  __m128i run = _mm_set1_epi16(far);
  int x = count;
  while (x >= 8) {
    x -= 8;
    __m128i s = _mm_loadu_si128(reinterpret_cast<const __m128i*>(v + x));
    s = _mm_min_epi16(s,
                      _mm_adds_epi16(_mm_or_si128(_mm_srli_si128(s, 2), big1), _mm_set1_epi16(1)));
    s = _mm_min_epi16(s,
                      _mm_adds_epi16(_mm_or_si128(_mm_srli_si128(s, 4), big2), _mm_set1_epi16(2)));
    s = _mm_min_epi16(s,
                      _mm_adds_epi16(_mm_or_si128(_mm_srli_si128(s, 8), big4), _mm_set1_epi16(4)));
    s = _mm_min_epi16(s, _mm_adds_epi16(run, ramp));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(d + x), s);
    const __m128i first = _mm_shufflelo_epi16(s, _MM_SHUFFLE(0, 0, 0, 0));
    run = _mm_unpacklo_epi64(first, first);
  }
  const auto carried = static_cast<std::int16_t>(_mm_cvtsi128_si32(run));
  RunLeftwards<std::int16_t>(v, d, x, carried);
}

// Chessboard distance of every pixel to the nearest set pixel of `cad` (0 on the pad), by the
// two raster passes over the 8-neighbourhood with unit steps, which are exact for this metric.
// The rows carry one cell of `far` on either side and a row of `far` above and below, so the
// passes need no branches: nothing beyond the edge counts as pad. `Distance` must hold
// rows + cols + 3.
template <typename Distance>
class ChessboardDistance {
 public:
  explicit ChessboardDistance(const cv::Mat& cad)
      : cells_(cad.rows + 2, cad.cols + 2, cv::traits::Type<Distance>::value) {
    const auto far = static_cast<Distance>(cad.rows + cad.cols + 2);
    const int cols = cad.cols;
    // The forward pass writes every inner cell; only the border needs its value first.
    std::fill_n(cells_.ptr<Distance>(0), cols + 2, far);
    std::fill_n(cells_.ptr<Distance>(cad.rows + 1), cols + 2, far);
    for (int y = 1; y <= cad.rows; ++y)
      cells_.ptr<Distance>(y)[0] = cells_.ptr<Distance>(y)[cols + 1] = far;
    std::vector<Distance> vertical(static_cast<std::size_t>(cols) + 2);
    for (int y = 1; y <= cad.rows; ++y) {
      const unsigned char* c = cad.ptr<unsigned char>(y - 1);
      const Distance* up = cells_.ptr<Distance>(y - 1);
      for (int x = 1; x <= cols; ++x) {
        const Distance above = static_cast<Distance>(std::min({up[x - 1], up[x], up[x + 1]}) + 1);
        vertical[x] = c[x - 1] != 0 ? Distance{0} : above;
      }
      RunRightwards(vertical.data() + 1, cells_.ptr<Distance>(y) + 1, cols, far);
    }
    for (int y = cad.rows; y >= 1; --y) {
      const Distance* down = cells_.ptr<Distance>(y + 1);
      Distance* d = cells_.ptr<Distance>(y);
      for (int x = 1; x <= cols; ++x) {
        const Distance below =
            static_cast<Distance>(std::min({down[x - 1], down[x], down[x + 1]}) + 1);
        vertical[x] = std::min(d[x], below);
      }
      RunLeftwards(vertical.data() + 1, d + 1, cols, far);
    }
  }

  // Distances of row y; entry x is column x.
  const Distance* Row(int y) const { return cells_.ptr<Distance>(y + 1) + 1; }
  // The distances without the border cells (sharing them).
  cv::Mat Plane() const { return cells_(cv::Rect(1, 1, cells_.cols - 2, cells_.rows - 2)); }

 private:
  cv::Mat cells_;
};

// Which pixels lie outside: a boundary mask marks them by any byte but 255, an outside mask
// by any byte but 0.
enum class MaskKind { kBoundary, kOutside };

// The number of rings: growth steps that change the grown mask and stay clear of every
// outside pixel of `mask`.
template <MaskKind kind, typename Distance>
int RingCount(const ChessboardDistance<Distance>& distance, const cv::Mat& mask) {
  const unsigned char clear = kind == MaskKind::kBoundary ? 255 : 0;
  constexpr Distance kNone = std::numeric_limits<Distance>::max();
  int largest = 0;
  int nearestOutside = kNone;
  for (int y = 0; y < mask.rows; ++y) {
    const Distance* d = distance.Row(y);
    const unsigned char* m = mask.ptr<unsigned char>(y);
    // Branch-free and in the cells' own type so both reductions vectorise.
    Distance rowLargest = 0, rowNearest = kNone;
    for (int x = 0; x < mask.cols; ++x) {
      rowLargest = std::max(rowLargest, d[x]);
      rowNearest = std::min(rowNearest, m[x] != clear ? d[x] : kNone);
    }
    largest = std::max<int>(largest, rowLargest);
    nearestOutside = std::min<int>(nearestOutside, rowNearest);
  }
  // No outside pixel: only the filled plane stops the growth. Every distance lies below kNone.
  if (nearestOutside == kNone) return largest;
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
int GrowthSteps(const cv::Mat& cad, const cv::Mat& outside) {
  const ChessboardDistance<Distance> distance(cad);
  return RingCount<MaskKind::kOutside>(distance, outside);
}

// 16-bit distances stream half the memory of 32-bit ones and take the eight-cell scans; they
// hold every plane up to 32764 columns and rows together.
bool ShortDistancesFit(const cv::Mat& cad) {
  return static_cast<std::int64_t>(cad.rows) + cad.cols + 3 <= 0x7FFF;
}

}  // namespace

SpillRings::SpillRings(const cv::Mat& cad, const cv::Mat& boundary) {
  if (cv::countNonZero(cad) == 0) return;  // an empty pad never grows: no rings
  if (ShortDistancesFit(cad)) {
    const ChessboardDistance<std::int16_t> distance(cad);
    rings_ = RingCount<MaskKind::kBoundary>(distance, boundary);
    distance_ = distance.Plane();
  } else {
    const ChessboardDistance<std::int32_t> distance(cad);
    rings_ = RingCount<MaskKind::kBoundary>(distance, boundary);
    distance_ = distance.Plane();
  }
  ringWeight_ = RingWeights(rings_);
}

unsigned char SpillRings::WeightOffPad(int y, int x) const {
  if (rings_ == 0) return 0;
  const int d = distance_.type() == CV_16SC1 ? distance_.at<std::int16_t>(y, x)
                                             : distance_.at<std::int32_t>(y, x);
  return ringWeight_[static_cast<std::size_t>(std::min(d, rings_ + 1))];
}

int CountInsideGrowthStepsFast(const cv::Mat& cad, const cv::Mat& outside) {
  if (cv::countNonZero(cad) == 0) return 0;  // an empty pad never grows
  return ShortDistancesFit(cad) ? GrowthSteps<std::int16_t>(cad, outside)
                                : GrowthSteps<std::int32_t>(cad, outside);
}

cv::Mat BuildSpillWeightMapFast(const cv::Mat& cad, const cv::Mat& boundary) {
  const SpillRings rings(cad, boundary);
  cv::Mat weights = cad.clone();
  for (int y = 0; y < cad.rows; ++y) {
    unsigned char* w = weights.ptr<unsigned char>(y);
    // The pad keeps its own bytes.
    for (int x = 0; x < cad.cols; ++x)
      if (w[x] == 0) w[x] = rings.WeightOffPad(y, x);
  }
  return weights;
}

}  // namespace imgtarn::cad_overlay
