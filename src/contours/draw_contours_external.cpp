// Slot 6: outlines of the outer contours drawn over up to three host planes.
#include <algorithm>
#include <array>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "contour_tools.hpp"
#include "contours.hpp"
#include "debug_view.hpp"
#include "para.hpp"
#include "plane.hpp"

namespace imgtarn::contours {
namespace {

// A thickness beyond this only paints the whole plane; OpenCV refuses more than 32767 anyway.
constexpr int kMaxThickness = 255;

struct OutlineParams {
  PlaneParams plane;
  int thickness = 1;
  std::array<unsigned char, 3> levels{};
  static OutlineParams FromPara(const float* para);
};

OutlineParams OutlineParams::FromPara(const float* para) {
  OutlineParams params;
  params.plane = PlaneParams::FromPara(para);
  params.thickness = std::clamp(ParaInt(para, 3), 1, kMaxThickness);
  for (int i = 0; i < 3; ++i) params.levels[i] = ClampLevel(ParaInt(para, 5 + i));
  return params;
}

// Draws the outlines into every target that is present; returns the contour count.
int OutlineExternalContours(const cv::Mat& source, const OutlineParams& params,
                            const std::array<cv::Mat, 3>& targets) {
  const std::vector<Contour> outer = FindExternalContours(Binarize(source, params.plane.threshold));
  for (int i = 0; i < 3; ++i) {
    if (targets[i].empty()) continue;
    cv::Mat target = targets[i];
    cv::drawContours(target, outer, -1, cv::Scalar(params.levels[i]), params.thickness);
  }
  return static_cast<int>(outer.size());
}

}  // namespace

int DrawContoursAllExternal(const unsigned char* source, float* para, unsigned char* target0,
                            unsigned char* target1, unsigned char* target2) {
  if (para == nullptr) return -1;
  const OutlineParams params = OutlineParams::FromPara(para);
  const int width = params.plane.width, height = params.plane.height;
  if (!IsUsablePlane(source, width, height) || target0 == nullptr) return -1;
  std::array<cv::Mat, 3> targets{WrapPlane(target0, width, height)};
  if (target1 != nullptr) targets[1] = WrapPlane(target1, width, height);
  if (target2 != nullptr) targets[2] = WrapPlane(target2, width, height);
  const int count = OutlineExternalContours(WrapPlane(source, width, height), params, targets);
  para[8] = static_cast<float>(count);
  if (params.plane.debug) {
    debug_view::ShowAndPaint("matContoursExternal", targets[0]);
  }
  return 0;
}

}  // namespace imgtarn::contours
