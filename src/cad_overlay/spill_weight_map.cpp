// Ring weights for measured pixels that spill past the CAD pad: the literal construction by
// repeated 3 x 3 growth, kept as the reference for any faster distance-based version.
#include <opencv2/core.hpp>

#include "cad_overlay.hpp"
#include "para.hpp"

namespace imgtarn::cad_overlay {

namespace {

bool Touches(const cv::Mat& grown, const cv::Mat& outside) {
  cv::Mat overlap;
  cv::bitwise_and(grown, outside, overlap);
  return cv::countNonZero(overlap) != 0;
}

}  // namespace

int CountInsideGrowthSteps(const cv::Mat& cad, const cv::Mat& outside) {
  int steps = 0;
  cv::Mat grown = cad;
  for (;;) {
    cv::Mat next = Dilate3x3(grown);
    if (Touches(next, outside)) break;
    // A boundary without any outside pixel is never reached. Growth is monotone, so a step
    // that adds no pixel means the mask has filled all it ever will: the rings end there.
    if (cv::countNonZero(next) == cv::countNonZero(grown)) break;
    ++steps;
    grown = next;
  }
  return steps;
}

cv::Mat BuildSpillWeightMap(const cv::Mat& cad, const cv::Mat& boundary) {
  cv::Mat outside;
  cv::bitwise_not(boundary, outside);  // set wherever the boundary byte is not 255
  const int rings = CountInsideGrowthSteps(cad, outside);

  cv::Mat weights = cv::Mat::zeros(cad.size(), cad.type());
  cad.copyTo(weights);
  cv::Mat working = cad.clone();
  for (int i = 1; i <= rings; ++i) {
    working = Dilate3x3(working);
    const float value = static_cast<float>(i) * 255.0f / static_cast<float>(rings);
    const auto weight = static_cast<unsigned char>(TruncToInt(value));
    for (int y = 0; y < weights.rows; ++y) {
      const unsigned char* grown = working.ptr<unsigned char>(y);
      unsigned char* w = weights.ptr<unsigned char>(y);
      for (int x = 0; x < weights.cols; ++x)
        if (grown[x] != 0 && w[x] == 0) w[x] = weight;
    }
  }
  return weights;
}

}  // namespace imgtarn::cad_overlay
