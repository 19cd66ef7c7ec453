// Slot 9: blobs of a plane (optionally inside a region mask) with area and centroid from
// their pixel moments, and an optional label plane.
#include <algorithm>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "contour_tools.hpp"
#include "contours.hpp"
#include "debug_view.hpp"
#include "para.hpp"
#include "plane.hpp"

namespace imgtarn::contours {
namespace {

constexpr int kEntryWidth = 3;  // area, centroid x, centroid y

struct SegmentParams {
  PlaneParams plane;
  int minArea = 0;
  int capacity = 0;
  static SegmentParams FromPara(const float* para);
};

SegmentParams SegmentParams::FromPara(const float* para) {
  SegmentParams params;
  params.plane = PlaneParams::FromPara(para);
  params.minArea = ParaInt(para, 3);
  params.capacity = NonNegative(ParaInt(para, 5));
  return params;
}

struct Segments {
  std::vector<float> entries;  // packed
  cv::Mat labels;              // blob k (1-based, reported order) drawn with min(k, 255)
};

Segments Segment(const cv::Mat& binary, int minArea) {
  Segments result;
  result.labels = cv::Mat::zeros(binary.size(), CV_8UC1);
  const std::vector<Contour> outers = FindExternalContours(binary);
  int label = 0;
  for (const Contour& outer : outers) {
    const BoxMask own = EnclosedPixels(outer, binary);  // holes are not the blob's
    const RegionMoments blob = MomentsOf(own);
    if (blob.area < minArea || blob.area <= 0) continue;
    ++label;
    result.entries.insert(
        result.entries.end(),
        {static_cast<float>(blob.area), static_cast<float>(blob.cx), static_cast<float>(blob.cy)});
    result.labels(cv::Rect(own.origin, own.mask.size()))
        .setTo(cv::Scalar(std::min(label, 255)), own.mask);
  }
  return result;
}

}  // namespace

int SegmentByMoments(const unsigned char* plane, const unsigned char* regionMask, const float* para,
                     unsigned char* labels, float* result) {
  if (para == nullptr || result == nullptr) return -1;
  const SegmentParams params = SegmentParams::FromPara(para);
  const int width = params.plane.width, height = params.plane.height;
  if (!IsUsablePlane(plane, width, height)) return -1;
  cv::Mat binary = Binarize(WrapPlane(plane, width, height), params.plane.threshold);
  // The region mask cuts blobs at its border: a pad half inside counts with its inside half.
  if (regionMask != nullptr) binary.setTo(cv::Scalar(0), WrapPlane(regionMask, width, height) == 0);
  const Segments found = Segment(binary, params.minArea);
  result[0] = static_cast<float>(found.entries.size() / kEntryWidth);
  WriteEntries(result + 1, params.capacity, found.entries, kEntryWidth);
  if (labels != nullptr) CopyIntoPlane(found.labels, labels);
  if (params.plane.debug) {
    debug_view::ShowAndPaint("matSegments", found.labels);
  }
  return 0;
}

}  // namespace imgtarn::contours
