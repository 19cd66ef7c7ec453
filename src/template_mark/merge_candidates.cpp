// Folding repeated detections of one mark (the ladder finds a clear mark at several levels)
// into one candidate each.
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "template_mark.hpp"

namespace imgtarn::template_mark {
namespace {

struct Member {
  const Polygon* polygon;
  cv::Point2f centre;
  float radius;
};
using Group = std::vector<Member>;

// Detections less than 20 pixels apart, or lying inside either one's enclosing circle, are
// one mark. Only the group's middle member is compared, which keeps the test stable as the
// group grows.
bool BelongsTo(const Group& group, const Member& candidate) {
  const Member& middle = group[group.size() / 2];
  const double dx = static_cast<double>(candidate.centre.x) - middle.centre.x;
  const double dy = static_cast<double>(candidate.centre.y) - middle.centre.y;
  const double distance = std::sqrt(dx * dx + dy * dy);
  return !(distance >= 20.0 && distance >= candidate.radius && distance >= middle.radius);
}

// Keeps the group sorted by radius. Stepping back from the end stops at the first member
// that is not larger; an equal radius goes ahead of that member, a larger one behind it.
void InsertByRadius(Group& group, const Member& candidate) {
  int index = static_cast<int>(group.size()) - 1;
  while (index >= 0 && group[index].radius > candidate.radius) --index;
  int position = 0;
  if (index >= 0) position = candidate.radius > group[index].radius ? index + 1 : index;
  group.insert(group.begin() + position, candidate);
}

}  // namespace

int MergeCandidates(const PolygonList& raw, PolygonList& merged) {
  merged.clear();
  if (raw.empty()) return -1;
  std::vector<Group> groups;
  for (const Polygon& polygon : raw) {
    Member candidate{&polygon, {}, 0.0f};
    cv::minEnclosingCircle(polygon, candidate.centre, candidate.radius);
    bool placed = false;
    for (Group& group : groups) {
      if (!BelongsTo(group, candidate)) continue;
      InsertByRadius(group, candidate);  // first matching group only
      placed = true;
      break;
    }
    if (!placed) groups.push_back(Group{candidate});
  }
  // The median-radius member stands for its group: neither the tight inner outline of an
  // edge map nor the bloated one of a low threshold.
  for (const Group& group : groups) merged.push_back(*group[group.size() / 2].polygon);
  return 0;
}

}  // namespace imgtarn::template_mark
