// eval_fiducials: LocateFiducial and plain OpenCV peers on annotated crops of real boards.
//
// usage: eval_fiducials FOLDER
//
// FOLDER holds the crops and annotations.csv (file, kind, cx, cy, radius, width, height, ...;
// kinds circle, rect and cross are used). Prints one line per crop with each method's centre
// error in pixels, then per kind and method: marks found within 1 px, median and worst error
// over the marks the method reported.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <opencv2/imgcodecs.hpp>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "imgtarn/vision.hpp"
#include "peers.hpp"

namespace eval_fiducials {
namespace {

namespace fs = std::filesystem;

struct Annotation {
  std::string file;
  std::string kind;  // circle, rect or cross
  cv::Point2f centre;
  float radius = 0.0f;
  cv::Size2f size;
};

using Locator = std::function<std::optional<cv::Point2f>(const cv::Mat&, const Annotation&)>;
struct Method {
  std::string name;
  Locator locate;
};

std::vector<std::string> SplitCsv(const std::string& line) {
  std::vector<std::string> fields;
  std::stringstream stream(line);
  std::string field;
  while (std::getline(stream, field, ',')) fields.push_back(field);
  return fields;
}

float Number(const std::string& text) { return text.empty() ? 0.0f : std::stof(text); }

std::vector<Annotation> ReadAnnotations(const fs::path& csv) {
  std::ifstream in(csv);
  if (!in) throw std::runtime_error("cannot read " + csv.string());
  std::string line;
  std::getline(in, line);
  std::map<std::string, size_t> column;
  const std::vector<std::string> header = SplitCsv(line);
  for (size_t i = 0; i < header.size(); ++i) column[header[i]] = i;
  for (const char* name : {"file", "kind", "cx", "cy", "radius", "width", "height"})
    if (!column.count(name)) throw std::runtime_error(std::string("no column ") + name);
  std::vector<Annotation> marks;
  while (std::getline(in, line)) {
    std::vector<std::string> f = SplitCsv(line);
    f.resize(header.size());
    const std::string kind = f[column["kind"]];
    if (kind != "circle" && kind != "rect" && kind != "cross") continue;
    marks.push_back(Annotation{
        f[column["file"]], kind, cv::Point2f(Number(f[column["cx"]]), Number(f[column["cy"]])),
        Number(f[column["radius"]]),
        cv::Size2f(Number(f[column["width"]]), Number(f[column["height"]]))});
  }
  return marks;
}

std::optional<cv::Point2f> ByLocateFiducial(const cv::Mat& grey, const Annotation& mark) {
  imgtarn::FiducialOptions options;
  if (mark.kind == "circle") {
    options.shape = imgtarn::FiducialShape::Circle;
    options.radius = mark.radius;
  } else {
    options.shape =
        mark.kind == "cross" ? imgtarn::FiducialShape::Cross : imgtarn::FiducialShape::Rectangle;
    options.size = mark.size;
  }
  const imgtarn::FiducialResult found = imgtarn::LocateFiducial(grey, options);
  std::printf("    LocateFiducial: (%.2f, %.2f) size %.2f x %.2f score %.3f stage %s%s\n",
              found.centre.x, found.centre.y, found.size.width, found.size.height, found.score,
              imgtarn::FiducialStageName(found.stage), found.found ? "" : " (not found)");
  if (!found.found) return std::nullopt;
  return found.centre;
}

std::vector<Method> MethodsFor(const std::string& kind) {
  std::vector<Method> methods = {{"LocateFiducial", ByLocateFiducial}};
  if (kind == "circle") {
    methods.push_back({"HoughCircles", [](const cv::Mat& g, const Annotation& m) {
                         return HoughNearestRadius(g, m.radius);
                       }});
    methods.push_back({"DiscTemplate", [](const cv::Mat& g, const Annotation& m) {
                         return DiscTemplatePeak(g, m.radius);
                       }});
    methods.push_back({"ShadedDisc", [](const cv::Mat& g, const Annotation& m) {
                         return ShadedDiscPeak(g, m.radius);
                       }});
  } else {
    methods.push_back({"BoxTemplate", [](const cv::Mat& g, const Annotation& m) {
                         return BoxTemplatePeak(g, m.size, m.kind == "cross");
                       }});
  }
  return methods;
}

struct Tally {
  int marks = 0;
  int within = 0;
  std::vector<float> errors;  // of the marks the method reported
};

float Median(std::vector<float> values) {
  std::sort(values.begin(), values.end());
  const size_t n = values.size();
  return n % 2 ? values[n / 2] : 0.5f * (values[n / 2 - 1] + values[n / 2]);
}

void PrintSummary(const std::map<std::string, std::map<std::string, Tally>>& tallies) {
  std::printf("\nsummary (median and worst over the marks each method reported)\n");
  std::printf("%-7s %-15s %12s %10s %10s\n", "kind", "method", "within 1 px", "median", "worst");
  for (const auto& [kind, methods] : tallies) {
    for (const auto& [name, tally] : methods) {
      const std::string within = std::to_string(tally.within) + "/" + std::to_string(tally.marks);
      if (tally.errors.empty()) {
        std::printf("%-7s %-15s %12s %10s %10s\n", kind.c_str(), name.c_str(), within.c_str(), "-",
                    "-");
        continue;
      }
      std::printf("%-7s %-15s %12s %7.3f px %7.3f px\n", kind.c_str(), name.c_str(), within.c_str(),
                  Median(tally.errors),
                  *std::max_element(tally.errors.begin(), tally.errors.end()));
    }
  }
}

int Run(const fs::path& folder) {
  const std::vector<Annotation> marks = ReadAnnotations(folder / "annotations.csv");
  std::map<std::string, std::map<std::string, Tally>> tallies;
  for (const Annotation& mark : marks) {
    const cv::Mat grey = cv::imread((folder / mark.file).string(), cv::IMREAD_GRAYSCALE);
    if (grey.empty()) throw std::runtime_error("cannot read " + mark.file);
    std::printf("%s (%s) truth (%.2f, %.2f)\n", mark.file.c_str(), mark.kind.c_str(), mark.centre.x,
                mark.centre.y);
    for (const Method& method : MethodsFor(mark.kind)) {
      Tally& tally = tallies[mark.kind][method.name];
      ++tally.marks;
      const std::optional<cv::Point2f> centre = method.locate(grey, mark);
      if (!centre) {
        std::printf("  %-15s not found\n", method.name.c_str());
        continue;
      }
      const float error = static_cast<float>(cv::norm(*centre - mark.centre));
      tally.errors.push_back(error);
      if (error <= 1.0f) ++tally.within;
      std::printf("  %-15s (%7.2f, %7.2f) error %.3f px\n", method.name.c_str(), centre->x,
                  centre->y, error);
    }
  }
  PrintSummary(tallies);
  return 0;
}

}  // namespace
}  // namespace eval_fiducials

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: eval_fiducials FOLDER  (FOLDER holds annotations.csv)\n");
    return 2;
  }
  try {
    return eval_fiducials::Run(argv[1]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "eval_fiducials: %s\n", error.what());
    return 1;
  }
}
