// The host's view of the library: operation objects called through their raw virtual tables,
// from the library file opened with dlopen or from factories linked in.
#ifndef IMGTARN_TESTS_SUPPORT_HOST_LIBRARY_HPP
#define IMGTARN_TESTS_SUPPORT_HOST_LIBRARY_HPP

#include <dlfcn.h>

#include <stdexcept>
#include <string>

namespace host {

using Create = void* (*)();
using Release = int (*)(void*);

// An operation object and its release function; Call<R>(slot, args...) calls table entry `slot`
// with the object as first argument, exactly as a compiled virtual call does.
class Object {
 public:
  Object(Create create, Release release) : object_(create()), release_(release) {}
  ~Object() { release_(object_); }
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
  Release release_;
};

#ifdef IMGTARN_LIBRARY
// The library file a host loads, with its four entry points resolved by name.
struct HostLibrary {
  static HostLibrary& Get() {
    static HostLibrary library;
    return library;
  }
  Create createImg = nullptr, createNum = nullptr;
  Release releaseImg = nullptr, releaseNum = nullptr;

 private:
  HostLibrary() {
    void* handle = dlopen(IMGTARN_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) throw std::runtime_error(dlerror());
    const auto resolve = [handle](const char* name) {
      void* symbol = dlsym(handle, name);
      if (symbol == nullptr) throw std::runtime_error(std::string("missing export ") + name);
      return symbol;
    };
    createImg = reinterpret_cast<Create>(resolve("ImgTarn_IFCreate"));
    releaseImg = reinterpret_cast<Release>(resolve("ImgTarn_IFRelease"));
    createNum = reinterpret_cast<Create>(resolve("NFunction_IFCreate"));
    releaseNum = reinterpret_cast<Release>(resolve("NFunction_IFRelease"));
  }
};
#endif

}  // namespace host

#endif  // IMGTARN_TESTS_SUPPORT_HOST_LIBRARY_HPP
