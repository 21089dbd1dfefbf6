#pragma once

// Writes what a module gets: the image of its resources and the C++ source that places the image
// into the module.

#include "tools/qxrc/manifest.h"

#include <filesystem>
#include <string>
#include <vector>

namespace qx::qxrc {

/// The image of `set` in the layout of resource_format.h. Equal sets give equal images. Throws
/// std::length_error above 256 MiB.
std::string buildImage(const ResourceSet& set);

/// A C++ source file that puts the bytes of `imageFile` into the section ".qxres", with the note
/// that leads there.
std::string embeddingSource(const std::filesystem::path& imageFile);

/// A dependency file for the build tool: `target` depends on `inputs`.
std::string dependencyFile(const std::filesystem::path& target,
                           const std::vector<std::filesystem::path>& inputs);

}  // namespace qx::qxrc
