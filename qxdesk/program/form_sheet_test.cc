#include "qxdesk/program/form_sheet.h"

#include "qxdesk/program/test_program.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <string>

namespace qx::desk {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kModule = " --module '" QX_FRAMEWORK "'";

class FormSheetOfCommand : public test::TestProgram {
 protected:
  // Writes a form with a button whose caption is string 2 of the framework, "Cancel".
  void writeForm(int width) const {
    folder_.write("f.xml",
                  "<Application><forms><action type=\"add\">\n"
                  "<form title=\"T\" width=\"400\" height=\"90\"><items><action type=\"add\">\n"
                  "<item type=\"4\" uid=\"__proto__\" left=\"5\" top=\"5\" width=\"" +
                      std::to_string(width) +
                      "\" height=\"19\"><specific caption=\"CANCEL\"/></item>\n"
                      "</action></items></form></action></forms></Application>\n");
  }
  Outcome sheet(const std::string& more = {}) const {
    return run("form f.xml --sheet s.html --map CANCEL=2" + std::string(kModule) + more);
  }
  // Returns the data of the sheet that was written.
  json data() const {
    const std::string html = content("s.html");
    const std::string begin = "<script type=\"application/json\" id=\"data\">";
    const std::size_t at = html.find(begin) + begin.size();
    return json::parse(html.substr(at, html.find("</script>", at) - at));
  }
};

TEST_F(FormSheetOfCommand, HasTheFormInEachLanguageAndLengthened) {
  writeForm(150);
  const Outcome outcome = sheet();
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(outcome.errors, "");
  const json sheet = data();
  EXPECT_EQ(sheet.at("title"), "f.xml");
  EXPECT_EQ(sheet.at("forms").size(), 26U);
  const json& hebrew = sheet.at("forms").at(0);
  EXPECT_EQ(hebrew.at("language"), "Hebrew");
  EXPECT_EQ(hebrew.at("code"), "HE");
  EXPECT_EQ(hebrew.at("id"), 1037);
  EXPECT_EQ(hebrew.at("direction"), "rtl");
  EXPECT_EQ(hebrew.at("form").at("items").at("__proto__").at("caption"), "ביטול");
  const json& longer = sheet.at("forms").at(25);
  EXPECT_EQ(longer.at("language"), "40 % longer");
  EXPECT_EQ(longer.at("direction"), "ltr");
  EXPECT_EQ(longer.at("form").at("items").at("__proto__").at("caption"), "CáncélCán");
  EXPECT_EQ(longer.at("wide"), json::array());
}

TEST_F(FormSheetOfCommand, NeedsNoOtherFileAndNoNetwork) {
  writeForm(150);
  sheet();
  const std::string html = content("s.html");
  EXPECT_THAT(html, HasSubstr("\"page/sheet.js\": \"data:text/javascript;charset=utf-8,"));
  EXPECT_THAT(html, HasSubstr("\"page/form_window.js\": \"data:"));
  EXPECT_THAT(html, Not(HasSubstr("src=")));
  EXPECT_THAT(html, Not(HasSubstr("href=")));
  EXPECT_THAT(html, Not(HasSubstr("http:")));
}

TEST_F(FormSheetOfCommand, ReportsWhatDoesNotFitWithItsPlaceAndExitsWithOne) {
  writeForm(57);
  const Outcome outcome = sheet();
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(outcome.errors,
            "f.xml:3:91: error: in German the text 'Abbrechen' takes 54 pixels, and the item has "
            "49; shorten it or widen the item\n"
            "f.xml:3:91: error: in Dutch the text 'Annuleren' takes 51 pixels, and the item has "
            "49; shorten it or widen the item\n"
            "f.xml:3:91: error: in Japanese Jp the text 'キャンセル' takes 55 pixels, and the item "
            "has 49; shorten it or widen the item\n"
            "f.xml:3:91: error: in English and 40 % longer the text 'CáncélCán' takes 53 pixels, "
            "and the item has 49; shorten it or widen the item\n");
  const json forms = data().at("forms");
  for (const json& form : forms) {
    if (form.at("language") != "German") continue;
    EXPECT_EQ(form.at("wide"), json::parse(R"([{"item": "__proto__", "column": "",
        "text": "Abbrechen", "needed": 54, "room": 49}])"));
  }
}

TEST_F(FormSheetOfCommand, ATextThatDoesNotFitOnlyWhenItIsLongerIsAnErrorUnlessItMayBeCut) {
  writeForm(290);
  const std::string longest = " --map CANCEL=305";  // as long in English as in any language
  const auto command = "form f.xml --sheet s.html" + longest + kModule;
  const std::string finding =
      "in English and 40 % longer the text 'Máxímúm Sízé Pér Lóg Fílé [ín Mégábytés]Máxímúm Sízé "
      "Pér' takes 302 pixels, and the item has 282; shorten it or widen the item\n";
  const Outcome strict = run(command);
  EXPECT_EQ(strict.exitCode, 1);
  EXPECT_EQ(strict.errors, "f.xml:3:92: error: " + finding);
  const json wide = data().at("forms").at(25).at("wide");
  EXPECT_EQ(wide.size(), 1U) << "it is marked";
  const Outcome lenient = run(command + " --longer-may-be-cut");
  EXPECT_EQ(lenient.exitCode, 0);
  EXPECT_EQ(lenient.errors, "f.xml:3:92: note: " + finding);
  EXPECT_EQ(data().at("forms").at(25).at("wide"), wide);
}

TEST_F(FormSheetOfCommand, WithoutASheetNoTextIsLonger) {
  writeForm(150);
  EXPECT_EQ(run("form f.xml --longer-may-be-cut --map CANCEL=2" + std::string(kModule)).exitCode,
            2);
}

TEST_F(FormSheetOfCommand, ATextEndsNeitherItsElementNorTheData) {
  folder_.write("f.xml",
                "<Application><forms><action type=\"add\"><form title=\"&lt;/script>&lt;b>\" "
                "width=\"300\" height=\"90\"/></action></forms></Application>");
  EXPECT_EQ(sheet().exitCode, 0);
  EXPECT_EQ(data().at("forms").at(2).at("form").at("title"), "</script><b>");
  EXPECT_THAT(content("s.html"), Not(HasSubstr("<b>")));
}

TEST_F(FormSheetOfCommand, IsNotWrittenForADocumentWithoutAForm) {
  folder_.write("f.xml", "<Application/>");
  EXPECT_EQ(sheet().exitCode, 1);
  EXPECT_EQ(content("s.html"), "");
}

TEST_F(FormSheetOfCommand, ThatCannotBeWrittenIsReported) {
  writeForm(150);
  const Outcome outcome =
      run("form f.xml --sheet none/s.html --map CANCEL=2" + std::string(kModule));
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(outcome.errors,
            "none/s.html: error: the file cannot be written; check the path and its rights\n");
}

}  // namespace
}  // namespace qx::desk
