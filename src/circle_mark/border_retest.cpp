// Re-measuring a mark that lies close to one image border in a window pushed against it.
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "circle_mark.hpp"
#include "debug_view.hpp"
#include "para.hpp"

namespace imgtarn::circle_mark {
namespace {

// The re-test is stricter than the inside measurement (two-sided, r/6): a window pushed against
// the border may cut the disc, and a clipped run must not pass as a diameter.
bool AcceptedOnBorder(const EdgeSpan& span, float radius) {
  return std::fabs(2.0f * radius - static_cast<float>(span.Diameter())) < radius / 6.0f;
}

bool CutsColumns(Border border) { return border == Border::kRight || border == Border::kLeft; }

// The centre half a diameter in from the edge that faces away from the crossed border: that
// edge is whole even when the border cuts the disc, the other one is the image edge. The
// diameter is the one measured across the uncut axis when that passed, because both axes find
// their edges equally far inside the disc's soft rim (taking 2r instead puts the centre 0.4 px
// towards the border on average); otherwise 2r.
float CentreFromVisibleEdge(Border border, int origin, const EdgeSpan& cut, const EdgeSpan& uncut,
                            float radius) {
  const float halfRun = AcceptedOnBorder(uncut, radius)
                            ? static_cast<float>(uncut.Diameter() - 1) * 0.5f
                            : radius - 0.5f;
  if (border == Border::kRight || border == Border::kBottom)
    return static_cast<float>(origin + cut.first) + halfRun;
  return static_cast<float>(origin + cut.last) - halfRun;
}

// The edge's centre must agree with the previous coordinate (the Hough circles) to within the
// spread of their group, r/3; a stronger rise from something else in the window keeps them.
float EdgeOrPrevious(float fromEdge, float previous, float radius) {
  return std::fabs(fromEdge - previous) < radius / 3.0f ? fromEdge : previous;
}

// One axis of the re-test: the centre of its span when the diameter passes; otherwise, on the
// cut axis when `fromEdge`, the centre from the visible edge; otherwise the previous value.
float RetestedCoordinate(Border border, bool fromEdge, int origin, const EdgeSpan& span,
                         const EdgeSpan& across, float previous, float radius) {
  if (AcceptedOnBorder(span, radius)) return SpanCentre(origin, span);
  if (!fromEdge) return previous;
  return EdgeOrPrevious(CentreFromVisibleEdge(border, origin, span, across, radius), previous,
                        radius);
}

}  // namespace

bool IsInside(cv::Point2f centre, float radius, int margin, cv::Size image) {
  const float reach = radius + static_cast<float>(margin);
  return centre.x - reach >= 0.0f && centre.x + reach <= static_cast<float>(image.width) &&
         centre.y - reach >= 0.0f && centre.y + reach <= static_cast<float>(image.height);
}

Border CrossedBorder(cv::Point2f centre, float radius, int margin, cv::Size image) {
  const float reach = radius + static_cast<float>(margin);
  const bool right = centre.x + reach > static_cast<float>(image.width);
  const bool left = centre.x - reach < 0.0f;
  const bool bottom = centre.y + reach > static_cast<float>(image.height);
  const bool top = centre.y - reach < 0.0f;
  if (right + left + bottom + top != 1) return Border::kNone;
  if (right) return Border::kRight;
  if (left) return Border::kLeft;
  if (bottom) return Border::kBottom;
  return Border::kTop;
}

// The window (side 2r + 10) is aligned flush with the crossed image edge, so the whole visible
// part of the disc next to that edge is inside it; along the other axis it is centred on the
// previous centre with the usual 5-pixel margin. The borders are named right, left, bottom,
// top in that order; a plane too narrow for the disc crosses two of them and gets no window.
cv::Rect BorderWindow(Border border, cv::Point2f centre, float radius, cv::Size image) {
  const int side = TruncToInt(2.0f * radius + 10.0f);
  int x = TruncToInt(static_cast<float>(TruncToInt(centre.x)) - radius - 5.0f);
  int y = TruncToInt(static_cast<float>(TruncToInt(centre.y)) - radius - 5.0f);
  switch (border) {
    case Border::kRight:
      x = image.width - side;
      break;
    case Border::kLeft:
      x = 0;
      break;
    case Border::kBottom:
      y = image.height - side;
      break;
    case Border::kTop:
      y = 0;
      break;
    case Border::kNone:
      break;
  }
  return cv::Rect(x, y, side, side);
}

cv::Point2f RetestAtBorder(const cv::Mat& blurred, const cv::Mat& plain, Border border,
                           cv::Point2f placeAt, cv::Point2f previous, CutAxis cutAxis, float radius,
                           bool debug) {
  const cv::Rect window = BorderWindow(border, placeAt, radius, blurred.size());
  const std::optional<GradientMeasure> measure = MeasureCircleByGradient(blurred, window);
  cv::Point2f centre = previous;
  if (measure) {
    // The cut axis comes from its visible edge only when the caller asks for it.
    const bool edgeOnCut = cutAxis == CutAxis::kFromVisibleEdge;
    centre.x = RetestedCoordinate(border, edgeOnCut && CutsColumns(border), measure->window.x,
                                  measure->columns, measure->rows, previous.x, radius);
    centre.y = RetestedCoordinate(border, edgeOnCut && !CutsColumns(border), measure->window.y,
                                  measure->rows, measure->columns, previous.y, radius);
    if (debug) debug_view::Show("The new ROI", blurred(measure->window));
  }
  if (debug) debug_view::Show("Test the circle's position.", DrawMarkedCopy(plain, centre, radius));
  return centre;
}

cv::Mat DrawMarkedCopy(const cv::Mat& plain, cv::Point2f centre, float radius) {
  cv::Mat canvas = plain.clone();
  const cv::Point at(TruncToInt(centre.x), TruncToInt(centre.y));
  cv::circle(canvas, at, TruncToInt(radius), cv::Scalar(0), 1);
  const int dotRadius = TruncToInt(radius - 2.0f);
  if (dotRadius >= 0) cv::circle(canvas, at, dotRadius, cv::Scalar(0), -1);
  return canvas;
}

}  // namespace imgtarn::circle_mark
