// Contour utilities: contours count (slot 19), rects (8), mask (34), outline (6), rings (7),
// moments (9), polygons (15), ring (21) and fill (22).
#include <cmath>
#include <limits>
#include <opencv2/imgproc.hpp>
#include <sstream>

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

// ---------------------------------------------------------------------------------------------
// The other contour slots share the head of para: width, height, threshold, one slot-specific
// value at [3] and the debug switch; what they write back starts at [5].

constexpr float kUnwritten = std::numeric_limits<float>::quiet_NaN();

std::vector<float> ContourPara(const Args& args, const cv::Mat& grey, float third,
                               std::size_t size) {
  std::vector<float> para(size, kUnwritten);
  para[0] = static_cast<float>(grey.cols);
  para[1] = static_cast<float>(grey.rows);
  para[2] = static_cast<float>(Threshold(args));
  para[3] = third;
  para[4] = args.Flag("debug") ? 1.0f : 0.0f;
  return para;
}

// A second plane for the same call: the same size as the first.
cv::Mat LoadMatchingGrey(Context& context, const Args& args, const std::string& option,
                         const cv::Mat& grey) {
  std::string path = args.Text(option);
  cv::Mat plane = LoadGrey(context.Lib(), path);
  if (plane.size() != grey.size()) {
    throw UsageError("--" + option + " " + path + " must have the same size as the image");
  }
  return plane;
}

int Refused(json::Value& result, const std::string& step, int slotIndex, int status) {
  return ReportRefused(result, "contours " + step + ": slot " + std::to_string(slotIndex) +
                                   " is not available in this library (status " +
                                   std::to_string(status) + ")");
}

int NonNegative(const Args& args, const std::string& name, int fallback) {
  int value = args.Integer(name, fallback);
  if (value < 0) throw UsageError("--" + name + " must be 0 or more");
  return value;
}

// Runs the common part of a step: the image, the output paths checked before anything runs.
struct StepInput {
  std::string path;
  cv::Mat grey;
};

StepInput ReadStep(Context& context, const Args& args, const std::string& step, bool output) {
  args.ExpectPositionals(2, "IMAGE after '" + step + "'");
  if (output) CheckImageOutputPath(args.RequiredText("output"), "-o");
  if (!output && args.Has("output")) CheckImageOutputPath(args.Text("output"), "-o");
  if (args.Has("annotate")) CheckImageOutputPath(args.Text("annotate"), "--annotate");
  StepInput in{args.positionals()[1], {}};
  in.grey = LoadGrey(context.Lib(), in.path);
  return in;
}

void SaveIfAsked(const Args& args, const cv::Mat& picture, json::Value& result) {
  if (!args.Has("output")) return;
  SavePicture(args.Text("output"), picture);
  result.Set("output", args.Text("output"));
}

// Centres of listed blobs, crossed on the input.
void AnnotateCentres(const Args& args, const cv::Mat& grey,
                     const std::vector<std::pair<cv::Point2f, cv::Scalar>>& centres) {
  if (!args.Has("annotate")) return;
  cv::Mat canvas = annotate::Canvas(grey);
  for (const auto& [centre, colour] : centres) annotate::CentreCross(canvas, centre, colour);
  SavePicture(args.Text("annotate"), canvas);
}

int RunContourOutline(Context& context, const Args& args) {
  args.ExpectPositionals(2, "IMAGE after 'outline'");
  std::string outPath = args.RequiredText("output");
  CheckImageOutputPath(outPath, "-o");
  const std::string& path = args.positionals()[1];
  cv::Vec3i colour = ParseColour(args.Text("colour", "0,255,0"), "--colour");
  ColourPlanes planes = LoadColour(context.Lib(), path);
  cv::Mat grey = planes.Grey();
  std::vector<float> para =
      ContourPara(args, grey, static_cast<float>(NonNegative(args, "thickness", 1)), 9);
  for (int i = 0; i < 3; ++i) para[static_cast<std::size_t>(5 + i)] = static_cast<float>(colour[i]);
  int status = context.Lib().Call<int>(slot::kDrawContoursAllExternal, grey.data, para.data(),
                                       planes.red.data(), planes.green.data(), planes.blue.data());
  json::Value result = Header("outline", path, grey);
  if (status == -1 || std::isnan(para[8])) return Refused(result, "outline", 6, status);
  result.Set("status", status);
  result.Set("contours", para[8]);
  SaveColour(context.Lib(), outPath, planes);
  result.Set("output", outPath);
  PrintResult(result);
  return kExitOk;
}

