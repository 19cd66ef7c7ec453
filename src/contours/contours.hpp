// Contour utilities: the operations of slots 6 to 9, 15, 19, 21, 22 and 34.
#ifndef IMGTARN_CONTOURS_CONTOURS_HPP
#define IMGTARN_CONTOURS_CONTOURS_HPP

namespace imgtarn::contours {

int DrawContoursAllExternal(unsigned char* a1, float* para, unsigned char* a3, unsigned char* a4,
                            unsigned char* a5);
int ClassifyRingContours(unsigned char* a1, unsigned char* a2, unsigned char* a3, float* para,
                         float* a5, unsigned char* plane);
int MorphBoundingRects(unsigned char* a1, float* para);
int SegmentByMoments(unsigned char* plane, unsigned char* a2, float* para, unsigned char* a4,
                     float* result);
int ApproxContoursDemo(unsigned char* a1, float* a2, unsigned char* a3, float* a4);
// Slot 19: the routine for a2[3] == 0 and the one for every other value.
int CountContourPixelsFirst(unsigned char* plane, float* para, float* result);
int CountContourPixelsSecond(unsigned char* plane, float* para, float* result);
// Slot 21: mode < 100 receives (a3, a2, a1, a4, a6); mode >= 100 receives (a1, a2, a3, a4).
int MorphRingRoutine(unsigned char* a3, unsigned char* a2, unsigned char* a1, float* para,
                     unsigned char* plane);
int MorphRingSecondRoutine(unsigned char* a1, unsigned char* a2, unsigned char* a3, float* para);
int FillContours(unsigned char* a1, float* para, int* contours, unsigned char* plane);
int DrawContourMask(unsigned char* a1, unsigned char* plane, float* para);

}  // namespace imgtarn::contours

#endif  // IMGTARN_CONTOURS_CONTOURS_HPP
