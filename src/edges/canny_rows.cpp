// Portable row kernels of the fast detector: the scalar versions of the gradient words and the
// suppression, used on CPUs without AVX2 and for the columns the wide kernels leave over.
#include "canny_rows.hpp"

#include <emmintrin.h>

#include <algorithm>
#include <cstdlib>

namespace imgtarn::edges::canny_rows {

namespace {

// tan(22.5 degrees) in units of 2^15, so the direction test needs no floating point.
constexpr int kTan22 = 13573;

// The tests are combined without branches (& on bools, table look-ups): on textured images
// their outcomes are as good as random, and mispredicted branches cost more than the tests.
int DirectionOf(int gx, int gy) {
  const int ax = std::abs(gx);
  const int ay = std::abs(gy);
  const int tan22 = ax * kTan22;
  const int tan67 = tan22 + ax * 65536;
  const int y15 = ay * 32768;
  const int diagonal = (gx ^ gy) < 0 ? kDiagonalUpRight : kDiagonalUpLeft;
  const int notHorizontal = y15 < tan22 ? 0 : 1;
  return notHorizontal * (y15 > tan67 ? kVertical : diagonal);
}

// Words, not magnitudes, are compared: see the packing in canny_rows.hpp.
bool IsDirectionalMaximum(const WordRows& rows, int col) {
  const int word = rows.here[col];
  const int greater = word & ~3;
  const int notLess = word | 3;
  const int maximum[4] = {(greater > rows.here[col - 1]) & (notLess >= rows.here[col + 1]),
                          (greater > rows.above[col]) & (notLess >= rows.below[col]),
                          (greater > rows.above[col - 1]) & (greater > rows.below[col + 1]),
                          (greater > rows.above[col + 1]) & (greater > rows.below[col - 1])};
  return maximum[word & 3] != 0;
}

}  // namespace

WordThresholds ToWordThresholds(int low, int high) {
  // Magnitudes lie in [0, 1530]: thresholds outside [-1, 1600] decide the same as the bounds,
  // and the bounds keep every word threshold inside 16 bits.
  const auto word = [](int t) {
    return static_cast<std::int16_t>(std::clamp(t, -1, 1600) * 4 + 3);
  };
  return {word(low), word(high)};
}

void PackGradientsPortable(const SourceRows& rows, int from, int to, std::int16_t* words) {
  for (int col = from; col < to; ++col) {
    const int left = std::max(col - 1, rows.readableFirst);
    const int right = std::min(col + 1, rows.readableLast);
    const int gx = (rows.above[right] - rows.above[left]) +
                   2 * (rows.here[right] - rows.here[left]) +
                   (rows.below[right] - rows.below[left]);
    const int gy = (rows.below[left] + 2 * rows.below[col] + rows.below[right]) -
                   (rows.above[left] + 2 * rows.above[col] + rows.above[right]);
    const int magnitude = std::abs(gx) + std::abs(gy);
    words[col] = static_cast<std::int16_t>(magnitude * 4 + DirectionOf(gx, gy));
  }
}

void SuppressPortable(const WordRows& rows, int from, int to, WordThresholds thresholds,
                      unsigned char* cells) {
  for (int col = from; col < to; ++col) {
    const int word = rows.here[col];
    const bool survivor = (word > thresholds.lowWord) & IsDirectionalMaximum(rows, col);
    const bool strong = survivor & (word > thresholds.highWord);
    cells[col] = static_cast<unsigned char>(kNotEdge - survivor + 2 * strong);
  }
}

void FindSeedsPortable(const CellRows& rows, int from, int to, std::ptrdiff_t offset,
                       MapOffsets& seeds) {
  for (int col = from; col < to; ++col) {
    // Any candidate among the nine cells makes their minimum kCandidate (0).
    unsigned char least = kNotEdge;
    for (const unsigned char* cells : {rows.above, rows.here, rows.below}) {
      least = std::min({least, cells[col - 1], cells[col], cells[col + 1]});
    }
    if (rows.here[col] == kEdge && least == kCandidate) seeds.push_back(offset + col);
  }
}

long long WriteEdgesPortable(const unsigned char* cells, int cols, unsigned char* out) {
  long long count = 0;
  int col = 0;
  const __m128i edge = _mm_set1_epi8(static_cast<char>(kEdge));
  for (; col + 16 <= cols; col += 16) {
    const __m128i cell = _mm_loadu_si128(reinterpret_cast<const __m128i*>(cells + col));
    const __m128i marks = _mm_cmpeq_epi8(cell, edge);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + col), marks);
    count += __builtin_popcount(static_cast<unsigned>(_mm_movemask_epi8(marks)));
  }
  for (; col < cols; ++col) {
    const bool isEdge = cells[col] == kEdge;
    out[col] = isEdge ? 255 : 0;
    count += isEdge;
  }
  return count;
}

bool CpuHasAvx2() {
  static const bool hasAvx2 = __builtin_cpu_supports("avx2");
  return hasAvx2;
}

}  // namespace imgtarn::edges::canny_rows
