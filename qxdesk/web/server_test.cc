// The start and the stop of the server.

#include "qxdesk/web/server.h"

#include "qxdesk/web/test_support.h"
#include "qxframework/automation/text.h"

#include <algorithm>
#include <map>
#include <thread>
#include <vector>

namespace qx::web {
namespace {

using std::chrono::milliseconds;

struct Started {
  HRESULT result;
  std::string said;
};

Started start(const CComPtr<desk::IWebServer>& server, const std::u16string& listen) {
  CComBSTR said;
  const HRESULT result = server->Start(CComBSTR(listen), makeObject<RecordingDesk>(), &said);
  return {result, toUtf8(said.View())};
}

TEST(Start, WritesTheAddressToOpen) {
  RunningServer running;
  const std::string port = std::to_string(running.port);
  EXPECT_EQ(running.address, "http://127.0.0.1:" + port + "/?token=" + running.token);
  EXPECT_EQ(running.token.size(), 64u);
  EXPECT_EQ(RunningServer({}, nullptr, u"localhost:0").address.substr(0, 17), "http://127.0.0.1:");
}

TEST(Start, HasANewTokenEachTime) { EXPECT_NE(RunningServer().token, RunningServer().token); }

TEST(Start, RefusesATextThatIsNoAddress) {
  const auto server = makeWebServer({});
  const Started started = start(server, u"127.0.0.1");
  EXPECT_EQ(started.result, E_INVALIDARG);
  EXPECT_EQ(started.said,
            "\"127.0.0.1\" has no port from 0 to 65535 behind a colon; write 127.0.0.1:0, which "
            "takes a free port.");
}

TEST(Start, RefusesAnAddressThatOtherMachinesReach) {
  const auto server = makeWebServer({});
  const Started started = start(server, u"0.0.0.0:0");
  EXPECT_EQ(started.result, E_INVALIDARG);
  EXPECT_EQ(started.said,
            "\"0.0.0.0:0\" is an address that other machines reach; write 127.0.0.1:0, or "
            "any:0.0.0.0:0 if they shall reach it.");
}

TEST(Start, ListensForOtherMachinesIfItIsTold) {
  RunningServer running({}, nullptr, u"any:0.0.0.0:0");
  EXPECT_EQ(running.address.substr(0, 17), "http://127.0.0.1:");
  EXPECT_EQ(running.get("/").status, 200);
}

TEST(Start, NamesAPortThatIsInUse) {
  RunningServer running;
  const auto server = makeWebServer({});
  const std::string port = std::to_string(running.port);
  const Started started = start(server, toUtf16("127.0.0.1:" + port));
  EXPECT_EQ(started.result, E_FAIL);
  EXPECT_EQ(started.said, "Port " + port +
                              " of 127.0.0.1 is in use; end the program that has it, or write "
                              "port 0, which takes a free one.");
}

TEST(Start, CanBeTriedAgainAfterAFailure) {
  const auto server = makeWebServer({});
  EXPECT_EQ(start(server, u"nonsense").result, E_INVALIDARG);
  EXPECT_EQ(start(server, u"127.0.0.1:0").result, S_OK);
  const Started again = start(server, u"127.0.0.1:0");
  EXPECT_EQ(again.result, E_FAIL);
  EXPECT_EQ(again.said, "The server has been started already.");
}

TEST(Start, NamesAnAddressThatTheMachineDoesNotHave) {
  const Started started = start(makeWebServer({}), u"any:192.0.2.1:4711");
  EXPECT_EQ(started.result, E_FAIL);
  EXPECT_EQ(started.said,
            "This machine does not have the address 192.0.2.1; write 127.0.0.1:4711.");
}

TEST(Start, RequiresADeskAndAPlaceForTheAddress) {
  const auto server = makeWebServer({});
  CComBSTR said;
  EXPECT_EQ(server->Start(CComBSTR(u"127.0.0.1:0"), nullptr, &said), E_POINTER);
  EXPECT_EQ(server->Start(CComBSTR(u"127.0.0.1:0"), makeObject<RecordingDesk>(), nullptr),
            E_POINTER);
}

TEST(Stop, SendsWhatIsQueuedAndClosesThePages) {
  RunningServer running;
  Client first = running.openPage(1);
  Client second = running.openPage(2);
  const std::string text(3000000, 'x');
  running.send(0, text);
  running.send(1, "{\"is\":\"bye\"}");
  std::thread reader([&] {
    EXPECT_EQ(first.next(), text);
    EXPECT_EQ(first.next(), "{\"is\":\"bye\"}");
    EXPECT_EQ(first.next(), "1001 The host ends.");
    first.closePage();
  });
  std::thread other([&] {
    EXPECT_EQ(second.next(), text);
    EXPECT_EQ(second.next(), "1001 The host ends.");
    second.closePage();
  });
  running.server->Stop();
  reader.join();
  other.join();
  std::deque<std::string> calls = running.desk->rest();
  std::ranges::sort(calls);
  EXPECT_EQ(calls, (std::deque<std::string>{"closed 1", "closed 2"}));
}

TEST(Stop, EndsPagesThatDoNotAnswerAfterItsTime) {
  Limits limits;
  limits.stop = milliseconds(50);
  RunningServer running(limits);
  Client silent = running.openPage(1);
  Client slow = Client::withSmallBuffer(running.port);
  ASSERT_EQ(running.askForPage(slow), 101);
  EXPECT_EQ(running.desk->next(), "opened 2");
  running.send(2, std::string(16 * 1024 * 1024, 'x'));
  Client half(running.port);
  half.send("GET ");
  running.server->Stop();
  std::deque<std::string> calls = running.desk->rest();
  std::ranges::sort(calls);
  EXPECT_EQ(calls, (std::deque<std::string>{"closed 1", "closed 2"}));
  EXPECT_EQ(half.rest(), "");
}

TEST(Stop, EndsTheListening) {
  RunningServer running;
  running.server->Stop();
  EXPECT_THROW(Client{running.port}, std::runtime_error);
}

TEST(Stop, MayComeTwiceAndWithoutAStart) {
  RunningServer running;
  running.server->Stop();
  running.server->Stop();
  running.send(0, "late");
  running.server->ClosePage(1);
  const auto server = makeWebServer({});
  server->Stop();
  server->Send(0, "x", 1);
  server->ClosePage(1);
}

TEST(Stop, AllowsANewStart) {
  const auto server = makeWebServer({});
  EXPECT_EQ(start(server, u"127.0.0.1:0").result, S_OK);
  server->Stop();
  EXPECT_EQ(start(server, u"127.0.0.1:0").result, S_OK);
}

TEST(Stop, DoesNotWaitForItselfOnTheServersThread) {
  RunningServer running;
  running.desk->whenOpened = [&] { running.server->Stop(); };
  Client page = running.openPage(1);
  running.send(1, "still open");
  EXPECT_EQ(page.next(), "still open");
}

TEST(Stop, ReleasesTheDesk) {
  const CComPtr<RecordingDesk> desk = makeObject<RecordingDesk>();
  const auto server = makeWebServer({});
  CComBSTR said;
  ASSERT_EQ(server->Start(CComBSTR(u"127.0.0.1:0"), desk, &said), S_OK);
  server->Stop();
  desk->AddRef();
  EXPECT_EQ(desk->Release(), 1u);
}

TEST(Server, StopsWithItsLastReference) {
  RunningServer running;
  Client page = running.openPage(1);
  const std::uint16_t port = running.port;
  std::thread reader([&] {
    EXPECT_EQ(page.next(), "1001 The host ends.");
    page.closePage();
  });
  running.server = makeWebServer({});
  reader.join();
  EXPECT_EQ(running.desk->next(), "closed 1");
  EXPECT_THROW(Client{port}, std::runtime_error);
}

TEST(Server, TakesTextsFromManyThreads) {
  RunningServer running;
  Client page = running.openPage(1);
  std::vector<std::thread> senders;
  for (int sender = 0; sender < 4; ++sender) {
    senders.emplace_back([&, sender] {
      for (int i = 0; i < 100; ++i) {
        running.send(1, std::to_string(sender) + " " + std::to_string(i));
      }
    });
  }
  std::map<std::string, int> next;
  for (int i = 0; i < 400; ++i) {
    const std::string text = page.next();
    EXPECT_EQ(text.substr(2), std::to_string(next[text.substr(0, 1)]++));
  }
  for (std::thread& sender : senders) sender.join();
}

}  // namespace
}  // namespace qx::web
