#include "qxframework/os/version_info.h"

#include "qxframework/automation/text.h"
#include "qxframework/os/elf_resources.h"

namespace qx {

std::optional<VersionBlock> VersionBlock::ofFile(const std::filesystem::path& file) {
  const auto section = readResourceSection(file);
  if (!section) return std::nullopt;
  const std::optional<ResourceImage> image = ResourceImage::open(*section);
  if (!image) return std::nullopt;
  return ofImage(*image);
}

std::optional<VersionBlock> VersionBlock::ofModule(HINSTANCE module) {
  const std::optional<ResourceImage> image = moduleResources(module);
  if (!image) return std::nullopt;
  return ofImage(*image);
}

std::optional<VersionBlock> VersionBlock::ofImage(const ResourceImage& image) {
  const resource_format::Header& header = image.header();
  if (header.versionCount == 0) return std::nullopt;
  // The texts are copied, because a file's image lives only until ofFile() returns.
  VersionBlock block;
  block.translation_ = {header.language, header.codePage};
  for (std::uint32_t index = 0; index < header.versionCount; ++index) {
    if (const auto entry = image.versionString(index)) {
      block.strings_.emplace_back(entry->key, entry->value);
    }
  }
  return block;
}

std::optional<VersionBlock::Value> VersionBlock::query(std::u16string_view key) const {
  for (const auto& [name, text] : strings_) {
    if (equalsIgnoreCase(name, key)) return Value{text, static_cast<UINT>(text.size() + 1)};
  }
  return std::nullopt;
}

}  // namespace qx
