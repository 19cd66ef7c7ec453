// LocateFiducial on synthetic boards whose answer is known by construction: marks rendered by
// supersampling at sub-pixel positions, blurred like a lens and noisy like a camera.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <future>
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "imgtarn/vision.hpp"
#include "support/opencv_threads.hpp"

namespace imgtarn {
namespace {

using Inside = std::function<bool(float x, float y)>;

struct Shape {
  Inside inside;
  float level;  // grey value of the shape over a board of kBoard
};

constexpr float kBoard = 50.0f;
constexpr float kMark = 190.0f;
constexpr int kSuper = 8;

// Each pixel takes the share of its 8 x 8 sub-samples inside each shape (an area average of
// the sub-sample grid), so edges carry the partial coverage a sensor sees and the true centre
// is exact.
cv::Mat Render(cv::Size size, const std::vector<Shape>& shapes, float blur, float noise, int seed) {
  cv::Mat board(size, CV_32F, cv::Scalar(kBoard)), samples(size * kSuper, CV_32F), share, image;
  for (const Shape& shape : shapes) {
    samples.forEach<float>([&](float& inside, const int* at) {
      inside = shape.inside((at[1] + 0.5f) / kSuper - 0.5f, (at[0] + 0.5f) / kSuper - 0.5f);
    });
    cv::resize(samples, share, size, 0, 0, cv::INTER_AREA);
    board += (shape.level - kBoard) * share;
  }
  if (blur > 0.0f) cv::GaussianBlur(board, board, cv::Size(), blur);
  cv::Mat grain(size, CV_32F);
  cv::RNG(seed).fill(grain, cv::RNG::NORMAL, 0.0, noise);
  cv::Mat(board + grain).convertTo(image, CV_8U);
  return image;
}

Inside Disc(cv::Point2f c, float r) {
  return [=](float x, float y) { return std::hypot(x - c.x, y - c.y) <= r; };
}
Inside Ring(cv::Point2f c, float outer, float inner) {
  const Inside out = Disc(c, outer), hole = Disc(c, inner);
  return [=](float x, float y) { return out(x, y) && !hole(x, y); };
}
Inside Rect(cv::Point2f c, cv::Size2f s) {
  return [=](float x, float y) {
    return std::fabs(x - c.x) <= 0.5f * s.width && std::fabs(y - c.y) <= 0.5f * s.height;
  };
}
Inside Cross(cv::Point2f c, cv::Size2f s) {
  const Inside across = Rect(c, cv::Size2f(s.width, s.height / 3.0f));
  const Inside down = Rect(c, cv::Size2f(s.width / 3.0f, s.height));
  return [=](float x, float y) { return across(x, y) || down(x, y); };
}

// Each shape ignores the other's nominal size; an empty window is the whole image.
FiducialOptions CircleOptions(float radius, cv::Rect window = {}) {
  return {FiducialShape::Circle, radius, {}, window};
}
FiducialOptions BoxOptions(FiducialShape shape, cv::Size2f size) { return {shape, 0, size, {}}; }

// Centre errors over a series of marks; a mark not found counts as 1e9 px.
struct Errors {
  std::vector<float> errors;
  int onGrid = 0;  // results on the half-pixel grid, which is what a whole-pixel search reports
  void Add(const FiducialResult& found, cv::Point2f truth) {
    EXPECT_EQ(found.found, found.score >= 0.5f) << found.score;
    errors.push_back(found.found ? static_cast<float>(cv::norm(found.centre - truth)) : 1e9f);
    const cv::Point2f twice = found.centre * 2.0f;
    onGrid += std::fabs(twice.x - std::round(twice.x)) < 1e-3f &&
              std::fabs(twice.y - std::round(twice.y)) < 1e-3f;
  }
  void ExpectAccurate(float median, float worst) {
    std::sort(errors.begin(), errors.end());
    const float middle = errors[errors.size() / 2];
    EXPECT_LE(middle, median);
    EXPECT_LE(errors.back(), worst);
    EXPECT_LE(onGrid, static_cast<int>(errors.size()) / 10);
    std::printf("%zu marks: median %.4f px, worst %.4f px, %d on the half-pixel grid\n",
                errors.size(), middle, errors.back(), onGrid);
  }
};

TEST(LocateFiducial, DiscsOfRadius4To40AreLocatedToHundredthsOfAPixel) {
  cv::RNG rng(17);
  Errors errors;
  int seed = 0;
  for (const float radius : {4.0f, 4.7f, 6.0f, 8.3f, 11.0f, 15.5f, 22.0f, 30.0f, 40.0f}) {
    for (const float blur : {0.7f, 1.2f}) {
      const int side = 2 * static_cast<int>(1.7f * radius + 8.0f);
      const cv::Point2f centre(side * 0.5f + rng.uniform(-3.0f, 3.0f),
                               side * 0.5f + rng.uniform(-3.0f, 3.0f));
      const cv::Mat image =
          Render(cv::Size(side, side), {{Disc(centre, radius), kMark}}, blur, 5.0f, ++seed);
      const FiducialResult found = LocateFiducial(image, CircleOptions(radius));
      EXPECT_NEAR(found.radius, radius, 0.3f);
      errors.Add(found, centre);
    }
  }
  errors.ExpectAccurate(0.05f, 0.3f);
}

TEST(LocateFiducial, DiscsCutByTheBorderAreFound) {
  Errors errors;
  int seed = 100;
  for (const float radius : {5.0f, 12.0f, 25.0f})
    for (const float cut : {0.15f, 0.4f})
      for (const int side : {0, 1, 2, 3}) {
        const int size = 2 * static_cast<int>(1.7f * radius + 8.0f);
        // The disc reaches `cut` of its radius past the image's edge at -0.5 (or size - 0.5).
        const float inward = radius * (1.0f - cut) - 0.5f;
        const float along = size * 0.5f + 0.37f * seed / 10.0f - 1.3f;
        cv::Point2f centre = side % 2 ? cv::Point2f(along, inward) : cv::Point2f(inward, along);
        if (side >= 2) centre = cv::Point2f(size - 1.0f, size - 1.0f) - centre;
        const cv::Mat image =
            Render(cv::Size(size, size), {{Disc(centre, radius), kMark}}, 1.0f, 5.0f, ++seed);
        const FiducialResult found = LocateFiducial(image, CircleOptions(radius));
        errors.Add(found, centre);
      }
  errors.ExpectAccurate(0.05f, 0.3f);
}

TEST(LocateFiducial, CrossesAndRectanglesAtSubPixelOffsets) {
  const std::vector<std::pair<FiducialShape, cv::Size2f>> cases = {
      {FiducialShape::Rectangle, {30.0f, 20.0f}}, {FiducialShape::Rectangle, {16.4f, 24.0f}},
      {FiducialShape::Rectangle, {50.5f, 33.0f}}, {FiducialShape::Cross, {13.0f, 13.0f}},
      {FiducialShape::Cross, {24.0f, 24.0f}},     {FiducialShape::Cross, {40.0f, 30.0f}}};
  Errors errors;
  int seed = 200;
  for (const auto& [shape, nominal] : cases)
    for (const cv::Point2f offset :
         {cv::Point2f(0.13f, 0.71f), cv::Point2f(0.5f, 0.29f), cv::Point2f(0.87f, 0.0f)}) {
      const cv::Size size(static_cast<int>(2.0f * nominal.width + 20.0f),
                          static_cast<int>(2.0f * nominal.height + 20.0f));
      const cv::Point2f centre(size.width / 2 - 2 + offset.x, size.height / 2 + 1 + offset.y);
      const Inside inside =
          shape == FiducialShape::Cross ? Cross(centre, nominal) : Rect(centre, nominal);
      const cv::Mat image = Render(size, {{inside, kMark}}, 1.0f, 5.0f, ++seed);
      const FiducialResult found = LocateFiducial(image, BoxOptions(shape, nominal));
      // The half-level outline of a blurred bar end a third of a small cross wide falls short
      // of its drawn tip by up to a pixel; straight sides keep their place.
      const float sizeTolerance = shape == FiducialShape::Cross ? 1.0f : 0.3f;
      EXPECT_NEAR(found.size.width, nominal.width, sizeTolerance);
      EXPECT_NEAR(found.size.height, nominal.height, sizeTolerance);
      errors.Add(found, centre);
    }
  errors.ExpectAccurate(0.05f, 0.3f);
}

// A bright stub touching the mark's edge (a trace or a via next to it) moves the edge points
// it covers; the robust fit measures the disc on the rest of its edge.
TEST(LocateFiducial, DiscWithAStubOnItsEdgeIsMeasuredOnTheRest) {
  const cv::Point2f centre(40.3f, 35.6f);
  for (const cv::Point2f side : {cv::Point2f(1, 0), cv::Point2f(-0.6f, 0.8f)}) {
    const Shape stub{Rect(centre + side * 14.0f, {6.0f, 6.0f}), kMark};
    const cv::Mat image = Render({80, 72}, {{Disc(centre, 12.0f), kMark}, stub}, 1.0f, 5.0f, 700);
    const FiducialResult found = LocateFiducial(image, CircleOptions(12.0f));
    EXPECT_LT(cv::norm(found.centre - centre), 0.15) << side;
  }
}

// A board with the mark and its usual look-alikes: a square and a rectangular pad of the mark's
// size, a disc half as large again, and a silkscreen ring of the mark's radius.
TEST(LocateFiducial, MarkWinsOverLookAlikesThatScoreAsNotFound) {
  const float radius = 12.0f;
  const cv::Point2f mark(64.3f, 92.6f);
  // Each look-alike and a window around it alone.
  const std::vector<std::pair<Shape, cv::Rect>> lookAlikes = {
      {{Rect({150.0f, 40.0f}, {24.0f, 24.0f}), kMark}, cv::Rect(128, 18, 44, 44)},
      {{Rect({150.0f, 112.0f}, {30.0f, 20.0f}), kMark}, cv::Rect(125, 92, 50, 40)},
      {{Disc({220.0f, 80.0f}, 18.0f), kMark}, cv::Rect(194, 54, 52, 52)},
      {{Ring({60.0f, 30.0f}, radius, radius - 2.5f), 230.0f}, cv::Rect(40, 10, 40, 40)}};
  std::vector<Shape> shapes = {{Disc(mark, radius), kMark}};
  for (const auto& [shape, window] : lookAlikes) shapes.push_back(shape);
  const cv::Mat image = Render(cv::Size(260, 140), shapes, 1.0f, 5.0f, 300);

  const FiducialResult found = LocateFiducial(image, CircleOptions(radius));
  EXPECT_LT(cv::norm(found.centre - mark), 0.1);
  EXPECT_GT(found.score, 0.8f);  // found: a score of 0.5 or more
  for (const auto& [shape, window] : lookAlikes)
    EXPECT_LT(LocateFiducial(image, CircleOptions(radius, window)).score, 0.5f) << window;
}

// A pad as wide as the rectangle mark but twice as high, or a bar three times as high or as
// wide, is no mark: both sides of a box must be near their nominal size.
TEST(LocateFiducial, BoxWithOneSideFarFromItsSizeIsNotFound) {
  for (const cv::Size2f bar : {cv::Size2f(30, 40), cv::Size2f(30, 60), cv::Size2f(90, 20)}) {
    const cv::Mat image = Render({130, 100}, {{Rect({65.3f, 50.6f}, bar), kMark}}, 1.0f, 5.0f, 600);
    const FiducialResult found =
        LocateFiducial(image, BoxOptions(FiducialShape::Rectangle, {30, 20}));
    EXPECT_LT(found.score, 0.5f) << bar << " found at " << found.centre;
  }
}

TEST(LocateFiducial, WindowLimitsTheSearchAndResultsStayInImageCoordinates) {
  const cv::Point2f left(30.4f, 40.2f), right(120.7f, 38.9f);
  const cv::Mat image = Render(
      cv::Size(160, 80), {{Disc(left, 8.0f), kMark}, {Disc(right, 8.0f), kMark}}, 1.0f, 5.0f, 400);
  const FiducialResult found = LocateFiducial(image, CircleOptions(8.0f, {90, 10, 60, 60}));
  EXPECT_TRUE(found.found);
  EXPECT_LT(cv::norm(found.centre - right), 0.1);
  // Between the marks: nothing there.
  EXPECT_FALSE(LocateFiducial(image, CircleOptions(8.0f, {60, 0, 25, 80})).found);
}

// Each shape from four threads at once gives exactly its serial answer: the locator keeps no
// state, and the ladder's debug switch it turns off is the same for every call.
TEST(LocateFiducialConcurrency, GivesTheSerialAnswersFromFourThreads) {
  const cv::Point2f centre(40.3f, 35.6f);
  const cv::Size size(80, 72);
  const std::vector<std::pair<cv::Mat, FiducialOptions>> calls = {
      {Render(size, {{Disc(centre, 9.0f), kMark}}, 1.0f, 5.0f, 500), CircleOptions(9.0f)},
      {Render(size, {{Cross(centre, {24.0f, 24.0f}), kMark}}, 1.0f, 5.0f, 501),
       BoxOptions(FiducialShape::Cross, {24.0f, 24.0f})},
      {Render(size, {{Rect(centre, {30.0f, 20.0f}), kMark}}, 1.0f, 5.0f, 502),
       BoxOptions(FiducialShape::Rectangle, {30.0f, 20.0f})}};
  // Every thread locates all three shapes in turn.
  const auto locateAll = [&] {
    std::vector<std::vector<float>> answers;
    for (const auto& [image, options] : calls) {
      const FiducialResult found = LocateFiducial(image, options);
      answers.push_back({found.centre.x, found.centre.y, found.size.width, found.score});
    }
    return answers;
  };
  const auto serial = locateAll();
  std::vector<std::future<std::vector<std::vector<float>>>> threads;
  for (int t = 0; t < 4; ++t) threads.push_back(std::async(std::launch::async, locateAll));
  for (auto& thread : threads) EXPECT_EQ(thread.get(), serial);
}

// The argument LocateFiducial names when it refuses the call; "" when it accepts it.
std::string Refused(const cv::Mat& image, const FiducialOptions& options) {
  try {
    LocateFiducial(image, options);
  } catch (const InvalidArgument& refused) {
    return refused.argument();
  }
  return "";
}

TEST(LocateFiducial, RefusesWhatItCannotSearchNamingTheArgument) {
  const cv::Mat grey(40, 40, CV_8UC1, cv::Scalar(50));
  EXPECT_EQ(Refused(cv::Mat(), CircleOptions(5.0f)), "image");
  EXPECT_EQ(Refused(cv::Mat(40, 40, CV_8UC3, cv::Scalar::all(50)), CircleOptions(5.0f)), "image");
  EXPECT_EQ(Refused(grey, CircleOptions(0.0f)), "radius");
  EXPECT_EQ(Refused(grey, CircleOptions(std::nanf(""))), "radius");
  EXPECT_EQ(Refused(grey, BoxOptions(FiducialShape::Rectangle, {10.0f, 0.0f})), "size");
  EXPECT_EQ(Refused(grey, BoxOptions(FiducialShape::Cross, {INFINITY, 10.0f})), "size");
  EXPECT_EQ(Refused(grey, CircleOptions(20.5f)), "radius");  // a diameter of 41 in 40 pixels
  EXPECT_EQ(Refused(grey, CircleOptions(5.0f, {50, 50, 10, 10})), "window");
}

}  // namespace
}  // namespace imgtarn
