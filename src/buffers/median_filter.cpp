// Slot 30, mode 0: the windowed median on a float plane.
#include "buffers.hpp"
#include "plane.hpp"

namespace imgtarn::buffers {

int MedianFilterFloatPlane(float* heights, float* filtered, float* para) {
  const MedianParams params = MedianParams::FromPara(para);
  if (params.width <= 0 || params.height <= 0) return 0;  // no samples to filter
  cv::Mat result = WrapFloatPlane(heights, params.width, params.height);
  cv::Mat source = WrapFloatPlane(filtered, params.width, params.height);
  // The unfiltered plane goes to the second buffer first; the first receives the medians.
  result.copyTo(source);
  MedianFilterFast(source, result, params);
  return 0;
}

}  // namespace imgtarn::buffers
