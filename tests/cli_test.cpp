// The imgtarn tool end to end: each test runs the built executable as a person would, on the
// bundled samples, and checks its JSON against the samples' ground truth. The tool loads the
// library beside it, so every run also goes through the exported factory and the table.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "json.hpp"

namespace {

using imgtarn_cli::json::Parse;
using imgtarn_cli::json::Value;

const std::string kSamples = std::string(IMGTARN_SOURCE_DIR) + "/samples";

std::string Sample(const std::string& name) { return kSamples + "/" + name; }

std::string Quote(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

struct Outcome {
  int exit = -1;
  bool signalled = false;
  std::string out, err;
  Value json;  // stdout parsed, when it is JSON
};

// A scratch folder per test, so that parallel test processes never share files.
class Scratch {
 public:
  Scratch() {
    char pattern[] = "/tmp/imgtarn_cli_test_XXXXXX";
    dir_ = mkdtemp(pattern);
  }
  ~Scratch() { std::system(("rm -rf " + Quote(dir_)).c_str()); }
  std::string operator()(const std::string& name) const { return dir_ + "/" + name; }

 private:
  std::string dir_;
};

Outcome Imgtarn(const std::vector<std::string>& args) {
  static int counter = 0;
  std::string errPath =
      "/tmp/imgtarn_cli_test_err_" + std::to_string(getpid()) + "_" + std::to_string(counter++);
  std::string command = Quote(IMGTARN_CLI);
  for (const auto& arg : args) command += " " + Quote(arg);
  command += " 2>" + Quote(errPath);
  Outcome run;
  std::FILE* pipe = popen(command.c_str(), "r");
  char buffer[4096];
  std::size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) run.out.append(buffer, n);
  int status = pclose(pipe);
  run.signalled = !WIFEXITED(status);
  run.exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  run.err = ReadFile(errPath);
  std::remove(errPath.c_str());
  try {
    if (!run.out.empty() && run.out[0] == '{') run.json = Parse(run.out);
  } catch (const std::exception&) {
  }
  return run;
}

const Value& Truth(const std::string& key) {
  static const Value truth = Parse(ReadFile(Sample("ground_truth.json")));
  return truth.Get(key);
}

double Num(const Value& v, const char* key) { return v.Get(key).Number(NAN); }

// Status 1 is the tool's report that the library refused the call: the operation is missing
// from this library build. Anything else must be a clean run with one JSON object.
#define EXPECT_RAN(run)                                                            \
  do {                                                                             \
    if ((run).exit == 1) GTEST_SKIP() << "operation not available: " << (run).err; \
    ASSERT_EQ((run).exit, 0) << (run).err;                                         \
    ASSERT_TRUE((run).json.IsObject()) << (run).out;                               \
  } while (0)

// ---------------------------------------------------------------------------------------------
// Marks

// One run per mark command and sample: the centre within 2 pixels of the drawn one, and the
// size: circles report a radius within `radiusTolerance` of 20 (the circle-mark search
// reports the expected radius back, 0), boxes the measured box within 15 %.
struct MarkCase {
  std::vector<std::string> options;
  const char* key;
  double radiusTolerance;
};

class MarkTest : public ::testing::TestWithParam<MarkCase> {};

TEST_P(MarkTest, FindsTheDrawnMark) {
  const Value& t = Truth(GetParam().key);
  std::vector<std::string> args = GetParam().options;
  args.insert(args.begin() + 1, Sample(t.Get("file").String()));
  const bool box = t.Has("width");
  const double w = box ? Num(t, "width") : 0, h = box ? Num(t, "height") : 0;
  if (box)
    args.insert(args.end(), {"--size", std::to_string(int(w)) + "x" + std::to_string(int(h))});
  Outcome run = Imgtarn(args);
  EXPECT_RAN(run);
  EXPECT_TRUE(run.json.Get("found").Bool());
  EXPECT_NEAR(Num(run.json, "x"), Num(t, "x"), 2.0);
  EXPECT_NEAR(Num(run.json, "y"), Num(t, "y"), 2.0);
  if (!box) {
    EXPECT_NEAR(Num(run.json, "radius"), 20.0, GetParam().radiusTolerance);
  } else {
    EXPECT_NEAR(2 * Num(run.json, "half_width"), w, 0.15 * w);
    EXPECT_NEAR(2 * Num(run.json, "half_height"), h, 0.15 * h);
  }
}

const std::vector<std::string> kCircle = {"circle-mark", "--radius", "20"};
const std::vector<std::string> kQuick = {"circle-mark", "--radius", "20", "--quick"};
const std::vector<std::string> kHough = {"hough-circles", "--radius", "20"};
const std::vector<std::string> kHalf = {"circle-mark", "--radius", "20", "--half"};
const std::vector<std::string> kPlain = {"hough-circles", "--radius", "20", "--plain"};
const std::vector<std::string> kText = {"hough-circles", "--radius", "20", "--text"};
// Edges refined from a start 2 pixels off the drawn centre.
const std::vector<std::string> kEdges = {"circle-edges", "--centre", "152,112", "--radius", "20"};

INSTANTIATE_TEST_SUITE_P(
    Samples, MarkTest,
    ::testing::Values(MarkCase{kCircle, "circle_inside", 0}, MarkCase{kCircle, "circle_border", 0},
                      MarkCase{kCircle, "circle_noisy", 0}, MarkCase{kQuick, "circle_inside", 0},
                      MarkCase{kQuick, "circle_border", 0}, MarkCase{kQuick, "circle_noisy", 0},
                      MarkCase{kHough, "circle_inside", 2}, MarkCase{kHough, "circle_border", 2},
                      MarkCase{kHalf, "circle_border", 0}, MarkCase{kPlain, "circle_inside", 2},
                      MarkCase{kText, "circle_inside", 2}, MarkCase{kEdges, "circle_inside", 1},
                      MarkCase{{"cross-mark"}, "cross", 0}, MarkCase{{"rect-mark"}, "rect", 0}));

TEST(CliMarks, AnnotationIsAPictureOfTheInputSize) {
  Scratch scratch;
  Outcome run = Imgtarn({"circle-mark", Sample("circle_inside.png"), "--radius", "20", "--annotate",
                         scratch("a.png")});
  EXPECT_RAN(run);
  cv::Mat picture = cv::imread(scratch("a.png"), cv::IMREAD_UNCHANGED);
  ASSERT_FALSE(picture.empty());
  EXPECT_EQ(picture.cols, 320);
  EXPECT_EQ(picture.rows, 240);
  EXPECT_EQ(picture.channels(), 3);
  // The outline is drawn in green over a grey picture: some pixels are no longer grey.
  cv::Mat channels[3];
  cv::split(picture, channels);
  EXPECT_GT(cv::countNonZero(channels[1] != channels[2]), 50);
}

// ---------------------------------------------------------------------------------------------
// Leads

// A 10 x 20 bright lead at columns 70..79, rows 50..69 (centre 74.5, 59.5) on a dark board,
// with a bright solder bridge filling the 8 columns right of its template box, and the
// template: the lead with a 5-pixel margin of board (20 x 30, box centre at the lead centre).
struct LeadFiles {
  std::string image, leadTemplate;
};

const LeadFiles& DrawnLead() {
  static const LeadFiles files = [] {
    std::string stem = ::testing::TempDir() + "imgtarn_cli_lead_" + std::to_string(getpid());
    cv::Mat board(120, 160, CV_8UC1, cv::Scalar(40));
    board(cv::Rect(70, 50, 10, 20)).setTo(200);
    cv::Mat leadTemplate = board(cv::Rect(65, 45, 20, 30)).clone();
    board(cv::Rect(85, 50, 8, 20)).setTo(200);
    LeadFiles drawn{stem + "_board.png", stem + "_template.png"};
    cv::imwrite(drawn.image, board);
    cv::imwrite(drawn.leadTemplate, leadTemplate);
    return drawn;
  }();
  return files;
}

TEST(CliLead, FindsTheDrawnLeadAndCutsTheRegionsBesideIt) {
  Scratch scratch;
  Outcome run = Imgtarn({"lead", DrawnLead().image, "--template", DrawnLead().leadTemplate,
                         "--side", "8", "--annotate", scratch("lead.png")});
  EXPECT_RAN(run);
  EXPECT_TRUE(run.json.Get("found").Bool());
  EXPECT_GT(Num(run.json, "score"), 0.99);
  const Value& centre = run.json.Get("centre");
  ASSERT_EQ(centre.Size(), 2u);
  EXPECT_NEAR(centre[0].Number(), 74.5, 1.0);
  EXPECT_NEAR(centre[1].Number(), 59.5, 1.0);
  // The box spans columns 65..84 and rows 45..74; each region is 8 columns beside it.
  const Value& left = run.json.Get("left");
  const Value& right = run.json.Get("right");
  EXPECT_EQ(Num(left, "x"), 57);
  EXPECT_EQ(Num(right, "x"), 85);
  EXPECT_EQ(Num(left, "y"), 45);
  EXPECT_EQ(Num(left, "width"), 8);
  EXPECT_EQ(Num(right, "height"), 30);
  EXPECT_FALSE(run.json.Has("measure"));
  cv::Mat picture = cv::imread(scratch("lead.png"), cv::IMREAD_COLOR);
  ASSERT_FALSE(picture.empty());
  EXPECT_EQ(picture.size(), cv::Size(160, 120));
}

TEST(CliLead, JudgesPositionAndBrightnessAgainstTheExpectedCentre) {
  // Expected 3 pixels left of where the lead is: beyond a 1.5-pixel tolerance.
  Outcome run = Imgtarn({"lead", DrawnLead().image, "--template", DrawnLead().leadTemplate,
                         "--expect", "71.5,59.5", "--tolerance", "1.5", "--max-side-grey", "120"});
  EXPECT_RAN(run);
  const Value& measure = run.json.Get("measure");
  ASSERT_TRUE(measure.IsObject()) << run.out;
  EXPECT_NEAR(measure.Get("error")[0].Number(), 3.0, 1.0);
  EXPECT_NEAR(measure.Get("error")[1].Number(), 0.0, 1.0);
  EXPECT_NEAR(Num(measure, "lead_grey"), (200.0 * 200 + 40.0 * 400) / 600, 0.5);
  EXPECT_NEAR(Num(measure, "left_grey"), 40.0, 0.5);
  EXPECT_NEAR(Num(measure, "right_grey"), (200.0 * 160 + 40.0 * 80) / 240, 0.5);
  const Value& judgement = measure.Get("judgement");
  EXPECT_EQ(Num(judgement, "bits"), 1 + 4);
  EXPECT_FALSE(judgement.Get("good").Bool());
  EXPECT_TRUE(judgement.Get("position_beyond_tolerance").Bool());
  EXPECT_FALSE(judgement.Get("left_too_bright").Bool());
  EXPECT_TRUE(judgement.Get("right_too_bright").Bool());
  EXPECT_FALSE(judgement.Get("lead_not_found").Bool());
}

// ---------------------------------------------------------------------------------------------
// Edges, pads, overlay

TEST(CliCanny, EdgesOfACleanDiscLieOnItsOutline) {
  Scratch scratch;
  const Value& t = Truth("disc_clean");
  Outcome run = Imgtarn({"canny", Sample(t.Get("file").String()), "-o", scratch("e.png")});
  EXPECT_RAN(run);
  cv::Mat edges = cv::imread(scratch("e.png"), cv::IMREAD_GRAYSCALE);
  ASSERT_FALSE(edges.empty());
  EXPECT_EQ(cv::countNonZero(edges), static_cast<int>(Num(run.json, "edge_pixels")));
  double r = Num(t, "radius"), worst = 0.0;
  for (int y = 0; y < edges.rows; ++y) {
    for (int x = 0; x < edges.cols; ++x) {
      if (edges.at<uchar>(y, x) == 0) continue;
      worst = std::max(worst, std::fabs(std::hypot(x - Num(t, "x"), y - Num(t, "y")) - r));
    }
  }
  EXPECT_LE(worst, 2.0);
  EXPECT_GT(Num(run.json, "edge_pixels"), 4.0 * r);  // a closed ring, not a few dots
}

TEST(CliPads, SplitsThePadsAndMatchesThemInTheLaterPicture) {
  Scratch scratch;
  const Value& t = Truth("pads");
  Outcome split =
      Imgtarn({"split-pads", Sample(t.Get("file").String()), "--out-dir", scratch("blobs")});
  EXPECT_RAN(split);
  ASSERT_TRUE(split.json.Get("found").Bool()) << split.out;
  EXPECT_EQ(Num(split.json, "grid_rows"), Num(t, "grid_rows"));
  EXPECT_EQ(Num(split.json, "grid_cols"), Num(t, "grid_cols"));
  const Value& blobs = split.json.Get("blobs");
  ASSERT_EQ(blobs.Size(), t.Get("pads").Size());
  for (const auto& pad : t.Get("pads").Items()) {
    bool matched = false;
    for (const auto& blob : blobs.Items()) {
      bool near = true;
      for (const char* k : {"x", "y", "width", "height"}) {
        near = near && std::fabs(Num(blob, k) - Num(pad, k)) <= 3.0;
      }
      matched = matched || near;
    }
    EXPECT_TRUE(matched) << "no blob near the pad at x = " << Num(pad, "x");
  }

  Outcome scene =
      Imgtarn({"match-pads", Sample(t.Get("scene").String()), "--blobs", scratch("blobs")});
  EXPECT_RAN(scene);
  ASSERT_EQ(scene.json.Get("scores").Size(), blobs.Size());
  EXPECT_GT(Num(scene.json, "min_score"), 0.9);
  // A picture without pads scores clearly lower than the moved pads.
  Outcome other = Imgtarn({"match-pads", Sample("circle_inside.png"), "--blobs", scratch("blobs")});
  EXPECT_RAN(other);
  EXPECT_LT(Num(other.json, "min_score"), Num(scene.json, "min_score") - 0.1);
}

TEST(CliOverlay, ScoresAnExactPadOneAndAShiftedPadLess) {
  for (const char* key : {"overlay_exact", "overlay_shifted"}) {
    const Value& t = Truth(key);
    Outcome run =
        Imgtarn({"overlay", "--boundary", Sample(t.Get("boundary").String()), "--cad",
                 Sample(t.Get("cad").String()), "--measured", Sample(t.Get("measured").String())});
    EXPECT_RAN(run);
    if (t.Has("score")) {
      EXPECT_NEAR(Num(run.json, "score"), Num(t, "score"), 1e-6) << key;
    } else {
      EXPECT_GE(Num(run.json, "score"), 0.0) << key;
      EXPECT_LT(Num(run.json, "score"), Num(t, "score_below")) << key;
    }
  }
}

// ---------------------------------------------------------------------------------------------
// Buffers

TEST(CliBuffers, FillsEveryHoleWithTheReferenceColour) {
  Scratch scratch;
  const Value& t = Truth("holes");
  const Value& c = t.Get("colour");
  std::string colour = std::to_string(static_cast<int>(Num(c, "r"))) + "," +
                       std::to_string(static_cast<int>(Num(c, "g"))) + "," +
                       std::to_string(static_cast<int>(Num(c, "b")));
  Outcome run = Imgtarn({"fill-holes", Sample(t.Get("file").String()), "--colour", colour, "-o",
                         scratch("filled.png")});
  EXPECT_RAN(run);
  EXPECT_EQ(Num(run.json, "filled"), Num(t, "hole_pixels"));
  EXPECT_EQ(Num(run.json, "black_after"), 0.0);
  cv::Mat before = cv::imread(Sample(t.Get("file").String()));
  cv::Mat after = cv::imread(scratch("filled.png"));
  ASSERT_EQ(after.size(), before.size());
  cv::Mat holes;
  cv::inRange(before, cv::Scalar(0, 0, 0), cv::Scalar(5, 5, 5), holes);
  cv::Mat painted;
  cv::inRange(after, cv::Scalar(Num(c, "b"), Num(c, "g"), Num(c, "r")),
              cv::Scalar(Num(c, "b"), Num(c, "g"), Num(c, "r")), painted);
  EXPECT_EQ(cv::countNonZero(holes & ~painted), 0);

  Outcome levels = Imgtarn({"levels", Sample(t.Get("file").String())});
  EXPECT_RAN(levels);
  for (const char* k : {"r", "g", "b"}) EXPECT_EQ(Num(levels.json.Get("levels"), k), Num(c, k));
}

TEST(CliBuffers, FlatFieldCorrectionFlattensTheLowCalibrationImage) {
  Scratch scratch;
  const Value& t = Truth("flatfield");
  Outcome calibrate =
      Imgtarn({"flatfield", "calibrate", Sample(t.Get("low").String()),
               Sample(t.Get("high").String()), "-o", scratch("c.bin"), "--target-low", "128"});
  EXPECT_RAN(calibrate);
  Outcome apply = Imgtarn({"flatfield", "apply", Sample(t.Get("low").String()), "--coeffs",
                           scratch("c.bin"), "-o", scratch("flat.png")});
  EXPECT_RAN(apply);
  EXPECT_NEAR(Num(apply.json, "mean"), 128.0, 2.0);
  EXPECT_LT(Num(apply.json, "stddev"), Num(apply.json, "input_stddev") / 2);
  // Coefficients of another size are refused, not misapplied.
  Outcome wrong = Imgtarn({"flatfield", "apply", Sample("pads.png"), "--coeffs", scratch("c.bin"),
                           "-o", scratch("x.png")});
  EXPECT_EQ(wrong.exit, 2);
}

TEST(CliBuffers, MedianRemovesTheHeightSpikes) {
  Scratch scratch;
  const Value& t = Truth("heights");
  Outcome run =
      Imgtarn({"median", Sample(t.Get("file").String()), "--window", "3", "-o", scratch("f.tiff")});
  EXPECT_RAN(run);
  cv::Mat filtered = cv::imread(scratch("f.tiff"), cv::IMREAD_UNCHANGED);
  cv::Mat clean = cv::imread(Sample(t.Get("clean").String()), cv::IMREAD_UNCHANGED);
  ASSERT_EQ(filtered.type(), CV_32FC1);
  ASSERT_EQ(filtered.size(), clean.size());
  EXPECT_LT(cv::norm(filtered, clean, cv::NORM_INF), 5.0);
  EXPECT_GT(Num(run.json.Get("input"), "max"), 800.0);  // the spikes were there
}

TEST(CliBuffers, ResizeWritesTheRequestedSize) {
  Scratch scratch;
  Outcome run = Imgtarn(
      {"resize", Sample("holes.png"), "--size", "100x50", "--cubic", "-o", scratch("r.png")});
  EXPECT_RAN(run);
  cv::Mat image = cv::imread(scratch("r.png"));
  EXPECT_EQ(image.cols, 100);
  EXPECT_EQ(image.rows, 50);
}

TEST(CliBuffers, SortGivesValuesAndPermutation) {
  Outcome run = Imgtarn({"sort", "3", "1", "2", "1"});
  EXPECT_RAN(run);
  EXPECT_EQ(run.json.Get("values").Dump(-1), "[1,1,2,3]");
  EXPECT_EQ(run.json.Get("permutation").Dump(-1), "[1,3,2,0]");
  Outcome down = Imgtarn({"sort", "0", "-2", "--descending"});
  EXPECT_RAN(down);
  EXPECT_EQ(down.json.Get("values").Dump(-1), "[0,-2]");
}

TEST(CliContours, CountsTheOuterContoursOfThePads) {
  Outcome run = Imgtarn({"contours", "count", Sample("pads.png"), "--threshold", "127"});
  EXPECT_RAN(run);
  EXPECT_EQ(Num(run.json, "contours"), static_cast<double>(Truth("pads").Get("pads").Size()));
  EXPECT_EQ(run.json.Get("pixels").Size(), 3u);
  // Each pad encloses its whole rectangle, give or take the softened rim.
  for (const auto& count : run.json.Get("pixels").Items()) EXPECT_NEAR(count.Number(), 2400, 150);
}

TEST(CliContours, BoundingRectanglesAndFilledMaskOfThePads) {
  Scratch scratch;
  const Value& pads = Truth("pads").Get("pads");
  Outcome rects = Imgtarn({"contours", "rects", Sample("pads.png"), "--threshold", "127"});
  EXPECT_RAN(rects);
  ASSERT_EQ(rects.json.Get("rects").Size(), pads.Size());
  for (std::size_t i = 0; i < pads.Size(); ++i) {
    for (const char* k : {"x", "y", "width", "height"}) {
      // Listed in raster order of the boxes, which for one row of pads is left to right.
      EXPECT_NEAR(Num(rects.json.Get("rects")[i], k), Num(pads[i], k), 2.0) << i << k;
    }
  }
  Outcome mask = Imgtarn(
      {"contours", "mask", Sample("pads.png"), "--threshold", "127", "-o", scratch("m.png")});
  EXPECT_RAN(mask);
  EXPECT_EQ(Num(mask.json, "blobs"), 3.0);
  cv::Mat written = cv::imread(scratch("m.png"), cv::IMREAD_GRAYSCALE);
  EXPECT_EQ(cv::countNonZero(written), static_cast<int>(Num(mask.json, "mask_pixels")));
}

// One run per further contour step on the pads (three 40 x 60 pads, the middle one centred at
// 159.5, 119.5), checking one figure read from its place in the operation's output.
struct ContourCase {
  std::vector<std::string> args;  // after "contours"; "{out}" becomes a scratch file
  std::vector<std::string> path;  // keys and array indexes down to the figure
  double expected;
};

class ContourStepTest : public ::testing::TestWithParam<ContourCase> {};

TEST_P(ContourStepTest, ReportsTheFigureOfThePads) {
  Scratch scratch;
  std::vector<std::string> args = {"contours"};
  for (const auto& arg : GetParam().args) args.push_back(arg == "{out}" ? scratch("o.png") : arg);
  Outcome run = Imgtarn(args);
  EXPECT_RAN(run);
  const Value* v = &run.json;
  for (const auto& key : GetParam().path) {
    bool index = std::isdigit(static_cast<unsigned char>(key[0]));
    if (index && std::stoul(key) >= v->Size()) FAIL() << run.out;
    v = index ? &(*v)[std::stoul(key)] : &v->Get(key);
  }
  EXPECT_EQ(v->Number(NAN), GetParam().expected) << run.out;
}

const std::string kPads = Sample("pads.png");

INSTANTIATE_TEST_SUITE_P(
    Pads, ContourStepTest,
    ::testing::Values(
        ContourCase{{"outline", kPads, "-o", "{out}"}, {"contours"}, 3},
        ContourCase{{"rings", kPads}, {"solids", "0", "pixels"}, 40 * 60},
        ContourCase{{"moments", kPads}, {"list", "1", "x"}, 159.5},
        ContourCase{{"polygons", kPads}, {"vertices", "2"}, 4},
        // A radius-1 disc is a cross: the outer ring is each pad's 4-neighbour rim.
        ContourCase{{"ring", kPads, "--radius", "1", "-o", "{out}"}, {"outer_pixels"}, 3 * 200},
        ContourCase{{"fill", kPads, "--polygon", "0,0 9,0 9,9 0,9", "-o", "{out}"},
                    {"filled_pixels"},
                    100}));

// ---------------------------------------------------------------------------------------------
// Demo and help

TEST(CliDemo, PrintsTheTableAndWritesAnnotatedPictures) {
  Scratch scratch;
  Outcome run = Imgtarn({"demo", "--samples", kSamples, "--out", scratch("demo")});
  ASSERT_EQ(run.exit, 0) << run.err;
  for (const char* op :
       {"circle-mark", "cross-mark", "rect-mark", "canny", "split-pads", "match-pads", "overlay",
        "fill-holes", "flatfield", "median", "resize", "levels", "contours count"}) {
    EXPECT_NE(run.out.find(op), std::string::npos) << op;
  }
  EXPECT_NE(run.out.find("operation"), std::string::npos);
  Value results = Parse(ReadFile(scratch("demo/results.json")));
  EXPECT_GE(results.Size(), 18u);
  cv::Mat annotated = cv::imread(scratch("demo/cross-mark_cross.png"));
  EXPECT_FALSE(annotated.empty());
}

TEST(CliHelp, EveryCommandDescribesItsOptions) {
  Outcome overview = Imgtarn({"--help"});
  ASSERT_EQ(overview.exit, 0);
  std::stringstream lines(overview.out.substr(overview.out.find("commands:")));
  std::string line;
  std::getline(lines, line);
  int commands = 0;
  while (std::getline(lines, line) && line.rfind("  ", 0) == 0) {
    std::string name = line.substr(2, line.find(' ', 2) - 2);
    Outcome help = Imgtarn({name, "--help"});
    EXPECT_EQ(help.exit, 0) << name;
    EXPECT_NE(help.out.find("usage: imgtarn " + name), std::string::npos) << name;
    EXPECT_NE(help.out.find("--library"), std::string::npos) << name;
    ++commands;
  }
  EXPECT_GE(commands, 15);
}

// ---------------------------------------------------------------------------------------------
// Errors a person can act on: exit status 2, one line naming the problem, nothing on stdout.

struct ErrorCase {
  std::vector<std::string> args;
  const char* message;
};

class CliErrorTest : public ::testing::TestWithParam<ErrorCase> {};

TEST_P(CliErrorTest, ExitsWithStatusTwoAndOneLine) {
  Outcome run = Imgtarn(GetParam().args);
  EXPECT_FALSE(run.signalled);
  EXPECT_EQ(run.exit, 2);
  EXPECT_NE(run.err.find(GetParam().message), std::string::npos) << run.err;
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
  EXPECT_TRUE(run.out.empty()) << run.out;
}

const std::string kNotImage = Sample("ground_truth.json");

// The first kilobyte of a PNG: a file that starts like an image and breaks off.
const std::string kTruncated = [] {
  std::string path = "/tmp/imgtarn_cli_test_truncated_" + std::to_string(getpid()) + ".png";
  std::ofstream(path, std::ios::binary) << ReadFile(Sample("pads.png")).substr(0, 1024);
  return path;
}();

INSTANTIATE_TEST_SUITE_P(
    Cases, CliErrorTest,
    ::testing::Values(
        ErrorCase{{"circle-mark", "no_such_board.png", "--radius", "20"}, "no such file"},
        ErrorCase{{"circle-mark", kNotImage, "--radius", "20"}, "is not an image file"},
        ErrorCase{{"circle-mark", kSamples, "--radius", "20"}, "is a folder"},
        ErrorCase{{"levels", kTruncated}, "is not an image file"},
        ErrorCase{{"circle-mark", Sample("circle_inside.png")}, "missing option --radius"},
        ErrorCase{{"circle-mark", Sample("circle_inside.png"), "--radius", "2o"},
                  "'2o' is not a number"},
        ErrorCase{{"circle-mark", Sample("circle_inside.png"), "--radius", "150"},
                  "does not fit the 320x240 image"},
        ErrorCase{{"circle-mark", Sample("circle_inside.png"), "--radius"}, "needs a value"},
        ErrorCase{{"circle-mark", Sample("circle_inside.png"), "--radius", "20", "--speed"},
                  "unknown option --speed"},
        ErrorCase{{"circle-mark", Sample("circle_inside.png"), "--radius", "20", "--annotate",
                   "/no/such/folder/a.png"},
                  "does not exist"},
        ErrorCase{{"cross-mark", Sample("cross.png"), "--size", "60"}, "is not a size"},
        ErrorCase{{"cross-mark", Sample("cross.png"), "--size", "400x60"}, "does not fit"},
        ErrorCase{{"rect-mark", Sample("rect.png"), "--size", "80x-5"}, "at least 1"},
        ErrorCase{{"overlay", "--boundary", Sample("pad_cad.png"), "--cad", Sample("pad_cad.png"),
                   "--measured", Sample("rect.png")},
                  "same size"},
        ErrorCase{{"match-pads", Sample("pads.png"), "--blobs", kSamples}, "blobs.json"},
        ErrorCase{{"median", Sample("heights.tiff"), "-o", "out.png"}, "write a .tiff"},
        ErrorCase{{"fill-holes", Sample("holes.png"), "--colour", "300,0,0", "-o", "x.png"},
                  "0..255"},
        ErrorCase{{"flatfield", "calibrate", Sample("flat_low.png"), "-o", "c.bin"}, "LOW HIGH"},
        ErrorCase{
            {"flatfield", "apply", Sample("flat_low.png"), "--coeffs", kNotImage, "-o", "x.png"},
            "wrong file size"},
        ErrorCase{{"lead", Sample("rect.png")}, "missing option --template"},
        ErrorCase{{"lead", Sample("rect.png"), "--template", Sample("rect.png"), "--expect", "3"},
                  "is not a point X,Y"},
        ErrorCase{{"sort", "1", "two"}, "'two' is not a whole number"},
        ErrorCase{{"hough-demo", kNotImage}, "is not an image file"},
        ErrorCase{{"contours", "fill", Sample("pads.png"), "--polygon", "0,0 9", "-o", "x.png"},
                  "is not a point X,Y"},
        ErrorCase{{"warp", "a.png"}, "unknown command 'warp'"}, ErrorCase{{}, "missing command"},
        ErrorCase{{"--library", "libm.so.6", "levels", Sample("holes.png")},
                  "is not an imgtarn library"},
        ErrorCase{{"--library", "/no/such/libimgtarn.so", "levels", Sample("holes.png")},
                  "cannot load the imgtarn library"}));

}  // namespace
