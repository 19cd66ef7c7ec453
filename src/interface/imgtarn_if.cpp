// The thin operations of ImgTarn_IF: argument forwarding and mode dispatch only.
#include "buffers/buffers.hpp"
#include "cad_overlay/cad_overlay.hpp"
#include "circle_mark/circle_mark.hpp"
#include "common/para.hpp"
#include "contours/contours.hpp"
#include "edges/edges.hpp"
#include "imgtarn/imgtarn.hpp"
#include "lead/lead.hpp"
#include "template_mark/template_mark.hpp"

namespace buffers = imgtarn::buffers;
namespace cad_overlay = imgtarn::cad_overlay;
namespace circle_mark = imgtarn::circle_mark;
namespace contours = imgtarn::contours;
namespace edges = imgtarn::edges;
namespace lead = imgtarn::lead;
namespace template_mark = imgtarn::template_mark;

int ImgTarn_IF::Initialize() { return 0; }

int ImgTarn_IF::SumFirstTwoSamples(void* record) {
  // The host's record carries its data pointer 8 bytes in; nothing else of it is ours.
  const unsigned char* samples =
      *reinterpret_cast<unsigned char**>(static_cast<unsigned char*>(record) + 8);
  return static_cast<int>(samples[0]) + static_cast<int>(samples[1]);
}

int ImgTarn_IF::HoughCircleDemo(unsigned char* a1) { return circle_mark::HoughCircleDemo(a1); }

int ImgTarn_IF::DetectCirclesSmoothed(unsigned char* plane, float* para, int paraCount,
                                      float* result) {
  return circle_mark::DetectCirclesSmoothed(plane, para, paraCount, result);
}

int ImgTarn_IF::DetectCirclesFromText(unsigned char* plane, char** texts, void* ignored,
                                      float* result) {
  return circle_mark::DetectCirclesFromText(plane, texts, ignored, result);
}

int ImgTarn_IF::DetectCirclesPlain(unsigned char* plane, int width, int height, float radius,
                                   float param1, float* result) {
  return circle_mark::DetectCirclesPlain(plane, width, height, radius, param1, result);
}

int ImgTarn_IF::DrawContoursAllExternal(unsigned char* a1, float* para, unsigned char* a3,
                                        unsigned char* a4, unsigned char* a5) {
  return contours::DrawContoursAllExternal(a1, para, a3, a4, a5);
}

int ImgTarn_IF::ClassifyRingContours(unsigned char* a1, unsigned char* a2, float* a3, float* para,
                                     float* a5, unsigned char* plane) {
  return contours::ClassifyRingContours(a1, a2, a3, para, a5, plane);
}

int ImgTarn_IF::MorphBoundingRects(unsigned char* a1, float* para) {
  return contours::MorphBoundingRects(a1, para);
}

int ImgTarn_IF::SegmentByMoments(unsigned char* plane, unsigned char* a2, float* para,
                                 unsigned char* a4, float* result) {
  return contours::SegmentByMoments(plane, a2, para, a4, result);
}

int ImgTarn_IF::LocateCircleMarkQuick(unsigned char* plane, float* para, void* ignored,
                                      float* result) {
  return circle_mark::LocateCircleMarkQuick(plane, para, ignored, result);
}

int ImgTarn_IF::LocateCircleMark(unsigned char* plane, float* para, void* ignored, float* result) {
  return circle_mark::LocateCircleMark(plane, para, ignored, result);
}

int ImgTarn_IF::LocateCircleMarkRoi(unsigned char* plane, float* para, void*, float* result) {
  return circle_mark::LocateCircleMarkRoi(plane, para, result);
}

int ImgTarn_IF::CutLeadRois(unsigned char* a1, unsigned char* a2, void*, float* a4) {
  return lead::CutLeadRois(a1, a2, a4);
}

int ImgTarn_IF::LocateCrossMark(unsigned char* plane, float* para, void*, float* result) {
  return template_mark::LocateCrossMark(plane, para, result);
}

int ImgTarn_IF::ApproxContoursDemo(unsigned char* a1, float* a2, unsigned char* a3, float* a4) {
  return contours::ApproxContoursDemo(a1, a2, a3, a4);
}

int ImgTarn_IF::MeasureLeadRoi(unsigned char* a1, unsigned char* a2, float* a3, float* a4) {
  return lead::MeasureLeadRoi(a1, a2, a3, a4);
}

int ImgTarn_IF::AdjustCircleEdges(unsigned char* plane, float* para, void* a3, float* result) {
  return circle_mark::AdjustCircleEdges(plane, para, a3, result);
}

int ImgTarn_IF::LocateRectangleMark(unsigned char* plane, float* para, void*, float* result) {
  return template_mark::LocateRectangleMark(plane, para, result);
}

