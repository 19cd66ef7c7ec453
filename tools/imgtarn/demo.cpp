// demo: runs every family over the bundled samples and prints what each found against the
// ground truth. Each operation runs as a separate `imgtarn` process, exactly as a person
// would type it, so a failing operation cannot take the demo down with it.
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <opencv2/imgcodecs.hpp>
#include <sstream>

#include "cli.hpp"

namespace imgtarn_cli {

namespace {

std::string Quote(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

std::string SelfPath() {
  char buffer[PATH_MAX];
  ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
  if (length <= 0) throw UsageError("cannot find the imgtarn executable itself");
  return std::string(buffer, static_cast<std::size_t>(length));
}

std::string Format(const char* format, double a, double b = 0, double c = 0) {
  char buffer[96];
  std::snprintf(buffer, sizeof buffer, format, a, b, c);
  return buffer;
}

struct Row {
  std::string operation, sample, expected, found, error, verdict;
};

class Demo {
 public:
  Demo(std::string samples, std::string out, std::string library)
      : samples_(std::move(samples)),
        out_(std::move(out)),
        library_(std::move(library)),
        self_(SelfPath()) {
    std::string truthPath = samples_ + "/ground_truth.json";
    CheckReadable(truthPath, "--samples");
    std::ifstream file(truthPath);
    std::stringstream text;
    text << file.rdbuf();
    try {
      truth_ = json::Parse(text.str());
    } catch (const std::exception& e) {
      throw UsageError(truthPath + ": " + e.what());
    }
    MakeDirectories(out_);
    log_ = out_ + "/demo.log";
    std::remove(log_.c_str());
  }

  void RunAll() {
    for (const char* key : {"circle_inside", "circle_border", "circle_noisy"})
      CircleMark(key, false);
    CircleMark("circle_inside", true);
    HoughCircles("circle_inside");
    BoxMark("cross-mark", "cross");
    BoxMark("rect-mark", "rect");
    Canny("disc_clean");
    SplitAndMatchPads();
    Overlay("overlay_exact");
    Overlay("overlay_shifted");
    FillHoles();
    Levels();
    FlatField();
    Median();
    Resize();
    ContourCount();
  }

  int Print() const {
    const char* header[] = {"operation", "sample", "expected", "found", "error", "verdict"};
    std::size_t widths[6] = {};
    auto cells = [](const Row& r) {
      return std::vector<std::string>{r.operation, r.sample, r.expected,
                                      r.found,     r.error,  r.verdict};
    };
    for (int i = 0; i < 6; ++i) widths[i] = std::string(header[i]).size();
    for (const auto& row : rows_) {
      auto c = cells(row);
      for (int i = 0; i < 6; ++i) widths[i] = std::max(widths[i], c[i].size());
    }
    auto line = [&](const std::vector<std::string>& c) {
      for (int i = 0; i < 6; ++i) {
        std::printf("%-*s%s", static_cast<int>(widths[i]), c[i].c_str(), i < 5 ? "  " : "\n");
      }
    };
    line({header[0], header[1], header[2], header[3], header[4], header[5]});
    std::size_t total = 0;
    for (auto w : widths) total += w + 2;
    std::printf("%s\n", std::string(total - 2, '-').c_str());
    int ok = 0, unavailable = 0;
    for (const auto& row : rows_) {
      line(cells(row));
      ok += row.verdict == "ok";
      unavailable += row.verdict == "n/a";
    }
    std::printf("\n%d of %zu checks within tolerance", ok, rows_.size());
    if (unavailable) std::printf(", %d not available in this library build", unavailable);
    std::printf(".\nAnnotated pictures and results.json are in %s/ (messages in demo.log).\n",
                out_.c_str());
    json::Value all = json::Value::Array();
    for (const auto& row : rows_) {
      json::Value entry = json::Value::Object();
      auto c = cells(row);
      for (int i = 0; i < 6; ++i) entry.Set(header[i], c[i]);
      all.Push(entry);
    }
    std::ofstream(out_ + "/results.json") << all.Dump(2) << "\n";
    return kExitOk;
  }

 private:
  struct Outcome {
    int exit = kExitUsage;
    json::Value json;
  };

  static void MakeDirectories(const std::string& path) {
    std::string partial;
    std::stringstream parts(path);
    std::string part;
    if (!path.empty() && path[0] == '/') partial = "/";
    while (std::getline(parts, part, '/')) {
      if (part.empty()) continue;
      partial += part + "/";
      mkdir(partial.c_str(), 0777);
    }
    struct stat info {};
    if (stat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
      throw UsageError("--out: cannot create " + path);
    }
  }

  std::string Sample(const std::string& name) const { return samples_ + "/" + name; }
  std::string Out(const std::string& name) const { return out_ + "/" + name; }
  const json::Value& Truth(const std::string& key) const { return truth_.Get(key); }

  Outcome Run(std::vector<std::string> args) {
    std::string command = Quote(self_);
    if (!library_.empty()) command += " --library " + Quote(library_);
    for (const auto& arg : args) command += " " + Quote(arg);
    {
      std::ofstream log(log_, std::ios::app);
      log << "$ imgtarn";
      for (const auto& arg : args) log << " " << arg;
      log << "\n";
    }
    command += " 2>>" + Quote(log_);
    Outcome outcome;
    std::FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return outcome;
    std::string text;
    char buffer[4096];
    std::size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) text.append(buffer, n);
    int status = pclose(pipe);
    outcome.exit = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    try {
      if (!text.empty()) outcome.json = json::Parse(text);
    } catch (const std::exception&) {
      outcome.exit = kExitUsage;
    }
    return outcome;
  }

  // A row for a run that produced no result; false when the run is usable.
  bool Failed(const Outcome& outcome, Row row) {
    if (outcome.exit == kExitOk) return false;
    row.found = outcome.exit == kExitRefused ? "not available" : "error (see demo.log)";
    row.error = "-";
    row.verdict = outcome.exit == kExitRefused ? "n/a" : "FAIL";
    rows_.push_back(row);
    return true;
  }

  void Add(Row row, double error, double tolerance, const char* errorFormat = "%.2f px") {
    row.error = Format(errorFormat, error);
    row.verdict = std::isfinite(error) && error <= tolerance ? "ok" : "off";
    rows_.push_back(row);
  }

  static double Field(const json::Value& v, const char* key) { return v.Get(key).Number(NAN); }

  void CircleMark(const std::string& key, bool quick) {
    const json::Value& t = Truth(key);
    std::string name = quick ? "circle-mark --quick" : "circle-mark";
    std::vector<std::string> args = {
        "circle-mark", Sample(t.Get("file").String()),
        "--radius",    Format("%g", Field(t, "radius")),
        "--annotate",  Out(std::string(quick ? "circle-quick_" : "circle-mark_") + key + ".png")};
    if (quick) args.push_back("--quick");
    Row row{
        name, t.Get("file").String(), Format("(%.1f, %.1f)", Field(t, "x"), Field(t, "y")), "", "",
        ""};
    Outcome o = Run(args);
    if (Failed(o, row)) return;
    if (!o.json.Get("found").Bool()) {
      row.found = "not found";
      Add(row, INFINITY, 2.0);
      return;
    }
    row.found = Format("(%.1f, %.1f)", Field(o.json, "x"), Field(o.json, "y"));
    Add(row, std::hypot(Field(o.json, "x") - Field(t, "x"), Field(o.json, "y") - Field(t, "y")),
        2.0);
  }

  void HoughCircles(const std::string& key) {
    const json::Value& t = Truth(key);
    Row row{"hough-circles",
            t.Get("file").String(),
            Format("(%.1f, %.1f) r %.0f", Field(t, "x"), Field(t, "y"), Field(t, "radius")),
            "",
            "",
            ""};
    Outcome o =
        Run({"hough-circles", Sample(t.Get("file").String()), "--radius",
             Format("%g", Field(t, "radius")), "--annotate", Out("hough-circles_" + key + ".png")});
    if (Failed(o, row)) return;
    if (!o.json.Get("found").Bool()) {
      row.found = "not found";
      Add(row, INFINITY, 2.0);
      return;
    }
    row.found = Format("(%.1f, %.1f) r %.1f", Field(o.json, "x"), Field(o.json, "y"),
                       Field(o.json, "radius"));
    Add(row, std::hypot(Field(o.json, "x") - Field(t, "x"), Field(o.json, "y") - Field(t, "y")),
        2.0);
  }

  void BoxMark(const std::string& command, const std::string& key) {
    const json::Value& t = Truth(key);
    std::string size = Format("%gx%g", Field(t, "width"), Field(t, "height"));
    Row row{command,
            t.Get("file").String(),
            Format("(%.1f, %.1f) ", Field(t, "x"), Field(t, "y")) + size,
            "",
            "",
            ""};
    Outcome o = Run({command, Sample(t.Get("file").String()), "--size", size, "--annotate",
                     Out(command + "_" + key + ".png")});
    if (Failed(o, row)) return;
    if (!o.json.Get("found").Bool()) {
      row.found = "not found";
      Add(row, INFINITY, 2.0);
      return;
    }
    row.found = Format("(%.1f, %.1f) ", Field(o.json, "x"), Field(o.json, "y")) +
                Format("%gx%g", 2 * Field(o.json, "half_width"), 2 * Field(o.json, "half_height"));
    Add(row, std::hypot(Field(o.json, "x") - Field(t, "x"), Field(o.json, "y") - Field(t, "y")),
        2.0);
  }

  // Edge quality: how far the edge pixels lie from the true outline of the disc.
  void Canny(const std::string& key) {
    const json::Value& t = Truth(key);
    Row row{"canny", t.Get("file").String(), "edges on the disc outline", "", "", ""};
    std::string edgesPath = Out("canny_" + key + "_edges.png");
    Outcome o = Run({"canny", Sample(t.Get("file").String()), "-o", edgesPath, "--annotate",
                     Out("canny_" + key + ".png")});
    if (Failed(o, row)) return;
    cv::Mat edges = cv::imread(edgesPath, cv::IMREAD_GRAYSCALE);
    double sum = 0.0;
    int count = 0;
    for (int y = 0; y < edges.rows; ++y) {
      for (int x = 0; x < edges.cols; ++x) {
        if (edges.at<uchar>(y, x) == 0) continue;
        sum += std::fabs(std::hypot(x - Field(t, "x"), y - Field(t, "y")) - Field(t, "radius"));
        ++count;
      }
    }
    row.found = Format("%.0f edge px", Field(o.json, "edge_pixels"));
    row.expected += Format(" r %.0f", Field(t, "radius"));
    Add(row, count ? sum / count : INFINITY, 1.5, "%.2f px mean");
  }

  void SplitAndMatchPads() {
    const json::Value& t = Truth("pads");
    const json::Value& pads = t.Get("pads");
    std::string blobs = Out("blobs");
    Row row{"split-pads",
            t.Get("file").String(),
            Format("%.0f pads, grid %.0fx%.0f", static_cast<double>(pads.Size()),
                   Field(t, "grid_rows"), Field(t, "grid_cols")),
            "",
            "",
            ""};
    Outcome o = Run({"split-pads", Sample(t.Get("file").String()), "--out-dir", blobs, "--annotate",
                     Out("split-pads_pads.png")});
    if (!Failed(o, row)) {
      const json::Value& found = o.json.Get("blobs");
      row.found = Format("%.0f pads, grid %.0fx%.0f", static_cast<double>(found.Size()),
                         Field(o.json, "grid_rows"), Field(o.json, "grid_cols"));
      // Each true pad against the nearest blob: the largest corner or size deviation.
      double worst = found.Size() == pads.Size() ? 0.0 : INFINITY;
      for (const auto& pad : pads.Items()) {
        double best = INFINITY;
        for (const auto& blob : found.Items()) {
          double d = 0.0;
          for (const char* k : {"x", "y", "width", "height"}) {
            d = std::max(d, std::fabs(Field(blob, k) - Field(pad, k)));
          }
          best = std::min(best, d);
        }
        worst = std::max(worst, best);
      }
      Add(row, worst, 3.0);
    }
    Row match{"match-pads", t.Get("scene").String(), "every score near 1", "", "", ""};
    Outcome m = Run({"match-pads", Sample(t.Get("scene").String()), "--blobs", blobs, "--annotate",
                     Out("match-pads_pads_scene.png")});
    if (Failed(m, match)) return;
    match.found = Format("min score %.3f", Field(m.json, "min_score"));
    Add(match, 1.0 - Field(m.json, "min_score"), 0.1, "%.3f");
  }

  void Overlay(const std::string& key) {
    const json::Value& t = Truth(key);
    bool exact = t.Has("score");
    Row row{"overlay",
            t.Get("measured").String(),
            exact ? Format("score %.3f", Field(t, "score")) : "score below 1 (shifted pad)",
            "",
            "",
            ""};
    Outcome o =
        Run({"overlay", "--boundary", Sample(t.Get("boundary").String()), "--cad",
             Sample(t.Get("cad").String()), "--measured", Sample(t.Get("measured").String()),
             "--annotate", Out("overlay_" + key + ".png")});
    if (Failed(o, row)) return;
    double score = Field(o.json, "score");
    row.found = Format("score %.3f", score);
    if (exact) {
      Add(row, std::fabs(score - Field(t, "score")), 0.01, "%.3f");
    } else {
      row.error = "-";
      row.verdict = score >= 0.0 && score < Field(t, "score_below") ? "ok" : "off";
      rows_.push_back(row);
    }
  }

  void FillHoles() {
    const json::Value& t = Truth("holes");
    const json::Value& c = t.Get("colour");
    std::string colour = Format("%g,%g,%g", Field(c, "r"), Field(c, "g"), Field(c, "b"));
    Row row{"fill-holes",
            t.Get("file").String(),
            Format("%.0f px filled", Field(t, "hole_pixels")),
            "",
            "",
            ""};
    Outcome o = Run({"fill-holes", Sample(t.Get("file").String()), "--colour", colour, "-o",
                     Out("holes_filled.png"), "--annotate", Out("fill-holes_holes.png")});
    if (Failed(o, row)) return;
    row.found = Format("%.0f px filled", Field(o.json, "filled"));
    Add(row, Field(o.json, "black_after"), 0.0, "%.0f px left");
  }

  void Levels() {
    const json::Value& t = Truth("holes");
    const json::Value& c = t.Get("colour");
    Row row{"levels",
            t.Get("file").String(),
            Format("(%g, %g, %g)", Field(c, "r"), Field(c, "g"), Field(c, "b")),
            "",
            "",
            ""};
    Outcome o = Run({"levels", Sample(t.Get("file").String())});
    if (Failed(o, row)) return;
    const json::Value& l = o.json.Get("levels");
    row.found = Format("(%g, %g, %g)", Field(l, "r"), Field(l, "g"), Field(l, "b"));
    double error = 0.0;
    for (const char* k : {"r", "g", "b"})
      error = std::max(error, std::fabs(Field(l, k) - Field(c, k)));
    Add(row, error, 0.0, "%.0f levels");
  }

  void FlatField() {
    const json::Value& t = Truth("flatfield");
    std::string coeffs = Out("flat.coeffs");
    Row row{"flatfield",
            t.Get("low").String(),
            Format("mean %.0f, flat", Field(t, "target_low")),
            "",
            "",
            ""};
    Outcome c = Run({"flatfield", "calibrate", Sample(t.Get("low").String()),
                     Sample(t.Get("high").String()), "-o", coeffs, "--window",
                     Format("%g", Field(t, "window")), "--target-low",
                     Format("%g", Field(t, "target_low"))});
    if (Failed(c, row)) return;
    Outcome a = Run({"flatfield", "apply", Sample(t.Get("low").String()), "--coeffs", coeffs, "-o",
                     Out("flat_low_corrected.png")});
    if (Failed(a, row)) return;
    row.found = Format("mean %.1f, sd %.1f (was %.1f)", Field(a.json, "mean"),
                       Field(a.json, "stddev"), Field(a.json, "input_stddev"));
    double error = std::fabs(Field(a.json, "mean") - Field(t, "target_low"));
    if (!(Field(a.json, "stddev") < Field(a.json, "input_stddev"))) error = INFINITY;
    Add(row, error, 2.0, "%.1f levels");
  }

  void Median() {
    const json::Value& t = Truth("heights");
    std::string filtered = Out("heights_filtered.tiff");
    Row row{
        "median", t.Get("file").String(), Format("%.0f spikes removed", Field(t, "spikes")), "", "",
        ""};
    Outcome o = Run({"median", Sample(t.Get("file").String()), "--window",
                     Format("%g", Field(t, "window")), "-o", filtered});
    if (Failed(o, row)) return;
    cv::Mat result = cv::imread(filtered, cv::IMREAD_UNCHANGED);
    cv::Mat clean = cv::imread(Sample(t.Get("clean").String()), cv::IMREAD_UNCHANGED);
    double worst = INFINITY;
    if (!result.empty() && result.size() == clean.size() && result.type() == clean.type()) {
      worst = cv::norm(result, clean, cv::NORM_INF);
    }
    row.found = Format("%.0f samples changed", Field(o.json, "changed"));
    Add(row, worst, 5.0, "%.2f max dev");
  }

  void Resize() {
    const json::Value& t = Truth("circle_inside");
    Row row{"resize", t.Get("file").String(), "160x120", "", "", ""};
    std::string resized = Out("circle_inside_half.png");
    Outcome o = Run({"resize", Sample(t.Get("file").String()), "--size", "160x120", "-o", resized});
    if (Failed(o, row)) return;
    cv::Mat image = cv::imread(resized, cv::IMREAD_UNCHANGED);
    row.found = Format("%.0fx%.0f", image.cols, image.rows);
    Add(row, std::abs(image.cols - 160) + std::abs(image.rows - 120), 0.0, "%.0f px");
  }

  void ContourCount() {
    const json::Value& t = Truth("pads");
    Row row{"contours count",
            t.Get("file").String(),
            Format("%.0f contours", static_cast<double>(t.Get("pads").Size())),
            "",
            "",
            ""};
    Outcome o = Run({"contours", "count", Sample(t.Get("file").String()), "--threshold", "127",
                     "--annotate", Out("contours_pads.png")});
    if (Failed(o, row)) return;
    row.found = Format("%.0f contours", Field(o.json, "contours"));
    Add(row, std::fabs(Field(o.json, "contours") - static_cast<double>(t.Get("pads").Size())), 0.0,
        "%.0f");
  }

  std::string samples_, out_, library_, self_, log_;
  json::Value truth_;
  std::vector<Row> rows_;
};

int RunDemo(Context& context, const Args& args) {
  args.ExpectPositionals(0, "");
  // Load the library once here, so a missing library is one clear message, not a table of
  // failures.
  context.Lib();
  Demo demo(args.Text("samples", "samples"), args.Text("out", "out/demo"), context.libraryPath);
  demo.RunAll();
  return demo.Print();
}

}  // namespace

std::vector<Command> DemoCommands() {
  return {
      {"demo",
       "run every family over the samples and compare with the ground truth",
       "",
       {{"samples", "DIR", "folder with the samples and ground_truth.json (default samples)"},
        {"out", "DIR", "folder for annotated pictures and results (default out/demo)"}},
       RunDemo,
       "Prints a table: operation, sample, expected, found, error and a verdict (ok within\n"
       "tolerance, off outside it, n/a when the library does not offer the operation)."},
  };
}

}  // namespace imgtarn_cli
