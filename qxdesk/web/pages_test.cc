// Pages in their ordinary life: texts in both directions, ticks, the end.

#include "qxdesk/web/test_support.h"

#include <filesystem>

namespace qx::web {
namespace {

std::size_t entriesOf(const char* folder) {
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    (void)entry;
    ++count;
  }
  return count;
}

TEST(Pages, TheDeskHearsOfAPageItsTextsAndItsEnd) {
  RunningServer running;
  Client page = running.openPage(1);
  page.sendText("{\"do\":\"menu\"}");
  page.sendText("");
  page.sendText("\xD7\xA9\xF0\x9F\x98\x80");
  EXPECT_EQ(running.desk->next(), "said 1 {\"do\":\"menu\"}");
  EXPECT_EQ(running.desk->next(), "said 1 ");
  EXPECT_EQ(running.desk->next(), "said 1 \xD7\xA9\xF0\x9F\x98\x80");
  page.closePage();
  EXPECT_EQ(running.desk->next(), "closed 1");
}

TEST(Pages, ATextInPiecesIsOneText) {
  RunningServer running;
  Client page = running.openPage(1);
  page.send(frameOf(kText, "a", false) + frameOf(0, "b\xD7", false) + frameOf(kPing, "p") +
            frameOf(0, "\xA9"));
  EXPECT_EQ(running.desk->next(), "said 1 ab\xD7\xA9");
  EXPECT_EQ(show(page.readFrame()), "<pong> p");
}

TEST(Pages, TextsArriveInTheirOrder) {
  RunningServer running;
  Client first = running.openPage(1);
  Client second = running.openPage(2);
  running.send(1, "one");
  running.send(0, "all");
  running.send(2, "two");
  running.send(0, std::string(100000, 'x'));
  EXPECT_EQ(first.next(), "one");
  EXPECT_EQ(first.next(), "all");
  EXPECT_EQ(first.next(), std::string(100000, 'x'));
  EXPECT_EQ(second.next(), "all");
  EXPECT_EQ(second.next(), "two");
  EXPECT_EQ(second.next(), std::string(100000, 'x'));
}

TEST(Pages, ATextSentFromTheCallThatOpensThePageIsItsFirst) {
  RunningServer running;
  running.desk->whenOpened = [&] { running.send(1, "state"); };
  Client page = running.openPage(1);
  running.send(1, "patch");
  EXPECT_EQ(page.next(), "state");
  EXPECT_EQ(page.next(), "patch");
}

TEST(Pages, APageThatBreaksTheRulesOfTextsIsClosed) {
  RunningServer running;
  Client page = running.openPage(1);
  Client other = running.openPage(2);
  running.send(1, "before");
  running.server->ClosePage(1);
  running.send(1, "after");
  EXPECT_EQ(running.desk->next(), "closed 1");
  EXPECT_EQ(page.next(), "before");
  EXPECT_EQ(page.next(), "1008 The page broke the rules of its texts.");
  running.send(0, "other");
  EXPECT_EQ(other.next(), "other");
}

TEST(Pages, APageThatIsClosedIsHeardNoMore) {
  RunningServer running;
  Client page = running.openPage(1);
  running.server->ClosePage(1);
  EXPECT_EQ(page.next(), "1008 The page broke the rules of its texts.");
  EXPECT_EQ(running.desk->next(), "closed 1");
  page.sendText("late");
  page.closePage();
  running.server->Stop();
  EXPECT_EQ(running.desk->rest(), std::deque<std::string>{});
}

TEST(Pages, NothingHappensForAPageThatIsGone) {
  RunningServer running;
  running.openPage(1).vanish();
  EXPECT_EQ(running.desk->next(), "closed 1");
  running.send(1, "late");
  running.send(77, "none");
  running.server->ClosePage(1);
  Client page = running.openPage(2);
  running.send(0, "all");
  EXPECT_EQ(page.next(), "all");
}

TEST(Pages, APageThatVanishesWithinAFrameIsClosedOnce) {
  RunningServer running;
  Client page = running.openPage(1);
  page.send(frameOf(kText, "said") + frameOf(kText, std::string(1000, 'x')).substr(0, 500));
  page.vanish();
  EXPECT_EQ(running.desk->next(), "said 1 said");
  EXPECT_EQ(running.desk->next(), "closed 1");
  running.server->Stop();
  EXPECT_EQ(running.desk->rest(), std::deque<std::string>{});
}

TEST(Pages, FiftyPagesVanishWhileTheyAreSentTo) {
  RunningServer running;
  for (PageNumber number = 1; number <= 50; ++number) {
    Client page = running.openPage(number);
    for (int i = 0; i < 20; ++i) running.send(0, std::string(50000, 'x'));
    page.vanish();
    EXPECT_EQ(running.desk->next(), "closed " + std::to_string(number));
  }
  Client page = running.openPage(51);
  running.send(51, "well");
  EXPECT_EQ(page.next(), "well");
}

TEST(Pages, TicksComeWhileAPageIsOpen) {
  RunningServer running;
  Client page = running.openPage(1);
  EXPECT_TRUE(running.desk->awaitTicks(2));
}

TEST(Pages, ReloadsLeaveNeitherDescriptorsNorThreads) {
  RunningServer running;
  const auto reload = [&](PageNumber number) {
    EXPECT_EQ(running.get("/").status, 200);
    running.openPage(number).closePage();
    EXPECT_EQ(running.desk->next(), "closed " + std::to_string(number));
  };
  reload(1);
  const std::size_t descriptors = entriesOf("/proc/self/fd");
  const std::size_t threads = entriesOf("/proc/self/task");
  for (PageNumber number = 2; number <= 201; ++number) reload(number);
  // The last connections may still be on their way out.
  EXPECT_LE(entriesOf("/proc/self/fd"), descriptors + 4);
  EXPECT_EQ(entriesOf("/proc/self/task"), threads);
}

}  // namespace
}  // namespace qx::web
