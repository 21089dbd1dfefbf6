// Tests the program itself: its files, its exit codes and its output.

#include "testing/temp_folder.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace qx::qxrc {
namespace {

struct Outcome {
  int exitCode;
  std::string output;
};

class QxrcProgram : public testing::Test {
 protected:
  Outcome run() const {
    const std::string folder = folder_.path().string();
    const std::string command = std::string(QX_QXRC) + " " + folder + "/m.toml --source " + folder +
                                "/m.cc --image " + folder + "/m.bin --depfile " + folder +
                                "/m.d 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return {-1, "cannot be started"};
    std::string output;
    std::array<char, 256> chunk{};
    while (const std::size_t count = fread(chunk.data(), 1, chunk.size(), pipe)) {
      output.append(chunk.data(), count);
    }
    return {pclose(pipe), output};
  }

  std::string content(const char* name) const {
    std::ifstream stream(folder_.path() / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  test::TempFolder folder_;
};

TEST_F(QxrcProgram, WritesImageSourceAndDependencies) {
  folder_.write("form.xml", "<form/>");
  folder_.write("m.toml", "[xml]\n200 = \"form.xml\"\n");
  const Outcome outcome = run();
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(outcome.output, "");
  EXPECT_TRUE(content("m.bin").starts_with("QXRES\r\n\x1a"));
  EXPECT_NE(content("m.cc").find((folder_.path() / "m.bin").string()), std::string::npos);
  const std::string folder = folder_.path().string();
  EXPECT_EQ(content("m.d"),
            folder + "/m.cc: \\\n  " + folder + "/m.toml \\\n  " + folder + "/form.xml\n");
}

TEST_F(QxrcProgram, ReportsARefusedManifestAndWritesNoFile) {
  folder_.write("m.toml", "[xml]\n200 = \"none.xml\"\n");
  const Outcome outcome = run();
  EXPECT_NE(outcome.exitCode, 0);
  EXPECT_EQ(outcome.output, (folder_.path() / "m.toml").string() + ":2:7: error: the file '" +
                                (folder_.path() / "none.xml").string() +
                                "' cannot be read; create it or correct the path, which is "
                                "relative to the manifest\n");
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "m.cc"));
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "m.bin"));
}

}  // namespace
}  // namespace qx::qxrc
