// Pads: split-pads (slot 27), match-pads (slot 26) and overlay (slot 20).
#include <sys/stat.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <opencv2/imgproc.hpp>
#include <sstream>

#include "cli.hpp"

namespace imgtarn_cli {

namespace {

constexpr float kUnwritten = std::numeric_limits<float>::quiet_NaN();
const char* const kBlobList = "blobs.json";

struct BlobRect {
  int x, y, width, height;
};

float Polarity(const Args& args) { return args.Flag("dark") ? 0.0f : 1.0f; }

void MakeDirectory(const std::string& dir) {
  struct stat info {};
  if (stat(dir.c_str(), &info) == 0) {
    if (!S_ISDIR(info.st_mode)) throw UsageError("--out-dir: " + dir + " is not a folder");
    return;
  }
  if (mkdir(dir.c_str(), 0777) != 0) throw UsageError("--out-dir: cannot create " + dir);
}

std::string BlobFileName(std::size_t index) {
  char name[32];
  std::snprintf(name, sizeof name, "blob_%02zu.png", index);
  return name;
}

json::Value RectJson(const BlobRect& rect) {
  json::Value value = json::Value::Object();
  value.Set("x", rect.x);
  value.Set("y", rect.y);
  value.Set("width", rect.width);
  value.Set("height", rect.height);
  return value;
}

// ---------------------------------------------------------------------------------------------
// split-pads

int RunSplitPads(Context& context, const Args& args) {
  args.ExpectPositionals(1, "IMAGE");
  if (args.Has("annotate")) CheckImageOutputPath(args.Text("annotate"), "--annotate");
  const std::string& path = args.positionals()[0];
  cv::Mat grey = LoadGrey(context.Lib(), path);
  cv::Size grid = args.SizeOr("grid", cv::Size(0, 0));  // given as ROWSxCOLS
  long long area = static_cast<long long>(grey.cols) * grey.rows;
  if (static_cast<long long>(grid.width) * grid.height > area) {
    throw UsageError("--grid " + args.Text("grid") + " has more cells than the image pixels");
  }
  // The operation does not check the sizes of its output buffers. Blobs are bounding boxes of
  // pads or slices of one band, so together they cover the image a few times at most.
  std::size_t pixelCapacity = static_cast<std::size_t>(area) * 8 + 4096;
  std::size_t rectCapacity =
      static_cast<std::size_t>(std::max<long long>(area, grid.width * grid.height)) + 64;
  std::vector<unsigned char> pixels(pixelCapacity, 0);
  std::vector<int> rects(rectCapacity * 4, -1);
  float para[6] = {static_cast<float>(grey.cols),
                   static_cast<float>(grey.rows),
                   Polarity(args),
                   args.Flag("debug") ? 1.0f : 0.0f,
                   static_cast<float>(grid.width),
                   static_cast<float>(grid.height)};
  float gridShape[2] = {kUnwritten, kUnwritten};
  int status =
      context.Lib().Call<int>(slot::kSplitPadBlobs, grey.data, para, static_cast<void*>(nullptr),
                              gridShape, pixels.data(), rects.data());

  std::vector<BlobRect> blobs;
  std::size_t used = 0;
  for (std::size_t i = 0; i < rectCapacity && rects[4 * i + 2] > 0; ++i) {
    BlobRect rect{rects[4 * i], rects[4 * i + 1], rects[4 * i + 2], rects[4 * i + 3]};
    used += static_cast<std::size_t>(rect.width) * rect.height;
    if (used > pixelCapacity) throw UsageError("split-pads: the blobs overflow the buffer");
    blobs.push_back(rect);
  }
  bool found = !std::isnan(gridShape[0]) && !blobs.empty();

  json::Value result = json::Value::Object();
  result.Set("command", "split-pads");
  result.Set("image", path);
  result.Set("width", grey.cols);
  result.Set("height", grey.rows);
  result.Set("status", status);
  result.Set("found", found);
  result.Set("grid_rows", found ? gridShape[0] : 0.0f);
  result.Set("grid_cols", found ? gridShape[1] : 0.0f);
  json::Value list = json::Value::Array();
  json::Value fileList = json::Value::Array();
  std::string outDir = args.Text("out-dir");
  if (!outDir.empty()) MakeDirectory(outDir);
  std::size_t offset = 0;
  for (std::size_t i = 0; i < blobs.size(); ++i) {
    json::Value entry = RectJson(blobs[i]);
    cv::Mat blob(blobs[i].height, blobs[i].width, CV_8UC1, pixels.data() + offset);
    offset += blob.total();
    entry.Set("set_pixels", cv::countNonZero(blob));
    if (!outDir.empty()) {
      entry.Set("file", BlobFileName(i));
      SavePicture(outDir + "/" + BlobFileName(i), blob);
    }
    list.Push(entry);
  }
  result.Set("blobs", list);
  if (!outDir.empty()) {
    json::Value manifest = json::Value::Object();
    manifest.Set("image", path);
    manifest.Set("blobs", list);
    std::ofstream file(outDir + "/" + kBlobList);
    file << manifest.Dump(2) << "\n";
    if (!file) throw UsageError("could not write " + outDir + "/" + kBlobList);
    result.Set("out_dir", outDir);
  }
  if (args.Has("annotate")) {
    cv::Mat canvas = annotate::Canvas(grey);
    for (std::size_t i = 0; i < blobs.size(); ++i) {
      const BlobRect& b = blobs[i];
      annotate::Box(canvas, cv::Rect2f(b.x, b.y, b.width, b.height), annotate::kFound);
      annotate::Label(canvas, std::to_string(i), {b.x + 2, b.y + 16}, annotate::kNote);
    }
    if (blobs.empty())
      annotate::Label(canvas, "no pads found", {5, canvas.rows - 8}, annotate::kNote);
    SavePicture(args.Text("annotate"), canvas);
  }
  PrintResult(result);
  return kExitOk;
}

// ---------------------------------------------------------------------------------------------
// match-pads

struct Templates {
  std::vector<unsigned char> pixels;
  std::vector<int> rects;
  std::vector<BlobRect> where;  // the blobs' places in the reference image, for drawing
  int count = 0;
};

Templates ReadBlobFolder(Library& lib, const std::string& dir) {
  std::string listPath = dir + "/" + kBlobList;
  CheckReadable(listPath, "--blobs");
  std::ifstream file(listPath);
  std::stringstream text;
  text << file.rdbuf();
  json::Value manifest;
  try {
    manifest = json::Parse(text.str());
  } catch (const std::exception& e) {
    throw UsageError(listPath + " is not a blob list written by split-pads: " + e.what());
  }
  const json::Value& blobs = manifest.Get("blobs");
  if (!blobs.IsArray() || blobs.Size() == 0) throw UsageError(listPath + " lists no blobs");
  Templates templates;
  for (const auto& entry : blobs.Items()) {
    std::string name = entry.Get("file").String();
    if (name.empty()) throw UsageError(listPath + ": a blob without a file name");
    cv::Mat blob = LoadGrey(lib, dir + "/" + name);
    // An empty template would divide the shape score by zero.
    if (cv::countNonZero(blob) == 0) throw UsageError(dir + "/" + name + " has no set pixel");
    templates.pixels.insert(templates.pixels.end(), blob.datastart, blob.dataend);
    BlobRect rect{static_cast<int>(entry.Get("x").Number()),
                  static_cast<int>(entry.Get("y").Number()), blob.cols, blob.rows};
    templates.rects.insert(templates.rects.end(), {rect.x, rect.y, rect.width, rect.height});
    templates.where.push_back(rect);
    ++templates.count;
  }
  return templates;
}

int RunMatchPads(Context& context, const Args& args) {
  args.ExpectPositionals(1, "IMAGE");
  if (args.Has("annotate")) CheckImageOutputPath(args.Text("annotate"), "--annotate");
  const std::string& path = args.positionals()[0];
  cv::Mat grey = LoadGrey(context.Lib(), path);
  Templates templates = ReadBlobFolder(context.Lib(), args.RequiredText("blobs"));
  float para[7] = {static_cast<float>(grey.cols),
                   static_cast<float>(grey.rows),
                   Polarity(args),
                   args.Flag("debug") ? 1.0f : 0.0f,
                   0.0f,
                   0.0f,
                   static_cast<float>(templates.count)};
  std::vector<float> scores(static_cast<std::size_t>(templates.count), kUnwritten);
  int status = context.Lib().Call<int>(slot::kMatchPadTemplates, grey.data, para,
                                       static_cast<void*>(nullptr), scores.data(),
                                       templates.pixels.data(), templates.rects.data());
  json::Value result = json::Value::Object();
  result.Set("command", "match-pads");
  result.Set("image", path);
  result.Set("width", grey.cols);
  result.Set("height", grey.rows);
  if (std::isnan(scores[0])) {
    return ReportRefused(result, "match-pads: slot 26 is not available in this library");
  }
  result.Set("status", status);
  json::Value list = json::Value::Array();
  double minimum = std::numeric_limits<double>::infinity();
  for (int i = 0; i < templates.count; ++i) {
    json::Value entry = RectJson(templates.where[static_cast<std::size_t>(i)]);
    entry.Set("score", scores[static_cast<std::size_t>(i)]);
    minimum = std::min(minimum, static_cast<double>(scores[static_cast<std::size_t>(i)]));
    list.Push(entry);
  }
  result.Set("min_score", minimum);
  result.Set("scores", list);
  if (args.Has("annotate")) {
    cv::Mat canvas = annotate::Canvas(grey);
    for (int i = 0; i < templates.count; ++i) {
      const BlobRect& b = templates.where[static_cast<std::size_t>(i)];
      annotate::Box(canvas, cv::Rect2f(b.x, b.y, b.width, b.height), annotate::kFound);
      char caption[32];
      std::snprintf(caption, sizeof caption, "%.2f", scores[static_cast<std::size_t>(i)]);
      annotate::Label(canvas, caption, {b.x + 2, b.y + 16}, annotate::kNote);
    }
    SavePicture(args.Text("annotate"), canvas);
  }
  PrintResult(result);
  return kExitOk;
}

// ---------------------------------------------------------------------------------------------
// overlay

int RunOverlay(Context& context, const Args& args) {
  args.ExpectPositionals(0, "");
  if (args.Has("annotate")) CheckImageOutputPath(args.Text("annotate"), "--annotate");
  std::string boundaryPath = args.RequiredText("boundary");
  std::string cadPath = args.RequiredText("cad");
  std::string measuredPath = args.RequiredText("measured");
  cv::Mat boundary = LoadGrey(context.Lib(), boundaryPath);
  cv::Mat cad = LoadGrey(context.Lib(), cadPath);
  cv::Mat measured = LoadGrey(context.Lib(), measuredPath);
  if (cad.size() != boundary.size() || measured.size() != boundary.size()) {
    throw UsageError("--boundary, --cad and --measured must have the same size");
  }
  // The spill weights grow ring by ring until they reach the outside of the boundary: without
  // any outside pixel that growth would never end.
  if (cv::countNonZero(boundary != 255) == 0) {
    throw UsageError("--boundary " + boundaryPath + " is 255 everywhere; it needs an outside");
  }
  if (cv::countNonZero(cad) == 0) throw UsageError("--cad " + cadPath + " has no set pixel");
  if (cv::countNonZero(measured) == 0) {
    throw UsageError("--measured " + measuredPath + " has no set pixel");
  }
  float para[3] = {static_cast<float>(boundary.cols), static_cast<float>(boundary.rows),
                   args.Flag("debug") ? 1.0f : 0.0f};
  float score = kUnwritten;
  int status = context.Lib().Call<int>(slot::kFollowCadOverlay, boundary.data, cad.data,
                                       measured.data, para, static_cast<void*>(nullptr), &score);
  json::Value result = json::Value::Object();
  result.Set("command", "overlay");
  result.Set("boundary", boundaryPath);
  result.Set("cad", cadPath);
  result.Set("measured", measuredPath);
  result.Set("width", boundary.cols);
  result.Set("height", boundary.rows);
  if (std::isnan(score)) {
    return ReportRefused(result, "overlay: slot 20 is not available in this library (status " +
                                     std::to_string(status) + ")");
  }
  result.Set("status", status);
  result.Set("score", score);
  if (args.Has("annotate")) {
    // Boundary dimmed, CAD pad in green, measured pad in red: yellow is agreement.
    cv::Mat canvas(boundary.size(), CV_8UC3, cv::Scalar(0, 0, 0));
    canvas.setTo(cv::Scalar(60, 60, 60), boundary == 255);
    canvas.setTo(cv::Scalar(0, 200, 0), cad != 0);
    canvas.setTo(cv::Scalar(0, 0, 220), (measured != 0) & (cad == 0));
    canvas.setTo(cv::Scalar(0, 220, 220), (measured != 0) & (cad != 0));
    char caption[40];
    std::snprintf(caption, sizeof caption, "score %.3f", score);
    annotate::Label(canvas, caption, {5, canvas.rows - 8}, annotate::kNote);
    SavePicture(args.Text("annotate"), canvas);
  }
  PrintResult(result);
  return kExitOk;
}

}  // namespace

std::vector<Command> PadCommands() {
  return {
      {"split-pads",
       "split an image of pads into pad blobs (slot 27)",
       "IMAGE",
       {{"out-dir", "DIR", "write blob_NN.png and blobs.json there (input of match-pads)"},
        {"dark", "", "pads are darker than the ground (default: brighter)"},
        {"grid", "ROWSxCOLS", "expected grid of pads, e.g. 1x4 (default: find it)"},
        AnnotateOption(),
        DebugOption()},
       RunSplitPads,
       "JSON: found, grid_rows, grid_cols, blobs [{x, y, width, height, set_pixels, file}]."},
      {"match-pads",
       "score a later image against the blobs of split-pads (slot 26)",
       "IMAGE",
       {{"blobs", "DIR", "folder written by split-pads --out-dir (required)"},
        {"dark", "", "pads are darker than the ground (default: brighter)"},
        AnnotateOption(),
        DebugOption()},
       RunMatchPads,
       "JSON: scores [{x, y, width, height, score}] (blob places in the reference image; a\n"
       "score near 1 is a pad of the same shape), min_score."},
      {"overlay",
       "score how well a measured pad covers its CAD pad (slot 20)",
       "",
       {{"boundary", "FILE", "boundary mask: 255 inside, anything else outside (required)"},
        {"cad", "FILE", "CAD pad mask (required)"},
        {"measured", "FILE", "measured pad mask (required)"},
        AnnotateOption(),
        DebugOption()},
       RunOverlay,
       "JSON: score (1 = covers the CAD pad and spills nowhere, 0 = the floor). The annotation\n"
       "shows the CAD pad green, the measured pad red, their overlap yellow."},
  };
}

}  // namespace imgtarn_cli
