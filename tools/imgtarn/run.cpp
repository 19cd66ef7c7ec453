// The runner of the image commands: the image list (files, folders), the outputs checked
// before anything runs, the images run in parallel, one result per image printed in order, a
// progress bar on a terminal, the summary and the exit status.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <new>
#include <set>
#include <thread>

#include "cli.hpp"

namespace imgtarn_cli {

namespace {

struct Input {
  fs::path path, name;
};

bool IsImageFile(const fs::path& path) {
  static const std::set<std::string> kExtensions = {
      ".bmp", ".dib", ".jpg", ".jpeg", ".jpe", ".jp2", ".png", ".webp", ".pbm", ".pgm",
      ".ppm", ".pxm", ".pnm", ".pfm",  ".sr",  ".ras", ".tif", ".tiff", ".exr", ".hdr"};
  std::string extension = path.extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return kExtensions.count(extension) > 0;
}

// The image files of a folder (and of its sub-folders), in name order.
std::vector<Input> ImagesIn(const fs::path& folder, bool recursive) {
  std::vector<fs::path> found;
  auto collect = [&](auto entries) {
    for (const fs::directory_entry& entry : entries) {
      if (entry.is_regular_file() && IsImageFile(entry.path())) found.push_back(entry.path());
    }
  };
  if (recursive) {
    collect(fs::recursive_directory_iterator(folder));
  } else {
    collect(fs::directory_iterator(folder));
  }
  std::sort(found.begin(), found.end());
  std::vector<Input> inputs;
  for (const fs::path& path : found) inputs.push_back({path, path.lexically_relative(folder)});
  return inputs;
}

// Files are taken as given, so a missing or broken one fails in its own result.
std::vector<Input> ExpandImages(const std::vector<std::string>& given, bool recursive) {
  std::vector<Input> inputs;
  for (const std::string& text : given) {
    std::error_code error;
    if (!fs::is_directory(text, error)) {
      inputs.push_back({text, fs::path(text).filename()});
      continue;
    }
    std::vector<Input> found = ImagesIn(text, recursive);
    if (found.empty()) throw UsageError("no image files in " + text);
    inputs.insert(inputs.end(), found.begin(), found.end());
  }
  return inputs;
}

fs::path OutputPath(const Output& output, const fs::path& name, bool batch) {
  if (!batch) return output.value;
  fs::path path = output.value / name;
  return path.replace_extension(output.extension);
}

// Checks each output, or makes the folders it goes to, so that no image fails on them.
void PrepareOutputs(const ImageCommand& command, const std::vector<Input>& inputs, bool batch) {
  for (const Output& output : command.outputs) {
    if (output.value.empty()) continue;
    for (const Input& input : inputs) {
      const fs::path path = OutputPath(output, input.name, batch);
      if (output.extension.empty()) {
        fs::create_directories(path);
      } else if (batch) {
        fs::create_directories(path.parent_path());
      } else {
        CheckOutputPath(path, output.picture, output.option);
      }
    }
  }
}

std::string Describe(const std::exception& e) {
  if (const auto* cvError = dynamic_cast<const cv::Exception*>(&e)) {
    return "OpenCV error: " + cvError->err + " (in " + cvError->func + ")";
  }
  if (dynamic_cast<const std::bad_alloc*>(&e) != nullptr) return "out of memory";
  return e.what();
}

Json RunOne(const ImageCommand& command, const Input& input, bool batch) {
  Job job;
  job.path = input.path;
  job.name = input.name;
  job.batch = batch;
  job.annotate = command.annotate != nullptr && !command.annotate->value.empty();
  job.result = {{"command", command.name}, {"image", input.path.string()}};
  try {
    job.image = LoadPixels(input.path, command.pixels);
    job.result["width"] = job.image.cols;
    job.result["height"] = job.image.rows;
    command.run(job);
    if (job.annotate && !job.annotation.empty()) {
      SavePicture(job.PathFor(*command.annotate), job.annotation);
    }
    return std::move(job.result);
  } catch (const std::exception& e) {
    return {{"command", command.name}, {"image", input.path.string()}, {"error", Describe(e)}};
  }
}

// Prints the results in image order as they complete, draws the progress bar and counts.
class Report {
 public:
  Report(std::size_t count, bool batch)
      : results_(count), batch_(batch), bar_(batch && isatty(STDERR_FILENO)) {}

  void Add(std::size_t index, Json result) {
    std::lock_guard<std::mutex> lock(mutex_);
    failed_ += result.contains("error");
    found_ += result.value("found", false);
    reportsFound_ = reportsFound_ || result.contains("found");
    results_[index] = std::move(result);
    ++done_;
    ClearBar();
    for (; printed_ < results_.size() && !results_[printed_].is_null(); ++printed_) {
      Print(results_[printed_]);
      results_[printed_] = Json::object();  // printed: keep only the mark
    }
    DrawBar();
  }

  // The summary line of a batch.
  void Finish(double seconds, const std::string& command) {
    ClearBar();
    if (!batch_) return;
    std::string found = reportsFound_ ? std::to_string(found_) + " found, " : "";
    std::fprintf(stderr, "imgtarn: %s: %zu images, %s%zu failed, %.2f s\n", command.c_str(),
                 results_.size(), found.c_str(), failed_, seconds);
  }

  bool AnyFailed() const { return failed_ > 0; }

