// Flat-field calibration (slot 24) and its application (slot 25), with the coefficient table
// held as two colour images instead of the host's planar float array.
#include <climits>

#include "buffers.hpp"
#include "colour_planes.hpp"
#include "input_checks.hpp"

namespace imgtarn {
namespace {

constexpr int kPlanes = 3;

// The host's calibration stack: per image its red, green and blue planes, back to back.
std::vector<unsigned char> PlaneStack(const std::vector<cv::Mat>& images) {
  std::vector<unsigned char> stack;
  for (const cv::Mat& image : images) {
    for (const cv::Mat& plane : vision::RgbPlanes(image))
      stack.insert(stack.end(), plane.datastart, plane.dataend);
  }
  return stack;
}

// Red, green and blue planes of `size` that lie back to back in `run`, as headers.
std::array<cv::Mat, kPlanes> PlanesOf(void* run, cv::Size size, int type) {
  const std::size_t bytes = size.area() * CV_ELEM_SIZE(type);
  std::array<cv::Mat, kPlanes> rgb;
  for (int c = 0; c < kPlanes; ++c)
    rgb[c] = cv::Mat(size, type, static_cast<char*>(run) + c * bytes);
  return rgb;
}

// A three-channel float image as the host's planar run: red, green, blue.
std::vector<float> PlanarRun(const cv::Mat& bgr) {
  std::vector<float> run;
  for (const cv::Mat& plane : vision::RgbPlanes(bgr))
    run.insert(run.end(), plane.ptr<float>(), plane.ptr<float>() + plane.total());
  return run;
}

void CheckCalibrationImages(const std::vector<cv::Mat>& images) {
  vision::Require(!images.empty() && images.size() % 2 == 0, "images",
                  "expected pairs of a low-level and a high-level image");
  for (const cv::Mat& image : images) {
    vision::RequireImage(image, "images", {CV_8UC3});
    vision::RequireSameSize(image, "images", images.front(), "the first image");
  }
}

}  // namespace

FlatFieldCoefficients CalibrateFlatField(const std::vector<cv::Mat>& images,
                                         const FlatFieldOptions& options) {
  CheckCalibrationImages(images);
  vision::Require(options.window >= 1 && options.window % 2 == 1, "window", "must be odd");
  const cv::Size size = images.front().size();
  buffers::FlatFieldParams params;
  params.groups = static_cast<int>(images.size() / 2);
  params.width = size.width;
  params.height = size.height;
  params.window = options.window;
  params.acceptHigh = options.acceptHigh;
  params.acceptLow = options.acceptLow;
  params.targetLow = options.targetLow;
  params.targetHigh = options.targetHigh;
  params.minCount = options.minCount;
  const std::size_t run = kPlanes * static_cast<std::size_t>(size.area());
  std::vector<float> table(2 * run);
  buffers::ComputeFlatField(PlaneStack(images).data(), params, table.data());
  return FlatFieldCoefficients{vision::MergeRgb(PlanesOf(table.data(), size, CV_32FC1)),
                               vision::MergeRgb(PlanesOf(table.data() + run, size, CV_32FC1))};
}

cv::Mat ApplyFlatField(const cv::Mat& image, const FlatFieldCoefficients& coefficients) {
  vision::RequireImage(image, "image", {CV_8UC3});
  vision::RequireImage(coefficients.offset, "offset", {CV_32FC3});
  vision::RequireImage(coefficients.gain, "gain", {CV_32FC3});
  vision::RequireSameSize(coefficients.offset, "offset", image, "image");
  vision::RequireSameSize(coefficients.gain, "gain", image, "image");
  const std::vector<unsigned char> source = PlaneStack({image});
  vision::Require(source.size() <= INT_MAX, "image", "more samples than one call can count");
  const std::vector<float> offsets = PlanarRun(coefficients.offset);
  const std::vector<float> gains = PlanarRun(coefficients.gain);
  std::vector<unsigned char> corrected(source.size());
  buffers::ApplyGainOffsetFast(source.data(), offsets.data(), gains.data(),
                               static_cast<int>(source.size()), corrected.data());
  return vision::MergeRgb(PlanesOf(corrected.data(), image.size(), CV_8UC1));
}

}  // namespace imgtarn
