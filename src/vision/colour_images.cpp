// Colour images: black-hole filling (slot 29), dominant levels (slot 28) and resizing
// (slot 33), each on the image's red, green and blue planes as the slots see them.
#include <opencv2/imgproc.hpp>

#include "buffers.hpp"
#include "colour_planes.hpp"
#include "input_checks.hpp"

namespace imgtarn {
namespace {

bool IsLevel(int value) { return value >= 0 && value <= 255; }

}  // namespace

cv::Mat FillBlackHoles(const cv::Mat& image, const Rgb& colour, const FillOptions& options) {
  vision::RequireImage(image, "image", {CV_8UC3});
  vision::Require(IsLevel(colour.red) && IsLevel(colour.green) && IsLevel(colour.blue), "colour",
                  "red, green and blue must lie in 0..255");
  vision::Require(options.threads >= 0, "threads", "must be 0 (leave OpenCV's setting) or above");
  buffers::FillBlackHolesParams params;
  params.width = image.cols;
  params.height = image.rows;
  params.refR = static_cast<unsigned char>(colour.red);
  params.refG = static_cast<unsigned char>(colour.green);
  params.refB = static_cast<unsigned char>(colour.blue);
  params.threads = options.threads;
  // Split planes are the image's own copies, so painting them leaves the input alone.
  const std::array<cv::Mat, 3> rgb = vision::RgbPlanes(image);
  std::array<cv::Mat, 3> filled;
  for (cv::Mat& plane : filled) plane.create(image.size(), CV_8UC1);
  buffers::FillBlackHolesAndCopy(
      buffers::FillPlanes{{rgb[0], rgb[1], rgb[2]}, {filled[0], filled[1], filled[2]}}, params);
  return vision::MergeRgb(filled);
}

Rgb DominantLevels(const cv::Mat& image) {
  vision::RequireImage(image, "image", {CV_8UC3});
  const std::array<cv::Mat, 3> rgb = vision::RgbPlanes(image);
  return Rgb{buffers::DominantLevel(rgb[0]), buffers::DominantLevel(rgb[1]),
             buffers::DominantLevel(rgb[2])};
}

cv::Mat Resize(const cv::Mat& image, cv::Size size, const ResizeOptions& options) {
  vision::RequireImage(image, "image", {CV_8UC1, CV_8UC3});
  vision::Require(size.width >= 1 && size.height >= 1, "size", "must be at least 1 x 1");
  const int interpolation =
      options.interpolation == Interpolation::Cubic ? cv::INTER_CUBIC : cv::INTER_LINEAR;
  // Plane by plane, as the host's planes are resized.
  std::vector<cv::Mat> planes;
  cv::split(image, planes);
  for (cv::Mat& plane : planes) {
    cv::Mat resized(size, CV_8UC1);
    cv::resize(plane, resized, size, 0, 0, interpolation);
    plane = resized;
  }
  cv::Mat result;
  cv::merge(planes, result);
  return result;
}

}  // namespace imgtarn
