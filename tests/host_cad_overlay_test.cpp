// Slots 20, 26 and 27 through the raw table, with the host's own argument types.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <opencv2/core.hpp>
#include <vector>

#include "support/host_library.hpp"

namespace {

constexpr int kFollowCadOverlay = 20;
constexpr int kMatchPadTemplates = 26;
constexpr int kSplitPadBlobs = 27;

cv::Mat Filled(cv::Size size, const std::vector<cv::Rect>& rects, int value, int ground = 0) {
  cv::Mat plane(size, CV_8UC1, cv::Scalar(ground));
  for (const cv::Rect& r : rects) plane(r).setTo(value);
  return plane;
}

int Follow(host::ImgObject& img, cv::Mat& boundary, cv::Mat& cad, cv::Mat& measured, float* score) {
  float para[3] = {static_cast<float>(cad.cols), static_cast<float>(cad.rows), 0.0f};
  return img.Call<int>(kFollowCadOverlay, boundary.data, cad.data, measured.data, para,
                       static_cast<void*>(nullptr), score);
}

// The three planes arrive as boundary, CAD pad, measured blob: taken in any other order the
// blob would not sit exactly on its pad inside the boundary.
TEST(HostCadOverlay, Slot20TakesBoundaryThenCadThenMeasured) {
  host::ImgObject img;
  cv::Mat boundary = Filled({60, 60}, {{10, 10, 40, 40}}, 255);
  cv::Mat cad = Filled({60, 60}, {{20, 20, 20, 20}}, 255);
  cv::Mat measured = cad.clone();
  float score = -1.0f;
  ASSERT_EQ(Follow(img, boundary, cad, measured, &score), 0);
  EXPECT_EQ(score, 1.0f);  // a blob on its pad: full cover, no spill, no penalty
  ASSERT_EQ(Follow(img, cad, boundary, measured, &score), 0);
  EXPECT_LT(score, 1.0f);
}

// A reference board: three bright pads of different shapes on a dark ground.
const cv::Size kBoard(160, 70);
constexpr float kBoardW = 160, kBoardH = 70;
const std::vector<cv::Rect> kPads = {{10, 20, 24, 24}, {60, 15, 30, 20}, {110, 10, 20, 36}};

struct Split {
  float grid[2] = {-1.0f, -1.0f};
  std::vector<unsigned char> pixels = std::vector<unsigned char>(kBoard.area() * 3, 0);
  std::vector<int> rects = std::vector<int>(12, -7);
};

Split SplitBoard(host::ImgObject& img, cv::Mat& board) {
  Split split;
  float para[6] = {kBoardW, kBoardH, 1, 0, 0, 0};
  EXPECT_EQ(img.Call<int>(kSplitPadBlobs, board.data, para, static_cast<void*>(nullptr), split.grid,
                          split.pixels.data(), split.rects.data()),
            0);
  return split;
}

std::vector<float> MatchBoard(host::ImgObject& img, cv::Mat& board, Split& split) {
  std::vector<float> scores(3, -1.0f);
  float para[7] = {kBoardW, kBoardH, 1, 0, 0, 0, split.grid[1]};
  EXPECT_EQ(img.Call<int>(kMatchPadTemplates, board.data, para, static_cast<void*>(nullptr),
                          scores.data(), split.pixels.data(), split.rects.data()),
            0);
  return scores;
}

TEST(HostCadOverlay, Slot27SplitsThePadsAndSlot26ScoresThemBack) {
  host::ImgObject img;
  cv::Mat board = Filled(kBoard, kPads, 220, 30);
  Split split = SplitBoard(img, board);
  EXPECT_EQ(split.grid[0], 1.0f);
  ASSERT_EQ(split.grid[1], 3.0f);
  std::vector<cv::Rect> found;
  for (int i = 0; i < 3; ++i)
    found.emplace_back(split.rects[4 * i], split.rects[4 * i + 1], split.rects[4 * i + 2],
                       split.rects[4 * i + 3]);
  for (const cv::Rect& pad : kPads)
    EXPECT_NE(std::find(found.begin(), found.end(), pad), found.end()) << pad;

  // The reference board itself: every pad finds itself.
  for (float score : MatchBoard(img, board, split)) EXPECT_NEAR(score, 1.0f, 1e-4f);

  // Every pad with a bite out of a corner: every score drops.
  cv::Mat damaged = board.clone();
  for (const cv::Rect& pad : kPads) damaged(cv::Rect(pad.x, pad.y, 10, 10)).setTo(30);
  for (float score : MatchBoard(img, damaged, split)) {
    EXPECT_LT(score, 0.95f);
    EXPECT_GT(score, 0.3f);
  }

  // The board shifted so that the last pad runs off the right edge: that pad drops, the
  // others still find themselves.
  cv::Mat shifted(kBoard, CV_8UC1, cv::Scalar(30));
  board(cv::Rect(0, 0, kBoard.width - 40, kBoard.height))
      .copyTo(shifted(cv::Rect(40, 0, kBoard.width - 40, kBoard.height)));
  const std::vector<float> scores = MatchBoard(img, shifted, split);
  for (int i = 0; i < 3; ++i) {
    const bool cut = found[i] == kPads[2];
    if (cut)
      EXPECT_LT(scores[i], 0.9f);
    else
      EXPECT_NEAR(scores[i], 1.0f, 1e-4f);
  }
}

TEST(HostCadOverlay, Slots26And27ReturnZeroAndLeaveOutputsAloneWhenNothingIsThere) {
  host::ImgObject img;
  cv::Mat flat(kBoard, CV_8UC1, cv::Scalar(0));
  Split split = SplitBoard(img, flat);
  EXPECT_EQ(split.grid[0], -1.0f);
  EXPECT_EQ(split.rects[0], -7);

  float para[7] = {kBoardW, kBoardH, 1, 0, 0, 0, 3};
  float scores[2] = {5.0f, 5.0f};
  EXPECT_EQ(img.Call<int>(kMatchPadTemplates, flat.data, para, static_cast<void*>(nullptr), scores,
                          split.pixels.data(), static_cast<int*>(nullptr)),
            0);
  EXPECT_EQ(scores[0], 0.0f);
  EXPECT_EQ(scores[1], 5.0f);
}

}  // namespace
