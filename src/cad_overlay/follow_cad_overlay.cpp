// Slot 20: how well a measured pad blob covers its CAD pad inside a boundary mask.
#include <cmath>
#include <vector>

#include "cad_overlay.hpp"
#include "debug_view.hpp"
#include "para.hpp"
#include "plane.hpp"

namespace imgtarn::cad_overlay {

OverlayParams OverlayParams::FromPara(const float* para) {
  OverlayParams params;
  // Sizes are rounded here, unlike elsewhere: hosts pass them as computed floats.
  params.width = TruncToInt(static_cast<double>(para[0]) + 0.5);
  params.height = TruncToInt(static_cast<double>(para[1]) + 0.5);
  params.debug = std::fabs(static_cast<double>(para[2])) > 0.00001;
  return params;
}

float ScoreOverlay(const cv::Mat& cad, const cv::Mat& boundary, const cv::Mat& measuredPad,
                   bool debug) {
  if (debug) debug_view::CloseAll();
  // The operation works on its own copy of the measured pad: the second pass moves it.
  cv::Mat measured = measuredPad.clone();
  return BestOverlayScore(measured, cad, boundary, debug);
}

int FollowCadOverlay(unsigned char* cadPad, unsigned char* boundaryMask, unsigned char* measuredPad,
                     float* para, float* score) {
  if (cadPad == nullptr || boundaryMask == nullptr || measuredPad == nullptr) return -1;
  const OverlayParams params = OverlayParams::FromPara(para);
  *score = 0.0f;
  if (params.width <= 0 || params.height <= 0) return -1;
  *score = ScoreOverlay(WrapPlane(cadPad, params.width, params.height),
                        WrapPlane(boundaryMask, params.width, params.height),
                        WrapPlane(measuredPad, params.width, params.height), params.debug);
  return 0;
}

}  // namespace imgtarn::cad_overlay
