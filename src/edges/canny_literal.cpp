// The literal reference detector: Sobel gradients, L1 magnitudes with their histogram, the
// automatic thresholds, non-maximum suppression, hysteresis and the output pass, each a plain
// loop that a reader can check line by line. It is the oracle of the production detector.
#include <algorithm>
#include <cstdlib>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "DalCanny.hpp"

namespace imgtarn::edges {

namespace {

// tan(22.5 degrees) in units of 2^15, so the direction test needs no floating point.
constexpr int kTan22 = 13573;

// Map values: 0 a candidate that hysteresis may still reach, 1 never an edge, 2 an edge.
constexpr unsigned char kCandidate = 0;
constexpr unsigned char kNotEdge = 1;
constexpr unsigned char kEdge = 2;

// A rows x cols grid with a one-cell frame, addressed by image coordinates (the frame sits at
// row or column -1 and rows or cols). Used for magnitudes (frame 0) and the edge map (frame 1).
template <typename T>
class FramedGrid {
 public:
  FramedGrid(int rows, int cols, T frame)
      : step_(static_cast<std::ptrdiff_t>(cols) + 2),
        cells_(static_cast<std::size_t>(rows + 2) * static_cast<std::size_t>(step_), frame) {}
  T* Row(int row) { return cells_.data() + (row + 1) * step_ + 1; }
  const T* Row(int row) const { return cells_.data() + (row + 1) * step_ + 1; }
  std::ptrdiff_t Offset(int row, int col) const { return (row + 1) * step_ + col + 1; }
  std::ptrdiff_t Step() const { return step_; }
  T& At(std::ptrdiff_t offset) { return cells_[static_cast<std::size_t>(offset)]; }

 private:
  std::ptrdiff_t step_;
  std::vector<T> cells_;
};

struct Magnitudes {
  Magnitudes(int rows, int cols) : values(rows, cols, 0), histogram(kMagnitudeBins, 0) {}
  FramedGrid<int> values;
  std::vector<int> histogram;
  int maxMagnitude = 0;  // the largest histogram bin that is occupied
};

// Positions of strong pixels still to be traced. The capacity starts at a tenth of the image
// (at least 1024) and grows by half whenever the next batch of pushes might not fit, so the
// common case never reallocates and a plane full of edges still completes.
class HysteresisStack {
 public:
  explicit HysteresisStack(std::size_t capacity) : slots_(capacity) {}
  void Reserve(std::size_t count) {
    while (top_ + count > slots_.size()) slots_.resize(slots_.size() * 3 / 2);
  }
  void Push(std::ptrdiff_t offset) {
    Reserve(1);
    slots_[top_++] = offset;
  }
  bool Empty() const { return top_ == 0; }
  std::ptrdiff_t Pop() { return slots_[--top_]; }
  std::size_t Capacity() const { return slots_.size(); }

