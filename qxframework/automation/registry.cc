#include "qxframework/automation/registry.h"

#include "qxframework/automation/ascii.h"
#include "qxframework/automation/developer_trace.h"
#include "qxframework/automation/text.h"
#include "qxframework/automation/toml_depth.h"
#include "qxframework/automation/trusted_file.h"

#include <dlfcn.h>
#include <toml++/toml.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <mutex>
#include <system_error>
#include <utility>

namespace qx {
namespace {

constexpr std::array<std::u16string_view, 3> kRoots{u"HKEY_CLASSES_ROOT", u"HKEY_CURRENT_USER",
                                                    u"HKEY_LOCAL_MACHINE"};
constexpr std::u16string_view kServerKey = u"\\inprocserver32";

// The path of the installed registry, if the build names one, absolute and relative to the library.
#ifdef QX_DEFAULT_REGISTRY
constexpr const char* kInstalled = QX_DEFAULT_REGISTRY;
constexpr const char* kFromLibrary = QX_REGISTRY_FROM_LIBRARY;
#else
constexpr const char* kInstalled = "";
constexpr const char* kFromLibrary = "";
#endif
constexpr std::string_view kLibraryName = "libQXFramework.so";

std::u16string_view withoutEndingBackslashes(std::u16string_view key) {
  while (key.ends_with(u'\\')) key.remove_suffix(1);
  return key;
}

// Returns the index of a value. Upper case and then lower case equates the texts that a comparison
// without case equates; lower case alone would keep the two small sigmas apart.
std::u16string indexOf(std::u16string_view path, std::u16string_view valueName) {
  // A line feed separates path and name, because a backslash would confuse a name with a sub-key.
  std::u16string text(withoutEndingBackslashes(path));
  text.append(1, u'\n').append(valueName);
  // Most keys are ASCII, whose letters need no table.
  if (std::ranges::any_of(text, [](char16_t unit) { return unit >= 0x80; })) {
    return toLower(toUpper(text));
  }
  std::ranges::transform(text, text.begin(), toLowerAscii<char16_t>);
  return text;
}

// A registry has some thousand bytes.
constexpr std::size_t kLongestFile = 1 << 20;

// Returns the path of the user's registry; empty if the environment names no folder for it. A
// relative path in these variables is invalid and ignored.
std::filesystem::path userFile() {
  std::filesystem::path folder = trustedVariable("XDG_CONFIG_HOME");
  if (!folder.is_absolute()) {
    const std::filesystem::path home = trustedVariable("HOME");
    if (!home.is_absolute()) return {};
    folder = home / ".config";
  }
  return folder / "qxframework" / "registry.toml";
}

// Returns the registry that was installed with this library, also if both were moved together.
// Returns an empty path if this code is linked into another program or there is no such file.
std::filesystem::path besideLibrary() {
  // Any address of this library will do; the loader knows the file that it belongs to.
  Dl_info info{};
  if (dladdr(&kLibraryName, &info) == 0 || info.dli_fname == nullptr) return {};
  const std::filesystem::path library = info.dli_fname;
  if (!library.filename().string().starts_with(kLibraryName)) return {};
  const std::filesystem::path file = (library.parent_path() / kFromLibrary).lexically_normal();
  std::error_code error;
  return std::filesystem::is_regular_file(file, error) ? file : std::filesystem::path();
}

std::filesystem::path registryFile() {
  if (std::filesystem::path wanted = trustedVariable("QX_REGISTRY"); !wanted.empty()) return wanted;
  std::error_code error;
  std::filesystem::path users = userFile();
  if (!users.empty() && std::filesystem::exists(users, error)) return users;
  std::filesystem::path moved = besideLibrary();
  return moved.empty() ? kInstalled : moved;
}

struct Holder {
  std::mutex mutex;
  std::unique_ptr<const Registry> registry;
};

Holder& holder() {
  // Never destroyed: static objects still use the registry when the process ends.
  static auto* instance = new Holder;
  return *instance;
}

}  // namespace

// Fills a registry from its file. It keeps the first fault and reads on, so that one bad entry does
// not disable the other classes.
class Registry::Reader {
 public:
  explicit Reader(Registry& registry) : registry_(registry) {}

  void read() {
    if (registry_.file_.empty()) {
      registry_.problem_ = "there is no registry file; set QX_REGISTRY to one";
      return;
    }
    std::error_code error;
    if (!std::filesystem::is_regular_file(registry_.file_, error)) {
      registry_.problem_ =
          registry_.file_.string() + ": there is no such file; create it or set QX_REGISTRY";
      return;
    }
    // The folder of a relative path is another one for each process.
    if (!registry_.file_.is_absolute()) {
      registry_.problem_ = registry_.file_.string() + ": the path is relative; give the full path";
      return;
    }
    const TrustedText content = readTrusted(registry_.file_, kLongestFile);
    if (!content.problem.empty()) {
      registry_.problem_ = registry_.file_.string() + ": " + content.problem;
      return;
    }
    parse(content.text);
  }

