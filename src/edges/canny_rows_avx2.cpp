// AVX2 row kernels of the fast detector: sixteen gradient words or thirty-two map cells a step.
// The library is built for baseline x86-64, so only these functions are compiled for AVX2 and
// the caller picks them after checking the CPU. Each leaves the columns it cannot reach with
// full vectors to the portable kernel, which computes the same values.
#include <immintrin.h>

#include <algorithm>

#include "canny_rows.hpp"

#define IMGTARN_AVX2 __attribute__((target("avx2")))

namespace imgtarn::edges::canny_rows {

namespace {

IMGTARN_AVX2 inline __m256i LoadBytes(const unsigned char* p) {
  return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}

IMGTARN_AVX2 inline __m256i LoadWords(const std::int16_t* p) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

IMGTARN_AVX2 inline __m256i LoadCells(const unsigned char* p) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

// Sixteen gradient words from columns [col, col + 16), all neighbours inside the row.
//
// The direction tests of the portable kernel, ay * 2^15 < ax * 13573 and
// ay * 2^15 > ax * (13573 + 2^16), compare ay with ax * 13573 / 2^15, which is never a whole
// number for 0 < ax < 2^15 (13573 is odd). So with t = floor(ax * 13573 / 2^15), one 16-bit
// multiply-high of ax by 2 * 13573, they read ay <= t and ay > 2 * ax + t. At ax = 0 the
// first says horizontal where the portable kernel says diagonal, but then m = 0 too and
// neither direction lets a zero magnitude survive (every test has a strict side).
IMGTARN_AVX2 inline __m256i GradientWords(const SourceRows& rows, int col) {
  const __m256i a0 = LoadBytes(rows.above + col - 1);
  const __m256i a1 = LoadBytes(rows.above + col);
  const __m256i a2 = LoadBytes(rows.above + col + 1);
  const __m256i h0 = LoadBytes(rows.here + col - 1);
  const __m256i h2 = LoadBytes(rows.here + col + 1);
  const __m256i b0 = LoadBytes(rows.below + col - 1);
  const __m256i b1 = LoadBytes(rows.below + col);
  const __m256i b2 = LoadBytes(rows.below + col + 1);
  const __m256i hDiff = _mm256_sub_epi16(h2, h0);
  const __m256i gx =
      _mm256_add_epi16(_mm256_add_epi16(_mm256_sub_epi16(a2, a0), _mm256_sub_epi16(b2, b0)),
                       _mm256_add_epi16(hDiff, hDiff));
  const __m256i below = _mm256_add_epi16(_mm256_add_epi16(b0, b2), _mm256_add_epi16(b1, b1));
  const __m256i above = _mm256_add_epi16(_mm256_add_epi16(a0, a2), _mm256_add_epi16(a1, a1));
  const __m256i gy = _mm256_sub_epi16(below, above);
  const __m256i ax = _mm256_abs_epi16(gx);
  const __m256i ay = _mm256_abs_epi16(gy);
  const __m256i t = _mm256_mulhi_epi16(ax, _mm256_set1_epi16(2 * 13573));
  const __m256i notHorizontal = _mm256_cmpgt_epi16(ay, t);
  const __m256i vertical = _mm256_cmpgt_epi16(ay, _mm256_add_epi16(_mm256_add_epi16(ax, ax), t));
  // 2 when gx and gy share a sign, 3 otherwise; 1 where vertical; 0 where horizontal.
  const __m256i diagonal =
      _mm256_add_epi16(_mm256_srli_epi16(_mm256_xor_si256(gx, gy), 15), _mm256_set1_epi16(2));
  const __m256i direction =
      _mm256_and_si256(notHorizontal, _mm256_blendv_epi8(diagonal, _mm256_set1_epi16(1), vertical));
  const __m256i magnitude = _mm256_add_epi16(ax, ay);
  return _mm256_or_si256(_mm256_slli_epi16(magnitude, 2), direction);
}

// Map values (0, 1 or 2 in 16-bit lanes) of columns [col, col + 16).
IMGTARN_AVX2 inline __m256i SuppressionValues(const WordRows& rows, int col, __m256i lowWord,
                                              __m256i highWord) {
  const __m256i three = _mm256_set1_epi16(3);
  const __m256i word = LoadWords(rows.here + col);
  const __m256i greater = _mm256_andnot_si256(three, word);
  const __m256i notLess = _mm256_or_si256(word, three);
  const __m256i horizontal =
      _mm256_andnot_si256(_mm256_cmpgt_epi16(LoadWords(rows.here + col + 1), notLess),
                          _mm256_cmpgt_epi16(greater, LoadWords(rows.here + col - 1)));
  const __m256i vertical =
      _mm256_andnot_si256(_mm256_cmpgt_epi16(LoadWords(rows.below + col), notLess),
                          _mm256_cmpgt_epi16(greater, LoadWords(rows.above + col)));
  const __m256i upLeft =
      _mm256_and_si256(_mm256_cmpgt_epi16(greater, LoadWords(rows.above + col - 1)),
                       _mm256_cmpgt_epi16(greater, LoadWords(rows.below + col + 1)));
  const __m256i upRight =
      _mm256_and_si256(_mm256_cmpgt_epi16(greater, LoadWords(rows.above + col + 1)),
                       _mm256_cmpgt_epi16(greater, LoadWords(rows.below + col - 1)));
  // Spread direction bit 0 and bit 1 over their whole lane to select among the four tests.
  const __m256i bit0 = _mm256_srai_epi16(_mm256_slli_epi16(word, 15), 15);
  const __m256i bit1 = _mm256_srai_epi16(_mm256_slli_epi16(word, 14), 15);
  const __m256i maximum = _mm256_blendv_epi8(_mm256_blendv_epi8(horizontal, vertical, bit0),
                                             _mm256_blendv_epi8(upLeft, upRight, bit0), bit1);
  const __m256i survivor = _mm256_and_si256(maximum, _mm256_cmpgt_epi16(word, lowWord));
  const __m256i strong = _mm256_and_si256(survivor, _mm256_cmpgt_epi16(word, highWord));
  // 1 - survivor + 2 * strong with masks of -1: 1 elsewhere, 0 for candidates, 2 for edges.
  return _mm256_sub_epi16(_mm256_add_epi16(_mm256_set1_epi16(1), survivor),
                          _mm256_add_epi16(strong, strong));
}

}  // namespace

IMGTARN_AVX2 void PackGradientsAvx2(const SourceRows& rows, std::int16_t* words) {
  // Full vectors need column col - 1 and col + 16 inside the row.
  int col = 1;
  for (; col + 16 < rows.cols; col += 16) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(words + col), GradientWords(rows, col));
  }
  PackGradientsPortable(rows, 0, std::min(1, rows.cols), words);
  PackGradientsPortable(rows, std::max(col, 1), rows.cols, words);
}

