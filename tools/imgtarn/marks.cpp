// Fiducial marks: circle-mark (slots 11 and 10), hough-circles (slot 3), cross-mark (slot 14)
// and rect-mark (slot 18).
#include <algorithm>
#include <cmath>
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
  bool quick = args.Flag("quick");
  float para[5] = {static_cast<float>(grey.cols), static_cast<float>(grey.rows), radius, 0.0f,
                   args.Flag("debug") ? 1.0f : 0.0f};
  float out[3] = {kUnwritten, kUnwritten, kUnwritten};
  int status =
      context.Lib().Call<int>(quick ? slot::kLocateCircleMarkQuick : slot::kLocateCircleMark,
                              grey.data, para, static_cast<void*>(nullptr), out);

  json::Value result = Header("circle-mark", path, grey);
  result.Set("method", quick ? "quick" : "full");
  result.Set("expected_radius", radius);
  if (Unwritten(out[0])) {
    return ReportRefused(result, std::string("circle-mark: slot ") + (quick ? "10" : "11") +
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

int RunHoughCircles(Context& context, const Args& args) {
  args.ExpectPositionals(1, "IMAGE");
  if (args.Has("annotate")) CheckImageOutputPath(args.Text("annotate"), "--annotate");
  const std::string& path = args.positionals()[0];
  cv::Mat grey = LoadGrey(context.Lib(), path);
  float radius = RequiredRadius(args, grey);
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
  float out[3] = {kUnwritten, kUnwritten, kUnwritten};
  int status = context.Lib().Call<int>(slot::kDetectCirclesSmoothed, grey.data, para, 10, out);
  json::Value result = Header("hough-circles", path, grey);
  result.Set("expected_radius", radius);
  if (Unwritten(out[0])) {
    return ReportRefused(result,
                         "hough-circles: slot 3 is not available in this library "
                         "(status " +
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
       "locate a bright circular fiducial mark of known radius",
       "IMAGE",
       {{"radius", "PIXELS", "nominal radius of the mark (required)"},
        {"quick", "", "template-first search only (slot 10) instead of the full one (slot 11)"},
        AnnotateOption(),
        DebugOption()},
       RunCircleMark,
       resultFields + " A mark that is not found gives found = false and x = y = 0."},
      {"hough-circles",
       "find the Hough circle nearest a radius (slot 3)",
       "IMAGE",
       {{"radius", "PIXELS", "expected radius (required)"},
        {"param1", "VALUE", "upper Canny threshold of the Hough search (default 60)"},
        {"tolerance", "PIXELS", "radius range searched around --radius (default 5)"},
        AnnotateOption(),
        DebugOption()},
       RunHoughCircles,
       resultFields + " radius is the radius of the circle found."},
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
