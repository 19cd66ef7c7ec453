// Locates a drawn disc through the installed typed API and checks that a refused argument
// arrives as imgtarn::InvalidArgument.
#include <cmath>
#include <cstdio>
#include <imgtarn/vision.hpp>

int main() {
  cv::Mat grey(120, 160, CV_8UC1, cv::Scalar(30));
  for (int y = 0; y < grey.rows; ++y)
    for (int x = 0; x < grey.cols; ++x)
      if (std::hypot(x - 80.0, y - 60.0) <= 20.0) grey.at<unsigned char>(y, x) = 220;
  const imgtarn::CircleMarkResult mark = imgtarn::LocateCircleMark(grey);
  bool refused = false;
  try {
    imgtarn::CircleMarkOptions options;
    options.radius = -1.0f;
    imgtarn::LocateCircleMark(grey, options);
  } catch (const imgtarn::InvalidArgument& error) {
    refused = error.argument() == "radius";
  }
  std::printf("found=%d centre=%.2f,%.2f refused=%d\n", mark.found, mark.centre.x, mark.centre.y,
              refused);
  const bool near = std::hypot(mark.centre.x - 80.0, mark.centre.y - 60.0) <= 1.0;
  return mark.found && near && refused ? 0 : 1;
}
