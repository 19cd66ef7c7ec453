// Pads: split-pads, match-pads (its blobs as templates) and overlay.
#include <cstdio>
#include <fstream>
#include <limits>
#include <memory>
#include <opencv2/imgcodecs.hpp>

#include "cli.hpp"

namespace imgtarn_cli {

namespace {

// The blob list split-pads writes beside the blob pictures, which match-pads reads back.
const char* const kBlobList = "blobs.json";

Json RectJson(const cv::Rect& rect) {
  return {{"x", rect.x}, {"y", rect.y}, {"width", rect.width}, {"height", rect.height}};
}

void AddDark(CLI::App* app, bool& bright) {
  app->add_flag_callback(
      "--dark", [&bright] { bright = false; }, "pads are darker than the ground");
}

std::string BlobFileName(std::size_t index) {
  char name[32];
  std::snprintf(name, sizeof name, "blob_%02zu.png", index);
  return name;
}

// Blob pictures and their list, for match-pads.
void WriteBlobs(const fs::path& folder, const Job& job, const imgtarn::PadSplitResult& split,
                Json& list) {
  for (std::size_t i = 0; i < split.blobs.size(); ++i) {
    SavePicture(folder / BlobFileName(i), split.blobs[i].pixels);
    list[i]["file"] = BlobFileName(i);
  }
  std::ofstream file(folder / kBlobList);
  file << Json{{"image", job.path.string()}, {"blobs", list}}.dump(2) << "\n";
  if (!file) throw std::runtime_error("could not write " + (folder / kBlobList).string());
}

cv::Mat DrawBlobs(const cv::Mat& grey, const std::vector<cv::Rect>& boxes,
                  const std::vector<std::string>& labels) {
  cv::Mat canvas = annotate::Canvas(grey);
  for (std::size_t i = 0; i < boxes.size(); ++i) {
    annotate::Box(canvas, boxes[i], annotate::kFound);
    annotate::Label(canvas, labels[i], boxes[i].tl() + cv::Point(2, 16), annotate::kNote);
  }
  if (boxes.empty()) annotate::Caption(canvas, "no pads found");
  return canvas;
}

void AddSplitPads(CLI::App& app) {
  auto options = std::make_shared<imgtarn::PadSplitOptions>();
  ImageCommand& command = AddImageCommand(
      app, "split-pads", "split an image of pads into pad blobs", Pixels::Grey, true);
  const Output& outDir = AddOutput(command, "--out-dir",
                                   "write blob_NN.png and blobs.json there (input of match-pads)",
                                   false, {"", "", "", false});
  AddDark(command.app, options->bright);
  command.app
      ->add_option_function<std::array<int, 2>>(
          "--grid",
          [options](const std::array<int, 2>& grid) {
            options->gridRows = grid[0];
            options->gridCols = grid[1];
          },
          "expected grid of pads, e.g. 1x4 (default: find it)")
      ->delimiter('x')
      ->type_name("ROWSxCOLS");
  AddDebug(command, options->debug);
  command.run = [options, &outDir](Job& job) {
    const imgtarn::PadSplitResult split = imgtarn::SplitPads(job.image, *options);
    Json list = Json::array();
    std::vector<cv::Rect> boxes;
    std::vector<std::string> labels;
    for (const imgtarn::PadBlob& blob : split.blobs) {
      list.push_back(RectJson(blob.box));
      list.back()["set_pixels"] = cv::countNonZero(blob.pixels);
      boxes.push_back(blob.box);
      labels.push_back(std::to_string(labels.size()));
    }
    if (!outDir.value.empty()) WriteBlobs(job.PathFor(outDir), job, split, list);
    job.result["found"] = split.found;
    job.result["grid_rows"] = split.gridRows;
    job.result["grid_cols"] = split.gridCols;
    job.result["blobs"] = list;
    if (!outDir.value.empty()) job.result["out_dir"] = job.PathFor(outDir).string();
    if (job.annotate) job.annotation = DrawBlobs(job.image, boxes, labels);
  };
}

struct Templates {
  std::string folder;
  std::vector<cv::Mat> pixels;
  std::vector<cv::Rect> places;  // in the reference image, for the result and the drawing
};

void ReadBlobFolder(Templates& templates) {
  const fs::path listPath = fs::path(templates.folder) / kBlobList;
  std::ifstream file(listPath);
  if (!file) throw UsageError("--blobs: cannot read " + listPath.string());
  const Json list = Json::parse(file, nullptr, false);
  if (list.is_discarded() || !list.contains("blobs") || list["blobs"].empty()) {
    throw UsageError("--blobs: " + listPath.string() + " is not a blob list of split-pads");
  }
  for (const Json& blob : list["blobs"]) {
    const fs::path path = fs::path(templates.folder) / blob.value("file", "");
    templates.pixels.push_back(cv::imread(path.string(), cv::IMREAD_GRAYSCALE));
    if (templates.pixels.back().empty()) throw UsageError("--blobs: cannot read " + path.string());
    templates.places.emplace_back(blob.value("x", 0), blob.value("y", 0),
                                  templates.pixels.back().cols, templates.pixels.back().rows);
  }
}

void AddMatchPads(CLI::App& app) {
  auto options = std::make_shared<imgtarn::PadMatchOptions>();
  auto templates = std::make_shared<Templates>();
  ImageCommand& command = AddImageCommand(
      app, "match-pads", "score a later image against the blobs of split-pads", Pixels::Grey, true);
  command.app->add_option("--blobs", templates->folder, "folder written by split-pads --out-dir")
      ->required();
  AddDark(command.app, options->bright);
  AddDebug(command, options->debug);
  command.prepare = [templates] { ReadBlobFolder(*templates); };
  command.run = [options, templates](Job& job) {
    const imgtarn::PadMatchResult match =
        imgtarn::MatchPads(job.image, templates->pixels, *options);
    Json scores = Json::array();
    std::vector<std::string> labels;
    float lowest = std::numeric_limits<float>::infinity();
    for (std::size_t i = 0; i < match.scores.size(); ++i) {
      scores.push_back(RectJson(templates->places[i]));
      scores.back()["score"] = match.scores[i];
      lowest = std::min(lowest, match.scores[i]);
      char label[32];
      std::snprintf(label, sizeof label, "%.2f", match.scores[i]);
      labels.push_back(label);
    }
    job.result["min_score"] = lowest;
    job.result["scores"] = scores;
    if (job.annotate) job.annotation = DrawBlobs(job.image, templates->places, labels);
  };
}

struct OverlayInputs {
  std::string boundary, cad, measured, annotate;
  imgtarn::OverlayOptions options;
};

// Boundary dimmed, CAD pad in green, measured pad in red: yellow is agreement.
cv::Mat DrawOverlay(const cv::Mat& boundary, const cv::Mat& cad, const cv::Mat& measured,
                    float score) {
  cv::Mat canvas(boundary.size(), CV_8UC3, cv::Scalar(0, 0, 0));
  canvas.setTo(cv::Scalar(60, 60, 60), boundary == 255);
  canvas.setTo(cv::Scalar(0, 200, 0), cad != 0);
  canvas.setTo(cv::Scalar(0, 0, 220), (measured != 0) & (cad == 0));
  canvas.setTo(cv::Scalar(0, 220, 220), (measured != 0) & (cad != 0));
  char caption[40];
  std::snprintf(caption, sizeof caption, "score %.3f", score);
  annotate::Caption(canvas, caption);
  return canvas;
}

void RunOverlay(const OverlayInputs& in, Json& result) {
  result["boundary"] = in.boundary;
  result["cad"] = in.cad;
  result["measured"] = in.measured;
  const cv::Mat boundary = LoadPixels(in.boundary, Pixels::Grey);
  const cv::Mat cad = LoadPixels(in.cad, Pixels::Grey);
  const cv::Mat measured = LoadPixels(in.measured, Pixels::Grey);
  const float score = imgtarn::ScoreOverlay(boundary, cad, measured, in.options).score;
  result["width"] = boundary.cols;
  result["height"] = boundary.rows;
  result["score"] = score;
  if (!in.annotate.empty()) SavePicture(in.annotate, DrawOverlay(boundary, cad, measured, score));
}

void AddOverlay(CLI::App& app) {
  auto in = std::make_shared<OverlayInputs>();
  CLI::App* sub = app.add_subcommand("overlay", "score how well a measured pad covers its CAD pad");
  sub->add_option("--boundary", in->boundary, "boundary mask: 255 inside")->required();
  sub->add_option("--cad", in->cad, "CAD pad mask")->required();
  sub->add_option("--measured", in->measured, "measured pad mask")->required();
  sub->add_option("--annotate", in->annotate, "write a picture of the masks and the score");
  sub->add_flag("--debug", in->options.debug, "switch on the operation's own debug windows");
  sub->callback([in] {
    if (!in->annotate.empty()) CheckOutputPath(in->annotate, true, "--annotate");
    ExitStatus() = RunOnce("overlay", [in](Json& result) { RunOverlay(*in, result); });
  });
}

}  // namespace

void AddPadCommands(CLI::App& app) {
  AddSplitPads(app);
  AddMatchPads(app);
  AddOverlay(app);
}

}  // namespace imgtarn_cli
