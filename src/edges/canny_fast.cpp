// The production Canny engine: the literal detector's result, reached in row stripes.
//
//  1. Gradient words (magnitude and direction packed, see canny_rows.hpp) and the magnitude
//     histogram, stripes in parallel with one histogram each. The thresholds need the whole
//     histogram before any suppression can start.
//  2. Per stripe: the gradient words again, suppression, then hysteresis inside the stripe.
//     The final set is every survivor 8-connected through survivors to a strong one, whichever
//     strong pixels start a trace and in whichever order, so only strong pixels beside a
//     candidate start one. A trace stops at the stripe's first and last row and notes the
//     edges there; one thread then continues from those notes over the whole map.
//  3. Per stripe: the output, 255 on edges, counting them on the way.
// The source is read in passes 1 and 2 only, so dst may share its memory.
#include "canny_fast.hpp"

#include <emmintrin.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "canny_rows.hpp"
#include "four_tables.hpp"

namespace imgtarn::edges {

namespace {

using canny_rows::MapOffsets;

// Below this many pixels a call stays on the calling thread: starting workers costs more.
constexpr long long kMinParallelPixels = 1 << 16;
// Stripes per thread: more stripes even out threads slowed by other work on the machine, at
// the cost of two traced border rows per stripe.
constexpr int kStripesPerThread = 4;

struct Kernels {
  void (*pack)(const canny_rows::SourceRows&, std::int16_t*);
  void (*suppress)(const canny_rows::WordRows&, canny_rows::WordThresholds, unsigned char*);
  void (*seeds)(const canny_rows::CellRows&, std::ptrdiff_t, MapOffsets&);
  long long (*write)(const unsigned char*, int, unsigned char*);
};

void PackPortable(const canny_rows::SourceRows& rows, std::int16_t* words) {
  canny_rows::PackGradientsPortable(rows, 0, rows.cols, words);
}

void SuppressPortable(const canny_rows::WordRows& rows, canny_rows::WordThresholds thresholds,
                      unsigned char* cells) {
  canny_rows::SuppressPortable(rows, 0, rows.cols, thresholds, cells);
}

void FindSeedsPortable(const canny_rows::CellRows& rows, std::ptrdiff_t offset, MapOffsets& seeds) {
  canny_rows::FindSeedsPortable(rows, 0, rows.cols, offset, seeds);
}

Kernels ChooseKernels(CannyKernels choice) {
  if (choice == CannyKernels::kBest && canny_rows::CpuHasAvx2()) {
    return {canny_rows::PackGradientsAvx2, canny_rows::SuppressAvx2, canny_rows::FindSeedsAvx2,
            canny_rows::WriteEdgesAvx2};
  }
  return {PackPortable, SuppressPortable, FindSeedsPortable, canny_rows::WriteEdgesPortable};
}

class Stripes {
 public:
  Stripes(const cv::Mat& image, int requested) : rows_(image.rows) {
    const int threads = std::max(1, cv::getNumThreads());
    if (requested > 0) {
      count_ = std::min(image.rows, requested);
    } else if (threads > 1 && static_cast<long long>(image.total()) >= kMinParallelPixels) {
      count_ = std::min(image.rows, threads * kStripesPerThread);
    }
  }
  int Count() const { return count_; }
  int Begin(int stripe) const {
    return static_cast<int>(static_cast<long long>(rows_) * stripe / count_);
  }
  int End(int stripe) const { return Begin(stripe + 1); }

  // Runs body(stripe) for every stripe, in parallel when there is more than one.
  template <typename Body>
  void ForEach(const Body& body) const {
    if (count_ == 1) {
      body(0);
      return;
    }
    cv::parallel_for_(cv::Range(0, count_), [&body](const cv::Range& range) {
      for (int stripe = range.start; stripe < range.end; ++stripe) body(stripe);
    });
  }

