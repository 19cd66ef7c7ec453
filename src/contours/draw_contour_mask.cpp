// Slot 34: a filled mask of the plane's blobs (holes filled), small specks left out.
#include <opencv2/imgproc.hpp>
#include <vector>

#include "contour_tools.hpp"
#include "contours.hpp"
#include "debug_view.hpp"
#include "para.hpp"
#include "plane.hpp"

namespace imgtarn::contours {
namespace {

struct MaskParams {
  PlaneParams plane;
  int minArea = 0;
  static MaskParams FromPara(const float* para);
};

MaskParams MaskParams::FromPara(const float* para) {
  return {PlaneParams::FromPara(para), ParaInt(para, 3)};
}

// Returns the number of blobs drawn.
int DrawFilledBlobs(const cv::Mat& binary, int minArea, cv::Mat* mask) {
  const std::vector<Contour> outers = FindExternalContours(binary);
  int drawn = 0;
  for (int i = 0; i < static_cast<int>(outers.size()); ++i) {
    if (MeasureRegion(outers[i]).area < minArea) continue;
    DrawContourAlone(*mask, outers[i], cv::Scalar(255), cv::FILLED);
    ++drawn;
  }
  return drawn;
}

}  // namespace

int DrawContourMask(unsigned char* mask, const unsigned char* plane, float* para) {
  if (para == nullptr) return -1;
  const MaskParams params = MaskParams::FromPara(para);
  const int width = params.plane.width, height = params.plane.height;
  if (!IsUsablePlane(plane, width, height) || mask == nullptr) return -1;
  cv::Mat filled = cv::Mat::zeros(height, width, CV_8UC1);
  const int drawn = DrawFilledBlobs(
      Binarize(WrapPlane(plane, width, height), params.plane.threshold), params.minArea, &filled);
  CopyIntoPlane(filled, mask);
  para[5] = static_cast<float>(drawn);
  para[6] = static_cast<float>(cv::countNonZero(filled));
  if (params.plane.debug) {
    debug_view::ShowAndPaint("matContourMask", filled);
  }
  return 0;
}

}  // namespace imgtarn::contours
