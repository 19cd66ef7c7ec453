// The thin operations of ImgTarn_IF: argument forwarding and mode dispatch only.
#include "buffers.hpp"
#include "cad_overlay.hpp"
#include "circle_mark.hpp"
#include "contours.hpp"
#include "edges.hpp"
#include "imgtarn/imgtarn.hpp"
#include "lead.hpp"
#include "para.hpp"
#include "template_mark.hpp"

namespace buffers = imgtarn::buffers;
namespace cad_overlay = imgtarn::cad_overlay;
namespace circle_mark = imgtarn::circle_mark;
namespace contours = imgtarn::contours;
namespace edges = imgtarn::edges;
namespace lead = imgtarn::lead;
namespace template_mark = imgtarn::template_mark;

static_assert(int{ImgTarn_IF::kLeadOffPosition} == lead::kPositionOff &&
                  int{ImgTarn_IF::kLeftRegionTooBright} == lead::kLeftBright &&
                  int{ImgTarn_IF::kRightRegionTooBright} == lead::kRightBright &&
                  int{ImgTarn_IF::kLeadNotFound} == lead::kNotFound,
              "slot 16 writes the judgement bits hosts test against");

int ImgTarn_IF::Initialize() { return 0; }

int ImgTarn_IF::SumFirstTwoSamples(void* record) {
  // The host's record carries its data pointer 8 bytes in; nothing else of it is ours.
  const unsigned char* samples =
      *reinterpret_cast<unsigned char**>(static_cast<unsigned char*>(record) + 8);
  return static_cast<int>(samples[0]) + static_cast<int>(samples[1]);
}

int ImgTarn_IF::HoughCircleDemo(unsigned char* path) { return circle_mark::HoughCircleDemo(path); }

int ImgTarn_IF::DetectCirclesSmoothed(unsigned char* plane, float* para, int paraCount,
                                      float* result) {
  return circle_mark::DetectCirclesSmoothed(plane, para, paraCount, result);
}

int ImgTarn_IF::DetectCirclesFromText(unsigned char* plane, char** texts, void*, float* result) {
  return circle_mark::DetectCirclesFromText(plane, texts, result);
}

int ImgTarn_IF::DetectCirclesPlain(unsigned char* plane, int width, int height, float radius,
                                   float param1, float* result) {
  return circle_mark::DetectCirclesPlain(plane, width, height, radius, param1, result);
}

int ImgTarn_IF::DrawContoursAllExternal(unsigned char* source, float* para, unsigned char* target0,
                                        unsigned char* target1, unsigned char* target2) {
  return contours::DrawContoursAllExternal(source, para, target0, target1, target2);
}

int ImgTarn_IF::ClassifyRingContours(unsigned char* ringMask, unsigned char* solidMask,
                                     float* solids, float* para, float* rings,
                                     unsigned char* plane) {
  return contours::ClassifyRingContours(ringMask, solidMask, solids, para, rings, plane);
}

int ImgTarn_IF::MorphBoundingRects(unsigned char* source, float* para) {
  return contours::MorphBoundingRects(source, para);
}

int ImgTarn_IF::SegmentByMoments(unsigned char* plane, unsigned char* regionMask, float* para,
                                 unsigned char* labels, float* result) {
  return contours::SegmentByMoments(plane, regionMask, para, labels, result);
}

int ImgTarn_IF::LocateCircleMarkQuick(unsigned char* plane, float* para, void*, float* result) {
  return circle_mark::LocateCircleMarkQuick(plane, para, result);
}

int ImgTarn_IF::LocateCircleMark(unsigned char* plane, float* para, void*, float* result) {
  return circle_mark::LocateCircleMark(plane, para, result);
}

int ImgTarn_IF::LocateCircleMarkRoi(unsigned char* plane, float* para, void*, float* result) {
  return circle_mark::LocateCircleMarkRoi(plane, para, result);
}

int ImgTarn_IF::CutLeadRois(unsigned char* image, unsigned char* leadTemplate, void*, float* para) {
  return lead::CutLeadRois(image, leadTemplate, para);
}

int ImgTarn_IF::LocateCrossMark(unsigned char* plane, float* para, void*, float* result) {
  return template_mark::LocateCrossMark(plane, para, result);
}

int ImgTarn_IF::ApproxContoursDemo(unsigned char* source, float* para, unsigned char* drawing,
                                   float* result) {
  return contours::ApproxContoursDemo(source, para, drawing, result);
}

int ImgTarn_IF::MeasureLeadRoi(unsigned char* image, unsigned char* leadTemplate, float* para,
                               float* result) {
  return lead::MeasureLeadRoi(image, leadTemplate, para, result);
}

int ImgTarn_IF::AdjustCircleEdges(unsigned char* plane, float* para, void*, float* result) {
  return circle_mark::AdjustCircleEdges(plane, para, result);
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

int ImgTarn_IF::MorphRing(unsigned char* planeA, unsigned char* planeB, unsigned char* planeC,
                          float* para, int mode, unsigned char* plane) {
  if (mode < 100) return contours::MorphRingBand(planeC, planeB, planeA, para, plane);
  return contours::RingBetweenMasks(planeA, planeB, planeC, para);
}

int ImgTarn_IF::FillContours(unsigned char* target, float* para, void*, int* contours,
                             unsigned char* source) {
  return contours::FillContours(target, para, contours, source);
}

int ImgTarn_IF::DetectEdgesCanny(unsigned char* src, float* para, unsigned char* dst,
                                 float* result) {
  return edges::DetectEdgesCanny(src, para, dst, result);
}

int ImgTarn_IF::ComputeFlatFieldCoefficients(unsigned char* stack, float* para, int,
                                             float* coefficients, int* cleared) {
  return buffers::ComputeFlatFieldCoefficients(stack, para, coefficients, cleared);
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

int ImgTarn_IF::FindDominantLevels(unsigned char* plane0, unsigned char* plane1,
                                   unsigned char* plane2, int width, int height,
                                   unsigned char* levels) {
  return buffers::FindDominantLevels(plane0, plane1, plane2, width, height, levels);
}

int ImgTarn_IF::FillBlackHoles(unsigned char* r, unsigned char* g, unsigned char* b, float* para,
                               unsigned char* outR, unsigned char* outG, unsigned char* outB) {
  return buffers::FillBlackHoles(r, g, b, para, outR, outG, outB);
}

int ImgTarn_IF::Slot30Dispatch(float* heights, float* filtered, float* para) {
  switch (imgtarn::ParaInt(para, 0)) {
    case kMedianFilterMode:
      return buffers::MedianFilterFloatPlane(heights, filtered, para);
    case kNoOperationMode:
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

int ImgTarn_IF::ResizePlanes(unsigned char* src0, unsigned char* src1, unsigned char* src2,
                             unsigned char* dst0, unsigned char* dst1, unsigned char* dst2,
                             float* para) {
  return buffers::ResizePlanes(src0, src1, src2, dst0, dst1, dst2, para);
}

int ImgTarn_IF::DrawContourMask(unsigned char* mask, unsigned char* plane, float* para) {
  return contours::DrawContourMask(mask, plane, para);
}

int ImgTarn_IF::CountingSortValues(int* values, float* para, int* permutation) {
  return buffers::CountingSortValues(values, para, permutation);
}
