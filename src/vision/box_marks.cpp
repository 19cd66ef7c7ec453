// Cross and rectangle marks: the template-mark searches of slots 14 and 18.
#include "input_checks.hpp"
#include "template_mark.hpp"

namespace imgtarn {
namespace {

using FindMark = std::optional<template_mark::MarkBox> (*)(const cv::Mat&,
                                                           const template_mark::MarkParams&);

BoxMarkResult LocateBoxMark(const cv::Mat& image, const BoxMarkOptions& options, FindMark find) {
  vision::RequireImage(image, "image", {CV_8UC1});
  vision::Require(
      template_mark::ExpectedSizeUsable(options.size.width, options.size.height, image.size()),
      "size", "width and height must be at least 1 pixel and fit the image");
  template_mark::MarkParams params;
  params.width = image.cols;
  params.height = image.rows;
  params.markWidth = options.size.width;
  params.markHeight = options.size.height;
  params.debug = options.debug ? 1 : 0;
  BoxMarkResult result;
  const std::optional<template_mark::MarkBox> box = find(vision::Packed(image), params);
  // A degenerate measurement leaves the zero box, which no mark inside the image has.
  if (!box || (box->centreX == 0.0f && box->centreY == 0.0f)) return result;
  result.found = true;
  result.centre = cv::Point2f(box->centreX, box->centreY);
  result.size = cv::Size2f(2.0f * box->halfWidth, 2.0f * box->halfHeight);
  return result;
}

}  // namespace

BoxMarkResult LocateCrossMark(const cv::Mat& image, const BoxMarkOptions& options) {
  return LocateBoxMark(image, options, template_mark::FindCrossMark);
}

BoxMarkResult LocateRectangleMark(const cv::Mat& image, const BoxMarkOptions& options) {
  return LocateBoxMark(image, options, template_mark::FindRectangleMark);
}

}  // namespace imgtarn
