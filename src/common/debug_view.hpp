// The one place that shows debug windows, writes debug files and waits.
//
// Operations call these only behind their own debug switch. By default windows go to
// OpenCV's highgui when the process has a display and are skipped otherwise (a Qt highgui
// aborts a process that has none, so the check must come before the call); files are written
// either way and a failed write is ignored. Tests install a recording sink instead.
#ifndef IMGTARN_COMMON_DEBUG_VIEW_HPP
#define IMGTARN_COMMON_DEBUG_VIEW_HPP

#include <mutex>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace imgtarn::debug_view {

class Sink {
 public:
  virtual ~Sink() = default;
  virtual void Show(const std::string& title, const cv::Mat& image) = 0;
  virtual void Write(const std::string& path, const cv::Mat& image) = 0;
  virtual void Wait(int milliseconds) = 0;
  virtual void CloseAll() = 0;
};

void Show(const std::string& title, cv::InputArray image);
void Write(const std::string& path, cv::InputArray image);
void Wait(int milliseconds);
void CloseAll();
// Show followed by a 1 ms wait: the window paints without holding up the inspection flow.
void ShowAndPaint(const std::string& title, cv::InputArray image);

// True when highgui windows can be opened in this process (an X11 or Wayland display).
bool HasDisplay();

// Replaces the process-wide sink; nullptr restores the default one. Returns the old sink.
Sink* SetSink(Sink* sink);

// A sink that only remembers what it was asked to do (for tests and headless runs).
class RecordingSink : public Sink {
 public:
  enum class Kind { kShow, kWrite, kWait, kCloseAll };
  struct Event {
    Kind kind;
    std::string name;  // window title or file path; empty for waits and CloseAll
    int milliseconds;
    cv::Mat image;  // a copy of what was shown or written
  };
  void Show(const std::string& title, const cv::Mat& image) override;
  void Write(const std::string& path, const cv::Mat& image) override;
  void Wait(int milliseconds) override;
  void CloseAll() override;

  std::vector<Event> Events() const;
  std::vector<std::string> Titles() const;  // shown window titles, in order
  std::vector<std::string> Files() const;   // written paths, in order
  bool Empty() const;
  void Clear();

 private:
  void Add(Event event);
  mutable std::mutex mutex_;
  std::vector<Event> events_;
};

// Installs a sink for the lifetime of a scope (tests).
class ScopedSink {
 public:
  explicit ScopedSink(Sink* sink) : previous_(SetSink(sink)) {}
  ~ScopedSink() { SetSink(previous_); }
  ScopedSink(const ScopedSink&) = delete;
  ScopedSink& operator=(const ScopedSink&) = delete;

 private:
  Sink* previous_;
};

}  // namespace imgtarn::debug_view

#endif  // IMGTARN_COMMON_DEBUG_VIEW_HPP
