// The typed API's own answers on the bundled samples, for the Python tests: each case is the
// call of the same name in test_module.py, made here from C++ and written as JSON.
// Usage: python_reference SAMPLES_DIR OUT.json
#include <imgtarn/vision.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <string>
#include <vector>

namespace {

using namespace imgtarn;

std::string samples;

// The samples as the Python tests read them: LoadImage, and its first channel for grey.
cv::Mat Colour(const std::string& file) { return LoadImage(samples + "/" + file); }
cv::Mat Grey(const std::string& file) {
  cv::Mat grey;
  cv::extractChannel(Colour(file), grey, 0);
  return grey;
}

// Field names and nesting as the module's to_dict() gives them: Dict(out, name, value, ...).
void Fields(cv::FileStorage&) {}
template <typename Value, typename... Rest>
void Fields(cv::FileStorage& out, const char* name, const Value& value, const Rest&... rest) {
  out << name << value;
  Fields(out, rest...);
}
template <typename... Named>
void Dict(cv::FileStorage& out, const Named&... fields) {
  out << "{";
  Fields(out, fields...);
  out << "}";
}

void Write(cv::FileStorage& out, const CircleMarkResult& r) {
  Dict(out, "found", r.found, "centre", r.centre, "radius", r.radius);
}
void Write(cv::FileStorage& out, const CircleEdgeResult& r) {
  Dict(out, "found", r.found, "centre", r.centre, "semi_axes", r.semiAxes, "angle", r.angle);
}
void Write(cv::FileStorage& out, const BoxMarkResult& r) {
  Dict(out, "found", r.found, "centre", r.centre, "size", r.size);
}
void Write(cv::FileStorage& out, const EdgeResult& r) {
  Dict(out, "edges", r.edges, "low_threshold", r.lowThreshold, "high_threshold", r.highThreshold,
       "edge_pixels", r.edgePixels, "contours", r.contours);
}
void Write(cv::FileStorage& out, const PadSplitResult& r) {
  out << "{";
  Fields(out, "found", r.found, "grid_rows", r.gridRows, "grid_cols", r.gridCols);
  out << "blobs"
      << "[";
  for (const PadBlob& blob : r.blobs) Dict(out, "box", blob.box, "pixels", blob.pixels);
  out << "]"
      << "}";
}
void Write(cv::FileStorage& out, const PadMatchResult& r) { Dict(out, "scores", r.scores); }
void Write(cv::FileStorage& out, const OverlayResult& r) { Dict(out, "score", r.score); }
void Write(cv::FileStorage& out, const FlatFieldCoefficients& r) {
  Dict(out, "offset", r.offset, "gain", r.gain);
}
void Write(cv::FileStorage& out, const Rgb& r) {
  Dict(out, "red", r.red, "green", r.green, "blue", r.blue);
}
void Write(cv::FileStorage& out, const SortResult& r) {
  Dict(out, "values", r.values, "permutation", r.permutation);
}
void Write(cv::FileStorage& out, const FiducialResult& r) {
  Dict(out, "found", r.found, "centre", r.centre, "size", r.size, "radius", r.radius, "score",
       r.score, "stage", FiducialStageName(r.stage));
}
void Write(cv::FileStorage& out, const cv::Mat& image) { out << image; }

template <typename Result>
void Case(cv::FileStorage& out, const char* name, const Result& result) {
  out << name;
  Write(out, result);
}

void FiducialCases(cv::FileStorage& out) {
  Case(out, "fiducial_circle", LocateFiducial(Grey("circle_inside.png")));
  Case(out, "fiducial_cross",
       LocateFiducial(Grey("cross.png"), {FiducialShape::Cross, 20, {60, 60}, {}}));
  Case(out, "fiducial_rectangle_window",
       LocateFiducial(Grey("rect.png"),
                      {FiducialShape::Rectangle, 20, {80, 50}, cv::Rect(100, 50, 150, 120)}));
}

void CircleCases(cv::FileStorage& out) {
  Case(out, "circle_mark_full", LocateCircleMark(Grey("circle_inside.png"), {20.0f}));
  Case(out, "circle_mark_quick",
       LocateCircleMark(Grey("circle_border.png"), {20.0f, CircleMethod::Quick}));
  Case(out, "circle_mark_two_scale",
       LocateCircleMark(Grey("circle_noisy.png"), {20.0f, CircleMethod::TwoScale}));
  Case(out, "hough_circle_tolerance", DetectHoughCircle(Grey("circle_noisy.png"), {20.0f, 2}));
  Case(out, "circle_edges",
       RefineCircleEdges(Grey("circle_inside.png"), cv::Point2f(148, 113), {15.0f}));
}

void BoxAndEdgeCases(cv::FileStorage& out) {
  Case(out, "cross_mark", LocateCrossMark(Grey("cross.png"), {{60, 60}}));
  Case(out, "rectangle_mark", LocateRectangleMark(Grey("rect.png"), {{80, 50}}));
  Case(out, "edges", DetectEdges(Grey("disc_clean.png")));
  Case(out, "edges_filled", DetectEdges(Grey("pad_measured.png"), {true, 2000}));
}

void PadCases(cv::FileStorage& out) {
  const PadSplitResult split = SplitPads(Grey("pads.png"), {true, 1, 3});
  Case(out, "split_pads", split);
  std::vector<cv::Mat> templates;
  for (const PadBlob& blob : split.blobs) templates.push_back(blob.pixels);
  Case(out, "match_pads", MatchPads(Grey("pads_scene.png"), templates));
  Case(out, "score_overlay",
       ScoreOverlay(Grey("pad_boundary.png"), Grey("pad_cad.png"), Grey("pad_measured.png")));
}

void BufferCases(cv::FileStorage& out, const cv::Mat& heights) {
  const FlatFieldCoefficients coefficients =
      CalibrateFlatField({Colour("flat_low.png"), Colour("flat_high.png")}, {7, 0.5f, 1.5f, 120});
  Case(out, "calibrate_flat_field", coefficients);
  Case(out, "apply_flat_field", ApplyFlatField(Colour("flat_low.png"), coefficients));
  Case(out, "fill_black_holes", FillBlackHoles(Colour("holes.png"), Rgb{180, 120, 60}));
  Case(out, "dominant_levels", DominantLevels(Colour("holes.png")));
  Case(out, "resize_colour",
       Resize(Colour("holes.png"), cv::Size(200, 150), {Interpolation::Cubic}));
  Case(out, "median_filter", MedianFilter(heights, {5, true, 0, 200, EvenRule::Lower}));
  Case(out, "counting_sort", CountingSort({5, -2, 7, 5, 0, 7, 7, 1}, {true, 3}));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  samples = argv[1];
  cv::FileStorage out(argv[2], cv::FileStorage::WRITE | cv::FileStorage::FORMAT_JSON);
  // Python reads float TIFF only through cv2, which the tests do not need: the input travels
  // with the answers.
  const cv::Mat heights = cv::imread(samples + "/heights.tiff", cv::IMREAD_UNCHANGED);
  out << "heights" << heights;
  FiducialCases(out);
  CircleCases(out);
  BoxAndEdgeCases(out);
  PadCases(out);
  BufferCases(out, heights);
  return 0;
}
