#include "qxlogger/test_support.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace qx::logger::test {

int FaultyFiles::open(const std::string& path, int flags) {
  const int fault = onOpen ? onOpen(path) : 0;
  return fault < 0 ? fault : real_.open(path, flags);
}

std::int64_t FaultyFiles::write(int file, const char* data, std::size_t size) {
  ++writes;
  std::int64_t taken = onWrite ? onWrite(size) : static_cast<std::int64_t>(size);
  if (taken <= 0) return taken;
  taken = real_.write(file, data, std::min(size, static_cast<std::size_t>(taken)));
  if (afterWrite) afterWrite();
  return taken;
}

int FaultyFiles::truncate(int file, std::int64_t size) {
  const int fault = onTruncate ? onTruncate() : 0;
  return fault < 0 ? fault : real_.truncate(file, size);
}

int FaultyFiles::info(const std::string& path, FileInfo& info) {
  ++looks;
  return real_.info(path, info);
}

int FaultyFiles::rename(const std::string& from, const std::string& to) {
  const int fault = onRename ? onRename(from) : 0;
  return fault < 0 ? fault : real_.rename(from, to);
}

TemporaryFolder::TemporaryFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "qxloggerXXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
  path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::vector<std::string> TemporaryFolder::names() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path_)) {
    const std::string name = entry.path().filename().string();
    if (!name.starts_with('.')) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void writeText(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

ScopedVariable::ScopedVariable(const char* name, const char* value) : name_(name) {
  const char* before = std::getenv(name);
  wasSet_ = before != nullptr;
  if (wasSet_) before_ = before;
  if (value == nullptr) {
    unsetenv(name);
  } else {
    setenv(name, value, 1);
  }
}

ScopedVariable::~ScopedVariable() {
  if (wasSet_) {
    setenv(name_, before_.c_str(), 1);
  } else {
    unsetenv(name_);
  }
}

ScopedZone::ScopedZone(const char* zone) : variable_("TZ", zone) { tzset(); }

ScopedZone::~ScopedZone() { tzset(); }

}  // namespace qx::logger::test
