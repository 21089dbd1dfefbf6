#include "tools/formcheck/texts.h"

#include "qxframework/automation/text.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>

namespace qx::formcheck {
namespace {

// This program, with the tables of testdata/program.toml.
constexpr const char* kSelf = "/proc/self/exe";

std::string found(std::uint32_t id, std::uint32_t language) {
  const auto text = ModuleTexts(kSelf).find(id, language);
  return text ? std::to_string(text->language) + " " + toUtf8(text->text) : "none";
}

std::string refusal(const std::string& file) {
  try {
    const ModuleTexts texts(file);
    return "accepted";
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

TEST(ModuleTexts, ReturnsTheStringOfTheLanguage) {
  EXPECT_EQ(found(10, 1031), "1031 Auftrag");
  EXPECT_EQ(found(10, 1033), "1033 Order");
}

TEST(ModuleTexts, FallsBackToEnglishAndThenToTheFirstLanguage) {
  EXPECT_EQ(found(11, 1031), "1033 Customer & \"more\" <now>");
  EXPECT_EQ(found(20, 1033), "1031 Nur deutsch");
  EXPECT_EQ(found(20, 1036), "1031 Nur deutsch");
  EXPECT_EQ(found(20, 1045), "1045 Polski");
  EXPECT_EQ(found(21, 1031), "1045 Tylko po polsku");
  EXPECT_EQ(found(99, 1033), "none");
}

TEST(ModuleTexts, RefusesAFileThatCannotBeReadOrHasNoResources) {
  const test::TempFolder folder;
  EXPECT_EQ(
      refusal(folder.file("none")),
      folder.file("none") + ": error: the file cannot be read; check the path and its rights");
  const std::string path = folder.path().string();
  EXPECT_EQ(refusal(path),
            path + ": error: the file cannot be read; check the path and its rights");
  const std::string text = folder.write("text", "no module").string();
  EXPECT_EQ(refusal(text), text +
                               ": error: the file holds no resources; give the add-on's executable "
                               "or shared object, built with qx_embed_resources()");
}

}  // namespace
}  // namespace qx::formcheck
