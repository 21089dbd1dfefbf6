#pragma once

// The registry: a TOML file that says where component classes live, and holds whatever else a site
// registers. It is read once; there is no way to write it from here.
//
//     ["HKEY_CLASSES_ROOT\\CLSID\\{…}\\InprocServer32"]
//     "" = "libqxdesk.so"          # the default value
//     Priority = 3                 # a double word
//
// A key may also be spelled as nested tables. Keys and value names are compared without case. A
// relative path in the default value of an InprocServer32 key counts from the file's folder.
//
// The file is the one that QX_REGISTRY names, else the user's qxframework/registry.toml in
// XDG_CONFIG_HOME or ~/.config if it exists, else the one that was installed with the library. What is wrong with it is kept
// in problem() and told once to the developer trace; what is right in it still counts.

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

class QX_API Registry {
 public:
  /// The process's registry, read at the first use. The reference ends with reload().
  static const Registry& current();
  /// Reads the registry again, also from another place if the environment says so.
  static const Registry& reload();

  /// Reads `file`; never fails, see problem().
  explicit Registry(const std::filesystem::path& file);

  /// The value `valueName` ("" is the default value) of `key` under `root`, if it is a text. A
  /// backslash at the key's end counts for nothing.
  std::optional<std::u16string> readString(HKEY root, std::u16string_view key,
                                           std::u16string_view valueName) const;
  /// The same for a double word.
  std::optional<DWORD> readDword(HKEY root, std::u16string_view key,
                                 std::u16string_view valueName) const;

  /// The file that was read or tried.
  const std::filesystem::path& file() const { return file_; }
  /// "file:line:column: what is wrong; what to do" of the first thing that is; empty if all is
  /// well.
  const std::string& problem() const { return problem_; }

 private:
  class Reader;
  using Value = std::variant<std::u16string, DWORD>;

  const Value* find(HKEY root, std::u16string_view key, std::u16string_view valueName) const;

  std::filesystem::path file_;
  std::string problem_;
  /// By key, a line feed and value name, all in one case.
  std::map<std::u16string, Value> values_;
};

}  // namespace qx