 private:
  void Print(const Json& result) const {
    std::string text = batch_ ? result.dump() : result.dump(2);
    std::fprintf(stdout, "%s\n", text.c_str());
    std::fflush(stdout);
    if (!batch_ && result.contains("error")) {
      std::fprintf(stderr, "imgtarn: %s: %s\n", result["image"].get<std::string>().c_str(),
                   result["error"].get<std::string>().c_str());
    }
  }

  void DrawBar() const {
    if (!bar_) return;
    constexpr std::size_t kWidth = 30;
    std::size_t filled = kWidth * done_ / results_.size();
    std::fprintf(stderr, "\r[%s%s] %zu/%zu", std::string(filled, '#').c_str(),
                 std::string(kWidth - filled, ' ').c_str(), done_, results_.size());
    std::fflush(stderr);
  }

  // Before a result line, so that on one terminal the line does not run into the bar.
  void ClearBar() const {
    if (bar_) std::fprintf(stderr, "\r\033[K");
  }

  std::vector<Json> results_;
  const bool batch_, bar_;
  std::mutex mutex_;
  std::size_t printed_ = 0, done_ = 0, failed_ = 0, found_ = 0;
  bool reportsFound_ = false;
};

unsigned Threads(const ImageCommand& command, std::size_t images) {
  if (command.serial) return 1;
  unsigned threads = command.jobs > 0 ? command.jobs : std::thread::hardware_concurrency();
  return static_cast<unsigned>(std::clamp<std::size_t>(threads, 1, images));
}

int RunImages(const ImageCommand& command) {
  std::vector<Input> inputs = ExpandImages(command.images, command.recursive);
  const bool batch = inputs.size() > 1;
  PrepareOutputs(command, inputs, batch);
  if (command.prepare) command.prepare();
  const auto start = std::chrono::steady_clock::now();
  Report report(inputs.size(), batch);
  std::atomic<std::size_t> next{0};
  auto work = [&] {
    for (std::size_t i = next++; i < inputs.size(); i = next++) {
      report.Add(i, RunOne(command, inputs[i], batch));
    }
  };
  std::vector<std::thread> pool(Threads(command, inputs.size()) - 1);
  for (std::thread& thread : pool) thread = std::thread(work);
  work();
  for (std::thread& thread : pool) thread.join();
  std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  report.Finish(elapsed.count(), command.name);
  return report.AnyFailed() ? kExitFailed : kExitOk;
}

}  // namespace

fs::path Job::PathFor(const Output& output) const { return OutputPath(output, name, batch); }

void Job::Write(const Output& output, const cv::Mat& picture) {
  if (output.value.empty()) return;
  SavePicture(PathFor(output), picture);
  result["output"] = PathFor(output).string();
}

ImageCommand& AddImageCommand(CLI::App& parent, const std::string& name, const std::string& summary,
                              Pixels pixels, bool annotates) {
  // Commands live as long as the program; a deque keeps their addresses.
  static std::deque<ImageCommand> commands;
  ImageCommand& command = commands.emplace_back();
  command.name = name;
  command.pixels = pixels;
  command.app = parent.add_subcommand(name.substr(name.rfind(' ') + 1), summary);
  command.app->add_option("IMAGE", command.images, "image files, or folders of them")->required();
  command.app->add_flag("-r,--recursive", command.recursive,
                        "look for images in the sub-folders of a folder too");
  command.app->add_option("-j,--jobs", command.jobs,
                          "images run at the same time (default: one per core)");
  if (annotates) {
    command.annotate = &AddOutput(command, "--annotate",
                                  "write a picture of the result drawn over the input (several "
                                  "images: a folder for one picture each)",
                                  false);
  }
  command.app->callback([&command] { ExitStatus() = RunImages(command); });
  return command;
}

const Output& AddOutput(ImageCommand& command, const std::string& names, const std::string& help,
                        bool required, Output shape) {
  Output& output = command.outputs.emplace_back(std::move(shape));
  output.option = names.substr(names.rfind(',') + 1);
  command.app->add_option(names, output.value, help)->required(required);
  return output;
}

void AddDebug(ImageCommand& command, bool& target) {
  command.app->add_flag_callback(
      "--debug", [&command, &target] { command.serial = target = true; },
      "switch on the operation's own debug windows and files (files go to the current "
      "folder); images then run one at a time");
}

// Two numbers in one argument, "60x40" or "12.5,30".
template <typename Pair>
CLI::Option* AddPair(CLI::App* app, const std::string& name, Pair& target, char delimiter,
                     const std::string& typeName, const std::string& help) {
  auto set = [&target](const std::array<float, 2>& v) { target = Pair(v[0], v[1]); };
  return app->add_option_function<std::array<float, 2>>(name, set, help)
      ->delimiter(delimiter)
      ->type_name(typeName);
}

CLI::Option* AddSize(CLI::App* app, const std::string& name, cv::Size2f& target,
                     const std::string& help) {
  return AddPair(app, name, target, 'x', "WxH", help);
}

CLI::Option* AddPoint(CLI::App* app, const std::string& name, cv::Point2f& target,
                      const std::string& help) {
  return AddPair(app, name, target, ',', "X,Y", help);
}

int RunOnce(const std::string& command, const std::function<void(Json&)>& body) {
  Json result = {{"command", command}};
  int status = kExitOk;
  try {
    body(result);
  } catch (const UsageError&) {
    throw;
  } catch (const std::exception& e) {
    result = {{"command", command}, {"error", Describe(e)}};
    std::fprintf(stderr, "imgtarn: %s: %s\n", command.c_str(), Describe(e).c_str());
    status = kExitFailed;
  }
  std::printf("%s\n", result.dump(2).c_str());
  return status;
}

}  // namespace imgtarn_cli