json::Value Entries(const std::vector<float>& list, int count, const char* lastKey,
                    std::vector<std::pair<cv::Point2f, cv::Scalar>>& centres,
                    const cv::Scalar& colour) {
  json::Value entries = json::Value::Array();
  for (int i = 0; i < std::min(count, kListedContours); ++i) {
    const float* e = &list[static_cast<std::size_t>(4 * i)];
    json::Value entry = json::Value::Object();
    entry.Set("x", e[0]);
    entry.Set("y", e[1]);
    entry.Set("pixels", e[2]);
    if (lastKey != nullptr) entry.Set(lastKey, e[3]);
    entries.Push(entry);
    centres.push_back({{e[0], e[1]}, colour});
  }
  return entries;
}

int RunContourRings(Context& context, const Args& args) {
  StepInput in = ReadStep(context, args, "rings", false);
  std::vector<float> para =
      ContourPara(args, in.grey, static_cast<float>(NonNegative(args, "min-pixels", 0)), 11);
  double minHole = args.Number("min-hole", 4.0);
  if (!(minHole >= 0.0)) throw UsageError("--min-hole must be 0 or more");
  para[5] = static_cast<float>(minHole);
  para[6] = para[7] = static_cast<float>(kListedContours);
  std::vector<float> rings(4 * kListedContours), solids(4 * kListedContours);
  cv::Mat ringMask(in.grey.size(), CV_8UC1, cv::Scalar(0));
  int status = context.Lib().Call<int>(slot::kClassifyRingContours, ringMask.data,
                                       static_cast<unsigned char*>(nullptr), solids.data(),
                                       para.data(), rings.data(), in.grey.data);
  json::Value result = Header("rings", in.path, in.grey);
  if (status == -1 || std::isnan(para[8])) return Refused(result, "rings", 7, status);
  result.Set("status", status);
  std::vector<std::pair<cv::Point2f, cv::Scalar>> centres;
  result.Set("rings", Entries(rings, static_cast<int>(para[8]), "hole", centres, annotate::kFound));
  result.Set("solids",
             Entries(solids, static_cast<int>(para[9]), nullptr, centres, annotate::kNote));
  result.Set("multi_hole", para[10]);
  SaveIfAsked(args, ringMask, result);
  AnnotateCentres(args, in.grey, centres);
  PrintResult(result);
  return kExitOk;
}

int RunContourMoments(Context& context, const Args& args) {
  StepInput in = ReadStep(context, args, "moments", false);
  cv::Mat region;
  if (args.Has("region")) region = LoadMatchingGrey(context, args, "region", in.grey);
  std::vector<float> para =
      ContourPara(args, in.grey, static_cast<float>(NonNegative(args, "min-pixels", 0)), 6);
  para[5] = static_cast<float>(kListedContours);
  std::vector<float> out(1 + 3 * kListedContours, kUnwritten);
  cv::Mat labels(in.grey.size(), CV_8UC1, cv::Scalar(0));
  int status = context.Lib().Call<int>(slot::kSegmentByMoments, in.grey.data,
                                       region.empty() ? nullptr : region.data, para.data(),
                                       labels.data, out.data());
  json::Value result = Header("moments", in.path, in.grey);
  if (status == -1 || std::isnan(out[0])) return Refused(result, "moments", 9, status);
  result.Set("status", status);
  int count = static_cast<int>(out[0]);
  result.Set("blobs", count);
  json::Value list = json::Value::Array();
  std::vector<std::pair<cv::Point2f, cv::Scalar>> centres;
  for (int i = 0; i < std::min(count, kListedContours); ++i) {
    const float* b = &out[static_cast<std::size_t>(1 + 3 * i)];
    json::Value blob = json::Value::Object();
    blob.Set("area", b[0]);
    blob.Set("x", b[1]);
    blob.Set("y", b[2]);
    list.Push(blob);
    centres.push_back({{b[1], b[2]}, annotate::kFound});
  }
  result.Set("list", list);
  SaveIfAsked(args, labels, result);
  AnnotateCentres(args, in.grey, centres);
  PrintResult(result);
  return kExitOk;
}

