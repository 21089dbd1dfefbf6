#pragma once

// A page of the host's modules as one HTML file that a browser opens from disk.

#include "qxdesk/web/page_files.h"

#include <span>
#include <string>
#include <string_view>

namespace qx::desk {

/// Returns a page with the module `NAME.js`, all modules that it imports, the style sheets of the
/// page and `NAME.css`. The module finds `data`, a text in JSON and ASCII, in the element with the
/// id "data". Throws std::logic_error if a file is missing.
std::string pageInOneFile(std::span<const web::PageFile> files, const std::string& name,
                          std::string_view data);

}  // namespace qx::desk
