#include "board.hpp"

#include <opencv2/imgproc.hpp>

namespace bench {

cv::Mat GreyBoard(int width, int height, unsigned seed) {
  cv::RNG rng(seed);
  cv::Mat board(height, width, CV_8UC1);
  rng.fill(board, cv::RNG::NORMAL, 40, 12);
  for (int y = 40; y + 40 < height; y += 90) {
    for (int x = 40; x + 60 < width; x += 110) {
      cv::rectangle(board, cv::Rect(x, y, 60, 36), cv::Scalar(190 + rng.uniform(0, 40)),
                    cv::FILLED);
    }
  }
  for (int i = 0; i < 4; ++i) {
    cv::circle(board, cv::Point(rng.uniform(100, width - 100), rng.uniform(100, height - 100)), 30,
               cv::Scalar(230), cv::FILLED, cv::LINE_AA);
  }
  cv::GaussianBlur(board, board, cv::Size(3, 3), 0);
  return board;
}

ColourBoard ColourBoardWithHoles(int width, int height) {
  ColourBoard board;
  board.copper = cv::Vec3b(200, 150, 60);
  cv::RNG rng(7);
  board.r = cv::Mat(height, width, CV_8UC1, cv::Scalar(30));
  board.g = cv::Mat(height, width, CV_8UC1, cv::Scalar(90));
  board.b = cv::Mat(height, width, CV_8UC1, cv::Scalar(40));
  const cv::Rect copper(width / 8, height / 8, width * 3 / 4, height * 3 / 4);
  board.r(copper).setTo(board.copper[0]);
  board.g(copper).setTo(board.copper[1]);
  board.b(copper).setTo(board.copper[2]);
  for (int i = 0; i < 2000; ++i) {
    const cv::Point centre(rng.uniform(copper.x, copper.br().x),
                           rng.uniform(copper.y, copper.br().y));
    const int radius = rng.uniform(2, 12);
    for (cv::Mat* plane : {&board.r, &board.g, &board.b})
      cv::circle(*plane, centre, radius, cv::Scalar(rng.uniform(0, 6)), cv::FILLED);
  }
  return board;
}

}  // namespace bench
