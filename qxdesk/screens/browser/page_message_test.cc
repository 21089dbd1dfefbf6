#include "qxdesk/screens/browser/page_message.h"

#include <gtest/gtest.h>

#include <string>

namespace qx::screens {
namespace {

TEST(PageMessage, HasTheFieldsOfItsVerb) {
  const auto message = readPageMessage(
      R"({"do":"type","id":7,"form":"F_1","item":"20","column":"1","row":2,"text":"h\u00e4"})");
  ASSERT_TRUE(message);
  EXPECT_EQ(message->verb, PageVerb::kType);
  EXPECT_EQ(message->id, 7);
  EXPECT_EQ(message->form, u"F_1");
  EXPECT_EQ(message->item, u"20");
  EXPECT_EQ(message->column, u"1");
  EXPECT_EQ(message->row, 2);
  EXPECT_EQ(message->text, u"hä");
}

TEST(PageMessage, KnowsEveryVerbOfTheProtocol) {
  const std::pair<const char*, PageVerb> verbs[] = {
      {R"({"do":"menu","id":1,"uid":"3001"})", PageVerb::kMenu},
      {R"({"do":"press","form":"F_1","item":"1"})", PageVerb::kPress},
      {R"({"do":"double","form":"F_1","item":"20","column":"1","row":2})", PageVerb::kDouble},
      {R"({"do":"key","form":"F_1","item":"4","key":65})", PageVerb::kKey},
      {R"({"do":"type","form":"F_1","item":"4","text":"C1"})", PageVerb::kType},
      {R"({"do":"tab","form":"F_1"})", PageVerb::kTab},
      {R"({"do":"validate","form":"F_1","item":"4"})", PageVerb::kValidate},
      {R"({"do":"choose","form":"F_1","item":"7","key":"C"})", PageVerb::kChoose},
      {R"({"do":"right","form":"F_1","item":""})", PageVerb::kRight},
      {R"({"do":"select","form":"F_1"})", PageVerb::kSelect},
      {R"({"do":"close","form":"F_1"})", PageVerb::kClose},
      {R"({"do":"print","form":"F_1"})", PageVerb::kPrint},
      {R"({"do":"report","form":"F_1"})", PageVerb::kReport},
      {R"({"do":"move","form":"F_1","left":10,"top":20})", PageVerb::kMove},
      {R"({"do":"answer","box":2,"button":1})", PageVerb::kAnswer},
      {R"({"do":"language","language":9})", PageVerb::kLanguage},
      {R"({"do":"shutdown"})", PageVerb::kShutDown},
      {R"({"do":"rows","form":"F_1","item":"20","from":201,"count":200})", PageVerb::kRows},
      {R"({"do":"panel","shown":true})", PageVerb::kPanel},
      {R"({"do":"stop","progress":2})", PageVerb::kStop},
  };
  for (const auto& [text, verb] : verbs) {
    const auto message = readPageMessage(text);
    ASSERT_TRUE(message) << text;
    EXPECT_EQ(message->verb, verb) << text;
  }
}

TEST(PageMessage, SaysWhichKeysAreHeldDown) {
  const auto press = readPageMessage(R"({"do":"press","form":"F_1","item":"20","ctrl":true})");
  ASSERT_TRUE(press);
  EXPECT_TRUE(press->ctrl);
  EXPECT_FALSE(press->shift);
  const auto tab = readPageMessage(R"({"do":"tab","form":"F_1","shift":true})");
  ASSERT_TRUE(tab);
  EXPECT_TRUE(tab->shift);
}

TEST(PageMessage, IgnoresFieldsThatItsVerbDoesNotHave) {
  const auto message = readPageMessage(R"({"do":"tab","form":"F_1","row":"x","more":1.5})");
  ASSERT_TRUE(message);
  EXPECT_EQ(message->row, 0);
}

TEST(PageMessage, ATextThatIsNoneIsRefused) {
  const std::string texts[] = {
      "",
      "{",
      "null",
      "\"tab\"",
      "[]",
      "{}",
      "{\"do\":\"tab\"}",
      R"({"do":"tab","form":"F_1"} {})",
      R"({"do":1,"form":"F_1"})",
      R"({"do":"fly","form":"F_1"})",
      R"({"do":"TAB","form":"F_1"})",
      R"({"do":"tab","form":1})",
      R"({"do":"tab","form":null})",
      R"({"do":"tab","form":"F_1","form":"F_2"})",
      R"({"do":"tab","form":"F_1","id":"7"})",
      R"({"do":"tab","form":"F_1","id":1.5})",
      R"({"do":"tab","form":"F_1","more":{}})",
      R"({"do":"tab","form":"F_1","more":[1]})",
      R"({"do":"key","form":"F_1","item":"4","key":"A"})",
      R"({"do":"key","form":"F_1","item":"4"})",
      R"({"do":"press","form":"F_1","item":"20","row":true})",
      R"({"do":"panel","shown":1})",
      R"({"do":"tab","form":"F_1","shift":1})",
      R"({"do":"press","form":"F_1","item":"20","ctrl":"true"})",
      R"({"do":"stop"})",
      R"({"do":"stop","progress":true})",
      "{\"do\":\"tab\",\"form\":\"\xFF\"}",
      R"({"do":"tab","form":"F_1","more":")" + std::string(kMostPageBytes, 'x') + "\"}",
      std::string(30'000, '['),
      R"({"do":"tab","more":)" + std::string(30'000, '{'),
  };
  for (const std::string& text : texts) {
    EXPECT_FALSE(readPageMessage(text)) << text.substr(0, 80);
  }
}

TEST(PageMessage, RefusesManyFields) {
  std::string text = R"({"do":"shutdown")";
  for (int i = 0; i < 40; ++i) text += ",\"f" + std::to_string(i) + "\":0";
  EXPECT_FALSE(readPageMessage(text + "}"));
}

}  // namespace
}  // namespace qx::screens
