// The parallel painting pass of black-hole filling, in OpenCV's namespace under the names the
// host's tooling knows it by.
#ifndef IMGTARN_BUFFERS_PARA_F_HPP
#define IMGTARN_BUFFERS_PARA_F_HPP

#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>

namespace imgtarn::buffers {
// Slots of the five-integer work area shared by the scan and the painting pass.
enum FillWork { kRowStart = 0, kRowEnd, kColStart, kColEnd, kThreads, kFillWorkSize };
}  // namespace imgtarn::buffers

namespace cv {

// Paints every pixel with R, G and B all at most 5 inside the box of `work` with `colour`
// (R, G, B). Each input must be a plain matrix; otherwise raises cv::Exception -215 naming the
// failed condition. Sets OpenCV's thread count when work[kThreads] is not 0.
void parallelTestWithParallel_for_2(InputArray _srcR, InputArray _srcG, InputArray _srcB,
                                    const uchar colour[3], int work[5]);

namespace test {

// One stripe of rows of the painting pass. A pixel's test and writes touch only that pixel,
// so stripes need no locks.
class parallelFillBlackHoleBody : public ParallelLoopBody {
 public:
  parallelFillBlackHoleBody(const Mat& r, const Mat& g, const Mat& b, const uchar colour[3],
                            int work[5]);
  ~parallelFillBlackHoleBody() override;
  void operator()(const Range& rows) const override;

 private:
  int PaintSixteenAtATime(uchar* r, uchar* g, uchar* b, int x) const;
  const Mat& r_;
  const Mat& g_;
  const Mat& b_;
  int colStart_, colEnd_;
  uchar fillR_, fillB_, fillG_;
};

}  // namespace test
}  // namespace cv

#endif  // IMGTARN_BUFFERS_PARA_F_HPP
