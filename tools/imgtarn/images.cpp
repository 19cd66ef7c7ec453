// Image files in and out. Inputs are read through the library's own loader (slot 31), as a host
// reads them; colour outputs are written through slot 32; pictures the tool makes itself
// (edge maps, blobs, annotations) are written with OpenCV.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>

#include "cli.hpp"

namespace imgtarn_cli {

namespace {

// Planes from slot 31 belong to the host, which frees them with the plain operator delete.
struct PlaneDeleter {
  void operator()(unsigned char* plane) const { ::operator delete(plane); }
};
using OwnedPlane = std::unique_ptr<unsigned char, PlaneDeleter>;

// Image decoders print their own complaints about a broken file (libpng, OpenCV's loader);
// the tool says what went wrong in one line of its own, so theirs are held back meanwhile.
class QuietStderr {
 public:
  QuietStderr() {
    std::fflush(stderr);
    saved_ = dup(STDERR_FILENO);
    int devNull = open("/dev/null", O_WRONLY);
    if (saved_ >= 0 && devNull >= 0) dup2(devNull, STDERR_FILENO);
    if (devNull >= 0) close(devNull);
  }
  ~QuietStderr() {
    std::fflush(stderr);
    if (saved_ >= 0) {
      dup2(saved_, STDERR_FILENO);
      close(saved_);
    }
  }
  QuietStderr(const QuietStderr&) = delete;
  QuietStderr& operator=(const QuietStderr&) = delete;

 private:
  int saved_ = -1;
};

bool IsDirectory(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::string ParentDirectory(const std::string& path) {
  std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

void CheckReadable(const std::string& path, const std::string& what) {
  if (path.empty()) throw UsageError(what + ": empty file name");
  if (IsDirectory(path)) throw UsageError(what + ": " + path + " is a folder, not a file");
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    bool exists = access(path.c_str(), F_OK) == 0;
    throw UsageError(what + ": cannot read " + path +
                     (exists ? " (permission denied)" : " (no such file)"));
  }
}

cv::Mat ColourPlanes::Bgr() const {
  cv::Mat channels[3] = {cv::Mat(height, width, CV_8UC1, const_cast<unsigned char*>(blue.data())),
                         cv::Mat(height, width, CV_8UC1, const_cast<unsigned char*>(green.data())),
                         cv::Mat(height, width, CV_8UC1, const_cast<unsigned char*>(red.data()))};
  cv::Mat bgr;
  cv::merge(channels, 3, bgr);
  return bgr;
}

cv::Mat ColourPlanes::Grey() const {
  cv::Mat grey;
  if (red == green && green == blue) {
    // A grey file: the three planes are equal, and the plane itself is the image.
    grey = cv::Mat(height, width, CV_8UC1, const_cast<unsigned char*>(red.data())).clone();
  } else {
    cv::cvtColor(Bgr(), grey, cv::COLOR_BGR2GRAY);
  }
  return grey;
}

ColourPlanes LoadColour(Library& lib, const std::string& path) {
  CheckReadable(path, "input image");
  std::string characters = path;
  float para[3] = {static_cast<float>(characters.size()), 0.0f, 0.0f};
  unsigned char* red = nullptr;
  unsigned char* green = nullptr;
  unsigned char* blue = nullptr;
  try {
    QuietStderr quiet;
    lib.Call<int>(slot::kLoadImagePlanes, reinterpret_cast<unsigned char*>(characters.data()), &red,
                  &green, &blue, para);
  } catch (const std::out_of_range&) {
    // The loader's contract for a file OpenCV cannot decode.
    throw UsageError(path + " is not an image file that can be read");
  }
  OwnedPlane ownedRed(red), ownedGreen(green), ownedBlue(blue);
  ColourPlanes planes;
  planes.width = static_cast<int>(para[1]);
  planes.height = static_cast<int>(para[2]);
  if (!red || !green || !blue || planes.width < 1 || planes.height < 1) {
    throw UsageError(path + " is not an image file that can be read");
  }
  std::size_t area = static_cast<std::size_t>(planes.width) * planes.height;
  planes.red.assign(red, red + area);
  planes.green.assign(green, green + area);
  planes.blue.assign(blue, blue + area);
  return planes;
}

cv::Mat LoadGrey(Library& lib, const std::string& path) { return LoadColour(lib, path).Grey(); }

void CheckImageOutputPath(const std::string& path, const std::string& option) {
  if (path.empty()) throw UsageError(option + ": empty file name");
  if (IsDirectory(path)) throw UsageError(option + ": " + path + " is a folder");
  std::string dir = ParentDirectory(path);
  if (!IsDirectory(dir)) throw UsageError(option + ": folder " + dir + " does not exist");
  if (access(dir.c_str(), W_OK) != 0) throw UsageError(option + ": cannot write in " + dir);
  if (!cv::haveImageWriter(path)) {
    throw UsageError(option + ": " + path +
                     " has no image extension that can be written (use .png, .bmp, .tiff)");
  }
}

void SaveColour(Library& lib, const std::string& path, const ColourPlanes& planes) {
  CheckImageOutputPath(path, "output");
  std::remove(path.c_str());  // so that a failed write cannot pass for an old file
  std::string characters = path;
  float para[3] = {static_cast<float>(characters.size()), static_cast<float>(planes.width),
                   static_cast<float>(planes.height)};
  std::vector<unsigned char> red = planes.red, green = planes.green, blue = planes.blue;
  int status =
      lib.Call<int>(slot::kSaveImagePlanes, reinterpret_cast<unsigned char*>(characters.data()),
                    red.data(), green.data(), blue.data(), para);
  // The library does not report a failed write, so the file itself is the evidence.
  if (status != 0 || access(path.c_str(), F_OK) != 0) {
    throw UsageError("could not write " + path);
  }
}

void SavePicture(const std::string& path, const cv::Mat& image) {
  CheckImageOutputPath(path, "output");
  bool written = false;
  try {
    written = cv::imwrite(path, image);
  } catch (const cv::Exception& e) {
    throw UsageError("could not write " + path + ": " + e.err);
  }
  if (!written) throw UsageError("could not write " + path);
}

}  // namespace imgtarn_cli
