// Image files to and from the host's planar buffers (slots 31 and 32).
#include <cstring>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "buffers.hpp"
#include "plane.hpp"

namespace imgtarn::buffers {
namespace {

// The first n characters of a text argument; a count of 0 or less is the empty path.
std::string TextArgument(const unsigned char* text, int n) {
  if (n <= 0) return std::string();
  return std::string(reinterpret_cast<const char*>(text), static_cast<std::size_t>(n));
}

struct PlaneDeleter {
  void operator()(unsigned char* plane) const { ::operator delete(plane); }
};
using OwnedPlane = std::unique_ptr<unsigned char, PlaneDeleter>;

// A plane for the host: plain operator new, so the host frees it with operator delete.
OwnedPlane CopyToNewPlane(const cv::Mat& channel) {
  const std::size_t bytes = channel.total();
  OwnedPlane plane(static_cast<unsigned char*>(::operator new(bytes)));
  if (bytes > 0) std::memcpy(plane.get(), channel.data, bytes);
  return plane;
}

}  // namespace

int LoadImagePlanes(unsigned char* path, unsigned char** channel2, unsigned char** channel1,
                    unsigned char** channel0, float* para) {
  const FileParams params = FileParams::FromPara(para);
  const cv::Mat image = cv::imread(TextArgument(path, params.pathLength), cv::IMREAD_COLOR);
  para[1] = static_cast<float>(image.cols);
  para[2] = static_cast<float>(image.rows);

  std::vector<cv::Mat> channels;
  cv::split(image, channels);
  if (channels.size() < 3) throw std::out_of_range("invalid vector<T> subscript");

  // All three planes exist before any is handed out, so a failed allocation leaks nothing.
  OwnedPlane plane0 = CopyToNewPlane(channels[0]);
  OwnedPlane plane1 = CopyToNewPlane(channels[1]);
  OwnedPlane plane2 = CopyToNewPlane(channels[2]);
  *channel0 = plane0.release();
  *channel1 = plane1.release();
  *channel2 = plane2.release();
  return 0;
}

int SaveImagePlanes(unsigned char* path, unsigned char* channel2, unsigned char* channel1,
                    unsigned char* channel0, float* para) {
  if (path == nullptr || channel2 == nullptr || channel1 == nullptr || channel0 == nullptr ||
      para == nullptr)
    return -1;
  const FileParams params = FileParams::FromPara(para);
  const std::string file = TextArgument(path, params.pathLength);
  const int width = params.width, height = params.height;
  // A size of 0 or below gives an empty image, which imwrite refuses with its own error.
  // cv::merge is not asked to join empty planes: it faults on them instead of throwing.
  cv::Mat image;
  if (width > 0 && height > 0) {
    const std::vector<cv::Mat> channels{WrapPlane(channel0, width, height),
                                        WrapPlane(channel1, width, height),
                                        WrapPlane(channel2, width, height)};
    cv::merge(channels, image);
  }
  cv::imwrite(file, image, std::vector<int>());  // a failed write is not reported
  return 0;
}

}  // namespace imgtarn::buffers