int RunContourPolygons(Context& context, const Args& args) {
  StepInput in = ReadStep(context, args, "polygons", false);
  std::vector<float> para =
      ContourPara(args, in.grey, static_cast<float>(args.Number("tolerance", 2.0)), 6);
  para[5] = static_cast<float>(kListedContours);
  std::vector<float> out(1 + kListedContours, kUnwritten);
  cv::Mat drawing(in.grey.size(), CV_8UC1, cv::Scalar(0));
  int status = context.Lib().Call<int>(slot::kApproxContoursDemo, in.grey.data, para.data(),
                                       drawing.data, out.data());
  json::Value result = Header("polygons", in.path, in.grey);
  if (status == -1 || std::isnan(out[0])) return Refused(result, "polygons", 15, status);
  result.Set("status", status);
  int count = static_cast<int>(out[0]);
  result.Set("contours", count);
  json::Value vertices = json::Value::Array();
  for (int i = 0; i < std::min(count, kListedContours); ++i) {
    vertices.Push(out[static_cast<std::size_t>(1 + i)]);
  }
  result.Set("vertices", vertices);
  SaveIfAsked(args, drawing, result);
  if (args.Has("annotate")) {
    cv::Mat canvas = annotate::Canvas(in.grey);
    canvas.setTo(annotate::kFound, drawing != 0);
    SavePicture(args.Text("annotate"), canvas);
  }
  PrintResult(result);
  return kExitOk;
}

// Slot 21 in its two modes: the band around the blob edges of IMAGE, or with --inner the ring
// of IMAGE's foreground that the inner mask leaves uncovered.
int RunContourRing(Context& context, const Args& args) {
  StepInput in = ReadStep(context, args, "ring", true);
  int radius = args.Integer("radius", 2);
  if (radius < 0 || radius > 50) throw UsageError("--radius lies in 0..50");
  bool between = args.Has("inner");
  cv::Mat inner;
  if (between) inner = LoadMatchingGrey(context, args, "inner", in.grey);
  std::vector<float> para = ContourPara(args, in.grey, static_cast<float>(radius), 8);
  cv::Mat ring(in.grey.size(), CV_8UC1, cv::Scalar(0));
  int status = between
                   ? context.Lib().Call<int>(slot::kMorphRing, in.grey.data, inner.data, ring.data,
                                             para.data(), 100, static_cast<unsigned char*>(nullptr))
                   : context.Lib().Call<int>(
                         slot::kMorphRing, ring.data, static_cast<unsigned char*>(nullptr),
                         static_cast<unsigned char*>(nullptr), para.data(), 0, in.grey.data);
  json::Value result = Header("ring", in.path, in.grey);
  result.Set("mode", between ? "between" : "band");
  if (status == -1 || std::isnan(para[5])) return Refused(result, "ring", 21, status);
  result.Set("status", status);
  if (between) {
    result.Set("ring_pixels", para[5]);
    result.Set("pieces", para[6]);
  } else {
    result.Set("band_pixels", para[5]);
    result.Set("outer_pixels", para[6]);
    result.Set("inner_pixels", para[7]);
  }
  SaveIfAsked(args, ring, result);
  if (args.Has("annotate")) {
    cv::Mat canvas = annotate::Canvas(in.grey);
    canvas.setTo(annotate::kFound, ring != 0);
    SavePicture(args.Text("annotate"), canvas);
  }
  PrintResult(result);
  return kExitOk;
}

// "X,Y X,Y X,Y ..." as the operation's record: the vertex count, then the coordinates.
void AppendPolygon(const std::string& text, std::vector<int>& record) {
  std::istringstream points(text);
  std::string point;
  std::vector<int> coordinates;
  while (points >> point) {
    cv::Point2f p = ParsePoint(point, "--polygon");
    if (p.x != std::trunc(p.x) || p.y != std::trunc(p.y) || std::fabs(p.x) > 1e7f ||
        std::fabs(p.y) > 1e7f) {
      throw UsageError("--polygon: '" + point + "' is not a pixel position");
    }
    coordinates.insert(coordinates.end(), {static_cast<int>(p.x), static_cast<int>(p.y)});
  }
  if (coordinates.empty()) throw UsageError("--polygon: no points in '" + text + "'");
  record.push_back(static_cast<int>(coordinates.size() / 2));
  record.insert(record.end(), coordinates.begin(), coordinates.end());
}

int RunContourFill(Context& context, const Args& args) {
  StepInput in = ReadStep(context, args, "fill", true);
  std::vector<std::string> polygons = args.All("polygon");
  if (polygons.empty()) throw UsageError("missing option --polygon (see imgtarn contours --help)");
  std::vector<int> record{static_cast<int>(polygons.size())};
  for (const auto& text : polygons) AppendPolygon(text, record);
  cv::Mat source;
  if (args.Has("copy-from")) source = LoadMatchingGrey(context, args, "copy-from", in.grey);
  int level = args.Integer("level", 255);
  if (level < 0 || level > 255) throw UsageError("--level must lie in 0..255");
  // Index 2 is the fill level here, not a threshold.
  float para[7] = {static_cast<float>(in.grey.cols),
                   static_cast<float>(in.grey.rows),
                   static_cast<float>(level),
                   static_cast<float>(record.size()),
                   args.Flag("debug") ? 1.0f : 0.0f,
                   kUnwritten,
                   kUnwritten};
  cv::Mat target = in.grey.clone();
  int status =
      context.Lib().Call<int>(slot::kFillContours, target.data, para, static_cast<void*>(nullptr),
                              record.data(), source.empty() ? nullptr : source.data);
  json::Value result = Header("fill", in.path, in.grey);
  if (status == -1 || std::isnan(para[5])) return Refused(result, "fill", 22, status);
  result.Set("status", status);
  result.Set("polygons", para[5]);
  result.Set("filled_pixels", para[6]);
  result.Set("changed", cv::countNonZero(target != in.grey));
  SaveIfAsked(args, target, result);
  PrintResult(result);
  return kExitOk;
}

