#pragma once

// Runs the program itself, as a process without an environment and so without a registry.

#include "testing/temp_folder.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace qx::desk::test {

using qx::test::TempFolder;

struct Outcome {
  int exitCode;
  std::string output;
  std::string errors;
};

class TestProgram : public testing::Test {
 protected:
  using Outcome = test::Outcome;

  /// Runs it in the folder; "in" is its standard input, empty if nothing was written there.
  Outcome run(const std::string& arguments, const std::string& output = "out") const {
    if (!std::filesystem::exists(folder_.path() / "in")) folder_.write("in", "");
    const std::string command = "cd '" + folder_.path().string() +
                                "' && env -i " QX_DESK_PROGRAM " " + arguments + " <in >" + output +
                                " 2>err";
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, content("out"), content("err")};
  }

  std::string content(const char* name) const {
    std::ifstream stream(folder_.path() / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  TempFolder folder_;
};

}  // namespace qx::desk::test
