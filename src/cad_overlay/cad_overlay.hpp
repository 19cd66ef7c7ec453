// CAD overlay and pad analysis: the operations of slots 20, 26 and 27, and the mask toolkit
// beneath them (centroids, boxes, 3 x 3 growth, spill weights, band splitting, blob buffers).
#ifndef IMGTARN_CAD_OVERLAY_CAD_OVERLAY_HPP
#define IMGTARN_CAD_OVERLAY_CAD_OVERLAY_HPP

#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <vector>

namespace imgtarn::cad_overlay {

// ---- Adapters (raw arguments from the interface layer) ----

// Receives the CAD pad first: slot 20 swaps its first two arguments.
int FollowCadOverlay(unsigned char* cadPad, unsigned char* boundaryMask, unsigned char* measuredPad,
                     float* para, float* score);
int MatchPadTemplates(unsigned char* plane, float* para, float* scores, unsigned char* blobPixels,
                      int* blobRects);
int SplitPadBlobs(unsigned char* plane, float* para, float* gridShape, unsigned char* blobPixels,
                  int* blobRects);

// ---- Typed parameters ----

// para of slot 20: [0] width, [1] height (both rounded), [2] debug (|value| > 0.00001).
struct OverlayParams {
  int width = 0;
  int height = 0;
  bool debug = false;
  static OverlayParams FromPara(const float* para);
};

// para of slot 27: [0] width, [1] height, [2] polarity, [3] debug, [4] grid rows,
// [5] grid columns. A grid counts as given unless either value is 0.
struct SplitParams {
  int width = 0;
  int height = 0;
  bool brightPads = false;
  bool debug = false;
  int gridRows = 0;  // 0 when no grid is given
  int gridCols = 0;
  bool GridGiven() const { return gridRows != 0 && gridCols != 0; }
  static SplitParams FromPara(const float* para);
};

// para of slot 26: [0] width, [1] height, [2] polarity, [3] debug, [6] template count.
struct MatchParams {
  int width = 0;
  int height = 0;
  bool brightPads = false;
  bool debug = false;
  int templateCount = 0;
  static MatchParams FromPara(const float* para);
};

// ---- Mask geometry (any non-zero byte is a set pixel) ----

// Mean column and row of the set pixels by integer division; nothing without a set pixel.
std::optional<cv::Point> PixelCentroid(const cv::Mat& mask);
// Smallest rectangle holding every set pixel. An empty matrix gives (0, 0, 0, 0); a matrix
// without a set pixel gives (cols, rows, 1 - cols, 1 - rows).
cv::Rect PixelBoundingBox(const cv::Mat& mask);
// Both in one pass over the mask.
struct MaskShape {
  std::optional<cv::Point> centre;
  cv::Rect box = cv::Rect(0, 0, 0, 0);
};
MaskShape ShapeOf(const cv::Mat& mask);
cv::Rect ClampRectToImage(cv::Rect rect, int cols, int rows);
// The one of the width and height ratios cad / measured that lies nearer to 1 (tie: height).
float NearestUnitScale(const cv::Rect& measured, const cv::Rect& cad);
cv::Mat Dilate3x3(const cv::Mat& mask);
// Moves a box that reaches the right or bottom edge back to end one line short of it; a box
// as wide (or high) as the image ends up at a negative x (or y).
cv::Rect PullBackFromFarEdges(cv::Rect box, int cols, int rows);
// Sets `image` to zero and copies `part` into it with its top-left corner at `topLeft`; the
// parts that fall outside the image are cut off.
void PlaceAlone(const cv::Mat& part, cv::Point topLeft, cv::Mat& image);
// `size` scaled by `scale` with truncation; a side may become 0, and cv::resize then raises.
cv::Size ScaledSize(cv::Size size, float scale);

// ---- CAD overlay following ----

struct Alignment {
  float scaleRatio = 1.0f;
  float offsetRatioX = 1.0f;
  float offsetRatioY = 1.0f;
};
// Pass 0 measures the offsets only; pass 1 also rescales the measured blob to the CAD box and
// moves it onto the CAD centroid (rewriting `measured`). The shapes are those of the two masks
// as passed. Fails on an empty matrix or mask.
bool FollowToCad(cv::Mat& measured, const MaskShape& measuredShape, const cv::Mat& cad,
                 const MaskShape& cadShape, int pass, Alignment* alignment);

// The reference ring-growth construction of the spill weights: rings grow from the CAD pad by
// 3 x 3 steps up to the boundary and weigh from 255 / rings next to the pad to 255.
cv::Mat BuildSpillWeightMap(const cv::Mat& cad, const cv::Mat& boundary);
// The number of 3 x 3 growth steps from `cad` that change the grown mask and stay clear of
// `outside` (the ring count of BuildSpillWeightMap).
int CountInsideGrowthSteps(const cv::Mat& cad, const cv::Mat& outside);
// The same weights from one chessboard distance transform, read pixel by pixel: what the
// overlay score uses. The growth versions above are their reference.
class SpillRings {
 public:
  SpillRings(const cv::Mat& cad, const cv::Mat& boundary);
  int Rings() const { return rings_; }
  // The weight of a pixel off the pad: BuildSpillWeightMap's value wherever the CAD byte is 0.
  unsigned char WeightOffPad(int y, int x) const;

