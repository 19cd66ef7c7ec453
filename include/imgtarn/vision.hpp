// imgtarn vision — the typed C++ API of imgtarn's operations, for new code.
//
// libimgtarn-vision.so runs the same routines as the operations of libimgtarn.so and gives
// the same numbers, but takes cv::Mat images, an options struct per operation and returns
// results with named fields; no parameter array and no result index appears here. Link it
// with find_package(imgtarn) and target imgtarn::vision, or pkg-config imgtarn-vision.
//
// Conventions shared by every function
// - Images: cv::Mat of the type each function names (grey: CV_8UC1; colour: CV_8UC3 in
//   OpenCV's blue, green, red channel order; height maps: CV_32FC1), two-dimensional, at least
//   one pixel. A view into a larger image (an ROI) is worked on as an image of its own: nothing
//   outside it is read. Inputs are never written.
// - Pixel coordinates: x is the column and y the row from the top-left pixel of the image
//   passed, in pixels; the centre of the top-left pixel is (0, 0).
// - Options: plain structs whose fields hold the value a caller usually wants; `{}` takes
//   them all, and a caller sets only what differs: `options.radius = 12.5f;`.
// - Exceptions: imgtarn::InvalidArgument (a std::invalid_argument) for an argument the
//   operation cannot work on; what() starts with the argument's name ("image: ...",
//   "radius: ..."). cv::Exception raised inside OpenCV passes unchanged. Nothing leaks.
// - Not found is not an error: results carry `found`.
// - Threads: functions keep no state; calls on different images may run at the same time.
//   Debug output (`debug = true`) shows windows and may write files; such calls must not run
//   concurrently with each other.
#ifndef IMGTARN_VISION_HPP
#define IMGTARN_VISION_HPP

#include <opencv2/core.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#define IMGTARN_VISION_API __attribute__((visibility("default")))

namespace imgtarn {

// An argument the operation cannot work on. what() is "<argument>: <problem>".
class IMGTARN_VISION_API InvalidArgument : public std::invalid_argument {
 public:
  InvalidArgument(const std::string& argument, const std::string& problem);
  // The name of the argument or option field, e.g. "image" or "radius".
  const std::string& argument() const noexcept { return argument_; }

