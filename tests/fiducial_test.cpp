// LocateFiducial on synthetic boards whose answer is known by construction: marks rendered by
// supersampling at sub-pixel positions, blurred like a lens and noisy like a camera.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <opencv2/imgproc.hpp>
#include <thread>
#include <vector>

#include "imgtarn/vision.hpp"
#include "support/opencv_threads.hpp"

using imgtarn::FiducialOptions;
using imgtarn::FiducialResult;
using imgtarn::FiducialShape;

namespace {

using Inside = std::function<bool(float x, float y)>;

struct Shape {
  Inside inside;
  float level;  // grey value of the shape over a board of kBoard
};

constexpr float kBoard = 50.0f;
constexpr float kMark = 190.0f;
constexpr int kSuper = 8;

// Each pixel takes the share of its 8 x 8 sub-samples inside each shape, so edges carry the
// partial coverage a sensor sees and the true centre is exact.
cv::Mat Render(cv::Size size, const std::vector<Shape>& shapes, float blur, float noise, int seed) {
  cv::Mat board(size, CV_32F, cv::Scalar(kBoard));
  for (int y = 0; y < size.height; ++y)
    for (int x = 0; x < size.width; ++x)
      for (const Shape& shape : shapes) {
        int inside = 0;
        for (int sy = 0; sy < kSuper; ++sy)
          for (int sx = 0; sx < kSuper; ++sx)
            inside +=
                shape.inside(x - 0.5f + (sx + 0.5f) / kSuper, y - 0.5f + (sy + 0.5f) / kSuper);
        board.at<float>(y, x) += (shape.level - kBoard) * inside / (kSuper * kSuper);
      }
  if (blur > 0.0f) cv::GaussianBlur(board, board, cv::Size(), blur);
  cv::Mat grain(size, CV_32F);
  cv::RNG rng(seed);
  rng.fill(grain, cv::RNG::NORMAL, 0.0, noise);
  cv::Mat image;
  cv::Mat(board + grain).convertTo(image, CV_8U);
  return image;
}

Inside Disc(cv::Point2f c, float r) {
  return [=](float x, float y) { return std::hypot(x - c.x, y - c.y) <= r; };
}
Inside Ring(cv::Point2f c, float outer, float inner) {
  return [=](float x, float y) {
    const float d = std::hypot(x - c.x, y - c.y);
    return d <= outer && d >= inner;
  };
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

FiducialOptions CircleOptions(float radius) {
  FiducialOptions options;
  options.radius = radius;
  return options;
}
FiducialOptions BoxOptions(FiducialShape shape, cv::Size2f size) {
  FiducialOptions options;
  options.shape = shape;
  options.size = size;
  return options;
}

float Median(std::vector<float> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// A result on the half-pixel grid is what a whole-pixel search reports.
bool OnHalfPixelGrid(cv::Point2f p) {
  return std::fabs(p.x * 2.0f - std::round(p.x * 2.0f)) < 1e-3f &&
         std::fabs(p.y * 2.0f - std::round(p.y * 2.0f)) < 1e-3f;
}

struct Errors {
  std::vector<float> errors;
  int onGrid = 0;
  void Add(const FiducialResult& found, cv::Point2f truth) {
    errors.push_back(found.found ? static_cast<float>(cv::norm(found.centre - truth)) : 1e9f);
    onGrid += OnHalfPixelGrid(found.centre);
  }
  void ExpectAccurate(float median, float worst) const {
    EXPECT_LE(Median(errors), median);
    EXPECT_LE(*std::max_element(errors.begin(), errors.end()), worst);
    EXPECT_LE(onGrid, static_cast<int>(errors.size()) / 10);
    std::printf("%zu marks: median %.4f px, worst %.4f px, %d on the half-pixel grid\n",
                errors.size(), Median(errors), *std::max_element(errors.begin(), errors.end()),
                onGrid);
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
      const FiducialResult found = imgtarn::LocateFiducial(image, CircleOptions(radius));
      EXPECT_TRUE(found.found) << radius;
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
        const FiducialResult found = imgtarn::LocateFiducial(image, CircleOptions(radius));
        EXPECT_TRUE(found.found) << radius << " " << cut << " " << side;
        errors.Add(found, centre);
      }
  errors.ExpectAccurate(0.05f, 0.3f);
}

TEST(LocateFiducial, CrossesAndRectanglesAtSubPixelOffsets) {
  struct Case {
    FiducialShape shape;
    cv::Size2f size;
  };
  const std::vector<Case> cases = {
      {FiducialShape::Rectangle, {30.0f, 20.0f}}, {FiducialShape::Rectangle, {16.4f, 24.0f}},
      {FiducialShape::Rectangle, {50.5f, 33.0f}}, {FiducialShape::Cross, {13.0f, 13.0f}},
      {FiducialShape::Cross, {24.0f, 24.0f}},     {FiducialShape::Cross, {40.0f, 30.0f}}};
  Errors errors;
  int seed = 200;
  for (const Case& c : cases)
    for (const cv::Point2f offset :
         {cv::Point2f(0.13f, 0.71f), cv::Point2f(0.5f, 0.29f), cv::Point2f(0.87f, 0.0f)}) {
      const cv::Size size(static_cast<int>(2.0f * c.size.width + 20.0f),
                          static_cast<int>(2.0f * c.size.height + 20.0f));
      const cv::Point2f centre(size.width / 2 - 2 + offset.x, size.height / 2 + 1 + offset.y);
      const Inside inside =
          c.shape == FiducialShape::Cross ? Cross(centre, c.size) : Rect(centre, c.size);
      const cv::Mat image = Render(size, {{inside, kMark}}, 1.0f, 5.0f, ++seed);
      const FiducialResult found = imgtarn::LocateFiducial(image, BoxOptions(c.shape, c.size));
      EXPECT_TRUE(found.found) << c.size;
      // The half-level outline of a blurred bar end a third of a small cross wide falls short
      // of its drawn tip by up to a pixel; straight sides keep their place.
      const float sizeTolerance = c.shape == FiducialShape::Cross ? 1.0f : 0.3f;
      EXPECT_NEAR(found.size.width, c.size.width, sizeTolerance);
      EXPECT_NEAR(found.size.height, c.size.height, sizeTolerance);
      errors.Add(found, centre);
    }
  errors.ExpectAccurate(0.05f, 0.3f);
}

// A board with the mark and its usual look-alikes: a square and a rectangular pad of the mark's
// size, a disc half as large again, and a silkscreen ring of the mark's radius.
TEST(LocateFiducial, MarkWinsOverLookAlikesThatScoreAsNotFound) {
  const float radius = 12.0f;
  const cv::Point2f mark(64.3f, 92.6f);
  struct LookAlike {
    Inside inside;
    float level;
    cv::Rect window;
  };
  const std::vector<LookAlike> lookAlikes = {
      {Rect({150.0f, 40.0f}, {24.0f, 24.0f}), kMark, cv::Rect(128, 18, 44, 44)},
      {Rect({150.0f, 112.0f}, {30.0f, 20.0f}), kMark, cv::Rect(125, 92, 50, 40)},
      {Disc({220.0f, 80.0f}, 18.0f), kMark, cv::Rect(194, 54, 52, 52)},
      {Ring({60.0f, 30.0f}, radius, radius - 2.5f), 230.0f, cv::Rect(40, 10, 40, 40)}};
  std::vector<Shape> shapes = {{Disc(mark, radius), kMark}};
  for (const LookAlike& other : lookAlikes) shapes.push_back({other.inside, other.level});
  const cv::Mat image = Render(cv::Size(260, 140), shapes, 1.0f, 5.0f, 300);

  const FiducialResult found = imgtarn::LocateFiducial(image, CircleOptions(radius));
  EXPECT_TRUE(found.found);
  EXPECT_LT(cv::norm(found.centre - mark), 0.1);
  EXPECT_GT(found.score, 0.8f);
  for (const LookAlike& other : lookAlikes) {
    FiducialOptions options = CircleOptions(radius);
    options.window = other.window;
    const FiducialResult alone = imgtarn::LocateFiducial(image, options);
    EXPECT_FALSE(alone.found) << other.window << " score " << alone.score;
    EXPECT_LT(alone.score, 0.5f) << other.window;
  }
}

TEST(LocateFiducial, WindowLimitsTheSearchAndResultsStayInImageCoordinates) {
  const cv::Point2f left(30.4f, 40.2f), right(120.7f, 38.9f);
  const cv::Mat image = Render(
      cv::Size(160, 80), {{Disc(left, 8.0f), kMark}, {Disc(right, 8.0f), kMark}}, 1.0f, 5.0f, 400);
  FiducialOptions options = CircleOptions(8.0f);
  options.window = cv::Rect(90, 10, 60, 60);
  const FiducialResult found = imgtarn::LocateFiducial(image, options);
  EXPECT_TRUE(found.found);
  EXPECT_LT(cv::norm(found.centre - right), 0.1);
  options.window = cv::Rect(60, 0, 25, 80);  // between the marks: nothing there
  EXPECT_FALSE(imgtarn::LocateFiducial(image, options).found);
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
  const auto locate = [&](size_t i) {
    const FiducialResult found = imgtarn::LocateFiducial(calls[i].first, calls[i].second);
    return std::vector<float>{found.centre.x, found.centre.y, found.size.width, found.score};
  };
  std::vector<std::vector<float>> serial, parallel(4 * calls.size());
  for (size_t i = 0; i < calls.size(); ++i) serial.push_back(locate(i));
  std::atomic<size_t> next{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (size_t i = next++; i < parallel.size(); i = next++)
        parallel[i] = locate(i % calls.size());
    });
  for (std::thread& thread : threads) thread.join();
  for (size_t i = 0; i < parallel.size(); ++i) EXPECT_EQ(parallel[i], serial[i % calls.size()]);
}

TEST(LocateFiducial, RefusesWhatItCannotSearchNamingTheArgument) {
  const cv::Mat grey(40, 40, CV_8UC1, cv::Scalar(50));
  FiducialOptions outside = CircleOptions(5.0f);
  outside.window = cv::Rect(50, 50, 10, 10);
  struct Case {
    cv::Mat image;
    FiducialOptions options;
    const char* argument;
  };
  const std::vector<Case> cases = {
      {cv::Mat(), CircleOptions(5.0f), "image"},
      {cv::Mat(40, 40, CV_8UC3, cv::Scalar::all(50)), CircleOptions(5.0f), "image"},
      {grey, CircleOptions(0.0f), "radius"},
      {grey, CircleOptions(std::nanf("")), "radius"},
      {grey, BoxOptions(FiducialShape::Rectangle, {10.0f, 0.0f}), "size"},
      {grey, BoxOptions(FiducialShape::Cross, {INFINITY, 10.0f}), "size"},
      {grey, CircleOptions(20.5f), "radius"},
      {grey, outside, "window"}};
  for (const Case& c : cases) {
    try {
      imgtarn::LocateFiducial(c.image, c.options);
      ADD_FAILURE() << "accepted a bad " << c.argument;
    } catch (const imgtarn::InvalidArgument& refused) {
      EXPECT_EQ(refused.argument(), c.argument) << refused.what();
    }
  }
}

}  // namespace
