// The production gain/offset correction: sixteen samples a step in SSE2, blocks in parallel.
//
// The vector truncation is 32-bit where the literal one is 64-bit, and the low bytes still
// agree everywhere: below 2^31 in magnitude both truncate alike; a float of 2^31 or more in
// magnitude is a multiple of 256, so its 64-bit low byte is 0, and so is the low byte of the
// 0x80000000 that the 32-bit conversion gives for it, for NaN and for infinities.
#include <emmintrin.h>

#include <algorithm>
#include <opencv2/core.hpp>

#include "buffers.hpp"

namespace imgtarn::buffers {
namespace {

constexpr int kStep = 16;
constexpr int kBlock = 1 << 16;  // samples per parallel task

__m128i LowBytes(__m128i samples, const float* gains, const float* offsets) {
  const __m128 gain = _mm_loadu_ps(gains), offset = _mm_loadu_ps(offsets);
  // Multiply, then add: two roundings, exactly as the single-precision formula.
  const __m128 value = _mm_add_ps(_mm_mul_ps(_mm_cvtepi32_ps(samples), gain), offset);
  return _mm_and_si128(_mm_cvttps_epi32(value), _mm_set1_epi32(0xFF));
}

void CorrectRange(const unsigned char* src, const float* offsets, const float* gains, int begin,
                  int end, unsigned char* dst) {
  const __m128i zero = _mm_setzero_si128();
  int i = begin;
  for (; i + kStep <= end; i += kStep) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
    const __m128i low = _mm_unpacklo_epi8(bytes, zero), high = _mm_unpackhi_epi8(bytes, zero);
    const __m128i a = LowBytes(_mm_unpacklo_epi16(low, zero), gains + i, offsets + i);
    const __m128i b = LowBytes(_mm_unpackhi_epi16(low, zero), gains + i + 4, offsets + i + 4);
    const __m128i c = LowBytes(_mm_unpacklo_epi16(high, zero), gains + i + 8, offsets + i + 8);
    const __m128i d = LowBytes(_mm_unpackhi_epi16(high, zero), gains + i + 12, offsets + i + 12);
    // Every lane holds 0..255, so the saturating packs keep the values as they are.
    const __m128i packed = _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), packed);
  }
  if (i < end) ApplyGainOffsetLiteral(src + i, offsets + i, gains + i, end - i, dst + i);
}

}  // namespace

void ApplyGainOffsetFast(const unsigned char* src, const float* offsets, const float* gains,
                         int count, unsigned char* dst) {
  const int blocks = (count + kBlock - 1) / kBlock;
  cv::parallel_for_(cv::Range(0, blocks), [&](const cv::Range& range) {
    for (int block = range.start; block < range.end; ++block) {
      const int begin = block * kBlock;
      CorrectRange(src, offsets, gains, begin, std::min(count, begin + kBlock), dst);
    }
  });
}

}  // namespace imgtarn::buffers
