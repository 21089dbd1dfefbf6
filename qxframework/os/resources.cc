#include "qxframework/os/resources.h"

#include "qxframework/automation/user_locale.h"

#include <unicode/uloc.h>

#include <cstdlib>
#include <string>

namespace {

// The bits of a language id that name the language without the country.
constexpr std::uint32_t kPrimaryLanguage = 0x3FF;

const std::byte* entryOf(HRSRC resource) { return reinterpret_cast<const std::byte*>(resource); }

std::optional<std::span<const std::byte>> dataOf(HINSTANCE module, HRSRC resource) {
  const std::optional<qx::ResourceImage> image = qx::moduleResources(module);
  if (!image) return std::nullopt;
  return image->resourceData(entryOf(resource));
}

const std::byte* findNeutral(const qx::ResourceImage& image, unsigned type, unsigned id) {
  if (const std::byte* entry = image.findResource(type, id, 0)) return entry;
  if (const unsigned short language = qx::userLanguage()) {
    if (const std::byte* entry = image.findResource(type, id, language)) return entry;
  }
  return image.findResourceAnyLanguage(type, id);
}

// Returns string `id` from the first table whose language `accepts` admits.
template <typename Accepts>
std::optional<std::u16string_view> findInTables(const qx::ResourceImage& image, unsigned id,
                                                Accepts accepts) {
  for (std::int64_t last = -1;;) {
    const std::optional<std::uint32_t> language = image.nextStringLanguage(last);
    if (!language) return std::nullopt;
    last = *language;
    if (!accepts(*language)) continue;
    if (const auto text = image.findString(*language, id)) return text;
  }
}

}  // namespace

HRSRC FindResourceExW(HINSTANCE module, unsigned type, unsigned id, unsigned short langId) {
  const std::optional<qx::ResourceImage> image = qx::moduleResources(module);
  if (!image) return nullptr;
  const std::byte* entry = nullptr;
  if (langId == 0) {
    entry = findNeutral(*image, type, id);
  } else {
    entry = image->findResource(type, id, langId);
    if (entry == nullptr) entry = image->findResource(type, id, 0);
  }
  return reinterpret_cast<HRSRC>(entry);
}

// The resource is looked up again, so that a handle of another module, or of one that has been
// unloaded since, returns null instead of an address that is no longer mapped.
HGLOBAL LoadResource(HINSTANCE module, HRSRC resource) {
  const auto data = dataOf(module, resource);
  return data ? data->data() : nullptr;
}

const void* LockResource(HGLOBAL resource) { return resource; }

DWORD SizeofResource(HINSTANCE module, HRSRC resource) {
  const auto data = dataOf(module, resource);
  return data ? static_cast<DWORD>(data->size()) : 0;
}

namespace qx {

std::optional<std::u16string_view> findString(HINSTANCE module, unsigned id,
                                              unsigned short langId) {
  const std::optional<ResourceImage> image = moduleResources(module);
  if (!image) return std::nullopt;
  return image->findString(langId, id);
}

std::optional<std::u16string_view> findStringAnyLanguage(HINSTANCE module, unsigned id) {
  const std::optional<ResourceImage> image = moduleResources(module);
  if (!image) return std::nullopt;
  if (const std::uint32_t user = userLanguage()) {
    if (const auto text = image->findString(user, id)) return text;
    const std::uint32_t primary = user & kPrimaryLanguage;
    const auto sameLanguage = [primary](std::uint32_t language) {
      return (language & kPrimaryLanguage) == primary;
    };
    if (const auto text = findInTables(*image, id, sameLanguage)) return text;
  }
  return findInTables(*image, id, [](std::uint32_t) { return true; });
}

unsigned short userLanguage() {
  const std::string name = localeNameFrom(std::getenv("LC_ALL"), nullptr, std::getenv("LANG"));
  // ICU's buffers for a name have this size; a longer one is no locale's.
  if (name.empty() || name.size() >= ULOC_FULLNAME_CAPACITY) return 0;
  return static_cast<unsigned short>(uloc_getLCID(name.c_str()));
}

}  // namespace qx