 private:
  int rings_ = 0;
  cv::Mat distance_;                       // chessboard distance to the pad, CV_16S or CV_32S
  std::vector<unsigned char> ringWeight_;  // by distance; entry rings + 1 (beyond) is 0
};
// The whole map and the ring count from the distance transform.
cv::Mat BuildSpillWeightMapFast(const cv::Mat& cad, const cv::Mat& boundary);
int CountInsideGrowthStepsFast(const cv::Mat& cad, const cv::Mat& outside);

// What every pass is scored against, built once per call: the CAD pad, the boundary and the
// spill rings around the pad, and the pad's pixel count.
struct OverlayReference {
  OverlayReference(const cv::Mat& cadPad, const cv::Mat& boundaryMask);
  cv::Mat cad;
  cv::Mat boundary;
  MaskShape cadShape;
  SpillRings rings;
  int padPixels = 0;
};
// Covered share of the CAD pad minus the weighted spill into boundary - cad (saturating); -1 on
// empty input.
double CoverageScore(const cv::Mat& measured, const OverlayReference& reference, bool debug);
// The coverage score divided by the three ratio penalties of the pass, never below 0.
double PenalisedScore(double raw, const Alignment& alignment, int pass);
// Aligns (pass 1 rewrites `measured`, whose shape as passed is `measuredShape`) and scores one
// pass; 0 when the alignment fails.
double ScoreAlignment(cv::Mat& measured, const MaskShape& measuredShape,
                      const OverlayReference& reference, int pass, bool debug);
// Both passes over the host's planes; `measured` is the operation's own copy.
float BestOverlayScore(cv::Mat& measured, const cv::Mat& cad, const cv::Mat& boundary, bool debug);
// Slot 20's score: both passes on a copy of `measuredPad`, which is left as it is.
float ScoreOverlay(const cv::Mat& cad, const cv::Mat& boundary, const cv::Mat& measuredPad,
                   bool debug);

// ---- Pad blob splitting ----

struct BinarizedPads {
  cv::Mat region;  // Otsu binarisation of the smoothed image
  cv::Mat edges;   // Otsu binarisation of the smoothed gradient magnitude
};
BinarizedPads BinarizePads(const cv::Mat& image, bool brightPads, bool debug);
// Box blur 3 x 3 and Otsu with the polarity: the binarisation of the projection method.
cv::Mat BinarizeForProjection(const cv::Mat& image, bool brightPads);

// The blobs of one split and what goes into the blob buffers.
struct BlobSplit {
  std::vector<cv::Mat> blobs;      // views into the split's own images
  std::vector<cv::Point> origins;  // x, y entries of blobRects, index i -> entries 4i, 4i+1
  int gridRows = 0;
  int gridCols = 0;
};

std::vector<std::vector<cv::Point>> KeepDominantContours(
    std::vector<std::vector<cv::Point>> contours);
std::optional<BlobSplit> ContourSplit(const cv::Mat& image, const SplitParams& params);

enum class Axis { kColumns, kRows };
// Number of pixels equal to 255 in each column (kColumns) or each row (kRows).
std::vector<int> FullPixelProfile(const cv::Mat& binary, Axis axis);
struct Band {
  int start = 0;
  int length = 0;  // index of the closing zero entry minus start
  long long mass = 0;
  int End() const { return start + length; }
};
// Closed runs of non-zero entries; a run still open at the end of the profile is left out.
std::vector<Band> CollectBands(const std::vector<int>& profile);
// The band of greatest mass (equal masses: the first).
std::optional<Band> FindStrongestBand(const std::vector<int>& profile);
// From bands sorted by mass (greatest first): the first `expected` ones, or with expected 0
// the leading run of alike masses, after which `expected` holds the number kept.
std::vector<Band> ChooseBands(const std::vector<Band>& byMass, int& expected);
// Splits a band crop along `axis` into blobs (each one line longer than its band) and appends
// each blob's first line to `positions`. Fails when the crop holds no closed band.
bool SplitBand(const cv::Mat& crop, Axis axis, bool brightPads, bool debug, int& expected,
               std::vector<int>& positions, std::vector<cv::Mat>& blobs);
std::optional<BlobSplit> ProjectionSplit(const cv::Mat& image, const SplitParams& params);

// Contour method first, projection method when it finds no contour at all.
std::optional<BlobSplit> SplitPads(const cv::Mat& image, const SplitParams& params);
// Appends each blob's pixels to `blobPixels` and writes widths and heights to `blobRects`
// (either may be null).
void WriteBlobs(const std::vector<cv::Mat>& blobs, unsigned char* blobPixels, int* blobRects);

// ---- Pad template matching ----

std::vector<cv::Mat> LoadTemplates(const unsigned char* blobPixels, const int* blobRects, int count,
                                   bool debug);
float MatchOneTemplate(const cv::Mat& scene, const cv::Mat& templ);
// Slot 26's scores: each template (CV_8UC1; empty ones score 0) against the Otsu-binarised
// image, in order.
std::vector<float> ScorePadTemplates(const cv::Mat& image, const std::vector<cv::Mat>& templates,
                                     bool brightPads, bool debug);
double ShapeAgreement(cv::Mat patch, const cv::Mat& templ);
void FollowPatch(cv::Mat& patch, const cv::Mat& templ);

}  // namespace imgtarn::cad_overlay

#endif  // IMGTARN_CAD_OVERLAY_CAD_OVERLAY_HPP
