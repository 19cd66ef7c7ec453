// Slot 19: per outer contour, the pixels it encloses or the pixels on it.
#include <opencv2/imgproc.hpp>
#include <vector>

#include "contour_tools.hpp"
#include "contours.hpp"
#include "debug_view.hpp"
#include "para.hpp"
#include "plane.hpp"

namespace imgtarn::contours {
namespace {

constexpr int kFirstCount = 2;

struct CountParams {
  PlaneParams plane;
  int capacity = 0;
  static CountParams FromPara(const float* para);
};

CountParams CountParams::FromPara(const float* para) {
  CountParams params;
  params.plane = PlaneParams::FromPara(para);
  params.capacity = NonNegative(ParaInt(para, 5));
  return params;
}

// Both counts are the pixels of one contour drawn alone: filled for the enclosed region,
// one pixel wide for the outline.
std::vector<float> CountDrawnPixels(const std::vector<Contour>& contours, int thickness) {
  std::vector<float> counts;
  counts.reserve(contours.size());
  for (const Contour& contour : contours)
    counts.push_back(static_cast<float>(cv::countNonZero(DrawInBox(contour, thickness).mask)));
  return counts;
}

int CountPerContour(const unsigned char* plane, const float* para, float* result, int thickness,
                    const char* debugTitle) {
  if (para == nullptr || result == nullptr) return -1;
  const CountParams params = CountParams::FromPara(para);
  const int width = params.plane.width, height = params.plane.height;
  if (!IsUsablePlane(plane, width, height)) return -1;
  const std::vector<Contour> outers =
      FindExternalContours(Binarize(WrapPlane(plane, width, height), params.plane.threshold));
  const std::vector<float> counts = CountDrawnPixels(outers, thickness);
  double total = 0;
  for (float count : counts) total += count;
  result[0] = static_cast<float>(total);
  result[1] = static_cast<float>(counts.size());
  WriteEntries(result + kFirstCount, params.capacity, counts, 1);
  if (params.plane.debug) {
    cv::Mat drawn = cv::Mat::zeros(height, width, CV_8UC1);
    cv::drawContours(drawn, outers, -1, cv::Scalar(255), thickness);
    debug_view::ShowAndPaint(debugTitle, drawn);
  }
  return 0;
}

}  // namespace

int CountEnclosedPixels(const unsigned char* plane, const float* para, float* result) {
  return CountPerContour(plane, para, result, cv::FILLED, "matEnclosedPixels");
}

int CountOutlinePixels(const unsigned char* plane, const float* para, float* result) {
  return CountPerContour(plane, para, result, 1, "matOutlinePixels");
}

}  // namespace imgtarn::contours