 private:
  std::vector<std::ptrdiff_t> slots_;
  std::size_t top_ = 0;
};

std::size_t InitialStackCapacity(int rows, int cols) {
  const std::size_t tenth = static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols) / 10;
  return std::max<std::size_t>(tenth, 1024);
}

void SobelGradients(const cv::Mat& src, cv::Mat& dx, cv::Mat& dy) {
  cv::Sobel(src, dx, CV_16S, 1, 0, 3, 1, 0, cv::BORDER_REPLICATE);
  cv::Sobel(src, dy, CV_16S, 0, 1, 3, 1, 0, cv::BORDER_REPLICATE);
}

Magnitudes MeasureMagnitudes(const cv::Mat& dx, const cv::Mat& dy) {
  Magnitudes result(dx.rows, dx.cols);
  for (int row = 0; row < dx.rows; ++row) {
    const short* gx = dx.ptr<short>(row);
    const short* gy = dy.ptr<short>(row);
    int* out = result.values.Row(row);
    for (int col = 0; col < dx.cols; ++col) {
      const int m = std::abs(gx[col]) + std::abs(gy[col]);
      out[col] = m;
      // Unreachable for 8-bit input (the bound is 1530) but keeps other data in range.
      const int bin = std::min(m, kMagnitudeBins - 1);
      ++result.histogram[static_cast<std::size_t>(bin)];
      result.maxMagnitude = std::max(result.maxMagnitude, bin);
    }
  }
  return result;
}

// True when m is a maximum along the gradient direction (quantised to 0, 45, 90 or 135
// degrees). The ties are deliberately asymmetric (strict on one side, not on the other) so
// that a plateau two pixels wide keeps exactly one of them.
bool IsDirectionalMaximum(short gx, short gy, int m, const int* above, const int* here,
                          const int* below, int col) {
  const int ax = std::abs(gx);
  const int ay = std::abs(gy);
  const int tan22 = ax * kTan22;
  const int tan67 = tan22 + ax * 65536;
  const int y15 = ay * 32768;
  if (y15 < tan22) return m > here[col - 1] && m >= here[col + 1];
  if (y15 > tan67) return m > above[col] && m >= below[col];
  const int s = (gx ^ gy) < 0 ? -1 : 1;  // +1 when both components share a sign
  return m > above[col - s] && m > below[col + s];
}

// Marks every pixel 1, 0 or 2 and pushes the strong ones. Within a run of consecutive
// survivors only the first strong pixel is pushed (and none below a pixel already marked 2):
// the rest of the run is reached from it by hysteresis anyway, which keeps the stack short.
void SuppressNonMaxima(const cv::Mat& dx, const cv::Mat& dy, const FramedGrid<int>& magnitude,
                       CannyThresholds thresholds, FramedGrid<unsigned char>& map,
                       HysteresisStack& stack) {
  for (int row = 0; row < dx.rows; ++row) {
    stack.Reserve(static_cast<std::size_t>(dx.cols));
    const short* gx = dx.ptr<short>(row);
    const short* gy = dy.ptr<short>(row);
    const int* above = magnitude.Row(row - 1);
    const int* here = magnitude.Row(row);
    const int* below = magnitude.Row(row + 1);
    const unsigned char* mapAbove = map.Row(row - 1);
    unsigned char* mapHere = map.Row(row);
    bool run = false;
    for (int col = 0; col < dx.cols; ++col) {
      const int m = here[col];
      if (m <= thresholds.low ||
          !IsDirectionalMaximum(gx[col], gy[col], m, above, here, below, col)) {
        mapHere[col] = kNotEdge;
        run = false;
        continue;
      }
      if (!run && m > thresholds.high && mapAbove[col] != kEdge) {
        mapHere[col] = kEdge;
        stack.Push(map.Offset(row, col));
        run = true;
      } else {
        mapHere[col] = kCandidate;
      }
    }
  }
}

// Grows edges from every pushed pixel into its 8-connected candidates. The frame is 1, so the
// walk never leaves the map.
void TraceHysteresis(FramedGrid<unsigned char>& map, HysteresisStack& stack) {
  const std::ptrdiff_t step = map.Step();
  const std::ptrdiff_t neighbours[8] = {-step - 1, -step,    -step + 1, -1,
                                        1,         step - 1, step,      step + 1};
  while (!stack.Empty()) {
    const std::ptrdiff_t offset = stack.Pop();
    for (const std::ptrdiff_t delta : neighbours) {
      unsigned char& cell = map.At(offset + delta);
      if (cell != kCandidate) continue;
      cell = kEdge;
      stack.Push(offset + delta);
    }
  }
}

long long WriteEdgeMap(const FramedGrid<unsigned char>& map, cv::Mat& dst) {
  long long edges = 0;
  for (int row = 0; row < dst.rows; ++row) {
    const unsigned char* cells = map.Row(row);
    unsigned char* out = dst.ptr<unsigned char>(row);
    for (int col = 0; col < dst.cols; ++col) {
      out[col] = cells[col] == kEdge ? 255 : 0;
      edges += cells[col] == kEdge;
    }
  }
  return edges;
}

// Suppression, hysteresis and output for gradients and magnitudes already measured. The
// gradients are copies, so dst may share memory with the source image.
void TraceEdges(const cv::Mat& dx, const cv::Mat& dy, const Magnitudes& magnitudes,
                CannyThresholds thresholds, cv::OutputArray dst, CannyTrace* trace,
                StackUse* stackUse) {
  FramedGrid<unsigned char> map(dx.rows, dx.cols, kNotEdge);
  HysteresisStack stack(InitialStackCapacity(dx.rows, dx.cols));
  const std::size_t initialCapacity = stack.Capacity();
  SuppressNonMaxima(dx, dy, magnitudes.values, thresholds, map, stack);
  TraceHysteresis(map, stack);
  dst.create(dx.size(), CV_8UC1);
  cv::Mat out = dst.getMat();
  const long long edges = WriteEdgeMap(map, out);
  if (trace != nullptr) *trace = {thresholds, edges};
  if (stackUse != nullptr) *stackUse = {initialCapacity, stack.Capacity()};
}

// Shared front of both entry points: checks the input and handles the empty image, which
// has no gradients to measure. Returns false when there is nothing more to do.
bool PrepareImage(cv::InputArray src, cv::OutputArray dst, cv::Mat& image, CannyTrace* trace,
                  StackUse* stackUse) {
  image = src.getMat();
  RequireEightBitPlane(image);
  if (!image.empty()) return true;
  dst.create(image.size(), CV_8UC1);
  if (trace != nullptr) *trace = {};
  if (stackUse != nullptr) *stackUse = {};
  return false;
}

}  // namespace

void MyCannyLiteral(cv::InputArray src, cv::OutputArray dst, bool l2gradient, CannyTrace* trace,
                    StackUse* stackUse) {
  cv::Mat image;
  if (!PrepareImage(src, dst, image, trace, stackUse)) return;
  cv::Mat dx, dy;
  SobelGradients(image, dx, dy);
  const Magnitudes magnitudes = MeasureMagnitudes(dx, dy);
  const long long pixelCount = static_cast<long long>(image.rows) * image.cols;
  const CannyThresholds thresholds =
      AutoCannyThresholds(magnitudes.histogram, magnitudes.maxMagnitude, pixelCount, l2gradient);
  TraceEdges(dx, dy, magnitudes, thresholds, dst, trace, stackUse);
}

void CannyWithThresholdsLiteral(cv::InputArray src, cv::OutputArray dst, CannyThresholds thresholds,
                                CannyTrace* trace, StackUse* stackUse) {
  cv::Mat image;
  if (!PrepareImage(src, dst, image, trace, stackUse)) return;
  cv::Mat dx, dy;
  SobelGradients(image, dx, dy);
  TraceEdges(dx, dy, MeasureMagnitudes(dx, dy), thresholds, dst, trace, stackUse);
}

}  // namespace imgtarn::edges
