#include "qxdesk/screens/browser/desk_pages.h"
#include "qxdesk/screens/browser/test_support.h"

namespace qx::screens {
namespace {

class DeskPagesBoxTest : public PagesTest {
 protected:
  /// Returns what is done while the desk waits, for the clock.
  std::function<void()> saying(desk::PageNumber page, std::string text) {
    return [this, page, text = std::move(text)] { say(page, text); };
  }
};

TEST_F(DeskPagesBoxTest, APageSeesTheBoxAndAnswersIt) {
  openQuietly(1);
  clock_.steps = {[&] {
                    EXPECT_EQ(taken(1),
                              R"({"is":"patch","number":2,"ops":[{"op":"replace","path":"/box",)"
                              R"("value":{"buttons":["Yes","No",""],"default":1,"number":1,)"
                              R"("text":"Sure?"}}]})"
                              "\n");
                  },
                  saying(1, R"({"do":"answer","id":4,"box":1,"button":2})")};
  EXPECT_EQ(desk_.boxes.show(box(u"Sure?")), 2);
  EXPECT_EQ(taken(1),
            R"({"is":"patch","number":3,"ops":[{"op":"replace","path":"/box","value":null}]})"
            "\n"
            R"({"is":"reply","re":4,"result":"done"})"
            "\n");
  EXPECT_FALSE(desk_.boxes.history().back().unattended);
}

TEST_F(DeskPagesBoxTest, WithoutAPageTheBoxIsUnattendedAtOnce) {
  EXPECT_EQ(desk_.boxes.show(box(u"Sure?")), 1);
  EXPECT_TRUE(desk_.boxes.history().back().unattended);
  EXPECT_TRUE(clock_.limits.empty());
}

TEST_F(DeskPagesBoxTest, AQueuedAnswerAndAnAnswererComeFirst) {
  openQuietly(1);
  desk_.boxes.queueAnswer(2);
  EXPECT_EQ(desk_.boxes.show(box(u"one")), 2);
  std::optional<long> answer = 2;
  desk_.boxes.setAnswerer([&](const MessageBoxCall&) { return answer; });
  EXPECT_EQ(desk_.boxes.show(box(u"two")), 2);
  answer.reset();
  clock_.steps = {saying(1, R"({"do":"answer","box":1,"button":1})")};
  EXPECT_EQ(desk_.boxes.show(box(u"three")), 1);
  EXPECT_FALSE(desk_.boxes.history().back().unattended);
}

TEST_F(DeskPagesBoxTest, OtherActionsAreRefusedMeanwhileAlsoThoseThatCameBefore) {
  openOrder();
  openQuietly(1);
  openQuietly(2);
  say(1, R"({"do":"close","id":1,"form":"F_1"})");
  clock_.steps = {saying(2, R"({"do":"menu","id":2,"uid":"3001"})"),
                  saying(2, R"({"do":"answer","id":3,"box":9,"button":1})"),
                  saying(2, R"({"do":"answer","id":4,"box":1,"button":3})"),
                  saying(2, R"({"do":"answer","id":5,"box":1,"button":-1})"),
                  saying(2, R"({"do":"rows","id":6,"form":"F_1","item":"20","from":2,"count":1})"),
                  saying(2, R"({"do":"panel","id":7,"shown":false})"),
                  saying(2, R"({"do":"answer","box":1,"button":2})")};
  EXPECT_EQ(desk_.boxes.show(box(u"Sure?")), 2);
  const std::string revision =
      std::to_string(desk_.forms.find(u"F_1")->item(u"20").matrix->revision());
  auto first = server_->take(1);
  ASSERT_EQ(first.size(), 3U);
  EXPECT_EQ(first[1], R"({"code":-7023,"is":"reply","re":1,"result":"refused",)"
                      R"("why":"A message box is open; answer it first."})");
  auto second = server_->take(2);
  ASSERT_EQ(second.size(), 8U);
  EXPECT_EQ(second[1], R"({"code":-7023,"is":"reply","re":2,"result":"refused",)"
                       R"("why":"A message box is open; answer it first."})");
  EXPECT_EQ(second[2], R"({"code":-7023,"is":"reply","re":3,"result":"refused",)"
                       R"("why":"That message box is no longer open."})");
  const std::string noButton = R"("result":"refused","why":"The message box has no such button."})";
  EXPECT_EQ(second[3], R"({"code":-7023,"is":"reply","re":4,)" + noButton);
  EXPECT_EQ(second[4], R"({"code":-7023,"is":"reply","re":5,)" + noButton);
  EXPECT_EQ(second[5], R"({"form":"F_1","from":2,"is":"rows","item":"20","re":6,"revision":)" +
                           revision + R"(,"rows":[]})");
  EXPECT_EQ(second[6], R"({"is":"reply","re":7,"result":"done"})");
  pump();
  EXPECT_NE(desk_.forms.find(u"F_1"), nullptr);
}

TEST_F(DeskPagesBoxTest, ALateAnswerIsRefused) {
  openQuietly(1);
  EXPECT_EQ(ask(1, R"({"do":"answer","id":1,"box":1,"button":1})"),
            R"({"code":-7023,"is":"reply","re":1,"result":"refused",)"
            R"("why":"That message box is no longer open."})"
            "\n");
}

TEST_F(DeskPagesBoxTest, ANonsensicalTextClosesItsPageAndTheBoxStays) {
  openQuietly(1);
  openQuietly(2);
  clock_.steps = {saying(1, "{"), saying(2, R"({"do":"answer","box":1,"button":2})")};
  EXPECT_EQ(desk_.boxes.show(box(u"Sure?")), 2);
  EXPECT_EQ(server_->takeClosed(), std::vector<desk::PageNumber>{1});
}

TEST_F(DeskPagesBoxTest, APageThatComesMeanwhileSeesTheBox) {
  openQuietly(1);
  clock_.steps = {[&] {
                    open(2);
                    PagePicture picture;
                    picture.take(server_->take(2));
                    EXPECT_EQ(picture.state.at("box").at("text"), "Sure?");
                  },
                  saying(2, R"({"do":"answer","box":1,"button":2})")};
  EXPECT_EQ(desk_.boxes.show(box(u"Sure?")), 2);
}

TEST_F(DeskPagesBoxTest, IfTheLastPageVanishesAnotherOneHasHalfAMinute) {
  openQuietly(1);
  clock_.steps = {[&] { close(1); },
                  [&] {
                    clock_.advance(std::chrono::seconds(29));
                    open(2);
                  },
                  saying(2, R"({"do":"answer","box":1,"button":2})")};
  EXPECT_EQ(desk_.boxes.show(box(u"Sure?")), 2);
  EXPECT_FALSE(desk_.boxes.history().back().unattended);
}

TEST_F(DeskPagesBoxTest, IfNoOtherPageComesTheBoxCountsAsUnattended) {
  openQuietly(1);
  clock_.steps = {[&] { close(1); }};
  EXPECT_EQ(desk_.boxes.show(box(u"Sure?")), 1);
  EXPECT_TRUE(desk_.boxes.history().back().unattended);
  EXPECT_EQ(clock_.limits.back(), std::chrono::seconds(30));
  // The next one does not wait.
  clock_.limits.clear();
  pump();
  EXPECT_EQ(desk_.boxes.show(box(u"Again?")), 1);
  EXPECT_TRUE(clock_.limits.empty());
}

TEST_F(DeskPagesBoxTest, TheDeskIsNotBusyWhileItWaits) {
  openQuietly(1);
  tick();
  tick();
  tick();
  EXPECT_EQ(taken(1), "{\"busy\":true,\"is\":\"busy\"}\n");
  clock_.steps = {[&] {
                    for (int i = 0; i < 5; ++i) tick();
                    const auto texts = server_->take(1);
                    ASSERT_EQ(texts.size(), 2U);
                    EXPECT_EQ(texts[1], "{\"busy\":false,\"is\":\"busy\"}");
                  },
                  saying(1, R"({"do":"answer","box":1,"button":2})")};
  EXPECT_EQ(desk_.boxes.show(box(u"Sure?")), 2);
}

TEST_F(DeskPagesBoxTest, ABoxOfAHandlerOfAPagesActionIsAnsweredWithinTheAction) {
  openOrder();
  openQuietly(1);
  const auto sink = listen(desk_, [&](const std::string& words, bool& bubble) {
    if (words != "before item 1 F_1.2") return;
    bubble = desk_.boxes.show(box(u"Discard?")) == 1;
  });
  clock_.steps = {saying(1, R"({"do":"answer","id":2,"box":1,"button":2})")};
  say(1, R"({"do":"press","id":1,"form":"F_1","item":"2"})");
  pump();
  PagePicture picture;
  const auto texts = server_->take(1);
  std::vector<std::string> replies;
  for (const std::string& text : texts) {
    if (text.starts_with(R"({"is":"reply")")) replies.push_back(text);
  }
  EXPECT_EQ(replies, (std::vector<std::string>{R"({"is":"reply","re":2,"result":"done"})",
                                               R"({"is":"reply","re":1,"result":"vetoed"})"}));
  EXPECT_NE(desk_.forms.find(u"F_1"), nullptr);
}

TEST_F(DeskPagesBoxTest, ABoxWithinABoxIsAnsweredFirst) {
  openQuietly(1);
  std::string inner;
  desk_.boxes.setAnswerer([&](const MessageBoxCall& call) -> std::optional<long> {
    if (call.text == u"Outer?") inner = std::to_string(desk_.boxes.show(box(u"Inner?")));
    return std::nullopt;
  });
  clock_.steps = {saying(1, R"({"do":"answer","id":1,"box":2,"button":1})"),
                  saying(1, R"({"do":"answer","id":2,"box":1,"button":2})"),
                  saying(1, R"({"do":"answer","id":3,"box":1,"button":1})"),
                  saying(1, R"({"do":"answer","id":4,"box":2,"button":1})")};
  EXPECT_EQ(desk_.boxes.show(box(u"Outer?")), 1);
  EXPECT_EQ(inner, "2");
  std::string results;
  for (const std::string& text : server_->take(1)) {
    const auto message = nlohmann::json::parse(text);
    if (message.at("is") == "reply") results += message.at("result").get<std::string>() + " ";
  }
  EXPECT_EQ(results, "refused done refused done ");
}

}  // namespace
}  // namespace qx::screens
