// Pages that exceed a limit: each is closed alone, with a code and mostly a reason.

#include "qxdesk/web/test_support.h"

#include <atomic>

namespace qx::web {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

class PageLimits : public testing::Test {
 protected:
  /// The first page stays well; the second one misbehaves.
  PageLimits() : well(running.openPage(1)), page(running.openPage(2)) {}
  void expectClosed(const std::string& code) {
    EXPECT_EQ(page.next(), code);
    EXPECT_EQ(running.desk->next(), "closed 2");
    page.closePage();
    well.sendText("well");
    EXPECT_EQ(running.desk->next(), "said 1 well");
  }

  RunningServer running;
  Client well;
  Client page;
};

TEST_F(PageLimits, ATextOf64KibibytesIsTaken) {
  const std::string text(65536, 'x');
  page.sendText(text);
  EXPECT_EQ(running.desk->next(), "said 2 " + text);
}

TEST_F(PageLimits, ALongerTextClosesThePage) {
  page.sendText(std::string(65537, 'x'));
  expectClosed("1009 A message has more than 65536 bytes.");
}

TEST_F(PageLimits, ATextIsTooLongBeforeItHasArrived) {
  page.send(frameOf(kText, std::string(70000, 'x')).substr(0, 66000));
  EXPECT_EQ(page.next(), "1009 A message has more than 65536 bytes.");
}

TEST_F(PageLimits, ATextOfPiecesIsTooLongAsAWhole) {
  page.send(frameOf(kText, std::string(40000, 'x'), false) + frameOf(0, std::string(40000, 'x')));
  expectClosed("1009 A message has more than 65536 bytes.");
}

TEST_F(PageLimits, AMessageThatIsNoTextClosesThePage) {
  page.send(frameOf(kBinary, "abc"));
  expectClosed("1003 Only texts are understood.");
}

TEST_F(PageLimits, ATextThatIsNotUtf8ClosesThePage) {
  page.sendText("a\xFFz");
  expectClosed("1007");
}

TEST_F(PageLimits, ASurrogateIsNotUtf8) {
  page.sendText("\xED\xA0\x80");
  expectClosed("1007");
}

TEST_F(PageLimits, ACutCharacterIsNotUtf8) {
  page.sendText("\xD7");
  expectClosed("1007");
}

TEST_F(PageLimits, AFrameWithoutAMaskClosesThePage) {
  page.send(frameOf(kText, "abc", true, false));
  expectClosed("1002");
}

TEST_F(PageLimits, AFrameWithReservedBitsClosesThePage) {
  std::string frame = frameOf(kText, "abc");
  frame[0] = static_cast<char>(frame[0] | 0x40);
  page.send(frame);
  expectClosed("1002");
}

TEST_F(PageLimits, ALongPingClosesThePage) {
  page.send(frameOf(kPing, std::string(126, 'x')));
  expectClosed("1002");
}

TEST_F(PageLimits, TheNinthPageIsClosed) {
  std::deque<Client> more;
  for (PageNumber number = 3; number <= 8; ++number) more.push_back(running.openPage(number));
  Client ninth(running.port);
  EXPECT_EQ(running.askForPage(ninth), 101);
  EXPECT_EQ(ninth.next(), "1013 8 pages are open; close one of them.");
  page.closePage();
  EXPECT_EQ(running.desk->next(), "closed 2");
  Client next = running.openPage(9);
}

TEST(PageRate, MoreMessagesThanTheBurstCloseThePage) {
  std::atomic<long> now{0};
  RunningServer running({}, [&] { return steady_clock::time_point(milliseconds(now)); });
  Client page = running.openPage(1);
  const auto say = [&](int count) {
    std::string all;
    for (int i = 0; i < count; ++i) all += frameOf(kText, "m");
    page.send(all);
  };
  const auto expectSaid = [&](int count) {
    for (int i = 0; i < count; ++i) EXPECT_EQ(running.desk->next(), "said 1 m");
  };
  say(400);
  expectSaid(400);
  now = 500;
  say(101);
  expectSaid(100);
  EXPECT_EQ(page.next(), "1008 The page sends too many messages.");
  EXPECT_EQ(running.desk->next(), "closed 1");
}

TEST(PageRate, PingsCountAsMessages) {
  RunningServer running({}, [] { return steady_clock::time_point(); });
  Client page = running.openPage(1);
  std::string pings;
  for (int i = 0; i < 401; ++i) pings += frameOf(kPing, "");
  page.send(pings);
  EXPECT_EQ(running.desk->next(), "closed 1");
}

TEST(SlowPage, IsClosedAndTheOthersAreSentTo) {
  Limits limits;
  limits.queueBytes = 1000000;
  RunningServer running(limits);
  Client slow = Client::withSmallBuffer(running.port);
  ASSERT_EQ(running.askForPage(slow), 101);
  EXPECT_EQ(running.desk->next(), "opened 1");
  Client well = running.openPage(2);
  const std::string text(100000, 'x');
  // The system's buffers take some megabytes for a client that reads nothing.
  int sent = 0;
  while (running.desk->rest().empty() && sent < 1000) {
    ++sent;
    running.send(0, text);
    EXPECT_EQ(well.next(), text);
  }
  EXPECT_LT(sent, 1000);
  running.send(0, "well");
  EXPECT_EQ(well.next(), "well");
  // If it wakes up, it learns the reason behind the texts that were already on their way.
  std::string last;
  while ((last = slow.next()) == text) {
  }
  EXPECT_EQ(last, "1008 The page does not take what it is sent.");
}

TEST(SlowPage, GetsOneLongTextWithinTheLimit) {
  RunningServer running;
  Client page = running.openPage(1);
  const std::string text(16 * 1024 * 1024, 'x');
  running.send(1, text);
  EXPECT_EQ(page.next(), text);
}

TEST(SlowPage, ThatDoesNotConfirmItsCloseIsEndedAfterItsTime) {
  Limits limits;
  limits.farewell = milliseconds(50);
  RunningServer running(limits);
  Client page = running.openPage(1);
  running.server->ClosePage(1);
  // Behind a ping if the machine took longer than that to open the page.
  EXPECT_EQ(page.next(), "1008 The page broke the rules of its texts.");
  EXPECT_EQ(page.rest(), "");
}

TEST(SilentPage, IsAskedAndThenEnded) {
  Limits limits;
  limits.silence = milliseconds(100);
  RunningServer running(limits);
  Client page = running.openPage(1);
  EXPECT_EQ(show(page.readFrame()), "<ping>");
  EXPECT_EQ(running.desk->next(), "closed 1");
}

}  // namespace
}  // namespace qx::web
