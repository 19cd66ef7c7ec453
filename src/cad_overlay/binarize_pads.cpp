// The smoothing-and-binarising front end of pad splitting and pad matching.
#include <opencv2/imgproc.hpp>

#include "cad_overlay.hpp"
#include "debug_view.hpp"

namespace imgtarn::cad_overlay {
namespace {

int OtsuType(bool brightPads) {
  return (brightPads ? cv::THRESH_BINARY : cv::THRESH_BINARY_INV) | cv::THRESH_OTSU;
}

cv::Mat GradientMagnitude(const cv::Mat& blurred) {
  cv::Mat gradX, gradY, absX, absY, magnitude;
  cv::Sobel(blurred, gradX, CV_16S, 1, 0, 3, 1, 0, cv::BORDER_DEFAULT);
  cv::convertScaleAbs(gradX, absX, 1, 0);
  cv::Sobel(blurred, gradY, CV_16S, 0, 1, 3, 1, 0, cv::BORDER_DEFAULT);
  cv::convertScaleAbs(gradY, absY, 1, 0);
  cv::addWeighted(absX, 0.5, absY, 0.5, 0, magnitude);
  return magnitude;
}

}  // namespace

BinarizedPads BinarizePads(const cv::Mat& image, bool brightPads, bool debug) {
  BinarizedPads pads;
  if (image.empty()) return pads;
  cv::Mat blurred;
  cv::GaussianBlur(image, blurred, cv::Size(5, 5), 0, 0, cv::BORDER_DEFAULT);
  cv::threshold(blurred, pads.region, 0, 255, OtsuType(brightPads));

  const cv::Mat magnitude = GradientMagnitude(blurred);
  if (debug) debug_view::Show("tmp/debug_Sobel", magnitude);
  cv::threshold(magnitude, pads.edges, 0, 255, cv::THRESH_BINARY | cv::THRESH_OTSU);
  // Deliberately the region image: it is the one both operations go on with.
  if (debug) debug_view::Show("tmp/debug_threshold", pads.region);
  return pads;
}

cv::Mat BinarizeForProjection(const cv::Mat& image, bool brightPads) {
  cv::Mat blurred, binary;
  if (image.empty()) return binary;
  cv::blur(image, blurred, cv::Size(3, 3), cv::Point(-1, -1), cv::BORDER_DEFAULT);
  cv::threshold(blurred, binary, 0, 255, OtsuType(brightPads));
  return binary;
}

}  // namespace imgtarn::cad_overlay
