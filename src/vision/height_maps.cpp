// Height maps: the windowed median filter of slot 30 (mode 0).
#include "buffers.hpp"
#include "input_checks.hpp"

namespace imgtarn {
namespace {

buffers::EvenRule CoreRule(EvenRule rule) {
  switch (rule) {
    case EvenRule::Lower:
      return buffers::EvenRule::kLower;
    case EvenRule::Upper:
      return buffers::EvenRule::kUpper;
    case EvenRule::Mean:
      break;
  }
  return buffers::EvenRule::kMean;
}

}  // namespace

cv::Mat MedianFilter(const cv::Mat& heights, const MedianOptions& options) {
  vision::RequireImage(heights, "heights", {CV_32FC1});
  vision::Require(options.window >= 1, "window", "must be 1 or above");
  vision::Require(!options.limited || options.lower < options.upper, "upper",
                  "must be above lower when samples are limited");
  buffers::MedianParams params;
  params.width = heights.cols;
  params.height = heights.rows;
  params.window = options.window;
  params.lower = static_cast<float>(options.lower);
  params.upper = static_cast<float>(options.upper);
  params.evenRule = CoreRule(options.even);
  params.limited = options.limited;
  cv::Mat filtered(heights.size(), CV_32FC1);
  buffers::MedianFilterFast(vision::Packed(heights), filtered, params);
  return filtered;
}

}  // namespace imgtarn
