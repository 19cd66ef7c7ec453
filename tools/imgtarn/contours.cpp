// Contour utilities: contours count (slot 19).
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
  float para[6] = {static_cast<float>(grey.cols), static_cast<float>(grey.rows),
                   static_cast<float>(threshold), outline ? 1.0f : 0.0f,
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
    return ReportRefused(result, "contours count: slot 19 is not available in this library "
                                 "(status " + std::to_string(status) + ")");
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

int RunContours(Context& context, const Args& args) {
  if (args.positionals().empty()) throw UsageError("missing step: contours count IMAGE");
  const std::string& step = args.positionals()[0];
  if (step == "count") return RunContourCount(context, args);
  throw UsageError("unknown step '" + step + "' (count)");
}

}  // namespace

std::vector<Command> ContourCommands() {
  return {
      {"contours", "contour utilities on a thresholded plane (slot 19)", "count IMAGE",
       {{"threshold", "LEVEL", "samples above LEVEL are foreground (default 127)"},
        {"outline", "", "count the pixels on each outer contour (default: enclosed pixels)"},
        AnnotateOption(), DebugOption()},
       RunContours,
       "count: JSON total_pixels, contours (number of outer contours) and pixels (per contour,\n"
       "the first 256)."},
  };
}

}  // namespace imgtarn_cli
