#include "debug_view.hpp"

#include <sys/stat.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <opencv2/highgui.hpp>
#include <opencv2/imgcodecs.hpp>

namespace imgtarn::debug_view {
namespace {

bool LocalX11SocketExists(const char* display) {
  // ":N" or ":N.S" is a local server listening on /tmp/.X11-unix/XN; a remote "host:N" is
  // trusted as it stands.
  if (display[0] != ':') return true;
  std::string number(display + 1);
  number = number.substr(0, number.find('.'));
  struct stat info {};
  return stat(("/tmp/.X11-unix/X" + number).c_str(), &info) == 0;
}

class HighguiSink : public Sink {
 public:
  void Show(const std::string& title, const cv::Mat& image) override {
    if (!HasDisplay()) return;
    try {
      cv::imshow(title, image);
    } catch (const cv::Exception&) {
      // A highgui built without a window backend refuses; debug output is never worth a
      // failed inspection.
    }
  }
  void Write(const std::string& path, const cv::Mat& image) override {
    try {
      cv::imwrite(path, image);
    } catch (const cv::Exception&) {
      // An unwritable path or an unknown extension loses the debug file, nothing else.
    }
  }
  void Wait(int milliseconds) override {
    if (!HasDisplay()) return;
    try {
      cv::waitKey(milliseconds);
    } catch (const cv::Exception&) {
    }
  }
  void CloseAll() override {
    if (!HasDisplay()) return;
    try {
      cv::destroyAllWindows();
    } catch (const cv::Exception&) {
    }
  }
};

HighguiSink& DefaultSink() {
  static HighguiSink sink;
  return sink;
}

std::atomic<Sink*> currentSink{nullptr};

Sink& Current() {
  Sink* sink = currentSink.load();
  return sink != nullptr ? *sink : DefaultSink();
}

}  // namespace

bool HasDisplay() {
  const char* wayland = std::getenv("WAYLAND_DISPLAY");
  if (wayland != nullptr && wayland[0] != '\0') return true;
  const char* display = std::getenv("DISPLAY");
  return display != nullptr && display[0] != '\0' && LocalX11SocketExists(display);
}

void Show(const std::string& title, cv::InputArray image) { Current().Show(title, image.getMat()); }
void Write(const std::string& path, cv::InputArray image) { Current().Write(path, image.getMat()); }
void Wait(int milliseconds) { Current().Wait(milliseconds); }
void CloseAll() { Current().CloseAll(); }

void ShowAndPaint(const std::string& title, cv::InputArray image) {
  Show(title, image);
  Wait(1);
}

Sink* SetSink(Sink* sink) { return currentSink.exchange(sink); }

void RecordingSink::Show(const std::string& title, const cv::Mat& image) {
  Add({Kind::kShow, title, 0, image.clone()});
}
void RecordingSink::Write(const std::string& path, const cv::Mat& image) {
  Add({Kind::kWrite, path, 0, image.clone()});
}
void RecordingSink::Wait(int milliseconds) { Add({Kind::kWait, "", milliseconds, {}}); }
void RecordingSink::CloseAll() { Add({Kind::kCloseAll, "", 0, {}}); }

void RecordingSink::Add(Event event) {
  std::lock_guard<std::mutex> lock(mutex_);
  events_.push_back(std::move(event));
}

std::vector<RecordingSink::Event> RecordingSink::Events() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return events_;
}

std::vector<std::string> RecordingSink::Titles() const {
  std::vector<std::string> titles;
  for (const Event& event : Events())
    if (event.kind == Kind::kShow) titles.push_back(event.name);
  return titles;
}

std::vector<std::string> RecordingSink::Files() const {
  std::vector<std::string> files;
  for (const Event& event : Events())
    if (event.kind == Kind::kWrite) files.push_back(event.name);
  return files;
}

bool RecordingSink::Empty() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return events_.empty();
}

void RecordingSink::Clear() {
  std::lock_guard<std::mutex> lock(mutex_);
  events_.clear();
}

}  // namespace imgtarn::debug_view
