// Template mark location: the operations of slots 14 and 18 and the pipeline they share.
//
// Both operations look for one bright fiducial of known nominal size on a dark board: a
// ladder of binarisations collects candidate polygons, a drawn template stands in when no
// polygon passes, repeated detections of one mark are folded into one candidate, and the
// first candidate's box is measured from gradient projections.
#ifndef IMGTARN_TEMPLATE_MARK_TEMPLATE_MARK_HPP
#define IMGTARN_TEMPLATE_MARK_TEMPLATE_MARK_HPP

#include <opencv2/core.hpp>
#include <optional>
#include <vector>

namespace imgtarn::template_mark {

// ---- Adapters (slots 14 and 18) ----

int LocateCrossMark(unsigned char* plane, float* para, float* result);
int LocateRectangleMark(unsigned char* plane, float* para, float* result);

// ---- Typed parameters ----

enum class MarkKind { kCross, kRectangle };

struct MarkParams {
  int width = 0;            // plane columns
  int height = 0;           // plane rows
  float markWidth = 0.0f;   // W, the mark's full nominal width
  float markHeight = 0.0f;  // H, the mark's full nominal height
  int debug = 0;
  // para[0], para[1]: plane size; para[2], para[3]: half the nominal size; para[4]: debug.
  static MarkParams FromPara(const float* para);
};

// The entry both mark operations share: zeroes the centre in result[0..1] and reads para
// into params. A missing plane, para or zero area is refused with all four results zeroed
// (false); result must not be null.
bool EnterMarkOperation(const unsigned char* plane, const float* para, float* result,
                        MarkParams& params);

// False for nominal sizes the search cannot meet: below one pixel, NaN, or larger than the
// plane (such a mark cannot lie inside it).
bool ExpectedSizeUsable(float markWidth, float markHeight, cv::Size plane);

// ---- Process-wide debug switches, one per operation ----
// 0: no debug output; 1: everything; other values: everything but the close-and-show of
// the source picture at the start of an operation.

void SetDebugSwitch(MarkKind kind, int value);
int DebugSwitch(MarkKind kind);

// ---- Pipeline ----

using Polygon = std::vector<cv::Point>;
using PolygonList = std::vector<Polygon>;

struct MarkBox {
  float centreX = 0.0f;
  float centreY = 0.0f;
  float halfWidth = 0.0f;
  float halfHeight = 0.0f;
};

// Measured size against expected size. Passes when either dimension is within tol (only
// both out of tolerance fail the first step) and the aspect ratios agree to a ratio >= tol.
bool SizeMatches(float expectedW, float expectedH, float w, float h, float tol);

// The rectangle's stricter test: each dimension's ratio >= tol and the aspect test above.
bool RectangleSizeMatches(float expectedW, float expectedH, float w, float h, float tol);

// A white plus sign with bars a third of the mark's size on a 5-pixel black margin.
cv::Mat DrawCrossTemplate(int markWidth, int markHeight, MarkKind debugKind);
// A white W x H rectangle on a 5-pixel black margin.
cv::Mat DrawRectangleTemplate(int markWidth, int markHeight, MarkKind debugKind);

// Best normalised correlation coefficient; 0 when the image is smaller than the template.
double TemplateScore(const cv::Mat& image, const cv::Mat& templ);

// Hands out the template the fallback compares against: the cross template is drawn anew
// for every comparison, the rectangle template once per operation call.
class MarkTemplates {
 public:
  MarkTemplates(MarkKind kind, float markWidth, float markHeight);
  cv::Mat Get();

 private:
  MarkKind kind_;
  int markWidth_;
  int markHeight_;
  cv::Mat rectangle_;
};

// Accepts the contour box when the image around it correlates with the mark's template
// strictly above the kind's minimum score (0.8 cross, 0.5 rectangle).
bool VerifyByTemplate(const cv::Mat& grey, const cv::Rect& box, MarkTemplates& templates,
                      MarkKind kind);

// Shape test of one ladder level: appends accepted polygons to `raw` and erases contours
// that failed the area or size test from `contours` (shape and, for the rectangle, corner
// and orientation failures stay for the fallback).
void FilterMarkPolygons(const cv::Mat& binary, PolygonList& contours, float markWidth,
                        float markHeight, MarkKind kind, PolygonList& raw);
// The reference walk that erases each rejected contour in place (quadratic in the contours).
void FilterMarkPolygonsLiteral(const cv::Mat& binary, PolygonList& contours, float markWidth,
                               float markHeight, MarkKind kind, PolygonList& raw);

// What the shape test decides for one contour: erased (keep false), kept for the fallback,
// or kept and accepted as the polygon in `accepted`.
struct ContourVerdict {
  bool keep = false;
  Polygon accepted;
};
ContourVerdict JudgeMarkContour(const Polygon& contour, float markWidth, float markHeight,
                                MarkKind kind);
// The "approxPolyDP" debug view of an accepted polygon's vertices.
void ShowAcceptedPolygon(const cv::Mat& binary, const Polygon& polygon, MarkKind kind);

// The ladder's level count (7 cross, 11 rectangle) and the image whose contours level
// `level` takes: the dilated edge map at level 0, the mask of a rising grey threshold above
// it, for the rectangle turned into the mask's gradient magnitude.
int LadderLevels(MarkKind kind);
cv::Mat LadderLevelImage(const cv::Mat& grey, int level, MarkKind kind);

// The binarisation ladder. Returns -1 for an empty image, else 0 with the merged list (one
// candidate per mark, in order of first acceptance) and the raw accepted list.
int FindMarkCandidates(const cv::Mat& grey, float markWidth, float markHeight, MarkKind kind,
                       PolygonList& merged, PolygonList& raw);

// Folds repeated detections into groups and returns each group's median-radius member.
// Returns -1 (merged left empty) when `raw` is empty.
int MergeCandidates(const PolygonList& raw, PolygonList& merged);

// Measures the mark box around `polygon` from gradient projections. Returns -1 for an empty
// polygon or image; a degenerate measurement gives a zero box with status 0.
int RefineMarkBox(const cv::Mat& grey, const Polygon& polygon, float markWidth, float markHeight,
                  MarkKind kind, MarkBox& box);

// ---- The shared body of both operations ----

struct MarkSearch {
  bool found = false;  // a candidate was refined; `box` holds its measurement
  MarkBox box;
};

// Working copy, optional source view, candidate search, list views and refinement.
MarkSearch SearchMark(const cv::Mat& plane, const MarkParams& params, MarkKind kind);

// The answers of slots 14 and 18 on a plane of params.width x params.height.
// The cross: the box of the whole mark (three times the measured central square); nothing
// when no candidate was refined. A degenerate measurement gives the zero box.
std::optional<MarkBox> FindCrossMark(const cv::Mat& plane, const MarkParams& params);
// The rectangle: the measured box; nothing when no candidate was refined or a side of the
// measurement is empty.
std::optional<MarkBox> FindRectangleMark(const cv::Mat& plane, const MarkParams& params);

}  // namespace imgtarn::template_mark

#endif  // IMGTARN_TEMPLATE_MARK_TEMPLATE_MARK_HPP
