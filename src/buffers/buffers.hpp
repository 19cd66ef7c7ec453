// Buffer and file utilities: the operations of slots 24, 25, 28 to 33 and 35.
//
// The first block holds the adapters, one per operation, taking the host's raw arguments.
// The second block is the typed core beneath them; it never reads a para array.
#ifndef IMGTARN_BUFFERS_BUFFERS_HPP
#define IMGTARN_BUFFERS_BUFFERS_HPP

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "buffer_params.hpp"

namespace imgtarn::buffers {

// ---- Adapters -------------------------------------------------------------------------------

int LoadImagePlanes(unsigned char* path, unsigned char** channel2, unsigned char** channel1,
                    unsigned char** channel0, float* para);
int SaveImagePlanes(unsigned char* path, unsigned char* channel2, unsigned char* channel1,
                    unsigned char* channel0, float* para);
int FillBlackHoles(unsigned char* r, unsigned char* g, unsigned char* b, float* para,
                   unsigned char* outR, unsigned char* outG, unsigned char* outB);
int ApplyGainOffset(unsigned char* src, float* coefficients, int count, unsigned char* dst);
int FindDominantLevels(unsigned char* plane0, unsigned char* plane1, unsigned char* plane2,
                       int width, int height, unsigned char* levels);
// Mode 0 of slot 30.
int MedianFilterFloatPlane(float* heights, float* filtered, float* para);
int ResizePlanes(unsigned char* src0, unsigned char* src1, unsigned char* src2, unsigned char* dst0,
                 unsigned char* dst1, unsigned char* dst2, float* para);
int ComputeFlatFieldCoefficients(unsigned char* stack, float* para, float* coefficients,
                                 int* cleared);
int CountingSortValues(int* values, float* para, int* permutation);

// ---- Core -----------------------------------------------------------------------------------

// Black holes. The box is half-open: rows [rowStart, rowEnd), columns [colStart, colEnd).
struct FillBox {
  int rowStart, rowEnd, colStart, colEnd;
};
// The sampled scan for pixels within 5 of the reference colour in every channel.
FillBox FindReferenceBox(const cv::Mat& r, const cv::Mat& g, const cv::Mat& b,
                         const unsigned char colour[3]);
// Scan plus parallel painting, in place on the three 8-bit planes.
void FillBlackHolesInPlace(const cv::Mat& r, const cv::Mat& g, const cv::Mat& b,
                           const FillBlackHolesParams& params);
// The three planes (R, G, B) painted in place and the three planes they are copied to.
struct FillPlanes {
  cv::Mat in[3];
  cv::Mat out[3];
};
// True when no two of the six planes share a byte: then painting and copying may be fused.
bool PlanesLieApart(const FillPlanes& planes);
// FillBlackHolesInPlace followed by the copy of each plane to its output, in one parallel pass
// over the rows. The planes must lie apart.
void FillBlackHolesAndCopy(const FillPlanes& planes, const FillBlackHolesParams& params);

// dst[i] = low byte of trunc(src[i] * gains[i] + offsets[i]), in single precision.
void ApplyGainOffsetLiteral(const unsigned char* src, const float* offsets, const float* gains,
                            int count, unsigned char* dst);
// The same bytes, sixteen samples a step and blocks in parallel.
void ApplyGainOffsetFast(const unsigned char* src, const float* offsets, const float* gains,
                         int count, unsigned char* dst);
// The most frequent level among 5..249 (lowest level wins a tie; 0 when none occurs).
unsigned char DominantLevel(const cv::Mat& plane);

// The exchange sort of the float median: n full passes with the arithmetic swap, whose
// rounding is part of the result.
void ExchangeSortLiteral(std::vector<float>& values);
// Median of collected window samples (sorted in place); lower when none was collected.
float MedianOfCollected(std::vector<float>& values, EvenRule rule, float lower);
// Reference median filter: reads `source` (CV_32F) and writes every sample of `result`.
void MedianFilterLiteral(const cv::Mat& source, cv::Mat& result, const MedianParams& params);
// True when every collectable sample lies on one power-of-two grid narrow enough that each
// arithmetic exchange is an exact swap (no -0, NaN or infinity either).
bool EveryExchangeIsExact(const cv::Mat& source, const MedianParams& params);
// The literal exchange passes, stopped after the first pass that exchanges nothing.
void ExchangeSortEarlyExit(float* values, int n);
// The production median filter: the literal filter's values, by selection on exact planes and
// by the early-exit exchange sort otherwise.
void MedianFilterFast(const cv::Mat& source, cv::Mat& result, const MedianParams& params);

// Flat-field calibration on a stack of 6n images of W x H bytes; writes 6 * W * H floats
// (offsets then gains). The window must be odd.
void ComputeFlatField(const unsigned char* stack, const FlatFieldParams& params,
                      float* coefficients);
// Mean of an image's samples in single precision.
float SampleMean(const cv::Mat& image);
// Reference local filter of one calibration image: CV_8U in, CV_32F `filtered` of the same
// size written in full.
void FlatFieldFilterLiteral(const cv::Mat& image, float mean, const FlatFieldParams& params,
                            cv::Mat& filtered);
// One filtered sample from the accepted samples' sum and count of its window.
float FlatFieldValue(std::int64_t sum, int count, float mean, const FlatFieldParams& params);
// The production local filter: the literal filter's values from integral images of the
// accepted samples and of their indicator, at a cost independent of the window size.
void FlatFieldFilterFast(const cv::Mat& image, float mean, const FlatFieldParams& params,
                         cv::Mat& filtered);
// Mean of a filtered image through the truncating single-precision accumulator.
float SecondMean(const cv::Mat& filtered);

// Counting sort in place; writes the stable permutation when `permutation` is not null.
// Returns the number of entries written to values (at least K, or all when K is 0).
int CountingSort(int* values, int* permutation, const CountingSortParams& params);

}  // namespace imgtarn::buffers

#endif  // IMGTARN_BUFFERS_BUFFERS_HPP
