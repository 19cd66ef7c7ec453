// Centroids, boxes, clamping, scale choice and 3 x 3 growth of two-level masks.
#include <emmintrin.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <opencv2/imgproc.hpp>

#include "cad_overlay.hpp"
#include "para.hpp"

namespace imgtarn::cad_overlay {

namespace {

// Bytes that are not 0, as a 16-bit mask of a block of sixteen.
int SetBits(const unsigned char* p) {
  const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  return ~_mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_setzero_si128())) & 0xFFFF;
}

// The first set byte of row[0, cols), or cols when there is none.
int FirstSet(const unsigned char* row, int cols) {
  int x = 0;
  for (; x + 16 <= cols; x += 16) {
    const int bits = SetBits(row + x);
    if (bits != 0) return x + __builtin_ctz(bits);
  }
  while (x < cols && row[x] == 0) ++x;
  return x;
}

// The last set byte of row[0, cols), which must hold one.
int LastSet(const unsigned char* row, int cols) {
  int x = cols;
  for (; x >= 16; x -= 16) {
    const int bits = SetBits(row + x - 16);
    if (bits != 0) return x - 16 + 31 - __builtin_clz(static_cast<unsigned>(bits));
  }
  do --x;
  while (row[x] == 0);
  return x;
}

struct RowSums {
  std::int64_t count = 0;
  std::int64_t columns = 0;  // sum of the set pixels' column indexes
};

// Sixteen bytes a step: the set bytes become ones (counted by a sum of absolute differences)
// and their in-block indexes (summed the same way); each block's count times its first column
// is added in 64-bit lanes.
RowSums SumRow(const unsigned char* row, int cols) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i ones = _mm_set1_epi8(1);
  const __m128i index = _mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
  __m128i counts = zero, indexes = zero, offsets = zero;
  __m128i first = zero;  // the block's first column in both 64-bit lanes
  int x = 0;
  for (; x + 16 <= cols; x += 16) {
    const __m128i clear =
        _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + x)), zero);
    const __m128i count = _mm_sad_epu8(_mm_andnot_si128(clear, ones), zero);
    counts = _mm_add_epi64(counts, count);
    indexes = _mm_add_epi64(indexes, _mm_sad_epu8(_mm_andnot_si128(clear, index), zero));
    offsets = _mm_add_epi64(offsets, _mm_mul_epu32(count, first));
    first = _mm_add_epi64(first, _mm_set1_epi64x(16));
  }
  alignas(16) std::int64_t lanes[2][2];
  _mm_store_si128(reinterpret_cast<__m128i*>(lanes[0]), counts);
  _mm_store_si128(reinterpret_cast<__m128i*>(lanes[1]), _mm_add_epi64(indexes, offsets));
  RowSums sums{lanes[0][0] + lanes[0][1], lanes[1][0] + lanes[1][1]};
  for (; x < cols; ++x) {
    const int set = row[x] != 0;
    sums.count += set;
    sums.columns += set * static_cast<std::int64_t>(x);
  }
  return sums;
}

}  // namespace

MaskShape ShapeOf(const cv::Mat& mask) {
  MaskShape shape;
  if (mask.empty()) return shape;  // box (0, 0, 0, 0), no centroid
  std::int64_t sumX = 0, sumY = 0, count = 0;
  // Starting from (cols, rows) and (0, 0) gives the degenerate box 1 - cols by 1 - rows for a
  // mask without a set pixel; callers recognise it by its non-positive size.
  int minX = mask.cols, minY = mask.rows, maxX = 0, maxY = 0;
  for (int y = 0; y < mask.rows; ++y) {
    const unsigned char* row = mask.ptr<unsigned char>(y);
    const RowSums sums = SumRow(row, mask.cols);
    if (sums.count == 0) continue;
    sumX += sums.columns;
    sumY += sums.count * y;
    count += sums.count;
    // Only a row's first and last set pixel can move the box.
    minX = std::min(minX, FirstSet(row, mask.cols));
    maxX = std::max(maxX, LastSet(row, mask.cols));
    minY = std::min(minY, y);
    maxY = std::max(maxY, y);
  }
  shape.box = cv::Rect(minX, minY, maxX - minX + 1, maxY - minY + 1);
  // Without a set pixel there is nothing to average; callers treat that as a failed alignment.
  if (count != 0)
    shape.centre = cv::Point(static_cast<int>(sumX / count), static_cast<int>(sumY / count));
  return shape;
}

std::optional<cv::Point> PixelCentroid(const cv::Mat& mask) { return ShapeOf(mask).centre; }

cv::Rect PixelBoundingBox(const cv::Mat& mask) { return ShapeOf(mask).box; }

cv::Rect ClampRectToImage(cv::Rect rect, int cols, int rows) {
  if (rect.x < 0) rect.x = 0;
  if (rect.y < 0) rect.y = 0;
  if (rect.x + rect.width > cols) {
    rect.x = cols - rect.width;
    if (rect.x < 0) {
      rect.x = 0;
      rect.width = cols;
    }
  }
  if (rect.y + rect.height > rows) {
    rect.y = rows - rect.height;
    if (rect.y < 0) {
      rect.y = 0;
      rect.height = rows;
    }
  }
  return rect;
}

float NearestUnitScale(const cv::Rect& measured, const cv::Rect& cad) {
  const float rw = static_cast<float>(cad.width) / static_cast<float>(measured.width);
  const float rh = static_cast<float>(cad.height) / static_cast<float>(measured.height);
  return std::fabs(1.0f - rh) > std::fabs(1.0f - rw) ? rw : rh;
}

cv::Mat Dilate3x3(const cv::Mat& mask) {
  cv::Mat grown;
  cv::dilate(mask, grown, cv::getStructuringElement(cv::MORPH_RECT, cv::Size(3, 3)),
             cv::Point(-1, -1), 1, cv::BORDER_CONSTANT, cv::morphologyDefaultBorderValue());
  return grown;
}

cv::Rect PullBackFromFarEdges(cv::Rect box, int cols, int rows) {
  if (box.x + box.width >= cols) box.x = box.x + (cols - (box.x + box.width)) - 1;
  if (box.y + box.height >= rows) box.y = box.y + (rows - (box.y + box.height)) - 1;
  return box;
}

void PlaceAlone(const cv::Mat& part, cv::Point topLeft, cv::Mat& image) {
  image.setTo(cv::Scalar::all(0));
  const cv::Rect target = cv::Rect(topLeft, part.size()) & cv::Rect(0, 0, image.cols, image.rows);
  if (target.empty()) return;
  const cv::Rect source(target.x - topLeft.x, target.y - topLeft.y, target.width, target.height);
  part(source).copyTo(image(target));
}

cv::Size ScaledSize(cv::Size size, float scale) {
  return cv::Size(TruncToInt(static_cast<float>(size.width) * scale),
                  TruncToInt(static_cast<float>(size.height) * scale));
}

}  // namespace imgtarn::cad_overlay
