// Reading the template-mark operations' parameter array.
#include <cmath>

#include "para.hpp"
#include "plane.hpp"
#include "template_mark.hpp"

namespace imgtarn::template_mark {

MarkParams MarkParams::FromPara(const float* para) {
  MarkParams params;
  params.width = ParaInt(para, 0);
  params.height = ParaInt(para, 1);
  // The host passes half sizes; the pipeline works with the full nominal size.
  params.markWidth = 2.0f * para[2];
  params.markHeight = 2.0f * para[3];
  params.debug = ParaInt(para, 4);
  return params;
}

bool EnterMarkOperation(const unsigned char* plane, const float* para, float* result,
                        MarkParams& params) {
  result[0] = 0.0f;
  result[1] = 0.0f;
  params = para != nullptr ? MarkParams::FromPara(para) : MarkParams();
  if (IsUsablePlane(plane, params.width, params.height)) return true;
  result[2] = 0.0f;
  result[3] = 0.0f;
  return false;
}

bool ExpectedSizeUsable(float markWidth, float markHeight, cv::Size plane) {
  // Written as positive comparisons so that NaN fails them too. Below one pixel the
  // templates would be empty; beyond the plane no contour of that size can exist and the
  // template buffers would only grow without bound.
  return markWidth >= 1.0f && markHeight >= 1.0f && markWidth <= static_cast<float>(plane.width) &&
         markHeight <= static_cast<float>(plane.height);
}

}  // namespace imgtarn::template_mark
