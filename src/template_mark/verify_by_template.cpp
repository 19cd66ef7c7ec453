// The fallback check of a contour that failed the polygon tests: correlation of the image
// around its bounding box with the drawn mark.
#include <algorithm>
#include <opencv2/imgproc.hpp>

#include "template_mark.hpp"

namespace imgtarn::template_mark {
namespace {

// The contour's box grown by 5 pixels per side (as the templates' margins), clipped to the
// image. The right and bottom clip use >=, so a box ending one pixel short of the border
// is clipped too; the result is the same region.
cv::Rect GrownCropRect(const cv::Rect& box, cv::Size image) {
  cv::Rect crop(std::max(box.x - 5, 0), std::max(box.y - 5, 0), box.width + 10, box.height + 10);
  if (crop.x + crop.width >= image.width) crop.width = image.width - crop.x;
  if (crop.y + crop.height >= image.height) crop.height = image.height - crop.y;
  return crop;
}

// The rectangle fallback scales a small crop up to the template before comparing, so a
// mark imaged smaller than nominal can still be recognised. Truncation can leave it one
// pixel short; TemplateScore then scores it 0.
cv::Mat EnlargeToTemplate(const cv::Mat& crop, const cv::Mat& templ) {
  if (crop.cols >= templ.cols && crop.rows >= templ.rows) return crop;
  const float factor = std::max(static_cast<float>(templ.rows) / static_cast<float>(crop.rows),
                                static_cast<float>(templ.cols) / static_cast<float>(crop.cols));
  const cv::Size size(static_cast<int>(static_cast<float>(crop.cols) * factor),
                      static_cast<int>(static_cast<float>(crop.rows) * factor));
  cv::Mat enlarged;
  cv::resize(crop, enlarged, size, 0.0, 0.0, cv::INTER_CUBIC);
  return enlarged;
}

}  // namespace

bool VerifyByTemplate(const cv::Mat& grey, const cv::Rect& box, MarkTemplates& templates,
                      MarkKind kind) {
  // A view, not a copy: the image is only read.
  cv::Mat crop = grey(GrownCropRect(box, grey.size()));
  const cv::Mat templ = templates.Get();
  double minScore = 0.8;  // a plus sign correlates sharply; anything lower was text or pads
  if (kind == MarkKind::kRectangle) {
    crop = EnlargeToTemplate(crop, templ);
    minScore = 0.5;  // enlarged crops are softened by the resize and score lower
  }
  return TemplateScore(crop, templ) - minScore > 0.0;
}

}  // namespace imgtarn::template_mark
