// demo: every family run over the bundled samples through the typed API, printed as a table
// of what the samples' ground truth expects against what was found, with annotated pictures.
#include <cmath>
#include <cstdio>
#include <fstream>
#include <memory>
#include <opencv2/imgproc.hpp>

#include "cli.hpp"

namespace imgtarn_cli {

namespace {

template <typename... Values>
std::string Format(const char* format, Values... values) {
  char text[128];
  std::snprintf(text, sizeof text, format, values...);
  return text;
}

struct Row {
  std::string operation, sample, expected, found, error, verdict;
  std::vector<std::string> Cells() const {
    return {operation, sample, expected, found, error, verdict};
  }
};

class Demo {
 public:
  Demo(const fs::path& samples, const fs::path& out) : samples_(samples), out_(out) {
    std::ifstream file(samples_ / "ground_truth.json");
    truth_ = Json::parse(file, nullptr, false);
    if (truth_.is_discarded()) {
      throw UsageError("--samples: cannot read " + (samples_ / "ground_truth.json").string());
    }
    fs::create_directories(out_);
  }

  void RunAll() {
    for (const char* key : {"circle_inside", "circle_border", "circle_noisy"}) {
      CircleMark(key, imgtarn::CircleMethod::Full, "circle-mark");
    }
    CircleMark("circle_inside", imgtarn::CircleMethod::Quick, "circle-mark --quick");
    for (const char* key : {"circle_inside", "circle_border", "circle_noisy", "cross", "rect"}) {
      Fiducial(key);
    }
    HoughCircles("circle_inside");
    BoxMark("cross-mark", "cross", imgtarn::LocateCrossMark);
    BoxMark("rect-mark", "rect", imgtarn::LocateRectangleMark);
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

  void Print() const {
    const Row header{"operation", "sample", "expected", "found", "error", "verdict"};
    std::vector<std::size_t> widths(6, 0);
    for (const Row& row : rows_) Widen(widths, row);
    Widen(widths, header);
    PrintRow(widths, header);
    std::size_t total = 0;
    for (std::size_t width : widths) total += width + 2;
    std::printf("%s\n", std::string(total - 2, '-').c_str());
    int ok = 0;
    Json all = Json::array();
    for (const Row& row : rows_) {
      PrintRow(widths, row);
      ok += row.verdict == "ok";
      all.push_back(Json::object());
      for (std::size_t i = 0; i < 6; ++i) all.back()[header.Cells()[i]] = row.Cells()[i];
    }
    std::printf(
        "\n%d of %zu checks within tolerance.\nAnnotated pictures and results.json are in %s/.\n",
        ok, rows_.size(), out_.c_str());
    std::ofstream(out_ / "results.json") << all.dump(2) << "\n";
  }

 private:
  static void Widen(std::vector<std::size_t>& widths, const Row& row) {
    for (std::size_t i = 0; i < 6; ++i) widths[i] = std::max(widths[i], row.Cells()[i].size());
  }
  static void PrintRow(const std::vector<std::size_t>& widths, const Row& row) {
    for (std::size_t i = 0; i < 6; ++i) {
      std::printf("%-*s%s", static_cast<int>(widths[i]), row.Cells()[i].c_str(),
                  i < 5 ? "  " : "\n");
    }
  }

  double Truth(const std::string& key, const char* field) const {
    return truth_[key].value(field, NAN);
  }
  std::string File(const std::string& key, const char* field = "file") const {
    return truth_[key].value(field, "");
  }
  cv::Mat Load(const std::string& file, Pixels pixels = Pixels::Grey) const {
    return LoadPixels(samples_ / file, pixels);
  }
  void Save(const std::string& name, const cv::Mat& picture) const {
    SavePicture(out_ / name, picture);
  }

  // Runs one check; an error it raises becomes a FAIL row that names it.
  void Check(const std::string& operation, const std::string& sample, const std::string& expected,
             const std::function<void(Row&)>& body) {
    Row row{operation, sample, expected, "", "", ""};
    try {
      body(row);
    } catch (const std::exception& e) {
      row.found = std::string("error: ") + e.what();
      row.error = "-";
      row.verdict = "FAIL";
    }
    rows_.push_back(row);
  }

  static void Judge(Row& row, double error, double tolerance, const char* format = "%.2f px") {
    row.error = Format(format, error);
    row.verdict = std::isfinite(error) && error <= tolerance ? "ok" : "off";
  }

  // A centre found against the drawn one, within 2 pixels unless said otherwise.
  void JudgeCentre(Row& row, const std::string& key, bool found, cv::Point2f centre,
                   double tolerance = 2.0) {
    row.found = found ? Format("(%.2f, %.2f)", centre.x, centre.y) : "not found";
    const double error = std::hypot(centre.x - Truth(key, "x"), centre.y - Truth(key, "y"));
    Judge(row, found ? error : INFINITY, tolerance);
  }

  std::string ExpectedCentre(const std::string& key) const {
    return Format("(%.1f, %.1f)", Truth(key, "x"), Truth(key, "y"));
  }

  void CircleMark(const std::string& key, imgtarn::CircleMethod method, const char* name) {
    Check(name, File(key), ExpectedCentre(key), [&](Row& row) {
      const cv::Mat grey = Load(File(key));
      const imgtarn::CircleMarkResult mark =
          imgtarn::LocateCircleMark(grey, {static_cast<float>(Truth(key, "radius")), method});
      Save(Format("%s_%s.png",
                  method == imgtarn::CircleMethod::Quick ? "circle-quick" : "circle-mark",
                  key.c_str()),
           annotate::CircleMark(grey, mark.found, mark.centre, mark.radius));
      JudgeCentre(row, key, mark.found, mark.centre);
    });
  }

  // The locator measures the mark on its own edge: a tenth of a pixel on the drawn marks.
  void Fiducial(const std::string& key) {
    const bool circle = truth_[key].contains("radius");
    Check("fiducial", File(key), ExpectedCentre(key), [&](Row& row) {
      const cv::Mat grey = Load(File(key));
      imgtarn::FiducialOptions options;
      options.shape = circle           ? imgtarn::FiducialShape::Circle
                      : key == "cross" ? imgtarn::FiducialShape::Cross
                                       : imgtarn::FiducialShape::Rectangle;
      options.radius = static_cast<float>(Truth(key, "radius"));
      options.size = cv::Size2f(static_cast<float>(Truth(key, "width")),
                                static_cast<float>(Truth(key, "height")));
      const imgtarn::FiducialResult mark = imgtarn::LocateFiducial(grey, options);
      Save("fiducial_" + key + ".png",
           circle ? annotate::CircleMark(grey, mark.found, mark.centre, mark.radius)
                  : annotate::BoxMark(grey, mark.found, mark.centre, mark.size));
      JudgeCentre(row, key, mark.found, mark.centre, 0.1);
      row.found += Format(" score %.2f", mark.score);
    });
  }

  void HoughCircles(const std::string& key) {
    Check("hough-circles", File(key), ExpectedCentre(key), [&](Row& row) {
      const cv::Mat grey = Load(File(key));
      imgtarn::HoughCircleOptions options;
      options.radius = static_cast<float>(Truth(key, "radius"));
      const imgtarn::CircleMarkResult circle = imgtarn::DetectHoughCircle(grey, options);
      Save("hough-circles_" + key + ".png",
           annotate::CircleMark(grey, circle.found, circle.centre, circle.radius));
      JudgeCentre(row, key, circle.found, circle.centre);
    });
  }

  template <typename Locate>
  void BoxMark(const std::string& name, const std::string& key, Locate locate) {
    const cv::Size2f size(static_cast<float>(Truth(key, "width")),
                          static_cast<float>(Truth(key, "height")));
    Check(name, File(key), ExpectedCentre(key) + Format(" %gx%g", size.width, size.height),
          [&](Row& row) {
            const cv::Mat grey = Load(File(key));
            const imgtarn::BoxMarkResult mark = locate(grey, {size});
            Save(name + "_" + key + ".png",
                 annotate::BoxMark(grey, mark.found, mark.centre, mark.size));
            JudgeCentre(row, key, mark.found, mark.centre);
            if (mark.found) row.found += Format(" %.0fx%.0f", mark.size.width, mark.size.height);
          });
  }

  // Edge quality: how far the edge pixels lie from the true outline of the disc.
  void Canny(const std::string& key) {
    Check("canny", File(key), Format("edges on the disc outline r %.0f", Truth(key, "radius")),
          [&](Row& row) {
            const cv::Mat grey = Load(File(key));
            const imgtarn::EdgeResult edges = imgtarn::DetectEdges(grey);
            cv::Mat canvas = annotate::Canvas(grey);
            canvas.setTo(annotate::kFound, edges.edges != 0);
            Save("canny_" + key + ".png", canvas);
            double sum = 0.0;
            std::vector<cv::Point> points;
            cv::findNonZero(edges.edges, points);
            for (const cv::Point& p : points) {
              sum += std::fabs(std::hypot(p.x - Truth(key, "x"), p.y - Truth(key, "y")) -
                               Truth(key, "radius"));
            }
            row.found = Format("%d edge px", edges.edgePixels);
            Judge(row, points.empty() ? INFINITY : sum / points.size(), 1.5, "%.2f px mean");
          });
  }

  // Each true pad against the nearest blob: the largest corner or size deviation.
  static double WorstPad(const Json& pads, const std::vector<imgtarn::PadBlob>& blobs) {
    double worst = pads.size() == blobs.size() ? 0.0 : INFINITY;
    for (const Json& pad : pads) {
      double best = INFINITY;
      for (const imgtarn::PadBlob& blob : blobs) {
        const cv::Rect& b = blob.box;
        best = std::min(best, std::max({std::abs(b.x - pad["x"].get<double>()),
                                        std::abs(b.y - pad["y"].get<double>()),
                                        std::abs(b.width - pad["width"].get<double>()),
                                        std::abs(b.height - pad["height"].get<double>())}));
      }
      worst = std::max(worst, best);
    }
    return worst;
  }

  void SplitAndMatchPads() {
    const Json& pads = truth_["pads"]["pads"];
    auto split = std::make_shared<imgtarn::PadSplitResult>();
    Check("split-pads", File("pads"),
          Format("%zu pads, grid %.0fx%.0f", pads.size(), Truth("pads", "grid_rows"),
                 Truth("pads", "grid_cols")),
          [&](Row& row) {
            *split = imgtarn::SplitPads(Load(File("pads")));
            row.found = Format("%zu pads, grid %dx%d", split->blobs.size(), split->gridRows,
                               split->gridCols);
            Judge(row, WorstPad(pads, split->blobs), 3.0);
          });
    Check("match-pads", File("pads", "scene"), "every score near 1", [&](Row& row) {
      std::vector<cv::Mat> templates;
      for (const imgtarn::PadBlob& blob : split->blobs) templates.push_back(blob.pixels);
      const std::vector<float> scores =
          imgtarn::MatchPads(Load(File("pads", "scene")), templates).scores;
      const float lowest = scores.empty() ? 0.0f : *std::min_element(scores.begin(), scores.end());
      row.found = Format("min score %.3f", lowest);
      Judge(row, 1.0 - lowest, 0.1, "%.3f");
    });
  }

  void Overlay(const std::string& key) {
    const bool exact = truth_[key].contains("score");
    Check("overlay", File(key, "measured"),
          exact ? Format("score %.3f", Truth(key, "score")) : "score below 1 (shifted pad)",
          [&](Row& row) {
            const float score =
                imgtarn::ScoreOverlay(Load(File(key, "boundary")), Load(File(key, "cad")),
                                      Load(File(key, "measured")))
                    .score;
            row.found = Format("score %.3f", score);
            if (exact) return Judge(row, std::fabs(score - Truth(key, "score")), 0.01, "%.3f");
            row.error = "-";
            row.verdict = score >= 0.0f && score < Truth(key, "score_below") ? "ok" : "off";
          });
  }

  imgtarn::Rgb HoleColour() const {
    const Json& c = truth_["holes"]["colour"];
    return {c["r"].get<int>(), c["g"].get<int>(), c["b"].get<int>()};
  }

  void FillHoles() {
    Check("fill-holes", File("holes"), Format("%.0f px filled", Truth("holes", "hole_pixels")),
          [&](Row& row) {
            const cv::Mat colour = Load(File("holes"), Pixels::Colour);
            const cv::Mat filled = imgtarn::FillBlackHoles(colour, HoleColour());
            Save("holes_filled.png", filled);
            cv::Mat before, after;
            cv::inRange(colour, cv::Scalar::all(0), cv::Scalar::all(5), before);
            cv::inRange(filled, cv::Scalar::all(0), cv::Scalar::all(5), after);
            row.found = Format("%d px filled", cv::countNonZero(before) - cv::countNonZero(after));
            Judge(row, cv::countNonZero(after), 0.0, "%.0f px left");
          });
  }

  void Levels() {
    const imgtarn::Rgb expected = HoleColour();
    Check("levels", File("holes"),
          Format("(%d, %d, %d)", expected.red, expected.green, expected.blue), [&](Row& row) {
            const imgtarn::Rgb l = imgtarn::DominantLevels(Load(File("holes"), Pixels::Colour));
            row.found = Format("(%d, %d, %d)", l.red, l.green, l.blue);
            Judge(row,
                  std::max({std::abs(l.red - expected.red), std::abs(l.green - expected.green),
                            std::abs(l.blue - expected.blue)}),
                  0.0, "%.0f levels");
          });
  }

  void FlatField() {
    const double target = Truth("flatfield", "target_low");
    Check("flatfield", File("flatfield", "low"), Format("mean %.0f, flat", target), [&](Row& row) {
      const cv::Mat low = Load(File("flatfield", "low"), Pixels::Colour);
      imgtarn::FlatFieldOptions options;
      options.window = static_cast<int>(Truth("flatfield", "window"));
      options.targetLow = static_cast<int>(target);
      const cv::Mat corrected = imgtarn::ApplyFlatField(
          low, imgtarn::CalibrateFlatField({low, Load(File("flatfield", "high"), Pixels::Colour)},
                                           options));
      Save("flat_low_corrected.png", corrected);
      cv::Scalar mean, deviation, inputMean, inputDeviation;
      cv::meanStdDev(Grey(corrected), mean, deviation);
      cv::meanStdDev(Grey(low), inputMean, inputDeviation);
      row.found = Format("mean %.1f, sd %.1f (was %.1f)", mean[0], deviation[0], inputDeviation[0]);
      const double error = std::fabs(mean[0] - target);
      Judge(row, deviation[0] < inputDeviation[0] ? error : INFINITY, 2.0, "%.1f levels");
    });
  }

  static cv::Mat Grey(const cv::Mat& bgr) {
    cv::Mat grey;
    cv::cvtColor(bgr, grey, cv::COLOR_BGR2GRAY);
    return grey;
  }

  void Median() {
    Check("median", File("heights"), Format("%.0f spikes removed", Truth("heights", "spikes")),
          [&](Row& row) {
            const cv::Mat heights = Load(File("heights"), Pixels::Heights);
            imgtarn::MedianOptions options;
            options.window = static_cast<int>(Truth("heights", "window"));
            const cv::Mat filtered = imgtarn::MedianFilter(heights, options);
            const cv::Mat clean = Load(File("heights", "clean"), Pixels::Heights);
            row.found = Format("%d samples changed", cv::countNonZero(filtered != heights));
            Judge(row, cv::norm(filtered, clean, cv::NORM_INF), 5.0, "%.2f max dev");
          });
  }

  void Resize() {
    Check("resize", File("circle_inside"), "160x120", [&](Row& row) {
      const cv::Mat resized =
          imgtarn::Resize(Load(File("circle_inside"), Pixels::Colour), cv::Size(160, 120));
      Save("circle_inside_half.png", resized);
      row.found = Format("%dx%d", resized.cols, resized.rows);
      Judge(row, std::abs(resized.cols - 160) + std::abs(resized.rows - 120), 0.0, "%.0f px");
    });
  }

  // The contour operations are the contract's own.
  void ContourCount() {
    const std::size_t pads = truth_["pads"]["pads"].size();
    Check("contours count", File("pads"), Format("%zu contours", pads), [&](Row& row) {
      cv::Mat grey = Load(File("pads"));
      float para[6] = {static_cast<float>(grey.cols), static_cast<float>(grey.rows), 127, 0, 0, 0};
      float out[2] = {};
      ExpectRan(Contract().CountContourPixels(grey.data, para, nullptr, out));
      row.found = Format("%.0f contours", out[1]);
      Judge(row, std::fabs(out[1] - static_cast<double>(pads)), 0.0, "%.0f");
    });
  }

  fs::path samples_, out_;
  Json truth_;
  std::vector<Row> rows_;
};

struct DemoInputs {
  std::string samples = "samples", out = "out/demo";
};

}  // namespace

void AddDemoCommand(CLI::App& app) {
  auto in = std::make_shared<DemoInputs>();
  CLI::App* sub = app.add_subcommand(
      "demo", "run every family over the samples and compare with their ground truth");
  sub->add_option("--samples", in->samples, "folder with the samples and ground_truth.json")
      ->capture_default_str();
  sub->add_option("--out", in->out, "folder for the annotated pictures and results.json")
      ->capture_default_str();
  sub->callback([in] {
    Demo demo(in->samples, in->out);
    demo.RunAll();
    demo.Print();
  });
}

}  // namespace imgtarn_cli
