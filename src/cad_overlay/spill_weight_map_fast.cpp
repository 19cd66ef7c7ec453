// Ring weights from one chessboard distance map instead of repeated 3 x 3 growth.
//
// The i-th 3 x 3 dilation of the pad (no growth from beyond the border) holds exactly the
// pixels within chessboard distance i of it, so a pixel's ring is its chessboard distance d.
// The growth stops before the first step reaching an outside pixel (after D - 1 steps, D the
// distance of the nearest outside pixel, at least 0 steps) or once the grown mask fills the
// plane (after the largest distance; distances take every value up to it, so each earlier step
// adds pixels), whichever comes first.
#include <algorithm>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "cad_overlay/cad_overlay.hpp"
#include "common/para.hpp"

namespace imgtarn::cad_overlay {
namespace {

// Chessboard distance of every pixel to the nearest set pixel of `cad` (0 on the pad), by the
// two raster passes over the 8-neighbourhood with unit steps, which are exact for this metric.
// A border of `far` keeps the passes free of branches: nothing beyond the edge counts as pad.
cv::Mat ChessboardDistanceFromPad(const cv::Mat& cad) {
  const int far = cad.rows + cad.cols + 2;  // beyond any distance inside the plane
  cv::Mat padded(cad.rows + 2, cad.cols + 2, CV_32SC1, cv::Scalar(far));
  std::vector<int> fromAbove(static_cast<std::size_t>(cad.cols) + 2);
  for (int y = 1; y <= cad.rows; ++y) {
    const unsigned char* c = cad.ptr<unsigned char>(y - 1);
    const int* up = padded.ptr<int>(y - 1);
    int* d = padded.ptr<int>(y);
    for (int x = 1; x <= cad.cols; ++x)
      fromAbove[x] = c[x - 1] != 0 ? 0 : std::min(std::min(up[x - 1], up[x]), up[x + 1]) + 1;
    for (int x = 1; x <= cad.cols; ++x) d[x] = std::min(fromAbove[x], d[x - 1] + 1);
  }
  for (int y = cad.rows; y >= 1; --y) {
    const int* down = padded.ptr<int>(y + 1);
    int* d = padded.ptr<int>(y);
    for (int x = 1; x <= cad.cols; ++x)
      fromAbove[x] = std::min(d[x], std::min(std::min(down[x - 1], down[x]), down[x + 1]) + 1);
    for (int x = cad.cols; x >= 1; --x) d[x] = std::min(fromAbove[x], d[x + 1] + 1);
  }
  return padded(cv::Rect(1, 1, cad.cols, cad.rows));
}

int GrowthStepsFromDistances(const cv::Mat& distance, const cv::Mat& outside) {
  double largest = 0.0;
  cv::minMaxLoc(distance, nullptr, &largest);
  double nearestOutside = largest + 2.0;  // no outside pixel: only the filled plane stops
  if (cv::countNonZero(outside) != 0) cv::minMaxLoc(distance, &nearestOutside, nullptr, nullptr,
                                                    nullptr, outside);
  const int toOutside = std::max(0, static_cast<int>(nearestOutside) - 1);
  return std::min(toOutside, static_cast<int>(largest));
}

// Weight for each ring distance: a ring whose own weight truncates to 0 stays unmarked in the
// growth loop and takes the weight of the first later ring that has one.
std::vector<unsigned char> RingWeights(int rings) {
  std::vector<unsigned char> weights(static_cast<std::size_t>(rings) + 2, 0);
  for (int i = rings; i >= 1; --i) {
    const float value = static_cast<float>(i) * 255.0f / static_cast<float>(rings);
    const auto weight = static_cast<unsigned char>(TruncToInt(value));
    weights[i] = weight != 0 ? weight : weights[i + 1];
  }
  return weights;
}

}  // namespace

int CountInsideGrowthStepsFast(const cv::Mat& cad, const cv::Mat& outside) {
  if (cv::countNonZero(cad) == 0) return 0;  // an empty pad never grows
  return GrowthStepsFromDistances(ChessboardDistanceFromPad(cad), outside);
}

cv::Mat BuildSpillWeightMapFast(const cv::Mat& cad, const cv::Mat& boundary) {
  cv::Mat weights = cad.clone();
  if (cv::countNonZero(cad) == 0) return weights;
  cv::Mat outside;
  cv::bitwise_not(boundary, outside);  // set wherever the boundary byte is not 255
  const cv::Mat distance = ChessboardDistanceFromPad(cad);
  const int rings = GrowthStepsFromDistances(distance, outside);
  const std::vector<unsigned char> ringWeight = RingWeights(rings);
  for (int y = 0; y < weights.rows; ++y) {
    const int* d = distance.ptr<int>(y);
    unsigned char* w = weights.ptr<unsigned char>(y);
    for (int x = 0; x < weights.cols; ++x) {
      const int ring = d[x];
      if (w[x] == 0 && ring >= 1 && ring <= rings) w[x] = ringWeight[ring];
    }
  }
  return weights;
}

}  // namespace imgtarn::cad_overlay
