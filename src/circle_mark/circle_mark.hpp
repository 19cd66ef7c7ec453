// Circle mark location: the operations of slots 2 to 5, 10 to 12 and 17, and the toolkit
// beneath them (disc template, template search, gradient measurement, closing circle).
#ifndef IMGTARN_CIRCLE_MARK_CIRCLE_MARK_HPP
#define IMGTARN_CIRCLE_MARK_CIRCLE_MARK_HPP

#include <cstddef>
#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <vector>

namespace imgtarn::circle_mark {

// ---- Adapters (raw arguments from the interface layer) ----
int HoughCircleDemo(unsigned char* path);
int DetectCirclesSmoothed(unsigned char* plane, float* para, int paraCount, float* result);
int DetectCirclesFromText(unsigned char* plane, char** texts, float* result);
int DetectCirclesPlain(unsigned char* plane, int width, int height, float radius, float param1,
                       float* result);
int LocateCircleMarkQuick(unsigned char* plane, float* para, float* result);
int LocateCircleMark(unsigned char* plane, float* para, float* result);
int LocateCircleMarkRoi(unsigned char* plane, float* para, float* result);
int AdjustCircleEdges(unsigned char* plane, float* para, float* result);

// ---- Typed parameters ----

// para of slots 10, 11 and 12: [0] width, [1] height, [2] radius, [4] debug (1 = on).
struct CircleMarkParams {
  int width = 0;
  int height = 0;
  float radius = 0.0f;
  bool debug = false;
  static CircleMarkParams FromPara(const float* para);
};

// True when a disc template for `radius` fits inside the plane, so the template search and
// every window derived from it are defined.
bool RadiusFitsPlane(float radius, cv::Size plane);

// ---- Toolkit ----

// Centre x, centre y, radius and correlation score of a template match.
struct CircleEstimate {
  float x = 0.0f;
  float y = 0.0f;
  float radius = 0.0f;
  float score = 0.0f;
};

using CircleList = std::vector<cv::Vec3f>;

cv::Mat MakeDiscTemplate(float radius);
CircleEstimate FindDiscByTemplate(const cv::Mat& image, const cv::Mat& disc, float radius,
                                  bool debug);
std::optional<cv::Point> ClosingCircleCentre(const cv::Mat& image, float radius, bool debug);

// Edge indexes of one profile: the first bright index after the rise and the last before the
// fall. Diameter() is the measured width of the bright run.
struct EdgeSpan {
  int first = 0;
  int last = -1;
  int Diameter() const { return last - first + 1; }
};
struct GradientMeasure {
  cv::Rect window;  // the window actually measured (clipped to the image)
  EdgeSpan columns;
  EdgeSpan rows;
};
// Measures the bright disc inside `window` of `image`; nothing when the window lies outside.
std::optional<GradientMeasure> MeasureCircleByGradient(const cv::Mat& image, cv::Rect window);
// The centre coordinate a span gives when the window starts at `origin`.
float SpanCentre(int origin, const EdgeSpan& span);

void DrawValueText(cv::Mat& image, double value, cv::Point origin);
// One tile per circle (dot, outline and, with captions, radius/x/y), two tiles per row.
cv::Mat CircleMosaic(const CircleList& circles, const cv::Mat& image, bool captions);
void ShowCircleMosaic(const CircleList& circles, const cv::Mat& image, const std::string& title);
// Radius at (5, 30), x at (150, 30), y at (250, 30).
void CaptionCircle(cv::Mat& image, float x, float y, float radius);

// Hough circles with the gradient method, dp 1 and minDist 1, on `image` alone (a view is
// searched as a copy, blind to the pixels around it). Windows the library computed itself are
// passed here, never anything that could fail OpenCV's own checks.
CircleList HoughGradientCircles(const cv::Mat& image, double param1, double param2, int minRadius,
                                int maxRadius);

// Gaussian 3 x 3 smoothing and two 5 x 5 rectangle openings, the preparation both stages use.
cv::Mat SmoothPlane(const cv::Mat& src);
cv::Mat OpenTwice(const cv::Mat& smooth);

// ---- Mark search stages ----

// Stage 1: Canny edges, Hough circles checked against the template estimate, gradient
// measurement and the border re-test.
struct EdgeStageOutcome {
  bool tooFewCircles = false;  // fewer than two Hough circles: the search ends here
  std::optional<cv::Point2f> centre;
};
EdgeStageOutcome LocateByEdgeCircles(const cv::Mat& src, float radius, bool debug);
// Stage 1's Hough list is settled with 5 to 10 circles, or more than 10 in passes 0 and 1;
// otherwise the next pass searches again with both thresholds one lower.
bool EdgeCircleListSettled(std::size_t circles, int pass);
// A mark near one border is taken from the template estimate at a score of 0.95 or more.
bool TemplateWinsAtBorder(float templateScore);

// Stage 2 and the whole of the quick search: template, Hough inside the matched region, the
// closing circle and the scored full-image search. `sourceTitle` names the source window.
std::optional<cv::Point2f> LocateByTemplateSearch(const cv::Mat& src, float radius, bool debug,
                                                  const std::string& sourceTitle);
// What settles the template search, in order: a template score of 0.85 or more; else five or
// more Hough circles in the matched region (0.17 each against 0.85, in floats); else the
// scored search of the whole plane.
enum class TemplateEvidence { kTemplate, kClosingCircle, kFullImage };
TemplateEvidence WeighTemplateEvidence(float templateScore, std::size_t regionCircles);

// A centre both of whose coordinates are non-zero: the host's sign of a found mark.
// True when a circle of `radius` plus `margin` lies wholly inside the image.
bool IsInside(cv::Point2f centre, float radius, int margin, cv::Size image);

inline bool IsFound(const std::optional<cv::Point2f>& centre) {
  return centre && centre->x != 0.0f && centre->y != 0.0f;
}

// ---- The three mark searches (slots 11, 10 and 12) on a plane RadiusFitsPlane accepts ----

// `centre` is the last centre the search wrote: when `found` is false it may still hold the
// edge stage's answer with a zero coordinate.
struct MarkSearchOutcome {
  std::optional<cv::Point2f> centre;
  bool found = false;
};
// The edge stage, then the template search when the edge stage saw circles but no centre.
MarkSearchOutcome SearchMarkFull(const cv::Mat& src, float radius, bool debug);
// The template search alone.
std::optional<cv::Point2f> SearchMarkQuick(const cv::Mat& src, float radius, bool debug);
// The edge stage at half size, then at full size when that finds nothing.
std::optional<cv::Point2f> SearchMarkTwoScale(const cv::Mat& src, float radius, bool debug);

// ---- Border handling of the edge-circle stage ----
enum class Border { kNone, kRight, kLeft, kBottom, kTop };

// The single border that a circle of `radius` plus `margin` crosses; kNone when it crosses
// none or more than one (a corner).
Border CrossedBorder(cv::Point2f centre, float radius, int margin, cv::Size image);
cv::Rect BorderWindow(Border border, cv::Point2f centre, float radius, cv::Size image);
// What a rejected diameter on the axis that crosses the border gives: the previous coordinate,
// or the centre half a diameter in from the disc's edge that faces away from the border.
enum class CutAxis { kKeepPrevious, kFromVisibleEdge };
// Re-measures in the border window placed for `placeAt`; the result keeps `previous` on every
// rejected axis except a cut one asked to come from its visible edge.
cv::Point2f RetestAtBorder(const cv::Mat& blurred, const cv::Mat& plain, Border border,
                           cv::Point2f placeAt, cv::Point2f previous, CutAxis cutAxis, float radius,
                           bool debug);
// A copy with the result circle (value 0) and a filled disc of radius r - 2 (debug views).
cv::Mat DrawMarkedCopy(const cv::Mat& plain, cv::Point2f centre, float radius);

// ---- Direct Hough detection (slots 3 to 5) ----
struct DirectHoughParams {
  int width = 0;
  int height = 0;
  float radius = 0.0f;
  double param1 = 0.0;
  int minRadius = 0;
  int maxRadius = 0;
  bool debug = false;  // slot 3's para[4] = 1
  // Slot 3: para[0] width, [1] height, [2] radius, [3] threshold, [4] debug, [9] tolerance
  // (read only when paraCount > 9).
  static DirectHoughParams FromPara(const float* para, int paraCount);
  // Slot 4: width, height, radius and threshold as texts.
  static DirectHoughParams FromTexts(char** texts);
};
// The search of radii trunc(radius - tolerance) .. trunc(radius + tolerance) with Canny
// threshold param1 (the plane size is left 0).
DirectHoughParams RadiusBand(float radius, int tolerance, double param1);
// The circle whose radius is nearest `radius` (ties keep the earlier one); nothing when empty.
std::optional<cv::Vec3f> NearestRadiusCircle(const CircleList& circles, float radius);
struct OneCircleSearch {
  CircleList circles;             // every circle of the band, in Hough order
  std::optional<cv::Vec3f> best;  // x, y, radius of the one nearest the radius asked for
};
// Searches the smoothed plane and picks; nothing for a radius of 0 or below, NaN, or beyond the
// plane's longer side.
OneCircleSearch DetectOneCircle(const cv::Mat& smooth, const DirectHoughParams& params);

// ---- Edge adjustment (slot 17) ----
// para of slot 17: [0] width, [1] height, [2], [3] centre x, y, [4] radius.
struct CircleEdgeParams {
  int width = 0;
  int height = 0;
  cv::Point2f centre;
  float radius = 0.0f;
  static CircleEdgeParams FromPara(const float* para);
};
struct EllipseFit {
  cv::Point2f centre;
  float semiAxisA = 0.0f;  // half of the first axis of cv::fitEllipse's box
  float semiAxisB = 0.0f;
  float angle = 0.0f;  // degrees, as cv::fitEllipse reports it
};
std::vector<cv::Point2f> StrongestRayEdges(const cv::Mat& plane, cv::Point2f centre, float radius);
std::optional<EllipseFit> FitCircleEdges(const cv::Mat& plane, cv::Point2f centre, float radius);

}  // namespace imgtarn::circle_mark

#endif  // IMGTARN_CIRCLE_MARK_CIRCLE_MARK_HPP
