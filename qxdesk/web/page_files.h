#pragma once

// The files of the page, which are part of the library. The build writes their list from the folder
// page/, see embed_page.cmake.

#include <span>
#include <string_view>

namespace qx::web {

struct PageFile {
  std::string_view name;  ///< its path in the folder, "index.html"
  std::string_view type;  ///< the value of Content-Type
  std::string_view content;
};

/// The files of this library.
std::span<const PageFile> embeddedPage();

}  // namespace qx::web
