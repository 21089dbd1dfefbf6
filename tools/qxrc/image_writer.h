#pragma once

// The outputs of the resource compiler: the image of a module's resources, the C++ source that puts
// it into the module, and the dependencies of both.

#include "tools/qxrc/manifest.h"

#include <filesystem>
#include <string>
#include <vector>

namespace qx::qxrc {

/// Returns the image of `set` in the layout of resource_format.h. Equal sets have equal images.
/// Throws std::length_error if it exceeds 256 MiB.
std::string buildImage(const ResourceSet& set);

/// Returns a C++ source file that puts the bytes of `imageFile` into the section ".qxres", with the
/// note that leads there.
std::string embeddingSource(const std::filesystem::path& imageFile);

/// Returns a dependency file for the build tool: `target` depends on `inputs`.
std::string dependencyFile(const std::filesystem::path& target,
                           const std::vector<std::filesystem::path>& inputs);

}  // namespace qx::qxrc
