#pragma once

// Helpers of this folder's tests.

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

namespace qx {

/// A shared object that is loaded while this object lives.
class LoadedModule {
 public:
  explicit LoadedModule(const std::string& path) : handle_(dlopen(path.c_str(), RTLD_NOW)) {
    if (handle_ == nullptr) throw std::runtime_error(dlerror());
  }
  ~LoadedModule() { unload(); }
  LoadedModule(const LoadedModule&) = delete;
  LoadedModule& operator=(const LoadedModule&) = delete;

  void unload() {
    if (handle_ != nullptr) dlclose(handle_);
    handle_ = nullptr;
  }
  const void* symbol(const char* name) const { return dlsym(handle_, name); }

 private:
  void* handle_;
};

/// Sets an environment variable (null: removes it) and puts the old value back.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    set(value);
  }
  ~ScopedEnvironment() { set(old_ ? old_->c_str() : nullptr); }
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  void set(const char* value) const {
    if (value != nullptr) {
      setenv(name_.c_str(), value, 1);
    } else {
      unsetenv(name_.c_str());
    }
  }

  std::string name_;
  std::optional<std::string> old_;
};

/// A fresh folder, removed with everything in it.
class TempFolder {
 public:
  TempFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "qx_os_test_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
    path_ = name;
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace qx
