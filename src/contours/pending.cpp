// Operations of this subsystem that are not written yet refuse every input.
#include "contours/contours.hpp"

namespace imgtarn::contours {

int DrawContoursAllExternal(unsigned char*, float*, unsigned char*, unsigned char*, unsigned char*) { return -1; }
int ClassifyRingContours(unsigned char*, unsigned char*, unsigned char*, float*, float*, unsigned char*) { return -1; }
int MorphBoundingRects(unsigned char*, float*) { return -1; }
int SegmentByMoments(unsigned char*, unsigned char*, float*, unsigned char*, float*) { return -1; }
int ApproxContoursDemo(unsigned char*, float*, unsigned char*, float*) { return -1; }
int CountContourPixelsFirst(unsigned char*, float*, float*) { return -1; }
int CountContourPixelsSecond(unsigned char*, float*, float*) { return -1; }
int MorphRingRoutine(unsigned char*, unsigned char*, unsigned char*, float*, unsigned char*) { return -1; }
int MorphRingSecondRoutine(unsigned char*, unsigned char*, unsigned char*, float*) { return -1; }
int FillContours(unsigned char*, float*, int*, unsigned char*) { return -1; }
int DrawContourMask(unsigned char*, unsigned char*, float*) { return -1; }

}  // namespace imgtarn::contours
