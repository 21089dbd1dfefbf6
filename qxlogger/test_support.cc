#include "qxlogger/test_support.h"

#include <algorithm>
#include <fstream>

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
  ++pathInfos;
  return real_.info(path, info);
}

int FaultyFiles::rename(const std::string& from, const std::string& to) {
  const int fault = onRename ? onRename(from) : 0;
  return fault < 0 ? fault : real_.rename(from, to);
}

std::vector<std::string> TemporaryFolder::names() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path())) {
    const std::string name = entry.path().filename().string();
    if (!name.starts_with('.')) names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

void writeText(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

}  // namespace qx::logger::test
