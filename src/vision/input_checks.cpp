// Argument checks of the typed operations and the exception they raise.
#include "input_checks.hpp"

#include <algorithm>

namespace imgtarn {

InvalidArgument::InvalidArgument(const std::string& argument, const std::string& problem)
    : std::invalid_argument(argument + ": " + problem), argument_(argument) {}

namespace vision {
namespace {

std::string TypeList(std::initializer_list<int> types) {
  std::string list;
  for (const int type : types) {
    if (!list.empty()) list += " or ";
    list += cv::typeToString(type);
  }
  return list;
}

std::string SizeText(const cv::Mat& image) {
  return std::to_string(image.cols) + " x " + std::to_string(image.rows);
}

}  // namespace

void Require(bool condition, const char* argument, const std::string& problem) {
  if (!condition) throw InvalidArgument(argument, problem);
}

void RequireImage(const cv::Mat& image, const char* argument, std::initializer_list<int> types) {
  Require(!image.empty(), argument, "empty image");
  Require(image.dims == 2, argument, "expected a two-dimensional image");
  const bool typeKnown = std::find(types.begin(), types.end(), image.type()) != types.end();
  Require(typeKnown, argument,
          "expected " + TypeList(types) + ", got " + cv::typeToString(image.type()));
}

void RequireSameSize(const cv::Mat& image, const char* argument, const cv::Mat& reference,
                     const char* referenceName) {
  Require(
      image.size() == reference.size(), argument,
      "size " + SizeText(image) + " differs from " + referenceName + "'s " + SizeText(reference));
}

cv::Mat Packed(const cv::Mat& image) {
  if (image.isContinuous() && !image.isSubmatrix()) return image;
  return image.clone();
}

}  // namespace vision
}  // namespace imgtarn
