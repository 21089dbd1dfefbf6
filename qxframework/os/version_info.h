#pragma once

// The version block of a module: named texts such as FileVersion or InternalName, with their
// language and code page. It is read from a loaded module, or from a file without loading it.

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

/// A copy of a module's version block.
class QX_API VersionBlock {
 public:
  /// The language id and the code page of all texts of the block.
  struct Translation {
    WORD language;
    WORD codePage;
    friend bool operator==(const Translation&, const Translation&) = default;
  };

  /// A text that query() returns.
  struct Value {
    std::u16string text;
    /// Length in units with the terminator: 1 for an empty text. Callers that check lengths rely on
    /// this.
    UINT length;
    friend bool operator==(const Value&, const Value&) = default;
  };

  /// Returns nothing if the file cannot be read, is damaged or has no version block.
  static std::optional<VersionBlock> ofFile(const std::filesystem::path& file);
  /// Returns nothing if the module (null: the executable) is not loaded or has no version block.
  static std::optional<VersionBlock> ofModule(HINSTANCE module);
  /// Returns nothing if the image has no version block. Damaged entries are left out.
  static std::optional<VersionBlock> ofImage(const ResourceImage& image);

  Translation translation() const { return translation_; }
  /// Returns the text of `key`, which is compared without case, or nothing if it is missing.
  std::optional<Value> query(std::u16string_view key) const;

 private:
  Translation translation_{};
  std::vector<std::pair<std::u16string, std::u16string>> strings_;
};

}  // namespace qx
