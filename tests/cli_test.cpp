// The imgtarn tool end to end: each case runs the built executable as a person would, on the
// bundled samples, and reads what it printed with nlohmann-json.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

const std::string kSamples = std::string(IMGTARN_SOURCE_DIR) + "/samples";

std::string Sample(const std::string& name) { return kSamples + "/" + name; }

std::string Quote(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

std::string ReadFile(const fs::path& path) {
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

// A scratch folder per test, so that parallel test processes never share files.
class Scratch {
 public:
  Scratch() {
    char pattern[] = "/tmp/imgtarn_cli_test_XXXXXX";
    dir_ = mkdtemp(pattern);
  }
  ~Scratch() { fs::remove_all(dir_); }
  std::string operator()(const std::string& name) const { return (dir_ / name).string(); }

 private:
  fs::path dir_;
};

struct Outcome {
  int exit = -1;
  std::string out, err;
};

// Runs the tool with "{scratch}/" in an argument standing for the scratch folder.
Outcome Imgtarn(std::vector<std::string> args, const Scratch& scratch) {
  std::string command = Quote(IMGTARN_CLI);
  for (std::string& arg : args) {
    if (arg.rfind("{scratch}/", 0) == 0) arg = scratch(arg.substr(10));
    command += " " + Quote(arg);
  }
  const std::string errPath = scratch("stderr.txt");
  Outcome run;
  std::FILE* pipe = popen((command + " 2>" + Quote(errPath)).c_str(), "r");
  char buffer[4096];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
    run.out.append(buffer, n);
  }
  const int status = pclose(pipe);
  run.exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  run.err = ReadFile(errPath);
  return run;
}

// A 10 x 20 bright lead at columns 70..79, rows 50..69 (centre 74.5, 59.5) on a dark board,
// with a bright solder bridge filling the 8 columns right of its template box, and the
// template: the lead with a 5-pixel margin of board (box centre at the lead centre).
void DrawLead(const Scratch& scratch) {
  cv::Mat board(120, 160, CV_8UC1, cv::Scalar(40));
  board(cv::Rect(70, 50, 10, 20)).setTo(200);
  cv::imwrite(scratch("lead_template.png"), board(cv::Rect(65, 45, 20, 30)));
  board(cv::Rect(85, 50, 8, 20)).setTo(200);
  cv::imwrite(scratch("lead.png"), board);
}

// One figure of a result: a number within a tolerance, or any other JSON value exactly.
struct Figure {
  std::string pointer;
  Json expected;
  double tolerance = 0.0;
};

struct FamilyCase {
  std::vector<std::string> args;
  std::vector<Figure> figures;
  std::vector<std::string> setup = {};  // run first, e.g. the step that writes a later input
};

class Family : public ::testing::TestWithParam<FamilyCase> {};

TEST_P(Family, PrintsTheFiguresOfTheSample) {
  Scratch scratch;
  DrawLead(scratch);
  if (!GetParam().setup.empty()) {
    ASSERT_EQ(Imgtarn(GetParam().setup, scratch).exit, 0);
  }
  const Outcome run = Imgtarn(GetParam().args, scratch);
  ASSERT_EQ(run.exit, 0) << run.err << run.out;
  const Json result = Json::parse(run.out);
  EXPECT_FALSE(result.contains("error")) << run.out;
  for (const Figure& figure : GetParam().figures) {
    const Json& value = result.at(Json::json_pointer(figure.pointer));
    if (figure.expected.is_number()) {
      EXPECT_NEAR(value.get<double>(), figure.expected.get<double>(), figure.tolerance)
          << figure.pointer;
    } else {
      EXPECT_EQ(value, figure.expected) << figure.pointer;
    }
  }
  // Floats print in their shortest form, never with a double's seventeen digits.
  EXPECT_FALSE(std::regex_search(run.out, std::regex("\\.[0-9]{10,}"))) << run.out;
}

const std::string kPads = Sample("pads.png");
const std::string kCalibrate = "{scratch}/flat.yml";

INSTANTIATE_TEST_SUITE_P(
    Samples, Family,
    ::testing::Values(
        FamilyCase{{"fiducial", Sample("circle_border.png"), "--radius", "20"},
                   {{"/x", 306, 0.1}, {"/y", 120, 0.1}, {"/radius", 20, 0.2}, {"/found", true}}},
        FamilyCase{{"fiducial", Sample("rect.png"), "--shape", "rect", "--size", "80x50"},
                   {{"/x", 169.5, 0.1}, {"/size/1", 50, 0.2}, {"/stage", "rectangle-mark"}}},
        FamilyCase{{"circle-mark", Sample("circle_inside.png"), "--radius", "20"},
                   {{"/x", 150, 2}, {"/y", 110, 2}, {"/radius", 20}}},
        FamilyCase{{"circle-mark", Sample("circle_border.png"), "--radius", "20", "--half"},
                   {{"/x", 306, 2}, {"/method", "half"}}},
        FamilyCase{{"circle-mark", Sample("circle_noisy.png"), "--radius", "20", "--quick"},
                   {{"/x", 170, 2}, {"/y", 130, 2}}},
        FamilyCase{{"hough-circles", Sample("circle_inside.png"), "--radius", "20"},
                   {{"/x", 150, 2}, {"/radius", 20, 2}}},
        // Refined from a start 2 pixels off the drawn centre.
        FamilyCase{
            {"circle-edges", Sample("circle_inside.png"), "--centre", "152,112", "--radius", "20"},
            {{"/x", 150, 1}, {"/y", 110, 1}, {"/radius", 20, 1}}},
        FamilyCase{{"cross-mark", Sample("cross.png"), "--size", "60x60"},
                   {{"/x", 147.5, 2}, {"/y", 125.5, 2}, {"/size/0", 60, 9}}},
        FamilyCase{{"rect-mark", Sample("rect.png"), "--size", "80x50"},
                   {{"/x", 169.5, 2}, {"/size/1", 50, 7.5}}},
        FamilyCase{{"hough-demo", Sample("circle_inside.png")}, {{"/width", 320}}},
        // Expected 3 pixels left of the lead: beyond a 1.5-pixel tolerance; the bridge makes
        // the right region too bright.
        FamilyCase{{"lead", "{scratch}/lead.png", "--template", "{scratch}/lead_template.png",
                    "--expect", "71.5,59.5"},
                   {{"/centre/0", 74.5, 1},
                    {"/left/x", 57},
                    {"/right/width", 8},
                    {"/measure/error/0", 3, 1},
                    {"/measure/judgement/bits", 1 + 4}}},
        // The disc of radius 30 filled to its edge pixels: between pi 30^2 and pi 31^2.
        FamilyCase{{"canny", Sample("disc_clean.png"), "--fill"},
                   {{"/contours", 1}, {"/filled_pixels", 2923, 96}}},
        FamilyCase{{"split-pads", kPads, "--out-dir", "{scratch}/blobs"},
                   {{"/grid_cols", 3}, {"/blobs/1/x", 140, 3}, {"/blobs/1/width", 40, 3}}},
        FamilyCase{{"match-pads", Sample("pads_scene.png"), "--blobs", "{scratch}/blobs"},
                   {{"/min_score", 1, 0.1}, {"/scores/2/width", 40, 3}},
                   {"split-pads", kPads, "--out-dir", "{scratch}/blobs"}},
        FamilyCase{{"overlay", "--boundary", Sample("pad_boundary.png"), "--cad",
                    Sample("pad_cad.png"), "--measured", Sample("pad_cad.png")},
                   {{"/score", 1, 1e-6}}},
        FamilyCase{
            {"fill-holes", Sample("holes.png"), "--colour", "180,120,60", "-o", "{scratch}/f.png"},
            {{"/filled", 778}, {"/black_after", 0}}},
        FamilyCase{{"levels", Sample("holes.png")},
                   {{"/levels", Json{{"r", 180}, {"g", 120}, {"b", 60}}}}},
        FamilyCase{{"flatfield", "apply", Sample("flat_low.png"), "--coeffs", kCalibrate, "-o",
                    "{scratch}/flat.png"},
                   {{"/mean", 128, 2}},
                   {"flatfield", "calibrate", Sample("flat_low.png"), Sample("flat_high.png"), "-o",
                    kCalibrate}},
        FamilyCase{{"median", Sample("heights.tiff"), "--window", "3", "-o", "{scratch}/m.tiff"},
                   {{"/window", 3}}},
        FamilyCase{
            {"resize", Sample("holes.png"), "--size", "100x50", "--cubic", "-o", "{scratch}/r.png"},
            {{"/output_width", 100}, {"/output_height", 50}}},
        FamilyCase{{"sort", "3", "1", "2", "1"},
                   {{"/values", Json{1, 1, 2, 3}}, {"/permutation", Json{1, 3, 2, 0}}}},
        FamilyCase{{"sort", "0", "-2", "--descending"}, {{"/values", Json{0, -2}}}},
        // Three 40 x 60 pads, the middle one centred at 159.5, 119.5; each encloses its whole
        // rectangle, give or take the softened rim.
        FamilyCase{{"contours", "count", kPads}, {{"/contours", 3}, {"/pixels/1", 2400, 150}}},
        FamilyCase{{"contours", "rects", kPads}, {{"/blobs", 3}, {"/rects/2/x", 220, 2}}},
        FamilyCase{{"contours", "mask", kPads, "-o", "{scratch}/m.png"}, {{"/blobs", 3}}},
        FamilyCase{{"contours", "outline", kPads, "-o", "{scratch}/o.png"}, {{"/contours", 3}}},
        FamilyCase{{"contours", "rings", kPads}, {{"/solids/0/pixels", 2400}}},
        FamilyCase{{"contours", "moments", kPads}, {{"/list/1/x", 159.5}}},
        FamilyCase{{"contours", "polygons", kPads}, {{"/vertices/2", 4}}},
        // A radius-1 disc is a cross: the outer ring is each pad's 4-neighbour rim.
        FamilyCase{{"contours", "ring", kPads, "--radius", "1", "-o", "{scratch}/o.png"},
                   {{"/outer_pixels", 3 * 200}}},
        FamilyCase{
            {"contours", "fill", kPads, "--polygon", "0,0 9,0 9,9 0,9", "-o", "{scratch}/o.png"},
            {{"/filled_pixels", 100}}}));

// Pictures the tool writes: the annotation has the input's size, the median output is the
// clean height map within the spikes' reach, the canny edges lie on the disc's outline.
TEST(CliPictures, WritesWhatTheResultDescribes) {
  Scratch scratch;
  Outcome mark = Imgtarn({"circle-mark", Sample("circle_inside.png"), "--radius", "20",
                          "--annotate", "{scratch}/a.png"},
                         scratch);
  ASSERT_EQ(mark.exit, 0) << mark.err;
  EXPECT_EQ(cv::imread(scratch("a.png")).size(), cv::Size(320, 240));

  ASSERT_EQ(Imgtarn({"median", Sample("heights.tiff"), "-o", "{scratch}/m.tiff"}, scratch).exit, 0);
  cv::Mat filtered = cv::imread(scratch("m.tiff"), cv::IMREAD_UNCHANGED);
  cv::Mat clean = cv::imread(Sample("heights_clean.tiff"), cv::IMREAD_UNCHANGED);
  ASSERT_EQ(filtered.type(), CV_32FC1);
  EXPECT_LT(cv::norm(filtered, clean, cv::NORM_INF), 5.0);

  ASSERT_EQ(Imgtarn({"canny", Sample("disc_clean.png"), "-o", "{scratch}/e.png"}, scratch).exit, 0);
  std::vector<cv::Point> edges;
  cv::findNonZero(cv::imread(scratch("e.png"), cv::IMREAD_GRAYSCALE), edges);
  EXPECT_GT(edges.size(), 4u * 30);  // a closed ring, not a few dots
  for (const cv::Point& p : edges) EXPECT_NEAR(std::hypot(p.x - 160, p.y - 120), 30.0, 2.0);
}

// A batch over the samples folder and its sub-folder, with a broken file among them: one JSON
// line per image in order, every picture of the samples run and the broken file failing in its
// own line, a one-line summary on stderr (no progress bar: stderr is a file here) and exit
// status 1.
TEST(CliBatch, RunsEveryImageAndReportsTheBrokenOne) {
  Scratch scratch;
  std::ofstream(scratch("broken.png"), std::ios::binary) << ReadFile(kPads).substr(0, 1024);
  std::size_t images = 1;
  for (const auto& entry : fs::recursive_directory_iterator(kSamples)) {
    images += entry.path().extension() == ".png" || entry.path().extension() == ".tiff";
  }
  Outcome run = Imgtarn({"circle-mark", kSamples, scratch("broken.png"), "--radius", "20", "-r",
                         "-j", "2", "--annotate", "{scratch}/pictures"},
                        scratch);
  EXPECT_EQ(run.exit, 1) << run.err;
  std::istringstream lines(run.out);
  std::vector<Json> results;
  for (std::string line; std::getline(lines, line);) results.push_back(Json::parse(line));
  ASSERT_EQ(results.size(), images);
  std::size_t found = 0, failed = 0;
  for (const Json& result : results) {
    found += result.value("found", false);
    failed += result.contains("error");
    const std::string image = result["image"];
    if (image.size() > 4 && image.compare(image.size() - 4, 4, ".png") == 0) {
      EXPECT_EQ(result.contains("error"), image == scratch("broken.png")) << result.dump();
    }
  }
  EXPECT_EQ(results.front()["image"], Sample("circle_border.png"));
  EXPECT_TRUE(results.front()["found"].get<bool>());
  EXPECT_EQ(results.back()["image"], scratch("broken.png"));
  EXPECT_TRUE(fs::exists(scratch("pictures/readme/cross_mark_annotated.png")));

  const std::string summary = std::to_string(images) + " images, " + std::to_string(found) +
                              " found, " + std::to_string(failed) + " failed";
  EXPECT_NE(run.err.find(summary), std::string::npos) << run.err;
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
  EXPECT_EQ(run.err.find('\r'), std::string::npos);
}

TEST(CliDemo, PrintsTheTableWithEveryCheckWithinTolerance) {
  Scratch scratch;
  Outcome run = Imgtarn({"demo", "--samples", kSamples, "--out", "{scratch}/demo"}, scratch);
  ASSERT_EQ(run.exit, 0) << run.err;
  EXPECT_EQ(run.out.rfind("operation", 0), 0u) << run.out;
  const Json rows = Json::parse(ReadFile(scratch("demo/results.json")));
  EXPECT_GE(rows.size(), 23u);
  for (const Json& row : rows) EXPECT_EQ(row["verdict"], "ok") << row.dump();
  EXPECT_FALSE(cv::imread(scratch("demo/cross-mark_cross.png")).empty());
}

// Exit status 2: a command line that cannot run, one line on stderr, nothing on stdout.
// Exit status 1: the image failed; its result carries the error, and stderr says it in a line.
struct ErrorCase {
  std::vector<std::string> args;
  int exit;
  const char* message;
};

class CliError : public ::testing::TestWithParam<ErrorCase> {};

TEST_P(CliError, SaysWhatIsWrongInOneLine) {
  Scratch scratch;
  std::ofstream(scratch("broken.png"), std::ios::binary) << ReadFile(kPads).substr(0, 1024);
  Outcome run = Imgtarn(GetParam().args, scratch);
  EXPECT_EQ(run.exit, GetParam().exit) << run.err;
  EXPECT_NE(run.err.find(GetParam().message), std::string::npos) << run.err;
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
  if (GetParam().exit == 2) {
    EXPECT_TRUE(run.out.empty()) << run.out;
  } else {
    EXPECT_NE(Json::parse(run.out)["error"].get<std::string>().find(GetParam().message),
              std::string::npos);
  }
}

const std::string kCircle = Sample("circle_inside.png");
const std::string kNotImage = Sample("ground_truth.json");

INSTANTIATE_TEST_SUITE_P(
    Cases, CliError,
    ::testing::Values(
        ErrorCase{{"circle-mark", "no_such_board.png", "--radius", "20"}, 1, "no such file"},
        ErrorCase{{"circle-mark", kNotImage, "--radius", "20"}, 1, "not an image file"},
        ErrorCase{{"levels", "{scratch}/broken.png"}, 1, "not an image file"},
        ErrorCase{{"circle-mark", kCircle, "--radius", "150"}, 1, "radius"},
        ErrorCase{{"circle-mark", kCircle}, 2, "--radius is required"},
        ErrorCase{{"circle-mark", kCircle, "--radius", "2o"}, 2, "2o"},
        ErrorCase{{"circle-mark", kCircle, "--radius", "20", "--speed"}, 2, "--speed"},
        ErrorCase{{"circle-mark", kCircle, "--radius", "20", "--quick", "--half"}, 2, "excludes"},
        ErrorCase{{"circle-mark", kCircle, "--radius", "20", "--annotate", "/no/such/a.png"},
                  2,
                  "does not exist"},
        ErrorCase{{"cross-mark", Sample("cross.png"), "--size", "60"}, 2, "--size"},
        ErrorCase{{"match-pads", kPads, "--blobs", kSamples}, 2, "blobs.json"},
        ErrorCase{{"median", Sample("heights.tiff"), "-o", "{scratch}/m.png"}, 2, ".tiff"},
        ErrorCase{{"flatfield", "calibrate", Sample("flat_low.png"), "-o", "{scratch}/c.yml"},
                  2,
                  "LOW HIGH"},
        ErrorCase{{"flatfield", "apply", kCircle, "--coeffs", kNotImage, "-o", "{scratch}/x.png"},
                  2,
                  "not a coefficient file"},
        ErrorCase{{"contours", "fill", kPads, "--polygon", "0,0 9", "-o", "{scratch}/x.png"},
                  2,
                  "'9' is not a point X,Y"},
        ErrorCase{{"warp", "a.png"}, 2, "unknown command 'warp'"},
        ErrorCase{{}, 2, "subcommand is required"}));

}  // namespace
