// Circle mark location: the operations of slots 2 to 5, 10 to 12 and 17.
#ifndef IMGTARN_CIRCLE_MARK_CIRCLE_MARK_HPP
#define IMGTARN_CIRCLE_MARK_CIRCLE_MARK_HPP

namespace imgtarn::circle_mark {

int HoughCircleDemo(unsigned char* a1);
int DetectCirclesSmoothed(unsigned char* plane, float* para, int paraCount, float* result);
int DetectCirclesFromText(unsigned char* plane, char** texts, void* ignored, float* result);
int DetectCirclesPlain(unsigned char* plane, int width, int height, float radius, float param1,
                       float* result);
int LocateCircleMarkQuick(unsigned char* plane, float* para, void* ignored, float* result);
int LocateCircleMark(unsigned char* plane, float* para, void* ignored, float* result);
int LocateCircleMarkRoi(unsigned char* plane, float* para, float* result);
int AdjustCircleEdges(unsigned char* plane, float* para, void* a3, float* result);

}  // namespace imgtarn::circle_mark

#endif  // IMGTARN_CIRCLE_MARK_CIRCLE_MARK_HPP
