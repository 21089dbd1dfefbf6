#include "qxdesk/engines/write_ahead_log.h"

#include <array>
#include <cstdint>
#include <fstream>
#include <optional>
#include <span>
#include <system_error>
#include <vector>

namespace qx::desk {

namespace {

constexpr std::size_t kHeadSize = 32;
constexpr std::size_t kFrameHeadSize = 24;
constexpr std::uint32_t kMagic = 0x377F0682;  // plus 1 if the sums are over big-endian words
constexpr std::uint32_t kFormat = 3007000;

using Bytes = std::span<const std::uint8_t>;

std::uint32_t numberOf(std::uint32_t highest, std::uint32_t high, std::uint32_t low,
                       std::uint32_t lowest) {
  return highest << 24 | high << 16 | low << 8 | lowest;
}

std::uint32_t bigEndian(Bytes bytes, std::size_t at) {
  const std::uint8_t* const b = bytes.data() + at;
  return numberOf(b[0], b[1], b[2], b[3]);
}

std::uint32_t littleEndian(Bytes bytes, std::size_t at) {
  const std::uint8_t* const b = bytes.data() + at;
  return numberOf(b[3], b[2], b[1], b[0]);
}

struct Sums {
  std::uint32_t first = 0;
  std::uint32_t second = 0;
  friend bool operator==(const Sums&, const Sums&) = default;
};

Sums sumsAt(Bytes bytes, std::size_t at) {
  return {bigEndian(bytes, at), bigEndian(bytes, at + 4)};
}

/// Continues the sums over further bytes, a multiple of 8. They wrap at 2^32.
Sums sumsOver(Bytes bytes, bool bigEndianWords, Sums sums) {
  const auto word = bigEndianWords ? bigEndian : littleEndian;
  for (std::size_t at = 0; at < bytes.size(); at += 8) {
    sums.first += word(bytes, at) + sums.second;
    sums.second += word(bytes, at + 4) + sums.first;
  }
  return sums;
}

struct Head {
  bool bigEndianWords = false;
  std::size_t pageSize = 0;
  Sums salts;  // a new pair whenever the log starts anew; frames of the past have others
  Sums sums;
};

bool isPageSize(std::size_t size) {
  return size >= 512 && size <= 65536 && (size & (size - 1)) == 0;
}

/// Returns nothing for a head that the engine does not accept either.
std::optional<Head> headOf(Bytes bytes) {
  const std::uint32_t magic = bigEndian(bytes, 0);
  Head head{(magic & 1) != 0, bigEndian(bytes, 8), sumsAt(bytes, 16), sumsAt(bytes, 24)};
  const bool known = (magic & ~1U) == kMagic && bigEndian(bytes, 4) == kFormat;
  if (!known || !isPageSize(head.pageSize)) return std::nullopt;
  if (sumsOver(bytes.first(24), head.bigEndianWords, {}) != head.sums) return std::nullopt;
  return head;
}

/// A frame: its head with page number, size of the database after a commit (otherwise 0), salts and
/// sums, and then the page.
struct Frame {
  Bytes bytes;

  bool commits() const { return bigEndian(bytes, 4) != 0; }
  Sums sums() const { return sumsAt(bytes, 16); }
  /// True if the sums continue those of the frame before.
  bool follows(const Head& head, Sums before) const {
    if (sumsAt(bytes, 8) != head.salts) return false;
    const Sums start = sumsOver(bytes.first(8), head.bigEndianWords, before);
    return sumsOver(bytes.subspan(kFrameHeadSize), head.bigEndianWords, start) == sums();
  }
};

bool read(std::ifstream& file, std::span<std::uint8_t> bytes) {
  file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return file.gcount() == static_cast<std::streamsize>(bytes.size());
}

// A frame is compared with the sums that the frame before it carries, whether that one is intact or
// not: so every frame behind the damage proves itself. One that commits is a change that had been
// kept. Frames without a commit may be what a transaction left that was rolled back.
bool hasCommitBehindDamage(std::ifstream& file, const Head& head) {
  std::vector<std::uint8_t> bytes(kFrameHeadSize + head.pageSize);
  Sums before = head.sums;
  bool damaged = false;
  while (read(file, bytes)) {
    const Frame frame{bytes};
    const bool intact = frame.follows(head, before);
    if (damaged && intact && frame.commits()) return true;
    damaged = damaged || !intact;
    before = frame.sums();
  }
  return false;
}

}  // namespace

std::filesystem::path logOf(const std::filesystem::path& database) {
  std::filesystem::path log = database;
  return log += "-wal";
}

bool holdsFrames(const std::filesystem::path& log) {
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(log, error);
  return !error && size > kHeadSize;
}

bool hasUnreadableChanges(const std::filesystem::path& log) {
  if (!holdsFrames(log)) return false;
  std::ifstream file(log, std::ios::binary);
  std::array<std::uint8_t, kHeadSize> bytes{};
  if (!read(file, bytes)) return false;
  const std::optional<Head> head = headOf(bytes);
  // The engine writes the head before the first frame, so frames behind a bad head are damage.
  return !head || hasCommitBehindDamage(file, *head);
}

}  // namespace qx::desk
