// The shared part of the imgtarn tool: errors, option parsing, the library seen as a host sees
// it, image loading and saving, annotation, and the table of subcommands.
#ifndef IMGTARN_TOOLS_CLI_HPP
#define IMGTARN_TOOLS_CLI_HPP

#include <functional>
#include <memory>
#include <opencv2/core.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "json.hpp"

namespace imgtarn_cli {

// Exit statuses of the tool.
constexpr int kExitOk = 0;       // the operation ran; the JSON says what it found
constexpr int kExitRefused = 1;  // the library refused the call or does not offer the operation
constexpr int kExitUsage = 2;    // the command line or an input file is wrong, or the library
                                 // raised an error; nothing was computed

// A problem the person at the terminal can fix; printed as one line, exit status 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// ---------------------------------------------------------------------------------------------
// Options

struct OptionSpec {
  std::string name;   // long name without the dashes, e.g. "radius"
  std::string value;  // placeholder of the value ("PIXELS"); empty for a switch
  std::string help;
  std::string shortName = "";  // e.g. "o" for -o
};

// The parsed command line of one subcommand. Every getter names the option in its error.
class Args {
 public:
  Args(std::string command, const std::vector<OptionSpec>& specs,
       const std::vector<std::string>& tokens);

  const std::string& command() const { return command_; }
  const std::vector<std::string>& positionals() const { return positionals_; }
  // Exactly `count` positional arguments, described by `what` in the error.
  void ExpectPositionals(std::size_t count, const std::string& what) const;

  bool Has(const std::string& name) const;
  bool Flag(const std::string& name) const { return Has(name); }
  // Every value of an option that may be given more than once, in command-line order.
  std::vector<std::string> All(const std::string& name) const;
  std::string Text(const std::string& name, const std::string& fallback = "") const;
  std::string RequiredText(const std::string& name) const;
  double Number(const std::string& name, double fallback) const;
  double RequiredNumber(const std::string& name) const;
  int Integer(const std::string& name, int fallback) const;
  // "WxH" with positive integers.
  cv::Size RequiredSize(const std::string& name) const;
  cv::Size SizeOr(const std::string& name, cv::Size fallback) const;

 private:
  const std::string* Find(const std::string& name) const;
  std::string command_;
  std::vector<std::pair<std::string, std::string>> values_;
  std::vector<std::string> positionals_;
};

double ParseNumber(const std::string& text, const std::string& what);
int ParseInteger(const std::string& text, const std::string& what);
cv::Size ParseSize(const std::string& text, const std::string& what);
// "X,Y" with two numbers.
cv::Point2f ParsePoint(const std::string& text, const std::string& what);
// "R,G,B" with three levels 0..255.
cv::Vec3i ParseColour(const std::string& text, const std::string& what);

// ---------------------------------------------------------------------------------------------
// The library, loaded and called as a host does: dlopen, the exported factory, raw table slots.

namespace slot {
enum : int {
  kHoughCircleDemo = 2,
  kDetectCirclesSmoothed = 3,
  kDetectCirclesFromText = 4,
  kDetectCirclesPlain = 5,
  kDrawContoursAllExternal = 6,
  kClassifyRingContours = 7,
  kMorphBoundingRects = 8,
  kSegmentByMoments = 9,
  kLocateCircleMarkQuick = 10,
  kLocateCircleMark = 11,
  kLocateCircleMarkRoi = 12,
  kCutLeadRois = 13,
  kLocateCrossMark = 14,
  kApproxContoursDemo = 15,
  kMeasureLeadRoi = 16,
  kAdjustCircleEdges = 17,
  kLocateRectangleMark = 18,
  kCountContourPixels = 19,
  kFollowCadOverlay = 20,
  kMorphRing = 21,
  kFillContours = 22,
  kDetectEdgesCanny = 23,
  kComputeFlatFieldCoefficients = 24,
  kApplyGainOffset = 25,
  kMatchPadTemplates = 26,
  kSplitPadBlobs = 27,
  kFindDominantLevels = 28,
  kFillBlackHoles = 29,
  kSlot30Dispatch = 30,
  kLoadImagePlanes = 31,
  kSaveImagePlanes = 32,
  kResizePlanes = 33,
  kDrawContourMask = 34,
  kCountingSortValues = 35,
};
}  // namespace slot

class Library {
 public:
  // Loads `path`, or when it is empty the library beside the executable, then the one the
  // system loader finds. Throws UsageError naming every place it tried.
  explicit Library(const std::string& path);
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  const std::string& path() const { return path_; }

