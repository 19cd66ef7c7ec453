// A rectangular mark measured on its four sides: profiles across the middle of each side
// (clear of rounded corners and of traces that join at them), the box between the sides.
#include <algorithm>
#include <cmath>

#include "fiducial.hpp"

namespace imgtarn::fiducial {
namespace {

// Profiles cover the middle 60 % of each side.
constexpr float kMiddleShare = 0.3f;
// The plateau level is read in the middle 60 % of the box, clear of the blurred edges.
constexpr float kPlateauShare = 0.6f;

enum Side { kLeft, kRight, kTop, kBottom };

EdgeRun SideRun(const Box& box, Side side) {
  const float hw = 0.5f * box.size.width, hh = 0.5f * box.size.height;
  const cv::Vec2f down(-kMiddleShare * box.size.height, kMiddleShare * box.size.height);
  const cv::Vec2f across(-kMiddleShare * box.size.width, kMiddleShare * box.size.width);
  const cv::Point2f right(1.0f, 0.0f), below(0.0f, 1.0f);
  switch (side) {
    case kLeft:
      return EdgeRun{box.centre - right * hw, below, -right, {down}};
    case kRight:
      return EdgeRun{box.centre + right * hw, below, right, {down}};
    case kTop:
      return EdgeRun{box.centre - below * hh, right, -below, {across}};
    case kBottom:
      break;
  }
  return EdgeRun{box.centre + below * hh, right, below, {across}};
}

// The box between the four sides measured around `around`; an unseen side lies the nominal
// size from the seen one.
std::optional<Box> MeasureSides(const cv::Mat& plane, const Box& around, float reach,
                                std::optional<float> level, cv::Size2f nominal,
                                std::vector<EdgeLine>& lines) {
  lines.assign(4, EdgeLine());
  for (const Side side : {kLeft, kRight, kTop, kBottom})
    lines[side] = MeasureEdgeRun(plane, SideRun(around, side), reach, level);
  const float hw = 0.5f * around.size.width, hh = 0.5f * around.size.height;
  const std::optional<cv::Vec2f> x = AxisEdges(lines[kLeft], around.centre.x - hw, lines[kRight],
                                               around.centre.x + hw, nominal.width);
  const std::optional<cv::Vec2f> y = AxisEdges(lines[kTop], around.centre.y - hh, lines[kBottom],
                                               around.centre.y + hh, nominal.height);
  if (!x || !y) return std::nullopt;
  const Box box{cv::Point2f(0.5f * ((*x)[0] + (*x)[1]), 0.5f * ((*y)[0] + (*y)[1])),
                cv::Size2f((*x)[1] - (*x)[0], (*y)[1] - (*y)[0])};
  if (!PlausibleSize(box.size, nominal)) return std::nullopt;
  return box;
}

// The largest share of mark-bright pixels just beyond the middle of a side that was not seen
// and so lies the nominal size from its opposite. Beyond a real mark's side is board, or
// nothing when the image border cuts the mark; the end of a longer bar or pad of the mark's
// width has no far side to see and is bright where that side would be.
float BrightBeyondUnseenSides(const cv::Mat& plane, const Box& box, float level,
                              const std::vector<EdgeLine>& lines) {
  const float depth = std::max(2.0f, 0.25f * std::min(box.size.width, box.size.height));
  const float gap = 1.5f;  // past the blurred edge
  const cv::Size2f across(kPlateauShare * box.size.width, depth);
  const cv::Size2f down(depth, kPlateauShare * box.size.height);
  const cv::Point2f dx(0.5f * box.size.width + gap + 0.5f * depth, 0.0f);
  const cv::Point2f dy(0.0f, 0.5f * box.size.height + gap + 0.5f * depth);
  const Box beyond[] = {{box.centre - dx, down},
                        {box.centre + dx, down},
                        {box.centre - dy, across},
                        {box.centre + dy, across}};
  float brightest = 0.0f;
  for (const Side side : {kLeft, kRight, kTop, kBottom})
    if (!Seen(lines[side]))
      brightest = std::max(brightest, BrightShare(plane, beyond[side], level));
  return brightest;
}

}  // namespace

std::optional<Measurement> MeasureRectangle(const cv::Mat& plane, cv::Point2f start,
                                            cv::Size2f nominal) {
  std::vector<EdgeLine> lines;
  const auto measure = [&](const Box& around, float reach, std::optional<float> level) {
    return MeasureSides(plane, around, reach, level, nominal, lines);
  };
  const float smaller = std::min(nominal.width, nominal.height);
  Box box{start, nominal};
  // The first round allows a guess a quarter of the mark off.
  const std::optional<float> level = SettleAtMarkLevel(
      box, 0.25f * smaller, std::max(1.5f, 0.1f * smaller), measure, [&](const Box& found) {
        const Box plateau{found.centre, found.size * kPlateauShare};
        return 0.5f * (MedianOf(PixelsIn(plane, plateau)) + DarkLevel(lines));
      });
  if (!level) return std::nullopt;

  // A mark stands alone: board beyond its unseen sides, not more of the same bright shape.
  const float alone = 1.0f - BrightBeyondUnseenSides(plane, box, *level, lines);
  const float fill = BrightShare(plane, Box{box.centre, box.size * kPlateauShare}, *level) * alone;
  const float agreement =
      SizeAgreement(box.size.width, nominal.width) * SizeAgreement(box.size.height, nominal.height);
  const float scatter = EdgeScatter(0.5f * smaller);
  return Measurement{box.centre, box.size,
                     SupportOf(lines, scatter).Score(scatter) * fill * agreement};
}

}  // namespace imgtarn::fiducial
