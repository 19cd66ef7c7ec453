// Edges: canny (slot 23), the detector that picks its own thresholds.
#include <cmath>
#include <limits>
#include <opencv2/imgproc.hpp>

#include "cli.hpp"

namespace imgtarn_cli {

namespace {

int RunCanny(Context& context, const Args& args) {
  args.ExpectPositionals(1, "IMAGE");
  std::string outPath = args.Text("output");
  if (!outPath.empty()) CheckImageOutputPath(outPath, "-o");
  if (args.Has("annotate")) CheckImageOutputPath(args.Text("annotate"), "--annotate");
  const std::string& path = args.positionals()[0];
  cv::Mat grey = LoadGrey(context.Lib(), path);
  bool fill = args.Flag("fill");
  int minArea = args.Integer("min-area", 0);
  if (minArea < 0) throw UsageError("--min-area must be 0 or more");
  float para[5] = {static_cast<float>(grey.cols), static_cast<float>(grey.rows), fill ? 1.0f : 0.0f,
                   args.Flag("debug") ? 1.0f : 0.0f, static_cast<float>(minArea)};
  cv::Mat edges(grey.size(), CV_8UC1, cv::Scalar(0));
  const float unwritten = std::numeric_limits<float>::quiet_NaN();
  float out[4] = {unwritten, unwritten, unwritten, unwritten};
  int status = context.Lib().Call<int>(slot::kDetectEdgesCanny, grey.data, para, edges.data, out);
  json::Value result = json::Value::Object();
  result.Set("command", "canny");
  result.Set("image", path);
  result.Set("width", grey.cols);
  result.Set("height", grey.rows);
  if (status == -1 || std::isnan(out[2])) {
    return ReportRefused(result, "canny: slot 23 is not available in this library (status " +
                                     std::to_string(status) + ")");
  }
  result.Set("status", status);
  result.Set("low_threshold", out[0]);
  result.Set("high_threshold", out[1]);
  result.Set("edge_pixels", out[2]);
  if (fill) {
    result.Set("contours", out[3]);
    result.Set("filled_pixels", cv::countNonZero(edges));
  }
  if (!outPath.empty()) {
    SavePicture(outPath, edges);
    result.Set("output", outPath);
  }
  if (args.Has("annotate")) {
    cv::Mat canvas = annotate::Canvas(grey);
    canvas.setTo(annotate::kFound, edges != 0);
    SavePicture(args.Text("annotate"), canvas);
  }
  PrintResult(result);
  return kExitOk;
}

}  // namespace

std::vector<Command> EdgeCommands() {
  return {
      {"canny",
       "edge map with thresholds taken from the image's own gradients (slot 23)",
       "IMAGE",
       {{"output", "FILE", "write the edge map (255 on edges) there", "o"},
        {"fill", "", "instead of edges, fill the closed shapes they outline"},
        {"min-area", "PIXELS", "with --fill: ignore shapes smaller than this (default 0)"},
        AnnotateOption(),
        DebugOption()},
       RunCanny,
       "JSON: low_threshold, high_threshold (the L1 gradient magnitudes chosen), edge_pixels;\n"
       "with --fill also contours and filled_pixels."},
  };
}

}  // namespace imgtarn_cli
