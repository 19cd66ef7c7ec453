// Slot 21: ring-shaped regions by morphology, either around the edges of one mask or
// between two masks.
#include <opencv2/imgproc.hpp>

#include "contour_tools.hpp"
#include "contours.hpp"
#include "debug_view.hpp"
#include "para.hpp"
#include "plane.hpp"

namespace imgtarn::contours {
namespace {

struct RingBandParams {
  PlaneParams plane;
  int radius = 0;
  static RingBandParams FromPara(const float* para);
};

RingBandParams RingBandParams::FromPara(const float* para) {
  return {PlaneParams::FromPara(para), ClampRadius(ParaInt(para, 3))};
}

struct RingBands {
  cv::Mat outer;  // dilated minus source: just outside the blob edges
  cv::Mat inner;  // source minus eroded: just inside the blob edges
  cv::Mat band;   // both together
};

// Outside the plane erosion sees foreground and dilation background, so a blob cut by the
// plane border gets no ring along that border: it is not an edge of the blob.
RingBands MakeRingBands(const cv::Mat& binary, int radius) {
  cv::Mat dilated, eroded;
  cv::dilate(binary, dilated, Disc(radius));
  cv::erode(binary, eroded, Disc(radius));
  RingBands bands;
  cv::subtract(dilated, binary, bands.outer);
  cv::subtract(binary, eroded, bands.inner);
  cv::subtract(dilated, eroded, bands.band);
  return bands;
}

// The part of the outer mask not covered by the inner one, opened so slivers thinner than the
// disc (registration jitter between the masks) do not count as ring.
cv::Mat RingBetween(const cv::Mat& outer, const cv::Mat& inner, int radius) {
  cv::Mat ring;
  cv::subtract(outer, inner, ring);
  if (radius > 0) cv::morphologyEx(ring, ring, cv::MORPH_OPEN, Disc(radius));
  return ring;
}

}  // namespace

int MorphRingBand(unsigned char* innerRing, unsigned char* outerRing, unsigned char* band,
                  float* para, const unsigned char* plane) {
  if (para == nullptr) return -1;
  const RingBandParams params = RingBandParams::FromPara(para);
  const int width = params.plane.width, height = params.plane.height;
  if (!IsUsablePlane(plane, width, height) || band == nullptr) return -1;
  const RingBands bands = MakeRingBands(
      Binarize(WrapPlane(plane, width, height), params.plane.threshold), params.radius);
  CopyIntoPlane(bands.band, band);
  if (outerRing != nullptr) CopyIntoPlane(bands.outer, outerRing);
  if (innerRing != nullptr) CopyIntoPlane(bands.inner, innerRing);
  para[5] = static_cast<float>(cv::countNonZero(bands.band));
  para[6] = static_cast<float>(cv::countNonZero(bands.outer));
  para[7] = static_cast<float>(cv::countNonZero(bands.inner));
  if (params.plane.debug) debug_view::ShowAndPaint("matRingBand", bands.band);
  return 0;
}

int RingBetweenMasks(const unsigned char* outerMask, const unsigned char* innerMask,
                     unsigned char* ring, float* para) {
  if (para == nullptr) return -1;
  const RingBandParams params = RingBandParams::FromPara(para);
  const int width = params.plane.width, height = params.plane.height;
  if (!IsUsablePlane(outerMask, width, height) || !IsUsablePlane(innerMask, width, height) ||
      ring == nullptr)
    return -1;
  const int threshold = params.plane.threshold;
  const cv::Mat between =
      RingBetween(Binarize(WrapPlane(outerMask, width, height), threshold),
                  Binarize(WrapPlane(innerMask, width, height), threshold), params.radius);
  CopyIntoPlane(between, ring);
  para[5] = static_cast<float>(cv::countNonZero(between));
  para[6] = static_cast<float>(FindExternalContours(between).size());
  if (params.plane.debug) debug_view::ShowAndPaint("matRingBetween", between);
  return 0;
}

}  // namespace imgtarn::contours
