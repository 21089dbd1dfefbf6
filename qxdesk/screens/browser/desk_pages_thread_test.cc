// The pages with a real second thread in the place of the server's.

#include "qxdesk/screens/browser/desk_pages.h"
#include "qxdesk/screens/browser/test_support.h"

#include <thread>

namespace qx::screens {
namespace {

TEST(DeskPagesThreads, PagesThatActAndReloadWhileTheDeskChangesAllSeeItsState) {
  Desk desk(testSettings());
  const auto server = makeObject<FakeServer>();
  const auto life = std::make_shared<int>(0);
  DeskPages pages(desk, CComPtr<desk::IWebServer>(server.p),
                  [&]() -> std::shared_ptr<void> { return life; });
  const auto form = makeAddOnForm(u"A");
  desk.forms.open(form);
  constexpr int kKeys = 200;
  const TaskQueue loop = TaskQueue::ofThisThread();
  const CComPtr<desk::IWebDesk> receiver(pages.receiver());
  receiver->PageOpened(1);
  std::thread other([&] {
    const auto say = [&](desk::PageNumber page, const std::string& text) {
      receiver->PageSaid(page, text.data(), text.size());
    };
    for (int i = 1; i <= kKeys; ++i) {
      say(1, R"({"do":"key","form":"A","item":"5","key":65})");
      if (i % 10 == 0) {
        const auto page = static_cast<desk::PageNumber>(i);
        receiver->PageOpened(page);
        say(page, R"({"do":"tab","form":"A"})");
        receiver->Tick();
        receiver->PageClosed(page);
        // A page waits for its replies, too; without an end the texts would count as a flood.
        const auto done = std::make_shared<std::promise<void>>();
        auto turn = done->get_future();
        loop.post([done] { done->set_value(); });
        turn.wait();
      }
    }
    loop.post([] { PostQuitMessage(0); });
  });
  const auto sink = listen(
      desk, [&](const std::string&, bool&) { desk::hostCall([&] { form->title += u"x"; }); });
  RunMessageLoop();
  other.join();
  pump();
  EXPECT_EQ(form->item(u"5").text.get(), std::u16string(kKeys, u'A'));
  PagePicture picture;
  picture.take(server->take(1));
  EXPECT_EQ(picture.state, stateOf(desk, nullptr, nullptr));
  EXPECT_TRUE(server->takeClosed().empty());
}

TEST(DeskPagesThreads, AnAnswerFromAnotherThreadEndsTheWaitForIt) {
  Desk desk(testSettings());
  const auto server = makeObject<FakeServer>();
  const auto life = std::make_shared<int>(0);
  DeskPages pages(desk, CComPtr<desk::IWebServer>(server.p),
                  [&]() -> std::shared_ptr<void> { return life; });
  const CComPtr<desk::IWebDesk> receiver(pages.receiver());
  receiver->PageOpened(1);
  std::promise<void> shown;
  server->onSend = [&, told = false](const std::string& text) mutable {
    if (!std::exchange(told, told || text.find("Sure?") != std::string::npos) && told) {
      shown.set_value();
    }
  };
  std::thread other([&] {
    shown.get_future().wait();
    const std::string answer = R"({"do":"answer","id":1,"box":1,"button":2})";
    receiver->PageSaid(1, answer.data(), answer.size());
  });
  MessageBoxCall call;
  call.text = u"Sure?";
  call.buttons = {u"Yes", u"No", u""};
  EXPECT_EQ(desk.boxes.show(call), 2);
  other.join();
}

}  // namespace
}  // namespace qx::screens
