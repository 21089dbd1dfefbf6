#include "testing/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace qx::test {
namespace {

constexpr int kPatienceMs = 60'000;
constexpr int kLookAgainMs = 5;

struct Pipe {
  int ends[2] = {-1, -1};
  Pipe() {
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  }
};

[[noreturn]] void become(const std::vector<std::string>& command,
                         const std::vector<std::string>& environment, int input, int output) {
  dup2(input, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  for (const std::string& each : environment) {
    const std::size_t equals = each.find('=');
    setenv(each.substr(0, equals).c_str(), each.substr(equals + 1).c_str(), 1);
  }
  std::vector<char*> arguments;
  for (const std::string& each : command) arguments.push_back(const_cast<char*>(each.c_str()));
  arguments.push_back(nullptr);
  execv(arguments[0], arguments.data());
  _exit(127);
}

// The kernel's list has a line "1: -> FLOCK  ADVISORY  WRITE PID ..." for each waiting process.
bool waitsForLock(pid_t pid) {
  std::ifstream locks("/proc/locks");
  const std::string wanted = " " + std::to_string(pid) + " ";
  for (std::string line; std::getline(locks, line);) {
    if (line.find("-> ") != std::string::npos && line.find(wanted) != std::string::npos) {
      return true;
    }
  }
  return false;
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command,
                           const std::vector<std::string>& environment) {
  signal(SIGPIPE, SIG_IGN);  // send() to a child that has ended must not end this process
  const Pipe in;
  const Pipe out;
  pid_ = fork();
  if (pid_ < 0) throw std::runtime_error("no child process");
  if (pid_ == 0) become(command, environment, in.ends[0], out.ends[1]);
  close(in.ends[0]);
  close(out.ends[1]);
  input_ = in.ends[1];
  output_ = out.ends[0];
}

ChildProcess::~ChildProcess() {
  if (!status_) kill();
  close(input_);
  close(output_);
}

bool ChildProcess::readMore(int milliseconds) {
  pollfd ready{output_, POLLIN, 0};
  if (ended_ || poll(&ready, 1, milliseconds) != 1) return false;
  char part[4096];
  const ssize_t size = read(output_, part, sizeof part);
  if (size <= 0) {
    ended_ = true;
    return false;
  }
  buffer_.append(part, static_cast<std::size_t>(size));
  return true;
}

std::string ChildProcess::line() {
  std::size_t end = buffer_.find('\n');
  while (end == std::string::npos) {
    if (!readMore(kPatienceMs)) return ended_ ? "<end>" : "<silence>";
    end = buffer_.find('\n');
  }
  std::string out = buffer_.substr(0, end);
  buffer_.erase(0, end + 1);
  return out;
}

std::string ChildProcess::rest() {
  while (readMore(kPatienceMs)) {
  }
  return std::exchange(buffer_, {});
}

void ChildProcess::send(const std::string& line) {
  const std::string text = line + "\n";
  if (write(input_, text.data(), text.size()) < 0 && errno != EPIPE) {
    throw std::runtime_error("the child does not listen");
  }
}

void ChildProcess::kill() {
  ::kill(pid_, SIGKILL);
  wait();
}

int ChildProcess::wait() {
  if (!status_) {
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  return *status_;
}

bool ChildProcess::blocksOnLock() {
  for (int waited = 0; waited < kPatienceMs; waited += kLookAgainMs) {
    if (waitsForLock(pid_)) return true;
    if (!buffer_.empty() || readMore(kLookAgainMs) || ended_) return false;
  }
  return false;
}

}  // namespace qx::test