int RunContours(Context& context, const Args& args) {
  if (args.positionals().empty()) {
    throw UsageError(
        "missing step: contours count|rects|mask|outline|rings|moments|polygons|ring|fill "
        "IMAGE");
  }
  const std::string& step = args.positionals()[0];
  if (step == "count") return RunContourCount(context, args);
  if (step == "rects") return RunContourRects(context, args);
  if (step == "mask") return RunContourMask(context, args);
  if (step == "outline") return RunContourOutline(context, args);
  if (step == "rings") return RunContourRings(context, args);
  if (step == "moments") return RunContourMoments(context, args);
  if (step == "polygons") return RunContourPolygons(context, args);
  if (step == "ring") return RunContourRing(context, args);
  if (step == "fill") return RunContourFill(context, args);
  throw UsageError("unknown step '" + step +
                   "' (count, rects, mask, outline, rings, moments, polygons, ring or fill)");
}

}  // namespace

std::vector<Command> ContourCommands() {
  return {
      {"contours",
       "contour utilities on a thresholded plane (slots 19, 8, 34, 6, 7, 9, 15, 21, 22)",
       "count|rects|mask|outline|rings|moments|polygons|ring|fill IMAGE",
       {{"threshold", "LEVEL", "samples above LEVEL are foreground (default 127; not fill)"},
        {"outline", "", "count: the pixels on each outer contour (default: enclosed pixels)"},
        {"open", "RADIUS", "rects: opening radius that drops specks (default 1)"},
        {"close", "RADIUS", "rects: closing radius that bridges gaps (default 0: none)"},
        {"min-pixels", "N", "mask, rings, moments: leave out blobs of fewer pixels (default 0)"},
        {"output", "FILE", "the picture made (mask, outline, ring, fill: required; see below)",
         "o"},
        {"thickness", "N", "outline: line width (default 1)"},
        {"colour", "R,G,B", "outline: line colour (default 0,255,0)"},
        {"min-hole", "AREA", "rings: smaller holes are pin holes and ignored (default 4)"},
        {"region", "MASK", "moments: count foreground only where MASK is non-zero"},
        {"tolerance", "PIXELS", "polygons: Douglas-Peucker tolerance (default 2)"},
        {"radius", "R", "ring: width of the band, or the opening of --inner (default 2)"},
        {"inner", "MASK", "ring: the ring of IMAGE that MASK leaves uncovered"},
        {"polygon", "\"X,Y X,Y ...\"", "fill: a polygon to fill (repeat for more; required)"},
        {"level", "GREY", "fill: level filled in (default 255)"},
        {"copy-from", "FILE", "fill: copy this image's samples inside instead of a level"},
        AnnotateOption(),
        DebugOption()},
       RunContours,
       "count (slot 19): JSON total_pixels, contours (outer contours) and pixels (per contour,\n"
       "the first 256). rects (slot 8): blobs and rects [{x, y, width, height}] after the\n"
       "opening and closing. mask (slot 34): blobs, mask_pixels; the mask has every blob\n"
       "filled, holes included. outline -o OUT (slot 6): contours; OUT is the colour image\n"
       "with every outer contour drawn. rings (slot 7): rings [{x, y, pixels, hole}], solids\n"
       "[{x, y, pixels}], multi_hole (blobs with several holes). moments (slot 9): blobs and\n"
       "list [{area, x, y}] (area without holes, centroid). polygons (slot 15): contours and\n"
       "vertices (per contour). ring -o OUT (slot 21): band_pixels, outer_pixels,\n"
       "inner_pixels; with --inner ring_pixels and pieces. fill -o OUT (slot 22): polygons,\n"
       "filled_pixels (inside the polygons), changed (samples that changed). -o also writes\n"
       "the ring mask of rings, the label plane of moments, the drawing of polygons."},
  };
}

}  // namespace imgtarn_cli
