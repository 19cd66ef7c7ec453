// Row kernels of the fast Canny detector: packing a row of gradients, suppressing a row of
// non-maxima, finding the edges that start a trace and writing the output. Each kernel has a
// portable version and an AVX2 version that gives the same words, map cells and seeds; the
// AVX2 ones may only run where the CPU has AVX2.
#ifndef IMGTARN_EDGES_CANNY_ROWS_HPP
#define IMGTARN_EDGES_CANNY_ROWS_HPP

#include <cstddef>
#include <cstdint>
#include <vector>

namespace imgtarn::edges::canny_rows {

// A pixel's gradient in one 16-bit word: 4 * (|dx| + |dy|) plus the quantised direction in the
// two low bits. Magnitudes of 8-bit input stay below 1531, so the word stays below 6124. The
// packing lets neighbours be compared on their words: with m the magnitude of word w and n
// that of word v, m > n exactly when (w & ~3) > v and m >= n exactly when (w | 3) >= v.
enum Direction : int {
  kHorizontal = 0,      // compare left and right
  kVertical = 1,        // compare above and below
  kDiagonalUpLeft = 2,  // dx and dy share a sign: compare above-left and below-right
  kDiagonalUpRight = 3  // opposite signs: compare above-right and below-left
};

// Map values: 0 a candidate that hysteresis may still reach, 1 never an edge, 2 an edge.
constexpr unsigned char kCandidate = 0;
constexpr unsigned char kNotEdge = 1;
constexpr unsigned char kEdge = 2;

// The three source rows around one output row, and the columns the gradient may read: an
// image that is a region of a larger one reads its parent's pixels beyond its own edges, and
// only the parent's edges are replicated (as cv::Sobel does), so readableFirst is -1 when the
// parent has a column left of the region (else 0) and readableLast is cols when it has one
// right of it (else cols - 1). The outer rows follow the same rule.
struct SourceRows {
  const unsigned char* above;
  const unsigned char* here;
  const unsigned char* below;
  int cols;
  int readableFirst;
  int readableLast;
};

// Thresholds in word units: a word w has magnitude m > low exactly when w > lowWord.
struct WordThresholds {
  std::int16_t lowWord;
  std::int16_t highWord;
};
WordThresholds ToWordThresholds(int low, int high);

// Three rows of gradient words with a zero column at index -1 and cols.
struct WordRows {
  const std::int16_t* above;
  const std::int16_t* here;
  const std::int16_t* below;
  int cols;
};

// Three rows of map cells; columns -1 and cols are readable.
struct CellRows {
  const unsigned char* above;
  const unsigned char* here;
  const unsigned char* below;
  int cols;
};

using MapOffsets = std::vector<std::ptrdiff_t>;

// Gradient words of columns [from, to) of a row (Sobel 3x3, replicated border).
void PackGradientsPortable(const SourceRows& rows, int from, int to, std::int16_t* words);
void PackGradientsAvx2(const SourceRows& rows, std::int16_t* words);

// Map cells of columns [from, to) of a row: kNotEdge, kCandidate, or kEdge for strong
// survivors (m > high).
void SuppressPortable(const WordRows& rows, int from, int to, WordThresholds thresholds,
                      unsigned char* cells);
void SuppressAvx2(const WordRows& rows, WordThresholds thresholds, unsigned char* cells);

// Appends the map offset (that of column 0 plus the column) of every edge in columns
// [from, to) of the middle row that has a candidate among its eight neighbours: only those
// can grow an edge, so only those need to start a trace.
void FindSeedsPortable(const CellRows& rows, int from, int to, std::ptrdiff_t offset,
                       MapOffsets& seeds);
void FindSeedsAvx2(const CellRows& rows, std::ptrdiff_t offset, MapOffsets& seeds);

// 255 where the map holds an edge, 0 elsewhere, for `cols` cells; returns the edge count.
long long WriteEdgesPortable(const unsigned char* cells, int cols, unsigned char* out);
long long WriteEdgesAvx2(const unsigned char* cells, int cols, unsigned char* out);

bool CpuHasAvx2();

}  // namespace imgtarn::edges::canny_rows

#endif  // IMGTARN_EDGES_CANNY_ROWS_HPP
