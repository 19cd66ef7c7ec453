// The typed API against the binary contract. Family by family on the bundled samples, a typed
// call and the slot it stands for give the same numbers; input a slot refuses raises
// InvalidArgument naming the argument; and the typed calls give their serial answers from
// several threads at once.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <imgtarn/imgtarn.hpp>
#include <imgtarn/vision.hpp>
#include <memory>
#include <opencv2/imgcodecs.hpp>
#include <string>
#include <thread>
#include <vector>

#include "support/opencv_threads.hpp"

namespace {

using imgtarn::CircleMethod;
using Numbers = std::vector<double>;
using Bytes = std::vector<unsigned char>;

const std::string kSamples = std::string(IMGTARN_SOURCE_DIR) + "/samples/";

cv::Mat Grey(const std::string& file) { return cv::imread(kSamples + file, cv::IMREAD_GRAYSCALE); }
cv::Mat Colour(const std::string& file) { return cv::imread(kSamples + file, cv::IMREAD_COLOR); }

ImgTarn_IF& Contract() {
  static const std::unique_ptr<ImgTarn_IF, decltype(&ImgTarn_IFRelease)> object(ImgTarn_IFCreate(),
                                                                                ImgTarn_IFRelease);
  return *object;
}

float F(int value) { return static_cast<float>(value); }
// A para array of any numbers, as floats.
template <typename... Values>
std::vector<float> Para(Values... values) {
  return {static_cast<float>(values)...};
}

// Two exact numbers standing for a byte string: its 64-bit FNV-1a hash in halves.
Numbers Digest(const void* data, std::size_t bytes) {
  std::uint64_t hash = 14695981039346656037ull;
  const auto* p = static_cast<const unsigned char*>(data);
  for (std::size_t i = 0; i < bytes; ++i) hash = (hash ^ p[i]) * 1099511628211ull;
  return {static_cast<double>(hash >> 32), static_cast<double>(hash & 0xFFFFFFFFu)};
}
template <typename T>
Numbers Digest(const std::vector<T>& values) {
  return Digest(values.data(), values.size() * sizeof(T));
}

// A colour image as the host's planes: red, green, blue back to back (any depth).
Bytes RgbBytes(const cv::Mat& bgr) {
  std::vector<cv::Mat> channels;
  cv::split(bgr, channels);
  Bytes bytes;
  for (int c : {2, 1, 0}) {
    const cv::Mat plane = channels[c].clone();
    bytes.insert(bytes.end(), plane.datastart, plane.dataend);
  }
  return bytes;
}

double Status(bool found) { return found ? 0.0 : -1.0; }

Numbers& Append(Numbers& numbers, const Numbers& more) {
  numbers.insert(numbers.end(), more.begin(), more.end());
  return numbers;
}

// ---- Circle marks (slots 10, 11, 12; 3 and 5; 17) ----

Numbers CircleNumbers(const imgtarn::CircleMarkResult& circle) {
  return {Status(circle.found), circle.centre.x, circle.centre.y, circle.radius};
}

Numbers CircleTyped(const char* file, CircleMethod method, float radius) {
  return CircleNumbers(imgtarn::LocateCircleMark(Grey(file), {radius, method}));
}

Numbers CircleSlot(const char* file, CircleMethod method, float radius) {
  cv::Mat plane = Grey(file);
  float para[5] = {F(plane.cols), F(plane.rows), radius, 0, 0}, result[3] = {};
  using Slot = int (ImgTarn_IF::*)(unsigned char*, float*, void*, float*);
  const Slot slot = method == CircleMethod::Full    ? &ImgTarn_IF::LocateCircleMark
                    : method == CircleMethod::Quick ? &ImgTarn_IF::LocateCircleMarkQuick
                                                    : &ImgTarn_IF::LocateCircleMarkRoi;
  // A search that gives up may leave a half-written centre: the typed result reports none.
  if ((Contract().*slot)(plane.data, para, nullptr, result) != 0) return {-1.0, 0.0, 0.0, 0.0};
  return {0.0, result[0], result[1], result[2]};
}

Numbers HoughTyped(const char* file, float radius, int tolerance, double threshold) {
  return CircleNumbers(imgtarn::DetectHoughCircle(Grey(file), {radius, tolerance, threshold}));
}

// Slot 5 searches radius +- 2; slot 3 any tolerance above 2.
Numbers HoughSlot(const char* file, float radius, int tolerance, double threshold) {
  cv::Mat plane = Grey(file);
  float result[3] = {};
  if (tolerance == 2) {
    Contract().DetectCirclesPlain(plane.data, plane.cols, plane.rows, radius,
                                  static_cast<float>(threshold), result);
  } else {
    std::vector<float> para =
        Para(plane.cols, plane.rows, radius, threshold, 0, 0, 0, 0, 0, tolerance);
    Contract().DetectCirclesSmoothed(plane.data, para.data(), 10, result);
  }
  return {result[2] > 0.0f ? 0.0 : -1.0, result[0], result[1], result[2]};
}

Numbers EdgeFitTyped(const char* file, float x, float y, float radius) {
  const imgtarn::CircleEdgeResult fit =
      imgtarn::RefineCircleEdges(Grey(file), cv::Point2f(x, y), {radius});
  return {Status(fit.found),  fit.centre.x,        fit.centre.y,
          fit.semiAxes.width, fit.semiAxes.height, fit.angle};
}

Numbers EdgeFitSlot(const char* file, float x, float y, float radius) {
  cv::Mat plane = Grey(file);
  float para[5] = {F(plane.cols), F(plane.rows), x, y, radius}, result[5] = {};
  const int status = Contract().AdjustCircleEdges(plane.data, para, nullptr, result);
  return {static_cast<double>(status), result[0], result[1], result[2], result[3], result[4]};
}

// ---- Cross and rectangle marks (slots 14 and 18) ----

Numbers BoxTyped(const char* file, bool cross, float width, float height) {
  const imgtarn::BoxMarkOptions options{{width, height}};
  const cv::Mat grey = Grey(file);
  const imgtarn::BoxMarkResult box =
      cross ? imgtarn::LocateCrossMark(grey, options) : imgtarn::LocateRectangleMark(grey, options);
  return {Status(box.found), box.centre.x, box.centre.y, box.size.width, box.size.height};
}

Numbers BoxSlot(const char* file, bool cross, float width, float height) {
  cv::Mat plane = Grey(file);
  float para[5] = {F(plane.cols), F(plane.rows), width / 2, height / 2, 0}, r[4] = {};
  (Contract().*(cross ? &ImgTarn_IF::LocateCrossMark : &ImgTarn_IF::LocateRectangleMark))(
      plane.data, para, nullptr, r);
  // The host reads a zero centre as "no mark".
  if (r[0] == 0.0f && r[1] == 0.0f) return {-1.0, 0.0, 0.0, 0.0, 0.0};
  return {0.0, r[0], r[1], 2.0 * r[2], 2.0 * r[3]};
}

// ---- Edges (slot 23) ----

Numbers EdgesTyped(const char* file, bool fill, int minArea) {
  const imgtarn::EdgeResult edges = imgtarn::DetectEdges(Grey(file), {fill, minArea});
  Numbers numbers{0.0, F(edges.lowThreshold), F(edges.highThreshold), F(edges.edgePixels),
                  F(edges.contours)};
  return Append(numbers, Digest(edges.edges.datastart, edges.edges.total()));
}

Numbers EdgesSlot(const char* file, bool fill, int minArea) {
  cv::Mat plane = Grey(file);
  cv::Mat edges(plane.size(), CV_8UC1);
  float para[5] = {F(plane.cols), F(plane.rows), fill ? 1.0f : 0.0f, 0, F(minArea)}, r[4] = {};
  Numbers numbers{static_cast<double>(Contract().DetectEdgesCanny(plane.data, para, edges.data, r)),
                  r[0], r[1], r[2], r[3]};
  return Append(numbers, Digest(edges.datastart, edges.total()));
}

// ---- Pads (slots 27, 26 and 20) ----

constexpr int kMaxBlobs = 64;

struct SlotSplit {
  int status = 0;
  float grid[2] = {};
  Bytes pixels;
  std::vector<int> rects = std::vector<int>(4 * kMaxBlobs, -1);
  int Blobs() const {
    int n = 0;
    while (n < kMaxBlobs && rects[4 * n + 2] >= 0) ++n;
    return n;
  }
};

SlotSplit SplitBySlot(cv::Mat plane, bool bright, int rows, int cols) {
  SlotSplit split;
  split.pixels.assign(plane.total() * kMaxBlobs, 0);
  float para[6] = {F(plane.cols), F(plane.rows), bright ? 1.0f : 0.0f, 0, F(rows), F(cols)};
  split.status = Contract().SplitPadBlobs(plane.data, para, nullptr, split.grid,
                                          split.pixels.data(), split.rects.data());
  return split;
}

Numbers SplitPadsTyped(const char* file, bool bright, int rows, int cols) {
  const imgtarn::PadSplitResult split = imgtarn::SplitPads(Grey(file), {bright, rows, cols});
  Numbers numbers{Status(split.found), F(split.gridRows), F(split.gridCols)};
  Bytes pixels;
  for (const imgtarn::PadBlob& blob : split.blobs) {
    Append(numbers, {F(blob.box.x), F(blob.box.y), F(blob.box.width), F(blob.box.height)});
    pixels.insert(pixels.end(), blob.pixels.datastart, blob.pixels.dataend);
  }
  return Append(numbers, Digest(pixels));
}

Numbers SplitPadsSlot(const char* file, bool bright, int rows, int cols) {
  const SlotSplit split = SplitBySlot(Grey(file), bright, rows, cols);
  Numbers numbers{static_cast<double>(split.status), split.grid[0], split.grid[1]};
  std::size_t bytes = 0;
  for (int i = 0; i < split.Blobs(); ++i) {
    const int* rect = &split.rects[4 * i];
    Append(numbers, {F(rect[0]), F(rect[1]), F(rect[2]), F(rect[3])});
    bytes += static_cast<std::size_t>(rect[2]) * rect[3];
  }
  return Append(numbers, Digest(split.pixels.data(), bytes));
}

Numbers MatchPadsTyped(const char* reference, const char* scene) {
  std::vector<cv::Mat> templates;
  for (const imgtarn::PadBlob& blob : imgtarn::SplitPads(Grey(reference)).blobs)
    templates.push_back(blob.pixels);
  const imgtarn::PadMatchResult match = imgtarn::MatchPads(Grey(scene), templates);
  return Numbers(match.scores.begin(), match.scores.end());
}

Numbers MatchPadsSlot(const char* reference, const char* scene) {
  SlotSplit split = SplitBySlot(Grey(reference), true, 0, 0);
  cv::Mat plane = Grey(scene);
  const int count = split.Blobs();
  float para[7] = {F(plane.cols), F(plane.rows), 1, 0, 0, 0, F(count)};
  std::vector<float> scores(kMaxBlobs, -9.0f);
  Contract().MatchPadTemplates(plane.data, para, nullptr, scores.data(), split.pixels.data(),
                               split.rects.data());
  return Numbers(scores.begin(), scores.begin() + count);
}

Numbers OverlayTyped(const char* measured) {
  const imgtarn::OverlayResult overlay =
      imgtarn::ScoreOverlay(Grey("pad_boundary.png"), Grey("pad_cad.png"), Grey(measured));
  return {overlay.score};
}

Numbers OverlaySlot(const char* measured) {
  cv::Mat boundary = Grey("pad_boundary.png"), cad = Grey("pad_cad.png"), blob = Grey(measured);
  float para[3] = {F(boundary.cols), F(boundary.rows), 0}, score = -1.0f;
  Contract().FollowCadOverlay(boundary.data, cad.data, blob.data, para, nullptr, &score);
  return {score};
}

// ---- Flat field (slots 24 and 25) ----

// The coefficient table: offsets, then gains, planar red, green, blue.
std::vector<float> CalibrateBySlot(int window) {
  const imgtarn::FlatFieldOptions o{window};
  const cv::Mat low = Colour("flat_low.png");
  Bytes stack = RgbBytes(low);
  const Bytes high = RgbBytes(Colour("flat_high.png"));
  stack.insert(stack.end(), high.begin(), high.end());
  std::vector<float> para = Para(0, 1, low.cols, low.rows, o.window, o.acceptHigh, o.acceptLow,
                                 o.targetLow, o.targetHigh, o.minCount);
  std::vector<float> table(6 * low.total());
  int cleared = -1;
  Contract().ComputeFlatFieldCoefficients(stack.data(), para.data(), 0, table.data(), &cleared);
  return table;
}

imgtarn::FlatFieldCoefficients CalibrateTyped(int window) {
  return imgtarn::CalibrateFlatField({Colour("flat_low.png"), Colour("flat_high.png")},
                                     imgtarn::FlatFieldOptions{window});
}

Numbers CalibrateTypedNumbers(int window) {
  const imgtarn::FlatFieldCoefficients flat = CalibrateTyped(window);
  Numbers numbers = Digest(RgbBytes(flat.offset));
  return Append(numbers, Digest(RgbBytes(flat.gain)));
}

Numbers CalibrateSlotNumbers(int window) {
  const std::vector<float> table = CalibrateBySlot(window);
  const std::size_t half = table.size() / 2 * sizeof(float);
  const auto* bytes = reinterpret_cast<const unsigned char*>(table.data());
  Numbers numbers = Digest(bytes, half);
  return Append(numbers, Digest(bytes + half, half));
}

Numbers ApplyTyped(int window) {
  return Digest(RgbBytes(imgtarn::ApplyFlatField(Colour("flat_high.png"), CalibrateTyped(window))));
}

Numbers ApplySlot(int window) {
  std::vector<float> table = CalibrateBySlot(window);
  Bytes planes = RgbBytes(Colour("flat_high.png"));
  Bytes corrected(planes.size());
  Contract().ApplyGainOffset(planes.data(), table.data(), static_cast<int>(planes.size()),
                             corrected.data());
  return Digest(corrected);
}

// ---- Height maps (slot 30) ----

cv::Mat Heights() { return cv::imread(kSamples + "heights.tiff", cv::IMREAD_UNCHANGED); }

Numbers MedianTyped(int window, bool limited, imgtarn::EvenRule even) {
  const imgtarn::MedianOptions options{window, limited, limited ? 1 : 0, limited ? 60 : 0, even};
  const cv::Mat filtered = imgtarn::MedianFilter(Heights(), options);
  return Digest(filtered.datastart, filtered.dataend - filtered.datastart);
}

Numbers MedianSlot(int window, bool limited, imgtarn::EvenRule even) {
  cv::Mat heights = Heights().clone();
  cv::Mat copy(heights.size(), CV_32FC1);
  const float rule = even == imgtarn::EvenRule::Lower   ? 0.0f
                     : even == imgtarn::EvenRule::Upper ? 1.0f
                                                        : 2.0f;
  std::vector<float> para =
      Para(0, heights.cols, heights.rows, window, limited, limited ? 60 : 0, rule, !limited);
  Contract().Slot30Dispatch(heights.ptr<float>(), copy.ptr<float>(), para.data());
  return Digest(heights.datastart, heights.dataend - heights.datastart);
}

// ---- The table ----

struct FamilyCase {
  std::string name;
  std::function<Numbers()> typed;
  std::function<Numbers()> slot;
  bool answers = true;  // the sample holds what is looked for: numbers[0] must be 0
};

// Keeps the row's arguments out of template deduction: the functions' types decide.
template <typename T>
struct Given {
  using Type = T;
};

// `answers`: the sample holds what is looked for, so the typed call must find it.
template <typename... Args>
FamilyCase Row(std::string name, bool answers, Numbers (*typed)(Args...), Numbers (*slot)(Args...),
               typename Given<Args>::Type... args) {
  return {std::move(name), [=] { return typed(args...); }, [=] { return slot(args...); }, answers};
}

std::vector<FamilyCase> Families() {
  using imgtarn::EvenRule;
  std::vector<FamilyCase> rows = {
      Row("hough_slot3", true, HoughTyped, HoughSlot, "circle_inside.png", 20.0f, 5, 60.0),
      Row("hough_slot3_wide", true, HoughTyped, HoughSlot, "disc_clean.png", 28.0f, 8, 40.0),
      Row("hough_slot5", true, HoughTyped, HoughSlot, "circle_noisy.png", 20.0f, 2, 60.0),
      Row("edge_fit", true, EdgeFitTyped, EdgeFitSlot, "circle_inside.png", 152.0f, 108.5f, 20.0f),
      Row("edge_fit_border", true, EdgeFitTyped, EdgeFitSlot, "circle_border.png", 301.0f, 119.0f,
          22.0f),
      Row("cross", true, BoxTyped, BoxSlot, "cross.png", true, 60.0f, 60.0f),
      Row("rectangle", true, BoxTyped, BoxSlot, "rect.png", false, 80.0f, 50.0f),
      Row("cross_no_mark", false, BoxTyped, BoxSlot, "circle_noisy.png", true, 60.0f, 60.0f),
      Row("edges", true, EdgesTyped, EdgesSlot, "circle_noisy.png", false, 0),
      Row("edges_filled", true, EdgesTyped, EdgesSlot, "pads_scene.png", true, 50),
      Row("split_pads", true, SplitPadsTyped, SplitPadsSlot, "pads.png", true, 0, 0),
      Row("split_pads_grid", true, SplitPadsTyped, SplitPadsSlot, "pads.png", true, 1, 3),
      Row("split_pads_dark", true, SplitPadsTyped, SplitPadsSlot, "pads.png", false, 0, 0),
      Row("match_pads", false, MatchPadsTyped, MatchPadsSlot, "pads.png", "pads_scene.png"),
      Row("overlay_exact", false, OverlayTyped, OverlaySlot, "pad_cad.png"),
      Row("overlay_shifted", false, OverlayTyped, OverlaySlot, "pad_measured.png"),
      Row("flat_field_calibrate", false, CalibrateTypedNumbers, CalibrateSlotNumbers, 5),
      Row("flat_field_apply", false, ApplyTyped, ApplySlot, 3),
      Row("median", false, MedianTyped, MedianSlot, 3, false, EvenRule::Mean),
      Row("median_limited", false, MedianTyped, MedianSlot, 5, true, EvenRule::Lower),
  };
  // Every circle search on each circle sample, and on a scene without a circle.
  for (const char* file : {"circle_inside.png", "circle_border.png", "circle_noisy.png",
                           "disc_clean.png", "pads_scene.png"}) {
    const std::string name = file;
    for (const CircleMethod m : {CircleMethod::Full, CircleMethod::Quick, CircleMethod::TwoScale}) {
      rows.push_back(Row("circle_" + std::to_string(static_cast<int>(m)) + "_" + name,
                         name != "pads_scene.png", CircleTyped, CircleSlot, file, m,
                         name == "disc_clean.png" ? 30.0f : 20.0f));
    }
  }
  return rows;
}

// Family by family a typed call gives the numbers of the slot it stands for and finds what the
// sample holds; the typed calls keep no state, so from four threads at once every row gives its
// serial answer.
TEST(TypedAgainstSlot, GivesTheSlotsNumbersFromOneThreadOrFour) {
  const std::vector<FamilyCase> rows = Families();
  std::vector<Numbers> serial, parallel(rows.size());
  for (const FamilyCase& row : rows) {
    serial.push_back(row.typed());
    EXPECT_EQ(serial.back(), row.slot()) << row.name;
    EXPECT_TRUE(!row.answers || serial.back().at(0) == 0.0) << row.name << ": nothing found";
  }
  std::atomic<std::size_t> next{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (std::size_t i = next++; i < rows.size(); i = next++) parallel[i] = rows[i].typed();
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (std::size_t i = 0; i < rows.size(); ++i) EXPECT_EQ(parallel[i], serial[i]) << rows[i].name;
}

// ---- Refused input ----

struct RefusalCase {
  std::string name;
  std::string argument;         // the argument InvalidArgument must name
  std::function<void()> typed;  // must throw
};

std::vector<RefusalCase> Refusals() {
  const cv::Mat grey = Grey("circle_inside.png");
  const cv::Mat colour = Colour("holes.png");
  const imgtarn::FlatFieldCoefficients smallGain{cv::Mat(colour.size(), CV_32FC3),
                                                 cv::Mat(2, 2, CV_32FC3)};
  const imgtarn::MedianOptions emptyLimits{3, true};
  const imgtarn::SortOptions negativeFirst{false, -1};
  return {
      {"circle_radius_zero", "radius", [grey] { imgtarn::LocateCircleMark(grey, {0.0f}); }},
      {"circle_radius_beyond_image", "radius",
       [grey] { imgtarn::LocateCircleMark(grey, {200.0f}); }},
      {"circle_empty_image", "image", [] { imgtarn::LocateCircleMark(cv::Mat()); }},
      {"hough_radius_zero", "radius", [grey] { imgtarn::DetectHoughCircle(grey, {0.0f}); }},
      {"edge_fit_radius_zero", "radius",
       [grey] { imgtarn::RefineCircleEdges(grey, cv::Point2f(150, 110), {0.0f}); }},
      {"rectangle_beyond_image", "size",
       [grey] { imgtarn::LocateRectangleMark(grey, {cv::Size2f(400, 60)}); }},
      {"edges_empty_image", "image", [] { imgtarn::DetectEdges(cv::Mat()); }},
      {"match_pads_no_template", "templates", [grey] { imgtarn::MatchPads(grey, {}); }},
      {"overlay_sizes_differ", "measured",
       [grey] { imgtarn::ScoreOverlay(grey, grey, grey(cv::Rect(0, 0, 10, 10))); }},
      {"flat_field_odd_count", "images", [colour] { imgtarn::CalibrateFlatField({colour}); }},
      {"flat_field_even_window", "window",
       [colour] { imgtarn::CalibrateFlatField(std::vector<cv::Mat>(2, colour), {4}); }},
      {"flat_field_gain_size", "gain",
       [colour, smallGain] { imgtarn::ApplyFlatField(colour, smallGain); }},
      {"fill_colour_beyond_byte", "colour",
       [colour] { imgtarn::FillBlackHoles(colour, imgtarn::Rgb{300}); }},
      {"resize_to_nothing", "size", [colour] { imgtarn::Resize(colour, cv::Size(0, 10)); }},
      {"median_empty_limits", "upper",
       [emptyLimits] { imgtarn::MedianFilter(Heights(), emptyLimits); }},
      {"sort_negative_first", "first",
       [negativeFirst] { imgtarn::CountingSort(std::vector<int>(2, 1), negativeFirst); }},
      {"load_missing_file", "path", [] { imgtarn::LoadImage(kSamples + "missing.png"); }},
  };
}

TEST(TypedRefusal, RaisesInvalidArgumentNamingTheArgument) {
  for (const RefusalCase& row : Refusals()) {
    try {
      row.typed();
      ADD_FAILURE() << row.name << ": no exception";
    } catch (const imgtarn::InvalidArgument& error) {
      EXPECT_EQ(error.argument(), row.argument) << row.name;
      EXPECT_EQ(std::string(error.what()).rfind(row.argument + ": ", 0), 0u) << error.what();
    }
  }
}

}  // namespace