 private:
  void parse(const std::string& text) {
    if (const auto deep = findDeepKey(text)) {
      return reportAt(deep->line, deep->column,
                      "the key has more than " + std::to_string(kDeepestTomlKey) + " levels",
                      "use fewer dots");
    }
    try {
      const toml::table root = toml::parse(text, registry_.file_.string());
      for (const auto& [key, node] : root) readRoot(key, node);
    } catch (const toml::parse_error& error) {
      report(error.source(), std::string(error.description()), "correct the TOML");
    }
  }

  void readRoot(const toml::key& key, const toml::node& node) {
    const toml::table* table = node.as_table();
    if (table == nullptr) {
      return report(key.source(), "the value is outside of any key",
                    "put it below a key such as [\"HKEY_CLASSES_ROOT\\\\CLSID\"]");
    }
    const std::u16string path = toUtf16(key.str());
    const std::u16string root = path.substr(0, path.find(u'\\'));
    for (const std::u16string_view known : kRoots) {
      if (equalsIgnoreCase(root, known)) return readTable(path, *table);
    }
    report(key.source(), std::string("'").append(toUtf8(root)).append("' is not a root key"),
           "begin with HKEY_CLASSES_ROOT, HKEY_CURRENT_USER or HKEY_LOCAL_MACHINE");
  }

  // Nested tables extend the path, so both ways to write a key have the same index.
  void readTable(const std::u16string& path, const toml::table& table) {
    for (const auto& [key, node] : table) {
      const std::u16string name = toUtf16(key.str());
      if (const toml::table* nested = node.as_table()) {
        readTable(path + u"\\" + name, *nested);
      } else if (const auto value = readValue(path, name, node)) {
        add(key, indexOf(path, name), *value);
      }
    }
  }

  std::optional<Value> readValue(const std::u16string& path, const std::u16string& name,
                                 const toml::node& node) {
    // value_exact, since value would also convert between kinds.
    if (const auto text = node.value_exact<std::string>()) {
      const bool isServer = name.empty() && toLower(path).ends_with(kServerKey);
      return isServer ? toUtf16(resolved(*text)) : toUtf16(*text);
    }
    const auto number = node.value_exact<std::int64_t>();
    if (number && *number >= 0 && *number <= std::numeric_limits<DWORD>::max()) {
      return static_cast<DWORD>(*number);
    }
    report(node.source(), "the value is neither a text nor a double word",
           "write a text in quotes or an integer from 0 to 4294967295");
    return std::nullopt;
  }

  std::string resolved(const std::string& path) const {
    if (path.empty()) return path;
    return (std::filesystem::absolute(registry_.file_).parent_path() / path)
        .lexically_normal()
        .string();
  }

  // TOML itself refuses a key twice, but not in another case or in the other way to write it.
  void add(const toml::key& key, std::u16string index, const Value& value) {
    if (registry_.values_.emplace(std::move(index), value).second) return;
    report(key.source(), "the value is defined a second time; the first one counts",
           "remove one of the two");
  }

  void report(const toml::source_region& source, const std::string& problem,
              const std::string& remedy) {
    reportAt(source.begin.line, source.begin.column, problem, remedy);
  }

  void reportAt(std::size_t line, std::size_t column, const std::string& problem,
                const std::string& remedy) {
    if (!registry_.problem_.empty()) return;
    registry_.problem_ = registry_.file_.string() + ":" + std::to_string(line) + ":" +
                         std::to_string(column) + ": " + problem + "; " + remedy;
  }

  Registry& registry_;
};

Registry::Registry(const std::filesystem::path& file) : file_(file) {
  Reader(*this).read();
  if (!problem_.empty()) developerTrace(toUtf16("registry: " + problem_ + "\n"));
}

const Registry& Registry::current() {
  const std::lock_guard lock(holder().mutex);
  if (!holder().registry) holder().registry = std::make_unique<const Registry>(registryFile());
  return *holder().registry;
}

const Registry& Registry::reload() {
  const std::lock_guard lock(holder().mutex);
  holder().registry = std::make_unique<const Registry>(registryFile());
  return *holder().registry;
}

const Registry::Value* Registry::find(HKEY root, std::u16string_view key,
                                      std::u16string_view valueName) const {
  std::u16string path(kRoots.at(static_cast<std::size_t>(root)));
  const std::u16string_view below = withoutEndingBackslashes(key);
  if (!below.empty()) path.append(1, u'\\').append(below);
  const auto found = values_.find(indexOf(path, valueName));
  return found != values_.end() ? &found->second : nullptr;
}

std::optional<std::u16string> Registry::readString(HKEY root, std::u16string_view key,
                                                   std::u16string_view valueName) const {
  const Value* value = find(root, key, valueName);
  const auto* text = value != nullptr ? std::get_if<std::u16string>(value) : nullptr;
  return text != nullptr ? std::optional(*text) : std::nullopt;
}

std::optional<DWORD> Registry::readDword(HKEY root, std::u16string_view key,
                                         std::u16string_view valueName) const {
  const Value* value = find(root, key, valueName);
  const auto* number = value != nullptr ? std::get_if<DWORD>(value) : nullptr;
  return number != nullptr ? std::optional(*number) : std::nullopt;
}

}  // namespace qx
