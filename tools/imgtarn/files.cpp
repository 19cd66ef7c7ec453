// Image files in and out, with messages that name the file and say what is wrong with it.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <mutex>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "cli.hpp"

namespace imgtarn_cli {

namespace {

// Image decoders print their own complaints about a broken file (libpng, libtiff); the tool
// says what went wrong in the image's result instead, so theirs are held back meanwhile. The
// redirection is process-wide, so concurrent loads share it: the first one in sets it up and
// the last one out restores stderr.
class QuietStderr {
 public:
  QuietStderr() {
    std::lock_guard<std::mutex> lock(Mutex());
    if (Depth()++ > 0) return;
    std::fflush(stderr);
    Saved() = dup(STDERR_FILENO);
    int devNull = open("/dev/null", O_WRONLY);
    if (devNull >= 0) {
      dup2(devNull, STDERR_FILENO);
      close(devNull);
    }
  }
  ~QuietStderr() {
    std::lock_guard<std::mutex> lock(Mutex());
    if (--Depth() > 0 || Saved() < 0) return;
    std::fflush(stderr);
    dup2(Saved(), STDERR_FILENO);
    close(Saved());
  }
  QuietStderr(const QuietStderr&) = delete;
  QuietStderr& operator=(const QuietStderr&) = delete;

 private:
  static std::mutex& Mutex() {
    static std::mutex mutex;
    return mutex;
  }
  static int& Depth() {
    static int depth = 0;
    return depth;
  }
  static int& Saved() {
    static int saved = -1;
    return saved;
  }
};

void CheckReadable(const fs::path& path) {
  std::error_code error;
  if (!fs::exists(path, error)) throw std::runtime_error("no such file");
  if (fs::is_directory(path, error)) throw std::runtime_error("is a folder, not a file");
  if (!std::ifstream(path, std::ios::binary)) throw std::runtime_error("cannot read the file");
}

cv::Mat Decode(const fs::path& path, Pixels pixels) {
  QuietStderr quiet;
  if (pixels != Pixels::Heights) {
    try {
      return imgtarn::LoadImage(path.string());
    } catch (const imgtarn::InvalidArgument&) {
      return {};
    }
  }
  cv::Mat raw = cv::imread(path.string(), cv::IMREAD_UNCHANGED), heights;
  if (raw.channels() != 1) throw std::runtime_error("a height map has one channel");
  raw.convertTo(heights, CV_32F);
  return heights;
}

}  // namespace

cv::Mat LoadPixels(const fs::path& path, Pixels pixels) {
  CheckReadable(path);
  cv::Mat image = Decode(path, pixels);
  if (image.empty()) throw std::runtime_error("not an image file that can be read");
  if (pixels != Pixels::Grey) return image;
  cv::Mat grey;
  cv::cvtColor(image, grey, cv::COLOR_BGR2GRAY);
  return grey;
}

void CheckOutputPath(const fs::path& path, bool picture, const std::string& option) {
  std::error_code error;
  fs::path folder = path.parent_path().empty() ? "." : path.parent_path();
  if (fs::is_directory(path, error))
    throw UsageError(option + ": " + path.string() + " is a folder");
  if (!fs::is_directory(folder, error)) {
    throw UsageError(option + ": folder " + folder.string() + " does not exist");
  }
  if (access(folder.c_str(), W_OK) != 0) {
    throw UsageError(option + ": cannot write in " + folder.string());
  }
  if (picture && !cv::haveImageWriter(path.string())) {
    throw UsageError(option + ": no image format has that extension (use .png, .bmp, .tiff)");
  }
}

void SavePicture(const fs::path& path, const cv::Mat& image) {
  if (!cv::imwrite(path.string(), image)) {
    throw std::runtime_error("could not write " + path.string());
  }
}

}  // namespace imgtarn_cli
