// The typed core shared by the contour operations: reading the common para entries,
// binarising a plane, listing its blobs in a fixed order and measuring one blob.
#ifndef IMGTARN_CONTOURS_CONTOUR_TOOLS_HPP
#define IMGTARN_CONTOURS_CONTOUR_TOOLS_HPP

#include <opencv2/core.hpp>
#include <vector>

namespace imgtarn::contours {

using Contour = std::vector<cv::Point>;

// The entries every contour operation reads the same way: [0] width, [1] height,
// [2] foreground threshold (samples above it are foreground), [4] debug switch.
struct PlaneParams {
  int width = 0;
  int height = 0;
  int threshold = 0;
  bool debug = false;
  static PlaneParams FromPara(const float* para);
};

// A capacity or count read from para: negative, NaN and out-of-range values mean 0.
int NonNegative(int value);
// A structuring-element radius: negative means 0, and the radius is capped so a stray para
// value cannot make one call run for minutes (a 101 x 101 disc is far beyond any pad edge).
int ClampRadius(int radius);
// A grey level for drawing, clamped into 0..255.
unsigned char ClampLevel(int level);

// 255 where the sample is above the threshold, 0 elsewhere (a new matrix).
cv::Mat Binarize(const cv::Mat& plane, int threshold);

// An elliptic structuring element of (2 r + 1) x (2 r + 1).
cv::Mat Disc(int radius);

// The outer contours of the foreground blobs, in raster order of their top-left corner (top
// row first, then left column) so the host can rely on the order of every listing.
std::vector<Contour> FindExternalContours(const cv::Mat& binary);
// The contours of the foreground and their two-level hierarchy, exactly as
// cv::findContours(binary, all, hierarchy, cv::RETR_CCOMP, cv::CHAIN_APPROX_NONE) lists them:
// each blob's outer contour followed by its holes. OpenCV finds a hole's parent by walking the
// contours found before it, quadratic on planes with many holes (1.9 s for a 640 x 480
// one-pixel checkerboard); this builds the same lists from the plain listing in linear time.
void FindTwoLevelContours(const cv::Mat& binary, std::vector<Contour>& all,
                          std::vector<cv::Vec4i>& hierarchy);
// The reference: OpenCV's own two-level listing.
void FindTwoLevelContoursLiteral(const cv::Mat& binary, std::vector<Contour>& all,
                                 std::vector<cv::Vec4i>& hierarchy);
// The indexes of `contours` in that raster order.
std::vector<int> RasterOrder(const std::vector<Contour>& contours);

// Draws one contour of a list, as cv::drawContours(image, list, index, ...) does. OpenCV
// prepares a header for every contour of the list it is handed, so drawing a long list one
// index at a time costs the list's length per call; this hands it only what is drawn.
void DrawContourAlone(cv::Mat& image, const Contour& contour, const cv::Scalar& colour,
                      int thickness);
// Fills the outer contour `outer` of a two-level hierarchy (cv::RETR_CCOMP) with its holes
// left empty, as cv::drawContours(image, all, outer, colour, FILLED, LINE_8, hierarchy, 1),
// in time linear in the blob's holes.
void FillBlobWithHoles(cv::Mat& image, const std::vector<Contour>& all,
                       const std::vector<cv::Vec4i>& hierarchy, int outer,
                       const cv::Scalar& colour);

// One contour drawn into a mask the size of its bounding box. `thickness` is cv::FILLED for
// the enclosed region (boundary included, holes filled) or 1 for the outline alone.
struct BoxMask {
  cv::Mat mask;
  cv::Point origin;  // plane coordinates of mask(0, 0)
};
BoxMask DrawInBox(const Contour& contour, int thickness);

// The pixels enclosed by `contour`; with a non-empty `within` (a plane-sized mask), only
// those also set there (so a blob's holes drop out).
BoxMask EnclosedPixels(const Contour& contour, const cv::Mat& within = cv::Mat());

// Pixel moments of a box mask.
struct RegionMoments {
  double area = 0;  // pixel count
  double cx = 0;    // centroid, plane coordinates
  double cy = 0;
};
RegionMoments MomentsOf(const BoxMask& region);
inline RegionMoments MeasureRegion(const Contour& contour, const cv::Mat& within = cv::Mat()) {
  return MomentsOf(EnclosedPixels(contour, within));
}

// Copies an 8-bit matrix into a host plane of the same size (never reallocates).
void CopyIntoPlane(const cv::Mat& image, unsigned char* plane);

// Copies at most `capacity` entries of `width` floats each to `out`; returns the count copied.
int WriteEntries(float* out, int capacity, const std::vector<float>& packed, int width);

}  // namespace imgtarn::contours

#endif  // IMGTARN_CONTOURS_CONTOUR_TOOLS_HPP
