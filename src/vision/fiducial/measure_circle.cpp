// A circular mark measured on its own edge: rays from the guessed centre, the half-level
// crossing on each, a robust circle through them, repeated from the new centre.
#include <algorithm>
#include <cmath>

#include "fiducial.hpp"

namespace imgtarn::fiducial {
namespace {

// Two rays per degree: on a radius of 4 px that is still many points per pixel of edge, and
// on the largest marks (40 px) an edge point every 1.4 px.
constexpr int kRayCount = 180;
// Profiles run this far past the searched span so both sides' levels can be read there.
constexpr float kLevelMargin = 3.0f;
// Once close, the search keeps to a band around the fitted edge.
constexpr float kNarrowReachShare = 0.2f;
constexpr float kNarrowReachMin = 1.5f;
// The plateau level is read inside this share of the radius, the fill inside a wider one.
constexpr float kPlateauShare = 0.5f;
constexpr float kFillShare = 0.6f;

struct RayEdges {
  std::vector<cv::Point2f> points;
  std::vector<float> darks;  // the dark side's level on each ray with an edge
  int raysInImage = 0;       // rays whose expected edge lies inside the plane
};

RayEdges CastRays(const cv::Mat& plane, const Circle& around, float reach,
                  std::optional<float> level) {
  RayEdges edges;
  const float from = std::max(0.0f, around.radius - reach - kLevelMargin);
  const float to = around.radius + reach + kLevelMargin;
  for (int i = 0; i < kRayCount; ++i) {
    const double angle = 2.0 * CV_PI * i / kRayCount;
    const cv::Point2f direction(static_cast<float>(std::cos(angle)),
                                static_cast<float>(std::sin(angle)));
    const Profile profile =
        SampleLine(plane, around.centre + direction * from, direction, to - from);
    const float expected = (around.radius - from) / profile.step;
    // The expected edge and a pixel beyond it must be inside for the ray to count at all.
    if (static_cast<float>(profile.values.size()) < expected + 1.0f / profile.step) continue;
    ++edges.raysInImage;
    const float span = reach / profile.step;
    const std::optional<EdgeCrossing> edge =
        FallingEdge(profile, expected - span, expected + span, expected, level);
    if (!edge) continue;
    edges.points.push_back(profile.At(edge->index));
    edges.darks.push_back(edge->dark);
  }
  return edges;
}

// The plane's pixels within `share` of the radius, clipped to the plane.
std::vector<float> PixelsInside(const cv::Mat& plane, const Circle& circle, float share) {
  const float reach = share * circle.radius;
  const cv::Rect box =
      cv::Rect(
          cv::Point(cvFloor(circle.centre.x - reach), cvFloor(circle.centre.y - reach)),
          cv::Point(cvCeil(circle.centre.x + reach) + 1, cvCeil(circle.centre.y + reach) + 1)) &
      cv::Rect(0, 0, plane.cols, plane.rows);
  std::vector<float> values;
  for (int y = box.y; y < box.y + box.height; ++y)
    for (int x = box.x; x < box.x + box.width; ++x)
      if (std::hypot(static_cast<float>(x) - circle.centre.x,
                     static_cast<float>(y) - circle.centre.y) <= reach)
        values.push_back(plane.at<float>(y, x));
  return values;
}

struct CircleEdges {
  Circle circle;
  RayEdges edges;
  std::vector<bool> inliers;
  float level = 0.0f;
};

bool PlausibleRadius(const Circle& circle, float radius) {
  return PlausibleSize(cv::Size2f(circle.radius, circle.radius), cv::Size2f(radius, radius));
}

// The circle through the rays' edges, measured first at each ray's own half level and then at
// the mark's, between its plateau and the median of the rays' dark sides.
std::optional<CircleEdges> MeasureEdges(const cv::Mat& plane, cv::Point2f start, float radius) {
  CircleEdges result;
  const auto fitRays = [&](const Circle& around, float reach,
                           std::optional<float> level) -> std::optional<Circle> {
    result.edges = CastRays(plane, around, reach, level);
    const std::optional<Circle> fit = FitCircleRobust(result.edges.points, result.inliers);
    if (!fit || !PlausibleRadius(*fit, radius)) return std::nullopt;
    return fit;
  };
  result.circle = Circle{start, radius};
  // The first round allows a guess half a radius off.
  const std::optional<float> level = SettleAtMarkLevel(
      result.circle, 0.5f * radius, std::max(kNarrowReachMin, kNarrowReachShare * radius), fitRays,
      [&](const Circle& found) {
        const float plateau = MedianOf(PixelsInside(plane, found, kPlateauShare));
        return 0.5f * (plateau + MedianOf(result.edges.darks));
      });
  if (!level) return std::nullopt;
  result.level = *level;
  return result;
}

}  // namespace

std::optional<Measurement> MeasureCircle(const cv::Mat& plane, cv::Point2f start, float radius) {
  const std::optional<CircleEdges> found = MeasureEdges(plane, start, radius);
  if (!found) return std::nullopt;
  const Circle& circle = found->circle;
  const float scatter = EdgeScatter(radius);
  Support support;
  for (const cv::Point2f& point : found->edges.points)
    support.Add(cv::norm(point - circle.centre) - circle.radius, scatter);
  support.inImage = found->edges.raysInImage;
  support.planned = kRayCount;
  // A filled mark has its inside at or above the edge's level; a ring or an outline does not.
  const float fill = ShareAtLeast(PixelsInside(plane, circle, kFillShare), found->level);
  const float score =
      support.Score(scatter) * fill * SizeAgreement(2.0f * circle.radius, 2.0f * radius);
  return Measurement{circle.centre, cv::Size2f(2.0f * circle.radius, 2.0f * circle.radius), score};
}

}  // namespace imgtarn::fiducial
