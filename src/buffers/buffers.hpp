// Buffer and file utilities: the operations of slots 24, 25, 28 to 33 and 35.
// Each function here is the adapter of one operation: it takes the host's raw arguments.
#ifndef IMGTARN_BUFFERS_BUFFERS_HPP
#define IMGTARN_BUFFERS_BUFFERS_HPP

namespace imgtarn::buffers {

int LoadImagePlanes(unsigned char* path, unsigned char** channel2, unsigned char** channel1,
                    unsigned char** channel0, float* para);
int SaveImagePlanes(unsigned char* path, unsigned char* channel2, unsigned char* channel1,
                    unsigned char* channel0, float* para);
int FillBlackHoles(unsigned char* r, unsigned char* g, unsigned char* b, float* para,
                   unsigned char* a5, unsigned char* a6, unsigned char* a7);
int ApplyGainOffset(unsigned char* src, float* coefficients, int count, unsigned char* dst);
int FindDominantLevels(unsigned char* a1, unsigned char* a2, unsigned char* a3, int width,
                       int height, unsigned char* levels);
// Mode 0 of slot 30.
int MedianFilterFloatPlane(float* heights, float* filtered, float* para);
int ResizePlanes(unsigned char* a1, unsigned char* a2, unsigned char* a3, unsigned char* a4,
                 unsigned char* a5, unsigned char* a6, float* para);
int ComputeFlatFieldCoefficients(unsigned char* stack, float* para, int notRead,
                                 float* coefficients, int* a5);
int CountingSortValues(int* values, float* para, int* permutation);

}  // namespace imgtarn::buffers

#endif  // IMGTARN_BUFFERS_BUFFERS_HPP
