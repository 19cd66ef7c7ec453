// Slot 8: the plane opened and closed, then the bounding rectangles of its blobs.
#include <opencv2/imgproc.hpp>
#include <vector>

#include "contour_tools.hpp"
#include "contours.hpp"
#include "debug_view.hpp"
#include "para.hpp"
#include "plane.hpp"

namespace imgtarn::contours {
namespace {

constexpr int kFirstRect = 8;
constexpr int kRectWidth = 4;  // x, y, width, height

struct RectParams {
  PlaneParams plane;
  int openRadius = 0;
  int closeRadius = 0;
  int capacity = 0;
  static RectParams FromPara(const float* para);
};

RectParams RectParams::FromPara(const float* para) {
  RectParams params;
  params.plane = PlaneParams::FromPara(para);
  params.openRadius = ClampRadius(ParaInt(para, 3));
  params.closeRadius = ClampRadius(ParaInt(para, 5));
  params.capacity = NonNegative(ParaInt(para, 6));
  return params;
}

// Opening first removes specks, closing then bridges hairline gaps inside a blob.
cv::Mat OpenThenClose(const cv::Mat& binary, int openRadius, int closeRadius) {
  cv::Mat cleaned = binary.clone();
  if (openRadius > 0) cv::morphologyEx(cleaned, cleaned, cv::MORPH_OPEN, Disc(openRadius));
  if (closeRadius > 0) cv::morphologyEx(cleaned, cleaned, cv::MORPH_CLOSE, Disc(closeRadius));
  return cleaned;
}

std::vector<float> PackedBoundingRects(const std::vector<Contour>& blobs) {
  std::vector<float> packed;
  packed.reserve(blobs.size() * kRectWidth);
  for (const Contour& blob : blobs) {
    const cv::Rect box = cv::boundingRect(blob);
    packed.insert(packed.end(), {static_cast<float>(box.x), static_cast<float>(box.y),
                                 static_cast<float>(box.width), static_cast<float>(box.height)});
  }
  return packed;
}

}  // namespace

int MorphBoundingRects(const unsigned char* source, float* para) {
  if (para == nullptr) return -1;
  const RectParams params = RectParams::FromPara(para);
  const int width = params.plane.width, height = params.plane.height;
  if (!IsUsablePlane(source, width, height)) return -1;
  const cv::Mat cleaned =
      OpenThenClose(Binarize(WrapPlane(source, width, height), params.plane.threshold),
                    params.openRadius, params.closeRadius);
  const std::vector<Contour> blobs = FindExternalContours(cleaned);
  para[7] = static_cast<float>(blobs.size());
  WriteEntries(para + kFirstRect, params.capacity, PackedBoundingRects(blobs), kRectWidth);
  if (params.plane.debug) {
    debug_view::ShowAndPaint("matMorphRects", cleaned);
  }
  return 0;
}

}  // namespace imgtarn::contours
