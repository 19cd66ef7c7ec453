// Differential harness: the overlay's spill weights from the chessboard distance map against
// the literal ring-growth construction, on any pair of pad and boundary masks. Any difference
// in a weight or the ring count aborts, so libFuzzer keeps the input.
#include <cstdlib>
#include <opencv2/core.hpp>

#include "cad_overlay.hpp"
#include "fuzz_support.hpp"

namespace {

namespace co = imgtarn::cad_overlay;

// A 0/255 mask of a few filled rectangles, possibly none, possibly the whole plane.
cv::Mat DrawMask(FuzzedDataProvider& data, cv::Size size) {
  cv::Mat mask(size, CV_8UC1, cv::Scalar(data.ConsumeIntegralInRange<int>(0, 9) == 0 ? 255 : 0));
  const int shapes = data.ConsumeIntegralInRange<int>(0, 4);
  for (int i = 0; i < shapes; ++i) {
    const int x = data.ConsumeIntegralInRange<int>(0, size.width - 1);
    const int y = data.ConsumeIntegralInRange<int>(0, size.height - 1);
    const int w = data.ConsumeIntegralInRange<int>(1, size.width - x);
    const int h = data.ConsumeIntegralInRange<int>(1, size.height - y);
    mask(cv::Rect(x, y, w, h)).setTo(data.ConsumeBool() ? 255 : 0);
  }
  return mask;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  FuzzedDataProvider data(bytes, size);
  const cv::Size plane(data.ConsumeIntegralInRange<int>(1, 96),
                       data.ConsumeIntegralInRange<int>(1, 96));
  const cv::Mat cad = DrawMask(data, plane);
  const cv::Mat boundary = DrawMask(data, plane);
  const cv::Mat outside = 255 - boundary;

  const cv::Mat literal = co::BuildSpillWeightMap(cad, boundary);
  const cv::Mat fast = co::BuildSpillWeightMapFast(cad, boundary);
  if (cv::countNonZero(literal != fast) != 0) std::abort();
  if (co::CountInsideGrowthSteps(cad, outside) != co::CountInsideGrowthStepsFast(cad, outside))
    std::abort();
  const co::SpillRings rings(cad, boundary);
  for (int y = 0; y < plane.height; ++y) {
    for (int x = 0; x < plane.width; ++x) {
      if (cad.at<unsigned char>(y, x) == 0 &&
          rings.WeightOffPad(y, x) != literal.at<unsigned char>(y, x))
        std::abort();
    }
  }
  return 0;
}
