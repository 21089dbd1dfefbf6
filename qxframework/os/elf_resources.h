#pragma once

// Finds the image of resources in an ELF file without loading it, and in the notes of a module
// that is loaded. Files may be anything, so every number in them is checked before it is used.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <vector>

namespace qx {

/// Bytes that can be read from any place: a file, or memory in tests.
class ByteSource {
 public:
  virtual ~ByteSource() = default;
  virtual std::uint64_t size() const = 0;
  /// Fills `out` from `offset` on; false when not all of it can be read.
  virtual bool read(std::uint64_t offset, std::span<std::byte> out) const = 0;
};

/// Where a note says that the image is.
struct ResourceNote {
  std::uint64_t bodyOffset;  ///< of the note's body from the start of the notes
  std::int64_t relative;     ///< of the image from the body
  std::uint64_t size;
};

/// The resource note among the notes of one segment whose alignment is `alignment`.
std::optional<ResourceNote> findResourceNote(std::span<const std::byte> notes,
                                             std::uint64_t alignment);

/// A copy of the image's bytes; nothing when the file is not a 64-bit little-endian ELF module,
/// when it is damaged, or when it has no resources. The content is not looked at.
std::optional<std::vector<std::byte>> readResourceSection(const ByteSource& elf);
std::optional<std::vector<std::byte>> readResourceSection(const std::filesystem::path& file);

}  // namespace qx
