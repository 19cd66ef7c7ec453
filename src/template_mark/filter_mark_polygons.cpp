// The per-contour shape test of one ladder level.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <opencv2/imgproc.hpp>

#include "debug_view.hpp"
#include "template_mark.hpp"

namespace imgtarn::template_mark {
namespace {

constexpr float kSizeTolerance = 0.5f;

// The area a mark of the nominal size covers: a plus sign fills five of the nine cells of
// its bounding box, a rectangle all of it.
float NominalArea(float markWidth, float markHeight, MarkKind kind) {
  if (kind == MarkKind::kCross) return markWidth * markHeight * 0.555555f;
  return markWidth * markHeight;
}

Polygon ApproximatePolygon(const Polygon& contour) {
  Polygon polygon;
  cv::approxPolyDP(contour, polygon, 0.02 * cv::arcLength(contour, true), true);
  return polygon;
}

// A plus sign has twelve corners and is concave; a rectangle has four and is convex.
bool HasMarkShape(const Polygon& polygon, MarkKind kind) {
  if (kind == MarkKind::kCross) return polygon.size() == 12 && !cv::isContourConvex(polygon);
  return polygon.size() == 4 && cv::isContourConvex(polygon);
}

// The rectangle's extent along the axes: the largest step over its four sides, so a
// slightly skewed outline still measures its side lengths rather than its diagonal box.
cv::Size SideExtent(const Polygon& polygon) {
  cv::Size extent(0, 0);
  for (size_t i = 0; i < polygon.size(); ++i) {
    const cv::Point step = polygon[(i + 1) % polygon.size()] - polygon[i];
    extent.width = std::max(extent.width, std::abs(step.x));
    extent.height = std::max(extent.height, std::abs(step.y));
  }
  return extent;
}

bool SizeFits(const Polygon& polygon, float markWidth, float markHeight, MarkKind kind) {
  if (kind == MarkKind::kCross) {
    const cv::Rect box = cv::boundingRect(polygon);
    return SizeMatches(markWidth, markHeight, static_cast<float>(box.width),
                       static_cast<float>(box.height), kSizeTolerance);
  }
  const cv::Size extent = SideExtent(polygon);
  return RectangleSizeMatches(markWidth, markHeight, static_cast<float>(extent.width),
                              static_cast<float>(extent.height), kSizeTolerance);
}

// |cos| of the corner at vertex i; the epsilon keeps a repeated vertex from dividing by 0.
double CornerCosine(const Polygon& polygon, size_t i) {
  const size_t n = polygon.size();
  const cv::Point2d a = cv::Point2d(polygon[(i + n - 1) % n]) - cv::Point2d(polygon[i]);
  const cv::Point2d b = cv::Point2d(polygon[(i + 1) % n]) - cv::Point2d(polygon[i]);
  return std::fabs(a.dot(b)) / std::sqrt(a.dot(a) * b.dot(b) + 1e-10);
}

// Right corners (80 to 100 degrees) and an outline within 10 degrees of the axes: the
// refinement measures along the axes and cannot follow a tilted mark. The first corner is
// left unchecked on purpose: with three corners within 80 to 100 degrees the fourth corner
// of a convex quadrilateral lies within 60 to 120, and the orientation test does the rest.
bool IsUprightRectangle(const Polygon& polygon) {
  double largestCosine = 0.0;
  for (size_t i = 1; i < 4; ++i) largestCosine = std::max(largestCosine, CornerCosine(polygon, i));
  if (!(largestCosine < 0.1736)) return false;
  const float angle = std::fabs(cv::minAreaRect(polygon).angle);
  return angle < 10.0f || angle > 80.0f;
}

}  // namespace

ContourVerdict JudgeMarkContour(const Polygon& contour, float markWidth, float markHeight,
                                MarkKind kind) {
  ContourVerdict verdict;
  const float area = NominalArea(markWidth, markHeight, kind);
  const double contourArea = std::fabs(cv::contourArea(contour));
  if (contourArea < 0.5 * area || contourArea > 2.0 * area) return verdict;
  Polygon polygon = ApproximatePolygon(contour);
  // A wrong outline may still be the mark seen badly; keep it for the template fallback.
  verdict.keep = true;
  if (!HasMarkShape(polygon, kind)) return verdict;
  if (!SizeFits(polygon, markWidth, markHeight, kind)) {
    verdict.keep = false;
    return verdict;
  }
  // A tilted rectangle of the right size is not accepted as a polygon but stays for the
  // template fallback, like a wrong outline.
  if (kind == MarkKind::kRectangle && !IsUprightRectangle(polygon)) return verdict;
  verdict.accepted = std::move(polygon);
  return verdict;
}

void ShowAcceptedPolygon(const cv::Mat& binary, const Polygon& polygon, MarkKind kind) {
  if (DebugSwitch(kind) == 0) return;
  cv::Mat colour;
  cv::cvtColor(binary, colour, cv::COLOR_GRAY2BGR);
  for (const cv::Point& vertex : polygon) {
    cv::circle(colour, vertex, 3, cv::Scalar(0, 255, 0), 1, cv::LINE_8);
  }
  debug_view::Show("approxPolyDP", colour);
  debug_view::Wait(100);
}

// One pass that moves every kept contour down over the erased ones: the same list in the same
// order as erasing in place, without shifting the tail once per erased contour (noise gives
// hundreds of thousands of contours, nearly all erased).
void FilterMarkPolygons(const cv::Mat& binary, PolygonList& contours, float markWidth,
                        float markHeight, MarkKind kind, PolygonList& raw) {
  auto kept = contours.begin();
  for (auto it = contours.begin(); it != contours.end(); ++it) {
    ContourVerdict verdict = JudgeMarkContour(*it, markWidth, markHeight, kind);
    if (!verdict.keep) continue;
    if (kept != it) *kept = std::move(*it);
    ++kept;
    if (verdict.accepted.empty()) continue;
    ShowAcceptedPolygon(binary, verdict.accepted, kind);
    raw.push_back(std::move(verdict.accepted));
  }
  contours.erase(kept, contours.end());
}

}  // namespace imgtarn::template_mark
