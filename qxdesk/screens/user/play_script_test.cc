#include "qxdesk/screens/user/play_script.h"

#include "testing/temp_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <filesystem>

namespace qx::screens {
namespace {

std::string refusal(std::string_view text) {
  try {
    parsePlayScript(text, "demo.txt");
  } catch (const PlayScriptError& error) {
    return error.what();
  }
  return "accepted";
}

TEST(PlayScript, ReadsActionsAndSkipsCommentsAndEmptyLines) {
  const auto steps = parsePlayScript(
      "\xEF\xBB\xBF# start\r\n\r\n  menu 43523\r\n\ttype F_1 4  C 001 \nanswer 2\nlanguage de",
      "x");
  ASSERT_EQ(steps.size(), 4U);
  EXPECT_EQ(steps[0].verb, PlayVerb::kMenu);
  EXPECT_EQ(steps[0].words, (std::vector<std::u16string>{u"43523"}));
  EXPECT_EQ(steps[0].line, 3);
  EXPECT_EQ(steps[1].words, (std::vector<std::u16string>{u"F_1", u"4", u"C 001"}));
  EXPECT_EQ(steps[2].number, 2);
  EXPECT_EQ(steps[3].number, 9);
}

TEST(PlayScript, OptionalArgumentsComeTogetherOrNotAtAll) {
  EXPECT_EQ(parsePlayScript("click * 5", "x")[0].words.size(), 2U);
  const auto cell = parsePlayScript("click * 20 2 4", "x")[0];
  EXPECT_EQ(cell.words, (std::vector<std::u16string>{u"*", u"20", u"2"}));
  EXPECT_EQ(cell.number, 4);
  EXPECT_EQ(refusal("click * 20 2"), "demo.txt:1:13: write: click FORM ITEM [COLUMN ROW]");
}

TEST(PlayScript, TextMayBeEmpty) {
  EXPECT_EQ(parsePlayScript("type A 5", "x")[0].words.back(), u"");
}

TEST(PlayScript, ErrorsHaveFileLineAndColumn) {
  EXPECT_EQ(refusal("menu 1\n  menus 2").substr(0, 49),
            "demo.txt:2:3: unknown action \"menus\"; the actions");
  EXPECT_EQ(refusal("menu"), "demo.txt:1:5: write: menu UID");
  EXPECT_EQ(refusal("menu 1 2"), "demo.txt:1:8: unexpected \"2\"; write: menu UID");
  EXPECT_EQ(refusal("answer yes"), "demo.txt:1:8: \"yes\" is not a whole number from 0");
  EXPECT_EQ(refusal("answer 4"), "demo.txt:1:8: a box has buttons 1 to 3");
  EXPECT_EQ(refusal("key A 5 65536"), "demo.txt:1:9: a key is 1 to 65535");
  EXPECT_EQ(refusal("language 4"), "demo.txt:1:10: unknown language \"4\"");
  EXPECT_EQ(refusal("print all"),
            "demo.txt:1:7: cannot print \"all\"; print menus, forms, form, status or boxes");
  EXPECT_EQ(refusal("print form"), "demo.txt:1:7: write: print menus|forms|form FORM|status|boxes");
  EXPECT_EQ(refusal("draw"), "demo.txt:1:5: write: draw FORM");
  EXPECT_EQ(refusal("company"), "demo.txt:1:8: write: company FILE");
}

TEST(PlayScript, APipeIsRefusedWithoutWaiting) {
  const qx::test::TempFolder folder;
  ASSERT_EQ(mkfifo(folder.file("script").c_str(), 0600), 0);
  try {
    readPlayScript(folder.file("script"));
    FAIL();
  } catch (const PlayScriptError& error) {
    EXPECT_EQ(error.what(),
              folder.file("script") + ": it is not a plain file; give a file with the script");
  }
}

TEST(PlayScript, AFileThatIsTooLongIsRefused) {
  const qx::test::TempFolder folder;
  folder.write("script", "");
  constexpr std::uintmax_t kLongest = 16 << 20;
  std::filesystem::resize_file(folder.file("script"), kLongest + 1);
  try {
    readPlayScript(folder.file("script"));
    FAIL();
  } catch (const PlayScriptError& error) {
    EXPECT_EQ(error.what(), folder.file("script") + ": the file is larger than 16 MiB; divide it");
  }
}

TEST(PlayScript, ErrorNamesTheFileThatCannotBeRead) {
  try {
    readPlayScript("/nonexistent/demo.txt");
    FAIL();
  } catch (const PlayScriptError& error) {
    EXPECT_STREQ(error.what(), "/nonexistent/demo.txt: the file cannot be read");
  }
}

}  // namespace
}  // namespace qx::screens
