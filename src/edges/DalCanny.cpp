// The detector's entry points, its input check and its threshold rule. The work itself is
// done by the stripe engine in canny_fast.cpp; canny_literal.cpp keeps the reference version.
#include "DalCanny.hpp"

#include <cstddef>
#include <opencv2/core.hpp>
#include <vector>

#include "canny_fast.hpp"

namespace imgtarn::edges {

// Only 8-bit single-channel images have magnitudes that fit the histogram and a gradient pair
// of one sample per pixel. Both checks are reported as MyCanny's own assertions because that
// is the routine callers know, whichever version of the detector ran (the reference version
// checks here too, so both raise the same error).
void RequireEightBitPlane(const cv::Mat& image) {
  // Callers log the depth failure with its file and line (DalCanny.cpp:22), so the check
  // keeps that line: every line above it counts, the includes clang-format groups too
  // (edges_test fails when it moves).
  if (image.depth() != CV_8U) {
    cv::error(cv::Error::StsAssert, "src.depth() == CV_8U", "MyCanny", __FILE__, __LINE__);
  }
  if (image.channels() != 1) {
    cv::error(cv::Error::StsAssert, "src.channels() == 1", "MyCanny", __FILE__, __LINE__);
  }
}

CannyThresholds AutoCannyThresholds(const std::vector<int>& histogram, int maxMagnitude,
                                    long long pixelCount, bool l2gradient) {
  CannyThresholds thresholds;
  // A flat image has no magnitude to walk down from (and possibly no pixels to divide by).
  if (maxMagnitude < 1) return thresholds;
  CV_Assert(static_cast<std::size_t>(maxMagnitude) < histogram.size());
  const double n = static_cast<double>(pixelCount);
  // The top bin's share raises both targets, so a few saturated pixels do not let a large
  // flat area pull the thresholds down.
  const double p = histogram[static_cast<std::size_t>(maxMagnitude)] / n + 0.5;
  const double q = p + 0.3;
  double share = 0.0;
  bool highFound = false;
  for (int v = maxMagnitude; v >= 1; --v) {
    if (share > q) {
      thresholds.low = v;
      break;
    }
    share = share + histogram[static_cast<std::size_t>(v)] / n;
    if (share >= p && !highFound) {
      thresholds.high = v;
      highFound = true;
    }
  }
  if (l2gradient) {
    thresholds.low *= thresholds.low;
    thresholds.high *= thresholds.high;
  }
  return thresholds;
}

void MyCanny(cv::InputArray src, cv::OutputArray dst, bool l2gradient, CannyTrace* trace) {
  CannyRequest request;
  request.l2gradient = l2gradient;
  DetectCannyEdges(src, dst, request, trace);
}

}  // namespace imgtarn::edges
