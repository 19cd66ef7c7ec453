// Synthetic board-like inputs for the benchmarks: textured solder mask with pads and marks.
#ifndef IMGTARN_BENCH_BOARD_HPP
#define IMGTARN_BENCH_BOARD_HPP

#include <opencv2/core.hpp>

namespace bench {

constexpr int kBoardWidth = 2448;
constexpr int kBoardHeight = 2048;

// A grey board: noisy dark mask, rows of bright pads, a few circular marks.
cv::Mat GreyBoard(int width = kBoardWidth, int height = kBoardHeight, unsigned seed = 1);

// Three colour planes of a board whose copper areas carry black holes.
struct ColourBoard {
  cv::Mat r, g, b;
  cv::Vec3b copper;  // the reference colour (R, G, B)
};
ColourBoard ColourBoardWithHoles(int width = kBoardWidth, int height = kBoardHeight);

}  // namespace bench

#endif  // IMGTARN_BENCH_BOARD_HPP
