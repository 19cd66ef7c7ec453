// Contour utilities: contours count (slot 19), rects (slot 8) and mask (slot 34).
#include <cmath>
#include <limits>
#include <opencv2/imgproc.hpp>

#include "cli.hpp"

namespace imgtarn_cli {

namespace {

// Per-contour counts beyond this many are summed but not listed.
constexpr int kListedContours = 256;

int RunContourCount(Context& context, const Args& args) {
  args.ExpectPositionals(2, "IMAGE after 'count'");
  if (args.Has("annotate")) CheckImageOutputPath(args.Text("annotate"), "--annotate");
  const std::string& path = args.positionals()[1];
  cv::Mat grey = LoadGrey(context.Lib(), path);
  int threshold = args.Integer("threshold", 127);
  if (threshold < 0 || threshold > 255) throw UsageError("--threshold must lie in 0..255");
  bool outline = args.Flag("outline");
  float para[6] = {static_cast<float>(grey.cols),    static_cast<float>(grey.rows),
                   static_cast<float>(threshold),    outline ? 1.0f : 0.0f,
                   args.Flag("debug") ? 1.0f : 0.0f, static_cast<float>(kListedContours)};
  std::vector<float> out(2 + kListedContours, std::numeric_limits<float>::quiet_NaN());
  int status = context.Lib().Call<int>(slot::kCountContourPixels, grey.data, para,
                                       static_cast<void*>(nullptr), out.data());
  json::Value result = json::Value::Object();
  result.Set("command", "contours count");
  result.Set("image", path);
  result.Set("width", grey.cols);
  result.Set("height", grey.rows);
  result.Set("mode", outline ? "outline" : "enclosed");
  if (status == -1 || std::isnan(out[1])) {
    return ReportRefused(result,
                         "contours count: slot 19 is not available in this library "
                         "(status " +
                             std::to_string(status) + ")");
  }
  result.Set("status", status);
  result.Set("total_pixels", out[0]);
  int count = static_cast<int>(out[1]);
  result.Set("contours", count);
  json::Value counts = json::Value::Array();
  for (int i = 0; i < std::min(count, kListedContours); ++i) {
    counts.Push(out[static_cast<std::size_t>(2 + i)]);
  }
  result.Set("pixels", counts);
  if (args.Has("annotate")) {
    cv::Mat binary;
    cv::threshold(grey, binary, threshold, 255, cv::THRESH_BINARY);
    std::vector<std::vector<cv::Point>> contours;
    cv::findContours(binary, contours, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE);
    cv::Mat canvas = annotate::Canvas(grey);
    cv::drawContours(canvas, contours, -1, annotate::kFound, 1);
    annotate::Label(canvas, std::to_string(count) + " contours", {5, canvas.rows - 8},
                    annotate::kNote);
    SavePicture(args.Text("annotate"), canvas);
  }
  PrintResult(result);
  return kExitOk;
}

int Threshold(const Args& args) {
  int threshold = args.Integer("threshold", 127);
  if (threshold < 0 || threshold > 255) throw UsageError("--threshold must lie in 0..255");
  return threshold;
}

json::Value Header(const std::string& step, const std::string& path, const cv::Mat& grey) {
  json::Value result = json::Value::Object();
  result.Set("command", "contours " + step);
  result.Set("image", path);
  result.Set("width", grey.cols);
  result.Set("height", grey.rows);
  return result;
}

int RunContourRects(Context& context, const Args& args) {
  args.ExpectPositionals(2, "IMAGE after 'rects'");
  if (args.Has("annotate")) CheckImageOutputPath(args.Text("annotate"), "--annotate");
  const std::string& path = args.positionals()[1];
  cv::Mat grey = LoadGrey(context.Lib(), path);
  int open = args.Integer("open", 1), close = args.Integer("close", 0);
  if (open < 0 || open > 50 || close < 0 || close > 50) {
    throw UsageError("--open and --close radii lie in 0..50");
  }
  std::vector<float> para(8 + 4 * kListedContours, std::numeric_limits<float>::quiet_NaN());
  float head[7] = {static_cast<float>(grey.cols),       static_cast<float>(grey.rows),
                   static_cast<float>(Threshold(args)), static_cast<float>(open),
                   args.Flag("debug") ? 1.0f : 0.0f,    static_cast<float>(close),
                   static_cast<float>(kListedContours)};
  std::copy(head, head + 7, para.begin());
  int status = context.Lib().Call<int>(slot::kMorphBoundingRects, grey.data, para.data());
  json::Value result = Header("rects", path, grey);
  if (status == -1 || std::isnan(para[7])) {
    return ReportRefused(result,
                         "contours rects: slot 8 is not available in this library "
                         "(status " +
                             std::to_string(status) + ")");
  }
  result.Set("status", status);
  int count = static_cast<int>(para[7]);
  result.Set("blobs", count);
  json::Value rects = json::Value::Array();
  cv::Mat canvas = annotate::Canvas(grey);
  for (int i = 0; i < std::min(count, kListedContours); ++i) {
    const float* r = &para[static_cast<std::size_t>(8 + 4 * i)];
    json::Value rect = json::Value::Object();
    rect.Set("x", r[0]);
    rect.Set("y", r[1]);
    rect.Set("width", r[2]);
    rect.Set("height", r[3]);
    rects.Push(rect);
    annotate::Box(canvas, cv::Rect2f(r[0], r[1], r[2], r[3]), annotate::kFound);
  }
  result.Set("rects", rects);
  if (args.Has("annotate")) SavePicture(args.Text("annotate"), canvas);
  PrintResult(result);
  return kExitOk;
}

int RunContourMask(Context& context, const Args& args) {
  args.ExpectPositionals(2, "IMAGE after 'mask'");
  std::string outPath = args.RequiredText("output");
  CheckImageOutputPath(outPath, "-o");
  const std::string& path = args.positionals()[1];
  cv::Mat grey = LoadGrey(context.Lib(), path);
  int minPixels = args.Integer("min-pixels", 0);
  if (minPixels < 0) throw UsageError("--min-pixels must be 0 or more");
  const float unwritten = std::numeric_limits<float>::quiet_NaN();
  float para[7] = {static_cast<float>(grey.cols),
                   static_cast<float>(grey.rows),
                   static_cast<float>(Threshold(args)),
                   static_cast<float>(minPixels),
                   args.Flag("debug") ? 1.0f : 0.0f,
                   unwritten,
                   unwritten};
  cv::Mat mask(grey.size(), CV_8UC1, cv::Scalar(0));
  int status = context.Lib().Call<int>(slot::kDrawContourMask, mask.data, grey.data, para);
  json::Value result = Header("mask", path, grey);
  if (status == -1 || std::isnan(para[5])) {
    return ReportRefused(result,
                         "contours mask: slot 34 is not available in this library "
                         "(status " +
                             std::to_string(status) + ")");
  }
  result.Set("status", status);
  result.Set("blobs", para[5]);
  result.Set("mask_pixels", para[6]);
  SavePicture(outPath, mask);
  result.Set("output", outPath);
  PrintResult(result);
  return kExitOk;
}

int RunContours(Context& context, const Args& args) {
  if (args.positionals().empty()) {
    throw UsageError("missing step: contours count|rects|mask IMAGE");
  }
  const std::string& step = args.positionals()[0];
  if (step == "count") return RunContourCount(context, args);
  if (step == "rects") return RunContourRects(context, args);
  if (step == "mask") return RunContourMask(context, args);
  throw UsageError("unknown step '" + step + "' (count, rects or mask)");
}

}  // namespace

std::vector<Command> ContourCommands() {
  return {
      {"contours",
       "contour utilities on a thresholded plane (slots 19, 8, 34)",
       "count IMAGE | rects IMAGE | mask IMAGE -o MASK",
       {{"threshold", "LEVEL", "samples above LEVEL are foreground (default 127)"},
        {"outline", "", "count: the pixels on each outer contour (default: enclosed pixels)"},
        {"open", "RADIUS", "rects: opening radius that drops specks (default 1)"},
        {"close", "RADIUS", "rects: closing radius that bridges gaps (default 0: none)"},
        {"min-pixels", "N", "mask: leave out blobs enclosing fewer pixels (default 0)"},
        {"output", "FILE", "mask: where to write the filled mask", "o"},
        AnnotateOption(),
        DebugOption()},
       RunContours,
       "count (slot 19): JSON total_pixels, contours (outer contours) and pixels (per contour,\n"
       "the first 256). rects (slot 8): blobs and rects [{x, y, width, height}] after the\n"
       "opening and closing. mask (slot 34): blobs, mask_pixels; the mask has every blob\n"
       "filled, holes included."},
  };
}

}  // namespace imgtarn_cli
