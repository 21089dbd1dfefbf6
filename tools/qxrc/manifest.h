#pragma once

// The manifest of a module's resources: a TOML file.
//
//     [version]                  # optional; without it the module has no version block
//     language = 1033            # the translation's language id; 1033 if left out
//     code_page = 1200           # its code page; 1200 if left out
//
//     [version.strings]          # any keys
//     InternalName = "QXFramework.dll"
//     FileVersion = "9.20.00.01"
//     "Support Package" = "PL 01"
//
//     [xml]                      # XML files by number: resources of type 23, language neutral
//     200 = "init_progress.xml"
//
//     [[resource]]               # any other resource, stored unchanged; may be empty
//     type = 10
//     id = 5
//     language = 1031            # 0, neutral, if left out
//     file = "picture.png"
//
//     [strings]                  # string tables by language id, see string_table.h
//     1033 = "strings/1033.txt"
//
// Paths are relative to the manifest's folder.

#include "tools/qxrc/string_table.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace qx::qxrc {

/// The type, id and language of a resource.
using ResourceKey = std::tuple<std::uint32_t, std::uint32_t, std::uint32_t>;

/// The checked content of an image.
struct ResourceSet {
  std::map<ResourceKey, std::string> resources;
  std::map<std::uint32_t, StringTable> strings;  ///< by language id
  std::vector<std::pair<std::u16string, std::u16string>> versionStrings;
  std::uint16_t versionLanguage = 1033;
  std::uint16_t versionCodePage = 1200;
  std::vector<std::filesystem::path> inputs;  ///< every file that was read, the manifest first
};

/// Reads `manifest` and every file that it names. Throws input::Diagnostic if one is refused.
ResourceSet readManifest(const std::filesystem::path& manifest);

}  // namespace qx::qxrc