 private:
  int rows_;
  int count_ = 1;
};

// The edge map with a frame of kNotEdge, indexed by image row and column. Each map row has one
// spare cell beyond its frame so the trace can read four cells of a row without touching the
// next row, which may belong to a stripe that another thread is working on.
class Workspace {
 public:
  explicit Workspace(cv::Size size) : size_(size), map_(size.height + 2, size.width + 3, CV_8UC1) {
    map_.row(0).setTo(canny_rows::kNotEdge);
    map_.row(size.height + 1).setTo(canny_rows::kNotEdge);
  }
  // Column 0 of a map row; its frame cells are [-1], [cols] and the spare [cols + 1].
  unsigned char* Cells(int row) { return map_.ptr<unsigned char>(row + 1) + 1; }
  unsigned char* MapBase() { return map_.data; }
  std::ptrdiff_t MapStep() const { return static_cast<std::ptrdiff_t>(map_.step[0]); }
  std::ptrdiff_t Offset(int row, int col) const { return (row + 1) * MapStep() + col + 1; }
  cv::Size Size() const { return size_; }

 private:
  cv::Size size_;
  cv::Mat map_;
};

struct StripeHistogram {
  std::vector<int> tables = std::vector<int>(kCountTables * kMagnitudeBins, 0);

  void Add(const std::int16_t* words, int cols) {
    // The magnitude sits above the two direction bits of a word.
    CountIntoTables(
        words, cols, [](std::int16_t word) { return word >> 2; }, tables.data(), kMagnitudeBins);
  }
};

struct Histogram {
  std::vector<int> counts = std::vector<int>(kMagnitudeBins, 0);
  int maxMagnitude = 0;  // the largest occupied bin
};

// The source rows around `row`. Beyond the image's edges the rows and columns of the parent
// image are read where it has them (a region is measured as part of its parent, like
// cv::Sobel does), and replicated where it does not.
class SourceWindow {
 public:
  explicit SourceWindow(const cv::Mat& image) : image_(image) {
    cv::Size whole;
    cv::Point offset;
    image.locateROI(whole, offset);
    rowAbove_ = offset.y > 0;
    rowBelow_ = offset.y + image.rows < whole.height;
    readableFirst_ = offset.x > 0 ? -1 : 0;
    readableLast_ = offset.x + image.cols < whole.width ? image.cols : image.cols - 1;
  }
  canny_rows::SourceRows Around(int row) const {
    const std::ptrdiff_t step = static_cast<std::ptrdiff_t>(image_.step[0]);
    const unsigned char* here = image_.ptr<unsigned char>(row);
    const bool readAbove = row > 0 || rowAbove_;
    const bool readBelow = row + 1 < image_.rows || rowBelow_;
    return {readAbove ? here - step : here,
            here,
            readBelow ? here + step : here,
            image_.cols,
            readableFirst_,
            readableLast_};
  }

 private:
  const cv::Mat& image_;
  bool rowAbove_ = false;
  bool rowBelow_ = false;
  int readableFirst_ = 0;
  int readableLast_ = 0;
};

// The gradient words of three consecutive rows as a stripe moves down, with zero words
// around the image. Both passes compute them: keeping the words of the whole image between
// the passes costs more (memory traffic, fresh pages on every call) than computing them twice.
class GradientRing {
 public:
  GradientRing(const cv::Mat& image, const Kernels& kernels)
      : source_(image),
        kernels_(kernels),
        rows_(image.rows),
        step_(static_cast<std::size_t>(image.cols) + 2),
        words_(4 * step_, 0) {}
  // Computes the words of `row` (nothing outside the image), replacing those of row - 3.
  void Compute(int row) {
    if (row >= 0 && row < rows_) kernels_.pack(source_.Around(row), Slot(row % 3));
  }
  // Column 0 of a computed row; columns -1 and cols are zero. Outside the image: all zero.
  const std::int16_t* Row(int row) { return row < 0 || row >= rows_ ? Slot(3) : Slot(row % 3); }

 private:
  std::int16_t* Slot(int slot) {
    return words_.data() + static_cast<std::size_t>(slot) * step_ + 1;
  }

