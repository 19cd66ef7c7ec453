// LocateFiducial: every stage's guesses measured on the mark's own edges; the best score wins.
#include <algorithm>
#include <cmath>

#include "fiducial.hpp"
#include "input_checks.hpp"

namespace imgtarn {
namespace {

using fiducial::Guess;
using fiducial::GuessList;
using fiducial::Measurement;

// Clean marks score 0.7 to 1 (the evaluation crops 0.73 to 0.98), look-alikes on the synthetic
// boards below 0.1, an octagonal pad of the mark's radius about 0.5.
constexpr float kFoundScore = 0.5f;
// Guesses closer than this share of the mark's smaller side measure the same edges.
constexpr float kSameGuessShare = 0.2f;

bool Circular(const FiducialOptions& options) { return options.shape == FiducialShape::Circle; }

cv::Size2f NominalSize(const FiducialOptions& options) {
  if (Circular(options)) return cv::Size2f(2.0f * options.radius, 2.0f * options.radius);
  return options.size;
}

bool Positive(float value) { return value > 0.0f && std::isfinite(value); }

void CheckOptions(const cv::Mat& image, const FiducialOptions& options) {
  vision::RequireImage(image, "image", {CV_8UC1});
  if (Circular(options))
    vision::Require(Positive(options.radius), "radius", "must be a positive number of pixels");
  else
    vision::Require(Positive(options.size.width) && Positive(options.size.height), "size",
                    "width and height must be positive numbers of pixels");
}

// The window clipped to the image; the whole image when the window has no area.
cv::Rect SearchWindow(const cv::Mat& image, const cv::Rect& window) {
  vision::Require(window.width >= 0 && window.height >= 0, "window", "negative width or height");
  const cv::Rect whole(0, 0, image.cols, image.rows);
  if (window.empty()) return whole;
  const cv::Rect clipped = window & whole;
  vision::Require(!clipped.empty(), "window", "does not overlap the image");
  return clipped;
}

// A mark larger than the area searched has too little edge inside it to measure, and its
// drawn templates would grow with it however small the image.
void CheckFits(cv::Size2f nominal, cv::Size area, const FiducialOptions& options) {
  const float longer = static_cast<float>(std::max(area.width, area.height));
  vision::Require(std::max(nominal.width, nominal.height) <= longer,
                  Circular(options) ? "radius" : "size",
                  "the mark is larger than the image (or window) searched");
}

std::optional<Measurement> Measure(const cv::Mat& plane, const Guess& guess,
                                   const FiducialOptions& options) {
  switch (options.shape) {
    case FiducialShape::Circle:
      return fiducial::MeasureCircle(plane, guess.centre, options.radius);
    case FiducialShape::Rectangle:
      return fiducial::MeasureRectangle(plane, guess.centre, options.size);
    case FiducialShape::Cross:
      break;
  }
  return fiducial::MeasureCross(plane, guess.centre, options.size);
}

bool AlreadyMeasured(const GuessList& measured, const Guess& guess, float limit) {
  for (const Guess& earlier : measured)
    if (cv::norm(earlier.centre - guess.centre) < limit) return true;
  return false;
}

}  // namespace

const char* FiducialStageName(FiducialStage stage) {
  switch (stage) {
    case FiducialStage::EdgeCircles:
      return "edge-circles";
    case FiducialStage::TemplateSearch:
      return "template-search";
    case FiducialStage::HoughCircles:
      return "hough-circles";
    case FiducialStage::DiscTemplate:
      return "disc-template";
    case FiducialStage::CrossMark:
      return "cross-mark";
    case FiducialStage::RectangleMark:
      return "rectangle-mark";
    case FiducialStage::BoxTemplate:
      return "box-template";
    case FiducialStage::None:
      break;
  }
  return "none";
}

FiducialResult LocateFiducial(const cv::Mat& image, const FiducialOptions& options) {
  CheckOptions(image, options);
  const cv::Rect window = SearchWindow(image, options.window);
  const cv::Size2f nominal = NominalSize(options);
  CheckFits(nominal, window.size(), options);
  // The window is searched as an image of its own: the searches' filters must not read the
  // pixels around it.
  const cv::Mat grey = vision::Packed(image(window));
  const GuessList guesses = Circular(options)
                                ? fiducial::CircleGuesses(grey, options.radius)
                                : fiducial::BoxGuesses(grey, options.shape, options.size);
  const cv::Mat plane = fiducial::MeasuringPlane(grey);
  const float sameGuess = kSameGuessShare * std::min(nominal.width, nominal.height);

  FiducialResult best;
  GuessList measured;
  for (const Guess& guess : guesses) {
    if (AlreadyMeasured(measured, guess, sameGuess)) continue;
    measured.push_back(guess);
    const std::optional<Measurement> m = Measure(plane, guess, options);
    // Strictly better only: of equal scores the earlier stage keeps the mark.
    if (!m || !(m->score > best.score)) continue;
    best.centre = m->centre + cv::Point2f(window.tl());
    best.size = m->size;
    best.radius = Circular(options) ? 0.5f * m->size.width : 0.0f;
    best.score = m->score;
    best.stage = guess.stage;
  }
  best.found = best.score >= kFoundScore;
  return best;
}

}  // namespace imgtarn
