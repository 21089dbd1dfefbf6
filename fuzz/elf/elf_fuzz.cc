// Arbitrary bytes, read as a module file and as a resource image.

#include "qxframework/os/elf_resources.h"
#include "qxframework/os/resource_image.h"
#include "qxframework/os/version_info.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <span>
#include <vector>

namespace {

// Aborts, which the fuzzer reports, if a range outside the input is read.
class MemorySource : public qx::ByteSource {
 public:
  explicit MemorySource(std::span<const std::byte> bytes) : bytes_(bytes) {}
  std::uint64_t size() const override { return bytes_.size(); }
  bool read(std::uint64_t offset, std::span<std::byte> out) const override {
    if (offset > bytes_.size() || out.size() > bytes_.size() - offset) std::abort();
    std::ranges::copy(bytes_.subspan(offset, out.size()), out.begin());
    return true;
  }

 private:
  std::span<const std::byte> bytes_;
};

// Reads every byte that a look-up returns, so that the sanitizer reports a byte outside the image.
std::size_t sum(std::span<const std::byte> bytes) {
  std::size_t total = 0;
  for (const std::byte byte : bytes) total += std::to_integer<std::size_t>(byte);
  return total;
}

void lookUpEverything(const qx::ResourceImage& image) {
  volatile std::size_t total = 0;
  for (const std::uint32_t id : {0U, 5U, 200U, 201U, 0xFFFFFFFFU}) {
    for (const std::uint32_t type : {0U, 10U, 23U}) {
      if (const auto data = image.resourceData(image.findResourceAnyLanguage(type, id))) {
        total = total + sum(*data);
      }
      if (const auto data = image.resourceData(image.findResource(type, id, 1031))) {
        total = total + sum(*data);
      }
    }
  }
  std::int64_t last = -1;
  for (auto language = image.nextStringLanguage(last); language;
       language = image.nextStringLanguage(last)) {
    // Languages must ascend even in a damaged table, or a walk over them would not end.
    if (*language <= last) std::abort();
    last = *language;
    for (const std::uint32_t id : {0U, 1U, 202U}) {
      if (const auto text = image.findString(*language, id)) {
        total = total + sum(std::as_bytes(std::span(*text)));
      }
    }
  }
  if (const auto block = qx::VersionBlock::ofImage(image)) {
    if (const auto value = block->query(u"FileVersion")) total = total + value->length;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto bytes = std::as_bytes(std::span(data, size));
  if (const auto section = qx::readResourceSection(MemorySource(bytes))) {
    if (const auto image = qx::ResourceImage::open(*section)) lookUpEverything(*image);
  }
  // A copy is aligned, and the sanitizer detects reads beyond its end.
  const std::vector<std::byte> copy(bytes.begin(), bytes.end());
  if (const auto image = qx::ResourceImage::open(copy)) lookUpEverything(*image);
  return 0;
}
