// Contour utilities: the operations of slots 6 to 9, 15, 19, 21, 22 and 34. The public header
// documents every argument and para index; these are the adapters the interface forwards to.
#ifndef IMGTARN_CONTOURS_CONTOURS_HPP
#define IMGTARN_CONTOURS_CONTOURS_HPP

namespace imgtarn::contours {

int DrawContoursAllExternal(const unsigned char* source, float* para, unsigned char* target0,
                            unsigned char* target1, unsigned char* target2);
int ClassifyRingContours(unsigned char* ringMask, unsigned char* solidMask, float* solids,
                         float* para, float* rings, const unsigned char* plane);
int MorphBoundingRects(const unsigned char* source, float* para);
int SegmentByMoments(const unsigned char* plane, const unsigned char* regionMask, const float* para,
                     unsigned char* labels, float* result);
int ApproxContoursDemo(const unsigned char* source, const float* para, unsigned char* drawing,
                       float* result);
// Slot 19: para[3] == 0 counts the pixels each outer contour encloses, any other value the
// pixels on each outer contour.
int CountEnclosedPixels(const unsigned char* plane, const float* para, float* result);
int CountOutlinePixels(const unsigned char* plane, const float* para, float* result);
// Slot 21: mode < 100 receives (planeC, planeB, planeA, para, plane); mode >= 100 receives
// (planeA, planeB, planeC, para).
int MorphRingBand(unsigned char* innerRing, unsigned char* outerRing, unsigned char* band,
                  float* para, const unsigned char* plane);
int RingBetweenMasks(const unsigned char* outerMask, const unsigned char* innerMask,
                     unsigned char* ring, float* para);
int FillContours(unsigned char* target, float* para, const int* contours,
                 const unsigned char* source);
int DrawContourMask(unsigned char* mask, const unsigned char* plane, float* para);

}  // namespace imgtarn::contours

#endif  // IMGTARN_CONTOURS_CONTOURS_HPP
