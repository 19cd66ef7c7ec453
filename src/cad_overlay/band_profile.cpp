// Projection profiles of a binarised pad image and the bands (runs of non-empty lines) in them.
#include <algorithm>

#include "cad_overlay.hpp"

namespace imgtarn::cad_overlay {

std::vector<int> FullPixelProfile(const cv::Mat& binary, Axis axis) {
  std::vector<int> profile(axis == Axis::kColumns ? binary.cols : binary.rows, 0);
  for (int y = 0; y < binary.rows; ++y) {
    const unsigned char* row = binary.ptr<unsigned char>(y);
    for (int x = 0; x < binary.cols; ++x) {
      if (row[x] <= 254) continue;
      ++profile[axis == Axis::kColumns ? x : y];
    }
  }
  return profile;
}

std::vector<Band> CollectBands(const std::vector<int>& profile) {
  std::vector<Band> bands;
  bool open = false;
  Band band;
  for (int i = 0; i < static_cast<int>(profile.size()); ++i) {
    if (profile[i] != 0) {
      if (!open) band = Band{i, 0, 0};
      open = true;
      band.mass += profile[i];
    } else if (open) {
      band.length = i - band.start;
      bands.push_back(band);
      open = false;
    }
  }
  // A band still open at the end has no closing line to cut with; it is left out on purpose.
  return bands;
}

std::optional<Band> FindStrongestBand(const std::vector<int>& profile) {
  const std::vector<Band> bands = CollectBands(profile);
  if (bands.empty()) return std::nullopt;
  // max_element keeps the first of equal masses.
  return *std::max_element(bands.begin(), bands.end(),
                           [](const Band& a, const Band& b) { return a.mass < b.mass; });
}

std::vector<Band> ChooseBands(const std::vector<Band>& byMass, int& expected) {
  if (expected != 0) {
    // A grid that promises more pads than there are bands keeps only the bands found; a
    // negative one keeps none.
    const std::size_t count = std::min<std::size_t>(std::max(expected, 0), byMass.size());
    return std::vector<Band>(byMass.begin(), byMass.begin() + count);
  }
  std::size_t kept = byMass.empty() ? 0 : 1;
  while (kept < byMass.size()) {
    const long long a = byMass[kept - 1].mass, b = byMass[kept].mass;
    if (static_cast<double>(std::min(a, b)) / static_cast<double>(std::max(a, b)) < 0.3) break;
    ++kept;
  }
  expected = static_cast<int>(kept);
  return std::vector<Band>(byMass.begin(), byMass.begin() + kept);
}

}  // namespace imgtarn::cad_overlay
