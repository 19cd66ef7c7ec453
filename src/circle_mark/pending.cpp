// Operations of this subsystem that are not written yet refuse every input.
#include "circle_mark/circle_mark.hpp"

namespace imgtarn::circle_mark {

int HoughCircleDemo(unsigned char*) { return -1; }
int DetectCirclesSmoothed(unsigned char*, float*, int, float*) { return -1; }
int DetectCirclesFromText(unsigned char*, char**, void*, float*) { return -1; }
int DetectCirclesPlain(unsigned char*, int, int, float, float, float*) { return -1; }
int LocateCircleMarkQuick(unsigned char*, float*, void*, float*) { return -1; }
int LocateCircleMark(unsigned char*, float*, void*, float*) { return -1; }
int LocateCircleMarkRoi(unsigned char*, float*, float*) { return -1; }
int AdjustCircleEdges(unsigned char*, float*, void*, float*) { return -1; }

}  // namespace imgtarn::circle_mark
