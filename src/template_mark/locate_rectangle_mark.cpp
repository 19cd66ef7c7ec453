// Slot 18: the centre and half sizes of a bright axis-aligned rectangular fiducial.
#include <algorithm>

#include "common/plane.hpp"
#include "template_mark/template_mark.hpp"

namespace imgtarn::template_mark {
namespace {

// How well a half extent fits the plane's extent: 0 for an empty side.
float ExtentRatio(int planeExtent, float half) {
  const float extent = static_cast<float>(planeExtent);
  return std::min(extent, half) / std::max(extent, half);
}

}  // namespace

int LocateRectangleMark(unsigned char* plane, float* para, float* result) {
  MarkParams params;
  if (result == nullptr || !EnterMarkOperation(plane, para, result, params)) return -1;
  const MarkSearch search =
      SearchMark(WrapPlane(plane, params.width, params.height), params, MarkKind::kRectangle);
  // A zero side of the measured box means the refinement found no edge pair: report
  // nothing rather than a degenerate mark.
  const float s = ExtentRatio(params.width, search.box.halfWidth) *
                  ExtentRatio(params.height, search.box.halfHeight);
  const bool usable = search.found && s > 1e-7;
  result[0] = usable ? search.box.centreX : 0.0f;
  result[1] = usable ? search.box.centreY : 0.0f;
  result[2] = usable ? search.box.halfWidth : 0.0f;
  result[3] = usable ? search.box.halfHeight : 0.0f;
  return 0;
}

}  // namespace imgtarn::template_mark
