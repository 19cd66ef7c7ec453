// The black-box host's view of the library: dlopen, dlsym and raw virtual-table calls.
#ifndef IMGTARN_TESTS_SUPPORT_HOST_LIBRARY_HPP
#define IMGTARN_TESTS_SUPPORT_HOST_LIBRARY_HPP

#include <dlfcn.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace host {

class HostLibrary {
 public:
  using Create = void* (*)();
  using Release = int (*)(void*);

  static HostLibrary& Get() {
    static HostLibrary library;
    return library;
  }

  Create createImg = nullptr, createNum = nullptr;
  Release releaseImg = nullptr, releaseNum = nullptr;

 private:
  HostLibrary() {
    handle_ = dlopen(IMGTARN_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    if (handle_ == nullptr) throw std::runtime_error(dlerror());
    createImg = reinterpret_cast<Create>(Resolve("ImgTarn_IFCreate"));
    releaseImg = reinterpret_cast<Release>(Resolve("ImgTarn_IFRelease"));
    createNum = reinterpret_cast<Create>(Resolve("NFunction_IFCreate"));
    releaseNum = reinterpret_cast<Release>(Resolve("NFunction_IFRelease"));
  }
  void* Resolve(const char* name) {
    void* symbol = dlsym(handle_, name);
    if (symbol == nullptr) throw std::runtime_error(std::string("missing export ") + name);
    return symbol;
  }
  void* handle_ = nullptr;
};

// An operation object held by the host; Call<R>(slot, args...) calls table entry `slot` with
// the object as first argument, exactly as a compiled virtual call does.
template <bool kNumeric>
class Object {
 public:
  Object() : object_(kNumeric ? HostLibrary::Get().createNum() : HostLibrary::Get().createImg()) {}
  ~Object() {
    if (kNumeric)
      HostLibrary::Get().releaseNum(object_);
    else
      HostLibrary::Get().releaseImg(object_);
  }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  template <typename R, typename... Args>
  R Call(int slot, Args... args) {
    void** table = *reinterpret_cast<void***>(object_);
    auto function = reinterpret_cast<R (*)(void*, Args...)>(table[slot]);
    return function(object_, args...);
  }
  void* get() const { return object_; }

 private:
  void* object_;
};

using ImgObject = Object<false>;
using NumObject = Object<true>;

}  // namespace host

#endif  // IMGTARN_TESTS_SUPPORT_HOST_LIBRARY_HPP
