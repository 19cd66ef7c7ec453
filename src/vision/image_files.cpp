// Image files (slots 31 and 32): colour images read and written through OpenCV's codecs.
#include <fstream>
#include <opencv2/imgcodecs.hpp>

#include "input_checks.hpp"

namespace imgtarn {

cv::Mat LoadImage(const std::string& path) {
  // Checked first so that a missing file is only our exception, not also a codec warning.
  vision::Require(std::ifstream(path).good(), "path", "'" + path + "' cannot be opened");
  const cv::Mat image = cv::imread(path, cv::IMREAD_COLOR);
  vision::Require(!image.empty(), "path", "'" + path + "' cannot be read as an image");
  return image;
}

void SaveImage(const std::string& path, const cv::Mat& image) {
  vision::RequireImage(image, "image", {CV_8UC1, CV_8UC3});
  // The host saves three planes: a grey image goes out as three equal ones.
  cv::Mat colour = image;
  if (image.channels() == 1) {
    const cv::Mat planes[3] = {image, image, image};
    cv::merge(planes, 3, colour);
  }
  const bool written = cv::imwrite(path, colour, std::vector<int>());
  vision::Require(written, "path", "'" + path + "' could not be written");
}

}  // namespace imgtarn
