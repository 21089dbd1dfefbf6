#include "tools/formcheck/texts.h"

#include "qxframework/os/elf_resources.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace qx::formcheck {

ModuleTexts::ModuleTexts(const std::string& file) {
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(file, ignored) || !std::ifstream(file).is_open())
    throw std::runtime_error(file +
                             ": error: the file cannot be read; check the path and its rights");
  if (auto bytes = readResourceSection(std::filesystem::path(file))) {
    bytes_ = std::move(*bytes);
    image_ = ResourceImage::open(bytes_);
  }
  if (!image_)
    throw std::runtime_error(file +
                             ": error: the file holds no resources; give the add-on's executable "
                             "or shared object, built with qx_embed_resources()");
}

std::optional<FoundText> ModuleTexts::find(std::uint32_t id, std::uint32_t language) const {
  for (const std::uint32_t each : {language, kEnglish})
    if (const auto text = image_->findString(each, id))
      return FoundText{std::u16string(*text), each};
  for (auto next = image_->nextStringLanguage(-1); next; next = image_->nextStringLanguage(*next))
    if (const auto text = image_->findString(*next, id))
      return FoundText{std::u16string(*text), *next};
  return std::nullopt;
}

}  // namespace qx::formcheck
