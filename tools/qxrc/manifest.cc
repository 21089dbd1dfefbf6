#include "tools/qxrc/manifest.h"

#include "qxframework/os/resource_format.h"
#include "tools/input/diagnostic.h"
#include "tools/input/utf8.h"

#include <toml++/toml.h>

#include <charconv>
#include <fstream>
#include <iterator>
#include <limits>
#include <optional>
#include <string_view>
#include <system_error>

namespace qx::qxrc {
namespace {

using input::convertUtf8;
using input::Diagnostic;
using input::Location;

constexpr std::uint32_t kLargest = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint32_t kLargestLanguage = 0xFFFF;

// A folder opens like a file and only fails when it is read, so it is excluded first.
std::optional<std::string> readFile(const std::filesystem::path& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return std::nullopt;
  std::ifstream stream(path, std::ios::binary);
  if (!stream) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(stream), {});
}

// Reads one manifest. It stops at the first error, which it throws with its place.
class ManifestReader {
 public:
  explicit ManifestReader(const std::filesystem::path& manifest)
      : file_(manifest.string()), folder_(manifest.parent_path()) {}

  ResourceSet read() {
    const std::optional<std::string> content = readFile(file_);
    if (!content) {
      throw Diagnostic({file_}, "the manifest cannot be read", "check the path and its rights");
    }
    set_.inputs.emplace_back(file_);
    const toml::table root = parse(*content);
    for (const auto& [key, node] : root) readSection(key, node);
    return std::move(set_);
  }

 private:
  toml::table parse(const std::string& content) const {
    try {
      return toml::parse(content, file_);
    } catch (const toml::parse_error& error) {
      throw Diagnostic(at(error.source()), std::string(error.description()),
                       "correct the manifest's TOML");
    }
  }

  // Unknown names are refused everywhere: they are misspelt ones, which would otherwise be ignored.
  void readSection(const toml::key& key, const toml::node& node) {
    if (key == "version") return readVersion(table(node, "version"));
    if (key == "xml") return readXml(table(node, "xml"));
    if (key == "strings") return readStrings(table(node, "strings"));
    if (key == "resource") return readResources(node);
    throw Diagnostic(at(key.source()), "unknown section '" + std::string(key.str()) + "'",
                     "use version, xml, resource or strings");
  }

  void readVersion(const toml::table& section) {
    for (const auto& [key, node] : section) {
      if (key == "language") {
        set_.versionLanguage = static_cast<std::uint16_t>(number(node, kLargestLanguage));
      } else if (key == "code_page") {
        set_.versionCodePage = static_cast<std::uint16_t>(number(node, kLargestLanguage));
      } else if (key == "strings") {
        readVersionStrings(table(node, "version.strings"));
      } else {
        throw Diagnostic(at(key.source()), "unknown entry '" + std::string(key.str()) + "'",
                         "use language, code_page or the table version.strings");
      }
    }
    // Zero strings mean in the image that there is no version block at all.
    if (set_.versionStrings.empty()) {
      throw Diagnostic(at(section.source()), "the version block has no strings",
                       "add a table [version.strings] or remove [version]");
    }
  }

  void readVersionStrings(const toml::table& section) {
    for (const auto& [key, node] : section) {
      set_.versionStrings.emplace_back(versionText(key.str(), key.source()),
                                       versionText(text(node), node.source()));
    }
    if (section.size() > resource_format::kMostVersionStrings) {
      throw Diagnostic(at(section.source()), "the version block has too many strings",
                       "keep at most " + std::to_string(resource_format::kMostVersionStrings));
    }
  }

  // The readers refuse longer texts as damage.
  std::u16string versionText(std::string_view value, const toml::source_region& source) const {
    std::u16string converted = convertUtf8(value, at(source));
    if (converted.size() <= resource_format::kLongestVersionText) return converted;
    throw Diagnostic(
        at(source), "the text is too long for a version block",
        "shorten it to at most " + std::to_string(resource_format::kLongestVersionText) + " units");
  }

  void readXml(const toml::table& section) {
    for (const auto& [key, node] : section) {
      const std::uint32_t id = keyNumber(key, kLargest, "a resource number");
      addResource({resource_format::kTypeXml, id, 0}, key.source(), load(node));
    }
  }

  void readResources(const toml::node& node) {
    const toml::array* entries = node.as_array();
    if (entries == nullptr) {
      throw Diagnostic(at(node.source()), "'resource' is not a list of tables",
                       "write [[resource]] with two brackets");
    }
    for (const toml::node& entry : *entries) readResource(table(entry, "resource"));
  }

