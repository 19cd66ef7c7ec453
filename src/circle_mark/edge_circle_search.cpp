// Stage 1 of the mark location: Hough circles on Canny edges, checked against the template
// estimate and refined by the gradient measurement.
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "circle_mark.hpp"
#include "debug_view.hpp"
#include "para.hpp"

namespace imgtarn::circle_mark {
namespace {

// Above this correlation a mark at the border is taken from the template without re-testing.
constexpr float kBorderTemplateScore = 0.95f;
constexpr int kInsideMargin = 5;
// The grouped centre of step "no candidate" is measured with a slightly tighter window.
constexpr int kGroupMargin = 4;
constexpr char kDebugFile[] = "D:\\picture\\Result\\121401.bmp";

struct EdgeStage {
  const cv::Mat& plain;    // untouched copy for the debug file and views
  const cv::Mat& blurred;  // every gradient measurement cuts its window from here
  float radius;
  bool debug;
  CircleEstimate found;  // the template estimate
};

float Distance(const cv::Vec3f& circle, cv::Point2f point) {
  return std::hypot(circle[0] - point.x, circle[1] - point.y);
}

// Thresholds drop one step per pass until the list is settled, for at most 7 passes.
CircleList EdgeHoughCircles(const cv::Mat& edges, float radius) {
  CircleList circles;
  float param1 = 120.0f;
  int param2 = 15;
  const int whole = TruncToInt(radius);
  for (int pass = 0; pass < 7; ++pass) {
    if (circles.size() < 5) {
      circles = HoughGradientCircles(edges, param1, param2, whole - 2, whole + 2);
      param1 -= 1.0f;
      param2 -= 1;
    }
    if (EdgeCircleListSettled(circles.size(), pass)) break;
  }
  return circles;
}

// The first circle in Hough order near the template estimate; a later, closer one never
// replaces it.
std::optional<cv::Point2f> FirstCircleNear(const CircleList& circles, cv::Point2f estimate,
                                           float limit) {
  for (const cv::Vec3f& circle : circles)
    if (Distance(circle, estimate) < limit) return cv::Point2f(circle[0], circle[1]);
  return std::nullopt;
}

void ShowGradientResult(const EdgeStage& stage, const cv::Rect& window, cv::Point2f centre) {
  cv::Mat canvas = stage.blurred.clone();
  cv::rectangle(canvas, window, cv::Scalar(255), 1);
  cv::circle(canvas, cv::Point(TruncToInt(centre.x), TruncToInt(centre.y)),
             TruncToInt(stage.radius), cv::Scalar(255), 1);
  debug_view::Show("Using Grad method found the best circle.", canvas);
  debug_view::Write(kDebugFile, DrawMarkedCopy(stage.plain, centre, stage.radius));
}

// Measures a square of side 2r + 2 margin centred on `centre`. The test is one-sided on
// purpose: a measured diameter larger than 2r is always accepted; a clearly short one falls
// back to `fallback` on that axis.
cv::Point2f MeasureAround(const EdgeStage& stage, cv::Point2f centre, int margin,
                          cv::Point2f fallback) {
  const float r = stage.radius;
  const int side = TruncToInt(2.0f * r + static_cast<float>(2 * margin));
  const int x0 =
      TruncToInt(static_cast<float>(TruncToInt(centre.x)) - r - static_cast<float>(margin));
  const int y0 =
      TruncToInt(static_cast<float>(TruncToInt(centre.y)) - r - static_cast<float>(margin));
  const std::optional<GradientMeasure> measure =
      MeasureCircleByGradient(stage.blurred, cv::Rect(x0, y0, side, side));
  cv::Point2f result = fallback;
  if (!measure) return result;
  if (2.0f * r - static_cast<float>(measure->columns.Diameter()) < r / 9.0f)
    result.x = SpanCentre(measure->window.x, measure->columns);
  if (2.0f * r - static_cast<float>(measure->rows.Diameter()) < r / 9.0f)
    result.y = SpanCentre(measure->window.y, measure->rows);
  if (stage.debug) ShowGradientResult(stage, measure->window, result);
  return result;
}

// A re-tested centre counts only with both coordinates positive.
std::optional<cv::Point2f> RetestOrNothing(const EdgeStage& stage, Border border,
                                           cv::Point2f placeAt, cv::Point2f previous,
                                           CutAxis cutAxis) {
  const cv::Point2f centre = RetestAtBorder(stage.blurred, stage.plain, border, placeAt, previous,
                                            cutAxis, stage.radius, stage.debug);
  if (centre.x > 0.0f && centre.y > 0.0f) return centre;
  return std::nullopt;
}

std::optional<cv::Point2f> CentreFromCandidate(const EdgeStage& stage, cv::Point2f candidate) {
  const cv::Point2f estimate(stage.found.x, stage.found.y);
  // The Hough candidate only decides that the measurement runs; the window is centred on the
  // template estimate, which is also where a rejected axis falls back to.
  if (IsInside(candidate, stage.radius, kInsideMargin, stage.blurred.size()))
    return MeasureAround(stage, estimate, kInsideMargin, estimate);
  const Border border = CrossedBorder(candidate, stage.radius, kInsideMargin, stage.blurred.size());
  // A corner (two borders) is left to stage 2, whose scoring favours clipped marks.
  if (border == Border::kNone) return std::nullopt;
  if (TemplateWinsAtBorder(stage.found.score)) return estimate;
  // The Hough candidate is the previous centre the re-test keeps on a rejected axis, also on a
  // cut one: the candidate lies within r/10 of the template estimate, and a template that must
  // stay inside the plane cannot reach a cut centre, so a disc cut by c r comes back at least
  // (c - 0.1) r + 1 px inward on that axis. Such marks mostly reach the grouped branch instead.
  return RetestOrNothing(stage, border, candidate, candidate, CutAxis::kKeepPrevious);
}

void ShowAllCircles(const EdgeStage& stage, const CircleList& circles) {
  cv::Mat canvas = stage.plain.clone();
  for (const cv::Vec3f& circle : circles)
    cv::circle(canvas, cv::Point(cvRound(circle[0]), cvRound(circle[1])), cvRound(circle[2]),
               cv::Scalar(255), 1);
  debug_view::Show("All Found Circles In Edges by HoughCircles", canvas);
}

// No circle agrees with the template: group the circles around the first one. Only a single
// tight group (nothing farther than r from circle 0, at least one circle within r/3 of it) is
// trusted; any other shape of the list (a far group, an empty near group, a mean in a corner)
// is left to stage 2. The group's mean places the measuring window. An axis whose measurement
// is rejected falls back to circle 0 itself, not to the mean: the template estimate has just
// been shown to be elsewhere, and the later, weaker circles drift inward. The exception is the
// axis a border cuts in the re-test: no window sees both of its edges, so it comes from the
// whole edge half a diameter inward. On synthetic discs cut by 15 to 70 % of r (radii 8 to 60,
// 558 cases) that is within 1 px in 99 % of cases, worst 1.15 px; circle 0 was within 1 px in
// 81 %, worst 2.6 px, the group mean worse still.
std::optional<cv::Point2f> CentreFromGroups(const EdgeStage& stage, const CircleList& circles) {
  if (stage.debug) ShowAllCircles(stage, circles);
  const cv::Point2f reference(circles[0][0], circles[0][1]);
  cv::Point2f sum(0.0f, 0.0f);
  int nearCount = 0;
  bool farGroup = false;
  for (size_t i = 1; i < circles.size(); ++i) {
    const float distance = Distance(circles[i], reference);
    if (distance < stage.radius / 3.0f) {
      sum += cv::Point2f(circles[i][0], circles[i][1]);
      ++nearCount;
    } else if (distance > stage.radius) {
      farGroup = true;
    }
  }
  if (farGroup || nearCount == 0) return std::nullopt;
  const cv::Point2f mean = sum / static_cast<float>(nearCount);
  if (IsInside(mean, stage.radius, kGroupMargin, stage.blurred.size()))
    return MeasureAround(stage, mean, kGroupMargin, reference);
  const Border border = CrossedBorder(mean, stage.radius, kGroupMargin, stage.blurred.size());
  if (border == Border::kNone) return std::nullopt;
  return RetestOrNothing(stage, border, mean, reference, CutAxis::kFromVisibleEdge);
}

}  // namespace

// Between 5 and 10 circles is a useful list; a long list in the first two passes is accepted
// as it is.
bool EdgeCircleListSettled(std::size_t circles, int pass) {
  if (circles >= 5 && circles <= 10) return true;
  return circles > 10 && pass <= 1;
}

bool TemplateWinsAtBorder(float templateScore) { return templateScore >= kBorderTemplateScore; }

EdgeStageOutcome LocateByEdgeCircles(const cv::Mat& src, float radius, bool debug) {
  const cv::Mat plain = src.clone();
  const cv::Mat blurred = SmoothPlane(src);
  cv::Mat edges;
  cv::Canny(blurred, edges, 120, 255, 3, false);
  if (debug) debug_view::Show("Edges Image", edges);
  const cv::Mat opened = OpenTwice(blurred);
  const CircleEstimate found = FindDiscByTemplate(opened, MakeDiscTemplate(radius), radius, debug);

  const CircleList circles = EdgeHoughCircles(edges, radius);
  EdgeStageOutcome outcome;
  if (circles.size() <= 1) {
    outcome.tooFewCircles = true;
    return outcome;
  }
  const EdgeStage stage{plain, blurred, radius, debug, found};
  const std::optional<cv::Point2f> candidate =
      FirstCircleNear(circles, cv::Point2f(found.x, found.y), radius / 10.0f);
  outcome.centre =
      candidate ? CentreFromCandidate(stage, *candidate) : CentreFromGroups(stage, circles);
  return outcome;
}

}  // namespace imgtarn::circle_mark
