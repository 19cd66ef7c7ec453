// Slot 7: blobs sorted into rings (one hole) and solids (no hole), with their centres.
#include <opencv2/imgproc.hpp>
#include <vector>

#include "contour_tools.hpp"
#include "contours.hpp"
#include "debug_view.hpp"
#include "para.hpp"
#include "plane.hpp"

namespace imgtarn::contours {
namespace {

constexpr int kEntryWidth = 4;  // centre x, centre y, enclosed area, hole area

struct RingParams {
  PlaneParams plane;
  int minBlobArea = 0;
  int minHoleArea = 0;
  int ringCapacity = 0;
  int solidCapacity = 0;
  static RingParams FromPara(const float* para);
};

RingParams RingParams::FromPara(const float* para) {
  RingParams params;
  params.plane = PlaneParams::FromPara(para);
  params.minBlobArea = ParaInt(para, 3);
  params.minHoleArea = ParaInt(para, 5);
  params.ringCapacity = NonNegative(ParaInt(para, 6));
  params.solidCapacity = NonNegative(ParaInt(para, 7));
  return params;
}

struct Classified {
  std::vector<float> rings;   // packed entries
  std::vector<float> solids;  // packed entries
  int ringCount = 0;
  int solidCount = 0;
  int multiHoleCount = 0;
  cv::Mat ringMask;
  cv::Mat solidMask;
};

// Holes smaller than the minimum are pin holes in a solid blob, not the bore of a ring.
int CountHoles(const std::vector<Contour>& all, const std::vector<cv::Vec4i>& hierarchy, int outer,
               double minHoleArea) {
  int holes = 0;
  for (int child = hierarchy[outer][2]; child >= 0; child = hierarchy[child][0])
    if (cv::contourArea(all[child]) >= minHoleArea) ++holes;
  return holes;
}

void AppendEntry(const RegionMoments& enclosed, double blobArea, std::vector<float>* packed) {
  packed->insert(packed->end(),
                 {static_cast<float>(enclosed.cx), static_cast<float>(enclosed.cy),
                  static_cast<float>(enclosed.area), static_cast<float>(enclosed.area - blobArea)});
}

Classified ClassifyBlobs(const cv::Mat& binary, const RingParams& params) {
  std::vector<Contour> all;
  std::vector<cv::Vec4i> hierarchy;
  // Two levels: outer contours and the holes inside them (an island in a hole is an outer).
  FindTwoLevelContours(binary, all, hierarchy);
  Classified result;
  result.ringMask = cv::Mat::zeros(binary.size(), CV_8UC1);
  result.solidMask = cv::Mat::zeros(binary.size(), CV_8UC1);
  for (int index : RasterOrder(all)) {
    if (hierarchy[index][3] >= 0) continue;  // a hole; its parent is classified
    const RegionMoments enclosed = MeasureRegion(all[index]);
    if (enclosed.area < params.minBlobArea) continue;
    const double blobArea = MeasureRegion(all[index], binary).area;
    const int holes = CountHoles(all, hierarchy, index, params.minHoleArea);
    if (holes >= 2) {
      ++result.multiHoleCount;
      continue;
    }
    const bool ring = holes == 1;
    ++(ring ? result.ringCount : result.solidCount);
    AppendEntry(enclosed, blobArea, ring ? &result.rings : &result.solids);
    FillBlobWithHoles(ring ? result.ringMask : result.solidMask, all, hierarchy, index,
                      cv::Scalar(255));
  }
  return result;
}

}  // namespace

int ClassifyRingContours(unsigned char* ringMask, unsigned char* solidMask, float* solids,
                         float* para, float* rings, const unsigned char* plane) {
  if (para == nullptr) return -1;
  const RingParams params = RingParams::FromPara(para);
  const int width = params.plane.width, height = params.plane.height;
  if (!IsUsablePlane(plane, width, height)) return -1;
  const Classified found =
      ClassifyBlobs(Binarize(WrapPlane(plane, width, height), params.plane.threshold), params);
  if (ringMask != nullptr) CopyIntoPlane(found.ringMask, ringMask);
  if (solidMask != nullptr) CopyIntoPlane(found.solidMask, solidMask);
  if (rings != nullptr) WriteEntries(rings, params.ringCapacity, found.rings, kEntryWidth);
  if (solids != nullptr) WriteEntries(solids, params.solidCapacity, found.solids, kEntryWidth);
  para[8] = static_cast<float>(found.ringCount);
  para[9] = static_cast<float>(found.solidCount);
  para[10] = static_cast<float>(found.multiHoleCount);
  if (params.plane.debug) {
    debug_view::Show("matRings", found.ringMask);
    debug_view::ShowAndPaint("matSolids", found.solidMask);
  }
  return 0;
}

}  // namespace imgtarn::contours
