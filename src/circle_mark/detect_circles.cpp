// Direct Hough detection of one circle (slots 3, 4 and 5): no template, no fall-back.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <opencv2/imgproc.hpp>

#include "circle_mark.hpp"
#include "debug_view.hpp"
#include "para.hpp"
#include "plane.hpp"

namespace imgtarn::circle_mark {
namespace {

constexpr char kDemoWindow[] = "Hough Circle Transform Demo";
constexpr int kDefaultTolerance = 5;

void ClearResult(float* result) { result[0] = result[1] = result[2] = 0.0f; }

// x, y and radius of the circle picked; zeros when there is none.
cv::Vec3f PickedOrZero(const OneCircleSearch& search) {
  return search.best.value_or(cv::Vec3f(0.0f, 0.0f, 0.0f));
}

void WriteCircle(const OneCircleSearch& search, float* result) {
  const cv::Vec3f circle = PickedOrZero(search);
  result[0] = circle[0];
  result[1] = circle[1];
  result[2] = circle[2];
}

// A Canny threshold below 1 (or NaN) is replaced: OpenCV refuses thresholds of 0 or below, and
// a threshold that rounds to 0 would turn every pixel into an edge.
double ThresholdOr(double param1, double replacement) {
  return param1 >= 1.0 ? param1 : replacement;
}

DirectHoughParams PlusMinusTwo(int width, int height, float radius, double param1) {
  DirectHoughParams params = RadiusBand(radius, 2, param1);
  params.width = width;
  params.height = height;
  return params;
}

// A square of side 2 trunc(r + 5) around the circle found, for a closer look.
void ShowFoundCircle(const cv::Mat& smooth, cv::Vec3f circle) {
  const float r = circle[2];
  const int side = 2 * TruncToInt(r + 5.0f);
  const cv::Rect square(TruncToInt(circle[0] - r) - 5, TruncToInt(circle[1] - r) - 5, side, side);
  const cv::Rect visible = square & cv::Rect(0, 0, smooth.cols, smooth.rows);
  if (!visible.empty()) debug_view::Show("Circle Found", smooth(visible));
}

}  // namespace

DirectHoughParams DirectHoughParams::FromTexts(char** texts) {
  return PlusMinusTwo(std::atoi(texts[0]), std::atoi(texts[1]),
                      static_cast<float>(std::atof(texts[2])),
                      ThresholdOr(std::atof(texts[3]), 15.0));
}

DirectHoughParams DirectHoughParams::FromPara(const float* para, int paraCount) {
  const float radius = para[2];
  // The tolerance is read only from a long enough array and only when it widens the range; a
  // value out of the 32-bit range reads as INT_MIN, which does not.
  int tolerance = kDefaultTolerance;
  if (paraCount > 9 && para[9] > 2.0f && ParaInt(para, 9) > 2) tolerance = ParaInt(para, 9);
  DirectHoughParams params = RadiusBand(radius, tolerance, ThresholdOr(para[3], 60.0));
  params.width = ParaInt(para, 0);
  params.height = ParaInt(para, 1);
  params.debug = ParaInt(para, 4) == 1;
  return params;
}

std::optional<cv::Vec3f> NearestRadiusCircle(const CircleList& circles, float radius) {
  std::optional<cv::Vec3f> best;
  float bestDistance = 0.0f;
  for (const cv::Vec3f& circle : circles) {
    const float distance = std::fabs(circle[2] - radius);
    // Strictly nearer: on equal distance the earlier circle in Hough order stays.
    if (!best || distance < bestDistance) {
      best = circle;
      bestDistance = distance;
    }
  }
  return best;
}

DirectHoughParams RadiusBand(float radius, int tolerance, double param1) {
  DirectHoughParams params;
  params.radius = radius;
  params.param1 = param1;
  params.minRadius = TruncToInt(radius - static_cast<float>(tolerance));
  params.maxRadius = TruncToInt(static_cast<float>(tolerance) + radius);
  return params;
}

OneCircleSearch DetectOneCircle(const cv::Mat& smooth, const DirectHoughParams& params) {
  // A radius of 0 or below (or NaN) describes no circle to look for, and a circle larger than
  // the plane leaves no edge inside it.
  if (!(params.radius > 0.0f) ||
      params.radius > static_cast<float>(std::max(smooth.cols, smooth.rows)))
    return {};
  OneCircleSearch search;
  search.circles =
      HoughGradientCircles(smooth, params.param1, 15.0, params.minRadius, params.maxRadius);
  search.best = NearestRadiusCircle(search.circles, params.radius);
  return search;
}

int DetectCirclesPlain(unsigned char* plane, int width, int height, float radius, float param1,
                       float* result) {
  // On refusal the result is left as the caller had it.
  if (!IsUsablePlane(plane, width, height)) return -1;
  // The numeric twin of slot 4 takes its replacement threshold too, so that a zero threshold
  // cannot raise an OpenCV error at the host.
  const DirectHoughParams params =
      PlusMinusTwo(width, height, radius, param1 > 0.0f ? param1 : 15.0);
  const cv::Mat smooth = SmoothPlane(WrapPlane(plane, width, height));
  debug_view::Show(kDemoWindow, smooth);
  WriteCircle(DetectOneCircle(smooth, params), result);
  return 0;
}

int DetectCirclesFromText(unsigned char* plane, char** texts, float* result) {
  ClearResult(result);
  if (texts == nullptr || !texts[0] || !texts[1] || !texts[2] || !texts[3]) return -1;
  const DirectHoughParams params = DirectHoughParams::FromTexts(texts);
  if (!IsUsablePlane(plane, params.width, params.height)) return -1;
  const cv::Mat smooth = SmoothPlane(WrapPlane(plane, params.width, params.height));
  debug_view::Show(kDemoWindow, smooth);
  WriteCircle(DetectOneCircle(smooth, params), result);
  return 0;
}

int DetectCirclesSmoothed(unsigned char* plane, float* para, int paraCount, float* result) {
  ClearResult(result);
  // Indexes 0 to 4 are always read; a shorter array is refused rather than over-read.
  if (para == nullptr || paraCount < 5) return -1;
  const DirectHoughParams params = DirectHoughParams::FromPara(para, paraCount);
  if (!IsUsablePlane(plane, params.width, params.height)) return -1;
  const cv::Mat smooth = SmoothPlane(WrapPlane(plane, params.width, params.height));
  if (params.debug) debug_view::Show("Smoothing", smooth);
  const OneCircleSearch search = DetectOneCircle(smooth, params);
  WriteCircle(search, result);
  if (params.debug && !search.circles.empty()) {
    debug_view::Show("Circles Image", CircleMosaic(search.circles, smooth, false));
    ShowFoundCircle(smooth, PickedOrZero(search));
  }
  return 0;
}

}  // namespace imgtarn::circle_mark
