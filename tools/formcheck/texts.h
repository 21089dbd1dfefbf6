#pragma once

// The localised strings from which the texts of a form are taken.

#include "qxframework/os/resource_image.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qx::formcheck {

/// The language that every other one falls back to.
inline constexpr std::uint32_t kEnglish = 1033;

struct FoundText {
  std::u16string text;
  std::uint32_t language;  ///< of the string table that has it
};

/// String tables by Windows language id.
class Texts {
 public:
  virtual ~Texts() = default;
  /// Returns string `id` of `language`, else of English, else of the first other table that has it;
  /// nothing if no table has it. At run time the user's own language precedes the others in the
  /// last step.
  virtual std::optional<FoundText> find(std::uint32_t id, std::uint32_t language) const = 0;
};

/// The string tables in a file with an executable or a shared object, which is not loaded.
class ModuleTexts : public Texts {
 public:
  /// Reads the file. Throws std::runtime_error with the problem and the remedy if it cannot be read
  /// or has no resources.
  explicit ModuleTexts(const std::string& file);
  std::optional<FoundText> find(std::uint32_t id, std::uint32_t language) const override;

 private:
  std::vector<std::byte> bytes_;
  std::optional<ResourceImage> image_;
};

}  // namespace qx::formcheck
