// qxrc compiles a manifest of resources for embedding into a module. The CMake function
// qx_embed_resources() runs it.

#include "tools/input/diagnostic.h"
#include "tools/qxrc/image_writer.h"
#include "tools/qxrc/manifest.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

namespace {

struct Arguments {
  std::string manifest;
  std::string source;
  std::string image;
  std::string dependencies;
};

void writeFile(const std::string& path, const std::string& content) {
  std::ofstream stream(path, std::ios::binary | std::ios::trunc);
  stream.write(content.data(), static_cast<std::streamsize>(content.size()));
  // Only closing writes the last bytes out, so the state is checked after it.
  stream.close();
  if (!stream) {
    throw qx::input::Diagnostic({path}, "the file cannot be written",
                                "check the folder, its rights and the free space");
  }
}

// Reads and checks everything before the first file is written. The source is written last: it is
// the file by which the build tool decides that the others are up to date.
void compile(const Arguments& arguments) {
  const qx::qxrc::ResourceSet set = qx::qxrc::readManifest(arguments.manifest);
  writeFile(arguments.image, qx::qxrc::buildImage(set));
  if (!arguments.dependencies.empty()) {
    writeFile(arguments.dependencies, qx::qxrc::dependencyFile(arguments.source, set.inputs));
  }
  writeFile(arguments.source, qx::qxrc::embeddingSource(arguments.image));
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Compiles a manifest of XML files, string tables and version strings.", "qxrc");
  Arguments arguments;
  app.add_option("manifest", arguments.manifest, "The manifest, a TOML file")->required();
  app.add_option("--source", arguments.source, "The C++ source file to write")->required();
  app.add_option("--image", arguments.image, "The image file to write")->required();
  app.add_option("--depfile", arguments.dependencies, "The dependency file to write");
  CLI11_PARSE(app, argc, argv);
  try {
    compile(arguments);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