  SourceWindow source_;
  Kernels kernels_;
  int rows_;
  std::size_t step_;
  std::vector<std::int16_t> words_;
};

// Pass 1: the histogram of the gradient magnitudes.
Histogram MeasureGradients(const cv::Mat& image, const Stripes& stripes, const Kernels& kernels) {
  std::vector<StripeHistogram> partial(static_cast<std::size_t>(stripes.Count()));
  stripes.ForEach([&](int stripe) {
    StripeHistogram& histogram = partial[static_cast<std::size_t>(stripe)];
    GradientRing words(image, kernels);
    for (int row = stripes.Begin(stripe); row < stripes.End(stripe); ++row) {
      words.Compute(row);
      histogram.Add(words.Row(row), image.cols);
    }
  });
  Histogram merged;
  for (StripeHistogram& histogram : partial) {
    FoldCountTables(histogram.tables.data(), kMagnitudeBins);
    for (int bin = 0; bin < kMagnitudeBins; ++bin) merged.counts[bin] += histogram.tables[bin];
  }
  for (int bin = kMagnitudeBins - 1; bin > 0; --bin) {
    if (merged.counts[bin] != 0) {
      merged.maxMagnitude = bin;
      break;
    }
  }
  return merged;
}

// Bits 0-2 the row above (left, middle, right), 4 and 6 left and right, 8-10 the row below.
constexpr unsigned kAllNeighbours = 0x757;

// The neighbours of a map cell that are still candidates, as bits of kAllNeighbours. Rows
// the caller may not enter are not read at all (another thread may be writing them).
unsigned CandidateNeighbours(const unsigned char* cell, std::ptrdiff_t step, bool readAbove,
                             bool readBelow) {
  constexpr std::uint32_t kClosed = 0x01010101;  // four kNotEdge cells
  std::uint32_t above = kClosed, here, below = kClosed;
  if (readAbove) std::memcpy(&above, cell - step - 1, sizeof above);
  std::memcpy(&here, cell - 1, sizeof here);
  if (readBelow) std::memcpy(&below, cell + step - 1, sizeof below);
  const __m128i cells =
      _mm_set_epi32(0, static_cast<int>(below), static_cast<int>(here), static_cast<int>(above));
  const int zero = _mm_movemask_epi8(_mm_cmpeq_epi8(cells, _mm_setzero_si128()));
  return static_cast<unsigned>(zero) & kAllNeighbours;
}

// The rows a trace may enter: its own stripe, or (for the final pass) the whole map.
struct TraceLimits {
  std::ptrdiff_t firstRowEnd = 0;   // offsets below this lie on the first row
  std::ptrdiff_t lastRowBegin = 0;  // offsets from this on lie on the last row
  bool noteFirstRow = false;        // a stripe above exists: note edges on the first row
  bool noteLastRow = false;
};

// Grows edges from every pushed cell into its 8-connected candidates inside the limits. Edges
// on a limit row whose far side belongs to another stripe are appended to `border`.
void Trace(Workspace& space, MapOffsets& stack, const TraceLimits& limits, MapOffsets& border) {
  unsigned char* base = space.MapBase();
  const std::ptrdiff_t step = space.MapStep();
  std::ptrdiff_t delta[11];
  for (int bit = 0; bit < 11; ++bit) delta[bit] = (bit / 4 - 1) * step + (bit % 4 - 1);
  while (!stack.empty()) {
    const std::ptrdiff_t offset = stack.back();
    stack.pop_back();
    const bool onFirstRow = offset < limits.firstRowEnd;
    const bool onLastRow = offset >= limits.lastRowBegin;
    if ((onFirstRow && limits.noteFirstRow) || (onLastRow && limits.noteLastRow)) {
      border.push_back(offset);
    }
    unsigned candidates = CandidateNeighbours(base + offset, step, !onFirstRow, !onLastRow);
    while (candidates != 0) {
      const std::ptrdiff_t next = offset + delta[__builtin_ctz(candidates)];
      base[next] = canny_rows::kEdge;
      stack.push_back(next);
      candidates &= candidates - 1;
    }
  }
}

// Pass 2 for one stripe: suppression of its rows, then hysteresis inside it. Seeds of a row
// are taken once the row below is suppressed. Rows of other stripes are never read (other
// threads write them): on the first and last row every edge is a seed, as if the other
// stripe held candidates all along, so that each is noted for the hand-over.
void SuppressAndTraceStripe(const cv::Mat& image, const Stripes& stripes, int stripe,
                            const Kernels& kernels, canny_rows::WordThresholds thresholds,
                            Workspace& space, MapOffsets& border) {
  const int begin = stripes.Begin(stripe);
  const int end = stripes.End(stripe);
  const int cols = image.cols;
  const std::vector<unsigned char> open(static_cast<std::size_t>(cols) + 2, canny_rows::kCandidate);
  const auto cellsOrOpen = [&](int row) {
    const bool otherStripe = (row < begin && begin > 0) || (row >= end && end < image.rows);
    return otherStripe ? open.data() + 1 : space.Cells(row);
  };
  MapOffsets stack;
  const auto findSeeds = [&](int row) {
    kernels.seeds({cellsOrOpen(row - 1), space.Cells(row), cellsOrOpen(row + 1), cols},
                  space.Offset(row, 0), stack);
  };
  GradientRing words(image, kernels);
  words.Compute(begin - 1);
  words.Compute(begin);
  for (int row = begin; row < end; ++row) {
    words.Compute(row + 1);
    const canny_rows::WordRows rows{words.Row(row - 1), words.Row(row), words.Row(row + 1), cols};
    unsigned char* cells = space.Cells(row);
    cells[-1] = canny_rows::kNotEdge;
    cells[cols] = canny_rows::kNotEdge;
    cells[cols + 1] = canny_rows::kNotEdge;
    kernels.suppress(rows, thresholds, cells);
    if (row > begin) findSeeds(row - 1);
  }
  findSeeds(end - 1);
  TraceLimits limits;
  limits.firstRowEnd = space.Offset(begin + 1, -1);
  limits.lastRowBegin = space.Offset(end - 1, -1);
  limits.noteFirstRow = begin > 0;
  limits.noteLastRow = end < space.Size().height;
  Trace(space, stack, limits, border);
}

// Pass 2 for the whole image.
void SuppressAndTrace(const cv::Mat& image, const Stripes& stripes, const Kernels& kernels,
                      CannyThresholds thresholds, Workspace& space) {
  const canny_rows::WordThresholds words =
      canny_rows::ToWordThresholds(thresholds.low, thresholds.high);
  std::vector<MapOffsets> borders(static_cast<std::size_t>(stripes.Count()));
  stripes.ForEach([&](int stripe) {
    SuppressAndTraceStripe(image, stripes, stripe, kernels, words, space,
                           borders[static_cast<std::size_t>(stripe)]);
  });
  if (stripes.Count() == 1) return;
  MapOffsets stack;
  for (const MapOffsets& border : borders) stack.insert(stack.end(), border.begin(), border.end());
  TraceLimits whole;
  whole.firstRowEnd = 0;
  whole.lastRowBegin = PTRDIFF_MAX;
  MapOffsets none;
  Trace(space, stack, whole, none);
}

// Pass 3: the edge map into dst; returns the number of edge pixels.
long long WriteEdges(const Stripes& stripes, const Kernels& kernels, Workspace& space,
                     cv::Mat& dst) {
  std::vector<long long> counts(static_cast<std::size_t>(stripes.Count()), 0);
  stripes.ForEach([&](int stripe) {
    long long count = 0;
    for (int row = stripes.Begin(stripe); row < stripes.End(stripe); ++row) {
      count += kernels.write(space.Cells(row), dst.cols, dst.ptr<unsigned char>(row));
    }
    counts[static_cast<std::size_t>(stripe)] = count;
  });
  long long total = 0;
  for (const long long count : counts) total += count;
  return total;
}

}  // namespace

void DetectCannyEdges(cv::InputArray src, cv::OutputArray dst, const CannyRequest& request,
                      CannyTrace* trace) {
  const cv::Mat image = src.getMat();
  RequireEightBitPlane(image);
  if (image.empty()) {
    dst.create(image.size(), CV_8UC1);
    if (trace != nullptr) *trace = {};
    return;
  }
  const Kernels kernels = ChooseKernels(request.kernels);
  const Stripes stripes(image, request.stripes);
  Workspace space(image.size());
  const Histogram histogram = MeasureGradients(image, stripes, kernels);
  CannyThresholds thresholds = request.given;
  if (request.automaticThresholds) {
    const long long pixelCount = static_cast<long long>(image.rows) * image.cols;
    thresholds = AutoCannyThresholds(histogram.counts, histogram.maxMagnitude, pixelCount,
                                     request.l2gradient);
  }
  SuppressAndTrace(image, stripes, kernels, thresholds, space);
  dst.create(image.size(), CV_8UC1);
  cv::Mat out = dst.getMat();
  const long long edges = WriteEdges(stripes, kernels, space, out);
  if (trace != nullptr) *trace = {thresholds, edges};
}

}  // namespace imgtarn::edges