  void readResource(const toml::table& entry) {
    for (const auto& [key, node] : entry) {
      if (key != "type" && key != "id" && key != "language" && key != "file") {
        throw Diagnostic(at(key.source()), "unknown entry '" + std::string(key.str()) + "'",
                         "use type, id, language and file");
      }
    }
    const std::uint32_t type = number(member(entry, "type"), kLargest);
    const std::uint32_t id = number(member(entry, "id"), kLargest);
    const toml::node* language = entry.get("language");
    const std::uint32_t languageId = language ? number(*language, kLargestLanguage) : 0;
    addResource({type, id, languageId}, entry.source(), load(member(entry, "file")));
  }

  // The key is the identity of a resource: readers find only one resource per key.
  void addResource(const ResourceKey& key, const toml::source_region& source, std::string data) {
    if (set_.resources.emplace(key, std::move(data)).second) return;
    const auto& [type, id, language] = key;
    throw Diagnostic(at(source),
                     "resource type " + std::to_string(type) + " id " + std::to_string(id) +
                         " language " + std::to_string(language) + " is defined a second time here",
                     "remove one of the two or give it another id");
  }

  void readStrings(const toml::table& section) {
    for (const auto& [key, node] : section) {
      const std::uint32_t language = keyNumber(key, kLargestLanguage, "a language id");
      const std::string content = load(node);
      // load() has just appended the table's path, which the table's own diagnostics name.
      StringTable parsed = parseStringTable(set_.inputs.back().string(), content);
      // TOML itself refuses equal keys only: 1033 and 01033 are different keys of one language.
      if (!set_.strings.emplace(language, std::move(parsed)).second) {
        throw Diagnostic(at(key.source()),
                         "language " + std::to_string(language) + " is defined a second time here",
                         "remove one of the two tables");
      }
    }
  }

  // Returns the content of the file that `node` names and records its path.
  std::string load(const toml::node& node) {
    const std::filesystem::path path = folder_ / text(node);
    std::optional<std::string> content = readFile(path);
    if (!content) {
      throw Diagnostic(at(node.source()), "the file '" + path.string() + "' cannot be read",
                       "create it or correct the path, which is relative to the manifest");
    }
    set_.inputs.push_back(path);
    return *std::move(content);
  }

  const toml::table& table(const toml::node& node, const char* name) const {
    if (const toml::table* found = node.as_table()) return *found;
    throw Diagnostic(at(node.source()), std::string("'") + name + "' is not a table",
                     std::string("write [") + name + "]");
  }

  const toml::node& member(const toml::table& entry, std::string_view name) const {
    if (const toml::node* found = entry.get(name)) return *found;
    throw Diagnostic(at(entry.source()), "the resource has no '" + std::string(name) + "'",
                     "add the line '" + std::string(name) + " = …'");
  }

  // value_exact() converts nothing: a number is no text, and 1.0 is no integer.
  std::string text(const toml::node& node) const {
    if (const auto value = node.value_exact<std::string>()) return *value;
    throw Diagnostic(at(node.source()), "the value is not a text", "write it in double quotes");
  }

  std::uint32_t number(const toml::node& node, std::uint32_t largest) const {
    const auto value = node.value_exact<std::int64_t>();
    if (value && *value >= 0 && *value <= std::int64_t{largest}) {
      return static_cast<std::uint32_t>(*value);
    }
    throw Diagnostic(at(node.source()), "the value is not a number in range",
                     "write an integer from 0 to " + std::to_string(largest));
  }

  // TOML keys are texts, even if they look like numbers. from_chars() accepts no sign.
  std::uint32_t keyNumber(const toml::key& key, std::uint32_t largest, const char* kind) const {
    const std::string_view digits = key.str();
    std::uint32_t value = 0;
    const char* last = digits.data() + digits.size();
    const auto [end, error] = std::from_chars(digits.data(), last, value);
    if (!digits.empty() && error == std::errc() && end == last && value <= largest) return value;
    throw Diagnostic(at(key.source()), "'" + std::string(digits) + "' is not " + kind,
                     "write a decimal number from 0 to " + std::to_string(largest));
  }

  Location at(const toml::source_region& source) const {
    return {file_, source.begin.line, source.begin.column};
  }

  std::string file_;
  std::filesystem::path folder_;
  ResourceSet set_;
};

}  // namespace

ResourceSet readManifest(const std::filesystem::path& manifest) {
  return ManifestReader(manifest).read();
}

}  // namespace qx::qxrc
