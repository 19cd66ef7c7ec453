// Typed parameters of the buffer operations, read once from the host's float arrays.
#ifndef IMGTARN_BUFFERS_BUFFER_PARAMS_HPP
#define IMGTARN_BUFFERS_BUFFER_PARAMS_HPP

namespace imgtarn::buffers {

// Slot 29: plane size, reference colour and worker threads.
struct FillBlackHolesParams {
  int width, height;
  unsigned char refR, refG, refB;  // only the low 8 bits of each truncated value count
  int threads;                     // 0 leaves OpenCV's thread count alone
  static FillBlackHolesParams FromPara(const float* para);
};

// Slot 30, mode 0.
enum class EvenRule { kLower, kUpper, kMean };
struct MedianParams {
  int width, height;
  int window;          // side k; the window reaches (k - 1) / 2 samples each way
  float lower, upper;  // truncated to integers, compared as floats
  EvenRule evenRule;
  bool limited;  // true: only samples strictly between lower and upper take part
  static MedianParams FromPara(const float* para);
  // Negative for k < 0, which makes every window empty. 64-bit so k = INT_MIN cannot wrap.
  int HalfWindow() const { return static_cast<int>((static_cast<long long>(window) - 1) / 2); }
};

// Slots 31 and 32: [0] length of the path text; [1] width, [2] height (slot 31 writes them).
struct FileParams {
  int pathLength;  // 0 or less: the empty path
  int width, height;
  static FileParams FromPara(const float* para);
};

// Slot 33.
struct ResizeParams {
  int srcWidth, srcHeight, dstWidth, dstHeight;
  int interpolation;  // cv::INTER_CUBIC or cv::INTER_LINEAR
  static ResizeParams FromPara(const float* para);
};

// Slot 24.
struct FlatFieldParams {
  int groups;                   // n: six-image groups in the stack
  int width, height;            // W, H of every image
  int window;                   // k, odd
  float acceptHigh, acceptLow;  // factors on an image's mean bounding the accepted samples
  int targetLow, targetHigh;    // target levels of images 0..2 and 3..
  int minCount;                 // accepted samples needed for a local mean
  static FlatFieldParams FromPara(const float* para);
  int HalfWindow() const { return static_cast<int>((static_cast<long long>(window) - 1) / 2); }
  bool WindowIsEven() const { return window % 2 == 0; }
};

// Slot 35.
struct CountingSortParams {
  int count;
  bool ascending;
  int firstK;  // 0: sort everything; otherwise stop once K values are delivered
  bool writePermutation;
  static CountingSortParams FromPara(const float* para);
};

}  // namespace imgtarn::buffers

#endif  // IMGTARN_BUFFERS_BUFFER_PARAMS_HPP
