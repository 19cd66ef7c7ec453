// The parts of a mark's score every shape shares.
#include <algorithm>
#include <cmath>

#include "fiducial.hpp"

namespace imgtarn::fiducial {
namespace {

// A full size (diameter, width or height) 12 % plus one pixel off the nominal one keeps 0.6 of
// the score, twice that about a tenth: etching and plating move a real mark's edge by a few
// percent, and the half-level outline of a small mark under lens blur shrinks (a disc of
// radius 4 px under a 1.5 px blur measures about 0.5 px short); a look-alike of another size
// (a via ring, a pad of the next size) is usually a quarter or more off.
constexpr float kSizeDeviation = 0.12f;
constexpr float kSizeDeviationPixels = 1.0f;
// A quarter pixel for camera noise and compression, and half a percent of the mark's size for
// the roughness of etched and plated edges: clean real discs keep 0.6 to 1 of the score, the
// octagonal pad 0.5, and polygons or blobs with a pixel or more of scatter next to nothing.
constexpr float kBaseScatter = 0.25f;
constexpr float kScatterPerPixel = 0.005f;

}  // namespace

void Support::Add(double distance, float scatter) {
  if (std::fabs(distance) > 3.0 * scatter) return;
  ++agreeing;
  squares += distance * distance;
}

float Support::Score(float scatter) const {
  if (agreeing <= 0 || inImage <= 0 || planned <= 0) return 0.0f;
  const float agree = static_cast<float>(agreeing) / static_cast<float>(inImage);
  const float visible = std::min(1.0f, static_cast<float>(inImage) / static_cast<float>(planned));
  const float rms = static_cast<float>(std::sqrt(squares / agreeing));
  const float clean = std::exp(-0.5f * (rms / scatter) * (rms / scatter));
  return agree * clean * std::sqrt(visible);
}

float EdgeScatter(float size) { return kBaseScatter + kScatterPerPixel * size; }

bool PlausibleSize(cv::Size2f measured, cv::Size2f nominal) {
  const float x = measured.width / nominal.width, y = measured.height / nominal.height;
  return x >= 0.5f && x <= 1.6f && y >= 0.5f && y <= 1.6f;
}

float SizeAgreement(float measured, float nominal) {
  const float off = (measured - nominal) / (kSizeDeviation * nominal + kSizeDeviationPixels);
  return std::exp(-0.5f * off * off);
}

float MedianOf(std::vector<float> values) {
  if (values.empty()) return 0.0f;
  const size_t middle = values.size() / 2;
  std::nth_element(values.begin(), values.begin() + middle, values.end());
  return values[middle];
}

float ShareAtLeast(const std::vector<float>& values, float level) {
  if (values.empty()) return 0.0f;
  const auto count =
      std::count_if(values.begin(), values.end(), [level](float v) { return v >= level; });
  return static_cast<float>(count) / static_cast<float>(values.size());
}

}  // namespace imgtarn::fiducial
