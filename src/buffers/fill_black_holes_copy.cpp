// Black-hole painting and the copy to the output planes in one parallel pass: every row of the
// three planes is read once from memory, painted inside the box and copied to its output plane
// while it is still in the cache, instead of a painting pass over the box followed by three
// whole-plane copies.
#include <emmintrin.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>

#include "buffers.hpp"

namespace imgtarn::buffers {
namespace {

constexpr int kBlackLimit = 5;  // a channel at or below this counts as black

struct Span {
  const unsigned char* begin;
  const unsigned char* end;
};

bool Apart(const Span& a, const Span& b) { return a.end <= b.begin || b.end <= a.begin; }

class FillAndCopyBody : public cv::ParallelLoopBody {
 public:
  FillAndCopyBody(const FillPlanes& planes, const FillBox& box, const unsigned char colour[3])
      : p_(planes), box_(box), colour_{colour[0], colour[1], colour[2]} {}

  void operator()(const cv::Range& rows) const override {
    const int w = p_.in[0].cols;
    for (int y = rows.start; y < rows.end; ++y) {
      unsigned char* in[3];
      for (int c = 0; c < 3; ++c) in[c] = p_.in[c].data + p_.in[c].step[0] * y;
      if (y >= box_.rowStart && y < box_.rowEnd && box_.colStart < box_.colEnd)
        PaintRow(in, box_.colStart, box_.colEnd);
      // The row was just read, so the copies come from the first-level cache.
      for (int c = 0; c < 3; ++c) StreamRow(in[c], p_.out[c].data + p_.out[c].step[0] * y, w);
    }
    // Streaming stores are weakly ordered: they must be visible before the loop's end is.
    _mm_sfence();
  }

 private:
  // Paints the black pixels of columns [from, to) of one row in the input planes.
  void PaintRow(unsigned char* const in[3], int from, int to) const {
    const __m128i limit = _mm_set1_epi8(static_cast<char>(kBlackLimit));
    const auto load = [](const unsigned char* p) {
      return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    };
    int x = from;
    for (; x + 16 <= to; x += 16) {
      const __m128i v[3] = {load(in[0] + x), load(in[1] + x), load(in[2] + x)};
      // Black where the largest of the three channels is at most the limit.
      const __m128i largest = _mm_max_epu8(_mm_max_epu8(v[0], v[1]), v[2]);
      const __m128i black = _mm_cmpeq_epi8(_mm_min_epu8(largest, limit), largest);
      if (_mm_movemask_epi8(black) == 0) continue;  // most blocks hold no black pixel
      for (int c = 0; c < 3; ++c) {
        const __m128i fill = _mm_set1_epi8(static_cast<char>(colour_[c]));
        const __m128i painted =
            _mm_or_si128(_mm_and_si128(black, fill), _mm_andnot_si128(black, v[c]));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(in[c] + x), painted);
      }
    }
    for (; x < to; ++x) {
      if (in[0][x] <= kBlackLimit && in[1][x] <= kBlackLimit && in[2][x] <= kBlackLimit) {
        for (int c = 0; c < 3; ++c) in[c][x] = colour_[c];
      }
    }
  }

  // Copies a row with streaming stores: the output planes are not read here again, and
  // streaming stores skip reading each output line before writing it.
  static void StreamRow(const unsigned char* from, unsigned char* to, int count) {
    int x = 0;
    while (x < count && reinterpret_cast<std::uintptr_t>(to + x) % 16 != 0) {
      to[x] = from[x];
      ++x;
    }
    for (; x + 16 <= count; x += 16) {
      _mm_stream_si128(reinterpret_cast<__m128i*>(to + x),
                       _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + x)));
    }
    for (; x < count; ++x) to[x] = from[x];
  }

  const FillPlanes& p_;
  FillBox box_;
  unsigned char colour_[3];
};

}  // namespace

bool PlanesLieApart(const FillPlanes& planes) {
  Span spans[6];
  for (int c = 0; c < 3; ++c) {
    spans[c] = {planes.in[c].datastart, planes.in[c].dataend};
    spans[3 + c] = {planes.out[c].datastart, planes.out[c].dataend};
  }
  for (int i = 0; i < 6; ++i)
    for (int j = i + 1; j < 6; ++j)
      if (!Apart(spans[i], spans[j])) return false;
  return true;
}

void FillBlackHolesAndCopy(const FillPlanes& planes, const FillBlackHolesParams& params) {
  const unsigned char colour[3] = {params.refR, params.refG, params.refB};
  FillBox box = FindReferenceBox(planes.in[0], planes.in[1], planes.in[2], colour);
  // A process-wide setting that stays in force after the call; 0 leaves the host's choice.
  if (params.threads != 0) cv::setNumThreads(params.threads);
  const int rows = planes.in[0].rows, cols = planes.in[0].cols;
  box.rowStart = std::max(box.rowStart, 0);
  box.rowEnd = std::min(box.rowEnd, rows);
  box.colStart = std::max(box.colStart, 0);
  box.colEnd = std::min(box.colEnd, cols);
  const FillAndCopyBody body(planes, box, colour);
  cv::parallel_for_(cv::Range(0, rows), body, -1);
}

}  // namespace imgtarn::buffers