int ImgTarn_IF::CountContourPixels(unsigned char* plane, float* para, void*, float* result) {
  // A float comparison: -0.0 takes the first routine too, NaN the second. A null para is
  // never read here; the routine refuses it.
  if (para != nullptr && para[3] == 0.0f) return contours::CountEnclosedPixels(plane, para, result);
  return contours::CountOutlinePixels(plane, para, result);
}

int ImgTarn_IF::FollowCadOverlay(unsigned char* boundaryMask, unsigned char* cadPad,
                                 unsigned char* measuredPad, float* para, void*, float* score) {
  return cad_overlay::FollowCadOverlay(cadPad, boundaryMask, measuredPad, para, score);
}

int ImgTarn_IF::MorphRing(unsigned char* a1, unsigned char* a2, unsigned char* a3, float* para,
                          int mode, unsigned char* plane) {
  if (mode < 100) return contours::MorphRingBand(a3, a2, a1, para, plane);
  return contours::RingBetweenMasks(a1, a2, a3, para);
}

int ImgTarn_IF::FillContours(unsigned char* a1, float* para, void*, int* contourPoints,
                             unsigned char* plane) {
  return contours::FillContours(a1, para, contourPoints, plane);
}

int ImgTarn_IF::DetectEdgesCanny(unsigned char* src, float* para, unsigned char* dst,
                                 float* result) {
  return edges::DetectEdgesCanny(src, para, dst, result);
}

int ImgTarn_IF::ComputeFlatFieldCoefficients(unsigned char* stack, float* para, int notRead,
                                             float* coefficients, int* a5) {
  return buffers::ComputeFlatFieldCoefficients(stack, para, notRead, coefficients, a5);
}

int ImgTarn_IF::ApplyGainOffset(unsigned char* src, float* coefficients, int count,
                                unsigned char* dst) {
  return buffers::ApplyGainOffset(src, coefficients, count, dst);
}

int ImgTarn_IF::MatchPadTemplates(unsigned char* plane, float* para, void*, float* scores,
                                  unsigned char* blobPixels, int* blobRects) {
  // The routine's own status is not the host's business: failures show in the scores.
  cad_overlay::MatchPadTemplates(plane, para, scores, blobPixels, blobRects);
  return 0;
}

int ImgTarn_IF::SplitPadBlobs(unsigned char* plane, float* para, void*, float* gridShape,
                              unsigned char* blobPixels, int* blobRects) {
  // Failure shows as untouched gridShape and blobRects.
  cad_overlay::SplitPadBlobs(plane, para, gridShape, blobPixels, blobRects);
  return 0;
}

int ImgTarn_IF::FindDominantLevels(unsigned char* a1, unsigned char* a2, unsigned char* a3,
                                   int width, int height, unsigned char* levels) {
  return buffers::FindDominantLevels(a1, a2, a3, width, height, levels);
}

int ImgTarn_IF::FillBlackHoles(unsigned char* r, unsigned char* g, unsigned char* b, float* para,
                               unsigned char* a5, unsigned char* a6, unsigned char* a7) {
  return buffers::FillBlackHoles(r, g, b, para, a5, a6, a7);
}

int ImgTarn_IF::Slot30Dispatch(float* heights, float* filtered, float* para) {
  switch (imgtarn::ParaInt(para, 0)) {
    case 0:
      return buffers::MedianFilterFloatPlane(heights, filtered, para);
    case 1:
      return 0;
    default:
      return -1;
  }
}

int ImgTarn_IF::LoadImagePlanes(unsigned char* path, unsigned char** channel2,
                                unsigned char** channel1, unsigned char** channel0, float* para) {
  return buffers::LoadImagePlanes(path, channel2, channel1, channel0, para);
}

int ImgTarn_IF::SaveImagePlanes(unsigned char* path, unsigned char* channel2,
                                unsigned char* channel1, unsigned char* channel0, float* para) {
  return buffers::SaveImagePlanes(path, channel2, channel1, channel0, para);
}

int ImgTarn_IF::ResizePlanes(unsigned char* a1, unsigned char* a2, unsigned char* a3,
                             unsigned char* a4, unsigned char* a5, unsigned char* a6, float* para) {
  return buffers::ResizePlanes(a1, a2, a3, a4, a5, a6, para);
}

int ImgTarn_IF::DrawContourMask(unsigned char* a1, unsigned char* plane, float* para) {
  return contours::DrawContourMask(a1, plane, para);
}

int ImgTarn_IF::CountingSortValues(int* values, float* para, int* permutation) {
  return buffers::CountingSortValues(values, para, permutation);
}
