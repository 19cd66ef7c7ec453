// Finding and loading libimgtarn.so, and holding one operation object, as a host does.
#include <dlfcn.h>
#include <unistd.h>

#include <climits>
#include <memory>

#include "cli.hpp"
#include "imgtarn/imgtarn.hpp"

namespace imgtarn_cli {

namespace {

std::string ExecutableDirectory() {
  char buffer[PATH_MAX];
  ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
  if (length <= 0) return ".";
  std::string path(buffer, static_cast<std::size_t>(length));
  std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

// Beside a build tree (build/tools/imgtarn -> build/libimgtarn.so.1) and beside an installed
// tree (bin/imgtarn -> lib/libimgtarn.so.1), then whatever the system loader finds.
std::vector<std::string> Candidates() {
  std::string dir = ExecutableDirectory();
  return {dir + "/../libimgtarn.so.1", dir + "/../libimgtarn.so", dir + "/../lib/libimgtarn.so.1",
          "libimgtarn.so.1", "libimgtarn.so"};
}

}  // namespace

Library::Library(const std::string& path) {
  std::vector<std::string> tried;
  std::vector<std::string> candidates = path.empty() ? Candidates() : std::vector{path};
  std::string lastError;
  for (const auto& candidate : candidates) {
    bool isFile = candidate.find('/') != std::string::npos;
    if (isFile && access(candidate.c_str(), F_OK) != 0) {
      tried.push_back(candidate + " (no such file)");
      continue;
    }
    handle_ = dlopen(candidate.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle_ != nullptr) {
      path_ = candidate;
      break;
    }
    const char* error = dlerror();
    lastError = error ? error : "unknown loader error";
    tried.push_back(lastError);
  }
  if (handle_ == nullptr) {
    std::string message = "cannot load the imgtarn library; tried: ";
    for (std::size_t i = 0; i < tried.size(); ++i) message += (i ? "; " : "") + tried[i];
    throw UsageError(message + " (use --library PATH)");
  }
  using Create = void* (*)();
  auto create = reinterpret_cast<Create>(dlsym(handle_, "ImgTarn_IFCreate"));
  release_ = reinterpret_cast<int (*)(void*)>(dlsym(handle_, "ImgTarn_IFRelease"));
  if (create == nullptr || release_ == nullptr) {
    dlclose(handle_);
    handle_ = nullptr;
    throw UsageError(path_ + " is not an imgtarn library (ImgTarn_IFCreate is missing)");
  }
  object_ = create();
  if (object_ == nullptr) {
    dlclose(handle_);
    handle_ = nullptr;
    throw UsageError("ImgTarn_IFCreate returned no object");
  }
}

Library::~Library() {
  if (object_ != nullptr) release_(object_);
  // The handle stays open: OpenCV inside the library may have started worker threads that
  // outlive this object, and unloading their code under them would crash at exit.
}

static_assert(sizeof(ImgTarn_IF) == 16, "the tool's view of the object layout");

Library& Context::Lib() {
  if (!library) library = std::make_unique<Library>(libraryPath);
  return *library;
}

}  // namespace imgtarn_cli
