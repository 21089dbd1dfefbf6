// The smallest example with and without the logging component: with it the run writes one log file,
// without it none, and its output is the same.

#include "testing/child_process.h"
#include "testing/file_content.h"
#include "testing/machine.h"
#include "testing/temp_folder.h"

#include <gmock/gmock.h>

#include <fstream>

namespace {

using qx::test::ChildProcess;
using qx::test::TempFolder;
using testing::ElementsAre;
using testing::HasSubstr;

/// Returns the names of the files in a folder, without hidden ones; none if the folder is missing.
std::vector<std::string> filesIn(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  std::error_code missing;
  for (const auto& each : std::filesystem::directory_iterator(folder, missing)) {
    const std::string name = each.path().filename().string();
    if (!name.starts_with(".")) names.push_back(name);
  }
  return names;
}

/// Returns the registry of the build without the class of the logging component.
std::string registryWithoutLogger() {
  std::ifstream build(qx::test::buildRegistry());
  const std::string libraries = qx::test::buildRegistry().parent_path().string() + "/lib/";
  std::string out;
  for (std::string key, value; std::getline(build, key);) {
    if (!key.starts_with("[")) continue;
    std::getline(build, value);
    if (value.find("libQXLogger") != std::string::npos) continue;
    const std::size_t place = value.find("lib/");
    if (place != std::string::npos) value.replace(place, 4, libraries);
    out.append(key).append("\n").append(value).append("\n");
  }
  return out;
}

/// Runs the example with a registry. Returns its output.
std::string runHello(const TempFolder& folder, const std::filesystem::path& registry) {
  ChildProcess hello(
      {qx::test::buildProgram("hello").string(),
       "embedded:?db=" + (folder.path() / "company.db").string() +
           "&play=" QX_TEST_DATA "/hello.play"},
      {"QX_REGISTRY=" + registry.string(), "QX_RUNTIME_DIR=" + (folder.path() / "run").string(),
       "QX_LOG_DIR=" + (folder.path() / "log").string()});
  std::string text = hello.rest();
  EXPECT_EQ(hello.wait(), 0);
  return text;
}

TEST(LoggingComponent, LeavesNoFileAndTheSameOutputIfNotRegistered) {
  const TempFolder folder;
  const auto registry = folder.write("registry.toml", registryWithoutLogger());
  EXPECT_EQ(runHello(folder, registry), qx::test::contentOfExisting(QX_TEST_DATA "/hello.out"));
  EXPECT_FALSE(std::filesystem::exists(folder.path() / "log"));
}

TEST(LoggingComponent, WritesTheRecordsOfARunIntoTheFileOfTheModule) {
  const TempFolder folder;
  EXPECT_EQ(runHello(folder, qx::test::buildRegistry()),
            qx::test::contentOfExisting(QX_TEST_DATA "/hello.out"));
  EXPECT_THAT(filesIn(folder.path() / "log"), ElementsAre("HELLO.log"));
  const std::string text = qx::test::contentOfExisting(folder.path() / "log" / "HELLO.log");
  EXPECT_THAT(text, HasSubstr("CQXEventSink::AdviseEvents\tEntering critical section....\n"));
  EXPECT_THAT(text, HasSubstr("CQXEventSink::UnloadApplication\tAdd-on stopped.\n"));
}

}  // namespace
