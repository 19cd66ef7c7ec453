// A plus-shaped mark measured on its bars: the long edges of each bar (on the arms, clear of
// the other bar) place the centre, the four tips give the size.
#include <algorithm>
#include <array>
#include <cmath>

#include "fiducial.hpp"

namespace imgtarn::fiducial {
namespace {

// Profiles keep this far from the corners where bars meet and from the tips' corners.
constexpr float kCornerClearance = 1.0f;
// Plateau, fill and corner areas are read in the middle 60 % of their squares.
constexpr float kInnerShare = 0.6f;

struct Cross {
  cv::Point2f centre;
  cv::Size2f size;  // tip to tip
  cv::Size2f bar;   // width of the vertical bar, height of the horizontal bar
};

enum CrossEdge {
  kBarLeft,
  kBarRight,
  kBarTop,
  kBarBottom,
  kTipLeft,
  kTipRight,
  kTipTop,
  kTipBottom
};
constexpr std::array<CrossEdge, 8> kCrossEdges = {kBarLeft, kBarRight, kBarTop, kBarBottom,
                                                  kTipLeft, kTipRight, kTipTop, kTipBottom};

// The two arms of one bar, as spans along an edge of the other bar.
std::vector<cv::Vec2f> Arms(float half, float barHalf) {
  return {cv::Vec2f(-(half - kCornerClearance), -(barHalf + kCornerClearance)),
          cv::Vec2f(barHalf + kCornerClearance, half - kCornerClearance)};
}

std::vector<cv::Vec2f> Across(float barHalf) {
  const float inner = std::max(0.0f, barHalf - kCornerClearance);
  return {cv::Vec2f(-inner, inner)};
}

EdgeRun CrossRun(const Cross& cross, CrossEdge edge) {
  const float hw = 0.5f * cross.size.width, hh = 0.5f * cross.size.height;
  const float bw = 0.5f * cross.bar.width, bh = 0.5f * cross.bar.height;
  const cv::Point2f c = cross.centre, right(1.0f, 0.0f), below(0.0f, 1.0f);
  switch (edge) {
    case kBarLeft:
      return EdgeRun{c - right * bw, below, -right, Arms(hh, bh)};
    case kBarRight:
      return EdgeRun{c + right * bw, below, right, Arms(hh, bh)};
    case kBarTop:
      return EdgeRun{c - below * bh, right, -below, Arms(hw, bw)};
    case kBarBottom:
      return EdgeRun{c + below * bh, right, below, Arms(hw, bw)};
    case kTipLeft:
      return EdgeRun{c - right * hw, below, -right, Across(bh)};
    case kTipRight:
      return EdgeRun{c + right * hw, below, right, Across(bh)};
    case kTipTop:
      return EdgeRun{c - below * hh, right, -below, Across(bw)};
    case kTipBottom:
      break;
  }
  return EdgeRun{c + below * hh, right, below, Across(bw)};
}

// The bars' edges place the centre and the bar widths; the tips, where seen, the size.
std::optional<Cross> MeasureEdges(const cv::Mat& plane, const Cross& around, float reach,
                                  std::optional<float> level, const Cross& nominal,
                                  std::vector<EdgeLine>& lines) {
  lines.assign(kCrossEdges.size(), EdgeLine());
  for (const CrossEdge edge : kCrossEdges)
    lines[edge] = MeasureEdgeRun(plane, CrossRun(around, edge), reach, level);
  const cv::Point2f c = around.centre;
  const float hw = 0.5f * around.size.width, hh = 0.5f * around.size.height;
  const float bw = 0.5f * around.bar.width, bh = 0.5f * around.bar.height;
  const std::optional<cv::Vec2f> barX =
      AxisEdges(lines[kBarLeft], c.x - bw, lines[kBarRight], c.x + bw, nominal.bar.width);
  const std::optional<cv::Vec2f> barY =
      AxisEdges(lines[kBarTop], c.y - bh, lines[kBarBottom], c.y + bh, nominal.bar.height);
  if (!barX || !barY) return std::nullopt;
  const cv::Vec2f tipX =
      AxisEdges(lines[kTipLeft], c.x - hw, lines[kTipRight], c.x + hw, nominal.size.width)
          .value_or(cv::Vec2f(c.x - hw, c.x + hw));
  const cv::Vec2f tipY =
      AxisEdges(lines[kTipTop], c.y - hh, lines[kTipBottom], c.y + hh, nominal.size.height)
          .value_or(cv::Vec2f(c.y - hh, c.y + hh));
  Cross cross;
  cross.centre = cv::Point2f(0.5f * ((*barX)[0] + (*barX)[1]), 0.5f * ((*barY)[0] + (*barY)[1]));
  cross.bar = cv::Size2f((*barX)[1] - (*barX)[0], (*barY)[1] - (*barY)[0]);
  cross.size = cv::Size2f(tipX[1] - tipX[0], tipY[1] - tipY[0]);
  if (!PlausibleSize(cross.size, nominal.size) || !PlausibleSize(cross.bar, nominal.bar))
    return std::nullopt;
  return cross;
}

// Share of the four corner squares between the arms that is darker than `level`: a plus sign
// leaves them empty, a filled square or a pad of the same size does not.
float EmptyCorners(const cv::Mat& plane, const Cross& cross, float level) {
  const cv::Size2f corner(kInnerShare * 0.5f * (cross.size.width - cross.bar.width),
                          kInnerShare * 0.5f * (cross.size.height - cross.bar.height));
  const float dx = 0.25f * (cross.size.width + cross.bar.width);
  const float dy = 0.25f * (cross.size.height + cross.bar.height);
  float bright = 0.0f;
  for (const cv::Point2f offset :
       {cv::Point2f(-dx, -dy), cv::Point2f(dx, -dy), cv::Point2f(-dx, dy), cv::Point2f(dx, dy)})
    bright += BrightShare(plane, Box{cross.centre + offset, corner}, level);
  return 1.0f - 0.25f * bright;
}

}  // namespace

std::optional<Measurement> MeasureCross(const cv::Mat& plane, cv::Point2f start,
                                        cv::Size2f nominal) {
  // Bars a third of the mark's size, as the drawn cross template has them.
  const Cross expected{start, nominal, nominal / 3.0f};
  std::vector<EdgeLine> lines;
  const auto measure = [&](const Cross& around, float reach, std::optional<float> level) {
    return MeasureEdges(plane, around, reach, level, expected, lines);
  };
  const float smaller = std::min(nominal.width, nominal.height);
  Cross cross = expected;
  // The first round allows a guess a quarter of the mark off.
  const std::optional<float> level = SettleAtMarkLevel(
      cross, 0.25f * smaller, std::max(1.5f, 0.1f * smaller), measure, [&](const Cross& found) {
        const Box middle{found.centre, found.bar * kInnerShare};
        return 0.5f * (MedianOf(PixelsIn(plane, middle)) + DarkLevel(lines));
      });
  if (!level) return std::nullopt;

  const float fill = BrightShare(plane, Box{cross.centre, cross.bar * kInnerShare}, *level);
  const float scatter = EdgeScatter(0.5f * smaller);
  const float agreement = SizeAgreement(cross.size.width, nominal.width) *
                          SizeAgreement(cross.size.height, nominal.height);
  const float score = SupportOf(lines, scatter).Score(scatter) * fill *
                      EmptyCorners(plane, cross, *level) * agreement;
  return Measurement{cross.centre, cross.size, score};
}

}  // namespace imgtarn::fiducial
