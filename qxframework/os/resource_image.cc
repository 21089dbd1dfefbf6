#include "qxframework/os/resource_image.h"

#include <cstring>
#include <tuple>

namespace qx {
namespace {

namespace format = resource_format;

// Copies the entry, because only the image's start is aligned: a damaged offset may be odd.
template <typename Entry>
Entry readAt(std::span<const std::byte> bytes, std::size_t offset) {
  Entry entry;
  std::memcpy(&entry, bytes.data() + offset, sizeof entry);
  return entry;
}

// Compares by subtraction, because the sum of a damaged offset and size may overflow.
bool fits(std::span<const std::byte> bytes, std::uint64_t offset, std::uint64_t size) {
  return offset <= bytes.size() && size <= bytes.size() - offset;
}

// Returns the index of the first of `count` entries at `offset` for which `isBefore` is false, or
// `count`. It ends within the table even if damage has lost the order. std::lower_bound would need
// an iterator that returns entries by value.
template <typename Entry, typename IsBefore>
std::uint32_t lowerBound(std::span<const std::byte> bytes, std::uint32_t offset,
                         std::uint32_t count, IsBefore isBefore) {
  std::uint32_t first = 0;
  while (count > 0) {
    const std::uint32_t half = count / 2;
    const std::size_t middle = std::size_t{first} + half;
    if (isBefore(readAt<Entry>(bytes, offset + middle * sizeof(Entry)))) {
      first += half + 1;
      count -= half + 1;
    } else {
      count = half;
    }
  }
  return first;
}

auto keyOf(const format::ResourceEntry& entry) {
  return std::tuple(entry.type, entry.id, entry.language);
}

auto keyOf(const format::StringEntry& entry) { return std::tuple(entry.language, entry.id); }

}  // namespace

std::optional<ResourceImage> ResourceImage::open(std::span<const std::byte> bytes) {
  if (bytes.size() < sizeof(format::Header)) return std::nullopt;
  if (reinterpret_cast<std::uintptr_t>(bytes.data()) % 8 != 0) return std::nullopt;
  const auto header = readAt<format::Header>(bytes, 0);
  if (header.magic != format::kMagic || header.version != format::kVersion) return std::nullopt;
  if (header.size < sizeof(format::Header) || header.size > bytes.size()) return std::nullopt;
  // From here on no offset can reach padding or other bytes after the image.
  bytes = bytes.first(header.size);
  const auto tableFits = [bytes](std::uint32_t offset, std::uint64_t count, std::uint64_t size) {
    return fits(bytes, offset, count * size);
  };
  if (!tableFits(header.resourceOffset, header.resourceCount, sizeof(format::ResourceEntry)) ||
      !tableFits(header.stringOffset, header.stringCount, sizeof(format::StringEntry)) ||
      !tableFits(header.versionOffset, header.versionCount, sizeof(format::VersionEntry))) {
    return std::nullopt;
  }
  return ResourceImage(bytes, header);
}

const std::byte* ResourceImage::findResource(std::uint32_t type, std::uint32_t id,
                                             std::uint32_t language) const {
  const auto wanted = std::tuple(type, id, language);
  const std::uint32_t index = lowerBound<format::ResourceEntry>(
      bytes_, header_.resourceOffset, header_.resourceCount,
      [&](const format::ResourceEntry& entry) { return keyOf(entry) < wanted; });
  if (index == header_.resourceCount) return nullptr;
  const std::size_t at =
      header_.resourceOffset + std::size_t{index} * sizeof(format::ResourceEntry);
  return keyOf(readAt<format::ResourceEntry>(bytes_, at)) == wanted ? bytes_.data() + at : nullptr;
}

const std::byte* ResourceImage::findResourceAnyLanguage(std::uint32_t type,
                                                        std::uint32_t id) const {
  const auto wanted = std::tuple(type, id, std::uint32_t{0});
  const std::uint32_t index = lowerBound<format::ResourceEntry>(
      bytes_, header_.resourceOffset, header_.resourceCount,
      [&](const format::ResourceEntry& entry) { return keyOf(entry) < wanted; });
  if (index == header_.resourceCount) return nullptr;
  const std::size_t at =
      header_.resourceOffset + std::size_t{index} * sizeof(format::ResourceEntry);
  const auto found = readAt<format::ResourceEntry>(bytes_, at);
  return found.type == type && found.id == id ? bytes_.data() + at : nullptr;
}

std::optional<std::span<const std::byte>> ResourceImage::resourceData(
    const std::byte* entry) const {
  // As numbers: pointers of different objects must not be compared, and the caller may pass any.
  const auto address = reinterpret_cast<std::uintptr_t>(entry);
  const auto table = reinterpret_cast<std::uintptr_t>(bytes_.data()) + header_.resourceOffset;
  const std::uint64_t length = std::uint64_t{header_.resourceCount} * sizeof(format::ResourceEntry);
  if (address < table || address - table >= length) return std::nullopt;
  if ((address - table) % sizeof(format::ResourceEntry) != 0) return std::nullopt;
  const auto found =
      readAt<format::ResourceEntry>(bytes_, header_.resourceOffset + (address - table));
  if (!fits(bytes_, found.offset, found.size)) return std::nullopt;
  return bytes_.subspan(found.offset, found.size);
}

std::optional<std::u16string_view> ResourceImage::findString(std::uint32_t language,
                                                             std::uint32_t id) const {
  const auto wanted = std::tuple(language, id);
  const std::uint32_t index = lowerBound<format::StringEntry>(
      bytes_, header_.stringOffset, header_.stringCount,
      [&](const format::StringEntry& entry) { return keyOf(entry) < wanted; });
  if (index == header_.stringCount) return std::nullopt;
  const auto found = readAt<format::StringEntry>(
      bytes_, header_.stringOffset + std::size_t{index} * sizeof(format::StringEntry));
  if (keyOf(found) != wanted) return std::nullopt;
  return text(found.offset, found.length);
}

std::optional<std::uint32_t> ResourceImage::nextStringLanguage(std::int64_t language) const {
  const std::uint32_t index = lowerBound<format::StringEntry>(
      bytes_, header_.stringOffset, header_.stringCount,
      [&](const format::StringEntry& entry) { return std::int64_t{entry.language} <= language; });
  if (index == header_.stringCount) return std::nullopt;
  const auto found = readAt<format::StringEntry>(
      bytes_, header_.stringOffset + std::size_t{index} * sizeof(format::StringEntry));
  // A damaged table may be out of order; a walk over the languages must still end.
  if (std::int64_t{found.language} <= language) return std::nullopt;
  return found.language;
}

std::optional<ResourceImage::VersionString> ResourceImage::versionString(
    std::uint32_t index) const {
  // The limits bound the work of a caller that copies every string of a damaged image.
  if (index >= header_.versionCount || index >= format::kMostVersionStrings) return std::nullopt;
  const auto entry = readAt<format::VersionEntry>(
      bytes_, header_.versionOffset + std::size_t{index} * sizeof(format::VersionEntry));
  if (entry.keyLength > format::kLongestVersionText) return std::nullopt;
  if (entry.valueLength > format::kLongestVersionText) return std::nullopt;
  const auto key = text(entry.keyOffset, entry.keyLength);
  const auto value = text(entry.valueOffset, entry.valueLength);
  if (!key || !value) return std::nullopt;
  return VersionString{*key, *value};
}

std::optional<std::u16string_view> ResourceImage::text(std::uint32_t offset,
                                                       std::uint32_t length) const {
  if (offset % sizeof(char16_t) != 0) return std::nullopt;
  if (!fits(bytes_, offset, (std::uint64_t{length} + 1) * sizeof(char16_t))) return std::nullopt;
  const auto* units = reinterpret_cast<const char16_t*>(bytes_.data() + offset);
  // Callers pass the text on as a terminated string, so the terminator is required.
  if (units[length] != 0) return std::nullopt;
  return std::u16string_view(units, length);
}

}  // namespace qx
