// Centroids, boxes, clamping, scale choice and 3 x 3 growth of two-level masks.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <opencv2/imgproc.hpp>

#include "cad_overlay/cad_overlay.hpp"
#include "common/para.hpp"

namespace imgtarn::cad_overlay {

std::optional<cv::Point> PixelCentroid(const cv::Mat& mask) {
  std::int64_t sumX = 0, sumY = 0, count = 0;
  for (int y = 0; y < mask.rows; ++y) {
    const unsigned char* row = mask.ptr<unsigned char>(y);
    // Branch-free so the row loop vectorises; masks hold long runs of either kind. A row's
    // column sum fits 32 bits up to 46340 columns.
    std::int64_t rowX = 0, rowCount = 0;
    if (mask.cols <= 46340) {
      int narrowX = 0, narrowCount = 0;
      for (int x = 0; x < mask.cols; ++x) {
        const int set = row[x] != 0;
        narrowX += set * x;
        narrowCount += set;
      }
      rowX = narrowX;
      rowCount = narrowCount;
    } else {
      for (int x = 0; x < mask.cols; ++x) {
        const int set = row[x] != 0;
        rowX += set * static_cast<std::int64_t>(x);
        rowCount += set;
      }
    }
    sumX += rowX;
    sumY += rowCount * y;
    count += rowCount;
  }
  // Without a set pixel there is nothing to average; callers treat that as a failed alignment.
  if (count == 0) return std::nullopt;
  return cv::Point(static_cast<int>(sumX / count), static_cast<int>(sumY / count));
}

cv::Rect PixelBoundingBox(const cv::Mat& mask) {
  if (mask.empty()) return cv::Rect(0, 0, 0, 0);
  // Starting from (cols, rows) and (0, 0) gives the degenerate box 1 - cols by 1 - rows for a
  // mask without a set pixel; callers recognise it by its non-positive size.
  int minX = mask.cols, minY = mask.rows, maxX = 0, maxY = 0;
  for (int y = 0; y < mask.rows; ++y) {
    const unsigned char* row = mask.ptr<unsigned char>(y);
    // Only a row's first and last set pixel can move the box.
    int first = 0;
    while (first < mask.cols && row[first] == 0) ++first;
    if (first == mask.cols) continue;
    int last = mask.cols - 1;
    while (row[last] == 0) --last;
    minX = std::min(minX, first);
    maxX = std::max(maxX, last);
    minY = std::min(minY, y);
    maxY = std::max(maxY, y);
  }
  return cv::Rect(minX, minY, maxX - minX + 1, maxY - minY + 1);
}

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
  const int width = TruncToInt(static_cast<float>(size.width) * scale);
  const int height = TruncToInt(static_cast<float>(size.height) * scale);
  return cv::Size(width < 1 ? 1 : width, height < 1 ? 1 : height);
}

}  // namespace imgtarn::cad_overlay