IMGTARN_AVX2 void SuppressAvx2(const WordRows& rows, WordThresholds thresholds,
                               unsigned char* cells) {
  const __m256i lowWord = _mm256_set1_epi16(thresholds.lowWord);
  const __m256i highWord = _mm256_set1_epi16(thresholds.highWord);
  int col = 0;
  for (; col + 32 <= rows.cols; col += 32) {
    const __m256i first = SuppressionValues(rows, col, lowWord, highWord);
    const __m256i second = SuppressionValues(rows, col + 16, lowWord, highWord);
    // The pack interleaves 128-bit halves; the permutation puts the columns back in order.
    const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(first, second), 0xD8);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(cells + col), packed);
  }
  if (col + 16 <= rows.cols) {
    const __m256i values = SuppressionValues(rows, col, lowWord, highWord);
    const __m128i packed =
        _mm_packus_epi16(_mm256_castsi256_si128(values), _mm256_extracti128_si256(values, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(cells + col), packed);
    col += 16;
  }
  SuppressPortable(rows, col, rows.cols, thresholds, cells);
}

IMGTARN_AVX2 void FindSeedsAvx2(const CellRows& rows, std::ptrdiff_t offset, MapOffsets& seeds) {
  const __m256i edge = _mm256_set1_epi8(static_cast<char>(kEdge));
  int col = 0;
  for (; col + 32 <= rows.cols; col += 32) {
    // The smallest of the nine cells around a column is 0 where a candidate is among them.
    __m256i least = LoadCells(rows.here + col - 1);
    least = _mm256_min_epu8(least, LoadCells(rows.here + col + 1));
    for (const unsigned char* cells : {rows.above, rows.below}) {
      least = _mm256_min_epu8(least, LoadCells(cells + col - 1));
      least = _mm256_min_epu8(least, LoadCells(cells + col));
      least = _mm256_min_epu8(least, LoadCells(cells + col + 1));
    }
    const __m256i open = _mm256_cmpeq_epi8(least, _mm256_setzero_si256());
    const __m256i isEdge = _mm256_cmpeq_epi8(LoadCells(rows.here + col), edge);
    unsigned bits = static_cast<unsigned>(_mm256_movemask_epi8(_mm256_and_si256(open, isEdge)));
    while (bits != 0) {
      seeds.push_back(offset + col + __builtin_ctz(bits));
      bits &= bits - 1;
    }
  }
  FindSeedsPortable(rows, col, rows.cols, offset, seeds);
}

IMGTARN_AVX2 long long WriteEdgesAvx2(const unsigned char* cells, int cols, unsigned char* out) {
  long long count = 0;
  const __m256i edge = _mm256_set1_epi8(static_cast<char>(kEdge));
  int col = 0;
  for (; col + 32 <= cols; col += 32) {
    const __m256i marks =
        _mm256_cmpeq_epi8(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(cells + col)), edge);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + col), marks);
    count += __builtin_popcount(static_cast<unsigned>(_mm256_movemask_epi8(marks)));
  }
  return count + WriteEdgesPortable(cells + col, cols - col, out + col);
}

}  // namespace imgtarn::edges::canny_rows
