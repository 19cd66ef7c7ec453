// The three searches for a circular mark behind slots 11, 10 and 12, on a plane whose radius
// the caller has already checked against its size.
#include <opencv2/imgproc.hpp>

#include "circle_mark.hpp"

namespace imgtarn::circle_mark {
namespace {

// The plane reduced to half size by 2 x 2 averaging; an odd last row or column is dropped so
// every half-size pixel covers exactly four samples.
cv::Mat HalfSize(const cv::Mat& src) {
  const cv::Size half(src.cols / 2, src.rows / 2);
  cv::Mat reduced;
  if (half.area() == 0) return reduced;
  cv::resize(src(cv::Rect(0, 0, half.width * 2, half.height * 2)), reduced, half, 0, 0,
             cv::INTER_AREA);
  return reduced;
}

// Half-size pixel i covers whole-plane pixels 2i and 2i + 1, whose middle is 2i + 0.5.
cv::Point2f ToWholePlane(cv::Point2f halfCentre) {
  return cv::Point2f(2.0f * halfCentre.x + 0.5f, 2.0f * halfCentre.y + 0.5f);
}

std::optional<cv::Point2f> EdgeStageAtHalfSize(const cv::Mat& src, float radius, bool debug) {
  const cv::Mat half = HalfSize(src);
  const float halfRadius = radius / 2.0f;
  if (half.empty() || !RadiusFitsPlane(halfRadius, half.size())) return std::nullopt;
  const EdgeStageOutcome outcome = LocateByEdgeCircles(half, halfRadius, debug);
  if (!IsFound(outcome.centre)) return std::nullopt;
  return ToWholePlane(*outcome.centre);
}

}  // namespace

MarkSearchOutcome SearchMarkFull(const cv::Mat& src, float radius, bool debug) {
  const EdgeStageOutcome edge = LocateByEdgeCircles(src, radius, debug);
  MarkSearchOutcome outcome{edge.centre, IsFound(edge.centre)};
  // Fewer than two edge circles means there is no mark to refine: the template search is not
  // worth its full-image Hough passes.
  if (outcome.found || edge.tooFewCircles) return outcome;
  if (const auto centre = LocateByTemplateSearch(src, radius, debug, "Original Image"))
    outcome = MarkSearchOutcome{centre, true};
  return outcome;
}

std::optional<cv::Point2f> SearchMarkQuick(const cv::Mat& src, float radius, bool debug) {
  // "Orginal" is the window's long-standing title; hosts' window layouts refer to it.
  return LocateByTemplateSearch(src, radius, debug, "Orginal Image");
}

std::optional<cv::Point2f> SearchMarkTwoScale(const cv::Mat& src, float radius, bool debug) {
  // The half-size pass is four times cheaper; the full-size pass only runs when it finds
  // nothing (a small radius does not survive halving, for example).
  if (const auto centre = EdgeStageAtHalfSize(src, radius, debug)) return centre;
  const EdgeStageOutcome full = LocateByEdgeCircles(src, radius, debug);
  if (IsFound(full.centre)) return full.centre;
  return std::nullopt;
}

}  // namespace imgtarn::circle_mark
