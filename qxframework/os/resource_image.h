#pragma once

// Reads an image of resources in place (resource_format.h has the layout). An image may come from
// any file, so every offset is checked when it is used; an invalid entry counts as missing.

#include "qxframework/os/resource_format.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace qx {

/// A view of an image's bytes. It owns nothing, copies are cheap, look-ups do not allocate.
class ResourceImage {
 public:
  /// Returns a view of the image in `bytes`, which must outlive it. Returns nothing if the header
  /// or the place of an index table is invalid, or the bytes are not aligned to 8.
  static std::optional<ResourceImage> open(std::span<const std::byte> bytes);

  /// Returns the address of the index entry of exactly this resource, or null. The address is not
  /// aligned and serves as the resource's identity only.
  const std::byte* findResource(std::uint32_t type, std::uint32_t id, std::uint32_t language) const;
  /// Returns the entry of the resource's first language, or null.
  const std::byte* findResourceAnyLanguage(std::uint32_t type, std::uint32_t id) const;
  /// Returns the bytes of the resource whose entry findResource() returned; they may be empty.
  /// Returns nothing if the address is no entry's or the entry points outside the image.
  std::optional<std::span<const std::byte>> resourceData(const std::byte* entry) const;

  /// Returns string `id` of the table of `language`, which ends with a zero unit. Returns nothing
  /// if it is missing or damaged.
  std::optional<std::u16string_view> findString(std::uint32_t language, std::uint32_t id) const;
  /// Returns the first language id above `language` that has a string table, or nothing.
  std::optional<std::uint32_t> nextStringLanguage(std::int64_t language) const;

  /// Returns the image's header. Its size and tables lie within the image.
  const resource_format::Header& header() const { return header_; }
  /// One entry of the version block; both texts point into the image.
  struct VersionString {
    std::u16string_view key;
    std::u16string_view value;
  };
  /// Returns version string `index`, or nothing if it is missing or damaged.
  std::optional<VersionString> versionString(std::uint32_t index) const;

 private:
  explicit ResourceImage(std::span<const std::byte> bytes, const resource_format::Header& header)
      : bytes_(bytes), header_(header) {}

  std::optional<std::u16string_view> text(std::uint32_t offset, std::uint32_t length) const;

  std::span<const std::byte> bytes_;
  resource_format::Header header_;
};

}  // namespace qx