  // Calls table entry `slot` of the ImgTarn_IF object, the object first, exactly as a compiled
  // virtual call does. Pass floats as float and ints as int: the slot's own argument types.
  template <typename R, typename... A>
  R Call(int slot, A... args) {
    void** table = *reinterpret_cast<void***>(object_);
    auto function = reinterpret_cast<R (*)(void*, A...)>(table[slot]);
    return function(object_, args...);
  }

 private:
  void* handle_ = nullptr;
  void* object_ = nullptr;
  int (*release_)(void*) = nullptr;
  std::string path_;
};

// ---------------------------------------------------------------------------------------------
// Images

// Three planes of one colour image in the library's plane argument order.
struct ColourPlanes {
  int width = 0, height = 0;
  std::vector<unsigned char> red, green, blue;
  cv::Mat Bgr() const;   // an interleaved copy for drawing
  cv::Mat Grey() const;  // luminance, one plane
};

// Reads an image file through the library's own loader (slot 31), after checking that the
// file exists and is readable, so every failure has a message that names the file.
ColourPlanes LoadColour(Library& lib, const std::string& path);
// The grey plane of an image file (the luminance of a colour file).
cv::Mat LoadGrey(Library& lib, const std::string& path);
// Writes a colour image through the library (slot 32) and checks that the file appeared.
void SaveColour(Library& lib, const std::string& path, const ColourPlanes& planes);
// Writes a picture made by the tool (edges, blobs, annotations) with OpenCV.
void SavePicture(const std::string& path, const cv::Mat& image);
// Refuses an output path whose extension no image writer knows, before anything runs.
void CheckImageOutputPath(const std::string& path, const std::string& option);
// Throws UsageError when the file cannot be opened for reading.
void CheckReadable(const std::string& path, const std::string& what);

// ---------------------------------------------------------------------------------------------
// Annotation: drawing results over a colour copy of the input.

namespace annotate {
cv::Mat Canvas(const cv::Mat& image);  // a BGR copy of a grey or colour image
void CentreCross(cv::Mat& canvas, cv::Point2f centre, const cv::Scalar& colour, int arm = 6);
void Circle(cv::Mat& canvas, cv::Point2f centre, float radius, const cv::Scalar& colour);
void Box(cv::Mat& canvas, const cv::Rect2f& box, const cv::Scalar& colour);
void Ellipse(cv::Mat& canvas, const cv::RotatedRect& ellipse, const cv::Scalar& colour);
void Label(cv::Mat& canvas, const std::string& text, cv::Point origin, const cv::Scalar& colour);
const cv::Scalar kFound(0, 220, 0);       // green: what the operation reported
const cv::Scalar kExpected(255, 160, 0);  // blue: ground truth, in the demo
const cv::Scalar kNote(0, 200, 255);      // amber: scores and captions
}  // namespace annotate

// ---------------------------------------------------------------------------------------------
// Subcommands

struct Context {
  std::string libraryPath;  // --library, empty for the default search
  Library& Lib();           // loaded on first use
  std::unique_ptr<Library> library;
};

struct Command {
  std::string name;
  std::string summary;
  std::string usage;  // positional part of the synopsis
  std::vector<OptionSpec> options;
  std::function<int(Context&, const Args&)> run;
  std::string details = "";  // extra paragraph for --help
};

// Every family registers its commands here.
std::vector<Command> MarkCommands();
std::vector<Command> LeadCommands();
std::vector<Command> EdgeCommands();
std::vector<Command> PadCommands();
std::vector<Command> BufferCommands();
std::vector<Command> ContourCommands();
std::vector<Command> DemoCommands();
const std::vector<Command>& AllCommands();

// Options every command accepts.
std::vector<OptionSpec> CommonOptions();
OptionSpec AnnotateOption();
OptionSpec DebugOption();

// Prints the one JSON result object on stdout.
void PrintResult(const json::Value& result);
// Reports a -1 status: a message on stderr and the JSON, exit status 1.
int ReportRefused(json::Value result, const std::string& why);

}  // namespace imgtarn_cli

#endif  // IMGTARN_TOOLS_CLI_HPP
