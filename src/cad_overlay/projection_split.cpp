// The projection method of pad splitting: find the strongest band of pad lines, then split it
// across into one blob per pad. Used when the contour method finds no contour.
#include <algorithm>
#include <cstdio>
#include <opencv2/imgproc.hpp>

#include "cad_overlay.hpp"
#include "debug_view.hpp"

namespace imgtarn::cad_overlay {
namespace {

const char* ProfileTitle(Axis axis) { return axis == Axis::kRows ? "水平投影" : "垂直投影"; }

// Bars of the profile's counts: upwards from the bottom per column, rightwards per row.
void ShowProfile(const std::vector<int>& profile, Axis axis, cv::Size size) {
  cv::Mat bars = cv::Mat::zeros(size, CV_8UC1);
  for (int i = 0; i < static_cast<int>(profile.size()); ++i) {
    if (profile[i] == 0) continue;
    if (axis == Axis::kColumns)
      bars(cv::Rect(i, size.height - profile[i], 1, profile[i])).setTo(255);
    else
      bars(cv::Rect(0, i, profile[i], 1)).setTo(255);
  }
  debug_view::Show(ProfileTitle(axis), bars);
}

// The crop of the band and which way it is split.
struct BandChoice {
  cv::Rect crop;
  int offset = 0;
  bool horizontal = false;  // a band of rows with pads side by side
};

std::optional<BandChoice> ChooseBand(const std::optional<Band>& columnBand,
                                     const std::optional<Band>& rowBand, cv::Size size) {
  const cv::Rect whole(0, 0, size.width, size.height);
  if (columnBand && rowBand) {
    if (rowBand->mass >= columnBand->mass)
      return BandChoice{cv::Rect(0, rowBand->start, size.width, rowBand->length + 1),
                        rowBand->start, true};
    return BandChoice{cv::Rect(columnBand->start, 0, columnBand->length + 1, size.height),
                      columnBand->start, false};
  }
  // With one profile banded, the split runs along that same profile's axis: a lone row band
  // is split by rows, a lone column band by columns.
  if (rowBand) return BandChoice{whole, 0, false};
  if (columnBand) return BandChoice{whole, 0, true};
  return std::nullopt;
}

// Entry i of the position list, or `fill` where the split found fewer blobs than the grid.
int PositionOr(const std::vector<int>& positions, int i, int fill) {
  return i < static_cast<int>(positions.size()) ? positions[i] : fill;
}

}  // namespace

bool SplitBand(const cv::Mat& crop, Axis axis, bool brightPads, bool debug, int& expected,
               std::vector<int>& positions, std::vector<cv::Mat>& blobs) {
  if (crop.empty()) return false;
  const cv::Mat binary = BinarizeForProjection(crop, brightPads);
  const std::vector<int> profile = FullPixelProfile(binary, axis);
  if (debug) {
    debug_view::Show(axis == Axis::kColumns ? "二值图像" : "二值化图片", binary);
    ShowProfile(profile, axis, binary.size());
  }
  std::vector<Band> bands = CollectBands(profile);
  if (bands.empty()) return false;
  std::stable_sort(bands.begin(), bands.end(),
                   [](const Band& a, const Band& b) { return a.mass > b.mass; });
  std::vector<Band> kept = ChooseBands(bands, expected);
  std::stable_sort(kept.begin(), kept.end(),
                   [](const Band& a, const Band& b) { return a.start < b.start; });
  for (const Band& band : kept) {
    positions.push_back(band.start);
    // One line beyond the band's last line: the closing empty line belongs to the blob.
    const cv::Rect lines = axis == Axis::kColumns
                               ? cv::Rect(band.start, 0, band.length + 1, crop.rows)
                               : cv::Rect(0, band.start, crop.cols, band.length + 1);
    blobs.push_back(crop(lines));
  }
  return true;
}

std::optional<BlobSplit> ProjectionSplit(const cv::Mat& image, const SplitParams& params) {
  if (image.empty()) return std::nullopt;
  const cv::Mat binary = BinarizeForProjection(image, params.brightPads);
  const std::vector<int> columnProfile = FullPixelProfile(binary, Axis::kColumns);
  const std::vector<int> rowProfile = FullPixelProfile(binary, Axis::kRows);
  if (params.debug) {
    debug_view::Show("二值化图片", binary);
    ShowProfile(columnProfile, Axis::kColumns, binary.size());
    ShowProfile(rowProfile, Axis::kRows, binary.size());
  }
  const std::optional<BandChoice> choice =
      ChooseBand(FindStrongestBand(columnProfile), FindStrongestBand(rowProfile), image.size());
  if (!choice) return std::nullopt;

  const cv::Mat crop = image(choice->crop);
  BlobSplit split;
  split.gridRows = params.gridRows;
  split.gridCols = params.gridCols;
  std::vector<int> positions;
  if (choice->horizontal) {
    split.gridRows = 1;
    if (!SplitBand(crop, Axis::kColumns, params.brightPads, params.debug, split.gridCols, positions,
                   split.blobs))
      return std::nullopt;
  } else {
    split.gridCols = 1;
    // A failed split of a column band still reports its grid, with no blob.
    SplitBand(crop, Axis::kRows, params.brightPads, params.debug, split.gridRows, positions,
              split.blobs);
    if (params.debug) {
      for (std::size_t i = 0; i < split.blobs.size(); ++i) {
        char title[32];
        std::snprintf(title, sizeof title, "%d.jpg", static_cast<int>(i));
        debug_view::Show(title, split.blobs[i]);
      }
    }
  }

  // Entries the split did not reach keep their pre-set value: the band offset for the
  // coordinate across the band (and for rows of a column band), 0 for columns of a row band.
  const int cells = split.gridRows * split.gridCols;
  for (int i = 0; i < cells; ++i) {
    if (choice->horizontal)
      split.origins.emplace_back(PositionOr(positions, i, 0), choice->offset);
    else
      split.origins.emplace_back(choice->offset, PositionOr(positions, i, choice->offset));
  }
  return split;
}

std::optional<BlobSplit> SplitPads(const cv::Mat& image, const SplitParams& params) {
  // Pruning never empties a contour list, so the projection method runs only when the
  // binarised image holds no contour at all.
  std::optional<BlobSplit> split = ContourSplit(image, params);
  if (split) return split;
  return ProjectionSplit(image, params);
}

}  // namespace imgtarn::cad_overlay
