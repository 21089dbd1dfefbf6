#include "tools/qxrc/image_writer.h"

#include "qxframework/os/resource_format.h"

#include <cstring>
#include <stdexcept>
#include <string_view>

namespace qx::qxrc {
namespace {

namespace format = resource_format;

// All sizes, counts and offsets in the image have 32 bits and the same limit.
std::uint32_t checked(std::size_t value) {
  if (value > format::kLargestImage) {
    throw std::length_error("error: the resources are larger than 256 MiB; embed less");
  }
  return static_cast<std::uint32_t>(value);
}

// Builds an image: the header and the index tables get their final size first, then the data is
// appended after them and the entries are filled in.
class ImageBuilder {
 public:
  explicit ImageBuilder(const ResourceSet& set) : set_(set) {
    header_.magic = format::kMagic;
    header_.version = format::kVersion;
    header_.language = set.versionLanguage;
    header_.codePage = set.versionCodePage;
    std::size_t strings = 0;
    for (const auto& [language, table] : set.strings) strings += table.size();
    std::size_t end = sizeof(format::Header);
    end = reserve(end, set.resources.size(), sizeof(format::ResourceEntry), header_.resourceCount,
                  header_.resourceOffset);
    end = reserve(end, strings, sizeof(format::StringEntry), header_.stringCount,
                  header_.stringOffset);
    end = reserve(end, set.versionStrings.size(), sizeof(format::VersionEntry),
                  header_.versionCount, header_.versionOffset);
    image_.resize(end);
  }

  std::string build() {
    writeResources();
    writeStrings();
    writeVersionStrings();
    align(8);
    header_.size = checked(image_.size());
    put(0, header_);
    return std::move(image_);
  }

 private:
  // Places a table at `start` and returns its end.
  static std::size_t reserve(std::size_t start, std::size_t count, std::size_t entrySize,
                             std::uint32_t& countField, std::uint32_t& offsetField) {
    countField = checked(count);
    offsetField = checked(start);
    return start + count * entrySize;
  }

  // The maps are sorted by their keys, which is the order that the readers search by.
  void writeResources() {
    std::size_t at = header_.resourceOffset;
    for (const auto& [key, data] : set_.resources) {
      const auto& [type, id, language] = key;
      // Callers may read a resource as structures or UTF-16 text, so each one begins aligned.
      align(8);
      put(at,
          format::ResourceEntry{type, id, language, checked(image_.size()), checked(data.size())});
      image_.append(data);
      at += sizeof(format::ResourceEntry);
    }
  }

  void writeStrings() {
    std::size_t at = header_.stringOffset;
    for (const auto& [language, table] : set_.strings) {
      for (const auto& [id, text] : table) {
        put(at, format::StringEntry{language, id, append(text), checked(text.size())});
        at += sizeof(format::StringEntry);
      }
    }
  }

  void writeVersionStrings() {
    std::size_t at = header_.versionOffset;
    for (const auto& [key, value] : set_.versionStrings) {
      const std::uint32_t keyOffset = append(key);
      put(at, format::VersionEntry{keyOffset, checked(key.size()), append(value),
                                   checked(value.size())});
      at += sizeof(format::VersionEntry);
    }
  }

  std::uint32_t append(const std::u16string& text) {
    align(2);
    const std::uint32_t offset = checked(image_.size());
    // c_str() includes the terminating zero unit.
    image_.append(reinterpret_cast<const char*>(text.c_str()),
                  (text.size() + 1) * sizeof(char16_t));
    return offset;
  }

  void align(std::size_t step) { image_.resize((image_.size() + step - 1) / step * step); }

  // Copies the bytes: storing through a pointer to T would be undefined in an array of char.
  template <typename T>
  void put(std::size_t offset, const T& value) {
    std::memcpy(image_.data() + offset, &value, sizeof value);
  }

  const ResourceSet& set_;
  format::Header header_{};
  std::string image_;
};

// Returns `path` between double quotes, for the assembler.
std::string quoted(const std::filesystem::path& path) {
  std::string out(1, '"');
  for (const char letter : path.string()) {
    if (letter == '"' || letter == '\\') out.push_back('\\');
    out.push_back(letter);
  }
  out.push_back('"');
  return out;
}

// Returns `path` as a word of a dependency file, in the syntax of make.
std::string escaped(const std::filesystem::path& path) {
  std::string out;
  for (const char letter : path.string()) {
    if (letter == ' ' || letter == '#') out.push_back('\\');
    if (letter == '$') out.push_back('$');
    out.push_back(letter);
  }
  return out;
}

// The source before and after the image's path. It is assembler text, because .incbin is quick for
// a large image, unlike an array of numbers for the compiler. The note refers to the image, so the
// linker keeps both. The assertion below checks the numbers in the note.
constexpr std::string_view kSourceHead = R"==(// Written by qxrc: the resources of this module.
asm(R"=(
  .pushsection .qxres,"a",%progbits
  .balign 16
.Lqx_resources_begin:
  .incbin )==";
constexpr std::string_view kSourceTail = R"==(
.Lqx_resources_end:
  .popsection
  .pushsection .note.qxres,"a",%note
  .balign 4
  .long 6
  .long 16
  .long 1
  .asciz "QXRES"
  .balign 4
.Lqx_resources_note:
  .quad .Lqx_resources_begin - .Lqx_resources_note
  .quad .Lqx_resources_end - .Lqx_resources_begin
  .popsection
)=");
)==";
static_assert(sizeof format::kNoteOwner == 6 && sizeof(format::NoteBody) == 16 &&
              format::kNoteType == 1);

}  // namespace

std::string buildImage(const ResourceSet& set) { return ImageBuilder(set).build(); }

std::string embeddingSource(const std::filesystem::path& imageFile) {
  std::string source(kSourceHead);
  // Absolute, because the compiler may run in another folder.
  source.append(quoted(std::filesystem::absolute(imageFile))).append(kSourceTail);
  return source;
}

std::string dependencyFile(const std::filesystem::path& target,
                           const std::vector<std::filesystem::path>& inputs) {
  std::string out = escaped(target) + ":";
  for (const std::filesystem::path& input : inputs) {
    out += " \\\n  " + escaped(std::filesystem::absolute(input).lexically_normal());
  }
  return out + "\n";
}

}  // namespace qx::qxrc
