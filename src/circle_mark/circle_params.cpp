// Reading the float parameters of the mark operations into typed structs.
#include "circle_mark.hpp"
#include "para.hpp"

namespace imgtarn::circle_mark {

CircleMarkParams CircleMarkParams::FromPara(const float* para) {
  CircleMarkParams params;
  params.width = ParaInt(para, 0);
  params.height = ParaInt(para, 1);
  params.radius = para[2];
  params.debug = ParaInt(para, 4) == 1;
  return params;
}

bool RadiusFitsPlane(float radius, cv::Size plane) {
  // NaN fails the first comparison; the side check keeps matchTemplate's template no larger
  // than the image it slides over.
  if (!(radius > 0.0f)) return false;
  const int side = TruncToInt(2.0f * radius + 2.0f);
  return side > 0 && side <= plane.width && side <= plane.height;
}

}  // namespace imgtarn::circle_mark
