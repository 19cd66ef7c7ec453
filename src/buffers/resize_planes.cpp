// Scaling the three planes of a colour image into the caller's planes (slot 33).
#include <opencv2/imgproc.hpp>

#include "buffers/buffers.hpp"
#include "common/plane.hpp"

namespace imgtarn::buffers {
namespace {

// A source size below 1 is an empty matrix, which cv::resize refuses with its own error.
cv::Mat WrapSource(unsigned char* plane, const ResizeParams& params) {
  if (params.srcWidth < 1 || params.srcHeight < 1) return cv::Mat();
  return WrapPlane(plane, params.srcWidth, params.srcHeight);
}

// The destination header already has the requested size and type, so cv::resize writes
// straight into the caller's plane instead of reallocating.
void ResizeInto(unsigned char* src, unsigned char* dst, const ResizeParams& params) {
  cv::Mat destination = WrapPlane(dst, params.dstWidth, params.dstHeight);
  cv::resize(WrapSource(src, params), destination, destination.size(), 0, 0, params.interpolation);
}

}  // namespace

int ResizePlanes(unsigned char* a1, unsigned char* a2, unsigned char* a3, unsigned char* a4,
                 unsigned char* a5, unsigned char* a6, float* para) {
  const ResizeParams params = ResizeParams::FromPara(para);
  if (params.dstWidth < 1 || params.dstHeight < 1) return -1;
  ResizeInto(a1, a4, params);
  ResizeInto(a2, a5, params);
  ResizeInto(a3, a6, params);
  return 0;
}

}  // namespace imgtarn::buffers
