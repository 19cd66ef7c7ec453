// Fiducial marks: circle-mark (slots 11, 10 and 12), circle-edges (slot 17), hough-circles
// (slots 3, 5 and 4), hough-demo (slot 2), cross-mark (slot 14) and rect-mark (slot 18).
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "cli.hpp"

namespace imgtarn_cli {

namespace {

constexpr float kUnwritten = std::numeric_limits<float>::quiet_NaN();

// Operations that are missing from a library build refuse every input without writing their
// results; the real ones always write at least the centre, so an untouched NaN tells the two
// apart.
bool Unwritten(float value) { return std::isnan(value); }

json::Value Header(const std::string& command, const std::string& image, const cv::Mat& grey) {
  json::Value result = json::Value::Object();
  result.Set("command", command);
  result.Set("image", image);
  result.Set("width", grey.cols);
  result.Set("height", grey.rows);
  return result;
}

std::string Dimensions(const cv::Mat& image) {
  return std::to_string(image.cols) + "x" + std::to_string(image.rows);
}

float RequiredRadius(const Args& args, const cv::Mat& grey) {
  double radius = args.RequiredNumber("radius");
  if (radius < 3.0) throw UsageError("--radius must be at least 3 pixels");
  // The disc template is 2r + 2 pixels wide; a larger one cannot be searched in the image.
  double side = std::floor(2.0 * radius + 2.0);
  if (side > grey.cols || side > grey.rows) {
    throw UsageError("--radius " + args.Text("radius") + ": a mark of diameter " +
                     std::to_string(static_cast<int>(side)) + " does not fit the " +
                     Dimensions(grey) + " image");
  }
  return static_cast<float>(radius);
}

void AnnotateCircle(const Args& args, const cv::Mat& grey, const json::Value& result) {
  if (!args.Has("annotate")) return;
  cv::Mat canvas = annotate::Canvas(grey);
  if (result.Get("found").Bool()) {
    cv::Point2f centre(static_cast<float>(result.Get("x").Number()),
                       static_cast<float>(result.Get("y").Number()));
    annotate::Circle(canvas, centre, static_cast<float>(result.Get("radius").Number()),
                     annotate::kFound);
    annotate::CentreCross(canvas, centre, annotate::kFound);
    char caption[64];
    std::snprintf(caption, sizeof caption, "(%.1f, %.1f)", centre.x, centre.y);
    annotate::Label(canvas, caption, {5, canvas.rows - 8}, annotate::kNote);
  } else {
    annotate::Label(canvas, "no mark found", {5, canvas.rows - 8}, annotate::kNote);
  }
  SavePicture(args.Text("annotate"), canvas);
}

int RunCircleMark(Context& context, const Args& args) {
  args.ExpectPositionals(1, "IMAGE");
  if (args.Has("annotate")) CheckImageOutputPath(args.Text("annotate"), "--annotate");
  const std::string& path = args.positionals()[0];
  cv::Mat grey = LoadGrey(context.Lib(), path);
  float radius = RequiredRadius(args, grey);
  if (args.Flag("quick") && args.Flag("half"))
    throw UsageError("--quick and --half exclude each other");
  const char* method = args.Flag("quick") ? "quick" : args.Flag("half") ? "half" : "full";
  int slotIndex = args.Flag("quick")  ? slot::kLocateCircleMarkQuick
                  : args.Flag("half") ? slot::kLocateCircleMarkRoi
                                      : slot::kLocateCircleMark;
  float para[5] = {static_cast<float>(grey.cols), static_cast<float>(grey.rows), radius, 0.0f,
                   args.Flag("debug") ? 1.0f : 0.0f};
  float out[3] = {kUnwritten, kUnwritten, kUnwritten};
  int status =
      context.Lib().Call<int>(slotIndex, grey.data, para, static_cast<void*>(nullptr), out);

  json::Value result = Header("circle-mark", path, grey);
  result.Set("method", method);
  result.Set("expected_radius", radius);
  if (Unwritten(out[0])) {
    return ReportRefused(result, "circle-mark: slot " + std::to_string(slotIndex) +
                                     " is not available in this library (status " +
                                     std::to_string(status) + ", no result written)");
  }
  // A centre of (0, 0) is the library's "no mark"; status -1 with a written result is the
  // fall-back search giving up, which is also "no mark".
  bool found = out[0] != 0.0f && out[1] != 0.0f;
  result.Set("status", status);
  result.Set("found", found);
  result.Set("x", out[0]);
  result.Set("y", out[1]);
  result.Set("radius", Unwritten(out[2]) ? 0.0f : out[2]);
  AnnotateCircle(args, grey, result);
  PrintResult(result);
  return kExitOk;
}

// Slot 3: one Hough search over r - t .. r + t with its own debug views.
int CallHoughSmoothed(Context& context, const Args& args, const cv::Mat& grey, float radius,
                      float* out) {
  // The search covers r - t .. r + t, with t = 5 unless a tolerance above 2 is given; the
  // lower end must not fall below 0.
  double tolerance = args.Number("tolerance", std::min(5.0, static_cast<double>(radius)));
  double effective = tolerance > 2.0 ? std::trunc(tolerance) : 5.0;
  if (tolerance < 0.0 || effective > radius) {
    throw UsageError(
        "--tolerance: the radius range would reach below 0; give a tolerance "
        "above 2 and at most the radius");
  }
  float para[10] = {static_cast<float>(grey.cols),
                    static_cast<float>(grey.rows),
                    radius,
                    static_cast<float>(args.Number("param1", 60.0)),
                    args.Flag("debug") ? 1.0f : 0.0f,
                    0.0f,
                    0.0f,
                    0.0f,
                    0.0f,
                    static_cast<float>(tolerance)};
  return context.Lib().Call<int>(slot::kDetectCirclesSmoothed, grey.data, para, 10, out);
}

// Slots 5 and 4: the same fixed search over r - 2 .. r + 2, given numbers (5) or the texts a
// host types in (4). Both always show their window; without a display that is skipped.
int CallHoughFixed(Context& context, const Args& args, const cv::Mat& grey, float radius,
                   bool fromText, float* out) {
  if (args.Has("tolerance"))
    throw UsageError("--tolerance: --plain and --text search r - 2 .. r + 2");
  float param1 = static_cast<float>(args.Number("param1", 15.0));
  if (!fromText) {
    return context.Lib().Call<int>(slot::kDetectCirclesPlain, grey.data, grey.cols, grey.rows,
                                   radius, param1, out);
  }
  std::string texts[4] = {std::to_string(grey.cols), std::to_string(grey.rows), args.Text("radius"),
                          args.Text("param1", "15")};
  char* pointers[4] = {texts[0].data(), texts[1].data(), texts[2].data(), texts[3].data()};
  return context.Lib().Call<int>(slot::kDetectCirclesFromText, grey.data, pointers,
                                 static_cast<void*>(nullptr), out);
}

int RunHoughCircles(Context& context, const Args& args) {
  args.ExpectPositionals(1, "IMAGE");
  if (args.Has("annotate")) CheckImageOutputPath(args.Text("annotate"), "--annotate");
  if (args.Flag("plain") && args.Flag("text"))
    throw UsageError("--plain and --text exclude each other");
  const std::string& path = args.positionals()[0];
  cv::Mat grey = LoadGrey(context.Lib(), path);
  float radius = RequiredRadius(args, grey);
  bool fixed = args.Flag("plain") || args.Flag("text");
  int slotIndex = args.Flag("plain")  ? slot::kDetectCirclesPlain
                  : args.Flag("text") ? slot::kDetectCirclesFromText
                                      : slot::kDetectCirclesSmoothed;
  float out[3] = {kUnwritten, kUnwritten, kUnwritten};
  int status = fixed ? CallHoughFixed(context, args, grey, radius, args.Flag("text"), out)
                     : CallHoughSmoothed(context, args, grey, radius, out);
  json::Value result = Header("hough-circles", path, grey);
  result.Set("method", args.Flag("plain") ? "plain" : args.Flag("text") ? "text" : "smoothed");
  result.Set("expected_radius", radius);
  if (Unwritten(out[0])) {
    return ReportRefused(result, "hough-circles: slot " + std::to_string(slotIndex) +
                                     " is not available in this library (status " +
                                     std::to_string(status) + ")");
  }
  bool found = out[2] != 0.0f;
  result.Set("status", status);
  result.Set("found", found);
  result.Set("x", out[0]);
  result.Set("y", out[1]);
  result.Set("radius", out[2]);
  AnnotateCircle(args, grey, result);
  PrintResult(result);
  return kExitOk;
}

// Slot 17: the edge of a circle measured on rays from a centre the caller already has, fitted
// with an ellipse.
int RunCircleEdges(Context& context, const Args& args) {
  args.ExpectPositionals(1, "IMAGE");
  if (args.Has("annotate")) CheckImageOutputPath(args.Text("annotate"), "--annotate");
  const std::string& path = args.positionals()[0];
  cv::Point2f centre = ParsePoint(args.RequiredText("centre"), "--centre");
  double radius = args.RequiredNumber("radius");
  cv::Mat grey = LoadGrey(context.Lib(), path);
  // The rays reach 1.5 r; a radius beyond the longer side is refused by the operation.
  if (!(radius > 0.0) || radius > std::max(grey.cols, grey.rows)) {
    throw UsageError("--radius must be above 0 and at most the image's longer side");
  }
  float para[5] = {static_cast<float>(grey.cols), static_cast<float>(grey.rows), centre.x, centre.y,
                   static_cast<float>(radius)};
  float out[5] = {kUnwritten, kUnwritten, kUnwritten, kUnwritten, kUnwritten};
  int status = context.Lib().Call<int>(slot::kAdjustCircleEdges, grey.data, para,
                                       static_cast<void*>(nullptr), out);
  json::Value result = Header("circle-edges", path, grey);
  json::Value start = json::Value::Array();
  start.Push(centre.x);
  start.Push(centre.y);
  result.Set("start", start);
  result.Set("expected_radius", static_cast<float>(radius));
  result.Set("status", status);
  // Too few edge points is -1 with the result untouched: no edge, not a refusal.
  bool found = status == 0 && !Unwritten(out[0]);
  result.Set("found", found);
  result.Set("x", found ? out[0] : 0.0f);
  result.Set("y", found ? out[1] : 0.0f);
  result.Set("radius", found ? (out[2] + out[3]) * 0.5f : 0.0f);
  json::Value axes = json::Value::Array();
  axes.Push(found ? out[2] : 0.0f);
  axes.Push(found ? out[3] : 0.0f);
  result.Set("semi_axes", axes);
  result.Set("angle", found ? out[4] : 0.0f);
  if (args.Has("annotate")) {
    cv::Mat canvas = annotate::Canvas(grey);
    annotate::CentreCross(canvas, centre, annotate::kNote, 4);
    if (found) {
      annotate::Ellipse(canvas, {{out[0], out[1]}, {2 * out[2], 2 * out[3]}, out[4]},
                        annotate::kFound);
      annotate::CentreCross(canvas, {out[0], out[1]}, annotate::kFound);
    }
    annotate::Label(canvas, found ? "edge fitted" : "no edge found", {5, canvas.rows - 8},
                    annotate::kNote);
    SavePicture(args.Text("annotate"), canvas);
  }
  PrintResult(result);
  return kExitOk;
}

// Slot 2 reads the file itself and only shows windows: the JSON can say whether it read the
// file and whether there was a display to show them on.
int RunHoughDemo(Context& context, const Args& args) {
  args.ExpectPositionals(1, "IMAGE");
  const std::string& path = args.positionals()[0];
  cv::Mat grey = LoadGrey(context.Lib(), path);  // the same checks and messages as elsewhere
  std::string characters = path;
  int status = context.Lib().Call<int>(slot::kHoughCircleDemo,
                                       reinterpret_cast<unsigned char*>(characters.data()));
  json::Value result = Header("hough-demo", path, grey);
  if (status == -1) return ReportRefused(result, "hough-demo: slot 2 could not read " + path);
  result.Set("status", status);
  bool display = std::getenv("DISPLAY") != nullptr || std::getenv("WAYLAND_DISPLAY") != nullptr;
  result.Set("display", display);
  json::Value windows = json::Value::Array();
  if (display) {
    windows.Push("Sobel Edges");
    windows.Push("Hough Circles");
  }
  result.Set("windows", windows);
  PrintResult(result);
  return kExitOk;
}

// Cross and rectangle marks share their arguments and their result: centre and half sizes.
int RunBoxMark(Context& context, const Args& args, const std::string& name, int slotIndex) {
  args.ExpectPositionals(1, "IMAGE");
  if (args.Has("annotate")) CheckImageOutputPath(args.Text("annotate"), "--annotate");
  const std::string& path = args.positionals()[0];
  cv::Mat grey = LoadGrey(context.Lib(), path);
  cv::Size size = args.RequiredSize("size");
  if (size.width > grey.cols || size.height > grey.rows) {
    throw UsageError("--size " + args.Text("size") + " does not fit the " + Dimensions(grey) +
                     " image");
  }
  if (size.width < 6 || size.height < 6) {
    throw UsageError("--size: a mark must be at least 6x6 pixels");
  }
  float para[5] = {static_cast<float>(grey.cols), static_cast<float>(grey.rows), size.width * 0.5f,
                   size.height * 0.5f, args.Flag("debug") ? 1.0f : 0.0f};
  float out[4] = {kUnwritten, kUnwritten, 0.0f, 0.0f};
  int status =
      context.Lib().Call<int>(slotIndex, grey.data, para, static_cast<void*>(nullptr), out);
  json::Value result = Header(name, path, grey);
  result.Set("expected_width", size.width);
  result.Set("expected_height", size.height);
  if (Unwritten(out[0])) {
    return ReportRefused(result, name + ": slot " + std::to_string(slotIndex) +
                                     " is not available in this library (status " +
                                     std::to_string(status) + ")");
  }
  bool found = out[0] != 0.0f || out[1] != 0.0f;
  result.Set("status", status);
  result.Set("found", found);
  result.Set("x", out[0]);
  result.Set("y", out[1]);
  result.Set("half_width", found ? out[2] : 0.0f);
  result.Set("half_height", found ? out[3] : 0.0f);
  if (args.Has("annotate")) {
    cv::Mat canvas = annotate::Canvas(grey);
    if (found) {
      cv::Point2f centre(out[0], out[1]);
      annotate::Box(canvas, cv::Rect2f(out[0] - out[2], out[1] - out[3], 2 * out[2], 2 * out[3]),
                    annotate::kFound);
      annotate::CentreCross(canvas, centre, annotate::kFound);
      char caption[80];
      std::snprintf(caption, sizeof caption, "(%.1f, %.1f) %.0fx%.0f", out[0], out[1], 2 * out[2],
                    2 * out[3]);
      annotate::Label(canvas, caption, {5, canvas.rows - 8}, annotate::kNote);
    } else {
      annotate::Label(canvas, "no mark found", {5, canvas.rows - 8}, annotate::kNote);
    }
    SavePicture(args.Text("annotate"), canvas);
  }
  PrintResult(result);
  return kExitOk;
}

}  // namespace

std::vector<Command> MarkCommands() {
  const std::string resultFields =
      "JSON: found, x, y (centre in pixels of the image), radius, status.";
  const std::string boxFields =
      "JSON: found, x, y (centre), half_width, half_height (pixels), status.";
  return {
      {"circle-mark",
       "locate a bright circular fiducial mark of known radius (slots 11, 10, 12)",
       "IMAGE",
       {{"radius", "PIXELS", "nominal radius of the mark (required)"},
        {"quick", "", "template-first search only (slot 10) instead of the full one (slot 11)"},
        {"half", "", "edge search on the image halved, then at full size (slot 12)"},
        AnnotateOption(),
        DebugOption()},
       RunCircleMark,
       resultFields + " A mark that is not found gives found = false and x = y = 0.\n"
                      "method is full, quick or half."},
      {"circle-edges",
       "refine a circle from a known centre by its edge on 72 rays (slot 17)",
       "IMAGE",
       {{"centre", "X,Y", "centre to start from, e.g. from circle-mark (required)"},
        {"radius", "PIXELS", "radius to start from; rays run 0.5 to 1.5 times it (required)"},
        AnnotateOption()},
       RunCircleEdges,
       "JSON: found, x, y (centre of the fitted ellipse), radius (mean semi-axis), semi_axes\n"
       "[a, b], angle (degrees), status. Too few edge points: found = false, status -1."},
      {"hough-circles",
       "find the Hough circle nearest a radius (slot 3; --plain: 5, --text: 4)",
       "IMAGE",
       {{"radius", "PIXELS", "expected radius (required)"},
        {"param1", "VALUE",
         "upper Canny threshold of the Hough search (default 60; 15 with "
         "--plain or --text)"},
        {"tolerance", "PIXELS",
         "radius range searched around --radius (default 5; not with --plain or --text)"},
        {"plain", "", "the fixed search r - 2 .. r + 2 given numbers (slot 5)"},
        {"text", "", "the fixed search r - 2 .. r + 2 given texts (slot 4)"},
        AnnotateOption(),
        DebugOption()},
       RunHoughCircles,
       resultFields +
           "\nradius is the radius of the circle found; method is smoothed, plain or text.\n"
           "--plain and --text always show the window \"Hough Circle Transform Demo\" when\n"
           "there is a display (--debug does not change that)."},
      {"hough-demo",
       "show a picture's Sobel edges and every Hough circle in windows (slot 2)",
       "IMAGE",
       {},
       RunHoughDemo,
       "The operation reads IMAGE itself and only shows \"Sobel Edges\" and \"Hough Circles\"\n"
       "(no wait); without a display nothing is shown. JSON: status, display, windows."},
      {"cross-mark",
       "locate a bright plus-shaped fiducial mark (slot 14)",
       "IMAGE",
       {{"size", "WxH", "full nominal width and height of the cross, e.g. 60x60 (required)"},
        AnnotateOption(),
        DebugOption()},
       [](Context& c, const Args& a) { return RunBoxMark(c, a, "cross-mark", 14); },
       boxFields},
      {"rect-mark",
       "locate a bright rectangular fiducial mark (slot 18)",
       "IMAGE",
       {{"size", "WxH", "full nominal width and height of the rectangle (required)"},
        AnnotateOption(),
        DebugOption()},
       [](Context& c, const Args& a) { return RunBoxMark(c, a, "rect-mark", 18); },
       boxFields},
  };
}

}  // namespace imgtarn_cli
