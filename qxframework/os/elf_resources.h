#pragma once

// Finds the image of resources in an ELF file without loading it, and in the notes of a loaded
// module. A file may have any content, so every number in it is checked before it is used.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <vector>

namespace qx {

/// Bytes with random access: a file, or memory in tests.
class ByteSource {
 public:
  virtual ~ByteSource() = default;
  virtual std::uint64_t size() const = 0;
  /// Fills `out` from `offset` on. Returns false if not all of it can be read.
  virtual bool read(std::uint64_t offset, std::span<std::byte> out) const = 0;
};

/// The place of the image according to its note. All numbers are in bytes.
struct ResourceNote {
  std::uint64_t bodyOffset;  ///< from the start of the notes to the note's body
  std::int64_t relative;     ///< from the body to the image
  std::uint64_t size;        ///< of the image
};

/// Returns the resource note among the notes of one segment, whose alignment is `alignment`.
/// Returns nothing if there is none or a note before it exceeds the segment.
std::optional<ResourceNote> findResourceNote(std::span<const std::byte> notes,
                                             std::uint64_t alignment);

/// Returns a copy of the image's bytes, whose content is not checked. Returns nothing if the file
/// is no 64-bit little-endian ELF module, is damaged, or has no resources.
std::optional<std::vector<std::byte>> readResourceSection(const ByteSource& elf);
std::optional<std::vector<std::byte>> readResourceSection(const std::filesystem::path& file);

}  // namespace qx
