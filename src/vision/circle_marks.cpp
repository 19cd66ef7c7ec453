// Circular marks: the three mark searches, the Hough circle nearest a radius and the edge
// refinement of a circle.
#include <algorithm>

#include "circle_mark.hpp"
#include "input_checks.hpp"

namespace imgtarn {
namespace {

// A circle larger than the image leaves no edge inside it to vote or to measure.
void RequireRadiusInside(float radius, const cv::Mat& image) {
  vision::Require(radius > 0.0f && radius <= static_cast<float>(std::max(image.cols, image.rows)),
                  "radius", "must be above 0 and at most the image's longer side");
}

std::optional<cv::Point2f> Search(const cv::Mat& image, const CircleMarkOptions& options) {
  switch (options.method) {
    case CircleMethod::Quick:
      return circle_mark::SearchMarkQuick(image, options.radius, options.debug);
    case CircleMethod::TwoScale:
      return circle_mark::SearchMarkTwoScale(image, options.radius, options.debug);
    case CircleMethod::Full:
      break;
  }
  const circle_mark::MarkSearchOutcome outcome =
      circle_mark::SearchMarkFull(image, options.radius, options.debug);
  if (!outcome.found) return std::nullopt;
  return outcome.centre;
}

}  // namespace

CircleMarkResult LocateCircleMark(const cv::Mat& image, const CircleMarkOptions& options) {
  vision::RequireImage(image, "image", {CV_8UC1});
  vision::Require(circle_mark::RadiusFitsPlane(options.radius, image.size()), "radius",
                  "must be above 0 with its disc template (side 2 radius + 2) inside the image");
  CircleMarkResult result;
  if (const auto centre = Search(vision::Packed(image), options)) {
    result.found = true;
    result.centre = *centre;
    result.radius = options.radius;
  }
  return result;
}

CircleMarkResult DetectHoughCircle(const cv::Mat& image, const HoughCircleOptions& options) {
  vision::RequireImage(image, "image", {CV_8UC1});
  RequireRadiusInside(options.radius, image);
  vision::Require(options.tolerance >= 0, "tolerance", "must be 0 or above");
  vision::Require(options.threshold > 0.0, "threshold", "must be above 0");
  const circle_mark::DirectHoughParams params =
      circle_mark::RadiusBand(options.radius, options.tolerance, options.threshold);
  const circle_mark::OneCircleSearch search =
      circle_mark::DetectOneCircle(circle_mark::SmoothPlane(vision::Packed(image)), params);
  CircleMarkResult result;
  if (search.best) {
    result.found = true;
    result.centre = cv::Point2f((*search.best)[0], (*search.best)[1]);
    result.radius = (*search.best)[2];
  }
  return result;
}

CircleEdgeResult RefineCircleEdges(const cv::Mat& image, cv::Point2f centre,
                                   const CircleEdgeOptions& options) {
  vision::RequireImage(image, "image", {CV_8UC1});
  RequireRadiusInside(options.radius, image);
  CircleEdgeResult result;
  const auto fit = circle_mark::FitCircleEdges(vision::Packed(image), centre, options.radius);
  if (!fit) return result;
  result.found = true;
  result.centre = fit->centre;
  result.semiAxes = cv::Size2f(fit->semiAxisA, fit->semiAxisB);
  result.angle = fit->angle;
  return result;
}

}  // namespace imgtarn
