// Slot 18: the centre and half sizes of a bright axis-aligned rectangular fiducial.
#include <algorithm>

#include "plane.hpp"
#include "template_mark.hpp"

namespace imgtarn::template_mark {
namespace {

// How well a half extent fits the plane's extent: 0 for an empty side.
float ExtentRatio(int planeExtent, float half) {
  const float extent = static_cast<float>(planeExtent);
  return std::min(extent, half) / std::max(extent, half);
}

}  // namespace

std::optional<MarkBox> FindRectangleMark(const cv::Mat& plane, const MarkParams& params) {
  const MarkSearch search = SearchMark(plane, params, MarkKind::kRectangle);
  // A zero side of the measured box means the refinement found no edge pair: report
  // nothing rather than a degenerate mark.
  const float s = ExtentRatio(params.width, search.box.halfWidth) *
                  ExtentRatio(params.height, search.box.halfHeight);
  if (!search.found || !(s > 1e-7)) return std::nullopt;
  return search.box;
}

int LocateRectangleMark(unsigned char* plane, float* para, float* result) {
  MarkParams params;
  if (result == nullptr || !EnterMarkOperation(plane, para, result, params)) return -1;
  const MarkBox box =
      FindRectangleMark(WrapPlane(plane, params.width, params.height), params).value_or(MarkBox());
  result[0] = box.centreX;
  result[1] = box.centreY;
  result[2] = box.halfWidth;
  result[3] = box.halfHeight;
  return 0;
}

}  // namespace imgtarn::template_mark
