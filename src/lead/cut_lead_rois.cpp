// Slot 13: find the lead and report the regions left and right of it.
#include <optional>

#include "debug_view.hpp"
#include "lead.hpp"
#include "lead_tools.hpp"

namespace imgtarn::lead {
namespace {

void WriteRect(const cv::Rect& rect, float* out) {
  out[0] = static_cast<float>(rect.x);
  out[1] = static_cast<float>(rect.y);
  out[2] = static_cast<float>(rect.width);
  out[3] = static_cast<float>(rect.height);
}

// para [7] found, [8] score, [9] [10] centre, [11..14] left region, [15..18] right region;
// all but the score are 0 when the lead is not found.
void WriteLayout(const LeadLayout& layout, float* para) {
  para[7] = layout.found ? 1.0f : 0.0f;
  para[8] = layout.score;
  para[9] = layout.centre.x;
  para[10] = layout.centre.y;
  WriteRect(layout.left, para + 11);
  WriteRect(layout.right, para + 15);
}

}  // namespace

int CutLeadRois(const unsigned char* image, const unsigned char* leadTemplate, float* para) {
  if (para == nullptr) return -1;
  const LeadSearchParams params = LeadSearchParams::FromPara(para);
  const std::optional<LeadPlanes> planes = WrapLeadPlanes(image, leadTemplate, params);
  if (!planes) return -1;
  const LeadLayout layout = LocateLead(*planes, params.sideWidth, params.minScore);
  WriteLayout(layout, para);
  if (params.debug) {
    debug_view::ShowAndPaint("matLeadRois", DrawLayout(planes->image, layout));
  }
  return 0;
}

}  // namespace imgtarn::lead
