// The parallel painting pass of black-hole filling.
#include "para_f.hpp"

#include <emmintrin.h>

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
namespace {

// Sixteen pixels at once give the per-pixel result when the three rows are the same memory
// (the stores then land in the same order, blue last) or do not overlap at all.
bool RowsActAlone(const uchar* r, const uchar* g, const uchar* b, int start, int end) {
  const auto apart = [&](const uchar* p, const uchar* q) {
    return p == q || p + end <= q + start || q + end <= p + start;
  };
  return apart(r, g) && apart(r, b) && apart(g, b);
}

}  // namespace

// Paints whole blocks of sixteen from x on; returns where the per-pixel loop takes over.
int parallelFillBlackHoleBody::PaintSixteenAtATime(uchar* r, uchar* g, uchar* b, int x) const {
  const __m128i limit = _mm_set1_epi8(static_cast<char>(kBlackLimit));
  const __m128i fillR = _mm_set1_epi8(static_cast<char>(fillR_));
  const __m128i fillG = _mm_set1_epi8(static_cast<char>(fillG_));
  const __m128i fillB = _mm_set1_epi8(static_cast<char>(fillB_));
  const auto atMost = [&](__m128i v) { return _mm_cmpeq_epi8(_mm_min_epu8(v, limit), v); };
  const auto blend = [](__m128i black, __m128i fill, __m128i v) {
    return _mm_or_si128(_mm_and_si128(black, fill), _mm_andnot_si128(black, v));
  };
  for (; x + 16 <= colEnd_; x += 16) {
    const __m128i vr = _mm_loadu_si128(reinterpret_cast<const __m128i*>(r + x));
    const __m128i vg = _mm_loadu_si128(reinterpret_cast<const __m128i*>(g + x));
    const __m128i vb = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + x));
    const __m128i black = _mm_and_si128(_mm_and_si128(atMost(vr), atMost(vg)), atMost(vb));
    if (_mm_movemask_epi8(black) == 0) continue;  // most blocks hold no black pixel
    _mm_storeu_si128(reinterpret_cast<__m128i*>(r + x), blend(black, fillR, vr));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(g + x), blend(black, fillG, vg));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(b + x), blend(black, fillB, vb));
  }
  return x;
}

parallelFillBlackHoleBody::parallelFillBlackHoleBody(const Mat& r, const Mat& g, const Mat& b,
                                                     const uchar colour[3], int work[5])
    : r_(r),
      g_(g),
      b_(b),
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
    int x = colStart_;
    if (RowsActAlone(r, g, b, colStart_, colEnd_)) x = PaintSixteenAtATime(r, g, b, x);
    for (; x < colEnd_; ++x) {
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
