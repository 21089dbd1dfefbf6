#pragma once

// Reads an image of resources in place (the layout is in resource_format.h). Images come from
// files of any origin, so nothing in them is believed: every offset is checked when it is used,
// and what does not fit is answered with "no such resource".

#include "qxframework/os/resource_format.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace qx {

/// A view: it owns nothing, copies are cheap, look-ups do not allocate.
class ResourceImage {
 public:
  /// The image in `bytes`, which must outlive the view. Empty when the header, the index tables or
  /// the alignment (8) are not as they should be.
  static std::optional<ResourceImage> open(std::span<const std::byte> bytes);

  /// The address of the index entry of exactly this resource, null when there is none. It is not
  /// aligned and serves as the resource's identity only.
  const std::byte* findResource(std::uint32_t type, std::uint32_t id, std::uint32_t language) const;
  /// The entry of the resource's first language, null when there is no such resource.
  const std::byte* findResourceAnyLanguage(std::uint32_t type, std::uint32_t id) const;
  /// The bytes behind an address that findResource() gave; they may be empty. Nothing for an
  /// address that is not an entry's or for an entry that points outside the image.
  std::optional<std::span<const std::byte>> resourceData(const std::byte* entry) const;

  std::optional<std::u16string_view> findString(std::uint32_t language, std::uint32_t id) const;
  /// The first language id above `language` that has a string table.
  std::optional<std::uint32_t> nextStringLanguage(std::int64_t language) const;

  /// The image as a whole; its header has been checked.
  const resource_format::Header& header() const { return header_; }
  struct VersionString {
    std::u16string_view key;
    std::u16string_view value;
  };
  /// Version string `index`; nothing when there is none or its entry is damaged.
  std::optional<VersionString> versionString(std::uint32_t index) const;

 private:
  explicit ResourceImage(std::span<const std::byte> bytes, const resource_format::Header& header)
      : bytes_(bytes), header_(header) {}

  std::optional<std::u16string_view> text(std::uint32_t offset, std::uint32_t length) const;

  std::span<const std::byte> bytes_;
  resource_format::Header header_;
};

}  // namespace qx
