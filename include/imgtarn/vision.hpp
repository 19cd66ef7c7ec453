// imgtarn vision — the typed C++ API of imgtarn's operations, for new code.
//
// libimgtarn-vision.so runs the same routines as the operations of libimgtarn.so and gives
// the same numbers, but takes cv::Mat images, an options struct per operation and returns
// results with named fields; no parameter array and no result index appears here. Link it
// with find_package(imgtarn) and target imgtarn::vision, or pkg-config imgtarn-vision.
//
// Conventions shared by every function
// - Images: cv::Mat of the type each function names (grey: CV_8UC1; colour: CV_8UC3 in
//   OpenCV's blue, green, red channel order; height maps: CV_32FC1), two-dimensional, at least
//   one pixel. A view into a larger image (an ROI) is worked on as an image of its own: nothing
//   outside it is read. Inputs are never written.
// - Pixel coordinates: x is the column and y the row from the top-left pixel of the image
//   passed, in pixels; the centre of the top-left pixel is (0, 0).
// - Options: plain structs whose fields hold the value a caller usually wants; `{}` takes
//   them all, and a caller sets only what differs: `options.radius = 12.5f;`.
// - Exceptions: imgtarn::InvalidArgument (a std::invalid_argument) for an argument the
//   operation cannot work on; what() starts with the argument's name ("image: ...",
//   "radius: ..."). cv::Exception raised inside OpenCV passes unchanged. Nothing leaks.
// - Not found is not an error: results carry `found`.
// - Threads: functions keep no state; calls on different images may run at the same time.
//   Debug output (`debug = true`) shows windows and may write files; such calls must not run
//   concurrently with each other.
#ifndef IMGTARN_VISION_HPP
#define IMGTARN_VISION_HPP

#include <opencv2/core.hpp>
#include <stdexcept>
#include <string>

#define IMGTARN_VISION_API __attribute__((visibility("default")))

namespace imgtarn {

// An argument the operation cannot work on. what() is "<argument>: <problem>".
class IMGTARN_VISION_API InvalidArgument : public std::invalid_argument {
 public:
  InvalidArgument(const std::string& argument, const std::string& problem);
  // The name of the argument or option field, e.g. "image" or "radius".
  const std::string& argument() const noexcept { return argument_; }

 private:
  std::string argument_;
};

// ---- Circular marks ---------------------------------------------------------------------

enum class CircleMethod {
  Full,      // edge circles checked against a disc template, then the template search
  Quick,     // the disc-template search alone: cheaper, and the one for small marks (r < 12)
  TwoScale,  // the edge search at half size, then at full size: fastest on large marks
};

struct CircleMarkOptions {
  float radius = 20.0f;  // nominal radius of the mark in pixels
  CircleMethod method = CircleMethod::Full;
  bool debug = false;  // show the search's windows (and, Full, write its debug file)
};

struct CircleMarkResult {
  bool found = false;
  cv::Point2f centre;   // (0, 0) when not found
  float radius = 0.0f;  // the nominal radius when found, else 0
};

// Locates one bright filled circular mark of known radius in a grey image.
//   image: CV_8UC1. options: radius (default 20), method (default Full), debug (off).
//   Full finds centres to about 1 px; a small clean mark (radius below about 12) often gives
//   no answer with Full: use Quick. TwoScale's half-size centres are good to about 2 px.
//   Result: found, centre, radius (= options.radius when found).
//   Throws InvalidArgument: image not CV_8UC1 or empty; radius not above 0, or its disc
//   template (side 2 radius + 2) larger than the image.
//   Example: const imgtarn::CircleMarkResult mark = imgtarn::LocateCircleMark(grey, {20.0f});
//            if (mark.found) std::cout << mark.centre;
IMGTARN_VISION_API CircleMarkResult LocateCircleMark(const cv::Mat& image,
                                                     const CircleMarkOptions& options = {});

}  // namespace imgtarn

#endif  // IMGTARN_VISION_HPP
