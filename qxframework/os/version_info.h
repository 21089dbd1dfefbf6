#pragma once

// The version block of a module: named texts such as FileVersion or InternalName, and the language
// and code page that they are in. It is read from a loaded module or from a file, which is not
// loaded.

#include "qxframework/automation/export.h"
#include "qxframework/automation/types.h"
#include "qxframework/os/module.h"
#include "qxframework/os/resource_image.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qx {

class QX_API VersionBlock {
 public:
  struct Translation {
    WORD language;
    WORD codePage;
    friend bool operator==(const Translation&, const Translation&) = default;
  };

  /// One queried text.
  struct Value {
    std::u16string text;
    /// Length in units with the terminator, as callers who check lengths expect it: an empty text
    /// has length 1.
    UINT length;
    friend bool operator==(const Value&, const Value&) = default;
  };

  /// Nothing when the file cannot be read, is damaged or has no version block.
  static std::optional<VersionBlock> ofFile(const std::filesystem::path& file);
  /// Nothing when the module (null: the executable) is not loaded or has no version block.
  static std::optional<VersionBlock> ofModule(HINSTANCE module);
  /// Nothing when the image has no version block. Damaged entries are left out.
  static std::optional<VersionBlock> ofImage(const ResourceImage& image);

  Translation translation() const { return translation_; }
  /// The text of `key`, compared without case; nothing when the block does not have it.
  std::optional<Value> query(std::u16string_view key) const;

 private:
  Translation translation_{};
  std::vector<std::pair<std::u16string, std::u16string>> strings_;
};

}  // namespace qx
