#include "contour_tools.hpp"

#include <algorithm>
#include <climits>
#include <opencv2/imgproc.hpp>

#include "fill_contours.hpp"
#include "para.hpp"

namespace imgtarn::contours {
namespace {

constexpr int kMaxRadius = 50;

}  // namespace

PlaneParams PlaneParams::FromPara(const float* para) {
  PlaneParams params;
  params.width = ParaInt(para, 0);
  params.height = ParaInt(para, 1);
  params.threshold = ParaInt(para, 2);
  params.debug = ParaInt(para, 4) != 0;
  return params;
}

int NonNegative(int value) { return value < 0 ? 0 : value; }

int ClampRadius(int radius) { return std::clamp(radius, 0, kMaxRadius); }

unsigned char ClampLevel(int level) {
  return static_cast<unsigned char>(std::clamp(level, 0, 255));
}

cv::Mat Binarize(const cv::Mat& plane, int threshold) {
  cv::Mat binary;
  // Thresholds below 0 make every sample foreground, 255 and above none.
  if (threshold < 0) return cv::Mat(plane.size(), CV_8UC1, cv::Scalar(255));
  cv::threshold(plane, binary, std::min(threshold, 255), 255, cv::THRESH_BINARY);
  return binary;
}

cv::Mat Disc(int radius) {
  return cv::getStructuringElement(cv::MORPH_ELLIPSE, cv::Size(2 * radius + 1, 2 * radius + 1));
}

std::vector<int> RasterOrder(const std::vector<Contour>& contours) {
  std::vector<cv::Rect> boxes;
  boxes.reserve(contours.size());
  for (const Contour& contour : contours) boxes.push_back(cv::boundingRect(contour));
  std::vector<int> order(contours.size());
  for (int i = 0; i < static_cast<int>(order.size()); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(), [&boxes](int a, int b) {
    return boxes[a].y != boxes[b].y ? boxes[a].y < boxes[b].y : boxes[a].x < boxes[b].x;
  });
  return order;
}

std::vector<Contour> FindExternalContours(const cv::Mat& binary) {
  std::vector<Contour> found;
  cv::findContours(binary, found, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE);
  std::vector<Contour> sorted;
  sorted.reserve(found.size());
  for (int index : RasterOrder(found)) sorted.push_back(std::move(found[index]));
  return sorted;
}

void DrawContourAlone(cv::Mat& image, const Contour& contour, const cv::Scalar& colour,
                      int thickness) {
  // A header over the contour's own points: nothing is copied.
  const std::vector<cv::Mat> alone{cv::Mat(contour)};
  cv::drawContours(image, alone, 0, colour, thickness);
}

void FillBlobWithHoles(cv::Mat& image, const std::vector<Contour>& all,
                       const std::vector<cv::Vec4i>& hierarchy, int outer,
                       const cv::Scalar& colour) {
  // Headers over the blob's outline and its holes (the children's sibling chain), filled as
  // one edge list: the holes stay empty.
  std::vector<cv::Mat> blob{cv::Mat(all[outer])};
  for (int hole = hierarchy[outer][2]; hole >= 0; hole = hierarchy[hole][0])
    blob.emplace_back(all[hole]);
  FillContoursAtOnce(image, blob, colour);
}

BoxMask DrawInBox(const Contour& contour, int thickness) {
  const cv::Rect box = cv::boundingRect(contour);
  BoxMask result{cv::Mat::zeros(box.height, box.width, CV_8UC1), box.tl()};
  const std::vector<Contour> single{contour};
  cv::drawContours(result.mask, single, 0, cv::Scalar(255), thickness, cv::LINE_8, cv::noArray(),
                   INT_MAX, -box.tl());
  return result;
}

BoxMask EnclosedPixels(const Contour& contour, const cv::Mat& within) {
  BoxMask region = DrawInBox(contour, cv::FILLED);
  if (!within.empty()) {
    const cv::Rect box(region.origin, region.mask.size());
    cv::bitwise_and(region.mask, within(box), region.mask);
  }
  return region;
}

RegionMoments MomentsOf(const BoxMask& region) {
  const cv::Moments m = cv::moments(region.mask, true);
  RegionMoments result;
  result.area = m.m00;
  if (m.m00 > 0) {
    result.cx = m.m10 / m.m00 + region.origin.x;
    result.cy = m.m01 / m.m00 + region.origin.y;
  }
  return result;
}

void CopyIntoPlane(const cv::Mat& image, unsigned char* plane) {
  cv::Mat target(image.size(), CV_8UC1, plane);
  image.copyTo(target);
}

int WriteEntries(float* out, int capacity, const std::vector<float>& packed, int width) {
  const int available = static_cast<int>(packed.size()) / width;
  const int count = std::min(NonNegative(capacity), available);
  std::copy(packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(count) * width, out);
  return count;
}

}  // namespace imgtarn::contours
