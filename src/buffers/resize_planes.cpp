// Scaling the three planes of a colour image into the caller's planes (slot 33).
#include <opencv2/imgproc.hpp>

#include "buffers.hpp"
#include "plane.hpp"

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

int ResizePlanes(unsigned char* src0, unsigned char* src1, unsigned char* src2, unsigned char* dst0,
                 unsigned char* dst1, unsigned char* dst2, float* para) {
  const ResizeParams params = ResizeParams::FromPara(para);
  if (params.dstWidth < 1 || params.dstHeight < 1) return -1;
  ResizeInto(src0, dst0, params);
  ResizeInto(src1, dst1, params);
  ResizeInto(src2, dst2, params);
  return 0;
}

}  // namespace imgtarn::buffers
