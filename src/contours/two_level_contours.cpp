// The two-level contour listing (blobs and their holes) in time linear in the contours.
#include <opencv2/imgproc.hpp>
#include <vector>

#include "contour_tools.hpp"

namespace imgtarn::contours {
namespace {

// OpenCV traces a hole the other way round from an outer contour: its signed area is
// positive, an outer contour's negative or (a line or a single pixel) zero.
bool IsHole(const Contour& contour) { return cv::contourArea(contour, true) > 0; }

// Every contour runs through pixels of the blob it belongs to, the hole's enclosing blob
// included, so the blob's label at its first point names its owner.
int OwnerLabel(const cv::Mat& labels, const Contour& contour) {
  return labels.at<int>(contour.front());
}

// Appends `index` to a chain of siblings whose last member is `previous` (-1: none yet).
void Link(std::vector<cv::Vec4i>& hierarchy, int previous, int index) {
  hierarchy[index][1] = previous;
  if (previous >= 0) hierarchy[previous][0] = index;
}

}  // namespace

void FindTwoLevelContoursLiteral(const cv::Mat& binary, std::vector<Contour>& all,
                                 std::vector<cv::Vec4i>& hierarchy) {
  cv::findContours(binary, all, hierarchy, cv::RETR_CCOMP, cv::CHAIN_APPROX_NONE);
}

// The plain listing holds the same contours; the two-level one lists the blobs' outer
// contours in the plain listing's order, each followed by its holes in that order too.
void FindTwoLevelContours(const cv::Mat& binary, std::vector<Contour>& all,
                          std::vector<cv::Vec4i>& hierarchy) {
  std::vector<Contour> listed;
  cv::findContours(binary, listed, cv::RETR_LIST, cv::CHAIN_APPROX_NONE);
  cv::Mat labels;
  const int blobs = cv::connectedComponents(binary != 0, labels, 8, CV_32S);
  std::vector<int> owners(listed.size()), outerOf(blobs, -1);
  std::vector<std::vector<int>> holesOf(blobs);
  for (int i = 0; i < static_cast<int>(listed.size()); ++i) {
    owners[i] = OwnerLabel(labels, listed[i]);
    if (IsHole(listed[i])) {
      holesOf[owners[i]].push_back(i);
    } else {
      outerOf[owners[i]] = i;
    }
  }
  all.clear();
  hierarchy.clear();
  int previousOuter = -1;
  for (int i = 0; i < static_cast<int>(listed.size()); ++i) {
    const int owner = owners[i];
    if (outerOf[owner] != i) continue;
    const int outer = static_cast<int>(all.size());
    all.push_back(std::move(listed[i]));
    hierarchy.push_back({-1, -1, -1, -1});
    Link(hierarchy, previousOuter, outer);
    previousOuter = outer;
    int previousHole = -1;
    for (const int hole : holesOf[owner]) {
      const int at = static_cast<int>(all.size());
      all.push_back(std::move(listed[hole]));
      hierarchy.push_back({-1, -1, -1, outer});
      Link(hierarchy, previousHole, at);
      if (previousHole < 0) hierarchy[outer][2] = at;
      previousHole = at;
    }
  }
}

}  // namespace imgtarn::contours
