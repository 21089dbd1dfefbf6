#pragma once

// The registry: a TOML file with the libraries of component classes and further entries of a site.
// It is read once and never written by this library.
//
//     ["HKEY_CLASSES_ROOT\\CLSID\\{…}\\InprocServer32"]
//     "" = "libqxdesk.so"          # the default value
//     Priority = 3                 # a double word
//
// A key may also be written as nested tables. Keys and value names are compared without case. A
// relative path in the default value of an InprocServer32 key is relative to the file's folder.
//
// The file is the one that QX_REGISTRY names, else the user's qxframework/registry.toml in
// XDG_CONFIG_HOME or ~/.config if it exists, else the one that was installed with the library. The
// first fault in it is kept in problem() and reported once to the developer trace; all correct
// entries still count. Its path must be absolute, and the file and the libraries that it names
// count only if nobody but this user and root can have written them (trusted_file.h). A process
// with more rights than its user reads the installed file only.

#include "qxframework/automation/export.h"
#include "qxframework/automation/types.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

/// The root of a registry key.
enum class HKEY : std::uint32_t { ClassesRoot, CurrentUser, LocalMachine };
inline constexpr HKEY HKEY_CLASSES_ROOT = HKEY::ClassesRoot;
inline constexpr HKEY HKEY_CURRENT_USER = HKEY::CurrentUser;
inline constexpr HKEY HKEY_LOCAL_MACHINE = HKEY::LocalMachine;

namespace qx {

/// The entries of one registry file.
class QX_API Registry {
 public:
  /// Returns the registry of the process, which is read at the first use. The reference is valid
  /// until reload().
  static const Registry& current();
  /// Reads the registry of the process again, from another file if the environment has changed.
  static const Registry& reload();

  /// Reads `file`. A faulty or missing file is no error here, see problem().
  explicit Registry(const std::filesystem::path& file);

  /// Returns the text `valueName` ("" is the default value) of `key` under `root`; nothing if it is
  /// missing or not a text. Backslashes at the end of the key are ignored.
  std::optional<std::u16string> readString(HKEY root, std::u16string_view key,
                                           std::u16string_view valueName) const;
  /// Returns the double word `valueName` of `key`; nothing if it is missing or not a number.
  std::optional<DWORD> readDword(HKEY root, std::u16string_view key,
                                 std::u16string_view valueName) const;

  /// Returns the file that was read, whether it exists or not.
  const std::filesystem::path& file() const { return file_; }
  /// Returns the first fault as "file:line:column: fault; remedy"; empty if there is none.
  const std::string& problem() const { return problem_; }

 private:
  class Reader;
  using Value = std::variant<std::u16string, DWORD>;

  const Value* find(HKEY root, std::u16string_view key, std::u16string_view valueName) const;

  std::filesystem::path file_;
  std::string problem_;
  /// The values by key, a line feed and value name, all in one case.
  std::map<std::u16string, Value> values_;
};

}  // namespace qx
