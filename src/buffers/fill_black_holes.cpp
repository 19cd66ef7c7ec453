// Black-hole filling (slot 29): a sampled scan for the reference-colour area, then a parallel
// pass that paints the black pixels inside it, and the copy of the planes to the outputs.
#include <algorithm>
#include <cstring>

#include "buffers.hpp"
#include "para_f.hpp"
#include "plane.hpp"

namespace imgtarn::buffers {
namespace {

constexpr int kMatchTolerance = 5;  // a channel within 5 of the reference matches
// One row and one column in twenty: the scan then costs about a tenth of a full pass.
constexpr int kSampleDivisor = 20;

bool Near(unsigned char value, unsigned char reference) {
  return value >= reference - kMatchTolerance && value <= reference + kMatchTolerance;
}

struct ColourPlanes {
  const cv::Mat& r;
  const cv::Mat& g;
  const cv::Mat& b;
  const unsigned char* colour;
  bool Matches(int y, int x) const {
    return Near(r.at<unsigned char>(y, x), colour[0]) &&
           Near(g.at<unsigned char>(y, x), colour[1]) && Near(b.at<unsigned char>(y, x), colour[2]);
  }
};

// The step is at least 1, so planes narrower or lower than twenty samples still terminate.
int SampleStep(int extent) { return std::max(extent / kSampleDivisor, 1); }

// Widens the column range with one sampled row. The backward scan stops before column 0.
void ScanRow(const ColourPlanes& planes, int y, FillBox& box) {
  const int w = planes.r.cols;
  int x = 0;
  while (x < w && !planes.Matches(y, x)) ++x;
  box.colStart = std::min(box.colStart, x);
  x = w - 1;
  while (x >= 1 && !planes.Matches(y, x)) --x;
  box.colEnd = std::max(box.colEnd, x);
}

// Widens the row range with one sampled column. The backward scan stops before row 0.
void ScanColumn(const ColourPlanes& planes, int x, FillBox& box) {
  const int h = planes.r.rows;
  int y = 0;
  while (y < h && !planes.Matches(y, x)) ++y;
  box.rowStart = std::min(box.rowStart, y);
  y = h - 1;
  while (y >= 1 && !planes.Matches(y, x)) --y;
  box.rowEnd = std::max(box.rowEnd, y);
}

}  // namespace

FillBox FindReferenceBox(const cv::Mat& r, const cv::Mat& g, const cv::Mat& b,
                         const unsigned char colour[3]) {
  const ColourPlanes planes{r, g, b, colour};
  const int h = r.rows, w = r.cols;
  // Starts inverted: with no match the box stays empty.
  FillBox box{h, 0, w, 0};
  for (int y = 0; y < h; y += SampleStep(h)) ScanRow(planes, y, box);
  for (int x = 0; x < w; x += SampleStep(w)) ScanColumn(planes, x, box);
  return box;
}

void FillBlackHolesInPlace(const cv::Mat& r, const cv::Mat& g, const cv::Mat& b,
                           const FillBlackHolesParams& params) {
  const unsigned char colour[3] = {params.refR, params.refG, params.refB};
  const FillBox box = FindReferenceBox(r, g, b, colour);
  int work[kFillWorkSize] = {};
  work[kRowStart] = box.rowStart;
  work[kRowEnd] = box.rowEnd;
  work[kColStart] = box.colStart;
  work[kColEnd] = box.colEnd;
  work[kThreads] = params.threads;
  cv::parallelTestWithParallel_for_2(r, g, b, colour, work);
}

int FillBlackHoles(unsigned char* r, unsigned char* g, unsigned char* b, float* para,
                   unsigned char* outR, unsigned char* outG, unsigned char* outB) {
  const FillBlackHolesParams params = FillBlackHolesParams::FromPara(para);
  // A size of 0 or below is an empty image: nothing to paint and nothing to copy.
  if (params.width <= 0 || params.height <= 0) return 0;
  const int w = params.width, h = params.height;
  const FillPlanes planes{{WrapPlane(r, w, h), WrapPlane(g, w, h), WrapPlane(b, w, h)},
                          {WrapPlane(outR, w, h), WrapPlane(outG, w, h), WrapPlane(outB, w, h)}};
  if (PlanesLieApart(planes)) {
    FillBlackHolesAndCopy(planes, params);  // one pass instead of four
    return 0;
  }
  // The host may pass one plane twice: paint first, then copy plane by plane, in that order.
  FillBlackHolesInPlace(planes.in[0], planes.in[1], planes.in[2], params);
  const std::size_t bytes = planes.in[0].total();
  std::memmove(outR, r, bytes);  // memmove: an output may be an input too
  std::memmove(outG, g, bytes);
  std::memmove(outB, b, bytes);
  return 0;
}

}  // namespace imgtarn::buffers
