// Least-squares circles through edge points: an algebraic start, a geometric polish, and a
// robust variant that drops points off the circle (a trace, a neighbour, a JPEG block).
#include <algorithm>
#include <cmath>

#include "fiducial.hpp"

namespace imgtarn::fiducial {
namespace {

constexpr int kMinPoints = 5;
constexpr int kPolishRounds = 20;
constexpr int kRobustRounds = 3;
// Points within this distance of the circle always stay: the edge positions themselves
// scatter by about a tenth of a pixel on a clean mark, and a cut at three deviations of
// such a tight set would start dropping good points.
constexpr float kMinKeepDistance = 0.25f;

// Kasa's fit: x^2 + y^2 + D x + E y + F = 0 in coordinates centred on the points' mean, which
// keeps the normal equations well conditioned for marks far from the origin.
std::optional<Circle> AlgebraicFit(const std::vector<cv::Point2f>& points,
                                   const std::vector<float>& weights, cv::Point2d mean) {
  cv::Matx33d a = cv::Matx33d::zeros();
  cv::Vec3d b(0.0, 0.0, 0.0);
  for (size_t i = 0; i < points.size(); ++i) {
    if (weights[i] <= 0.0f) continue;
    const double x = points[i].x - mean.x, y = points[i].y - mean.y, w = weights[i];
    const cv::Vec3d row(x, y, 1.0);
    a += w * row * row.t();
    b += w * -(x * x + y * y) * row;
  }
  cv::Vec3d solution;
  if (!cv::solve(a, b, solution, cv::DECOMP_CHOLESKY)) return std::nullopt;
  const double cx = -0.5 * solution[0], cy = -0.5 * solution[1];
  const double r2 = cx * cx + cy * cy - solution[2];
  if (!(r2 > 0.0)) return std::nullopt;
  return Circle{cv::Point2f(static_cast<float>(cx + mean.x), static_cast<float>(cy + mean.y)),
                static_cast<float>(std::sqrt(r2))};
}

// Gauss-Newton on the distances themselves, which the algebraic fit only approximates (it
// leans towards a smaller circle on a partial arc).
Circle GeometricPolish(const std::vector<cv::Point2f>& points, const std::vector<float>& weights,
                       Circle start) {
  double cx = start.centre.x, cy = start.centre.y, r = start.radius;
  for (int round = 0; round < kPolishRounds; ++round) {
    cv::Matx33d a = cv::Matx33d::zeros();
    cv::Vec3d b(0.0, 0.0, 0.0);
    for (size_t i = 0; i < points.size(); ++i) {
      if (weights[i] <= 0.0f) continue;
      const double dx = points[i].x - cx, dy = points[i].y - cy;
      const double d = std::max(std::hypot(dx, dy), 1e-9);
      const cv::Vec3d row(-dx / d, -dy / d, -1.0);
      a += weights[i] * row * row.t();
      b += weights[i] * -(d - r) * row;
    }
    cv::Vec3d step;
    if (!cv::solve(a, b, step, cv::DECOMP_CHOLESKY)) break;
    cx += step[0];
    cy += step[1];
    r += step[2];
    if (std::fabs(step[0]) + std::fabs(step[1]) + std::fabs(step[2]) < 1e-7) break;
  }
  return Circle{cv::Point2f(static_cast<float>(cx), static_cast<float>(cy)), static_cast<float>(r)};
}

}  // namespace

std::optional<Circle> FitCircle(const std::vector<cv::Point2f>& points,
                                const std::vector<float>& weights) {
  cv::Point2d mean(0.0, 0.0);
  double total = 0.0;
  for (size_t i = 0; i < points.size(); ++i) {
    if (weights[i] <= 0.0f) continue;
    mean += cv::Point2d(points[i]) * static_cast<double>(weights[i]);
    total += weights[i];
  }
  if (std::count_if(weights.begin(), weights.end(), [](float w) { return w > 0.0f; }) < kMinPoints)
    return std::nullopt;
  mean *= 1.0 / total;
  const std::optional<Circle> start = AlgebraicFit(points, weights, mean);
  if (!start) return std::nullopt;
  const Circle polished = GeometricPolish(points, weights, *start);
  if (!std::isfinite(polished.radius) || !(polished.radius > 0.0f)) return std::nullopt;
  return polished;
}

std::optional<Circle> FitCircleRobust(const std::vector<cv::Point2f>& points,
                                      std::vector<bool>& inliers) {
  inliers.assign(points.size(), true);
  std::vector<float> weights(points.size(), 1.0f);
  std::optional<Circle> circle = FitCircle(points, weights);
  for (int round = 0; round < kRobustRounds && circle; ++round) {
    std::vector<float> residuals(points.size());
    std::vector<float> kept;
    for (size_t i = 0; i < points.size(); ++i) {
      residuals[i] = static_cast<float>(cv::norm(points[i] - circle->centre)) - circle->radius;
      if (inliers[i]) kept.push_back(std::fabs(residuals[i]));
    }
    // 1.4826 times the median absolute residual estimates the deviation of normal scatter.
    const float limit = std::max(3.0f * 1.4826f * MedianOf(kept), kMinKeepDistance);
    for (size_t i = 0; i < points.size(); ++i) {
      inliers[i] = std::fabs(residuals[i]) <= limit;
      weights[i] = inliers[i] ? 1.0f : 0.0f;
    }
    circle = FitCircle(points, weights);
  }
  return circle;
}

}  // namespace imgtarn::fiducial
