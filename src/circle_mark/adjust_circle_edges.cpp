// Refining a given circle: the strongest radial edge on rays from its centre, fitted with an
// ellipse (slot 17).
#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "circle_mark.hpp"
#include "para.hpp"
#include "plane.hpp"

namespace imgtarn::circle_mark {
namespace {

// One ray every 5 degrees gives 72 edge points on a complete circle, plenty for a five-point
// conic fit, and keeps the search cheap.
constexpr int kRayCount = 72;
// Rays look for the edge between half and one and a half radii from the given centre.
constexpr float kInnerReach = 0.5f;
constexpr float kOuterReach = 1.5f;
constexpr float kStep = 0.5f;
// A ray whose best edge is below this share of the strongest edge crosses no real edge (a
// clipped or touching neighbour), and would pull the fit.
constexpr float kWeakEdgeShare = 0.25f;

struct RayEdge {
  cv::Point2f point;
  float strength;
};

float Bilinear(const cv::Mat& plane, cv::Point2f at) {
  const int x = static_cast<int>(std::floor(at.x));
  const int y = static_cast<int>(std::floor(at.y));
  const float fx = at.x - static_cast<float>(x);
  const float fy = at.y - static_cast<float>(y);
  const float* row0 = plane.ptr<float>(y);
  const float* row1 = plane.ptr<float>(y + 1);
  return (row0[x] * (1.0f - fx) + row0[x + 1] * fx) * (1.0f - fy) +
         (row1[x] * (1.0f - fx) + row1[x + 1] * fx) * fy;
}

bool Sampleable(const cv::Mat& plane, cv::Point2f at) {
  return at.x >= 0.0f && at.y >= 0.0f && at.x < static_cast<float>(plane.cols - 1) &&
         at.y < static_cast<float>(plane.rows - 1);
}

// The strongest radial derivative along one ray, with a parabola through its neighbours for
// the sub-sample position. Either polarity counts: a dark ring on a bright board is an edge too.
std::optional<RayEdge> StrongestOnRay(const cv::Mat& gx, const cv::Mat& gy, cv::Point2f centre,
                                      cv::Point2f direction, float radius) {
  std::vector<float> strengths;
  std::vector<float> reaches;
  // Whole steps, so a large radius cannot stall the walk on a float that no longer grows.
  const int steps = TruncToInt((kOuterReach - kInnerReach) * radius / kStep);
  for (int k = 0; k <= steps; ++k) {
    const float t = kInnerReach * radius + kStep * static_cast<float>(k);
    const cv::Point2f at = centre + direction * t;
    if (!Sampleable(gx, at)) break;
    strengths.push_back(std::fabs(Bilinear(gx, at) * direction.x + Bilinear(gy, at) * direction.y));
    reaches.push_back(t);
  }
  if (strengths.empty()) return std::nullopt;
  size_t best = 0;
  for (size_t i = 1; i < strengths.size(); ++i)
    if (strengths[i] > strengths[best]) best = i;
  float reach = reaches[best];
  if (best > 0 && best + 1 < strengths.size()) {
    const float left = strengths[best - 1], mid = strengths[best], right = strengths[best + 1];
    const float curvature = left - 2.0f * mid + right;
    if (curvature < 0.0f) reach += kStep * 0.5f * (left - right) / curvature;
  }
  return RayEdge{centre + direction * reach, strengths[best]};
}

}  // namespace

std::vector<cv::Point2f> StrongestRayEdges(const cv::Mat& plane, cv::Point2f centre, float radius) {
  std::vector<cv::Point2f> points;
  // A circle larger than the plane has no edge inside it to find.
  if (!(radius > 0.0f) || radius > static_cast<float>(std::max(plane.cols, plane.rows)) ||
      plane.cols < 2 || plane.rows < 2)
    return points;
  const cv::Mat smooth = SmoothPlane(plane);
  cv::Mat gx, gy;
  cv::Sobel(smooth, gx, CV_32F, 1, 0, 3);
  cv::Sobel(smooth, gy, CV_32F, 0, 1, 3);

  std::vector<RayEdge> edges;
  float strongest = 0.0f;
  for (int i = 0; i < kRayCount; ++i) {
    const double angle = 2.0 * CV_PI * i / kRayCount;
    const cv::Point2f direction(static_cast<float>(std::cos(angle)),
                                static_cast<float>(std::sin(angle)));
    if (auto edge = StrongestOnRay(gx, gy, centre, direction, radius)) {
      strongest = std::max(strongest, edge->strength);
      edges.push_back(*edge);
    }
  }
  for (const RayEdge& edge : edges)
    if (edge.strength > 0.0f && edge.strength >= kWeakEdgeShare * strongest)
      points.push_back(edge.point);
  return points;
}

std::optional<EllipseFit> FitCircleEdges(const cv::Mat& plane, cv::Point2f centre, float radius) {
  const std::vector<cv::Point2f> points = StrongestRayEdges(plane, centre, radius);
  if (points.size() < 5) return std::nullopt;
  const cv::RotatedRect box = cv::fitEllipse(points);
  return EllipseFit{box.center, box.size.width * 0.5f, box.size.height * 0.5f, box.angle};
}

CircleEdgeParams CircleEdgeParams::FromPara(const float* para) {
  CircleEdgeParams params;
  params.width = ParaInt(para, 0);
  params.height = ParaInt(para, 1);
  params.centre = cv::Point2f(para[2], para[3]);
  params.radius = para[4];
  return params;
}

int AdjustCircleEdges(unsigned char* plane, float* para, float* result) {
  const CircleEdgeParams params = CircleEdgeParams::FromPara(para);
  if (!IsUsablePlane(plane, params.width, params.height)) return -1;
  const std::optional<EllipseFit> fit =
      FitCircleEdges(WrapPlane(plane, params.width, params.height), params.centre, params.radius);
  if (!fit) return -1;
  result[0] = fit->centre.x;
  result[1] = fit->centre.y;
  result[2] = fit->semiAxisA;
  result[3] = fit->semiAxisB;
  result[4] = fit->angle;
  return 0;
}

}  // namespace imgtarn::circle_mark