 private:
  std::string argument_;
};

// ---- Circular marks ---------------------------------------------------------------------

enum class CircleMethod {
  Full,      // slot 11: the edge search, then the template search when it saw circles but no
             // centre
  Quick,     // slot 10: the template search alone; the one for small marks (radius below 12)
  TwoScale,  // slot 12: the edge search at half size, then at full size
};

struct CircleMarkOptions {
  float radius = 20.0f;  // nominal radius of the mark in pixels
  CircleMethod method = CircleMethod::Full;
  bool debug = false;  // show the search's windows; Full also writes
                       // "D:\picture\Result\121401.bmp" after a measurement
};

struct CircleMarkResult {
  bool found = false;
  cv::Point2f centre;   // (0, 0) when not found
  float radius = 0.0f;  // the nominal radius when found, else 0
};

// Locates one bright filled circular mark of known radius in a grey image. The edge search:
// Hough circles on Canny edges checked against a disc-template estimate and refined by
// gradient profiles (marks within 5 px of a border re-measured in a window flush with it). The
// template search: disc-template correlation (a score of 0.85 or more wins), else five or more
// Hough circles in the matched region give the centre of their enclosing circle, else a scored
// search of the whole image. TwoScale maps half-size centres back as 2 x + 0.5.
//   image: CV_8UC1. options: radius (default 20), method (default Full), debug (off).
//   Full finds centres to about 1 px; a small clean mark (radius below about 12) often gives
//   no answer with Full: use Quick. TwoScale's half-size centres are good to about 2 px.
//   Result: found, centre, radius (= options.radius when found).
//   Throws InvalidArgument: image not CV_8UC1 or empty; radius not above 0, or its disc
//   template (side 2 radius + 2) larger than the image.
//   Example: const imgtarn::CircleMarkResult mark = imgtarn::LocateCircleMark(grey, {20.0f});
//            if (mark.found) std::cout << mark.centre;
IMGTARN_VISION_API CircleMarkResult LocateCircleMark(const cv::Mat& image,
                                                     const CircleMarkOptions& options = {});

struct HoughCircleOptions {
  float radius = 20.0f;  // the radius looked for, in pixels
  int tolerance = 5;     // radii searched: trunc(radius - tolerance) .. trunc(radius + tolerance)
  double threshold = 60.0;  // upper Canny threshold of the Hough search (OpenCV's param1)
};

// Finds the one circle of a given radius by a single Hough search (gradient method, 15 votes)
// on the image smoothed 3 x 3: of the circles found, the one whose radius is nearest wins (ties
// keep Hough order). No template and no fall-back: the direct search of slots 3 and 5 (slot 5
// is tolerance 2).
//   image: CV_8UC1. options: radius (default 20), tolerance (5), threshold (60).
//   Result: found, centre, radius (the radius of the circle found, not options.radius).
//   Throws InvalidArgument: image not CV_8UC1 or empty; radius not above 0 or beyond the
//   image's longer side; tolerance below 0; threshold not above 0.
//   Example: imgtarn::HoughCircleOptions options;
//            options.tolerance = 2;  // slot 5's band
//            imgtarn::CircleMarkResult circle = imgtarn::DetectHoughCircle(grey, options);
IMGTARN_VISION_API CircleMarkResult DetectHoughCircle(const cv::Mat& image,
                                                      const HoughCircleOptions& options = {});

struct CircleEdgeOptions {
  float radius = 20.0f;  // the circle's radius as far as it is known, in pixels
};

struct CircleEdgeResult {
  bool found = false;
  cv::Point2f centre;   // centre of the ellipse fitted to the edge points
  cv::Size2f semiAxes;  // its two semi-axes (cv::fitEllipse's box width / 2 and height / 2)
  float angle = 0.0f;   // its angle in degrees, as cv::fitEllipse reports it
};

// Refines a circle whose centre and radius are roughly known (slot 17): on 72 rays from
// `centre`, from 0.5 to 1.5 radii, the strongest radial Sobel edge of the image smoothed
// 3 x 3 (either polarity); rays with less than a quarter of the strongest edge are dropped and
// the rest fitted with cv::fitEllipse.
//   image: CV_8UC1. centre: the starting centre in image pixels. options: radius (default 20).
//   Result: found (false when fewer than 5 rays found an edge), centre, semiAxes, angle.
//   Throws InvalidArgument: image not CV_8UC1 or empty; radius not above 0 or beyond the
//   image's longer side.
//   Example: imgtarn::CircleEdgeResult edge = imgtarn::RefineCircleEdges(grey, mark.centre);
//            if (edge.found) centre = edge.centre;
IMGTARN_VISION_API CircleEdgeResult RefineCircleEdges(const cv::Mat& image, cv::Point2f centre,
                                                      const CircleEdgeOptions& options = {});

// ---- Cross and rectangle marks ------------------------------------------------------------

struct BoxMarkOptions {
  cv::Size2f size{40.0f, 40.0f};  // the mark's nominal full width x height in pixels
  bool debug = false;  // show the search's windows and write ROI.jpg (and the template file)
};

struct BoxMarkResult {
  bool found = false;
  cv::Point2f centre;  // (0, 0) when not found
  cv::Size2f size;     // the measured full width x height; 0 x 0 when not found
};

// Locates one bright plus-shaped fiducial of known nominal size on a dark board (slot 14): a
// ladder of binarisations collects candidate polygons (a drawn cross template stands in when
// none passes), repeated detections are folded together and the first candidate's box is
// measured from gradient projections. The bars are a third of the mark.
//   image: CV_8UC1. options: size (full width x height, default 40 x 40), debug (off; the
//   debug switch is process-wide, so debug calls must not overlap other cross searches).
//   Result: found, centre, size (three times the measured central square).
//   Throws InvalidArgument: image not CV_8UC1 or empty; size below 1 pixel or larger than the
//   image.
//   Example: imgtarn::BoxMarkOptions options;
//            options.size = cv::Size2f(60, 60);
//            imgtarn::BoxMarkResult cross = imgtarn::LocateCrossMark(grey, options);
IMGTARN_VISION_API BoxMarkResult LocateCrossMark(const cv::Mat& image,
                                                 const BoxMarkOptions& options = {});

// Locates one bright axis-aligned rectangular fiducial of known nominal size (slot 18), by the
// cross's search with rectangle tests and template. Marks tilted by more than about 10 degrees
// are rejected unless the template fallback accepts them.
//   image, options: as LocateCrossMark (its own process-wide debug switch).
//   Result: found, centre, size (the measured full width x height).
//   Throws InvalidArgument: as LocateCrossMark.
//   Example: options.size = cv::Size2f(80, 50);
//            imgtarn::BoxMarkResult box = imgtarn::LocateRectangleMark(grey, options);
IMGTARN_VISION_API BoxMarkResult LocateRectangleMark(const cv::Mat& image,
                                                     const BoxMarkOptions& options = {});

// ---- Edges ---------------------------------------------------------------------------------

struct EdgeOptions {
  bool fill = false;   // turn the edges into a filled mask of the closed shapes they outline
  int minArea = 0;     // with fill: smallest contour area kept, in pixels (0 or less keeps all)
  bool debug = false;  // show "matEdges" (and, with fill, "matContours")
};

struct EdgeResult {
  cv::Mat edges;          // CV_8UC1 of the image's size: 255 on edges (with fill: inside shapes)
  int lowThreshold = 0;   // the hysteresis thresholds chosen from the image's own histogram
  int highThreshold = 0;  // (both 0 on a flat image or when under half the pixels have a gradient)
  int edgePixels = 0;     // edge pixels of the raw edge map
  int contours = 0;       // with fill: contours kept; else 0
};

// Canny edges with thresholds chosen from the image's histogram of L1 gradient magnitudes
// (3 x 3 Sobel, replicated border), optionally closed with a 5 x 5 ellipse and turned into a
// filled mask of the external contours whose area reaches minArea (slot 23).
//   image: CV_8UC1. options: fill (off), minArea (0), debug (off).
//   Result: edges, lowThreshold, highThreshold, edgePixels, contours.
//   Throws InvalidArgument: image not CV_8UC1 or empty.
//   Example: imgtarn::EdgeResult canny = imgtarn::DetectEdges(grey);
//            cv::imwrite("edges.png", canny.edges);
IMGTARN_VISION_API EdgeResult DetectEdges(const cv::Mat& image, const EdgeOptions& options = {});

// ---- Pads --------------------------------------------------------------------------------

struct PadSplitOptions {
  bool bright = true;  // pads brighter than the ground (false: darker)
  int gridRows = 0;    // the pad grid, when known: rows and columns (0: not given; a grid
  int gridCols = 0;    // counts only with both above 0)
  bool debug = false;  // show the split's windows
};

struct PadBlob {
  cv::Rect box;    // top-left corner in image pixels and the blob's size
  cv::Mat pixels;  // CV_8UC1 of box.size(): the pad's filled mask (255 on 0), or with the
                   // projection method its grey samples (one line longer than the pad)
};

struct PadSplitResult {
  bool found = false;  // false: no contour and no closed band of pads
  int gridRows = 0;    // the pad grid the split reports
  int gridCols = 0;
  std::vector<PadBlob> blobs;  // in the split's order
};

// Splits a grey image of pads into pad blobs (slot 27). Contour method: external contours of
// the Otsu-binarised image (5 x 5 Gaussian), sorted by point count and cut at the first whose
// area is below 0.3 of the previous one; each blob is the filled contour inside its bounding
// box, and the grid is 1 x (gridCols when given, else the blob count). Projection method, only
// when there is no contour: the strongest closed band of rows or columns is split across into
// one blob per pad.
//   image: CV_8UC1. options: bright (true), gridRows and gridCols (0), debug (off).
//   Result: found, gridRows, gridCols, blobs.
//   Throws InvalidArgument: image not CV_8UC1 or empty; gridRows or gridCols below 0.
//   Example: imgtarn::PadSplitResult pads = imgtarn::SplitPads(grey);
//            for (const imgtarn::PadBlob& pad : pads.blobs) std::cout << pad.box << '\n';
IMGTARN_VISION_API PadSplitResult SplitPads(const cv::Mat& image,
                                            const PadSplitOptions& options = {});

struct PadMatchOptions {
  bool bright = true;  // pads brighter than the ground, as they were split
  bool debug = false;  // show the binarisation's windows
};

struct PadMatchResult {
  std::vector<float> scores;  // one per template, in order
};

// Scores pad templates (usually SplitPads' blobs of a reference image) against a new grey
// image of the pads (slot 26): each score is the mean of the template's best normalised
// cross-correlation over the Otsu-binarised image and the shape agreement there (covered share
// minus spilled share after aligning the blob, divided by 2^(1 - v) for the size ratio v; may
// be negative). About 1 on the reference image. A template larger than the image is matched
// inside a black border; an empty template or one without a set pixel scores 0.
//   image: CV_8UC1. templates: CV_8UC1 or empty. options: bright (true), debug (off).
//   Result: scores.
//   Throws InvalidArgument: image not CV_8UC1 or empty; templates empty or one not CV_8UC1.
//   Example: std::vector<cv::Mat> templates;
//            for (const imgtarn::PadBlob& pad : reference.blobs) templates.push_back(pad.pixels);
//            imgtarn::PadMatchResult match = imgtarn::MatchPads(grey, templates);
IMGTARN_VISION_API PadMatchResult MatchPads(const cv::Mat& image,
                                            const std::vector<cv::Mat>& templates,
                                            const PadMatchOptions& options = {});

struct OverlayOptions {
  bool debug = false;  // show the passes' windows, wait for a key and write matOverlapCad.bmp
                       // and AfterFollowing.bmp to the current directory
};

struct OverlayResult {
  float score = 0.0f;  // 0 or more; 1: the blob covers the pad and spills nowhere
};

// Scores how well a measured pad blob covers its CAD pad inside a boundary mask (slot 20): the
// better of two passes, the blob where it lies and the blob rescaled to the CAD box and moved
// onto the CAD centroid. A pass scores the covered share of the pad minus the spill inside the
// boundary (a pixel in the i-th of n 3 x 3 rings around the pad weighs i / n), divided for the
// scale and both centroid-offset ratios. An empty blob or CAD pad scores 0.
//   boundary: CV_8UC1 mask (only 255 counts as inside). cad, measured: CV_8UC1 masks of the
//   same size (any non-zero byte is set). options: debug (off).
//   Result: score.
//   Throws InvalidArgument: a mask not CV_8UC1 or empty, or of another size than boundary.
//   Example: imgtarn::OverlayResult fit = imgtarn::ScoreOverlay(boundary, cad, measured);
//            if (fit.score < 0.8f) reject();
IMGTARN_VISION_API OverlayResult ScoreOverlay(const cv::Mat& boundary, const cv::Mat& cad,
                                              const cv::Mat& measured,
                                              const OverlayOptions& options = {});

// ---- Flat-field correction ----------------------------------------------------------------

struct FlatFieldOptions {
  int window = 5;           // odd side of the local filter window
  float acceptLow = 0.5f;   // a window sample s takes part when
  float acceptHigh = 1.5f;  //   mean * acceptLow < s < mean * acceptHigh (mean: its image's)
  int targetLow = 128;      // level the low images are corrected to
  int targetHigh = 200;     // target level of the high images
  int minCount = 1;         // accepted samples a local mean needs (fewer: the image's mean)
};

// Per-pixel, per-channel coefficients: corrected = low byte of trunc(sample * gain + offset).
struct FlatFieldCoefficients {
  cv::Mat offset;  // CV_32FC3, the calibration images' size, blue, green, red like the image
  cv::Mat gain;    // CV_32FC3, likewise
};

// Two-point flat-field calibration (slot 24): each calibration image is filtered locally (the
// mean of the accepted samples of its window), and per pixel an offset and a gain map the
// filtered low reading to the target. Every channel is corrected with the means of the blue
// planes (the host's third plane) and the low target; where both levels filter equal, the low
// one is nudged by 1e-5 (very large coefficients). Pairs after the first enter only through
// their image means.
//   images: pairs of CV_8UC3 pictures of a flat target, low level then high level, all of one
//   size. options: window (5), acceptLow (0.5), acceptHigh (1.5), targetLow (128),
//   targetHigh (200), minCount (1).
//   Result: offset and gain. An image mean of 0 gives infinite or NaN coefficients.
//   Throws InvalidArgument: images empty, of odd count, not CV_8UC3, empty or of different
//   sizes; window even or below 1.
//   Example: imgtarn::FlatFieldCoefficients flat = imgtarn::CalibrateFlatField({low, high});
//            cv::Mat corrected = imgtarn::ApplyFlatField(board, flat);
IMGTARN_VISION_API FlatFieldCoefficients CalibrateFlatField(const std::vector<cv::Mat>& images,
                                                            const FlatFieldOptions& options = {});

// Applies flat-field coefficients (slot 25): each sample becomes the low byte of
// trunc(sample * gain + offset) in single precision, without saturation (256 gives 0, -1 gives
// 255; NaN and infinities give 0).
//   image: CV_8UC3. coefficients: offset and gain, CV_32FC3 of the image's size.
//   Result: the corrected CV_8UC3 image.
//   Throws InvalidArgument: image not CV_8UC3 or empty; offset or gain not CV_32FC3 or of
//   another size.
//   Example: cv::Mat corrected = imgtarn::ApplyFlatField(board, flat);
//            imgtarn::SaveImage("corrected.png", corrected);
IMGTARN_VISION_API cv::Mat ApplyFlatField(const cv::Mat& image,
                                          const FlatFieldCoefficients& coefficients);

// ---- Colour images ----------------------------------------------------------------------

struct Rgb {
  int red = 0;
  int green = 0;
  int blue = 0;
};

struct FillOptions {
  int threads = 0;  // OpenCV worker threads (cv::setNumThreads, process-wide, stays in force);
                    // 0 leaves OpenCV's setting alone
};

// Paints the black pixels (red, green and blue all <= 5) inside the area showing a reference
// colour with that colour (slot 29). The area is the bounding box of pixels within 5 of the
// colour in every channel, found from one row and one column in twenty; its last row and last
// column are not painted.
//   image: CV_8UC3 (not written). colour: the reference colour, each part 0..255.
//   options: threads (0).
//   Result: the painted CV_8UC3 image.
//   Throws InvalidArgument: image not CV_8UC3 or empty; a colour part outside 0..255;
//   threads below 0.
//   Example: cv::Mat filled = imgtarn::FillBlackHoles(board, imgtarn::Rgb{180, 120, 60});
//            imgtarn::SaveImage("filled.png", filled);
IMGTARN_VISION_API cv::Mat FillBlackHoles(const cv::Mat& image, const Rgb& colour,
                                          const FillOptions& options = {});

// The most frequent level of each channel among levels 5..249 (slot 28); the lowest level wins
// a tie, and a channel without a sample in 5..249 gives 0.
//   image: CV_8UC3.
//   Result: red, green and blue levels.
//   Throws InvalidArgument: image not CV_8UC3 or empty.
//   Example: imgtarn::Rgb levels = imgtarn::DominantLevels(board);
//            std::cout << levels.red << ' ' << levels.green << ' ' << levels.blue;
IMGTARN_VISION_API Rgb DominantLevels(const cv::Mat& image);

enum class Interpolation { Linear, Cubic };

struct ResizeOptions {
  Interpolation interpolation = Interpolation::Linear;
};

// Resizes an image channel by channel with cv::resize (slot 33).
//   image: CV_8UC1 or CV_8UC3. size: the new width x height. options: interpolation (Linear).
//   Result: the resized image, of image's type.
//   Throws InvalidArgument: image not CV_8UC1 or CV_8UC3 or empty; size below 1 x 1.
//   Example: cv::Mat small = imgtarn::Resize(board, cv::Size(320, 240));
//            cv::Mat large = imgtarn::Resize(board, {1600, 1200}, {imgtarn::Interpolation::Cubic});
IMGTARN_VISION_API cv::Mat Resize(const cv::Mat& image, cv::Size size,
                                  const ResizeOptions& options = {});

// ---- Height maps and values -------------------------------------------------------------

enum class EvenRule {
  Lower,  // an even sample count takes the lower middle value
  Upper,  // the upper one
  Mean,   // their mean
};

struct MedianOptions {
  int window = 3;        // side k of the square window; it reaches (k - 1) / 2 samples each
                         // way, clipped at the borders
  bool limited = false;  // take only samples strictly between lower and upper
  int lower = 0;         // with limited: the limits; lower is also the value of a window
  int upper = 0;         //   whose samples are all rejected
  EvenRule even = EvenRule::Mean;  // the median of an even count (clipped or limited windows)
};

// Square-window median of a float height map (slot 30, mode 0). The values are sorted with an
// arithmetic exchange in single precision, which rounds values of widely different magnitude;
// those rounded values are the result.
//   heights: CV_32FC1. options: window (3), limited (off), lower and upper (0), even (Mean).
//   Result: the filtered CV_32FC1 map.
//   Throws InvalidArgument: heights not CV_32FC1 or empty; window below 1; limited with upper
//   not above lower.
//   Example: imgtarn::MedianOptions options;
//            options.window = 5;
//            cv::Mat smooth = imgtarn::MedianFilter(heights, options);
IMGTARN_VISION_API cv::Mat MedianFilter(const cv::Mat& heights, const MedianOptions& options = {});

struct SortOptions {
  bool descending = false;
  int first = 0;  // 0 sorts all; K stops after the value whose repetitions bring the count to
                  // K or more
};

struct SortResult {
  std::vector<int> values;       // sorted (with first: only the values delivered)
  std::vector<int> permutation;  // input position of each value; equal values keep their order
};

// Counting sort of integers (slot 35); memory grows with the value spread only while it is
// comparable to the number of values (wider spreads sort by comparison, same order).
//   values: any integers. options: descending (off), first (0).
//   Result: values, permutation.
//   Throws InvalidArgument: first below 0; more than INT_MAX values.
//   Example: imgtarn::SortResult sorted = imgtarn::CountingSort({3, 1, 2, 1});
//            // values 1 1 2 3, permutation 1 3 2 0
IMGTARN_VISION_API SortResult CountingSort(const std::vector<int>& values,
                                           const SortOptions& options = {});

// ---- Image files -------------------------------------------------------------------------

// Reads an image file as colour (slot 31): any format cv::imread handles; grey files give three
// equal channels.
//   path: the file. Result: CV_8UC3 (blue, green, red).
//   Throws InvalidArgument: the file cannot be read as an image.
//   Example: cv::Mat board = imgtarn::LoadImage("board.png");
//            cv::Mat filled = imgtarn::FillBlackHoles(board, {180, 120, 60});
IMGTARN_VISION_API cv::Mat LoadImage(const std::string& path);

// Writes an image as a colour file whose format follows the extension (slot 32).
//   path: the file. image: CV_8UC3, or CV_8UC1 (written as three equal channels).
//   Throws InvalidArgument: image not CV_8UC1 or CV_8UC3 or empty; the file could not be
//   written. cv::Exception: an extension OpenCV has no writer for.
//   Example: imgtarn::SaveImage("filled.png", filled);
//            cv::Mat back = imgtarn::LoadImage("filled.png");
IMGTARN_VISION_API void SaveImage(const std::string& path, const cv::Mat& image);

// ---- Fiducials: the best answer for one mark ---------------------------------------------

enum class FiducialShape {
  Circle,     // a bright filled disc; options.radius
  Cross,      // a bright plus sign whose bars are about a third of its size; options.size
  Rectangle,  // a bright axis-aligned rectangle; options.size
};

// The search that proposed the mark reported, before its edges were measured.
enum class FiducialStage {
  None,            // nothing was measured
  EdgeCircles,     // Hough circles on Canny edges checked against a disc template (Full)
  TemplateSearch,  // the disc-template search with its Hough checks (Quick)
  HoughCircles,    // Hough circles within 5 px of the radius, nearest the radius first
  DiscTemplate,    // correlation peaks of a shaded disc: small marks, marks cut by the border
  CrossMark,       // the binarisation ladder of the cross-mark search, every candidate
  RectangleMark,   // the binarisation ladder of the rectangle-mark search, every candidate
  BoxTemplate,     // correlation peaks of a drawn plus sign or rectangle
};

struct FiducialOptions {
  FiducialShape shape = FiducialShape::Circle;
  float radius = 20.0f;                  // Circle: nominal radius in pixels
  cv::Size2f size = cv::Size2f(40, 40);  // Cross, Rectangle: full nominal width x height
  cv::Rect window;  // where to search, in image pixels; empty (the default): everywhere
};

struct FiducialResult {
  bool found = false;   // score at least 0.5
  cv::Point2f centre;   // sub-pixel, in image pixels (also when not found: the best candidate)
  cv::Size2f size;      // measured full width x height at the half-level edge (Circle: 2 radius)
  float radius = 0.0f;  // Circle: measured radius; otherwise 0
  float score = 0.0f;   // 0 .. 1; see LocateFiducial
  FiducialStage stage = FiducialStage::None;
};

// Locates one bright mark of known shape and nominal size in a grey image to a fraction of a
// pixel, and scores how much it looks like that mark.
//   image: CV_8UC1. options: shape (default Circle), radius (Circle, default 20), size (Cross
//   and Rectangle: full width x height, default 40 x 40), window (default: the whole image;
//   the part inside the image is searched as an image of its own).
//   Each of the library's own searches proposes candidates (see FiducialStage); every
//   candidate is then measured on its own edge: profiles across the edge, each placed where
//   it crosses the mark's half level (midway between its plateau and its surround), a robust
//   circle fit or robust side lines, repeated until the centre settles. A mark cut by the
//   image border is measured on the edge inside the image (the part of a box side outside it
//   is placed the nominal size from the opposite side). The best-scoring candidate wins; of
//   equal scores the earlier stage.
//   Score: the share of the expected edge found where the fitted shape says, lowered by the
//   edge's rms distance from the shape (polygons and ragged blobs), by a measured size off
//   the nominal one, by a plateau that is not bright throughout (rings, outlines), for a
//   cross by bright corners between its arms, and (square root of the share) for edge that
//   lies outside the image. A rectangle side not seen inside the image must have board beyond
//   it, so a bar or pad of the mark's width but two or more times its length is not found at
//   its end. Clean marks score 0.7 to 1; such bars about 0.2; pads of another shape, discs of
//   another size and silkscreen rings below 0.1; an octagonal pad of the mark's size about 0.5.
//   Result: found (score >= 0.5), centre, size, radius, score, stage; with no candidate at
//   all: found false, score 0, stage None.
//   Throws InvalidArgument: image not CV_8UC1 or empty; radius (Circle) or a side of size
//   (Cross, Rectangle) not above 0, not finite, or making the mark (diameter, width or
//   height) larger than the longer side of the area searched; window with a negative width
//   or height, or not overlapping the image.
//   Example: const imgtarn::FiducialResult mark = imgtarn::LocateFiducial(grey, {});
//            if (mark.found) std::cout << mark.centre << " score " << mark.score;
IMGTARN_VISION_API FiducialResult LocateFiducial(const cv::Mat& image,
                                                 const FiducialOptions& options = {});

// A short lower-case name of the stage ("edge-circles", "template-search", "hough-circles",
// "disc-template", "cross-mark", "rectangle-mark", "box-template", "none").
IMGTARN_VISION_API const char* FiducialStageName(FiducialStage stage);

}  // namespace imgtarn

#endif  // IMGTARN_VISION_HPP
