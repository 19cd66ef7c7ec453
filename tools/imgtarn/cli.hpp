// The shared part of the imgtarn tool: exit statuses, the runner every image command goes
// through, image files, drawing, the contract object and the families' registration.
#ifndef IMGTARN_TOOLS_CLI_HPP
#define IMGTARN_TOOLS_CLI_HPP

#include <CLI/CLI.hpp>
#include <array>
#include <deque>
#include <filesystem>
#include <functional>
#include <opencv2/core.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "imgtarn/imgtarn.hpp"
#include "imgtarn/vision.hpp"
#include "json.hpp"

namespace imgtarn_cli {

namespace fs = std::filesystem;

// Exit statuses of the tool.
constexpr int kExitOk = 0;      // every image ran; each result says what was found
constexpr int kExitFailed = 1;  // an image could not be read, or the operation refused or
                                // failed on it; its result carries "error"
constexpr int kExitUsage = 2;   // the command line cannot run; nothing ran

// A command line that cannot run: one line on stderr, exit status 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// ---------------------------------------------------------------------------------------------
// The runner

// What a command reads its images as.
enum class Pixels {
  Grey,     // CV_8UC1, the luminance of a colour file
  Colour,   // CV_8UC3, blue, green, red
  Heights,  // CV_32FC1, the samples of a one-channel file
};

// A file the command writes per image. With several images the option names a folder, and
// each image's file there takes the image's name with `extension` ("" for a folder of its own).
struct Output {
  std::string option;  // its name, for messages
  std::string value;   // as given; empty when not asked for
  std::string extension = ".png";
  bool picture = true;  // an image file, whose extension must have a writer
};

// One image of a run.
struct Job {
  fs::path path;
  fs::path name;  // path under the folder it was found in; names its outputs in a batch
  bool batch = false;
  bool annotate = false;  // --annotate was given: draw `annotation`
  cv::Mat image;          // as the command's Pixels ask
  Json result;            // command, image, width, height, then the command's own fields
  cv::Mat annotation;

  // Where `output` goes for this image (folders on the way exist).
  fs::path PathFor(const Output& output) const;
  // Writes `picture` where `output` says, when it was asked for, and names the file in the
  // result's "output".
  void Write(const Output& output, const cv::Mat& picture);
};

// A subcommand that runs on image files: IMAGE... (files or folders), --recursive, --jobs,
// and --annotate when the command draws.
struct ImageCommand {
  std::string name;  // as "command" prints it, e.g. "contours count"
  Pixels pixels = Pixels::Grey;
  CLI::App* app = nullptr;
  std::function<void()> prepare;  // once before the images, e.g. reading a template
  std::function<void(Job&)> run;  // per image; throws to fail that image
  std::vector<std::string> images;
  bool recursive = false;
  unsigned jobs = 0;
  // One image at a time: windows (HighGUI is not thread-safe), debug files and process-wide
  // settings of concurrent calls would collide. --debug sets it.
  bool serial = false;
  std::deque<Output> outputs;
  const Output* annotate = nullptr;
};

ImageCommand& AddImageCommand(CLI::App& parent, const std::string& name, const std::string& summary,
                              Pixels pixels, bool annotates);
// An output option of the command (-o, --out-dir).
const Output& AddOutput(ImageCommand& command, const std::string& names, const std::string& help,
                        bool required, Output shape = {});
// --debug, bound to the operation's own switch.
void AddDebug(ImageCommand& command, bool& target);
// --size WxH and --centre X,Y style options.
CLI::Option* AddSize(CLI::App* app, const std::string& name, cv::Size2f& target,
                     const std::string& help);
CLI::Option* AddPoint(CLI::App* app, const std::string& name, cv::Point2f& target,
                      const std::string& help);

// Runs a command that has no image list (overlay, sort, flatfield calibrate): prints its one
// result, or its error in the result and on stderr (exit status 1).
int RunOnce(const std::string& command, const std::function<void(Json&)>& body);

// The exit status of the command that ran.
int& ExitStatus();

// ---------------------------------------------------------------------------------------------
// Files

cv::Mat LoadPixels(const fs::path& path, Pixels pixels);
// Refuses an output path that cannot be written, before anything runs.
void CheckOutputPath(const fs::path& path, bool picture, const std::string& option);
void SavePicture(const fs::path& path, const cv::Mat& image);

// ---------------------------------------------------------------------------------------------
// The binary contract, for the operations the typed API does not offer: one object from the
// exported factory, shared (its operations keep no state).

ImgTarn_IF& Contract();
// Turns a refused call (status -1) into the image's error.
void ExpectRan(int status);

// ---------------------------------------------------------------------------------------------
// Drawing results over a colour copy of the input.

namespace annotate {
cv::Mat Canvas(const cv::Mat& image);  // a BGR copy of a grey or colour image
void CentreCross(cv::Mat& canvas, cv::Point2f centre, const cv::Scalar& colour, int arm = 6);
void Circle(cv::Mat& canvas, cv::Point2f centre, float radius, const cv::Scalar& colour);
void Box(cv::Mat& canvas, const cv::Rect2f& box, const cv::Scalar& colour);
void Ellipse(cv::Mat& canvas, const cv::RotatedRect& ellipse, const cv::Scalar& colour);
void Label(cv::Mat& canvas, const std::string& text, cv::Point origin, const cv::Scalar& colour);
void Caption(cv::Mat& canvas, const std::string& text);  // bottom left
// A mark found (outline, centre cross, caption) or "no mark found".
cv::Mat CircleMark(const cv::Mat& image, bool found, cv::Point2f centre, float radius);
cv::Mat BoxMark(const cv::Mat& image, bool found, cv::Point2f centre, cv::Size2f size);
const cv::Scalar kFound(0, 220, 0);       // green: what the operation reported
const cv::Scalar kExpected(255, 160, 0);  // blue: ground truth, in the demo
const cv::Scalar kNote(0, 200, 255);      // amber: scores and captions
}  // namespace annotate

// ---------------------------------------------------------------------------------------------
// Families

void AddMarkCommands(CLI::App& app);
void AddLeadCommands(CLI::App& app);
void AddEdgeCommands(CLI::App& app);
void AddPadCommands(CLI::App& app);
void AddBufferCommands(CLI::App& app);
void AddContourCommands(CLI::App& app);
void AddDemoCommand(CLI::App& app);

}  // namespace imgtarn_cli

#endif  // IMGTARN_TOOLS_CLI_HPP
