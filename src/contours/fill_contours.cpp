// Slot 22: polygons given by the host as integers, filled into a plane with a level or with
// the samples of a source plane.
#include <cstdlib>
#include <opencv2/imgproc.hpp>
#include <optional>
#include <vector>

#include "contour_tools.hpp"
#include "contours.hpp"
#include "debug_view.hpp"
#include "para.hpp"
#include "plane.hpp"

namespace imgtarn::contours {
namespace {

// Far beyond any plane, and far from the range where the rasteriser's fixed-point edges
// could overflow.
constexpr int kMaxCoordinate = 1 << 24;

struct FillParams {
  PlaneParams plane;
  unsigned char level = 0;
  long long arrayLength = 0;
  static FillParams FromPara(const float* para);
};

FillParams FillParams::FromPara(const float* para) {
  FillParams params;
  params.plane = PlaneParams::FromPara(para);
  params.level = ClampLevel(ParaInt(para, 2));
  params.arrayLength = NonNegative(ParaInt(para, 3));
  return params;
}

// Reads {n, then per polygon: k, x1, y1, ..., xk, yk}; nothing when the array is malformed
// (negative counts, an empty polygon, a record running past `length`, a wild coordinate).
std::optional<std::vector<Contour>> ParsePolygons(const int* values, long long length) {
  if (length < 1 || values[0] < 0) return std::nullopt;
  std::vector<Contour> polygons;
  long long at = 1;
  for (int p = 0; p < values[0]; ++p) {
    if (at >= length) return std::nullopt;
    const long long points = values[at++];
    if (points < 1 || at + 2 * points > length) return std::nullopt;
    Contour polygon;
    polygon.reserve(static_cast<std::size_t>(points));
    for (long long i = 0; i < points; ++i, at += 2) {
      const int x = values[at], y = values[at + 1];
      if (std::abs(static_cast<long long>(x)) > kMaxCoordinate ||
          std::abs(static_cast<long long>(y)) > kMaxCoordinate)
        return std::nullopt;
      polygon.emplace_back(x, y);
    }
    polygons.push_back(std::move(polygon));
  }
  return polygons;
}

// Each polygon is filled on its own, so overlapping polygons add up instead of cancelling.
cv::Mat FillMask(const cv::Size& size, const std::vector<Contour>& polygons) {
  cv::Mat mask = cv::Mat::zeros(size, CV_8UC1);
  for (const Contour& polygon : polygons)
    DrawContourAlone(mask, polygon, cv::Scalar(255), cv::FILLED);
  return mask;
}

}  // namespace

int FillContours(unsigned char* target, float* para, const int* contours,
                 const unsigned char* source) {
  if (para == nullptr || contours == nullptr) return -1;
  const FillParams params = FillParams::FromPara(para);
  const int width = params.plane.width, height = params.plane.height;
  if (!IsUsablePlane(target, width, height)) return -1;
  const std::optional<std::vector<Contour>> polygons = ParsePolygons(contours, params.arrayLength);
  if (!polygons) return -1;
  const cv::Mat mask = FillMask(cv::Size(width, height), *polygons);
  cv::Mat plane = WrapPlane(target, width, height);
  if (source != nullptr)
    WrapPlane(source, width, height).copyTo(plane, mask);
  else
    plane.setTo(cv::Scalar(params.level), mask);
  para[5] = static_cast<float>(polygons->size());
  para[6] = static_cast<float>(cv::countNonZero(mask));
  if (params.plane.debug) {
    debug_view::ShowAndPaint("matFilledContours", plane);
  }
  return 0;
}

}  // namespace imgtarn::contours
