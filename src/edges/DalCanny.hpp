// Canny edge detection whose two hysteresis thresholds come from the image's own histogram of
// gradient magnitudes, so one call adapts to bright and dark boards.
//
// MyCanny is the production detector (row stripes in parallel, wide vectors where the CPU has
// them). MyCannyLiteral is the reference: plain loops, one pass per step, kept as the oracle
// that the production detector must match bit for bit.
#ifndef IMGTARN_EDGES_DALCANNY_HPP
#define IMGTARN_EDGES_DALCANNY_HPP

#include <cstddef>
#include <opencv2/core.hpp>
#include <vector>

namespace imgtarn::edges {

// L1 magnitudes of a 3x3 Sobel pair on 8-bit input never exceed 6 * 255 = 1530.
constexpr int kMagnitudeBins = 1531;

struct CannyThresholds {
  int low = 0;
  int high = 0;
};

// What a run of the detector decided, for callers that report it and for tests.
struct CannyTrace {
  CannyThresholds thresholds;
  long long edgePixels = 0;
};

// The literal detector's hysteresis stack: its starting and its final capacity.
struct StackUse {
  std::size_t initialCapacity = 0;
  std::size_t finalCapacity = 0;
};

// Chooses (low, high) from a histogram of kMagnitudeBins counts, the largest magnitude present
// and the pixel count. Walking down from the top bin, high is the first magnitude at which the
// accumulated share reaches p = share of the top bin + 0.5, low the magnitude at which the
// share above it first exceeds p + 0.3. Both stay 0 when the image is flat or a share is never
// reached. With l2gradient both are squared.
CannyThresholds AutoCannyThresholds(const std::vector<int>& histogram, int maxMagnitude,
                                    long long pixelCount, bool l2gradient);

// Raises cv::Exception (code -215) naming MyCanny unless `image` is 8-bit single-channel.
void RequireEightBitPlane(const cv::Mat& image);

// Edge map of an 8-bit single-channel image: 255 on edges, 0 elsewhere, allocated to src's
// size; dst may be src. Raises cv::Exception (code -215, "src.depth() == CV_8U") for any
// other depth. The flag only squares the chosen thresholds; magnitudes stay L1.
void MyCanny(cv::InputArray src, cv::OutputArray dst, bool l2gradient, CannyTrace* trace = nullptr);

// The reference versions of MyCanny and of its gradient, suppression and hysteresis steps with
// thresholds given by the caller (L1 magnitude, 3x3 Sobel, replicated border), which the
// production engine runs when a request turns automatic thresholds off.
void MyCannyLiteral(cv::InputArray src, cv::OutputArray dst, bool l2gradient,
                    CannyTrace* trace = nullptr, StackUse* stack = nullptr);
void CannyWithThresholdsLiteral(cv::InputArray src, cv::OutputArray dst, CannyThresholds thresholds,
                                CannyTrace* trace = nullptr, StackUse* stack = nullptr);

}  // namespace imgtarn::edges

#endif  // IMGTARN_EDGES_DALCANNY_HPP
