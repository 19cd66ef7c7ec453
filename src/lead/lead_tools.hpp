// The typed core shared by both lead operations: the search parameters, finding the lead by
// template matching and cutting the regions beside it.
#ifndef IMGTARN_LEAD_LEAD_TOOLS_HPP
#define IMGTARN_LEAD_LEAD_TOOLS_HPP

#include <opencv2/core.hpp>
#include <optional>

namespace imgtarn::lead {

// para [0] width, [1] height, [2] template width, [3] template height, [4] debug switch,
// [5] width of each side region, [6] minimum match score.
struct LeadSearchParams {
  int width = 0;
  int height = 0;
  int templateWidth = 0;
  int templateHeight = 0;
  bool debug = false;
  int sideWidth = 0;
  float minScore = 0;
  static LeadSearchParams FromPara(const float* para);
};

// The image and template as matrix headers; nothing when a plane is missing, an area is zero
// or the template does not fit into the image.
struct LeadPlanes {
  cv::Mat image;
  cv::Mat leadTemplate;
};
std::optional<LeadPlanes> WrapLeadPlanes(const unsigned char* image,
                                         const unsigned char* leadTemplate,
                                         const LeadSearchParams& params);

struct LeadLayout {
  bool found = false;
  float score = 0;     // normalised correlation of the best match, -1..1
  cv::Point2f centre;  // centre of the matched box, pixel coordinates
  cv::Rect box;        // the matched template box
  cv::Rect left;       // region left of the box, clipped to the image (may be empty)
  cv::Rect right;      // region right of the box, clipped to the image (may be empty)
};

// Best normalised-correlation match of the template; found when its score reaches
// `minScore`. The side regions are only cut for a found lead.
LeadLayout LocateLead(const LeadPlanes& planes, int sideWidth, float minScore);

// The image with the box and the side regions outlined, for the debug window.
cv::Mat DrawLayout(const cv::Mat& image, const LeadLayout& layout);

}  // namespace imgtarn::lead

#endif  // IMGTARN_LEAD_LEAD_TOOLS_HPP
