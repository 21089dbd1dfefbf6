#pragma once

// A loaded module and a child process, for this folder's tests.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>

namespace qx {

/// Loads a shared object and unloads it at the end of its life. Throws if that fails.
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

/// Forks a process that runs `body` and exchanges single characters with this one through two
/// pipes, so that the two can proceed in steps. `body` gets the child's end.
class ChildProcess {
 public:
  class End {
   public:
    /// Sends a character to the other side.
    void say(char word) const {
      if (write(out_, &word, 1) != 1) std::abort();
    }
    /// Waits for the other side's next character. Returns 0 if the other side has ended.
    char hear() const {
      char word = 0;
      return read(in_, &word, 1) == 1 ? word : '\0';
    }

   private:
    friend class ChildProcess;
    int in_ = -1;
    int out_ = -1;
  };

  template <typename Body>
  explicit ChildProcess(Body body) {
    std::array<int, 2> toChild{};
    std::array<int, 2> toParent{};
    if (pipe2(toChild.data(), O_CLOEXEC) != 0 || pipe2(toParent.data(), O_CLOEXEC) != 0) {
      throw std::runtime_error("no pipe");
    }
    process_ = fork();
    if (process_ == 0) {
      close(toChild[1]);
      close(toParent[0]);
      End end;
      end.in_ = toChild[0];
      end.out_ = toParent[1];
      body(end);
      _exit(0);
    }
    close(toChild[0]);
    close(toParent[1]);
    end_.in_ = toParent[0];
    end_.out_ = toChild[1];
  }
  ~ChildProcess() {
    kill();
    close(end_.in_);
    close(end_.out_);
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  const End& end() const { return end_; }

  void signal(int number) const { ::kill(process_, number); }

  /// Kills the process by SIGKILL, which it cannot catch, and waits until it has ended.
  void kill() {
    if (process_ <= 0) return;
    ::kill(process_, SIGKILL);
    waitpid(std::exchange(process_, -1), nullptr, 0);
  }

 private:
  pid_t process_ = -1;
  End end_;
};

}  // namespace qx
