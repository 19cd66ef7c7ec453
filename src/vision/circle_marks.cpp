// Circular marks: the three mark searches.
#include "circle_mark/circle_mark.hpp"
#include "vision/input_checks.hpp"

namespace imgtarn {
namespace {

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

}  // namespace imgtarn
