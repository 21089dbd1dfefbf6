#pragma once

// The on-disk format of a module's resources, shared by the resource compiler that writes it and
// the readers. One image holds resources by (type, id, language), the string tables by (language,
// id) and the version strings. It is in the section ".qxres"; an ELF note (owner "QXRES", type 1)
// in ".note.qxres" says where that section is. A linker never drops notes, nor what they refer to,
// and the program headers lead to the notes, so the image is found in the same way in a loaded
// module, in a file and in a stripped file.
//
// Image: Header, then the three index tables, then the data. Offsets count bytes from the start of
// the image. Texts are UTF-16, begin at even offsets and end with a zero unit; lengths are in units
// without it. All numbers are little-endian. Resources are sorted by (type, id, language), strings
// by (language, id); version strings keep the manifest's order. These layouts are frozen: a change
// needs a new kVersion.

#include <array>
#include <bit>
#include <cstdint>

namespace qx::resource_format {

static_assert(std::endian::native == std::endian::little, "images are read in place");

inline constexpr std::array<char, 8> kMagic{'Q', 'X', 'R', 'E', 'S', '\r', '\n', '\x1a'};
inline constexpr std::uint32_t kVersion = 1;

/// The type of an XML resource.
inline constexpr std::uint32_t kTypeXml = 23;

/// The start of an image.
struct Header {
  std::array<char, 8> magic;
  std::uint32_t version;
  std::uint32_t size;  ///< of the whole image in bytes
  std::uint32_t resourceCount;
  std::uint32_t resourceOffset;
  std::uint32_t stringCount;
  std::uint32_t stringOffset;
  std::uint32_t versionCount;  ///< 0 if the module has no version block
  std::uint32_t versionOffset;
  std::uint16_t language;  ///< of the version block
  std::uint16_t codePage;  ///< of the version block
  std::uint32_t reserved;
};
static_assert(sizeof(Header) == 48);

struct ResourceEntry {
  std::uint32_t type;
  std::uint32_t id;
  std::uint32_t language;
  std::uint32_t offset;
  std::uint32_t size;
};
static_assert(sizeof(ResourceEntry) == 20);

struct StringEntry {
  std::uint32_t language;
  std::uint32_t id;
  std::uint32_t offset;
  std::uint32_t length;
};
static_assert(sizeof(StringEntry) == 16);

struct VersionEntry {
  std::uint32_t keyOffset;
  std::uint32_t keyLength;
  std::uint32_t valueOffset;
  std::uint32_t valueLength;
};
static_assert(sizeof(VersionEntry) == 16);

/// Limits of the version block, so that a damaged image cannot request much memory.
inline constexpr std::uint32_t kMostVersionStrings = 256;
inline constexpr std::uint32_t kLongestVersionText = 32767;

/// The largest image, in bytes.
inline constexpr std::uint64_t kLargestImage = 256U << 20U;

inline constexpr char kNoteOwner[] = "QXRES";
inline constexpr std::uint32_t kNoteType = 1;

/// The body of the note: the image begins `relative` bytes after the address of this structure.
struct NoteBody {
  std::int64_t relative;
  std::uint64_t size;
};
static_assert(sizeof(NoteBody) == 16);

}  // namespace qx::resource_format
