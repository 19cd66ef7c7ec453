// Operations of this subsystem that are not written yet refuse every input.
#include "buffers/buffers.hpp"

namespace imgtarn::buffers {

int FillBlackHoles(unsigned char*, unsigned char*, unsigned char*, float*, unsigned char*,
                   unsigned char*, unsigned char*) { return -1; }
int ApplyGainOffset(unsigned char*, float*, int, unsigned char*) { return -1; }
int FindDominantLevels(unsigned char*, unsigned char*, unsigned char*, int, int,
                       unsigned char*) { return -1; }
int MedianFilterFloatPlane(float*, float*, float*) { return -1; }
int ResizePlanes(unsigned char*, unsigned char*, unsigned char*, unsigned char*, unsigned char*,
                 unsigned char*, float*) { return -1; }
int ComputeFlatFieldCoefficients(unsigned char*, float*, int, float*, int*) { return -1; }
int CountingSortValues(int*, float*, int*) { return -1; }

}  // namespace imgtarn::buffers
