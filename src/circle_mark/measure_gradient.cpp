// The gradient-profile measurement of a bright disc inside a square window.
#include <opencv2/imgproc.hpp>

#include "circle_mark.hpp"

namespace imgtarn::circle_mark {
namespace {

// Forward differences of a profile; the last element stays 0, so an edge is never found at the
// final column or row.
std::vector<float> ForwardDifferences(const cv::Mat& profile) {
  const int length = static_cast<int>(profile.total());
  std::vector<float> diff(length, 0.0f);
  const float* values = profile.ptr<float>();
  for (int k = 0; k + 1 < length; ++k) diff[k] = values[k + 1] - values[k];
  return diff;
}

// The strongest rise marks the dark-to-bright edge, the strongest fall the bright-to-dark one;
// both keep their first occurrence in scan order.
EdgeSpan SpanOfProfile(const cv::Mat& profile) {
  const std::vector<float> diff = ForwardDifferences(profile);
  int maxIndex = 0;
  int minIndex = 0;
  for (int k = 1; k < static_cast<int>(diff.size()); ++k) {
    if (diff[k] > diff[maxIndex]) maxIndex = k;
    if (diff[k] < diff[minIndex]) minIndex = k;
  }
  return EdgeSpan{maxIndex + 1, minIndex};
}

}  // namespace

std::optional<GradientMeasure> MeasureCircleByGradient(const cv::Mat& image, cv::Rect window) {
  // A window placed partly outside the image is measured over its visible part.
  const cv::Rect visible = window & cv::Rect(0, 0, image.cols, image.rows);
  if (visible.empty()) return std::nullopt;
  // The window is cut out and blurred as an image of its own (reflected at its own edges),
  // as every search on a region here sees only that region: the measurement then depends on
  // the window's pixels alone, wherever it lies in the plane.
  cv::Mat region;
  cv::GaussianBlur(image(visible).clone(), region, cv::Size(3, 3), 0);

  cv::Mat columnMeans;
  cv::Mat rowMeans;
  cv::reduce(region, columnMeans, 0, cv::REDUCE_AVG, CV_32F);
  cv::reduce(region, rowMeans, 1, cv::REDUCE_AVG, CV_32F);
  return GradientMeasure{visible, SpanOfProfile(columnMeans), SpanOfProfile(rowMeans)};
}

float SpanCentre(int origin, const EdgeSpan& span) {
  return static_cast<float>(origin + span.first) + static_cast<float>(span.Diameter() - 1) * 0.5f;
}

}  // namespace imgtarn::circle_mark
