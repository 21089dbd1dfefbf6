#include "qxdesk/screens/browser/desk_pages.h"

#include "qxdesk/screens/browser/test_support.h"
#include "qxdesk/screens/user/user_actions.h"

namespace qx::screens {
namespace {

class DeskPagesTest : public PagesTest {
 protected:
  /// Runs a call of an add-on.
  template <class Body>
  void call(Body&& body) {
    desk::hostCall(std::forward<Body>(body));
  }
  std::shared_ptr<FormModel> addForm() {
    auto form = makeAddOnForm(u"A");
    desk_.forms.open(form);
    return form;
  }
};

TEST_F(DeskPagesTest, APageThatOpensGetsTheWholeStateAtOnce) {
  open(1);
  const auto texts = server_->take(1);
  ASSERT_EQ(texts.size(), 1U);
  const auto message = nlohmann::json::parse(texts[0]);
  EXPECT_EQ(message.at("is"), "state");
  EXPECT_EQ(message.at("number"), 1);
  EXPECT_EQ(message.at("state"), stateOf(desk_, nullptr, nullptr));
}

TEST_F(DeskPagesTest, WhatHasHappenedWithoutAPageFollowsTheStateThatWasKept) {
  openOrder();
  open(1);
  PagePicture picture;
  picture.take(server_->take(1));
  EXPECT_FALSE(picture.state.at("forms").contains("F_1"));
  pump();
  picture.take(server_->take(1));
  EXPECT_EQ(picture.state, stateOf(desk_, nullptr, nullptr));
}

TEST_F(DeskPagesTest, ChangesGoOutOncePerTurnOfTheLoop) {
  const auto form = addForm();
  openQuietly(1);
  call([&] { form->title = u"One"; });
  call([&] { form->title = u"Two"; });
  EXPECT_EQ(taken(1), "");
  pump();
  EXPECT_EQ(taken(1), R"({"is":"patch","number":3,"ops":[{"op":"replace","path":"/forms/A/title",)"
                      R"("value":"Two"}]})"
                      "\n");
  call([] {});
  pump();
  EXPECT_EQ(taken(1), "");
}

TEST_F(DeskPagesTest, AnEventAndAnActionOfAnotherUserAreChangesAsWell) {
  openQuietly(1);
  UserActions(desk_).pickMenu(u"3001");
  pump();
  PagePicture picture;
  open(2);
  picture.take(server_->take(2));
  EXPECT_EQ(picture.state.at("selected"), "F_1");
  EXPECT_NE(taken(1), "");
}

TEST_F(DeskPagesTest, WithoutAPageNoTurnIsPostedAndTheDeskIsNotFollowed) {
  openQuietly(1);
  close(1);
  pump();
  call([] {});
  desk_.statusBar.show({u"x", smt_None, 0});
  MSG message;
  EXPECT_FALSE(PeekMessageW(&message, PM_NOREMOVE));
  EXPECT_EQ(taken(1), "");
}

TEST_F(DeskPagesTest, TwoPagesSeeTheSame) {
  PagePicture first;
  PagePicture second;
  open(1);
  openOrder();
  pump();
  open(2);
  say(1, R"({"do":"type","id":1,"form":"F_1","item":"4","text":"C1"})");
  pump();
  first.take(server_->take(1));
  second.take(server_->take(2));
  EXPECT_EQ(first.state, second.state);
  EXPECT_EQ(first.state, stateOf(desk_, nullptr, nullptr));
  EXPECT_EQ(first.others.size(), 1U);
  EXPECT_EQ(second.others.size(), 0U);
}

TEST_F(DeskPagesTest, TheNewStateComesBeforeTheReply) {
  openOrder();
  openQuietly(1);
  EXPECT_EQ(ask(1, R"({"do":"move","id":5,"form":"F_1","left":1,"top":40})"),
            R"({"is":"patch","number":3,"ops":[{"op":"replace","path":"/forms/F_1/rect/0",)"
            R"("value":1}]})"
            "\n"
            R"({"is":"reply","re":5,"result":"done"})"
            "\n");
  EXPECT_EQ(ask(1, R"({"do":"select","id":6,"form":"F_9"})"),
            R"({"code":-7000,"is":"reply","re":6,"result":"refused","why":"Invalid form"})"
            "\n");
  EXPECT_EQ(ask(1, R"({"do":"select","form":"F_1"})"), "");
}

TEST_F(DeskPagesTest, TypingOneTextIsASmallDifference) {
  openOrder();
  openQuietly(1);
  ask(1, R"({"do":"key","form":"F_1","item":"4","key":65})");
  EXPECT_EQ(ask(1, R"({"do":"key","form":"F_1","item":"4","key":66})"),
            R"({"is":"patch","number":4,"ops":[{"op":"replace",)"
            R"("path":"/forms/F_1/items/4/text","value":"AB"}]})"
            "\n");
}

TEST_F(DeskPagesTest, ActionsAreDoneInTheirOrderOnePerTask) {
  openOrder();
  openQuietly(1);
  openQuietly(2);
  say(1, R"({"do":"key","form":"F_1","item":"4","key":65})");
  say(2, R"({"do":"key","form":"F_1","item":"4","key":66})");
  say(1, R"({"do":"key","form":"F_1","item":"4","key":67})");
  EXPECT_EQ(desk_.forms.find(u"F_1")->item(u"4").text.get(), u"");
  pump();
  EXPECT_EQ(desk_.forms.find(u"F_1")->item(u"4").text.get(), u"ABC");
}

TEST_F(DeskPagesTest, ANonsensicalTextClosesItsPageOnly) {
  openQuietly(1);
  openQuietly(2);
  say(1, "nonsense");
  say(1, R"({"do":"menu","id":1,"uid":"3001"})");
  pump();
  EXPECT_EQ(server_->takeClosed(), std::vector<desk::PageNumber>{1});
  EXPECT_EQ(taken(1), "");
  EXPECT_EQ(ask(2, R"({"do":"menu","id":1,"uid":"x"})").substr(0, 28),
            R"({"code":-7026,"is":"reply",")");
  EXPECT_EQ(desk_.forms.all().size(), 1U);
}

TEST_F(DeskPagesTest, APageThatFloodsIsClosedAndNothingOfItIsDone) {
  openOrder();
  openQuietly(1);
  for (int i = 0; i < 257; ++i) say(1, R"({"do":"key","form":"F_1","item":"4","key":65})");
  EXPECT_EQ(server_->takeClosed(), std::vector<desk::PageNumber>{1});
  pump();
  EXPECT_EQ(desk_.forms.find(u"F_1")->item(u"4").text.get(), u"");
  // As much in several turns is no flood.
  openQuietly(2);
  for (int i = 0; i < 600; ++i) {
    say(2, R"({"do":"tab","form":"F_1"})");
    if (i % 200 == 199) pump();
  }
  EXPECT_EQ(server_->takeClosed(), std::vector<desk::PageNumber>{});
}

TEST_F(DeskPagesTest, TextsOfAPageThatIsGoneOrUnknownAreDropped) {
  openOrder();
  openQuietly(1);
  say(1, R"({"do":"close","id":1,"form":"F_1"})");
  close(1);
  close(1);
  say(1, R"({"do":"close","id":1,"form":"F_1"})");
  say(7, R"({"do":"close","id":1,"form":"F_1"})");
  pump();
  EXPECT_NE(desk_.forms.find(u"F_1"), nullptr);
  EXPECT_EQ(taken(7), "");
}

TEST_F(DeskPagesTest, TheHandlerOfAPagesActionMayPollItsOwnLoop) {
  openOrder();
  openQuietly(1);
  std::string seen;
  const auto sink = listen(desk_, [&](const std::string& words, bool&) {
    if (words != "before item 6 F_1.6") return;
    call([&] { desk_.forms.find(u"F_1")->title = u"In the handler"; });
    say(1, R"({"do":"key","id":2,"form":"F_1","item":"4","key":65})");
    pump();
    seen = taken(1);
  });
  ask(1, R"({"do":"press","id":1,"form":"F_1","item":"6"})");
  EXPECT_NE(seen.find("In the handler"), std::string::npos);
  EXPECT_NE(seen.find(R"({"is":"reply","re":2,"result":"done"})"), std::string::npos);
}

TEST_F(DeskPagesTest, AFrozenFormIsHeldBackUntilItIsThawed) {
  const auto form = addForm();
  openQuietly(1);
  call([&] { form->freeze(true); });
  call([&] { form->title = u"Two"; });
  pump();
  EXPECT_EQ(taken(1), R"({"is":"patch","number":3,"ops":[{"op":"replace","path":"/forms/A/frozen",)"
                      R"("value":true}]})"
                      "\n");
  call([&] { form->freeze(false); });
  pump();
  EXPECT_EQ(taken(1), R"({"is":"patch","number":4,"ops":[{"op":"replace","path":"/forms/A/frozen",)"
                      R"("value":false},{"op":"replace","path":"/forms/A/title","value":"Two"}]})"
                      "\n");
}

TEST_F(DeskPagesTest, WhatAHandlerShowsIsPublishedAtOnceButNotTooOften) {
  openQuietly(1);
  const auto progress = desk_.statusBar.createProgress(u"Loading", 100, false);
  EXPECT_NE(taken(1).find("Loading"), std::string::npos);
  progress->setValue(1);
  clock_.advance(std::chrono::milliseconds(49));
  progress->setValue(2);
  EXPECT_EQ(taken(1), "");
  clock_.advance(std::chrono::milliseconds(1));
  progress->setValue(3);
  EXPECT_EQ(taken(1), R"({"is":"patch","number":3,"ops":[{"op":"replace","path":"/progress/value",)"
                      R"("value":3}]})"
                      "\n");
  progress->setValue(4);
  pump();
  EXPECT_NE(taken(1).find(R"("value":4)"), std::string::npos);
}

TEST_F(DeskPagesTest, AnAddOnIsBusyAfterHalfASecondWithoutATurn) {
  openQuietly(1);
  tick();
  tick();
  EXPECT_EQ(taken(1), "");
  tick();
  EXPECT_EQ(taken(1), "{\"busy\":true,\"is\":\"busy\"}\n");
  tick();
  EXPECT_EQ(taken(1), "");
  open(2);
  const auto texts = server_->take(2);
  ASSERT_EQ(texts.size(), 2U);
  EXPECT_EQ(texts[1], "{\"busy\":true,\"is\":\"busy\"}");
  pump();
  EXPECT_EQ(taken(1), "{\"busy\":false,\"is\":\"busy\"}\n");
  tick();
  pump();
  tick();
  pump();
  EXPECT_EQ(taken(1), "");
}

TEST_F(DeskPagesTest, TheEndOfTheClientIsToldAndStopsTheServer) {
  openQuietly(1);
  pages_.end("The client has ended.");
  EXPECT_EQ(taken(0), "{\"is\":\"bye\",\"why\":\"The client has ended.\"}\n");
  EXPECT_EQ(server_->stops, 1);
  pages_.end("again");
  EXPECT_EQ(server_->stops, 1);
  open(2);
  say(1, R"({"do":"menu","id":1,"uid":"3001"})");
  tick();
  close(1);
  call([] {});
  pump();
  EXPECT_EQ(taken(0) + taken(1) + taken(2), "");
  EXPECT_EQ(desk_.forms.all().size(), 1U);
}

TEST_F(DeskPagesTest, ThePageThatShutsTheClientDownGetsItsReplyFirst) {
  openQuietly(1);
  std::string order;
  server_->onSend = [&](const std::string& text) { order += text + "\n"; };
  say(1, R"({"do":"shutdown","id":3})");
  pump();
  EXPECT_EQ(order,
            "{\"is\":\"reply\",\"re\":3,\"result\":\"done\"}\n"
            "{\"is\":\"bye\",\"why\":\"The client has ended.\"}\n");
  EXPECT_EQ(server_->stops, 1);
}

TEST_F(DeskPagesTest, AnotherEndOfTheClientIsToldAtOnce) {
  openQuietly(1);
  UserActions(desk_).serverTermination();
  EXPECT_EQ(taken(0), "{\"is\":\"bye\",\"why\":\"The client has ended.\"}\n");
  EXPECT_EQ(server_->stops, 1);
}

TEST_F(DeskPagesTest, TurnsThatComeAfterTheEndOfTheClientDoNothing) {
  openQuietly(1);
  say(1, R"({"do":"menu","id":1,"uid":"3001"})");
  call([] {});
  life_.reset();
  pump();
  EXPECT_EQ(desk_.forms.all().size(), 1U);
}

TEST_F(DeskPagesTest, ManyReloadsLeaveNothingBehind) {
  openOrder();
  for (desk::PageNumber page = 1; page <= 200; ++page) {
    open(page);
    say(page, R"({"do":"tab","form":"F_1"})");
    if (page % 4 == 0) pump();
    close(page);
  }
  pump();
  call([] {});
  MSG message;
  EXPECT_FALSE(PeekMessageW(&message, PM_NOREMOVE));
  openQuietly(201);
  EXPECT_NE(ask(201, R"({"do":"tab","id":1,"form":"F_1"})").find("done"), std::string::npos);
}

TEST_F(PagesTest, PagesLearnThatASignalEndsTheProcess) {
  openQuietly(1);
  pages_.receiver()->ProcessEnds();
  EXPECT_EQ(taken(0), "{\"is\":\"bye\",\"why\":\"The add-on was ended by a signal.\"}\n");
  server_->take(0);
  pages_.end("The client has ended.");
  server_->take(0);
  pages_.receiver()->ProcessEnds();
  EXPECT_EQ(taken(0), "") << "the server has stopped";
}

}  // namespace
}  // namespace qx::screens
