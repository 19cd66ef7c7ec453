// The parallel painting pass of black-hole filling.
#include "buffers/para_f.hpp"

#include <algorithm>

namespace cv {
namespace {

using imgtarn::buffers::kColEnd;
using imgtarn::buffers::kColStart;
using imgtarn::buffers::kRowEnd;
using imgtarn::buffers::kRowStart;
using imgtarn::buffers::kThreads;

constexpr int kBlackLimit = 5;  // a channel at or below this counts as black

// The assertion error of OpenCV (-215), reported under the routine's qualified name.
void RequirePlainMatrix(const _InputArray& input, const char* condition, int line) {
  if (input.kind() != _InputArray::MAT)
    cv::error(cv::Error::StsAssert, condition, "cv::parallelTestWithParallel_for_2", __FILE__,
              line);
}

}  // namespace

namespace test {

parallelFillBlackHoleBody::parallelFillBlackHoleBody(const Mat& r, const Mat& g, const Mat& b,
                                                     const uchar colour[3], int work[5])
    : r_(r),
      g_(g),
      b_(b),
      colour_(colour),
      work_(work),
      colStart_(work[kColStart]),
      colEnd_(work[kColEnd]),
      fillR_(colour[0]),
      fillB_(colour[2]),
      fillG_(colour[1]) {}

parallelFillBlackHoleBody::~parallelFillBlackHoleBody() = default;

void parallelFillBlackHoleBody::operator()(const Range& rows) const {
  for (int y = rows.start; y < rows.end; ++y) {
    uchar* r = r_.data + r_.step[0] * y;
    uchar* g = g_.data + g_.step[0] * y;
    uchar* b = b_.data + b_.step[0] * y;
    for (int x = colStart_; x < colEnd_; ++x) {
      if (r[x] <= kBlackLimit && g[x] <= kBlackLimit && b[x] <= kBlackLimit) {
        r[x] = fillR_;
        g[x] = fillG_;
        b[x] = fillB_;
      }
    }
  }
}

}  // namespace test

void parallelTestWithParallel_for_2(InputArray _srcR, InputArray _srcG, InputArray _srcB,
                                    const uchar colour[3], int work[5]) {
  RequirePlainMatrix(_srcR, "_srcR.kind() == _InputArray::MAT", __LINE__);
  RequirePlainMatrix(_srcG, "_srcG.kind() == _InputArray::MAT", __LINE__);
  RequirePlainMatrix(_srcB, "_srcB.kind() == _InputArray::MAT", __LINE__);
  const Mat r = _srcR.getMat();
  const Mat g = _srcG.getMat();
  const Mat b = _srcB.getMat();

  // A process-wide setting that stays in force after the call; 0 leaves the host's choice.
  if (work[kThreads] != 0) setNumThreads(work[kThreads]);

  // The box never reaches past the smallest plane, whoever filled the work area.
  const int rows = std::min({r.rows, g.rows, b.rows});
  const int cols = std::min({r.cols, g.cols, b.cols});
  work[kRowStart] = std::max(work[kRowStart], 0);
  work[kRowEnd] = std::min(work[kRowEnd], rows);
  work[kColStart] = std::max(work[kColStart], 0);
  work[kColEnd] = std::min(work[kColEnd], cols);
  // No matching pixel leaves an inverted box; nothing is painted then.
  if (work[kRowStart] >= work[kRowEnd] || work[kColStart] >= work[kColEnd]) return;
  const test::parallelFillBlackHoleBody body(r, g, b, colour, work);
  parallel_for_(Range(work[kRowStart], work[kRowEnd]), body, -1);
}

}  // namespace cv
